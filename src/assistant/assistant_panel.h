#pragma once

#include "assistant/assistant_session.h"
#include "assistant/markdown_text.h"
#include "assistant/tool_cards.h"
#include "platform/user_defaults.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What the panel of the conversation shows, for a view that only has to draw it.

namespace larkspool {

/// @name The rows of the transcript, one for each block of a message.
/// @{
/// The words of the person, in a bubble.
struct PersonBubble {
    std::string text;

    bool operator==(const PersonBubble&) const = default;
};

using TranscriptRow = std::variant<PersonBubble, AssistantMarkdownText, ToolCallCard, ToolResultCard>;

/// In order. All cards are closed.
std::vector<TranscriptRow> transcriptRows(std::span<const AssistantMessage> messages);
/// @}

/// The conversation as text to be pasted elsewhere:
///
///     You:
///     Make it blue
///
///     Assistant:
///     Applied 1 change(s)
///
///     You:
///     [result] applied 1 operation(s)
std::string transcriptText(std::span<const AssistantMessage> messages);

/// What the panel is like at a moment.
struct AssistantPanel {
    enum class Content {
        setUp,      ///< How to set the assistant up.
        starters,   ///< What could be asked.
        transcript, ///< The conversation.
    };

    /// @name Words and glyphs that never change.
    /// @{
    static constexpr std::string_view title = "Assistant";
    static constexpr std::string_view titleGlyph = "sparkles";
    static constexpr std::string_view copyLabel = "Copy transcript";
    static constexpr std::string_view clearLabel = "Clear conversation";
    static constexpr std::string_view clearGlyph = "trash";
    static constexpr std::string_view setUpHeading = "Set up the assistant";
    static constexpr std::string_view setUpText = "Open Preferences → Assistant, enable it, and paste your Anthropic API key.";
    static constexpr std::string_view startersLabel = "Try asking…";
    static constexpr std::string_view thinkingText = "Thinking…";
    static constexpr std::string_view placeholder = "Ask the assistant…";
    static constexpr std::string_view sendGlyph = "paperplane.fill";
    static constexpr int composerLines = 5; ///< At most; at least one.
    /// @}

    Content content = Content::setUp;
    bool isThinking = false;            ///< A row at the end of the transcript says so.
    std::optional<std::string> error{}; ///< Below the transcript.
    bool canWrite = false;              ///< Whether the composer takes input.
    bool canSend = false;               ///< Whether there is something to send as well.

    static AssistantPanel of(const AssistantSession& session, const UserDefaults& defaults);

    bool operator==(const AssistantPanel&) const = default;
};

} // namespace larkspool
