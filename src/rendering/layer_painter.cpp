#include "rendering/layer_painter.h"

#include "rendering/continuous_corners.h"
#include "rendering/cursors.h"
#include "rendering/gradient_field.h"
#include "rendering/image_media.h"
#include "rendering/radiate.h"
#include "rendering/raster_color.h"
#include "rendering/shapes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace larkspool {

namespace {

/// Blur of a glow of strength 1 in a film, in device pixels.
constexpr double filmGlowBlur = 24;
/// Alpha of a glow of strength 1 in a film.
constexpr double filmGlowAlpha = 0.85;

/// One of the shadows that make the glow of a live canvas, for a glow of strength 1.
struct GlowShadow {
    double blur; ///< View points.
    double alpha;
};

/// The innermost first: each is cast by what those before it made.
constexpr std::array<GlowShadow, 3> stackedGlow{{{10, 1}, {24, 0.7}, {48, 0.4}}};

/// How far a shadow shows, in its blur, and a margin for anti-aliasing in device pixels.
constexpr double reachInBlurs = 2, reachMargin = 2;

/// How far the corners of a box's outline reach, in line widths.
constexpr double miterReach = 5;

/// Of the boxes that stand for zooms and hot spots.
constexpr double editingFillAlpha = 0.07, editingLineAlpha = 0.9;

RasterShadow glowShadow(const EvaluatedLayer& evaluated, double blur, double alpha)
{
    const ColorRGBA& color = evaluated.glowColor;
    return {.offset = {0, 0}, .blur = blur, .color = {color.r, color.g, color.b, std::min(alpha, 1.0)}};
}

bool hasOwnShadow(const Layer& layer)
{
    return layer.shadow != ShadowPreset::none && castsShadow(layer.kind);
}

/// In a film, only these kinds hand their opacity down to their children.
bool handsOpacityDown(Layer::Kind kind)
{
    return kind == Layer::Kind::group || kind == Layer::Kind::zoom;
}

bool isPictureInPicture(const Layer& layer)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::pictureInPicture;
}

/// An area of the layer's space that holds its body and its strokes.
CGRect bodyReach(const Layer& layer, const DrawingStyle& style)
{
    if (layer.kind == Layer::Kind::group) return CGRect::null();
    if (const std::optional<CGRect> known = bodyHints(layer, style).bounds) return *known;
    const double stroke = std::max({layer.strokeWidth, layer.strokeWidthTop, layer.strokeWidthRight, layer.strokeWidthBottom,
                                    layer.strokeWidthLeft, 0.0});
    const double reach = stroke + style.clippedStrokeExtra;
    return insetBy({{0, 0}, layer.size}, -reach, -reach);
}

/// What is known of a layer's body, with bounds in any case.
TransparencyLayerHints knownHints(const Layer& layer, const DrawingStyle& style)
{
    TransparencyLayerHints hints = bodyHints(layer, style);
    if (!hints.bounds) hints.bounds = bodyReach(layer, style);
    return hints;
}

CGRect movedBy(const CGRect& rect, CGSize offset)
{
    return {{rect.origin.x + offset.width, rect.origin.y + offset.height}, rect.size};
}

bool isFinite(const CGRect& rect)
{
    return std::isfinite(rect.minX()) && std::isfinite(rect.minY()) && std::isfinite(rect.maxX()) && std::isfinite(rect.maxY());
}

} // namespace

RasterShadow LayerPainter::presetShadow(ShadowPreset preset) const
{
    const ShadowPresetValues values = shadowPresetValues(preset);
    const double scale = style_.units == DrawingStyle::Units::view ? style_.viewScale * style_.pixelsPerPoint : 1;
    return {.offset = {0, -values.verticalOffset * scale},
            .blur = values.blur * scale,
            .color = {0, 0, 0, values.alpha}};
}

