// Any text is cut into blocks that hold it line by line, and stands on a card in one short line.

#include "assistant/markdown_text.h"
#include "assistant/tool_cards.h"
#include "foundation/text.h"
#include "require.h"

#include <algorithm>

namespace {

using namespace larkspool;
using Text = AssistantMarkdownText;

bool isOneLine(const std::string& text)
{
    return text.find('\n') == text.npos;
}

/// What holds for a block by itself.
struct BlockLaws {
    void operator()(const Text::Heading& block) const
    {
        require(1 <= block.level && block.level <= 6, "a heading has one of six levels");
        require(isOneLine(block.text) && !block.text.empty(), "a heading has a line of text");
    }
    void operator()(const Text::Bullet& block) const
    {
        require(isOneLine(block.text) && !block.text.empty(), "a bullet has a line of text");
    }
    void operator()(const Text::Paragraph& block) const
    {
        require(isOneLine(block.text) && !block.text.empty(), "a paragraph has a line of text");
    }
    void operator()(const Text::Blank&) const {}
};

bool isParagraph(const Text::Block& block)
{
    return std::holds_alternative<Text::Paragraph>(block);
}

void requireLaws(const std::vector<Text::Block>& blocks, std::size_t lines)
{
    require(!blocks.empty() && blocks.size() <= lines, "no line makes more than one block");
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        std::visit(BlockLaws(), blocks[i]);
        require(i == 0 || !isParagraph(blocks[i]) || !isParagraph(blocks[i - 1]), "lines in a row are one paragraph");
    }
}

std::vector<Text::Block> blocks(std::string_view source)
{
    return Text{std::string(source)}.blocks();
}

void requireSeparate(std::string_view first, std::string_view second)
{
    std::vector<Text::Block> parts = blocks(first);
    parts.emplace_back(Text::Blank());
    std::ranges::copy(blocks(second), std::back_inserter(parts));
    require(blocks(std::string(first) + "\n\n" + std::string(second)) == parts, "an empty line parts two texts");
}

void requireShort(const ToolResultCard& card)
{
    const std::string shortened = ToolResultCard::shortened(card.content);
    require(isOneLine(shortened) && characterCount(shortened) <= 81, "what is shortened is short");
    require(!card.summary().glyph.empty() && !card.details().empty(), "a card shows something");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view source(reinterpret_cast<const char*>(data), size);
    requireLaws(blocks(source), static_cast<std::size_t>(std::ranges::count(source, '\n')) + 1);
    requireSeparate(source.substr(0, size / 2), source.substr(size / 2));
    requireShort({.content = std::string(source), .isError = false});
    requireShort({.content = std::string(source), .isError = !source.empty()});
    return 0;
}
