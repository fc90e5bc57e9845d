#include "rendering/path_measure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace larkspool {

namespace {

/// A line is kept as a curve whose controls lie on it at thirds, so that its length grows evenly with the parameter.
struct Curve {
    std::array<CGPoint, 4> p;
    bool isLine;
    bool startsSubpath;
};

CGPoint mix(CGPoint a, CGPoint b, double t)
{
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
}

double distance(CGPoint a, CGPoint b)
{
    return std::hypot(b.x - a.x, b.y - a.y);
}

CGPoint pointAt(const Curve& curve, double t)
{
    const CGPoint ab = mix(curve.p[0], curve.p[1], t), bc = mix(curve.p[1], curve.p[2], t), cd = mix(curve.p[2], curve.p[3], t);
    return mix(mix(ab, bc, t), mix(bc, cd, t), t);
}

/// The part of a curve between two parameters, by de Casteljau's construction.
Curve part(const Curve& curve, double from, double to)
{
    const auto blossom = [&curve](double u, double v, double w) {
        const CGPoint ab = mix(curve.p[0], curve.p[1], u), bc = mix(curve.p[1], curve.p[2], u), cd = mix(curve.p[2], curve.p[3], u);
        return mix(mix(ab, bc, v), mix(bc, cd, v), w);
    };
    return {{blossom(from, from, from), blossom(from, from, to), blossom(from, to, to), blossom(to, to, to)}, curve.isLine, curve.startsSubpath};
}

/// Lengths of a curve's chords from its start, at equal steps of the parameter.
class Chords {
public:
    explicit Chords(const Curve& curve)
    {
        CGPoint before = curve.p[0];
        for (int i = 1; i <= steps; ++i) {
            const CGPoint point = pointAt(curve, static_cast<double>(i) / steps);
            lengths_[i] = lengths_[i - 1] + distance(before, point);
            before = point;
        }
    }

    double total() const { return lengths_[steps]; }

    double parameterAt(double length) const
    {
        const auto next = std::upper_bound(lengths_.begin() + 1, lengths_.end() - 1, length);
        const double chord = *next - *(next - 1);
        const double within = chord > 0 ? (length - *(next - 1)) / chord : 0;
        return std::clamp((static_cast<double>(next - lengths_.begin()) - 1 + within) / steps, 0.0, 1.0);
    }

private:
    static constexpr int steps = 64;
    std::array<double, steps + 1> lengths_{};
};

double lengthOf(const Curve& curve)
{
    return curve.isLine ? distance(curve.p[0], curve.p[3]) : Chords(curve).total();
}

double parameterAt(const Curve& curve, double length, double total)
{
    if (curve.isLine) return total > 0 ? std::clamp(length / total, 0.0, 1.0) : 0;
    return Chords(curve).parameterAt(length);
}

std::vector<Curve> curvesOf(const Path& path)
{
    using Kind = Path::Element::Kind;
    std::vector<Curve> curves;
    CGPoint current, start;
    bool startsSubpath = true;
    const auto append = [&](CGPoint c1, CGPoint c2, CGPoint end, bool isLine) {
        curves.push_back({{current, c1, c2, end}, isLine, startsSubpath});
        startsSubpath = false;
        current = end;
    };
    const auto appendLine = [&](CGPoint end) { append(mix(current, end, 1.0 / 3), mix(current, end, 2.0 / 3), end, /*isLine=*/true); };
    for (const Path::Element& element : path.elements()) {
        switch (element.kind) {
        case Kind::moveTo:
            current = start = element.points[0];
            startsSubpath = true;
            break;
        case Kind::lineTo: appendLine(element.points[0]); break;
        case Kind::curveTo: append(element.points[0], element.points[1], element.points[2], /*isLine=*/false); break;
        case Kind::close:
            appendLine(start);
            startsSubpath = true;
            break;
        }
    }
    return curves;
}

void append(Path& path, const Curve& curve, bool moves)
{
    if (moves) path.moveTo(curve.p[0]);
    if (curve.isLine)
        path.lineTo(curve.p[3]);
    else
        path.curveTo(curve.p[1], curve.p[2], curve.p[3]);
}

} // namespace

double pathLength(const Path& path)
{
    double length = 0;
    for (const Curve& curve : curvesOf(path)) length += lengthOf(curve);
    return length;
}

Path trimmedPath(const Path& path, double from, double to)
{
    const std::vector<Curve> curves = curvesOf(path);
    if (from <= 0 && to >= 1) return std::ranges::any_of(curves, [](const Curve& curve) { return lengthOf(curve) > 0; }) ? path : Path();
    std::vector<double> lengths;
    double total = 0;
    for (const Curve& curve : curves) {
        lengths.push_back(lengthOf(curve));
        total += lengths.back();
    }
    if (!(total > 0) || !std::isfinite(total) || !(from < to)) return {};

    const double first = from * total, last = to * total;
    Path trimmed;
    double start = 0;
    bool moves = true;
    for (std::size_t i = 0; i < curves.size(); ++i) {
        const double end = start + lengths[i];
        if (end > first && start < last) {
            const double a = start < first ? parameterAt(curves[i], first - start, lengths[i]) : 0;
            const double b = end > last ? parameterAt(curves[i], last - start, lengths[i]) : 1;
            append(trimmed, part(curves[i], a, b), moves || curves[i].startsSubpath);
            moves = false;
        }
        start = end;
    }
    return trimmed;
}

} // namespace larkspool
