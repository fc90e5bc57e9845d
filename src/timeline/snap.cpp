#include "timeline/snap.h"

#include "editing/scene_lookup.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

bool storedOrTrue(const UserDefaults& defaults, std::string_view key)
{
    const std::optional<UserDefaults::Value> stored = defaults.value(key);
    const bool* flag = stored ? std::get_if<bool>(&*stored) : nullptr;
    return flag ? *flag : true;
}

/// The layers whose items are targets, in the order of the tree.
std::vector<const Layer*> layersOf(const TweenScene& scene, SnapMember::Pool pool, const UUID& ownLayerID)
{
    std::vector<const Layer*> layers;
    if (pool == SnapMember::Pool::ownLayer) {
        if (const Layer* own = findLayer(scene, ownLayerID)) layers.push_back(own);
        return layers;
    }
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (pool == SnapMember::Pool::everyLayer || layer.kind == Layer::Kind::video) layers.push_back(&layer);
    });
    return layers;
}

std::vector<double> targetsOf(const std::vector<const Layer*>& layers, double playhead, const SnapSettings& settings,
                              const TimelineSelection& excluded)
{
    std::vector<double> targets{playhead};
    if (settings.toKeyframes)
        for (const Layer* layer : layers)
            for (const Keyframe& keyframe : layer->keyframes)
                if (!excluded.contains(TimelineItemRef::keyframe(layer->id, keyframe.id))) targets.push_back(keyframe.time);
    if (settings.toPulses)
        for (const Layer* layer : layers)
            for (const Pulse& pulse : layer->pulses)
                if (!excluded.contains(TimelineItemRef::pulse(layer->id, pulse.id))) targets.push_back(pulse.time);
    if (settings.toSpans)
        for (const Layer* layer : layers)
            for (const TimeSpan& span : layer->spans)
                if (!excluded.contains(TimelineItemRef::span(layer->id, span.id)))
                    targets.insert(targets.end(), {span.start, span.end});
    return targets;
}

} // namespace

double gridStep(PlayheadSnapMode mode, std::int64_t fps)
{
    switch (mode) {
    case PlayheadSnapMode::frame: return 1.0 / static_cast<double>(std::max<std::int64_t>(fps, 1));
    case PlayheadSnapMode::sec010: return 0.1;
    case PlayheadSnapMode::sec025: return 0.25;
    case PlayheadSnapMode::sec050: return 0.5;
    case PlayheadSnapMode::sec100: return 1;
    }
    return 1;
}

double gridTime(double time, double step)
{
    return step * std::round(time / step);
}

SnapSettings SnapSettings::of(const UserDefaults& defaults)
{
    return {
        .grid =
            fromFileValue<PlayheadSnapMode>(defaults.string(DefaultsKey::timelinePlayheadSnap)).value_or(PlayheadSnapMode::frame),
        .toSpans = storedOrTrue(defaults, DefaultsKey::timelineSnapToSpans),
        .toKeyframes = storedOrTrue(defaults, DefaultsKey::timelineSnapToKeyframes),
        .toPulses = storedOrTrue(defaults, DefaultsKey::timelineSnapToPulses)};
}

TimeSnap::TimeSnap(const TweenScene& scene, double playhead, const SnapSettings& settings, SnapMember member,
                   const UUID& ownLayerID, const TimelineSelection& excluded, const Track& track)
    : targets_(targetsOf(layersOf(scene, member.pool, ownLayerID), playhead, settings, excluded)),
      radiusSeconds_(member.radius / track.width * track.visibleSeconds),
      step_(gridStep(settings.grid, scene.fps)),
      usable_(track.width > 0 && track.totalSeconds > 0)
{}

bool TimeSnap::isActive(double time, Modifiers modifiers) const
{
    return usable_ && !modifiers.command && std::isfinite(time);
}

std::optional<double> TimeSnap::nearestTarget(double time) const
{
    std::optional<double> nearest;
    double best = radiusSeconds_;
    for (const double target : targets_) {
        const double distance = std::abs(target - time);
        if (!(distance < best)) continue;
        best = distance;
        nearest = target;
    }
    return nearest;
}

std::optional<TimeSnap::Snapped> TimeSnap::snap(double time, Modifiers modifiers) const
{
    if (!isActive(time, modifiers)) return std::nullopt;
    if (const std::optional<double> target = nearestTarget(time)) return Snapped{*target, true};
    return Snapped{gridTime(time, step_), false};
}

std::optional<TimeSnap::SnappedBody> TimeSnap::snapBody(double start, double length, Modifiers modifiers) const
{
    if (!isActive(start, modifiers)) return std::nullopt;
    if (const std::optional<double> target = nearestTarget(start)) return SnappedBody{*target, *target, true};
    if (const std::optional<double> target = nearestTarget(start + length)) return SnappedBody{*target - length, *target, true};
    const double grid = gridTime(start, step_);
    return SnappedBody{grid, grid, false};
}

double scrubbedPlayhead(double time, PlayheadSnapMode mode, const TweenScene& scene, Modifiers modifiers)
{
    const double snapped = modifiers.command ? time : gridTime(time, gridStep(mode, scene.fps));
    return std::max(std::min(snapped, scene.duration), 0.0);
}

} // namespace larkspool
