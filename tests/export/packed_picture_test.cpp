#include "export/packed_picture.h"

#include <cstring>
#include <functional>
#include <random>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Rule = std::function<std::uint32_t(int x, int y)>;

PixelBuffer pictureOf(int width, int height, const Rule& rule)
{
    PixelBuffer picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const std::uint32_t pixel = rule(x, y);
            std::memcpy(picture.row(y) + 4 * x, &pixel, sizeof(pixel));
        }
    return picture;
}

bool areEqual(const PixelBuffer& first, const PixelBuffer& second)
{
    for (int y = 0; y < first.height(); ++y)
        if (std::memcmp(first.row(y), second.row(y), static_cast<std::size_t>(first.width()) * 4) != 0) return false;
    return true;
}

/// Every picture has the same pixels for a while, then goes on from the row above, or is noise, at random.
Rule mixture(unsigned seed)
{
    return [random = std::mt19937(seed), pixel = 0U](int, int) mutable {
        const unsigned choice = random() % 12;
        if (choice == 0) pixel = random();
        return choice == 1 ? static_cast<std::uint32_t>(random()) : pixel;
    };
}

TEST(PackedPicture, ComesOutAsItWentIn)
{
    struct Case { const char* what; Rule rule; };
    for (const Case& c : {Case{"one colour", [](int, int) { return 0xff2040e0U; }},
                          Case{"columns", [](int x, int) { return static_cast<std::uint32_t>(x * 77); }},
                          Case{"rows", [](int, int y) { return static_cast<std::uint32_t>(y * 77); }},
                          Case{"short pieces", [](int x, int y) { return static_cast<std::uint32_t>((x / 3 + y) % 2); }},
                          Case{"noise", [random = std::mt19937(1)](int, int) mutable { return static_cast<std::uint32_t>(random()); }},
                          Case{"a mixture", mixture(2)}, Case{"another", mixture(3)}}) {
        for (const auto& [width, height] : {std::pair{1, 1}, {3, 1}, {1, 5}, {4, 2}, {67, 31}, {640, 3}}) {
            SCOPED_TRACE(testing::Message() << c.what << ", " << width << " x " << height);
            const PixelBuffer picture = pictureOf(width, height, c.rule);
            PixelBuffer unpacked = pictureOf(width, height, [](int, int) { return 0x12345678U; });
            PackedPicture(picture).unpack(unpacked);
            EXPECT_TRUE(areEqual(unpacked, picture));
        }
    }
}

TEST(PackedPicture, IsSmallWhereThePictureIsPlainAndHardlyLargerWhereItIsNot)
{
    constexpr std::size_t bytes = std::size_t{640} * 360 * 4;
    EXPECT_LE(PackedPicture(pictureOf(640, 360, [](int, int) { return 5U; })).byteSize(), std::size_t{360 + 1} * 4);
    EXPECT_LE(PackedPicture(pictureOf(640, 360, [](int x, int) { return static_cast<std::uint32_t>(x); })).byteSize(),
              std::size_t{640 + 360} * 4);
    std::mt19937 random(7);
    EXPECT_LE(PackedPicture(pictureOf(640, 360, [&](int, int) { return static_cast<std::uint32_t>(random()); })).byteSize(),
              bytes + std::size_t{360} * 4);
    EXPECT_LE(PackedPicture(pictureOf(640, 360, mixture(4))).byteSize(), bytes * 5 / 4);
}

} // namespace
} // namespace larkspool
