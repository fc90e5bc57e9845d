#pragma once

#include "document/layer.h"

#include <optional>
#include <span>

namespace larkspool {

/// Whether the layer shows at `time`: inside its clip if it is a video, and inside one of its spans if it has any. Whether it is
/// hidden is for the caller to ask.
bool isVisible(const Layer& layer, double time);

/// Whether a keyframe of one of `properties` (of any, if absent) holds its value in a wait at `time`.
bool isInWait(const Layer& layer, double time, std::optional<std::span<const Keyframe::AnimatableProperty>> properties = {});

/// Lays the effects of the span at `time` over `resolved`, which is what `Interpolation::resolve` made of `original`: fades,
/// moves and scales it and sets the fields of evaluated copies. Outside all spans `resolved` comes back as it is.
Layer applySpanEffects(Layer resolved, const Layer& original, double time);

/// How far a zoom with this transition has moved, for progress 0...1: eased for `zoom`, else 1.
double transformProgress(ZoomTransition transition, double progress);

/// How far a zoom with this transition has faded in, for progress 0...1: eased for `fade`, else 1.
double alphaFactor(ZoomTransition transition, double progress);

} // namespace larkspool
