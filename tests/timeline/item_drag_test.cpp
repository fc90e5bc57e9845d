#include "timeline/item_drag.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

// The track is 1,000 points for 10 seconds: 100 points are a second.

namespace larkspool {
namespace {

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef spanB = TimelineItemRef::span(idOf(2), idOf(21));
const TimelineItemRef keyframeA = TimelineItemRef::keyframe(idOf(1), idOf(12));
const TimelineItemRef tailA = TimelineItemRef::waitTail(idOf(1), idOf(12));
const TimelineItemRef pulseA = TimelineItemRef::pulse(idOf(1), idOf(13));
const TimelineItemRef clipA = TimelineItemRef::videoClip(idOf(3));

/// Layer 1: span 2–4, keyframe 3 with a wait of 1, pulse 5. Layer 2, in layer 4: span 1–2. Layer 3: a clip 6–8 from source
/// second 1 of 5.
TweenScene makeMixedScene()
{
    Layer first{.id = idOf(1)};
    first.spans = {spanOf(11, 2, 4)};
    first.keyframes = {keyframeOf(12, 3, 1)};
    first.pulses = {pulseOf(13, 5)};
    Layer second{.id = idOf(2)};
    second.spans = {spanOf(21, 1, 2)};
    const Layer group{.id = idOf(4), .kind = Layer::Kind::group, .children = {second}};
    return sceneOf({first, group, videoOf(3, {.sceneStart = 6, .sceneEnd = 8, .sourceStart = 1}, 5)});
}

/// The same one each time, identifiers that play no part included.
const TweenScene& mixedScene()
{
    static const TweenScene scene = makeMixedScene();
    return scene;
}

// The span's body.

TEST(SpanDrag, FollowsThePointerWithItsLengthKept)
{
    BodyHand hand(spanA, settingOf(mixedScene()));
    hand.to(123);
    EXPECT_NEAR(hand.times(spanA).start, 3.23, 1e-12);
    EXPECT_NEAR(hand.times(spanA).end, 5.23, 1e-12);
    EXPECT_EQ(hand.snapTime, std::nullopt) << "with Command down no line shows";
}

TEST(SpanDrag, DoesNotJumpByThePointsThatTellItFromATap)
{
    DragSetting setting = settingOf(mixedScene());
    setting.bodyTrigger = 5;
    for (const double direction : {1.0, -1.0}) {
        SCOPED_TRACE(direction);
        Hand hand(spanA, DragHandle::body, setting);
        EXPECT_FALSE(hand.to(direction * 4.9));
        EXPECT_FALSE(hand.drag.isDragging());
        EXPECT_TRUE(hand.to(direction * 5));
        EXPECT_EQ(hand.times(spanA), (ItemTimes{2, 4}));
        hand.to(direction * 105);
        EXPECT_NEAR(hand.times(spanA).start, 2 + direction, 1e-12);
        EXPECT_TRUE(hand.to(0)) << "once it drags, the dead zone is over";
    }
}

TEST(SpanDrag, StopsAtZeroAndPassesTheScenesEnd)
{
    BodyHand hand(spanA, settingOf(mixedScene()));
    hand.to(-300);
    EXPECT_EQ(hand.times(spanA), (ItemTimes{0, 2}));
    hand.to(900);
    EXPECT_EQ(hand.times(spanA), (ItemTimes{11, 13}));
    EXPECT_EQ(hand.scene.duration, 10);
}

TEST(SpanDrag, TakesTheOtherSelectedSpansWhichReachZeroOneByOne)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 3, 4), spanOf(12, 1, 1.5), spanOf(13, 2, 3)};
    const auto ref = [](std::uint64_t id) { return TimelineItemRef::span(idOf(1), idOf(id)); };
    BodyHand hand(ref(11), settingOf(sceneOf({layer}), {ref(11), ref(12), ref(13)}));
    hand.to(-150);
    EXPECT_EQ(hand.times(ref(11)), (ItemTimes{1.5, 2.5}));
    EXPECT_EQ(hand.times(ref(12)), (ItemTimes{0, 0.5}));
    EXPECT_EQ(hand.times(ref(13)), (ItemTimes{0.5, 1.5}));
    hand.to(-500); // The dragged span stops after 3 seconds.
    EXPECT_EQ(hand.times(ref(11)), (ItemTimes{0, 1}));
    EXPECT_EQ(hand.times(ref(12)), (ItemTimes{0, 0.5}));
    EXPECT_EQ(hand.times(ref(13)), (ItemTimes{0, 1}));
    hand.to(0);
    EXPECT_EQ(hand.scene, sceneOf({layer}));
}

TEST(SpanDrag, TakesSelectedItemsOfEveryKindAndLayerButWaitTails)
{
    const TimelineSelection all{spanA, spanB, pulseA, clipA, tailA};
    BodyHand hand(spanA, settingOf(mixedScene(), all));
    hand.to(50);
    EXPECT_EQ(hand.times(spanA), (ItemTimes{2.5, 4.5}));
    EXPECT_EQ(hand.times(spanB), (ItemTimes{1.5, 2.5}));
    EXPECT_EQ(hand.times(pulseA).start, 5.5);
    EXPECT_EQ(hand.times(clipA), (ItemTimes{6.5, 8.5}));
    EXPECT_EQ(hand.times(keyframeA).start, 3) << "a tail alone moves nothing";
    EXPECT_EQ(hand.times(tailA).end, 4);
    EXPECT_EQ(hand.drag.actionName(), "Move Spans");
}

TEST(SpanDrag, HoldsTheOtherKindsWithinTheScene)
{
    BodyHand hand(spanA, settingOf(mixedScene(), {spanA, keyframeA, pulseA, clipA}));
    hand.to(750);
    EXPECT_EQ(hand.times(spanA).start, 9.5);
    EXPECT_EQ(hand.times(keyframeA).start, 10);
    EXPECT_EQ(hand.times(pulseA).start, 10);
    EXPECT_EQ(hand.times(clipA), (ItemTimes{8, 10}));
    EXPECT_EQ(findVideoClip(hand.scene, idOf(3))->sourceStart, 1);
    EXPECT_EQ(hand.drag.actionName(), "Move Span") << "the other items are of other kinds";
}

TEST(SpanDrag, AnUnselectedSpanMovesAloneAndBecomesTheSelection)
{
    BodyHand hand(spanA, settingOf(mixedScene(), {spanB, pulseA}));
    hand.to(50);
    EXPECT_EQ(hand.times(spanB).start, 1);
    EXPECT_EQ(hand.drag.selection(), TimelineSelection{spanA});
    EXPECT_EQ(hand.drag.actionName(), "Move Span");
}

