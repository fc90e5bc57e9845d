#include "rendering/frame_composition.h"

#include "rendering/cursors.h"
#include "rendering/gradient_field.h"
#include "rendering/image_media.h"
#include "rendering/radiate.h"
#include "rendering/raster_color.h"
#include "rendering/shapes.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// Blur of a glow of strength 1, in device pixels.
constexpr double glowBlur = 24;
/// Alpha of a glow of strength 1.
constexpr double glowAlpha = 0.85;

RasterShadow presetShadow(ShadowPreset preset)
{
    const ShadowPresetValues values = shadowPresetValues(preset);
    return {.offset = {0, -values.verticalOffset}, .blur = values.blur, .color = {0, 0, 0, values.alpha}};
}

RasterShadow glowShadow(const EvaluatedLayer& evaluated)
{
    const ColorRGBA& color = evaluated.glowColor;
    return {.offset = {0, 0},
            .blur = evaluated.glow * glowBlur,
            .color = {color.r, color.g, color.b, std::min(evaluated.glow * glowAlpha, 1.0)}};
}

bool hasOwnShadow(const Layer& layer)
{
    return layer.shadow != ShadowPreset::none && castsShadow(layer.kind);
}

/// Only these kinds hand their opacity down to their children.
bool handsOpacityDown(Layer::Kind kind)
{
    return kind == Layer::Kind::group || kind == Layer::Kind::zoom;
}

bool isPictureInPicture(const Layer& layer)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::pictureInPicture;
}

void fill(const CGRect& rect, const RasterColor& color, RasterContext& context)
{
    context.setFillColor(color);
    context.fillRect(rect);
}

/// Fills a viewport's shape, with its shadow if it has one.
void fillViewport(const Layer& child, const RoundedRect& shape, RasterContext& context)
{
    const Path outline = Path::roundedRect(shape);
    context.setFillColor(rasterColor(child.fill));
    if (child.shadow == ShadowPreset::none) return context.fillPath(outline, FillRule::winding);

    SavedState saved(context);
    context.setShadow(presetShadow(child.shadow));
    context.beginTransparencyLayer({.bounds = shape.rect, .coverage = {{shape, std::clamp(child.fill.a, 0.0, 1.0)}}});
    context.fillPath(outline, FillRule::winding);
    context.endTransparencyLayer();
}

enum class OwnShadow { cast, skipped };

/// Paints evaluated layers as they are at one time.
class LayerPainter {
public:
    LayerPainter(RasterContext& context, double time) : context_(context), time_(time) {}

    void paintWithRingsAndGlow(const EvaluatedLayer& evaluated, double parentOpacity)
    {
        Exporter::drawRadiateForLayer(evaluated, context_);
        if (!(evaluated.glow > 0)) return paint(evaluated, parentOpacity, OwnShadow::cast);

        // A layer with a shadow of its own is painted twice, so that the glow does not take the shadow's place.
        OwnShadow underGlow = OwnShadow::cast;
        if (hasOwnShadow(evaluated.layer)) {
            paint(evaluated, parentOpacity, OwnShadow::cast);
            underGlow = OwnShadow::skipped;
        }
        SavedState saved(context_);
        context_.setShadow(glowShadow(evaluated));
        paint(evaluated, parentOpacity, underGlow);
    }

    void paint(const EvaluatedLayer& evaluated, double parentOpacity, OwnShadow ownShadow)
    {
        const Layer& layer = evaluated.layer;
        const bool shadowed = ownShadow == OwnShadow::cast && hasOwnShadow(layer);
        const double opacity = parentOpacity * layer.opacity;

        SavedState saved(context_);
        if (shadowed) context_.setShadow(presetShadow(layer.shadow));
        context_.concatCTM(evaluated.transform);
        context_.setAlpha(opacity);
        if (shadowed) context_.beginTransparencyLayer(bodyHints(layer));
        paintBody(layer);
        if (shadowed) context_.endTransparencyLayer();
        for (const EvaluatedLayer& child : evaluated.children)
            paintWithRingsAndGlow(child, handsOpacityDown(layer.kind) ? opacity : 1);
    }

    void paintWithRingsAndGlow(const EvaluatedViewport& viewport, const EvaluatedFrame& frame)
    {
        Exporter::drawRadiateForLayer(viewport.child, context_);
        SavedState saved(context_);
        if (viewport.child.glow > 0) context_.setShadow(glowShadow(viewport.child));
        paint(viewport, frame);
    }

private:
    void paintBody(const Layer& layer)
    {
        if (layer.kind == Layer::Kind::cursor && layer.cursorVariant == CursorVariant::wait)
            return drawExportThrobber(context_, {{0, 0}, layer.size}, time_);
        switch (layer.kind) {
        case Layer::Kind::gradientField: return Exporter::drawGradientField(layer, context_, time_);
        case Layer::Kind::video: return Exporter::drawVideoBody(layer, context_, time_);
        default: return Exporter::drawCacheableLayerBody(layer, context_);
        }
    }

    void paint(const EvaluatedViewport& viewport, const EvaluatedFrame& frame)
    {
        const Layer& child = viewport.child.layer;
        const RoundedRect shape{{{0, 0}, child.size}, clampedCornerRadius(child.cornerRadius, child.size)};
        const Path outline = Path::roundedRect(shape);

        SavedState saved(context_);
        context_.concatCTM(viewport.child.transform);
        context_.setAlpha(child.opacity);
        fillViewport(child, shape, context_);
        {
            SavedState clipped(context_);
            context_.clipToPath(outline, FillRule::winding);
            paintView(viewport, frame);
        }
        strokeClipped(outline, child, context_);
    }

    /// Paints the scene as it is seen through a viewport: the zoom's rectangle fitted into the child and centred. Rings and glows
    /// of the scene's own layers are left out.
    void paintView(const EvaluatedViewport& viewport, const EvaluatedFrame& frame)
    {
        const Layer& child = viewport.child.layer;
        const Transform& place = viewport.parent.transform;
        const CGSize seen{std::max(1.0, viewport.parent.size.width), std::max(1.0, viewport.parent.size.height)};
        const double scale = std::min(child.size.width / seen.width, child.size.height / seen.height);

        context_.translateCTM((child.size.width - seen.width * scale) * 0.5, (child.size.height - seen.height * scale) * 0.5);
        context_.scaleCTM(scale, scale);
        context_.translateCTM(-place.x, -place.y);
        fill({{place.x, place.y}, seen}, rasterColor(frame.background), context_);
        for (const EvaluatedLayer& layer : frame.layers)
            if (!isPictureInPicture(layer.layer)) paint(layer, child.opacity, OwnShadow::cast);
    }

    RasterContext& context_;
    double time_;
};

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
    LayerPainter painter(context, frame.time);
    for (const EvaluatedLayer& layer : frame.layers) painter.paintWithRingsAndGlow(layer, /*parentOpacity=*/1);
    for (const EvaluatedViewport& viewport : frame.viewports) painter.paintWithRingsAndGlow(viewport, frame);
}

void Exporter::drawLayer(const Layer& layer, RasterContext& context, double parentOpacity, CGPoint originOffset,
                         const TweenScene* scene, bool skipOwnShadow, double time)
{
    const EvaluatedLayer evaluated = evaluateSubtree(layer, layer, originOffset, scene, time);
    LayerPainter(context, time).paint(evaluated, parentOpacity, skipOwnShadow ? OwnShadow::skipped : OwnShadow::cast);
}

void Exporter::drawPIPChild(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, RasterContext& context)
{
    LayerPainter(context, frame.time).paintWithRingsAndGlow(viewport, frame);
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
