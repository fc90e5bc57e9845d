#pragma once

#include "canvas/overlay_items.h"

#include <QWidget>

#include <functional>

class QToolButton;

namespace larkspool {

/// The switch that floats beside a selection with a path: whether a drag sets a keyframe at the playhead or moves the whole path.
class DragModeView final : public QWidget {
public:
    DragModeView(std::function<void(bool keyframeAtPlayhead)> choose, QWidget* parent);

    /// Stands right of what is selected, or left of it where there is no room; hidden without a toggle. `selected` is what the
    /// selection covers, in the parent's pixels.
    void show(const std::optional<OverlayItems::DragModeToggle>& toggle, const QRectF& selected);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QToolButton* setKeyframe_ = nullptr;
    QToolButton* movePath_ = nullptr;
};

} // namespace larkspool
