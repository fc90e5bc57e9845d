#include "rendering/video_media.h"

#include "rendering/image_media.h"
#include "rendering/rendering_fixture.h"
#include "rendering/video_export_readers.h"
#include "rendering/video_generator_pool.h"
#include "support/golden.h"
#include "support/test_media.h"

#include "platform/file_url.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <sys/stat.h>

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

/// Red and green above blue and white, 32 x 24 for a second.
constexpr const char* quartersFilm = "-f lavfi -i \"color=white:s=32x24:r=30:d=1,format=yuv444p,drawbox=w=16:h=12:color=red:t=fill,"
                                     "drawbox=x=16:w=16:h=12:color=lime:t=fill,drawbox=y=12:w=16:h=12:color=blue:t=fill\" "
                                     "-c:v ffv1";

bool isNear(const Pixel& a, const Pixel& b, int tolerance = 2)
{
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance &&
           std::abs(a.a - b.a) <= tolerance;
}

/// The layer's body alone, on clear pixels.
PixelBuffer videoBody(const Layer& layer, int width, int height, double time = 0)
{
    PixelBuffer pixels(width, height);
    Exporter::drawVideoBody(layer, *makeRasterContext(pixels), time);
    return pixels;
}

TEST_F(VideoMedia, StandsUprightInItsPlaceStretchedToItsSize)
{
    Layer layer = videoLayer(make("quarters.mkv", quartersFilm));
    layer.transform = {.x = 10, .y = 4};
    layer.size = {64, 24};
    const PixelBuffer frame = drawnFrame(sceneWith({80, 32}, {layer}, ColorRGBA::black));
    EXPECT_TRUE(isNear(pixelAt(frame, 12, 6), redPixel)) << pixelAt(frame, 12, 6);
    EXPECT_TRUE(isNear(pixelAt(frame, 72, 6), greenPixel)) << pixelAt(frame, 72, 6);
    EXPECT_TRUE(isNear(pixelAt(frame, 12, 26), bluePixel)) << pixelAt(frame, 12, 26);
    EXPECT_TRUE(isNear(pixelAt(frame, 72, 26), whitePixel)) << pixelAt(frame, 72, 26);
    EXPECT_EQ(pixelAt(frame, 9, 6), blackPixel);
    EXPECT_EQ(pixelAt(frame, 74, 26), blackPixel);
    EXPECT_EQ(pixelAt(frame, 40, 3), blackPixel);
    EXPECT_EQ(pixelAt(frame, 40, 28), blackPixel);
}

TEST_F(VideoMedia, IsCutToItsCornersHoweverSmallTheirRadius)
{
    Layer layer = videoLayer(make("quarters.mkv", quartersFilm));
    layer.size = {32, 24};
    EXPECT_EQ(pixelAt(videoBody(layer, 32, 24), 0, 0).a, 255);
    // An image is cut from half a point on; of this corner 3.4 percent of a pixel are missing.
    layer.cornerRadius = 0.4;
    EXPECT_LT(pixelAt(videoBody(layer, 32, 24), 0, 0).a, 255);
    EXPECT_GT(pixelAt(videoBody(layer, 32, 24), 0, 0).a, 220);
    layer.cornerRadius = 100; // Held at half the smaller side.
    const PixelBuffer round = videoBody(layer, 32, 24);
    EXPECT_EQ(pixelAt(round, 0, 0).a, 0);
    EXPECT_EQ(pixelAt(round, 16, 0).a, 255);
    EXPECT_GT(pixelAt(round, 0, 12).a, 240);
}

TEST_F(VideoMedia, ItsStrokeLiesInsideOutsideOrOnEachSide)
{
    Layer layer = videoLayer(make("quarters.mkv", quartersFilm));
    layer.size = {32, 24};
    layer.stroke = ColorRGBA::black;
    layer.strokeWidth = 3;
    const PixelBuffer inside = videoBody(layer, 32, 24);
    EXPECT_EQ(pixelAt(inside, 2, 6), blackPixel);
    EXPECT_TRUE(isNear(pixelAt(inside, 3, 6), redPixel));
    EXPECT_EQ(pixelAt(inside, 30, 22), blackPixel);

    layer.strokeOutside = true;
    EXPECT_TRUE(isNear(pixelAt(videoBody(layer, 32, 24), 0, 6), redPixel));
    Layer placed = layer;
    placed.transform = {.x = 10, .y = 10};
    const PixelBuffer outside = drawnFrame(sceneWith({60, 60}, {placed}));
    EXPECT_EQ(pixelAt(outside, 7, 20), blackPixel);
    EXPECT_NEAR(pixelAt(outside, 6, 20).r, 191, 2) << "a quarter of a point more than its width";
    EXPECT_EQ(pixelAt(outside, 5, 20), whitePixel);

    layer.strokeOutside = false;
    layer.perSideStroke = true;
    layer.strokeWidthRight = 4;
    const PixelBuffer sides = videoBody(layer, 32, 24);
    EXPECT_TRUE(isNear(pixelAt(sides, 0, 6), redPixel));
    EXPECT_EQ(pixelAt(sides, 28, 6), blackPixel);
    EXPECT_TRUE(isNear(pixelAt(sides, 27, 6), greenPixel));

    layer.perSideStroke = false;
    layer.strokeWidth = 12;
    EXPECT_EQ(pixelAt(videoBody(layer, 32, 24), 6, 6), blackPixel) << "a stroke that leaves nothing hides the picture";
}

