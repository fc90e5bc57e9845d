#include "document/line_curve.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(SmoothedCurve, RunsAlongTheNeighboursAndMirrorsThemAtTheEnds)
{
    const std::vector<CurveTo> curves = smoothedCurve({{0, 0}, {60, 60}, {120, 0}});
    ASSERT_EQ(curves.size(), 2u);
    EXPECT_EQ(curves[0], (CurveTo{{20, 20}, {40, 60}, {60, 60}}));
    EXPECT_EQ(curves[1], (CurveTo{{80, 60}, {100, 20}, {120, 0}}));
}

TEST(SmoothedCurve, PointsOnALineGiveThatLine)
{
    const std::vector<CurveTo> curves = smoothedCurve({{0, 0}, {30, 60}, {60, 120}, {90, 180}});
    ASSERT_EQ(curves.size(), 3u);
    EXPECT_EQ(curves[0], (CurveTo{{10, 20}, {20, 40}, {30, 60}}));
    EXPECT_EQ(curves[1], (CurveTo{{40, 80}, {50, 100}, {60, 120}}));
    EXPECT_EQ(curves[2], (CurveTo{{70, 140}, {80, 160}, {90, 180}}));
}

TEST(SmoothedCurve, FewerThanThreePointsAreNotCurved)
{
    EXPECT_TRUE(smoothedCurve({}).empty());
    EXPECT_TRUE(smoothedCurve({{1, 2}}).empty());
    EXPECT_TRUE(smoothedCurve({{1, 2}, {3, 4}}).empty());
}

} // namespace
} // namespace larkspool
