#pragma once

#include "document/layer.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

namespace larkspool {

/// The drop shadow of a preset, in device pixels of the raster.
struct ShadowPresetValues {
    double alpha;          ///< Of black.
    double verticalOffset; ///< Negative is downward on the picture.
    double blur;
};

ShadowPresetValues shadowPresetValues(ShadowPreset preset);

/// Whether a kind of layer casts the preset's shadow at all.
bool castsShadow(Layer::Kind kind);

/// `cornerRadius` capped at half the smaller side of `size`, then raised to 0.
double clampedCornerRadius(double cornerRadius, CGSize size);

/// Strokes the outline at a doubled width with one half of the line clipped away, by the layer's `strokeOutside`. Without a width
/// nothing happens.
void strokeClipped(const Path& path, const Layer& layer, RasterContext& context, const DrawingStyle& style = {});

/// Fills the ring of a stroke inside the layer's box with the stroke's colour, or the whole box if the stroke leaves nothing
/// within.
void fillStrokeRing(const Layer& layer, RasterContext& context, const DrawingStyle& style = {});

/// The outline that the commands describe. A command before the first `moveTo` starts at its own first point.
Path buildCGPath(const Array<PathCommand>& commands);

namespace Exporter {

/// Paints the body of a layer in its local space, without its transform, alpha and shadow: the kinds whose picture depends on
/// the layer alone.
void drawCacheableLayerBody(const Layer& layer, RasterContext& context, const DrawingStyle& style = {});

/// Fills and strokes one outline by the layer's fill and stroke. `insetPath`, if given, is the outline's inner edge of a stroke
/// inside.
void fillAndStroke(const Path& path, const Path* insetPath, const Layer& layer, RasterContext& context,
                   const DrawingStyle& style = {});

/// Paints the ring of a stroke with a width for each side.
void drawPerSideStroke(const Layer& layer, const CGRect& rect, RasterContext& context, const DrawingStyle& style = {});

} // namespace Exporter

/// What is known of the body of a layer before it is painted: where it lies and, for boxes, what its alpha is.
TransparencyLayerHints bodyHints(const Layer& layer, const DrawingStyle& style = {});

} // namespace larkspool