TEST_F(VideoMedia, WithoutAPictureThereIsNothingNotEvenAStroke)
{
    Layer layer = videoLayer(folder_.path("absent.mp4"));
    layer.size = {8, 8};
    layer.strokeWidth = 2;
    EXPECT_EQ(pixelAt(videoBody(layer, 8, 8), 0, 0), (Pixel{0, 0, 0, 0}));
    layer.videoURL = make("quarters.mkv", quartersFilm);
    layer.videoClip.sceneStart = 5;
    EXPECT_EQ(pixelAt(videoBody(layer, 8, 8, 4), 0, 0), (Pixel{0, 0, 0, 0})) << "before the source begins";
}

TEST_F(VideoMedia, TwoLayersOnOneFileShowTheirOwnTimesInEveryFrame)
{
    Layer first = videoLayer(film(60)), second = first;
    first.size = second.size = {8, 8};
    second.transform.x = 8;
    second.videoClip.sourceStart = 1;
    const TweenScene scene = sceneWith({16, 8}, {first, second});
    // Picture n has Y = 16 + 4 (n modulo 50), which makes a grey of 4 n * 255 / 219.
    const auto grey = [](int number) { return number % 50 * 4 * 255.0 / 219; };
    for (const int i : {0, 1, 2, 3, 10, 29}) {
        const PixelBuffer frame = drawnFrame(scene, (i + 0.5) / 30);
        EXPECT_NEAR(pixelAt(frame, 4, 4).r, grey(i), 2) << i;
        EXPECT_NEAR(pixelAt(frame, 12, 4).r, grey(i + 30), 2) << i;
    }
}

TEST_F(VideoMedia, FilesThatCannotBeReadLeaveTheOtherLayersAsTheyAre)
{
    const std::string whole = film(30), pipe = folder_.path("pipe.mp4"), noise = folder_.path("noise.mp4");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    writeFile(noise, std::string(10000, 'x'));
    const std::string cut = folder_.path("cut.mp4");
    std::vector<std::uint8_t> bytes = fileBytes(whole);
    bytes.resize(bytes.size() / 2); // The index stands at the end.
    writeFile(cut, bytes);
    const Layer below{.fill = red, .size = {16, 8}}, above{.transform = {.x = 8}, .fill = blue, .size = {8, 8}};
    for (const std::string& path : {pipe, noise, cut, folder_.path(""), std::string("/dev/zero"), whole + "/within"}) {
        SCOPED_TRACE(path);
        Layer bad = videoLayer(path);
        bad.size = {16, 8};
        bad.strokeWidth = 2;
        const PixelBuffer frame = drawnFrame(sceneWith({16, 8}, {below, bad, above}), 0.5);
        EXPECT_EQ(pixelAt(frame, 0, 0), redPixel);
        EXPECT_EQ(pixelAt(frame, 8, 7), bluePixel);
    }
}

/// A window of 96 x 60 with a bar and a disc's worth of boxes, on plain ground of 160 x 100.
std::string windowOn(const char* ground)
{
    return fmt::format("-f lavfi -i \"color={}:s=160x100:r=30:d=0.2,format=yuv444p,drawbox=x=32:y=20:w=96:h=60:color=0x7090e0:t=fill,"
                       "drawbox=x=32:y=20:w=96:h=12:color=0xd06080:t=fill,drawbox=x=44:y=42:w=30:h=28:color=0xf0e0b0:t=fill,"
                       "drawbox=x=84:y=42:w=32:h=8:color=0x90d0a0:t=fill,drawbox=x=84:y=62:w=32:h=8:color=0x90d0a0:t=fill\" -c:v ffv1",
                       ground);
}

TEST_F(VideoMedia, GoldenOfCropModesAndBlackKeysOnDarkAndLight)
{
    Array<Layer> layers;
    double y = 10;
    for (const char* ground : {"black", "white"}) {
        const std::string path = make(fmt::format("{}.mkv", ground), windowOn(ground));
        double x = 10;
        const auto add = [&](const std::function<void(Layer&)>& change) {
            Layer layer = videoLayer(path);
            layer.size = {96, 60};
            layer.transform = {.x = x, .y = y};
            layer.stroke = {1, 0.85, 0.2, 1};
            change(layer);
            layers.append(layer);
            x += 108;
        };
        add([](Layer&) {});
        add([](Layer& l) { l.cropMode = CropMode::automatic; });
        add([](Layer& l) { l.cropMode = CropMode::manual; l.cropRect = {{0.2, 0.2}, {0.4, 0.4}}; l.blackKey = true; });
        add([](Layer& l) { l.blackKey = true; });
        add([](Layer& l) { l.blackKey = true; l.cornerRadius = 16; });
        add([](Layer& l) { l.blackKey = true; l.blackKeyInsetX = 12; l.blackKeyInsetY = 22; l.cornerRadius = 10; l.strokeWidth = 3; });
        y += 72;
    }
    EXPECT_GOLDEN(drawnFrame(sceneWith({658, 152}, layers, {0.55, 0.6, 0.58, 1})), "video-crops");
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
