#include "app/command_line_call.h"
#include "app/scratch_folder.h"
#include "app/test_documents.h"
#include "assistant/json.h"
#include "document/file_format.h"
#include "platform/file_io.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* setRate = R"([{"op":"set_scene_property","property":"fps","value":24}])";
constexpr const char* setRateAndFail =
    R"([{"op":"set_scene_property","property":"fps","value":24},)"
    R"({"op":"delete_layer","layer_id":"00000000-0000-0009-0000-000000000000"}])";

class AssistantVerbs : public testing::Test {
protected:
    ScratchFolder folder;
    std::string document = folder.write("doc.larkspool", documentText({{}, {.width = "48", .layers = movingBoxText(0)}}, 1));

    /// The frame rates of a document's scenes.
    std::vector<std::int64_t> rates(const std::string& name) const
    {
        std::vector<std::int64_t> all;
        for (const TweenScene& scene : decodeDocument(readWholeFile(folder.file(name))).scenes) all.push_back(scene.fps);
        return all;
    }
};

Outcome callWithInput(const std::vector<std::string>& arguments, const std::string& input)
{
    Outcome outcome;
    const Terminal terminal{.out = [&](std::string_view text) { outcome.out += text; },
                            .error = [&](std::string_view text) { outcome.error += text; },
                            .in = [&] { return input; }};
    outcome.status = runCommandLine(arguments, terminal);
    return outcome;
}

} // namespace

TEST_F(AssistantVerbs, PatchAppliesABareListOrTheToolsInputToTheActiveScene)
{
    for (const std::string& operations : {std::string(setRate), R"({"operations":)" + std::string(setRate) + "}"}) {
        SCOPED_TRACE(operations);
        const Outcome outcome = call({"patch", document, folder.write("ops.json", operations), "-o", folder.file("out")});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.out, "applied 1 operation(s)\n");
        EXPECT_EQ(outcome.error, "");
        EXPECT_THAT(rates("out"), ElementsAre(10, 24));
        EXPECT_THAT(rates("doc.larkspool"), ElementsAre(10, 10));
    }
}

TEST_F(AssistantVerbs, PatchWithoutOutputChangesTheDocumentItself)
{
    EXPECT_EQ(call({"patch", document, folder.write("ops.json", setRate)}).status, 0);
    EXPECT_THAT(rates("doc.larkspool"), ElementsAre(10, 24));
}

TEST_F(AssistantVerbs, PatchReadsStandardInput)
{
    const Outcome outcome = callWithInput({"patch", document, "-"}, setRate);
    EXPECT_EQ(outcome.out, "applied 1 operation(s)\n");
    EXPECT_THAT(rates("doc.larkspool"), ElementsAre(10, 24));
}

TEST_F(AssistantVerbs, APatchThatFailsTellsWhatTheModelWouldSeeAndWritesNothing)
{
    struct Case {
        const char* operations;
        const char* words;
    };
    const std::string before = folder.read("doc.larkspool");
    for (const Case& c : {
             Case{setRateAndFail, "apply failed: Layer 00000000-0000-0009-0000-000000000000 not found"},
             Case{"{}", "apply_patch: missing 'operations' array"},
             Case{R"([{"op":"paint"}])", "op 0: op: Unknown op paint"},
             Case{R"([{"op":"add_layer","layer":{"opacity":"half"}}])",
                  "apply failed: Decode failed: layers[1].opacity is not a number"},
             Case{"[", "ops.json is no list of operations"},
         }) {
        SCOPED_TRACE(c.words);
        const std::string operations = folder.write("ops.json", c.operations);
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"patch", document, operations},
              std::vector<std::string>{"patch", document, operations, "-o", folder.file("out")}}) {
            const Outcome outcome = call(arguments);
            EXPECT_EQ(outcome.status, 1);
            EXPECT_EQ(outcome.out, "");
            EXPECT_THAT(outcome.error, IsOneLine(c.words));
        }
        EXPECT_EQ(folder.read("doc.larkspool"), before);
        EXPECT_THAT(folder.names(), ElementsAre("doc.larkspool", "ops.json"));
    }
}

TEST_F(AssistantVerbs, AMissingFileIsTold)
{
    EXPECT_THAT(call({"patch", document, folder.file("none")}).error, IsOneLine("No such file or directory"));
    EXPECT_THAT(call({"patch", document}).error, IsOneLine("patch lacks its OPS.json"));
    EXPECT_THAT(call({"describe", folder.file("none")}).error, IsOneLine("No such file or directory"));
}

TEST_F(AssistantVerbs, DescribePrintsTheActiveSceneWithThePlayheadAt0AndNothingSelected)
{
    const Outcome outcome = call({"describe", document});
    EXPECT_EQ(outcome.status, 0);
    const JSON envelope = JSON::decode(outcome.out);
    EXPECT_EQ(*envelope["active_scene_index"], JSON(1));
    EXPECT_EQ(*envelope["total_scenes"], JSON(2));
    EXPECT_EQ(*envelope["playhead_seconds"], JSON(0));
    EXPECT_EQ(*envelope["selected_layer_ids"], JSON(JSON::Array{}));
    EXPECT_EQ(*envelope["has_audio"], JSON(false));
    EXPECT_EQ(*(*envelope["scene"])["width"], JSON(48));
    EXPECT_EQ(*envelope["scene"]->object()->at("layers").array()->at(0)["name"], JSON("Box"));
    EXPECT_TRUE(outcome.out.ends_with("}\n"));
}

TEST_F(AssistantVerbs, DescribeTellsOfASoundBedAndOfAMissingScene)
{
    folder.write("doc.larkspool", soundingDocumentText({{}}, "/bed.mp3", 3));
    EXPECT_EQ(call({"describe", document}).out, "{\n  \"error\": \"no active scene\"\n}\n");
    folder.write("doc.larkspool", soundingDocumentText({{}}, "/bed.mp3"));
    EXPECT_THAT(call({"describe", document}).out, HasSubstr("\"has_audio\": true"));
}

} // namespace larkspool
