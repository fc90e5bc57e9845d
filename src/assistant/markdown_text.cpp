#include "assistant/markdown_text.h"

#include "assistant/white_space.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace larkspool {

namespace {

using Text = AssistantMarkdownText;

/// How many of the character the text begins with.
std::size_t runLength(std::string_view text, char c)
{
    return std::min(text.find_first_not_of(c), text.size());
}

/// `line` has no blanks at its ends.
std::optional<Text::Heading> heading(std::string_view line)
{
    constexpr std::size_t deepest = 6;
    const std::size_t level = runLength(line, '#');
    if (level < 1 || level > deepest || !line.substr(level).starts_with(' ')) return std::nullopt;
    line.remove_prefix(level);
    return Text::Heading{static_cast<int>(level), std::string(line.substr(runLength(line, ' ')))};
}

/// A bullet may stand behind tabs, which do not count as steps.
std::optional<Text::Bullet> bullet(std::string_view line)
{
    constexpr std::size_t blanksPerStep = 2;
    const std::string_view content = withoutOuterBlanks(line);
    if (!content.starts_with("- ") && !content.starts_with("* ")) return std::nullopt;
    return Text::Bullet{runLength(line, ' ') / blanksPerStep, std::string(content.substr(2))};
}

/// Gathers lines into blocks.
class BlockList {
public:
    void add(std::string_view line)
    {
        line = withoutTrailingWhiteSpace(line);
        const std::string_view content = withoutOuterBlanks(line);
        if (content.empty()) return append(Text::Blank{});
        if (std::optional<Text::Heading> title = heading(content)) return append(*std::move(title));
        if (std::optional<Text::Bullet> point = bullet(line)) return append(*std::move(point));
        if (!paragraph_.empty()) paragraph_ += ' ';
        paragraph_ += line;
    }

    std::vector<Text::Block> finished()
    {
        flush();
        return std::move(blocks_);
    }

private:
    void append(Text::Block block)
    {
        flush();
        blocks_.push_back(std::move(block));
    }
    void flush()
    {
        if (!paragraph_.empty()) blocks_.emplace_back(Text::Paragraph{std::exchange(paragraph_, {})});
    }

    std::vector<Text::Block> blocks_;
    std::string paragraph_; ///< Of the lines since the last block.
};

} // namespace

std::vector<AssistantMarkdownText::Block> AssistantMarkdownText::blocks() const
{
    BlockList list;
    std::string_view rest = source;
    for (std::size_t end; (end = rest.find('\n')) != rest.npos; rest.remove_prefix(end + 1)) list.add(rest.substr(0, end));
    list.add(rest);
    return list.finished();
}

} // namespace larkspool
