#include "app/command_line.h"

#include "app/command_line_call.h"
#include "app/scratch_folder.h"
#include "app/test_documents.h"
#include "document/file_format.h"
#include "platform/file_io.h"
#include "support/film_probe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Matcher;
using testing::StartsWith;

class CommandLine : public testing::Test {
protected:
    ScratchFolder folder;
    std::string document = folder.write("doc.larkspool", documentText({{}, {.width = "48"}}, 1));
};

} // namespace

TEST_F(CommandLine, TellsAWrongCallInOneLineWithStatus2)
{
    const std::string out = folder.file("out");
    struct Case {
        std::vector<std::string> arguments;
        const char* words;
    };
    const Case cases[] = {
        {{"paint"}, "There is no verb or file paint"},
        {{"--paint"}, "There is no option --paint"},
        {{"--help", "check"}, "--help has no use for check"},
        {{"check"}, "check lacks its DOC"},
        {{"check", document, document}, "check has no use for"},
        {{"check", document, "--loud"}, "check has no option --loud"},
        {{"convert", document}, "convert lacks its OUT"},
        {{"evaluate", document}, "evaluate lacks --at T"},
        {{"evaluate", document, "--at", "nan"}, "--at is not a number: nan"},
        {{"evaluate", document, "--at", "1s"}, "--at is not a number: 1s"},
        {{"evaluate", document, "--at", "0", "--scene", "2"}, "There is no scene 2: the document has 2 scenes, counted from 0"},
        {{"evaluate", document, "--at", "0", "--scene", "-1"}, "There is no scene -1"},
        {{"evaluate", document, "--at", "0", "--scene", "1.0"}, "--scene is not a whole number: 1.0"},
        {{"frame", document, "--at", "0"}, "frame lacks -o PNG"},
        {{"frame", document, "--at", "0", "-o", document}, "is the document itself"},
        {{"export", document}, "export lacks -o MP4"},
        {{"export", document, "-o", document}, "is the document itself"},
        {{"export", document, "-o", out, "--scale", "nan"}, "--scale is not a number: nan"},
        {{"export", document, "-o", out, "--scale", "0"}, "--scale is not above 0: 0"},
        {{"export", document, "-o", out, "--scale", "-1"}, "--scale is not above 0: -1"},
        {{"export", document, "-o", out, "--all", "--scene", "0"}, "--all and --scene exclude each other"},
        {{"export", document, "-o", out, "--all=yes"}, "--all takes no value"},
        {{"export", document, "-o", out, "--no-audio=1"}, "--no-audio takes no value"},
        {{"export", document, "-o", out, "--scene", "2"}, "There is no scene 2: the document has 2 scenes, counted from 0"},
        {{"export", document, "-o", out, "--scene", "first"}, "--scene is not a whole number: first"},
        {{"export", document, "-o", out, "--exporter", "abacus"}, "--exporter is neither cpu nor gpu: abacus"},
        {{"export", document, "-o", out, "--motion-blur", "0"}, "--motion-blur is none of 1, -2, 4, 8 and 16: 0"},
        {{"export", document, "-o", out, "--motion-blur", "2"}, "--motion-blur is none of 1, -2, 4, 8 and 16: 2"},
        {{"export", document, "-o", out, "--motion-blur", "-4"}, "--motion-blur is none of 1, -2, 4, 8 and 16: -4"},
        {{"export", document, "-o", out, "--motion-blur", "4294967297"}, "--motion-blur is none of 1, -2, 4, 8 and 16: 4294967297"},
        {{"export", document, "-o", out, "--motion-blur", "8.0"}, "--motion-blur is not a whole number: 8.0"},
        {{"export", document, "-o", out, "--motion-blur"}, "--motion-blur lacks its value S"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.words);
        const Outcome outcome = call(c.arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.error, IsOneLine(c.words));
    }
    EXPECT_THAT(folder.names(), ElementsAre("doc.larkspool"));
}

