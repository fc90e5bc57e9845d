#include "rendering/lines.h"

#include "document/line_curve.h"
#include "rendering/path_measure.h"
#include "rendering/raster_color.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkspool {

namespace {

/// A line always shows this part of itself, which its round caps make a dot.
constexpr double leastProgress = 0.0001;
/// An arrow head takes at most this part of a preset.
constexpr double greatestArrowFraction = 0.45;
constexpr double leastPresetWidth = 0.5; ///< View points.
/// Half the base of an arrow head, for a head of length 1.
constexpr double arrowHalfWidth = 0.55;
constexpr int arcSampleCount = 49;

double distance(CGPoint a, CGPoint b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

/// `point` moved towards `target` by at most `by`, and by at most 95 percent of the way.
CGPoint setBack(CGPoint point, CGPoint target, double by)
{
    const double length = distance(point, target);
    if (!(length > 0.001)) return point;
    const double part = std::min(length * 0.95, by) / length;
    return {point.x + (target.x - point.x) * part, point.y + (target.y - point.y) * part};
}

Path polyline(const std::vector<CGPoint>& points)
{
    return buildPath(points, /*curved=*/false);
}

CGPoint quadraticPoint(const ArcGeometry& arc, double t)
{
    const double s = 1 - t;
    return {s * s * arc.start.x + 2 * t * s * arc.control.x + t * t * arc.end.x,
            s * s * arc.start.y + 2 * t * s * arc.control.y + t * t * arc.end.y};
}

std::vector<CGPoint> arcSamples(const ArcGeometry& arc)
{
    std::vector<CGPoint> samples;
    for (int i = 0; i < arcSampleCount; ++i) samples.push_back(quadraticPoint(arc, static_cast<double>(i) / (arcSampleCount - 1)));
    return samples;
}

void strokeRound(const Path& path, const Layer& layer, double width, RasterContext& context)
{
    context.setStrokeColor(rasterColor(layer.stroke));
    context.setLineWidth(width);
    context.setLineCap(RasterContext::LineCap::round);
    context.setLineJoin(RasterContext::LineJoin::round);
    context.strokePath(path);
}

/// The measures of the layer's arrow heads in its own unit: the least ones hold in view points.
ArrowMeasures arrowOf(const Layer& layer, const DrawingStyle& style)
{
    const double scale = style.viewScale;
    const ArrowMeasures inView = arrowMeasures(layer.strokeWidth * scale);
    return {.size = inView.size / scale, .stroke = inView.stroke / scale, .strokeInset = inView.strokeInset / scale};
}

double freeformWidth(const Layer& layer, const DrawingStyle& style)
{
    const double least = style.leastFreeformWidth / style.viewScale;
    return least > 0 ? std::max(layer.strokeWidth, least) : layer.strokeWidth;
}

double presetWidth(const Layer& layer, const DrawingStyle& style)
{
    return std::max(layer.strokeWidth, leastPresetWidth / style.viewScale);
}

void paintArrow(CGPoint tip, CGPoint from, const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const ArrowMeasures arrow = arrowOf(layer, style);
    const Path head = arrowheadPath(tip, from, arrow.size, arrow.strokeInset);
    context.setFillColor(rasterColor(layer.stroke));
    context.fillPath(head, FillRule::winding);
    strokeRound(head, layer, arrow.stroke, context);
}

/// The whole of a freeform line, apart from its arrow heads.
Path freeformPath(const std::vector<CGPoint>& points, const Layer& layer, const DrawingStyle& style)
{
    const ArrowMeasures arrow = arrowOf(layer, style);
    return buildPath(trimEndsForArrows(points, layer.lineArrowStart, layer.lineArrowEnd, arrow.size, arrow.strokeInset), layer.lineCurved);
}

Path presetPath(const Layer& layer)
{
    return Exporter::exportLinePresetPath(layer.lineShape, {{0, 0}, layer.size}, layer.lineArcBend, layer.lineArcReversed,
                                          layer.lineWaveFrequency, layer.lineWaveAmplitude, layer.lineArcReversed);
}

void drawFreeform(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const std::vector<CGPoint> points(layer.linePoints.begin(), layer.linePoints.end());
    if (points.size() < 2) return;

    const Path line = freeformPath(points, layer, style);
    const double progress = std::max(std::min(layer.lineDrawProgress, 1.0), leastProgress);
    const Path drawn = layer.lineDrawReversed ? trimmedPath(line, 1 - progress, 1) : trimmedPath(line, 0, progress);

    SavedState saved(context);
    strokeRound(drawn, layer, freeformWidth(layer, style), context);
    if (progress > 0.001 && layer.lineArrowStart) paintArrow(points[0], points[1], layer, context, style);
    if (progress > 0.999 && layer.lineArrowEnd) paintArrow(points.back(), points[points.size() - 2], layer, context, style);
}

/// The stretch of a preset that is drawn, in fractions of its length, and what its arrow heads take of it.
struct PresetRange {
    double from, to;
    double startTrim, endTrim;
};

PresetRange presetRange(const Layer& layer, double arrowFraction, double progress)
{
    const double startTrim = layer.lineArrowStart ? arrowFraction : 0;
    const double endTrim = layer.lineArrowEnd ? arrowFraction : 0;
    const double drawn = progress * std::max(1 - startTrim - endTrim, leastProgress);
    if (layer.lineDrawReversed) return {1 - endTrim - drawn, 1 - endTrim, startTrim, endTrim};
    return {startTrim, startTrim + drawn, startTrim, endTrim};
}

double arrowFraction(const Layer& layer, const CGRect& rect, const std::vector<CGPoint>& samples, const DrawingStyle& style)
{
    const double size = arrowOf(layer, style).size;
    double fraction = 0;
    if (layer.lineShape == LineShape::wave) fraction = size / std::max(polylineLength(samples), 0.001);
    if (layer.lineShape == LineShape::arc) {
        const double length = approximateArcLength(rect, layer.lineArcBend);
        fraction = length > 0.001 ? size / length : 0;
    }
    return std::min(fraction, greatestArrowFraction);
}

/// The head at the drawn end of an arc or a wave, which travels with it.
void paintEndArrow(const Layer& layer, const std::vector<CGPoint>& samples, const PresetRange& range, RasterContext& context,
                   const DrawingStyle& style)
{
    const double tipFraction = std::min(range.endTrim + range.to, 1.0);
    const double behindFraction = std::max(std::min(tipFraction - 0.0001, range.to), 0.0);
    const std::optional<PolylineSample> tip = polylineSample(samples, tipFraction);
    const std::optional<PolylineSample> behind = polylineSample(samples, behindFraction);
    if (tip && behind) paintArrow(tip->point, behind->point, layer, context, style);
}

void paintStartArrow(const Layer& layer, const CGRect& rect, const std::vector<CGPoint>& samples, const PresetRange& range,
                     RasterContext& context, const DrawingStyle& style)
{
    if (layer.lineShape == LineShape::arc) {
        const ArcGeometry arc = arcGeometry(rect, layer.lineArcBend, layer.lineArcReversed);
        const CGPoint towards{arc.start.x + (arc.control.x - arc.start.x) * 0.001, arc.start.y + (arc.control.y - arc.start.y) * 0.001};
        return paintArrow(arc.start, towards, layer, context, style);
    }
    const std::optional<PolylineSample> inside = polylineSample(samples, std::max(range.startTrim, 0.001));
    if (inside) paintArrow(samples.front(), inside->point, layer, context, style);
}

void drawPreset(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const CGRect rect{{0, 0}, layer.size};
    std::vector<CGPoint> samples;
    if (layer.lineShape == LineShape::arc) samples = arcSamples(arcGeometry(rect, layer.lineArcBend, layer.lineArcReversed));
    if (layer.lineShape == LineShape::wave)
        samples = waveSamples(rect, layer.lineWaveFrequency, layer.lineWaveAmplitude, layer.lineArcReversed);

    const double progress = layer.lineDrawProgress >= 1 ? 1 : std::max(layer.lineDrawProgress, leastProgress);
    const PresetRange range = presetRange(layer, arrowFraction(layer, rect, samples, style), progress);

    SavedState saved(context);
    strokeRound(trimmedPath(presetPath(layer), range.from, range.to), layer, presetWidth(layer, style), context);
    if (samples.size() < 2 || !(progress > 0.001)) return;
    if (layer.lineArrowStart) paintStartArrow(layer, rect, samples, range, context, style);
    if (layer.lineArrowEnd) paintEndArrow(layer, samples, range, context, style);
}

} // namespace

ArrowMeasures arrowMeasures(double strokeWidth)
{
    const double stroke = std::max(strokeWidth * 0.6, 1.0);
    return {.size = std::max(strokeWidth * 3.5, 6.0), .stroke = stroke, .strokeInset = stroke * 0.5};
}

CGRect lineBounds(const Layer& layer, const DrawingStyle& style)
{
    const bool isFreeform = layer.lineShape == LineShape::freeform;
    const std::vector<CGPoint> points(layer.linePoints.begin(), layer.linePoints.end());
    if (isFreeform && points.size() < 2) return CGRect::null();

    CGRect outline = (isFreeform ? freeformPath(points, layer, style) : presetPath(layer)).bounds();
    if (isFreeform) // The tips of the heads, which the line stays behind.
        for (const CGPoint& tip : {points.front(), points.back()}) outline = unionOf(outline, {tip, {0, 0}});

    double reach = presetWidth(layer, style) * 0.5;
    if (layer.lineArrowStart || layer.lineArrowEnd) {
        const ArrowMeasures arrow = arrowOf(layer, style);
        reach = std::max(reach, std::hypot(arrow.strokeInset + arrow.size, arrow.size * arrowHalfWidth) + arrow.stroke * 0.5);
    }
    return insetBy(outline, -reach, -reach);
}

std::vector<CGPoint> trimEndsForArrows(std::vector<CGPoint> points, bool arrowStart, bool arrowEnd, double arrowSize, double strokeInset)
{
    if (points.size() < 2) return points;
    const double back = arrowSize + strokeInset;
    if (arrowEnd) points.back() = setBack(points.back(), points[points.size() - 2], back);
    if (arrowStart) points.front() = setBack(points.front(), points[1], back);
    return points;
}

Path buildPath(const std::vector<CGPoint>& points, bool curved)
{
    Path path;
    if (points.empty()) return path;
    path.moveTo(points[0]);
    const std::size_t count = points.size();
    if (!curved || count < 3) {
        for (std::size_t i = 1; i < count; ++i) path.lineTo(points[i]);
        return path;
    }
    for (const CurveTo& curve : smoothedCurve(points)) path.curveTo(curve.c1, curve.c2, curve.end);
    return path;
}

Path arrowheadPath(CGPoint tip, CGPoint from, double size, double strokeInset)
{
    const double length = std::max(distance(from, tip), 0.0001);
    const CGPoint u{(tip.x - from.x) / length, (tip.y - from.y) / length};
    const CGPoint p{tip.x - strokeInset * u.x, tip.y - strokeInset * u.y};
    const CGPoint base{p.x - size * u.x, p.y - size * u.y};
    const CGPoint half{-u.y * size * arrowHalfWidth, u.x * size * arrowHalfWidth};
    Path head;
    head.moveTo(p);
    head.lineTo({base.x + half.x, base.y + half.y});
    head.lineTo({base.x - half.x, base.y - half.y});
    head.close();
    return head;
}

ArcGeometry arcGeometry(const CGRect& rect, double bend, bool reversed, std::optional<double> sceneWidth)
{
    const double u = (sceneWidth.value_or(rect.size.width) - 200) / 600;
    const double boost = u < 0 ? 1 : 1 + std::min(u, 1.0);
    ArcGeometry arc{.start = {rect.minX(), rect.midY()},
                    .end = {rect.maxX(), rect.midY()},
                    .control = {rect.midX(), rect.midY() + bend * (rect.size.height * 0.5) * boost}};
    if (reversed) std::swap(arc.start, arc.end);
    return arc;
}

double approximateArcLength(const CGRect& rect, double bend)
{
    return (rect.size.width + 2 * std::hypot(rect.size.width / 2, bend * rect.size.height / 2)) * 0.5;
}

std::vector<CGPoint> waveSamples(const CGRect& rect, double frequency, double amplitude, bool reversed)
{
    constexpr double leastCount = 48, greatestCount = 512;
    const double f = std::max(0.5, std::round(frequency * 2) * 0.5);
    const int count = static_cast<int>(std::clamp(f * 32, leastCount, greatestCount));
    std::vector<CGPoint> samples;
    samples.reserve(static_cast<std::size_t>(count) + 1);
    for (int i = 0; i <= count; ++i) {
        const double t = static_cast<double>(i) / count;
        samples.push_back({rect.minX() + rect.size.width * (reversed ? 1 - t : t),
                           rect.midY() + std::max(0.0, amplitude) * (rect.size.height * 0.5) * std::sin(f * (-2 * std::numbers::pi * t))});
    }
    return samples;
}

double polylineLength(const std::vector<CGPoint>& points)
{
    double length = 0;
    for (std::size_t i = 1; i < points.size(); ++i) length += distance(points[i - 1], points[i]);
    return length;
}

std::optional<PolylineSample> polylineSample(const std::vector<CGPoint>& points, double fraction)
{
    if (points.size() < 2) return std::nullopt;
    const double total = polylineLength(points);
    if (!(total > 0)) return PolylineSample{points[0], points[1]};

    const double target = std::clamp(fraction, 0.0, 1.0) * total;
    double walked = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double length = distance(points[i - 1], points[i]);
        const bool isLast = i + 1 == points.size();
        if (walked + length < target && !isLast) {
            walked += length;
            continue;
        }
        const double part = length > 0 ? std::min((target - walked) / length, 1.0) : 0;
        return PolylineSample{{points[i - 1].x + (points[i].x - points[i - 1].x) * part, points[i - 1].y + (points[i].y - points[i - 1].y) * part},
                              points[i]};
    }
    return std::nullopt;
}

