#include "assistant/messages.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(AssistantMessages, RolesAndReasonsHaveTheWordsOfTheWire)
{
    using Role = AssistantMessage::Role;
    using Reason = AssistantResponse::StopReason;
    EXPECT_EQ(fileValue(Role::user), "user");
    EXPECT_EQ(fileValue(Role::assistant), "assistant");
    EXPECT_EQ(fileValue(Reason::endTurn), "end_turn");
    EXPECT_EQ(fileValue(Reason::maxTokens), "max_tokens");
    EXPECT_EQ(fileValue(Reason::toolUse), "tool_use");
    EXPECT_EQ(fileValue(Reason::stopSequence), "stop_sequence");
    EXPECT_EQ(fileValue(Reason::other), "other");
}

TEST(AssistantMessages, AreEqualByKindAndContent)
{
    const AssistantBlock use = AssistantToolUse{"1", "get_document", JSON::Object{}};
    EXPECT_EQ(use, AssistantBlock(AssistantToolUse{"1", "get_document", JSON::Object{}}));
    EXPECT_NE(use, AssistantBlock(AssistantToolUse{"2", "get_document", JSON::Object{}}));
    EXPECT_NE(use, AssistantBlock(AssistantToolUse{"1", "get_document", {}}));
    EXPECT_NE(AssistantBlock(AssistantText{"1"}), AssistantBlock(AssistantToolResult{"1", "", false}));
    EXPECT_NE(AssistantBlock(AssistantToolResult{"1", "", false}), AssistantBlock(AssistantToolResult{"1", "", true}));
    EXPECT_NE((AssistantMessage{.role = AssistantMessage::Role::user}),
              (AssistantMessage{.role = AssistantMessage::Role::assistant}));
    EXPECT_NE((AssistantTool{"a", "b", {}}), (AssistantTool{"a", "b", true}));
    EXPECT_NE((AssistantResponse{.usage = {.inputTokens = 1}}), (AssistantResponse{.usage = {.outputTokens = 1}}));
}

} // namespace
} // namespace larkspool
