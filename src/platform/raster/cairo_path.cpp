#include "platform/raster/cairo_path.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

using Kind = Path::Element::Kind;
using Polygon = std::vector<CGPoint>;

constexpr int linesPerCurve = 64;
/// How far beyond the pixels in question a path is kept.
constexpr int keptMargin = 16;

int pointCount(Kind kind)
{
    return kind == Kind::close ? 0 : kind == Kind::curveTo ? 3 : 1;
}

bool isNear(CGPoint point)
{
    return std::abs(point.x) <= greatestDeviceLength && std::abs(point.y) <= greatestDeviceLength;
}

CGPoint broughtNear(CGPoint point)
{
    return {std::clamp(point.x, -greatestDeviceLength, greatestDeviceLength),
            std::clamp(point.y, -greatestDeviceLength, greatestDeviceLength)};
}

bool allNear(const Path& path, const AffineTransform& transform)
{
    return std::ranges::all_of(path.elements(), [&](const Path::Element& element) {
        for (int i = 0; i < pointCount(element.kind); ++i)
            if (!isNear(transform.apply(element.points[i]))) return false;
        return true;
    });
}

/// Appends the elements with each point as `place` puts it.
template <typename Place>
void append(cairo_t* cairo, const Path& path, Place place)
{
    for (const Path::Element& element : path.elements()) {
        CGPoint p[3];
        for (int i = 0; i < pointCount(element.kind); ++i) p[i] = place(element.points[i]);
        switch (element.kind) {
        case Kind::moveTo: cairo_move_to(cairo, p[0].x, p[0].y); break;
        case Kind::lineTo: cairo_line_to(cairo, p[0].x, p[0].y); break;
        case Kind::curveTo: cairo_curve_to(cairo, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y); break;
        case Kind::close:
            if (cairo_has_current_point(cairo)) cairo_close_path(cairo);
            break;
        }
    }
}

CGPoint pointOnCurve(CGPoint from, const CGPoint (&p)[3], double t)
{
    const double s = 1 - t;
    const double a = s * s * s, b = 3 * s * s * t, c = 3 * s * t * t, d = t * t * t;
    return {a * from.x + b * p[0].x + c * p[1].x + d * p[2].x, a * from.y + b * p[0].y + c * p[1].y + d * p[2].y};
}

std::vector<Polygon> polygons(const Path& path, const AffineTransform& transform)
{
    std::vector<Polygon> all;
    Polygon current;
    const auto finish = [&] {
        if (current.size() > 2) all.push_back(current);
        current.clear();
    };
    for (const Path::Element& element : path.elements()) {
        CGPoint p[3];
        for (int i = 0; i < pointCount(element.kind); ++i) p[i] = transform.apply(element.points[i]);
        switch (element.kind) {
        case Kind::moveTo:
            finish();
            current.push_back(p[0]);
            break;
        case Kind::lineTo: current.push_back(p[0]); break;
        case Kind::curveTo: {
            const CGPoint from = current.empty() ? p[0] : current.back();
            for (int i = 1; i <= linesPerCurve; ++i)
                current.push_back(pointOnCurve(from, p, static_cast<double>(i) / linesPerCurve));
            break;
        }
        case Kind::close: {
            if (current.empty()) break;
            const CGPoint start = current.front();
            finish();
            current.push_back(start);
            break;
        }
        }
    }
    finish();
    return all;
}

enum class Kept { after, before };

/// The polygon without its part on the far side of the line where a coordinate is `limit`.
Polygon cut(const Polygon& polygon, double CGPoint::* coordinate, double limit, Kept kept)
{
    Polygon rest;
    const auto depth = [&](const CGPoint& point) {
        return kept == Kept::after ? point.*coordinate - limit : limit - point.*coordinate;
    };
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const CGPoint from = polygon[i], to = polygon[(i + 1) % polygon.size()];
        const double fromDepth = depth(from), toDepth = depth(to);
        if (fromDepth >= 0) rest.push_back(from);
        if ((fromDepth >= 0) == (toDepth >= 0)) continue;
        const double t = fromDepth / (fromDepth - toDepth);
        CGPoint crossing{from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t};
        crossing.*coordinate = limit; // However far the ends are.
        rest.push_back(crossing);
    }
    return rest;
}

Polygon cutTo(const PixelRect& area, Polygon polygon)
{
    polygon = cut(polygon, &CGPoint::x, area.left, Kept::after);
    polygon = cut(polygon, &CGPoint::x, area.right, Kept::before);
    polygon = cut(polygon, &CGPoint::y, area.top, Kept::after);
    return cut(polygon, &CGPoint::y, area.bottom, Kept::before);
}

} // namespace

bool isFinite(const Path& path)
{
    return std::ranges::all_of(path.elements(), [](const Path::Element& element) {
        for (int i = 0; i < pointCount(element.kind); ++i)
            if (!std::isfinite(element.points[i].x) || !std::isfinite(element.points[i].y)) return false;
        return true;
    });
}

void appendToCairo(cairo_t* cairo, const Path& path, const AffineTransform& transform, const PixelRect& area)
{
    cairo_new_path(cairo);
    if (allNear(path, transform)) return append(cairo, path, [&](CGPoint point) { return transform.apply(point); });

    for (const Polygon& polygon : polygons(path, transform)) {
        for (const CGPoint& point : cutTo(grownBy(area, keptMargin), polygon)) {
            // Numbers so large that their differences are not finite leave a hole.
            if (std::isfinite(point.x) && std::isfinite(point.y)) {
                const CGPoint near = broughtNear(point);
                cairo_line_to(cairo, near.x, near.y);
            }
        }
        if (cairo_has_current_point(cairo)) cairo_close_path(cairo);
        cairo_new_sub_path(cairo);
    }
}

void appendOutlineToCairo(cairo_t* cairo, const Path& path, const AffineTransform& transform)
{
    cairo_new_path(cairo);
    append(cairo, path, [&](CGPoint point) { return broughtNear(transform.apply(point)); });
}

} // namespace larkspool
