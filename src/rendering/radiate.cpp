#include "rendering/radiate.h"

#include "rendering/raster_color.h"

#include <algorithm>

namespace larkspool {

namespace {

constexpr double ringDelay = 0.18;
constexpr double radiusPerSecond = 220;
constexpr double firstAlpha = 0.7;

} // namespace

std::array<std::optional<RadiateRing>, 3> radiateRings(double age)
{
    std::array<std::optional<RadiateRing>, 3> rings;
    for (std::size_t i = 0; i < rings.size(); ++i) {
        const double q = std::min(age - ringDelay * static_cast<double>(i), 1.0);
        if (!(q > 0)) continue;
        rings[i] = RadiateRing{.radius = q * radiusPerSecond, .alpha = (1 - q) * firstAlpha, .lineWidth = std::max((1 - 0.6 * q) * 3, 1.0)};
    }
    return rings;
}

void Exporter::drawRadiateForLayer(const EvaluatedLayer& layer, RasterContext& context)
{
    if (!layer.radiateProgress) return;
    for (const std::optional<RadiateRing>& ring : radiateRings(*layer.radiateProgress)) {
        if (!ring) continue;
        SavedState saved(context);
        RasterColor color = rasterColor(layer.glowColor);
        color.a = ring->alpha;
        context.setStrokeColor(color);
        context.setLineWidth(ring->lineWidth);
        const CGPoint center = layer.radiateCenter;
        context.strokePath(Path::ellipse({{center.x - ring->radius, center.y - ring->radius}, {2 * ring->radius, 2 * ring->radius}}));
    }
}

} // namespace larkspool
