#include "app/progress_bar.h"

#include <gtest/gtest.h>

namespace larkspool {

TEST(ProgressLine, ShowsThePartTheRateAndTheTimeLeft)
{
    struct Case {
        const char* when;
        FilmProgress progress;
        const char* line;
    };
    const Case cases[] = {
        {"nothing yet", {0, 300, 0}, "[....................]   0%  0/300"},
        {"half way", {150, 300, 3}, "[##########..........]  50%  150/300  50.0 frames/s  3 s left"},
        {"one frame short of whole", {299, 300, 10}, "[###################.]  99%  299/300  29.9 frames/s  1 s left"},
        {"whole", {300, 300, 10}, "[####################] 100%  300/300  30.0 frames/s  0 s left"},
        {"over a minute", {60, 1310, 6}, "[....................]   4%  60/1310  10.0 frames/s  2:05 left"},
        {"over an hour", {1, 3610, 1}, "[....................]   0%  1/3610  1.0 frames/s  1:00:09 left"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(progressLine(c.progress), c.line);
    }
}

TEST(ProgressLine, FitsANarrowTerminal)
{
    EXPECT_LT(progressLine({10'000'000, 10'368'000, 999'999}).size(), 80u);
}

TEST(ProgressBar, CountsFramesAndTheirTotalAndSaysNothingWhereNoPersonWatches)
{
    std::string said;
    const Terminal terminal{.out = {}, .error = [&](std::string_view text) { said += text; }};
    ProgressBar bar(terminal);
    bar.frameWritten(1.0 / 30);
    bar.frameWritten(2.0 / 30);
    EXPECT_EQ(bar.progress().frames, 2);
    EXPECT_EQ(bar.progress().totalFrames, 30);
    EXPECT_EQ(said, "");
}

TEST(ProgressBar, GrowsInOneLineAndTakesItselfAway)
{
    std::string said;
    const Terminal terminal{.out = {}, .error = [&](std::string_view text) { said += text; }, .showsProgress = true};
    {
        ProgressBar bar(terminal);
        bar.frameWritten(0.5);
        EXPECT_EQ(said.front(), '\r');
        EXPECT_NE(said.find(" 50%  1/2"), std::string::npos);
    }
    EXPECT_EQ(said.back(), '\r');
    EXPECT_EQ(said.find('\n'), std::string::npos);
    const std::size_t shown = said.find('\r', 1) - 1;
    EXPECT_EQ(said.substr(1 + shown), "\r" + std::string(shown, ' ') + "\r");
}

} // namespace larkspool