TEST_F(CommandLine, TellsAFailureInOneLineWithStatus1)
{
    const std::string missing = folder.file("missing.larkspool"), out = folder.file("out");
    const std::string text = folder.write("text", "no document"), list = folder.write("list", "[]");
    const std::string nowhere = folder.file("no-folder/out");
    struct Case {
        std::vector<std::string> arguments;
        std::string words;
    };
    const Case cases[] = {
        {{}, "The editor cannot be started"},
        {{document}, "The editor cannot be started"},
        {{missing}, "The editor cannot be started"},
        {{"check", missing}, missing + ": No such file or directory"},
        {{"check", folder.path()}, "Is a directory"},
        {{"check", text}, text + " is no document"},
        {{"check", list}, "the top level is not an object"},
        {{"convert", missing, out}, missing + ": No such file or directory"},
        {{"convert", text, out}, "is no document"},
        {{"convert", document, nowhere}, nowhere + ": No such file or directory"},
        {{"convert", document, folder.path()}, "Is a directory"},
        {{"evaluate", missing, "--at", "0"}, "No such file or directory"},
        {{"frame", document, "--at", "0", "-o", nowhere}, nowhere + ": No such file or directory"},
        {{"export", missing, "-o", out}, "No such file or directory"},
        {{"export", document, "-o", nowhere}, "No such file or directory"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.words);
        const Outcome outcome = call(c.arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.error, IsOneLine(c.words));
    }
    EXPECT_THAT(folder.names(), ElementsAre("doc.larkspool", "list", "text"));
}

TEST_F(CommandLine, KeepsAFileNameFromSteeringTheTerminal)
{
    const Outcome outcome = call({"check", folder.file("a\n\x1b[2Jb")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.error, IsOneLine("a??[2Jb: No such file or directory"));
}

TEST_F(CommandLine, TellsItsVersionAndItsHelp)
{
    EXPECT_EQ(call({"--version"}).out, "larkspool " LARKSPOOL_VERSION "\n");
    const Outcome overall = call({"--help"});
    EXPECT_EQ(overall.status, 0);
    EXPECT_EQ(overall.error, "");
    for (const char* verb : {"check", "convert", "describe", "evaluate", "frame", "export", "patch"}) {
        SCOPED_TRACE(verb);
        EXPECT_THAT(overall.out, HasSubstr(std::string("\n  ") + verb + " "));
        const Outcome one = call({verb, "--help"});
        EXPECT_EQ(one.status, 0);
        EXPECT_EQ(one.error, "");
        EXPECT_THAT(one.out, StartsWith(std::string("larkspool ") + verb + " "));
    }
    EXPECT_THAT(call({"export", "--help"}).out, AllOf(HasSubstr("--all "), HasSubstr("--motion-blur S"), HasSubstr("--no-audio ")));
}

TEST_F(CommandLine, HelpFitsAHundredAndThirtyColumns)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--help"},
                                                      {"check", "--help"},
                                                      {"convert", "--help"},
                                                      {"describe", "--help"},
                                                      {"evaluate", "--help"},
                                                      {"export", "--help"},
                                                      {"frame", "--help"},
                                                      {"patch", "--help"}}) {
        std::istringstream lines(call(arguments).out);
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 130u) << line;
    }
}

TEST_F(CommandLine, CheckSaysNothingOfACleanDocument)
{
    call({"convert", document, folder.file("clean.larkspool")});
    const Outcome outcome = call({"check", folder.file("clean.larkspool")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.error, "");
}

TEST_F(CommandLine, CheckTellsWhatWasRepairedWithItsPlace)
{
    const std::string broken = folder.write("broken.larkspool", documentText({{.layers = R"({"opacity":"half"})"}}));
    const Outcome outcome = call({"check", broken});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, HasSubstr("scenes[0].layers[0].opacity: defaulted: "));
    EXPECT_EQ(outcome.out.back(), '\n');
}