void LayerPainter::paintWithRingsAndGlow(const EvaluatedLayer& evaluated, double parentOpacity)
{
    if (style_.rings == DrawingStyle::Rings::behindLayers) Exporter::drawRadiateForLayer(evaluated, context_);
    if (!(evaluated.glow > 0)) return paint(evaluated, parentOpacity, OwnShadow::cast);
    if (style_.glow == DrawingStyle::Glow::once) return paintUnderFilmGlow(evaluated, parentOpacity);
    underStackedGlow(evaluated, [&] { paint(evaluated, parentOpacity, OwnShadow::cast); });
}

void LayerPainter::paintUnderFilmGlow(const EvaluatedLayer& evaluated, double parentOpacity)
{
    // A layer that is stored with a shadow is painted twice, so that the glow does not take the shadow's place. One that has its
    // shadow from keyframes alone shows that, and no glow.
    OwnShadow underGlow = OwnShadow::cast;
    if (evaluated.storedShadow != ShadowPreset::none && castsShadow(evaluated.layer.kind)) {
        paint(evaluated, parentOpacity, OwnShadow::cast);
        underGlow = OwnShadow::skipped;
    }
    SavedState saved(context_);
    context_.setShadow(glowShadow(evaluated, evaluated.glow * filmGlowBlur, evaluated.glow * filmGlowAlpha));
    paint(evaluated, parentOpacity, underGlow);
}

template <typename Paint>
void LayerPainter::underStackedGlow(const EvaluatedLayer& evaluated, const Paint& paint)
{
    // What a shadow lies around holds the shadows within it, too.
    std::array<double, stackedGlow.size()> margins{};
    for (std::size_t i = 1; i < stackedGlow.size(); ++i)
        margins[i] = margins[i - 1] + evaluated.glow * stackedGlow[i - 1].blur * style_.pixelsPerPoint * reachInBlurs + reachMargin;

    SavedState saved(context_);
    for (std::size_t i = stackedGlow.size(); i-- > 0;) {
        const GlowShadow& each = stackedGlow[i];
        context_.setAlpha(1);
        context_.setShadow(
            glowShadow(evaluated, evaluated.glow * each.blur * style_.pixelsPerPoint, evaluated.glow * each.alpha));
        context_.beginTransparencyLayer({.bounds = reach(evaluated, margins[i])});
    }
    paint();
    for (std::size_t i = 0; i < stackedGlow.size(); ++i) context_.endTransparencyLayer();
}

template <typename Paint>
void LayerPainter::composited(double opacity, const std::optional<CGRect>& bounds, const Paint& paint)
{
    if (!(opacity > 0)) return;
    SavedState saved(context_);
    context_.setAlpha(opacity);
    context_.beginTransparencyLayer({.bounds = bounds});
    paint();
    context_.endTransparencyLayer();
}

void LayerPainter::paint(const EvaluatedLayer& evaluated, double parentOpacity, OwnShadow ownShadow)
{
    const double opacity = evaluated.layer.opacity;
    if (style_.opacity == DrawingStyle::Opacity::handedDown || evaluated.children.empty() || opacity >= 1)
        return paintParts(evaluated, parentOpacity * opacity, ownShadow);
    composited(opacity, reach(evaluated, 0), [&] { paintParts(evaluated, 1, ownShadow); });
}

void LayerPainter::paintParts(const EvaluatedLayer& evaluated, double opacity, OwnShadow ownShadow)
{
    const Layer& layer = evaluated.layer;
    const bool shadowed = ownShadow == OwnShadow::cast && hasOwnShadow(layer);

    SavedState saved(context_);
    if (shadowed) context_.setShadow(presetShadow(layer.shadow));
    context_.concatCTM(evaluated.transform);
    context_.setAlpha(opacity);
    if (shadowed) context_.beginTransparencyLayer(knownHints(layer, style_));
    paintBody(layer);
    if (shadowed) context_.endTransparencyLayer();

    const bool isHandedDown = style_.opacity == DrawingStyle::Opacity::handedDown && handsOpacityDown(layer.kind);
    for (const EvaluatedLayer& child : evaluated.children) {
        if (style_.nestedZooms == DrawingStyle::NestedZooms::leftOut && isPictureInPicture(child.layer)) continue;
        paintWithRingsAndGlow(child, isHandedDown ? opacity : 1);
    }
}

