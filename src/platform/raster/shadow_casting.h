#pragma once

#include "platform/raster/canvas.h"
#include "platform/raster/device_boxes.h"

#include <functional>

namespace larkspool {

/// Draws coverage with Cairo, in device space, for the pixels of an area.
using CoverageDraw = std::function<void(cairo_t*, const PixelRect&)>;

/// What casts a shadow, in device space.
struct ShadowCaster {
    CGRect bounds;
    std::optional<DeviceBoxes> boxes; ///< The coverage, if known as boxes.
    double alpha; ///< Of the coverage.
    OpaqueArea covered; ///< Where the caster will cover what the shadow would colour.
    CoverageDraw draw; ///< The coverage in any case.
};

/// What a shadow falls on.
struct ShadowGround {
    const Canvas& canvas;
    PixelRect clip; ///< Nothing outside is drawn.
    bool clipIsRect; ///< Whether the clip is just that. Otherwise Cairo knows more of it.
};

/// The standard deviation of a shadow's Gaussian, in device pixels, however wide a blur is asked for.
double shadowSigma(double blur);

/// Draws the shadow on its ground; one with a number that is not finite is none.
void castShadow(const ShadowGround& ground, const RasterShadow& shadow, const ShadowCaster& caster);

} // namespace larkspool
