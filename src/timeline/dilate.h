#pragma once

#include "timeline/move_items.h"

#include <optional>
#include <string_view>

namespace larkspool {

/// The time that stays in place while the spacing of the selected items is scaled: their first start, their last end, or half
/// way between.
enum class DilateAnchor { start, center, end };

template <>
struct EnumTable<DilateAnchor> {
    using enum DilateAnchor;
    static constexpr EnumCase<DilateAnchor> cases[] = {
        {start, "start", "Start"}, {center, "center", "Center"}, {end, "end", "End"}};
};

/// 0 for targets without bounds.
double dilateAnchorTime(const SelectionMoveTargets& targets, DilateAnchor anchor);

/// Where a time goes when the spacing around `anchorTime` is scaled. It is not held anywhere.
inline double dilated(double time, double anchorTime, double scale)
{
    return anchorTime + scale * (time - anchorTime);
}

/// Stretches or squeezes the spacing of the selected items around the anchor. What scales is where they start; spans and clips
/// keep their length and keyframes their wait:
///
///     [-a-]  [b]   *c               around the start, by 2
///     [-a-]        [b]         *c
///
/// All are held within the scene. Ripple takes the items before the first start by the way that this has gone, and those from
/// the last end on by the way of that. Nothing for a scale within 0.0001 of 1, without bounds, and in a scene of no duration.
std::optional<RippledEdit> applyDilate(const TweenScene& scene, const TimelineSelection& selection, double scale,
                                       DilateAnchor anchor, const RippleSetting& ripple, std::string_view actionName);

} // namespace larkspool
