#include "rendering/canvas_videos.h"

#include "support/hand_run_loop.h"
#include "support/test_media.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

/// A film of four seconds whose pictures tell their numbers, 30 a second, and a canvas that shows it.
class CanvasVideosTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder_ = std::make_unique<TemporaryFolder>();
        makeMedia(film(), countingSource(120) + " -c:v libx264 -pix_fmt yuv420p -g 15");
    }
    static void TearDownTestSuite() { folder_.reset(); }
    static std::string film() { return folder_->path("film.mp4"); }

    /// The number of the picture that the layer shows in one painting, or -1.
    int painted(double sourceTime, bool scenePlaying = false, double now = 0)
    {
        videos_->beginPainting(scenePlaying, now);
        const int number = toldNumber(videos_->picture(layer_, film(), sourceTime));
        videos_->endPainting();
        return number;
    }

    /// Turns the loop until so many pictures have come.
    void waitFor(int pictures)
    {
        ASSERT_TRUE(loop_.turnUntil([&] { return arrived_ >= pictures; }));
    }

    HandRunLoop loop_;
    int arrived_ = 0;
    std::unique_ptr<CanvasVideos> videos_ = std::make_unique<CanvasVideos>(loop_, [this] { ++arrived_; });
    Layer layer_{.kind = Layer::Kind::video};

private:
    static inline std::unique_ptr<TemporaryFolder> folder_;
};

TEST_F(CanvasVideosTest, PaintingDoesNotWaitAndIsToldWhenThePictureIsThere)
{
    EXPECT_EQ(painted(0.5), -1);
    EXPECT_EQ(painted(0.5), -1) << "nothing comes but by the run loop";
    waitFor(1);
    EXPECT_NEAR(painted(0.5), 15, 2); // Within the tolerance of a fifteenth of a second.
    EXPECT_EQ(arrived_, 1) << "asked for once";
}

TEST_F(CanvasVideosTest, TheLastPictureStaysUntilTheNextIsThere)
{
    painted(0.5);
    waitFor(1);
    const int before = painted(0.5);
    EXPECT_EQ(painted(1.5), before);
    waitFor(2);
    EXPECT_NEAR(painted(1.5), 45, 2);
}

TEST_F(CanvasVideosTest, TheLatestWishWins)
{
    for (const double time : {0.2, 0.4, 0.6, 0.8, 1.0, 1.2}) painted(time);
    int shown = -1;
    ASSERT_TRUE(loop_.turnUntil([&] {
        shown = painted(1.2);
        return std::abs(shown - 36) <= 2;
    }));
}

TEST_F(CanvasVideosTest, PastTheEndTheLastPictureShows)
{
    painted(9);
    waitFor(1);
    EXPECT_EQ(painted(9), 119 % 50);
}

TEST_F(CanvasVideosTest, APlayingVideoRunsByItsOwnClock)
{
    // At 10 s of the wall clock it is put to 1 s. At 10.5 s it stands at 1.5 s itself, and is off by too little to be moved.
    painted(1, /*scenePlaying=*/true, 10);
    waitFor(1);
    painted(1.35, /*scenePlaying=*/true, 10.5);
    waitFor(2);
    EXPECT_NEAR(painted(1.36, /*scenePlaying=*/true, 10.5), 45, 2);
    // Off by more than a fifth of a second it is put right.
    painted(3, /*scenePlaying=*/true, 10.6);
    waitFor(3);
    EXPECT_NEAR(painted(3.001, /*scenePlaying=*/true, 10.6), 90 % 50, 2);
}

TEST_F(CanvasVideosTest, APlayerStandsStillWhereTheSceneHoldsItsSource)
{
    painted(1, /*scenePlaying=*/true, 10);
    waitFor(1);
    EXPECT_NEAR(painted(1, /*scenePlaying=*/true, 10.15), 30, 2);
    EXPECT_FALSE(loop_.waitForStep(std::chrono::milliseconds(200))) << "the picture at 1.15 s is not fetched";
}

