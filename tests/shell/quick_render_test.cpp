#include "shell/quick_render.h"

#include "shell/hand_run_tasks.h"
#include "shell/recording_exporter.h"

#include <filesystem>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using From = QuickRender::From;

class QuickRenderTest : public testing::Test {
protected:
    QuickRenderTest() { document.scenes = {TweenScene{.duration = 5}, TweenScene{.duration = 2}}; }
    ~QuickRenderTest() override
    {
        for (const RecordingExporter::Call& call : recorder.calls) QuickRender::removeQuietly(call.path);
    }

    void start(From from = From::beginning, double playhead = 0) { render->startQuickRender(document, from, playhead); }
    void startAndFinish()
    {
        start();
        tasks.workAndDrain();
    }

    const QuickRenderState::Phase& phase() const { return render->state().value().phase; }
    const std::string& lastPath() const { return recorder.calls.back().path; }

    HandRunTasks tasks;
    RecordingExporter recorder;
    TweenDocument document;
    int changes = 0;
    std::unique_ptr<QuickRender> render = std::make_unique<QuickRender>(QuickRender::Services{
        .tasks = tasks.tasks(), .exporter = recorder.exporter(), .changed = [this] { ++changes; }});
};

} // namespace

TEST_F(QuickRenderTest, RendersTheActiveSceneAtHalfSizeWithoutBlurAndBed)
{
    document.activeSceneIndex = 1;
    document.audio = DocumentAudio{.urlString = "/dev/null"};
    startAndFinish();
    ASSERT_EQ(recorder.calls.size(), 1u);
    const RecordingExporter::Call& call = recorder.calls[0];
    EXPECT_FALSE(call.allScenes);
    EXPECT_THAT(call.scenes, ElementsAre(document.scenes[1]));
    EXPECT_EQ(call.startTime, 0);
    EXPECT_EQ(call.motionBlurSamples, 1);
    EXPECT_EQ(call.outputScale, 0.5);
    EXPECT_FALSE(call.audio);
    EXPECT_THAT(call.path, MatchesRegex(".*/larkspool-quickrender-[0-9A-F-]{36}\\.mp4"));
    EXPECT_EQ(std::filesystem::path(call.path).parent_path(), std::filesystem::temp_directory_path());
}

TEST_F(QuickRenderTest, TheSoundOfVideosKeepsItsPlaceInTheSceneWhereverRenderingBegins)
{
    Layer video{.kind = Layer::Kind::video};
    video.videoURL = "/dev/null"; // Any file that is there.
    video.videoClip = {.sceneStart = 1, .sceneEnd = 3, .sourceStart = 0.5};
    document.scenes.edit()[0].layers = {video};
    start(From::playhead, 2);
    tasks.workAndDrain();
    EXPECT_EQ(recorder.calls.at(0).startTime, 2);
    EXPECT_THAT(recorder.calls[0].clips,
                ElementsAre(Exporter::VideoAudioClip{
                    .url = "/dev/null", .outputStart = 1, .sourceStart = 0.5, .duration = 2, .volume = 1}));
}

TEST_F(QuickRenderTest, GoesFromRenderingToPlaying)
{
    EXPECT_FALSE(render->state());
    start();
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Rendering{0}));
    EXPECT_EQ(changes, 1);
    recorder.during = [&](const Exporter::ExportOptions& options) {
        options.progress(0.25);
        options.previewFrame(PixelBuffer(4, 4));
        tasks.drain();
        EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Rendering{0.25}));
        EXPECT_TRUE(render->state()->liveFrame);
    };
    tasks.workAndDrain();
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Playing{lastPath()}));
    EXPECT_TRUE(std::filesystem::exists(lastPath()));
}

TEST_F(QuickRenderTest, DoesNothingWhileItIsOpen)
{
    start();
    start();
    EXPECT_EQ(tasks.waitingWork(), 1u);
    tasks.workAndDrain();
    document.scenes.edit()[0].duration = 1;
    start();
    EXPECT_EQ(tasks.waitingWork(), 0u);
}

