#include "export/exporter_gpu.h"

#include "export/fake_asset_writer.h"
#include "export/places.h"
#include "export/told_source.h"
#include "rendering/video_export_readers.h"
#include "support/film_probe.h"
#include "support/test_media.h"

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

namespace larkspool {
namespace {

using Exporter::ExportAudio;
using Exporter::ExportError;
using Exporter::ExportOptions;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr ColorRGBA red{1, 0, 0, 1}, blue{0, 0, 1, 1};

std::string textAt(const std::string& path)
{
    const std::vector<std::uint8_t> bytes = fileBytes(path);
    return {bytes.begin(), bytes.end()};
}

/// A white scene whose one red box, as high as the scene, moves one pixel to the right in each frame.
TweenScene movingScene(double duration, std::int64_t fps, CGSize size = {8, 4})
{
    Layer box{.fill = red, .size = {1, size.height}};
    const double distance = duration * static_cast<double>(fps);
    box.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0, .easing = Easing::linear()},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = duration, .value = distance}};
    TweenScene scene{.width = size.width, .height = size.height, .fps = fps, .duration = duration};
    scene.layers = {box};
    return scene;
}

TweenScene plainScene(ColorRGBA color, double duration, std::int64_t fps = 4)
{
    return {.width = 8, .height = 4, .fps = fps, .duration = duration, .background = color};
}

ExportOptions optionsWritingTo(WriterLog& log)
{
    ExportOptions options;
    options.makeWriter = [&log](const std::string& path, const FilmSettings& settings) {
        return std::make_unique<FakeAssetWriter>(path, settings, log);
    };
    return options;
}

void exportScene(const TweenScene& scene, const std::string& path, const ExportOptions& options, double startTime = 0)
{
    ExporterGPU::exportMP4(scene, path, startTime, std::nullopt, {}, options);
}

void exportScenes(const Array<TweenScene>& scenes, const std::string& path, const ExportOptions& options)
{
    ExporterGPU::exportMP4(scenes, path, std::nullopt, {}, options);
}

std::string failureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const GPUExportError& error) {
        return error.errorDescription();
    } catch (const std::exception& error) {
        return std::string("another error: ") + error.what();
    }
    return "no failure";
}

/// The blue of the pixels in the middle row: 255 in white, 0 in red.
std::vector<int> blueOf(const PixelBuffer& picture)
{
    std::vector<int> values;
    for (int x = 0; x < picture.width(); ++x) values.push_back(picture.row(picture.height() / 2)[4 * x]);
    return values;
}

/// What each distinct picture shows, in the order of the film.
std::vector<std::vector<int>> bluesOf(const std::function<void(const ExportOptions&)>& work, ExportOptions options = {})
{
    WriterLog log;
    std::vector<std::vector<int>> pictures;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) { pictures.push_back(blueOf(picture)); };
    options.makeWriter = optionsWritingTo(log).makeWriter;
    work(options);
    return pictures;
}

TEST(GPUExportError, TellsPeopleAndScripts)
{
    struct Case { GPUExportError error; const char* words; const char* form; };
    for (const Case& c : {Case{GPUExportError::pixelBufferPoolFailed(-12), "CVPixelBufferPoolCreate: -12", "pixelBufferPoolFailed(-12)"},
                          Case{GPUExportError::writerSetupFailed("No scenes to render"), "AVAssetWriter setup: No scenes to render",
                               "writerSetupFailed(\"No scenes to render\")"},
                          Case{GPUExportError::appendFailed(3, "It broke"), "Append failed at frame 3: It broke",
                               "appendFailed(3, \"It broke\")"},
                          Case{GPUExportError::noMetalDevice(), "No Metal device available.", "noMetalDevice"},
                          Case{GPUExportError::textureAllocFailed(), "Couldn't make MTLTexture from IOSurface.", "textureAllocFailed"},
                          Case{GPUExportError::cancelled(), "GPU export cancelled.", "cancelled"}}) {
        SCOPED_TRACE(c.form);
        EXPECT_EQ(c.error.errorDescription(), c.words);
        EXPECT_EQ(c.error.textualForm(), c.form);
    }
}

