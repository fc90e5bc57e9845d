#pragma once

#include "evaluation/evaluated_frame.h"
#include "platform/raster_context.h"

#include <array>
#include <optional>

namespace larkspool {

/// One of the three rings that a pulse sends out.
struct RadiateRing {
    double radius;
    double alpha;
    double lineWidth;

    bool operator==(const RadiateRing&) const = default;
};

/// The rings of a pulse of some age in seconds, each a little later than the one before; absent before its start. Lengths are in
/// a unit of which `scale` make a unit of the scene; no line is thinner than 1 of it.
std::array<std::optional<RadiateRing>, 3> radiateRings(double age, double scale = 1);

/// Paints the rings of a pulse about a point, in that unit. The colour's alpha plays no part.
void drawRadiateRings(double age, CGPoint center, double scale, const ColorRGBA& color, RasterContext& context);

namespace Exporter {

/// Paints the rings behind a layer in the space of its parent, if it sends out any.
void drawRadiateForLayer(const EvaluatedLayer& layer, RasterContext& context);

} // namespace Exporter

} // namespace larkspool
