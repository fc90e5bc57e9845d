#pragma once

#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

namespace larkspool {

/// Paints what a live canvas shows in the place of a video whose file is gone: a dark box with hatching, a crossed-out camera and
/// the words "Video missing", as far as there is room. Measures other than the box's are view points.
void drawVideoMissingPlaceholder(const RoundedRect& box, RasterContext& context, const DrawingStyle& style);

} // namespace larkspool
