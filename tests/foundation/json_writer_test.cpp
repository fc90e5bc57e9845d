#include "foundation/json_tree.h"
#include "foundation/json_writer.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace larkspool {
namespace {

std::string written(const std::function<void(JsonWriter&)>& write, JsonWriter::Layout layout = JsonWriter::Layout::pretty)
{
    JsonWriter writer(layout);
    write(writer);
    const std::vector<std::uint8_t> text = writer.take();
    return {text.begin(), text.end()};
}

void writeSample(JsonWriter& writer)
{
    writer.beginObject();
    writer.key("a");
    writer.beginArray();
    writer.integer(1);
    writer.beginObject();
    writer.endObject();
    writer.beginArray();
    writer.endArray();
    writer.endArray();
    writer.key("b");
    writer.null();
    writer.key("c");
    writer.boolean(/*value=*/true);
    writer.endObject();
}

TEST(JsonWriter, PrettyTextHasOneValueToALine)
{
    EXPECT_EQ(written(writeSample), "{\n"
                                    "  \"a\": [\n"
                                    "    1,\n"
                                    "    {},\n"
                                    "    []\n"
                                    "  ],\n"
                                    "  \"b\": null,\n"
                                    "  \"c\": true\n"
                                    "}");
}

TEST(JsonWriter, IndentationEndsAtADepthThatOnlyAHostileTextReaches)
{
    const std::string text = written([](JsonWriter& writer) {
        for (int i = 0; i < 100; ++i) writer.beginArray();
        for (int i = 0; i < 100; ++i) writer.endArray();
    });
    EXPECT_NE(text.find("\n" + std::string(126, ' ') + "[\n" + std::string(128, ' ') + "[\n" + std::string(128, ' ') + "["),
              std::string::npos);
    EXPECT_EQ(text.find(std::string(129, ' ')), std::string::npos);
}

TEST(JsonWriter, CompactTextHasNoWhiteSpace)
{
    EXPECT_EQ(written(writeSample, JsonWriter::Layout::compact), R"({"a":[1,{},[]],"b":null,"c":true})");
}

TEST(JsonWriter, WritesBehindWhatIsThereAlready)
{
    JsonWriter writer(JsonWriter::Layout::pretty, {'L', 'K'});
    writer.integer(-5);
    EXPECT_EQ(writer.take(), (std::vector<std::uint8_t>{'L', 'K', '-', '5'}));
}

TEST(JsonWriter, NumbersTakeTheirShortestForm)
{
    struct Case {
        double value;
        const char* text;
    };
    for (const Case& c : {Case{24, "24"}, Case{-3, "-3"}, Case{0, "0"}, Case{-0.0, "-0.0"}, Case{0.1, "0.1"},
                          Case{29.97, "29.97"}, Case{9007199254740991, "9007199254740991"}, Case{1e300, "1e+300"},
                          Case{5e-324, "5e-324"}, Case{1.0 / 3, "0.3333333333333333"}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(written([&](JsonWriter& writer) { writer.number(c.value); }), c.text);
    }
}

TEST(JsonWriter, EveryFiniteNumberComesBackBitForBit)
{
    EXPECT_TRUE(rc::check([](std::uint64_t bits) {
        const double value = std::bit_cast<double>(bits);
        RC_PRE(std::isfinite(value));
        const std::string text = written([&](JsonWriter& writer) { writer.number(value); });
        const std::optional<double> back = JsonTree(text).root().number();
        RC_ASSERT(back.has_value());
        RC_ASSERT(std::bit_cast<std::uint64_t>(*back) == bits);
    }));
}

TEST(JsonWriter, RefusesANumberThatIsNotFiniteAndNamesItsPlace)
{
    for (const double value : {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        JsonWriter writer;
        writer.beginObject();
        writer.key("scenes");
        writer.beginArray();
        writer.beginObject();
        writer.endObject();
        writer.beginObject();
        writer.key("size");
        writer.beginArray();
        writer.number(1);
        try {
            writer.number(value);
            FAIL() << "accepted " << value;
        } catch (const JsonWriteError& error) {
            EXPECT_EQ(error.kind(), JsonWriteError::Kind::notFinite);
            EXPECT_EQ(error.path(), "scenes[1].size[1]");
            EXPECT_STREQ(error.what(), "scenes[1].size[1] is not a finite number");
        }
    }
}

TEST(JsonWriter, RefusesNestingThatAReaderWouldRefuse)
{
    JsonWriter writer;
    for (std::size_t i = 0; i < JsonTree::deepestNesting; ++i) writer.beginArray();
    EXPECT_THROW(writer.beginArray(), JsonWriteError);
}

TEST(JsonWriter, EscapesWhatAStringCannotHold)
{
    EXPECT_EQ(written([](JsonWriter& writer) { writer.string(std::string_view("a\"\\/\n\r\t\b\0\x1F\x7F\xC3\xA9", 13)); }),
              "\"a\\\"\\\\/\\n\\r\\t\\u0008\\u0000\\u001f\x7F\xC3\xA9\"");
}

TEST(JsonWriter, EveryTextComesBack)
{
    EXPECT_TRUE(rc::check([](const std::vector<std::uint32_t>& units) {
        std::string text;
        for (const std::uint32_t unit : units) text += static_cast<char>(unit % 0x80);
        const std::string json = written([&](JsonWriter& writer) { writer.string(text); });
        RC_ASSERT(JsonTree(json).root().string() == text);
    }));
}

TEST(JsonWriter, MalformedTextIsWrittenWithReplacementCharacters)
{
    const std::string json = written([](JsonWriter& writer) { writer.string("a\xFF\xC3\xA9\xED\xA0\x80z"); });
    EXPECT_EQ(json, "\"a\xEF\xBF\xBD\xC3\xA9\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDz\"");
    EXPECT_NO_THROW(JsonTree tree(json));
}

TEST(JsonWriter, BytesBecomeBase64)
{
    const std::vector<std::uint8_t> bytes{'f', 'o'};
    EXPECT_EQ(written([&](JsonWriter& writer) { writer.base64(bytes); }), "\"Zm8=\"");
}

} // namespace
} // namespace larkspool
