#include "assistant/assistant_panel.h"

#include "assistant/assistant_tools.h"
#include "assistant/white_space.h"

#include <fmt/format.h>

namespace larkspool {

namespace {

/// A block as a row.
struct RowOf {
    AssistantMessage::Role role;

    TranscriptRow operator()(const AssistantText& block) const
    {
        if (role == AssistantMessage::Role::user) return PersonBubble{block.text};
        return AssistantMarkdownText{block.text};
    }
    TranscriptRow operator()(const AssistantToolUse& block) const { return ToolCallCard{block.name, block.input}; }
    TranscriptRow operator()(const AssistantToolResult& block) const { return ToolResultCard{block.content, block.isError}; }
};

/// A block as text.
struct TextOf {
    std::string operator()(const AssistantText& block) const { return block.text; }
    std::string operator()(const AssistantToolUse& block) const
    {
        if (block.name == AssistantToolCatalog::getDocument().name) return "Read the scene";
        if (block.name == AssistantToolCatalog::applyPatch().name)
            return fmt::format("Applied {} change(s)", operationCount(block.input));
        return block.name;
    }
    std::string operator()(const AssistantToolResult& block) const
    {
        return (block.isError ? "[error] " : "[result] ") + block.content;
    }
};

std::string_view shownName(AssistantMessage::Role role)
{
    return role == AssistantMessage::Role::user ? "You" : "Assistant";
}

} // namespace

std::vector<TranscriptRow> transcriptRows(std::span<const AssistantMessage> messages)
{
    std::vector<TranscriptRow> rows;
    for (const AssistantMessage& message : messages)
        for (const AssistantBlock& block : message.content) rows.push_back(std::visit(RowOf{message.role}, block));
    return rows;
}

std::string transcriptText(std::span<const AssistantMessage> messages)
{
    std::string text;
    for (const AssistantMessage& message : messages) {
        if (!text.empty()) text += "\n\n";
        text += shownName(message.role);
        text += ':';
        for (const AssistantBlock& block : message.content) text += '\n' + std::visit(TextOf{}, block);
    }
    return text;
}

AssistantPanel AssistantPanel::of(const AssistantSession& session, const UserDefaults& defaults)
{
    const bool isSetUp =
        defaults.boolean(DefaultsKey::assistantEnabled) && !defaults.string(DefaultsKey::assistantAPIKey).empty();
    const bool canWrite = isSetUp && !session.inFlight;
    const Content content = !isSetUp ? Content::setUp : session.history.empty() ? Content::starters : Content::transcript;
    return {.content = content,
            .isThinking = session.inFlight,
            .error = session.lastError,
            .canWrite = canWrite,
            .canSend = canWrite && !withoutOuterBlanks(session.input).empty()};
}

} // namespace larkspool
