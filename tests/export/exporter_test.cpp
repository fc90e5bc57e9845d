#include "export/exporter.h"

#include "export/fake_asset_writer.h"
#include "export/film.h"
#include "rendering/video_export_readers.h"
#include "rendering/video_media.h"
#include "support/png_bytes.h"
#include "support/test_media.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace larkspool {
namespace {

using Exporter::ExportError;
using Exporter::ExportOptions;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::string contents(const std::string& path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A scene of 8 x 4 pixels whose one rectangle moves one pixel to the right in each frame, so that no two frames are alike.
TweenScene movingScene(double duration, std::int64_t fps)
{
    Layer box{.fill = {1, 0, 0, 1}, .size = {1, 4}};
    const double distance = duration * static_cast<double>(fps);
    box.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0, .easing = Easing::linear()},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = duration, .value = distance}};
    TweenScene scene{.width = 8, .height = 4, .fps = fps, .duration = duration};
    scene.layers = {box};
    return scene;
}

ExportOptions optionsWritingTo(WriterLog& log)
{
    return {.makeWriter = [&log](const std::string& path, const FilmSettings& settings) {
        return std::make_unique<FakeAssetWriter>(path, settings, log);
    }};
}

std::string failureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ExportError& error) {
        return error.errorDescription();
    }
    return "no failure";
}

void exportScene(const TweenScene& scene, const std::string& path, const ExportOptions& options, double startTime = 0)
{
    Exporter::exportMP4(scene, path, startTime, std::nullopt, {}, options);
}

TEST(FilmPlan, SizeIsScaledRoundedAndMadeEven)
{
    struct Case { const char* what; CGSize scene; double scale; std::int64_t width, height; };
    for (const Case& c : {Case{"as it is", {1920, 1080}, 1, 1920, 1080},
                          Case{"an odd side loses a pixel", {101, 50}, 1, 100, 50},
                          Case{"half", {1920, 1080}, 0.5, 960, 540},
                          Case{"halves round away from zero, then even", {13, 9}, 0.5, 6, 4},
                          Case{"a scale below the least", {1000, 500}, 0.05, 100, 50},
                          Case{"a scale above 1", {1000, 500}, 1.5, 1000, 500},
                          Case{"a scale that is not a number", {1000, 500}, notANumber, 1000, 500},
                          Case{"a tiny scene", {0.2, 1}, 1, 2, 2},
                          Case{"no size", {0, 0}, 1, 2, 2},
                          Case{"a negative size", {-50, 100}, 1, 2, 100},
                          Case{"not a number", {notANumber, 100}, 1, 2, 100}}) {
        SCOPED_TRACE(c.what);
        const Exporter::FilmPlan plan = Exporter::planFilm(c.scene, c.scale, 60, 1);
        EXPECT_EQ(plan.width, c.width);
        EXPECT_EQ(plan.height, c.height);
    }
}

TEST(FilmPlan, AHugeSizeIsRefusedWithItsName)
{
    EXPECT_EQ(failureOf([] { Exporter::planFilm({1e9, 1e9}, 1, 60, 1); }),
              "Export failed: A film of 1000000000 x 1000000000 pixels is too large; 16384 is the longest side");
    EXPECT_EQ(failureOf([] { Exporter::planFilm({50, 1e300}, 1, 60, 1); }),
              "Export failed: A film of 50 x 1e+300 pixels is too large; 16384 is the longest side");
}

TEST(FilmPlan, FramesAreTheNearestWholeNumberAndAtLeastOne)
{
    struct Case { const char* what; double seconds; std::int64_t fps, frames; };
    for (const Case& c : {Case{"a second", 1, 30, 30}, Case{"nothing left", 0, 30, 1}, Case{"half a frame rounds up", 0.05, 30, 2},
                          Case{"less than half a frame", 0.01, 30, 1}, Case{"five seconds", 5, 60, 300},
                          Case{"less than nothing", -3, 60, 1}, Case{"beyond all whole numbers below nothing", -1e300, 60, 1}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Exporter::frameCount({.width = 2, .height = 2, .fps = c.fps, .seconds = c.seconds}), c.frames);
    }
}

