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
    using Sound = FilmProgress::Sound;
    const Case cases[] = {
        {"nothing yet", {0, 300, 0, 0}, "[....................]   0%  0/300"},
        {"half way", {150, 300, 3, 0.5}, "[##########..........]  50%  150/300  50.0 frames/s  3 s left"},
        {"one frame short of whole", {299, 300, 10, 299.0 / 300}, "[###################.]  99%  299/300  29.9 frames/s  1 s left"},
        {"whole", {300, 300, 10, 1}, "[####################] 100%  300/300  30.0 frames/s  0 s left"},
        {"over a minute", {60, 1310, 6, 60.0 / 1310}, "[....................]   4%  60/1310  10.0 frames/s  2:05 left"},
        {"over an hour", {1, 3610, 1, 1.0 / 3610}, "[....................]   0%  1/3610  1.0 frames/s  1:00:09 left"},
        {"half way to the sound", {150, 300, 3, 0.44}, "[########............]  44%  150/300  50.0 frames/s  3 s left"},
        {"sound begins", {300, 300, 6, 0.88, Sound{0, 0}}, "[#################...]  88%  300/300  adding sound"},
        {"sound half way", {300, 300, 8, 0.94, Sound{0.5, 2}}, "[##################..]  94%  300/300  adding sound  2 s left"},
        {"sound done", {300, 300, 10, 1, Sound{1, 4}}, "[####################] 100%  300/300  adding sound  0 s left"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(progressLine(c.progress), c.line);
    }
}

TEST(ProgressLine, FitsANarrowTerminal)
{
    EXPECT_LT(progressLine({10'000'000, 10'368'000, 999'999, 0.85}).size(), 80u);
    EXPECT_LT(progressLine({10'368'000, 10'368'000, 999'999, 0.881, FilmProgress::Sound{0.001, 9999}}).size(), 80u);
}

TEST(ProgressBar, CountsFramesAndTheirTotalAndSaysNothingWhereNoPersonWatches)
{
    std::string said;
    const Terminal terminal{.out = {}, .error = [&](std::string_view text) { said += text; }};
    ProgressBar bar(terminal, ProgressBar::Stages::frames);
    bar.advance(1.0 / 30);
    bar.advance(2.0 / 30);
    EXPECT_EQ(bar.progress().frames, 2);
    EXPECT_EQ(bar.progress().totalFrames, 30);
    EXPECT_EQ(bar.progress().part, 2.0 / 30);
    EXPECT_FALSE(bar.progress().sound);
    EXPECT_EQ(said, "");
}

TEST(ProgressBar, TellsTheFramesOfAFilmFromTheSoundBehindThem)
{
    const Terminal terminal{.out = {}, .error = {}};
    for (const int frames : {1, 2, 7, 300}) {
        SCOPED_TRACE(frames);
        ProgressBar bar(terminal, ProgressBar::Stages::framesThenSound);
        for (int i = 1; i <= frames; ++i) {
            bar.advance(static_cast<double>(i) / frames * 0.88);
            EXPECT_EQ(bar.progress().frames, i);
            EXPECT_EQ(bar.progress().totalFrames, frames);
            EXPECT_FALSE(bar.progress().sound);
        }
        for (const double part : {0.0, 0.5, 1.0}) {
            bar.advance(0.88 + part * 0.12);
            EXPECT_EQ(bar.progress().frames, frames);
            EXPECT_EQ(bar.progress().totalFrames, frames);
            ASSERT_TRUE(bar.progress().sound);
            EXPECT_NEAR(bar.progress().sound->part, part, 1e-9);
        }
    }
}

TEST(ProgressBar, ShowsAtOnceThatSoundHasBegun)
{
    std::string said;
    const Terminal terminal{.out = {}, .error = [&](std::string_view text) { said += text; }, .showsProgress = true};
    ProgressBar bar(terminal, ProgressBar::Stages::framesThenSound);
    bar.advance(0.44);
    bar.advance(0.88);
    EXPECT_EQ(said.find("sound"), std::string::npos);
    bar.advance(0.88);
    EXPECT_NE(said.find(" 88%  2/2  adding sound"), std::string::npos) << said;
}

TEST(ProgressBar, GrowsInOneLineAndTakesItselfAway)
{
    std::string said;
    const Terminal terminal{.out = {}, .error = [&](std::string_view text) { said += text; }, .showsProgress = true};
    {
        ProgressBar bar(terminal, ProgressBar::Stages::frames);
        bar.advance(0.5);
        EXPECT_EQ(said.front(), '\r');
        EXPECT_NE(said.find(" 50%  1/2"), std::string::npos);
    }
    EXPECT_EQ(said.back(), '\r');
    EXPECT_EQ(said.find('\n'), std::string::npos);
    const std::size_t shown = said.find('\r', 1) - 1;
    EXPECT_EQ(said.substr(1 + shown), "\r" + std::string(shown, ' ') + "\r");
}

} // namespace larkspool
