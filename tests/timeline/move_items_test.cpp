#include "timeline/move_items.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(10)), spanB = TimelineItemRef::span(idOf(1), idOf(11)),
                      pulse = TimelineItemRef::pulse(idOf(1), idOf(12)), keyframe = TimelineItemRef::keyframe(idOf(1), idOf(13)),
                      tail = TimelineItemRef::waitTail(idOf(1), idOf(13)), clip = TimelineItemRef::videoClip(idOf(2)),
                      nothing = TimelineItemRef::span(idOf(1), idOf(99));

/// 10 seconds:
///
///     0  1  2  3  4  5  6  7  8  9  10
///        [-A--]      [B-]  *p ◆~~       layer 1; ◆ waits for 1.5
///           [---clip--]                 layer 2, from 0.5 of its source on
TweenScene makeScene()
{
    Layer layer{.id = idOf(1)};
    layer.videoClip.id = idOf(501);
    layer.spans = {spanOf(10, 1, 3), spanOf(11, 5, 6)};
    layer.pulses = {pulseOf(12, 7)};
    layer.keyframes = {keyframeOf(13, 8, 1.5)};
    return sceneOf({layer, videoOf(2, {.sceneStart = 2, .sceneEnd = 5, .sourceStart = 0.5})});
}

const TweenScene scene = makeScene();

double waitOf(const TweenScene& in)
{
    return findKeyframe(in, idOf(1), idOf(13))->wait;
}

ItemTimes timesIn(const Edit& edit, const TimelineItemRef& ref)
{
    return timesOf(edit.scene, ref).value();
}

RippledEdit moved(const TimelineSelection& selection, double delta, RippleSetting ripple = {})
{
    return applyMoveDelta(scene, selection, delta, ripple, "Move Selection").value();
}

TEST(CollectTargets, FoldsTheBoundsOfEveryKindAndARowForEach)
{
    struct Case {
        const char* what;
        TimelineSelection selection;
        double minStart, maxEnd;
        std::vector<double> starts;
        std::size_t moving;
    };
    for (const Case& c :
         {Case{"a span", {spanA}, 1, 3, {1}, 1}, Case{"a pulse", {pulse}, 7, 7, {7}, 1},
          Case{"a keyframe ends with its wait", {keyframe}, 8, 9.5, {8}, 1},
          Case{"a wait tail stands for its keyframe", {tail}, 8, 9.5, {8}, 1},
          Case{"both move the keyframe once", {tail, keyframe}, 8, 9.5, {8, 8}, 1}, Case{"a clip", {clip}, 2, 5, {2}, 1},
          Case{"all, in the order of the tree", {clip, pulse, spanB, keyframe, spanA}, 1, 9.5, {1, 5, 7, 8, 2}, 5},
          Case{"a dead one is skipped", {nothing, pulse}, 7, 7, {7}, 1}}) {
        SCOPED_TRACE(c.what);
        const SelectionMoveTargets targets = collectSelectionMoveTargets(scene, c.selection);
        EXPECT_TRUE(targets.hasBounds());
        EXPECT_EQ(targets.minStart, c.minStart);
        EXPECT_EQ(targets.maxEnd, c.maxEnd);
        EXPECT_EQ(targets.allStarts, c.starts);
        EXPECT_EQ(targets.items.size(), c.moving);
        ASSERT_EQ(targets.retimeRows.size(), c.starts.size());
        for (std::size_t i = 0; i < c.starts.size(); ++i) EXPECT_EQ(targets.retimeRows[i].start, c.starts[i]);
    }
}

TEST(CollectTargets, ANegativeWaitHoldsForNone)
{
    Layer layer{.id = idOf(1), .keyframes = {keyframeOf(13, 8, -2)}};
    EXPECT_EQ(collectSelectionMoveTargets(sceneOf({layer}), {keyframe}).maxEnd, 8);
}

TEST(CollectTargets, HaveNoBoundsWithNothingSelectedThatIsThere)
{
    for (const TimelineSelection& selection : {TimelineSelection{}, TimelineSelection{nothing}}) {
        const SelectionMoveTargets targets = collectSelectionMoveTargets(scene, selection);
        EXPECT_EQ(targets.minStart, infinity);
        EXPECT_EQ(targets.maxEnd, -infinity);
        EXPECT_FALSE(targets.hasBounds());
        EXPECT_TRUE(targets.items.empty());
    }
}

