#include "platform/text_layout.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <thread>

namespace larkspool {
namespace {

/// Inter's own numbers, in units of which an em has 2816.
constexpr double interUnits = 2816;
constexpr double ascender = 2728 / interUnits, descender = -680 / interUnits, capHeight = 2048 / interUnits;
constexpr double lineHeight = ascender - descender;
/// Advances of letters of Inter's regular face, in ems.
constexpr double advanceOfN = 1648 / interUnits, advanceOfH = 2084 / interUnits, advanceOfSpace = 792 / interUnits;
/// Letters between which Inter kerns nothing are this near to the sum of their advances, at a size of 100.
constexpr double near = 0.02;

TextLayoutRequest request(std::string text, double width = 0)
{
    return {.text = std::move(text), .fontName = "Inter", .fontSize = 100, .width = width};
}

std::shared_ptr<const TextLayout> laidOut(std::string text, double width = 0)
{
    return layOutText(request(std::move(text), width));
}

/// Where the characters of the line's glyphs begin, from left to right.
std::vector<std::size_t> bytesOf(const TextLayout& layout, std::size_t line)
{
    std::vector<std::size_t> bytes;
    const TextLayout::Line& at = layout.lines.at(line);
    for (std::size_t run = at.firstRun; run < at.firstRun + at.runCount; ++run)
        for (std::size_t i = 0; i < layout.runs[run].glyphCount; ++i)
            bytes.push_back(layout.glyphs[layout.runs[run].firstGlyph + i].byte);
    return bytes;
}

TEST(FontMetrics, AreTheFontsOwnTimesTheSize)
{
    const FontMetrics metrics = fontMetrics("Inter", 40);
    EXPECT_NEAR(metrics.ascender, 40 * ascender, 1e-3);
    EXPECT_NEAR(metrics.descender, 40 * descender, 1e-3);
    EXPECT_NEAR(metrics.capHeight, 40 * capHeight, 1e-3);
    EXPECT_EQ(metrics.leading, 0);
    EXPECT_NEAR(metrics.lineHeight(), 40 * lineHeight, 1e-3);
}

TEST(FontMetrics, DoNotRoundAtSmallSizes)
{
    const FontMetrics small = fontMetrics("Inter", 7.3), large = fontMetrics("Inter", 730);
    EXPECT_NEAR(small.ascender * 100, large.ascender, 1e-6);
    EXPECT_NEAR(small.capHeight * 100, large.capHeight, 1e-6);
}

TEST(FontMetrics, AreNothingWithoutASize)
{
    for (const double size : {0.0, -3.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(fontMetrics("Inter", size), FontMetrics{});
}

TEST(FontNames, NameAFamilyOrAFace)
{
    struct Case {
        const char* what;
        const char* name;
        double advance;
        bool isInstalled = true;
    };
    constexpr double semiBold = 2095 / interUnits;
    for (const Case& c :
         {Case{"a family", "Inter", advanceOfH}, Case{"a face in full", "Inter Semi Bold", semiBold},
          Case{"as font files name it", "Inter-SemiBold", semiBold}, Case{"in other letters", "inter semibold", semiBold},
          Case{"unknown", "No Such Font", advanceOfH, false}, Case{"empty", "", advanceOfH, false},
          Case{"not text", "\xff\xfe,,", advanceOfH, false}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(isFontInstalled(c.name), c.isInstalled);
        const auto layout = layOutText({.text = "HH", .fontName = c.name, .fontSize = 100});
        EXPECT_NEAR(layout->size.width, 200 * c.advance, near);
    }
}

TEST(TextLayout, OfNoTextHasNoSizeAndNoLines)
{
    const auto layout = laidOut("");
    EXPECT_EQ(layout->size, (CGSize{0, 0}));
    EXPECT_TRUE(layout->lines.empty());
    EXPECT_TRUE(layout->ink.isNull());
}

TEST(TextLayout, OfOneLineIsAsWideAsItsLettersAndAsHighAsItsFont)
{
    const auto layout = laidOut("nHn");
    ASSERT_EQ(layout->lines.size(), 1u);
    EXPECT_NEAR(layout->size.width, 100 * (2 * advanceOfN + advanceOfH), near);
    EXPECT_NEAR(layout->size.height, 100 * lineHeight, 1e-2);
    EXPECT_NEAR(layout->lines[0].start.y, 100 * ascender, 1e-2);
    // A capital stands on the baseline and is as high as capitals are.
    const auto capital = laidOut("H");
    EXPECT_NEAR(capital->ink.minY(), 100 * (ascender - capHeight), 0.05);
    EXPECT_NEAR(capital->ink.maxY(), 100 * ascender, 0.05);
}

TEST(TextLayout, GrowsWithTheSizeWithoutSteps)
{
    const double large = layOutText({.text = "Hamburgefonstiv", .fontName = "Inter", .fontSize = 1000})->size.width;
    for (const double size : {0.01, 1.0, 7.3, 32.0, 33.3, 1e7}) {
        SCOPED_TRACE(size);
        const double width = layOutText({.text = "Hamburgefonstiv", .fontName = "Inter", .fontSize = size})->size.width;
        EXPECT_NEAR(width / size * 1000, large, 1e-6);
    }
}

TEST(TextLayout, BreaksLinesWhereTheTextDoes)
{
    struct Case {
        const char* what;
        const char* text;
        std::size_t lines;
    };
    for (const Case& c :
         {Case{"none", "nn", 1}, Case{"line feed", "n\nn", 2}, Case{"carriage return", "n\rn", 2},
          Case{"both are one", "n\r\nn", 2}, Case{"at the end", "n\n", 2}, Case{"alone", "\n", 2}, Case{"two", "n\n\nn", 3},
          Case{"line separator", "n\u2028n", 2}, Case{"paragraph separator", "n\u2029n", 2}, Case{"next line", "n\u0085n", 2}}) {
        SCOPED_TRACE(c.what);
        const auto layout = laidOut(c.text);
        ASSERT_EQ(layout->lines.size(), c.lines);
        EXPECT_NEAR(layout->size.height, 100 * lineHeight * static_cast<double>(c.lines), 1e-2);
        EXPECT_LE(layout->size.width, 200 * advanceOfN + near);
    }
}

TEST(TextLayout, WrapsBetweenWords)
{
    // Four letters fit, and three with a space and another do not.
    const auto layout = laidOut("nnn nnn", 100 * advanceOfN * 4.2);
    ASSERT_EQ(layout->lines.size(), 2u);
    EXPECT_EQ(bytesOf(*layout, 0), (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(bytesOf(*layout, 1), (std::vector<std::size_t>{4, 5, 6}));
    EXPECT_NEAR(layout->size.width, 300 * advanceOfN, near);
}

TEST(TextLayout, BreaksAWordThatIsLongerThanALine)
{
    const auto layout = laidOut("nnnnnnnn", 100 * advanceOfN * 3.5);
    ASSERT_EQ(layout->lines.size(), 3u);
    EXPECT_EQ(bytesOf(*layout, 1), (std::vector<std::size_t>{3, 4, 5}));
    EXPECT_EQ(bytesOf(*layout, 2), (std::vector<std::size_t>{6, 7}));
    EXPECT_NEAR(layout->lines[0].width, 300 * advanceOfN, near); // No hyphen is put in.
}

TEST(TextLayout, PutsAtLeastOneLetterInALine)
{
    EXPECT_EQ(laidOut("nnn", 1e-9)->lines.size(), 3u);
}

TEST(TextLayout, AlignsEachLineInTheWidth)
{
    const double one = 100 * advanceOfN, width = 300;
    struct Case {
        LineAlignment alignment;
        double first, second;
    };
    for (const Case& c : {Case{LineAlignment::left, 0, 0}, Case{LineAlignment::center, (width - one) / 2, (width - 2 * one) / 2},
                          Case{LineAlignment::right, width - one, width - 2 * one}}) {
        const auto layout =
            layOutText({.text = "n\nnn", .fontName = "Inter", .fontSize = 100, .width = width, .alignment = c.alignment});
        ASSERT_EQ(layout->lines.size(), 2u);
        EXPECT_NEAR(layout->lines[0].start.x, c.first, near);
        EXPECT_NEAR(layout->lines[1].start.x, c.second, near);
    }
}

TEST(TextLayout, WithoutAWidthAlignsLinesToTheWidest)
{
    const auto layout = layOutText({.text = "n\nnn", .fontName = "Inter", .fontSize = 100, .alignment = LineAlignment::right});
    EXPECT_NEAR(layout->lines[0].start.x, 100 * advanceOfN, near);
    EXPECT_NEAR(layout->lines[1].start.x, 0, near);
}

TEST(TextLayout, PutsACombiningMarkOverItsLetter)
{
    const auto marked = laidOut("n\u0308n");
    EXPECT_NEAR(marked->size.width, 200 * advanceOfN, near);
    for (const std::size_t byte : bytesOf(*marked, 0)) EXPECT_NE(byte, 2u); // In the middle of the mark.
    EXPECT_LT(marked->ink.minY(), laidOut("nn")->ink.minY());
}

TEST(TextLayout, SetsEmojiInTheirOwnFont)
{
    const auto layout = laidOut("\U0001F600");
    EXPECT_NEAR(layout->size.width, 100 * 2550 / 2048.0, 0.1);
    EXPECT_FALSE(layout->ink.isNull());
    // A family of several code points is one glyph.
    EXPECT_EQ(laidOut("\U0001F468\u200D\U0001F469\u200D\U0001F467")->glyphs.size(), 1u);
}

TEST(TextLayout, RunsFromRightToLeftWhereTheScriptDoes)
{
    EXPECT_EQ(bytesOf(*laidOut("\u05D0\u05D1"), 0), (std::vector<std::size_t>{2, 0}));
    EXPECT_EQ(bytesOf(*laidOut("n\u05D0\u05D1"), 0), (std::vector<std::size_t>{0, 3, 1}));
    EXPECT_EQ(bytesOf(*laidOut("\u05D0n"), 0), (std::vector<std::size_t>{2, 0}));
}

TEST(TextLayout, KeepsTheDirectionOfALongParagraph)
{
    // The first letter decides, also for what is laid out long after it.
    std::string text = "\u05D0";
    while (text.size() < 5000) text += " nnnnn";
    const auto layout = laidOut(text + " n !", 2000);
    const std::vector<std::size_t> last = bytesOf(*layout, layout->lines.size() - 1);
    EXPECT_EQ(last.front(), text.size() + 3); // The exclamation mark stands at the left end.
}

TEST(TextLayout, ShowsAFrameForCharactersOfNoFont)
{
    const auto layout = laidOut("n\U000F0000n");
    ASSERT_EQ(layout->glyphs.size(), 3u);
    EXPECT_GT(layout->size.width, 200 * advanceOfN + 10);
}

TEST(TextLayout, TakesBytesThatAreNotTextForQuestionMarks)
{
    EXPECT_EQ(laidOut("n\xffn")->size, laidOut("n?n")->size);
    EXPECT_EQ(laidOut("n\xe2\x82")->size, laidOut("n??")->size);
    EXPECT_EQ(bytesOf(*laidOut("n\xff\xffn"), 0), (std::vector<std::size_t>{0, 1, 2, 3}));
    EXPECT_EQ(laidOut(std::string("n\0n", 3))->size, laidOut("n n")->size);
    EXPECT_EQ(laidOut("n\x1bn")->size, laidOut("n n")->size);
}

TEST(TextLayout, OfASizeThatIsNoneIsEmpty)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    for (const double size : {0.0, -1.0, nan, infinity}) {
        const auto layout = layOutText({.text = "n", .fontName = "Inter", .fontSize = size});
        EXPECT_EQ(layout->size, (CGSize{0, 0}));
        EXPECT_TRUE(layout->ink.isNull());
    }
    for (const double width : {nan, infinity, -5.0, 0.0}) EXPECT_EQ(laidOut("nn nn", width)->lines.size(), 1u);
    EXPECT_EQ(layOutText({.text = "n", .fontName = "Inter", .fontSize = 1e300, .width = 1})->lines.size(), 1u);
}

TEST(TextLayout, IsKeptByItsContent)
{
    const auto first = laidOut("kept by content", 300);
    EXPECT_EQ(laidOut("kept by content", 300), first);
    EXPECT_NE(laidOut("kept by content!", 300), first);
    EXPECT_NE(laidOut("kept by content", 301), first);
    TextLayoutRequest other = request("kept by content", 300);
    other.fontSize = 50;
    EXPECT_NE(layOutText(other), first);
    other = request("kept by content", 300);
    other.alignment = LineAlignment::right;
    EXPECT_NE(layOutText(other), first);
    other = request("kept by content", 300);
    other.fontName = "Inter Semi Bold";
    EXPECT_NE(layOutText(other), first);
}

TEST(TextLayout, IsTheSameOnEveryThread)
{
    const auto here = laidOut("threads agree \u05D0 \U0001F600", 301);
    for (int i = 0; i < 3; ++i) laidOut(std::string(300000, '\n') + std::to_string(i)); // More than is kept.
    std::shared_ptr<const TextLayout> there;
    std::thread([&] { there = laidOut("threads agree \u05D0 \U0001F600", 301); }).join();
    ASSERT_EQ(there->glyphs.size(), here->glyphs.size());
    EXPECT_EQ(there->size, here->size);
    for (std::size_t i = 0; i < here->runs.size(); ++i) EXPECT_EQ(there->runs[i].face, here->runs[i].face);
}

TEST(TextLayout, OfALongParagraphHasTheLinesThatWordsFill)
{
    // At this size five words of 82.4 and the four spaces of 7.92 between them take 443.68, six would take 534.
    constexpr std::size_t words = 16667;
    std::string text;
    for (std::size_t i = 0; i < words; ++i) text += i ? " nnnnn" : "nnnnn";
    ASSERT_GT(text.size(), 100000u);
    const auto layout = layOutText({.text = text, .fontName = "Inter", .fontSize = 28.16, .width = 500});
    EXPECT_EQ(layout->lines.size(), (words + 4) / 5);
    EXPECT_EQ(layout->glyphs.size(), words * 5);
    for (std::size_t line = 0; line < layout->lines.size(); ++line) ASSERT_EQ(bytesOf(*layout, line).front(), line * 30);
    EXPECT_NEAR(layout->size.width, 443.68, 0.1);
}

TEST(TextLayout, OfALongWordInANarrowBoxTakesBoundedTime)
{
    // Two letters a line: 50,000 lines.
    const auto layout = laidOut(std::string(100000, 'n'), 100 * advanceOfN * 2.5);
    EXPECT_EQ(layout->lines.size(), 50000u);
    EXPECT_EQ(bytesOf(*layout, 49999), (std::vector<std::size_t>{99998, 99999}));
}

TEST(TextLayout, EndsALineThatIsFarTooLong)
{
    const auto layout = laidOut(std::string(100000, 'n'));
    EXPECT_EQ(layout->lines.size(), 7u); // Of 16384 letters each.
    EXPECT_EQ(layout->glyphs.size(), 100000u);
    EXPECT_NEAR(layout->size.width, 16384 * 100 * advanceOfN, 200);
}

TEST(TextLayout, LeavesOutWhatIsBeyondTheGreatestLength)
{
    std::string text(greatestTextBytes + 10, '\n');
    EXPECT_EQ(laidOut(text)->lines.size(), greatestTextBytes + 1);
}

RC_GTEST_PROP(TextLayout, HoldsForAnyBytes, (const std::string& text))
{
    const double width = *rc::gen::inRange(0, 400);
    const auto layout = laidOut(text, width);
    std::size_t glyphs = 0;
    double top = 0;
    for (const TextLayout::Line& line : layout->lines) {
        RC_ASSERT(std::abs(line.top - top) < 1e-6);
        top += line.height;
        for (std::size_t run = line.firstRun; run < line.firstRun + line.runCount; ++run) glyphs += layout->runs[run].glyphCount;
    }
    RC_ASSERT(std::abs(layout->size.height - top) < 1e-6);
    RC_ASSERT(glyphs == layout->glyphs.size());
    for (const TextLayout::Glyph& glyph : layout->glyphs) RC_ASSERT(glyph.byte < text.size());
}

} // namespace
} // namespace larkspool
