#include "platform/raster/picture_painter.h"

#include "platform/raster/pixel_blend.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace larkspool {
namespace {

/// Premultiplied pixels of a raster or a picture.
struct Pixels {
    int width, height;
    std::vector<std::uint8_t> bytes;

    Pixels(int across, int down, std::uint8_t value = 0)
        : width(across), height(down), bytes(static_cast<std::size_t>(across) * static_cast<std::size_t>(down) * 4, value)
    {}

    std::uint8_t* at(int x, int y) { return bytes.data() + 4 * (static_cast<std::ptrdiff_t>(y) * width + x); }
    const std::uint8_t* at(int x, int y) const { return bytes.data() + 4 * (static_cast<std::ptrdiff_t>(y) * width + x); }
    RasterTarget target() { return {bytes.data(), static_cast<std::size_t>(width) * 4, {0, 0, width, height}}; }
    PictureSource source(bool isOpaque) const
    {
        return {bytes.data(), static_cast<std::size_t>(width) * 4, width, height, isOpaque};
    }

    void set(int x, int y, int blue, int green, int red, int alpha)
    {
        const int values[] = {blue, green, red, alpha};
        for (int i = 0; i < 4; ++i) at(x, y)[i] = static_cast<std::uint8_t>(values[i]);
    }
};

/// Opaque, each pixel of its own: blue tells the column, green the row.
Pixels numbered(int width, int height)
{
    Pixels picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) picture.set(x, y, 10 * x, 10 * y, 0, 255);
    return picture;
}

AffineTransform moved(double x, double y)
{
    return {1, 0, 0, 1, x, y};
}

TEST(PicturePainting, MovedByWholePixelsItIsCopied)
{
    const Pixels picture = numbered(5, 4);
    Pixels raster(12, 10, 200);
    paintPicture(raster.target(), {3, 2, 8, 6}, picture.source(/*isOpaque=*/true), moved(3, 2), 255, nullptr);
    for (int y = 0; y < raster.height; ++y)
        for (int x = 0; x < raster.width; ++x) {
            const bool isInside = x >= 3 && x < 8 && y >= 2 && y < 6;
            EXPECT_EQ(raster.at(x, y)[0], isInside ? 10 * (x - 3) : 200) << x << ", " << y;
            EXPECT_EQ(raster.at(x, y)[1], isInside ? 10 * (y - 2) : 200) << x << ", " << y;
        }
}

TEST(PicturePainting, MovedByPartOfAPixelNeighboursAreMixed)
{
    const Pixels picture = numbered(5, 4);
    Pixels raster(12, 10);
    // A quarter right and half down: a pixel is a quarter its left neighbour, half its upper one.
    paintPicture(raster.target(), {2, 2, 5, 5}, picture.source(true), moved(1.25, 1.5), 255, nullptr);
    EXPECT_NEAR(raster.at(2, 2)[0], 0.75 * 10 + 0.25 * 0, 1);
    EXPECT_NEAR(raster.at(2, 2)[1], 0.5 * 10 + 0.5 * 0, 1);
    EXPECT_NEAR(raster.at(4, 4)[0], 0.75 * 30 + 0.25 * 20, 1);
    EXPECT_NEAR(raster.at(4, 4)[1], 0.5 * 30 + 0.5 * 20, 1);
}

TEST(PicturePainting, BeyondItsEdgeTheOutermostPixelsGoOn)
{
    const Pixels picture = numbered(3, 3);
    for (const AffineTransform& m : {moved(4, 4), moved(4.5, 4.25), AffineTransform{1, 0.001, 0, 1, 4, 4}}) {
        Pixels raster(12, 12);
        paintPicture(raster.target(), {0, 0, 12, 12}, picture.source(true), m, 255, nullptr);
        EXPECT_EQ(raster.at(0, 0)[0], 0);
        EXPECT_EQ(raster.at(11, 11)[0], 20);
        EXPECT_EQ(raster.at(11, 11)[1], 20);
        EXPECT_EQ(raster.at(11, 0)[1], 0);
    }
}

TEST(PicturePainting, TwiceAsLargeItIsSmooth)
{
    const Pixels picture = numbered(4, 4);
    Pixels raster(8, 8);
    paintPicture(raster.target(), {0, 0, 8, 8}, picture.source(true), {2, 0, 0, 2, 0, 0}, 255, nullptr);
    // The centre of pixel x lies at x / 2 - 1/4 between the centres of the picture's pixels.
    for (int x = 1; x < 7; ++x) EXPECT_NEAR(raster.at(x, 3)[0], 10 * (x * 0.5 - 0.25), 1) << x;
}

TEST(PicturePainting, TurnedByARightAngleItsRowsBecomeColumns)
{
    const Pixels picture = numbered(4, 3);
    Pixels raster(3, 4);
    // Clockwise: the picture's (x, y) goes to (3 - y, x).
    paintPicture(raster.target(), {0, 0, 3, 4}, picture.source(true), {0, 1, -1, 0, 3, 0}, 255, nullptr);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 3; ++x) {
            EXPECT_EQ(raster.at(x, y)[0], 10 * y) << x << ", " << y;
            EXPECT_EQ(raster.at(x, y)[1], 10 * (2 - x)) << x << ", " << y;
        }
}

