#include "timeline/dilate_items_sheet.h"
#include "timeline/move_items_sheet.h"

#include "support/memory_user_defaults.h"
#include "timeline/ripple_settings.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace larkspool {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/// All of the pulses at those times, or one span from the first to the last.
enum class As { pulses, span };

SelectionMoveTargets targetsAt(const std::vector<double>& times, As as = As::pulses)
{
    Layer layer{.id = idOf(1)};
    TimelineSelection selection;
    if (as == As::span) {
        layer.spans = {spanOf(10, times.front(), times.back())};
        selection.insert(TimelineItemRef::span(idOf(1), idOf(10)));
    } else {
        for (std::size_t i = 0; i < times.size(); ++i) {
            layer.pulses.append(pulseOf(10 + i, times[i]));
            selection.insert(TimelineItemRef::pulse(idOf(1), idOf(10 + i)));
        }
    }
    return collectSelectionMoveTargets(sceneOf({layer}), selection);
}

std::vector<double> starts(const std::vector<RetimeRow>& rows)
{
    std::vector<double> all;
    for (const RetimeRow& row : rows) all.push_back(row.start);
    return all;
}

/// The push switches as they are, before and after.
std::pair<bool, bool> switches(const UserDefaults& defaults)
{
    return {defaults.boolean(DefaultsKey::ripplePushBefore), defaults.boolean(DefaultsKey::ripplePushAfter)};
}

struct MoveSheet : testing::Test {
    MemoryUserDefaults defaults;

    MoveItemsSheet open(const SelectionMoveTargets& targets, double duration = 10, std::int64_t fps = 60)
    {
        return MoveItemsSheet({.sceneDuration = duration, .fps = fps, .targets = targets, .defaults = defaults});
    }
};

TEST_F(MoveSheet, OpensOnNoMoveWithTheRippleOfTheSettings)
{
    defaults.set(DefaultsKey::ripplePushBefore, UserDefaults::Value(true));
    const MoveItemsSheet sheet = open(targetsAt({2, 8}));
    EXPECT_EQ(sheet.mode, MoveItemsSheet::Mode::delta);
    EXPECT_EQ(sheet.deltaSeconds, 0);
    EXPECT_EQ(sheet.absoluteSeconds, 2);
    EXPECT_EQ(sheet.ripple.ripple(), RetimeRipple::before);
    EXPECT_EQ(starts(sheet.shiftedRows()), (std::vector<double>{2, 8}));
}

TEST_F(MoveSheet, AStepIsAFrame)
{
    EXPECT_EQ(open({}, 10, 25).step(), 0.04);
    EXPECT_EQ(open({}, 10, 1).step(), 1);
    EXPECT_EQ(open({}, 10, 0).step(), 1);
    EXPECT_EQ(open({}, 10, -30).step(), 1);
}

TEST_F(MoveSheet, SteppingTheWayStopsWhereAnItemWouldLeaveTheScene)
{
    struct Case {
        const char* when;
        SelectionMoveTargets targets;
        double from, by, to;
    };
    for (const Case& c :
         {Case{"in the middle", targetsAt({2, 8}), 0.5, 0.25, 0.75}, Case{"at the end", targetsAt({2, 8}), 1.9, 0.5, 2},
          Case{"at 0", targetsAt({2, 8}), -1.9, -0.5, -2}, Case{"back from a typed value", targetsAt({2, 8}), 50, -1, 2},
          Case{"by the end of a span", targetsAt({2, 8}, As::span), 0, 5, 2},
          Case{"where the items do not fit", targetsAt({-1, 12}), 0, -3, 1}, Case{"with nothing selected", {}, 3, 4, 7}}) {
        SCOPED_TRACE(c.when);
        MoveItemsSheet sheet = open(c.targets);
        sheet.deltaSeconds = c.from;
        sheet.stepValue(c.by);
        EXPECT_EQ(sheet.deltaSeconds, c.to);
        EXPECT_EQ(sheet.absoluteSeconds, open(c.targets).absoluteSeconds) << "of the other mode";
    }
}

