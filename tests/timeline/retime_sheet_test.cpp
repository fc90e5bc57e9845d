#include "timeline/retime_sheet.h"

#include "support/fake_timers.h"
#include "support/random_timeline.h"
#include "timeline/timeline_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace larkspool {
namespace {

using testing::ElementsAre;

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef spanB = TimelineItemRef::span(idOf(1), idOf(12));
const TimelineItemRef pulseA = TimelineItemRef::pulse(idOf(1), idOf(13));
const TimelineItemRef keyframeX = TimelineItemRef::keyframe(idOf(2), idOf(21));
const TimelineItemRef keyframeY = TimelineItemRef::keyframe(idOf(2), idOf(22));
const TimelineItemRef keyframeWaiting = TimelineItemRef::keyframe(idOf(2), idOf(23));
const TimelineItemRef wait = TimelineItemRef::waitTail(idOf(2), idOf(23));
const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(3));

/// 10 seconds. Layer 1: spans 1–2 and 4–6, a pulse at 8. Layer 2: two keyframes at 3, one at 5 that waits for 0.5. Layer 3: a
/// clip 0–2.
TweenScene makeScene()
{
    Layer spans{.id = idOf(1)}, keys{.id = idOf(2)};
    spans.spans = {spanOf(11, 1, 2), spanOf(12, 4, 6)};
    spans.pulses = {pulseOf(13, 8)};
    keys.keyframes = {keyframeOf(21, 3), keyframeOf(22, 3), keyframeOf(23, 5, 0.5)};
    return sceneOf({spans, keys, videoOf(3, {.sceneStart = 0, .sceneEnd = 2})});
}

const TweenScene& smallScene()
{
    static const TweenScene scene = makeScene();
    return scene;
}

/// A table open on a document of one scene.
struct Table {
    TweenScene scene;
    double playhead = 0;
    std::vector<TweenScene> finished{};
    int writes = 0;
    FakeTimers timers{};
    RetimeSheet sheet;

    explicit Table(TweenScene shown = smallScene(), RetimeRipple ripple = RetimeRipple::off,
                   std::optional<LayerIDs> scope = std::nullopt)
        : scene(std::move(shown)), sheet({.read = [this] { return scene; },
                                          .write =
                                              [this](TweenScene written) {
                                                  scene = std::move(written);
                                                  ++writes;
                                              },
                                          .finish = [this](TweenScene before) { finished.push_back(std::move(before)); },
                                          .setPlayhead = [this](double seconds) { playhead = seconds; },
                                          .timers = timers,
                                          .ripple = ripple,
                                          .rippleScopeLayerIDs = std::move(scope)})
    {}

    /// The row that shows the item, alone or in a group.
    RetimeRow row(const RetimeSource& source) const
    {
        for (const RetimeRow& one : sheet.rows())
            if (rowSourceIDs(one).contains(source)) return one;
        ADD_FAILURE() << "no row";
        return {};
    }
    bool start(const RetimeSource& source, double value) { return sheet.commitStart(value, row(source)); }
    bool duration(const RetimeSource& source, double value) { return sheet.commitDuration(value, row(source)); }
    ItemTimes times(const RetimeSource& source) const { return timesOf(scene, source).value(); }
    std::vector<RetimeSource> order() const
    {
        std::vector<RetimeSource> all;
        for (const RetimeRow& one : sheet.rows()) all.push_back(sourcesOf(one).front());
        return all;
    }
};

TEST(RetimeSheet, ATypedStartMovesItsRowAlone)
{
    Table table;
    EXPECT_TRUE(table.start(spanA, 7));
    TweenScene expected = smallScene();
    writeStart(expected, spanA, 7);
    EXPECT_EQ(table.scene, expected);
    EXPECT_EQ(table.times(spanA), (ItemTimes{7, 8}));
}

