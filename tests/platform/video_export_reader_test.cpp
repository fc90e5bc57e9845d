#include "platform/video_export_reader.h"

#include "support/test_media.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include <fmt/format.h>

namespace larkspool {
namespace {

class VideoExportReaderTest : public testing::Test {
protected:
    /// Sixty pictures, thirty a second.
    std::string film()
    {
        const std::string path = folder_.path("film.mp4");
        makeMedia(path, countingSource(60) + " -c:v libx264 -crf 4 -bf 3 -g 12");
        return path;
    }

    TemporaryFolder folder_;
};

/// The middle of a picture.
constexpr double during(int number)
{
    return (number + 0.5) / 30;
}

TEST_F(VideoExportReaderTest, GivesEachPictureAtItsTime)
{
    VideoExportReader reader(film());
    for (int i = 0; i < 60; ++i) ASSERT_EQ(toldNumber(reader.frame(i / 30.0)), i % 50);
    EXPECT_EQ(reader.convertedPictures(), 60);
    EXPECT_NEAR(reader.cachedFrameInterval(), 1 / 30.0, 1e-4);
    EXPECT_NEAR(reader.sourceDuration(), 2, 0.001);
    EXPECT_TRUE(reader.preferredTransformIsIdentity());
}

TEST_F(VideoExportReaderTest, PassesOverPicturesWithoutConvertingThem)
{
    VideoExportReader reader(film());
    EXPECT_EQ(toldNumber(reader.frame(0)), 0);
    EXPECT_EQ(toldNumber(reader.frame(40 / 30.0)), 40);
    EXPECT_EQ(reader.convertedPictures(), 2);
}

TEST_F(VideoExportReaderTest, RunsAheadWithinAPictureThatItIsAskedForTwice)
{
    VideoExportReader reader(film());
    EXPECT_EQ(toldNumber(reader.frame(0)), 0);
    EXPECT_EQ(toldNumber(reader.frame(0.0009)), 0) << "the same time";
    EXPECT_EQ(toldNumber(reader.frame(during(0))), 1) << "the next picture ends later than the time";
    EXPECT_EQ(toldNumber(reader.frame(1 / 30.0)), 1);
}

TEST_F(VideoExportReaderTest, BeginsAnewOnAJumpBack)
{
    VideoExportReader reader(film());
    EXPECT_EQ(toldNumber(reader.frame(during(45))), 45);
    EXPECT_EQ(toldNumber(reader.frame(during(3))), 3);
    EXPECT_EQ(toldNumber(reader.frame(0)), 0);
    EXPECT_EQ(toldNumber(reader.frame(during(20))), 20);
    EXPECT_EQ(toldNumber(reader.frame(-5)), 0) << "before the beginning";
}

TEST_F(VideoExportReaderTest, HoldsTheLastPicturePastTheEnd)
{
    VideoExportReader reader(film());
    EXPECT_EQ(toldNumber(reader.frame(100)), 59 % 50) << "at once";
    EXPECT_EQ(toldNumber(reader.frame(101)), 59 % 50);
    EXPECT_EQ(reader.convertedPictures(), 1);
    EXPECT_EQ(toldNumber(reader.frame(during(5))), 5) << "back from the end";
}

TEST_F(VideoExportReaderTest, GivesNothingOnceClosed)
{
    VideoExportReader reader(film());
    EXPECT_TRUE(reader.frame(0));
    reader.close();
    EXPECT_EQ(reader.frame(0), nullptr);
    EXPECT_EQ(reader.frame(1), nullptr);
}

TEST_F(VideoExportReaderTest, NeedsAFile)
{
    EXPECT_THROW(VideoExportReader(folder_.path("absent.mp4")), std::runtime_error);
    const std::string noFilm = folder_.path("none.mp4");
    writeFile(noFilm, "not a film");
    VideoExportReader reader(noFilm);
    EXPECT_EQ(reader.frame(0), nullptr);
    EXPECT_EQ(VideoExportReader(film()).frame(NAN), nullptr);
}

TEST_F(VideoExportReaderTest, SaysThatPicturesNeedTurning)
{
    const std::string turned = folder_.path("turned.mp4");
    makeMedia(turned, fmt::format("-i '{}' -c copy -metadata:s:v rotate=90", film()));
    EXPECT_FALSE(VideoExportReader(turned).preferredTransformIsIdentity());
}

} // namespace
} // namespace larkspool
