#pragma once

#include "platform/path.h"

namespace larkspool {

/// The length of the path's lines and curves, closing lines included, to about a thousandth of a point.
double pathLength(const Path& path);

/// The part of the path between two fractions of its length, 0...1, in the order in which it is drawn. Curves stay curves. A
/// path without a length gives an empty path, as does a range that holds nothing.
Path trimmedPath(const Path& path, double from, double to);

} // namespace larkspool
