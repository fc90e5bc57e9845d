#include "editing/number_input.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(NumberInput, TakesNumbersAsAPersonTypesThem)
{
    struct Case {
        const char* typed;
        double value;
    };
    for (const Case& c : {Case{"2", 2}, Case{"2.5", 2.5}, Case{"  -0.25\t", -0.25}, Case{"+3", 3}, Case{".5", 0.5}, Case{"7.", 7},
                          Case{"1e3", 1000}, Case{"-0", 0}}) {
        SCOPED_TRACE(c.typed);
        EXPECT_EQ(parsedNumber(c.typed), c.value);
    }
}

TEST(NumberInput, RefusesWhatIsNoFiniteNumber)
{
    for (const char* typed :
         {"", " ", "abc", "1a", "1 2", "1,5", "--1", "+-1", "++1", "nan", "NaN", "inf", "-infinity", "1e999", "0x10", ".", "-"}) {
        SCOPED_TRACE(typed);
        EXPECT_EQ(parsedNumber(typed), std::nullopt);
    }
}

TEST(NumberInput, IsWrittenInThousandthsAndNoLongerThanNeeded)
{
    struct Case {
        double value;
        const char* text;
    };
    for (const Case& c : {Case{0.1 + 0.2, "0.3"}, Case{2, "2"}, Case{1.0005001, "1.001"}, Case{-0.0001, "0"}, Case{-1.5, "-1.5"},
                          Case{1e300, "1e+300"}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(typedNumber(c.value), c.text);
    }
}

} // namespace
} // namespace larkspool
