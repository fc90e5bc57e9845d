#pragma once

#include "foundation/geometry.h"

#include <cstdint>
#include <vector>

namespace larkspool {

enum class FillRule { winding, evenOdd };

/// A rectangle with circular corners. `radius` is at least 0 and at most half the smaller side.
struct RoundedRect {
    CGRect rect;
    double radius = 0;

    bool operator==(const RoundedRect&) const = default;
};

/// An outline of lines and cubic curves.
///
/// A path made of rounded rectangles alone remembers them, so that a raster can paint and blur them as boxes.
class Path {
public:
    struct Element {
        enum class Kind : std::uint8_t { moveTo, lineTo, curveTo, close };
        Kind kind;
        CGPoint points[3]; ///< moveTo, lineTo: the point. curveTo: both controls and the end.

        bool operator==(const Element&) const = default;
    };

    static Path rect(const CGRect& rect) { return roundedRect({rect, 0}); }
    static Path roundedRect(const RoundedRect& box);
    static Path ellipse(const CGRect& rect);

    void moveTo(CGPoint point);
    void lineTo(CGPoint point);
    void curveTo(CGPoint control1, CGPoint control2, CGPoint end);
    void close();
    void add(const Path& other);

    const std::vector<Element>& elements() const { return elements_; }
    bool empty() const { return elements_.empty(); }

    /// The rounded rectangles that the path is made of, or nothing if it holds anything else.
    const std::vector<RoundedRect>* boxes() const { return onlyBoxes_ ? &boxes_ : nullptr; }

    /// The box of all points and control points; null for an empty path.
    CGRect bounds() const;

    bool operator==(const Path&) const = default;

private:
    std::vector<Element> elements_;
    std::vector<RoundedRect> boxes_;
    bool onlyBoxes_ = true;
};

} // namespace larkspool
