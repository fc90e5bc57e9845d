#include "export/film_grid.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(FilmGrid, HasChunksOfOneLengthThatCoverAllFrames)
{
    struct Case { std::int64_t frames, chunks, shortest, longest; };
    for (const Case& c : {Case{1, 1, 1, 1}, Case{2, 1, 2, 2}, Case{250, 1, 250, 250}, Case{251, 2, 125, 126}, Case{300, 2, 150, 150},
                          Case{500, 2, 250, 250}, Case{501, 3, 167, 167}, Case{600, 3, 200, 200}, Case{931, 4, 232, 233},
                          Case{10'368'000, 41'472, 250, 250}}) {
        SCOPED_TRACE(c.frames);
        const FilmGrid grid(c.frames);
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