TEST_F(CommandLine, ConvertWritesTheCanonicalFormAlsoOverItsInput)
{
    const std::string out = folder.file("out.larkspool");
    const Outcome outcome = call({"convert", document, out});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.error, "");
    const std::string written = folder.read("out.larkspool");
    EXPECT_EQ(written.substr(0, 4), std::string("LKS\0", 4));
    EXPECT_EQ(decodeDocument(readWholeFile(out)), decodeDocument(readWholeFile(document)));

    EXPECT_EQ(call({"convert", document, document}).status, 0);
    EXPECT_EQ(folder.read("doc.larkspool"), written);
}

TEST_F(CommandLine, AFailedConversionLeavesItsOutputAsItWas)
{
    const std::string out = folder.write("out.larkspool", "an earlier one");
    EXPECT_EQ(call({"convert", folder.write("text", "no document"), out}).status, 1);
    EXPECT_EQ(folder.read("out.larkspool"), "an earlier one");
}

TEST_F(CommandLine, EvaluateTakesTheNamedSceneOrTheActiveOne)
{
    EXPECT_EQ(call({"evaluate", document, "--scene", "0", "--at", "0.5"}).out,
              "{\"scene\":0,\"time\":0.5,\"zoom\":null,\"layers\":[]}\n");
    EXPECT_EQ(call({"evaluate", document, "--at", "-2"}).out, "{\"scene\":1,\"time\":-2,\"zoom\":null,\"layers\":[]}\n");
}

TEST_F(CommandLine, EvaluateTellsLayersWithOneAndTheSameIdApart)
{
    // Both boxes have the same id, place and number of keyframes, and go different ways.
    const auto box = [](int end) {
        return fmt::format(R"({{"id":"20000000-0000-0000-0000-000000000000","keyframes":[)"
                           R"({{"property":"x","time":0,"value":{{"number":{{"_0":{}}}}}}}]}})",
                           end);
    };
    const std::string twins = folder.write("twins.larkspool", documentText({{.layers = box(10) + "," + box(20)}}));
    const Outcome outcome = call({"evaluate", twins, "--at", "0"});
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("\"transform\":{\"x\":10,"), HasSubstr("\"transform\":{\"x\":20,")));
}

TEST_F(CommandLine, EvaluateAndFrameGoAsDeepAsADocumentMay)
{
    const auto nested = [](std::size_t levels) {
        std::string layers;
        for (std::size_t i = 0; i < levels; ++i) layers += R"({"kind":"group","children":[)";
        for (std::size_t i = 0; i < levels; ++i) layers += "]}";
        return documentText({{.layers = layers}});
    };
    const std::string deep = folder.write("deep.larkspool", nested(deepestLayerNesting));
    const std::string deeper = folder.write("deeper.larkspool", nested(100'000));
    EXPECT_EQ(call({"evaluate", deep, "--at", "0"}).error, "");
    EXPECT_EQ(call({"frame", deep, "--at", "0", "-o", folder.file("frame.png")}).error, "");
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"check", deeper},
                                                      {"convert", deeper, folder.file("out")},
                                                      {"evaluate", deeper, "--at", "0"}}) {
        SCOPED_TRACE(arguments[0]);
        const Outcome outcome = call(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.error, IsOneLine("is no document"));
    }
}

TEST_F(CommandLine, AMoveWithoutARealValueIsDrawnWithoutHarm)
{
    // A spring with more damping than its stiffness bears: there is no number between the two keyframes.
    const std::string layer =
        R"({"kind":"rectangle","size":[24,24],"shadow":"high","keyframes":[)"
        R"({"property":"PROPERTY","time":0,"value":{"number":{"_0":1}},"easing":{"spring":{"stiffness":1,"damping":100}}},)"
        R"({"property":"PROPERTY","time":1,"value":{"number":{"_0":5}}}]})";
    for (const std::string property : {"x", "rotation", "scaleX", "opacity", "strokeWidth", "width", "cornerRadius"}) {
        SCOPED_TRACE(property);
        const std::string evaluated = property == "width" ? "\"size\":[null," : "\"" + property + "\":null,";
        std::string text = documentText({{.layers = layer}});
        for (std::size_t at; (at = text.find("PROPERTY")) != std::string::npos;) text.replace(at, 8, property);
        const std::string overdamped = folder.write("overdamped.larkspool", text);
        EXPECT_THAT(call({"evaluate", overdamped, "--at", "0.5"}).out, HasSubstr(evaluated));
        EXPECT_EQ(call({"frame", overdamped, "--at", "0.5", "-o", folder.file("frame.png")}).error, "");
        EXPECT_EQ(call({"export", overdamped, "-o", folder.file("film.mp4")}).error, "");
    }
}

