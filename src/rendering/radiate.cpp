#include "rendering/radiate.h"

#include "rendering/raster_color.h"

#include <algorithm>

namespace larkspool {

namespace {

constexpr double ringDelay = 0.18;
constexpr double radiusPerSecond = 220;
constexpr double firstAlpha = 0.7;

} // namespace

std::array<std::optional<RadiateRing>, 3> radiateRings(double age, double scale)
{
    std::array<std::optional<RadiateRing>, 3> rings;
    for (std::size_t i = 0; i < rings.size(); ++i) {
        const double q = std::min(age - ringDelay * static_cast<double>(i), 1.0);
        if (!(q > 0)) continue;
        rings[i] = RadiateRing{.radius = q * radiusPerSecond * scale,
                               .alpha = (1 - q) * firstAlpha,
                               .lineWidth = std::max((1 - 0.6 * q) * 3 * scale, 1.0)};
    }
    return rings;
}

void drawRadiateRings(double age, CGPoint center, double scale, const ColorRGBA& color, RasterContext& context)
{
    for (const std::optional<RadiateRing>& ring : radiateRings(age, scale)) {
        if (!ring) continue;
        SavedState saved(context);
        RasterColor faded = rasterColor(color);
        faded.a = ring->alpha;
        context.setStrokeColor(faded);
        context.setLineWidth(ring->lineWidth);
        context.strokePath(Path::ellipse({{center.x - ring->radius, center.y - ring->radius}, {2 * ring->radius, 2 * ring->radius}}));
    }
}

void Exporter::drawRadiateForLayer(const EvaluatedLayer& layer, RasterContext& context)
{
    if (layer.radiateProgress) drawRadiateRings(*layer.radiateProgress, layer.radiateCenter, /*scale=*/1, layer.glowColor, context);
}

} // namespace larkspool
