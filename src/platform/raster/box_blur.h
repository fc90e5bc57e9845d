#pragma once

#include "platform/raster/blurred_coverage.h"

#include <span>

namespace larkspool {

/// A rounded box in device space whose coverage counts `weight` times.
struct WeightedDeviceBox {
    CGRect rect;
    double radius = 0;
    double weight = 1;
};

/// Whether blurredBoxes knows the shadow of the boxes: the blur is not too narrow, and the corners not too wide for it.
bool canBlurAsBoxes(std::span<const WeightedDeviceBox> boxes, double sigma);

/// The blurred sum of the boxes within `area`, computed from the boxes alone.
BlurredCoverage blurredBoxes(std::span<const WeightedDeviceBox> boxes, double sigma, const PixelRect& area);

} // namespace larkspool
