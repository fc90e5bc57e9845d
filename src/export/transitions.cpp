#include "export/transitions.h"

#include "rendering/frame_composition.h"

#include <cmath>

namespace larkspool::Exporter {

namespace {

/// How much the leaving scene grows, and the entering one has yet to grow, in a zoom.
constexpr double zoomGrowth = 0.15;
/// The two halves of a slide overlap by this many pixels, which hides a seam between whole pixels.
constexpr double seamOverlap = 1;

ImageRef renderedImage(const EvaluatedFrame& frame, CGSize size)
{
    PixelBuffer pixels(static_cast<std::int64_t>(size.width), static_cast<std::int64_t>(size.height));
    drawFrame(frame, *makeRasterContext(pixels), size);
    return std::make_shared<const Image>(std::move(pixels), Image::Alpha::opaque);
}

/// Draws a frame moved by `shift`, as far as it shows between `left` and `left + width`.
void drawPart(const EvaluatedFrame& frame, double shift, double left, double width, RasterContext& context, CGSize size)
{
    if (!(width > 0)) return;
    SavedState saved(context);
    context.clipToPath(Path::rect({{left, 0}, {width, size.height}}), FillRule::winding);
    context.translateCTM(shift, 0);
    drawFrame(frame, context, size);
}

} // namespace

TransitionPainter::TransitionPainter(SceneTransition::Kind kind, const TweenScene& outScene, const TweenScene& inScene)
    : kind_(kind), out_{evaluateFrame(outScene, outScene.duration), nullptr}, in_{evaluateFrame(inScene, 0), nullptr}
{
}

void TransitionPainter::draw(double progress, PixelBuffer& picture)
{
    const CGSize size = sizeOf(picture);
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    context->setFillColor({0, 0, 0, 1});
    context->fillRect({{0, 0}, size});
    if (kind_ == SceneTransition::Kind::fade || kind_ == SceneTransition::Kind::zoom) return crossfade(progress, *context, size);
    slide(progress, *context, size);
}

void TransitionPainter::crossfade(double progress, RasterContext& context, CGSize size)
{
    const double growth = kind_ == SceneTransition::Kind::zoom ? progress * zoomGrowth : 0;
    const double inScale = kind_ == SceneTransition::Kind::zoom ? 1 - zoomGrowth + growth : 1;
    drawScaled(out_, 1 - progress, 1 + growth, context, size);
    drawScaled(in_, progress, inScale, context, size);
}

void TransitionPainter::drawScaled(Side& side, double alpha, double scale, RasterContext& context, CGSize size)
{
    if (!side.image || side.image->size() != size) side.image = renderedImage(side.frame, size);
    const CGSize scaled{size.width * scale, size.height * scale};
    SavedState saved(context);
    context.setAlpha(alpha);
    context.drawImage(side.image, {{0, 0}, size},
                      {{(size.width - scaled.width) * 0.5, (size.height - scaled.height) * 0.5}, scaled});
}

void TransitionPainter::slide(double progress, RasterContext& context, CGSize size)
{
    // Between whole pixels both scenes cover the column of the seam in part, over black. The new scene's own edge is laid under
    // it first, moved onto that column, so that no dark line shows.
    const double entered = size.width * progress, left = size.width * (1 - progress);
    if (kind_ == SceneTransition::Kind::slideR) {
        const double seam = std::floor(entered);
        drawPart(out_.frame, entered, entered - seamOverlap, left + seamOverlap, context, size);
        if (seam < entered) drawPart(in_.frame, seam + 1 - size.width, seam, 1, context, size);
        drawPart(in_.frame, -left, 0, entered + seamOverlap, context, size);
    } else {
        const double seam = std::floor(left);
        drawPart(out_.frame, -entered, 0, left + seamOverlap, context, size);
        if (seam < left) drawPart(in_.frame, seam, seam, 1, context, size);
        drawPart(in_.frame, left, left - seamOverlap, entered + seamOverlap, context, size);
    }
}

} // namespace larkspool::Exporter
