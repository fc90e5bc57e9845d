#pragma once

#include "document/tween_scene.h"
#include "evaluation/evaluated_frame.h"
#include "rendering/retained/compositing_node.h"

#include <optional>

namespace larkspool {

/// Builds what the second exporter composites its frames from.
namespace ExporterGPU {

/// The tree of a scene at a time (scene seconds; beyond the scene's end, what has ended is over and the rest holds): the picture
/// that `Exporter::drawScene` paints into a raster of that size. The root is as large as the raster, with bars and background.
CompositingNode buildSceneLayer(const TweenScene& scene, double time, int pixelWidth, int pixelHeight);

/// The tree of a frame that was evaluated before.
CompositingNode buildSceneLayer(const EvaluatedFrame& frame, int pixelWidth, int pixelHeight);

/// What a layer's node takes from above it.
struct NodeSurroundings {
    AffineTransform toDevice; ///< From the space of the node's parent.
    double parentOpacity = 1; ///< Handed down to the layer.
    double ringOpacity = 1; ///< Of rings behind the layer.
    std::optional<RasterShadow> shadow; ///< That every paint casts where the layer has none of its own.
    double time = 0;
};

/// Appends the nodes of an evaluated layer with its subtree, in the space of its parent: its rings, and the layer itself; a layer
/// with a shadow of its own that glows is there twice, since the glow takes the place of the shadow.
void buildLayerNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings, std::vector<CompositingNode>& nodes);

/// @name The node of one layer's body, without its children. The layer's transform is applied.
/// @{
CompositingNode makeShapeNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
CompositingNode makeTextNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
CompositingNode makeImageNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
CompositingNode makeLineNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
CompositingNode makeVideoNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
CompositingNode makeCursorNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
CompositingNode makeGradientFieldNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);
/// @}

/// A node of a drawing, which the renderer keeps as a bitmap.
CompositingNode rasterizedNode(std::shared_ptr<const NodeDrawing> draw);

/// Places a node where the layer is, with the layer's opacity.
void applyTransform(CompositingNode& node, const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings);

/// How the full-screen zoom that is on, if any, moves the content of the frame.
std::optional<AffineTransform> activeFullScreenZoomSpan(const EvaluatedFrame& frame);

/// Whether the layer sends out rings.
bool hasRadiateActive(const EvaluatedLayer& evaluated);

} // namespace ExporterGPU

} // namespace larkspool
