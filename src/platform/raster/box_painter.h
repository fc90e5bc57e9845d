#pragma once

#include "platform/raster/pixel_color.h"
#include "platform/raster/pixel_rect.h"

#include <optional>

namespace larkspool {

/// A rectangle of device space with circular corners.
struct DeviceBox {
    CGRect rect;
    double radius = 0;
};

/// Composites a colour over the pixels of `target` within `clip`, as far as `outer` covers them and `inner`, which must lie
/// within `outer`, does not. A pixel is covered by the exact part of its square that lies in the shape.
void paintBox(const RasterTarget& target, const PixelRect& clip, const DeviceBox& outer, const std::optional<DeviceBox>& inner,
              const PixelColor& color);

} // namespace larkspool
