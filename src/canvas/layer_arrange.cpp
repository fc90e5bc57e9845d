#include "canvas/layer_arrange.h"

#include "canvas/canvas_geometry.h"
#include "canvas/keyframed_write.h"
#include "canvas/selected_layers.h"
#include "editing/keyframe_upsert.h"
#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

/// What each layer is moved by.
using Moves = std::unordered_map<UUID, CGPoint>;

LayerIDs idsOf(const Moves& moves)
{
    LayerIDs ids;
    for (const auto& [id, move] : moves) ids.insert(id);
    return ids;
}

/// The way from one coordinate to another; 0 where it is no more than the rounding of what they were computed from, so that what
/// stands in its place is not moved again.
double way(double from, double to)
{
    constexpr double unseen = 1e-9; // Canvas pixels.
    constexpr double roundings = 1e-13;
    const double delta = to - from;
    const double least = std::max(unseen, roundings * std::max(std::abs(from), std::abs(to)));
    return std::isfinite(delta) && std::abs(delta) > least ? delta : 0;
}

/// The same area with its origin at the top left: the size of what is mirrored reaches back.
CGRect standardized(const CGRect& frame)
{
    return frame.size.width < 0 || frame.size.height < 0 ? unionOf(frame, frame) : frame;
}

/// What the stored crop of a layer leaves of its box.
CGRect croppedBox(const Layer& media, const CGRect& box)
{
    Layer sized = media;
    sized.size = box.size;
    const CGRect part = mediaCropSubRect(sized);
    return {{box.minX() + part.minX(), box.minY() + part.minY()}, part.size};
}

/// How far the frame lies from the edge of the reference.
CGPoint wayToEdge(const CGRect& frame, const CGRect& reference, AlignEdge edge)
{
    switch (edge) {
    case AlignEdge::left: return {way(frame.minX(), reference.minX()), 0};
    case AlignEdge::hCenter: return {way(frame.midX(), reference.midX()), 0};
    case AlignEdge::right: return {way(frame.maxX(), reference.maxX()), 0};
    case AlignEdge::top: return {0, way(frame.minY(), reference.minY())};
    case AlignEdge::vCenter: return {0, way(frame.midY(), reference.midY())};
    case AlignEdge::bottom: return {0, way(frame.maxY(), reference.maxY())};
    }
    return {};
}

double positionAt(const Layer& layer, Property axis, double time)
{
    const Transform transform = Interpolation::placement(layer, time).transform;
    return axis == Property::x ? transform.x : transform.y;
}

bool hasKeyframeAtStart(const Layer& layer, Property property)
{
    return std::ranges::any_of(layer.keyframes, [&](const Keyframe& keyframe) {
        return keyframe.property == property && std::abs(keyframe.time) < sameKeyframeTime;
    });
}

void applyAlign(Layer& layer, CGPoint delta, double playhead, RandomSource& random)
{
    const Property axis = std::abs(delta.x) <= std::abs(delta.y) ? Property::y : Property::x;
    if (!hasKeyframes(layer, axis)) {
        layer.transform.x += delta.x;
        layer.transform.y += delta.y;
        return;
    }
    const double aligned = positionAt(layer, axis, playhead) + (axis == Property::x ? delta.x : delta.y);
    if (!std::isfinite(aligned)) return;
    if (std::abs(playhead) > sameKeyframeTime && !hasKeyframeAtStart(layer, axis))
        upsertKeyframe(layer, axis, 0, positionAt(layer, axis, 0), random);
    upsertKeyframe(layer, axis, playhead, aligned, random);
}

void nudgeLayer(Layer& layer, CGPoint delta, double playhead, RandomSource& random)
{
    layer.transform.x += delta.x;
    layer.transform.y += delta.y;
    if (hasKeyframes(layer, Property::x)) upsertKeyframe(layer, Property::x, playhead, layer.transform.x, random);
    if (hasKeyframes(layer, Property::y)) upsertKeyframe(layer, Property::y, playhead, layer.transform.y, random);
}

bool staysFinite(const Layer& layer, CGPoint delta)
{
    return std::isfinite(layer.transform.x + delta.x) && std::isfinite(layer.transform.y + delta.y);
}

