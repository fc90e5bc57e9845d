#include "assistant/assistant_tools.h"

#include "document/file_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

namespace larkspool {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr UUID firstID{1, 1}, childID{1, 2};
constexpr const char* firstName = "00000000-0000-0001-0000-000000000001";

TweenDocument document()
{
    TweenScene scene{.id = {2, 2}};
    Layer group{.id = {1, 3}, .kind = Layer::Kind::group, .videoClip = {.id = {4, 3}}};
    group.children = {Layer{.id = childID, .videoClip = {.id = {4, 2}}}};
    scene.layers = {Layer{.id = firstID, .videoClip = {.id = {4, 1}}}, group};
    return {.scenes = {scene}};
}

/// The tools over a document that lies open.
struct OpenDocument {
    TweenDocument document = larkspool::document();
    AssistantEditorContext context{};
    int edits = 0;

    AssistantToolOutcome execute(std::string_view name, const JSON& input)
    {
        const AssistantDocument access{.read = [this] { return document; },
                                       .edit =
                                           [this](const AssistantDocument::Change& change) {
                                               TweenDocument copy = document;
                                               const std::int64_t count = change(copy);
                                               document = std::move(copy);
                                               ++edits;
                                               return count;
                                           }};
        return assistantToolset([this] { return context; }).execute(name, input, access);
    }
    AssistantToolOutcome patch(std::string_view operations)
    {
        return execute("apply_patch", JSON::decode(R"({"operations":)" + std::string(operations) + "}"));
    }
    JSON read() { return JSON::decode(execute("get_document", JSON::Object{}).content); }
};

TEST(AssistantToolCatalog, OffersTwoToolsInTheirWords)
{
    const std::vector<AssistantTool>& tools = AssistantToolCatalog::all();
    ASSERT_EQ(tools.size(), 2u);
    EXPECT_EQ(tools[0].name, "get_document");
    EXPECT_EQ(tools[0].description,
              "Returns the entire current Larkspool document as JSON. Use this to inspect scenes, layers, keyframes, spans, pulses "
              "before proposing changes. The JSON shape is documented in the system prompt under \"Document schema.\"");
    EXPECT_EQ(tools[0].inputSchema.encoded(), R"({"properties":{},"type":"object"})");
    EXPECT_EQ(tools[1].name, "apply_patch");
    EXPECT_EQ(tools[1].description, R"(Apply a list of structured edits to the document in a single undo step. )"
                                    R"(Each operation references targets by UUID. Supported ops:
  • set_property: change a top-level layer property in place
  • add_keyframe / delete_keyframe
  • add_pulse / delete_pulse
  • add_layer / delete_layer
See the system prompt for full op shapes.)");
    EXPECT_EQ(tools[1].inputSchema.encoded(),
              R"({"properties":{"operations":{"items":{"type":"object"},"type":"array"}},"required":["operations"],"type":"object"})");
}

TEST(AssistantTools, AnUnknownToolIsAnError)
{
    EXPECT_EQ(OpenDocument().execute("paint", JSON()), (AssistantToolOutcome{"unknown tool: paint", true}));
}

// ---------------------------------------------------------------- get_document

TEST(GetDocument, GivesTheSceneWithinTheStateOfTheEditor)
{
    OpenDocument open;
    open.document.scenes.append(TweenScene{.id = {2, 9}});
    open.document.activeSceneIndex = 1;
    open.context = {.playhead = 1.5,
                    .isPlaying = true,
                    .selectedLayerIDs = {firstID},
                    .timelineSelection = {},
                    .timelinePinnedLayerIDs = {childID},
                    .expandedLayerGroups = {{1, 3}},
                    .hasAudio = true,
                    .canUndo = true,
                    .canRedo = false};
    JSON::Object envelope = *open.read().object();
    EXPECT_EQ(*envelope["scene"]["id"], JSON("00000000-0000-0002-0000-000000000009"));
    envelope.erase("scene");
    EXPECT_EQ(JSON(envelope), JSON::decode(R"({
        "active_scene_index": 1, "total_scenes": 2, "playhead_seconds": 1.5, "is_playing": true,
        "selected_layer_ids": ["00000000-0000-0001-0000-000000000001"],
        "timeline_selection": {"keyframes": [], "spans": [], "pulses": [], "waits": [], "video_clip_layer_ids": []},
        "timeline_pinned_layer_ids": ["00000000-0000-0001-0000-000000000002"],
        "expanded_layer_groups": ["00000000-0000-0001-0000-000000000003"],
        "has_audio": true, "can_undo": true, "can_redo": false})"));
}

TEST(GetDocument, ListsTheSelectedItemsByKind)
{
    EXPECT_EQ(timelineSelectionJSON({TimelineItemRef::keyframe(firstID, {3, 1}), TimelineItemRef::span(firstID, {3, 2}),
                                     TimelineItemRef::pulse(firstID, {3, 3}), TimelineItemRef::waitTail(firstID, {3, 4}),
                                     TimelineItemRef::videoClip(childID)}),
              JSON::decode(R"({
        "keyframes": [{"layer_id": "00000000-0000-0001-0000-000000000001", "keyframe_id": "00000000-0000-0003-0000-000000000001"}],
        "spans": [{"layer_id": "00000000-0000-0001-0000-000000000001", "span_id": "00000000-0000-0003-0000-000000000002"}],
        "pulses": [{"layer_id": "00000000-0000-0001-0000-000000000001", "pulse_id": "00000000-0000-0003-0000-000000000003"}],
        "waits": [{"layer_id": "00000000-0000-0001-0000-000000000001", "keyframe_id": "00000000-0000-0003-0000-000000000004"}],
        "video_clip_layer_ids": ["00000000-0000-0001-0000-000000000002"]})"));
}

TEST(GetDocument, TheSceneIsTheOneOfAFile)
{
    OpenDocument open;
    EXPECT_EQ(decodeJson<TweenScene>(open.read()["scene"]->encoded()), open.document.scenes[0]);
}

TEST(GetDocument, IsPrettyWithSortedKeysAndStableBetweenCalls)
{
    OpenDocument open;
    const std::string once = open.execute("get_document", JSON::Object{}).content;
    EXPECT_EQ(once, open.execute("get_document", JSON()).content);
    EXPECT_THAT(once, StartsWith("{\n  \"active_scene_index\": 0,\n  \"can_redo\": false,\n  \"can_undo\": false,\n"));
}

TEST(GetDocument, WithoutAnActiveSceneItSaysSoAsANormalResult)
{
    OpenDocument open;
    for (const std::int64_t index : {-1, 1}) {
        open.document.activeSceneIndex = index;
        EXPECT_EQ(open.execute("get_document", JSON::Object{}),
                  (AssistantToolOutcome{"{\n  \"error\": \"no active scene\"\n}", false}));
    }
}

TEST(GetDocument, ASceneThatCannotBeWrittenIsAnError)
{
    OpenDocument open;
    open.document.scenes.edit()[0].duration = std::nan("");
    const AssistantToolOutcome outcome = open.execute("get_document", JSON::Object{});
    EXPECT_TRUE(outcome.isError);
    EXPECT_THAT(outcome.content, StartsWith("read failed: "));
}

TEST(GetDocument, LeavesOutPicturesAndBookmarks)
{
    OpenDocument open;
    Layer& child = open.document.scenes.edit()[0].layers.edit()[1].children.edit()[0];
    child.imageData = Bytes({1, 2, 3, 4});
    child.videoBookmark = Bytes({1});
    const JSON envelope = open.read();
    const JSON& read = envelope["scene"]->object()->at("layers").array()->at(1)["children"]->array()->at(0);
    EXPECT_EQ(*read["imageData"], JSON("<image bytes: 8 chars omitted>"));
    EXPECT_EQ(*read["videoBookmark"], JSON("<bookmark omitted>"));
}

TEST(StripMediaBlobs, ReplacesTextUnderTwoKeysAndNothingElse)
{
    EXPECT_EQ(stripMediaBlobs(JSON::decode(R"({"imageData": "a", "videoBookmark": "b", "text": "c",
                                               "list": [{"imageData": "é👍"}, {"imageData": ""}, {"videoBookmark": ""}],
                                               "in": {"imageData": 3, "videoBookmark": {"imageData": "xyz"}},
                                               "deep": [[{"in": {"videoBookmark": " "}}]]})")),
              JSON::decode(R"({"imageData": "<image bytes: 1 chars omitted>", "videoBookmark": "<bookmark omitted>", "text": "c",
                               "list": [{"imageData": "<image bytes: 2 chars omitted>"}, {"imageData": ""}, {"videoBookmark": ""}],
                               "in": {"imageData": 3, "videoBookmark": {"imageData": "xyz"}},
                               "deep": [[{"in": {"videoBookmark": "<bookmark omitted>"}}]]})"));
}

// ---------------------------------------------------------------- apply_patch

TEST(ApplyPatch, TellsHowManyOperationsWereApplied)
{
    OpenDocument open;
    EXPECT_EQ(open.patch("[]"), (AssistantToolOutcome{"applied 0 operation(s)", false}));
    EXPECT_EQ(open.patch(R"([{"op":"set_property","layer_id":"00000000-0000-0001-0000-000000000001","property":"name",)"
                         R"("value":"New"},{"op":"set_scene_property","property":"fps","value":24}])"),
              (AssistantToolOutcome{"applied 2 operation(s)", false}));
    EXPECT_EQ(open.document.scenes[0].layers[0].name, "New");
    EXPECT_EQ(open.document.scenes[0].fps, 24);
}

TEST(ApplyPatch, WithoutAListNothingIsDone)
{
    OpenDocument open;
    for (const char* input : {"{}", "[]", "null", R"({"operations":{}})", R"({"operations":null})"}) {
        SCOPED_TRACE(input);
        EXPECT_EQ(open.execute("apply_patch", JSON::decode(input)),
                  (AssistantToolOutcome{"apply_patch: missing 'operations' array", true}));
    }
    EXPECT_EQ(open.edits, 0);
}

TEST(ApplyPatch, TheWholeListIsReadBeforeTheFirstEdit)
{
    OpenDocument open;
    EXPECT_EQ(open.patch(R"([{"op":"set_scene_property","property":"fps","value":24},{"op":"paint"}])"),
              (AssistantToolOutcome{"op 1: op: Unknown op paint", true}));
    EXPECT_EQ(open.execute("apply_patch", JSON::Object{{"operations", JSON::Array{std::numeric_limits<double>::infinity()}}})
                  .content.substr(0, 13),
              "encode op 0: ");
    EXPECT_EQ(open.edits, 0);
    EXPECT_EQ(open.document, document());
}

TEST(ApplyPatch, AFailureKeepsWhatCameBeforeItOutOfTheDocument)
{
    OpenDocument open;
    EXPECT_EQ(open.patch(R"([{"op":"set_scene_property","property":"fps","value":24},)"
                         R"({"op":"delete_layer","layer_id":"00000000-0000-0009-0000-000000000000"}])"),
              (AssistantToolOutcome{"apply failed: Layer 00000000-0000-0009-0000-000000000000 not found", true}));
    EXPECT_EQ(open.edits, 0);
    EXPECT_EQ(open.document, document());
}

TEST(ApplyPatch, ThePlaceholderOfAPictureIsNoPicture)
{
    OpenDocument open;
    open.document.scenes.edit()[0].layers.edit()[0].imageData = Bytes({1, 2, 3});
    const JSON envelope = open.read();
    const std::string placeholder = envelope["scene"]->object()->at("layers").array()->at(0)["imageData"]->encoded();
    const AssistantToolOutcome outcome =
        open.patch(R"([{"op":"set_property","property":"imageData","layer_id":")" + std::string(firstName) + R"(","value":)" +
                   placeholder + "}]");
    EXPECT_EQ(outcome, (AssistantToolOutcome{"apply failed: Decode failed: layers[0].imageData is not Base64", true}));
}

} // namespace
} // namespace larkspool
