#include "shell/film_export.h"

#include "export/exporter_gpu.h"
#include "shell/recording_exporter.h"
#include "support/test_media.h"

#include <limits>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Layer video(double start, double end)
{
    Layer layer{.kind = Layer::Kind::video};
    layer.videoURL = "/clip.mp4";
    layer.videoClip = {.sceneStart = start, .sceneEnd = end, .sourceStart = 0.25};
    return layer;
}

/// Scenes of 1, 2 and 4 seconds with a bed, the second active and with a video.
TweenDocument threeScenes()
{
    TweenDocument document;
    document.scenes = {TweenScene{.duration = 1, .endPause = 10}, TweenScene{.duration = 2}, TweenScene{.duration = 4}};
    document.scenes.edit()[1].layers = {video(0.5, 1.5)};
    document.activeSceneIndex = 1;
    document.audio = DocumentAudio{.urlString = "/bed.mp3", .volume = 0.5};
    return document;
}

bool allExist(const std::string&)
{
    return true;
}

class FilmExport : public testing::Test {
protected:
    const RecordingExporter::Call& written(const FilmJob& job)
    {
        writeFilm(job, folder.path("film.mp4"), recorder.exporter(), {});
        return recorder.calls.back();
    }

    TemporaryFolder folder;
    RecordingExporter recorder;
};

} // namespace

TEST_F(FilmExport, TheOutputScaleIsHeldWithinATenthAndOne)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    struct Case {
        double scale, held;
    };
    for (const Case& c : {Case{1, 1}, Case{0.75, 0.75}, Case{0.1, 0.1}, Case{0.05, 0.1}, Case{0, 0.1}, Case{-3, 0.1}, Case{1.5, 1},
                          Case{infinity, 1}, Case{-infinity, 0.1}, Case{std::numeric_limits<double>::quiet_NaN(), 1}}) {
        SCOPED_TRACE(c.scale);
        EXPECT_EQ(clampedOutputScale(c.scale), c.held);
        EXPECT_EQ(filmJob(threeScenes(), {.outputScale = c.scale}, allExist).outputScale, c.held);
    }
}

TEST_F(FilmExport, AllScenesGoToTheExporterTogetherWithTheWholeBed)
{
    const TweenDocument document = threeScenes();
    const RecordingExporter::Call& call =
        written(filmJob(document, {.target = ExportTarget::allScenes(), .motionBlurSamples = -2, .outputScale = 0.5}, allExist));
    EXPECT_TRUE(call.allScenes);
    EXPECT_THAT(call.scenes, ElementsAre(document.scenes[0], document.scenes[1], document.scenes[2]));
    EXPECT_EQ(call.motionBlurSamples, -2);
    EXPECT_EQ(call.outputScale, 0.5);
    EXPECT_EQ(call.audio, (Exporter::ExportAudio{.url = "/bed.mp3", .duration = 7, .fadeOutLast = 1, .volume = 0.5F}));
    EXPECT_THAT(call.clips, ElementsAre(Exporter::VideoAudioClip{
                                .url = "/clip.mp4", .outputStart = 1.5, .sourceStart = 0.25, .duration = 1, .volume = 1}));
}

TEST_F(FilmExport, OneSceneGoesAloneFromItsBeginningWithItsStretchOfTheBed)
{
    const TweenDocument document = threeScenes();
    struct Case {
        const char* when;
        ExportTarget target;
        std::size_t index;
        double startOffset, duration, fade;
        std::size_t clips;
    };
    for (const Case& c : {Case{"the first", ExportTarget::specificScene(0), 0, 0, 1, 0, 0},
                          Case{"the active one", ExportTarget::currentScene(), 1, 1, 2, 0, 1},
                          Case{"the last", ExportTarget::specificScene(2), 2, 3, 4, 1, 0},
                          Case{"one that is not there", ExportTarget::specificScene(3), 1, 1, 2, 0, 1}}) {
        SCOPED_TRACE(c.when);
        const RecordingExporter::Call& call = written(filmJob(document, {.target = c.target}, allExist));
        EXPECT_FALSE(call.allScenes);
        EXPECT_THAT(call.scenes, ElementsAre(document.scenes[c.index]));
        EXPECT_EQ(call.startTime, 0);
        ASSERT_TRUE(call.audio);
        EXPECT_EQ(call.audio->startOffset, c.startOffset);
        EXPECT_EQ(call.audio->duration, c.duration);
        EXPECT_EQ(call.audio->fadeOutLast, c.fade);
        EXPECT_EQ(call.clips.size(), c.clips);
    }
}