TEST(SpanDrag, WithShiftOrCommandAnUnselectedSpanJoinsTheSelection)
{
    for (const Modifiers modifiers : {Modifiers{.shift = true}, Modifiers{.command = true}}) {
        BodyHand hand(DragPress{.members = {spanA}, .modifiers = modifiers}, settingOf(mixedScene(), {spanB}));
        hand.to(50);
        EXPECT_EQ(hand.times(spanB).start, 1.5);
        EXPECT_EQ(hand.drag.selection(), (TimelineSelection{spanA, spanB}));
    }
}

TEST(SpanDrag, SnapsItsStartThenItsEndThenItsStartToTheGrid)
{
    // The playhead stands at 7.52; a radius of 0.06; a grid of half seconds.
    DragSetting setting = settingOf(mixedScene());
    setting.playhead = 7.52;
    setting.snapping.grid = PlayheadSnapMode::sec050;
    struct Case {
        const char* where;
        double x;
        double start, line;
    };
    for (const Case& c : {Case{"the start near the playhead", 550, 7.52, 7.52}, Case{"the end near it", 350, 5.52, 7.52},
                          Case{"neither", 130, 3.5, 3.5}, Case{"the start near a pulse", 298, 5, 5}}) {
        SCOPED_TRACE(c.where);
        BodyHand hand(spanA, setting);
        hand.to(c.x, {});
        EXPECT_NEAR(hand.times(spanA).start, c.start, 1e-12);
        EXPECT_NEAR(hand.times(spanA).end, c.start + 2, 1e-12);
        EXPECT_EQ(hand.snapTime, c.line);
    }
}

TEST(SpanDrag, ItemsThatTravelAlongAreNoTargets)
{
    struct Case {
        const char* when;
        TimelineSelection selection;
        TimelineRippleMode mode;
        double start;
    };
    // The pulse at 5 stands 0.03 from where the pointer brings the span.
    for (const Case& c : {Case{"it stays", {spanA}, TimelineRippleMode::none, 5},
                          Case{"it is selected", {spanA, pulseA}, TimelineRippleMode::none, 5.03},
                          Case{"it ripples", {spanA}, TimelineRippleMode::after, 5.03},
                          Case{"it would ripple in the other mode", {spanA}, TimelineRippleMode::before, 5}}) {
        SCOPED_TRACE(c.when);
        DragSetting setting = settingOf(mixedScene(), c.selection);
        setting.rippleMode = c.mode;
        setting.scene.fps = 100; // So that 5.03 is on the grid.
        BodyHand hand(spanA, setting);
        hand.to(303, {});
        EXPECT_NEAR(hand.times(spanA).start, c.start, 1e-9);
    }
}

// A span's edges.

TEST(SpanTrim, MovesOneEdgeAndIsADragFromItsFirstUpdate)
{
    Hand left(spanA, DragHandle::leftEdge, settingOf(mixedScene()));
    EXPECT_TRUE(left.to(0.5));
    left.to(50);
    EXPECT_EQ(left.times(spanA), (ItemTimes{2.5, 4}));
    EXPECT_EQ(left.drag.actionName(), "Resize Span");
    Hand right(spanA, DragHandle::rightEdge, settingOf(mixedScene()));
    right.to(-50);
    EXPECT_EQ(right.times(spanA), (ItemTimes{2, 3.5}));
}

TEST(SpanTrim, LeavesAFrameAndAtLeastATwentiethOfASecond)
{
    struct Case {
        std::int64_t fps;
        double shortest;
    };
    for (const Case& c : {Case{60, 0.05}, Case{10, 0.1}, Case{0, 1}, Case{-3, 1}}) {
        SCOPED_TRACE(c.fps);
        DragSetting setting = settingOf(mixedScene());
        setting.scene.fps = c.fps;
        Hand left(spanA, DragHandle::leftEdge, setting);
        left.to(500);
        EXPECT_DOUBLE_EQ(left.times(spanA).start, 4 - c.shortest);
        EXPECT_EQ(left.times(spanA).end, 4);
        Hand right(spanA, DragHandle::rightEdge, setting);
        right.to(-500);
        EXPECT_DOUBLE_EQ(right.times(spanA).end, 2 + c.shortest);
        EXPECT_EQ(right.times(spanA).start, 2);
    }
}

TEST(SpanTrim, TheLeftEdgeStopsAtZero)
{
    Hand hand(spanA, DragHandle::leftEdge, settingOf(mixedScene()));
    hand.to(-500);
    EXPECT_EQ(hand.times(spanA), (ItemTimes{0, 4}));
}

TEST(SpanTrim, TrimsTheOtherSelectedSpansByTheSameWayEachWithinItsOwnLimitsAndNothingElse)
{
    const TimelineSelection all{spanA, spanB, keyframeA, pulseA, clipA};
    Hand left(spanA, DragHandle::leftEdge, settingOf(mixedScene(), all));
    left.to(150);
    EXPECT_EQ(left.times(spanA), (ItemTimes{3.5, 4}));
    EXPECT_DOUBLE_EQ(left.times(spanB).start, 1.95);
    EXPECT_EQ(left.times(spanB).end, 2);
    EXPECT_EQ(left.times(pulseA).start, 5);
    EXPECT_EQ(left.times(keyframeA).start, 3);
    EXPECT_EQ(left.times(clipA), (ItemTimes{6, 8}));
    EXPECT_EQ(left.drag.actionName(), "Resize Spans");
    left.to(-150);
    EXPECT_EQ(left.times(spanB), (ItemTimes{0, 2}));

    Hand right(spanA, DragHandle::rightEdge, settingOf(mixedScene(), all));
    right.to(-150);
    EXPECT_EQ(right.times(spanA), (ItemTimes{2, 2.5}));
    EXPECT_EQ(right.times(spanB), (ItemTimes{1, 1.05}));
}

TEST(SpanTrim, SnapsOnlyTheMovedEdge)
{
    DragSetting setting = settingOf(mixedScene());
    setting.playhead = 5.98;
    Hand hand(spanA, DragHandle::rightEdge, setting);
    hand.to(200, {});
    EXPECT_EQ(hand.times(spanA), (ItemTimes{2, 5.98}));
    EXPECT_EQ(hand.snapTime, 5.98);
    hand.to(99, {}); // The pulse at 5.
    EXPECT_EQ(hand.times(spanA), (ItemTimes{2, 5}));
}

TEST(SpanTrim, AnInvertedSpanComesOutLongEnough)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 4, 2)};
    Hand left(spanA, DragHandle::leftEdge, settingOf(sceneOf({layer})));
    left.to(-10);
    EXPECT_EQ(left.times(spanA), (ItemTimes{1.95, 2}));
    Hand right(spanA, DragHandle::rightEdge, settingOf(sceneOf({layer})));
    right.to(10);
    EXPECT_EQ(right.times(spanA), (ItemTimes{4, 4.05}));
}

