#include "foundation/array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ranges>

namespace larkspool {

/// A record of which lists keep each one apart.
struct Large {
    int value = 0;
    bool operator==(const Large&) const = default;
};

template <>
inline constexpr bool keepsElementsApart<Large> = true;

namespace {

std::vector<int> valuesOf(const Array<Large>& list)
{
    std::vector<int> values;
    for (const Large& item : list) values.push_back(item.value);
    return values;
}

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

TEST(ApartArray, ChangingOneElementOfACopyLeavesAllOthersShared)
{
    const Array<Large> original{{1}, {2}, {3}};
    Array<Large> copy = original;
    copy.edit()[1].value = 7;
    EXPECT_EQ(valuesOf(original), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(valuesOf(copy), (std::vector<int>{1, 7, 3}));
    EXPECT_EQ(&copy[0], &original[0]);
    EXPECT_NE(&copy[1], &original[1]);
    EXPECT_EQ(&copy[2], &original[2]);
    EXPECT_NE(copy, original);
    copy.edit()[1].value = 2;
    EXPECT_EQ(copy, original);
}

TEST(ApartArray, EditingTheOnlyOwnerKeepsTheElementInPlace)
{
    Array<Large> list{{1}, {2}};
    const Large* before = &list[1];
    list.edit()[1].value = 5;
    EXPECT_EQ(&list[1], before);
}

TEST(ApartArray, IsUsedLikeAnyOther)
{
    Array<Large> list{{3}, {1}, {2}};
    const Array<Large> before = list;
    Array<Large>::Elements& items = list.edit();
    std::stable_sort(items.begin(), items.end(), [](const Large& a, const Large& b) { return a.value < b.value; });
    items.insert(items.begin() + 1, Large{9});
    items.erase(items.begin());
    items.push_back({4});
    for (Large& item : items) item.value *= 10;
    EXPECT_EQ(valuesOf(list), (std::vector<int>{90, 20, 30, 40}));
    EXPECT_EQ(valuesOf(before), (std::vector<int>{3, 1, 2}));
    EXPECT_EQ(std::ranges::find(list, 30, &Large::value) - list.begin(), 2);
    EXPECT_EQ(valuesOf(std::vector<Large>(std::make_reverse_iterator(list.end()), std::make_reverse_iterator(list.begin()))),
              (std::vector<int>{40, 30, 20, 90}));
    EXPECT_TRUE(valuesOf(Array<Large>()).empty());
}

} // namespace
} // namespace larkspool
