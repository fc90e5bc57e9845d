#pragma once

#include "timeline/aggregate_tracks.h"

#include <QWidget>

namespace larkspool {

/// The list of the layers behind a bar or marker, which floats above it, within the window that it is a child of.
class TimelinePopover final : public QWidget {
public:
    explicit TimelinePopover(QWidget* parent);

    /// Shows the list with its tip at `tip`, a point of the window on the bar's upper edge.
    void show(const TweenScene& scene, const std::vector<OverlapGroup>& groups, QPoint tip);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Line {
        enum class Kind { head, layer, more };
        Kind kind;
        QString icon, words, times;
    };
    std::vector<Line> lines_;
    double tipX_ = 0;
};

} // namespace larkspool
