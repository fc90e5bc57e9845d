#include "platform/image_scaling.h"

#include "support/small_picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <thread>

namespace larkspool {
namespace {

/// An opaque grey picture.
ImageRef greyPicture(int width, int height, const std::function<int(int, int)>& grey)
{
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::uint8_t* pixel = pixels.row(y) + 4 * x;
            pixel[0] = pixel[1] = pixel[2] = static_cast<std::uint8_t>(grey(x, y));
            pixel[3] = 255;
        }
    return makeImage(std::move(pixels));
}

CGRect wholeOf(const ImageRef& image)
{
    return {{0, 0}, image->size()};
}

std::vector<int> greysOf(const Image& image)
{
    std::vector<int> greys;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) greys.push_back(image.pixels().row(y)[4 * x + 1]);
    return greys;
}

TEST(MakeImage, IsOpaqueOnlyIfEveryPixelIs)
{
    PixelBuffer pixels(2, 2);
    for (int y = 0; y < 2; ++y) std::fill_n(pixels.row(y), 8, std::uint8_t{255});
    PixelBuffer oneClear(2, 2);
    for (int y = 0; y < 2; ++y) std::fill_n(oneClear.row(y), 8, std::uint8_t{255});
    oneClear.row(1)[7] = 254;
    EXPECT_TRUE(makeImage(std::move(pixels))->isOpaque());
    EXPECT_FALSE(makeImage(std::move(oneClear))->isOpaque());
}

TEST(AreaAveraged, IsTheMeanOfWhatEachPixelStandsFor)
{
    struct Case {
        const char* what;
        std::vector<int> row;
        int width;
        std::vector<int> expected;
    };
    // Three pixels to two: each takes one and a half. (2 * 0 + 90) / 3 = 30; (90 + 2 * 180) / 3 = 150.
    // Five to two: each takes two and a half. (10 + 20 + 15) / 2.5 = 18; (15 + 40 + 50) / 2.5 = 42.
    // Five to three: 5/3 each. (10 + 20 * 2/3) * 3/5 = 14; (20 / 3 + 30 + 40 / 3) * 3/5 = 30; (40 * 2/3 + 50) * 3/5 = 46.
    for (const Case& c : {Case{"two to one", {10, 20}, 1, {15}}, Case{"four to two", {0, 100, 50, 150}, 2, {50, 100}},
                          Case{"three to two", {0, 90, 180}, 2, {30, 150}}, Case{"five to two", {10, 20, 30, 40, 50}, 2, {18, 42}},
                          Case{"five to three", {10, 20, 30, 40, 50}, 3, {14, 30, 46}},
                          Case{"one to one", {7, 8, 9}, 3, {7, 8, 9}}, Case{"rounded to the nearest", {0, 0, 2}, 1, {1}}}) {
        SCOPED_TRACE(c.what);
        const int count = static_cast<int>(c.row.size());
        const ImageRef across = greyPicture(count, 1, [&](int x, int) { return c.row[static_cast<std::size_t>(x)]; });
        EXPECT_EQ(greysOf(areaAveraged(*across, wholeOf(across), c.width, 1)), c.expected);
        const ImageRef down = greyPicture(1, count, [&](int, int y) { return c.row[static_cast<std::size_t>(y)]; });
        EXPECT_EQ(greysOf(areaAveraged(*down, wholeOf(down), 1, c.width)), c.expected);
    }
}

TEST(AreaAveraged, AgreesWithTheAreasMeasuredOneByOne)
{
    const ImageRef image = greyPicture(23, 17, [](int x, int y) { return (x * 37 + y * 91 + x * y * 13) % 256; });
    const CGRect source{{2.25, 1.5}, {19.5, 14.75}};
    const int width = 7, height = 5;
    const std::vector<int> scaled = greysOf(areaAveraged(*image, source, width, height));
    const double stepX = source.size.width / width, stepY = source.size.height / height;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double sum = 0;
            for (int v = 0; v < 17; ++v)
                for (int u = 0; u < 23; ++u) {
                    const double left = source.minX() + stepX * x, top = source.minY() + stepY * y;
                    const double across = std::min(u + 1.0, left + stepX) - std::max(u * 1.0, left);
                    const double down = std::min(v + 1.0, top + stepY) - std::max(v * 1.0, top);
                    if (across > 0 && down > 0) sum += across * down * image->pixels().row(v)[4 * u];
                }
            EXPECT_NEAR(scaled[static_cast<std::size_t>(y * width + x)], sum / (stepX * stepY), 0.51) << x << ", " << y;
        }
}