TEST(FilmPlan, ARateOrLengthThatNoFilmCanHaveIsRefused)
{
    struct Case { double seconds; std::int64_t fps; const char* words; };
    for (const Case& c : {Case{1, 0, "A film cannot have 0 frames a second; 1 to 1000 it can"},
                          Case{1, -30, "A film cannot have -30 frames a second; 1 to 1000 it can"},
                          Case{1e12, 60, "A film of 1e+12 seconds is too long"},
                          Case{notANumber, 60, "A film of nan seconds is too long"}}) {
        EXPECT_EQ(failureOf([&] { Exporter::frameCount({.width = 2, .height = 2, .fps = c.fps, .seconds = c.seconds}); }),
                  std::string("Export failed: ") + c.words);
    }
}

TEST(Export, EveryFrameIsAppendedOnceAndInOrder)
{
    const TemporaryFolder folder;
    WriterLog log;
    exportScene(movingScene(1, 7), folder.path("film.mp4"), optionsWritingTo(log));

    EXPECT_THAT(log.appended, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6));
    EXPECT_TRUE(log.finished);
    EXPECT_EQ(log.settings.width, 8);
    EXPECT_EQ(log.settings.height, 4);
    EXPECT_EQ(log.settings.fps, 7);
    EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
}

TEST(Export, FramesStandAtWholeStepsOfTheRateFromTheStartTime)
{
    const TemporaryFolder folder;
    WriterLog log;
    std::vector<int> places;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) {
        for (int x = 0; x < picture.width(); ++x)
            if (picture.row(0)[4 * x] == 0) places.push_back(x); // Blue is 0 in the red box alone.
    };
    exportScene(movingScene(1, 8), folder.path("film.mp4"), optionsWritingTo(log), /*startTime=*/0.5);

    EXPECT_THAT(places, testing::ElementsAre(4, 5, 6, 7)); // The scene's last moment itself, at 8, is not drawn.
}

TEST(Export, AStartPastTheEndGivesOneFrameOfTheLastMoment)
{
    const TemporaryFolder folder;
    WriterLog log;
    exportScene(movingScene(1, 8), folder.path("film.mp4"), optionsWritingTo(log), /*startTime=*/9);
    EXPECT_THAT(log.appended, testing::ElementsAre(0));
}

TEST(Export, ASingleSceneHasNoEndPause)
{
    const TemporaryFolder folder;
    WriterLog log;
    TweenScene scene = movingScene(1, 5);
    scene.endPause = 3;
    exportScene(scene, folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_EQ(log.appended.size(), 5u);
}

TEST(Export, AFrameThatShowsWhatTheOneBeforeDidIsRepeated)
{
    const TemporaryFolder folder;
    WriterLog log;
    TweenScene scene = movingScene(1, 4);
    scene.duration = 2; // The box stands still in the second half: frames 4 to 7 all show it at its end.
    exportScene(scene, folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_THAT(log.encoded, testing::ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(log.repeated, testing::ElementsAre(5, 6, 7));
    EXPECT_EQ(log.appended.size(), 8u);
}

TEST(Export, ProgressIsToldAfterEveryFrameAndEndsAtOne)
{
    const TemporaryFolder folder;
    WriterLog log;
    std::vector<double> told;
    ExportOptions options = optionsWritingTo(log);
    options.progress = [&](double part) { told.push_back(part); };
    exportScene(movingScene(1, 4), folder.path("film.mp4"), options);
    EXPECT_THAT(told, testing::ElementsAre(0.25, 0.5, 0.75, 1.0));
}

TEST(Export, EverySixthFrameIsPreviewed)
{
    const TemporaryFolder folder;
    WriterLog log;
    std::vector<std::int64_t> previewed;
    ExportOptions options = optionsWritingTo(log);
    options.previewFrame = [&](const PixelBuffer&) { previewed.push_back(static_cast<std::int64_t>(log.encoded.size())); };
    exportScene(movingScene(1, 14), folder.path("film.mp4"), options);
    EXPECT_THAT(previewed, testing::ElementsAre(0, 6, 12));
}

TEST(Export, ACancelKeepsTheFramesSoFarUnderTheFilmsName)
{
    const TemporaryFolder folder;
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = optionsWritingTo(log);
    options.cancel = &cancel;
    options.progress = [&](double part) {
        if (part >= 0.5) cancel.cancel();
    };
    EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); }), "Export cancelled.");
    EXPECT_THAT(log.appended, testing::ElementsAre(0, 1));
    EXPECT_TRUE(log.finished);
    EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
}

