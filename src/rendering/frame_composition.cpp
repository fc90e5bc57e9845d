#include "rendering/frame_composition.h"

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

/// Composites what is painted during its life as one, if asked to.
class LayerGroup {
public:
    LayerGroup(RasterContext& context, bool opened, const Layer& layer) : context_(context), opened_(opened)
    {
        if (opened_) context_.beginTransparencyLayer(bodyHints(layer));
    }
    ~LayerGroup()
    {
        if (opened_) context_.endTransparencyLayer();
    }
    LayerGroup(const LayerGroup&) = delete;
    LayerGroup& operator=(const LayerGroup&) = delete;

private:
    RasterContext& context_;
    bool opened_;
};

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

enum class OwnShadow { cast, skipped };

void paintWithRingsAndGlow(const EvaluatedLayer& evaluated, RasterContext& context, double parentOpacity);

void paintLayer(const EvaluatedLayer& evaluated, RasterContext& context, double parentOpacity, OwnShadow ownShadow)
{
    const Layer& layer = evaluated.layer;
    const bool shadowed = ownShadow == OwnShadow::cast && hasOwnShadow(layer);
    const double opacity = parentOpacity * layer.opacity;

    SavedState saved(context);
    if (shadowed) context.setShadow(presetShadow(layer.shadow));
    context.concatCTM(evaluated.transform);
    context.setAlpha(opacity);
    {
        LayerGroup group(context, shadowed, layer);
        Exporter::drawCacheableLayerBody(layer, context);
    }
    for (const EvaluatedLayer& child : evaluated.children)
        paintWithRingsAndGlow(child, context, handsOpacityDown(layer.kind) ? opacity : 1);
}

void paintWithRingsAndGlow(const EvaluatedLayer& evaluated, RasterContext& context, double parentOpacity)
{
    Exporter::drawRadiateForLayer(evaluated, context);
    if (!(evaluated.glow > 0)) return paintLayer(evaluated, context, parentOpacity, OwnShadow::cast);

    // A layer with a shadow of its own is painted twice, so that the glow does not take the shadow's place.
    OwnShadow underGlow = OwnShadow::cast;
    if (hasOwnShadow(evaluated.layer)) {
        paintLayer(evaluated, context, parentOpacity, OwnShadow::cast);
        underGlow = OwnShadow::skipped;
    }
    SavedState saved(context);
    context.setShadow(glowShadow(evaluated));
    paintLayer(evaluated, context, parentOpacity, underGlow);
}

void fill(const CGRect& rect, const RasterColor& color, RasterContext& context)
{
    context.setFillColor(color);
    context.fillRect(rect);
}

bool isPictureInPicture(const Layer& layer)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::pictureInPicture;
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

/// Paints the scene as it is seen through a viewport: the zoom's rectangle fitted into the child and centred. Rings and glows of
/// the scene's own layers are left out.
void paintView(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, RasterContext& context)
{
    const Layer& child = viewport.child.layer;
    const Transform& place = viewport.parent.transform;
    const CGSize seen{std::max(viewport.parent.size.width, 1.0), std::max(viewport.parent.size.height, 1.0)};
    const double scale = std::min(child.size.width / seen.width, child.size.height / seen.height);

    context.translateCTM((child.size.width - seen.width * scale) * 0.5, (child.size.height - seen.height * scale) * 0.5);
    context.scaleCTM(scale, scale);
    context.translateCTM(-place.x, -place.y);
    fill({{place.x, place.y}, seen}, rasterColor(frame.background), context);
    for (const EvaluatedLayer& layer : frame.layers)
        if (!isPictureInPicture(layer.layer)) paintLayer(layer, context, child.opacity, OwnShadow::cast);
}

void paintViewport(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, RasterContext& context)
{
    const Layer& child = viewport.child.layer;
    const RoundedRect shape{{{0, 0}, child.size}, clampedCornerRadius(child.cornerRadius, child.size)};
    const Path outline = Path::roundedRect(shape);

    SavedState saved(context);
    context.concatCTM(viewport.child.transform);
    context.setAlpha(child.opacity);
    fillViewport(child, shape, context);
    {
        SavedState clipped(context);
        context.clipToPath(outline, FillRule::winding);
        paintView(viewport, frame, context);
    }
    strokeClipped(outline, child, context);
}

void paintViewportWithGlow(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, RasterContext& context)
{
    Exporter::drawRadiateForLayer(viewport.child, context);
    SavedState saved(context);
    if (viewport.child.glow > 0) context.setShadow(glowShadow(viewport.child));
    paintViewport(viewport, frame, context);
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
    for (const EvaluatedLayer& layer : frame.layers) paintWithRingsAndGlow(layer, context, /*parentOpacity=*/1);
    for (const EvaluatedViewport& viewport : frame.viewports) paintViewportWithGlow(viewport, frame, context);
}

void Exporter::drawLayer(const Layer& layer, RasterContext& context, double parentOpacity, CGPoint originOffset,
                         const TweenScene* scene, bool skipOwnShadow, double time)
{
    const EvaluatedLayer evaluated = evaluateSubtree(layer, layer, originOffset, scene, time);
    paintLayer(evaluated, context, parentOpacity, skipOwnShadow ? OwnShadow::skipped : OwnShadow::cast);
}

std::unique_ptr<PixelBuffer> Exporter::renderSceneToImage(const TweenScene& scene, double time, CGSize size)
{
    const auto isAllocatable = [](double side) { return side >= 1 && side <= static_cast<double>(PixelBuffer::maximumSide); };
    if (!isAllocatable(size.width) || !isAllocatable(size.height)) return nullptr;

    auto image = std::make_unique<PixelBuffer>(static_cast<std::int64_t>(size.width), static_cast<std::int64_t>(size.height));
    const std::unique_ptr<RasterContext> context = makeRasterContext(*image);
    drawScene(scene, time, *context, size);
    return image;
}

} // namespace larkspool
