#include "platform/raster_context.h"

#include "support/small_picture.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <numbers>

namespace larkspool {
namespace {

using Colour = StoredPixel;

ImageRef picture(int width, int height, const std::function<Colour(int, int)>& pixelAt)
{
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Colour c = pixelAt(x, y);
            std::uint8_t* p = pixels.row(y) + 4 * x;
            p[0] = static_cast<std::uint8_t>(c.b);
            p[1] = static_cast<std::uint8_t>(c.g);
            p[2] = static_cast<std::uint8_t>(c.r);
            p[3] = static_cast<std::uint8_t>(c.a);
        }
    return makeImage(std::move(pixels));
}

constexpr Colour redPixel{255, 0, 0, 255}, greenPixel{0, 255, 0, 255}, bluePixel{0, 0, 255, 255}, whitePixel{255, 255, 255, 255};

ImageRef solid(int width, int height, Colour color)
{
    return picture(width, height, [color](int, int) { return color; });
}

/// Every pixel has a colour of its own.
ImageRef manifold(int width, int height)
{
    return picture(width, height, [](int x, int y) { return Colour{(x * 53) % 256, (y * 71) % 256, (x * 7 + y * 31) % 256, 255}; });
}

/// Red and green above blue and white.
ImageRef quarters(int side)
{
    return picture(side, side, [side](int x, int y) {
        const bool right = 2 * x >= side, low = 2 * y >= side;
        return low ? (right ? whitePixel : bluePixel) : (right ? greenPixel : redPixel);
    });
}

CGRect wholeOf(const ImageRef& image)
{
    return {{0, 0}, image->size()};
}

TEST(DrawImage, AShiftByWholePixelsIsAnExactCopy)
{
    const ImageRef image = manifold(5, 4);
    const PixelBuffer pixels = drawn(9, 8, [&](RasterContext& context) {
        context.translateCTM(1, 2);
        context.drawImage(image, wholeOf(image), {{2, 1}, {5, 4}});
    });
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 9; ++x) {
            const bool within = x >= 3 && x < 8 && y >= 3 && y < 7;
            EXPECT_EQ(storedPixelAt(pixels, x, y), within ? storedPixelAt(image->pixels(), x - 3, y - 3) : Colour{}) << x << ", " << y;
        }
}

TEST(DrawImage, ACropStretchesItsPixelsAlone)
{
    const ImageRef image = quarters(4);
    const PixelBuffer pixels = drawn(4, 4, [&](RasterContext& context) { context.drawImage(image, {{2, 0}, {2, 2}}, {{0, 0}, {4, 4}}); });
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(storedPixelAt(pixels, x, y), greenPixel);
}

TEST(DrawImage, SmallerItIsTheMeanOfItsPixels)
{
    const ImageRef image = picture(8, 8, [](int x, int) { return x == 5 ? Colour{0, 0, 0, 255} : whitePixel; });
    const PixelBuffer pixels = drawn(2, 2, [&](RasterContext& context) {
        context.scaleCTM(0.25, 0.25);
        context.drawImage(image, wholeOf(image), {{0, 0}, {8, 8}});
    });
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), whitePixel);
    EXPECT_NEAR(storedPixelAt(pixels, 1, 1).r, 191, 1);
}

TEST(DrawImage, LargerItIsSmoothAndKeepsItsEdges)
{
    // Black and white, eight times as wide: the change is a ramp from centre to centre, and the ends stay as they are.
    const ImageRef image = picture(2, 1, [](int x, int) { return x == 0 ? Colour{0, 0, 0, 255} : whitePixel; });
    const PixelBuffer pixels = drawn(16, 4, [&](RasterContext& context) { context.drawImage(image, wholeOf(image), {{0, 0}, {16, 4}}); });
    for (int x = 0; x < 16; ++x) {
        const double centre = (x + 0.5) / 8 - 0.5; // In pixels of the picture, from the first's middle.
        EXPECT_NEAR(storedPixelAt(pixels, x, 1).r, std::clamp(centre, 0.0, 1.0) * 255, 3) << x;
        EXPECT_EQ(storedPixelAt(pixels, x, 0).a, 255);
        EXPECT_EQ(storedPixelAt(pixels, x, 3).a, 255);
    }
}

