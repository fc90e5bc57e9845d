#pragma once

#include "assistant/json.h"
#include "document/enumeration.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace larkspool {

/// @name The blocks of a message.
/// @{
struct AssistantText {
    std::string text;

    bool operator==(const AssistantText&) const = default;
};

/// The model asks for a tool.
struct AssistantToolUse {
    std::string id; ///< Given by the model. The result names it.
    std::string name;
    JSON input;

    bool operator==(const AssistantToolUse&) const = default;
};

/// What came of it.
struct AssistantToolResult {
    std::string toolUseID;
    std::string content;
    bool isError = false;

    bool operator==(const AssistantToolResult&) const = default;
};

using AssistantBlock = std::variant<AssistantText, AssistantToolUse, AssistantToolResult>;
/// @}

/// One turn of the conversation. Tool results travel in a message of the user.
struct AssistantMessage {
    enum class Role { user, assistant };

    Role role = Role::user;
    std::vector<AssistantBlock> content{};

    bool operator==(const AssistantMessage&) const = default;
};

/// What one call of the model returns.
struct AssistantResponse {
    /// Why the model stopped.
    enum class StopReason { endTurn, maxTokens, toolUse, stopSequence, other };
    /// Tokens.
    struct Usage {
        std::int64_t inputTokens = 0;
        std::int64_t outputTokens = 0;
        std::int64_t cacheReadInputTokens = 0;
        std::int64_t cacheCreationInputTokens = 0;

        bool operator==(const Usage&) const = default;
    };

    std::vector<AssistantBlock> content{};
    StopReason stopReason = StopReason::other;
    Usage usage{};

    bool operator==(const AssistantResponse&) const = default;
};

/// A tool as it is offered to the model.
struct AssistantTool {
    std::string name;
    std::string description;
    JSON inputSchema;

    bool operator==(const AssistantTool&) const = default;
};

/// The values of the wire.
template <>
struct EnumTable<AssistantMessage::Role> {
    using enum AssistantMessage::Role;
    static constexpr EnumCase<AssistantMessage::Role> cases[] = {{user, "user"}, {assistant, "assistant"}};
};

template <>
struct EnumTable<AssistantResponse::StopReason> {
    using enum AssistantResponse::StopReason;
    static constexpr EnumCase<AssistantResponse::StopReason> cases[] = {
        {endTurn, "end_turn"},           {maxTokens, "max_tokens"}, {toolUse, "tool_use"},
        {stopSequence, "stop_sequence"}, {other, "other"},
    };
};

} // namespace larkspool
