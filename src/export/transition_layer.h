#pragma once

#include "document/tween_scene.h"
#include "rendering/retained/compositing_node.h"

namespace larkspool::ExporterGPU {

/// The tree of a moment between two scenes, at `progress` 0...1: the trees of both, of one size, on opaque black. The children
/// are the leaving scene and, last, the entering one; in a slide, what hides the seam lies between them.
CompositingNode transitionLayer(SceneTransition::Kind kind, double progress, const CompositingNode& outLayer,
                                const CompositingNode& inLayer);

} // namespace larkspool::ExporterGPU
