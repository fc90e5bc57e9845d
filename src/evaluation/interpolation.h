#pragma once

#include "document/layer.h"

namespace larkspool {

/// What a layer looks like at a time, as far as keyframes go.
namespace Interpolation {

/// A copy of `layer` in which every keyframed property holds its value at `time`, in scene seconds. The children stay as
/// stored.
///
/// A keyframe whose value is of another case than its property takes leaves the field as stored. Keyframes of one property
/// may stand in any order; of those at one time, the first in array order ends a move and the last begins the next.
///
/// On the main thread, results are kept by layer id and used again while the time, the generation, and the layer's transform,
/// size and number of keyframes are the same; an edit must therefore call `invalidate`. On every other thread this is a pure
/// function.
Layer resolve(const Layer& layer, double time);

/// Makes every kept result stale. Main thread only.
void invalidate();

/// The field of the layer that keyframes of the property override, in the case of value that the property takes.
KeyValue fieldValue(const Layer& layer, Keyframe::AnimatableProperty property);

/// Where a resolved layer stands and how big it is.
struct Placement {
    Transform transform;
    CGSize size;
    double groupGap = 0;

    /// The unscaled, unrotated box in the space of the layer's parent.
    CGRect box() const { return {{transform.x, transform.y}, size}; }
};

/// The same fields as of `resolve(layer, time)`, for a fraction of its cost: the layer is not copied and nothing is kept.
Placement placement(const Layer& layer, double time);

} // namespace Interpolation

} // namespace larkspool
