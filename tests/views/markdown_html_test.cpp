#include "views/markdown_html.h"

#include "views/window_test.h"

#include <QTextBlock>
#include <QTextDocument>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace larkspool {
namespace {

/// The text as a label shows it, with marks around what is shown in another way: *bold*, /italic/, `code`, [link](address).
std::string shown(const QString& html)
{
    QTextDocument document;
    document.setHtml("<p style=\"white-space: pre-wrap\">" + html + "</p>");
    QString text;
    for (QTextBlock block = document.firstBlock(); block.isValid(); block = block.next()) {
        if (!text.isEmpty()) text += "|";
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextCharFormat format = part.fragment().charFormat();
            QString words = part.fragment().text();
            if (format.fontWeight() >= QFont::DemiBold) words = "*" + words + "*";
            if (format.fontItalic()) words = "/" + words + "/";
            if (format.background().style() != Qt::NoBrush) words = "`" + words + "`";
            if (format.isAnchor()) words = "[" + words + "](" + format.anchorHref() + ")";
            text += words;
        }
    }
    return text.toStdString();
}

TEST(InlineMarkdown, ShowsBoldItalicCodeAndLinks)
{
    struct Case {
        const char* source;
        const char* shown;
    };
    for (const Case& c : std::vector<Case>{
             {"plain", "plain"},
             {"some **bold** words", "some *bold* words"},
             {"some *slanted* words", "some /slanted/ words"},
             {"at `0.90s` now", "at `0.90s` now"},
             {"see [here](https://example.com/a?b=1&c=2)", "see [here](https://example.com/a?b=1&c=2)"},
             {"an \\*escaped\\* star", "an *escaped* star"},
             {"half **open", "half **open"},
         }) {
        SCOPED_TRACE(c.source);
        EXPECT_EQ(shown(inlineHTML(c.source)), c.shown);
    }
}

TEST(InlineMarkdown, SeesNoBlocksNoMarkupAndNoPictures)
{
    for (const char* source : {"# no heading", "- no bullet", "1. no list", "> no quote", "---", "```", "    no code",
                               "| a | b |", "a < b & c > d", "<b>no markup</b>", "<img src=\"file:///etc/passwd\">"}) {
        SCOPED_TRACE(source);
        EXPECT_EQ(shown(inlineHTML(source)), source);
    }
    EXPECT_EQ(shown(inlineHTML("a ![picture](file:///etc/passwd) here")), "a picture here");
    EXPECT_EQ(shown(inlineHTML("two  blanks")), "two  blanks");
    EXPECT_EQ(shown(inlineHTML("")), "");
}

TEST(MarkdownHTML, ShowsEachBlockOnALineOfItsOwn)
{
    EXPECT_EQ(shown(markdownHTML({"## Rows cascade\n- one `x`\n  - two\n\nmore\nwords"})),
              "*Rows cascade*|•  one `x`|•  two|more words");
    EXPECT_EQ(markdownHTML({"\n\n"}), "");
}

TEST(MarkdownHTML, HeadingsAreSemiboldAndTheFirstLevelIsTheLargest)
{
    const auto size = [](const char* source) {
        QTextDocument document;
        document.setHtml(markdownHTML({source}));
        const QFont font = document.lastBlock().begin().fragment().charFormat().font();
        EXPECT_GE(font.weight(), QFont::DemiBold);
        return font.pixelSize();
    };
    EXPECT_GT(size("# a"), size("## a"));
    EXPECT_GT(size("## a"), size("### a"));
    EXPECT_EQ(size("#### a"), size("###### a"));
}

} // namespace
} // namespace larkspool
