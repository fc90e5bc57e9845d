#pragma once

#include "foundation/geometry.h"

namespace larkspool {

/// Where a layer's box stands in its parent's space (a top-level layer: the canvas).
struct Transform {
    double x = 0;         ///< Left edge of the box.
    double y = 0;         ///< Top edge of the box.
    double rotation = 0;  ///< Degrees, clockwise about the anchor.
    double scaleX = 1;    ///< About the anchor.
    double scaleY = 1;    ///< About the anchor.
    double anchorX = 0.5; ///< As a fraction of the layer's width.
    double anchorY = 0.5; ///< As a fraction of the layer's height.

    /// The matrix from the layer's local space (origin at the box's top left) to its parent's: rotation and scale turn about
    /// the anchor.
    AffineTransform cgAffine(CGSize layerSize) const;

    /// The same with rotation and scale about `pivot`, a point of the local space.
    AffineTransform cgAffineAbout(CGPoint pivot) const;

    bool operator==(const Transform&) const = default;
};

} // namespace larkspool
