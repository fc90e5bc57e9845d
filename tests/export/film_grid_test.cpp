#include "export/film_grid.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(FilmGrid, HasChunksOfOneLengthThatCoverAllFrames)
{
    struct Case { std::int64_t frames, chunks, shortest, longest; };
    for (const Case& c : {Case{1, 1, 1, 1}, Case{2, 1, 2, 2}, Case{600, 1, 600, 600}, Case{601, 2, 300, 301}, Case{720, 2, 360, 360},
                          Case{1200, 2, 600, 600}, Case{1201, 3, 400, 401}, Case{1440, 3, 480, 480}, Case{2231, 4, 557, 558},
                          Case{10'368'000, 17'280, 600, 600}}) {
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
