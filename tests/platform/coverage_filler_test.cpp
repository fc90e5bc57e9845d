#include "platform/raster/coverage_filler.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <string>
#include <vector>

namespace larkspool {
namespace {

using Outline = std::vector<CGPoint>;

struct Coverage {
    PixelRect area;
    std::vector<std::uint8_t> levels;

    int at(int x, int y) const
    {
        return levels[static_cast<std::size_t>(y - area.top) * static_cast<std::size_t>(area.width()) +
                      static_cast<std::size_t>(x - area.left)];
    }
    double sum() const { return std::accumulate(levels.begin(), levels.end(), 0.0) / 255; }
};

Coverage stored(CoverageFiller& filler, const PixelRect& clip)
{
    Coverage coverage{
        clip, std::vector<std::uint8_t>(static_cast<std::size_t>(clip.width()) * static_cast<std::size_t>(clip.height()), 77)};
    filler.store(clip, coverage.levels.data());
    return coverage;
}

Coverage coverageOf(const Outline& outline, const PixelRect& area)
{
    CoverageFiller filler;
    filler.begin(area);
    filler.add(outline, CoverageFiller::Direction::forwards);
    return stored(filler, area);
}

Outline rectangle(double left, double top, double right, double bottom)
{
    return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
}

Outline circle(CGPoint center, double radius, int lines)
{
    Outline points;
    for (int i = 0; i < lines; ++i) {
        const double angle = 2 * std::numbers::pi * i / lines;
        points.push_back({center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)});
    }
    return points;
}

Outline turned(Outline points, double degrees, CGPoint about)
{
    const double angle = degrees * std::numbers::pi / 180, c = std::cos(angle), s = std::sin(angle);
    for (CGPoint& p : points) {
        const CGPoint d{p.x - about.x, p.y - about.y};
        p = {about.x + d.x * c - d.y * s, about.y + d.x * s + d.y * c};
    }
    return points;
}

/// Whether a point lies in an outline: a ray to the right crosses it an odd number of times.
bool isInside(const Outline& outline, CGPoint p)
{
    bool inside = false;
    CGPoint a = outline.back();
    for (const CGPoint& b : outline) {
        if ((a.y > p.y) != (b.y > p.y) && p.x < a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y)) inside = !inside;
        a = b;
    }
    return inside;
}

/// The part of a pixel that lies inside, by 64 x 64 points.
double sampled(const Outline& outline, int x, int y)
{
    constexpr int points = 64;
    int count = 0;
    for (int i = 0; i < points; ++i)
        for (int j = 0; j < points; ++j) count += isInside(outline, {x + (i + 0.5) / points, y + (j + 0.5) / points}) ? 1 : 0;
    return static_cast<double>(count) / (points * points);
}

/// Small shapes and large ones are worked out in different ways.
struct Place {
    const char* what;
    double scale;
};
constexpr Place places[] = {{"small", 1}, {"large", 20}};

TEST(CoverageFiller, APixelHalfCoveredHasHalfTheCoverage)
{
    for (const auto& [what, width] : {std::pair{"small", 10.0}, std::pair{"large", 90.0}}) {
        SCOPED_TRACE(what);
        const Coverage coverage = coverageOf(rectangle(1.5, 2.25, width + 0.75, 4), {0, 0, 100, 8});
        EXPECT_EQ(coverage.at(1, 3), 128);                                // 0.5
        EXPECT_EQ(coverage.at(2, 3), 255);                                // 1
        EXPECT_EQ(coverage.at(2, 2), 191);                                // 0.75
        EXPECT_EQ(coverage.at(1, 2), 96);                                 // 0.375
        EXPECT_EQ(coverage.at(static_cast<int>(width), 3), 191);          // 0.75
        EXPECT_EQ(coverage.at(static_cast<int>(width), 2), 143);          // 0.5625
        EXPECT_EQ(coverage.at(0, 3), 0);
        EXPECT_EQ(coverage.at(static_cast<int>(width) + 1, 3), 0);
        EXPECT_EQ(coverage.at(5, 1), 0);
        EXPECT_EQ(coverage.at(5, 4), 0);
    }
}

