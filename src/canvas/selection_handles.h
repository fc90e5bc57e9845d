#pragma once

#include "canvas/scene_fit.h"
#include "document/tween_scene.h"

#include <array>
#include <optional>
#include <vector>

namespace larkspool {

/// The handles of the selected layer's frame, clockwise from the top left.
enum class SelectionHandle { nw, n, ne, e, se, s, sw, w };
inline constexpr std::size_t selectionHandleCount = 8;

/// A handle is taken hold of within so many view points, from its middle to the pointer.
inline constexpr double handleRadius = 10;

/// How far outside of the frame's top edge the rotate handle stands, in view points.
inline constexpr double rotateHandleDistance = 24;

/// The frame of a selected layer: `rect`, of the space that `toScene` takes to the scene.
struct SelectionFrame {
    AffineTransform toScene{};
    CGRect rect{};
    CGPoint pivot{};        ///< In scene coordinates: what the layer turns about.
    bool isLine = false;    ///< A line has points, no handles.
    bool canResize = false; ///< Whether the handles are there.

    /// The middle of a handle, in view points.
    CGPoint viewPoint(SelectionHandle handle, const SceneFit& fit) const;
};

/// The frame of a layer at any depth, turned and scaled with it and the groups around it. Cropped media have it around what shows
/// of them, and a dynamic group, which has no size to change, around what it covers. Nothing for an id that names no layer, and
/// for a group of which nothing shows.
std::optional<SelectionFrame> selectionFrame(const TweenScene& scene, const UUID& layerID, double time);

/// Where the rotate handle of a resolved layer stands: above the middle of the top edge of `subRect`, turned with the layer.
CGPoint rotateHandleViewPoint(const Layer& layer, const CGRect& subRect, const SceneFit& fit);
CGPoint rotateHandleViewPoint(const SelectionFrame& frame, const SceneFit& fit);

/// The nearest handle that the pointer is near enough to.
std::optional<SelectionHandle> handleAt(const SelectionFrame& frame, CGPoint view, const SceneFit& fit);

/// The ends of a preset line in its local space, at the middle of its left and right edge.
std::array<CGPoint, 2> linePresetSelectionPoints(const Layer& line);

/// The points of a resolved line that can be dragged, in its local space: all of a freeform line, else the two ends.
std::vector<CGPoint> draggableLinePoints(const Layer& line);

/// The same of a line at any depth, in scene coordinates, by their places in the list. Empty for what is no line.
std::vector<CGPoint> linePointsInScene(const TweenScene& scene, const UUID& layerID, double time);

/// The nearest of the points that the pointer is near enough to.
std::optional<std::size_t> linePointAt(const std::vector<CGPoint>& scenePoints, CGPoint view, const SceneFit& fit);

/// What the pointer looks like over the canvas.
enum class CanvasCursor { arrow, pointer, openHand, closedHand, copy, resizeNWSE, resizeNS, resizeNESW, resizeEW };

/// Over a handle of a frame that stands upright, and over one of this frame: turned with it, to the nearest of the four.
CanvasCursor cursorForHandle(SelectionHandle handle);
CanvasCursor cursorForHandle(const SelectionFrame& frame, SelectionHandle handle);

} // namespace larkspool
