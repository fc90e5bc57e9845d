#include "platform/raster_context.h"

#include "support/small_picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <thread>

namespace larkspool {
namespace {

constexpr RasterColor black{0, 0, 0, 1}, green{0, 1, 0, 1};

std::shared_ptr<const TextLayout> laidOut(std::string text, double fontSize = 24)
{
    return layOutText({.text = std::move(text), .fontName = "Inter", .fontSize = fontSize});
}

PixelBuffer drawnText(const std::string& text, CGPoint origin, double fontSize = 24, const std::vector<TextRange>& clear = {})
{
    return drawn(200, 80, [&](RasterContext& context) { context.drawText(*laidOut(text, fontSize), origin, black, clear); });
}

/// How much ink there is, in pixels, and where its middle lies.
struct Mass {
    double total = 0;
    CGPoint centre;
};

Mass massOf(const PixelBuffer& picture)
{
    Mass mass;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double alpha = storedPixelAt(picture, x, y).a / 255.0;
            mass.total += alpha;
            mass.centre.x += alpha * (x + 0.5);
            mass.centre.y += alpha * (y + 0.5);
        }
    }
    mass.centre.x /= mass.total;
    mass.centre.y /= mass.total;
    return mass;
}

TEST(TextDrawing, PutsAnUprightBarWhereItsOutlineIs)
{
    // Inter's bar is 920 units of 2816 wide. At this size a unit is a hundredth of a pixel: 9.2 wide, its ink in the middle.
    const auto bar = laidOut("|", 28.16);
    const PixelBuffer picture = drawn(20, 40, [&](RasterContext& context) { context.drawText(*bar, {3, 2}, black); });
    const Mass mass = massOf(picture);
    EXPECT_NEAR(mass.centre.x, 3 + 4.6, 0.07);
    EXPECT_NEAR(mass.centre.y, 2 + bar->ink.midY(), 0.07);
    EXPECT_NEAR(mass.total, bar->ink.size.width * bar->ink.size.height, 0.02 * mass.total);
}

TEST(TextDrawing, GlidesByPartsOfAPixel)
{
    const Mass start = massOf(drawnText("o", {20, 20}));
    for (const double step : {0.25, 0.1, 1.0 / 3}) {
        for (int i = 1; i < 9; ++i) {
            const double by = step * i;
            const CGPoint across = massOf(drawnText("o", {20 + by, 20})).centre,
                          down = massOf(drawnText("o", {20, 20 + by})).centre;
            EXPECT_NEAR(across.x - start.centre.x, by, 0.13) << by;
            EXPECT_NEAR(across.y, start.centre.y, 0.01) << by;
            EXPECT_NEAR(down.y - start.centre.y, by, 0.13) << by;
            EXPECT_NEAR(down.x, start.centre.x, 0.01) << by;
        }
    }
}

TEST(TextDrawing, HasTheSameInkHoweverItStands)
{
    // Upright text, turned text and very large text are painted in three ways.
    const double ink = massOf(drawnText("Rag", {20, 20})).total;
    struct Case {
        const char* what;
        AffineTransform transform;
        double ink;
    };
    for (const Case& c :
         {Case{"turned by a right angle", {0, 1, -1, 0, 70, 5}, ink}, Case{"upside down", {-1, 0, 0, -1, 120, 70}, ink},
          Case{"mirrored", {-1, 0, 0, 1, 120, 20}, ink}, Case{"turned", {0.8, 0.6, -0.6, 0.8, 60, 10}, ink},
          Case{"sheared", {1, 0, 0.5, 1, 20, 20}, ink}, Case{"twice as large", {2, 0, 0, 2, 5, 5}, 4 * ink},
          Case{"twice as wide", {2, 0, 0, 1, 5, 20}, 2 * ink}}) {
        SCOPED_TRACE(c.what);
        const PixelBuffer picture = drawn(200, 80, [&](RasterContext& context) {
            context.concatCTM(c.transform);
            context.drawText(*laidOut("Rag"), {0, 0}, black);
        });
        EXPECT_NEAR(massOf(picture).total, c.ink, 0.02 * c.ink);
    }
}

TEST(TextDrawing, OfGreatSizeMeetsTheSameOutline)
{
    const auto massAt = [](double size) {
        return massOf(drawn(400, 400, [&](RasterContext& context) { context.drawText(*laidOut("R", size), {10, 10}, black); }));
    };
    const Mass mask = massAt(256), path = massAt(256.5); // The larger is filled as a path.
    EXPECT_NEAR(path.total, mask.total * (256.5 / 256) * (256.5 / 256), mask.total * 0.002);
    EXPECT_NEAR(path.centre.x, mask.centre.x, 0.5);
    EXPECT_NEAR(path.centre.y, mask.centre.y, 0.5);
}