TEST(CoverageFiller, ADiagonalCutsItsPixelsIntoTriangles)
{
    // From the top left corner down to the right: below the diagonal half of each pixel on it.
    const Coverage coverage = coverageOf({{0, 0}, {4, 4}, {0, 4}}, {0, 0, 4, 4});
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) {
            SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
            EXPECT_EQ(coverage.at(x, y), x < y ? 255 : x == y ? 128 : 0);
        }
    // A flat one crosses four pixels in a row: 1/8, 3/8, 5/8, 7/8 of them lie below.
    const Coverage flat = coverageOf({{0, 0}, {4, 1}, {0, 1}}, {0, 0, 4, 1});
    EXPECT_EQ(flat.at(0, 0), 223); // 7/8
    EXPECT_EQ(flat.at(1, 0), 159); // 5/8
    EXPECT_EQ(flat.at(2, 0), 96);  // 3/8
    EXPECT_EQ(flat.at(3, 0), 32);  // 1/8
}

TEST(CoverageFiller, TheCoverageOfACircleIsItsArea)
{
    for (const double radius : {2.0, 11.3, 31.0, 40.7, 300.2}) {
        SCOPED_TRACE(radius);
        constexpr int lines = 4096;
        const int side = static_cast<int>(2 * radius) + 4;
        const Coverage coverage = coverageOf(circle({radius + 1.37, radius + 1.91}, radius, lines), {0, 0, side, side});
        // Each pixel on the edge is rounded by at most half a level, to either side.
        const double edgePixels = 8 * radius + 8;
        EXPECT_NEAR(coverage.sum(), std::numbers::pi * radius * radius, 0.5 / 255 * edgePixels * 0.2 + 0.002 * radius);
    }
}

TEST(CoverageFiller, ARingIsTheOuterShapeWithoutTheInnerOne)
{
    for (const Place& place : places) {
        SCOPED_TRACE(place.what);
        const double s = place.scale;
        const int side = static_cast<int>(14 * s);
        CoverageFiller filler;
        filler.begin({0, 0, side, side});
        filler.add(rectangle(1 * s, 1 * s, 12 * s, 12 * s), CoverageFiller::Direction::forwards);
        filler.add(rectangle(3 * s, 3 * s + 0.5, 10 * s, 10 * s), CoverageFiller::Direction::backwards);
        const Coverage ring = stored(filler, {0, 0, side, side});
        const int middle = static_cast<int>(6 * s), inner = static_cast<int>(3 * s);
        EXPECT_EQ(ring.at(middle, middle), 0);
        EXPECT_EQ(ring.at(static_cast<int>(s), static_cast<int>(s)), 255);
        EXPECT_EQ(ring.at(middle, inner), 128);
        EXPECT_EQ(ring.at(middle, inner + 1), 0);
        EXPECT_EQ(ring.at(side - 1, middle), 0);
    }
}

TEST(CoverageFiller, AMirroredShapeCoversTheSame)
{
    Outline outline = turned(rectangle(4, 5, 30, 19), 21, {15, 12});
    const PixelRect area{0, 0, 40, 40};
    const Coverage forwards = coverageOf(outline, area);
    std::ranges::reverse(outline);
    EXPECT_EQ(coverageOf(outline, area).levels, forwards.levels);
}

TEST(CoverageFiller, CoversEachPixelByItsPart)
{
    EXPECT_TRUE(rc::check("as 64 x 64 points in each pixel tell", [] {
        const double width = *rc::gen::inRange(1, 160) / 4.0 * *rc::gen::element(1.0, 3.0),
                     height = *rc::gen::inRange(1, 160) / 4.0;
        const CGPoint at{*rc::gen::inRange(-80, 160) / 8.0, *rc::gen::inRange(-80, 160) / 8.0};
        const double degrees = *rc::gen::inRange(0, 360);
        const Outline outline = *rc::gen::arbitrary<bool>()
                                    ? turned(rectangle(at.x, at.y, at.x + width, at.y + height), degrees, {at.x + 5, at.y + 5})
                                    : turned({at, {at.x + width, at.y + 3}, {at.x + 2, at.y + height}}, degrees, at);
        const PixelRect area{0, 0, 48, 40};
        const Coverage coverage = coverageOf(outline, area);
        for (int y = 0; y < area.bottom; ++y)
            for (int x = 0; x < area.right; ++x) {
                const int level = coverage.at(x, y);
                // Of many pixels that lie wholly in or out, a few are enough.
                if ((level == 0 || level == 255) && (x * 7 + y * 3) % 5 != 0) continue;
                RC_ASSERT(std::abs(level / 255.0 - sampled(outline, x, y)) <= 0.02);
            }
    }));
}

