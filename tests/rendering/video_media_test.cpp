#include "rendering/video_media.h"

#include "rendering/video_export_readers.h"
#include "rendering/video_generator_pool.h"
#include "support/test_media.h"

#include "platform/file_url.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <thread>
#include <vector>

#include <fmt/format.h>

namespace larkspool {
namespace {

constexpr const char* h264 = "-c:v libx264 -crf 4 -bf 3 -g 30 -threads 1";

class VideoMedia : public testing::Test {
protected:
    std::string make(std::string_view name, const std::string& arguments)
    {
        const std::string path = folder_.path(name);
        makeMedia(path, arguments);
        return path;
    }
    std::string film(int frames = 300, int framesPerSecond = 30)
    {
        return make("film.mp4", countingSource(frames, framesPerSecond) + " " + h264);
    }
    /// A white window on black ground, 64 x 48, for a second; black alone before `appears`.
    std::string windowFilm(std::string_view name, double appears)
    {
        return make(name, fmt::format("-f lavfi -i \"color=black:s=64x48:r=30:d=1,drawbox=x=16:y=8:w=32:h=24:color=white:t=fill:"
                                      "enable='gte(t,{})'\" -c:v ffv1 -f matroska",
                                      appears));
    }

    TemporaryFolder folder_;
};

Layer videoLayer(const std::string& path)
{
    Layer layer;
    layer.kind = Layer::Kind::video;
    layer.videoURL = path;
    layer.videoDuration = 10;
    layer.videoClip = {.sceneStart = 0, .sceneEnd = 10};
    return layer;
}

TEST_F(VideoMedia, ExportsThePictureOnShow)
{
    const std::string path = film(90);
    for (const int number : {0, 1, 2, 45, 46, 10, 89})
        EXPECT_EQ(toldNumber(Exporter::exportFrame(path, number / 30.0)), number % 50) << number;
    EXPECT_EQ(toldNumber(Exporter::exportFrame(path, -4)), 0) << "held at 0";
    EXPECT_EQ(toldNumber(Exporter::exportFrame(path, 1e6)), 89 % 50) << "past the end";
    EXPECT_EQ(Exporter::exportFrame(path, NAN), nullptr);
    EXPECT_EQ(Exporter::exportFrame(folder_.path("absent.mp4"), 0), nullptr);
}

TEST_F(VideoMedia, GivesOneImageForRepeatsOfATick)
{
    const std::string path = film(90);
    const ImageRef image = Exporter::exportFrame(path, 0.5001);
    const Exporter::VideoWork work = Exporter::videoWork();
    EXPECT_EQ(Exporter::exportFrame(path, 0.5001), image);
    EXPECT_EQ(Exporter::exportFrame(path, 0.504), image) << "the same tick of 1/240 s";
    EXPECT_EQ(Exporter::videoWork().decodedPictures, work.decodedPictures);
}

TEST_F(VideoMedia, GivesThePictureOfATimeWhateverWasAskedBefore)
{
    // Twenty-five a second: picture 1 begins at 9.6 ticks, within tick 9.
    const std::string path = film(50, 25);
    EXPECT_EQ(toldNumber(Exporter::exportFrame(path, 0.038)), 0);
    EXPECT_EQ(toldNumber(Exporter::exportFrame(path, 0.041)), 1);
    EXPECT_EQ(toldNumber(Exporter::exportFrame(path, 0.038)), 0);
}

TEST_F(VideoMedia, ReadsALoopWithOneDecoder)
{
    const std::string path = film();
    for (const double play : {2.0, 1.99, 1.987}) {
        SCOPED_TRACE(play);
        VideoGeneratorPool pool({});
        for (int i = 0; i < 240; ++i) {
            const double time = 2 + std::fmod(i / 30.0, play);
            ASSERT_EQ(toldNumber(pool.frame(path, time).image), static_cast<int>(std::floor(time * 30 + 0.025)) % 50);
        }
        EXPECT_EQ(pool.size(), 1u);
        EXPECT_LE(pool.work().seeks, 5) << "one to get there and one for each further round";
    }
}

TEST_F(VideoMedia, AFrozenLayerAndOneThatPlaysDoNotThrash)
{
    const std::string path = film();
    VideoGeneratorPool pool({});
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(toldNumber(pool.frame(path, 7.999).image), 239 % 50);
        ASSERT_EQ(toldNumber(pool.frame(path, i / 30.0).image), i % 50);
    }
    EXPECT_EQ(pool.size(), 2u);
    EXPECT_LE(pool.work().seeks, 6);
}

TEST_F(VideoMedia, LayersOnOneFileAtDifferentTimesDoNotThrash)
{
    const std::string path = film();
    struct Case {
        const char* when;
        std::vector<int> offsets; ///< Pictures that the layers are apart.
        std::size_t decoders;
    };
    for (const Case& c :
         {Case{"far apart", {0, 150}, 2}, Case{"the later one first", {150, 0}, 2}, Case{"a second apart", {0, 30}, 2},
          Case{"three layers", {0, 60, 150}, 3}, Case{"a picture apart", {1, 0}, 1}, Case{"at one time", {7, 7}, 1},
          Case{"a little more apart than is kept", {8, 0}, 2}}) {
        SCOPED_TRACE(c.when);
        VideoGeneratorPool pool({});
        const int frames = 100;
        for (int i = 0; i < frames; ++i)
            for (const int offset : c.offsets)
                ASSERT_EQ(toldNumber(pool.frame(path, (i + offset) / 30.0).image), (i + offset) % 50);
        EXPECT_LE(pool.work().seeks, 2 * static_cast<std::int64_t>(c.offsets.size()) + 2);
        EXPECT_LE(pool.work().decodedPictures, static_cast<std::int64_t>(c.offsets.size()) * (frames + 3 * 40));
        EXPECT_LE(pool.size(), c.decoders);
    }
}

TEST_F(VideoMedia, StaysWithinItsBounds)
{
    VideoGeneratorPool pool({.generators = 3});
    std::vector<std::string> paths;
    const std::string path = film(20);
    for (int i = 0; i < 6; ++i) {
        paths.push_back(folder_.path(fmt::format("copy{}.mp4", i)));
        std::filesystem::copy_file(path, paths.back());
    }
    for (int i = 0; i < 20; ++i)
        for (const std::string& each : paths) ASSERT_EQ(toldNumber(pool.frame(each, i / 30.0).image), i);
    EXPECT_LE(pool.size(), 3u);
    pool.release();
    EXPECT_EQ(pool.size(), 0u);
    EXPECT_EQ(toldNumber(pool.frame(path, 0.5).image), 15) << "opens again";

    VideoGeneratorPool tight({.bytes = 1});
    for (const std::string& each : paths) ASSERT_EQ(toldNumber(tight.frame(each, 0.5).image), 15);
    EXPECT_EQ(tight.size(), 1u) << "the one in use";
}

TEST_F(VideoMedia, SeveralWorkersMayAskAtOnce)
{
    const std::string path = film(120);
    const std::string other = make("other.mp4", countingSource(120) + " -c:v libx264 -crf 4");
    std::atomic<int> wrong = 0;
    std::atomic<int> next = 0;
    std::vector<std::thread> workers;
    for (int worker = 0; worker < 4; ++worker)
        workers.emplace_back([&] {
            for (int i = next++; i < 120; i = next++) {
                wrong += toldNumber(Exporter::exportFrame(path, i / 30.0)) != i % 50;
                wrong += toldNumber(Exporter::exportFrame(path, (119 - i) / 30.0)) != (119 - i) % 50;
                wrong += toldNumber(Exporter::exportFrame(other, i / 30.0)) != i % 50;
            }
        });
    for (std::thread& worker : workers) worker.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(VideoMedia, AVideoLayerShowsItsSourceAtItsTime)
{
    const std::string path = film(90);
    Layer layer = videoLayer(path);
    layer.videoClip = {.sceneStart = 2, .sceneEnd = 10, .sourceStart = 1};
    const CroppedPicture shown = videoPicture(layer, 2.5);
    EXPECT_EQ(toldNumber(shown.image), 45);
    EXPECT_EQ(shown.pixels, (CGRect{{0, 0}, {64, 48}}));
    layer.videoURL = fileURLFromPath(path);
    EXPECT_EQ(toldNumber(videoPicture(layer, 2.5).image), 45) << "by URL";
    EXPECT_EQ(videoPicture(layer, 0.5).image, nullptr) << "before the source begins";
}

TEST_F(VideoMedia, AVideoLayerWithoutAFileShowsNothing)
{
    EXPECT_EQ(videoPicture(videoLayer(""), 1).image, nullptr);
    EXPECT_EQ(videoPicture(videoLayer(folder_.path("absent.mp4")), 1).image, nullptr);
    EXPECT_EQ(videoPicture(videoLayer(folder_.path("")), 1).image, nullptr) << "a folder";
}

TEST_F(VideoMedia, AManualCropGoesBeforeTheBlackKey)
{
    Layer layer = videoLayer(windowFilm("window.mkv", 0));
    layer.blackKey = true;
    layer.cropMode = CropMode::manual;
    layer.cropRect = {{0.5, 0.25}, {0.25, 0.5}};
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{32, 12}, {16, 24}}));
    layer.cropRect = {{0.5, 0.25}, {0, 0.5}};
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{32, 12}, {1, 24}})) << "no width yields a pixel";
    layer.cropRect = {{NAN, 0}, {1, 1}};
    EXPECT_EQ(videoPicture(layer, 0.1).pixels.size.height, 48);
}