template <typename Apply>
std::optional<Edit> applied(const TweenScene& scene, const Moves& moves, std::string_view actionName, const Apply& apply)
{
    if (moves.empty()) return std::nullopt;
    Edit edit{.scene = scene, .actionName = std::string(actionName)};
    editSelected(edit.scene.layers, idsOf(moves), [&](Layer& layer) {
        const CGPoint delta = moves.at(layer.id);
        if (staysFinite(layer, delta)) apply(layer, delta);
    });
    return edit;
}

/// A layer on the line that others are distributed along.
struct Bead {
    UUID layerID;
    double center = 0;
};

std::vector<Bead> beadsOf(std::span<const Layer* const> layers, DistributeAxis axis, double playhead)
{
    std::vector<Bead> beads;
    for (const Layer* layer : layers) {
        const CGRect frame = layerVisualFrame(*layer, playhead);
        if (frame.isNull()) continue;
        beads.push_back({layer->id, axis == DistributeAxis::horizontal ? frame.midX() : frame.midY()});
    }
    std::ranges::stable_sort(beads, {}, &Bead::center);
    return beads;
}

} // namespace

CGRect layerVisualFrame(const Layer& layer, double playhead)
{
    if (layer.kind == Layer::Kind::group) return standardized(groupVisualAABB(layer, playhead));
    const CGRect box = Interpolation::placement(layer, playhead).box();
    return standardized(layer.cropMode == CropMode::manual ? croppedBox(layer, box) : box);
}

CGRect unionFrame(std::span<const Layer* const> layers, double playhead)
{
    CGRect all = CGRect::null();
    for (const Layer* layer : layers) all = unionOf(all, layerVisualFrame(*layer, playhead));
    return all;
}

std::optional<Edit> alignSelected(const TweenScene& scene, const LayerIDs& selection, AlignEdge edge, double playhead,
                                  RandomSource& random)
{
    const std::vector<const Layer*> layers = collectSelectedAnywhere(scene.layers, selection);
    const CGRect reference = layers.size() == 1 ? CGRect{{0, 0}, scene.size()} : unionFrame(layers, playhead);
    if (reference.isNull()) return std::nullopt;

    Moves moves;
    for (const Layer* layer : layers) {
        const CGRect frame = layerVisualFrame(*layer, playhead);
        if (frame.isNull()) continue;
        const CGPoint delta = wayToEdge(frame, reference, edge);
        if (delta != CGPoint{}) moves.insert_or_assign(layer->id, delta);
    }
    return applied(scene, moves, "Align", [&](Layer& layer, CGPoint delta) { applyAlign(layer, delta, playhead, random); });
}

std::optional<Edit> distributeSelected(const TweenScene& scene, const LayerIDs& selection, DistributeAxis axis, double playhead)
{
    const bool isHorizontal = axis == DistributeAxis::horizontal;
    const std::vector<Bead> beads = beadsOf(collectSelectedAnywhere(scene.layers, selection), axis, playhead);
    if (beads.size() < 3) return std::nullopt;

    const double first = beads.front().center;
    const double step = (beads.back().center - first) / static_cast<double>(beads.size() - 1);
    Moves moves;
    for (std::size_t i = 1; i + 1 < beads.size(); ++i) {
        const double delta = way(beads[i].center, first + step * static_cast<double>(i));
        if (delta != 0) moves.insert_or_assign(beads[i].layerID, isHorizontal ? CGPoint{delta, 0} : CGPoint{0, delta});
    }
    return applied(scene, moves, isHorizontal ? "Distribute Horizontally" : "Distribute Vertically",
                   [](Layer& layer, CGPoint delta) {
                       layer.transform.x += delta.x;
                       layer.transform.y += delta.y;
                   });
}

std::optional<Edit> nudgeSelected(const TweenScene& scene, const LayerIDs& selection, CGPoint delta, double playhead,
                                  RandomSource& random)
{
    Moves moves;
    for (const Layer* layer : collectSelectedAnywhere(scene.layers, selection)) moves.emplace(layer->id, delta);
    return applied(scene, moves, "Nudge", [&](Layer& layer, CGPoint by) { nudgeLayer(layer, by, playhead, random); });
}

} // namespace larkspool