TEST(GPUExport, EveryFrameIsAppendedOnceAtTheSizeAndRateOfTheScene)
{
    const TemporaryFolder folder;
    WriterLog log;
    exportScene(movingScene(1, 7, {101, 51}), folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_THAT(log.appended, ElementsAre(0, 1, 2, 3, 4, 5, 6));
    EXPECT_TRUE(log.finished);
    EXPECT_EQ(log.settings.width, 100);
    EXPECT_EQ(log.settings.height, 50);
    EXPECT_EQ(log.settings.fps, 7);
    EXPECT_THAT(folder.names(), ElementsAre("film.mp4"));
}

TEST(GPUExport, TheOutputScaleIsHeldWithinATenthAndOne)
{
    const TemporaryFolder folder;
    struct Case { double scale; std::int64_t width, height; };
    for (const Case& c : {Case{0.05, 20, 10}, Case{0.5, 100, 50}, Case{1.5, 200, 100}}) {
        SCOPED_TRACE(c.scale);
        WriterLog log;
        ExportOptions options = optionsWritingTo(log);
        options.outputScale = c.scale;
        exportScene(movingScene(0.25, 4, {200, 100}), folder.path("film.mp4"), options);
        EXPECT_EQ(log.settings.width, c.width);
        EXPECT_EQ(log.settings.height, c.height);
    }
}

TEST(GPUExport, ASingleSceneRunsPastItsEndByItsStartTime)
{
    const TemporaryFolder folder;
    WriterLog log;
    std::vector<int> places;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) {
        const std::vector<int> blues = blueOf(picture);
        places.push_back(static_cast<int>(std::ranges::find(blues, 0) - blues.begin()));
    };
    exportScene(movingScene(1, 4), folder.path("film.mp4"), optionsWritingTo(log), 0.5);
    EXPECT_EQ(log.appended.size(), 4u) << "as many as without a start time";
    EXPECT_THAT(places, ElementsAre(2, 3, 4)) << "at 0.5, 0.75 and 1";
    EXPECT_THAT(log.repeated, ElementsAre(3)) << "at 1.25, where it holds";
}

TEST(GPUExport, AListOfScenesHasPausesAndTransitionsAtTheSizeAndRateOfTheFirst)
{
    const TemporaryFolder folder;
    WriterLog log;
    TweenScene first = plainScene(red, 0.5), second = plainScene(blue, 0.5, 60);
    first.endPause = 1;
    first.transition = {.kind = SceneTransition::Kind::fade, .duration = 0.75};
    second.width = 16;
    std::vector<std::pair<int, int>> redAndBlue;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) {
        const std::uint8_t* pixel = picture.row(2) + 4 * 4;
        redAndBlue.emplace_back(pixel[2], pixel[0]);
    };
    exportScenes({first, second}, folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_EQ(log.settings.width, 8);
    EXPECT_EQ(log.settings.fps, 4);
    EXPECT_EQ(log.appended.size(), 6u + 3 + 2);
    EXPECT_THAT(log.encoded, ElementsAre(0, 6, 7, 8, 9));
    EXPECT_THAT(log.repeated, ElementsAre(1, 2, 3, 4, 5, 10));

    // Red at 1 - p over black, blue at p over that, for p of 1/3, 2/3 and 1.
    const std::vector<std::pair<double, double>> expected{{255, 0}, {255 * 4 / 9.0, 85}, {255 / 9.0, 170}, {0, 255}, {0, 255}};
    ASSERT_EQ(redAndBlue.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(redAndBlue[i].first, expected[i].first, 1.5) << i;
        EXPECT_NEAR(redAndBlue[i].second, expected[i].second, 1.5) << i;
    }
}

TEST(GPUExport, OneSceneInAListHasNoPause)
{
    const TemporaryFolder folder;
    WriterLog log;
    TweenScene only = movingScene(1, 4);
    only.endPause = 3;
    exportScenes({only}, folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_EQ(log.appended.size(), 4u);
}

TEST(GPUExport, BelowTwoSamplesAFrameIsOnePicture)
{
    const TemporaryFolder folder;
    const auto film = [&](int samples) {
        return bluesOf([&](const ExportOptions& options) { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); },
                       {.motionBlurSamples = samples});
    };
    const std::vector<std::vector<int>> sharp{{0, 255, 255, 255, 255, 255, 255, 255},
                                              {255, 0, 255, 255, 255, 255, 255, 255},
                                              {255, 255, 0, 255, 255, 255, 255, 255},
                                              {255, 255, 255, 0, 255, 255, 255, 255}};
    for (const int samples : {1, 0, -1, -2, -16, std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(samples);
        EXPECT_EQ(film(samples), sharp);
    }
}

TEST(GPUExport, AFrameIsTheMeanOfItsSamplesAroundIt)
{
    const TemporaryFolder folder;
    const auto film = bluesOf([&](const ExportOptions& options) { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); },
                              {.motionBlurSamples = 2});
    ASSERT_EQ(film.size(), 4u);
    // A quarter of a frame before and after its time. Before the start is the start: 0 and 0.25 pixels.
    EXPECT_NEAR(film[0][0], 255 * 0.25 / 2, 2);
    EXPECT_NEAR(film[0][1], 255 * 1.75 / 2, 2);
    // 0.75 and 1.25 pixels: the middle one is covered by three quarters in both.
    EXPECT_NEAR(film[1][0], 255 * 1.75 / 2, 2);
    EXPECT_NEAR(film[1][1], 255 * 0.5 / 2, 2);
    EXPECT_NEAR(film[1][2], 255 * 1.75 / 2, 2);
    EXPECT_EQ(film[1][3], 255);
}

