#include "rendering/frame_composition.h"

#include "rendering/layer_painter.h"
#include "rendering/raster_color.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

void fill(const CGRect& rect, const RasterColor& color, RasterContext& context)
{
    context.setFillColor(color);
    context.fillRect(rect);
}

const DrawingStyle& filmStyle()
{
    static const DrawingStyle style;
    return style;
}

/// The scene's frame within the raster, centred with its aspect kept.
struct Fit {
    double scale;
    CGRect frame;
};

Fit fitted(CGSize sceneSize, CGSize viewSize)
{
    const double scale = std::min(viewSize.width / sceneSize.width, viewSize.height / sceneSize.height);
    const CGSize size{sceneSize.width * scale, sceneSize.height * scale};
    return {scale, {{(viewSize.width - size.width) * 0.5, (viewSize.height - size.height) * 0.5}, size}};
}

bool covers(const CGRect& rect, CGSize viewSize)
{
    return rect.minX() <= 0 && rect.minY() <= 0 && rect.maxX() >= viewSize.width && rect.maxY() >= viewSize.height;
}

} // namespace

void Exporter::drawScene(const TweenScene& scene, double time, RasterContext& context, CGSize viewSize)
{
    drawFrame(evaluateFrame(scene, time), context, viewSize);
}

void Exporter::drawFrame(const EvaluatedFrame& frame, RasterContext& context, CGSize viewSize)
{
    const Fit fit = fitted(frame.sceneSize, viewSize);
    const bool fits = std::isfinite(fit.scale) && fit.scale > 0;

    SavedState saved(context);
    // The black bars are all under an opaque background that fills the raster: a pass over the frame less.
    if (!(fits && frame.background.a >= 1 && covers(fit.frame, viewSize))) fill({{0, 0}, viewSize}, {0, 0, 0, 1}, context);
    if (!fits) return;
    fill(fit.frame, rasterColor(frame.background), context);

    context.translateCTM(fit.frame.origin.x, fit.frame.origin.y);
    context.scaleCTM(fit.scale, fit.scale);
    if (const std::optional<FrameZoom>& zoom = frame.zoom) {
        context.scaleCTM(zoom->scale, zoom->scale);
        context.translateCTM(zoom->translate.x, zoom->translate.y);
        if (zoom->alpha < 1) context.setAlpha(zoom->alpha);
    }
    LayerPainter painter(context, frame.time, filmStyle());
    for (const EvaluatedLayer& layer : frame.layers) painter.paintWithRingsAndGlow(layer, /*parentOpacity=*/1);
    for (const EvaluatedViewport& viewport : frame.viewports) painter.paintWithRingsAndGlow(viewport, frame);
}

void Exporter::drawLayer(const Layer& layer, RasterContext& context, double parentOpacity, CGPoint originOffset,
                         const TweenScene* scene, bool skipOwnShadow, double time)
{
    const EvaluatedLayer evaluated = evaluateSubtree(layer, layer, originOffset, scene, time);
    LayerPainter(context, time, filmStyle()).paint(evaluated, parentOpacity, skipOwnShadow ? OwnShadow::skipped : OwnShadow::cast);
}

void Exporter::drawPIPChild(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, RasterContext& context)
{
    LayerPainter(context, frame.time, filmStyle()).paintWithRingsAndGlow(viewport, frame);
}

std::unique_ptr<PixelBuffer> Exporter::renderSceneToImage(const TweenScene& scene, double time, CGSize size)
{
    const auto isSide = [](double side) { return side >= 1 && side <= static_cast<double>(PixelBuffer::maximumSide); };
    if (!isSide(size.width) || !isSide(size.height)) return nullptr;
    const auto width = static_cast<std::int64_t>(size.width), height = static_cast<std::int64_t>(size.height);
    if (!PixelBuffer::isPossible(width, height)) return nullptr;

    auto image = std::make_unique<PixelBuffer>(width, height);
    const std::unique_ptr<RasterContext> context = makeRasterContext(*image);
    drawScene(scene, time, *context, size);
    return image;
}

} // namespace larkspool
