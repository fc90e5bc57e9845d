#pragma once

#include "platform/raster/blurred_coverage.h"

#include <cstdint>

namespace larkspool {

/// Coverage of the pixels of `area`, 0...255, row by row and `area.width()` apart; nothing is covered outside.
struct CoverageImage {
    PixelRect area;
    ScratchMemory<std::uint8_t> values;
};

/// The blurred `coverage` within `area`.
BlurredCoverage blurredCoverage(const CoverageImage& coverage, double sigma, const PixelRect& area);

} // namespace larkspool
