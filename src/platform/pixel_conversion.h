#pragma once

#include "platform/raster/pixel_rect.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace larkspool {

class PixelBuffer;

/// Memory for one picture in planar YUV 4:2:0, 8 bits a sample: Y at full size, then Cb and Cr at half width and half height.
struct YUV420Planes {
    std::array<std::uint8_t*, 3> planes{};
    std::array<std::size_t, 3> bytesPerRow{};
};

/// The instructions that a conversion may use. Every choice gives the same bytes.
enum class ConversionInstructions {
    best,     ///< The widest that this machine has.
    portable, ///< None but those of every machine.
};

/// The picture as BT.709 limited-range video shows it over black: the colour bytes as they stand, since they are premultiplied.
/// Both sides of `picture` are even.
///
/// Y is within 0.52 of the exact value of its pixel; Cb and Cr within 0.52 of the exact value of the mean of their 2 x 2
/// pixels, so the chroma samples sit in the centre of the four.
void convertToYUV420(const PixelBuffer& picture, const YUV420Planes& target,
                     ConversionInstructions instructions = ConversionInstructions::best);

/// The same for the part of the picture in `area`, grown outwards to even pixels; the samples of the rest stay as they are.
void convertToYUV420(const PixelBuffer& picture, const PixelRect& area, const YUV420Planes& target,
                     ConversionInstructions instructions = ConversionInstructions::best);

} // namespace larkspool