TEST_F(CommandLine, FrameDrawsTheSceneAtItsOwnSize)
{
    const std::string moving = folder.write("moving.larkspool", documentText({{.width = "101", .layers = movingBoxText(0)}}));
    const Outcome outcome = call({"frame", moving, "--scene", "0", "--at", "0.5", "-o", folder.file("frame.png")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.error, "");

    const std::vector<PixelBuffer> read = decodedFrames(folder.file("frame.png"));
    ASSERT_EQ(read.size(), 1u);
    ASSERT_EQ(read[0].width(), 101);
    ASSERT_EQ(read[0].height(), 36);
    // At half a second the box has come to x = 10.
    const auto isRed = [&](int x) { return read[0].row(18)[4 * x + 1] < 128; };
    EXPECT_FALSE(isRed(9));
    EXPECT_TRUE(isRed(10));
    EXPECT_TRUE(isRed(33));
    EXPECT_FALSE(isRed(34));
}

TEST_F(CommandLine, RefusesSizesThatCannotBeWithAMessageThatNamesThem)
{
    struct Case {
        const char* when;
        SceneText scene;
        const char* words;
    };
    const Case cases[] = {
        {"huge", {.width = "1e9"}, "1000000000 x 36"},
        {"huge both ways", {.width = "1e9", .height = "1e9"}, "1000000000 x 1000000000"},
        {"beyond all whole numbers", {.height = "1e300"}, "64 x 1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        const std::string wrong = folder.write("wrong.larkspool", documentText({c.scene}));
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"frame", wrong, "--at", "0", "-o", folder.file("out")},
              {"export", wrong, "-o", folder.file("out")}}) {
            const Outcome outcome = call(arguments);
            EXPECT_EQ(outcome.status, 1);
            EXPECT_THAT(outcome.error, IsOneLine(c.words));
        }
        EXPECT_FALSE(folder.has("out"));
    }
    const std::string vast = folder.write("vast.larkspool", documentText({{.width = "32767", .height = "32767"}}));
    const Outcome refused = call({"frame", vast, "--at", "0", "-o", folder.file("out")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, IsOneLine("32767 x 32767"));
    for (const char* side : {"0", "-5", "0.5"}) {
        SCOPED_TRACE(side);
        const std::string wrong = folder.write("wrong.larkspool", documentText({{.height = side}}));
        const Outcome outcome = call({"frame", wrong, "--at", "0", "-o", folder.file("out")});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.error, IsOneLine(std::string("64 x ") + side));
    }
}

TEST_F(CommandLine, ExportWritesTheFilmAndOneLine)
{
    const std::string out = folder.file("film.mp4");
    const Outcome outcome =
        call({"export", document, "-o", out, "--scene", "0", "--no-audio", "--exporter", "cpu", "--motion-blur", "1"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, StartsWith("Wrote " + out + ": 10 frames in "));
    EXPECT_EQ(probeFilm(out).width, 64);
    EXPECT_THAT(folder.names(), ElementsAre("doc.larkspool", "film.mp4"));
}

TEST_F(CommandLine, ExportTakesTheActiveSceneAndTheScale)
{
    const std::string out = folder.file("film.mp4");
    EXPECT_EQ(call({"export", document, "-o", out, "--scale", "0.5"}).status, 0);
    const FilmReport film = probeFilm(out);
    EXPECT_EQ(film.width, 24); // Half of the second scene's 48.
    EXPECT_EQ(film.height, 18);
}

} // namespace larkspool