TEST(GPUExport, ABlurredFrameDependsOnNothingButItsSamples)
{
    // The box stands still between its moves, so that some frames have equal samples, some different ones, and some both.
    TweenScene scene = movingScene(1, 4, {200, 4});
    Layer& box = scene.layers.edit()[0];
    box.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0.3, .value = 150.0},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0.8, .value = 150.0},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 1, .value = 20.0}};
    scene.duration = 1.5;
    const TemporaryFolder folder;
    const auto filmFrom = [&](double start) {
        std::vector<std::vector<int>> frames;
        WriterLog log;
        std::vector<int> last;
        log.onPicture = [&](const PixelBuffer& picture, std::int64_t) { last = blueOf(picture); };
        ExportOptions options = optionsWritingTo(log);
        options.motionBlurSamples = 5;
        options.progress = [&](double) { frames.push_back(last); };
        exportScene(scene, folder.path("film.mp4"), options, start);
        return frames;
    };
    const auto whole = filmFrom(0);
    for (std::size_t skipped = 1; skipped < 5; ++skipped) {
        SCOPED_TRACE(skipped);
        const auto later = filmFrom(static_cast<double>(skipped) / 4);
        for (std::size_t i = 0; i + skipped < whole.size(); ++i) EXPECT_EQ(later[i], whole[i + skipped]) << i;
    }
}

TEST(GPUExport, TheSamplesOfATransitionAreAtOnePointOfIt)
{
    const TemporaryFolder folder;
    TweenScene first = plainScene(red, 0.25);
    first.transition = {.kind = SceneTransition::Kind::slideL, .duration = 0.5};
    const auto film = bluesOf([&](const ExportOptions& options) {
        exportScenes({first, plainScene(blue, 0.25)}, folder.path("film.mp4"), options);
    }, {.motionBlurSamples = 4});
    EXPECT_THAT(film, ElementsAre(ElementsAre(0, 0, 0, 0, 0, 0, 0, 0), ElementsAre(0, 0, 0, 0, 255, 255, 255, 255),
                                  ElementsAre(255, 255, 255, 255, 255, 255, 255, 255),
                                  ElementsAre(255, 255, 255, 255, 255, 255, 255, 255)));
}

TEST(GPUExport, AFrameThatShowsWhatTheOneBeforeDidIsARepeat)
{
    const TemporaryFolder folder;
    for (const int samples : {1, 4}) {
        SCOPED_TRACE(samples);
        WriterLog log;
        ExportOptions options = optionsWritingTo(log);
        options.motionBlurSamples = samples;
        exportScene(plainScene(red, 2), folder.path("film.mp4"), options);
        EXPECT_THAT(log.encoded, ElementsAre(0));
        EXPECT_THAT(log.repeated, ElementsAre(1, 2, 3, 4, 5, 6, 7));
    }
}

TEST(GPUExport, OnlyWhatChangesIsTakenIn)
{
    const TemporaryFolder folder;
    for (const int samples : {1, 4}) {
        SCOPED_TRACE(samples);
        WriterLog log;
        ExportOptions options = optionsWritingTo(log);
        options.motionBlurSamples = samples;
        TweenScene scene = movingScene(1, 4, {640, 360});
        scene.layers.edit()[0].size = {8, 8};
        exportScene(scene, folder.path("film.mp4"), options);
        ASSERT_EQ(log.changed.size(), 4u);
        EXPECT_EQ(log.changed[0], (PixelRect{0, 0, 640, 360}));
        for (std::size_t i = 1; i < 4; ++i) {
            EXPECT_LE(log.changed[i].right, 64) << i;
            EXPECT_LE(log.changed[i].bottom, 64) << i;
            EXPECT_FALSE(log.changed[i].empty()) << i;
        }
    }
}