Path Exporter::exportLinePresetPath(LineShape shape, const CGRect& rect, double arcBend, bool arcReversed, double waveFrequency,
                                    double waveAmplitude, bool waveReversed)
{
    switch (shape) {
    case LineShape::freeform: return {};
    case LineShape::square: return Path::rect(rect);
    case LineShape::circle: return Path::ellipse(rect);
    case LineShape::triangle: {
        Path path = polyline({{rect.midX(), rect.minY()}, {rect.maxX(), rect.maxY()}, {rect.minX(), rect.maxY()}});
        path.close();
        return path;
    }
    case LineShape::arc: {
        const ArcGeometry arc = arcGeometry(rect, arcBend, arcReversed);
        Path path;
        path.moveTo(arc.start);
        // A quadratic curve, raised to a cubic one.
        path.curveTo({arc.start.x + (arc.control.x - arc.start.x) * 2 / 3, arc.start.y + (arc.control.y - arc.start.y) * 2 / 3},
                     {arc.end.x + (arc.control.x - arc.end.x) * 2 / 3, arc.end.y + (arc.control.y - arc.end.y) * 2 / 3}, arc.end);
        return path;
    }
    case LineShape::wave: return polyline(waveSamples(rect, waveFrequency, waveAmplitude, waveReversed));
    }
    return {};
}

void Exporter::drawLineBody(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    if (layer.lineShape == LineShape::freeform) return drawFreeform(layer, context, style);
    drawPreset(layer, context, style);
}

} // namespace larkspool
