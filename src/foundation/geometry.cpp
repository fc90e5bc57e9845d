#include "foundation/geometry.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

CGRect unionOf(const CGRect& a, const CGRect& b)
{
    if (a.isNull()) return b;
    if (b.isNull()) return a;
    const double minX = std::min(a.minX(), b.minX());
    const double minY = std::min(a.minY(), b.minY());
    return {{minX, minY}, {std::max(a.maxX(), b.maxX()) - minX, std::max(a.maxY(), b.maxY()) - minY}};
}

CGRect intersectionOf(const CGRect& a, const CGRect& b)
{
    if (!intersects(a, b)) return CGRect::null();
    const double minX = std::max(a.minX(), b.minX());
    const double minY = std::max(a.minY(), b.minY());
    return {{minX, minY}, {std::min(a.maxX(), b.maxX()) - minX, std::min(a.maxY(), b.maxY()) - minY}};
}

bool intersects(const CGRect& a, const CGRect& b)
{
    if (a.isNull() || b.isNull()) return false;
    return std::max(a.minX(), b.minX()) < std::min(a.maxX(), b.maxX()) &&
           std::max(a.minY(), b.minY()) < std::min(a.maxY(), b.maxY());
}

CGRect insetBy(const CGRect& rect, double dx, double dy)
{
    return {{rect.origin.x + dx, rect.origin.y + dy}, {rect.size.width - 2 * dx, rect.size.height - 2 * dy}};
}

AffineTransform AffineTransform::translatedBy(double x, double y) const
{
    return {a, b, c, d, a * x + c * y + tx, b * x + d * y + ty};
}

AffineTransform AffineTransform::scaledBy(double x, double y) const
{
    return {a * x, b * x, c * y, d * y, tx, ty};
}

AffineTransform AffineTransform::rotatedBy(double angle) const
{
    const double cosine = std::cos(angle), sine = std::sin(angle);
    return {a * cosine + c * sine, b * cosine + d * sine, c * cosine - a * sine, d * cosine - b * sine, tx, ty};
}

AffineTransform AffineTransform::concatenating(const AffineTransform& first) const
{
    return {a * first.a + c * first.b,
            b * first.a + d * first.b,
            a * first.c + c * first.d,
            b * first.c + d * first.d,
            a * first.tx + c * first.ty + tx,
            b * first.tx + d * first.ty + ty};
}

AffineTransform AffineTransform::inverted() const
{
    const double scale = 1 / determinant();
    return {d * scale,
            -b * scale,
            -c * scale,
            a * scale,
            (c * ty - d * tx) * scale,
            (b * tx - a * ty) * scale};
}

CGRect AffineTransform::apply(const CGRect& rect) const
{
    if (rect.isNull()) return rect;
    const CGPoint corners[] = {apply(CGPoint{rect.minX(), rect.minY()}), apply(CGPoint{rect.maxX(), rect.minY()}),
                               apply(CGPoint{rect.minX(), rect.maxY()}), apply(CGPoint{rect.maxX(), rect.maxY()})};
    double minX = corners[0].x, maxX = minX, minY = corners[0].y, maxY = minY;
    for (const CGPoint& corner : corners) {
        minX = std::min(minX, corner.x);
        maxX = std::max(maxX, corner.x);
        minY = std::min(minY, corner.y);
        maxY = std::max(maxY, corner.y);
    }
    return {{minX, minY}, {maxX - minX, maxY - minY}};
}

} // namespace larkspool