TEST(GPUExport, ProgressIsToldAfterEveryFrameAndEverySixthIsPreviewed)
{
    const TemporaryFolder folder;
    WriterLog log;
    std::vector<double> told;
    std::vector<std::size_t> previewed;
    ExportOptions options = optionsWritingTo(log);
    options.progress = [&](double part) { told.push_back(part); };
    options.previewFrame = [&](const PixelBuffer&) { previewed.push_back(told.size()); };
    exportScene(movingScene(1, 8), folder.path("film.mp4"), options);
    EXPECT_THAT(told, ElementsAre(0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875, 1.0));
    EXPECT_THAT(previewed, ElementsAre(0, 6));
}

TEST(GPUExport, ARendererThatIsNotThereFailsBeforeAnyFileIsTouched)
{
    const Places places;
    for (const bool hasSound : {false, true}) {
        SCOPED_TRACE(hasSound);
        writeFile(places.film(), "earlier");
        WriterLog log;
        ExportOptions options = optionsWritingTo(log);
        options.renderer = "metal";
        const std::optional<ExportAudio> bed = hasSound ? std::optional(ExportAudio{.url = "bed", .duration = 1}) : std::nullopt;
        EXPECT_EQ(failureOf([&] { ExporterGPU::exportMP4(movingScene(1, 4), places.film(), 0, bed, {}, options); }),
                  "No Metal device available.");
        EXPECT_EQ(log.settings.width, 0) << "no writer was made";
        EXPECT_EQ(textAt(places.film()), "earlier");
        EXPECT_THAT(Places::namesIn(places.films), ElementsAre("film.mp4"));
        EXPECT_THAT(Places::namesIn(places.temporary), IsEmpty());
    }
}

TEST(GPUExport, TheSoftwareRendererIsThereByItsName)
{
    const TemporaryFolder folder;
    WriterLog log;
    ExportOptions options = optionsWritingTo(log);
    options.renderer = "software";
    exportScene(movingScene(1, 4), folder.path("film.mp4"), options);
    EXPECT_TRUE(log.finished);
}

TEST(GPUExport, EveryFailureHasItsWordsAndLeavesAnEarlierFilm)
{
    struct Case { const char* what; std::function<void(WriterLog&, ExportOptions&)> arrange; TweenScene scene; const char* words; };
    const auto none = [](WriterLog&, ExportOptions&) {};
    const TweenScene scene = movingScene(1, 4);
    TweenScene huge = scene, still = scene, endless = scene;
    huge.width = 1e9;
    still.fps = 0;
    endless.duration = 1e12;
    for (const Case& c : {
             Case{"no writer", [](WriterLog&, ExportOptions& options) {
                      options.makeWriter = [](const std::string&, const FilmSettings&) { return nullptr; };
                  }, scene, "AVAssetWriter setup: Couldn't create the video writer."},
             Case{"start", [](WriterLog& log, ExportOptions&) { log.startFails = true; }, scene,
                  "AVAssetWriter setup: startWriting: It broke — (Fake #-5)"},
             Case{"buffer", [](WriterLog& log, ExportOptions&) { log.bufferFails = true; }, scene, "CVPixelBufferPoolCreate: -5"},
             Case{"encoding", [](WriterLog& log, ExportOptions&) { log.encodingFailsAt = 2; }, scene,
                  "Append failed at frame 2: It broke — (Fake #-5)"},
             Case{"append", [](WriterLog& log, ExportOptions&) { log.appendFailsAt = 0; }, scene,
                  "Append failed at frame 0: It broke — (Fake #-5)"},
             Case{"finish", [](WriterLog& log, ExportOptions&) { log.finishFails = true; }, scene,
                  "AVAssetWriter setup: It broke — (Fake #-5)"},
             Case{"a huge canvas", none, huge,
                  "AVAssetWriter setup: A film of 1000000000 x 4 pixels is too large; 16384 is the longest side"},
             Case{"no rate", none, still, "AVAssetWriter setup: A film cannot have 0 frames a second; 1 to 1000 it can"},
             Case{"a length beyond all disks", none, endless, "AVAssetWriter setup: A film of 1e+12 seconds is too long"},
             Case{"an error of drawing, which stays what it is", [](WriterLog& log, ExportOptions&) {
                      log.onPicture = [](const PixelBuffer&, std::int64_t) { throw std::runtime_error("odd"); };
                  }, scene, "another error: odd"},
         }) {
        SCOPED_TRACE(c.what);
        const TemporaryFolder folder;
        writeFile(folder.path("film.mp4"), "earlier");
        WriterLog log;
        ExportOptions options = optionsWritingTo(log);
        c.arrange(log, options);
        EXPECT_EQ(failureOf([&] { exportScene(c.scene, folder.path("film.mp4"), options); }), c.words);
        EXPECT_EQ(textAt(folder.path("film.mp4")), "earlier");
        EXPECT_THAT(folder.names(), ElementsAre("film.mp4"));
    }
}