TEST_F(FilmExport, WithoutAudioNothingIsCollected)
{
    const FilmJob job = filmJob(threeScenes(), {.target = ExportTarget::allScenes(), .includeAudio = false}, allExist);
    EXPECT_FALSE(job.hasSound());
    const RecordingExporter::Call& call = written(job);
    EXPECT_FALSE(call.audio);
    EXPECT_THAT(call.clips, IsEmpty());
}

TEST_F(FilmExport, HasSoundWithABedOrAClip)
{
    TweenDocument document = threeScenes();
    EXPECT_TRUE(filmJob(document, {.target = ExportTarget::specificScene(0)}, allExist).hasSound());
    document.audio.reset();
    EXPECT_FALSE(filmJob(document, {.target = ExportTarget::specificScene(0)}, allExist).hasSound());
    EXPECT_TRUE(filmJob(document, {.target = ExportTarget::specificScene(1)}, allExist).hasSound());
}

TEST_F(FilmExport, ADocumentWithoutScenesIsRefusedWithWords)
{
    TweenDocument document;
    document.scenes = {};
    for (const ExportTarget target : {ExportTarget::allScenes(), ExportTarget::currentScene(), ExportTarget::specificScene(0)}) {
        try {
            written(filmJob(document, {.target = target}, allExist));
            ADD_FAILURE() << "A film of nothing was written.";
        } catch (const Exporter::ExportError& error) {
            EXPECT_EQ(localizedDescription(error), "Export failed: No scenes to export");
        }
    }
    EXPECT_THAT(recorder.calls, IsEmpty());
}

TEST(FilmExporter, KnowsItsOwnCancel)
{
    const Exporter::ExportError cpu(Exporter::ExportError::Kind::userCancelled), failed(Exporter::ExportError::Kind::cannotCreateWriter);
    const GPUExportError gpu = GPUExportError::cancelled(), none = GPUExportError::noMetalDevice();
    EXPECT_TRUE(FilmExporter::reference().isCancel(cpu));
    EXPECT_FALSE(FilmExporter::reference().isCancel(failed));
    EXPECT_FALSE(FilmExporter::reference().isCancel(gpu));
    EXPECT_TRUE(FilmExporter::gpu().isCancel(gpu));
    EXPECT_FALSE(FilmExporter::gpu().isCancel(none));
    EXPECT_FALSE(FilmExporter::gpu().isCancel(cpu));
}

TEST(FilmExporter, TheSecondOneHasErrorsOfItsOwn)
{
    const TweenScene vast{.width = 1e9};
    EXPECT_THROW(FilmExporter::gpu().exportScene(vast, "", 0, std::nullopt, {}, {}), GPUExportError);
    EXPECT_THROW(FilmExporter::gpu().exportScenes({}, "", std::nullopt, {}, {}), GPUExportError);
}

TEST(LocalizedDescription, HasASentenceForEveryError)
{
    EXPECT_EQ(localizedDescription(GPUExportError::noMetalDevice()), "No Metal device available.");
    EXPECT_EQ(localizedDescription(Exporter::ExportError(Exporter::ExportError::Kind::cannotCreateWriter)),
              "Couldn't create the video writer.");
    EXPECT_EQ(localizedDescription(std::bad_alloc()), "There is not enough memory");
}

TEST(FilmChoices, OffersFiveStrengthsOfBlurAndFourSizes)
{
    std::vector<std::pair<std::string_view, double>> offered;
    for (const MotionBlurChoice& choice : motionBlurChoices) offered.emplace_back(choice.label, choice.samples);
    for (const OutputScaleChoice& choice : outputScaleChoices) offered.emplace_back(choice.label, choice.scale);
    using Pair = std::pair<std::string_view, double>;
    EXPECT_THAT(offered, ElementsAre(Pair("Off", 1), Pair("Fast (2× ½-res)", -2), Pair("Light (4×)", 4), Pair("Medium (8×)", 8),
                                     Pair("Strong (16×)", 16), Pair("Full", 1), Pair("75%", 0.75), Pair("Half", 0.5),
                                     Pair("Quarter", 0.25)));
}

} // namespace larkspool