TEST(SpanTrim, EffectsAreRefitAndComeBackWithTheLength)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 2, 4)};
    layer.spans.edit()[0].effects = {SpanEffect{.id = idOf(50), .duration = 1.5}};
    const TweenScene before = sceneOf({layer});
    Hand hand(spanA, DragHandle::rightEdge, settingOf(before));
    hand.to(-125);
    EXPECT_DOUBLE_EQ(findSpan(hand.scene, idOf(1), idOf(11))->effects[0].duration, 0.75);
    hand.to(-50);
    EXPECT_DOUBLE_EQ(findSpan(hand.scene, idOf(1), idOf(11))->effects[0].duration, 1.5);
    hand.to(0);
    EXPECT_EQ(hand.scene, before);
}

// Ripple.

TEST(DragRipple, EachHandleHasItsAnchorAndPushesByTheWayOfItsEdge)
{
    // Beside the dragged items, which begin at 2 and end at 4: pulses at 1.9, 2, 3.9, 4.
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 2, 4)};
    layer.keyframes = {keyframeOf(12, 2, 2)};
    layer.pulses = {pulseOf(31, 1.9), pulseOf(32, 2), pulseOf(33, 3.9), pulseOf(34, 4), pulseOf(13, 2)};
    const TweenScene scene = sceneOf({layer, videoOf(3, {.sceneStart = 2, .sceneEnd = 4})});
    const std::vector<double> fromStart{1.9, 2.5, 4.4, 4.5}, fromEnd{1.9, 2, 3.9, 4.5};
    struct Case {
        const char* handle;
        TimelineItemRef item;
        DragHandle pressed;
        std::vector<double> pulses;
    };
    for (const Case& c :
         {Case{"a span's body", spanA, DragHandle::body, fromStart},
          Case{"its left edge", spanA, DragHandle::leftEdge, fromStart},
          Case{"its right edge", spanA, DragHandle::rightEdge, fromEnd},
          Case{"a clip's body", clipA, DragHandle::body, fromStart},
          Case{"its left edge", clipA, DragHandle::leftEdge, fromStart},
          Case{"its right edge", clipA, DragHandle::rightEdge, fromEnd},
          Case{"a keyframe", keyframeA, DragHandle::body, fromStart}, Case{"its tail", tailA, DragHandle::rightEdge, fromEnd},
          Case{"a pulse", pulseA, DragHandle::body, fromStart}}) {
        SCOPED_TRACE(c.handle);
        DragSetting setting = settingOf(scene);
        setting.rippleMode = TimelineRippleMode::after;
        setting.bodyTrigger = 0;
        Hand hand(c.item, c.pressed, setting);
        hand.to(0);
        hand.to(50);
        for (std::size_t i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(findLayer(hand.scene, idOf(1))->pulses[i].time, c.pulses[i]);
    }
}

TEST(DragRipple, GoesByTheHeldWayNotThePointers)
{
    DragSetting setting = settingOf(mixedScene());
    setting.rippleMode = TimelineRippleMode::after;
    BodyHand hand(spanA, setting);
    hand.to(-500); // The span stops at 0, two seconds to the left.
    EXPECT_EQ(hand.times(pulseA).start, 3);
    EXPECT_EQ(hand.times(clipA), (ItemTimes{4, 6}));
}

TEST(DragRipple, SelectedItemsMoveWithTheDragAndNotTwice)
{
    DragSetting setting = settingOf(mixedScene(), {spanA, pulseA});
    setting.rippleMode = TimelineRippleMode::both;
    BodyHand hand(spanA, setting);
    hand.to(100);
    EXPECT_EQ(hand.times(spanA).start, 3);
    EXPECT_EQ(hand.times(pulseA).start, 6);
    EXPECT_EQ(hand.times(keyframeA).start, 4);
}

TEST(DragRipple, ASelectedItemStaysWhereATrimLeavesItAndDoesNotGrowTheScene)
{
    DragSetting setting = settingOf(mixedScene(), {spanA, pulseA});
    setting.rippleMode = TimelineRippleMode::after;
    Hand trim(spanA, DragHandle::rightEdge, setting);
    trim.to(50);
    EXPECT_EQ(trim.times(pulseA).start, 5);
    EXPECT_EQ(trim.times(clipA), (ItemTimes{6.5, 8.5}));
    EXPECT_EQ(trim.drag.end(), 1u);

    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(12, 9.5)};
    layer.pulses = {pulseOf(13, 5)};
    setting = settingOf(sceneOf({layer}), {keyframeA, pulseA});
    setting.rippleMode = TimelineRippleMode::after;
    Hand move(pulseA, DragHandle::body, setting);
    move.to(100);
    EXPECT_EQ(move.times(keyframeA).start, 10) << "held within the scene, not rippled";
    EXPECT_EQ(move.scene.duration, 10);
}

TEST(DragRipple, TheDurationItGrowsDoesNotBendTheDrag)
{
    DragSetting setting = settingOf(mixedScene());
    setting.rippleMode = TimelineRippleMode::after;
    Hand hand(keyframeA, DragHandle::body, setting);
    hand.to(400);
    EXPECT_EQ(hand.times(keyframeA).start, 7);
    EXPECT_EQ(hand.scene.duration, 12) << "the clip's end";
    hand.to(900);
    EXPECT_EQ(hand.times(keyframeA).start, 10) << "held within the scene as it was";
    hand.to(-100);
    EXPECT_EQ(hand.times(keyframeA).start, 2);
    EXPECT_EQ(hand.scene.duration, 10);
}

TEST(DragRipple, TellsAtTheEndHowManyMovedEvenIfTheDragReturned)
{
    DragSetting setting = settingOf(mixedScene());
    setting.rippleMode = TimelineRippleMode::after;
    BodyHand hand(spanA, setting);
    hand.to(100);
    hand.to(0);
    EXPECT_EQ(hand.scene, mixedScene());
    EXPECT_EQ(hand.drag.end(), 3u) << "keyframe, pulse and clip";
    EXPECT_FALSE(hand.drag.isDragging());

    BodyHand still(spanA, setting);
    EXPECT_EQ(still.drag.end(), std::nullopt);
}

TEST(DragRipple, StaysWithinItsScope)
{
    DragSetting setting = settingOf(mixedScene());
    setting.rippleMode = TimelineRippleMode::both;
    setting.rippleScope = LayerIDs{idOf(2)};
    BodyHand hand(spanA, setting);
    hand.to(100);
    EXPECT_EQ(hand.times(spanB).start, 2);
    EXPECT_EQ(hand.times(pulseA).start, 5);
}

// Keyframes, pulses, wait tails, clips.