TEST(Export, ACancelAfterTheLastFrameStillCounts)
{
    const TemporaryFolder folder;
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = optionsWritingTo(log);
    options.cancel = &cancel;
    options.progress = [&](double part) {
        if (part == 1) cancel.cancel();
    };
    EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); }), "Export cancelled.");
    EXPECT_EQ(log.appended.size(), 4u);
    EXPECT_EQ(contents(folder.path("film.mp4")), "film");
}

TEST(Export, ACancelBeforeTheFirstFrameLeavesAnEarlierFilm)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path("film.mp4")) << "earlier";
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    cancel.cancel();
    ExportOptions options = optionsWritingTo(log);
    options.cancel = &cancel;
    EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); }), "Export cancelled.");
    EXPECT_EQ(contents(folder.path("film.mp4")), "earlier");
}

TEST(Export, ACancelledFilmThatCannotBeClosedLeavesAnEarlierOne)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path("film.mp4")) << "earlier";
    WriterLog log;
    log.finishFails = true;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = optionsWritingTo(log);
    options.cancel = &cancel;
    options.progress = [&](double) { cancel.cancel(); };
    EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); }), "Export cancelled.");
    EXPECT_EQ(contents(folder.path("film.mp4")), "earlier");
    EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
}

TEST(Export, APlaceWhereNoFileCanStandIsRefusedBeforeAnyWork)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("taken"));
    for (const std::string& path : {folder.path("taken"), folder.path(""), std::string()}) {
        WriterLog log;
        EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), path, optionsWritingTo(log)); }),
                  "Export failed: \"" + path + "\" is no name of a file that a film can take");
        EXPECT_TRUE(log.appended.empty());
    }
    EXPECT_THAT(folder.names(), testing::ElementsAre("taken"));
}

TEST(Export, AFilmMayHaveTheLongestNameThereIs)
{
    const TemporaryFolder folder;
    const std::string name = std::string(251, 'n') + ".mp4";
    WriterLog log;
    exportScene(movingScene(1, 4), folder.path(name), optionsWritingTo(log));
    EXPECT_THAT(folder.names(), testing::ElementsAre(name));
}

TEST(Export, AListOfScenesHasTheSizeAndRateOfTheFirstAndAllPauses)
{
    const TemporaryFolder folder;
    WriterLog log;
    TweenScene first = movingScene(1, 4), second = movingScene(1, 60);
    first.endPause = 0.5;
    second.width = 100;
    second.height = 60;
    second.endPause = 1;
    Exporter::exportMP4(Array<TweenScene>{first, second}, folder.path("film.mp4"), std::nullopt, {}, optionsWritingTo(log));
    EXPECT_EQ(log.settings.width, 8);
    EXPECT_EQ(log.settings.height, 4);
    EXPECT_EQ(log.settings.fps, 4);
    EXPECT_EQ(log.appended.size(), 14u); // 1.5 and 2 seconds of 4 frames.
    EXPECT_THAT(log.repeated, testing::IsSupersetOf({5, 11, 12, 13}));
}

