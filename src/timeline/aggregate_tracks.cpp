#include "timeline/aggregate_tracks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

double milliseconds(double seconds)
{
    return std::round(seconds * 1000);
}

/// Collects the items of a row and makes its groups.
template <typename Ref>
class Grouping {
public:
    void add(ItemTimes times, const UUID& id, Ref ref)
    {
        if (const std::optional<TimeRangeKey> key = TimeRangeKey::of(times)) items_.push_back({*key, times, id, std::move(ref)});
    }

    std::vector<AggregateGroup<Ref>> groups() &&
    {
        std::ranges::stable_sort(items_, [](const Item& a, const Item& b) { return a.key < b.key; });
        std::vector<AggregateGroup<Ref>> groups;
        for (std::size_t i = 0; i < items_.size(); ++i) {
            if (i == 0 || items_[i].key != items_[i - 1].key)
                groups.push_back({.start = items_[i].times.start, .end = items_[i].times.end});
            groups.back().stableID.push_back(items_[i].id);
            groups.back().refs.push_back(std::move(items_[i].ref));
        }
        for (AggregateGroup<Ref>& group : groups) std::ranges::sort(group.stableID);
        return groups;
    }

private:
    struct Item {
        TimeRangeKey key;
        ItemTimes times;
        UUID id;
        Ref ref;
    };

    std::vector<Item> items_;
};

std::vector<AggregateLayerPopover::Entry> entriesOf(const std::vector<UUID>& layerIDs,
                                                    const AggregateLayerPopover::NameLookup& names)
{
    std::vector<AggregateLayerPopover::Entry> entries;
    for (const UUID& id : layerIDs)
        if (const auto name = names.find(id); name != names.end()) entries.push_back({id, name->second});
    return entries;
}

} // namespace

std::optional<TimeRangeKey> TimeRangeKey::of(ItemTimes times)
{
    if (!std::isfinite(times.start) || !std::isfinite(times.end)) return std::nullopt;
    return TimeRangeKey{milliseconds(times.start), milliseconds(times.end)};
}

std::vector<AggregateGroup<AggregateSpansTrack::SpanRef>> AggregateSpansTrack::groups(const TweenScene& scene)
{
    Grouping<SpanRef> grouping;
    walkLayers(scene.layers, [&](const Layer& layer) {
        for (const TimeSpan& span : layer.spans)
            grouping.add({span.start, span.end}, span.id, {layer.id, span.id, span.start, span.end});
    });
    return std::move(grouping).groups();
}

std::vector<AggregateGroup<AggregateVideoTrack::ClipRef>> AggregateVideoTrack::groups(const TweenScene& scene)
{
    Grouping<ClipRef> grouping;
    walkLayers(scene.layers, [&](const Layer& layer) {
        // A duplicated layer's clip can have its original's id, so that the layer's id tells them apart.
        if (const VideoClip* clip = findVideoClip(layer))
            grouping.add({clip->sceneStart, clip->sceneEnd}, layer.id, {layer.id, *clip, layer.videoDuration});
    });
    return std::move(grouping).groups();
}

std::vector<AggregateGroup<AggregateKeyframesTrack::KFRef>> AggregateKeyframesTrack::groups(const TweenScene& scene)
{
    Grouping<KFRef> grouping;
    walkLayers(scene.layers, [&](const Layer& layer) {
        for (const Keyframe& keyframe : layer.keyframes)
            grouping.add({keyframe.time, keyframe.time}, keyframe.id, {layer.id, keyframe.id, keyframe.time});
    });
    return std::move(grouping).groups();
}

std::vector<AggregateGroup<AggregatePulsesTrack::PulseRef>> AggregatePulsesTrack::groups(const TweenScene& scene)
{
    Grouping<PulseRef> grouping;
    walkLayers(scene.layers, [&](const Layer& layer) {
        for (const Pulse& pulse : layer.pulses)
            grouping.add({pulse.time, pulse.time}, pulse.id, {layer.id, pulse.id, pulse.time});
    });
    return std::move(grouping).groups();
}

bool overlap(ItemTimes a, ItemTimes b)
{
    return a == b || (a.start < b.end && b.start < a.end);
}

AggregateLayerPopover::NameLookup AggregateLayerPopover::nameLookup(const TweenScene& scene)
{
    NameLookup names;
    walkLayers(scene.layers, [&](const Layer& layer) { names.emplace(layer.id, layer.name.string()); });
    return names;
}

AggregateLayerPopover AggregateLayerPopover::of(const std::vector<OverlapGroup>& groups, const NameLookup& names)
{
    AggregateLayerPopover popover;
    if (groups.size() == 1) popover.flatBody = entriesOf(groups.front().layerIDs, names);
    if (groups.size() > 1)
        for (const OverlapGroup& group : groups) popover.groupedBody.push_back({group, entriesOf(group.layerIDs, names)});
    return popover;
}

} // namespace larkspool
