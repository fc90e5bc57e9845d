#include "assistant/json.h"

#include "document/file_format.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>

namespace larkspool {
namespace {

constexpr double twoTo63 = 9223372036854775808.0;

TEST(JSON, EveryKindIsReadAsItself)
{
    struct Case {
        const char* text;
        JSON value;
    };
    for (const Case& c : {
             Case{"null", nullptr},
             Case{"true", true},
             Case{"false", false},
             Case{"1", 1},
             Case{"0", 0},
             Case{"-7", -7},
             Case{"1.5", 1.5},
             Case{"\"1\"", "1"},
             Case{"\"a\\u00e9\\n\"", "a\u00E9\n"},
             Case{"[]", JSON::Array{}},
             Case{"{}", JSON::Object{}},
             Case{" [1, [null], {\"a\": true}] ", JSON::Array{1, JSON(JSON::Array{nullptr}), JSON(JSON::Object{{"a", true}})}},
         }) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(JSON::decode(c.text), c.value);
        EXPECT_EQ(JSON::decode(c.text).kind(), c.value.kind());
    }
}

TEST(JSON, AWholeNumberIsAnIntegerAndOnlyWhatNoIntegerHoldsIsANumber)
{
    struct Case {
        const char* text;
        JSON value;
    };
    for (const Case& c : {
             Case{"1.0", 1}, Case{"2.4e1", 24}, Case{"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
             Case{"-9223372036854775808", std::numeric_limits<std::int64_t>::min()}, Case{"9223372036854775808", twoTo63},
             Case{"1e300", 1e300}, Case{"0.1", 0.1},
             Case{"1e-400", 0.0}, // Nearer to 0 than to any other double, and yet not whole.
         }) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(JSON::decode(c.text), c.value);
    }
}

TEST(JSON, ANumberBeyondAllDoublesIsUnknown)
{
    for (const char* text : {"1e999", "-1e999", "[1, {\"a\": 1e400}]"}) {
        SCOPED_TRACE(text);
        try {
            JSON::decode(text);
            ADD_FAILURE() << "was read";
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.reason(), "Unknown JSON value");
        }
    }
}

TEST(JSON, WhatIsNoJSONIsASyntaxError)
{
    for (const char* text : {"", "nul", "[1,]", "{\"a\"}", "\"\xFF\"", "1 2", "NaN"}) {
        SCOPED_TRACE(text);
        EXPECT_THROW(JSON::decode(text), JsonSyntaxError);
    }
}

TEST(JSON, NestingIsBounded)
{
    const auto nested = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    EXPECT_EQ(JSON::decode(nested(JSON::deepestNesting)).encoded(), nested(JSON::deepestNesting));
    EXPECT_THROW(JSON::decode(nested(JSON::deepestNesting + 1)), DecodingError);
    EXPECT_THROW(JSON::decode(std::string(1'000'000, '[')), JsonSyntaxError);
}

TEST(JSON, OfEqualKeysTheLastHolds)
{
    EXPECT_EQ(JSON::decode(R"({"a": 1, "b": 2, "a": 3})"), JSON(JSON::Object{{"a", 3}, {"b", 2}}));
}

TEST(JSON, AQuestionIsAnsweredByItsOwnKindAndAcrossNumbersAlone)
{
    const JSON null, yes(true), whole(2), number(2.9), text("2"), list(JSON::Array{1}), members(JSON::Object{{"a", 1}});
    for (const JSON* value : {&null, &yes, &whole, &number, &text, &list, &members}) {
        SCOPED_TRACE(value->encoded());
        EXPECT_EQ(value->isNull(), value == &null);
        EXPECT_EQ(value->boolean().has_value(), value == &yes);
        EXPECT_EQ(value->integer().has_value(), value == &whole || value == &number);
        EXPECT_EQ(value->number().has_value(), value == &whole || value == &number);
        EXPECT_EQ(value->string() != nullptr, value == &text);
        EXPECT_EQ(value->array() != nullptr, value == &list);
        EXPECT_EQ(value->object() != nullptr, value == &members);
        EXPECT_EQ((*value)["a"] != nullptr, value == &members);
    }
    EXPECT_EQ(yes.boolean(), true);
    EXPECT_EQ(*text.string(), "2");
    EXPECT_EQ(list.array()->size(), 1u);
    EXPECT_EQ(*members["a"], JSON(1));
    EXPECT_EQ(members["b"], nullptr);
}