TEST_F(QuickRenderTest, AnUnchangedScenePlaysAtOnceTheSecondTime)
{
    startAndFinish();
    const UUID first = render->state()->id;
    render->closeQuickRender();
    EXPECT_FALSE(render->state());
    EXPECT_TRUE(std::filesystem::exists(lastPath()));

    start();
    EXPECT_EQ(tasks.waitingWork(), 0u);
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Playing{lastPath()}));
    EXPECT_NE(render->state()->id, first);
}

TEST_F(QuickRenderTest, AChangedLayerAnotherSceneOrAnotherStartRendersAgain)
{
    struct Case {
        const char* when;
        std::function<void(TweenDocument&)> change;
        From from = From::beginning;
    };
    document.scenes.edit()[0].layers = {Layer{}};
    for (const Case& c : {Case{"a layer", [](TweenDocument& d) { d.scenes.edit()[0].layers.edit()[0].opacity = 0.5; }},
                          Case{"another scene", [](TweenDocument& d) { d.activeSceneIndex = 1; }},
                          Case{"another start", [](TweenDocument&) {}, From::playhead}}) {
        SCOPED_TRACE(c.when);
        startAndFinish();
        render->closeQuickRender();
        const std::string earlier = lastPath();
        TweenDocument changed = document;
        c.change(changed);
        render->startQuickRender(changed, c.from, 1);
        ASSERT_EQ(tasks.waitingWork(), 1u);
        tasks.workAndDrain();
        EXPECT_NE(lastPath(), earlier);
        EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Playing{lastPath()}));
        EXPECT_FALSE(std::filesystem::exists(earlier)); // Nothing plays it any more.
        render->closeQuickRender();
    }
}

TEST_F(QuickRenderTest, AFilmThatIsGoneIsRenderedAgain)
{
    startAndFinish();
    render->closeQuickRender();
    std::filesystem::remove(lastPath());
    start();
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Rendering{0}));
    EXPECT_EQ(tasks.waitingWork(), 1u);
}

TEST_F(QuickRenderTest, ASceneThatCannotBeWrittenDownIsRenderedEveryTime)
{
    document.scenes.edit()[0].endPause = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(quickRenderFingerprint(document.scenes[0], 0));
    startAndFinish();
    render->closeQuickRender();
    start();
    EXPECT_EQ(tasks.waitingWork(), 1u);
}

TEST(QuickRenderFingerprint, TellsScenesAndStartsApart)
{
    TweenScene scene{.name = "One"};
    const std::optional<std::string> first = quickRenderFingerprint(scene, 0);
    ASSERT_TRUE(first);
    EXPECT_THAT(*first, HasSubstr("|start:0"));
    EXPECT_EQ(quickRenderFingerprint(scene, 0), first);
    EXPECT_NE(quickRenderFingerprint(scene, 1e-9), first);
    scene.name = "Two";
    EXPECT_NE(quickRenderFingerprint(scene, 0), first);
}

TEST(QuickRenderStart, LiesAHundredthBeforeTheEndAtMost)
{
    struct Case {
        const char* when;
        double duration;
        From from;
        double playhead, start;
    };
    for (const Case& c : {Case{"from the beginning", 5, From::beginning, 3, 0}, Case{"from the playhead", 5, From::playhead, 3, 3},
                          Case{"from the end", 5, From::playhead, 5, 4.99}, Case{"beyond the end", 5, From::playhead, 60, 4.99},
                          Case{"before the beginning", 5, From::playhead, -1, 0},
                          Case{"a scene shorter than that", 0.005, From::playhead, 1, 0},
                          Case{"no playhead", 5, From::playhead, std::numeric_limits<double>::quiet_NaN(), 0}}) {
        SCOPED_TRACE(c.when);
        EXPECT_DOUBLE_EQ(quickRenderStart(TweenScene{.duration = c.duration}, c.from, c.playhead), c.start);
    }
}

TEST_F(QuickRenderTest, ClosingWhileItRendersStopsItAndLeavesNoFileAndNoError)
{
    start();
    recorder.during = [&](const Exporter::ExportOptions& options) {
        render->closeQuickRender();
        EXPECT_FALSE(render->state());
        ASSERT_TRUE(options.cancel->isCancelled());
        throwUserCancelled();
    };
    tasks.workAndDrain();
    EXPECT_FALSE(render->state());
    EXPECT_FALSE(std::filesystem::exists(lastPath()));
}

