#include "rendering/retained/damage_region.h"
#include "rendering/retained/node_bitmaps.h"
#include "rendering/retained/outline.h"

#include "rendering/rendering_fixture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

namespace larkspool {
namespace {

/// A square that counts how often it was painted.
class CountedSquare final : public NodeDrawing {
public:
    CountedSquare(double side, int& count, int look = 0) : side_(side), count_(count), look_(look) {}

    void draw(RasterContext& context) const override
    {
        ++count_;
        context.setFillColor({1, 0, 0, 1});
        context.fillRect({{0, 0}, {side_, side_}});
    }
    CGRect deviceBounds(const AffineTransform& toDevice) const override { return toDevice.apply(CGRect{{0, 0}, {side_, side_}}); }
    bool movesByItself() const override { return false; }
    bool equals(const NodeDrawing& other) const override
    {
        const auto* square = dynamic_cast<const CountedSquare*>(&other);
        return square && square->side_ == side_ && square->look_ == look_;
    }

private:
    double side_;
    int& count_;
    int look_;
};

constexpr PixelRect raster{0, 0, 100, 80};

AffineTransform moved(double x, double y)
{
    return {1, 0, 0, 1, x, y};
}

class NodeBitmapsTest : public testing::Test {
protected:
    NodeBitmaps::Placed bitmap(const AffineTransform& m, double side = 10, int look = 0)
    {
        return bitmaps.bitmap(std::make_shared<const CountedSquare>(side, count, look), m, raster);
    }