TEST(GPUExport, NoScenesAndNoPlaceForAFilmAreRefusedBeforeAnythingIsTouched)
{
    const Places places;
    writeFile(places.film(), "earlier");
    for (const bool hasSound : {false, true}) {
        SCOPED_TRACE(hasSound);
        WriterLog log;
        const std::optional<ExportAudio> bed = hasSound ? std::optional(ExportAudio{.url = "bed", .duration = 1}) : std::nullopt;
        EXPECT_EQ(failureOf([&] { ExporterGPU::exportMP4(Array<TweenScene>(), places.film(), bed, {}, optionsWritingTo(log)); }),
                  "AVAssetWriter setup: No scenes to render");
        const std::string taken = places.films.path("");
        EXPECT_EQ(failureOf([&] { ExporterGPU::exportMP4(movingScene(1, 4), taken, 0, bed, {}, optionsWritingTo(log)); }),
                  "AVAssetWriter setup: \"" + taken + "\" is no name of a file that a film can take");
        EXPECT_EQ(textAt(places.film()), "earlier");
        EXPECT_THAT(log.appended, IsEmpty());
        EXPECT_THAT(Places::namesIn(places.temporary), IsEmpty());
    }
}

struct QuietSession final : ExportSession {
    void run(const std::function<void(double)>& progress) override { progress(0.5); }
    Status status() const override { return Status::completed; }
    std::optional<PlatformError> error() const override { return std::nullopt; }
};

struct JoiningComposition final : Composition {
    explicit JoiningComposition(std::string path) : path_(std::move(path)) {}
    double duration() const override { return 1; }
    std::unique_ptr<ExportSession> exportSession(const std::string& path, SampleStream*) override
    {
        writeFile(path, textAt(path_) + " with sound");
        return std::make_unique<QuietSession>();
    }
    std::string path_;
};

const std::optional<ExportAudio> bed = ExportAudio{.url = "bed", .duration = 1};

ExportOptions optionsWithSound(WriterLog& log)
{
    ExportOptions options = optionsWritingTo(log);
    options.sound = {.openComposition = [](const std::string& path) { return std::make_unique<JoiningComposition>(path); },
                     .openSound = [](const std::string&) { return ToldSource::constant(100, 0.5F); }};
    return options;
}

TEST(GPUExport, SoundIsLaidBesideASilentFilmThatGoes)
{
    const Places places;
    WriterLog log;
    ExportOptions options = optionsWithSound(log);
    std::vector<double> told;
    std::vector<std::string> temporaryNames;
    options.progress = [&](double part) {
        told.push_back(part);
        if (told.size() == 1) temporaryNames = Places::namesIn(places.temporary);
    };
    ExporterGPU::exportMP4(movingScene(1, 4), places.film(), 0, bed, {}, options);
    EXPECT_EQ(textAt(places.film()), "film with sound");
    using testing::DoubleEq;
    EXPECT_THAT(told, ElementsAre(DoubleEq(0.22), DoubleEq(0.44), DoubleEq(0.66), DoubleEq(0.88), DoubleEq(0.94), DoubleEq(1)));
    EXPECT_THAT(temporaryNames, testing::Contains(testing::HasSubstr("larkspool-gpu-")));
    EXPECT_THAT(Places::namesIn(places.films), ElementsAre("film.mp4"));
    EXPECT_THAT(Places::namesIn(places.temporary), IsEmpty());
}

TEST(GPUExport, ACancelBeforeTheSoundKeepsTheSilentPart)
{
    const Places places;
    writeFile(places.film(), "earlier");
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    ExportOptions options = optionsWithSound(log);
    options.cancel = &cancel;
    options.progress = [&](double part) {
        if (part >= 0.44) cancel.cancel();
    };
    EXPECT_EQ(failureOf([&] { ExporterGPU::exportMP4(movingScene(1, 4), places.film(), 0, bed, {}, options); }),
              "GPU export cancelled.");
    EXPECT_THAT(log.appended, ElementsAre(0, 1));
    EXPECT_EQ(textAt(places.film()), "film");
    EXPECT_THAT(Places::namesIn(places.films), ElementsAre("film.mp4"));
    EXPECT_THAT(Places::namesIn(places.temporary), IsEmpty());
}