TEST(KeyframeDrag, HasADeadZoneOf2PointsAndThenCountsFromThePress)
{
    struct Case {
        const char* way;
        double x, y;
        bool drags;
    };
    for (const Case& c : {Case{"2 points across", 2, 0, false}, Case{"2 points down", 0, 2, false},
                          Case{"beyond, across", 2.1, 0, true}, Case{"beyond, down", 0, -2.1, true}}) {
        SCOPED_TRACE(c.way);
        Hand hand(keyframeA, DragHandle::body, settingOf(mixedScene()));
        EXPECT_EQ(hand.to(c.x, unsnapped, c.y), c.drags);
    }
    Hand hand(keyframeA, DragHandle::body, settingOf(mixedScene()));
    hand.to(10);
    EXPECT_NEAR(hand.times(keyframeA).start, 3.1, 1e-12);
    EXPECT_EQ(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, 1);
    EXPECT_EQ(hand.drag.actionName(), "Move Keyframe");
}

TEST(ItemDrag, EachKindHasItsDeadZone)
{
    struct Case {
        const char* way;
        TimelineItemRef item;
        DragHandle handle;
        double x, y;
        bool drags;
    };
    for (const Case& c : {Case{"a pulse, 2 points both ways", pulseA, DragHandle::body, -2, 2, false},
                          Case{"a pulse, beyond, across", pulseA, DragHandle::body, -2.1, 0, true},
                          Case{"a pulse, beyond, down", pulseA, DragHandle::body, 0, 2.1, true},
                          Case{"a tail, 3 points across", tailA, DragHandle::rightEdge, -3, 0, false},
                          Case{"a tail, beyond", tailA, DragHandle::rightEdge, -3.1, 0, true},
                          Case{"a tail, far down", tailA, DragHandle::rightEdge, 0, 50, false},
                          Case{"a clip, 1 point across", clipA, DragHandle::body, -1, 0, false},
                          Case{"a clip, beyond", clipA, DragHandle::body, -1.1, 0, true},
                          Case{"a clip, far down", clipA, DragHandle::body, 0, 50, false},
                          Case{"a clip's edge, 1 point across", clipA, DragHandle::leftEdge, 1, 0, false},
                          Case{"a clip's edge, beyond", clipA, DragHandle::leftEdge, 1.1, 0, true}}) {
        SCOPED_TRACE(c.way);
        Hand hand(c.item, c.handle, settingOf(mixedScene()));
        EXPECT_EQ(hand.to(c.x, unsnapped, c.y), c.drags);
        EXPECT_EQ(hand.drag.isDragging(), c.drags);
    }
}

TEST(KeyframeDrag, StaysWithinTheSceneAfterTheSnapToo)
{
    DragSetting setting = settingOf(mixedScene());
    setting.scene.duration = 9.8;
    setting.snapping.grid = PlayheadSnapMode::sec100;
    Hand hand(keyframeA, DragHandle::body, setting);
    hand.to(900, {});
    EXPECT_EQ(hand.times(keyframeA).start, 9.8) << "the grid lies at 10";
    hand.to(-900, {});
    EXPECT_EQ(hand.times(keyframeA).start, 0);
}

TEST(KeyframeDrag, BeyondTheSceneSnapsFromTheScenesEndWhereAPulseSnapsFromThePointer)
{
    DragSetting setting = settingOf(mixedScene());
    setting.playhead = 9.95;
    Hand keyframe(keyframeA, DragHandle::body, setting);
    keyframe.to(1000, {});
    EXPECT_EQ(keyframe.times(keyframeA).start, 9.95) << "the playhead is near the scene's end";
    EXPECT_EQ(keyframe.snapTime, 9.95);
    Hand pulse(pulseA, DragHandle::body, setting);
    pulse.to(800, {});
    EXPECT_EQ(pulse.times(pulseA).start, 10) << "the playhead is far from the pointer, at 13";

    setting.playhead = 0.05;
    Hand before(keyframeA, DragHandle::body, setting);
    before.to(-1000, {});
    EXPECT_EQ(before.times(keyframeA).start, 0.05);
}

TEST(KeyframeDrag, ShowsALineAtTargetsOnlyAndReachesFor12Points)
{
    DragSetting setting = settingOf(mixedScene());
    setting.snapping.grid = PlayheadSnapMode::sec100;
    Hand hand(keyframeA, DragHandle::body, setting);
    hand.to(189, {}); // 0.11 from the pulse at 5.
    EXPECT_EQ(hand.times(keyframeA).start, 5);
    EXPECT_EQ(hand.snapTime, 5);
    hand.to(320, {});
    EXPECT_EQ(hand.times(keyframeA).start, 6);
    EXPECT_EQ(hand.snapTime, std::nullopt);
}

TEST(KeyframeDrag, TakesTheRestOfTheSelectionAndCountsItsOwnKindInItsName)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(12, 3), keyframeOf(14, 9.5)};
    layer.pulses = {pulseOf(13, 5)};
    const TimelineItemRef other = TimelineItemRef::keyframe(idOf(1), idOf(14));
    Hand hand(keyframeA, DragHandle::body, settingOf(sceneOf({layer}), {keyframeA, other, pulseA}));
    hand.to(100);
    EXPECT_EQ(hand.times(other).start, 10);
    EXPECT_EQ(hand.times(pulseA).start, 6);
    EXPECT_EQ(hand.drag.actionName(), "Move Keyframes");
}

TEST(PulseDrag, SnapsToTheGridWithALineAndStopsAtTheScenesEnd)
{
    DragSetting setting = settingOf(mixedScene());
    setting.snapping.grid = PlayheadSnapMode::sec050;
    Hand hand(pulseA, DragHandle::body, setting);
    EXPECT_FALSE(hand.to(2, {}, 2));
    hand.to(120, {});
    EXPECT_EQ(hand.times(pulseA).start, 6);
    EXPECT_EQ(hand.snapTime, 6);
    hand.to(900, {});
    EXPECT_EQ(hand.times(pulseA).start, 10);
    EXPECT_EQ(hand.drag.actionName(), "Move Pulse");
}

TEST(PulseDrag, TakesTheOtherSelectedPulsesEachWithinTheScene)
{
    Layer layer{.id = idOf(1)};
    layer.pulses = {pulseOf(13, 5), pulseOf(14, 9.5)};
    const TimelineItemRef later = TimelineItemRef::pulse(idOf(1), idOf(14));
    const DragSetting setting = settingOf(sceneOf({layer}), {pulseA, later});
    Hand hand(pulseA, DragHandle::body, setting);
    hand.to(100);
    EXPECT_EQ(hand.times(pulseA).start, 6);
    EXPECT_EQ(hand.times(later).start, 10);
    EXPECT_EQ(hand.drag.actionName(), "Move Pulses");
    Hand back(later, DragHandle::body, setting);
    back.to(-700);
    EXPECT_EQ(back.times(later).start, 2.5);
    EXPECT_EQ(back.times(pulseA).start, 0);
}

TEST(PulseDrag, LandsOnItsTargetToTheLastBit)
{
    Layer layer{.id = idOf(1)};
    layer.pulses = {pulseOf(13, 1.1)};
    DragSetting setting = settingOf(sceneOf({layer}));
    setting.playhead = 6.3; // 1.1 + (6.3 - 1.1) is a bit less.
    Hand hand(pulseA, DragHandle::body, setting);
    hand.to(520, {});
    EXPECT_EQ(hand.times(pulseA).start, 6.3);
}