TEST(Export, EveryFailureHasItsWordsAndLeavesAnEarlierFilm)
{
    struct Case { const char* what; std::function<void(WriterLog&)> arrange; const char* words; };
    for (const Case& c : {
             Case{"start", [](WriterLog& log) { log.startFails = true; }, "Export failed: startWriting failed: It broke — (Fake #-5)"},
             Case{"buffer", [](WriterLog& log) { log.bufferFails = true; }, "Export failed: Pixel buffer alloc failed: -5"},
             Case{"encoding", [](WriterLog& log) { log.encodingFailsAt = 2; },
                  "Export failed: append failed at frame 2: It broke — (Fake #-5)"},
             Case{"append", [](WriterLog& log) { log.appendFailsAt = 0; },
                  "Export failed: append failed at frame 0: It broke — (Fake #-5)"},
             Case{"finish", [](WriterLog& log) { log.finishFails = true; },
                  "Export failed: finishWriting failed: It broke — (Fake #-5)"},
         }) {
        SCOPED_TRACE(c.what);
        const TemporaryFolder folder;
        std::ofstream(folder.path("film.mp4")) << "earlier";
        WriterLog log;
        c.arrange(log);
        EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), optionsWritingTo(log)); }), c.words);
        EXPECT_EQ(contents(folder.path("film.mp4")), "earlier");
        EXPECT_THAT(folder.names(), testing::ElementsAre("film.mp4"));
    }
}

TEST(Export, WithoutAWriterThereIsNoFilm)
{
    const TemporaryFolder folder;
    const ExportOptions options{.makeWriter = [](const std::string&, const FilmSettings&) { return nullptr; }};
    EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); }),
              "Couldn't create the video writer.");
}

TEST(Export, AnEmptyListOfScenesIsRefusedBeforeTheDestinationIsTouched)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path("film.mp4")) << "earlier";
    WriterLog log;
    EXPECT_EQ(failureOf([&] { Exporter::exportMP4(Array<TweenScene>(), folder.path("film.mp4"), std::nullopt, {}, optionsWritingTo(log)); }),
              "Export failed: No scenes to export");
    EXPECT_EQ(contents(folder.path("film.mp4")), "earlier");
}

/// The red and the blue of a pixel, in steps of 255.
std::pair<int, int> redAndBlue(const PixelBuffer& pixels, int x, int y)
{
    const std::uint8_t* pixel = pixels.row(y) + 4 * x;
    return {pixel[2], pixel[0]};
}

/// A new film of one colour, in place of whatever had its name.
void makeFilm(const std::string& path, const char* colour)
{
    std::filesystem::remove(path);
    makeMedia(path, std::string("-f lavfi -i color=") + colour + ":s=16x16:r=30:d=2,format=yuv444p -c:v ffv1");
}

Layer videoOf(const std::string& path, CGSize size)
{
    Layer layer{.kind = Layer::Kind::video, .size = size, .videoURL = path};
    layer.videoClip = {.sceneEnd = 10};
    return layer;
}

