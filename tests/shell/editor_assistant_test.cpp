#include "shell/editor_assistant.h"

#include "assistant/assistant_endpoint.h"
#include "support/fake_timers.h"
#include "support/hand_run_loop.h"
#include "support/loopback_server.h"
#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace larkspool {
namespace {

using testing::HasSubstr;

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

/// Two scenes of one layer each; the first is active.
TweenDocument twoScenes()
{
    TweenDocument document;
    document.scenes = {};
    for (const std::uint64_t number : {1, 2}) {
        TweenScene scene{.id = idOf(100 + number), .duration = 10};
        scene.layers = {Layer{.id = idOf(number), .videoClip = {.id = idOf(200 + number)}}};
        document.scenes.append(scene);
    }
    return document;
}

/// An editor whose assistant talks to a server on this machine.
struct AssistedEditor {
    LoopbackServer server;
    HandRunLoop runLoop;
    MemoryUserDefaults defaults;
    FakeTimers timers;
    EditorView editor{twoScenes(), {.defaults = defaults, .timers = timers}};
    AssistantClient client{runLoop, assistantEndpoint("http://127.0.0.1:" + std::to_string(server.port()))};
    bool isPlaying = false;
    LayerIDs expandedGroups{};
    int changes = 0;
    EditorAssistant assistant{{.editor = editor,
                               .client = client,
                               .isPlaying = [this] { return isPlaying; },
                               .expandedGroups = [this] { return expandedGroups; },
                               .changed = [this] { ++changes; }}};

    AssistedEditor() { defaults.set(DefaultsKey::assistantAPIKey, std::string("key-0123456789")); }

