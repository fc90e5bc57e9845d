#include "timeline/ripple_state.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using enum TimelineRippleMode;

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef spanB = TimelineItemRef::span(idOf(1), idOf(12));
const TimelineItemRef pulseA = TimelineItemRef::pulse(idOf(1), idOf(13));
const TimelineItemRef keyframeA = TimelineItemRef::keyframe(idOf(2), idOf(21));
const TimelineItemRef clipA = TimelineItemRef::videoClip(idOf(3));

/// Layer 1: spans 1–3 and 4–6, a pulse at 4. Within it, layer 2 with a keyframe at 5 that waits for 0.5. Layer 3: a clip 2–4.
TweenScene mixedScene()
{
    Layer inner{.id = idOf(2)};
    inner.keyframes = {keyframeOf(21, 5, 0.5)};
    Layer outer{.id = idOf(1), .kind = Layer::Kind::group, .children = {inner}};
    outer.spans = {spanOf(11, 1, 3), spanOf(12, 4, 6)};
    outer.pulses = {pulseOf(13, 4)};
    return sceneOf({outer, videoOf(3, {.sceneStart = 2, .sceneEnd = 4})});
}

/// The scene after a ripple of `dt`.
TweenScene rippled(const TweenScene& scene, TimelineRippleMode mode, double anchor, double dt,
                   const TimelineSelection& excluded = {})
{
    TimelineRippleState state;
    state.capture(scene, excluded, mode, anchor);
    TweenScene result = scene;
    state.apply(dt, result);
    return result;
}

TEST(Ripple, TakesTheItemsOnItsSideAndAnItemAtTheAnchorIsAfterIt)
{
    struct Case {
        TimelineRippleMode mode;
        double a, b, pulse, keyframe, clip;
    };
    for (const Case& c : {Case{none, 1, 4, 4, 5, 2}, Case{before, 1.5, 4, 4, 5, 2.5}, Case{after, 1, 4.5, 4.5, 5.5, 2},
                          Case{both, 1.5, 4.5, 4.5, 5.5, 2.5}}) {
        SCOPED_TRACE(label(c.mode));
        const TweenScene scene = rippled(mixedScene(), c.mode, 4, 0.5);
        EXPECT_EQ(timesOf(scene, spanA)->start, c.a);
        EXPECT_EQ(timesOf(scene, spanB)->start, c.b);
        EXPECT_EQ(timesOf(scene, pulseA)->start, c.pulse);
        EXPECT_EQ(timesOf(scene, keyframeA)->start, c.keyframe);
        EXPECT_EQ(timesOf(scene, clipA)->start, c.clip);
    }
}

TEST(Ripple, ASpanAcrossTheAnchorStandsOnTheSideOfItsStartAndMovesWhole)
{
    EXPECT_EQ(timesOf(rippled(mixedScene(), before, 2, 0.5), spanA), (ItemTimes{1.5, 3.5}));
    EXPECT_EQ(timesOf(rippled(mixedScene(), after, 2, 0.5), spanA), (ItemTimes{1, 3}));
}

TEST(Ripple, OnlyTimesMoveAndAWaitIsCarriedUnchanged)
{
    const TweenScene before = mixedScene();
    const TweenScene scene = rippled(before, both, 0, 0.5);
    EXPECT_EQ(findKeyframe(scene, idOf(2), idOf(21))->wait, 0.5);
    EXPECT_EQ(findVideoClip(scene, idOf(3))->sourceStart, 0);
}

TEST(Ripple, ExcludedItemsStayAndAWaitTailExcludesNothing)
{
    const TimelineSelection excluded{spanA, pulseA, clipA, TimelineItemRef::waitTail(idOf(2), idOf(21))};
    const TweenScene scene = rippled(mixedScene(), both, 0, 0.5, excluded);
    EXPECT_EQ(timesOf(scene, spanA)->start, 1);
    EXPECT_EQ(timesOf(scene, spanB)->start, 4.5);
    EXPECT_EQ(timesOf(scene, pulseA)->start, 4);
    EXPECT_EQ(timesOf(scene, clipA)->start, 2);
    EXPECT_EQ(timesOf(scene, keyframeA)->start, 5.5);
}

TEST(Ripple, AClipWithoutLengthAndALayerThatIsNoVideoGiveNoClip)
{
    Layer box{.id = idOf(5)};
    box.videoClip = {.sceneStart = 1, .sceneEnd = 2};
    TimelineRippleState state;
    state.capture(sceneOf({box, videoOf(6, {.sceneStart = 3, .sceneEnd = 3}), videoOf(7, {.sceneStart = 3, .sceneEnd = 4})}), {},
                  both, 0);
    EXPECT_EQ(state.rippledItemCount(), 1u);
}

TEST(Ripple, ALayerOutOfScopeGivesNothingButItsChildrenStillDo)
{
    TimelineRippleState state;
    state.scopeLayerIDs = LayerIDs{idOf(2)};
    state.capture(mixedScene(), {}, both, 0);
    ASSERT_EQ(state.rippledItemCount(), 1u);
    EXPECT_EQ(state.snapshot->items[0].ref, keyframeA);
    state.clear();
    EXPECT_EQ(state.scopeLayerIDs, LayerIDs{idOf(2)}) << "the scope outlives the gesture";
}

