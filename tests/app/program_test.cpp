#include "app/program.h"

#include "app/scratch_folder.h"
#include "app/test_documents.h"
#include "support/film_probe.h"
#include "support/sound_probe.h"
#include "support/test_media.h"

#include <csignal>
#include <filesystem>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

class HeadlessProgram : public testing::Test {
protected:
    ProgramResult run(const std::string& in, const std::string& out)
    {
        return runProgram({.environment = {{"LARKSPOOL_HEADLESS_EXPORT", in}, {"LARKSPOOL_HEADLESS_OUTPUT", out}},
                           .workingFolder = folder.path()});
    }

    /// The run failed after `linesBefore` good lines, and ended as every headless run does.
    void expectFailure(const ProgramResult& result, std::size_t linesBefore, const std::string& words)
    {
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.error, "");
        const std::vector<std::string> lines = linesOf(result.out);
        ASSERT_EQ(lines.size(), linesBefore + 1) << result.out;
        EXPECT_THAT(lines.back(), StartsWith("[headless] export failed: "));
        EXPECT_THAT(lines.back(), HasSubstr(words));
    }

    ScratchFolder folder;
    std::string document = folder.write("in.larkspool", documentText({{.layers = movingBoxText(0)}}));
};

class ExportProgram : public testing::Test {
protected:
    ScratchFolder folder;
};

} // namespace

TEST_F(HeadlessProgram, PrintsTwoLinesAndWritesTheFilm)
{
    const ProgramResult result = run("in.larkspool", "out.mp4");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.out.back(), '\n');
    EXPECT_THAT(linesOf(result.out), ElementsAre("[headless] loaded 1 scene(s) from in.larkspool",
                                                 MatchesRegex("\\[headless\\] wrote out\\.mp4 in [0-9]+\\.[0-9][0-9]s")));
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool", "out.mp4"));

    const FilmReport film = probeFilm(folder.file("out.mp4"));
    EXPECT_EQ(film.codec, "h264");
    EXPECT_EQ(film.width, 64);
    EXPECT_EQ(film.height, 36);
    EXPECT_EQ(film.rateNumerator, 10 * film.rateDenominator);
    EXPECT_EQ(film.frames(), 10);
    EXPECT_FALSE(film.hasAudio);
    EXPECT_TRUE(film.indexAtFront);
}

TEST_F(HeadlessProgram, NeedsNoWindowSystem)
{
    const ProgramResult result = runProgram({.environment = {{"LARKSPOOL_HEADLESS_EXPORT", document},
                                                             {"LARKSPOOL_HEADLESS_OUTPUT", folder.file("out.mp4")},
                                                             {"DISPLAY", "no-such-host:9"},
                                                             {"WAYLAND_DISPLAY", "no-such-socket"}}});
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(folder.has("out.mp4"));
}

TEST_F(HeadlessProgram, LeavesTheSoundOfTheDocumentOut)
{
    makeMedia(folder.file("song.wav"), "-f lavfi -i sine=d=2");
    folder.write("sounding.larkspool", soundingDocumentText({{}}, "song.wav"));
    EXPECT_EQ(linesOf(run("sounding.larkspool", "out.mp4").out).size(), 2u);
    EXPECT_FALSE(probeFilm(folder.file("out.mp4")).hasAudio);
}

TEST_F(HeadlessProgram, RunsWhateverTheArgumentsAre)
{
    const ProgramResult result = runProgram(
        {.arguments = {"--version"},
         .environment = {{"LARKSPOOL_HEADLESS_EXPORT", document}, {"LARKSPOOL_HEADLESS_OUTPUT", folder.file("out.mp4")}}});
    EXPECT_THAT(result.out, StartsWith("[headless] loaded"));
}

TEST_F(HeadlessProgram, OneVariableAloneIsNoHeadlessRun)
{
    for (const char* name : {"LARKSPOOL_HEADLESS_EXPORT", "LARKSPOOL_HEADLESS_OUTPUT"}) {
        SCOPED_TRACE(name);
        const ProgramResult result = runProgram({.arguments = {"--version"}, .environment = {{name, document}}});
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, StartsWith("larkspool "));
        EXPECT_EQ(linesOf(result.out).size(), 1u);
        EXPECT_EQ(result.error, "");
    }
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool"));
}

TEST_F(HeadlessProgram, EmptyVariablesCountAsSet)
{
    expectFailure(run("", ""), 0, "fileError(path: \"\", reason: \"No such file or directory\")");
}

