#pragma once

#include "platform/path.h"
#include "platform/raster/pixel_rect.h"

#include <cairo.h>

namespace larkspool {

/// Coordinates and lengths beyond this, in device pixels, are not handed to Cairo, whose numbers have 24 bits before the point.
inline constexpr double greatestDeviceLength = 1 << 21;

/// Whether every coordinate is a finite number.
bool isFinite(const Path& path);

/// Makes the transformed path Cairo's current one, to be filled or clipped to. Of a path that reaches too far for Cairo, only
/// what matters for the pixels of `area` is kept.
void appendToCairo(cairo_t* cairo, const Path& path, const AffineTransform& transform, const PixelRect& area);

/// Makes the transformed path Cairo's current one, to be stroked. Points too far away are moved nearer.
void appendOutlineToCairo(cairo_t* cairo, const Path& path, const AffineTransform& transform);

} // namespace larkspool
