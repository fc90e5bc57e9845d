#include "canvas/body_drag.h"

#include "canvas/canvas_hand.h"

#include <gtest/gtest.h>

#include <map>

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;
constexpr Modifiers command{.command = true};

/// The values of the layer's keyframes of a property, by time.
std::map<double, double> keyframesOf(const Layer& layer, Property property)
{
    std::map<double, double> values;
    for (const Keyframe& keyframe : layer.keyframes)
        if (keyframe.property == property) values[keyframe.time] = std::get<double>(keyframe.value);
    return values;
}

using Values = std::map<double, double>;

TEST(BodyDrag, LessThanFourPointsOfTravelMoveNothing)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50)}));
    hand.hold(command).press({120, 120}).moveTo(3.9, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{100, 100}));
    hand.moveTo(4, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{104, 100})) << "by the whole travel";
    hand.moveTo(1, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{101, 100})) << "a drag remains one";
    hand.moveTo(0, 7).release();
    EXPECT_EQ(hand.place(1), (CGPoint{100, 107}));
    EXPECT_EQ(hand.undoName(), "Move");
}

TEST(BodyDrag, TheTravelIsOfTheViewAndTheWayOfTheScene)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50)}));
    hand.fit({.scale = 0.5, .originX = 10, .originY = 20}).hold(command).press({70, 80}).moveTo(3, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{100, 100}));
    hand.moveTo(10, 20);
    EXPECT_EQ(hand.place(1), (CGPoint{120, 140}));
}

TEST(BodyDrag, WithShiftItGoesAlongTheGreaterAxisAlone)
{
    CanvasHand hand(canvasOf({box(1, 100.5, 100.5, 50, 50)}));
    hand.hold({.command = true, .shift = true}).press({120, 120}).moveTo(30, 20);
    EXPECT_EQ(hand.place(1), (CGPoint{131, 100.5})) << "the locked axis is not rounded";
    hand.moveTo(20, 30);
    EXPECT_EQ(hand.place(1), (CGPoint{100.5, 131}));
    hand.moveTo(20, -20);
    EXPECT_EQ(hand.place(1), (CGPoint{121, 100.5})) << "a tie keeps x";
}

TEST(BodyDrag, WithShiftTheLockedAxisDoesNotSnap)
{
    // The bottom edge is 3 above the scene's, the right edge will be 3 short of the scene's.
    CanvasHand hand(canvasOf({box(1, 600, 547, 50, 50)}));
    hand.hold({.shift = true}).press({620, 560}).moveTo(147, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{750, 547}));
    EXPECT_EQ(hand.state().activeGuideX, 800);
    EXPECT_FALSE(hand.state().activeGuideY);
}

TEST(BodyDrag, ThePrimaryLayersPlaceIsRoundedAndOthersGoTheSameWay)
{
    CanvasHand hand(canvasOf({box(1, 100.25, 100, 50, 50), box(2, 300.5, 300.75, 50, 50)}));
    hand.select({idOf(1), idOf(2)}).hold(command).press({120, 120}).moveTo(10.5, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{111, 100}));
    EXPECT_EQ(hand.place(2), (CGPoint{311.25, 300.75}));
}

TEST(BodyDrag, ADragThatRoundsToItsOriginWritesNothing)
{
    const TweenScene scene = canvasOf({box(1, 100, 100, 50, 50)});
    CanvasHand hand(scene);
    hand.hold(command).press({120, 120}).moveTo(40, 0).moveTo(0.4, -0.4);
    EXPECT_EQ(hand.scene(), scene);
    hand.release();
    EXPECT_EQ(hand.undoCount(), 0u);
}

TEST(BodyDrag, AWholeSelectionMovesAndWhatIsBelowASelectedLayerGoesWithIt)
{
    CanvasHand hand(canvasOf({groupAt(1, 100, 100, {box(2, 10, 10, 50, 50)}), box(3, 300, 300, 50, 50)}));
    hand.select({idOf(1), idOf(2), idOf(3)}).hold(command).press({320, 320}).moveTo(20, 30);
    EXPECT_EQ(hand.place(1), (CGPoint{120, 130}));
    EXPECT_EQ(hand.place(2), (CGPoint{10, 10})) << "not moved twice";
    EXPECT_EQ(hand.place(3), (CGPoint{320, 330}));
}

TEST(BodyDrag, APressOnWhatIsBelowASelectedLayerDragsThat)
{
    CanvasHand hand(canvasOf({groupAt(1, 100.5, 100, {box(2, 10, 10, 50, 50)})}));
    hand.select({idOf(1), idOf(2)}).hold(command).press({135, 135}).moveTo(20, 30);
    EXPECT_EQ(hand.place(1), (CGPoint{121, 130})) << "its place is the one that is rounded";
    EXPECT_EQ(hand.place(2), (CGPoint{10, 10}));
}

TEST(BodyDrag, AChildOfAGroupMovesInIt)
{
    CanvasHand hand(canvasOf({groupAt(1, 100, 100, {box(2, 10, 10, 50, 50)})}));
    hand.select({idOf(2)}).hold(command).press({120, 120}).moveTo(20, 30);
    EXPECT_EQ(hand.place(2), (CGPoint{30, 40}));
    EXPECT_EQ(hand.place(1), (CGPoint{100, 100}));
}

