#pragma once

#include "document/layer.h"

#include <optional>

namespace larkspool {

/// Seconds that a pulse plays.
inline constexpr double pulseSeconds = 1;

struct PulseEnvelope {
    double scale = 1; ///< Factor of the layer's scale.
    double glow = 0;  ///< Strength, 0...1.4.
};

/// What the pulses do at `time`. Of the pulses that play an effect, the latest alone counts.
PulseEnvelope pulseEnvelope(double time, const Array<Pulse>& pulses);

/// The age in seconds, which is also the progress 0...1, of the latest pulse that sends out rings at `time`.
std::optional<double> activeRadiateProgress(const Array<Pulse>& pulses, double time);

/// The colour that a glow takes from the layer; `fallback` where the layer has none that can be seen.
ColorRGBA pulseGlowColorRGBA(const Layer& layer, const ColorRGBA& fallback);

/// The point that rings go out from, in the space of the layer's parent. `baked` is the layer after evaluation, `layer` as
/// stored; `groupOffset` is added for a group that covers something.
CGPoint radiateCenter(const Layer& layer, const Layer& baked, CGPoint groupOffset, double time);

/// The layer with its scale multiplied by that of a pulse.
Layer applyPulseScale(Layer layer, double scale);

} // namespace larkspool