TEST(WaitDrag, StretchesTheHoldWithinTheSceneAndLeavesTheKeyframe)
{
    Hand hand(tailA, DragHandle::rightEdge, settingOf(mixedScene()));
    EXPECT_FALSE(hand.to(3));
    struct Case {
        double x, wait;
    };
    for (const Case& c : {Case{50, 1.5}, Case{-50, 0.5}, Case{-500, 0}, Case{800, 7}}) {
        SCOPED_TRACE(c.x);
        hand.to(c.x);
        EXPECT_DOUBLE_EQ(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, c.wait);
        EXPECT_EQ(hand.times(keyframeA).start, 3);
    }
    EXPECT_EQ(hand.drag.actionName(), "Resize Wait");
}

TEST(WaitDrag, SnapsToTargetsAndNotToTheGrid)
{
    DragSetting setting = settingOf(mixedScene());
    setting.snapping.grid = PlayheadSnapMode::sec100;
    Hand hand(tailA, DragHandle::rightEdge, setting);
    hand.to(92, {}); // 0.08 from the pulse at 5.
    EXPECT_DOUBLE_EQ(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, 2);
    EXPECT_EQ(hand.snapTime, 5);
    hand.to(130, {});
    EXPECT_DOUBLE_EQ(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, 2.3);
    EXPECT_EQ(hand.snapTime, std::nullopt);
    hand.to(-96, {});
    EXPECT_NEAR(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, 0.04, 1e-12) << "its own keyframe is no target";
}

TEST(WaitDrag, IsHeldAtNoWaitBeforeItSnaps)
{
    // With the pointer left of the keyframe at 3, the hold's end stands at the keyframe.
    struct Case {
        const char* when;
        double pulse, wait;
        std::optional<double> line;
    };
    for (const Case& c : {Case{"a target under the pointer does not count", 1, 0, std::nullopt},
                          Case{"one beside the keyframe does", 3.05, 0.05, 3.05},
                          Case{"one before the keyframe leaves no wait", 2.95, 0, 2.95}}) {
        SCOPED_TRACE(c.when);
        Layer layer{.id = idOf(1)};
        layer.keyframes = {keyframeOf(12, 3, 1)};
        layer.pulses = {pulseOf(13, c.pulse)};
        Hand hand(tailA, DragHandle::rightEdge, settingOf(sceneOf({layer})));
        hand.to(-300, {});
        EXPECT_NEAR(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, c.wait, 1e-12);
        EXPECT_EQ(hand.snapTime, c.line);
    }
}

TEST(WaitDrag, AtTheScenesEndNoHoldIsLeft)
{
    Hand keyframe(keyframeA, DragHandle::body, settingOf(mixedScene()));
    keyframe.to(900);
    EXPECT_EQ(keyframe.times(keyframeA).start, 10);
    EXPECT_EQ(findKeyframe(keyframe.scene, idOf(1), idOf(12))->wait, 1) << "no move changes a wait";

    Hand tail(tailA, DragHandle::rightEdge, settingOf(keyframe.scene));
    tail.to(50);
    EXPECT_EQ(findKeyframe(tail.scene, idOf(1), idOf(12))->wait, 0);
}

TEST(WaitDrag, TakesOtherSelectedTailsAndNothingElse)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(12, 3, 1), keyframeOf(14, 9, 0.5)};
    layer.pulses = {pulseOf(13, 5)};
    const TimelineItemRef other = TimelineItemRef::waitTail(idOf(1), idOf(14));
    Hand hand(tailA, DragHandle::rightEdge, settingOf(sceneOf({layer}), {tailA, other, pulseA}));
    hand.to(100);
    EXPECT_DOUBLE_EQ(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, 2);
    EXPECT_DOUBLE_EQ(findKeyframe(hand.scene, idOf(1), idOf(14))->wait, 1) << "held at the scene's end";
    hand.to(-80);
    EXPECT_DOUBLE_EQ(findKeyframe(hand.scene, idOf(1), idOf(14))->wait, 0);
    EXPECT_EQ(hand.times(pulseA).start, 5);
    EXPECT_EQ(hand.drag.actionName(), "Resize Wait");
}

TEST(WaitDrag, RipplesFromTheTailsEndAndNeverItsOwnKeyframe)
{
    DragSetting setting = settingOf(mixedScene());
    setting.rippleMode = TimelineRippleMode::both;
    Hand hand(tailA, DragHandle::rightEdge, setting);
    hand.to(50);
    EXPECT_EQ(hand.times(keyframeA).start, 3);
    EXPECT_EQ(hand.times(pulseA).start, 5.5);
    EXPECT_EQ(hand.times(spanB).start, 1.5);

    setting.rippleMode = TimelineRippleMode::after; // The anchor is 4.
    Hand after(tailA, DragHandle::rightEdge, setting);
    after.to(50);
    EXPECT_EQ(after.times(spanA).start, 2);
    EXPECT_EQ(after.times(pulseA).start, 5.5);
    after.to(-500);
    EXPECT_EQ(after.times(pulseA).start, 4) << "by the second that the hold had";
}

TEST(ClipDrag, MovesWithItsSourceAndHasNoUpperLimit)
{
    Hand hand(clipA, DragHandle::body, settingOf(mixedScene()));
    EXPECT_FALSE(hand.to(1));
    hand.to(300);
    EXPECT_EQ(hand.times(clipA), (ItemTimes{9, 11}));
    hand.to(-900);
    EXPECT_EQ(hand.times(clipA), (ItemTimes{0, 2}));
    EXPECT_EQ(findVideoClip(hand.scene, idOf(3))->sourceStart, 1);
    EXPECT_EQ(hand.drag.actionName(), "Move Clip");
}

/// The mixed scene with a second clip from 7 to 9.5, of layer 5.
TweenScene twoClipScene()
{
    TweenScene scene = mixedScene();
    scene.layers.append(videoOf(5, {.sceneStart = 7, .sceneEnd = 9.5}));
    return scene;
}

const TimelineItemRef clipB = TimelineItemRef::videoClip(idOf(5));

TEST(ClipDrag, TakesTheRestOfTheSelectionUnderItsOwnName)
{
    Hand hand(clipA, DragHandle::body, settingOf(twoClipScene(), {clipA, clipB, spanA, keyframeA, pulseA, tailA}));
    hand.to(100);
    EXPECT_EQ(hand.times(clipA), (ItemTimes{7, 9}));
    EXPECT_EQ(hand.times(clipB), (ItemTimes{7.5, 10})) << "held within the scene";
    EXPECT_EQ(hand.times(spanA), (ItemTimes{3, 5}));
    EXPECT_EQ(hand.times(keyframeA).start, 4);
    EXPECT_EQ(hand.times(pulseA).start, 6);
    EXPECT_EQ(hand.times(spanB), (ItemTimes{1, 2}));
    EXPECT_EQ(hand.drag.actionName(), "Move Clip");
}

