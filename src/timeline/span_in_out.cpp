#include "timeline/span_in_out.h"

#include "timeline/drag_rules.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace larkspool {

namespace {

using Kind = TimelineItemRef::Kind;

DragHandle handleOf(InOutPoint point)
{
    return point == InOutPoint::in ? DragHandle::leftEdge : DragHandle::rightEdge;
}

/// Whether the target can take the playhead without ending before it begins.
bool takes(ItemTimes times, InOutPoint point, double playhead)
{
    return point == InOutPoint::in ? playhead <= times.end : times.start <= playhead;
}

/// The targets that change, and the earliest of the ends that are set.
struct Targets {
    CapturedItems items{};
    TimelineSelection refs{};
    double earliestEdge = 0;

    void add(LayerIndex::Place place, const CapturedItem& item, std::size_t position, double edge)
    {
        earliestEdge = items.empty() ? edge : std::min(earliestEdge, edge);
        items.add(place, item, position);
        refs.insert(item.ref);
    }
};

Targets collectTargets(const EditorState& state, const TweenScene& scene, InOutPoint point, double playhead)
{
    const std::unordered_set<UUID> spanIDs = collectInOutTargetSpanIDs(state);
    const LayerIDs clipLayerIDs = collectInOutTargetVideoClipLayerIDs(state);
    const auto isTarget = [&](const TimelineItemRef& ref) {
        if (ref.kind == Kind::span) return spanIDs.contains(ref.itemID);
        return ref.kind == Kind::videoClip && clipLayerIDs.contains(ref.layerID);
    };

    Targets targets{.items = CapturedItems(std::make_shared<const LayerIndex>(scene))};
    LayerIndex::Place place = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        const LayerIndex::Place here = place++;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
            if (!isTarget(ref) || !takes(times, point, playhead)) return;
            const CapturedItem item = CapturedItem::of(layer, ref, times);
            const double edge = edgeOf(item, handleOf(point));
            if (edge != playhead) targets.add(here, item, position, edge);
        });
    });
    return targets;
}

} // namespace

std::unordered_set<UUID> collectInOutTargetSpanIDs(const EditorState& state)
{
    std::unordered_set<UUID> ids;
    for (const TimelineItemRef& ref : state.timelineSelection)
        if (ref.kind == Kind::span) ids.insert(ref.itemID);
    if (ids.empty() && state.selectedSpanID) ids.insert(*state.selectedSpanID);
    return ids;
}

LayerIDs collectInOutTargetVideoClipLayerIDs(const EditorState& state)
{
    LayerIDs ids;
    for (const TimelineItemRef& ref : state.timelineSelection)
        if (ref.kind == Kind::videoClip) ids.insert(ref.layerID);
    return ids;
}

std::optional<RippledEdit> applySpanInOut(const EditorState& state, InOutPoint point, const RippleSetting& ripple)
{
    const TweenScene scene = state.scene();
    if (!std::isfinite(state.playhead) || !(scene.duration > 0)) return std::nullopt;
    const double playhead = std::clamp(state.playhead, 0.0, scene.duration);
    const Targets targets = collectTargets(state, scene, point, playhead);
    if (targets.items.empty()) return std::nullopt;

    TimelineSelection excluded = state.timelineSelection;
    excluded.insert(targets.refs.begin(), targets.refs.end());
    TimelineRippleState others{.scopeLayerIDs = ripple.scopeLayerIDs};
    others.capture(scene, excluded, ripple.mode, targets.earliestEdge);

    RippledEdit set{{.scene = scene, .actionName = point == InOutPoint::in ? "Set In" : "Set Out"}};
    targets.items.write(set.edit.scene, [&](const CapturedItem& item) { return withEdge(item, handleOf(point), playhead); });
    others.apply(playhead - targets.earliestEdge, set.edit.scene);
    if (const std::optional<std::size_t> count = others.clear()) set.rippled.push_back(*count);
    return set;
}

} // namespace larkspool