void LayerPainter::paintBody(const Layer& layer)
{
    if (layer.kind == Layer::Kind::cursor && layer.cursorVariant == CursorVariant::wait) {
        const CGRect frame{{0, 0}, layer.size};
        if (!style_.spinnerClock) return drawExportThrobber(context_, frame, time_);
        const int lead = canvasThrobberLead(*style_.spinnerClock, throbberRevolution, throbberCount);
        return drawThrobber(context_, frame, lead, throbberCount, {0, 0, 0, 1}, style_.corners);
    }
    switch (layer.kind) {
    case Layer::Kind::gradientField: return Exporter::drawGradientField(layer, context_, time_, style_);
    case Layer::Kind::video: return Exporter::drawVideoBody(layer, context_, time_, style_);
    case Layer::Kind::zoom: return style_.editingFrames ? paintEditingFrame(layer.size, style_.editingFrames->zoom) : void();
    case Layer::Kind::hotspot: return style_.editingFrames ? paintEditingFrame(layer.size, style_.editingFrames->hotspot) : void();
    default: return Exporter::drawCacheableLayerBody(layer, context_, style_);
    }
}

void LayerPainter::paintEditingFrame(CGSize size, const RasterColor& color)
{
    const AffineTransform toDevice = context_.ctm();
    if (!(std::abs(toDevice.determinant()) > 0)) return;
    Path box;
    box.moveTo(toDevice.apply(CGPoint{0, 0}));
    for (const CGPoint corner : {CGPoint{size.width, 0}, CGPoint{size.width, size.height}, CGPoint{0, size.height}})
        box.lineTo(toDevice.apply(corner));
    box.close();

    // On the raster itself, so that the line is a view point wide however the layer is scaled.
    SavedState saved(context_);
    context_.concatCTM(toDevice.inverted());
    context_.setFillColor({color.r, color.g, color.b, color.a * editingFillAlpha});
    context_.fillPath(box, FillRule::winding);
    context_.setStrokeColor({color.r, color.g, color.b, color.a * editingLineAlpha});
    context_.setLineWidth(style_.pixelsPerPoint);
    context_.strokePath(box);
}

void LayerPainter::paintWithRingsAndGlow(const EvaluatedViewport& viewport, const EvaluatedFrame& frame)
{
    const EvaluatedLayer& child = viewport.child;
    if (style_.rings == DrawingStyle::Rings::behindLayers) Exporter::drawRadiateForLayer(child, context_);
    if (child.glow > 0 && style_.glow == DrawingStyle::Glow::stacked)
        return underStackedGlow(child, [&] { paint(viewport, frame); });
    SavedState saved(context_);
    if (child.glow > 0) context_.setShadow(glowShadow(child, child.glow * filmGlowBlur, child.glow * filmGlowAlpha));
    paint(viewport, frame);
}

void LayerPainter::paint(const EvaluatedViewport& viewport, const EvaluatedFrame& frame)
{
    const double opacity = viewport.child.layer.opacity;
    if (style_.opacity == DrawingStyle::Opacity::handedDown || opacity >= 1) return paintParts(viewport, frame, opacity);
    composited(opacity, reach(viewport.child, 0), [&] { paintParts(viewport, frame, 1); });
}

void LayerPainter::paintParts(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, double opacity)
{
    const Layer& child = viewport.child.layer;
    const RoundedRect shape{{{0, 0}, child.size}, clampedCornerRadius(child.cornerRadius, child.size)};
    const Path outline = boxOutline(shape, style_.corners);

    SavedState saved(context_);
    context_.concatCTM(viewport.child.transform);
    context_.setAlpha(opacity);
    fillViewport(child, shape, outline);
    {
        SavedState clipped(context_);
        context_.clipToPath(outline, FillRule::winding);
        paintView(viewport, frame, opacity);
    }
    strokeClipped(outline, child, context_, style_);
}

