#include "timeline/pulses_track.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace larkspool {

std::optional<Edit> PulsesTrack::addPulse(const TweenScene& scene, const UUID& layerID, double time, RandomSource& random)
{
    Edit edit{.scene = scene, .actionName = "Add Pulse"};
    Layer* layer = std::isfinite(time) ? editLayer(edit.scene, layerID) : nullptr;
    if (!layer) return std::nullopt;
    layer->pulses.append({.id = UUID::random(random), .time = std::max(time, 0.0)});
    return edit;
}

std::optional<PulsesTrack::PulseMarker> PulsesTrack::pulseMarker(const UUID& layerID, const Pulse& pulse,
                                                                 const TrackMapping& mapping)
{
    if (!mapping.isUsable()) return std::nullopt;
    return PulseMarker{TimelineItemRef::pulse(layerID, pulse.id), mapping.x(pulse.time), fmt::format("{:.2f}s", pulse.time)};
}

std::optional<ItemTimes> PulsesTrack::localPulseSelectionBounds(const Layer& layer, const TimelineSelection& selection)
{
    std::optional<ItemTimes> bounds;
    for (const Pulse& pulse : layer.pulses) {
        if (!selection.contains(TimelineItemRef::pulse(layer.id, pulse.id))) continue;
        if (!bounds) bounds = ItemTimes{pulse.time, pulse.time};
        bounds = ItemTimes{std::min(bounds->start, pulse.time), std::max(bounds->end, pulse.time)};
    }
    return bounds;
}

} // namespace larkspool
