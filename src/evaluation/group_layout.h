#pragma once

#include "document/layer.h"

namespace larkspool {

/// The children of a group in their places at `time`. A freeform group's come back as stored; in a stack they are resolved and
/// placed one behind the other from the first child's position, by their sizes, and lose their x and y keyframes, so that
/// resolving them again keeps the place. Scale is not counted, and hidden children keep their place.
Array<Layer> layoutChildren(const Array<Layer>& children, GroupLayout layout, double gap, GroupAlignment alignment, double time);

/// The children of the resolved group, laid out by its own settings.
Array<Layer> layoutChildren(const Layer& resolvedGroup, double time);

/// The box that the visible layers and what is in their groups cover at `time`, without the groups' scale and rotation. Null if
/// nothing shows. Whether a group itself is hidden or outside its spans is for the caller to ask.
CGRect laidOutDescendantsAABBFree(const Array<Layer>& layers, double time);

/// The union of the resolved boxes, hidden ones too, without scale and rotation. Null for no layers.
CGRect aabb(const Array<Layer>& layers, double time);

/// How big the group looks at `time`, in its parent's space: its own box in a fixed group, else what its children cover, scaled
/// about the middle of that. Rotation plays no part. Null if nothing shows.
CGRect groupVisualAABB(const Layer& group, double time);

/// Maps a child from its group's space into the group's parent's: the point that the child's anchor names is scaled, then
/// rotated (degrees) about `anchor`, then moved by `offset`.
Layer applyGroupTransform(Layer layer, CGSize scale, double rotation, CGPoint anchor, CGPoint offset);

} // namespace larkspool