TEST(TextDrawing, DoesNotDependOnWhatWasDrawnBefore)
{
    const auto picture = [] { return pixelHash(drawnText("Same pixels \U0001F600", {10.3, 20.7}, 18)); };
    const std::uint64_t before = picture();
    for (int size = 150; size < 250; size += 2) // More masks than are kept.
        for (int i = 0; i < 16; ++i) drawnText("MW@", {i * 0.125 - 100, i * 0.375 - 100}, size);
    EXPECT_EQ(picture(), before);
    std::uint64_t elsewhere = 0;
    std::thread([&] { elsewhere = picture(); }).join();
    EXPECT_EQ(elsewhere, before);
}

TEST(TextDrawing, LeavesOutClearCharactersAndMovesNoOther)
{
    const PixelBuffer whole = drawnText("ABC", {10, 10}), rest = drawnText("ABC", {10, 10}, 24, {{1, 2}});
    const PixelBuffer middle = drawnText("ABC", {10, 10}, 24, {{0, 1}, {2, 3}}), none = drawnText("ABC", {10, 10}, 24, {{0, 3}});
    EXPECT_EQ(massOf(none).total, 0);
    EXPECT_GT(massOf(middle).total, 10);
    // The letters do not touch: what is left out and what is left make the whole.
    for (int y = 0; y < whole.height(); ++y)
        for (int x = 0; x < whole.width(); ++x)
            ASSERT_EQ(storedPixelAt(rest, x, y).a + storedPixelAt(middle, x, y).a, storedPixelAt(whole, x, y).a)
                << x << ", " << y;
}

TEST(TextDrawing, BlendsTheColourOnceWithItsAlpha)
{
    const PixelBuffer picture = drawn(80, 80, [&](RasterContext& context) {
        context.setAlpha(0.5);
        context.drawText(*laidOut("MMM", 40), {-10, 10}, {1, 0, 0, 0.8});
    });
    int greatest = 0;
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 80; ++x) {
            const StoredPixel pixel = storedPixelAt(picture, x, y);
            EXPECT_EQ(pixel.r, pixel.a);
            EXPECT_EQ(pixel.g + pixel.b, 0);
            greatest = std::max(greatest, pixel.a);
        }
    EXPECT_EQ(greatest, 102); // 0.8 * 0.5 * 255
}

TEST(TextDrawing, IsClipped)
{
    const PixelBuffer whole = drawnText("Clipped", {10, 10});
    const PixelBuffer boxed = drawn(200, 80, [&](RasterContext& context) {
        context.clipToPath(Path::rect({{30, 0}, {20, 80}}), FillRule::winding);
        context.drawText(*laidOut("Clipped"), {10, 10}, black);
    });
    const PixelBuffer rounded = drawn(200, 80, [&](RasterContext& context) {
        context.clipToPath(Path::ellipse({{20, -60}, {40, 200}}), FillRule::winding);
        context.drawText(*laidOut("Clipped"), {10, 10}, black);
    });
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 200; ++x) {
            const int alpha = storedPixelAt(whole, x, y).a;
            ASSERT_EQ(storedPixelAt(boxed, x, y).a, x >= 30 && x < 50 ? alpha : 0);
            if (x < 20 || x >= 60) {
                ASSERT_EQ(storedPixelAt(rounded, x, y).a, 0);
            }
            if (x >= 35 && x < 45) {
                ASSERT_NEAR(storedPixelAt(rounded, x, y).a, alpha, 1);
            }
        }
}

TEST(TextDrawing, CastsTheShadowOfItsGlyphs)
{
    const PixelBuffer alone = drawnText("Shadow", {10, 5});
    const PixelBuffer picture = drawn(200, 80, [&](RasterContext& context) {
        context.setShadow(RasterShadow{{0, 40}, 0, green});
        context.drawText(*laidOut("Shadow"), {10, 5}, black);
    });
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 200; ++x) {
            const int alpha = storedPixelAt(alone, x, y).a;
            ASSERT_NEAR(storedPixelAt(picture, x, y).a, alpha, 1);
            const StoredPixel shadow = storedPixelAt(picture, x, y + 40);
            ASSERT_NEAR(shadow.a, alpha, 1);
            ASSERT_EQ(shadow.g, shadow.a);
        }
}

