#include "rendering/retained/outline.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// The control of a Bézier curve for a quarter of a circle: the same curves that paths have.
constexpr double quarterCircleControl = 0.5522847498307936;
/// The farthest that a line strays from its curve, in device pixels.
constexpr double tolerance = 0.1;
constexpr int greatestLineCount = 256;

double length(double x, double y)
{
    return std::sqrt(x * x + y * y);
}

double greatestScale(const AffineTransform& m)
{
    return std::max(length(m.a, m.b), length(m.c, m.d));
}

/// How many lines a quarter of a circle of that radius takes, in device pixels: a line strays by an eighth of the radius times
/// the square of its angle.
int linesOfQuarter(double radius)
{
    constexpr double quarter = 1.5707963267948966;
    const double angle = std::sqrt(8 * tolerance / std::max(radius, tolerance));
    return static_cast<int>(std::clamp(std::ceil(quarter / angle), 1.0, static_cast<double>(greatestLineCount)));
}

/// How much farther out the points of a circle lie that is cut into so many lines a quarter, so that on the mean the lines stray
/// neither inward nor outward: by two thirds of the farthest that they would stray.
double outwardFactor(int lines)
{
    const double angle = 1.5707963267948966 / lines;
    return 1 + angle * angle / 12;
}

/// A point of the quarter from (1, 0) to (0, 1).
CGPoint onQuarter(int index, int lines)
{
    if (index == 0) return {1, 0};
    if (index == lines) return {0, 1};
    const double t = static_cast<double>(index) / lines, s = 1 - t;
    const double first = s * s * s, second = 3 * s * s * t, third = 3 * s * t * t, last = t * t * t;
    const double factor = outwardFactor(lines);
    return {(first + second + third * quarterCircleControl) * factor, (second * quarterCircleControl + third + last) * factor};
}

/// One corner, clockwise on a y-down plane: from `from` to `to`, both of length radius, about a centre.
void addCorner(CGPoint center, CGPoint from, CGPoint to, int lines, const AffineTransform& m, std::vector<CGPoint>& points)
{
    for (int i = 0; i <= lines; ++i) {
        const CGPoint q = onQuarter(i, lines);
        points.push_back(m.apply(CGPoint{center.x + from.x * q.x + to.x * q.y, center.y + from.y * q.x + to.y * q.y}));
    }
}

void flattenBox(const NodeOutline& outline, const AffineTransform& m, std::vector<CGPoint>& points)
{
    const CGRect& r = outline.rect;
    if (!(outline.radius > 0)) {
        for (const CGPoint& corner :
             {CGPoint{r.minX(), r.minY()}, CGPoint{r.maxX(), r.minY()}, CGPoint{r.maxX(), r.maxY()}, CGPoint{r.minX(), r.maxY()}})
            points.push_back(m.apply(corner));
        return;
    }
    const double radius = outline.radius;
    const int lines = linesOfQuarter(radius * greatestScale(m));
    const double left = r.minX() + radius, right = r.maxX() - radius, top = r.minY() + radius, bottom = r.maxY() - radius;
    addCorner({right, top}, {0, -radius}, {radius, 0}, lines, m, points);
    addCorner({right, bottom}, {radius, 0}, {0, radius}, lines, m, points);
    addCorner({left, bottom}, {0, radius}, {-radius, 0}, lines, m, points);
    addCorner({left, top}, {-radius, 0}, {0, -radius}, lines, m, points);
}

int linesOfEllipseQuarter(const NodeOutline& ellipse, const AffineTransform& m)
{
    const double radius = std::max(ellipse.rect.size.width, ellipse.rect.size.height) * 0.5;
    return linesOfQuarter((radius + std::max(ellipse.offset, 0.0)) * greatestScale(m));
}

