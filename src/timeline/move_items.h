#pragma once

#include "timeline/captured_items.h"
#include "timeline/retime_row.h"
#include "timeline/rippled_edit.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace larkspool {

/// The selected items of the timeline as a scene has them, to be moved together. Times are seconds.
struct SelectionMoveTargets {
    /// @name From the first start to the last end. The end of a keyframe, and of its wait tail, is that of its wait.
    /// @{
    double minStart = std::numeric_limits<double>::infinity();
    double maxEnd = -std::numeric_limits<double>::infinity();
    /// @}
    CapturedItems items{}; ///< What moves: spans, clips, pulses and keyframes. A wait tail moves its keyframe, once.
    std::vector<double> allStarts{}; ///< One for each selected item.
    std::vector<RetimeRow> retimeRows{}; ///< One for each selected item, for previews.

    bool hasBounds() const { return std::isfinite(minStart) && std::isfinite(maxEnd); }
};

/// References that name nothing are passed over. Items are in the order of the tree.
SelectionMoveTargets collectSelectionMoveTargets(const TweenScene& scene, const TimelineSelection& selection);

/// What ripple leaves alone while the targets move: what is selected, and what moves for it.
TimelineSelection rippleExclusions(const TimelineSelection& selection, const SelectionMoveTargets& targets);

/// Writes every target to where it was collected plus `delta`. It is held within 0 and `total`, spans and clips by both ends: one
/// that would end behind `total` is cut there. The effects of spans are refit.
void applyDeltaToTargets(const SelectionMoveTargets& targets, double delta, double total, TweenScene& to);

/// The same with the targets' starts at `newStart(const CapturedItem&)`.
template <typename NewStart>
void placeTargets(const SelectionMoveTargets& targets, double total, TweenScene& to, const NewStart& newStart);

/// Moves the selected items by `delta` seconds, and with them what ripple takes on the chosen side of their first start.
///
/// Nothing for a delta of 0.0001 or less to either side, without an item that is there, and in a scene of no duration.
std::optional<RippledEdit> applyMoveDelta(const TweenScene& scene, const TimelineSelection& selection, double delta,
                                          const RippleSetting& ripple, std::string_view actionName);

/// Moves every selected item to one time, which is held within the scene: all begin there. There is no ripple: which way the
/// others would go differs from item to item. Nothing as for `applyMoveDelta`.
std::optional<Edit> applyMoveAbsolute(const TweenScene& scene, const TimelineSelection& selection, double time,
                                      std::string_view actionName);

/// Where an item that begins at `start` comes to stand in a scene of `total` seconds.
ItemTimes placedWithin(const CapturedItem& item, double start, double total);

template <typename NewStart>
void placeTargets(const SelectionMoveTargets& targets, double total, TweenScene& to, const NewStart& newStart)
{
    targets.items.write(to, [&](const CapturedItem& item) {
        return CapturedItems::Written{.times = placedWithin(item, newStart(item), total), .sourceStart = item.sourceStart};
    });
}

} // namespace larkspool
