#pragma once

#include "document/layer.h"
#include "platform/image.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

#include <array>
#include <memory>

namespace larkspool {

/// A soft spot of a gradient field, in the layer's local space.
struct GradientBlob {
    CGPoint center;
    double radius = 0;
    ColorRGBA color;
    double peakAlpha = 0; ///< At the centre; it falls to 0 at the radius, linearly.
};

/// A gradient field at a time: a linear gradient from `start` to `end`, going on beyond both, and three spots of light above
/// it, which add to what is below.
struct GradientField {
    CGSize size; ///< At least 1 x 1.
    CGPoint start;
    CGPoint end;
    ColorRGBA first;
    ColorRGBA second;
    std::array<GradientBlob, 3> blobs;
};

/// The field of a layer at `time` in scene seconds. A function of the two alone.
GradientField gradientField(const Layer& layer, double time);

/// The linear blend of two colours, all four channels.
ColorRGBA blend(const ColorRGBA& a, const ColorRGBA& b, double amount);

/// A field as two pictures of one size, drawn one after the other.
struct GradientFieldImages {
    std::shared_ptr<Image> background;
    std::shared_ptr<Image> light; ///< Colour without any alpha: what is drawn so adds to what is below, and takes nothing from it.
};

/// Pictures of the field of `width` x `height` pixels.
GradientFieldImages gradientFieldImages(const GradientField& field, int width, int height);

namespace Exporter {

/// Paints a gradient field layer in its local space.
void drawGradientField(const Layer& layer, RasterContext& context, double time, const DrawingStyle& style = {});

} // namespace Exporter

} // namespace larkspool