TEST_F(QuickRenderTest, AFilmThatIsFinishedAfterClosingIsRemovedToo)
{
    start();
    recorder.during = [&](const Exporter::ExportOptions&) { render->closeQuickRender(); }; // Too late for the exporter.
    tasks.workAndDrain();
    EXPECT_FALSE(render->state());
    EXPECT_FALSE(std::filesystem::exists(lastPath()));
}

TEST_F(QuickRenderTest, ClosingWhileItRendersRemovesTheEarlierFilmAsWell)
{
    startAndFinish();
    const std::string earlier = lastPath();
    render->closeQuickRender();
    const TweenDocument unchanged = document;
    document.scenes.edit()[0].duration = 4;
    start();
    render->closeQuickRender();
    EXPECT_FALSE(std::filesystem::exists(earlier));
    tasks.workAndDrain();

    render->startQuickRender(unchanged, From::beginning, 0);
    EXPECT_EQ(tasks.waitingWork(), 1u); // Its film is gone.
}

TEST_F(QuickRenderTest, ARunThatWasClosedDoesNotTouchTheNextOne)
{
    start();
    recorder.during = [&](const Exporter::ExportOptions& options) {
        options.progress(0.75);
        render->closeQuickRender();
        recorder.during = [](const Exporter::ExportOptions&) {};
        start();
        options.progress(0.9);
        throw std::runtime_error("too late");
    };
    tasks.workAndDrain();
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Rendering{0}));
    EXPECT_FALSE(render->state()->liveFrame);
    tasks.workAndDrain();
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Playing{lastPath()}));
    EXPECT_FALSE(std::filesystem::exists(recorder.calls[0].path));
}

TEST_F(QuickRenderTest, AFailureIsShownAndItsFileRemoved)
{
    recorder.during = [](const Exporter::ExportOptions&) {
        throw Exporter::ExportError(Exporter::ExportError::Kind::writeFailed, "No space left on device");
    };
    startAndFinish();
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Error{"Export failed: No space left on device"}));
    EXPECT_FALSE(std::filesystem::exists(lastPath()));

    render->closeQuickRender();
    EXPECT_FALSE(render->state());
    recorder.during = [](const Exporter::ExportOptions&) {};
    start();
    EXPECT_EQ(tasks.waitingWork(), 1u); // What failed does not count as the last film.
}

TEST_F(QuickRenderTest, AnErrorThatNamesACancelIsNotShown)
{
    recorder.during = [](const Exporter::ExportOptions&) { throw std::runtime_error("inner userCancelled"); };
    startAndFinish();
    EXPECT_FALSE(render->state());
    EXPECT_FALSE(std::filesystem::exists(lastPath()));
}

TEST_F(QuickRenderTest, AFailureAfterAGoodFilmKeepsThatFilm)
{
    startAndFinish();
    const std::string good = lastPath();
    render->closeQuickRender();
    const TweenDocument unchanged = document;
    document.scenes.edit()[0].duration = 4;
    recorder.during = [](const Exporter::ExportOptions&) { throw std::runtime_error("no"); };
    startAndFinish();
    render->closeQuickRender();
    render->startQuickRender(unchanged, From::beginning, 0);
    EXPECT_EQ(phase(), QuickRenderState::Phase(QuickRenderState::Playing{good}));
}

TEST_F(QuickRenderTest, TheFilmGoesWithTheEditor)
{
    startAndFinish();
    render.reset();
    EXPECT_FALSE(std::filesystem::exists(lastPath()));
}

TEST_F(QuickRenderTest, ARunWhoseEditorGoesIsStoppedAndLeavesNoFile)
{
    start();
    recorder.during = [&](const Exporter::ExportOptions& options) {
        options.progress(0.5);
        render.reset();
        EXPECT_TRUE(options.cancel->isCancelled());
    };
    changes = 0;
    tasks.workAndDrain();
    EXPECT_EQ(changes, 0);
    EXPECT_FALSE(std::filesystem::exists(lastPath()));
}

} // namespace larkspool
