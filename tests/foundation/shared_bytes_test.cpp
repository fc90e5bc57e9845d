#include "foundation/shared_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace larkspool {
namespace {

TEST(SharedString, HoldsTheTextItWasMadeFrom)
{
    EXPECT_EQ(SharedString("words"), "words");
    EXPECT_EQ(SharedString(std::string("words")), std::string_view("words"));
    EXPECT_EQ(SharedString("words").string(), std::string("words"));
    EXPECT_EQ(SharedString(std::string_view("a\0b", 3)).view().size(), 3u);
}

TEST(SharedString, NoTextIsTheEmptyText)
{
    EXPECT_TRUE(SharedString().empty());
    EXPECT_TRUE(SharedString("").empty());
    EXPECT_EQ(SharedString(), SharedString(""));
    EXPECT_EQ(SharedString().view(), "");
    EXPECT_FALSE(SharedString("a").empty());
}

TEST(SharedString, ACopyIsTheSameTextAndStaysWhenTheOtherChanges)
{
    SharedString original = "a text too long to be kept within a string object";
    const SharedString copy = original;
    EXPECT_EQ(copy.view().data(), original.view().data());

    original = "another";
    EXPECT_EQ(copy, "a text too long to be kept within a string object");
    EXPECT_EQ(original, "another");
}

TEST(SharedString, TextsAreComparedByTheirLetters)
{
    EXPECT_EQ(SharedString("same"), SharedString("same"));
    EXPECT_NE(SharedString("same"), SharedString("sane"));
    EXPECT_NE(SharedString("same"), SharedString());
}

TEST(Bytes, HoldWhatTheyWereMadeFrom)
{
    const Bytes bytes(std::vector<std::uint8_t>{1, 0, 255});
    EXPECT_EQ(bytes.size(), 3u);
    EXPECT_TRUE(std::ranges::equal(bytes.view(), std::vector<std::uint8_t>{1, 0, 255}));
}

TEST(Bytes, NoneAreEmpty)
{
    EXPECT_TRUE(Bytes().empty());
    EXPECT_TRUE(Bytes(std::vector<std::uint8_t>()).empty());
    EXPECT_EQ(Bytes(), Bytes(std::vector<std::uint8_t>()));
    EXPECT_EQ(Bytes().size(), 0u);
    EXPECT_TRUE(Bytes().view().empty());
}

TEST(Bytes, ACopySharesTheBuffer)
{
    const Bytes original(std::vector<std::uint8_t>{1, 2, 3});
    const Bytes copy = original;
    EXPECT_TRUE(copy.sharesStorageWith(original));
    EXPECT_EQ(copy.view().data(), original.view().data());

    const Bytes equal(std::vector<std::uint8_t>{1, 2, 3});
    EXPECT_FALSE(equal.sharesStorageWith(original));
    EXPECT_EQ(equal, original);
    EXPECT_NE(original, Bytes(std::vector<std::uint8_t>{1, 2, 4}));
    EXPECT_NE(original, Bytes(std::vector<std::uint8_t>{1, 2}));
}

} // namespace
} // namespace larkspool
