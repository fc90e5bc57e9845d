#pragma once

#include "evaluation/evaluated_frame.h"
#include "platform/raster_context.h"

#include <array>
#include <optional>

namespace larkspool {

/// One of the three rings that a pulse sends out, in scene points.
struct RadiateRing {
    double radius;
    double alpha;
    double lineWidth;

    bool operator==(const RadiateRing&) const = default;
};

/// The rings of a pulse of some age in seconds, each a little later than the one before; absent before its start.
std::array<std::optional<RadiateRing>, 3> radiateRings(double age);

namespace Exporter {

/// Paints the rings behind a layer in the space of its parent, if it sends out any.
void drawRadiateForLayer(const EvaluatedLayer& layer, RasterContext& context);

} // namespace Exporter

} // namespace larkspool
