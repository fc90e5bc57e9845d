#include "export/headless.h"

#include "export/exporter_gpu.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using Exporter::ExportError;
using testing::ElementsAre;
using testing::StartsWith;

TweenScene sceneOfWidth(double width)
{
    TweenScene scene;
    scene.width = width;
    return scene;
}

TweenDocument documentOfWidths(std::vector<double> widths)
{
    TweenDocument document;
    document.scenes = {};
    for (const double width : widths) document.scenes.append(sceneOfWidth(width));
    return document;
}

/// What the exporter was called with.
struct ExportCall {
    enum class Form { scene, scenes };

    Form form;
    std::vector<double> widths;
    std::string path;
    double startTime = -1;
    bool hasAudio = true;
    std::size_t videoAudioClips = 1;
    int motionBlurSamples = 0;
    double outputScale = 0;
    bool hasPreview = true;
};

/// A headless run in a made-up world: every document loads in 3 seconds and exports in 1.25.
class HeadlessRun : public testing::Test {
protected:
    void run(const TweenDocument& document)
    {
        runHeadlessExport("in.larkspool", "out.mp4", surroundings([document](const std::string&) { return document; }));
    }

    HeadlessSurroundings surroundings(std::function<TweenDocument(const std::string&)> load)
    {
        return {.load =
                    [this, load](const std::string& path) {
                        seconds += 3;
                        return load(path);
                    },
                .exportScene =
                    [this](const TweenScene& scene, const std::string& path, double startTime, const auto& audio,
                           const auto& clips, const Exporter::ExportOptions& options) {
                        record({.form = ExportCall::Form::scene, .widths = {scene.width}, .path = path, .startTime = startTime},
                               audio.has_value(), clips.size(), options);
                    },
                .exportScenes =
                    [this](const Array<TweenScene>& scenes, const std::string& path, const auto& audio, const auto& clips,
                           const Exporter::ExportOptions& options) {
                        ExportCall call{.form = ExportCall::Form::scenes, .widths = {}, .path = path};
                        for (const TweenScene& scene : scenes) call.widths.push_back(scene.width);
                        record(call, audio.has_value(), clips.size(), options);
                        if (scenes.empty()) ExporterGPU::exportMP4(scenes, path, audio, clips, options);
                    },
                .seconds = [this] { return seconds; },
                .print = [this](std::string_view line) { lines.emplace_back(line); }};
    }

    void record(ExportCall call, bool hasAudio, std::size_t clips, const Exporter::ExportOptions& options)
    {
        call.hasAudio = hasAudio;
        call.videoAudioClips = clips;
        call.motionBlurSamples = options.motionBlurSamples;
        call.outputScale = options.outputScale;
        call.hasPreview = static_cast<bool>(options.previewFrame);
        calls.push_back(call);
        seconds += 1.25;
        if (failure) std::rethrow_exception(failure);
    }

    double seconds = 1000;
    std::exception_ptr failure;
    std::vector<ExportCall> calls;
    std::vector<std::string> lines;
};

} // namespace

TEST(HeadlessRequest, NeedsBothVariablesAndTakesAnEmptyValueForOne)
{
    using Environment = std::map<std::string, std::string>;
    struct Case {
        const char* when;
        Environment environment;
        std::optional<HeadlessRequest> request;
    };
    const Case cases[] = {
        {"none", {}, std::nullopt},
        {"the input alone", {{"LARKSPOOL_HEADLESS_EXPORT", "in"}}, std::nullopt},
        {"the output alone", {{"LARKSPOOL_HEADLESS_OUTPUT", "out"}}, std::nullopt},
        {"both", {{"LARKSPOOL_HEADLESS_EXPORT", "in"}, {"LARKSPOOL_HEADLESS_OUTPUT", "out"}}, HeadlessRequest{"in", "out"}},
        {"both, empty", {{"LARKSPOOL_HEADLESS_EXPORT", ""}, {"LARKSPOOL_HEADLESS_OUTPUT", ""}}, HeadlessRequest{"", ""}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        const auto lookUp = [&c](const char* name) {
            const auto found = c.environment.find(name);
            return found == c.environment.end() ? nullptr : found->second.c_str();
        };
        EXPECT_EQ(headlessRequest(lookUp), c.request);
    }
}

TEST_F(HeadlessRun, PrintsLoadedThenWroteAndLeavesReadingOutOfTheTime)
{
    run(documentOfWidths({640}));
    EXPECT_THAT(lines, ElementsAre("[headless] loaded 1 scene(s) from in.larkspool", "[headless] wrote out.mp4 in 1.25s"));
}

TEST_F(HeadlessRun, HandsASingleSceneToTheFormForOneScene)
{
    TweenDocument document = documentOfWidths({640});
    document.scenes.edit()[0].transition = SceneTransition{.kind = SceneTransition::Kind::push, .duration = 1};
    run(document);

    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].form, ExportCall::Form::scene);
    EXPECT_THAT(calls[0].widths, ElementsAre(640));
    EXPECT_EQ(calls[0].path, "out.mp4");
    EXPECT_EQ(calls[0].startTime, 0);
}

