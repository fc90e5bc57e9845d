#include "canvas/selection_handles.h"

#include "canvas/canvas_geometry.h"
#include "evaluation/interpolation.h"

#include <cmath>
#include <numbers>

namespace larkspool {

namespace {

double distance(CGPoint a, CGPoint b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

/// Where a handle lies on a frame, in halves of its sides.
struct HandlePlace {
    double x, y;
};
constexpr std::array<HandlePlace, selectionHandleCount> handlePlaces{
    {{0, 0}, {0.5, 0}, {1, 0}, {1, 0.5}, {1, 1}, {0.5, 1}, {0, 1}, {0, 0.5}}};

bool isDynamicGroup(const Layer& layer)
{
    return layer.kind == Layer::Kind::group && layer.groupSizeMode == GroupSizeMode::dynamic;
}

std::optional<SelectionFrame> groupFrame(const PlacedLayer& group, double time)
{
    const CGRect covered = laidOutDescendantsAABB(group.layer, time);
    if (covered.isNull()) return std::nullopt;
    const Transform& transform = group.layer.transform;
    const CGPoint pivot{covered.minX() + transform.anchorX * covered.size.width,
                        covered.minY() + transform.anchorY * covered.size.height};
    SelectionFrame frame{.toScene = group.parent.toScene.concatenating(transform.cgAffineAbout(pivot)), .rect = covered};
    frame.pivot = frame.toScene.apply(pivot);
    return frame;
}

CGPoint rotateHandleAbove(const AffineTransform& toScene, const CGRect& rect, const SceneFit& fit)
{
    const CGPoint top = fit.viewFromScene(toScene.apply(CGPoint{rect.midX(), rect.minY()}));
    const CGPoint bottom = fit.viewFromScene(toScene.apply(CGPoint{rect.midX(), rect.maxY()}));
    const double height = distance(bottom, top);
    // A frame of no height still has its handle above.
    const CGPoint outward = height > 0 ? CGPoint{(top.x - bottom.x) / height, (top.y - bottom.y) / height} : CGPoint{0, -1};
    return {top.x + outward.x * rotateHandleDistance, top.y + outward.y * rotateHandleDistance};
}

/// The nearest of `count` points within reach; of equally near ones the first.
template <typename PointAt>
std::optional<std::size_t> nearestWithinReach(std::size_t count, CGPoint view, const PointAt& pointAt)
{
    std::optional<std::size_t> nearest;
    double least = handleRadius;
    for (std::size_t i = 0; i < count; ++i) {
        const double away = distance(pointAt(i), view);
        if (!(away <= least) || (nearest && away == least)) continue;
        least = away;
        nearest = i;
    }
    return nearest;
}

} // namespace

CGPoint SelectionFrame::viewPoint(SelectionHandle handle, const SceneFit& fit) const
{
    const HandlePlace place = handlePlaces[static_cast<std::size_t>(handle)];
    return fit.viewFromScene(
        toScene.apply(CGPoint{rect.minX() + place.x * rect.size.width, rect.minY() + place.y * rect.size.height}));
}

std::optional<SelectionFrame> selectionFrame(const TweenScene& scene, const UUID& layerID, double time)
{
    const std::optional<PlacedLayer> placed = placedLayer(scene, layerID, time);
    if (!placed) return std::nullopt;
    if (isDynamicGroup(placed->layer)) return groupFrame(*placed, time);

    const Layer baked = bakedLayer(scene, layerID, time).value_or(placed->layer);
    const Transform& transform = baked.transform;
    return SelectionFrame{.toScene = transform.cgAffine(baked.size),
                          .rect = mediaCropSubRect(baked),
                          .pivot = {transform.x + transform.anchorX * baked.size.width,
                                    transform.y + transform.anchorY * baked.size.height},
                          .isLine = baked.kind == Layer::Kind::line,
                          .canResize = baked.kind != Layer::Kind::line};
}

CGPoint rotateHandleViewPoint(const Layer& layer, const CGRect& subRect, const SceneFit& fit)
{
    return rotateHandleAbove(layer.transform.cgAffine(layer.size), subRect, fit);
}

CGPoint rotateHandleViewPoint(const SelectionFrame& frame, const SceneFit& fit)
{
    return rotateHandleAbove(frame.toScene, frame.rect, fit);
}

std::optional<SelectionHandle> handleAt(const SelectionFrame& frame, CGPoint view, const SceneFit& fit)
{
    if (!frame.canResize) return std::nullopt;
    const std::optional<std::size_t> nearest = nearestWithinReach(
        selectionHandleCount, view, [&](std::size_t i) { return frame.viewPoint(static_cast<SelectionHandle>(i), fit); });
    return nearest ? std::optional(static_cast<SelectionHandle>(*nearest)) : std::nullopt;
}

std::array<CGPoint, 2> linePresetSelectionPoints(const Layer& line)
{
    return {{{0, line.size.height * 0.5}, {line.size.width, line.size.height * 0.5}}};
}

std::vector<CGPoint> draggableLinePoints(const Layer& line)
{
    if (line.lineShape == LineShape::freeform) return {line.linePoints.begin(), line.linePoints.end()};
    const std::array<CGPoint, 2> ends = linePresetSelectionPoints(line);
    return {ends.begin(), ends.end()};
}

std::vector<CGPoint> linePointsInScene(const TweenScene& scene, const UUID& layerID, double time)
{
    const std::optional<PlacedLayer> placed = placedLayer(scene, layerID, time);
    if (!placed || placed->layer.kind != Layer::Kind::line) return {};
    const AffineTransform toScene =
        placed->parent.toScene.concatenating(placed->layer.transform.cgAffine(placed->layer.size));
    std::vector<CGPoint> points = draggableLinePoints(placed->layer);
    for (CGPoint& point : points) point = toScene.apply(point);
    return points;
}

std::optional<std::size_t> linePointAt(const std::vector<CGPoint>& scenePoints, CGPoint view, const SceneFit& fit)
{
    return nearestWithinReach(scenePoints.size(), view, [&](std::size_t i) { return fit.viewFromScene(scenePoints[i]); });
}

CanvasCursor cursorForHandle(SelectionHandle handle)
{
    switch (handle) {
    case SelectionHandle::nw:
    case SelectionHandle::se: return CanvasCursor::resizeNWSE;
    case SelectionHandle::n:
    case SelectionHandle::s: return CanvasCursor::resizeNS;
    case SelectionHandle::ne:
    case SelectionHandle::sw: return CanvasCursor::resizeNESW;
    case SelectionHandle::e:
    case SelectionHandle::w: return CanvasCursor::resizeEW;
    }
    return CanvasCursor::arrow;
}

CanvasCursor cursorForHandle(const SelectionFrame& frame, SelectionHandle handle)
{
    const AffineTransform& m = frame.toScene;
    const double across = std::hypot(m.a, m.b), down = std::hypot(m.c, m.d);
    if (!(across > 0) || !(down > 0) || !std::isfinite(across) || !std::isfinite(down)) return cursorForHandle(handle);

    // The direction in which the handle lies on a square frame, so that the corners of a long one are corners still.
    const HandlePlace place = handlePlaces[static_cast<std::size_t>(handle)];
    const double x = (place.x - 0.5) / across, y = (place.y - 0.5) / down;
    const double angle = std::atan2(m.b * x + m.d * y, m.a * x + m.c * y);
    constexpr CanvasCursor turned[] = {CanvasCursor::resizeEW, CanvasCursor::resizeNWSE, CanvasCursor::resizeNS,
                                       CanvasCursor::resizeNESW};
    return turned[static_cast<std::size_t>(std::lround(angle * 4 / std::numbers::pi) + 4) % 4];
}

} // namespace larkspool