void flattenEllipse(const NodeOutline& outline, const AffineTransform& m, std::vector<CGPoint>& points)
{
    const double rx = outline.rect.size.width * 0.5, ry = outline.rect.size.height * 0.5;
    const CGPoint center{outline.rect.midX(), outline.rect.midY()};
    const int lines = linesOfEllipseQuarter(outline, m);
    constexpr CGPoint axes[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    for (std::size_t quarter = 0; quarter < 4; ++quarter) {
        const CGPoint from = axes[quarter], to = axes[(quarter + 1) % 4];
        for (int i = 0; i < lines; ++i) {
            const CGPoint q = onQuarter(i, lines);
            const CGPoint unit{from.x * q.x + to.x * q.y, from.y * q.x + to.y * q.y};
            CGPoint at{unit.x * rx, unit.y * ry};
            if (outline.offset != 0) {
                const CGPoint normal{unit.x * ry, unit.y * rx};
                const double away = outline.offset / length(normal.x, normal.y);
                at = {at.x + normal.x * away, at.y + normal.y * away};
            }
            points.push_back(m.apply(CGPoint{center.x + at.x, center.y + at.y}));
        }
    }
}

} // namespace

NodeOutline grown(const NodeOutline& outline, double by)
{
    NodeOutline result = outline;
    if (outline.isEllipse) {
        result.offset += by;
        return result;
    }
    result.rect = insetBy(outline.rect, -by, -by);
    result.radius = outline.radius > 0 ? std::max(outline.radius + by, 0.0) : 0;
    return result;
}

bool hasArea(const NodeOutline& outline)
{
    const CGSize size = outline.rect.size;
    if (!(size.width > 0 && size.height > 0)) return false;
    if (!outline.isEllipse) return true;
    // Within less than the least radius of curvature, the outline does not cross itself.
    const double least = std::min(size.width, size.height) * 0.5, most = std::max(size.width, size.height) * 0.5;
    return outline.offset >= 0 || -outline.offset < least * least / most;
}

bool holds(const NodeOutline& outer, const NodeOutline& inner)
{
    const CGRect& o = outer.rect;
    const CGRect& i = inner.rect;
    if (i.minX() < o.minX() || i.minY() < o.minY() || i.maxX() > o.maxX() || i.maxY() > o.maxY()) return false;
    if (inner.radius >= outer.radius) return true;
    // The centres of the inner corners must lie in the outer box shrunk by the inner radius.
    const double rest = outer.radius - inner.radius;
    const auto overhang = [&](double near, double far) { return std::max(rest - std::min(near, far), 0.0); };
    const double across = overhang(i.minX() - o.minX(), o.maxX() - i.maxX()),
                 down = overhang(i.minY() - o.minY(), o.maxY() - i.maxY());
    return std::hypot(across, down) <= rest + 1e-9;
}

CGRect deviceBounds(const NodeOutline& outline, const AffineTransform& toDevice)
{
    const AffineTransform& m = toDevice;
    if (!outline.isEllipse) return m.apply(outline.rect);
    const double rx = outline.rect.size.width * 0.5, ry = outline.rect.size.height * 0.5;
    // Points lie outward of the curve, which strays outward from an ellipse by less than three ten-thousandths.
    const double stray = outwardFactor(linesOfEllipseQuarter(outline, m)) * 1.0003;
    const double across = length(m.a * rx, m.c * ry) * stray + std::abs(outline.offset) * greatestScale(m);
    const double down = length(m.b * rx, m.d * ry) * stray + std::abs(outline.offset) * greatestScale(m);
    const CGPoint center = m.apply(CGPoint{outline.rect.midX(), outline.rect.midY()});
    return {{center.x - across, center.y - down}, {2 * across, 2 * down}};
}

void flatten(const NodeOutline& outline, const AffineTransform& toDevice, std::vector<CGPoint>& points)
{
    points.clear();
    if (outline.isEllipse)
        flattenEllipse(outline, toDevice, points);
    else
        flattenBox(outline, toDevice, points);
}

} // namespace larkspool
