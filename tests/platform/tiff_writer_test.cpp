#include "platform/tiff_writer.h"

#include "platform/image_decoding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace larkspool {
namespace {

using Pixel = std::array<std::uint8_t, 4>; ///< Premultiplied BGRA.

TEST(TiffWriter, APictureReadsBackAsItWas)
{
    // Opaque, clear, half transparent: with these alphas premultiplying loses nothing.
    const std::array<std::array<Pixel, 3>, 2> colors = {
        {{Pixel{1, 2, 255, 255}, Pixel{0, 0, 0, 0}, Pixel{0, 51, 0, 51}},
         {Pixel{255, 255, 255, 255}, Pixel{0, 0, 0, 255}, Pixel{102, 0, 0, 102}}}};
    PixelBuffer picture(3, 2);
    for (int y = 0; y < 2; ++y)
        for (std::size_t x = 0; x < 3; ++x)
            std::copy(colors[static_cast<std::size_t>(y)][x].begin(), colors[static_cast<std::size_t>(y)][x].end(),
                      picture.row(y) + 4 * x);

    const ImageRef image = decodeImage(encodeTiff(picture));
    ASSERT_TRUE(image);
    ASSERT_EQ(image->width(), 3);
    ASSERT_EQ(image->height(), 2);
    for (int y = 0; y < 2; ++y)
        for (std::size_t x = 0; x < 3; ++x) {
            Pixel read;
            std::copy_n(image->pixels().row(y) + 4 * x, 4, read.begin());
            EXPECT_EQ(read, colors[static_cast<std::size_t>(y)][x]) << x << ", " << y;
        }
}

TEST(TiffWriter, TheHeaderNamesSizeAndPlaceOfThePixels)
{
    const std::vector<std::uint8_t> file = encodeTiff(PixelBuffer(3, 2));
    // Header 8, ten fields of 12 with their count 2 and the next directory 4, four bit depths of 2.
    constexpr std::size_t pixels = 8 + 2 + 10 * 12 + 4 + 4 * 2;
    EXPECT_EQ(file.size(), pixels + 3 * 2 * 4);
    EXPECT_EQ((std::vector<std::uint8_t>(file.begin(), file.begin() + 10)),
              (std::vector<std::uint8_t>{'I', 'I', 42, 0, 8, 0, 0, 0, 10, 0}));
}

} // namespace
} // namespace larkspool