TEST(RetimeSheet, ATypedDurationChangesItsRowAlone)
{
    Table table;
    EXPECT_TRUE(table.duration(spanA, 2.5));
    EXPECT_TRUE(table.duration(clip, 3));
    EXPECT_TRUE(table.duration(wait, 0.75));
    EXPECT_EQ(table.times(spanA), (ItemTimes{1, 3.5}));
    EXPECT_EQ(table.times(clip), (ItemTimes{0, 3}));
    EXPECT_EQ(findKeyframe(table.scene, idOf(2), idOf(23))->wait, 0.75);
    EXPECT_EQ(table.times(keyframeWaiting).start, 5);
}

TEST(RetimeSheet, AStartBeyondTheSceneIsHeldAtItsEnd)
{
    Table table;
    table.start(pulseA, 25);
    EXPECT_EQ(table.times(pulseA).start, 10);
    table.start(pulseA, -1);
    EXPECT_EQ(table.times(pulseA).start, 0);
}

TEST(RetimeSheet, ADurationBelowZeroIsHeldThere)
{
    Table table;
    table.duration(spanB, -4);
    EXPECT_EQ(table.times(spanB), (ItemTimes{4, 4}));
}

TEST(RetimeSheet, EditingAGroupMovesAllItsKeyframes)
{
    Table table;
    EXPECT_TRUE(table.start(keyframeX, 4.5));
    EXPECT_EQ(table.times(keyframeX).start, 4.5);
    EXPECT_EQ(table.times(keyframeY).start, 4.5);
    EXPECT_EQ(table.times(keyframeWaiting).start, 5);
}

TEST(RetimeSheet, ItemsOfAGroupKeepTheirDistance)
{
    Layer layer{.id = idOf(1)};
    layer.pulses = {pulseOf(11, 1.0003), pulseOf(12, 0.9999)};
    Table table(sceneOf({layer}));
    table.sheet.commitStart(2, table.sheet.rows()[0]);
    EXPECT_EQ(table.scene.layers[0].pulses[1].time, 2);
    EXPECT_NEAR(table.scene.layers[0].pulses[0].time, 2.0004, 1e-12);
}

TEST(RetimeSheet, AllSpansOfAGroupGetTheTypedDuration)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 1, 2), spanOf(12, 1, 2.0002)};
    Table table(sceneOf({layer}));
    EXPECT_TRUE(table.sheet.commitDuration(3, table.sheet.rows()[0]));
    EXPECT_EQ(table.times(spanA), (ItemTimes{1, 4}));
    EXPECT_EQ(table.times(spanB), (ItemTimes{1, 4}));
}

TEST(RetimeSheet, TheStartOfAWaitIsThatOfItsKeyframe)
{
    Table table;
    EXPECT_TRUE(table.start(wait, 7));
    EXPECT_EQ(table.times(keyframeWaiting).start, 7);
    EXPECT_EQ(table.times(wait), (ItemTimes{7, 7.5}));
}

TEST(RetimeSheet, WhatTheRowShowsAlreadyIsNoEdit)
{
    Table table;
    const TweenScene before = table.scene;
    EXPECT_FALSE(table.start(spanA, 1));
    EXPECT_FALSE(table.start(spanA, 1.00009));
    EXPECT_FALSE(table.duration(spanA, 1.00009));
    EXPECT_FALSE(table.duration(spanA, 0.99991));
    EXPECT_EQ(table.scene, before);
    EXPECT_EQ(table.writes, 0);
    EXPECT_FALSE(table.sheet.canUndo());
    EXPECT_TRUE(table.start(spanA, 1.00011));
}

TEST(RetimeSheet, ARowBeyondTheScenesEndStaysThereWhenItsStartIsConfirmed)
{
    Layer layer{.id = idOf(1)};
    layer.pulses = {pulseOf(13, 12)};
    Table table(sceneOf({layer}));
    EXPECT_FALSE(table.start(pulseA, 12));
    EXPECT_EQ(table.times(pulseA).start, 12);
    EXPECT_TRUE(table.start(pulseA, 11)) << "and is brought to the end by any other";
    EXPECT_EQ(table.times(pulseA).start, 10);
}

