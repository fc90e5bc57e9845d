#include "platform/png_writer.h"

#include "foundation/uuid.h"
#include "support/film_probe.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace larkspool {

namespace {

std::uint32_t bigEndian(const std::vector<std::uint8_t>& file, std::size_t offset)
{
    return std::uint32_t{file[offset]} << 24 | std::uint32_t{file[offset + 1]} << 16 | std::uint32_t{file[offset + 2]} << 8 |
           file[offset + 3];
}

void setPixel(PixelBuffer& picture, int x, int y, std::array<std::uint8_t, 4> bgra)
{
    std::ranges::copy(bgra, picture.row(y) + 4 * x);
}

} // namespace

TEST(PngWriter, SaysTheSizeAndEightBitsWithAlphaInTheHeader)
{
    const std::vector<std::uint8_t> file = encodePng(PixelBuffer(5, 3));
    const std::vector<std::uint8_t> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    ASSERT_GT(file.size(), 33u);
    EXPECT_TRUE(std::equal(signature.begin(), signature.end(), file.begin()));
    EXPECT_EQ(bigEndian(file, 16), 5u);
    EXPECT_EQ(bigEndian(file, 20), 3u);
    EXPECT_EQ(file[24], 8);  // Bits a channel.
    EXPECT_EQ(file[25], 6);  // Red, green, blue and alpha.
}

TEST(PngWriter, WritesStraightColoursInTheOrderOfTheRows)
{
    PixelBuffer picture(2, 2);
    setPixel(picture, 0, 0, {10, 20, 30, 255});
    setPixel(picture, 1, 0, {0, 0, 255, 255});
    setPixel(picture, 0, 1, {64, 0, 0, 128}); // Half of a blue of 127.5.
    const std::filesystem::path path = std::filesystem::temp_directory_path() / ("larkspool-" + UUID::random().string() + ".png");
    const std::vector<std::uint8_t> file = encodePng(picture);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));

    const std::vector<PixelBuffer> read = decodedFrames(path.string());
    std::filesystem::remove(path);
    ASSERT_EQ(read.size(), 1u);
    const auto color = [&](int x, int y) {
        const std::uint8_t* pixel = read[0].row(y) + 4 * x;
        return std::array<int, 3>{pixel[0], pixel[1], pixel[2]};
    };
    EXPECT_EQ(color(0, 0), (std::array<int, 3>{10, 20, 30}));
    EXPECT_EQ(color(1, 0), (std::array<int, 3>{0, 0, 255}));
    EXPECT_NEAR(color(0, 1)[0], 128, 1);
}

} // namespace larkspool