    int count = 0;
    NodeBitmaps bitmaps{1 << 20};
};

TEST_F(NodeBitmapsTest, WhatMovesByWholePixelsIsPaintedOnce)
{
    const NodeBitmaps::Placed first = bitmap(moved(3.25, 4.5));
    const NodeBitmaps::Placed second = bitmap(moved(20.25, 60.5));
    EXPECT_EQ(count, 1);
    EXPECT_EQ(first.bitmap, second.bitmap);
    EXPECT_EQ(second.x - first.x, 17);
    EXPECT_EQ(second.y - first.y, 56);
}

TEST_F(NodeBitmapsTest, AnotherPartOfAPixelScaleTurnOrLookIsPaintedAnew)
{
    bitmap(moved(3, 4));
    bitmap(moved(3.5, 4));
    bitmap({1.01, 0, 0, 1.01, 3, 4});
    bitmap({1, 0.01, -0.01, 1, 3, 4});
    bitmap(moved(3, 4), /*side=*/11);
    bitmap(moved(3, 4), /*side=*/10, /*look=*/1);
    EXPECT_EQ(count, 6);
    bitmap(moved(3, 4));
    bitmap(moved(3.5, 4));
    EXPECT_EQ(count, 6);
}

TEST_F(NodeBitmapsTest, ItsPixelsStandWhereTheDrawingDoes)
{
    const NodeBitmaps::Placed placed = bitmap(moved(-7, 12));
    EXPECT_EQ(placed.bitmap->area.left + placed.x, -7);
    EXPECT_EQ(placed.bitmap->area.top + placed.y, 12);
    EXPECT_EQ(placed.bitmap->pixels.width(), 10);
    EXPECT_EQ(pixelAt(placed.bitmap->pixels, 9, 9), redPixel);
}

TEST_F(NodeBitmapsTest, BytesAreBoundedAndTheLeastRecentlyUsedGoes)
{
    NodeBitmaps few(40000); // Squares of 40 take 40 rows of 192 bytes, and a little: five fit.
    const auto ask = [&](int look) { few.bitmap(std::make_shared<const CountedSquare>(40, count, look), moved(0, 0), raster); };
    for (int look = 0; look < 5; ++look) ask(look);
    EXPECT_EQ(count, 5);
    EXPECT_LE(few.bytes(), 40000u);
    ask(0); // Used again.
    ask(5); // One must go, and that is 1.
    EXPECT_EQ(count, 6);
    EXPECT_LE(few.bytes(), 40000u);
    ask(0);
    EXPECT_EQ(count, 6);
    ask(1);
    EXPECT_EQ(count, 7);
}

TEST_F(NodeBitmapsTest, OneThatIsTooLargeToKeepIsStillGiven)
{
    NodeBitmaps none(0);
    const NodeBitmaps::Placed placed = none.bitmap(std::make_shared<const CountedSquare>(10, count), moved(0, 0), raster);
    ASSERT_TRUE(placed.bitmap);
    EXPECT_EQ(pixelAt(placed.bitmap->pixels, 5, 5), redPixel);
    EXPECT_EQ(none.bytes(), 0u);
}

TEST_F(NodeBitmapsTest, OfAHugeDrawingOnlyWhatTheRasterShowsIsPainted)
{
    const NodeBitmaps::Placed placed = bitmap({1e5, 0, 0, 1e5, -5e5, -5e5});
    ASSERT_TRUE(placed.bitmap);
    EXPECT_EQ(placed.bitmap->pixels.width(), 100);
    EXPECT_EQ(placed.bitmap->pixels.height(), 80);
    EXPECT_EQ(pixelAt(placed.bitmap->pixels, 99, 79), redPixel);
}

TEST_F(NodeBitmapsTest, WhatLiesOutsideOrNowhereHasNone)
{
    EXPECT_FALSE(bitmap(moved(100, 0)).bitmap);
    EXPECT_FALSE(bitmap(moved(0, -10)).bitmap);
    EXPECT_FALSE(bitmap(moved(1e300, 0)).bitmap);
    EXPECT_FALSE(bitmap(moved(NAN, 0)).bitmap);
    EXPECT_EQ(count, 0);
}

TEST_F(NodeBitmapsTest, MemoryThatIsUsedAgainIsClear)
{
    NodeBitmaps none(0);
    for (const double at : {0.0, 0.5}) {
        const NodeBitmaps::Placed placed =
            none.bitmap(std::make_shared<const CountedSquare>(10.5 - at, count), moved(at, 0), raster);
        ASSERT_EQ(placed.bitmap->pixels.width(), 11);
        EXPECT_NEAR(pixelAt(placed.bitmap->pixels, at > 0 ? 0 : 10, 3).a, 128, 1);
    }
}

TEST(DamageRegion, HoldsWhatWasAddedInRectanglesThatShareNothing)
{
    EXPECT_TRUE(rc::check("every pixel that was added", [] {
        const int width = *rc::gen::inRange(1, 5000), height = *rc::gen::inRange(1, 300);
        DamageRegion region;
        region.reset(width, height);
        RC_ASSERT(region.empty());
        std::vector<PixelRect> added;
        for (int i = *rc::gen::inRange(0, 12); i > 0; --i) {
            const int left = *rc::gen::inRange(-50, width + 50), top = *rc::gen::inRange(-50, height + 50);
            added.push_back({left, top, left + *rc::gen::inRange(0, 300), top + *rc::gen::inRange(0, 100)});
            region.add(added.back());
        }
        std::vector<PixelRect> rects;
        region.appendTo(rects);
        for (std::size_t i = 0; i < rects.size(); ++i) {
            RC_ASSERT(!rects[i].empty());
            RC_ASSERT(intersectionOf(rects[i], {0, 0, width, height}) == rects[i]);
            for (std::size_t j = 0; j < i; ++j) RC_ASSERT(intersectionOf(rects[i], rects[j]).empty());
        }
        for (const PixelRect& rect : added) {
            const PixelRect seen = intersectionOf(rect, {0, 0, width, height});
            if (seen.empty()) continue;
            long long held = 0;
            for (const PixelRect& each : rects) {
                const PixelRect shared = intersectionOf(each, seen);
                if (!shared.empty()) held += static_cast<long long>(shared.width()) * shared.height();
            }
            RC_ASSERT(held == static_cast<long long>(seen.width()) * seen.height());
        }
    }));
}

TEST(DamageRegion, ASmallChangeStaysSmall)
{
    DamageRegion region;
    region.reset(1920, 1080);
    region.add({100, 100, 122, 135});
    std::vector<PixelRect> rects;
    region.appendTo(rects);
    ASSERT_EQ(rects.size(), 1u);
    EXPECT_EQ(rects[0], (PixelRect{96, 96, 128, 160}));
}

double areaOf(const std::vector<CGPoint>& points)
{
    double sum = 0;
    CGPoint a = points.back();
    for (const CGPoint& b : points) {
        sum += a.x * b.y - b.x * a.y;
        a = b;
    }
    return std::abs(sum) / 2;
}

TEST(NodeOutline, LinesHoldTheAreaOfTheCurves)
{
    constexpr double pi = std::numbers::pi;
    std::vector<CGPoint> points;
    for (const double scale : {0.5, 1.0, 12.0}) {
        SCOPED_TRACE(scale);
        const AffineTransform m = AffineTransform().translatedBy(3, 4).rotatedBy(0.4).scaledBy(scale, scale);
        flatten({.rect = {{1, 2}, {40, 30}}, .isEllipse = true}, m, points);
        EXPECT_NEAR(areaOf(points) / (scale * scale), pi * 20 * 15, pi * 20 * 15 * 0.001 + 0.05 * 110 / scale);
        flatten({.rect = {{1, 2}, {40, 30}}, .radius = 10}, m, points);
        EXPECT_NEAR(areaOf(points) / (scale * scale), 40 * 30 - (4 - pi) * 100, 0.05 * 63 / scale + 0.3);
        flatten({.rect = {{1, 2}, {40, 30}}}, m, points);
        EXPECT_NEAR(areaOf(points) / (scale * scale), 40 * 30, 1e-6);
    }
}

TEST(NodeOutline, AnOutlineBesideAnEllipseIsEverywhereAsFar)
{
    std::vector<CGPoint> points;
    flatten({.rect = {{-50, -10}, {100, 20}}, .isEllipse = true, .offset = 6}, {}, points);
    for (const CGPoint& p : points) {
        double nearest = INFINITY;
        for (int i = 0; i < 20000; ++i) {
            const double angle = 2 * std::numbers::pi * i / 20000;
            nearest = std::min(nearest, std::hypot(p.x - 50 * std::cos(angle), p.y - 10 * std::sin(angle)));
        }
        EXPECT_NEAR(nearest, 6, 0.15);
    }
}

TEST(NodeOutline, BoundsHoldTheWholeOutline)
{
    EXPECT_TRUE(rc::check("every point", [] {
        const auto number = [](int from, int to) { return *rc::gen::inRange(from * 4, to * 4) / 4.0; };
        NodeOutline outline{.rect = {{number(-9, 9), number(-9, 9)}, {number(1, 90), number(1, 90)}}};
        outline.isEllipse = *rc::gen::arbitrary<bool>();
        outline.offset = outline.isEllipse ? number(0, 9) : 0;
        if (!outline.isEllipse) outline.radius = std::min(outline.rect.size.width, outline.rect.size.height) * number(0, 2) / 4;
        const AffineTransform m =
            AffineTransform().translatedBy(number(-9, 9), 4).rotatedBy(number(0, 6)).scaledBy(number(1, 3), number(1, 3));
        std::vector<CGPoint> points;
        flatten(outline, m, points);
        const CGRect bounds = insetBy(deviceBounds(outline, m), -1e-9, -1e-9);
        for (const CGPoint& p : points)
            RC_ASSERT(p.x >= bounds.minX() && p.x <= bounds.maxX() && p.y >= bounds.minY() && p.y <= bounds.maxY());
    }));
}

} // namespace
} // namespace larkspool