TEST(MoveByDelta, EveryKindMovesWithItsLengthAndIsHeldWithinTheScene)
{
    struct Case {
        const char* when;
        double delta;
        ItemTimes spanA, pulse, keyframe, clip;
    };
    for (const Case& c :
         {Case{"on", 0.5, {1.5, 3.5}, {7.5, 7.5}, {8.5, 8.5}, {2.5, 5.5}}, Case{"back", -1, {0, 2}, {6, 6}, {7, 7}, {1, 4}},
          Case{"beyond 0", -7.5, {0, 2}, {0, 0}, {0.5, 0.5}, {0, 3}},
          Case{"past the end, where each is held and spacing is lost", 8, {9, 10}, {10, 10}, {10, 10}, {10, 10}},
          Case{"far past the end", 100, {10, 10}, {10, 10}, {10, 10}, {10, 10}}}) {
        SCOPED_TRACE(c.when);
        const Edit edit = moved({spanA, pulse, keyframe, clip}, c.delta).edit;
        EXPECT_EQ(edit.actionName, "Move Selection");
        EXPECT_EQ(timesIn(edit, spanA), c.spanA);
        EXPECT_EQ(timesIn(edit, pulse), c.pulse);
        EXPECT_EQ(timesIn(edit, keyframe), c.keyframe);
        EXPECT_EQ(timesIn(edit, clip), c.clip);
        EXPECT_EQ(timesIn(edit, spanB), (ItemTimes{5, 6})) << "not selected";
        EXPECT_EQ(waitOf(edit.scene), 1.5);
        EXPECT_EQ(findVideoClip(edit.scene, idOf(2))->sourceStart, 0.5);
        EXPECT_EQ(edit.scene.duration, 10);
    }
}

TEST(MoveByDelta, AnInvertedSpanComesOutWithoutLength)
{
    Layer layer{.id = idOf(1), .spans = {spanOf(10, 4, 3)}};
    const auto edit = applyMoveDelta(sceneOf({layer}), {spanA}, 1, {}, "Move");
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesIn(edit->edit, spanA), (ItemTimes{5, 5}));
}

TEST(MoveByDelta, AWaitTailTakesItsKeyframeAlongOnce)
{
    for (const TimelineSelection& selection : {TimelineSelection{tail}, TimelineSelection{tail, keyframe}}) {
        const Edit edit = moved(selection, 1).edit;
        EXPECT_EQ(timesIn(edit, keyframe).start, 9);
        EXPECT_EQ(waitOf(edit.scene), 1.5);
    }
}

TEST(MoveByDelta, LessThanATenthOfAMillisecondIsNoMove)
{
    for (const double delta : {0.0, 0.00005, -0.00005, 0.0001, -0.0001})
        EXPECT_FALSE(applyMoveDelta(scene, {pulse}, delta, {TimelineRippleMode::both, {}}, "Move")) << delta;
    EXPECT_TRUE(applyMoveDelta(scene, {pulse}, 0.00011, {}, "Move"));
}

TEST(MoveByDelta, IsRefusedWithoutItemsATimeOrADuration)
{
    EXPECT_FALSE(applyMoveDelta(scene, {}, 1, {}, "Move"));
    EXPECT_FALSE(applyMoveDelta(scene, {nothing}, 1, {TimelineRippleMode::both, {}}, "Move"));
    for (const double delta : {notANumber, infinity, -infinity})
        EXPECT_FALSE(applyMoveDelta(scene, {pulse}, delta, {TimelineRippleMode::both, {}}, "Move")) << delta;
    TweenScene empty = scene;
    for (const double duration : {0.0, -1.0, notANumber}) {
        empty.duration = duration;
        EXPECT_FALSE(applyMoveDelta(empty, {pulse}, 1, {TimelineRippleMode::both, {}}, "Move")) << duration;
    }
}

TEST(MoveByDelta, IsNoEditWhereAllIsHeldWhereItStands)
{
    Layer layer{.id = idOf(1), .pulses = {pulseOf(12, 10)}};
    EXPECT_FALSE(applyMoveDelta(sceneOf({layer}), {pulse}, 3, {}, "Move"));
}

TEST(MoveByDelta, RippleGoesAlongOnTheChosenSideOfTheFirstStart)
{
    // Selected is what begins at 5 and at 7. The clip begins before, the keyframe after.
    struct Case {
        TimelineRippleMode mode;
        double spanA, clip, keyframe;
        std::vector<std::size_t> counts;
    };
    using enum TimelineRippleMode;
    for (const Case& c :
         {Case{none, 1, 2, 8, {}}, Case{before, 1.5, 2.5, 8, {2}}, Case{after, 1, 2, 8.5, {1}}, Case{both, 1.5, 2.5, 8.5, {3}}}) {
        SCOPED_TRACE(label(c.mode));
        const RippledEdit edit = moved({spanB, pulse}, 0.5, {c.mode, {}});
        EXPECT_EQ(timesIn(edit.edit, spanB), (ItemTimes{5.5, 6.5}));
        EXPECT_EQ(timesIn(edit.edit, pulse).start, 7.5);
        EXPECT_EQ(timesIn(edit.edit, spanA).start, c.spanA);
        EXPECT_EQ(timesIn(edit.edit, clip).start, c.clip);
        EXPECT_EQ(timesIn(edit.edit, keyframe).start, c.keyframe);
        EXPECT_EQ(edit.rippled, c.counts);
    }
}