TEST(Ripple, HeldAtZeroSpansKeepTheirLengthsAndKeyframesMeetAndPartAgain)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 1, 3)};
    layer.keyframes = {keyframeOf(21, 0.5), keyframeOf(22, 1)};
    const TweenScene before = sceneOf({layer});
    TimelineRippleState state;
    state.capture(before, {}, both, 0);
    TweenScene scene = before;
    state.apply(-2, scene);
    EXPECT_EQ(timesOf(scene, spanA), (ItemTimes{0, 2}));
    for (const std::uint64_t id : {21, 22}) EXPECT_EQ(findKeyframe(scene, idOf(1), idOf(id))->time, 0);
    state.apply(0, scene);
    EXPECT_EQ(scene, before);
}

TEST(Ripple, TheDurationGrowsWithWhatIsPushedAndComesBackToTheOneOfTheCapture)
{
    const TweenScene before = mixedScene();
    TimelineRippleState state;
    state.capture(before, {}, after, 4);
    TweenScene scene = before;
    state.apply(7, scene); // The last end is that of the span 4–6.
    EXPECT_DOUBLE_EQ(scene.duration, 13);
    EXPECT_EQ(timesOf(scene, keyframeA)->start, 12);
    state.apply(5, scene);
    EXPECT_DOUBLE_EQ(scene.duration, 11);
    state.apply(-3, scene);
    EXPECT_EQ(scene.duration, 10);
    state.apply(0, scene);
    EXPECT_EQ(scene, before);
}

TEST(Ripple, AChangeOfTheDurationBelowATenThousandthIsNone)
{
    Layer layer{.id = idOf(1), .pulses = {pulseOf(13, 10)}};
    EXPECT_EQ(rippled(sceneOf({layer}), both, 0, 0.00009).duration, 10);
    EXPECT_DOUBLE_EQ(rippled(sceneOf({layer}), both, 0, 0.0002).duration, 10.0002);
}

TEST(Ripple, ThePrimaryItemSNewStartTellsTheWay)
{
    const TweenScene before = mixedScene();
    TimelineRippleState state;
    state.capture(before, {}, after, 4);
    TweenScene scene = before;
    state.applyPrimaryStart(4.25, scene);
    EXPECT_EQ(timesOf(scene, spanB)->start, 4.25);
}

TEST(Ripple, TellsHowManyItemsMovedIfAnyEverDid)
{
    struct Case {
        const char* when;
        std::vector<double> ways;
        std::optional<std::size_t> told;
    };
    for (const Case& c : {Case{"moved", {0.5}, 3}, Case{"returned", {0.5, 0}, 3}, Case{"never moved", {0}, std::nullopt},
                          Case{"less than a ten-thousandth", {0.00009, -0.0001}, std::nullopt}}) {
        SCOPED_TRACE(c.when);
        TimelineRippleState state;
        state.capture(mixedScene(), {}, after, 4);
        TweenScene scene = mixedScene();
        for (const double way : c.ways) state.apply(way, scene);
        EXPECT_EQ(state.clear(), c.told);
        EXPECT_FALSE(state.snapshot || state.didShift);
    }
}

TEST(Ripple, WithoutASnapshotNothingHappensAndNothingIsTold)
{
    const TweenScene before = mixedScene();
    TimelineRippleState state;
    state.capture(before, {}, none, 0);
    TweenScene scene = before;
    state.apply(1, scene);
    state.applyPrimaryStart(3, scene);
    EXPECT_EQ(scene, before);
    EXPECT_EQ(state.rippledItemCount(), 0u);
    EXPECT_EQ(state.clear(), std::nullopt);
}

TEST(Ripple, AnItemThatIsGoneIsSkippedAndOneThatHasMovedInItsListIsFound)
{
    TimelineRippleState state;
    state.capture(mixedScene(), {}, both, 0);
    TweenScene scene = mixedScene();
    Layer* layer = editLayer(scene, idOf(1));
    layer->spans.edit().erase(layer->spans.edit().begin());
    layer->pulses = {};
    editLayer(scene, idOf(1))->children = {};
    state.apply(0.5, scene);
    EXPECT_EQ(timesOf(scene, spanB), (ItemTimes{4.5, 6.5}));
    EXPECT_EQ(timesOf(scene, clipA), (ItemTimes{2.5, 4.5}));
    EXPECT_EQ(timesOf(scene, pulseA), std::nullopt);
}

TEST(Ripple, LayersWithoutARippledItemStayShared)
{
    Layer still{.id = idOf(9)};
    still.keyframes = {keyframeOf(91, 1)};
    TweenScene before = mixedScene();
    before.layers.append(still);
    const TweenScene scene = rippled(before, after, 4, 1);
    EXPECT_TRUE(findLayer(scene, idOf(9))->keyframes.sharesStorageWith(findLayer(before, idOf(9))->keyframes));
}

TEST(Ripple, AWayThatIsNoNumberMovesNothing)
{
    const TweenScene before = mixedScene();
    EXPECT_EQ(rippled(before, both, 0, std::numeric_limits<double>::quiet_NaN()), before);
    EXPECT_EQ(rippled(before, both, 0, std::numeric_limits<double>::infinity()), before);
}

} // namespace
} // namespace larkspool
