#pragma once

#include "views/timeline_layout.h"

#include <QRectF>
#include <QString>

#include <optional>
#include <vector>

namespace larkspool {

/// What can be pressed in the gutter, beside a row.
struct GutterControl {
    enum class Kind { fold, addSpan, pin, addPulse, addKeyframe };

    Kind kind = Kind::fold;
    QRectF rect; ///< In the coordinates of the rows.
};

/// Names a control of the gutter, wherever its row lies.
struct GutterPlace {
    UUID layerID{};
    GutterControl::Kind kind = GutterControl::Kind::fold;
    Keyframe::AnimatableProperty property{}; ///< Of `addKeyframe` alone.

    bool operator==(const GutterPlace&) const = default;
};

namespace TimelineGutter {

/// The controls of a row, from left to right. None beside a row that stands for the whole scene.
std::vector<GutterControl> controls(const TimelineLayout& layout, const TimelineRow& row);
std::optional<GutterControl> control(const TimelineLayout& layout, const TimelineRow& row, GutterControl::Kind kind);

GutterPlace place(const TimelineRow& row, const GutterControl& control);
/// Null if no row of the layout has that control.
const TimelineRow* rowOf(const TimelineLayout& layout, const GutterPlace& place);

/// What a press would do, with the playhead where it is. Never empty.
QString help(const TimelineLayout& layout, const TimelineRow& row, GutterControl::Kind kind, double playhead);

} // namespace TimelineGutter

} // namespace larkspool