TEST(RetimeSheet, PulsesAndKeyframesTakeNoDuration)
{
    Table table(smallScene(), RetimeRipple::both);
    EXPECT_FALSE(table.duration(pulseA, 2));
    EXPECT_FALSE(table.duration(keyframeX, 2));
    EXPECT_EQ(table.scene, smallScene()) << "and nothing ripples";
}

TEST(RetimeSheet, WhatIsNoNumberIsRefused)
{
    Table table(smallScene(), RetimeRipple::both);
    for (const double none : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity()}) {
        EXPECT_FALSE(table.start(spanA, none));
        EXPECT_FALSE(table.duration(spanA, none));
    }
    EXPECT_EQ(table.scene, smallScene());
    EXPECT_EQ(table.writes, 0);
    EXPECT_FALSE(table.sheet.canUndo());
}

TEST(RetimeSheet, ADeadRowIsRefusedAndDeadMembersOfAGroupArePassedOver)
{
    Table table(smallScene(), RetimeRipple::both);
    const RetimeRow group = table.row(keyframeX), pulse = table.row(pulseA);
    editLayer(table.scene, idOf(1))->pulses = {};
    editLayer(table.scene, idOf(2))->keyframes = {keyframeOf(22, 3)};
    const TweenScene before = table.scene;
    EXPECT_FALSE(table.sheet.commitStart(1, pulse));
    EXPECT_FALSE(table.sheet.commitStart(1, {.id = "span:nothing", .duration = 1}));
    EXPECT_FALSE(table.sheet.commitDuration(1, {.id = "span:nothing", .duration = 2}));
    EXPECT_EQ(table.scene, before);
    EXPECT_FALSE(table.sheet.canUndo());
    EXPECT_TRUE(table.sheet.commitStart(4, group));
    EXPECT_EQ(table.times(keyframeY).start, 4);
}

TEST(RetimeSheet, ASceneOfNoDurationRefusesEveryEdit)
{
    TweenScene scene = smallScene();
    scene.duration = 0;
    Table table(scene, RetimeRipple::both);
    EXPECT_FALSE(table.start(spanA, 0));
    EXPECT_FALSE(table.duration(spanA, 3));
    table.sheet.scrub(10, 100, PlayheadSnapMode::frame, {});
    EXPECT_EQ(table.scene, scene);
    EXPECT_TRUE(table.sheet.bars(100).empty());
}

TEST(RetimeSheet, ACellGoesOnWithTheRowThatItBeganWith)
{
    Table table(smallScene(), RetimeRipple::after);
    const RetimeRow row = table.row(spanA); // As it stands when the field takes the focus.
    table.sheet.commitStart(1.5, row);
    table.sheet.commitStart(2, row);
    EXPECT_EQ(table.times(spanA), (ItemTimes{2, 3}));
    EXPECT_EQ(table.times(pulseA).start, 9) << "by the way gone in all, not by the sum of two ways from the old start";
}

TEST(RetimeSheet, TypingThroughAnothersTimeDoesNotTakeItAlong)
{
    Table table;
    const RetimeRow row = table.row(keyframeWaiting);
    table.sheet.commitStart(3, row); // Where two others stand: all three are one row now.
    EXPECT_EQ(table.row(keyframeX).children.size(), 3u);
    table.sheet.commitStart(3.5, row);
    EXPECT_EQ(table.times(keyframeWaiting).start, 3.5);
    EXPECT_EQ(table.times(keyframeX).start, 3);
}

TEST(RetimeSheetRipple, AStartPushesWhatComesAfterItByTheSameWay)
{
    Table table(smallScene(), RetimeRipple::after);
    table.start(spanB, 4.5);
    EXPECT_EQ(table.times(spanB), (ItemTimes{4.5, 6.5}));
    EXPECT_EQ(table.times(keyframeWaiting).start, 5.5);
    EXPECT_EQ(table.times(pulseA).start, 8.5);
    EXPECT_EQ(table.times(keyframeX).start, 3);
    EXPECT_EQ(table.times(spanA).start, 1);
}

