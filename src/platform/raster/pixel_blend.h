#pragma once

#include "platform/raster/box_painter.h"

#include <cstdint>

namespace larkspool {

/// x * y / 255, rounded, for values of 0...255.
inline std::uint32_t partOf255(std::uint32_t x, std::uint32_t y)
{
    const std::uint32_t product = x * y + 128;
    return (product + (product >> 8)) >> 8;
}

/// The colour as it is where it covers `level` 255ths of a pixel.
inline PixelColor coveredPart(const PixelColor& color, std::uint32_t level)
{
    const auto part = [&](std::uint8_t channel) { return static_cast<std::uint8_t>(partOf255(channel, level)); };
    return {part(color.blue), part(color.green), part(color.red), part(color.alpha)};
}

/// Composites the colour over one pixel.
inline void blendColor(std::uint8_t* pixel, const PixelColor& color)
{
    const std::uint32_t rest = 255U - color.alpha;
    pixel[0] = static_cast<std::uint8_t>(color.blue + partOf255(pixel[0], rest));
    pixel[1] = static_cast<std::uint8_t>(color.green + partOf255(pixel[1], rest));
    pixel[2] = static_cast<std::uint8_t>(color.red + partOf255(pixel[2], rest));
    pixel[3] = static_cast<std::uint8_t>(color.alpha + partOf255(pixel[3], rest));
}

/// Composites the colour over `count` pixels.
void blendColorRun(std::uint8_t* pixels, const PixelColor& color, int count);

/// Composites the colour over `count` pixels, each as much of it as `levels` tells in 255ths.
void blendColor(std::uint8_t* pixels, const PixelColor& color, const std::uint8_t* levels, int count);

/// Composites `count` premultiplied pixels over those of `to`. A pixel whose colour is more than its alpha adds light, up to
/// white.
void blendPixels(std::uint8_t* to, const std::uint8_t* from, int count);

/// The same with the pixels taken `level` 255ths.
void blendPixels(std::uint8_t* to, const std::uint8_t* from, int count, std::uint32_t level);

/// The same with each pixel taken as many 255ths as `levels` tells.
void blendPixels(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* levels, int count);

/// Makes each of `bytes` values the mean, rounded, of `count` values: of `count` - 1 it already is.
void blendMean(std::uint8_t* mean, const std::uint8_t* value, int bytes, int count);

} // namespace larkspool
