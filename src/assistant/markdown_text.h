#pragma once

#include <string>
#include <variant>
#include <vector>

namespace larkspool {

/// The model's text, cut into the blocks that the conversation shows. Of Markdown only what a short answer needs has a meaning:
///
///     ## Title            heading of level 2
///     some words          ┐
///     and more            ┴ one paragraph
///       - a thing         bullet, one step in
///
/// What stands within a block (bold, code, links) is left as it is written.
struct AssistantMarkdownText {
    struct Heading {
        int level = 1; ///< From 1, the largest, to 6.
        std::string text;

        bool operator==(const Heading&) const = default;
    };
    struct Bullet {
        std::size_t indent = 0; ///< Steps of two blanks.
        std::string text;

        bool operator==(const Bullet&) const = default;
    };
    struct Paragraph {
        std::string text; ///< On one line.

        bool operator==(const Paragraph&) const = default;
    };
    /// An empty line.
    struct Blank {
        bool operator==(const Blank&) const = default;
    };
    using Block = std::variant<Heading, Bullet, Paragraph, Blank>;

    std::string source;

    /// In order. No text holds a line feed.
    std::vector<Block> blocks() const;

    bool operator==(const AssistantMarkdownText&) const = default;
};

} // namespace larkspool