TEST(RetimeSheetRipple, ADurationPushesFromTheOldEndOn)
{
    Table table(smallScene(), RetimeRipple::after);
    table.duration(spanA, 2); // Its end goes from 2 to 3.
    EXPECT_EQ(table.times(spanA), (ItemTimes{1, 3}));
    EXPECT_EQ(table.times(keyframeX).start, 4);
    EXPECT_EQ(table.times(spanB), (ItemTimes{5, 7}));
    EXPECT_EQ(table.times(pulseA).start, 9);
    EXPECT_EQ(table.times(clip).start, 0);
}

TEST(RetimeSheetRipple, WhatBeginsWithinARowStaysWhenItsDurationChanges)
{
    Table table(smallScene(), RetimeRipple::after);
    table.duration(spanB, 3); // 4 to 7 now; a keyframe stands at 5.
    EXPECT_EQ(table.times(keyframeWaiting).start, 5);
    EXPECT_EQ(table.times(pulseA).start, 9);
}

TEST(RetimeSheetRipple, BeforeAloneGoesTheOppositeWay)
{
    Table table(smallScene(), RetimeRipple::before);
    table.start(spanB, 4.5);
    EXPECT_EQ(table.times(spanA), (ItemTimes{0.5, 1.5}));
    EXPECT_EQ(table.times(keyframeX).start, 2.5);
    EXPECT_EQ(table.times(clip), (ItemTimes{0, 2})) << "held at 0";
    EXPECT_EQ(table.times(pulseA).start, 8);
}

TEST(RetimeSheetRipple, TheWayOfAHeldStartIsWhatRipples)
{
    Table table(smallScene(), RetimeRipple::both);
    table.start(pulseA, 50); // Goes from 8 to 10.
    EXPECT_EQ(table.times(spanA).start, 3);
}

TEST(RetimeSheetRipple, EveryRowOfAnEditedKeyframeIsLeftOut)
{
    Table byStart(smallScene(), RetimeRipple::both);
    byStart.start(keyframeWaiting, 6);
    EXPECT_EQ(byStart.times(keyframeWaiting).start, 6);

    Table byWait(smallScene(), RetimeRipple::both);
    byWait.start(wait, 6);
    EXPECT_EQ(byWait.times(keyframeWaiting).start, 6);

    Table byDuration(smallScene(), RetimeRipple::both);
    byDuration.duration(wait, 1.5);
    EXPECT_EQ(byDuration.times(keyframeWaiting).start, 5);
    EXPECT_EQ(byDuration.times(spanA).start, 2) << "while others move";
}

TEST(RetimeSheetRipple, AllItemsOfAnEditedGroupAreLeftOut)
{
    Table table(smallScene(), RetimeRipple::both);
    table.start(keyframeX, 4);
    EXPECT_EQ(table.times(keyframeX).start, 4);
    EXPECT_EQ(table.times(keyframeY).start, 4);
    EXPECT_EQ(table.times(pulseA).start, 9);
}

TEST(RetimeSheetRipple, LayersOutsideOfTheScopeStay)
{
    Table table(smallScene(), RetimeRipple::both, LayerIDs{idOf(2)});
    table.start(spanA, 1.5);
    EXPECT_EQ(table.times(keyframeX).start, 3.5);
    EXPECT_EQ(table.times(spanB).start, 4);
    EXPECT_EQ(table.times(clip).start, 0);
}

TEST(RetimeSheetRipple, TheModeCanBeChosenAnew)
{
    Table table;
    table.sheet.ripple = RetimeRipple::after;
    table.start(spanA, 1.5);
    EXPECT_EQ(table.times(pulseA).start, 8.5);
    table.sheet.ripple = RetimeRipple::off;
    table.start(spanA, 2);
    EXPECT_EQ(table.times(pulseA).start, 8.5);
}

