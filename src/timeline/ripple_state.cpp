#include "timeline/ripple_state.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

/// Seconds below which nothing has moved, and a duration has not changed.
constexpr double noChange = 0.0001;

bool isOnSide(TimelineRippleMode mode, double time, double anchor)
{
    switch (mode) {
    case TimelineRippleMode::none: return false;
    case TimelineRippleMode::before: return time < anchor;
    case TimelineRippleMode::after: return time >= anchor;
    case TimelineRippleMode::both: return true;
    }
    return false;
}

/// Whether items of the kind move by themselves. A wait is carried by its keyframe.
bool canRipple(TimelineItemRef::Kind kind, ItemTimes times)
{
    if (kind == TimelineItemRef::Kind::waitTail) return false;
    return kind != TimelineItemRef::Kind::videoClip || times.start < times.end;
}

/// The item `dt` later, held at 0.
ItemTimes shifted(const CapturedItem& item, double dt)
{
    const double start = std::max(item.times.start + dt, 0.0);
    return {start, start + item.length()};
}

double latestEnd(const CapturedItems& items, double dt, double atLeast)
{
    for (std::size_t i = 0; i < items.size(); ++i) atLeast = std::max(atLeast, shifted(items[i], dt).end);
    return atLeast;
}

} // namespace

void TimelineRippleState::capture(const TweenScene& scene, const TimelineSelection& excluded, TimelineRippleMode mode,
                                  double anchor, std::shared_ptr<const LayerIndex> index)
{
    snapshot.reset();
    if (mode == TimelineRippleMode::none) return;

    if (!index) index = std::make_shared<const LayerIndex>(scene);
    CapturedItems items(std::move(index));
    LayerIndex::Place place = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        const LayerIndex::Place here = place++;
        if (scopeLayerIDs && !scopeLayerIDs->contains(layer.id)) return;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
            if (!canRipple(ref.kind, times) || !isOnSide(mode, times.start, anchor) || excluded.contains(ref)) return;
            items.add(here, CapturedItem::of(layer, ref, times), position);
        });
    });
    snapshot = Snapshot{mode, anchor, std::move(items), scene.duration};
}

void TimelineRippleState::apply(double dt, TweenScene& to)
{
    if (!snapshot || !std::isfinite(dt)) return;
    if (std::abs(dt) > noChange) didShift = true;

    const double end = latestEnd(snapshot->items, dt, snapshot->originalDuration);
    if (std::abs(end - to.duration) > noChange) to.duration = end;
    snapshot->items.write(to, [&](const CapturedItem& item) {
        ItemTimes times = shifted(item, dt);
        if (item.ref.kind == TimelineItemRef::Kind::keyframe || item.ref.kind == TimelineItemRef::Kind::pulse)
            times.start = times.end = std::min(times.start, std::max(to.duration, 0.0));
        return CapturedItems::Written{.times = times, .sourceStart = item.sourceStart};
    });
}

void TimelineRippleState::applyPrimaryStart(double primaryStart, TweenScene& to)
{
    if (snapshot) apply(primaryStart - snapshot->anchor, to);
}

std::optional<std::size_t> TimelineRippleState::clear()
{
    const std::size_t moved = didShift ? rippledItemCount() : 0;
    snapshot.reset();
    didShift = false;
    return moved > 0 ? std::optional(moved) : std::nullopt;
}

} // namespace larkspool
