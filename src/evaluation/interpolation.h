#pragma once

#include "document/layer.h"

namespace larkspool {

/// What a layer looks like at a time, as far as keyframes go.
namespace Interpolation {

/// A copy of `layer` in which every keyframed property holds its value at `time`, in scene seconds. The children stay as
/// stored.
///
/// On the main thread, results are kept by layer id and used again while the time, the generation, and the layer's transform,
/// size and number of keyframes are the same; an edit must therefore call `invalidate`. On every other thread this is a pure
/// function.
Layer resolve(const Layer& layer, double time);

/// Makes every kept result stale. Main thread only.
void invalidate();

} // namespace Interpolation

} // namespace larkspool
