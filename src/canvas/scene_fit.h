#pragma once

#include "foundation/geometry.h"

#include <algorithm>

namespace larkspool {

/// How the scene lies in the canvas's view: a scene point p is seen at origin + p * scale.
struct SceneFit {
    double scale = 1; ///< View points for a unit of the scene.
    double originX = 0;
    double originY = 0;

    /// The scene centred in the view at `zoom` times the size at which it just fits, then moved by `pan` view points. Neither
    /// size may have a side of 0.
    static SceneFit of(CGSize scene, CGSize viewSize, double zoom, CGPoint pan)
    {
        const double scale = std::min(viewSize.width / scene.width, viewSize.height / scene.height) * zoom;
        return {scale, pan.x + (viewSize.width - scene.width * scale) * 0.5,
                pan.y + (viewSize.height - scene.height * scale) * 0.5};
    }

    CGPoint viewFromScene(CGPoint point) const { return {originX + point.x * scale, originY + point.y * scale}; }
    CGPoint sceneFromView(CGPoint point) const { return {(point.x - originX) / scale, (point.y - originY) / scale}; }

    bool operator==(const SceneFit&) const = default;
};

} // namespace larkspool
