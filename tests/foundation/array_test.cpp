#include "foundation/array.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(Array, CopiesShareTheirElementsUntilOneIsEdited)
{
    const Array<int> original{1, 2, 3};
    Array<int> copy = original;
    EXPECT_TRUE(copy.sharesStorageWith(original));

    copy.edit()[0] = 7;
    EXPECT_FALSE(copy.sharesStorageWith(original));
    EXPECT_EQ(original, (Array<int>{1, 2, 3}));
    EXPECT_EQ(copy, (Array<int>{7, 2, 3}));
}

TEST(Array, EditingTheOnlyOwnerKeepsTheElementsInPlace)
{
    Array<int> list{1, 2, 3};
    const int* before = list.data();
    list.edit()[1] = 5;
    EXPECT_EQ(list.data(), before);
}

TEST(Array, AnEmptiedListEqualsOneThatNeverHeldAnything)
{
    Array<int> emptied{1};
    emptied.edit().clear();
    EXPECT_EQ(emptied, Array<int>());
    EXPECT_TRUE(emptied.empty());
}

} // namespace
} // namespace larkspool
