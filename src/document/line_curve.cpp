#include "document/line_curve.h"

namespace larkspool {

namespace {

CGPoint mirrored(CGPoint point, CGPoint at)
{
    return {2 * at.x - point.x, 2 * at.y - point.y};
}

/// `point` moved by a sixth of the way from `start` to `end`.
CGPoint movedBySixth(CGPoint point, CGPoint start, CGPoint end)
{
    return {point.x + (end.x - start.x) / 6, point.y + (end.y - start.y) / 6};
}

} // namespace

std::vector<CurveTo> smoothedCurve(const Array<CGPoint>& points)
{
    const std::size_t count = points.size();
    if (count < 3) return {};

    std::vector<CurveTo> curves;
    curves.reserve(count - 1);
    for (std::size_t i = 0; i + 1 < count; ++i) {
        const CGPoint start = points[i], end = points[i + 1];
        const CGPoint before = i > 0 ? points[i - 1] : mirrored(end, start);
        const CGPoint behind = i + 2 < count ? points[i + 2] : mirrored(start, end);
        curves.push_back({.c1 = movedBySixth(start, before, end), .c2 = movedBySixth(end, behind, start), .end = end});
    }
    return curves;
}

} // namespace larkspool
