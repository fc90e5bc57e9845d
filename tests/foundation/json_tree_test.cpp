#include "foundation/json_tree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace larkspool {
namespace {

/// What a text is refused for, or "accepted".
std::string verdict(std::string_view text)
{
    try {
        const JsonTree tree(text);
        return "accepted";
    } catch (const JsonSyntaxError& error) {
        return error.what();
    }
}

std::string repeated(std::string_view part, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += part;
    return text;
}

TEST(JsonTree, ReadsEveryKindOfValue)
{
    const JsonTree tree(R"( { "a" : [ 1 , -2.5e1 , "x" , true , false , null ] , "b" : { } , "c" : [ ] } )");
    const JsonValue root = tree.root();
    ASSERT_TRUE(root.isObject());
    EXPECT_EQ(root.size(), 3u);

    const JsonValue a = *root.find("a");
    ASSERT_TRUE(a.isArray());
    ASSERT_EQ(a.size(), 6u);
    std::vector<JsonValue> elements;
    for (const JsonValue element : a.elements()) elements.push_back(element);
    ASSERT_EQ(elements.size(), 6u);
    EXPECT_EQ(elements[0].number(), 1.0);
    EXPECT_EQ(elements[1].number(), -25.0);
    EXPECT_EQ(elements[2].string(), "x");
    EXPECT_EQ(elements[3].boolean(), true);
    EXPECT_EQ(elements[4].boolean(), false);
    EXPECT_TRUE(elements[5].isNull());

    EXPECT_TRUE(root.find("b")->isObject());
    EXPECT_EQ(root.find("b")->size(), 0u);
    EXPECT_TRUE(root.find("c")->isArray());
    EXPECT_EQ(root.find("c")->size(), 0u);
    EXPECT_FALSE(root.find("d"));
}

TEST(JsonTree, MembersComeInTheOrderOfTheText)
{
    const JsonTree tree(R"({"z":[[1],[2]],"a":{"b":{}},"m":3})");
    std::string keys;
    for (const JsonMember& member : tree.root().members()) keys += member.key;
    EXPECT_EQ(keys, "zam");
}

TEST(JsonTree, TheLastOfEqualKeysHolds)
{
    const JsonTree tree(R"({"a":1,"b":2,"a":3})");
    EXPECT_EQ(tree.root().find("a")->number(), 3.0);
    EXPECT_EQ(tree.root().size(), 3u);
}

TEST(JsonTree, AQuestionOfTheWrongKindHasNoAnswer)
{
    const JsonTree tree(R"("12")");
    EXPECT_FALSE(tree.root().number());
    EXPECT_FALSE(tree.root().integer());
    EXPECT_FALSE(tree.root().boolean());
    EXPECT_FALSE(tree.root().find("a"));
    EXPECT_EQ(tree.root().size(), 0u);
    for (const JsonValue element : tree.root().elements()) FAIL() << element.size();
    for (const JsonMember& member : tree.root().members()) FAIL() << member.key;
    EXPECT_TRUE(JsonValue().isNull());
}

TEST(JsonTree, EscapesAreResolved)
{
    struct Case {
        const char* text;
        std::string_view value;
    };
    for (const Case& c : {Case{R"("\"\\\/\b\f\n\r\t")", "\"\\/\b\f\n\r\t"}, Case{R"("A\u00e9\u65E5z")", "A\xC3\xA9\xE6\x97\xA5z"},
                          Case{R"("\ud83d\ude00!")", "\xF0\x9F\x98\x80!"}, Case{R"("\u0000x")", std::string_view("\0x", 2)},
                          Case{R"("no escape at all, and long enough for a run")", "no escape at all, and long enough for a run"},
                          Case{R"("twelve plain\tand on")", "twelve plain\tand on"}, Case{R"("\uffff")", "\xEF\xBF\xBF"}}) {
        SCOPED_TRACE(c.text);
        const JsonTree tree(c.text);
        EXPECT_EQ(tree.root().string(), c.value);
    }
}