TEST(Export, ReadsVideosAsTheyAreNowAndLeavesNoneOpen)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("clip.mkv");
    struct Case {
        const char* end;
        bool isCancelled;
    };
    for (const Case& c : {Case{"finished", false}, Case{"cancelled", true}}) {
        SCOPED_TRACE(c.end);
        makeFilm(path, "red");
        ASSERT_TRUE(Exporter::exportFrame(path, 0));
        ASSERT_TRUE(videoFrameForGPU(path, 0));
        makeFilm(path, "blue");

        WriterLog log;
        int blue = 0;
        log.onPicture = [&](const PixelBuffer& picture, std::int64_t) { blue += redAndBlue(picture, 4, 2).second > 200; };
        Exporter::ExportCancelFlag cancel;
        ExportOptions options = optionsWritingTo(log);
        options.cancel = &cancel;
        if (c.isCancelled) options.progress = [&](double) { cancel.cancel(); };
        TweenScene scene{.width = 8, .height = 4, .fps = 4, .duration = 1};
        scene.layers = {videoOf(path, {8, 4})};
        EXPECT_EQ(failureOf([&] { exportScene(scene, folder.path("film.mp4"), options); }),
                  c.isCancelled ? "Export cancelled." : "no failure");
        EXPECT_EQ(blue, static_cast<int>(log.encoded.size()));
        EXPECT_GE(blue, 1);

        const std::int64_t opened = Exporter::videoWork().openedGenerators;
        EXPECT_GT(redAndBlue(Exporter::exportFrame(path, 0)->pixels(), 0, 0).second, 200);
        EXPECT_EQ(Exporter::videoWork().openedGenerators, opened + 1);
        EXPECT_GT(redAndBlue(videoFrameForGPU(path, 0)->pixels(), 0, 0).second, 200);
    }
}

TEST(Export, MediaThatCannotBeReadLeaveAllElseAsItIs)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.path("pipe.mp4"), noise = folder.path("noise.mkv"), good = folder.path("good.mkv");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    writeFile(noise, std::string(10000, 'x'));
    makeFilm(good, "blue");
    const auto bytesOf = [](std::string_view text) { return Bytes(std::vector<std::uint8_t>(text.begin(), text.end())); };
    Array<Layer> layers{videoOf(good, {8, 4})};
    for (const std::string& path : {pipe, noise, folder.path(""), folder.path("absent.mp4")}) layers.append(videoOf(path, {8, 4}));
    for (const Bytes& bytes : {Bytes(pngBytes({.width = 100'000, .height = 100'000})), Bytes(pngBytes({.width = 0, .height = 0})), Bytes(),
                               bytesOf("no picture"), bytesOf("<svg xmlns=\"http://www.w3.org/2000/svg\"><g>"),
                               bytesOf("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"8\" height=\"8\">"
                                       "<image width=\"8\" height=\"8\" href=\"file:///etc/passwd\"/></svg>")})
        layers.append({.kind = Layer::Kind::image, .strokeWidth = 1, .size = {8, 4}, .imageData = bytes});
    Layer box{.fill = {1, 0, 0, 1}, .size = {2, 4}};
    box.transform.x = 6;
    layers.append(box);
    // The last of the pictures is one, and empty: it shows its stroke.
    layers.edit()[layers.size() - 2].strokeWidth = 0;

    WriterLog log;
    int right = 0;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) {
        right += redAndBlue(picture, 1, 2).second > 200 && redAndBlue(picture, 1, 2).first < 50 && redAndBlue(picture, 7, 2).first == 255;
    };
    TweenScene scene{.width = 8, .height = 4, .fps = 4, .duration = 1, .layers = layers};
    exportScene(scene, folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_EQ(log.appended.size(), 4u);
    EXPECT_EQ(right, 4);
    EXPECT_TRUE(log.finished);
}

/// Text that types on, a shadow, a group, a drifting field and a video that two layers show at different times.
TweenScene variedScene(const std::string& video)
{
    const auto moving = [](Layer layer, double distance) {
        layer.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0},
                           Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 4, .value = distance}};
        return layer;
    };
    Layer words{.kind = Layer::Kind::text, .size = {120, 40}, .text = "Every worker draws its own part of the film"};
    words.spans = {TimeSpan{.start = 0, .end = 5, .effects = {SpanEffect{.kind = SpanEffect::Kind::typeOn, .duration = 3}}}};
    Layer card{.fill = {0.2, 0.4, 0.9, 1}, .size = {60, 30}};
    card.shadow = ShadowPreset::high;
    Layer group{.kind = Layer::Kind::group};
    group.children = {card, words};
    Layer field{.kind = Layer::Kind::gradientField, .size = {160, 90}};
    Layer clip = videoOf(video, {40, 30}), later = videoOf(video, {40, 30});
    later.videoClip.sourceStart = 1;
    later.transform.y = 50;
    TweenScene scene{.width = 160, .height = 90, .fps = 120, .duration = 5};
    scene.layers = {field, moving(group, 80), moving(clip, 100), later};
    return scene;
}

