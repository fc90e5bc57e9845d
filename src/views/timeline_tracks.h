#pragma once

#include "views/accessible_items.h"
#include "views/editor_context.h"
#include "views/timeline_gutter.h"
#include "views/timeline_layout.h"
#include "views/timeline_painting.h"

#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <optional>

class QScrollBar;

namespace larkspool {

class TimelinePopover;
class TrimPreview;

/// The rail and the rows below it: one painted widget, which turns presses into those of the editor.
class TimelineTracks final : public QWidget, public AccessibleItems {
public:
    TimelineTracks(EditorContext context, QWidget* parent);
    ~TimelineTracks() override;

    /// Shows the editor's state.
    void refresh();

    std::vector<AccessibleItem> accessibleItems() const override;

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// What the left button holds, from its press on.
    enum class Held { nothing, playhead, items, emptyRows, viewport };
    /// A marquee that has become one.
    struct Marquee {
        CGPoint from{}, to{}; ///< In the rows.
        TimelineSelection before{};
        Modifiers modifiers{};
    };
    struct Pill {
        TimelinePainting::RippleSide side;
        QPointF center; ///< In the rows.
    };

    enum class EndOfRows { first, last };

    double bodyBottom() const;
    double scrolled() const;
    CGPoint inRows(QPointF position) const;
    bool isOverRows(QPointF position) const;
    std::optional<TimelineLayout::Hit> hitAt(QPointF position) const;

    void rebuildLayout();
    void placeScrollBar();
    void placePills();
    const Pill* pillAt(QPointF position) const;
    bool isOnSelectedEnd(CGPoint point) const;

    void scrub(QPointF position, Modifiers modifiers);
    bool pressGutter(QPointF position);
    void pressControl(const GutterPlace& place);
    void pressItems(const TimelineLayout::Hit& hit, QPointF position, Modifiers modifiers);
    void dragMarquee(QPointF position, Modifiers modifiers);
    void updateMarquee();
    void dragViewport(QPointF position);
    void cancel();
    void hover(QPointF position, Qt::MouseButtons buttons);
    void showPopover();
    void showTrimPreview();
    void hidePopover();
    QPointF selectedPlace() const;
    QString helpAt(QPointF position) const;
    void tap(const std::vector<TimelineItemRef>& members, Modifiers modifiers);
    void choose(const TimelineLayout::Hit& item, Modifiers modifiers);
    std::optional<TimelineLayout::Hit> selectedItem(EndOfRows end) const;
    bool stepSelection(int key, Modifiers modifiers);
    bool stepControl(int key);
    void focusControl(const TimelineRow& row, const GutterControl* control);
    void focusLastControl(const TimelineRow& row);
    void reveal(double top);
    void followPlayhead();
    void shiftMarquee(const std::optional<TimelineViewport>& before);
    void awaitPills();
    AccessibleItem accessibleControl(const TimelineRow& row, const GutterControl& control) const;
    AccessibleItem accessibleMark(const TimelineLayout::Hit& shown) const;

    EditorContext context_;
    TimelineLayout layout_;
    TimelineLayout::Folded folded_;
    std::optional<GutterPlace> gutterFocus_; ///< What the keys act on, unless it is the items of the rows.
    QScrollBar* scrollBar_ = nullptr;
    std::vector<Pill> pills_;

    QPixmap tracks_; ///< The rows as they are while the playhead moves. Null while they are to be painted anew.
    TimelineSelection paintedSelection_;

    Held held_ = Held::nothing;
    QPointF pressedAt_;
    double pressedViewportStart_ = 0; ///< What a drag on the minimap counts from.
    double pressedPlayhead_ = 0, cancelledViewportStart_ = 0; ///< To go back to.
    std::optional<Marquee> marquee_;
    QPointF pointer_;
    bool isPointerInside_ = false;
    QTimer popoverTimer_;
    QTimer pillTimer_; ///< Runs while the pills are hidden for a moment.
    double shownPlayhead_ = 0;
    /// Children of the window, over all its parts. Null until they are first needed.
    QPointer<TimelinePopover> popover_;
    QPointer<TrimPreview> trimPreview_;
};

} // namespace larkspool
