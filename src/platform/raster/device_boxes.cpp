#include "platform/raster/device_boxes.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// Whether `outer` holds all of `inner`: the centres of the inner corners lie in the outer box shrunk by the inner radius.
bool holds(const RoundedRect& outer, const RoundedRect& inner)
{
    const CGRect& o = outer.rect;
    const CGRect& i = inner.rect;
    if (i.minX() < o.minX() || i.minY() < o.minY() || i.maxX() > o.maxX() || i.maxY() > o.maxY()) return false;
    if (inner.radius >= outer.radius) return true;
    const double rest = outer.radius - inner.radius;
    const auto overhang = [&](double near, double far) { return std::max(rest - std::min(near, far), 0.0); };
    const double across = overhang(i.minX() - o.minX(), o.maxX() - i.maxX()),
                 down = overhang(i.minY() - o.minY(), o.maxY() - i.maxY());
    return std::hypot(across, down) <= rest + 1e-9;
}

/// The box `by` larger on each side, or smaller where `by` is negative. Sharp corners stay sharp unless asked for.
RoundedRect grown(const RoundedRect& box, double by, RasterContext::LineJoin join)
{
    const bool staysSharp = box.radius <= 0 && join == RasterContext::LineJoin::miter;
    return {insetBy(box.rect, -by, -by), staysSharp ? 0 : std::max(box.radius + by, 0.0)};
}

} // namespace

bool isProper(const RoundedRect& box)
{
    const CGRect& r = box.rect;
    return std::isfinite(r.origin.x) && std::isfinite(r.origin.y) && r.size.width > 0 && r.size.height > 0 &&
           std::isfinite(r.size.width) && std::isfinite(r.size.height) && box.radius >= 0 &&
           box.radius <= std::min(r.size.width, r.size.height) * 0.5;
}

std::optional<double> uniformScale(const AffineTransform& ctm)
{
    const bool upright = ctm.b == 0 && ctm.c == 0, sideways = ctm.a == 0 && ctm.d == 0;
    if (!upright && !sideways) return std::nullopt;
    const double across = std::abs(upright ? ctm.a : ctm.b), down = std::abs(upright ? ctm.d : ctm.c);
    if (!(std::abs(across - down) <= 1e-9 * across)) return std::nullopt;
    return across;
}

WeightedDeviceBox toDevice(const RoundedRect& box, double weight, double scale, const AffineTransform& ctm)
{
    const CGRect rect = ctm.apply(box.rect);
    return {rect, std::min(box.radius * scale, std::min(rect.size.width, rect.size.height) * 0.5), weight};
}

std::optional<DeviceBoxes> filledBoxes(const Path& path, FillRule rule, const AffineTransform& ctm)
{
    const std::vector<RoundedRect>* boxes = path.boxes();
    const std::optional<double> scale = uniformScale(ctm);
    if (!boxes || !scale || boxes->empty() || boxes->size() > 2 || !std::ranges::all_of(*boxes, isProper)) return std::nullopt;
    DeviceBoxes covered{toDevice(boxes->front(), 1, *scale, ctm)};
    if (boxes->size() == 1) return covered;
    if (rule != FillRule::evenOdd || !holds(boxes->front(), boxes->back())) return std::nullopt;
    covered.push_back(toDevice(boxes->back(), -1, *scale, ctm));
    return covered;
}

std::optional<DeviceBoxes> strokedBoxes(const Path& path, double width, RasterContext::LineJoin join, const AffineTransform& ctm)
{
    const std::vector<RoundedRect>* boxes = path.boxes();
    const std::optional<double> scale = uniformScale(ctm);
    if (!boxes || !scale || boxes->size() != 1 || !isProper(boxes->front())) return std::nullopt;
    DeviceBoxes covered{toDevice(grown(boxes->front(), width * 0.5, join), 1, *scale, ctm)};
    const RoundedRect inner = grown(boxes->front(), -width * 0.5, join);
    if (isProper(inner)) covered.push_back(toDevice(inner, -1, *scale, ctm));
    return covered;
}

OpaqueArea opaqueAreaOf(const DeviceBoxes& boxes)
{
    double sum = 0, radius = 0;
    CGRect common = boxes.empty() ? CGRect::null() : boxes.front().rect;
    for (const WeightedDeviceBox& box : boxes) {
        if (box.weight < 0) return {};
        sum += box.weight;
        radius = std::max(radius, box.radius);
        common = intersectionOf(common, box.rect);
    }
    // A box holds every disc within its sides whose radius is at least its own: so with the largest radius, all hold the area.
    if (sum < 1 - 1e-9 || common.isNull() || radius > std::min(common.size.width, common.size.height) * 0.5) return {};
    return {common, radius};
}

} // namespace larkspool