    void reply(const std::string& content, const std::string& stopReason)
    {
        server.play(httpReply(200, R"({"content":)" + content + R"(,"stop_reason":")" + stopReason + R"("})"));
    }
    /// The model asks for a patch.
    void replyPatch(const std::string& operations)
    {
        reply(R"([{"type":"tool_use","id":"t","name":"apply_patch","input":{"operations":)" + operations + "}}]", "tool_use");
    }
    void replyDone() { reply(R"([{"type":"text","text":"Done."}])", "end_turn"); }
    void send(const std::string& request)
    {
        assistant.session().input = request;
        assistant.view().send();
        ASSERT_TRUE(runLoop.turnUntil([this] { return !assistant.session().inFlight; }));
    }
    /// What came of the call in the message.
    AssistantToolResult result(std::size_t message)
    {
        return std::get<AssistantToolResult>(assistant.session().history.at(message).content.at(0));
    }
    const TweenScene& scene(std::size_t index) const { return editor.state().document.scenes[index]; }
};

std::string renameTo(const std::string& name, const UUID& layerID)
{
    return R"([{"op":"set_property","layer_id":")" + layerID.string() + R"(","property":"name","value":")" + name + R"("}])";
}

TEST(EditorAssistant, OneUndoTakesBackATurnOfTwoPatchesOfWhichOneFailed)
{
    AssistedEditor editor;
    const TweenDocument before = editor.editor.state().document;
    editor.replyPatch(renameTo("one", idOf(1)));
    editor.replyPatch(renameTo("none", idOf(7)));
    editor.replyPatch(renameTo("two", idOf(1)));
    editor.replyDone();
    editor.send("Name the layer");

    EXPECT_EQ(editor.scene(0).layers[0].name, "two");
    EXPECT_EQ(editor.result(2), (AssistantToolResult{"t", "applied 1 operation(s)", false}));
    EXPECT_EQ(editor.result(4), (AssistantToolResult{"t", "apply failed: Layer " + idOf(7).string() + " not found", true}));
    EXPECT_EQ(editor.result(6), (AssistantToolResult{"t", "applied 1 operation(s)", false}));
    EXPECT_EQ(editor.assistant.session().lastError, std::nullopt);
    EXPECT_EQ(editor.changes, 3) << "the turn has begun, and two patches were applied";

    EXPECT_EQ(editor.editor.undoManager().undoCount(), 1u);
    EXPECT_EQ(editor.editor.undoManager().undoMenuItemTitle(), "Undo Assistant: Name the layer");
    editor.editor.undo();
    EXPECT_EQ(editor.editor.state().document, before);
    EXPECT_EQ(editor.editor.undoManager().redoMenuItemTitle(), "Redo Assistant: Name the layer");
    editor.editor.redo();
    EXPECT_EQ(editor.scene(0).layers[0].name, "two");
}

TEST(EditorAssistant, OneUndoTakesBackWhatATurnDidToASceneThatIsNotShown)
{
    AssistedEditor editor;
    const TweenDocument before = editor.editor.state().document;
    editor.replyPatch(renameTo("other", idOf(2)));
    editor.replyPatch(renameTo("shown", idOf(1)));
    editor.replyDone();
    editor.send("Name both");
    EXPECT_EQ(editor.scene(0).layers[0].name, "shown");
    EXPECT_EQ(editor.scene(1).layers[0].name, "other");
    EXPECT_EQ(editor.editor.undoManager().undoCount(), 1u);
    editor.editor.undo();
    EXPECT_EQ(editor.editor.state().document, before);
}

TEST(EditorAssistant, ItsEditsTakeTheRoadOfAllEdits)
{
    const TweenDocument before = twoScenes();
    MemoryUserDefaults defaults;
    FakeTimers timers;
    EditorView editor(before, {.defaults = defaults, .timers = timers, .steps = {.refitTextLayers = [](TweenScene& scene) {
                                                                           scene.endPause = 3;
                                                                       }}});
    editor.selectLayers({idOf(1)});
    editor.mutateDocument("Edit", [](TweenDocument& document) { document.scenes.edit()[0].layers = {}; });
    EXPECT_EQ(editor.scene().endPause, 3);
    EXPECT_TRUE(editor.state().selectedLayerIDs.empty());
    editor.undo();
    EXPECT_EQ(editor.state().document, before);
}

TEST(EditorAssistant, AnEditEndsAScrubThatIsUnderWay)
{
    AssistedEditor editor;
    const TweenDocument before = editor.editor.state().document;
    editor.editor.scrub().scrubBegin("Edit Duration");
    TweenScene scene = editor.editor.scene();
    scene.duration = 7;
    editor.editor.commit().show(scene);
    editor.editor.mutateDocument("Edit", [](TweenDocument& document) { document.scenes.edit()[0].fps = 24; });
    EXPECT_EQ(editor.editor.undoManager().undoCount(), 2u);
    editor.editor.undo();
    EXPECT_EQ(editor.editor.scene(), scene);
    editor.editor.undo();
    EXPECT_EQ(editor.editor.state().document, before);
}

TEST(EditorAssistant, TheModelIsToldOfTheEditorAsItIsWhenItAsks)
{
    AssistedEditor editor;
    editor.editor.mutateDocument("Edit", [](TweenDocument& document) { document.audio = DocumentAudio{}; });
    editor.editor.mutate("Rename", [](TweenScene& scene) { scene.name = SharedString("new"); });
    editor.editor.undo();
    editor.editor.mutate("Rename", [](TweenScene& scene) { scene.name = SharedString("new"); });
    editor.editor.setPlayhead(2.5);
    editor.editor.selectLayers({idOf(1)});
    editor.editor.selectTimelineItems({TimelineItemRef::videoClip(idOf(1))});
    editor.editor.pinTimelineLayers({idOf(1)});
    editor.expandedGroups = {idOf(9)};
    editor.isPlaying = true;

    const AssistantEditorContext context = editor.assistant.context();
    EXPECT_EQ(context.playhead, 2.5);
    EXPECT_TRUE(context.isPlaying);
    EXPECT_EQ(context.selectedLayerIDs, LayerIDs{idOf(1)});
    EXPECT_EQ(context.timelineSelection, TimelineSelection{TimelineItemRef::videoClip(idOf(1))});
    EXPECT_EQ(context.timelinePinnedLayerIDs, LayerIDs{idOf(1)});
    EXPECT_EQ(context.expandedLayerGroups, LayerIDs{idOf(9)});
    EXPECT_TRUE(context.hasAudio);
    EXPECT_TRUE(context.canUndo);
    EXPECT_FALSE(context.canRedo);
    editor.editor.undo();
    EXPECT_FALSE(editor.assistant.context().canUndo);
    EXPECT_TRUE(editor.assistant.context().canRedo);

    editor.reply(R"([{"type":"tool_use","id":"t","name":"get_document","input":{}}])", "tool_use");
    editor.replyDone();
    editor.send("What is here?");
    EXPECT_THAT(editor.result(2).content, HasSubstr(R"("playhead_seconds": 2.5)"));
    EXPECT_THAT(editor.result(2).content, HasSubstr(R"("is_playing": true)"));
}

TEST(EditorAssistant, WithoutAPlayerAndPanelsItTellsOfNone)
{
    AssistedEditor editor;
    EditorAssistant bare({.editor = editor.editor, .client = editor.client});
    EXPECT_FALSE(bare.context().isPlaying);
    EXPECT_TRUE(bare.context().expandedLayerGroups.empty());
    EXPECT_FALSE(bare.context().hasAudio);
}

TEST(EditorAssistant, EndsWithItsEditorInTheMiddleOfACall)
{
    AssistedEditor editor;
    editor.server.play({.end = LoopbackServer::Script::End::hold});
    {
        EditorAssistant closing({.editor = editor.editor, .client = editor.client});
        closing.session().input = "Wait";
        closing.view().send();
        EXPECT_EQ(editor.editor.undoManager().groupingLevel(), 1u);
    }
    EXPECT_EQ(editor.editor.undoManager().groupingLevel(), 0u);
}

} // namespace
} // namespace larkspool