TEST(MoveByDelta, AnItemAtTheFirstStartIsPushedByAfterAndNotByBefore)
{
    Layer layer{.id = idOf(1), .pulses = {pulseOf(12, 4), pulseOf(14, 4)}};
    const TimelineItemRef other = TimelineItemRef::pulse(idOf(1), idOf(14));
    using enum TimelineRippleMode;
    EXPECT_EQ(timesIn(applyMoveDelta(sceneOf({layer}), {pulse}, 1, {after, {}}, "Move")->edit, other).start, 5);
    EXPECT_EQ(timesIn(applyMoveDelta(sceneOf({layer}), {pulse}, 1, {before, {}}, "Move")->edit, other).start, 4);
}

TEST(MoveByDelta, RippleKeepsToItsLayers)
{
    const RippledEdit edit = moved({pulse}, 0.5, {TimelineRippleMode::both, LayerIDs{idOf(2)}});
    EXPECT_EQ(timesIn(edit.edit, clip), (ItemTimes{2.5, 5.5}));
    EXPECT_EQ(timesIn(edit.edit, spanA), (ItemTimes{1, 3}));
    EXPECT_EQ(edit.rippled, std::vector<std::size_t>{1});
}

TEST(MoveByDelta, RippleGrowsTheSceneButTheMovedItemsAreHeldWhereItEnded)
{
    const RippledEdit edit = moved({pulse}, 5, {TimelineRippleMode::after, {}});
    EXPECT_EQ(timesIn(edit.edit, pulse).start, 10);
    EXPECT_EQ(timesIn(edit.edit, keyframe).start, 13);
    EXPECT_EQ(edit.edit.scene.duration, 13);
}

TEST(MoveByDelta, TheKeyframeOfASelectedTailIsNotRippledToo)
{
    const RippledEdit edit = moved({tail}, 5, {TimelineRippleMode::after, {}});
    EXPECT_EQ(timesIn(edit.edit, keyframe).start, 10) << "held as what is moved";
    EXPECT_TRUE(edit.rippled.empty());
}

TEST(MoveByDelta, EffectsAreRefitToASpanThatIsCutAtTheEnd)
{
    TimeSpan span = spanOf(10, 1, 5);
    span.effects = {SpanEffect{.id = idOf(60), .duration = 3}};
    const auto edit = applyMoveDelta(sceneOf({Layer{.id = idOf(1), .spans = {span}}}), {spanA}, 7, {}, "Move");
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesIn(edit->edit, spanA), (ItemTimes{8, 10}));
    EXPECT_EQ(findSpan(edit->edit.scene, idOf(1), idOf(10))->effects[0].duration, 2);
}

TEST(MoveToATime, PutsEveryStartThereAndHoldsIt)
{
    struct Case {
        const char* when;
        double time;
        ItemTimes spanA, pulse, clip;
    };
    for (const Case& c :
         {Case{"inside", 4, {4, 6}, {4, 4}, {4, 7}}, Case{"where lengths are cut", 8.5, {8.5, 10}, {8.5, 8.5}, {8.5, 10}},
          Case{"before 0", -2, {0, 2}, {0, 0}, {0, 3}}, Case{"past the end", 12, {10, 10}, {10, 10}, {10, 10}}}) {
        SCOPED_TRACE(c.when);
        const auto edit = applyMoveAbsolute(scene, {spanA, pulse, clip, tail}, c.time, "Move to Playhead");
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Move to Playhead");
        EXPECT_EQ(timesIn(*edit, spanA), c.spanA);
        EXPECT_EQ(timesIn(*edit, pulse), c.pulse);
        EXPECT_EQ(timesIn(*edit, keyframe), c.pulse) << "by its tail";
        EXPECT_EQ(timesIn(*edit, clip), c.clip);
        EXPECT_EQ(timesIn(*edit, spanB), (ItemTimes{5, 6}));
        EXPECT_EQ(waitOf(edit->scene), 1.5);
        EXPECT_EQ(findVideoClip(edit->scene, idOf(2))->sourceStart, 0.5);
    }
}

TEST(MoveToATime, IsRefusedWithoutItemsATimeOrADuration)
{
    EXPECT_FALSE(applyMoveAbsolute(scene, {}, 1, "Move"));
    EXPECT_FALSE(applyMoveAbsolute(scene, {nothing}, 1, "Move"));
    EXPECT_FALSE(applyMoveAbsolute(scene, {pulse}, notANumber, "Move"));
    EXPECT_FALSE(applyMoveAbsolute(scene, {pulse}, infinity, "Move"));
    EXPECT_FALSE(applyMoveAbsolute(scene, {pulse}, 7, "Move")) << "it stands there";
    TweenScene empty = scene;
    empty.duration = 0;
    EXPECT_FALSE(applyMoveAbsolute(empty, {pulse}, 0, "Move"));
}

} // namespace
} // namespace larkspool