TEST(JsonTree, NumbersAreTheNearestDouble)
{
    struct Case {
        const char* text;
        double value;
    };
    for (const Case& c : {Case{"0", 0}, Case{"0.1", 0.1}, Case{"1e-320", 1e-320}, Case{"-1.5E+2", -150}, Case{"1e-999", 0},
                          Case{"9007199254740993", 9007199254740992.0}, Case{"0.0000e999999999999999999999", 0},
                          Case{"1e-9223372036854775808", 0}, Case{"0.01e-9223372036854775808", 0},
                          Case{"123456789012345678901234567890", 123456789012345678901234567890.0},
                          Case{"1.7976931348623157e308", std::numeric_limits<double>::max()}}) {
        SCOPED_TRACE(c.text);
        const JsonTree tree(c.text);
        EXPECT_EQ(tree.root().number(), c.value);
        EXPECT_EQ(tree.root().numberText(), c.text);
    }
    const std::string manyZeros = "0." + std::string(400, '0') + "1";
    EXPECT_EQ(JsonTree(manyZeros).root().number(), 0.0);
    const std::string backAgain = "0." + std::string(400, '0') + "1e401";
    EXPECT_EQ(JsonTree(backAgain).root().number(), 1.0);
}

TEST(JsonTree, NegativeZeroKeepsItsSign)
{
    for (const char* text : {"-0", "-0.0", "-0e5", "-1e-999"}) {
        SCOPED_TRACE(text);
        const JsonTree tree(text);
        ASSERT_TRUE(tree.root().number());
        EXPECT_EQ(*tree.root().number(), 0);
        EXPECT_TRUE(std::signbit(*tree.root().number()));
    }
}

TEST(JsonTree, ANumberBeyondTheFiniteOnesParsesButHasNoValue)
{
    for (const std::string& text : {std::string("1e999"), std::string("-1e999"), std::string("1e99999999999999999999"),
                                    "1" + std::string(400, '0'), std::string("1.8e308")}) {
        SCOPED_TRACE(text);
        const JsonTree tree(text);
        EXPECT_EQ(tree.root().kind(), JsonValue::Kind::number);
        EXPECT_FALSE(tree.root().number());
        EXPECT_FALSE(tree.root().integer());
    }
}