TEST(ClipDrag, SnapsItsStartThenItsEndThenItsStartToTheGrid)
{
    // The playhead stands at 7.02; a radius of 0.06; a grid of half seconds.
    DragSetting setting = settingOf(mixedScene());
    setting.playhead = 7.02;
    setting.snapping.grid = PlayheadSnapMode::sec050;
    struct Case {
        const char* where;
        double x, start, line;
    };
    for (const Case& c : {Case{"the start near the playhead", 104, 7.02, 7.02}, Case{"the end near it", -94, 5.02, 7.02},
                          Case{"neither", 130, 7.5, 7.5}}) {
        SCOPED_TRACE(c.where);
        Hand hand(clipA, DragHandle::body, setting);
        hand.to(c.x, {});
        EXPECT_NEAR(hand.times(clipA).start, c.start, 1e-12);
        EXPECT_NEAR(hand.times(clipA).end, c.start + 2, 1e-12);
        EXPECT_EQ(hand.snapTime, c.line);
    }
}

TEST(ClipTrim, SnapsItsEdgeAndIsHeldAfterwards)
{
    struct Case {
        const char* where;
        DragHandle handle;
        double playhead, x;
        ItemTimes times;
        double source;
    };
    for (const Case& c : {Case{"the left edge near the playhead", DragHandle::leftEdge, 7.02, 104, {7.02, 8}, 2.02},
                          Case{"the left edge on the grid", DragHandle::leftEdge, 100, 70, {6.5, 8}, 1.5},
                          Case{"snapped to before the source", DragHandle::leftEdge, 4.97, -100, {5, 8}, 0},
                          Case{"the right edge near the playhead", DragHandle::rightEdge, 7.02, -96, {6, 7.02}, 1},
                          Case{"the right edge on the grid", DragHandle::rightEdge, 100, 70, {6, 8.5}, 1},
                          Case{"snapped to beyond the source", DragHandle::rightEdge, 10.03, 200, {6, 10}, 1}}) {
        SCOPED_TRACE(c.where);
        DragSetting setting = settingOf(mixedScene());
        setting.playhead = c.playhead;
        setting.snapping.grid = PlayheadSnapMode::sec050;
        Hand hand(clipA, c.handle, setting);
        hand.to(c.x, {});
        EXPECT_EQ(hand.times(clipA), c.times);
        EXPECT_NEAR(findVideoClip(hand.scene, idOf(3))->sourceStart, c.source, 1e-12);
    }
}

TEST(ClipTrim, LeavesAllOtherSelectedItems)
{
    const TimelineSelection all{clipA, clipB, spanA, keyframeA, pulseA};
    for (const DragHandle handle : {DragHandle::leftEdge, DragHandle::rightEdge}) {
        Hand hand(clipA, handle, settingOf(twoClipScene(), all));
        hand.to(50);
        EXPECT_NE(hand.times(clipA), (ItemTimes{6, 8}));
        EXPECT_EQ(hand.times(clipB), (ItemTimes{7, 9.5}));
        EXPECT_EQ(hand.times(spanA), (ItemTimes{2, 4}));
        EXPECT_EQ(hand.times(keyframeA).start, 3);
        EXPECT_EQ(hand.times(pulseA).start, 5);
        EXPECT_EQ(hand.drag.actionName(), "Trim Clip");
    }
}

TEST(ClipTrim, TheLeftEdgeStopsAtZeroAndTheSourceNeverBeginsBeforeItsOwn)
{
    struct Case {
        const char* clip;
        VideoClip played;
        double x;
        ItemTimes times;
        double source;
    };
    for (const Case& c :
         {Case{"more source than time before it", {.sceneStart = 1, .sceneEnd = 2, .sourceStart = 3}, -500, {0, 2}, 2},
          Case{"a source from before its begin", {.sceneStart = 6, .sceneEnd = 8, .sourceStart = -1}, 10, {7, 8}, 0},
          Case{"the same, of a clip that ends before that",
               {.sceneStart = 6, .sceneEnd = 6.5, .sourceStart = -1},
               10,
               {6.45, 6.5},
               0}}) {
        SCOPED_TRACE(c.clip);
        Hand hand(clipA, DragHandle::leftEdge, settingOf(sceneOf({videoOf(3, c.played)})));
        hand.to(c.x);
        EXPECT_EQ(hand.times(clipA), c.times);
        EXPECT_EQ(findVideoClip(hand.scene, idOf(3))->sourceStart, c.source);
    }
}

TEST(ClipTrim, TheLeftEdgeKeepsThePictureInPlaceAndStopsWhereTheSourceBegins)
{
    struct Case {
        double x, start, source;
    };
    for (const Case& c : {Case{50, 6.5, 1.5}, Case{-50, 5.5, 0.5}, Case{-300, 5, 0}, Case{500, 7.95, 2.95}}) {
        SCOPED_TRACE(c.x);
        Hand hand(clipA, DragHandle::leftEdge, settingOf(mixedScene()));
        hand.to(c.x);
        EXPECT_DOUBLE_EQ(hand.times(clipA).start, c.start);
        EXPECT_EQ(hand.times(clipA).end, 8);
        EXPECT_NEAR(findVideoClip(hand.scene, idOf(3))->sourceStart, c.source, 1e-12);
        EXPECT_EQ(hand.drag.actionName(), "Trim Clip");
    }
}

TEST(ClipTrim, TheRightEdgeStopsAtTheSourcesEndUnlessTheClipGoesOn)
{
    // 4 seconds of source are left from second 1 on: up to 10.
    struct Case {
        const char* end;
        VideoClip::EndBehavior behavior;
        double x, trimmed;
    };
    for (const Case& c : {Case{"end", VideoClip::EndBehavior::end, 300, 10}, Case{"loop", VideoClip::EndBehavior::loop, 300, 11},
                          Case{"freeze", VideoClip::EndBehavior::freezeFrame, 300, 11},
                          Case{"end, shorter", VideoClip::EndBehavior::end, -300, 6.05}}) {
        SCOPED_TRACE(c.end);
        DragSetting setting = settingOf(mixedScene());
        editVideoClip(setting.scene, idOf(3))->endBehavior = c.behavior;
        Hand hand(clipA, DragHandle::rightEdge, setting);
        hand.to(c.x);
        EXPECT_DOUBLE_EQ(hand.times(clipA).end, c.trimmed);
    }
}

TEST(ClipTrim, IsNeverShorterThanATwentiethWhateverTheSourceHas)
{
    DragSetting setting = settingOf(mixedScene());
    editLayer(setting.scene, idOf(3))->videoDuration = 0.5; // Less than where the clip begins.
    Hand hand(clipA, DragHandle::rightEdge, setting);
    hand.to(10);
    EXPECT_DOUBLE_EQ(hand.times(clipA).end, 6.05);
}

