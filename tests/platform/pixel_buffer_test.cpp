#include "platform/pixel_buffer.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(PixelBuffer, SizesArePossibleBySideAndByArea)
{
    struct Case { std::int64_t width, height; bool possible; };
    for (const Case& c : {Case{1, 1, true}, Case{32767, 1, true}, Case{32768, 1, false}, Case{1, 32768, false}, Case{16384, 16384, true},
                          Case{16384, 16385, false}, Case{32767, 32767, false}, Case{0, 5, false}, Case{5, -1, false},
                          Case{std::int64_t{1} << 62, 4, false}})
        EXPECT_EQ(PixelBuffer::isPossible(c.width, c.height), c.possible) << c.width << " x " << c.height;
}

TEST(PixelBuffer, AnImpossibleSizeIsRefusedByName)
{
    try {
        const PixelBuffer pixels(32767, 32767);
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "a raster of 32767 x 32767 pixels cannot be made");
    }
}

} // namespace
} // namespace larkspool
