#include "shell/layer_palette.h"

#include "canvas/layer_insertion.h"

namespace larkspool::LayerPaletteCommands {

std::optional<Edit> add(const TweenScene& scene, const Item& item, std::optional<CGPoint> viewportCenter, const UserDefaults& defaults)
{
    if (item.needsFile) return std::nullopt;
    const CGPoint center = insertionCenter(scene, viewportCenter);
    switch (item.kind) {
    case Layer::Kind::line: return addLineLayer(scene, center);
    case Layer::Kind::text: return addTextLayer(scene, center, resolvedDefaultFont(defaults));
    case Layer::Kind::cursor: return addCursorLayer(scene, CursorVariant::arrow, center);
    case Layer::Kind::hotspot: return addHotspotLayer(scene, center);
    case Layer::Kind::zoom: return addZoomLayer(scene, center);
    case Layer::Kind::gradientField: return addGradientFieldLayer(scene);
    default: return addLayer(scene, item.kind, center);
    }
}

} // namespace larkspool::LayerPaletteCommands
