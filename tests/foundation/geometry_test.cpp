#include "foundation/geometry.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>

namespace larkspool {
namespace {

constexpr CGRect rect(double x, double y, double width, double height)
{
    return {{x, y}, {width, height}};
}

void expectNear(CGPoint actual, CGPoint expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
}

TEST(CGRect, TellsItsEdgesAndMiddle)
{
    const CGRect r = rect(10, 20, 30, 40);
    EXPECT_EQ(r.minX(), 10);
    EXPECT_EQ(r.midX(), 25);
    EXPECT_EQ(r.maxX(), 40);
    EXPECT_EQ(r.minY(), 20);
    EXPECT_EQ(r.midY(), 40);
    EXPECT_EQ(r.maxY(), 60);
    EXPECT_FALSE(r.isNull());
    EXPECT_FALSE(CGRect{}.isNull());
    EXPECT_TRUE(CGRect::null().isNull());
}

TEST(CGRect, AUnionHoldsBothAndNullAddsNothing)
{
    EXPECT_EQ(unionOf(rect(0, 0, 10, 10), rect(20, -5, 10, 10)), rect(0, -5, 30, 15));
    EXPECT_EQ(unionOf(rect(0, 0, 100, 100), rect(10, 10, 5, 5)), rect(0, 0, 100, 100));
    EXPECT_EQ(unionOf(CGRect::null(), rect(0.1, 0.2, 0.3, 0.4)), rect(0.1, 0.2, 0.3, 0.4));
    EXPECT_EQ(unionOf(rect(0.1, 0.2, 0.3, 0.4), CGRect::null()), rect(0.1, 0.2, 0.3, 0.4));
    EXPECT_TRUE(unionOf(CGRect::null(), CGRect::null()).isNull());
    EXPECT_EQ(unionOf(rect(5, 5, 0, 0), rect(8, 9, 0, 0)), rect(5, 5, 3, 4)) << "points count, unlike null";
    EXPECT_EQ(unionOf(rect(10, 0, -10, 10), rect(4, 0, 1, 1)), rect(0, 0, 10, 10)) << "mirrored";
}

TEST(CGRect, TwoIntersectWhenTheyShareAnArea)
{
    struct Case { const char* how; CGRect a, b, shared; };
    for (const Case& c : {Case{"overlapping", rect(0, 0, 10, 10), rect(5, 6, 10, 10), rect(5, 6, 5, 4)},
                          Case{"one in the other", rect(0, 0, 10, 10), rect(2, 2, 3, 3), rect(2, 2, 3, 3)},
                          Case{"touching at an edge", rect(0, 0, 10, 10), rect(10, 0, 5, 5), CGRect::null()},
                          Case{"touching at a corner", rect(0, 0, 10, 10), rect(10, 10, 5, 5), CGRect::null()},
                          Case{"apart", rect(0, 0, 10, 10), rect(20, 0, 5, 5), CGRect::null()},
                          Case{"a point within", rect(0, 0, 10, 10), rect(5, 5, 0, 0), CGRect::null()},
                          Case{"a line within", rect(0, 0, 10, 10), rect(5, 5, 3, 0), CGRect::null()},
                          Case{"null", rect(0, 0, 10, 10), CGRect::null(), CGRect::null()},
                          Case{"mirrored", rect(10, 10, -10, -10), rect(5, 6, 10, 10), rect(5, 6, 5, 4)}}) {
        SCOPED_TRACE(c.how);
        EXPECT_EQ(intersectionOf(c.a, c.b), c.shared);
        EXPECT_EQ(intersectionOf(c.b, c.a), c.shared);
        EXPECT_EQ(intersects(c.a, c.b), !c.shared.isNull());
        EXPECT_EQ(intersects(c.b, c.a), !c.shared.isNull());
    }
}

TEST(CGRect, AnInsetNarrowsOrWidens)
{
    EXPECT_EQ(insetBy(rect(0, 0, 10, 20), 1, 2), rect(1, 2, 8, 16));
    EXPECT_EQ(insetBy(rect(0, 0, 10, 20), -1, -2), rect(-1, -2, 12, 24));
    EXPECT_EQ(insetBy(rect(0, 0, 2, 2), 2, 2), rect(2, 2, -2, -2));
}

TEST(AffineTransform, EachStepComesBeforeTheMatrixSoFar)
{
    const AffineTransform scaleThenMove = AffineTransform{}.translatedBy(10, 20).scaledBy(2, 3);
    expectNear(scaleThenMove.apply(CGPoint{1, 1}), {12, 23});

    const AffineTransform moveThenScale = AffineTransform{}.scaledBy(2, 3).translatedBy(10, 20);
    expectNear(moveThenScale.apply(CGPoint{1, 1}), {22, 63});

    const AffineTransform moveThenTurn = AffineTransform{}.rotatedBy(radians(90)).translatedBy(10, 0);
    expectNear(moveThenTurn.apply(CGPoint{0, 0}), {0, 10});
}

TEST(AffineTransform, APositiveTurnIsClockwiseWithYDownward)
{
    expectNear(AffineTransform{}.rotatedBy(radians(90)).apply(CGPoint{1, 0}), {0, 1});
    expectNear(AffineTransform{}.rotatedBy(radians(90)).apply(CGPoint{0, 1}), {-1, 0});
}

TEST(AffineTransform, ConcatenatingTakesTheOtherFirst)
{
    const AffineTransform scale = AffineTransform{}.scaledBy(2, 3), move = AffineTransform{}.translatedBy(10, 20);
    expectNear(move.concatenating(scale).apply(CGPoint{1, 1}), {12, 23});
    expectNear(scale.concatenating(move).apply(CGPoint{1, 1}), {22, 63});
}

TEST(AffineTransform, AMappedRectangleIsBoundByItsCorners)
{
    EXPECT_EQ(AffineTransform{}.scaledBy(-2, 3).apply(rect(1, 1, 2, 2)), rect(-6, 3, 4, 6));
    EXPECT_TRUE(AffineTransform{}.scaledBy(2, 2).apply(CGRect::null()).isNull());

    const CGRect turned = AffineTransform{}.rotatedBy(radians(45)).apply(rect(0, 0, 1, 1));
    EXPECT_NEAR(turned.origin.x, -std::sqrt(0.5), 1e-12);
    EXPECT_NEAR(turned.origin.y, 0, 1e-12);
    EXPECT_NEAR(turned.size.width, std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(turned.size.height, std::sqrt(2.0), 1e-12);
}

TEST(AffineTransform, TheInverseLeadsBack)
{
    EXPECT_TRUE(rc::check([] {
        const auto number = [] { return *rc::gen::inRange(-10'000, 10'000) / 128.0; };
        const auto factor = [&] { return std::copysign(std::max(std::abs(number()), 0.1), number()); };
        AffineTransform transform = AffineTransform{}.translatedBy(number(), number());
        transform = transform.rotatedBy(number()).scaledBy(factor(), factor());
        const CGPoint point{number(), number()};
        const CGPoint back = transform.inverted().apply(transform.apply(point));
        RC_ASSERT(std::abs(back.x - point.x) < 1e-7);
        RC_ASSERT(std::abs(back.y - point.y) < 1e-7);
    }));
}

} // namespace
} // namespace larkspool
