#include "shell/repair_notice.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Action = Diagnostic::Action;

TEST(RepairNotice, IsNotGivenWhereNothingWasLost)
{
    EXPECT_EQ(repairNotice({}), std::nullopt);
    EXPECT_EQ(repairNotice({.told = {{"scenes[0]", Action::migrated, "scenes[0].bg is called background now"}}}), std::nullopt);
}

TEST(RepairNotice, ListsWhatWasLeftOutAndWhatWasReplaced)
{
    const Diagnostics diagnostics{.told = {{"scenes[0].layers[1]", Action::dropped, "scenes[0].layers[1].kind is unknown"},
                                           {"scenes[0]", Action::migrated, "scenes[0].bg is called background now"},
                                           {"scenes[0].fps", Action::defaulted, "scenes[0].fps is no number"}}};
    const std::optional<RepairNotice> notice = repairNotice(diagnostics);
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->lines, (std::vector<std::string>{"scenes[0].layers[1].kind is unknown: left out",
                                                       "scenes[0].fps is no number: a default stands in its place"}));
    EXPECT_EQ(notice->summary.substr(0, notice->summary.find('.')), "2 parts of this file could not be read as they stand");
}

TEST(RepairNotice, AKeyThatMeansNothingIsLeftOutAndItsPlaceIsTold)
{
    const auto notice = repairNotice({.told = {{"scenes[0]", Action::unknownKey, "the key \"transitionn\" is unknown"}}});
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->lines, std::vector<std::string>{"scenes[0]: the key \"transitionn\" is unknown: left out"});
}

TEST(RepairNotice, SaysOneForOneAndCountsWhatIsNotTold)
{
    const Diagnostic one{"scenes[0].fps", Action::defaulted, "scenes[0].fps is no number"};
    EXPECT_EQ(repairNotice({.told = {one}})->summary.find("One part of this file could not be read as it stands."), 0u);
    const std::optional<RepairNotice> many = repairNotice({.told = {one}, .untold = 41});
    EXPECT_EQ(many->summary.find("42 parts"), 0u);
    EXPECT_EQ(many->lines.back(), "and 41 more");
}

} // namespace
} // namespace larkspool
