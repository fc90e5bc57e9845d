#pragma once

#include "editing/edit.h"
#include "editing/scene_lookup.h"
#include "foundation/random_source.h"
#include "timeline/timeline_geometry.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// What is particular to the row of a layer's pulses. Dragging them is `TimelineItemDrag`.
namespace PulsesTrack {

inline constexpr double rowHeight = 18;  ///< Points.
inline constexpr double markerSize = 12; ///< Points; of the square around a marker's middle that a press takes hold of.

/// Adds a pulse to the layer, at 0 or later, with the default effects. Pulses may share a time. Nothing if there is no such
/// layer, and for a time that is not a number.
std::optional<Edit> addPulse(const TweenScene& scene, const UUID& layerID, double time, RandomSource& random = systemRandom());

/// The help of the add button.
inline constexpr std::string_view addHelp = "Add pulse marker at playhead";

/// The marker of a pulse: its middle, in points of the mapping, and its time as the row shows it, such as "1.50s".
struct PulseMarker {
    TimelineItemRef ref{};
    double x = 0;
    std::string time{};

    bool operator==(const PulseMarker&) const = default;
};

/// Nothing on a track that shows no time.
std::optional<PulseMarker> pulseMarker(const UUID& layerID, const Pulse& pulse, const TrackMapping& mapping);

/// From the first to the last of the layer's selected pulses, which the ripple pills stand beside. Nothing without one.
std::optional<ItemTimes> localPulseSelectionBounds(const Layer& layer, const TimelineSelection& selection);

} // namespace PulsesTrack

} // namespace larkspool
