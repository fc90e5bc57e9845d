#pragma once

#include "editing/scene_lookup.h"
#include "timeline/drag_rules.h"
#include "timeline/item_drag.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace larkspool {

/// The four rows that stand for the whole scene while no layer is shown in detail. Items of different layers at the same time
/// collapse into one bar or marker, and a drag of it moves every one of them: see `TimelineItemDrag`.

/// When an item is, in whole milliseconds, each time rounded to the nearest: items with one key share a bar or marker. So two
/// items that lie less than a millisecond apart can still stand apart: 1.0004 and 1.0006 seconds are 1000 and 1001.
struct TimeRangeKey {
    double start = 0;
    double end = 0;

    /// Nothing for times that are not numbers: such an item is in no bar.
    static std::optional<TimeRangeKey> of(ItemTimes times);

    auto operator<=>(const TimeRangeKey&) const = default;
};

/// A bar or a marker.
template <typename Ref>
struct AggregateGroup {
    std::vector<UUID> stableID{}; ///< The sorted ids of its items, the same while it moves. Of a clip, the layer's id.
    double start = 0;             ///< Of its first item, in seconds; so too the end.
    double end = 0;
    std::vector<Ref> refs{}; ///< Its items, in the order of the tree.

    /// What a tap on it taps, and a drag of it moves.
    std::vector<TimelineItemRef> members() const
    {
        std::vector<TimelineItemRef> members;
        for (const Ref& ref : refs) members.push_back(ref.item());
        return members;
    }
    /// A press on it.
    DragPress press(DragHandle handle, Modifiers modifiers = {}) const
    {
        return {.members = members(), .handle = handle, .row = DragRow::aggregate, .modifiers = modifiers};
    }
};

/// `groups` of a row gives its bars or markers, from the earliest to the latest start, and of one start by their ends.
namespace AggregateSpansTrack {

struct SpanRef {
    UUID layerID{};
    UUID spanID{};
    double start = 0;
    double end = 0;

    TimelineItemRef item() const { return TimelineItemRef::span(layerID, spanID); }
};

std::vector<AggregateGroup<SpanRef>> groups(const TweenScene& scene);

inline constexpr std::string_view help =
    "Aggregate view across all layers. Bars share the same start and end across multiple layers; dragging a bar moves every "
    "contributing layer's matching span by the same delta.";

} // namespace AggregateSpansTrack

namespace AggregateVideoTrack {

struct ClipRef {
    UUID layerID{};
    VideoClip clip{};
    double srcDuration = 0; ///< Length of the source in seconds.

    TimelineItemRef item() const { return TimelineItemRef::videoClip(layerID); }
};

std::vector<AggregateGroup<ClipRef>> groups(const TweenScene& scene);

inline constexpr std::string_view help =
    "Aggregate view across all video layers. Bars sharing the same scene range collapse into one; dragging or trimming moves "
    "every matching clip by the same delta.";

} // namespace AggregateVideoTrack

namespace AggregateKeyframesTrack {

struct KFRef {
    UUID layerID{};
    UUID kfID{};
    double time = 0;

    TimelineItemRef item() const { return TimelineItemRef::keyframe(layerID, kfID); }
};

std::vector<AggregateGroup<KFRef>> groups(const TweenScene& scene);

inline constexpr std::string_view help =
    "Aggregate view of every keyframe in the scene. Diamonds sharing a time collapse into one; dragging shifts every keyframe at "
    "that time by the same delta.";

} // namespace AggregateKeyframesTrack

namespace AggregatePulsesTrack {

struct PulseRef {
    UUID layerID{};
    UUID pulseID{};
    double time = 0;

    TimelineItemRef item() const { return TimelineItemRef::pulse(layerID, pulseID); }
};

std::vector<AggregateGroup<PulseRef>> groups(const TweenScene& scene);

inline constexpr std::string_view help =
    "Aggregate view of every pulse marker. Markers at the same time collapse into one; dragging shifts every contributing "
    "layer's matching pulse together.";

} // namespace AggregatePulsesTrack

/// The layers behind a bar.
struct OverlapGroup {
    double start = 0;
    double end = 0;
    std::vector<UUID> layerIDs{}; ///< In the order of the tree, each once.

    bool operator==(const OverlapGroup&) const = default;
};

/// Whether two bars share more than a moment, or stand at the same times.
bool overlap(ItemTimes a, ItemTimes b);

/// The bar at `position` and the bars that lie over it or under it, in the order of the row. A marker has only itself. Empty for
/// a position that the row does not have.
template <typename Ref>
std::vector<OverlapGroup> overlapGroups(const std::vector<AggregateGroup<Ref>>& groups, std::size_t position)
{
    std::vector<OverlapGroup> overlapping;
    if (position >= groups.size()) return overlapping;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const AggregateGroup<Ref>& group = groups[i];
        if (i != position && !overlap({group.start, group.end}, {groups[position].start, groups[position].end})) continue;
        OverlapGroup& into = overlapping.emplace_back(OverlapGroup{group.start, group.end});
        for (const Ref& ref : group.refs) // The items of one layer stand together.
            if (into.layerIDs.empty() || into.layerIDs.back() != ref.layerID) into.layerIDs.push_back(ref.layerID);
    }
    return overlapping;
}

/// The list of the layers behind a bar or marker, by name: flat if nothing else lies there, else in a part for each bar.
struct AggregateLayerPopover {
    using NameLookup = std::unordered_map<UUID, std::string>;

    struct Entry {
        UUID layerID{};
        std::string name{};

        bool operator==(const Entry&) const = default;
    };
    struct Part {
        OverlapGroup group{};
        std::vector<Entry> entries{};
    };

    std::vector<Entry> flatBody{};
    std::vector<Part> groupedBody{};

    bool isGrouped() const { return !groupedBody.empty(); }

    /// The names of all layers of the scene.
    static NameLookup nameLookup(const TweenScene& scene);
    /// A layer without a name in `names` is left out.
    static AggregateLayerPopover of(const std::vector<OverlapGroup>& groups, const NameLookup& names);
};

} // namespace larkspool
