#include "foundation/text.h"

#include <gtest/gtest.h>

namespace larkspool {

TEST(TextInDoubleQuotes, StaysOnOneLineAndEndsWhereItEnds)
{
    struct Case {
        const char* when;
        std::string_view text;
        const char* quoted;
    };
    for (const Case& c : {Case{"empty", "", R"("")"}, Case{"plain", "No scenes to export", R"("No scenes to export")"},
                          Case{"quotes", R"(the "card")", R"("the \"card\"")"}, Case{"a backslash", R"(C:\)", R"("C:\\")"},
                          Case{"line ends and tabs", "a\nb\r\tc", R"("a\nb\r\tc")"},
                          Case{"other controls", std::string_view("\0\x1b\x7f", 3), R"("\u{0}\u{1b}\u{7f}")"},
                          Case{"beyond ASCII", "é…", R"("é…")"}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(inDoubleQuotes(c.text), c.quoted);
    }
}

} // namespace larkspool