TEST(PicturePainting, LevelAndMaskMultiply)
{
    Pixels picture(1, 1);
    picture.set(0, 0, 255, 255, 255, 255);
    Pixels raster(3, 1);
    const std::uint8_t levels[] = {0, 128, 255};
    const CoverageMask mask{{0, 0, 3, 1}, levels};
    paintPicture(raster.target(), {0, 0, 3, 1}, picture.source(true), moved(0, 0), 128, &mask);
    EXPECT_EQ(raster.at(0, 0)[0], 0);
    EXPECT_EQ(raster.at(1, 0)[0], 64); // 255 * (128 / 255)^2 = 64.25
    EXPECT_EQ(raster.at(2, 0)[0], 128);
}

TEST(PicturePainting, WhatAPixelGetsDoesNotDependOnTheClip)
{
    EXPECT_TRUE(rc::check("whatever part is asked for", [] {
        Pixels picture = numbered(20, 17);
        for (int y = 0; y < 17; ++y) picture.set(y, y, 40, 30, 20, 100);
        const double scale = *rc::gen::element(1.0, 1.0, 0.97, 1.8), turn = *rc::gen::element(0.0, 0.0, 0.3);
        const AffineTransform m{scale * std::cos(turn), scale * std::sin(turn),           -scale * std::sin(turn),
                                scale * std::cos(turn), *rc::gen::inRange(-40, 40) / 8.0, *rc::gen::inRange(-40, 40) / 8.0};
        const auto level = static_cast<std::uint32_t>(*rc::gen::element(255, 91));
        Pixels whole(32, 30, 90), inParts(32, 30, 90);
        paintPicture(whole.target(), {0, 0, 32, 30}, picture.source(false), m, level, nullptr);
        const int x = *rc::gen::inRange(0, 33), y = *rc::gen::inRange(0, 31);
        for (const PixelRect& part :
             {PixelRect{0, 0, x, y}, PixelRect{x, 0, 32, y}, PixelRect{0, y, x, 30}, PixelRect{x, y, 32, 30}})
            paintPicture(inParts.target(), part, picture.source(false), m, level, nullptr);
        RC_ASSERT(whole.bytes == inParts.bytes);
    }));
}

TEST(PixelBlend, EveryWayOfBlendingGivesTheSame)
{
    EXPECT_TRUE(rc::check("as pixel for pixel by the formula", [] {
        const int count = *rc::gen::inRange(1, 150);
        const auto byte = [] { return static_cast<std::uint8_t>(*rc::gen::element(0, 1, 77, 128, 200, 254, 255)); };
        const std::uint8_t alpha = byte();
        const PixelColor color{.blue = static_cast<std::uint8_t>(alpha / 2), .green = alpha, .red = 0, .alpha = alpha};
        Pixels before(count, 1);
        std::vector<std::uint8_t> levels;
        for (std::uint8_t& value : before.bytes) value = static_cast<std::uint8_t>(*rc::gen::inRange(0, 256));
        for (int i = 0; i < count; ++i) levels.push_back(byte());

        const auto part = [](int value, int of255) { return (value * of255 + 127) / 255; };
        Pixels run = before, each = before;
        blendColorRun(run.bytes.data(), color, count);
        blendColor(each.bytes.data(), color, levels.data(), count);
        const std::uint8_t channels[] = {color.blue, color.green, color.red, color.alpha};
        for (int i = 0; i < count * 4; ++i) {
            const auto at = static_cast<std::size_t>(i);
            RC_ASSERT(run.bytes[at] == channels[i % 4] + part(before.bytes[at], 255 - color.alpha));
            const int level = levels[at / 4];
            RC_ASSERT(each.bytes[at] == part(channels[i % 4], level) + part(before.bytes[at], 255 - part(color.alpha, level)));
        }
    }));
}

TEST(PixelBlend, LightAddsUpToWhite)
{
    std::uint8_t pixel[] = {200, 100, 0, 255};
    const std::uint8_t light[] = {100, 100, 100, 0};
    blendPixels(pixel, light, 1);
    EXPECT_EQ(pixel[0], 255);
    EXPECT_EQ(pixel[1], 200);
    EXPECT_EQ(pixel[2], 100);
    EXPECT_EQ(pixel[3], 255);
}

TEST(PixelBlend, TheMeanOfManyIsRoundedEachTime)
{
    for (const int count : {2, 3, 7, 16, 17, 40}) {
        SCOPED_TRACE(count);
        std::vector<std::uint8_t> mean, value, expected;
        for (int a = 0; a < 256; a += 5)
            for (int b = 0; b < 256; b += 3) {
                mean.push_back(static_cast<std::uint8_t>(a));
                value.push_back(static_cast<std::uint8_t>(b));
                expected.push_back(static_cast<std::uint8_t>(std::floor((a * (count - 1.0) + b) / count + 0.5)));
            }
        blendMean(mean.data(), value.data(), static_cast<int>(mean.size()), count);
        EXPECT_EQ(mean, expected);
    }
}

} // namespace
} // namespace larkspool
