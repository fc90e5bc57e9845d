#include "rendering/live_canvas.h"

#include "evaluation/evaluated_frame.h"
#include "rendering/cursors.h"
#include "rendering/layer_painter.h"
#include "rendering/radiate.h"
#include "rendering/raster_color.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace larkspool::CanvasRenderer {

namespace {

/// Of the black that dims what lies beyond the frame.
constexpr double veilAlpha = 0.35;
constexpr double outlineAlpha = 0.18;
constexpr double outlineWidth = 1; ///< View points.

/// Where there are no videos to be had.
class NoVideos final : public VideoPictures {
public:
    void beginPainting(bool, double) override {}
    ImageRef picture(const Layer&, const std::string&, double) override { return nullptr; }
    void endPainting() override {}
};

DrawingStyle styleFor(const Placement& placement, const Options& options, VideoPictures& videos)
{
    return {.corners = DrawingStyle::Corners::continuous,
            .opacity = DrawingStyle::Opacity::composited,
            .glow = DrawingStyle::Glow::stacked,
            .text = DrawingStyle::Text::view,
            .keying = DrawingStyle::Keying::honoured,
            .mediaStroke = DrawingStyle::MediaStroke::border,
            .viewportFit = DrawingStyle::ViewportFit::width,
            .rings = DrawingStyle::Rings::none,
            .nestedZooms = DrawingStyle::NestedZooms::leftOut,
            .units = DrawingStyle::Units::view,
            .clippedStrokeExtra = 0,
            .leastFreeformWidth = 0.5,
            .viewScale = placement.scale,
            .pixelsPerPoint = placement.pixelsPerPoint,
            .visiblePixels = CGRect{{0, 0}, {std::ceil(placement.viewSize.width * placement.pixelsPerPoint),
                                             std::ceil(placement.viewSize.height * placement.pixelsPerPoint)}},
            .spinnerClock = options.now,
            .videos = &videos,
            .images = options.images,
            .editingFrames = options.editingFrames};
}

bool isShown(CGSize scene, const Placement& p)
{
    const bool isFinite = std::isfinite(p.originX) && std::isfinite(p.originY) && std::isfinite(scene.width * p.scale) &&
                          std::isfinite(scene.height * p.scale);
    return isFinite && scene.width > 0 && scene.height > 0 && p.scale > 0;
}

/// The scene's frame in view points.
CGRect frameInView(CGSize scene, const Placement& p)
{
    return {{p.originX, p.originY}, {scene.width * p.scale, scene.height * p.scale}};
}

void fill(const CGRect& rect, const RasterColor& color, RasterContext& context)
{
    context.setFillColor(color);
    context.fillRect(rect);
}

void paintLayers(const EvaluatedFrame& frame, const Placement& placement, const DrawingStyle& style, RasterContext& context)
{
    SavedState saved(context);
    context.translateCTM(placement.originX, placement.originY);
    context.scaleCTM(placement.scale, placement.scale);
    LayerPainter painter(context, frame.time, style);
    for (const EvaluatedLayer& layer : frame.layers) painter.paintWithRingsAndGlow(layer, /*parentOpacity=*/1);
    for (const EvaluatedViewport& viewport : frame.viewports) painter.paintWithRingsAndGlow(viewport, frame);
}

void paintVeil(const CGRect& frame, CGSize viewSize, RasterContext::Compositing compositing, RasterContext& context)
{
    Path around = Path::rect({{0, 0}, viewSize});
    around.add(Path::rect(frame));
    SavedState saved(context);
    context.setFillCompositing(compositing);
    context.setFillColor({0, 0, 0, veilAlpha});
    context.fillPath(around, FillRule::evenOdd);
}

/// The colour that the veil turns into `color`; none where it would have to be brighter than white.
std::optional<RasterColor> underVeil(const RasterColor& color)
{
    constexpr auto seen = 1 - veilAlpha;
    if (color.a < 1 || std::max({color.r, color.g, color.b}) > seen) return std::nullopt;
    return RasterColor{color.r / seen, color.g / seen, color.b / seen, 1};
}

/// The parts of the view whose pixels the frame does not fill, in view points. They are whole pixels and do not overlap.
std::vector<CGRect> partsAround(const CGRect& frame, const Placement& placement)
{
    const double ratio = placement.pixelsPerPoint;
    const CGSize view = placement.viewSize;
    const double left = std::max(std::ceil(frame.minX() * ratio) / ratio, 0.0);
    const double right = std::min(std::floor(frame.maxX() * ratio) / ratio, view.width);
    const double top = std::max(std::ceil(frame.minY() * ratio) / ratio, 0.0);
    const double bottom = std::min(std::floor(frame.maxY() * ratio) / ratio, view.height);
    if (left >= right || top >= bottom) return {{{0, 0}, view}};

    std::vector<CGRect> parts;
    for (const CGRect& part :
         {CGRect{{0, 0}, {view.width, top}}, CGRect{{0, bottom}, {view.width, view.height - bottom}},
          CGRect{{0, top}, {left, bottom - top}}, CGRect{{right, top}, {view.width - right, bottom - top}}})
        if (part.size.width > 0 && part.size.height > 0) parts.push_back(part);
    return parts;
}

/// Where the backdrop may be seen. A pass over the whole view would cost as much as many layers.
std::vector<CGRect> partsOfBackdrop(const EvaluatedFrame& frame, const CGRect& inView, const Placement& placement)
{
    const bool isOpaque = rasterColor(frame.background).a >= 1;
    return isOpaque ? partsAround(inView, placement) : std::vector<CGRect>{{{0, 0}, placement.viewSize}};
}

void fillBy(RasterContext::Compositing compositing, const std::vector<CGRect>& rects, const RasterColor& color,
            RasterContext& context)
{
    SavedState saved(context);
    context.setFillCompositing(compositing);
    for (const CGRect& rect : rects) fill(rect, color, context);
}

/// The line lies around the frame, and so on none of its pixels.
void paintOutline(const CGRect& frame, const RasterColor& color, RasterContext& context)
{
    context.setStrokeColor({color.r, color.g, color.b, color.a * outlineAlpha});
    context.setLineWidth(outlineWidth);
    context.strokePath(Path::rect(insetBy(frame, -outlineWidth * 0.5, -outlineWidth * 0.5)));
}

/// Paints the rings of all layers over everything, in view points. `toView` is the transform of the layers' space.
void paintRings(const EvaluatedLayer& layer, const AffineTransform& toView, double scale, RasterContext& context)
{
    if (layer.radiateProgress)
        drawRadiateRings(*layer.radiateProgress, toView.apply(layer.radiateCenter), scale, layer.glowColor, context);
    if (layer.children.empty()) return;
    const AffineTransform childrenToView = toView.concatenating(layer.transform);
    for (const EvaluatedLayer& child : layer.children) paintRings(child, childrenToView, scale, context);
}

void paintRings(const EvaluatedFrame& frame, const Placement& placement, RasterContext& context)
{
    const AffineTransform toView =
        AffineTransform().translatedBy(placement.originX, placement.originY).scaledBy(placement.scale, placement.scale);
    for (const EvaluatedLayer& layer : frame.layers) paintRings(layer, toView, placement.scale, context);
    for (const EvaluatedViewport& viewport : frame.viewports) paintRings(viewport.child, toView, placement.scale, context);
}

bool hasSpinner(const std::vector<EvaluatedLayer>& layers)
{
    return std::ranges::any_of(layers, [](const EvaluatedLayer& each) {
        const bool waits = each.layer.kind == Layer::Kind::cursor && each.layer.cursorVariant == CursorVariant::wait;
        return waits || hasSpinner(each.children);
    });
}

/// Until the brightest spoke of a spinner is the next one.
double secondsToNextSpoke(double now)
{
    constexpr double step = throbberRevolution / throbberCount;
    if (!std::isfinite(now)) return step;
    return step - (now - std::floor(now / step) * step);
}

} // namespace

