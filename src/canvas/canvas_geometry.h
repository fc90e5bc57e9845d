#pragma once

#include "document/tween_scene.h"
#include "editing/timeline_item.h"

#include <optional>

namespace larkspool {

/// Where layers of the tree stand in the scene at a time: in the places that stacks give them, with the places, scales and
/// rotations of the groups around them. Every other kind of layer leaves its children where they are: what a zoom holds stands in
/// the scene.

/// Where the space lies in which a layer's siblings have their x and y.
struct ParentFrame {
    CGPoint offset{};          ///< The sum of the places of the groups around: in scene coordinates, without scale and rotation.
    AffineTransform toScene{}; ///< From that space to the scene, with scale and rotation.
};

/// A layer in its place at a time.
struct PlacedLayer {
    Layer layer{}; ///< Resolved, and placed if its group is a stack. The children stay as stored.
    ParentFrame parent{};
};

/// The space of the children of a layer. `placed` is as stored, or as laid out by its group.
ParentFrame frameOfChildren(const Layer& placed, const ParentFrame& parent, double time);

/// The children of a layer, laid out if it is a stack; else as stored, not resolved.
Array<Layer> childrenInPlace(const Layer& placed, double time);

/// Calls `visit(const Layer&, const ParentFrame&)` for every layer, each parent before its children, in the order of the lists.
/// The layer is as stored, or as laid out by its group: to be resolved at the time.
template <typename Visit>
void walkPlacedLayers(const Array<Layer>& layers, const ParentFrame& parent, double time, const Visit& visit)
{
    for (const Layer& layer : layers) {
        visit(layer, parent);
        if (layer.children.empty()) continue;
        walkPlacedLayers(childrenInPlace(layer, time), frameOfChildren(layer, parent, time), time, visit);
    }
}

/// Nothing for an id that names no layer of the scene.
std::optional<PlacedLayer> placedLayer(const TweenScene& scene, const UUID& layerID, double time);

/// What takes a point of the space of the layer's siblings to the scene, as far as places go: the sum of those of the groups
/// around it. (0, 0) for a layer at the top, or of another scene.
CGPoint ancestorOffset(const TweenScene& scene, const UUID& layerID, double time);

/// The layer, resolved, with the transforms of the groups around it taken into its own, so that it stands in the scene by itself.
/// Where a group is scaled unevenly, or mirrored, around a rotated child, no layer can look the same; the point that the child's
/// anchor names is right even so.
std::optional<Layer> bakedLayer(const TweenScene& scene, const UUID& layerID, double time);

/// The box that a layer covers in the space of its siblings: of a group `groupVisualAABB`, of any other the resolved box without
/// its scale and rotation. Null for a group of which nothing shows. `placed` is as stored, or as laid out by its group.
CGRect boxInParent(const Layer& placed, double time);

/// The same in scene coordinates: the box around it, where a group is turned.
CGRect sceneBox(const Layer& placed, const ParentFrame& parent, double time);

/// What a group covers of the scene. Null if nothing shows, and for what is no group.
CGRect groupSceneAABB(const TweenScene& scene, const UUID& groupID, double time);

/// What the descendants of a group cover in its own space, without its scale and rotation. Null if nothing shows.
CGRect laidOutDescendantsAABB(const Layer& group, double time);

/// The box around all layers of the selection, at any depth. Null if there is nothing to draw it around.
CGRect unionAABBOfSelected(const TweenScene& scene, const LayerIDs& selection, double time);

/// What of a resolved layer's box shows of its picture, in the layer's local space: for an image or a video with a stored crop
/// rectangle the part that the rectangle leaves, held within the box; for all else the box.
CGRect mediaCropSubRect(const Layer& layer);

/// Whether the point lies in the rectangle, edges included. Goes by the area where a size is negative.
bool holds(const CGRect& rect, CGPoint point);

} // namespace larkspool
