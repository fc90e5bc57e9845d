#pragma once

#include "timeline/retime_rows.h"

#include <QPixmap>
#include <QWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// The rows of the table of times as bars in a strip, a band for each kind of item, with a grip for the playhead.
class RetimeMiniTimelineView final : public QWidget {
public:
    struct Steps {
        /// The grip is dragged to `x` pixels from the left end of a strip that wide.
        std::function<void(double x, double width, Qt::KeyboardModifiers modifiers)> scrub;
        std::function<void(int frames)> stepPlayhead;
    };

    RetimeMiniTimelineView(Steps steps, QWidget* parent);

    void showRows(const std::vector<RetimeRow>& rows, double sceneDuration);
    /// The bar of the row stands out; nothing for none.
    void showChosen(const RetimeRow* row);
    void showPlayhead(double seconds);

    QSize sizeHint() const override { return {400, 68}; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent*) override { update(); }
    void focusOutEvent(QFocusEvent*) override { update(); }

private:
    QRectF strip() const;
    QRectF band(RetimeRow::Kind kind) const;
    RetimeMiniTimeline mapping() const;
    void paintBars(QPainter& painter) const;
    void paintGrip(QPainter& painter) const;

    Steps steps_;
    std::vector<RetimeRow> rows_;
    std::optional<RetimeRow> chosen_{};
    double sceneDuration_ = 0;
    double playhead_ = 0;
    QPixmap bars_; ///< As last painted; null when they have changed.
};

} // namespace larkspool
