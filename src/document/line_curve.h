#pragma once

#include "document/path_command.h"
#include "foundation/array.h"

#include <vector>

namespace larkspool {

/// The smooth curve through the points of a curved freeform line, as the curves that follow the first point: one to each other
/// point, with the tangent at a point running along its two neighbours. Beyond either end the neighbour is the second point
/// from there, mirrored at the last. Fewer than three points are not curved: the result is empty.
std::vector<CurveTo> smoothedCurve(const Array<CGPoint>& points);

} // namespace larkspool