TEST_F(MoveSheet, SteppingTheTimeStaysWithinTheScene)
{
    MoveItemsSheet sheet = open(targetsAt({2, 8}));
    sheet.mode = MoveItemsSheet::Mode::absolute;
    struct Case {
        double from, by, to;
    };
    for (const Case& c : {Case{4, 0.5, 4.5}, Case{9.9, 0.5, 10}, Case{0.1, -0.5, 0}, Case{40, -1, 10}}) {
        sheet.absoluteSeconds = c.from;
        sheet.stepValue(c.by);
        EXPECT_EQ(sheet.absoluteSeconds, c.to) << c.from;
    }
    EXPECT_EQ(sheet.deltaSeconds, 0);
}

TEST_F(MoveSheet, StepsThatAreNoNumbersAndTextThatIsNoneAreRefused)
{
    MoveItemsSheet sheet = open(targetsAt({2, 8}));
    sheet.stepValue(notANumber);
    sheet.stepValue(infinity);
    for (const char* typed : {"", "x", "nan", "inf", "1e999"}) EXPECT_FALSE(sheet.typeValue(typed)) << typed;
    EXPECT_EQ(sheet.deltaSeconds, 0);
    EXPECT_TRUE(sheet.typeValue("25.5"));
    EXPECT_EQ(sheet.deltaSeconds, 25.5) << "not held";
    sheet.mode = MoveItemsSheet::Mode::absolute;
    EXPECT_TRUE(sheet.typeValue("3"));
    EXPECT_EQ(sheet.absoluteSeconds, 3);
    EXPECT_EQ(sheet.deltaSeconds, 25.5);
}

TEST_F(MoveSheet, ThePreviewShowsTheRowsMovedOrAtTheOneTime)
{
    MoveItemsSheet sheet = open(targetsAt({2, 8}));
    sheet.deltaSeconds = 1.5;
    EXPECT_EQ(starts(sheet.shiftedRows()), (std::vector<double>{3.5, 9.5}));
    sheet.mode = MoveItemsSheet::Mode::absolute;
    sheet.absoluteSeconds = 4;
    EXPECT_EQ(starts(sheet.shiftedRows()), (std::vector<double>{4, 4}));
}

TEST_F(MoveSheet, SaysWhenNothingIsSelectedAndOffersRippleForAWayOnly)
{
    EXPECT_EQ(MoveItemsSheet::rippleHelp, "Ripple mode applied to the move: Push After / Before / Both / Off.");
    EXPECT_EQ(MoveItemsSheet::absoluteNote,
              "Absolute mode collapses each item onto one time — per-item ripple would be ambiguous.");
    EXPECT_EQ(open({}).message(), "No timeline items are selected.");
    MoveItemsSheet sheet = open(targetsAt({2}));
    EXPECT_EQ(sheet.message(), std::nullopt);
    EXPECT_TRUE(sheet.showsRipple());
    sheet.mode = MoveItemsSheet::Mode::absolute;
    EXPECT_FALSE(sheet.showsRipple());
}

TEST_F(MoveSheet, RippleIsWrittenWhileOpenStaysOnConfirmAndIsPutBackOnCancel)
{
    defaults.set(DefaultsKey::ripplePushAfter, UserDefaults::Value(true));
    MoveItemsSheet cancelled = open(targetsAt({2}));
    struct Case {
        RetimeRipple ripple;
        std::pair<bool, bool> switches;
    };
    for (const Case& c : {Case{RetimeRipple::off, {false, false}}, Case{RetimeRipple::after, {false, true}},
                          Case{RetimeRipple::before, {true, false}}, Case{RetimeRipple::both, {true, true}}}) {
        SCOPED_TRACE(label(c.ripple));
        cancelled.ripple.choose(c.ripple);
        EXPECT_EQ(switches(defaults), c.switches);
    }
    cancelled.cancel();
    EXPECT_EQ(switches(defaults), std::pair(false, true));
    EXPECT_EQ(cancelled.ripple.ripple(), RetimeRipple::after);

    MoveItemsSheet confirmed = open(targetsAt({2}));
    confirmed.ripple.choose(RetimeRipple::before);
    confirmed.confirm();
    EXPECT_EQ(switches(defaults), std::pair(true, false));
}

