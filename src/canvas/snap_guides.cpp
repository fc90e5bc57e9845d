#include "canvas/snap_guides.h"

#include "canvas/canvas_geometry.h"
#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"

#include <cmath>

namespace larkspool {

namespace {

constexpr double radiusInView = 6;
constexpr double leastScale = 0.001;
/// Degrees that still count as upright.
constexpr double uprightRotation = 0.001;

bool offersTargets(const Layer& layer, const LayerIDs& excluded, double time)
{
    if (excluded.contains(layer.id) || layer.isHidden || !isVisible(layer, time)) return false;
    if (layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::fullScreen) return false;
    return std::abs(Interpolation::placement(layer, time).transform.rotation) < uprightRotation;
}

void add(std::vector<SnapTarget>& targets, const SnapEdges& edges, bool fromLayer, const std::string& name,
         const char* const (&places)[3])
{
    const double values[3] = {edges.low, edges.middle, edges.high};
    for (int i = 0; i < 3; ++i) targets.push_back({values[i], fromLayer, name + " · " + places[i]});
}

void add(SnapTargets& targets, const CGRect& box, bool fromLayer, const std::string& name)
{
    add(targets.x, SnapEdges::acrossOf(box), fromLayer, name, {"left", "center", "right"});
    add(targets.y, SnapEdges::downOf(box), fromLayer, name, {"top", "middle", "bottom"});
}

} // namespace

double snapRadius(const SceneFit& fit)
{
    return radiusInView / (fit.scale < leastScale ? leastScale : fit.scale);
}

SnapTargets cacheSnapTargets(const TweenScene& scene, const LayerIDs& excluded, double time)
{
    SnapTargets targets;
    add(targets, {{0, 0}, scene.size()}, /*fromLayer=*/false, "Scene");
    for (const Layer& layer : scene.layers) {
        if (!offersTargets(layer, excluded, time)) continue;
        const CGRect box = boxInParent(layer, time);
        // The left of a mirrored group is where it is seen.
        if (!box.isNull()) add(targets, unionOf(box, box), /*fromLayer=*/true, layer.name.string());
    }
    return targets;
}

SnapCatch caught(const SnapEdges& edges, double delta, const std::vector<SnapTarget>& targets, double radius)
{
    SnapCatch best{.delta = delta};
    double least = radius;
    for (const double edge : {edges.low, edges.middle, edges.high}) {
        for (const SnapTarget& target : targets) {
            const double difference = target.value - (edge + delta);
            const double away = std::abs(difference);
            if (!(away <= least) || (best.target && away == least)) continue;
            least = away;
            best = {.delta = delta + difference, .target = &target};
        }
    }
    return best;
}

} // namespace larkspool
