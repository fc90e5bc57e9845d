#pragma once

#include "foundation/geometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace larkspool {

/// Whole pixels in device space: from `left` to before `right`, from `top` to before `bottom`.
struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;

    bool empty() const { return left >= right || top >= bottom; }
    int width() const { return right - left; }
    int height() const { return bottom - top; }

    bool operator==(const PixelRect&) const = default;
};

inline PixelRect intersectionOf(const PixelRect& a, const PixelRect& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}

inline PixelRect unionOf(const PixelRect& a, const PixelRect& b)
{
    if (a.empty()) return b;
    if (b.empty()) return a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

inline PixelRect grownBy(const PixelRect& rect, int margin)
{
    return {rect.left - margin, rect.top - margin, rect.right + margin, rect.bottom + margin};
}

/// The pixels of `within` that `rect` touches; none where `rect` is null or not a number.
inline PixelRect pixelsTouchedBy(const CGRect& rect, const PixelRect& within)
{
    const auto held = [](double value, int low, int high) {
        return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high)));
    };
    if (!(rect.size.width >= 0 && rect.size.height >= 0) || std::isnan(rect.origin.x) || std::isnan(rect.origin.y)) return {};
    return {held(std::floor(rect.minX()), within.left, within.right), held(std::floor(rect.minY()), within.top, within.bottom),
            held(std::ceil(rect.maxX()), within.left, within.right), held(std::ceil(rect.maxY()), within.top, within.bottom)};
}

/// Memory of premultiplied BGRA pixels and the part of device space that they show.
struct RasterTarget {
    std::uint8_t* pixels = nullptr;
    std::size_t bytesPerRow = 0;
    PixelRect area;

    std::uint8_t* at(int x, int y) const
    {
        return pixels + static_cast<std::size_t>(y - area.top) * bytesPerRow + static_cast<std::size_t>(x - area.left) * 4;
    }
};

} // namespace larkspool
