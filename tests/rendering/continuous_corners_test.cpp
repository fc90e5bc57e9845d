#include "rendering/continuous_corners.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Element = Path::Element;

CGPoint onCurve(CGPoint p0, const CGPoint (&p)[3], double t)
{
    const double s = 1 - t, a = s * s * s, b = 3 * t * s * s, c = 3 * t * t * s, d = t * t * t;
    return {a * p0.x + b * p[0].x + c * p[1].x + d * p[2].x, a * p0.y + b * p[0].y + c * p[1].y + d * p[2].y};
}

/// Points all along the outline.
std::vector<CGPoint> samples(const Path& path)
{
    std::vector<CGPoint> found;
    CGPoint at{};
    for (const Element& element : path.elements()) {
        if (element.kind == Element::Kind::curveTo) {
            for (int i = 1; i <= 64; ++i) found.push_back(onCurve(at, element.points, i / 64.0));
            at = element.points[2];
        } else if (element.kind != Element::Kind::close) {
            at = element.points[0];
            found.push_back(at);
        }
    }
    return found;
}

/// How far a point lies within a box with circular corners; below 0 it is outside.
double depth(CGPoint p, const RoundedRect& box)
{
    const double x = std::min(p.x - box.rect.minX(), box.rect.maxX() - p.x), y = std::min(p.y - box.rect.minY(), box.rect.maxY() - p.y);
    if (x >= box.radius || y >= box.radius) return std::min(x, y);
    return box.radius - std::hypot(box.radius - x, box.radius - y);
}

TEST(ContinuousCorners, ASharpBoxIsABox)
{
    const CGRect rect{{3, 4}, {10, 20}};
    EXPECT_EQ(continuousRoundedRect({rect, 0}), Path::rect(rect));
    EXPECT_NE(continuousRoundedRect({rect, 0}).boxes(), nullptr);
}

TEST(ContinuousCorners, BeginARadiusAndAHalfFromTheCorner)
{
    const Path path = continuousRoundedRect({{{10, 20}, {200, 100}}, 20});
    EXPECT_EQ(path.elements()[0].points[0], (CGPoint{210 - 30, 20}));
    EXPECT_EQ(path.elements()[2].points[2], (CGPoint{210, 20 + 30}));
    EXPECT_EQ(path.bounds(), (CGRect{{10, 20}, {200, 100}}));
}

TEST(ContinuousCorners, TouchTheirCircleInTheMiddleAndLieWithinItElsewhere)
{
    const RoundedRect box{{{0, 0}, {200, 120}}, 20};
    double deepest = 0;
    for (const CGPoint p : samples(continuousRoundedRect(box))) {
        EXPECT_GE(depth(p, box), -1e-3);
        deepest = std::max(deepest, depth(p, box));
    }
    EXPECT_NEAR(deepest, 0.0167 * 20, 0.02);
    const CGPoint middle = continuousRoundedRect(box).elements()[1].points[2];
    EXPECT_NEAR(std::hypot(180 - middle.x, 20 - middle.y), 20, 1e-6);
}

TEST(ContinuousCorners, BendNowhereAtTheirEnds)
{
    // Three points of the curve's frame lie on the side.
    const Path path = continuousRoundedRect({{{0, 0}, {200, 100}}, 20});
    const Element& first = path.elements()[1];
    EXPECT_EQ(first.points[0].y, 0);
    EXPECT_EQ(first.points[1].y, 0);
    const Element& second = path.elements()[2];
    EXPECT_EQ(second.points[0].x, 200);
    EXPECT_EQ(second.points[1].x, 200);
}

TEST(ContinuousCorners, AreThoseOfTheCircleWhereThereIsNoRoom)
{
    const RoundedRect circle{{{0, 0}, {40, 40}}, 20};
    for (const CGPoint p : samples(continuousRoundedRect(circle))) EXPECT_NEAR(std::hypot(p.x - 20, p.y - 20), 20, 20 * 3e-4);
    // A pill reaches out along its long sides alone.
    const Path pill = continuousRoundedRect({{{0, 0}, {100, 40}}, 20});
    EXPECT_EQ(pill.elements()[0].points[0], (CGPoint{70, 0}));
    EXPECT_EQ(pill.elements()[2].points[2], (CGPoint{100, 20}));
}

TEST(ContinuousCorners, AreTheSameOnEverySide)
{
    const RoundedRect box{{{-30, -20}, {60, 40}}, 12};
    const std::vector<CGPoint> all = samples(continuousRoundedRect(box));
    for (const CGPoint p : all)
        for (const CGPoint mirrored : {CGPoint{-p.x, p.y}, CGPoint{p.x, -p.y}}) {
            const bool isThere = std::ranges::any_of(all, [&](CGPoint q) { return std::hypot(q.x - mirrored.x, q.y - mirrored.y) < 1e-6; });
            EXPECT_TRUE(isThere) << p.x << ", " << p.y;
        }
}

TEST(ContinuousCorners, ACircularBoxWithinCoversNoMoreButForLessThanAHundredthOfTheRadius)
{
    using enum DrawingStyle::Corners;
    const RoundedRect box{{{0, 0}, {200, 120}}, 20};
    EXPECT_EQ(circularWithin(box, circular), box);
    const RoundedRect within = circularWithin(box, continuous);
    EXPECT_EQ(within.rect, box.rect);
    for (const CGPoint p : samples(continuousRoundedRect(box))) EXPECT_LE(depth(p, within), 0.01 * 20);
    const RoundedRect pill{{{0, 0}, {100, 40}}, 20};
    EXPECT_EQ(circularWithin(pill, continuous).radius, 20) << "no corner is larger than half the side";
}

} // namespace
} // namespace larkspool