TEST_F(HeadlessRun, HandsAnyOtherNumberOfScenesToTheFormForAList)
{
    for (const std::vector<double>& widths : {std::vector<double>{640, 320}, std::vector<double>{1, 2, 3}}) {
        SCOPED_TRACE(widths.size());
        calls.clear();
        run(documentOfWidths(widths));
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].form, ExportCall::Form::scenes);
        EXPECT_EQ(calls[0].widths, widths);
        EXPECT_EQ(calls[0].path, "out.mp4");
    }
}

TEST_F(HeadlessRun, LeavesOutSoundBlurScaleAndPreviewWhateverTheDocumentHolds)
{
    for (const std::vector<double>& widths : {std::vector<double>{640}, std::vector<double>{640, 320}}) {
        SCOPED_TRACE(widths.size());
        calls.clear();
        TweenDocument document = documentOfWidths(widths);
        document.audio = DocumentAudio{.urlString = "song.mp3"};
        Layer video;
        video.kind = Layer::Kind::video;
        video.videoURL = "clip.mp4";
        document.scenes.edit()[0].layers = {video};
        run(document);

        ASSERT_EQ(calls.size(), 1u);
        EXPECT_FALSE(calls[0].hasAudio);
        EXPECT_EQ(calls[0].videoAudioClips, 0u);
        EXPECT_EQ(calls[0].motionBlurSamples, 1);
        EXPECT_EQ(calls[0].outputScale, 1);
        EXPECT_FALSE(calls[0].hasPreview);
    }
}

TEST_F(HeadlessRun, ADocumentWithoutScenesFailsWithTheErrorOfTheListForm)
{
    run(documentOfWidths({}));
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].form, ExportCall::Form::scenes);
    EXPECT_THAT(lines, ElementsAre("[headless] loaded 0 scene(s) from in.larkspool",
                                   "[headless] export failed: writerSetupFailed(\"No scenes to render\")"));
}

TEST_F(HeadlessRun, AFailedExportEndsWithTheErrorsTextualFormRatherThanItsWords)
{
    using enum ExportError::Kind;
    struct Case {
        std::exception_ptr failure;
        const char* line;
    };
    const Case cases[] = {
        {std::make_exception_ptr(ExportError(cannotCreateWriter)), "[headless] export failed: cannotCreateWriter"},
        {std::make_exception_ptr(ExportError(cannotCreatePixelBufferPool)),
         "[headless] export failed: cannotCreatePixelBufferPool"},
        {std::make_exception_ptr(ExportError(userCancelled)), "[headless] export failed: userCancelled"},
        {std::make_exception_ptr(ExportError(writeFailed, "Disk full")), "[headless] export failed: writeFailed(\"Disk full\")"},
        {std::make_exception_ptr(GPUExportError::cancelled()), "[headless] export failed: cancelled"},
        {std::make_exception_ptr(GPUExportError::appendFailed(7, "Disk full")),
         "[headless] export failed: appendFailed(7, \"Disk full\")"},
        {std::make_exception_ptr(std::bad_alloc()), "[headless] export failed: outOfMemory"},
        {std::make_exception_ptr(std::runtime_error("odd")), "[headless] export failed: unexpected(\"odd\")"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        lines.clear();
        failure = c.failure;
        run(documentOfWidths({640}));
        EXPECT_THAT(lines, ElementsAre("[headless] loaded 1 scene(s) from in.larkspool", c.line));
    }
}

TEST_F(HeadlessRun, ADocumentThatDoesNotLoadGivesOneLineAndNoExport)
{
    runHeadlessExport("in", "out", surroundings([](const std::string&) -> TweenDocument { throw std::runtime_error("odd"); }));
    EXPECT_THAT(lines, ElementsAre("[headless] export failed: unexpected(\"odd\")"));
    EXPECT_TRUE(calls.empty());
}

TEST(HeadlessSurroundings, ExportWithTheSecondExporter)
{
    const HeadlessSurroundings system = HeadlessSurroundings::system();
    EXPECT_THROW(system.exportScene(sceneOfWidth(1e9), "", 0, std::nullopt, {}, {}), GPUExportError);
    EXPECT_THROW(system.exportScenes({}, "", std::nullopt, {}, {}), GPUExportError);
}

TEST_F(HeadlessRun, AMissingOrMalformedFileGivesOneLine)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("larkspool-headless-" + UUID::random().string());
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "text.larkspool") << "no document";
    const auto load = HeadlessSurroundings::system().load;
    for (const char* name : {"missing.larkspool", "text.larkspool", "."}) {
        SCOPED_TRACE(name);
        lines.clear();
        runHeadlessExport((folder / name).string(), "out", surroundings(load));
        EXPECT_THAT(lines, ElementsAre(StartsWith("[headless] export failed: ")));
    }
    EXPECT_TRUE(calls.empty());
    std::filesystem::remove_all(folder);
}

} // namespace larkspool
