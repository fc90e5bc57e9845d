#pragma once

#include "document/tween_scene.h"

namespace larkspool {

/// A cursor layer that passes over a layer with a hover override takes on its variant, unless a keyframe has set the variant by
/// then. `layer` is evaluated; `absoluteOrigin` is the origin of its parent on the canvas. Other kinds come back as they are.
Layer applyHoverOverride(Layer layer, CGPoint absoluteOrigin, const TweenScene& scene, double time);

} // namespace larkspool
