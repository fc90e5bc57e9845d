#include "export/film_grid.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(FilmGrid, HasChunksOfOneLengthThatCoverAllFrames)
{
    struct Case { std::int64_t frames; bool isBlurred; std::int64_t chunks, shortest, longest; };
    for (const Case& c :
         {Case{1, false, 1, 1, 1}, Case{2, false, 1, 2, 2}, Case{600, false, 1, 600, 600}, Case{601, false, 2, 300, 301},
          Case{1200, false, 2, 600, 600}, Case{1201, false, 3, 400, 401}, Case{10'368'000, false, 17'280, 600, 600},
          Case{250, true, 1, 250, 250}, Case{251, true, 2, 125, 126}, Case{600, true, 3, 200, 200}, Case{931, true, 4, 232, 233}}) {
        SCOPED_TRACE(testing::Message() << c.frames << (c.isBlurred ? " blurred" : ""));
        const FilmGrid grid(c.frames, c.isBlurred);
        EXPECT_EQ(grid.frames(), c.frames);
        ASSERT_EQ(grid.chunks(), c.chunks);
        EXPECT_EQ(grid.firstFrame(0), 0);
        EXPECT_EQ(grid.firstFrame(c.chunks), c.frames);
        for (std::int64_t chunk = 0; chunk < c.chunks; ++chunk) {
            const std::int64_t length = grid.firstFrame(chunk + 1) - grid.firstFrame(chunk);
            ASSERT_GE(length, c.shortest);
            ASSERT_LE(length, c.longest);
        }
    }
}

} // namespace
} // namespace larkspool
