#pragma once

#include "document/layer.h"
#include "foundation/random_source.h"

namespace larkspool {

/// How a drag writes what it changes where that is keyframed.
struct KeyframedWriting {
    double playhead = 0;            ///< Seconds.
    bool keyframeAtPlayhead = true; ///< A property with keyframes gets one at the playhead. Otherwise its base value changes.
    RandomSource* random = &systemRandom();
};

/// Writes a number: as a keyframe at the playhead that keeps the easing and the wait of the one that it replaces, or as the base
/// value. For `x`, `y`, `rotation`, `width` and `height`.
void writeProperty(Layer& layer, Keyframe::AnimatableProperty property, double value, const KeyframedWriting& how);

bool hasKeyframes(const Layer& layer, Keyframe::AnimatableProperty property);

/// Moves the layer with its whole path: its place and every keyframe of x and y that holds a number.
void shiftPosition(Layer& layer, double dx, double dy);

/// Moves every keyframe of x and y that holds a number.
void shiftPositionKeyframes(Layer& layer, double dx, double dy);

} // namespace larkspool