TEST(ClipTrim, IsNeverShorterThanATwentiethWhateverTheFrameRate)
{
    for (const std::int64_t fps : {60, 10, 1, 0}) {
        SCOPED_TRACE(fps);
        DragSetting setting = settingOf(mixedScene());
        setting.scene.fps = fps;
        Hand left(clipA, DragHandle::leftEdge, setting);
        left.to(500);
        EXPECT_DOUBLE_EQ(left.times(clipA).start, 7.95);
        Hand right(clipA, DragHandle::rightEdge, setting);
        right.to(-500);
        EXPECT_DOUBLE_EQ(right.times(clipA).end, 6.05);
    }
}

TEST(ClipTrim, ASourceOfUnknownLengthDoesNotStopTheRightEdge)
{
    DragSetting setting = settingOf(mixedScene());
    editLayer(setting.scene, idOf(3))->videoDuration = 0;
    Hand hand(clipA, DragHandle::rightEdge, setting);
    hand.to(300);
    EXPECT_EQ(hand.times(clipA).end, 11);
}

// Aggregate rows.

TEST(AggregateDrag, MovesAllMembersAndTheSelectionUnderThePluralName)
{
    Layer first{.id = idOf(1)}, second{.id = idOf(2)};
    first.spans = {spanOf(11, 2, 4)};
    first.pulses = {pulseOf(13, 5)};
    second.spans = {spanOf(21, 2.0004, 4)};
    BodyHand hand(DragPress{.members = {spanA, spanB}, .row = DragRow::aggregate},
                  settingOf(sceneOf({first, second}), {spanA, spanB, pulseA}));
    hand.to(100);
    EXPECT_EQ(hand.times(spanA), (ItemTimes{3, 5}));
    EXPECT_NEAR(hand.times(spanB).start, 3.0004, 1e-12);
    EXPECT_EQ(hand.times(pulseA).start, 6);
    EXPECT_EQ(hand.drag.actionName(), "Move Spans");

    BodyHand alone(DragPress{.members = {spanA}, .row = DragRow::aggregate}, settingOf(sceneOf({first, second})));
    EXPECT_EQ(alone.drag.actionName(), "Move Spans");
    Hand trim(DragPress{.members = {spanA, spanB}, .handle = DragHandle::rightEdge, .row = DragRow::aggregate},
              settingOf(sceneOf({first, second})));
    trim.to(-50);
    EXPECT_EQ(trim.times(spanA).end, 3.5);
    EXPECT_EQ(trim.times(spanB).end, 3.5);
    EXPECT_EQ(trim.drag.actionName(), "Resize Spans");
}

TEST(AggregateDrag, AGroupThatIsNotSelectedAsAWholeMovesAloneOrJoinsTheSelection)
{
    const DragSetting setting = settingOf(mixedScene(), {spanA, pulseA});
    struct Case {
        const char* held;
        Modifiers modifiers;
        TimelineSelection selection;
        double pulse;
    };
    for (const Case& c : {Case{"nothing", {}, {spanA, spanB}, 5}, Case{"shift", {.shift = true}, {spanA, spanB, pulseA}, 6}}) {
        SCOPED_TRACE(c.held);
        BodyHand hand(DragPress{.members = {spanA, spanB}, .row = DragRow::aggregate, .modifiers = c.modifiers}, setting);
        hand.to(100);
        EXPECT_EQ(hand.drag.selection(), c.selection);
        EXPECT_EQ(hand.times(spanA).start, 3);
        EXPECT_EQ(hand.times(spanB).start, 2);
        EXPECT_EQ(hand.times(pulseA).start, c.pulse);
    }
}

TEST(AggregateDrag, HoldsEachItemByTheLimitsOfItsKind)
{
    const TimelineItemRef keyframeB = TimelineItemRef::keyframe(idOf(2), idOf(22));
    const Layer first{.id = idOf(1), .keyframes = {keyframeOf(12, 3, 1)}};
    const Layer second{.id = idOf(2), .keyframes = {keyframeOf(22, 3.0004)}};
    const TweenScene before = sceneOf({first, second});
    Hand hand(DragPress{.members = {keyframeA, keyframeB}, .row = DragRow::aggregate}, settingOf(before));
    hand.to(900);
    EXPECT_EQ(hand.times(keyframeA).start, 10);
    EXPECT_EQ(hand.times(keyframeB).start, 10);
    EXPECT_EQ(findKeyframe(hand.scene, idOf(1), idOf(12))->wait, 1);
    hand.to(-900);
    EXPECT_EQ(hand.times(keyframeA).start, 0);
    EXPECT_NEAR(hand.times(keyframeB).start, 0.0004, 1e-12) << "by the way that the group's time has gone";
    hand.to(0);
    EXPECT_EQ(hand.scene, before);
}

TEST(AggregateDrag, SnapsToItemsOfEveryLayerWhereARowOfOneSnapsToItsOwn)
{
    Layer film = videoOf(5, {.sceneStart = 1, .sceneEnd = 2});
    film.pulses = {pulseOf(51, 8.52)};
    TweenScene scene = mixedScene();
    scene.layers.append(film);
    struct Case {
        const char* item;
        TimelineItemRef ref;
        double x; // To 8.5, which is on the grid.
    };
    for (const Case& c :
         {Case{"span", spanA, 650}, Case{"keyframe", keyframeA, 550}, Case{"pulse", pulseA, 350}, Case{"clip", clipA, 250}})
        for (const DragRow row : {DragRow::layer, DragRow::aggregate}) {
            SCOPED_TRACE(c.item);
            DragSetting setting = settingOf(scene);
            setting.bodyTrigger = 0;
            Hand hand(DragPress{.members = {c.ref}, .row = row}, setting);
            hand.to(0);
            hand.to(c.x, {});
            EXPECT_EQ(hand.times(c.ref).start, row == DragRow::layer ? 8.5 : 8.52);
        }
}

/// Two clips from 6 to 8 under one bar, and a pulse at 8. The first has 4 seconds of source left from 6 on, and 1 before it.
struct TwoClips {
    TimelineItemRef ending = TimelineItemRef::videoClip(idOf(3)), looping = TimelineItemRef::videoClip(idOf(4));
    TimelineItemRef pulse = TimelineItemRef::pulse(idOf(1), idOf(13));
    TweenScene scene{};