TEST(GPUExport, AnyOtherFailureBeforeOrWithTheSoundLeavesAnEarlierFilm)
{
    const Places places;
    writeFile(places.film(), "earlier");
    WriterLog broken;
    broken.encodingFailsAt = 2;
    EXPECT_EQ(failureOf([&] { ExporterGPU::exportMP4(movingScene(1, 4), places.film(), 0, bed, {}, optionsWithSound(broken)); }),
              "Append failed at frame 2: It broke — (Fake #-5)");
    WriterLog log;
    ExportOptions options = optionsWithSound(log);
    options.sound.openComposition = [](const std::string&) { return nullptr; };
    EXPECT_THROW(ExporterGPU::exportMP4(movingScene(1, 4), places.film(), 0, bed, {}, options), ExportError) << "the sound's own";
    EXPECT_EQ(textAt(places.film()), "earlier");
    EXPECT_THAT(Places::namesIn(places.films), ElementsAre("film.mp4"));
    EXPECT_THAT(Places::namesIn(places.temporary), IsEmpty());
}

TEST(GPUExport, ACancelAtAnyFrameLeavesAPlayableFilm)
{
    for (const std::size_t frames : {1u, 4u, 30u}) {
        SCOPED_TRACE(frames);
        const TemporaryFolder folder;
        Exporter::ExportCancelFlag cancel;
        std::size_t told = 0;
        ExportOptions options{.cancel = &cancel};
        options.progress = [&](double) {
            if (++told == frames) cancel.cancel();
        };
        EXPECT_EQ(failureOf([&] { exportScene(movingScene(4, 30, {64, 48}), folder.path("film.mp4"), options); }), "GPU export cancelled.");
        const FilmReport report = probeFilm(folder.path("film.mp4"));
        EXPECT_GE(report.frames(), static_cast<std::int64_t>(frames));
        EXPECT_LE(report.frames(), 120);
        EXPECT_THAT(folder.names(), ElementsAre("film.mp4"));
    }
}

TEST(GPUExport, ACancelBeforeTheFirstFrameLeavesAnEarlierFilm)
{
    const TemporaryFolder folder;
    writeFile(folder.path("film.mp4"), "earlier");
    WriterLog log;
    Exporter::ExportCancelFlag cancel;
    cancel.cancel();
    ExportOptions options = optionsWritingTo(log);
    options.cancel = &cancel;
    EXPECT_EQ(failureOf([&] { exportScene(movingScene(1, 4), folder.path("film.mp4"), options); }), "GPU export cancelled.");
    EXPECT_EQ(textAt(folder.path("film.mp4")), "earlier");
}

TEST(GPUExport, AFilmMayBeOfTwoPixelsASideOrOfThirtyThreeMillion)
{
    const TemporaryFolder folder;
    exportScene(movingScene(0.5, 10, {0.4, 0.4}), folder.path("film.mp4"), {});
    const FilmReport tiny = probeFilm(folder.path("film.mp4"));
    EXPECT_EQ(tiny.width, 2);
    EXPECT_EQ(tiny.height, 2);
    EXPECT_EQ(tiny.frames(), 5);

    WriterLog log;
    int lastPixel = -1;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) { lastPixel = picture.row(4319)[4 * 7679]; };
    exportScene(movingScene(0, 60, {7680, 4320}), folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_EQ(log.settings.width, 7680);
    EXPECT_EQ(log.settings.height, 4320);
    EXPECT_EQ(lastPixel, 255);
}

TEST(GPUExport, PhaseZeroWritesASilentFilmAndTellsHowLongThatTook)
{
    const TemporaryFolder folder;
    EXPECT_GT(ExporterGPU::exportPhase0(movingScene(0.5, 10, {64, 48}), folder.path("film.mp4"), 0, 0.5), 0);
    const FilmReport report = probeFilm(folder.path("film.mp4"));
    EXPECT_EQ(report.width, 32);
    EXPECT_EQ(report.frames(), 5);
}

Layer videoOf(const std::string& path, CGSize size)
{
    Layer layer{.kind = Layer::Kind::video, .size = size, .videoURL = path};
    layer.videoClip = {.sceneEnd = 100};
    return layer;
}

