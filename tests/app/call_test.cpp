#include "app/call.h"

#include <gtest/gtest.h>

namespace larkspool {

namespace {

const CallRules rules{"turn",
                      {"DOC"},
                      {{"--at", "T", "the time", Option::Need::required},
                       {"-o", "FILE", "the output"},
                       {"--count", "N", "how often"},
                       {"--quiet", "", "say nothing"}}};

Call call(const std::vector<std::string>& arguments)
{
    return Call(rules, arguments);
}

std::string complaint(const std::vector<std::string>& arguments)
{
    try {
        const Call parsed = call(arguments);
        parsed.number("--at");
        parsed.wholeNumber("--count");
        return "";
    } catch (const WrongCall& error) {
        return error.what();
    }
}

} // namespace

TEST(Call, SortsOperandsAndOptionsInAnyOrder)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"a.doc", "--at", "1.5", "-o", "b.png", "--quiet"},
                                                      {"--at=1.5", "--quiet", "-o", "b.png", "a.doc"}}) {
        SCOPED_TRACE(arguments[0]);
        const Call parsed = call(arguments);
        EXPECT_EQ(parsed.operand(0), "a.doc");
        EXPECT_EQ(parsed.number("--at"), 1.5);
        EXPECT_EQ(parsed.text("-o"), "b.png");
        EXPECT_TRUE(parsed.has("--quiet"));
        EXPECT_FALSE(parsed.wholeNumber("--count").has_value());
    }
}

TEST(Call, TakesWhatFollowsAnOptionAsItsValueEvenWithAHyphen)
{
    const Call parsed = call({"a.doc", "--at", "-2.25", "-o", "--quiet"});
    EXPECT_EQ(parsed.number("--at"), -2.25);
    EXPECT_EQ(parsed.text("-o"), "--quiet");
    EXPECT_FALSE(parsed.has("--quiet"));
}

TEST(Call, TakesEverythingBehindTwoHyphensAsOperands)
{
    EXPECT_EQ(call({"--at", "1", "--", "--quiet"}).operand(0), "--quiet");
}

TEST(Call, AsksForHelpWhateverElseIsWrong)
{
    EXPECT_TRUE(call({"--help"}).asksForHelp());
    EXPECT_TRUE(call({"--at", "x", "--nonsense", "--help"}).asksForHelp());
    EXPECT_FALSE(call({"a.doc", "--at", "1"}).asksForHelp());
}

TEST(Call, SaysWhatIsWrong)
{
    struct Case {
        std::vector<std::string> arguments;
        const char* complaint;
    };
    const Case cases[] = {
        {{"a.doc", "--at", "1"}, ""},
        {{"--at", "1"}, "turn lacks its DOC"},
        {{"a.doc", "b.doc", "--at", "1"}, "turn has no use for b.doc"},
        {{"a.doc"}, "turn lacks --at T"},
        {{"a.doc", "--at"}, "--at lacks its value T"},
        {{"a.doc", "--at", "1", "--at", "2"}, "--at is given twice"},
        {{"a.doc", "--at", "1", "--loud"}, "turn has no option --loud"},
        {{"a.doc", "--at", "1", "--quiet=yes"}, "--quiet takes no value"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.complaint);
        EXPECT_EQ(complaint(c.arguments), c.complaint);
    }
}

TEST(Call, TakesFiniteDecimalNumbersAndNothingBehindThem)
{
    struct Case {
        const char* text;
        std::optional<double> number;
    };
    const Case cases[] = {{"0", 0.0},
                          {"-0.5", -0.5},
                          {"1e3", 1000.0},
                          {".25", 0.25},
                          {"", std::nullopt},
                          {"1s", std::nullopt},
                          {"1 ", std::nullopt},
                          {" 1", std::nullopt},
                          {"nan", std::nullopt},
                          {"-nan", std::nullopt},
                          {"inf", std::nullopt},
                          {"1e999", std::nullopt},
                          {"1,5", std::nullopt},
                          {"0x10", std::nullopt},
                          {"--", std::nullopt}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const std::string expected = c.number ? "" : std::string("--at is not a number: ") + c.text;
        EXPECT_EQ(complaint({"a.doc", "--at", c.text}), expected);
        if (expected.empty()) {
            EXPECT_EQ(call({"a.doc", "--at", c.text}).number("--at"), c.number);
        }
    }
}

TEST(Call, TakesWholeNumbersWithoutAFraction)
{
    EXPECT_EQ(call({"a.doc", "--at", "1", "--count", "-12"}).wholeNumber("--count"), -12);
    for (const char* text : {"1.0", "1e2", "", "9223372036854775808", "two", "1 "}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(complaint({"a.doc", "--at", "1", "--count", text}), std::string("--count is not a whole number: ") + text);
    }
}

TEST(Call, ShowsItsUseInOneLineAndEachOptionInOne)
{
    EXPECT_EQ(usageLine(rules), "larkspool turn DOC --at T [-o FILE] [--count N] [--quiet]");
    EXPECT_EQ(optionLines(rules), "  --at T             the time\n"
                                  "  -o FILE            the output\n"
                                  "  --count N          how often\n"
                                  "  --quiet            say nothing\n");
}

} // namespace larkspool
