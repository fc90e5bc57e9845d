#pragma once

#include "canvas/keyframed_write.h"

#include <cstddef>

namespace larkspool {

/// A stored line with one of its draggable points at `point`, which is in the space of its siblings; all other points stay where
/// they are. `resolved` is the line at the playhead, in its place.
///
/// A freeform line gets a new point and a box that bounds it again. A preset is turned and made longer or shorter, at least 1, so
/// that it runs from its other end to the point; its height stays. A line that is squeezed to nothing stays as it is.
Layer withLinePointAt(Layer line, const Layer& resolved, std::size_t index, CGPoint point, const KeyframedWriting& how);

} // namespace larkspool
