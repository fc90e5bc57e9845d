#include "canvas/canvas_geometry.h"

#include "editing/scene_lookup.h"
#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <vector>

namespace larkspool {

namespace {

using Interpolation::Placement;
using Interpolation::placement;

bool isGroup(const Layer& layer)
{
    return layer.kind == Layer::Kind::group;
}

Array<Layer> childrenInPlace(const Layer& placed, const Placement& placement, double time)
{
    if (!isGroup(placed)) return placed.children;
    return layoutChildren(placed.children, placed.groupLayout, placement.groupGap, placed.groupAlignment, time);
}

/// The point of a group's own space about which it turns and scales: its anchor in the box that its descendants cover, or in its
/// own where nothing of it shows.
CGPoint pivotOf(const Layer& group, const Placement& placed, double time)
{
    const Transform& transform = placed.transform;
    const CGRect box = laidOutDescendantsAABBFree(childrenInPlace(group, placed, time), time);
    if (box.isNull()) return {transform.anchorX * placed.size.width, transform.anchorY * placed.size.height};
    return {box.minX() + transform.anchorX * box.size.width, box.minY() + transform.anchorY * box.size.height};
}

bool onlyMoves(const Transform& transform)
{
    return transform.scaleX == 1 && transform.scaleY == 1 && transform.rotation == 0;
}

/// The layers from the top of the tree down to the one with the id, each in its place. Empty if there is none.
std::vector<PlacedLayer> placedPath(const TweenScene& scene, const UUID& layerID, double time)
{
    if (!findLayer(scene, layerID)) return {};
    std::vector<UUID> ids = ancestorsOf(scene, layerID);
    std::ranges::reverse(ids);
    ids.push_back(layerID);

    std::vector<PlacedLayer> path;
    Array<Layer> siblings = scene.layers;
    ParentFrame parent;
    for (const UUID& id : ids) {
        const auto found = std::ranges::find(siblings, id, &Layer::id);
        if (found == siblings.end()) return {};
        path.push_back({Interpolation::resolve(*found, time), parent});
        const Layer placed = *found;
        parent = frameOfChildren(placed, parent, time);
        siblings = childrenInPlace(placed, time);
    }
    return path;
}

} // namespace

ParentFrame frameOfChildren(const Layer& placed, const ParentFrame& parent, double time)
{
    if (!isGroup(placed)) return parent;
    const Placement own = placement(placed, time);
    const Transform& transform = own.transform;
    const CGPoint pivot = onlyMoves(transform) ? CGPoint{} : pivotOf(placed, own, time);
    return {.offset = {parent.offset.x + transform.x, parent.offset.y + transform.y},
            .toScene = parent.toScene.concatenating(transform.cgAffineAbout(pivot))};
}

Array<Layer> childrenInPlace(const Layer& placed, double time)
{
    return childrenInPlace(placed, placement(placed, time), time);
}

std::optional<PlacedLayer> placedLayer(const TweenScene& scene, const UUID& layerID, double time)
{
    std::vector<PlacedLayer> path = placedPath(scene, layerID, time);
    return path.empty() ? std::nullopt : std::optional(std::move(path.back()));
}

CGPoint ancestorOffset(const TweenScene& scene, const UUID& layerID, double time)
{
    const std::optional<PlacedLayer> placed = placedLayer(scene, layerID, time);
    return placed ? placed->parent.offset : CGPoint{};
}

std::optional<Layer> bakedLayer(const TweenScene& scene, const UUID& layerID, double time)
{
    std::vector<PlacedLayer> path = placedPath(scene, layerID, time);
    if (path.empty()) return std::nullopt;

    Layer baked = std::move(path.back().layer);
    for (std::size_t level = path.size() - 1; level-- > 0;) {
        const Layer& group = path[level].layer;
        if (!isGroup(group)) continue;
        const Placement placed{group.transform, group.size, group.groupGap};
        const Transform& transform = group.transform;
        const CGPoint pivot = onlyMoves(transform) ? CGPoint{} : pivotOf(group, placed, time);
        baked = applyGroupTransform(std::move(baked), {transform.scaleX, transform.scaleY}, transform.rotation, pivot,
                                    {transform.x, transform.y});
    }
    return baked;
}

CGRect boxInParent(const Layer& placed, double time)
{
    return isGroup(placed) ? groupVisualAABB(placed, time) : placement(placed, time).box();
}

CGRect sceneBox(const Layer& placed, const ParentFrame& parent, double time)
{
    return parent.toScene.apply(boxInParent(placed, time));
}

CGRect groupSceneAABB(const TweenScene& scene, const UUID& groupID, double time)
{
    const std::optional<PlacedLayer> group = placedLayer(scene, groupID, time);
    return group && isGroup(group->layer) ? sceneBox(group->layer, group->parent, time) : CGRect::null();
}

CGRect laidOutDescendantsAABB(const Layer& group, double time)
{
    return laidOutDescendantsAABBFree(childrenInPlace(group, time), time);
}

CGRect unionAABBOfSelected(const TweenScene& scene, const LayerIDs& selection, double time)
{
    CGRect box = CGRect::null();
    if (selection.empty()) return box;
    walkPlacedLayers(scene.layers, {}, time, [&](const Layer& layer, const ParentFrame& parent) {
        if (selection.contains(layer.id)) box = unionOf(box, sceneBox(layer, parent, time));
    });
    return box;
}

CGRect mediaCropSubRect(const Layer& layer)
{
    const CGRect whole{{0, 0}, layer.size};
    const bool isMedia = layer.kind == Layer::Kind::image || layer.kind == Layer::Kind::video;
    if (!isMedia || layer.cropMode != CropMode::manual) return whole;

    const auto within = [](double edge) { return std::clamp(edge, 0.0, 1.0); };
    const double left = within(layer.cropRect.minX()), right = within(layer.cropRect.maxX());
    const double top = within(layer.cropRect.minY()), bottom = within(layer.cropRect.maxY());
    return {{left * layer.size.width, top * layer.size.height},
            {(right - left) * layer.size.width, (bottom - top) * layer.size.height}};
}

bool holds(const CGRect& rect, CGPoint point)
{
    const auto between = [](double value, double a, double b) { return std::min(a, b) <= value && value <= std::max(a, b); };
    return !rect.isNull() && between(point.x, rect.minX(), rect.maxX()) && between(point.y, rect.minY(), rect.maxY());
}

} // namespace larkspool
