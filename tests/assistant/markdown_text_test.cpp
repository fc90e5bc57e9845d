#include "assistant/markdown_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <variant>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using Block = AssistantMarkdownText::Block;

Block heading(int level, std::string text)
{
    return AssistantMarkdownText::Heading{level, std::move(text)};
}
Block bullet(std::size_t indent, std::string text)
{
    return AssistantMarkdownText::Bullet{indent, std::move(text)};
}
Block paragraph(std::string text)
{
    return AssistantMarkdownText::Paragraph{std::move(text)};
}
const Block blank = AssistantMarkdownText::Blank{};

std::vector<Block> blocks(const std::string& source)
{
    return AssistantMarkdownText{source}.blocks();
}

struct Case {
    const char* when;
    std::string source;
    std::vector<Block> blocks;
};

void expectBlocks(const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(blocks(c.source), c.blocks);
    }
}

TEST(MarkdownHeadings, AreOneToSixHashSignsAndABlank)
{
    expectBlocks({
        {"level 1", "# Title", {heading(1, "Title")}},
        {"level 2", "## Title", {heading(2, "Title")}},
        {"level 3", "### Title", {heading(3, "Title")}},
        {"level 6", "###### Title", {heading(6, "Title")}},
        {"seven", "####### Title", {paragraph("####### Title")}},
        {"signs alone", "##", {paragraph("##")}},
        {"signs and blanks alone", "##   ", {paragraph("##")}},
        {"no blank", "#Title", {paragraph("#Title")}},
        {"a tab in place of the blank", "#\tTitle", {paragraph("#\tTitle")}},
        {"more signs within", "# # Title #", {heading(1, "# Title #")}},
    });
}

TEST(MarkdownHeadings, HaveTheirTextWithoutBlanksAroundIt)
{
    expectBlocks({
        {"several blanks", "##    Title here", {heading(2, "Title here")}},
        {"white space behind", "## Title \t\r", {heading(2, "Title")}},
        {"blanks and tabs in front", " \t ## Title", {heading(2, "Title")}},
        {"a tab behind the blank", "## \tTitle", {heading(2, "\tTitle")}},
    });
}

TEST(MarkdownBullets, AreAHyphenOrAStarAndABlank)
{
    expectBlocks({
        {"hyphen", "- point", {bullet(0, "point")}},
        {"star", "* point", {bullet(0, "point")}},
        {"no blank", "-point", {paragraph("-point")}},
        {"bold is no bullet", "**bold** words", {paragraph("**bold** words")}},
        {"another sign", "+ point", {paragraph("+ point")}},
        {"sign alone", "- ", {paragraph("-")}},
        {"one within another", "- - point", {bullet(0, "- point")}},
        {"a blank more", "-  point", {bullet(0, " point")}},
    });
}

TEST(MarkdownBullets, AreIndentedByEveryTwoBlanksInFront)
{
    expectBlocks({
        {"one", " - point", {bullet(0, "point")}},
        {"two", "  - point", {bullet(1, "point")}},
        {"three", "   - point", {bullet(1, "point")}},
        {"four", "    - point", {bullet(2, "point")}},
        {"nine", "         * point", {bullet(4, "point")}},
        {"a tab", "\t- point", {bullet(0, "point")}},
        {"two blanks before a tab", "  \t- point", {bullet(1, "point")}},
    });
}

TEST(MarkdownParagraphs, JoinLinesByOneBlankUntilSomethingElseComes)
{
    expectBlocks({
        {"one line", "words", {paragraph("words")}},
        {"two lines", "some words\nand more", {paragraph("some words and more")}},
        {"an empty line between", "one\n\ntwo", {paragraph("one"), blank, paragraph("two")}},
        {"a line of white space between", "one\n \t\r\ntwo", {paragraph("one"), blank, paragraph("two")}},
        {"two empty lines between", "one\n\n\ntwo", {paragraph("one"), blank, blank, paragraph("two")}},
        {"a heading", "one\n# Title\ntwo", {paragraph("one"), heading(1, "Title"), paragraph("two")}},
        {"bullets", "one\n- a\n- b\ntwo", {paragraph("one"), bullet(0, "a"), bullet(0, "b"), paragraph("two")}},
        {"white space at the ends of lines", "one  \ntwo\t\r\nthree \u00A0\u2003", {paragraph("one two three")}},
        {"blanks in front", "  one\n  two", {paragraph("  one   two")}},
    });
}

TEST(MarkdownBlocks, EveryLineCountsTheLastOneToo)
{
    expectBlocks({
        {"nothing", "", {blank}},
        {"a line feed", "\n", {blank, blank}},
        {"a line feed at the end", "words\n", {paragraph("words"), blank}},
        {"carriage returns end no line", "one\rtwo", {paragraph("one\rtwo")}},
        {"wide white space alone", "\u3000\u00A0", {blank}},
    });
}

TEST(MarkdownBlocks, LeaveWhatStandsWithinALineAsItIs)
{
    EXPECT_THAT(blocks("## **Bold** and `code`\n1. [link](https://example.com)\n> quoted\n```"),
                ElementsAre(heading(2, "**Bold** and `code`"), paragraph("1. [link](https://example.com) > quoted ```")));
}

TEST(MarkdownBlocks, TextsWithAnEmptyLineBetweenAreCutEachForItself)
{
    const auto text = rc::gen::container<std::string>(rc::gen::elementOf(std::string("#-* \t\nab")));
    EXPECT_TRUE(rc::check("blocks(a + empty line + b) = blocks(a) + blank + blocks(b)", [text] {
        const std::string a = *text, b = *text;
        std::vector<Block> expected = blocks(a);
        expected.push_back(blank);
        std::ranges::copy(blocks(b), std::back_inserter(expected));
        RC_ASSERT(blocks(a + "\n\n" + b) == expected);
    }));
}

TEST(MarkdownBlocks, ALongTextIsCutInLinearTime)
{
    std::string source;
    for (int line = 0; line < 200'000; ++line) source += "# \n-\n        word\n";
    ASSERT_EQ(blocks(source).size(), 2u); // One paragraph of all lines, and the empty line at the end.
    EXPECT_EQ(blocks(std::string(1'000'000, '#')).size(), 1u);
    EXPECT_EQ(blocks(std::string(1'000'000, ' ') + "- x"), std::vector{bullet(500'000, "x")});
}

} // namespace
} // namespace larkspool
