#pragma once

#include <limits>

namespace larkspool {

/// A point or a vector in the coordinate space that its user names. Origin at the top left, y downward.
struct CGPoint {
    double x = 0;
    double y = 0;

    bool operator==(const CGPoint&) const = default;
};

/// A width and a height. Nothing keeps them from being negative or not finite: whoever allocates from a size checks it.
struct CGSize {
    double width = 0;
    double height = 0;

    bool operator==(const CGSize&) const = default;
};

/// An axis-aligned rectangle. The null rectangle covers nothing, and its union with a rectangle is that rectangle. A negative
/// width or height, as a mirrored group has, reaches back from the origin: `minX` then names the right edge, while the
/// functions below go by the area.
struct CGRect {
    CGPoint origin;
    CGSize size;

    static constexpr CGRect null()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        return {{infinity, infinity}, {0, 0}};
    }

    constexpr bool isNull() const { return origin.x == std::numeric_limits<double>::infinity(); }
    constexpr double minX() const { return origin.x; }
    constexpr double minY() const { return origin.y; }
    constexpr double midX() const { return origin.x + size.width * 0.5; }
    constexpr double midY() const { return origin.y + size.height * 0.5; }
    constexpr double maxX() const { return origin.x + size.width; }
    constexpr double maxY() const { return origin.y + size.height; }

    bool operator==(const CGRect&) const = default;
};

/// The smallest rectangle that holds both. A null rectangle adds nothing.
CGRect unionOf(const CGRect& a, const CGRect& b);

/// The area that both cover, or null if they share none (touching edges share none).
CGRect intersectionOf(const CGRect& a, const CGRect& b);

/// Whether the two share an area.
bool intersects(const CGRect& a, const CGRect& b);

/// The rectangle `dx` narrower at the left and the right and `dy` at the top and the bottom; negative values widen it.
/// The result can have a negative size.
CGRect insetBy(const CGRect& rect, double dx, double dy);

/// A 2x3 matrix that maps (x, y) to (a*x + c*y + tx, b*x + d*y + ty).
struct AffineTransform {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

    /// These put a step before the matrix: what is mapped goes through the step first, then through the matrix so far.
    [[nodiscard]] AffineTransform translatedBy(double x, double y) const;
    [[nodiscard]] AffineTransform scaledBy(double x, double y) const;
    /// Clockwise on a y-down canvas.
    [[nodiscard]] AffineTransform rotatedBy(double radians) const;
    /// `first`, then this matrix.
    [[nodiscard]] AffineTransform concatenating(const AffineTransform& first) const;

    double determinant() const { return a * d - b * c; }
    /// The matrix that undoes this one. The determinant must not be 0.
    [[nodiscard]] AffineTransform inverted() const;

    CGPoint apply(CGPoint point) const { return {a * point.x + c * point.y + tx, b * point.x + d * point.y + ty}; }
    /// The bounding box of the mapped rectangle. Null stays null.
    CGRect apply(const CGRect& rect) const;

    bool operator==(const AffineTransform&) const = default;
};

/// Degrees to radians, with the constant that every angle of a document goes through.
constexpr double radians(double degrees) { return degrees * 3.141592653589793 / 180; }

} // namespace larkspool
