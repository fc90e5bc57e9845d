#include "rendering/continuous_corners.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace larkspool {

namespace {

/// How far from its corner the curve begins, in radii.
constexpr double greatestReach = 1.5;
/// The radius of the circular corner that lies within a continuous one, in its radii.
constexpr double circleWithin = 1.15;

/// Half of a corner of radius 1 as a cubic curve, from the side to the middle. The corner lies at the origin; `along` is the
/// distance from it along the side, `across` that from the side.
struct HalfCorner {
    struct Point {
        double along, across;
    };
    Point start, control1, control2;
};

/// Where the circle has its middle, both ways.
constexpr double middle = 0.2928932188134524;

/// An eighth of the circle.
constexpr HalfCorner circularHalf{{1, 0}, {0.7347835, 0}, {0.4804296, 0.1053568}};

/// With three points on the side the curve leaves it without curvature. The third lies on the circle's tangent in the middle; the
/// second gives the curve the circle's curvature there.
constexpr HalfCorner continuousHalf{{greatestReach, 0}, {0.9497475, 0}, {2 * middle, 0}};

/// The half of a corner that reaches so far along its side. In between, the two ways are blended.
HalfCorner halfCorner(double reach)
{
    const double part = std::clamp((reach - 1) / (greatestReach - 1), 0.0, 1.0);
    const auto blend = [part](HalfCorner::Point a, HalfCorner::Point b) {
        return HalfCorner::Point{a.along + (b.along - a.along) * part, a.across + (b.across - a.across) * part};
    };
    return {blend(circularHalf.start, continuousHalf.start), blend(circularHalf.control1, continuousHalf.control1),
            blend(circularHalf.control2, continuousHalf.control2)};
}

/// One corner of a box: where it lies and which way its sides run.
struct Corner {
    CGPoint at;
    double towardsX, towardsY; ///< The inside, as 1 or -1.
};

} // namespace

Path continuousRoundedRect(const RoundedRect& box)
{
    const CGRect& r = box.rect;
    if (!(box.radius > 0)) return Path::rect(r);
    const HalfCorner level = halfCorner(r.size.width * 0.5 / box.radius), upright = halfCorner(r.size.height * 0.5 / box.radius);
    const auto onLevel = [&](const Corner& c, HalfCorner::Point p) {
        return CGPoint{c.at.x + c.towardsX * p.along * box.radius, c.at.y + c.towardsY * p.across * box.radius};
    };
    const auto onUpright = [&](const Corner& c, HalfCorner::Point p) {
        return CGPoint{c.at.x + c.towardsX * p.across * box.radius, c.at.y + c.towardsY * p.along * box.radius};
    };

    Path path;
    const auto fromLevel = [&](const Corner& c) {
        path.empty() ? path.moveTo(onLevel(c, level.start)) : path.lineTo(onLevel(c, level.start));
        path.curveTo(onLevel(c, level.control1), onLevel(c, level.control2), onLevel(c, {middle, middle}));
        path.curveTo(onUpright(c, upright.control2), onUpright(c, upright.control1), onUpright(c, upright.start));
    };
    const auto fromUpright = [&](const Corner& c) {
        path.lineTo(onUpright(c, upright.start));
        path.curveTo(onUpright(c, upright.control1), onUpright(c, upright.control2), onUpright(c, {middle, middle}));
        path.curveTo(onLevel(c, level.control2), onLevel(c, level.control1), onLevel(c, level.start));
    };
    fromLevel({{r.maxX(), r.minY()}, -1, 1});
    fromUpright({{r.maxX(), r.maxY()}, -1, -1});
    fromLevel({{r.minX(), r.maxY()}, 1, -1});
    fromUpright({{r.minX(), r.minY()}, 1, 1});
    path.close();
    return path;
}

Path boxOutline(const RoundedRect& box, DrawingStyle::Corners corners)
{
    return corners == DrawingStyle::Corners::continuous ? continuousRoundedRect(box) : Path::roundedRect(box);
}

RoundedRect circularWithin(const RoundedRect& box, DrawingStyle::Corners corners)
{
    if (corners == DrawingStyle::Corners::circular || !(box.radius > 0)) return box;
    return {box.rect, std::min(box.radius * circleWithin, std::min(box.rect.size.width, box.rect.size.height) * 0.5)};
}

} // namespace larkspool
