#pragma once

#include "document/enumeration.h"
#include "document/time_span.h"
#include "editing/edit.h"
#include "foundation/random_source.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace larkspool {

/// A selected span, found.
struct ResolvedSpanRef {
    UUID layerID{};
    UUID spanID{};
    TimeSpan span{};

    bool operator==(const ResolvedSpanRef&) const = default;
};

/// In what order spans set off one after the other.
enum class StaggerOrder {
    layerTopDown,  ///< As the layer panel lists their layers, frontmost first; in one layer by start.
    layerBottomUp, ///< The layers the other way round.
    earliestFirst, ///< By start.
    random
};

template <>
struct EnumTable<StaggerOrder> {
    using enum StaggerOrder;
    static constexpr EnumCase<StaggerOrder> cases[] = {{layerTopDown, "layerTopDown", "Layer Top Down"},
                                                       {layerBottomUp, "layerBottomUp", "Layer Bottom Up"},
                                                       {earliestFirst, "earliestFirst", "Earliest First"},
                                                       {random, "random", "Random"}};
};

/// The selected spans in the order of the tree. References that name nothing are passed over.
std::vector<ResolvedSpanRef> resolvedSelectedSpans(const TweenScene& scene, const TimelineSelection& selection);

/// How many spans are selected; the menu entries of both commands are enabled from 2 on.
std::size_t selectedSpanCount(const TweenScene& scene, const TimelineSelection& selection);

/// The row of the layer in the layer panel with everything unfolded: the frontmost is 0, and the layers of a group follow it.
/// Nothing for a layer that is not there.
std::optional<std::size_t> layerPanelOrderIndex(const TweenScene& scene, const UUID& layerID);

/// Chains the spans in the order of their starts, from the first start or 0 on, with `gap` seconds from each to the next; a gap
/// below 0 counts as 0. Lengths are kept; an inverted span counts as one of no length.
///
///     [--a--]        [b]    [---c---]
///     [--a--]gap[b]gap[---c---]
///
/// Gives them in their order. Fewer than two spans, and times that would not be numbers, are given as they are.
std::vector<ResolvedSpanRef> previewDistributeSpans(double gap, std::vector<ResolvedSpanRef> resolved);

/// Lets the spans set off one after the other, from the start of the first in the order, or 0. The first step is `amount`
/// seconds; each next one is 1 + `curve` times as long as the one before, and 0.05 times at least. Amounts below 0 go backwards,
/// to 0 at most. Otherwise as `previewDistributeSpans`. `scene` is the one that the spans were found in.
std::vector<ResolvedSpanRef> previewStaggerSpans(double amount, double curve, StaggerOrder order, const TweenScene& scene,
                                                 std::vector<ResolvedSpanRef> resolved, RandomSource& random = systemRandom());

/// @name The same as edits of the selected spans. The effects of spans are refit. Nothing if nothing changes, if fewer than two
/// spans are selected, for parameters that are not finite, and in a scene of no duration.
/// @{
std::optional<Edit> distributeSelectedSpans(const TweenScene& scene, const TimelineSelection& selection, double gap);
std::optional<Edit> staggerSelectedSpans(const TweenScene& scene, const TimelineSelection& selection, double amount, double curve,
                                         StaggerOrder order, RandomSource& random = systemRandom());
/// @}

} // namespace larkspool
