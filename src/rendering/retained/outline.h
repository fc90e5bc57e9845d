#pragma once

#include "foundation/geometry.h"

#include <vector>

namespace larkspool {

/// The outline of a node's box in the node's space, or one that runs beside it.
struct NodeOutline {
    CGRect rect;
    double radius = 0;      ///< Of circular corners; an ellipse has none.
    bool isEllipse = false;
    double offset = 0;      ///< How far the outline runs outside of the ellipse everywhere. A box is given already grown.

    bool operator==(const NodeOutline&) const = default;
};

/// The box `by` larger on each side, or smaller where `by` is negative. Sharp corners stay sharp.
NodeOutline grown(const NodeOutline& outline, double by);

/// Whether the outline has an area; one that was shrunk too far has none.
bool hasArea(const NodeOutline& outline);

/// Whether one box holds all of another.
bool holds(const NodeOutline& outer, const NodeOutline& inner);

/// The box of the transformed outline in device space.
CGRect deviceBounds(const NodeOutline& outline, const AffineTransform& toDevice);

/// Replaces `points` by the transformed outline in lines that stray from it by less than what can be seen.
void flatten(const NodeOutline& outline, const AffineTransform& toDevice, std::vector<CGPoint>& points);

} // namespace larkspool
