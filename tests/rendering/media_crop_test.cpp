#include "rendering/media_crop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace larkspool {
namespace {

ImageRef picture(int width, int height, const std::function<std::uint32_t(int x, int y)>& pixel,
                 Image::Alpha alpha = Image::Alpha::opaque)
{
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) reinterpret_cast<std::uint32_t*>(pixels.row(y))[x] = pixel(x, y);
    return std::make_shared<const Image>(std::move(pixels), alpha);
}

constexpr std::uint32_t black = 0xff000000, white = 0xffffffff;

/// A box of one colour on a ground of another.
ImageRef boxOn(std::uint32_t ground, std::uint32_t colour, CGSize size, const CGRect& box)
{
    return picture(static_cast<int>(size.width), static_cast<int>(size.height), [&](int x, int y) {
        return x >= box.minX() && x < box.maxX() && y >= box.minY() && y < box.maxY() ? colour : ground;
    });
}

std::uint32_t pixelOf(const ImageRef& image, int x, int y)
{
    return reinterpret_cast<const std::uint32_t*>(image->pixels().row(y))[x];
}

TEST(ManualCrop, TurnsFractionsIntoPixels)
{
    constexpr CGSize size{200, 100};
    struct Case {
        const char* when;
        CGRect fractions, pixels;
    };
    for (const Case& c : {Case{"the whole", {{0, 0}, {1, 1}}, {{0, 0}, {200, 100}}},
                          Case{"a part", {{0.25, 0.5}, {0.5, 0.25}}, {{50, 50}, {100, 25}}},
                          Case{"no width", {{0.5, 0.5}, {0, 0}}, {{100, 50}, {1, 1}}},
                          Case{"a negative size", {{0.5, 0.5}, {-1, -1}}, {{100, 50}, {1, 1}}},
                          Case{"beyond the far sides", {{2, 2}, {0.5, 0.5}}, {{199, 99}, {100, 50}}},
                          Case{"before the near sides", {{-1, -1}, {0.5, 0.5}}, {{0, 0}, {100, 50}}}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(manualCropRect(c.fractions, size), c.pixels);
    }
}

TEST(ManualCrop, OfNoWidthStillShowsOnePixel)
{
    const CGRect crop = manualCropRect({{1, 0.999}, {0, 0}}, {200, 100});
    EXPECT_EQ(croppedPixels(crop, {200, 100}), (CGRect{{199, 99}, {1, 1}}));
}

TEST(CroppedPixels, AreWholeAndWithinThePicture)
{
    constexpr CGSize size{200, 100};
    struct Case {
        const char* when;
        CGRect rect;
        std::optional<CGRect> pixels;
    };
    for (const Case& c : {Case{"whole already", {{10, 20}, {30, 40}}, CGRect{{10, 20}, {30, 40}}},
                          Case{"widened", {{10.2, 20.9}, {30, 40}}, CGRect{{10, 20}, {31, 41}}},
                          Case{"held within", {{150, 90}, {100, 100}}, CGRect{{150, 90}, {50, 10}}},
                          Case{"outside", {{300, 0}, {10, 10}}, std::nullopt}, Case{"no area", {{10, 10}, {0, 10}}, std::nullopt},
                          Case{"numbers that are none", {{NAN, 0}, {10, 10}}, std::nullopt},
                          Case{"a width that is none", {{0, 0}, {NAN, 10}}, CGRect{{0, 0}, {200, 10}}},
                          Case{"endless", {{0, 0}, {INFINITY, INFINITY}}, CGRect{{0, 0}, {200, 100}}}}) {
        SCOPED_TRACE(c.when);
        const std::optional<CGRect> pixels = croppedPixels(c.rect, size);
        if (std::isnan(c.rect.size.width)) {
            EXPECT_TRUE(!pixels || pixels->maxX() <= size.width);
            continue;
        }
        EXPECT_EQ(pixels, c.pixels);
    }
}

TEST(WindowDetection, FindsTheWindowOnBlackAndOnWhite)
{
    constexpr CGRect window{{20, 10}, {60, 40}};
    EXPECT_EQ(detectWindowBBox(*boxOn(black, white, {120, 80}, window)), window);
    EXPECT_EQ(detectWindowBBox(*boxOn(white, black, {120, 80}, window)), window);
}

TEST(WindowDetection, FindsNothingOnPlainGround)
{
    EXPECT_EQ(detectWindowBBox(*boxOn(black, black, {120, 80}, {})), std::nullopt);
    EXPECT_EQ(detectWindowBBox(*boxOn(white, white, {120, 80}, {})), std::nullopt);
    EXPECT_EQ(detectWindowBBox(*boxOn(black, 0xff505050, {120, 80}, {{9, 9}, {9, 9}})), std::nullopt) << "80 is not above 80";
    EXPECT_TRUE(detectWindowBBox(*boxOn(black, 0xff510000, {120, 80}, {{9, 9}, {9, 9}}))) << "one colour of 81";
    EXPECT_EQ(detectWindowBBox(*boxOn(white, 0xffafafaf, {120, 80}, {{9, 9}, {9, 9}})), std::nullopt) << "175 is not below 175";
    EXPECT_TRUE(detectWindowBBox(*boxOn(white, 0xffffaeff, {120, 80}, {{9, 9}, {9, 9}}))) << "one colour of 174";
    EXPECT_TRUE(detectWindowBBox(*boxOn(black, 0xff404040, {120, 80}, {{9, 9}, {9, 9}}), 60)) << "a lower threshold";
}

TEST(WindowDetection, TellsDarkFromLightByTheFourCorners)
{
    // Two corners of 255 and two of 1 add up to 512, which is light; the same with one of 0 is dark.
    const auto corners = [](std::uint32_t last) {
        return picture(40, 40, [=](int x, int y) -> std::uint32_t {
            if (x == 0 && (y == 0 || y == 39)) return white;
            if (x == 39 && y == 0) return 0xff010101;
            if (x == 39 && y == 39) return last;
            return 0xffb0b0b0; // 176: content on dark ground alone.
        });
    };
    EXPECT_EQ(detectWindowBBox(*corners(0xff010101)), (CGRect{{39, 0}, {1, 40}})) << "light: the dark corners are content";
    EXPECT_EQ(detectWindowBBox(*corners(0xff000000)), (CGRect{{0, 0}, {40, 40}})) << "dark: all the grey is content";
}

TEST(WindowDetection, WorksOnACoarserGridOfLargePictures)
{
    // The smaller side is 1024 = 4 * 256, so that samples are 4 pixels wide.
    EXPECT_EQ(detectWindowBBox(*boxOn(black, white, {1200, 1024}, {{100, 200}, {600, 400}})), (CGRect{{100, 200}, {600, 400}}));
    EXPECT_EQ(detectWindowBBox(*boxOn(black, white, {1200, 1024}, {{102, 201}, {600, 400}})), (CGRect{{100, 200}, {604, 400}}))
        << "samples that the window covers by half and by three quarters are content, by a quarter not";
    EXPECT_EQ(detectWindowBBox(*boxOn(black, white, {300, 255}, {{101, 33}, {7, 9}})), (CGRect{{101, 33}, {7, 9}}))
        << "every pixel below 256";
    EXPECT_EQ(detectWindowBBox(*boxOn(black, white, {1, 1}, {{0, 0}, {1, 1}})), std::nullopt) << "one pixel is all corners";
}

TEST(BlackKey, CropsAnExportToTheInsetBox)
{
    EXPECT_EQ(blackKeyCropRect({{10, 20}, {100, 50}}, 5, 10), (CGRect{{15, 30}, {90, 30}}));
    EXPECT_EQ(blackKeyCropRect({{10, 20}, {100, 50}}, 60, 30), (CGRect{{70, 50}, {1, 1}})) << "never below a pixel";
    EXPECT_EQ(blackKeyCropRect({{10, 20}, {100, 50}}, -5, -5), (CGRect{{5, 15}, {110, 60}}));
}

TEST(BlackKey, MasksByTheInsetBoxAndARadiusThatFits)
{
    EXPECT_EQ(blackKeyMask({{10, 20}, {100, 50}}, 5, 10, 8), (BlackKeyMask{{{15, 30}, {90, 30}}, 8}));
    EXPECT_EQ(blackKeyMask({{10, 20}, {100, 50}}, 5, 10, 80), (BlackKeyMask{{{15, 30}, {90, 30}}, 15}));
    EXPECT_EQ(blackKeyMask({{10, 20}, {100, 50}}, 5, 10, -3), (BlackKeyMask{{{15, 30}, {90, 30}}, 0}));
    EXPECT_EQ(blackKeyMask({{10, 20}, {100, 50}}, 50, 0, 0), std::nullopt);
    EXPECT_EQ(blackKeyMask({{10, 20}, {100, 50}}, 0, 25, 0), std::nullopt);
}

TEST(BlackKey, CutsThePictureAndItsCorners)
{
    const ImageRef image = boxOn(black, 0xff204060, {60, 40}, {{10, 10}, {40, 20}});
    const CGRect box{{10, 10}, {40, 20}};
    EXPECT_EQ(blackKeyMasked(image, std::nullopt, 0, 0, 5), image) << "without a box";
    EXPECT_EQ(blackKeyMasked(image, box, 20, 0, 5), image) << "nothing left";
    EXPECT_EQ(blackKeyMasked(image, CGRect{{100, 100}, {5, 5}}, 0, 0, 0), nullptr) << "beside the picture";
    EXPECT_EQ(blackKeyMasked(nullptr, box, 0, 0, 0), nullptr);

    const ImageRef square = blackKeyMasked(image, box, 0, 0, 0);
    EXPECT_EQ(square->size(), (CGSize{40, 20}));
    EXPECT_TRUE(square->isOpaque());
    EXPECT_EQ(pixelOf(square, 0, 0), 0xff204060u);
    EXPECT_EQ(pixelOf(square, 39, 19), 0xff204060u);

    const ImageRef round = blackKeyMasked(image, box, 1, 2, 8);
    EXPECT_EQ(round->size(), (CGSize{38, 16}));
    EXPECT_FALSE(round->isOpaque());
    EXPECT_EQ(pixelOf(round, 0, 0), 0u) << "a corner";
    EXPECT_EQ(pixelOf(round, 37, 15), 0u);
    EXPECT_EQ(pixelOf(round, 19, 0), 0xff204060u) << "the middle of a side";
    EXPECT_EQ(pixelOf(round, 19, 8), 0xff204060u);
    // The corner's circle has its centre at (8, 8): it passes through pixel (2, 2), whose middle is 7.78 away from it.
    const std::uint32_t edge = pixelOf(round, 2, 2);
    EXPECT_GT(edge >> 24, 0x60u);
    EXPECT_LT(edge >> 24, 0xffu);
    EXPECT_NEAR(static_cast<double>(edge & 0xff), 0x60 * (edge >> 24) / 255.0, 1) << "premultiplied";
}

} // namespace
} // namespace larkspool
