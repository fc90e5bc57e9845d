#include "platform/raster_context.h"
#include "support/small_picture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>

namespace larkspool {
namespace {

constexpr int side = 48;

/// The stretch of a line at height `y` that lies within the box.
struct Stretch {
    double from = 0, to = 0;
};

Stretch stretchAt(const RoundedRect& box, double y)
{
    if (y <= box.rect.minY() || y >= box.rect.maxY()) return {};
    const double depth = std::min(y - box.rect.minY(), box.rect.maxY() - y);
    const double line = std::max(box.radius - depth, 0.0);
    const double inset = box.radius - std::sqrt(std::max(box.radius * box.radius - line * line, 0.0));
    return {box.rect.minX() + inset, box.rect.maxX() - inset};
}

/// The part of a pixel that a box covers, by many thin lines.
double coverage(const RoundedRect& box, int x, int y)
{
    constexpr int lines = 400;
    double sum = 0;
    for (int i = 0; i < lines; ++i) {
        const Stretch stretch = stretchAt(box, y + (i + 0.5) / lines);
        sum += std::max(std::min(stretch.to, x + 1.0) - std::max(stretch.from, static_cast<double>(x)), 0.0);
    }
    return sum / lines;
}

RoundedRect arbitraryBox()
{
    const auto tenth = [](int from, int to) { return *rc::gen::inRange(from * 16, to * 16) / 16.0; };
    const double width = *rc::gen::element(0.0625, 0.4, 1.0, 3.0, 12.5, 30.0, 47.3, 90.0),
                 height = *rc::gen::element(0.0625, 0.7, 1.0, 2.5, 17.0, 33.3, 200.0);
    const double radius = std::min(width, height) * 0.5 * *rc::gen::element(0.0, 0.1, 0.5, 0.9, 1.0);
    return {{{tenth(-20, 40), tenth(-20, 40)}, {width, height}}, radius};
}

TEST(BoxPainting, CoversEachPixelByItsExactPart)
{
    EXPECT_TRUE(rc::check("the alpha of a box is its area in each pixel", [] {
        const RoundedRect box = arbitraryBox();
        const PixelBuffer pixels =
            drawn(side, side, [&](RasterContext& context) { context.fillPath(Path::roundedRect(box), FillRule::winding); });
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                // A whole pixel needs no counting.
                const double exact = coverage(box, x, y) * 255;
                RC_ASSERT(std::abs(storedPixelAt(pixels, x, y).a - exact) <= 1.5);
            }
    }));
}

TEST(BoxPainting, ARingCoversWhatTheOuterBoxHasBeforeTheInner)
{
    EXPECT_TRUE(rc::check("the alpha of a ring is the difference of two areas", [] {
        const RoundedRect outer = arbitraryBox();
        const double width = *rc::gen::element(0.3, 1.0, 1.5, 6.0, 20.0);
        const RoundedRect inner{insetBy(outer.rect, width, width * 0.5), std::max(outer.radius - width, 0.0)};
        RC_PRE(inner.rect.size.width > 0 && inner.rect.size.height > 0 &&
               inner.radius <= std::min(inner.rect.size.width, inner.rect.size.height) * 0.5);
        Path ring = Path::roundedRect(outer);
        ring.add(Path::roundedRect(inner));
        const PixelBuffer pixels = drawn(side, side, [&](RasterContext& context) { context.fillPath(ring, FillRule::evenOdd); });
        // A corner of the inner box may reach out of the outer one; then other rules of rastering hold, which are coarser.
        const bool nested = inner.radius >= outer.radius - width * 0.5;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                const double exact = std::abs(coverage(outer, x, y) - coverage(inner, x, y)) * 255;
                RC_ASSERT(std::abs(storedPixelAt(pixels, x, y).a - exact) <= (nested ? 1.5 : 40));
            }
    }));
}

TEST(BoxPainting, AStrokeIsTheRingAroundItsOutline)
{
    EXPECT_TRUE(rc::check("the alpha of a stroke is the difference of two areas", [] {
        const RoundedRect box = arbitraryBox();
        const double half = *rc::gen::element(0.25, 0.5, 0.75, 2.0, 9.0);
        const RoundedRect outer{insetBy(box.rect, -half, -half), box.radius > 0 ? box.radius + half : 0};
        const RoundedRect inner{insetBy(box.rect, half, half), std::max(box.radius - half, 0.0)};
        const PixelBuffer pixels = drawn(side, side, [&](RasterContext& context) {
            context.setLineWidth(2 * half);
            context.strokePath(Path::roundedRect(box));
        });
        const bool hollow = inner.rect.size.width > 0 && inner.rect.size.height > 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                const double exact = (coverage(outer, x, y) - (hollow ? coverage(inner, x, y) : 0)) * 255;
                RC_ASSERT(std::abs(storedPixelAt(pixels, x, y).a - exact) <= 1.5);
            }
    }));
}

TEST(BoxPainting, AgreesWithThePaintingOfAnyOtherPath)
{
    EXPECT_TRUE(rc::check("a box and its outline look alike", [] {
        const RoundedRect box = arbitraryBox();
        const RasterColor color{0.2, 0.5, 0.9, *rc::gen::element(0.1, 0.5, 0.99, 1.0)};
        const double alpha = *rc::gen::element(0.3, 1.0);
        const int left = *rc::gen::inRange(-5, 20), top = *rc::gen::inRange(-5, 20), width = *rc::gen::inRange(1, 60);
        const auto drawnAs = [&](bool asBox) {
            return drawn(side, side, [&](RasterContext& context) {
                context.setFillColor({0.9, 0.95, 1, 1});
                context.fillRect({{0, 0}, {side, side}});
                context.clipToPath(
                    Path::rect({{static_cast<double>(left), static_cast<double>(top)}, {static_cast<double>(width), 30}}),
                    FillRule::winding);
                context.setAlpha(alpha);
                context.setFillColor(color);
                Path path = Path::roundedRect(box);
                if (!asBox) path.moveTo(box.rect.origin);
                context.fillPath(path, FillRule::winding);
            });
        };
        // The general way counts fifteen lines a pixel: it errs by a thirtieth along a level edge, twice where two edges meet.
        RC_ASSERT(greatestDifference(drawnAs(true), drawnAs(false)) <= 17);
    }));
}

TEST(BoxPainting, ATransparentColourIsCompositedWithRounding)
{
    for (const int width : {1, 3, 9, 40})
        for (int alpha = 0; alpha <= 255; alpha += 5) {
            SCOPED_TRACE(testing::Message() << "width " << width << ", alpha " << alpha);
            const PixelBuffer pixels = drawn(41, 1, [&](RasterContext& context) {
                context.setFillColor({200 / 255.0, 100 / 255.0, 50 / 255.0, 1});
                context.fillRect({{0, 0}, {41, 1}});
                context.setFillColor({0, 0, 1, alpha / 255.0});
                context.fillRect({{0, 0}, {width * 1.0, 1}});
            });
            const double rest = 1 - alpha / 255.0;
            for (const int x : {0, width / 2, width - 1}) {
                const StoredPixel pixel = storedPixelAt(pixels, x, 0);
                EXPECT_NEAR(pixel.r, 200 * rest, 0.5001);
                EXPECT_NEAR(pixel.g, 100 * rest, 0.5001);
                EXPECT_NEAR(pixel.b, alpha + 50 * rest, 0.5001);
                EXPECT_EQ(pixel.a, 255);
            }
            EXPECT_EQ(storedPixelAt(pixels, width, 0), (StoredPixel{.r = 200, .g = 100, .b = 50, .a = 255}));
        }
}

} // namespace
} // namespace larkspool
