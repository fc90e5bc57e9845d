#include "assistant/assistant_prompts.h"

#include "assistant/assistant_tools.h"
#include "document/layer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// Whether the texts stand in the prompt, each behind the one before.
void expectInOrder(std::initializer_list<std::string_view> texts)
{
    std::size_t from = 0;
    for (const std::string_view text : texts) {
        const std::size_t found = AssistantSchema::systemPrompt.find(text, from);
        EXPECT_NE(found, std::string_view::npos) << text;
        if (found != std::string_view::npos) from = found + text.size();
    }
}

TEST(SystemPrompt, BeginsWithWhoTheAssistantIsAndGoesOnWithTheReference)
{
    constexpr std::string_view introduction =
        "You are an animation assistant embedded in Larkspool, a macOS motion-graphics editor for product UI animations. You can "
        "read the active scene via `get_document` and edit it via `apply_patch`. Be concise, propose concrete changes, and prefer "
        "one apply_patch with several operations over many separate turns. When generating UUIDs for new layers / keyframes / "
        "pulses, use uppercased canonical 8-4-4-4-12 form.\n\n";
    EXPECT_EQ(AssistantSchema::systemPrompt, std::string(introduction) + std::string(AssistantSchema::documentReference));
    EXPECT_THAT(AssistantSchema::documentReference, StartsWith("## Default authoring conventions\n"));
}

TEST(SystemPrompt, HasItsSectionsInOrder)
{
    expectInOrder({
        "Default authoring conventions",
        "Apply these defaults to every creation unless the user explicitly overrides them.",
        "1. Text layers get trim on.",
        "`textAutoFit: true`",
        "2. Multi-object creations land inside a group.",
        "(\"Title Cards\", \"Buttons\")",
        "3. Animations start at the playhead.",
        "Document schema",
        "A Larkspool document has the shape:",
        "Scene",
        "Color",
        "Layer (huge — listing the fields you'll usually edit)",
        "Keyframe",
        "ValueWrapper is tagged:",
        "Span",
        "Pulse",
        "Scope: active scene only",
        "`get_document` returns the document's CURRENTLY ACTIVE scene (the one the user is editing), not the whole document.",
        "Live editor state — use this to resolve user references like \"at the playhead\" / \"the selected layer\" / etc.",
        "Map \"at the playhead\" → `playhead_seconds`. Map \"the selected layer(s)\" → `selected_layer_ids`. Map \"this keyframe / "
        "span / pulse\" → the appropriate `timeline_selection` entry. Multi-scene editing isn't supported — if the user asks about "
        "another scene, tell them to switch scenes in the editor first.",
        "apply_patch op shapes",
        "Every op targets the active scene. Layer / keyframe / pulse UUIDs are unique within the active scene; just reference them "
        "directly.",
    });
    EXPECT_THAT(AssistantSchema::systemPrompt, EndsWith("Always supply UUIDs as uppercased canonical strings.\n"));
}

TEST(SystemPrompt, NamesEveryOperationAndEveryKeyOfTheEnvelope)
{
    for (const char* op : {"set_scene_property", "set_property", "add_keyframe", "delete_keyframe", "add_pulse", "delete_pulse",
                           "add_layer", "delete_layer"})
        EXPECT_THAT(AssistantSchema::systemPrompt, HasSubstr("\"op\": \"" + std::string(op) + "\""));
    const JSON envelope = activeSceneJSON(TweenDocument{}, {});
    for (const auto& [key, value] : *envelope.object())
        EXPECT_THAT(AssistantSchema::systemPrompt, HasSubstr("\"" + key + "\": "));
}

TEST(SystemPrompt, NamesEveryAnimatableProperty)
{
    for (const auto& each : EnumTable<Keyframe::AnimatableProperty>::cases)
        EXPECT_THAT(AssistantSchema::systemPrompt, HasSubstr("\"" + std::string(each.fileValue) + "\""));
}

TEST(StarterPrompts, AreSix)
{
    EXPECT_THAT(starterPrompts, ElementsAre("What's in this scene?", "Make every text layer's fill bright cyan",
                                            "Add a 1-second fade-in to all layers",
                                            "Stagger the layers' opacity animations 0.2s apart",
                                            "Add a pulse at the playhead to the topmost layer",
                                            "Trim the scene's duration to fit the last keyframe"));
}

TEST(AssistantToolset, OffersTheToolsWithThePrompt)
{
    const AssistantToolset toolset = assistantToolset([] { return AssistantEditorContext{}; });
    EXPECT_EQ(toolset.tools, AssistantToolCatalog::all());
    EXPECT_EQ(toolset.systemPrompt, AssistantSchema::systemPrompt);
}

} // namespace
} // namespace larkspool