TEST(DrawImage, EdgesBetweenPixelsAreAntiAliased)
{
    const ImageRef image = solid(2, 2, redPixel);
    const PixelBuffer pixels = drawn(4, 3, [&](RasterContext& context) { context.drawImage(image, wholeOf(image), {{0.5, 0}, {3, 1.5}}); });
    EXPECT_EQ(alphaPicture(pixels), "5##5\n"
                                    "3553\n"
                                    "....\n");
}

TEST(DrawImage, TurnsWithTheTransform)
{
    const ImageRef image = quarters(8);
    const PixelBuffer pixels = drawn(8, 8, [&](RasterContext& context) {
        context.translateCTM(8, 0);
        context.concatCTM(AffineTransform().rotatedBy(std::numbers::pi / 2));
        context.drawImage(image, wholeOf(image), {{0, 0}, {8, 8}});
    });
    // Clockwise by a quarter: blue and red above white and green.
    EXPECT_EQ(storedPixelAt(pixels, 1, 1), bluePixel);
    EXPECT_EQ(storedPixelAt(pixels, 6, 1), redPixel);
    EXPECT_EQ(storedPixelAt(pixels, 1, 6), whitePixel);
    EXPECT_EQ(storedPixelAt(pixels, 6, 6), greenPixel);
}

TEST(DrawImage, AMirroredTransformMirrorsIt)
{
    const ImageRef image = quarters(8);
    const PixelBuffer pixels = drawn(8, 8, [&](RasterContext& context) {
        context.translateCTM(8, 0);
        context.scaleCTM(-1, 1);
        context.drawImage(image, wholeOf(image), {{0, 0}, {8, 8}});
    });
    EXPECT_EQ(storedPixelAt(pixels, 1, 1), greenPixel);
    EXPECT_EQ(storedPixelAt(pixels, 6, 6), bluePixel);
}

TEST(DrawImage, IsMultipliedByTheAlpha)
{
    const ImageRef image = solid(4, 4, redPixel), translucent = solid(4, 4, {128, 0, 0, 128});
    const PixelBuffer pixels = drawn(8, 4, [&](RasterContext& context) {
        context.setAlpha(0.5);
        context.drawImage(image, wholeOf(image), {{0, 0}, {4, 4}});
        context.drawImage(translucent, wholeOf(translucent), {{4, 0}, {4, 4}});
    });
    EXPECT_NEAR(storedPixelAt(pixels, 1, 1).a, 128, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 1, 1).r, 128, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 6, 1).a, 64, 1);
}

TEST(DrawImage, IsCutToTheClip)
{
    const ImageRef image = solid(4, 4, redPixel);
    const PixelBuffer pixels = drawn(4, 4, [&](RasterContext& context) {
        context.clipToPath(Path::rect({{1, 1}, {2, 1.5}}), FillRule::winding);
        context.drawImage(image, wholeOf(image), {{0, 0}, {4, 4}});
    });
    EXPECT_EQ(alphaPicture(pixels), "....\n"
                                    ".##.\n"
                                    ".55.\n"
                                    "....\n");
}

TEST(DrawImage, TheShadowHasTheShapeAndTheAlphaOfThePicture)
{
    // Opaque on the left, clear on the right, half in between; without blur the shadow is the same shape elsewhere.
    const ImageRef image = picture(6, 2, [](int x, int) { return x < 2 ? redPixel : x < 4 ? Colour{128, 0, 0, 128} : Colour{}; });
    const PixelBuffer pixels = drawn(8, 6, [&](RasterContext& context) {
        context.setShadow(RasterShadow{.offset = {1, 3}, .blur = 0, .color = {0, 0, 1, 1}});
        context.drawImage(image, wholeOf(image), {{0, 0}, {6, 2}});
    });
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), redPixel);
    EXPECT_EQ(storedPixelAt(pixels, 1, 3), bluePixel);
    EXPECT_EQ(storedPixelAt(pixels, 2, 4), bluePixel);
    EXPECT_NEAR(storedPixelAt(pixels, 3, 3).b, 128, 2);
    EXPECT_NEAR(storedPixelAt(pixels, 4, 4).a, 128, 2);
    EXPECT_EQ(storedPixelAt(pixels, 5, 3), Colour{});
    EXPECT_EQ(storedPixelAt(pixels, 0, 3), Colour{});
}