TEST(AreaAveraged, ALineOfOnePixelLastsAtAQuarterOfItsStrength)
{
    for (int line = 0; line < 16; ++line) {
        const ImageRef image = greyPicture(16, 16, [&](int x, int) { return x == line ? 0 : 255; });
        const Image scaled = areaAveraged(*image, wholeOf(image), 4, 4);
        for (int x = 0; x < 4; ++x) {
            const int grey = scaled.pixels().row(2)[4 * x];
            if (x == line / 4)
                EXPECT_NEAR(grey, 191.25, 0.51) << line;
            else
                EXPECT_EQ(grey, 255) << line;
        }
    }
}

TEST(AreaAveraged, AFineCheckerboardIsFlatGrey)
{
    const ImageRef image = greyPicture(64, 64, [](int x, int y) { return (x + y) % 2 == 0 ? 255 : 0; });
    for (const int grey : greysOf(areaAveraged(*image, wholeOf(image), 16, 16))) EXPECT_NEAR(grey, 127.5, 0.51);
    // At an odd ratio a cell of 64 / 13 pixels holds about 24, of which half a pixel at most is one too many.
    for (const int grey : greysOf(areaAveraged(*image, wholeOf(image), 13, 13))) EXPECT_NEAR(grey, 127.5, 127.5 / 24);
}

TEST(AreaAveraged, ColoursAreAveragedByTheirAlpha)
{
    // Opaque red beside clear: half of red, nothing darker.
    PixelBuffer pixels(2, 1);
    pixels.row(0)[2] = pixels.row(0)[3] = 255;
    const Image scaled = areaAveraged(*makeImage(std::move(pixels)), {{0, 0}, {2, 1}}, 1, 1);
    EXPECT_EQ(storedPixelAt(scaled.pixels(), 0, 0), (StoredPixel{.r = 128, .g = 0, .b = 0, .a = 128}));
    EXPECT_FALSE(scaled.isOpaque());
}

TEST(AreaAveragedCached, GivesTheSamePictureAgainAndNotThatOfAnother)
{
    const ImageRef image = greyPicture(8, 8, [](int x, int) { return x * 30; });
    const ImageRef first = areaAveragedCached(image, wholeOf(image), 4, 4);
    EXPECT_EQ(areaAveragedCached(image, wholeOf(image), 4, 4), first);
    EXPECT_NE(areaAveragedCached(image, wholeOf(image), 2, 4), first);
    EXPECT_NE(areaAveragedCached(image, {{0, 0}, {4, 8}}, 4, 4), first);
    const ImageRef other = greyPicture(8, 8, [](int, int) { return 9; });
    EXPECT_EQ(greysOf(*areaAveragedCached(other, wholeOf(other), 4, 4)), std::vector<int>(16, 9));
    EXPECT_EQ(greysOf(*first), greysOf(areaAveraged(*image, wholeOf(image), 4, 4)));
}

TEST(AreaAveragedCached, APictureInThePlaceOfAnotherIsNotTakenForIt)
{
    // Pictures come and go, so that some take the address of one before.
    for (int grey = 0; grey < 200; ++grey) {
        const ImageRef image = greyPicture(8, 8, [grey](int, int) { return grey; });
        ASSERT_EQ(greysOf(*areaAveragedCached(image, wholeOf(image), 2, 2)), std::vector<int>(4, grey));
    }
}

TEST(AreaAveragedCached, ThreadsMayShareIt)
{
    const ImageRef image = greyPicture(64, 64, [](int x, int y) { return (x * y) % 256; });
    const std::vector<int> expected = greysOf(areaAveraged(*image, wholeOf(image), 9, 9));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 50; ++k) {
                EXPECT_EQ(greysOf(*areaAveragedCached(image, wholeOf(image), 9, 9)), expected);
                areaAveragedCached(image, wholeOf(image), 1 + k, 3);
            }
        });
    for (std::thread& thread : threads) thread.join();
}

} // namespace
} // namespace larkspool
