#include "rendering/video_placeholder.h"

#include "rendering/continuous_corners.h"
#include "rendering/patterns.h"

namespace larkspool {

namespace {

constexpr RasterColor ground{0.13, 0.14, 0.16, 1};
constexpr RasterColor hatching{1, 1, 1, 0.05};
constexpr RasterColor ink{0.72, 0.74, 0.78, 1};

constexpr CGSize cameraSize{28, 20};
constexpr double fontSize = 12;
constexpr double gap = 8; ///< Between the camera and the words.
constexpr double margin = 6;

void drawCamera(CGPoint topLeft, RasterContext& context)
{
    SavedState saved(context);
    context.translateCTM(topLeft.x, topLeft.y);
    context.setFillColor(ink);
    context.fillPath(Path::roundedRect({{{0, 3}, {18, 14}}, 3}), FillRule::winding);
    Path lens;
    lens.moveTo({20, 8.5});
    lens.lineTo({27, 4.5});
    lens.lineTo({27, 15.5});
    lens.lineTo({20, 11.5});
    lens.close();
    context.fillPath(lens, FillRule::winding);

    Path stroke;
    stroke.moveTo({3, 0});
    stroke.lineTo({23, 20});
    context.setLineCap(RasterContext::LineCap::round);
    context.setStrokeColor(ground); // Parts the stroke from the camera.
    context.setLineWidth(5);
    context.strokePath(stroke);
    context.setStrokeColor(ink);
    context.setLineWidth(2);
    context.strokePath(stroke);
}

/// Camera and words one below the other, in the middle; the words alone fall away first.
void drawSign(CGSize box, RasterContext& context)
{
    const auto words = layOutText({.text = "Video missing", .fontSize = fontSize});
    const auto fits = [&](double width, double height) { return width + 2 * margin <= box.width && height + 2 * margin <= box.height; };
    const double both = cameraSize.height + gap + words->size.height;
    const bool showsWords = fits(words->size.width, both);
    if (!showsWords && !fits(cameraSize.width, cameraSize.height)) return;

    const double top = (box.height - (showsWords ? both : cameraSize.height)) * 0.5;
    drawCamera({(box.width - cameraSize.width) * 0.5, top}, context);
    if (showsWords) context.drawText(*words, {(box.width - words->size.width) * 0.5, top + cameraSize.height + gap}, ink);
}

} // namespace

void drawVideoMissingPlaceholder(const RoundedRect& box, RasterContext& context, const DrawingStyle& style)
{
    const CGSize size{box.rect.size.width * style.viewScale, box.rect.size.height * style.viewScale};
    SavedState saved(context);
    context.clipToPath(boxOutline(box, style.corners), FillRule::winding);
    context.setFillColor(ground);
    context.fillRect(box.rect);

    context.translateCTM(box.rect.minX(), box.rect.minY());
    context.scaleCTM(1 / style.viewScale, 1 / style.viewScale);
    context.setStrokeColor(hatching);
    context.setLineWidth(4);
    context.strokePath(diagonalHatchPattern({{0, 0}, size}));
    drawSign(size, context);
}

} // namespace larkspool