/// Fills a viewport's shape, with its shadow if it has one.
void LayerPainter::fillViewport(const Layer& child, const RoundedRect& shape, const Path& outline)
{
    context_.setFillColor(rasterColor(child.fill));
    if (child.shadow == ShadowPreset::none) return context_.fillPath(outline, FillRule::winding);

    SavedState saved(context_);
    context_.setShadow(presetShadow(child.shadow));
    const RoundedRect covered = circularWithin(shape, style_.corners);
    context_.beginTransparencyLayer({.bounds = shape.rect, .coverage = {{covered, std::clamp(child.fill.a, 0.0, 1.0)}}});
    context_.fillPath(outline, FillRule::winding);
    context_.endTransparencyLayer();
}

/// Paints the scene as it is seen through a viewport. Rings and glows of the scene's own layers are left out.
void LayerPainter::paintView(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, double opacity)
{
    const Layer& child = viewport.child.layer;
    const Transform& place = viewport.parent.transform;
    const CGSize seen{std::max(1.0, viewport.parent.size.width), std::max(1.0, viewport.parent.size.height)};
    const double across = child.size.width / seen.width;
    const bool fitsWhole = style_.viewportFit == DrawingStyle::ViewportFit::whole;
    const double scale = fitsWhole ? std::min(across, child.size.height / seen.height) : across;

    if (fitsWhole)
        context_.translateCTM((child.size.width - seen.width * scale) * 0.5, (child.size.height - seen.height * scale) * 0.5);
    context_.scaleCTM(scale, scale);
    context_.translateCTM(-place.x, -place.y);
    context_.setFillColor(rasterColor(frame.background));
    context_.fillRect({{place.x, place.y}, seen});

    DrawingStyle within = style_;
    within.editingFrames.reset(); // A viewport shows the picture, not what edits it.
    if (style_.units == DrawingStyle::Units::view) within.viewScale *= scale;
    if (!(within.viewScale > 0)) return;
    LayerPainter painter(context_, time_, within);
    for (const EvaluatedLayer& layer : frame.layers)
        if (!isPictureInPicture(layer.layer)) painter.paint(layer, opacity, OwnShadow::cast);
}

/// All that a layer and its subtree paint, in device space.
CGRect LayerPainter::deviceReach(const EvaluatedLayer& evaluated, const AffineTransform& parentToDevice) const
{
    const Layer& layer = evaluated.layer;
    const AffineTransform toDevice = parentToDevice.concatenating(evaluated.transform);
    CGRect painted = toDevice.apply(bodyReach(layer, style_));
    if (style_.editingFrames && (layer.kind == Layer::Kind::zoom || layer.kind == Layer::Kind::hotspot))
        painted = insetBy(painted, -style_.pixelsPerPoint * miterReach, -style_.pixelsPerPoint * miterReach);
    if (layer.shadow != ShadowPreset::none) {
        const RasterShadow shadow = presetShadow(layer.shadow);
        const double blur = shadow.blur * reachInBlurs + reachMargin;
        painted = unionOf(painted, insetBy(movedBy(painted, shadow.offset), -blur, -blur));
    }
    for (const EvaluatedLayer& child : evaluated.children) {
        CGRect below = deviceReach(child, toDevice);
        for (const GlowShadow& glow : stackedGlow) {
            const double blur = child.glow > 0 ? child.glow * glow.blur * style_.pixelsPerPoint * reachInBlurs + reachMargin : 0;
            below = insetBy(below, -blur, -blur);
        }
        painted = unionOf(painted, below);
    }
    return painted;
}

/// The same in user space, where it can be told.
std::optional<CGRect> LayerPainter::reach(const EvaluatedLayer& evaluated, double deviceMargin) const
{
    const AffineTransform toDevice = context_.ctm();
    if (!(std::abs(toDevice.determinant()) > 0)) return std::nullopt;
    const CGRect painted = deviceReach(evaluated, toDevice);
    if (painted.isNull()) return painted;
    const CGRect user = toDevice.inverted().apply(insetBy(painted, -deviceMargin, -deviceMargin));
    return isFinite(user) ? std::optional(user) : std::nullopt;
}

} // namespace larkspool
