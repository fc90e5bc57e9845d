#include "canvas/layer_upkeep.h"

#include "evaluation/interpolation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

constexpr double leastSide = 1;

/// Where a zoom may stand.
struct Room {
    double mostX = 0, mostY = 0;

    double heldX(double x) const { return std::max(std::min(x, mostX), 0.0); }
    double heldY(double y) const { return std::max(std::min(y, mostY), 0.0); }

    /// The value that the keyframe is held at; nothing where it is no place.
    std::optional<double> held(const Keyframe& keyframe) const
    {
        const double* value = std::get_if<double>(&keyframe.value);
        if (value && keyframe.property == Property::x) return heldX(*value);
        if (value && keyframe.property == Property::y) return heldY(*value);
        return std::nullopt;
    }

    bool moves(const Keyframe& keyframe) const
    {
        const std::optional<double> value = held(keyframe);
        return value && *value != std::get<double>(keyframe.value);
    }
};

CGSize zoomSize(const Layer& zoom, CGSize scene)
{
    const double width = std::max(zoom.size.width, leastSide);
    const double height = std::max(std::round(scene.height / scene.width * width), leastSide);
    return {width, std::min(height, std::numeric_limits<double>::max())};
}

Layer normalized(Layer zoom, CGSize scene)
{
    zoom.size = zoomSize(zoom, scene);
    const Room room{scene.width - zoom.size.width, scene.height - zoom.size.height};
    zoom.transform.x = room.heldX(zoom.transform.x);
    zoom.transform.y = room.heldY(zoom.transform.y);
    if (std::ranges::any_of(zoom.keyframes, [&](const Keyframe& keyframe) { return room.moves(keyframe); }))
        for (Keyframe& keyframe : zoom.keyframes.edit())
            if (const std::optional<double> value = room.held(keyframe)) keyframe.value = *value;
    return zoom;
}

bool isFullScreenZoom(const Layer& layer)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::fullScreen;
}

} // namespace

void normalizeZoomLayers(TweenScene& scene)
{
    if (!(scene.width > 0) || !(scene.height > 0)) return;
    for (std::size_t i = 0; i < scene.layers.size(); ++i) {
        const Layer& layer = std::as_const(scene.layers)[i];
        if (!isFullScreenZoom(layer)) continue;
        Layer zoom = normalized(layer, scene.size());
        if (zoom != layer) scene.layers.edit()[i] = std::move(zoom);
    }
}

void refitTextLayers(TweenScene& scene, const TextMeasurer& measurer)
{
    refitTextHelper(scene.layers, measurer);
}

SharedCommit::Steps layerUpkeep(const TextMeasurer& measurer)
{
    return {.normalizeZoomLayers = normalizeZoomLayers,
            .refitTextLayers = [&measurer](TweenScene& scene) { refitTextLayers(scene, measurer); },
            .invalidate = Interpolation::invalidate};
}

} // namespace larkspool