TEST_F(VideoMedia, TheBlackKeyCropsToTheWindow)
{
    Layer layer = videoLayer(windowFilm("window.mkv", 0));
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{0, 0}, {64, 48}})) << "not asked for";
    layer.blackKey = true;
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{16, 8}, {32, 24}}));
    layer.blackKeyInsetX = 2;
    layer.blackKeyInsetY = 3;
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{18, 11}, {28, 18}}));
    layer.blackKeyInsetX = 100;
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{0, 0}, {64, 48}})) << "a crop beside the picture leaves it whole";
}

TEST_F(VideoMedia, TheWindowIsKeptOnceFound)
{
    const std::string path = windowFilm("late.mkv", 0.5);
    Layer layer = videoLayer(path);
    layer.blackKey = true;
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{0, 0}, {64, 48}})) << "all dark: the whole picture";
    EXPECT_EQ(videoPicture(layer, 0.7).pixels, (CGRect{{16, 8}, {32, 24}}));
    EXPECT_EQ(videoPicture(layer, 0.1).pixels, (CGRect{{16, 8}, {32, 24}})) << "for the whole clip from then on";
}

TEST_F(VideoMedia, TheSecondExporterReadsForward)
{
    const std::string path = film(60);
    resetActiveVideoExportReaders();
    for (int i = 0; i < 60; ++i) ASSERT_EQ(toldNumber(videoFrameForGPU(path, i / 30.0)), i % 50);
    EXPECT_EQ(toldNumber(videoFrameForGPU(path, 0.05)), 1) << "back";
    EXPECT_EQ(toldNumber(videoFrameForGPU(path, 60)), 9);
    EXPECT_EQ(videoFrameForGPU(folder_.path("absent.mp4"), 0), nullptr);

    const std::string turned = make("turned.mp4", fmt::format("-i '{}' -c copy -metadata:s:v rotate=90", path));
    EXPECT_EQ(videoFrameForGPU(turned, 0)->size(), (CGSize{48, 64})) << "turned by the other way";
    resetActiveVideoExportReaders();
    EXPECT_EQ(toldNumber(videoFrameForGPU(path, 0)), 0);
    resetActiveVideoExportReaders();
}

} // namespace
} // namespace larkspool