TEST_F(HeadlessProgram, AMissingOrMalformedInputGivesOneLine)
{
    expectFailure(run("missing.larkspool", "out.mp4"), 0,
                  "fileError(path: \"missing.larkspool\", reason: \"No such file or directory\")");
    struct Case {
        const char* when;
        std::string bytes;
        const char* words;
    };
    const Case cases[] = {
        {"an empty file", "", "syntax("},
        {"three bytes", "LKS", "syntax("},
        {"the magic alone", std::string("LKS\0", 4), "syntax("},
        {"truncated", std::string("LKS\0{\"scenes\":[", 15), "syntax("},
        {"another top level", "[]", "typeMismatch("},
        {"100,000 nested arrays", std::string(100'000, '['), "syntax("},
        {"invalid UTF-8", "{\"a\":\"\xff\"}", "syntax("},
        {"a lone surrogate", R"({"a":"\ud800"})", "syntax("},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        folder.write("wrong.larkspool", c.bytes);
        expectFailure(run("wrong.larkspool", "out.mp4"), 0, c.words);
    }
    EXPECT_FALSE(folder.has("out.mp4"));
}

TEST_F(HeadlessProgram, ADocumentWithoutScenesFallsBackToOne)
{
    // The scene of a new document: 5 seconds at 60 frames a second.
    folder.write("empty.larkspool", std::string("LKS\0{}", 6));
    EXPECT_THAT(linesOf(run("empty.larkspool", "out.mp4").out)[0], "[headless] loaded 1 scene(s) from empty.larkspool");
    EXPECT_EQ(probeFilm(folder.file("out.mp4")).declaredFrames, 300);
}

TEST_F(HeadlessProgram, TwoScenesTakeTheFormForAList)
{
    folder.write("two.larkspool", documentText({{}, {}}));
    EXPECT_EQ(linesOf(run("two.larkspool", "out.mp4").out)[0], "[headless] loaded 2 scene(s) from two.larkspool");
    EXPECT_EQ(probeFilm(folder.file("out.mp4")).frames(), 20); // A second of each.
}

TEST_F(HeadlessProgram, AnOutputThatCannotBeWrittenFailsAndLeavesNothing)
{
    expectFailure(run("in.larkspool", "no-folder/out.mp4"), 1, "writerSetupFailed(\"");
    std::filesystem::create_directory(folder.file("taken"));
    expectFailure(run("in.larkspool", "taken"), 1, "writerSetupFailed(\"");
    expectFailure(run("in.larkspool", "/proc/out.mp4"), 1, "writerSetupFailed(\"");
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool", "taken"));
}

TEST_F(HeadlessProgram, AnExistingOutputIsReplaced)
{
    folder.write("out.mp4", "no film");
    EXPECT_EQ(linesOf(run("in.larkspool", "out.mp4").out).size(), 2u);
    EXPECT_EQ(probeFilm(folder.file("out.mp4")).frames(), 10);
}

TEST_F(HeadlessProgram, AFailedExportLeavesAnEarlierOneAlone)
{
    folder.write("out.mp4", "an earlier film");
    folder.write("wrong.larkspool", documentText({{.fps = "0"}}));
    expectFailure(run("wrong.larkspool", "out.mp4"), 1, "writerSetupFailed(\"");
    EXPECT_EQ(folder.read("out.mp4"), "an earlier film");
}

TEST_F(HeadlessProgram, SizesAndRatesThatNoFilmCanHaveFailBeforeAnythingIsWritten)
{
    struct Case {
        const char* when;
        SceneText scene;
        const char* words;
    };
    for (const Case& c :
         {Case{"a huge canvas", {.width = "1e9"}, "1000000000 x 36"}, Case{"no frames a second", {.fps = "0"}, "0 frames"},
          Case{"a negative rate", {.fps = "-30"}, "-30 frames"},
          Case{"a length beyond all disks", {.duration = "1e12"}, "1e+12 seconds"}}) {
        SCOPED_TRACE(c.when);
        folder.write("wrong.larkspool", documentText({c.scene}));
        expectFailure(run("wrong.larkspool", "out.mp4"), 1, c.words);
        EXPECT_FALSE(folder.has("out.mp4"));
    }
}

TEST_F(HeadlessProgram, DecodedFramesShowWhatFrameDraws)
{
    run("in.larkspool", "out.mp4");
    const std::vector<PixelBuffer> film = decodedFrames(folder.file("out.mp4"));
    ASSERT_EQ(film.size(), 10u);
    for (const int index : {0, 3, 9}) {
        SCOPED_TRACE(index);
        const ProgramResult drawn = runProgram({.arguments = {"frame", document, "--scene", "0", "--at",
                                                              std::to_string(index / 10.0), "-o", folder.file("frame.png")}});
        ASSERT_EQ(drawn.status, 0) << drawn.error;
        EXPECT_LT(meanChannelError(film[static_cast<std::size_t>(index)], decodedFrames(folder.file("frame.png")).at(0)), 3);
    }
}

TEST_F(ExportProgram, SaysNothingButTheFinalLineWhereNoPersonWatches)
{
    const std::string document = folder.write("in.larkspool", documentText({{}}));
    const ProgramResult result = runProgram({.arguments = {"export", document, "-o", folder.file("out.mp4")}});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(linesOf(result.out).size(), 1u);
    EXPECT_EQ(probeFilm(folder.file("out.mp4")).frames(), 10);
}

TEST_F(ExportProgram, AnInterruptKeepsTheFinishedPartAsAPlayableFilm)
{
    // Ten minutes: never finished by the time of the interrupt.
    const std::string document = folder.write(
        "in.larkspool", documentText({{.width = "320", .height = "180", .duration = "600", .layers = movingBoxText(0)}}));
    folder.write("out.mp4", "an earlier film");
    bool interrupted = false;
    const ProgramResult result = runProgram({.arguments = {"export", document, "-o", "out.mp4"},
                                             .workingFolder = folder.path(),
                                             .errorIsTerminal = true,
                                             .watch = [&](const std::string& error, int process) {
                                                 if (interrupted || error.find("frames/s") == std::string::npos) return;
                                                 interrupted = true;
                                                 kill(process, SIGINT);
                                             }});
    ASSERT_TRUE(interrupted) << result.error;
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.error, HasSubstr(" left"));

    std::int64_t kept = 0;
    const std::string words = "larkspool: Export cancelled: out.mp4 has the first ";
    const std::size_t at = result.error.find(words);
    ASSERT_NE(at, std::string::npos) << result.error;
    ASSERT_EQ(std::sscanf(result.error.c_str() + at + words.size(), "%ld of 6000 frames", &kept), 1) << result.error;
    EXPECT_EQ(probeFilm(folder.file("out.mp4")).frames(), kept);
    EXPECT_LT(kept, 6000);
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool", "out.mp4"));
}

TEST_F(ExportProgram, AnInterruptOfAFilmWithSoundKeepsTheFinishedPartWithoutSound)
{
    makeMedia(folder.file("song.wav"), "-f lavfi -i sine=d=2");
    const SceneText endless{.width = "320", .height = "180", .duration = "600", .layers = movingBoxText(0)};
    folder.write("in.larkspool", soundingDocumentText({endless}, "song.wav"));
    const ScratchFolder temporary;
    bool interrupted = false;
    const ProgramResult result = runProgram({.arguments = {"export", "in.larkspool", "-o", "out.mp4"},
                                             .environment = {{"TMPDIR", temporary.path()}},
                                             .workingFolder = folder.path(),
                                             .errorIsTerminal = true,
                                             .watch = [&](const std::string& error, int process) {
                                                 if (interrupted || error.find("frames/s") == std::string::npos) return;
                                                 interrupted = true;
                                                 kill(process, SIGINT);
                                             }});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    std::int64_t kept = 0;
    const std::string words = "larkspool: Export cancelled: out.mp4 has the first ";
    const std::size_t at = result.error.find(words);
    ASSERT_NE(at, std::string::npos) << result.error;
    ASSERT_EQ(std::sscanf(result.error.c_str() + at + words.size(), "%ld of 6000 frames, without sound", &kept), 1) << result.error;
    EXPECT_THAT(result.error, HasSubstr("frames, without sound"));
    const FilmReport film = probeFilm(folder.file("out.mp4"));
    EXPECT_EQ(film.frames(), kept);
    EXPECT_FALSE(film.hasAudio);
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool", "out.mp4", "song.wav"));
    EXPECT_THAT(temporary.names(), IsEmpty());
}

TEST_F(ExportProgram, TellsAPersonThatSoundIsBeingAdded)
{
    makeMedia(folder.file("song.wav"), "-f lavfi -i sine=d=2");
    folder.write("in.larkspool", soundingDocumentText({{}}, "song.wav"));
    const ProgramResult result = runProgram(
        {.arguments = {"export", "in.larkspool", "-o", "out.mp4"}, .workingFolder = folder.path(), .errorIsTerminal = true});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.error, HasSubstr(" 88%  10/10  adding sound"));
    EXPECT_TRUE(probeFilm(folder.file("out.mp4")).hasAudio);
}

TEST_F(ExportProgram, FindsABedBesideTheDocumentFromAnyFolder)
{
    makeMedia(folder.file("song.wav"), "-f lavfi -i sine=d=2");
    folder.write("in.larkspool", soundingDocumentText({{}}, "song.wav"));
    const ScratchFolder elsewhere;
    const ProgramResult result =
        runProgram({.arguments = {"export", folder.file("in.larkspool"), "-o", "out.mp4"}, .workingFolder = elsewhere.path()});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_TRUE(probeFilm(elsewhere.file("out.mp4")).hasAudio);
}

TEST_F(ExportProgram, ADiskThatFillsUpWhileSoundIsAddedLeavesTheEarlierFilmAlone)
{
    // Ten seconds that stand still are some kilobytes; as much noise is over a hundred.
    makeMedia(folder.file("noise.wav"), "-f lavfi -i anoisesrc=d=10:a=0.5:seed=1");
    folder.write("in.larkspool", soundingDocumentText({{.duration = "10"}}, "noise.wav"));
    folder.write("out.mp4", "an earlier film");
    const ScratchFolder temporary;
    const ProgramResult result = runProgram({.arguments = {"export", "in.larkspool", "-o", "out.mp4"},
                                             .environment = {{"TMPDIR", temporary.path()}},
                                             .workingFolder = folder.path(),
                                             .largestFile = 50'000});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(linesOf(result.error).size(), 1u) << result.error;
    EXPECT_THAT(result.error, HasSubstr("File too large"));
    EXPECT_EQ(folder.read("out.mp4"), "an earlier film");
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool", "noise.wav", "out.mp4"));
    EXPECT_THAT(temporary.names(), IsEmpty());

    EXPECT_EQ(runProgram({.arguments = {"export", "in.larkspool", "-o", "out.mp4", "--no-audio"},
                          .workingFolder = folder.path(),
                          .largestFile = 50'000})
                  .status,
              0); // It was the sound that did not fit.
}

TEST(ProgramOnAFullDisk, SaysSoAndLeavesTheEarlierFileAlone)
{
    const ScratchFolder folder;
    const std::string document =
        folder.write("in.larkspool", documentText({{.width = "320", .height = "180", .layers = movingBoxText(0)}}));
    folder.write("out", "an earlier one");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"convert", "in.larkspool", "out"},
                                                      {"frame", "in.larkspool", "--at", "0", "-o", "out"},
                                                      {"export", "in.larkspool", "-o", "out"}}) {
        SCOPED_TRACE(arguments[0]);
        const ProgramResult result = runProgram({.arguments = arguments, .workingFolder = folder.path(), .largestFile = 200});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(linesOf(result.error).size(), 1u) << result.error;
        EXPECT_THAT(result.error, HasSubstr("File too large"));
        EXPECT_EQ(folder.read("out"), "an earlier one");
        EXPECT_THAT(folder.names(), ElementsAre("in.larkspool", "out"));
    }
}

TEST_F(HeadlessProgram, AFullDiskIsAFailedExport)
{
    const ProgramResult result =
        runProgram({.environment = {{"LARKSPOOL_HEADLESS_EXPORT", "in.larkspool"}, {"LARKSPOOL_HEADLESS_OUTPUT", "out.mp4"}},
                    .workingFolder = folder.path(),
                    .largestFile = 200});
    expectFailure(result, 1, "File too large");
    EXPECT_THAT(folder.names(), ElementsAre("in.larkspool"));
}

TEST_F(ExportProgram, AFullStandardOutputIsAFailure)
{
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "This system has no /dev/full.";
    const std::string command = std::string(LARKSPOOL_PROGRAM) + " --help >/dev/full 2>" + folder.file("error");
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(folder.read("error"), "larkspool: Standard output cannot be written\n");
}

TEST_F(ExportProgram, WithoutAVerbTheEditorBesideItTakesItsPlaceWithTheFiles)
{
    namespace fs = std::filesystem;
    const std::string program = folder.file("larkspool"), document = folder.write("a b.larkspool", "{}");
    fs::copy_file(LARKSPOOL_PROGRAM, program);
    folder.write("larkspool-editor", "#!/bin/sh\nprintf 'edits:%s' \"$#\"\nprintf ':%s' \"$@\"\nexit 7\n");
    fs::permissions(folder.file("larkspool-editor"), fs::perms::owner_all);
    const ProgramResult with = runProgram({.program = program, .arguments = {document, document}});
    EXPECT_EQ(with.status, 7);
    EXPECT_EQ(with.out, "edits:2:" + document + ":" + document);

    fs::remove(folder.file("larkspool-editor"));
    const ProgramResult without = runProgram({.program = program, .arguments = {document}});
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.error, HasSubstr("The editor cannot be started: " + folder.file("larkspool-editor")));
}

} // namespace larkspool