/// A new film of one colour, in place of whatever had its name.
void makeFilm(const std::string& path, const char* color)
{
    std::filesystem::remove(path);
    makeMedia(path, fmt::format("-f lavfi -i color={}:s=16x16:r=30:d=2,format=yuv444p -c:v ffv1", color));
}

/// How many pictures of a film of `scene` have a blue middle.
std::size_t bluePictures(const TweenScene& scene, const std::string& path, const ExportOptions& how = {})
{
    const auto film = bluesOf([&](const ExportOptions& options) { exportScene(scene, path, options); }, how);
    return static_cast<std::size_t>(std::ranges::count_if(film, [](const std::vector<int>& blues) { return blues[4] > 200; }));
}

TEST(GPUExport, ASecondExportReadsTheSameVideoAnew)
{
    const TemporaryFolder folder;
    const std::string clip = folder.path("clip.mkv");
    TweenScene scene{.width = 8, .height = 4, .fps = 4, .duration = 1};
    scene.layers = {videoOf(clip, {8, 4})};
    makeFilm(clip, "red");
    EXPECT_EQ(bluePictures(scene, folder.path("film.mp4")), 0u);
    ASSERT_TRUE(videoFrameForGPU(clip, 0)) << "somebody reads it besides";
    makeFilm(clip, "blue");
    EXPECT_EQ(bluePictures(scene, folder.path("film.mp4")), 4u);
    makeFilm(clip, "red");
    EXPECT_LT(videoFrameForGPU(clip, 0)->pixels().row(0)[0], 50) << "the export has left no reader";
}

TEST(GPUExport, AnExportThatFailsOrIsCancelledLeavesNoReaderEither)
{
    const TemporaryFolder folder;
    const std::string clip = folder.path("clip.mkv");
    TweenScene scene = movingScene(1, 4);
    scene.layers.append(videoOf(clip, {8, 4}));
    Exporter::ExportCancelFlag cancel;
    struct Case {
        const char* what;
        Array<TweenScene> scenes;
        std::function<void(WriterLog&, ExportOptions&)> arrange;
        const char* words;
    };
    for (const Case& c :
         {Case{"an encoder fails", {scene}, [](WriterLog& log, ExportOptions&) { log.encodingFailsAt = 2; },
               "Append failed at frame 2: It broke — (Fake #-5)"},
          Case{"the file cannot be closed", {scene}, [](WriterLog& log, ExportOptions&) { log.finishFails = true; },
               "AVAssetWriter setup: It broke — (Fake #-5)"},
          Case{"a cancel", {scene}, [&](WriterLog&, ExportOptions& options) {
                   options.cancel = &cancel;
                   options.progress = [&](double) { cancel.cancel(); };
               }, "GPU export cancelled."},
          Case{"no renderer", {scene}, [](WriterLog&, ExportOptions& options) { options.renderer = "metal"; },
               "No Metal device available."},
          Case{"no scenes", {}, [](WriterLog&, ExportOptions&) {}, "AVAssetWriter setup: No scenes to render"}}) {
        SCOPED_TRACE(c.what);
        makeFilm(clip, "red");
        ASSERT_TRUE(videoFrameForGPU(clip, 0)) << "somebody reads it before";
        WriterLog log;
        log.onPicture = [&](const PixelBuffer&, std::int64_t) { EXPECT_TRUE(videoFrameForGPU(clip, 0)) << "and meanwhile"; };
        ExportOptions options = optionsWritingTo(log);
        c.arrange(log, options);
        EXPECT_EQ(failureOf([&] { exportScenes(c.scenes, folder.path("film.mp4"), options); }), c.words);
        makeFilm(clip, "blue");
        EXPECT_GT(videoFrameForGPU(clip, 0)->pixels().row(0)[0], 200);
    }
}

TEST(GPUExport, AVideoThatTheReaderCannotShowComesFromTheGenerator)
{
    const TemporaryFolder folder;
    const std::string clip = folder.path("clip.mp4"), turned = folder.path("turned.mp4");
    // Blue above, red below; turned by a quarter, the one is at the left and the other at the right.
    makeMedia(clip, "-f lavfi -i \"color=red:s=64x64:r=30:d=2,drawbox=w=64:h=32:color=blue:t=fill,format=yuv420p\" -c:v libx264 -crf 4");
    makeMedia(turned, fmt::format("-i '{}' -c copy -metadata:s:v rotate=90", clip));
    TweenScene scene{.width = 64, .height = 64, .fps = 4, .duration = 1};
    scene.layers = {videoOf(turned, {64, 64})};
    const auto film = bluesOf([&](const ExportOptions& options) { exportScene(scene, folder.path("film.mp4"), options); });
    ASSERT_FALSE(film.empty());
    for (const std::vector<int>& blues : film) EXPECT_GT(std::abs(blues[8] - blues[56]), 150);
}