TEST(CoverageFiller, AsksForPartsGiveTheSamePixels)
{
    EXPECT_TRUE(rc::check("whatever part is asked for", [] {
        const double size = *rc::gen::element(9.0, 40.0, 90.0, 400.0);
        const CGPoint at{*rc::gen::inRange(-300, 300) / 7.0, *rc::gen::inRange(-300, 300) / 7.0};
        const Outline outer = turned(rectangle(at.x, at.y, at.x + size, at.y + size * 0.6), *rc::gen::inRange(0, 90), at);
        const PixelRect area{-3, -5, 120, 90};
        CoverageFiller filler;
        filler.begin(area);
        filler.add(outer, CoverageFiller::Direction::forwards);
        const Coverage whole = stored(filler, area);
        const int left = *rc::gen::inRange(area.left, area.right), top = *rc::gen::inRange(area.top, area.bottom);
        const PixelRect part{left, top, *rc::gen::inRange(left + 1, area.right + 1), *rc::gen::inRange(top + 1, area.bottom + 1)};
        const Coverage again = stored(filler, part);
        for (int y = part.top; y < part.bottom; ++y)
            for (int x = part.left; x < part.right; ++x) RC_ASSERT(again.at(x, y) == whole.at(x, y));

        // The colour goes where the coverage is, and nowhere else.
        std::vector<std::uint8_t> pixels(std::size_t{4} * 123 * 95, 200);
        const RasterTarget target{pixels.data(), std::size_t{4} * 123, area};
        const PixelColor color{.blue = 10, .green = 20, .red = 30, .alpha = 255};
        filler.fill(target, part, color);
        for (int y = area.top; y < area.bottom; ++y)
            for (int x = area.left; x < area.right; ++x) {
                const bool isAsked = x >= part.left && x < part.right && y >= part.top && y < part.bottom;
                const double covered = isAsked ? whole.at(x, y) / 255.0 : 0;
                const std::uint8_t* pixel = target.at(x, y);
                RC_ASSERT(std::abs(pixel[0] - (200 + (10 - 200) * covered)) <= 1.01);
                RC_ASSERT(std::abs(pixel[2] - (200 + (30 - 200) * covered)) <= 1.01);
                if (covered == 0) RC_ASSERT(pixel[1] == 200);
            }
    }));
}

TEST(CoverageFiller, ShapesFarBeyondTheAreaCoverWhatTheyCover)
{
    const PixelRect area{0, 0, 20, 10};
    for (const double far : {100.0, 1e5, 1e9}) {
        SCOPED_TRACE(far);
        EXPECT_EQ(coverageOf(rectangle(-far, -far, far, far), area).sum(), 200);
        const Coverage right = coverageOf(rectangle(5.5, -far, far, far), area);
        EXPECT_EQ(right.at(4, 5), 0);
        EXPECT_EQ(right.at(5, 5), 128);
        EXPECT_EQ(right.at(19, 0), 255);
        EXPECT_EQ(coverageOf(rectangle(-far, -far, -1, far), area).sum(), 0);
        EXPECT_EQ(coverageOf(rectangle(20, -far, far, far), area).sum(), 0);
    }
}

TEST(CoverageFiller, AnOutlineWithNumbersThatAreNotFiniteAddsNothing)
{
    CoverageFiller filler;
    filler.begin({0, 0, 10, 10});
    EXPECT_FALSE(filler.add(Outline{{0, 0}, {NAN, 5}, {5, 5}}, CoverageFiller::Direction::forwards));
    EXPECT_FALSE(filler.add(Outline{{0, 0}, {INFINITY, 5}, {5, 5}}, CoverageFiller::Direction::forwards));
    EXPECT_EQ(stored(filler, {0, 0, 10, 10}).sum(), 0);
    EXPECT_TRUE(filler.add(rectangle(0, 0, 2, 2), CoverageFiller::Direction::forwards));
    EXPECT_EQ(stored(filler, {0, 0, 10, 10}).sum(), 4);
}

} // namespace
} // namespace larkspool
