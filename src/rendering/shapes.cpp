#include "rendering/shapes.h"

#include "rendering/continuous_corners.h"
#include "rendering/cursors.h"
#include "rendering/image_media.h"
#include "rendering/lines.h"
#include "rendering/raster_color.h"
#include "rendering/text_body.h"

#include <algorithm>

namespace larkspool {

namespace {

/// A fill with less alpha than this leaves the inside of a stroke open.
constexpr double leastFillAlpha = 0.001;

/// Width of the line in the fill's colour that hides the gap between a ring and its fill.
constexpr double seamWidth = 1;

/// How far from its corner a mitred line can reach, in line widths from the outline.
constexpr double miterReach = 10;

bool isEmpty(CGSize size)
{
    return !(size.width > 0 && size.height > 0);
}

/// A rectangle that holds every outline, for clips that open all that lies outside one.
Path everywhere()
{
    return Path::rect({{-1000000, -1000000}, {2000000, 2000000}});
}

RoundedRect rounded(const CGRect& rect, double cornerRadius)
{
    return {rect, clampedCornerRadius(cornerRadius, rect.size)};
}

RoundedRect outerBox(const Layer& layer)
{
    return rounded({{0, 0}, layer.size}, layer.cornerRadius);
}

/// The inner edge of a stroke inside, unless the stroke leaves nothing within.
std::optional<RoundedRect> innerBox(const Layer& layer)
{
    const double width = std::max(layer.strokeWidth, 0.0);
    const CGRect inset = insetBy({{0, 0}, layer.size}, width, width);
    if (isEmpty(inset.size)) return std::nullopt;
    return rounded(inset, outerBox(layer).radius - width);
}

struct SideWidths {
    double top, right, bottom, left;
};

SideWidths sideWidths(const Layer& layer)
{
    return {std::max(layer.strokeWidthTop, 0.0), std::max(layer.strokeWidthRight, 0.0), std::max(layer.strokeWidthBottom, 0.0),
            std::max(layer.strokeWidthLeft, 0.0)};
}

CGRect grown(const CGRect& rect, const SideWidths& by)
{
    return {{rect.minX() - by.left, rect.minY() - by.top},
            {by.left + rect.size.width + by.right, by.top + rect.size.height + by.bottom}};
}

CGRect shrunk(const CGRect& rect, const SideWidths& by)
{
    return {{rect.minX() + by.left, rect.minY() + by.top},
            {std::max(rect.size.width - by.left - by.right, 0.0), std::max(rect.size.height - by.top - by.bottom, 0.0)}};
}

void fillWith(const ColorRGBA& color, const Path& path, FillRule rule, RasterContext& context)
{
    context.setFillColor(rasterColor(color));
    context.fillPath(path, rule);
}

/// Paints a stroke as a filled ring, and the fill within it.
void fillRingAndInside(const Path& path, const Path& insetPath, const Layer& layer, RasterContext& context)
{
    Path ring = path;
    ring.add(insetPath);
    fillWith(layer.stroke, ring, FillRule::evenOdd, context);
    if (!(layer.fill.a > leastFillAlpha)) return;

    fillWith(layer.fill, insetPath, FillRule::winding, context);
    context.setStrokeColor(rasterColor(layer.fill));
    context.setLineWidth(seamWidth);
    context.strokePath(insetPath);
}

void drawRectangle(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const Path outer = boxOutline(outerBox(layer), style.corners);
    if (layer.perSideStroke) {
        fillWith(layer.fill, outer, FillRule::winding, context);
        Exporter::drawPerSideStroke(layer, {{0, 0}, layer.size}, context, style);
        return;
    }
    const std::optional<RoundedRect> inner = innerBox(layer);
    if (!inner) return Exporter::fillAndStroke(outer, nullptr, layer, context, style);
    const Path inset = boxOutline(*inner, style.corners);
    Exporter::fillAndStroke(outer, &inset, layer, context, style);
}

void drawEllipse(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const CGRect box{{0, 0}, layer.size};
    const double width = std::max(layer.strokeWidth, 0.0);
    const CGRect insetBox = insetBy(box, width, width);
    const Path outer = Path::ellipse(box);
    if (isEmpty(insetBox.size)) return Exporter::fillAndStroke(outer, nullptr, layer, context, style);
    const Path inset = Path::ellipse(insetBox);
    Exporter::fillAndStroke(outer, &inset, layer, context, style);
}

using WeightedBox = TransparencyLayerHints::WeightedBox;

double alphaOf(const ColorRGBA& color)
{
    return std::clamp(color.a, 0.0, 1.0);
}

RoundedRect grownEvenly(const RoundedRect& box, double by)
{
    const double radius = box.radius > 0 ? box.radius + by : 0;
    return {insetBy(box.rect, -by, -by), radius};
}

/// What a rectangle's alpha is, where it is a sum of boxes: with an opaque fill, or without a stroke.
std::vector<WeightedBox> rectangleCoverage(const Layer& layer, const DrawingStyle& style)
{
    const auto covering = [&](const RoundedRect& box) { return circularWithin(box, style.corners); };
    const RoundedRect outer = covering(outerBox(layer));
    if (!layer.perSideStroke && !(layer.strokeWidth > 0)) return {{outer, alphaOf(layer.fill)}};
    if (!(alphaOf(layer.fill) >= 1) || (layer.perSideStroke && layer.strokeOutside)) return {};

    const double strokeAlpha = alphaOf(layer.stroke);
    if (layer.perSideStroke || strokeAlpha == 1) {
        if (!layer.strokeOutside) return {{outer, 1}};
    }
    if (layer.strokeOutside) {
        const double reach = layer.strokeWidth + style.clippedStrokeExtra * 0.5;
        return {{grownEvenly(outer, reach), strokeAlpha}, {outer, 1 - strokeAlpha}};
    }
    const std::optional<RoundedRect> inner = innerBox(layer);
    if (!inner) return {{outer, 1}};
    return {{outer, strokeAlpha}, {grownEvenly(covering(*inner), seamWidth * 0.5), 1 - strokeAlpha}};
}

/// Ellipses and free paths have the same stroke all around, whatever is asked for.
bool hasStrokeForEachSide(const Layer& layer)
{
    return layer.perSideStroke && layer.kind != Layer::Kind::ellipse && layer.kind != Layer::Kind::path;
}

double strokeReach(const Layer& layer, const DrawingStyle& style)
{
    if (!layer.strokeOutside) return 0;
    if (!hasStrokeForEachSide(layer))
        return std::max(0.0, layer.strokeWidth) + style.clippedStrokeExtra; // No number reaches nowhere.
    const SideWidths widths = sideWidths(layer);
    return std::max({widths.top, widths.right, widths.bottom, widths.left});
}

bool isClosed(const Path& path)
{
    using enum Path::Element::Kind;
    const std::vector<Path::Element>& elements = path.elements();
    for (std::size_t i = 1; i < elements.size(); ++i)
        if (elements[i].kind == moveTo && elements[i - 1].kind != close) return false;
    return !elements.empty() && elements.back().kind == close;
}

/// Whether a line that wide along its edge covers all of a shape. Strokers leave a hole in the middle of a round one.
bool isCoveredFromItsEdge(const Path& path, double lineWidth)
{
    const CGSize size = path.bounds().size;
    return lineWidth >= std::min(size.width, size.height) && isClosed(path);
}

} // namespace

ShadowPresetValues shadowPresetValues(ShadowPreset preset)
{
    constexpr ShadowPresetValues values[] = {{0, 0, 0}, {0.3, -4, 8}, {0.4, -12, 18}, {0.55, -30, 40}};
    return values[static_cast<std::size_t>(preset)];
}

bool castsShadow(Layer::Kind kind)
{
    return kind != Layer::Kind::group && kind != Layer::Kind::zoom && kind != Layer::Kind::hotspot;
}

double clampedCornerRadius(double cornerRadius, CGSize size)
{
    return std::max(std::min(cornerRadius, std::min(size.width, size.height) * 0.5), 0.0);
}

Path buildCGPath(const Array<PathCommand>& commands)
{
    struct Append {
        Path& path;
        void operator()(const MoveTo& command) const { path.moveTo(command.point); }
        void operator()(const LineTo& command) const { path.lineTo(command.point); }
        void operator()(const CurveTo& command) const { path.curveTo(command.c1, command.c2, command.end); }
        void operator()(const ClosePath&) const { path.close(); }
    };
    Path path;
    for (const PathCommand& command : commands) std::visit(Append{path}, command);
    return path;
}

void strokeClipped(const Path& path, const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    if (!(layer.strokeWidth > 0)) return;
    const double lineWidth = 2 * layer.strokeWidth + style.clippedStrokeExtra;
    SavedState saved(context);
    if (layer.strokeOutside) {
        Path outside = everywhere();
        outside.add(path);
        context.clipToPath(outside, FillRule::evenOdd);
    } else {
        context.clipToPath(path, FillRule::winding);
    }
    if (!layer.strokeOutside && isCoveredFromItsEdge(path, lineWidth)) {
        context.setFillColor(rasterColor(layer.stroke));
        return context.fillRect(insetBy(path.bounds(), -lineWidth * 0.5, -lineWidth * 0.5));
    }
    context.setStrokeColor(rasterColor(layer.stroke));
    context.setLineWidth(lineWidth);
    context.strokePath(path);
}

void fillStrokeRing(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    Path ring = boxOutline(outerBox(layer), style.corners);
    if (const std::optional<RoundedRect> inner = innerBox(layer)) ring.add(boxOutline(*inner, style.corners));
    fillWith(layer.stroke, ring, FillRule::evenOdd, context);
}

void Exporter::drawCacheableLayerBody(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    switch (layer.kind) {
    case Layer::Kind::rectangle: return drawRectangle(layer, context, style);
    case Layer::Kind::ellipse: return drawEllipse(layer, context, style);
    case Layer::Kind::path: return fillAndStroke(buildCGPath(layer.path), nullptr, layer, context, style);
    case Layer::Kind::line: return drawLineBody(layer, context, style);
    case Layer::Kind::image: return drawImageBody(layer, context, style);
    case Layer::Kind::cursor: return drawCursorBody(layer, context);
    case Layer::Kind::text: return drawTextBody(layer, context, style);
    default: return;
    }
}

void Exporter::fillAndStroke(const Path& path, const Path* insetPath, const Layer& layer, RasterContext& context,
                             const DrawingStyle& style)
{
    if (!(layer.strokeWidth > 0)) return fillWith(layer.fill, path, FillRule::winding, context);

    if (insetPath && !layer.strokeOutside) return fillRingAndInside(path, *insetPath, layer, context);

    fillWith(layer.fill, path, FillRule::winding, context);
    strokeClipped(path, layer, context, style);
}

void Exporter::drawPerSideStroke(const Layer& layer, const CGRect& rect, RasterContext& context, const DrawingStyle& style)
{
    const SideWidths widths = sideWidths(layer);
    RoundedRect outer = rounded(rect, layer.cornerRadius);
    RoundedRect inner = outer;
    if (layer.strokeOutside) {
        const double mean = (widths.left + widths.top + widths.right + widths.bottom) * 0.25;
        outer = rounded(grown(rect, widths), layer.cornerRadius + mean);
    } else {
        inner = rounded(shrunk(rect, widths), layer.cornerRadius - std::min(widths.left, widths.top));
    }

    Path ring = boxOutline(outer, style.corners);
    if (!isEmpty(inner.rect.size)) ring.add(boxOutline(inner, style.corners));
    SavedState saved(context);
    fillWith(layer.stroke, ring, FillRule::evenOdd, context);
}

TransparencyLayerHints bodyHints(const Layer& layer, const DrawingStyle& style)
{
    const double reach = strokeReach(layer, style);
    switch (layer.kind) {
    case Layer::Kind::rectangle:
        return {.bounds = insetBy({{0, 0}, layer.size}, -reach, -reach), .coverage = rectangleCoverage(layer, style)};
    case Layer::Kind::ellipse: return {.bounds = insetBy({{0, 0}, layer.size}, -reach, -reach)};
    case Layer::Kind::path:
        return {.bounds = insetBy(buildCGPath(layer.path).bounds(), -reach * miterReach, -reach * miterReach)};
    case Layer::Kind::line: return {.bounds = lineBounds(layer, style)};
    case Layer::Kind::text: return {.bounds = unionOf(insetBy({{0, 0}, layer.size}, -reach, -reach), textInkBounds(layer, style))};
    default: return {};
    }
}

} // namespace larkspool
