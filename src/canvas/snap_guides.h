#pragma once

#include "canvas/scene_fit.h"
#include "document/tween_scene.h"
#include "editing/timeline_item.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// How near a moving edge must come to be caught, in scene units: 6 view points. Where the canvas is shown at next to nothing,
/// 6000 units.
double snapRadius(const SceneFit& fit);

/// A coordinate that moving layers are caught by.
struct SnapTarget {
    double value = 0;       ///< Scene coordinate.
    bool fromLayer = false; ///< An edge or middle of a layer; otherwise of the scene.
    std::string label{};    ///< What and where: "Card · left".

    bool operator==(const SnapTarget&) const = default;
};

/// In the order in which the first of two equally near ones wins.
struct SnapTargets {
    std::vector<SnapTarget> x{};
    std::vector<SnapTarget> y{};
};

/// The edges and middles of the scene, then those of each top-level layer that shows at `time`, unless it is excluded, rotated or
/// a full-screen zoom.
SnapTargets cacheSnapTargets(const TweenScene& scene, const LayerIDs& excluded, double time);

/// The moving coordinates of a selection along one axis.
struct SnapEdges {
    double low = 0, middle = 0, high = 0;

    static SnapEdges acrossOf(const CGRect& box) { return {box.minX(), box.midX(), box.maxX()}; }
    static SnapEdges downOf(const CGRect& box) { return {box.minY(), box.midY(), box.maxY()}; }
};

/// Where an axis was caught.
struct SnapCatch {
    double delta = 0;                     ///< The way of the moving edges, corrected where a target has caught one.
    const SnapTarget* target = nullptr;   ///< Null where none did.
};

/// Catches the edges, moved by `delta`, by the target with the smallest difference, at most `radius` away; in a tie the earlier
/// edge, then the earlier target.
SnapCatch caught(const SnapEdges& edges, double delta, const std::vector<SnapTarget>& targets, double radius);

} // namespace larkspool
