#pragma once

#include "platform/path.h"
#include "rendering/drawing_style.h"

namespace larkspool {

/// The box with corners whose curvature begins at nothing: each touches its circle in the middle and reaches half a radius
/// farther along the sides, as far as there is room. Where there is none, as in a pill, the corner is the circle's.
Path continuousRoundedRect(const RoundedRect& box);

/// The outline of a box with corners of that style.
Path boxOutline(const RoundedRect& box, DrawingStyle::Corners corners);

/// A box with circular corners that covers nearly the same: no more than it, but for less than a hundredth of the radius.
RoundedRect circularWithin(const RoundedRect& box, DrawingStyle::Corners corners);

} // namespace larkspool
