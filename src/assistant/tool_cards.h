#pragma once

#include "assistant/json.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// What the model did, on a card of the conversation: one line, which opens to show all of it.
struct ToolCallCard {
    struct Friendly {
        std::string label;
        std::string_view glyph;             ///< The name of a picture.
        std::optional<std::string> badge{}; ///< How many changes, and of what kinds.

        bool operator==(const Friendly&) const = default;
    };

    std::string name; ///< Of the tool.
    JSON input;
    bool expanded = false;

    Friendly friendly() const;

    /// What the open card shows of its input: one value to a line.
    static std::string prettyJSON(const JSON& json);

    bool operator==(const ToolCallCard&) const = default;
};

/// What came of it.
struct ToolResultCard {
    enum class Tone { good, bad };
    struct Summary {
        std::string text; ///< On one line.
        std::string_view glyph;
        Tone tone = Tone::good;

        bool operator==(const Summary&) const = default;
    };

    std::string content;
    bool isError = false;
    bool expanded = false;

    Summary summary() const;

    /// What the open card shows.
    std::string details() const;

    /// The first line, cut behind its 80th character if it has more.
    static std::string shortened(std::string_view text);

    bool operator==(const ToolResultCard&) const = default;
};

/// The picture of the button that opens and closes a card.
std::string_view chevronGlyph(bool expanded);

/// How many operations a call of apply_patch asks for.
std::size_t operationCount(const JSON& patchInput);

} // namespace larkspool
