#include "foundation/geometry.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// The same area with its origin at the top left: a negative width or height reaches back from the origin.
CGRect standardized(const CGRect& rect)
{
    return {{std::min(rect.minX(), rect.maxX()), std::min(rect.minY(), rect.maxY())},
            {std::abs(rect.size.width), std::abs(rect.size.height)}};
}

/// What both cover. Its size is negative or 0 where they share nothing.
CGRect overlap(const CGRect& a, const CGRect& b)
{
    const double minX = std::max(a.minX(), b.minX());
    const double minY = std::max(a.minY(), b.minY());
    return {{minX, minY}, {std::min(a.maxX(), b.maxX()) - minX, std::min(a.maxY(), b.maxY()) - minY}};
}

} // namespace

CGRect unionOf(const CGRect& a, const CGRect& b)
{
    if (a.isNull()) return b;
    if (b.isNull()) return a;
    const CGRect first = standardized(a), second = standardized(b);
    const double minX = std::min(first.minX(), second.minX());
    const double minY = std::min(first.minY(), second.minY());
    return {{minX, minY}, {std::max(first.maxX(), second.maxX()) - minX, std::max(first.maxY(), second.maxY()) - minY}};
}

CGRect intersectionOf(const CGRect& a, const CGRect& b)
{
    if (a.isNull() || b.isNull()) return CGRect::null();
    const CGRect shared = overlap(standardized(a), standardized(b));
    return shared.size.width > 0 && shared.size.height > 0 ? shared : CGRect::null();
}

bool intersects(const CGRect& a, const CGRect& b)
{
    return !intersectionOf(a, b).isNull();
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