TEST(GPUExport, AVideoThatCannotBeReadLeavesAllElse)
{
    const TemporaryFolder folder;
    writeFile(folder.path("noise.mkv"), std::string(10000, 'x'));
    TweenScene scene = movingScene(1, 4);
    scene.layers.append(videoOf(folder.path("noise.mkv"), {8, 4}));
    scene.layers.append(videoOf(folder.path("absent.mkv"), {8, 4}));
    WriterLog log;
    exportScene(scene, folder.path("film.mp4"), optionsWritingTo(log));
    EXPECT_EQ(log.appended.size(), 4u);
}

TEST(GPUExport, AVideoShowsThePictureOfItsTimeHoweverOftenItIsAsked)
{
    const TemporaryFolder folder;
    const std::string clip = folder.path("clip.mp4");
    makeMedia(clip, countingSource(40) + " -c:v libx264 -crf 4 -bf 3 -g 12");
    TweenScene scene{.width = 64, .height = 48, .fps = 60, .duration = 1};
    scene.layers = {videoOf(clip, {64, 48})};
    WriterLog log;
    std::vector<int> numbers;
    int last = -1;
    log.onPicture = [&](const PixelBuffer& picture, std::int64_t) {
        PixelBuffer copy(picture.width(), picture.height());
        for (int y = 0; y < picture.height(); ++y) std::copy_n(picture.row(y), 4 * picture.width(), copy.row(y));
        last = toldNumber(std::make_shared<const Image>(std::move(copy), Image::Alpha::opaque));
    };
    ExportOptions options = optionsWritingTo(log);
    options.progress = [&](double) { numbers.push_back(last); };
    exportScene(scene, folder.path("film.mp4"), options);
    ASSERT_EQ(numbers.size(), 60u);
    for (int i = 0; i < 60; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i / 2) << i;
}

/// Three chunks with a moving box over a video, a transition, and another scene.
Array<TweenScene> scenesOfThreeChunks(const TemporaryFolder& folder)
{
    const std::string clip = folder.path("clip.mp4");
    makeMedia(clip, countingSource(300) + " -c:v libx264 -crf 20 -bf 3 -g 60");
    TweenScene first = movingScene(9, 60, {64, 48});
    first.layers.edit().insert(first.layers.edit().begin(), videoOf(clip, {64, 48}));
    first.transition = {.kind = SceneTransition::Kind::zoom, .duration = 1};
    return {first, movingScene(1, 60, {64, 48})};
}

TEST(GPUExport, AnyNumberOfWorkersPaintsTheSamePictures)
{
    const TemporaryFolder folder;
    const Array<TweenScene> scenes = scenesOfThreeChunks(folder);
    const auto picturesBy = [&](int workers) {
        std::map<std::int64_t, std::vector<std::uint8_t>> pictures;
        WriterLog log;
        log.onPicture = [&](const PixelBuffer& picture, std::int64_t frame) {
            pictures[frame].assign(picture.data(), picture.row(picture.height() - 1) + picture.bytesPerRow());
        };
        ExportOptions options = optionsWritingTo(log);
        options.motionBlurSamples = 2;
        options.workers = workers;
        exportScenes(scenes, folder.path("film.mp4"), options);
        EXPECT_EQ(log.appended.size(), 660u);
        return pictures;
    };
    const auto one = picturesBy(1);
    for (const int workers : {2, 3, 2}) EXPECT_TRUE(picturesBy(workers) == one) << workers;
}

TEST(GPUExport, AnyNumberOfWorkersMakesTheSameBytes)
{
    const TemporaryFolder folder;
    const Array<TweenScene> scenes = scenesOfThreeChunks(folder);
    std::vector<std::vector<std::uint8_t>> films;
    for (const int workers : {1, 2, 3, 2}) {
        exportScenes(scenes, folder.path("film.mp4"), {.motionBlurSamples = 2, .workers = workers});
        films.push_back(fileBytes(folder.path("film.mp4")));
    }
    EXPECT_EQ(probeFilm(folder.path("film.mp4")).frames(), 660);
    for (std::size_t i = 1; i < films.size(); ++i) EXPECT_TRUE(films[i] == films[0]) << i;
}

} // namespace
} // namespace larkspool
