#include "assistant/assistant_panel.h"

#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using Content = AssistantPanel::Content;
using Role = AssistantMessage::Role;

const JSON twoOperations = JSON::decode(R"({"operations":[{"op":"add_layer"},{"op":"paint"}]})");

/// One of each block.
std::vector<AssistantMessage> conversation()
{
    return {{Role::user, {AssistantText{"Make it *blue*"}}},
            {Role::assistant,
             {AssistantText{"Let me *see*."}, AssistantToolUse{"t1", "get_document", JSON::Object{}},
              AssistantToolUse{"t2", "apply_patch", twoOperations}, AssistantToolUse{"t3", "paint", JSON::Object{}}}},
            {Role::user,
             {AssistantToolResult{"t1", "{}"}, AssistantToolResult{"t2", "applied 2 operation(s)"},
              AssistantToolResult{"t3", "unknown tool: paint", true}, AssistantText{"You hit the limit."}}},
            {Role::assistant, {AssistantText{"Done.\nAll blue."}}}};
}

// ---------------------------------------------------------------- the transcript

TEST(Transcript, EachBlockIsShownByItsKindAndByWhoSaidIt)
{
    EXPECT_THAT(transcriptRows(conversation()),
                ElementsAre(TranscriptRow(PersonBubble{"Make it *blue*"}), TranscriptRow(AssistantMarkdownText{"Let me *see*."}),
                            TranscriptRow(ToolCallCard{"get_document", JSON::Object{}}),
                            TranscriptRow(ToolCallCard{"apply_patch", twoOperations}),
                            TranscriptRow(ToolCallCard{"paint", JSON::Object{}}), TranscriptRow(ToolResultCard{"{}"}),
                            TranscriptRow(ToolResultCard{"applied 2 operation(s)"}),
                            TranscriptRow(ToolResultCard{"unknown tool: paint", true}),
                            TranscriptRow(PersonBubble{"You hit the limit."}),
                            TranscriptRow(AssistantMarkdownText{"Done.\nAll blue."})));
}

TEST(Transcript, IsCopiedWithNamesAndMarksAndAnEmptyLineBetweenEntries)
{
    EXPECT_EQ(transcriptText(conversation()), "You:\n"
                                              "Make it *blue*\n"
                                              "\n"
                                              "Assistant:\n"
                                              "Let me *see*.\n"
                                              "Read the scene\n"
                                              "Applied 2 change(s)\n"
                                              "paint\n"
                                              "\n"
                                              "You:\n"
                                              "[result] {}\n"
                                              "[result] applied 2 operation(s)\n"
                                              "[error] unknown tool: paint\n"
                                              "You hit the limit.\n"
                                              "\n"
                                              "Assistant:\n"
                                              "Done.\n"
                                              "All blue.");
}

TEST(Transcript, APatchWithoutOperationsIsCopiedAsNoChange)
{
    const std::vector<AssistantMessage> messages{{Role::assistant, {AssistantToolUse{"t1", "apply_patch", JSON::Object{}}}}};
    EXPECT_EQ(transcriptText(messages), "Assistant:\nApplied 0 change(s)");
}

TEST(Transcript, OfNothingIsEmpty)
{
    EXPECT_TRUE(transcriptRows({}).empty());
    EXPECT_EQ(transcriptText({}), "");
}

// ---------------------------------------------------------------- the panel

TEST(AssistantPanel, IsSetUpOnceItIsEnabledAndHasAKey)
{
    struct Case {
        const char* when;
        bool isEnabled;
        const char* key;
        Content empty, talking;
        bool canWrite;
    };
    for (const Case& c : {Case{"nothing set", false, "", Content::setUp, Content::setUp, false},
                          Case{"a key alone", false, "key", Content::setUp, Content::setUp, false},
                          Case{"enabled alone", true, "", Content::setUp, Content::setUp, false},
                          Case{"both", true, "key", Content::starters, Content::transcript, true}}) {
        SCOPED_TRACE(c.when);
        MemoryUserDefaults defaults;
        defaults.set(DefaultsKey::assistantEnabled, c.isEnabled);
        defaults.set(DefaultsKey::assistantAPIKey, std::string(c.key));
        AssistantSession session;
        session.input = "Make it blue";
        EXPECT_EQ(AssistantPanel::of(session, defaults),
                  (AssistantPanel{.content = c.empty, .canWrite = c.canWrite, .canSend = c.canWrite}));
        session.history = conversation();
        EXPECT_EQ(AssistantPanel::of(session, defaults).content, c.talking);
    }
}

/// A panel of an assistant that is set up.
struct SetUpPanel {
    MemoryUserDefaults defaults;
    AssistantSession session;

    SetUpPanel()
    {
        defaults.set(DefaultsKey::assistantEnabled, true);
        defaults.set(DefaultsKey::assistantAPIKey, std::string("key"));
    }
    AssistantPanel panel() const { return AssistantPanel::of(session, defaults); }
};

TEST(AssistantPanel, OnlySomethingCanBeSent)
{
    SetUpPanel assistant;
    for (const char* nothing : {"", " ", "\t \t"}) {
        assistant.session.input = nothing;
        EXPECT_FALSE(assistant.panel().canSend);
        EXPECT_TRUE(assistant.panel().canWrite);
    }
    assistant.session.input = " x ";
    EXPECT_TRUE(assistant.panel().canSend);
}

TEST(AssistantPanel, ThinksAndTakesNoInputWhileARequestIsWorkedOn)
{
    SetUpPanel assistant;
    assistant.session.history = conversation();
    assistant.session.input = "And now green";
    assistant.session.inFlight = true;
    EXPECT_EQ(assistant.panel(), (AssistantPanel{.content = Content::transcript, .isThinking = true}));
}

TEST(AssistantPanel, TellsTheLastError)
{
    SetUpPanel assistant;
    assistant.session.lastError = "No internet connection.";
    EXPECT_EQ(assistant.panel().error, "No internet connection.");
    assistant.session.clear();
    EXPECT_EQ(assistant.panel().error, std::nullopt);
}

TEST(AssistantPanel, HasItsWords)
{
    EXPECT_EQ(AssistantPanel::title, "Assistant");
    EXPECT_EQ(AssistantPanel::titleGlyph, "sparkles");
    EXPECT_EQ(AssistantPanel::copyLabel, "Copy transcript");
    EXPECT_EQ(AssistantPanel::clearLabel, "Clear conversation");
    EXPECT_EQ(AssistantPanel::clearGlyph, "trash");
    EXPECT_EQ(AssistantPanel::setUpHeading, "Set up the assistant");
    EXPECT_EQ(AssistantPanel::setUpText, "Open Preferences → Assistant, enable it, and paste your Anthropic API key.");
    EXPECT_EQ(AssistantPanel::startersLabel, "Try asking…");
    EXPECT_EQ(AssistantPanel::thinkingText, "Thinking…");
    EXPECT_EQ(AssistantPanel::placeholder, "Ask the assistant…");
    EXPECT_EQ(AssistantPanel::sendGlyph, "paperplane.fill");
    EXPECT_EQ(AssistantPanel::composerLines, 5);
}

} // namespace
} // namespace larkspool
