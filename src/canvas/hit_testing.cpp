#include "canvas/hit_testing.h"

#include "canvas/canvas_geometry.h"
#include "document/line_curve.h"
#include "editing/scene_lookup.h"
#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"
#include "evaluation/viewports.h"
#include "rendering/lines.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

namespace larkspool {

namespace {

using Interpolation::Placement;
using Interpolation::placement;

/// Pieces that a curve is cut into.
constexpr int curveSteps = 48;
/// A line is hit this far from its path at least, in points of its local space.
constexpr double leastHitRadius = 14;

bool canBeHit(const Layer& layer, double time)
{
    return !layer.isHidden && !layer.isLocked && isVisible(layer, time);
}

/// The point in the local space of a box; nothing where the box is squeezed to nothing.
std::optional<CGPoint> localPoint(CGPoint point, const Transform& transform, CGSize size)
{
    if (transform.scaleX == 0 || transform.scaleY == 0) return std::nullopt;
    const AffineTransform toParent = transform.cgAffine(size);
    const double determinant = toParent.determinant();
    if (determinant == 0 || !std::isfinite(determinant)) return std::nullopt;
    return toParent.inverted().apply(point);
}

bool isInBox(CGPoint point, const Transform& transform, CGSize size)
{
    const std::optional<CGPoint> local = localPoint(point, transform, size);
    return local && holds({{0, 0}, size}, *local);
}

/// `step(t)` at even steps of t from 0 to 1; the first one is left out where a path goes on.
template <typename Step>
void addSteps(std::vector<CGPoint>& path, int first, const Step& step)
{
    for (int i = first; i <= curveSteps; ++i) path.push_back(step(static_cast<double>(i) / curveSteps));
}

std::vector<CGPoint> smoothedPath(const Array<CGPoint>& points)
{
    std::vector<CGPoint> path{points.front()};
    for (const CurveTo& curve : smoothedCurve(points)) {
        const CGPoint from = path.back();
        addSteps(path, 1, [&](double t) {
            const double s = 1 - t;
            const double a = s * s * s, b = 3 * s * s * t, c = 3 * s * t * t, d = t * t * t;
            return CGPoint{a * from.x + b * curve.c1.x + c * curve.c2.x + d * curve.end.x,
                           a * from.y + b * curve.c1.y + c * curve.c2.y + d * curve.end.y};
        });
    }
    return path;
}

std::vector<CGPoint> arcPath(const ArcGeometry& arc)
{
    std::vector<CGPoint> path;
    addSteps(path, 0, [&](double t) {
        const double s = 1 - t;
        return CGPoint{s * s * arc.start.x + 2 * t * s * arc.control.x + t * t * arc.end.x,
                       s * s * arc.start.y + 2 * t * s * arc.control.y + t * t * arc.end.y};
    });
    return path;
}

std::vector<CGPoint> ellipsePath(const CGRect& rect)
{
    std::vector<CGPoint> path;
    addSteps(path, 0, [&](double t) {
        const double angle = 2 * std::numbers::pi * t;
        return CGPoint{rect.midX() + std::cos(angle) * rect.size.width * 0.5,
                       rect.midY() + std::sin(angle) * rect.size.height * 0.5};
    });
    return path;
}

double distanceFromSegment(CGPoint point, CGPoint from, CGPoint to)
{
    const CGPoint along{to.x - from.x, to.y - from.y};
    const double squared = along.x * along.x + along.y * along.y;
    const double t =
        squared > 0 ? std::clamp(((point.x - from.x) * along.x + (point.y - from.y) * along.y) / squared, 0.0, 1.0) : 0;
    return std::hypot(point.x - (from.x + t * along.x), point.y - (from.y + t * along.y));
}

CGPoint placeOf(const Layer& placed, double time)
{
    const Transform transform = placement(placed, time).transform;
    return {transform.x, transform.y};
}

} // namespace

double lineHitRadius(double strokeWidth)
{
    return std::max(strokeWidth * 0.75 + leastHitRadius, leastHitRadius);
}

std::vector<CGPoint> lineCentrePath(const Layer& line)
{
    const CGRect rect{{0, 0}, line.size};
    switch (line.lineShape) {
    case LineShape::freeform:
        if (line.lineCurved && line.linePoints.size() >= 3) return smoothedPath(line.linePoints);
        return {line.linePoints.begin(), line.linePoints.end()};
    case LineShape::square:
        return {{rect.minX(), rect.minY()}, {rect.maxX(), rect.minY()}, {rect.maxX(), rect.maxY()}, {rect.minX(), rect.maxY()},
                {rect.minX(), rect.minY()}};
    case LineShape::circle: return ellipsePath(rect);
    case LineShape::triangle:
        return {{rect.midX(), rect.minY()}, {rect.maxX(), rect.maxY()}, {rect.minX(), rect.maxY()}, {rect.midX(), rect.minY()}};
    case LineShape::arc: return arcPath(arcGeometry(rect, line.lineArcBend, line.lineArcReversed));
    case LineShape::wave: return waveSamples(rect, line.lineWaveFrequency, line.lineWaveAmplitude, line.lineArcReversed);
    }
    return {};
}

double distanceFromPolyline(CGPoint point, const std::vector<CGPoint>& points)
{
    if (points.empty()) return std::numeric_limits<double>::infinity();
    double nearest = distanceFromSegment(point, points.front(), points.front());
    for (std::size_t i = 1; i < points.size(); ++i)
        nearest = std::min(nearest, distanceFromSegment(point, points[i - 1], points[i]));
    return nearest;
}

bool pointIsInside(CGPoint scenePt, const Layer& layer)
{
    if (layer.kind != Layer::Kind::line) return isInBox(scenePt, layer.transform, layer.size);
    const std::optional<CGPoint> local = localPoint(scenePt, layer.transform, layer.size);
    return local && distanceFromPolyline(*local, lineCentrePath(layer)) <= lineHitRadius(layer.strokeWidth);
}

bool areaHolds(const Layer& placed, CGPoint point, double time)
{
    if (placed.kind == Layer::Kind::line) return pointIsInside(point, Interpolation::resolve(placed, time));
    const Placement own = placement(placed, time);
    if (placed.kind != Layer::Kind::group || placed.groupSizeMode == GroupSizeMode::fixed)
        return isInBox(point, own.transform, own.size);
    if (own.transform.scaleX == 0 || own.transform.scaleY == 0) return false;
    return holds(groupVisualAABB(placed, time), point);
}

std::optional<UUID> topmostHitLayerID(const TweenScene& scene, CGPoint scenePt, double time)
{
    for (std::size_t i = scene.layers.size(); i-- > 0;) {
        const Layer& layer = scene.layers[i];
        if (canBeHit(layer, time) && areaHolds(layer, scenePt, time)) return layer.id;
    }
    return std::nullopt;
}

std::optional<UUID> topmostChildHit(const Layer& group, CGPoint scenePt, CGPoint groupOffset, double time)
{
    const Array<Layer> children = childrenInPlace(group, time);
    for (std::size_t i = children.size(); i-- > 0;) {
        const Layer& child = children[i];
        const CGPoint point{scenePt.x - groupOffset.x, scenePt.y - groupOffset.y};
        if (!canBeHit(child, time) || !areaHolds(child, point, time)) continue;
        if (child.kind != Layer::Kind::group) return child.id;
        const CGPoint place = placeOf(child, time);
        const std::optional<UUID> deeper =
            topmostChildHit(child, scenePt, {groupOffset.x + place.x, groupOffset.y + place.y}, time);
        return deeper ? deeper : child.id;
    }
    return std::nullopt;
}

bool isOpenToEdits(const TweenScene& scene, const UUID& layerID)
{
    const auto isOpen = [&](const UUID& id) {
        const Layer* layer = findLayer(scene, id);
        return layer && !layer->isHidden && !layer->isLocked;
    };
    return isOpen(layerID) && std::ranges::all_of(ancestorsOf(scene, layerID), isOpen);
}

std::optional<UUID> topmostSelectedHit(const TweenScene& scene, const LayerIDs& selection, CGPoint scenePt, double time)
{
    std::vector<UUID> hits; // The frontmost last.
    if (selection.empty()) return std::nullopt;
    walkPlacedLayers(scene.layers, {}, time, [&](const Layer& layer, const ParentFrame& parent) {
        if (!selection.contains(layer.id) || !canBeHit(layer, time)) return;
        const double determinant = parent.toScene.determinant();
        if (determinant == 0 || !std::isfinite(determinant)) return;
        if (areaHolds(layer, parent.toScene.inverted().apply(scenePt), time)) hits.push_back(layer.id);
    });
    const auto surroundingsCanBeHit = [&](const UUID& hit) {
        return std::ranges::all_of(ancestorsOf(scene, hit), [&](const UUID& id) { return canBeHit(*findLayer(scene, id), time); });
    };
    const auto frontmost = std::find_if(hits.rbegin(), hits.rend(), surroundingsCanBeHit);
    return frontmost == hits.rend() ? std::nullopt : std::optional(*frontmost);
}

bool selectionContainsDescendant(const LayerIDs& selection, const Layer& of)
{
    return std::ranges::any_of(of.children, [&](const Layer& child) {
        return selection.contains(child.id) || selectionContainsDescendant(selection, child);
    });
}

const Layer* selectedTopLevelLayer(const TweenScene& scene, const LayerIDs& selection)
{
    const auto found = std::ranges::find_if(scene.layers, [&](const Layer& layer) { return selection.contains(layer.id); });
    return found == scene.layers.end() ? nullptr : &*found;
}

namespace {

const Layer* firstSelected(const Array<Layer>& layers, const LayerIDs& selection)
{
    for (const Layer& layer : layers) {
        if (selection.contains(layer.id)) return &layer;
        if (const Layer* below = firstSelected(layer.children, selection)) return below;
    }
    return nullptr;
}

} // namespace

const Layer* selectedAnyLayer(const TweenScene& scene, const LayerIDs& selection)
{
    return selection.empty() ? nullptr : firstSelected(scene.layers, selection);
}

const Layer* pipParentZoom(const TweenScene& scene, const UUID& childID)
{
    return findPIPParentZoom(childID, scene.layers);
}

} // namespace larkspool