TEST(RetimeSheetOrder, ARowKeepsItsPlaceUntilTypingHasPaused)
{
    Table table;
    const std::vector<RetimeSource> sorted{clip, spanA, keyframeX, spanB, keyframeWaiting, wait, pulseA};
    EXPECT_EQ(table.order(), sorted);
    EXPECT_FALSE(table.sheet.keepsOrder());
    table.start(spanA, 9);
    EXPECT_EQ(table.order(), sorted);
    EXPECT_TRUE(table.sheet.keepsOrder());
    table.timers.pass(RetimeSheet::resortDelay - 0.01);
    EXPECT_EQ(table.order(), sorted);
    table.start(spanA, 9.5);
    table.timers.pass(RetimeSheet::resortDelay - 0.01);
    EXPECT_EQ(table.order(), sorted) << "the pause begins anew with every edit";
    table.timers.pass(0.02);
    EXPECT_THAT(table.order(), ElementsAre(clip, keyframeX, spanB, keyframeWaiting, wait, pulseA, spanA));
    EXPECT_FALSE(table.sheet.keepsOrder());
}

TEST(RetimeSheetOrder, AGroupKeepsItsPlaceThoughItsIdFollowsItsTime)
{
    Table table;
    const std::string id = table.row(keyframeX).id;
    table.start(keyframeX, 9);
    EXPECT_NE(table.row(keyframeX).id, id);
    EXPECT_EQ(table.order()[2], keyframeX);
    table.timers.pass(2);
    EXPECT_EQ(table.order().back(), keyframeX);
}

TEST(RetimeSheetOrder, SortingIsReversedAtOnce)
{
    Table table;
    table.sheet.sort(/*descending=*/true);
    EXPECT_TRUE(table.sheet.sortDescending());
    EXPECT_THAT(table.order(), ElementsAre(pulseA, wait, keyframeWaiting, spanB, keyframeX, spanA, clip));
    table.start(spanA, 9);
    EXPECT_EQ(table.order()[5], spanA);
    table.sheet.sort(/*descending=*/false);
    EXPECT_EQ(table.order().back(), spanA);
}

TEST(RetimeSheetOrder, ASheetThatIsGoneSortsNothing)
{
    FakeTimers timers;
    TweenScene scene = smallScene();
    {
        RetimeSheet sheet({.read = [&] { return scene; },
                           .write = [&](TweenScene written) { scene = std::move(written); },
                           .timers = timers});
        sheet.commitStart(9, sheet.rows()[0]);
        EXPECT_EQ(timers.running(), 1u);
    }
    EXPECT_EQ(timers.running(), 0u);
    timers.pass(5);
}

TEST(RetimeSheet, TellsOfATableWithoutRows)
{
    EXPECT_EQ(Table(sceneOf({Layer{.id = idOf(1)}})).sheet.message(), "Nothing to retime yet.");
    EXPECT_EQ(Table().sheet.message(), std::nullopt);
    EXPECT_EQ(RetimeSheet::undoHelp, "Undo last Retime edit");
    EXPECT_EQ(RetimeSheet::rippleHelp, "Ripple mode applied to time edits: Push After / Before / Both / Off.");
}

TEST(RetimeSheetUndo, QuickEditsOfOneCellAreOneStepAndAnotherCellStartsANewOne)
{
    Table table;
    table.start(spanA, 2);
    table.start(spanA, 2.5);
    table.start(spanA, 3);
    const TweenScene afterThree = table.scene;
    table.start(pulseA, 9);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, afterThree);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, smallScene());
    EXPECT_FALSE(table.sheet.canUndo());
}

TEST(RetimeSheetUndo, AnotherColumnOfTheSameRowIsAnotherCell)
{
    Table table;
    table.start(spanA, 2);
    const TweenScene afterStart = table.scene;
    table.duration(spanA, 3);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, afterStart);
}

TEST(RetimeSheetUndo, QuickEditsOfAGroupAreOneStepToo)
{
    Table table;
    for (const double start : {4.0, 4.5, 6.0}) table.start(keyframeX, start);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, smallScene());
}

