#include "rendering/video_export_readers.h"

#include "rendering/video_media.h"
#include "support/test_media.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

namespace larkspool {
namespace {

class VideoExportReadersTest : public testing::Test {
protected:
    /// Thirty pictures a second, of which every twelfth is a key picture.
    std::string film(int frames = 60)
    {
        const std::string path = folder_.path("film.mp4");
        makeMedia(path, countingSource(frames) + " -c:v libx264 -crf 4 -bf 3 -g 12");
        return path;
    }

    TemporaryFolder folder_;
    VideoExportReaders readers_;
};

TEST_F(VideoExportReadersTest, APictureIsOnShowUntilItsEndHoweverOftenItIsAskedFor)
{
    const std::string path = film();
    for (int i = 0; i < 16 * 40; ++i) ASSERT_EQ(toldNumber(readers_.frame(path, (i + 0.5) / 480)), i / 16) << i;
}

TEST_F(VideoExportReadersTest, EveryTimeHasItsPictureWhateverWasAskedBefore)
{
    const std::string path = film();
    for (const int i : {31, 30, 59, 2, 2, 3, 1, 40, 41, 0}) {
        ASSERT_EQ(toldNumber(readers_.frame(path, (i + 0.25) / 30)), i % 50);
        ASSERT_EQ(toldNumber(readers_.frame(path, (i + 0.75) / 30)), i % 50);
    }
    EXPECT_EQ(toldNumber(readers_.frame(path, -1)), 0);
    EXPECT_EQ(toldNumber(readers_.frame(path, 100)), 9) << "the last, past the end";
}

TEST_F(VideoExportReadersTest, OneReaderStaysOpenForEachFileUntilAllAreReset)
{
    const std::string path = film();
    readers_.frame(path, 0);
    readers_.frame(path, 1);
    EXPECT_EQ(readers_.openReaders(), 1u);
    EXPECT_THAT(readers_.fastReaderFallbackPaths(), testing::IsEmpty());
    readers_.reset();
    EXPECT_EQ(readers_.openReaders(), 0u);
    EXPECT_EQ(toldNumber(readers_.frame(path, 1)), 30);
}

TEST_F(VideoExportReadersTest, AFileThatTheReaderFailsOnIsRememberedAndReadTheOtherWay)
{
    const std::string good = film(), noise = folder_.path("noise.mp4"), turned = folder_.path("turned.mp4");
    writeFile(noise, std::string(10000, 'x'));
    makeMedia(turned, fmt::format("-i '{}' -c copy -metadata:s:v rotate=90", good));
    EXPECT_EQ(readers_.frame(noise, 0), nullptr);
    EXPECT_EQ(readers_.frame(folder_.path("absent.mp4"), 0), nullptr);
    const std::int64_t opened = Exporter::videoWork().openedGenerators;
    EXPECT_EQ(readers_.frame(turned, 0)->size(), (CGSize{48, 64}));
    EXPECT_EQ(Exporter::videoWork().openedGenerators, opened + 1);
    EXPECT_THAT(readers_.fastReaderFallbackPaths(), testing::UnorderedElementsAre(noise, folder_.path("absent.mp4"), turned));
    EXPECT_EQ(readers_.openReaders(), 0u);
    readers_.reset();
    EXPECT_THAT(readers_.fastReaderFallbackPaths(), testing::IsEmpty());
    Exporter::releaseVideoGenerators();
}

TEST_F(VideoExportReadersTest, AThreadReadsWithItsOwnAsLongAsItSays)
{
    const std::string path = film();
    resetActiveVideoExportReaders();
    {
        const ReadingVideosWith reading(readers_);
        EXPECT_EQ(toldNumber(videoFrameForGPU(path, 1)), 30);
        std::thread([&] { EXPECT_EQ(toldNumber(videoFrameForGPU(path, 0)), 0); }).join(); // By the ones that all share.
        EXPECT_EQ(readers_.openReaders(), 1u);
        VideoExportReaders inner;
        {
            const ReadingVideosWith readingInner(inner);
            EXPECT_EQ(toldNumber(videoFrameForGPU(path, 0)), 0);
        }
        EXPECT_EQ(inner.openReaders(), 1u);
        readers_.reset();
        EXPECT_EQ(toldNumber(videoFrameForGPU(path, 1.5)), 45);
        EXPECT_EQ(readers_.openReaders(), 1u);
    }
    readers_.reset();
    EXPECT_EQ(toldNumber(videoFrameForGPU(path, 0)), 0);
    EXPECT_EQ(readers_.openReaders(), 0u);
    resetActiveVideoExportReaders();
}

} // namespace
} // namespace larkspool
