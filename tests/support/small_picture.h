#pragma once

#include "platform/pixel_buffer.h"
#include "platform/raster_context.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace larkspool {

/// A pixel as it is stored: premultiplied.
struct StoredPixel {
    int r = 0, g = 0, b = 0, a = 0;

    bool operator==(const StoredPixel&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const StoredPixel& pixel);

/// Clear pixels after `draw` has drawn into them.
PixelBuffer drawn(int width, int height, const std::function<void(RasterContext&)>& draw);

StoredPixel storedPixelAt(const PixelBuffer& pixels, int x, int y);

/// The alpha of each pixel, a line for a row: `.` is clear, `#` is opaque, a digit tells tenths, rounded and held to 1...9.
std::string alphaPicture(const PixelBuffer& pixels);

/// The largest difference of any channel of any pixel between two pictures of one size.
int greatestDifference(const PixelBuffer& a, const PixelBuffer& b);

/// A number that all pixels, and nothing else, decide.
std::uint64_t pixelHash(const PixelBuffer& pixels);

} // namespace larkspool
