#pragma once

#include "platform/raster_context.h"

#include <cstdint>
#include <vector>

namespace larkspool {

/// Television snow: grey cells of 3 x 3 points, the same at every drawing, with dark bars across if it is high enough.
struct TVSnowPattern {
    static constexpr double cellSide = 3;

    int columns = 0;
    int rows = 0;
    std::vector<std::uint8_t> greys; ///< Row by row from the top.
    bool hasBars = false;            ///< 1.5 points high, every 4 points from the top, black at 0.18.

    /// The snow of a rectangle of this size; no cell is cut.
    explicit TVSnowPattern(CGSize size);

    void draw(RasterContext& context, CGPoint origin) const;

private:
    CGSize size_;
};

/// Parallel lines at 45 degrees, 12 points apart.
Path diagonalHatchPattern(const CGRect& rect);

/// White with grey cells of 4 x 4 points, which shows what is transparent above it.
void drawCheckerboardPattern(const CGRect& rect, RasterContext& context);

} // namespace larkspool
