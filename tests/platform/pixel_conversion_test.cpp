#include "platform/pixel_conversion.h"

#include "platform/pixel_buffer.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

/// A converted picture with a margin of untouched bytes after every row.
struct Converted {
    static constexpr std::uint8_t untouched = 77;
    static constexpr int margin = 5;

    explicit Converted(const PixelBuffer& picture, ConversionInstructions instructions = ConversionInstructions::best)
        : width(picture.width()), height(picture.height())
    {
        YUV420Planes target;
        for (std::size_t i = 0; i < 3; ++i) {
            const int shift = i == 0 ? 0 : 1;
            target.bytesPerRow[i] = static_cast<std::size_t>((width >> shift) + margin);
            planes[i].assign(target.bytesPerRow[i] * static_cast<std::size_t>(height >> shift), untouched);
            target.planes[i] = planes[i].data();
        }
        convertToYUV420(picture, target, instructions);
    }

    int at(std::size_t plane, int x, int y) const
    {
        const int columns = plane == 0 ? width : width / 2;
        return planes[plane][static_cast<std::size_t>(y * (columns + margin) + x)];
    }

    int width, height;
    std::vector<std::uint8_t> planes[3];
};

struct Exact {
    double y, cb, cr;
};

/// BT.709, limited range, in doubles and from the definition.
Exact exactly(double r, double g, double b)
{
    r /= 255, g /= 255, b /= 255;
    const double y = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    return {16 + 219 * y, 128 + 224 * (b - y) / 1.8556, 128 + 224 * (r - y) / 1.5748};
}

PixelBuffer randomPicture(int width, int height, unsigned seed)
{
    PixelBuffer picture(width, height);
    std::mt19937 random(seed);
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < width * 4; ++i) {
            // Extremes often: that is where a sum would overflow.
            const unsigned value = random();
            picture.row(y)[i] = static_cast<std::uint8_t>(value % 4 == 0 ? 255 : value % 4 == 1 ? 0 : value >> 8);
        }
    return picture;
}

void fill(PixelBuffer& picture, int b, int g, int r, int a)
{
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            std::uint8_t* pixel = picture.row(y) + x * 4;
            pixel[0] = static_cast<std::uint8_t>(b);
            pixel[1] = static_cast<std::uint8_t>(g);
            pixel[2] = static_cast<std::uint8_t>(r);
            pixel[3] = static_cast<std::uint8_t>(a);
        }
}

TEST(PixelConversion, KnownColoursHaveTheirBT709Values)
{
    // The 100 % colour bars of BT.709, 8 bits, as the recommendation's matrix gives them when rounded.
    struct Case {
        const char* colour;
        int b, g, r, y, cb, cr;
    };
    for (const Case& c :
         {Case{"black", 0, 0, 0, 16, 128, 128}, Case{"white", 255, 255, 255, 235, 128, 128}, Case{"red", 0, 0, 255, 63, 102, 240},
          Case{"green", 0, 255, 0, 173, 42, 26}, Case{"blue", 255, 0, 0, 32, 240, 118}, Case{"yellow", 0, 255, 255, 219, 16, 138},
          Case{"cyan", 255, 255, 0, 188, 154, 16}, Case{"magenta", 255, 0, 255, 78, 214, 230},
          Case{"middle grey", 128, 128, 128, 126, 128, 128}}) {
        SCOPED_TRACE(c.colour);
        PixelBuffer picture(36, 2);
        fill(picture, c.b, c.g, c.r, 255);
        const Converted converted(picture);
        for (const int x : {0, 31, 35}) EXPECT_EQ(converted.at(0, x, 1), c.y);
        for (const int x : {0, 15, 17}) {
            EXPECT_EQ(converted.at(1, x, 0), c.cb);
            EXPECT_EQ(converted.at(2, x, 0), c.cr);
        }
    }
}

TEST(PixelConversion, EverySampleIsTheExactValueRounded)
{
    const PixelBuffer picture = randomPicture(202, 64, 1);
    const Converted converted(picture);
    double worst = 0;
    for (int y = 0; y < picture.height(); y += 2)
        for (int x = 0; x < picture.width(); x += 2) {
            Exact mean{};
            for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
                const std::uint8_t* pixel = picture.row(y + dy) + (x + dx) * 4;
                const Exact exact = exactly(pixel[2], pixel[1], pixel[0]);
                worst = std::max(worst, std::abs(converted.at(0, x + dx, y + dy) - exact.y));
                mean.cb += exact.cb / 4;
                mean.cr += exact.cr / 4;
            }
            worst = std::max(
                {worst, std::abs(converted.at(1, x / 2, y / 2) - mean.cb), std::abs(converted.at(2, x / 2, y / 2) - mean.cr)});
        }
    EXPECT_LE(worst, 0.52); // Half a step of rounding, and what 15 bits leave of the weights.
}

TEST(PixelConversion, EveryGreyIsWithoutColour)
{
    PixelBuffer picture(512, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 512; ++x) std::fill_n(picture.row(y) + x * 4, 4, static_cast<std::uint8_t>(x / 2));
    const Converted converted(picture);
    for (int x = 0; x < 256; ++x) {
        ASSERT_EQ(converted.at(1, x, 0), 128) << x;
        ASSERT_EQ(converted.at(2, x, 0), 128) << x;
    }
}

TEST(PixelConversion, PremultipliedColoursStandOverBlackWhateverTheirAlpha)
{
    PixelBuffer opaque(64, 2), faint(64, 2);
    fill(opaque, 10, 60, 120, 255);
    fill(faint, 10, 60, 120, 120);
    for (std::size_t plane = 0; plane < 3; ++plane) EXPECT_EQ(Converted(opaque).planes[plane], Converted(faint).planes[plane]);
}

TEST(PixelConversion, AllInstructionsGiveTheSameBytesAndKeepWithinTheRows)
{
    for (const int width : {2, 4, 30, 32, 34, 62, 64, 66, 98, 1920}) {
        SCOPED_TRACE(width);
        const PixelBuffer picture = randomPicture(width, 6, static_cast<unsigned>(width));
        const Converted best(picture);
        const Converted portable(picture, ConversionInstructions::portable);
        for (std::size_t plane = 0; plane < 3; ++plane) {
            EXPECT_EQ(best.planes[plane], portable.planes[plane]);
            const int columns = plane == 0 ? width : width / 2;
            for (int y = 0; y < (plane == 0 ? 6 : 3); ++y)
                for (int i = 0; i < Converted::margin; ++i) EXPECT_EQ(best.at(plane, columns + i, y), Converted::untouched);
        }
    }
}

} // namespace
} // namespace larkspool
