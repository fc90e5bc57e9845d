#include "shell/export_run.h"

#include "shell/hand_run_tasks.h"
#include "shell/recording_exporter.h"
#include "support/film_probe.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ExportRunTest : public testing::Test {
protected:
    ExportRun::Services services()
    {
        return {.tasks = tasks.tasks(),
                .cpu = cpu.exporter(),
                .gpu = gpu.exporter(),
                .reveal = [this](const std::string& film) { revealed.push_back(film); },
                .changed = [this] { ++changes; }};
    }

    void start(const FilmChoices& choices = {}) { run->runExportPipeline(document, choices, path, defaults); }

    TemporaryFolder folder;
    std::string path = folder.path("film.mp4");
    HandRunTasks tasks;
    RecordingExporter cpu, gpu;
    MemoryUserDefaults defaults;
    TweenDocument document;
    std::vector<std::string> revealed;
    int changes = 0;
    std::unique_ptr<ExportRun> run = std::make_unique<ExportRun>(services());
};

} // namespace

TEST_F(ExportRunTest, ShowsProgressAndFramesAndRevealsTheFilmAtTheEnd)
{
    EXPECT_FALSE(run->isRunning());
    EXPECT_FALSE(run->state().exportProgress);
    start();
    EXPECT_TRUE(run->isRunning());
    EXPECT_EQ(run->state().exportProgress, 0);
    EXPECT_EQ(changes, 1);

    cpu.during = [&](const Exporter::ExportOptions& options) {
        PixelBuffer picture(3, 2);
        picture.row(1)[8] = 77;
        options.previewFrame(picture);
        options.progress(0.25);
        tasks.drain();
        EXPECT_EQ(run->state().exportProgress, 0.25);
        ASSERT_TRUE(run->state().liveFrame);
        picture.row(1)[8] = 0; // The exporter goes on with its buffer; the frame that is shown stays.
        EXPECT_EQ(run->state().liveFrame->row(1)[8], 77);
        EXPECT_EQ(run->state().liveFrame->width(), 3);
        options.progress(0.5);
        tasks.drain();
        EXPECT_EQ(run->state().exportProgress, 0.5);
        EXPECT_TRUE(run->state().liveFrame);
    };
    tasks.workAndDrain();
    EXPECT_FALSE(run->isRunning());
    EXPECT_FALSE(run->state().exportProgress);
    EXPECT_FALSE(run->state().liveFrame);
    EXPECT_FALSE(run->state().exportError);
    EXPECT_THAT(revealed, ElementsAre(path));
}

TEST_F(ExportRunTest, ASlowMainThreadIsToldTheNewestAlone)
{
    start();
    cpu.during = [&](const Exporter::ExportOptions& options) {
        for (int i = 1; i <= 1000; ++i) options.progress(i / 1000.0);
        EXPECT_EQ(tasks.drain(), 1);
        EXPECT_EQ(run->state().exportProgress, 1);
    };
    tasks.workAndDrain();
}

TEST_F(ExportRunTest, TheTargetAndTheSettingChooseTheExporterAndItsForm)
{
    document.scenes = {TweenScene{}, TweenScene{}};
    struct Case {
        const char* when;
        bool useGPU;
        ExportTarget target;
        bool allScenes;
    };
    for (const Case& c : {Case{"all scenes on the CPU", false, ExportTarget::allScenes(), true},
                          Case{"the current scene on the CPU", false, ExportTarget::currentScene(), false},
                          Case{"a scene on the CPU", false, ExportTarget::specificScene(1), false},
                          Case{"all scenes on the GPU", true, ExportTarget::allScenes(), true},
                          Case{"the current scene on the GPU", true, ExportTarget::currentScene(), false},
                          Case{"a scene on the GPU", true, ExportTarget::specificScene(1), false}}) {
        SCOPED_TRACE(c.when);
        cpu.calls.clear();
        gpu.calls.clear();
        defaults.set("lksUseGPUExporter", c.useGPU);
        start({.target = c.target, .motionBlurSamples = 8, .outputScale = 7});
        tasks.workAndDrain();
        EXPECT_EQ(cpu.calls.size(), c.useGPU ? 0 : 1);
        EXPECT_EQ(gpu.calls.size(), c.useGPU ? 1 : 0);
        const RecordingExporter::Call& call = (c.useGPU ? gpu : cpu).calls.at(0);
        EXPECT_EQ(call.allScenes, c.allScenes);
        EXPECT_EQ(call.path, path);
        EXPECT_EQ(call.startTime, 0);
        EXPECT_EQ(call.motionBlurSamples, 8);
        EXPECT_EQ(call.outputScale, 1);
    }
}