TEST_F(MoveSheet, ConfirmHandsOverTheValueOfTheModeAndCancelNone)
{
    using Mode = MoveItemsSheet::Mode;
    struct Heard {
        Mode mode;
        double value;
        TimelineRippleMode ripple;
        bool operator==(const Heard&) const = default;
    };
    std::vector<Heard> heard;
    int cancels = 0;
    MoveItemsSheet sheet(
        {.sceneDuration = 10,
         .fps = 60,
         .targets = targetsAt({2}),
         .defaults = defaults,
         .onConfirm = [&](Mode mode, double value, TimelineRippleMode ripple) { heard.push_back({mode, value, ripple}); },
         .onCancel = [&] { ++cancels; }});
    sheet.deltaSeconds = 1.5;
    sheet.absoluteSeconds = 4;
    sheet.ripple.choose(RetimeRipple::both);
    sheet.confirm();
    sheet.mode = Mode::absolute;
    sheet.confirm();
    EXPECT_EQ(cancels, 0);
    sheet.cancel();
    EXPECT_EQ(cancels, 1);
    EXPECT_EQ(heard,
              (std::vector<Heard>{{Mode::delta, 1.5, TimelineRippleMode::both}, {Mode::absolute, 4, TimelineRippleMode::none}}));
}

struct DilateSheet : testing::Test {
    MemoryUserDefaults defaults;

    DilateItemsSheet open(const SelectionMoveTargets& targets, double duration = 10)
    {
        return DilateItemsSheet({.sceneDuration = duration, .targets = targets, .defaults = defaults});
    }
};

TEST_F(DilateSheet, TheAnchorIsTheFirstStartTheLastEndOrHalfWay)
{
    struct Case {
        DilateAnchor anchor;
        double ofPulses, ofNothing;
    };
    for (const Case& c : {Case{DilateAnchor::start, 2, 0}, Case{DilateAnchor::center, 5, 0}, Case{DilateAnchor::end, 8, 0}}) {
        SCOPED_TRACE(label(c.anchor));
        DilateItemsSheet sheet = open(targetsAt({2, 3, 8})), empty = open({});
        sheet.chooseAnchor(c.anchor);
        empty.chooseAnchor(c.anchor);
        EXPECT_EQ(sheet.anchorTime(), c.ofPulses);
        EXPECT_EQ(empty.anchorTime(), c.ofNothing);
    }
}

TEST_F(DilateSheet, TheGreatestScaleKeepsTheBoundsInTheScene)
{
    struct Case {
        const char* when;
        SelectionMoveTargets targets;
        double duration;
        DilateAnchor anchor;
        double scale;
    };
    using enum DilateAnchor;
    for (const Case& c :
         {Case{"room behind: 8 over 2", targetsAt({2, 4}), 10, start, 4},
          Case{"room before: 4 over 2", targetsAt({2, 4}), 10, end, 2},
          Case{"the lesser of 3 over 1 and 7 over 1", targetsAt({2, 4}), 10, center, 3},
          Case{"the lesser of 7 over 1 and 3 over 1", targetsAt({6, 8}), 10, center, 3},
          Case{"20 at most", targetsAt({2, 2.1}), 10, start, 20},
          Case{"around the start at 0", targetsAt({0, 4}), 10, start, 2.5},
          Case{"around the end of the scene", targetsAt({5, 10}), 10, end, 2}, Case{"one item", targetsAt({4}), 10, center, 20},
          Case{"one item at 0", targetsAt({0}), 10, start, 20}, Case{"all beyond the end", targetsAt({12, 14}), 10, start, 0.05},
          Case{"nothing selected", {}, 10, start, 20}, Case{"no duration", targetsAt({2, 4}), 0, start, 20}}) {
        SCOPED_TRACE(c.when);
        DilateItemsSheet sheet = open(c.targets, c.duration);
        sheet.chooseAnchor(c.anchor);
        EXPECT_DOUBLE_EQ(sheet.maxScale(), c.scale);
    }
}

