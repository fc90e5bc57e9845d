#include "document/normalisers.h"

#include "document/line_curve.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// Seconds that an effect may last in a span that is shorter.
constexpr double shortestLimit = 0.05;

/// Pixels. A line's box is not moved or sized anew by less: the control points of a curve that are worked out from points that
/// were moved differ by rounding from those that were moved themselves.
constexpr double roundingNoise = 1e-6;

bool hasEffect(const TimeSpan& span, SpanEffect::Kind kind)
{
    return std::ranges::any_of(span.effects, [kind](const SpanEffect& effect) { return effect.kind == kind; });
}

double effectLimit(const TimeSpan& span)
{
    return std::max(span.end - span.start, shortestLimit);
}

bool hasEffectBeyondLimit(const TimeSpan& span)
{
    const double limit = effectLimit(span);
    return std::ranges::any_of(span.effects, [limit](const SpanEffect& effect) { return effect.duration > limit; });
}

/// How far the stroke and the arrow heads can reach beyond the line's points.
double strokeReach(const Layer& line)
{
    const double half = line.strokeWidth >= 0.5 ? line.strokeWidth * 0.5 : 0.25;
    const double arrow = std::max(line.strokeWidth * 3.5, 6.0);
    return line.lineArrowStart || line.lineArrowEnd ? half + arrow * 0.5 : half;
}

/// The stretch of one axis that a line covers, without its stroke.
struct Extent {
    double min;
    double max;

    void include(double value)
    {
        min = std::min(min, value);
        max = std::max(max, value);
    }
};

/// The move along one axis that puts the first edge of the stroke at 0.
struct Rebase {
    Rebase(const Extent& extent, double reach) : min(extent.min), pad(reach) {}

    /// How far the new origin lies from the old one.
    double shift() const { return std::abs(min - pad) < roundingNoise ? 0 : min - pad; }

    /// Subtracting the minimum first puts the outermost point at exactly `pad`, so that a second run finds nothing to move.
    double applied(double value) const { return shift() == 0 ? value : value - min + pad; }

    double min;
    double pad;
};

/// The side of a box that reaches to `edge`, at least 1; `side` itself if that is the same but for rounding.
double sideReaching(double edge, double side)
{
    const double wanted = std::max(edge, 1.0);
    return std::abs(wanted - side) < roundingNoise ? side : wanted;
}

} // namespace

bool applies(SpanEffect::Kind effect, Layer::Kind layer)
{
    switch (effect) {
    case SpanEffect::Kind::typeOn:
    case SpanEffect::Kind::deleteOff: return layer == Layer::Kind::text;
    case SpanEffect::Kind::drawOn:
    case SpanEffect::Kind::eraseOff: return layer == Layer::Kind::line;
    case SpanEffect::Kind::blinkingCursorStart:
    case SpanEffect::Kind::blinkingCursorEnd: return false;
    default: return true;
    }
}

bool addSpanEffect(Layer& layer, const UUID& span, SpanEffect::Kind kind)
{
    const auto found = std::ranges::find(layer.spans, span, &TimeSpan::id);
    if (found == layer.spans.end() || !applies(kind, layer.kind) || hasEffect(*found, kind)) return false;

    const std::ptrdiff_t index = found - layer.spans.begin();
    layer.spans.edit()[static_cast<std::size_t>(index)].effects.append({.kind = kind});
    normalizeSpanEffects(layer);
    return true;
}

void normalizeSpanEffects(Layer& layer)
{
    // Editing a list parts it from its copies, so that only spans that need it are touched.
    if (std::ranges::none_of(layer.spans, hasEffectBeyondLimit)) return;

    for (TimeSpan& span : layer.spans.edit()) {
        if (!hasEffectBeyondLimit(span)) continue;
        for (SpanEffect& effect : span.effects.edit()) effect.duration = std::min(effect.duration, effectLimit(span));
    }
}

void normalizeLineBounds(Layer& layer)
{
    if (layer.kind != Layer::Kind::line || layer.lineShape != LineShape::freeform || layer.linePoints.empty()) return;

    const CGPoint first = layer.linePoints.front();
    Extent across{first.x, first.x}, down{first.y, first.y};
    const auto include = [&](CGPoint point) {
        across.include(point.x);
        down.include(point.y);
    };
    for (const CGPoint& point : layer.linePoints) include(point);
    if (layer.lineCurved) {
        for (const CurveTo& curve : smoothedCurve(layer.linePoints)) {
            include(curve.c1);
            include(curve.c2);
        }
    }

    const double pad = strokeReach(layer);
    const Rebase x(across, pad), y(down, pad);
    if (x.shift() != 0 || y.shift() != 0) {
        layer.transform.x += x.shift();
        layer.transform.y += y.shift();
        for (CGPoint& point : layer.linePoints.edit()) point = {x.applied(point.x), y.applied(point.y)};
    }
    layer.size = {sideReaching(x.applied(across.max) + pad, layer.size.width),
                  sideReaching(y.applied(down.max) + pad, layer.size.height)};
}

} // namespace larkspool