TEST(BodyDrag, AZoomStaysWithinTheSceneAndOneWiderThanItAtZero)
{
    Layer zoom = box(1, 100, 100, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    CanvasHand hand(canvasOf({zoom}));
    hand.hold(command).press({200, 200}).moveTo(500, -500);
    EXPECT_EQ(hand.place(1), (CGPoint{400, 0}));

    zoom.size = {1000, 300};
    CanvasHand wide(canvasOf({zoom}));
    wide.hold(command).press({200, 200}).moveTo(-300, 10);
    EXPECT_EQ(wide.place(1), (CGPoint{0, 110}));
}

TEST(BodyDrag, AFixedGroupThatIsNotLockedLeavesItsContentsInPlace)
{
    Layer group = groupAt(1, 100, 100, {box(2, 10, 10, 50, 50)});
    group.groupSizeMode = GroupSizeMode::fixed;
    addKeyframe(group.children.edit()[0], Property::x, 1, 40);
    for (const bool locked : {true, false}) {
        SCOPED_TRACE(locked ? "locked" : "unlocked");
        group.groupFixedLocked = locked;
        CanvasHand hand(canvasOf({group}));
        hand.hold(command).press({290, 290}).moveTo(20, 30);
        EXPECT_EQ(hand.place(1), (CGPoint{120, 130}));
        EXPECT_EQ(hand.place(2), locked ? (CGPoint{10, 10}) : (CGPoint{-10, -20}));
        EXPECT_EQ(keyframesOf(hand.layer(2), Property::x), (Values{{1, locked ? 40 : 20}}));
    }
    Layer dynamic = group;
    dynamic.groupSizeMode = GroupSizeMode::dynamic;
    CanvasHand hand(canvasOf({dynamic}));
    hand.hold(command).press({150, 120}).moveTo(20, 30);
    EXPECT_EQ(hand.place(2), (CGPoint{10, 10}));
}

/// A layer that runs from x 0 to x 100 between 1 and 3 seconds.
Layer runner()
{
    Layer layer = box(1, 0, 50, 40, 40);
    addKeyframe(layer, Property::x, 1, 0, /*wait=*/0.25);
    addKeyframe(layer, Property::x, 3, 100);
    for (Keyframe& keyframe : layer.keyframes.edit()) keyframe.easing = Easing::linear();
    return layer;
}

TEST(BodyDrag, InMovePathModeKeyframesShiftTogetherAndKeepTheirWaits)
{
    CanvasHand hand(canvasOf({runner()}));
    hand.settings.keyframeAtPlayhead = false;
    hand.playhead(3).hold(command).press({120, 60}).moveTo(30, 20);
    const Layer moved = hand.layer(1);
    EXPECT_EQ(keyframesOf(moved, Property::x), (Values{{1, 30}, {3, 130}}));
    EXPECT_EQ(keyframesOf(moved, Property::y), Values{});
    EXPECT_EQ(moved.transform.y, 70);
    EXPECT_EQ(moved.keyframes[0].wait, 0.25);
    EXPECT_EQ(moved.keyframes[0].id, runner().keyframes[0].id);
}

TEST(BodyDrag, AtThePlayheadAKeyframeIsSetAndOthersAreLeftAlone)
{
    CanvasHand hand(canvasOf({runner()}));
    hand.playhead(2).hold(command);
    // At 2 s, 0.75 of the 1.75 s after the wait have gone: x is 100 * 3 / 7, about 42.86, and so 73 after 30.
    hand.press({60, 60}).moveTo(30, 20);
    const Layer moved = hand.layer(1);
    EXPECT_EQ(keyframesOf(moved, Property::x), (Values{{1, 0}, {2, 73}, {3, 100}}));
    EXPECT_EQ(keyframesOf(moved, Property::y), (Values{{0, 50}, {2, 70}})) << "the motion starts from where the layer stood";
    EXPECT_EQ(moved.keyframes[0].wait, 0.25);
}

TEST(BodyDrag, AKeyframeThatStandsAtThePlayheadHandsOnItsEasingAndWait)
{
    CanvasHand hand(canvasOf({runner()}));
    hand.playhead(3.0005).hold(command).press({110, 60}).moveTo(30, 0);
    const Layer moved = hand.layer(1);
    EXPECT_EQ(keyframesOf(moved, Property::x), (Values{{1, 0}, {3.0005, 130}}));
    EXPECT_EQ(moved.keyframes[1].easing, Easing::linear());
}

TEST(BodyDrag, AtTheStartNoKeyframeIsAddedForTheOrigin)
{
    Layer layer = box(1, 0, 50, 40, 40);
    addKeyframe(layer, Property::x, 0, 10);
    CanvasHand hand(canvasOf({layer}));
    hand.hold(command).press({20, 60}).moveTo(30, 20);
    EXPECT_EQ(keyframesOf(hand.layer(1), Property::y), (Values{{0, 70}}));
    EXPECT_EQ(keyframesOf(hand.layer(1), Property::x), (Values{{0, 40}}));
}

TEST(BodyDrag, ALayerWithoutKeyframesOfItsPlaceGetsNone)
{
    Layer layer = box(1, 0, 50, 40, 40);
    addKeyframe(layer, Property::rotation, 0, 0);
    CanvasHand hand(canvasOf({layer}));
    hand.playhead(1).hold(command).press({20, 60}).moveTo(30, 20);
    EXPECT_EQ(hand.layer(1).keyframes.size(), 1u);
    EXPECT_EQ(hand.place(1), (CGPoint{30, 70}));
}

} // namespace
} // namespace larkspool