TEST(Export, AFilmIsTheSameWithAnyNumberOfWorkers)
{
    const TemporaryFolder folder;
    const std::string video = folder.path("clip.mkv");
    makeMedia(video, "-f lavfi -i testsrc=s=40x30:r=30:d=6 -c:v ffv1");
    const TweenScene scene = variedScene(video);
    const auto film = [&](int workers, int samples) {
        exportScene(scene, folder.path("film.mp4"), {.motionBlurSamples = samples, .workers = workers});
        return fileBytes(folder.path("film.mp4"));
    };
    for (const int samples : {1, 2, -2}) {
        SCOPED_TRACE(testing::Message() << samples << " samples");
        const std::vector<std::uint8_t> one = film(1, samples);
        for (const int workers : {2, 2, 3, 8}) EXPECT_TRUE(film(workers, samples) == one) << workers << " workers";
    }
}

TEST(Export, JoinedScenesAreTheSameWithAnyNumberOfWorkers)
{
    const TemporaryFolder folder;
    TweenScene first = movingScene(2, 100), second = movingScene(3, 100);
    first.transition = SceneTransition{.kind = SceneTransition::Kind::zoom, .duration = 1};
    first.endPause = 0.5;
    const auto film = [&](int workers) {
        Exporter::exportMP4(Array<TweenScene>{first, second}, folder.path("film.mp4"), std::nullopt, {}, {.workers = workers});
        return fileBytes(folder.path("film.mp4"));
    };
    const std::vector<std::uint8_t> one = film(1);
    for (const int workers : {2, 3, 8}) EXPECT_TRUE(film(workers) == one) << workers << " workers";
}

TEST(ExportError, TellsPeopleAndScripts)
{
    using enum ExportError::Kind;
    struct Case { ExportError error; const char* words; const char* form; };
    for (const Case& c : {Case{ExportError(cannotCreateWriter), "Couldn't create the video writer.", "cannotCreateWriter"},
                          Case{ExportError(cannotCreatePixelBufferPool), "Couldn't allocate a pixel buffer pool.", "cannotCreatePixelBufferPool"},
                          Case{ExportError(userCancelled), "Export cancelled.", "userCancelled"},
                          Case{ExportError(writeFailed, "No scenes to export"), "Export failed: No scenes to export",
                               "writeFailed(\"No scenes to export\")"}}) {
        EXPECT_EQ(c.error.errorDescription(), c.words);
        EXPECT_EQ(c.error.textualForm(), c.form);
    }
}

TEST(WriterErrors, AreDescribedFromTheOutsideIn)
{
    const auto underlying = std::make_shared<const PlatformError>(
        PlatformError{.localizedDescription = "No space", .localizedFailureReason = {}, .domain = "POSIX", .code = 28, .underlying = nullptr});
    EXPECT_EQ(describe(std::nullopt), "unknown error");
    EXPECT_EQ(describe(PlatformError{.localizedDescription = "It broke", .localizedFailureReason = {}, .domain = "FFmpeg", .code = -1, .underlying = nullptr}),
              "It broke — (FFmpeg #-1)");
    EXPECT_EQ(describe(PlatformError{.localizedDescription = "It broke",
                                     .localizedFailureReason = "The disk is full",
                                     .domain = "FFmpeg",
                                     .code = -1,
                                     .underlying = underlying}),
              "It broke — The disk is full — underlying: No space [POSIX #28] — (FFmpeg #-1)");
}

} // namespace
} // namespace larkspool