TEST(RetimeSheetUndo, AnEditAfterAPauseIsAStepOfItsOwn)
{
    Table table;
    table.start(spanA, 2);
    table.timers.pass(RetimeSheet::burstWindow - 0.01);
    table.start(spanA, 3); // Of the burst, which goes on from here.
    table.timers.pass(RetimeSheet::burstWindow - 0.01);
    table.start(spanA, 4);
    const TweenScene afterBurst = table.scene;
    table.timers.pass(RetimeSheet::burstWindow);
    table.start(spanA, 5);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, afterBurst);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, smallScene());
}

TEST(RetimeSheetUndo, UndoEndsTheBurst)
{
    Table table;
    table.start(spanA, 2);
    table.sheet.performInModalUndo();
    table.start(spanA, 3); // Of the same cell, at the same moment.
    EXPECT_FALSE(table.sheet.canRedo()) << "a new edit leaves nothing to redo";
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, smallScene());
    table.sheet.performInModalRedo();
    EXPECT_EQ(table.times(spanA).start, 3);
    table.start(spanA, 4);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.times(spanA).start, 3) << "and so does redo";
}

TEST(RetimeSheetUndo, WithNothingToUndoOrRedoNothingHappens)
{
    Table table;
    table.sheet.performInModalUndo();
    table.sheet.performInModalRedo();
    EXPECT_EQ(table.writes, 0);
    EXPECT_FALSE(table.sheet.canRedo());
}

TEST(RetimeSheetUndo, ClosingWithoutEditsRegistersNothing)
{
    Table table;
    table.start(spanA, 1);
    table.sheet.finalizeUndo();
    EXPECT_TRUE(table.finished.empty());
}

TEST(RetimeSheetUndo, ClosingRegistersOneStepFromBeforeTheFirstEdit)
{
    Table table;
    table.start(spanA, 2);
    table.start(pulseA, 3);
    table.duration(spanB, 1);
    table.sheet.finalizeUndo();
    EXPECT_THAT(table.finished, ElementsAre(smallScene()));
    table.sheet.finalizeUndo();
    EXPECT_EQ(table.finished.size(), 1u) << "once";
    EXPECT_EQ(RetimeSheet::actionName, "Retime");
}

TEST(RetimeSheetUndo, ClosingAfterAllWasUndoneRegistersNothing)
{
    Table table;
    table.start(spanA, 2);
    table.start(pulseA, 3);
    table.sheet.performInModalUndo();
    table.sheet.performInModalUndo();
    table.sheet.finalizeUndo();
    EXPECT_TRUE(table.finished.empty());
}

TEST(RetimeSheetUndo, AnEditAfterClosingBeginsAnotherSession)
{
    Table table;
    table.start(spanA, 2);
    table.sheet.finalizeUndo();
    const TweenScene between = table.scene;
    table.start(spanA, 3);
    table.sheet.performInModalUndo();
    EXPECT_EQ(table.scene, between) << "the burst ended with the session";
    table.sheet.performInModalRedo();
    table.sheet.finalizeUndo();
    EXPECT_THAT(table.finished, ElementsAre(smallScene(), between));
}

TEST(RetimeSheetStrip, ShowsTheRowsAsBars)
{
    Table table;
    const std::vector<RetimeMiniTimeline::Bar> bars = table.sheet.bars(100);
    ASSERT_EQ(bars.size(), 7u);
    EXPECT_EQ(bars[0], (RetimeMiniTimeline::Bar{retimeRowID(clip), RetimeRow::Kind::videoClip, 0, 20}));
    EXPECT_EQ(bars[2].x, 30);
}

