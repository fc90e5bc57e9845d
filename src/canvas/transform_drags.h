#pragma once

#include "canvas/keyframed_write.h"
#include "canvas/scene_fit.h"
#include "canvas/selection_handles.h"
#include "editing/modifiers.h"

#include <optional>

namespace larkspool {

/// What a resize needs of the layer and what is around it, as they are when it begins.
struct ResizeBegin {
    Layer layer{};                          ///< Resolved, with x and y in the space of its siblings.
    CGPoint ancestorOffset{};               ///< Of that space in the scene, which edges snap in.
    std::optional<CGSize> parentZoomSize{}; ///< Of the picture-in-picture zoom that the layer is a child of, at the playhead.
    CGSize scene{};
};

/// How it is dragged at the moment.
struct ResizeDrag {
    SelectionHandle handle = SelectionHandle::se;
    CGPoint delta{}; ///< In scene units since the begin.
    Modifiers modifiers{};
    SceneFit fit{};
    bool sizeAspectLocked = false; ///< Keeps the aspect where shift is up, and frees it where it is down.
};

/// The box that a resize comes to, with x and y in the space of the layer's siblings. Whole numbers but for snapped edges; no
/// side is below 1.
///
/// The layer's own rotation and scale turn the way of the pointer into changes of width and height; the box then grows from the
/// opposite side as if the layer were upright. Option resizes about the middle. Command does not snap.
CGRect resizedBox(const ResizeBegin& begin, const ResizeDrag& drag);

/// Writes the box into a stored layer. Renditions in a full-screen zoom keep their widths and take its
/// aspect; a text's box no longer follows the text.
void upsertResizeKeyframes(Layer& layer, const CGRect& box, const KeyframedWriting& how);

/// The rotation that a pointer comes to that has gone from one angle to another about the layer's anchor, the shorter way round.
/// Angles of the pointer in radians, the rotation in degrees. Within 3 degrees of a multiple of 15, or with shift of 45, it is
/// that multiple, unless Command is down.
double draggedRotation(double initialRotation, double startAngle, double angle, Modifiers modifiers);

} // namespace larkspool