std::optional<double> paint(const TweenScene& scene, double playhead, const Placement& placement, const Options& options,
                            RasterContext& context)
{
    NoVideos none;
    VideoPictures& videos = options.videos ? *options.videos : none;

    SavedState saved(context);
    context.scaleCTM(placement.pixelsPerPoint, placement.pixelsPerPoint);
    const CGRect view{{0, 0}, placement.viewSize};
    const bool isDimmed = options.offCanvas == OffCanvas::dimmed;
    if (!isShown(scene.size(), placement)) {
        fill(view, options.backdrop, context);
        return std::nullopt;
    }
    // A bright backdrop cannot lie under the veil: it comes behind the layers afterwards, at the price of passes over all around them.
    const std::optional<RasterColor> veiledBackdrop = isDimmed ? underVeil(options.backdrop) : options.backdrop;
    if (veiledBackdrop) fill(view, *veiledBackdrop, context);

    const EvaluatedFrame frame = evaluateFrame(scene, playhead);
    const CGRect inView = frameInView(scene.size(), placement);
    const std::vector<CGRect> backdrop =
        veiledBackdrop ? std::vector<CGRect>() : partsOfBackdrop(frame, inView, placement);
    if (!veiledBackdrop) fillBy(RasterContext::Compositing::clear, backdrop, options.backdrop, context);
    if (veiledBackdrop && rasterColor(frame.background).a < 1) fill(inView, options.backdrop, context); // No veil lies on that.
    fill(inView, rasterColor(frame.background), context);
    videos.beginPainting(options.scenePlaying, options.now);
    if (options.images) options.images->beginPainting();
    {
        SavedState masked(context);
        if (options.offCanvas == OffCanvas::hidden) context.clipToPath(Path::rect(inView), FillRule::winding);
        paintLayers(frame, placement, styleFor(placement, options, videos), context);
    }
    videos.endPainting();
    if (options.images) options.images->endPainting();

    using Compositing = RasterContext::Compositing;
    if (isDimmed) paintVeil(inView, placement.viewSize, veiledBackdrop ? Compositing::over : Compositing::atop, context);
    if (!veiledBackdrop) fillBy(Compositing::under, backdrop, options.backdrop, context);
    paintOutline(inView, options.outline, context);
    paintRings(frame, placement, context);
    return hasSpinner(frame.layers) ? std::optional(secondsToNextSpoke(options.now)) : std::nullopt;
}

} // namespace larkspool::CanvasRenderer
