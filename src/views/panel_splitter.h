#pragma once

#include <QSplitter>

#include <functional>

namespace larkspool {

/// A panel beside what is left of the room, with a line between them that can be dragged.
///
/// The panel keeps its size while it is hidden and when the window is resized. Dragged well below its smallest size, it asks to be
/// closed.
class PanelSplitter final : public QSplitter {
public:
    enum class Side { first, last };
    /// Pixels along the splitter's way.
    struct Limits {
        int least = 0;
        int most = QWIDGETSIZE_MAX;
        double mostShare = 1; ///< Of the whole splitter, the panel at most.
    };

    PanelSplitter(Qt::Orientation orientation, QWidget* parent) : QSplitter(orientation, parent) {}

    /// Both become its children. To be called once.
    void setParts(QWidget* panel, Side side, QWidget* rest, Limits limits);

    /// How large the panel is, or was when it was seen last.
    int panelSize() const { return panelSize_; }
    /// Held within the limits.
    void setPanelSize(int size);

    std::function<void()> closed; ///< The panel was dragged shut: hide it. May be absent.

protected:
    QSplitterHandle* createHandle() override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class Handle;

    int length() const { return orientation() == Qt::Horizontal ? width() : height(); }
    int most() const;
    void dragTo(int size);
    void place();

    QWidget* panel_ = nullptr;
    Side side_ = Side::first;
    Limits limits_;
    int panelSize_ = 0;
};

} // namespace larkspool
