#pragma once

#include "document/color.h"
#include "platform/raster_context.h"

namespace larkspool {

/// A document's colour as a raster takes it.
inline RasterColor rasterColor(const ColorRGBA& color)
{
    return {color.r, color.g, color.b, color.a};
}

} // namespace larkspool
