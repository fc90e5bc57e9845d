#pragma once

#include "document/layer.h"
#include "foundation/random_source.h"

namespace larkspool {

/// Keyframes of one property nearer to each other than this, in seconds, stand at one time.
inline constexpr double sameKeyframeTime = 0.001;

/// Pins the property to the value at the time: a new keyframe takes the place of those of the property that stand at that time,
/// and keeps the easing and the wait of the first of them in the layer's list. It is appended to the list. Gives its id.
UUID upsertKeyframe(Layer& layer, Keyframe::AnimatableProperty property, double time, KeyValue value,
                    RandomSource& random = systemRandom());

} // namespace larkspool