TEST(JsonTree, IntegersAreWholeNumbersOf64Bits)
{
    struct Case {
        const char* text;
        std::optional<std::int64_t> value;
    };
    for (const Case& c : {Case{"24", 24},
                          Case{"24.0", 24},
                          Case{"2.4e1", 24},
                          Case{"-7", -7},
                          Case{"-0", 0},
                          Case{"29.97", std::nullopt},
                          Case{"1e-1", std::nullopt},
                          Case{"9223372036854775807", INT64_MAX},
                          Case{"9223372036854775808", std::nullopt},
                          Case{"-9223372036854775808", INT64_MIN},
                          Case{"-9223372036854775809", std::nullopt},
                          Case{"9223372036854775807.0", INT64_MAX},
                          Case{"9007199254740993.00", 9007199254740993},
                          Case{"123456789012345678901234567890", std::nullopt},
                          Case{"1e18", 1'000'000'000'000'000'000},
                          Case{"1e19", std::nullopt},
                          Case{"9007199254740993e0", 9007199254740993},
                          Case{"0.001e4", 10},
                          Case{"-2500e-2", -25},
                          Case{"2500e-3", std::nullopt},
                          Case{"24.00000000000000000001", std::nullopt},
                          Case{"0e999999999999999999999", 0},
                          Case{"1e999999999999999999999", std::nullopt},
                          Case{"1e-9223372036854775808", std::nullopt}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(JsonTree(c.text).root().integer(), c.value);
    }
}

TEST(JsonTree, RefusesWhatIsNotJsonAndSaysWhere)
{
    struct Case {
        const char* what;
        std::string_view text;
        const char* verdict;
    };
    for (const Case& c :
         {Case{"nothing", "", "unexpected end of the text at byte 0"},
          Case{"blanks", "  ", "unexpected end of the text at byte 2"},
          Case{"cut in an object", R"({"a":1)", "unexpected end of the text at byte 6"},
          Case{"cut in a string", R"(["ab)", "unexpected end of the text at byte 4"},
          Case{"cut behind a backslash", R"(["ab\)", "unexpected end of the text at byte 5"},
          Case{"cut in an escape", R"(["\u12)", "unexpected end of the text at byte 6"},
          Case{"cut in a word", "tru", "expected a value at byte 0"},
          Case{"a second value", "1 2", "unexpected text behind the end at byte 2"},
          Case{"a zero byte behind the end", std::string_view("1\0", 2), "unexpected text behind the end at byte 1"},
          Case{"a trailing comma in an array", "[1,]", "expected a value at byte 3"},
          Case{"a trailing comma in an object", R"({"a":1,})", "expected a key in quotes at byte 7"},
          Case{"a leading comma", "[,1]", "expected a value at byte 1"},
          Case{"no comma", "[1 2]", "expected a comma or the end of the array at byte 3"},
          Case{"no colon", R"({"a" 1})", "expected a colon at byte 5"},
          Case{"the wrong bracket", "[1}", "expected a comma or the end of the array at byte 2"},
          Case{"a closing bracket alone", "]", "expected a value at byte 0"},
          Case{"a comment", "/**/1", "expected a value at byte 0"},
          Case{"a leading zero", "01", "unexpected text behind the end at byte 1"},
          Case{"a plus", "+1", "expected a value at byte 0"},
          Case{"a bare minus", "-", "unexpected end of the text at byte 1"},
          Case{"no digit behind the point", "1.", "unexpected end of the text at byte 2"},
          Case{"no digit of the exponent", "1e+x", "expected a digit at byte 3"},
          Case{"not a number", "NaN", "expected a value at byte 0"},
          Case{"an unknown escape", R"("\x")", "expected an escape at byte 2"},
          Case{"a line break in a string", "\"a\nb\"", "a control character in a string at byte 2"},
          Case{"a zero byte in a string", std::string_view("\"a\0\"", 4), "a control character in a string at byte 2"},
          Case{"single quotes", "'a'", "expected a value at byte 0"},
          Case{"a byte order mark", "\xEF\xBB\xBF{}", "expected a value at byte 0"}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(verdict(c.text), c.verdict);
    }
}

TEST(JsonTree, RefusesTextThatIsNotUtf8AtItsFirstBadByte)
{
    struct Case {
        const char* what;
        std::string_view text;
        std::size_t offset;
    };
    for (const Case& c :
         {Case{"a stray continuation", "\"a\x80\"", 2}, Case{"a byte that UTF-8 never has", "[\"\xFF\"]", 2},
          Case{"an overlong slash", "\"\xC0\xAF\"", 1}, Case{"an overlong of three bytes", "\"\xE0\x80\xAF\"", 1},
          Case{"a surrogate", "\"\xC3\xA9\xED\xA0\x80\"", 3}, Case{"beyond the last character", "\"\xF4\x90\x80\x80\"", 1},
          Case{"cut short by the quote", "\"\xE6\x97\"", 1}, Case{"cut short by the end", "\"\xF0\x9F", 1}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(verdict(c.text), "invalid UTF-8 at byte " + std::to_string(c.offset));
    }
}

TEST(JsonTree, RefusesLoneSurrogates)
{
    for (const char* text :
         {R"("x\ud800")", R"("x\udc00")", R"("x\ud800\n")", R"("x\ud800\ud800")", R"("x\ud800A")", R"("x\ude00\ud83d")"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(verdict(text), "a lone surrogate at byte 2");
    }
}

TEST(JsonTree, NestingIsBounded)
{
    EXPECT_EQ(verdict(repeated("[", 512) + repeated("]", 512)), "accepted");
    EXPECT_EQ(verdict(repeated("[", 513) + repeated("]", 513)), "values nested deeper than 512 levels at byte 512");
    EXPECT_EQ(verdict(repeated("[", 100'000) + repeated("]", 100'000)), "values nested deeper than 512 levels at byte 512");
    EXPECT_EQ(verdict(repeated(R"({"a":)", 100'000)), "values nested deeper than 512 levels at byte 2560");
    EXPECT_EQ(verdict(repeated("[[]],", 0) + "[" + repeated("[],", 1000) + "0]"), "accepted"); // Side by side is not deep.
}

} // namespace
} // namespace larkspool