TEST_F(CanvasVideosTest, WhatIsNotShownIsForgotten)
{
    painted(0.5);
    waitFor(1);
    videos_->beginPainting(false, 0);
    videos_->endPainting();
    EXPECT_EQ(painted(0.5), -1);
    waitFor(2);
    EXPECT_NEAR(painted(0.5), 15, 2);
}

TEST_F(CanvasVideosTest, NothingIsToldAfterItIsGone)
{
    painted(0.5);
    ASSERT_TRUE(loop_.waitForStep());
    videos_.reset();
    loop_.turn();
    EXPECT_EQ(arrived_, 0);
}

using File = VideoPictures::File;

/// What is known of a file at one painting.
File soughtFile(CanvasVideos& videos, const std::string& reference, double now)
{
    videos.beginPainting(/*scenePlaying=*/false, now);
    File file = videos.file(reference);
    videos.endPainting();
    return file;
}

TEST_F(CanvasVideosTest, LooksForFilesWithoutWaiting)
{
    const File there{.state = File::State::there, .path = film()}, missing{.state = File::State::missing};
    struct Case { const char* what; std::string reference; File expected; };
    for (const Case& c : {Case{"a path", film(), there}, Case{"a URL", "file://" + film(), there},
                          Case{"nothing there", "/no/such/film.mp4", missing}, Case{"a folder", "/", missing},
                          Case{"no reference", "", missing}}) {
        SCOPED_TRACE(c.what);
        const int before = arrived_;
        EXPECT_EQ(soughtFile(*videos_, c.reference, 0), File());
        EXPECT_EQ(soughtFile(*videos_, c.reference, 0), File()) << "nothing comes but by the run loop";
        waitFor(before + 1);
        EXPECT_EQ(soughtFile(*videos_, c.reference, 0), c.expected);
    }
}

TEST_F(CanvasVideosTest, AFileBesideTheDocumentIsFoundThere)
{
    soughtFile(*videos_, "film.mp4", 0);
    waitFor(1);
    EXPECT_EQ(soughtFile(*videos_, "film.mp4", 0).state, File::State::missing);
    videos_->setDocumentFolder(film().substr(0, film().rfind('/')));
    EXPECT_EQ(soughtFile(*videos_, "film.mp4", 0), File()) << "it is not known of that folder";
    waitFor(2);
    EXPECT_EQ(soughtFile(*videos_, "film.mp4", 0), (File{.state = File::State::there, .path = film()}));
}

TEST_F(CanvasVideosTest, AFileThatComesOrGoesIsSeenWithinASecondOfPainting)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("late.mp4");
    soughtFile(*videos_, path, 10);
    waitFor(1);
    std::filesystem::copy_file(film(), path);
    EXPECT_EQ(soughtFile(*videos_, path, 10.9).state, File::State::missing);
    EXPECT_FALSE(loop_.waitForStep(std::chrono::milliseconds(50))) << "not asked yet";
    EXPECT_EQ(soughtFile(*videos_, path, 11.1).state, File::State::missing);
    waitFor(2);
    EXPECT_EQ(soughtFile(*videos_, path, 11.2).state, File::State::there);
    soughtFile(*videos_, path, 12.3);
    ASSERT_TRUE(loop_.waitForStep());
    loop_.turn();
    EXPECT_EQ(arrived_, 2) << "nothing is to be painted anew";
}

TEST_F(CanvasVideosTest, AFileThatCannotBeReadIsAskedForAgainAndTellsNothing)
{
    videos_->beginPainting(false, 0);
    EXPECT_EQ(videos_->picture(layer_, "/no/such/file.mp4", 0), nullptr);
    videos_->endPainting();
    ASSERT_TRUE(loop_.waitForStep());
    loop_.turn();
    EXPECT_EQ(arrived_, 0);
}

} // namespace
} // namespace larkspool
