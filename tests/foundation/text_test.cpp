#include "foundation/text.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>
#include <string>

namespace larkspool {
namespace {

TEST(Characters, AreCountedAsAPersonSeesThem)
{
    struct Case { const char* what; std::string_view text; std::size_t count; std::string_view first; };
    for (const Case& c : {Case{"nothing", "", 0, ""},
                          Case{"letters", "abc", 3, "a"},
                          Case{"two lines", "a\nb", 3, "a"},
                          Case{"line feeds", "\n\n", 2, "\n"},
                          Case{"a line end of two bytes", "\r\nb", 2, "\r\n"},
                          Case{"a line end the other way round", "\n\r", 2, "\n"},
                          Case{"an umlaut", "äb", 2, "ä"},
                          Case{"a combining mark", "e\u0301b", 2, "e\u0301"},
                          Case{"many combining marks", "a\u0300\u0301\u0302\u0303b", 2, "a\u0300\u0301\u0302\u0303"},
                          Case{"a mark with nothing to combine with", "\u0301a", 2, "\u0301"},
                          Case{"an emoji", "😀b", 2, "😀"},
                          Case{"a skin tone", "👍🏽b", 2, "👍🏽"},
                          Case{"a family", "👨‍👩‍👧‍👦b", 2, "👨‍👩‍👧‍👦"},
                          Case{"two flags", "🇩🇪🇫🇷", 2, "🇩🇪"},
                          Case{"a heart with its selector", "❤️b", 2, "❤️"},
                          Case{"a keycap", "1️⃣b", 2, "1️⃣"},
                          Case{"hangul syllables of parts", "\u1112\u1161\u11AB\u1100\u1173\u11AF", 2, "\u1112\u1161\u11AB"},
                          Case{"thai", "กำ", 1, "กำ"},
                          Case{"a zero byte", std::string_view("a\0b", 3), 3, "a"}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(characterCount(c.text), c.count);
        EXPECT_EQ(firstCharacters(c.text, 1), c.first);
        EXPECT_EQ(firstCharacters(c.text, 0), "");
        EXPECT_EQ(firstCharacters(c.text, c.count), c.text);
        EXPECT_EQ(firstCharacters(c.text, c.count + 1), c.text);
        EXPECT_EQ(firstCharacters(c.text, SIZE_MAX), c.text);
    }
}

TEST(Characters, MalformedBytesCountOneByOneAndASequenceCutShortAsOne)
{
    struct Case { const char* what; std::string_view text; std::size_t count; std::string_view first; };
    for (const Case& c : {Case{"bytes that are never used", "a\xFF\xFE" "b", 4, "a"},
                          Case{"a lone continuation", "\x80" "b", 2, "\x80"},
                          Case{"an overlong slash", "\xC0\xAF", 2, "\xC0"},
                          Case{"a surrogate", "\xED\xA0\x80", 3, "\xED"},
                          Case{"beyond the last code point", "\xF4\x90\x80\x80", 4, "\xF4"},
                          Case{"two bytes of three", "\xE2\x82", 1, "\xE2\x82"},
                          Case{"three bytes of four", "\xF0\x9F\x98", 1, "\xF0\x9F\x98"},
                          Case{"the first of two", "a\xC3", 2, "a"}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(characterCount(c.text), c.count);
        EXPECT_EQ(firstCharacters(c.text, 1), c.first);
        EXPECT_EQ(firstCharacters(c.text, c.count), c.text);
    }
}

TEST(Characters, AnyBytesAreWalkedFromTheFirstToTheLast)
{
    EXPECT_TRUE(rc::check([](const std::string& text) {
        const std::size_t count = characterCount(text);
        RC_ASSERT(count <= text.size());
        std::size_t length = 0;
        for (std::size_t i = 1; i <= count; ++i) {
            const std::size_t longer = firstCharacters(text, i).size();
            RC_ASSERT(longer > length);
            length = longer;
        }
        RC_ASSERT(length == text.size());
    }));
}

TEST(WellFormed, MarksEachByteThatIsNoPartOfACharacter)
{
    struct Case {
        const char *text, *wellFormed;
    };
    for (const Case& c : {Case{"", ""}, Case{"plain", "plain"}, Case{"né 👍", "né 👍"}, Case{"a\xFFz", "a\uFFFDz"},
                          Case{"\xE2\x82", "\uFFFD\uFFFD"}, Case{"\xC0\xAF", "\uFFFD\uFFFD"}})
        EXPECT_EQ(wellFormed(c.text), c.wellFormed);
}

TEST(ShortestNumber, HasNoMoreDigitsThanItNeeds)
{
    struct Case { double value; const char* text; };
    for (const Case& c : {Case{24, "24"}, Case{0.1, "0.1"}, Case{-2.5, "-2.5"}, Case{1e300, "1e+300"}, Case{0, "0"},
                          Case{0.1 + 0.2, "0.30000000000000004"}, Case{5e-324, "5e-324"}})
        EXPECT_EQ(shortestNumber(c.value), c.text);
}

TEST(ShortestNumber, ReadsBackAsTheSameValue)
{
    EXPECT_TRUE(rc::check([](double value) { RC_ASSERT(std::strtod(shortestNumber(value).c_str(), nullptr) == value); }));
}

} // namespace
} // namespace larkspool
