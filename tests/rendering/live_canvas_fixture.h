#pragma once

#include "rendering/live_canvas.h"
#include "rendering/rendering_fixture.h"
#include "support/recording_raster_context.h"

#include <vector>

namespace larkspool {

/// How a scene is looked at in a test: unless it says otherwise at its own size, on black.
struct Look {
    double playhead = 0;
    double scale = 1;
    CGPoint origin{};
    double pixelsPerPoint = 1;
    std::optional<CGSize> viewSize{}; ///< The scene's in the view, where not given.
    CanvasRenderer::Options options{.backdrop = {0, 0, 0, 1}};

    CanvasRenderer::Placement placement(const TweenScene& scene) const
    {
        return {.scale = scale,
                .originX = origin.x,
                .originY = origin.y,
                .viewSize = viewSize.value_or(CGSize{scene.width * scale, scene.height * scale}),
                .pixelsPerPoint = pixelsPerPoint};
    }
};

inline PixelBuffer paintedCanvas(const TweenScene& scene, const Look& look = {})
{
    const CanvasRenderer::Placement placement = look.placement(scene);
    PixelBuffer picture(static_cast<std::int64_t>(placement.viewSize.width * look.pixelsPerPoint),
                        static_cast<std::int64_t>(placement.viewSize.height * look.pixelsPerPoint));
    CanvasRenderer::paint(scene, look.playhead, placement, look.options, *makeRasterContext(picture));
    return picture;
}

inline RecordingRasterContext recordedCanvas(const TweenScene& scene, const Look& look = {})
{
    RecordingRasterContext context;
    CanvasRenderer::paint(scene, look.playhead, look.placement(scene), look.options, context);
    return context;
}

/// All calls of one kind, in order.
template <typename Operation>
std::vector<Operation> calls(const RecordingRasterContext& context)
{
    std::vector<Operation> found;
    for (const RasterOperation::Any& each : context.operations())
        if (const auto* call = std::get_if<Operation>(&each)) found.push_back(*call);
    return found;
}

inline Layer solidLayer(const ColorRGBA& color, CGRect place)
{
    return {.transform = {.x = place.origin.x, .y = place.origin.y}, .fill = color, .size = place.size};
}

inline Layer groupLayer(Array<Layer> children)
{
    return {.kind = Layer::Kind::group, .children = std::move(children)};
}

} // namespace larkspool
