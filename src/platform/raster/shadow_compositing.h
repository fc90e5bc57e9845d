#pragma once

#include "platform/raster/blurred_coverage.h"

#include <cstdint>

namespace larkspool {

/// A straight colour, 8 bits a channel in the order of the pixels, with an alpha of 0...1.
struct ShadowColor {
    std::uint8_t blue = 0, green = 0, red = 0;
    double alpha = 1;
};

/// An area whose pixels need no shadow, since an opaque paint covers them next. Nothing if empty.
struct OpaqueArea {
    CGRect rect = CGRect::null();
    double radius = 0;
};

/// Composites the colour, as dense as the blurred coverage, over the pixels of `target` within `clip`.
void compositeShadow(const RasterTarget& target, const PixelRect& clip, const BlurredCoverage& blurred, const ShadowColor& color,
                     const OpaqueArea& covered);

} // namespace larkspool
