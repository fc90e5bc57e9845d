#include "rendering/path_measure.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

Path corner()
{
    Path path;
    path.moveTo({0, 0});
    path.lineTo({10, 0});
    path.lineTo({10, 30});
    return path;
}

void expectEnds(const Path& path, CGPoint start, CGPoint end)
{
    ASSERT_FALSE(path.empty());
    const Path::Element& last = path.elements().back();
    const CGPoint reached = last.points[last.kind == Path::Element::Kind::curveTo ? 2 : 0];
    EXPECT_NEAR(path.elements().front().points[0].x, start.x, 0.01);
    EXPECT_NEAR(path.elements().front().points[0].y, start.y, 0.01);
    EXPECT_NEAR(reached.x, end.x, 0.01);
    EXPECT_NEAR(reached.y, end.y, 0.01);
}

TEST(PathMeasure, LengthCountsLinesCurvesAndClosingLines)
{
    EXPECT_DOUBLE_EQ(pathLength(corner()), 40);
    Path triangle = Path::rect({{0, 0}, {3, 4}});
    EXPECT_DOUBLE_EQ(pathLength(triangle), 14);
    EXPECT_NEAR(pathLength(Path::ellipse({{0, 0}, {20, 20}})), 20 * std::numbers::pi, 0.05);
}

TEST(PathMeasure, ATrimKeepsTheStretchBetweenTwoFractions)
{
    struct Case { double from, to; CGPoint start, end; };
    for (const Case& c : {Case{0, 0.125, {0, 0}, {5, 0}}, Case{0.125, 0.625, {5, 0}, {10, 15}}, Case{0.25, 1, {10, 0}, {10, 30}}})
        expectEnds(trimmedPath(corner(), c.from, c.to), c.start, c.end);
}

TEST(PathMeasure, ATrimDoesNotComeApart)
{
    const Path part = trimmedPath(corner(), 0.125, 0.625);
    ASSERT_EQ(part.elements().size(), 3u);
    EXPECT_EQ(part.elements()[1].kind, Path::Element::Kind::lineTo);
    EXPECT_EQ(part.elements()[2].kind, Path::Element::Kind::lineTo);
}

TEST(PathMeasure, ATrimmedCircleRunsByItsAngle)
{
    const Path circle = Path::ellipse({{-10, -10}, {20, 20}}); // From (10, 0) clockwise on a y-down canvas.
    const double sixth = std::numbers::pi / 3;
    const Path part = trimmedPath(circle, 1.0 / 6, 0.5);
    EXPECT_NEAR(part.elements().front().points[0].x, 10 * std::cos(sixth), 0.02);
    EXPECT_NEAR(part.elements().front().points[0].y, 10 * std::sin(sixth), 0.02);
    EXPECT_NEAR(part.elements().back().points[2].x, -10, 0.02);
    EXPECT_NEAR(pathLength(part), 20 * std::numbers::pi / 3, 0.05);
}

TEST(PathMeasure, TheWholeRangeIsThePathItself)
{
    const Path square = Path::rect({{0, 0}, {4, 4}});
    EXPECT_EQ(trimmedPath(square, 0, 1), square);
    EXPECT_EQ(trimmedPath(square, -1, 2), square);
}

TEST(PathMeasure, NothingComesOfNoLengthOrNoRange)
{
    Path point;
    point.moveTo({3, 3});
    point.lineTo({3, 3});
    EXPECT_TRUE(trimmedPath(point, 0, 0.5).empty());
    EXPECT_TRUE(trimmedPath(point, 0, 1).empty());
    EXPECT_TRUE(trimmedPath({}, 0, 0.5).empty());
    EXPECT_TRUE(trimmedPath(corner(), 0.5, 0.5).empty());
    EXPECT_TRUE(trimmedPath(corner(), std::nan(""), 0.5).empty());
}

TEST(PathMeasure, SeparatePartsStaySeparate)
{
    Path two = corner();
    two.moveTo({100, 0});
    two.lineTo({100, 40});
    const Path part = trimmedPath(two, 0.25, 0.75);
    int moves = 0;
    for (const Path::Element& element : part.elements()) moves += element.kind == Path::Element::Kind::moveTo;
    EXPECT_EQ(moves, 2);
    EXPECT_NEAR(pathLength(part), 40, 1e-9);
}

} // namespace
} // namespace larkspool
