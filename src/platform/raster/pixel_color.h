#pragma once

#include "platform/raster_context.h"

#include <algorithm>
#include <cstdint>

namespace larkspool {

/// A premultiplied colour, 8 bits a channel in the order of the pixels.
struct PixelColor {
    std::uint8_t blue = 0, green = 0, red = 0, alpha = 255;
};

inline double heldToOne(double value)
{
    return value > 0 ? std::min(value, 1.0) : 0; // Not a number is 0.
}

/// How a channel of 0...1 is stored.
inline std::uint8_t level(double value)
{
    return static_cast<std::uint8_t>(heldToOne(value) * 255 + 0.5);
}

/// The colour times `alpha`, which must lie in 0...1.
inline PixelColor premultiplied(const RasterColor& color, double alpha)
{
    const double opacity = heldToOne(color.a) * alpha;
    const auto channel = [&](double value) { return level(heldToOne(value) * opacity); };
    return {.blue = channel(color.b), .green = channel(color.g), .red = channel(color.r), .alpha = channel(1)};
}

} // namespace larkspool
