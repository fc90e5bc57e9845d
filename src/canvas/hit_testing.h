#pragma once

#include "document/tween_scene.h"
#include "editing/timeline_item.h"

#include <optional>
#include <vector>

namespace larkspool {

/// What lies under a point of the canvas at a time. Points are in scene coordinates; edges count. Hidden and locked layers, and
/// those outside their spans, are never hit: what is behind them is.

/// Whether the point lies in the resolved layer, whose x and y are in the point's space: within its box, whatever the shape in
/// it, or near the path of a line. Nothing lies in a layer with a scale of 0.
bool pointIsInside(CGPoint scenePt, const Layer& layer);

/// The frontmost top-level layer under the point. A dynamic group is hit anywhere in the box that it covers.
std::optional<UUID> topmostHitLayerID(const TweenScene& scene, CGPoint scenePt, double time);

/// The deepest layer under the point among those in the group, frontmost first; a group of which nothing else is hit stands for
/// itself. `groupOffset` is where the origin of the children's space lies in the scene: places alone count, not the scale and
/// rotation of the groups.
std::optional<UUID> topmostChildHit(const Layer& group, CGPoint scenePt, CGPoint groupOffset, double time);

/// Whether the point lies in the layer's area, hidden and locked or not. `placed` is as stored, or as laid out by its group, with
/// its x and y in the point's space.
bool areaHolds(const Layer& placed, CGPoint point, double time);

/// Whether a person may take hold of the layer and its handles: neither it nor a layer around it is hidden or locked.
bool isOpenToEdits(const TweenScene& scene, const UUID& layerID);

/// The frontmost layer of the selection, at any depth, under the point. What lies in a layer that is never hit is not hit either.
std::optional<UUID> topmostSelectedHit(const TweenScene& scene, const LayerIDs& selection, CGPoint scenePt, double time);

/// Whether a layer anywhere below this one is selected.
bool selectionContainsDescendant(const LayerIDs& selection, const Layer& of);

/// @name Lines.
/// @{
/// How far from the middle of its stroke a line is still hit, in its local space.
double lineHitRadius(double strokeWidth);
/// The middle of the stroke of a resolved line in its local space, as it is drawn. Curves are cut into short pieces.
std::vector<CGPoint> lineCentrePath(const Layer& line);
/// The distance to the nearest point of the polyline; infinite without points.
double distanceFromPolyline(CGPoint point, const std::vector<CGPoint>& points);
/// @}

/// @name Selected layers, in the order of the tree.
/// @{
/// The first selected layer at any depth: the primary one, whose frame and handles are shown. Null for an empty selection.
const Layer* selectedAnyLayer(const TweenScene& scene, const LayerIDs& selection);
/// The first selected one at the top.
const Layer* selectedTopLevelLayer(const TweenScene& scene, const LayerIDs& selection);
/// @}

/// The top-level picture-in-picture zoom that has a child of this id; null if there is none.
const Layer* pipParentZoom(const TweenScene& scene, const UUID& childID);

} // namespace larkspool