TEST(JSON, NumbersCrossIntoEachOther)
{
    EXPECT_EQ(JSON(2.9).integer(), 2);
    EXPECT_EQ(JSON(-2.9).integer(), -2);
    EXPECT_EQ(JSON(2).number(), 2.0);
    EXPECT_EQ(JSON(-twoTo63).integer(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(JSON(twoTo63).integer(), std::nullopt);
    EXPECT_EQ(JSON(std::nan("")).integer(), std::nullopt);
}

TEST(JSON, EqualityGoesByKindAndNotByTheOrderOfKeys)
{
    EXPECT_NE(JSON(1), JSON(1.0));
    EXPECT_NE(JSON(1), JSON(true));
    EXPECT_NE(JSON(), JSON(false));
    EXPECT_NE(JSON("1"), JSON(1));
    EXPECT_NE(JSON::decode("[1, 2]"), JSON::decode("[2, 1]"));
    EXPECT_EQ(JSON::decode(R"({"a": 1, "b": [2]})"), JSON::decode(R"({"b": [2], "a": 1})"));
}

TEST(JSON, IsWrittenInItsNaturalForm)
{
    const JSON value(JSON::Object{{"b", JSON::Array{nullptr, true, -3, 1.5}}, {"a", "\"/\n"}, {"", JSON::Object{}}});
    EXPECT_EQ(value.encoded(), R"({"":{},"a":"\"/\n","b":[null,true,-3,1.5]})");
    EXPECT_EQ(JSON(JSON::Object{{"a", 1}}).encoded(JsonWriter::Layout::pretty), "{\n  \"a\": 1\n}");
}

/// A value as reading gives it: numbers that are not whole.
rc::Gen<JSON> arbitraryJSON(int depth)
{
    const auto leaf =
        rc::gen::oneOf(rc::gen::just(JSON()), rc::gen::map(rc::gen::arbitrary<bool>(), [](bool value) { return JSON(value); }),
                       rc::gen::map(rc::gen::arbitrary<std::int64_t>(), [](std::int64_t value) { return JSON(value); }),
                       rc::gen::map(rc::gen::inRange(-1'000'000, 1'000'000), [](int value) { return JSON(value + 0.5); }),
                       rc::gen::map(rc::gen::string<std::string>(), [](std::string text) {
                           for (char& c : text) c = static_cast<char>(c & 0x7F);
                           return JSON(text);
                       }));
    if (depth == 0) return leaf;
    return rc::gen::oneOf(
        leaf,
        rc::gen::map(rc::gen::container<std::vector<JSON>>(arbitraryJSON(depth - 1)),
                     [](std::vector<JSON> elements) { return JSON(std::move(elements)); }),
        rc::gen::map(rc::gen::container<std::vector<JSON>>(arbitraryJSON(depth - 1)), [](const std::vector<JSON>& values) {
            JSON::Object members;
            for (const JSON& value : values) members.emplace(std::to_string(members.size() * 7), value);
            return JSON(members);
        }));
}

TEST(JSON, WhatIsWrittenReadsBackAsTheSameValue)
{
    EXPECT_TRUE(rc::check([] {
        const JSON value = *rc::gen::scale(0.2, arbitraryJSON(3));
        RC_ASSERT(JSON::decode(value.encoded()) == value);
        RC_ASSERT(JSON::decode(value.encoded(JsonWriter::Layout::pretty)) == value);
    }));
}

} // namespace
} // namespace larkspool
