#pragma once

#include "platform/raster/pixel_rect.h"
#include "platform/raster/scratch_memory.h"

#include <cstdint>
#include <span>

namespace larkspool {

/// A rounded box in device space whose coverage counts `weight` times.
struct WeightedDeviceBox {
    CGRect rect;
    double radius = 0;
    double weight = 1;
};

/// How far from a shape its shadow can change a pixel, in pixels.
int shadowReach(double sigma);

/// Coverage blurred by a Gaussian, as values on a grid in device space between which it is interpolated.
///
/// The step of the grid is a power of two, small against the Gaussian's standard deviation. What downsampling and
/// interpolation blur by themselves is taken from the Gaussian, so that the whole has its variance.
struct BlurredCoverage {
    PixelRect area; ///< The pixels that the values reach.
    int step = 1;   ///< Distance of two values in pixels. With a step of 1, values stand at the centres of pixels.
    int columns = 0;
    int rows = 0;
    ScratchMemory<float> values; ///< 0...1, row by row.

    const float* row(int index) const
    {
        return values.data() + static_cast<std::size_t>(index) * static_cast<std::size_t>(columns);
    }
};

/// Whether blurredBoxes knows the shadow of the boxes: the blur is not too narrow, and the corners not too wide for it.
bool canBlurAsBoxes(std::span<const WeightedDeviceBox> boxes, double sigma);

/// The blurred sum of the boxes within `area`, computed from the boxes alone.
BlurredCoverage blurredBoxes(std::span<const WeightedDeviceBox> boxes, double sigma, const PixelRect& area);

/// Coverage of the pixels of `area`, 0...255, row by row and `area.width()` apart; nothing is covered outside.
struct CoverageImage {
    PixelRect area;
    ScratchMemory<std::uint8_t> values;
};

/// The blurred `coverage` within `area`.
BlurredCoverage blurredCoverage(const CoverageImage& coverage, double sigma, const PixelRect& area);

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