TEST(TextDrawing, ShowsEmojiInTheirColoursWithTheAlphaOfTheText)
{
    const auto yellow = [](double alpha) {
        const auto face = laidOut("\U0001F600", 40);
        const PixelBuffer picture =
            drawn(60, 60, [&](RasterContext& context) { context.drawText(*face, {5, 5}, {0, 0, 1, alpha}); });
        return storedPixelAt(picture, 5 + static_cast<int>(face->ink.midX()),
                             5 + static_cast<int>(face->ink.minY()) + 5); // The forehead.
    };
    const StoredPixel full = yellow(1), half = yellow(0.5);
    EXPECT_EQ(full.a, 255);
    EXPECT_GT(full.r, 200);
    EXPECT_GT(full.g, 120);
    EXPECT_LT(full.b, 120);
    EXPECT_NEAR(half.a, 128, 1);
    EXPECT_NEAR(half.r, full.r / 2, 2);
    EXPECT_NEAR(half.g, full.g / 2, 2);
}

TEST(TextDrawing, ScalesEmojiSmoothlyAndLetsThemGlide)
{
    const auto middle = [](double x) {
        return massOf(
                   drawn(60, 60, [&](RasterContext& context) { context.drawText(*laidOut("\U0001F600", 24), {x, 10}, black); }))
            .centre.x;
    };
    for (int i = 1; i < 8; ++i) EXPECT_NEAR(middle(10 + i * 0.25) - middle(10), i * 0.25, 0.125);
}

TEST(TextDrawing, PaintsNothingThatCannotBeTold)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<std::function<void(RasterContext&)>> draws{
        [](RasterContext& context) { context.drawText(*laidOut("n"), {nan, 0}, black); },
        [](RasterContext& context) { context.drawText(*laidOut("n"), {1e300, 0}, black); },
        [](RasterContext& context) { context.drawText(*laidOut("n", 1e300), {0, 0}, black); },
        [](RasterContext& context) { context.drawText(*laidOut(""), {0, 0}, black); },
        [](RasterContext& context) { context.drawText(*laidOut("n"), {0, 0}, {0, 0, 0, 0}); },
        [](RasterContext& context) {
            context.concatCTM({nan, 0, 0, 1, 0, 0});
            context.drawText(*laidOut("n"), {0, 0}, black);
        }};
    for (const auto& draw : draws) EXPECT_EQ(pixelHash(drawn(20, 20, draw)), pixelHash(PixelBuffer(20, 20)));
}

TEST(TextDrawing, OfAnySizeLeavesTheContextUsable)
{
    for (const double size : {1e-300, 1e-160, 1e-5, 1e5, 1e8, 1e155, 1e300}) {
        SCOPED_TRACE(size);
        const PixelBuffer picture = drawn(20, 20, [&](RasterContext& context) {
            const auto text = laidOut("\U0001F600n", size);
            for (const double scale : {1.0, 1e-5, 1e5}) {
                SavedState saved(context);
                context.concatCTM({scale, 0, scale / 2, scale, 0, 0});
                context.drawText(*text, {0, -text->lines[0].start.y}, black);
            }
            context.setFillColor(green);
            context.fillPath(Path::ellipse({{-100, -100}, {300, 300}}), FillRule::winding);
        });
        EXPECT_EQ(storedPixelAt(picture, 10, 10), (StoredPixel{.r = 0, .g = 255, .b = 0, .a = 255}));
    }
}

TEST(TextDrawing, ShowsPartOfALetterOfAnySize)
{
    // The stem of an enormous letter covers the picture.
    for (const double size : {1e3, 1e5, 1e7}) {
        const auto bar = laidOut("|", size);
        const CGPoint middle{-bar->ink.midX() + 10, -bar->ink.midY() + 10};
        const PixelBuffer picture = drawn(20, 20, [&](RasterContext& context) { context.drawText(*bar, middle, black); });
        EXPECT_EQ(massOf(picture).total, 400) << size;
    }
}

TEST(TextDrawing, DrawsOnlyLinesThatAreSeen)
{
    // Lines far outside change nothing in the ones within.
    std::string text;
    for (int i = 0; i < 2000; ++i) text += "line " + std::to_string(i) + "\n";
    const auto layout = layOutText({.text = text, .fontName = "Inter", .fontSize = 20});
    const double top = layout->lines[1000].top;
    const PixelBuffer seen = drawn(120, 20, [&](RasterContext& context) { context.drawText(*layout, {0, -top}, black); });
    EXPECT_GT(massOf(seen).total, 50);
}

} // namespace
} // namespace larkspool