TEST_F(DilateSheet, TheScaleIsHeldInItsFieldAlsoWhenTheAnchorChanges)
{
    DilateItemsSheet sheet = open(targetsAt({2, 4}));
    sheet.setScale(0);
    EXPECT_EQ(sheet.scale(), 0.05);
    sheet.setScale(notANumber);
    EXPECT_EQ(sheet.scale(), 0.05);
    sheet.setScale(1.255);
    EXPECT_EQ(sheet.scale(), 1.255);
    EXPECT_EQ(sheet.scaleText(), "1.25");
    sheet.setScale(infinity);
    EXPECT_EQ(sheet.scale(), 4);
    sheet.chooseAnchor(DilateAnchor::end);
    EXPECT_EQ(sheet.scale(), 2);
    EXPECT_EQ(sheet.scaleText(), "2.00");
}

TEST_F(DilateSheet, ThePreviewSpreadsTheRowsAroundTheAnchor)
{
    DilateItemsSheet sheet = open(targetsAt({2, 3, 4}));
    EXPECT_EQ(starts(sheet.shiftedRows()), (std::vector<double>{2, 3, 4}));
    sheet.setScale(2);
    EXPECT_EQ(starts(sheet.shiftedRows()), (std::vector<double>{2, 4, 6}));
    sheet.chooseAnchor(DilateAnchor::center);
    EXPECT_EQ(starts(sheet.shiftedRows()), (std::vector<double>{1, 3, 5}));
}

TEST_F(DilateSheet, NeedsTwoItems)
{
    int confirmed = 0;
    const auto count = [&](double, DilateAnchor, TimelineRippleMode) { ++confirmed; };
    for (const auto& [targets, message] : {std::pair{targetsAt({}), std::optional(DilateItemsSheet::tooFewItems)},
                                           std::pair{targetsAt({2}), std::optional(DilateItemsSheet::tooFewItems)},
                                           std::pair{targetsAt({2, 3}), std::optional<std::string_view>()}}) {
        DilateItemsSheet sheet({.sceneDuration = 10, .targets = targets, .defaults = defaults, .onConfirm = count});
        EXPECT_EQ(sheet.message(), message);
        sheet.confirm();
    }
    EXPECT_EQ(confirmed, 1);
    EXPECT_EQ(DilateItemsSheet::tooFewItems, "Need at least two selected items to dilate spacing.");
    EXPECT_EQ(DilateItemsSheet::rippleHelp,
              "Ripple shifts unselected items past the affected side(s) by the dilated boundary delta.");
}

TEST_F(DilateSheet, ConfirmHandsOverWhatIsChosenAndCancelPutsTheRippleBack)
{
    double scale = 0;
    DilateAnchor anchor = DilateAnchor::start;
    TimelineRippleMode mode = TimelineRippleMode::none;
    int cancels = 0;
    DilateItemsSheet sheet({.sceneDuration = 10,
                            .targets = targetsAt({4, 6}),
                            .defaults = defaults,
                            .onConfirm =
                                [&](double s, DilateAnchor a, TimelineRippleMode m) {
                                    scale = s;
                                    anchor = a;
                                    mode = m;
                                },
                            .onCancel = [&] { ++cancels; }});
    sheet.chooseAnchor(DilateAnchor::center);
    sheet.setScale(1.5);
    sheet.ripple.choose(RetimeRipple::both);
    EXPECT_EQ(switches(defaults), std::pair(true, true));
    sheet.confirm();
    EXPECT_EQ(scale, 1.5);
    EXPECT_EQ(anchor, DilateAnchor::center);
    EXPECT_EQ(mode, TimelineRippleMode::both);
    EXPECT_EQ(switches(defaults), std::pair(true, true));
    EXPECT_EQ(cancels, 0);
    sheet.cancel();
    EXPECT_EQ(switches(defaults), std::pair(false, false));
    EXPECT_EQ(cancels, 1);
}

} // namespace
} // namespace larkspool
