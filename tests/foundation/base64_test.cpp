#include "foundation/base64.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <string>

namespace larkspool {
namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

std::string encoded(std::span<const std::uint8_t> bytes)
{
    std::vector<std::uint8_t> text;
    appendBase64(text, bytes);
    return {text.begin(), text.end()};
}

TEST(Base64, EncodesAndDecodesTheVectorsOfTheStandard)
{
    struct Case {
        const char* bytes;
        const char* text;
    };
    for (const Case& c : {Case{"", ""}, Case{"f", "Zg=="}, Case{"fo", "Zm8="}, Case{"foo", "Zm9v"}, Case{"foob", "Zm9vYg=="},
                          Case{"fooba", "Zm9vYmE="}, Case{"foobar", "Zm9vYmFy"}}) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(encoded(bytesOf(c.bytes)), c.text);
        EXPECT_EQ(base64Decoded(c.text), bytesOf(c.bytes));
    }
}

TEST(Base64, TheLastTwoCharactersOfTheAlphabetArePlusAndSlash)
{
    const std::vector<std::uint8_t> bytes{0xFB, 0xEF, 0xFF}; // 62, 62, 63, 63
    EXPECT_EQ(encoded(bytes), "++//");
    EXPECT_EQ(base64Decoded("++//"), bytes);
    EXPECT_FALSE(base64Decoded("--__"));
}

TEST(Base64, RefusesWhatAnEncoderNeverWrites)
{
    struct Case {
        const char* what;
        std::string_view text;
    };
    for (const Case& c : {Case{"no padding", "Zg"}, Case{"half the padding", "Zg="}, Case{"three characters of padding", "Z==="},
                          Case{"padding only", "===="}, Case{"padding inside", "Zg==Zg=="}, Case{"padding between", "Z=g="},
                          Case{"a space", "Zm 9"}, Case{"a line break", "Zm9v\nZm8="}, Case{"stray bits before ==", "Zh=="},
                          Case{"stray bits before =", "Zm9="}, Case{"a letter outside ASCII", "Zm\xC3\xA9"},
                          Case{"a zero byte", std::string_view("Zm9\0", 4)}}) {
        SCOPED_TRACE(c.what);
        EXPECT_FALSE(base64Decoded(c.text));
    }
}

TEST(Base64, EveryByteStringComesBack)
{
    EXPECT_TRUE(rc::check([](const std::vector<std::uint8_t>& bytes) {
        const std::string text = encoded(bytes);
        RC_ASSERT(text.size() == base64Length(bytes.size()));
        RC_ASSERT(base64Decoded(text) == bytes);
    }));
}

TEST(Base64, ALargeBufferComesBackAndAFaultFarInsideIsFound)
{
    std::vector<std::uint8_t> bytes(100'001);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    std::string text = encoded(bytes);
    EXPECT_EQ(base64Decoded(text), bytes);

    text[70'000] = '*';
    EXPECT_FALSE(base64Decoded(text));
}

} // namespace
} // namespace larkspool