TEST(DrawImage, ColourWithoutAlphaAddsToWhatIsBelow)
{
    const ImageRef light = solid(4, 4, {100, 0, 40, 0});
    const PixelBuffer pixels = drawn(8, 4, [&](RasterContext& context) {
        context.setFillColor({200 / 255.0, 20 / 255.0, 0, 1});
        context.fillRect({{0, 0}, {8, 4}});
        context.drawImage(light, wholeOf(light), {{0, 0}, {4, 4}});
        context.setAlpha(0.5);
        context.drawImage(light, wholeOf(light), {{4, 0}, {4, 4}});
    });
    EXPECT_EQ(storedPixelAt(pixels, 1, 1), (Colour{255, 20, 40, 255}));
    EXPECT_NEAR(storedPixelAt(pixels, 6, 1).r, 250, 1);
    EXPECT_NEAR(storedPixelAt(pixels, 6, 1).b, 20, 1);
    EXPECT_EQ(storedPixelAt(pixels, 6, 1).a, 255);
}

TEST(DrawImage, WhatCannotBeToldPaintsNothing)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    const ImageRef image = solid(4, 4, redPixel);
    struct Case {
        const char* what;
        ImageRef image;
        CGRect source, destination;
    };
    const CGRect whole{{0, 0}, {4, 4}};
    for (const Case& c : {Case{"no picture", nullptr, whole, whole}, Case{"source without a number", image, {{nan, 0}, {4, 4}}, whole},
                          Case{"source without end", image, {{0, 0}, {infinity, 4}}, whole},
                          Case{"source of no width", image, {{0, 0}, {0, 4}}, whole},
                          Case{"source of a negative height", image, {{0, 4}, {4, -4}}, whole},
                          Case{"source beside the picture", image, {{4, 0}, {4, 4}}, whole},
                          Case{"source far away", image, {{1e300, 0}, {4, 4}}, whole},
                          Case{"source before the picture", image, {{-8, -8}, {8, 8}}, whole},
                          Case{"destination without a number", image, whole, {{0, nan}, {4, 4}}},
                          Case{"destination without end", image, whole, {{-infinity, 0}, {4, 4}}},
                          Case{"destination of no height", image, whole, {{0, 0}, {4, 0}}},
                          Case{"destination of a negative width", image, whole, {{4, 0}, {-4, 4}}},
                          Case{"destination far away", image, whole, {{1e300, 0}, {4, 4}}}}) {
        SCOPED_TRACE(c.what);
        for (const bool shadowed : {false, true}) {
            const PixelBuffer pixels = drawn(4, 4, [&](RasterContext& context) {
                if (shadowed) context.setShadow(RasterShadow{.offset = {1, 1}, .blur = 2, .color = {0, 0, 0, 1}});
                context.drawImage(c.image, c.source, c.destination);
            });
            EXPECT_EQ(alphaPicture(pixels), "....\n....\n....\n....\n");
        }
    }
}

TEST(DrawImage, TransformsThatCannotBeToldPaintNothing)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const ImageRef image = solid(4, 4, redPixel);
    for (const AffineTransform& m : {AffineTransform{.a = nan}, AffineTransform{.a = 0, .d = 0}, AffineTransform{.a = 1, .b = 1, .c = 1, .d = 1},
                                     AffineTransform{.tx = 1e300}}) {
        const PixelBuffer pixels = drawn(4, 4, [&](RasterContext& context) {
            context.concatCTM(m);
            context.drawImage(image, wholeOf(image), {{0, 0}, {4, 4}});
        });
        EXPECT_EQ(alphaPicture(pixels), "....\n....\n....\n....\n");
    }
}

TEST(DrawImage, AHugeRectangleShowsThePartThatLiesInTheRaster)
{
    // The raster lies wholly within the first quarter.
    const ImageRef image = quarters(4);
    const PixelBuffer pixels = drawn(4, 4, [&](RasterContext& context) { context.drawImage(image, wholeOf(image), {{-100, -100}, {20000, 20000}}); });
    for (const int x : {0, 3}) EXPECT_EQ(storedPixelAt(pixels, x, x), redPixel);
}

TEST(DrawImage, ASourceThatReachesBeyondThePictureIsHeldWithinIt)
{
    const ImageRef image = quarters(4);
    const PixelBuffer pixels = drawn(2, 2, [&](RasterContext& context) { context.drawImage(image, {{2, 2}, {10, 10}}, {{0, 0}, {2, 2}}); });
    EXPECT_EQ(storedPixelAt(pixels, 0, 0), whitePixel);
    EXPECT_EQ(storedPixelAt(pixels, 1, 1), whitePixel);
}

} // namespace
} // namespace larkspool
