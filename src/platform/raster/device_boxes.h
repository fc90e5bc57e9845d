#pragma once

#include "platform/path.h"
#include "platform/raster/box_blur.h"
#include "platform/raster/shadow_compositing.h"
#include "platform/raster_context.h"

#include <optional>
#include <vector>

namespace larkspool {

/// Boxes of device space whose weighted sum is the coverage of a paint.
using DeviceBoxes = std::vector<WeightedDeviceBox>;

/// Whether the box has a size and no number that is not finite, and its corners fit.
bool isProper(const RoundedRect& box);

/// The scale by which the transform turns boxes into boxes of device space, if it does: with one scale for both axes and no turn
/// but by right angles.
std::optional<double> uniformScale(const AffineTransform& ctm);

/// The box in device space, where `scale` is the uniform one of the transform.
WeightedDeviceBox toDevice(const RoundedRect& box, double weight, double scale, const AffineTransform& ctm);

/// What filling a path covers, where it is a box or the ring between two.
std::optional<DeviceBoxes> filledBoxes(const Path& path, FillRule rule, const AffineTransform& ctm);

/// What a stroke of that width, in user space, covers, where the path is a box.
std::optional<DeviceBoxes> strokedBoxes(const Path& path, double width, RasterContext::LineJoin join, const AffineTransform& ctm);

/// The part of the sum of the boxes in which the weights add up to 1.
OpaqueArea opaqueAreaOf(const DeviceBoxes& boxes);

} // namespace larkspool