    explicit TwoClips(VideoClip::EndBehavior second, double firstDuration = 5)
    {
        Layer marked{.id = idOf(1)};
        marked.pulses = {pulseOf(13, 8)};
        scene = sceneOf({videoOf(3, {.sceneStart = 6, .sceneEnd = 8, .sourceStart = 1}, firstDuration),
                         videoOf(4, {.sceneStart = 6, .sceneEnd = 8, .sourceStart = 3, .endBehavior = second}, 7), marked});
    }
    /// A trim of both by so many seconds. Which of them was listed first must not matter.
    void trim(DragHandle handle, double seconds, const std::function<void(const Hand&)>& check) const
    {
        for (const std::vector<TimelineItemRef>& members : {std::vector{ending, looping}, std::vector{looping, ending}}) {
            SCOPED_TRACE(members[0] == ending ? "the ending one first" : "the looping one first");
            DragSetting setting = settingOf(scene);
            setting.rippleMode = TimelineRippleMode::after;
            Hand hand(DragPress{.members = members, .handle = handle, .row = DragRow::aggregate}, setting);
            hand.to(seconds * 100);
            EXPECT_EQ(hand.drag.actionName(), "Trim Clips");
            check(hand);
        }
    }
};

TEST(AggregateTrim, AClipWhoseSourceRunsOutDoesNotStopTheOthers)
{
    const TwoClips clips(VideoClip::EndBehavior::loop);
    clips.trim(DragHandle::rightEdge, 3, [&](const Hand& hand) {
        EXPECT_EQ(hand.times(clips.ending).end, 10);
        EXPECT_EQ(hand.times(clips.looping).end, 11);
        EXPECT_EQ(hand.times(clips.pulse).start, 11) << "ripple goes with the one that gets farthest";
    });
    clips.trim(DragHandle::leftEdge, -2, [&](const Hand& hand) {
        EXPECT_EQ(hand.times(clips.ending), (ItemTimes{5, 8}));
        EXPECT_EQ(findVideoClip(hand.scene, idOf(3))->sourceStart, 0);
        EXPECT_EQ(hand.times(clips.looping), (ItemTimes{4, 8}));
        EXPECT_EQ(findVideoClip(hand.scene, idOf(4))->sourceStart, 1);
        EXPECT_EQ(hand.times(clips.pulse).start, 6);
    });
}

TEST(AggregateTrim, WhereAllStopRippleStops)
{
    const TwoClips clips(VideoClip::EndBehavior::end); // Both have 4 seconds left.
    clips.trim(DragHandle::rightEdge, 3, [&](const Hand& hand) {
        EXPECT_EQ(hand.times(clips.ending).end, 10);
        EXPECT_EQ(hand.times(clips.looping).end, 10);
        EXPECT_EQ(hand.times(clips.pulse).start, 10);
    });
}

TEST(AggregateTrim, AClipThatHasToShrinkDoesNotTurnTheOthersBack)
{
    const TwoClips clips(VideoClip::EndBehavior::loop, /*firstDuration=*/0.5); // The source ends before it begins.
    clips.trim(DragHandle::rightEdge, 1, [&](const Hand& hand) {
        EXPECT_DOUBLE_EQ(hand.times(clips.ending).end, 6.05);
        EXPECT_EQ(hand.times(clips.looping).end, 9);
        EXPECT_EQ(hand.times(clips.pulse).start, 9);
    });
}

// What cannot be dragged.

TEST(ItemDrag, IsRefusedWithNothingThereOrNoTimeToShow)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        const char* when;
        TimelineItemRef item;
        double width, visible;
    };
    for (const Case& c :
         {Case{"a dead reference", TimelineItemRef::span(idOf(1), idOf(99)), 1000, 10}, Case{"no duration", spanA, 1000, 0},
          Case{"a duration that is no number", spanA, 1000, nan}, Case{"no width, a clip", clipA, 0, 10},
          Case{"no width, a keyframe", keyframeA, 0, 10}, Case{"no width, a tail", tailA, 0, 10},
          Case{"no width, a pulse", pulseA, 0, 10}, Case{"a width that is no number", spanA, nan, 10}}) {
        SCOPED_TRACE(c.when);
        DragSetting setting = settingOf(mixedScene());
        setting.trackWidth = c.width;
        setting.visibleSeconds = c.visible;
        Hand hand(c.item, DragHandle::rightEdge, setting);
        EXPECT_FALSE(hand.to(50));
        EXPECT_FALSE(hand.drag.isDragging());
        EXPECT_EQ(hand.drag.end(), std::nullopt);
    }
}

TEST(ItemDrag, ASpansTrackWithoutWidthCountsAsOnePoint)
{
    DragSetting setting = settingOf(mixedScene());
    setting.trackWidth = 0;
    Hand hand(spanA, DragHandle::rightEdge, setting);
    hand.to(0.1);
    EXPECT_DOUBLE_EQ(hand.times(spanA).end, 5);
}

TEST(ItemDrag, APointerThatIsNowhereChangesNothing)
{
    Hand hand(spanA, DragHandle::rightEdge, settingOf(mixedScene()));
    hand.to(50);
    EXPECT_FALSE(hand.to(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(hand.to(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(hand.times(spanA).end, 4.5);
}

TEST(ItemDrag, BackAtItsBeginningAnItemOffTheGridStaysOffIt)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 2.013, 3.1)};
    DragSetting setting = settingOf(sceneOf({layer}));
    setting.snapping.grid = PlayheadSnapMode::sec100;
    BodyHand hand(spanA, setting);
    hand.to(130, {});
    EXPECT_EQ(hand.times(spanA).start, 3);
    hand.to(0, {});
    EXPECT_EQ(hand.scene, sceneOf({layer}));
    EXPECT_EQ(hand.snapTime, std::nullopt);
}

TEST(ItemDrag, ATapIsOnTheItemsThatExist)
{
    Hand hand(DragPress{.members = {TimelineItemRef::span(idOf(9), idOf(9)), spanA}}, settingOf(mixedScene()));
    EXPECT_EQ(hand.drag.tappedMembers(), std::vector{spanA});
}

TEST(CrossTrackDrag, PassesOverDeadReferencesTailsAndTheExcluded)
{
    const TimelineSelection selection{spanA, spanB, tailA, pulseA, TimelineItemRef::span(idOf(77), idOf(78))};
    const CrossTrackDragSnapshot snapshot = captureCrossTrackSnapshot(selection, {spanA}, mixedScene());
    ASSERT_EQ(snapshot.items.size(), 2u);
    TweenScene scene = mixedScene();
    applyCrossTrackDrag(snapshot, 6, 10, scene);
    EXPECT_EQ(timesOf(scene, spanB), (ItemTimes{7, 8}));
    EXPECT_EQ(timesOf(scene, pulseA)->start, 10);
    EXPECT_EQ(timesOf(scene, spanA)->start, 2);
}

TEST(CrossTrackDrag, AClipLongerThanTheSceneStartsAtZero)
{
    const TweenScene before = sceneOf({videoOf(3, {.sceneStart = 1, .sceneEnd = 13})});
    TweenScene scene = before;
    applyCrossTrackDrag(captureCrossTrackSnapshot({clipA}, {}, before), 1, 10, scene);
    EXPECT_EQ(timesOf(scene, clipA), (ItemTimes{0, 12}));
}

} // namespace
} // namespace larkspool