TEST(RetimeSheetStrip, TheGripMovesThePlayheadAndNothingElse)
{
    Table table;
    table.sheet.scrub(26, 100, PlayheadSnapMode::sec050, {});
    EXPECT_EQ(table.playhead, 2.5);
    table.sheet.scrub(26, 100, PlayheadSnapMode::sec050, {.command = true});
    EXPECT_DOUBLE_EQ(table.playhead, 2.6);
    table.sheet.scrub(140, 100, PlayheadSnapMode::sec050, {});
    EXPECT_EQ(table.playhead, 10);
    table.sheet.scrub(-40, 100, PlayheadSnapMode::sec050, {});
    EXPECT_EQ(table.playhead, 0);
    table.playhead = 3;
    table.sheet.scrub(26, 0, PlayheadSnapMode::sec050, {});
    EXPECT_EQ(table.playhead, 3) << "a strip without width";
    EXPECT_EQ(table.writes, 0);
    table.sheet.finalizeUndo();
    EXPECT_TRUE(table.finished.empty());
}

/// What a person may type into any cell.
bool typeAnything(Table& table, RandomTimeline& random)
{
    const std::vector<RetimeRow> rows = table.sheet.rows();
    if (rows.empty()) return false;
    table.sheet.ripple = static_cast<RetimeRipple>(random.index(4));
    const RetimeRow row = rows[random.index(rows.size())];
    return random.chance(2) ? table.sheet.commitStart(random.between(-2, 14), row)
                            : table.sheet.commitDuration(random.between(-1, 5), row);
}

TEST(RetimeSheetLaws, UndoGivesBackEveryEarlierSceneAndRedoTheLater)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        Table table(before);
        std::vector<TweenScene> scenes{before};
        for (int i = 0; i < 12; ++i) {
            table.timers.pass(RetimeSheet::burstWindow); // Each edit a step.
            if (typeAnything(table, random)) scenes.push_back(table.scene);
        }
        for (std::size_t i = scenes.size() - 1; i-- > 0;) {
            table.sheet.performInModalUndo();
            RC_ASSERT(table.scene == scenes[i]);
        }
        RC_ASSERT(!table.sheet.canUndo());
        for (std::size_t i = 1; i < scenes.size(); ++i) {
            table.sheet.performInModalRedo();
            RC_ASSERT(table.scene == scenes[i]);
        }
        RC_ASSERT(!table.sheet.canRedo());
        table.sheet.finalizeUndo();
        RC_ASSERT(table.finished.size() == (table.scene == before ? 0u : 1u));
        if (!table.finished.empty()) RC_ASSERT(table.finished[0] == before);
    }));
}

TEST(RetimeSheetLaws, EditsKeepItemsDurationsAndEffectsInOrder)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        Table table(before);
        for (int i = 0; i < 12; ++i) {
            typeAnything(table, random);
            RC_ASSERT(RandomTimeline::items(table.scene) == RandomTimeline::items(before));
            RC_ASSERT(table.scene.duration == before.duration);
            RC_ASSERT(effectsFitTheirSpans(table.scene));
        }
    }));
}

TEST(RetimeSheetLaws, ConfirmingWhatRowsShowChangesNothing)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        Table table(before, static_cast<RetimeRipple>(random.index(4)));
        for (const RetimeRow& row : table.sheet.rows()) {
            RC_ASSERT(!table.sheet.commitStart(row.start, row));
            if (row.duration) RC_ASSERT(!table.sheet.commitDuration(*row.duration, row));
        }
        RC_ASSERT(table.writes == 0);
        RC_ASSERT(!table.sheet.canUndo());
    }));
}

TEST(RetimeSheetLaws, TheEditedRowGoesWhereItWasToldWhateverRipples)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        Table table(random.scene());
        const std::vector<RetimeRow> rows = table.sheet.rows();
        if (rows.empty()) return;
        table.sheet.ripple = static_cast<RetimeRipple>(random.index(4));
        const RetimeRow row = rows[random.index(rows.size())];
        const double start = random.between(0, table.scene.duration);
        if (!table.sheet.commitStart(start, row)) return;
        for (const RetimeSource& source : sourcesOf(row)) {
            RC_ASSERT(table.times(source).start - start >= 0);
            RC_ASSERT(table.times(source).start - start < 0.0010001);
        }
    }));
}

} // namespace
} // namespace larkspool