TEST_F(ExportRunTest, TheSettingIsReadOnceAtTheStart)
{
    start();
    defaults.set("lksUseGPUExporter", true);
    tasks.workAndDrain();
    EXPECT_EQ(cpu.calls.size(), 1u);
    EXPECT_THAT(gpu.calls, IsEmpty());
}

TEST_F(ExportRunTest, WithoutASecondExporterTheFirstServes)
{
    ExportRun::Services one = services();
    one.gpu.reset();
    run = std::make_unique<ExportRun>(one);
    defaults.set("lksUseGPUExporter", true);
    start();
    tasks.workAndDrain();
    EXPECT_EQ(cpu.calls.size(), 1u);
}

TEST_F(ExportRunTest, WritesTheDocumentAsItWasAtTheStart)
{
    const TweenDocument before = document;
    start();
    document.scenes.edit()[0].duration = 99;
    tasks.workAndDrain();
    EXPECT_THAT(cpu.calls.at(0).scenes, ElementsAre(before.scenes[0]));
}

TEST_F(ExportRunTest, AChosenPlaceKeepsTheChoicesAndStartsTheExportOfTheSheetsScenes)
{
    document.scenes = {TweenScene{.name = "Intro"}, TweenScene{.name = "Outro"}};
    document.activeSceneIndex = 1;
    ExportSheetState sheet = startExport(document, "Board", defaults);
    sheet.motionBlurSamples = -2;
    sheet.includeAudio = false;
    sheet.outputScale = 0.25;
    const Array<TweenScene> before = document.scenes;
    document.scenes.edit()[1].name = "Changed while the sheet is open";
    document.activeSceneIndex = 0;

    std::vector<SavePanel> panels;
    run->continueExport(sheet, document, defaults, [&](const SavePanel& panel) {
        panels.push_back(panel);
        EXPECT_FALSE(defaults.value("lksLastExportTarget"));
        return path;
    });
    ASSERT_EQ(panels.size(), 1u);
    EXPECT_EQ(panels[0].nameFieldStringValue, "Board (Outro) Export.mp4");
    EXPECT_EQ(panels[0].allowedContentType, "video/mp4");
    EXPECT_TRUE(panels[0].canCreateDirectories);
    EXPECT_EQ(storedFilmChoices(defaults, 2), sheet.choices());
    EXPECT_EQ(defaults.string("lksLastExportTarget"), "current");
    EXPECT_TRUE(run->isRunning());

    run->continueExport(sheet, document, defaults, [&](const SavePanel& panel) {
        panels.push_back(panel);
        return path;
    });
    EXPECT_EQ(panels.size(), 1u) << "one export at a time";
    tasks.workAndDrain();
    ASSERT_EQ(cpu.calls.size(), 1u);
    EXPECT_THAT(cpu.calls[0].scenes, ElementsAre(before[1]));
    EXPECT_EQ(cpu.calls[0].path, path);
    EXPECT_EQ(cpu.calls[0].motionBlurSamples, -2);
    EXPECT_EQ(cpu.calls[0].outputScale, 0.25);
}

TEST_F(ExportRunTest, WithoutAPlaceNothingIsKeptAndNothingStarts)
{
    ExportSheetState sheet = startExport(document, "Board", defaults);
    sheet.motionBlurSamples = 16;
    run->continueExport(sheet, document, defaults, [](const SavePanel&) { return std::nullopt; });
    EXPECT_FALSE(run->isRunning());
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(tasks.waitingWork(), 0u);
    for (const char* key : {"lksLastExportTarget", "lksExportMotionBlurSamples", "lksExportIncludeAudio", "lksExportOutputScale"})
        EXPECT_FALSE(defaults.value(key)) << key;
}

TEST_F(ExportRunTest, AStoppedExportRevealsItsPartAndShowsNoError)
{
    cpu.during = [&](const Exporter::ExportOptions& options) {
        EXPECT_FALSE(options.cancel->isCancelled());
        run->stop();
        if (options.cancel->isCancelled()) throwUserCancelled();
    };
    start();
    tasks.workAndDrain();
    EXPECT_FALSE(run->isRunning());
    EXPECT_FALSE(run->state().exportProgress);
    EXPECT_FALSE(run->state().exportError);
    EXPECT_THAT(revealed, ElementsAre(path));
}

TEST_F(ExportRunTest, AStoppedExportWithoutAPartRevealsNothing)
{
    cpu.during = [&](const Exporter::ExportOptions&) {
        std::filesystem::remove(path);
        throwUserCancelled();
    };
    start();
    tasks.workAndDrain();
    EXPECT_FALSE(run->state().exportError);
    EXPECT_THAT(revealed, IsEmpty());
}

TEST_F(ExportRunTest, EachExporterKnowsItsOwnCancel)
{
    struct Stopped : std::runtime_error {
        Stopped() : std::runtime_error("stopped") {}
    };
    ExportRun::Services both = services();
    both.gpu->isCancel = [](const std::exception& error) { return dynamic_cast<const Stopped*>(&error) != nullptr; };
    run = std::make_unique<ExportRun>(both);
    cpu.during = gpu.during = [](const Exporter::ExportOptions&) { throw Stopped(); };
    defaults.set("lksUseGPUExporter", true);
    start();
    tasks.workAndDrain();
    EXPECT_FALSE(run->state().exportError);
    defaults.set("lksUseGPUExporter", false);
    start();
    tasks.workAndDrain();
    EXPECT_EQ(run->state().exportError, "stopped");
}

TEST_F(ExportRunTest, AnyOtherErrorIsShownUntilItIsDismissedOrAnotherRunBegins)
{
    cpu.during = [](const Exporter::ExportOptions&) {
        throw Exporter::ExportError(Exporter::ExportError::Kind::writeFailed, "No space left on device");
    };
    start();
    tasks.workAndDrain();
    EXPECT_FALSE(run->isRunning());
    EXPECT_FALSE(run->state().exportProgress);
    EXPECT_EQ(run->state().exportError, "Export failed: No space left on device");
    EXPECT_THAT(revealed, IsEmpty());

    run->dismissError();
    EXPECT_FALSE(run->state().exportError);

    start();
    tasks.workAndDrain();
    ASSERT_TRUE(run->state().exportError);
    start();
    EXPECT_FALSE(run->state().exportError);
}

TEST_F(ExportRunTest, RunsOneExportAtATime)
{
    start();
    start();
    EXPECT_EQ(tasks.waitingWork(), 1u);
    tasks.workAndDrain();
    EXPECT_EQ(cpu.calls.size(), 1u);
    start();
    EXPECT_EQ(tasks.waitingWork(), 1u);
}

TEST_F(ExportRunTest, AnExportWhoseEditorGoesIsStoppedAndHeardOfNoMore)
{
    cpu.during = [&](const Exporter::ExportOptions& options) {
        options.progress(0.5);
        run.reset();
        EXPECT_TRUE(options.cancel->isCancelled());
    };
    start();
    changes = 0;
    tasks.workAndDrain();
    EXPECT_EQ(changes, 0);
    EXPECT_THAT(revealed, IsEmpty());
}

TEST_F(ExportRunTest, WritesARealFilmOnAThreadOfItsOwn)
{
    std::mutex mutex;
    std::condition_variable arrived;
    std::deque<std::function<void()>> steps;
    std::thread worker;
    bool isDone = false;
    ExportRun real({.tasks = {.detach = [&](std::function<void()> work) { worker = std::thread(std::move(work)); },
                              .onMain =
                                  [&](std::function<void()> step) {
                                      const std::lock_guard lock(mutex);
                                      steps.push_back(std::move(step));
                                      arrived.notify_one();
                                  }},
                    .reveal = [&](const std::string&) { isDone = true; },
                    .changed = {}});
    document.scenes = {TweenScene{.width = 64, .height = 36, .fps = 30, .duration = 1}};
    real.runExportPipeline(document, {.outputScale = 0.5}, path, defaults);
    while (real.isRunning()) {
        std::unique_lock lock(mutex);
        arrived.wait(lock, [&] { return !steps.empty(); });
        const std::function<void()> step = std::move(steps.front());
        steps.pop_front();
        lock.unlock();
        step();
    }
    worker.join();
    EXPECT_TRUE(isDone) << real.state().exportError.value_or("");
    EXPECT_EQ(probeFilm(path).frames(), 30);
    EXPECT_EQ(probeFilm(path).width, 32);
}

} // namespace larkspool
