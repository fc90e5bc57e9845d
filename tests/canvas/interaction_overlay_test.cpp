#include "canvas/interaction_overlay.h"

#include "canvas/canvas_geometry.h"
#include "canvas/canvas_hand.h"
#include "canvas/overlay_items.h"
#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <unordered_set>

namespace larkspool {
namespace {

using Kind = InteractionOverlay::DragMode::Kind;
using Mode = InteractionOverlay::DragMode;
using Handle = InteractionOverlay::Handle;
using Property = Keyframe::AnimatableProperty;
constexpr Modifiers command{.command = true}, shift{.shift = true}, option{.option = true};

TEST(CanvasPress, TheFirstThatMatchesSetsTheMode)
{
    struct Case {
        const char* where;
        CGPoint point;
        Modifiers modifiers;
        Mode mode;
    };
    // 1 is selected, from (100, 100) to (300, 200), with the rotate handle at (200, 76). 2 lies over its corner.
    const TweenScene scene = canvasOf({box(1, 100, 100, 200, 100), box(2, 295, 195, 50, 50), box(3, 500, 500, 50, 50)});
    for (const Case& c :
         {Case{"Option over nothing", {700, 50}, option, Mode{Kind::pan}},
          Case{"Option over a layer", {520, 520}, option, Mode{Kind::body}},
          Case{"Option on a handle", {100, 100}, option, Mode{Kind::body}},
          Case{"rotate handle", {200, 70}, {}, Mode{Kind::rotate}},
          Case{"a corner", {98, 98}, {}, Mode::resize(Handle::nw)},
          Case{"a corner under another layer", {302, 202}, {}, Mode::resize(Handle::se)},
          Case{"an edge", {200, 195}, {}, Mode::resize(Handle::s)},
          Case{"the selected layer", {150, 150}, {}, Mode{Kind::body}},
          Case{"another layer", {520, 520}, {}, Mode{Kind::body}},
          Case{"a handle of a layer that is not selected", {500, 500}, {}, Mode{Kind::body}},
          Case{"nothing", {700, 50}, {}, Mode{Kind::marquee}}}) {
        SCOPED_TRACE(c.where);
        CanvasHand hand(scene);
        hand.select({idOf(1)}).hold(c.modifiers).press(c.point);
        EXPECT_EQ(hand.state().dragMode, c.mode);
    }
}

TEST(CanvasPress, ALockedOrHiddenLayerOffersNeitherItsHandlesNorItself)
{
    for (const bool locks : {true, false}) {
        Layer layer = box(1, 100, 100, 200, 100);
        (locks ? layer.isLocked : layer.isHidden) = true;
        for (const CGPoint& point : {CGPoint{100, 100}, CGPoint{200, 76}, CGPoint{150, 150}}) {
            CanvasHand hand(canvasOf({layer}));
            hand.select({idOf(1)}).press(point);
            EXPECT_EQ(hand.state().dragMode, Mode{Kind::marquee});
        }
    }
}

TEST(CanvasPress, NorDoesALayerInALockedOrHiddenGroup)
{
    for (const bool locks : {true, false}) {
        SCOPED_TRACE(locks ? "locked" : "hidden");
        Layer group = groupAt(1, 100, 100, {box(2, 0, 0, 200, 100)});
        (locks ? group.isLocked : group.isHidden) = true;
        for (const CGPoint& point : {CGPoint{100, 100}, CGPoint{200, 76}, CGPoint{150, 150}}) {
            CanvasHand hand(canvasOf({group}));
            hand.select({idOf(2)}).press(point);
            EXPECT_EQ(hand.state().dragMode, Mode{Kind::marquee});
        }
        CanvasHand shown(canvasOf({group}));
        shown.select({idOf(2)});
        const OverlayItems items = overlayItems({}, shown.editor(), {});
        ASSERT_TRUE(items.frame);
        EXPECT_TRUE(items.frame->handles.empty());
        EXPECT_FALSE(items.frame->rotateHandle);
    }
}

TEST(CanvasPress, ALineHasNeitherRotateHandleNorHandlesOfAFrame)
{
    Layer line = box(1, 100, 100, 200, 2);
    line.kind = Layer::Kind::line;
    line.linePoints = {CGPoint{1, 1}, CGPoint{199, 1}};
    CanvasHand above(canvasOf({line}));
    above.select({idOf(1)}).press({200, 76});
    EXPECT_EQ(above.state().dragMode, Mode{Kind::marquee});
    CanvasHand onTheEdge(canvasOf({line}));
    onTheEdge.select({idOf(1)}).press({200, 100});
    EXPECT_EQ(onTheEdge.state().dragMode, Mode{Kind::body});
}

TEST(CanvasPress, AnUnselectedLayerIsSelectedAtOnceAloneOrWithShiftBesideTheOthers)
{
    const TweenScene scene = canvasOf({box(1, 0, 0, 50, 50), box(2, 100, 100, 50, 50)});
    CanvasHand alone(scene);
    alone.select({idOf(1)}).press({120, 120});
    EXPECT_EQ(alone.selection(), (LayerIDs{idOf(2)}));

    CanvasHand added(scene);
    added.select({idOf(1)}).hold({.command = true, .shift = true}).press({120, 120});
    EXPECT_EQ(added.selection(), (LayerIDs{idOf(1), idOf(2)}));
    added.moveTo(10, 0);
    EXPECT_EQ(added.place(1), (CGPoint{10, 0})) << "all selected layers move";
    added.release();
    EXPECT_EQ(added.selection(), (LayerIDs{idOf(1), idOf(2)}));
}

TEST(CanvasPress, AClickOnASelectedGroupSelectsTheChildUnderThePointer)
{
    const TweenScene scene = canvasOf({groupAt(1, 100, 100, {box(2, 0, 0, 50, 50), box(3, 100, 0, 50, 50)})});
    CanvasHand hand(scene);
    hand.click({120, 120});
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1)})) << "the group first";
    hand.click({120, 120});
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(2)}));
    hand.click({220, 125});
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(3)})) << "from child to child";
    hand.click({175, 125});
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1)})) << "between the children";
}

TEST(CanvasPress, WithShiftAClickAddsAChildButNotTheGroupAroundIt)
{
    CanvasHand hand(canvasOf({groupAt(1, 100, 100, {box(2, 0, 0, 50, 50), box(3, 100, 0, 50, 50)})}));
    hand.select({idOf(2)}).hold(shift).click({220, 125});
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(2), idOf(3)}));
}

TEST(CanvasPress, ADragOfASelectedGroupMovesItAndDrillsNowhere)
{
    CanvasHand hand(canvasOf({groupAt(1, 100, 100, {box(2, 0, 0, 50, 50)})}));
    hand.select({idOf(1)}).hold(command).press({120, 120}).moveTo(10, 0).release();
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1)}));
    EXPECT_EQ(hand.place(1), (CGPoint{110, 100}));
}

TEST(CanvasPress, ASelectedLayerIsDraggedThroughWhatLiesOverItAndAClickSelectsThat)
{
    const TweenScene scene = canvasOf({box(1, 100, 100, 100, 100), box(2, 90, 90, 200, 200)});
    CanvasHand drags(scene);
    drags.select({idOf(1)}).hold(command).press({150, 150}).moveTo(10, 0).release();
    EXPECT_EQ(drags.place(1), (CGPoint{110, 100}));
    EXPECT_EQ(drags.place(2), (CGPoint{90, 90}));
    EXPECT_EQ(drags.selection(), (LayerIDs{idOf(1)}));

    CanvasHand clicks(scene);
    clicks.select({idOf(1)}).click({150, 150});
    EXPECT_EQ(clicks.selection(), (LayerIDs{idOf(2)}));
}

TEST(CanvasMarquee, ItSelectsVisibleTopLevelLayersThatItReachesInto)
{
    Layer hidden = box(3, 100, 100, 50, 50), later = box(4, 100, 100, 50, 50), zoom = box(5, 0, 0, 800, 600);
    hidden.isHidden = true;
    later.spans = {TimeSpan{.start = 1, .end = 2}};
    zoom.kind = Layer::Kind::zoom;
    zoom.isLocked = true;
    CanvasHand hand(canvasOf({zoom, box(1, 100, 100, 50, 50), groupAt(2, 300, 300, {box(6, 0, 0, 20, 20)}), hidden, later}));
    hand.press({20, 20}).moveTo(3, 2);
    EXPECT_TRUE(hand.selection().empty()) << "less than 4 points";
    EXPECT_FALSE(hand.state().marqueeRect);
    hand.moveTo(80, 80);
    EXPECT_TRUE(hand.selection().empty()) << "it touches (100, 100) and reaches into nothing";
    hand.moveTo(81, 81);
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1)}));
    EXPECT_EQ(hand.state().marqueeRect, (CGRect{{20, 20}, {81, 81}}));
    hand.moveTo(281, 281);
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1), idOf(2)}));
    hand.moveTo(10, 10);
    EXPECT_TRUE(hand.selection().empty()) << "what it has left is no longer selected";
    hand.release();
    EXPECT_FALSE(hand.state().marqueeRect);
    EXPECT_EQ(hand.undoCount(), 0u);
}

TEST(CanvasMarquee, APictureInPictureZoomTakesPart)
{
    Layer zoom = box(1, 100, 100, 50, 50);
    zoom.kind = Layer::Kind::zoom;
    zoom.zoomType = ZoomType::pictureInPicture;
    CanvasHand hand(canvasOf({zoom}));
    hand.press({20, 20}).moveTo(100, 100);
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1)}));
}

TEST(CanvasMarquee, WithShiftItAddsAndWithoutThePressEmptiesTheSelection)
{
    const TweenScene scene = canvasOf({box(1, 0, 0, 50, 50), box(2, 300, 300, 50, 50)});
    CanvasHand adds(scene);
    adds.select({idOf(1)}).hold(shift).press({250, 250}).moveTo(60, 60);
    EXPECT_EQ(adds.selection(), (LayerIDs{idOf(1), idOf(2)}));
    adds.moveTo(10, 0);
    EXPECT_EQ(adds.selection(), (LayerIDs{idOf(1)}));

    CanvasHand empties(scene);
    empties.select({idOf(1)}).click({250, 250});
    EXPECT_TRUE(empties.selection().empty());
}

TEST(CanvasMarquee, OneAsThinAsALineSelectsToo)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50)}));
    hand.press({20, 120}).moveTo(200, 0);
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1)}));
}

TEST(CanvasPan, OptionOverNothingMovesTheView)
{
    CanvasHand hand(canvasOf({}));
    hand.pan = {5, 6};
    hand.fit({.scale = 0.5}).hold(option).press({100, 100}).moveTo(30, -10);
    EXPECT_EQ(hand.pan, (CGPoint{35, -4})) << "in points of the view";
    hand.release();
    EXPECT_EQ(hand.undoCount(), 0u);
}

TEST(OptionDrag, ItMovesClonesThatStandRightAfterTheirSources)
{
    Layer source = box(1, 100, 100, 50, 50);
    source.name = SharedString("Card");
    addKeyframe(source, Property::rotation, 0, 0);
    source.spans = {TimeSpan{.id = idOf(50), .start = 0, .end = 5, .effects = {SpanEffect{.id = idOf(51)}}}};
    const TweenScene scene = canvasOf({source, box(2, 300, 300, 50, 50)});
    CanvasHand hand(scene);
    hand.hold({.command = true, .option = true}).press({120, 120}).moveTo(40, 20).release();

    ASSERT_EQ(hand.scene().layers.size(), 3u);
    const Layer clone = hand.scene().layers[1];
    EXPECT_EQ(hand.scene().layers[0], source);
    EXPECT_EQ(clone.name, "Card Copy");
    EXPECT_EQ(clone.transform.x, 140);
    EXPECT_EQ(clone.transform.y, 120);
    EXPECT_NE(clone.id, source.id);
    EXPECT_NE(clone.keyframes[0].id, source.keyframes[0].id);
    EXPECT_NE(clone.spans[0].effects[0].id, source.spans[0].effects[0].id);
    EXPECT_EQ(hand.selection(), (LayerIDs{clone.id}));
    EXPECT_EQ(hand.undoName(), "Move");
    EXPECT_EQ(hand.undoCount(), 1u) << "one step for both";
    hand.undo();
    EXPECT_EQ(hand.scene(), scene);
}

TEST(OptionDrag, ASelectionIsClonedAsAWhole)
{
    CanvasHand hand(canvasOf({box(1, 0, 0, 50, 50), groupAt(2, 100, 100, {box(3, 0, 0, 50, 50)}), box(4, 300, 300, 50, 50)}));
    hand.select({idOf(1), idOf(3)}).hold({.command = true, .option = true}).press({120, 120}).moveTo(10, 0);
    ASSERT_EQ(hand.scene().layers.size(), 4u);
    EXPECT_EQ(hand.scene().layers[1].transform.x, 10);
    ASSERT_EQ(hand.scene().layers[2].children.size(), 2u);
    EXPECT_EQ(hand.scene().layers[2].children[1].transform.x, 10);
    EXPECT_EQ(hand.place(3), (CGPoint{0, 0})) << "the sources stay";
    EXPECT_EQ(hand.selection().size(), 2u);
    hand.cancel();
    EXPECT_EQ(hand.scene().layers.size(), 3u);
    EXPECT_EQ(hand.selection(), (LayerIDs{idOf(1), idOf(3)}));
}

TEST(OptionDrag, TheCloneOfTheLayerThatWasHitIsThePrimaryOne)
{
    CanvasHand hand(canvasOf({box(1, 0.25, 0, 50, 50), box(2, 100.5, 100, 50, 50)}));
    hand.select({idOf(1), idOf(2)}).hold({.command = true, .option = true}).press({120, 120}).moveTo(10, 0);
    ASSERT_EQ(hand.scene().layers.size(), 4u);
    EXPECT_EQ(hand.state().initialLayer->id, hand.scene().layers[3].id);
    EXPECT_EQ(hand.scene().layers[3].transform.x, 111) << "110.5, rounded: a way of 10.5";
    EXPECT_EQ(hand.scene().layers[1].transform.x, 10.75);
}

TEST(OptionDrag, AnUnselectedLayerIsClonedAlone)
{
    CanvasHand hand(canvasOf({box(1, 0, 0, 50, 50), box(2, 100, 100, 50, 50)}));
    hand.select({idOf(1)}).hold(option).press({120, 120}).release();
    EXPECT_EQ(hand.scene().layers.size(), 3u);
    EXPECT_EQ(hand.undoCount(), 1u) << "a clone is an edit, moved or not";
}

TEST(WaitGuard, ADragIntoAHoldBeepsOnceChangesNothingAndShowsTheGhost)
{
    Layer held = box(1, 100, 100, 50, 50);
    addKeyframe(held, Property::x, 0, 100, /*wait=*/2);
    addKeyframe(held, Property::x, 3, 200);
    const TweenScene scene = canvasOf({held, box(2, 300, 300, 50, 50)});
    CanvasHand hand(scene);
    hand.select({idOf(1), idOf(2)}).playhead(1).press({320, 320}).moveTo(3, 0);
    EXPECT_EQ(hand.beeps, 0);
    hand.moveTo(40, 20).moveTo(50, 30);
    EXPECT_EQ(hand.beeps, 1);
    EXPECT_EQ(hand.scene(), scene) << "nor does the other layer move";
    EXPECT_TRUE(hand.state().waitGhostActive);
    EXPECT_EQ(hand.state().waitGhostRect, (CGRect{{150, 130}, {250, 250}})) << "both boxes, moved";
    hand.release();
    EXPECT_EQ(hand.undoCount(), 0u);
    EXPECT_FALSE(hand.state().waitGhostRect);
    hand.press({320, 320}).moveTo(40, 0);
    EXPECT_EQ(hand.beeps, 2) << "once per gesture";
}

TEST(WaitGuard, OutsideTheHoldAndForOtherPropertiesADragGoesOn)
{
    Layer held = box(1, 100, 100, 50, 50);
    addKeyframe(held, Property::x, 0, 100, /*wait=*/2);
    addKeyframe(held, Property::x, 3, 100);
    CanvasHand after(canvasOf({held}));
    after.playhead(2.5).hold(command).press({120, 120}).moveTo(10, 0);
    EXPECT_EQ(after.beeps, 0);
    EXPECT_EQ(after.place(1), (CGPoint{110, 100}));

    CanvasHand resizes(canvasOf({held}));
    resizes.select({idOf(1)}).playhead(1).hold(command).press({150, 150}).moveTo(10, 0);
    EXPECT_EQ(resizes.beeps, 0) << "its width holds no wait";
    EXPECT_EQ(resizes.layer(1).size.width, 60);
}

TEST(WaitGuard, ASelectedLayerIsHeldAtAnyDepthAndOneThatIsNotSelectedHoldsNothing)
{
    Layer held = box(2, 0, 0, 50, 50);
    addKeyframe(held, Property::y, 0, 0, /*wait=*/2);
    addKeyframe(held, Property::y, 3, 100);
    const TweenScene scene = canvasOf({groupAt(1, 100, 100, {held})});
    CanvasHand child(scene);
    child.select({idOf(2)}).playhead(1).hold(command).press({120, 120}).moveTo(10, 0);
    EXPECT_EQ(child.beeps, 1);
    EXPECT_EQ(child.scene(), scene);

    CanvasHand group(scene);
    group.select({idOf(1)}).playhead(1).hold(command).press({120, 120}).moveTo(10, 0);
    EXPECT_EQ(group.beeps, 0);
    EXPECT_EQ(group.place(1), (CGPoint{110, 100}));
}

TEST(WaitGuard, AResizeIntoAHoldIsRefusedWithTheGhostInPlace)
{
    Layer held = box(1, 100, 100, 50, 50);
    addKeyframe(held, Property::height, 0, 50, /*wait=*/2);
    addKeyframe(held, Property::height, 3, 80);
    const TweenScene scene = canvasOf({held});
    CanvasHand hand(scene);
    hand.select({idOf(1)}).playhead(1).press({150, 150}).moveTo(3, 0);
    EXPECT_EQ(hand.scene(), scene);
    EXPECT_EQ(hand.beeps, 0);
    hand.moveTo(20, 20).moveTo(30, 30);
    EXPECT_EQ(hand.scene(), scene);
    EXPECT_EQ(hand.beeps, 1);
    EXPECT_EQ(hand.state().waitGhostRect, (CGRect{{100, 100}, {50, 50}}));
}

TEST(CanvasGuides, AMovingEdgeIsCaughtAndItsGuideIsTold)
{
    Layer card = box(2, 400, 400, 100, 100);
    card.name = SharedString("Card");
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50), card}));
    // The left edge comes to 396, four from the card's left and from the scene's centre: the scene comes first. The top comes to
    // 253: the middle, at 278, is near nothing, the bottom, at 303, is three from the scene's middle.
    hand.press({120, 120}).moveTo(296, 153);
    EXPECT_EQ(hand.place(1), (CGPoint{400, 250}));
    EXPECT_EQ(hand.state().activeGuideX, 400);
    EXPECT_FALSE(hand.state().activeGuideXFromLayer);
    EXPECT_EQ(hand.state().activeGuideXLabel, "Scene · center");
    EXPECT_EQ(hand.state().activeGuideYLabel, "Scene · middle");
    // The left edge comes to 447, three from the card's center, and the right one to 497, three from its right: left goes first.
    hand.moveTo(347, 100);
    EXPECT_EQ(hand.place(1), (CGPoint{450, 200}));
    EXPECT_TRUE(hand.state().activeGuideXFromLayer);
    EXPECT_EQ(hand.state().activeGuideXLabel, "Card · center");
    EXPECT_FALSE(hand.state().activeGuideY);
    hand.release();
    EXPECT_FALSE(hand.state().activeGuideX);
    EXPECT_EQ(hand.state().activeGuideXLabel, "");
    EXPECT_FALSE(hand.state().cachedSnapX.empty()) << "left to the next begin";
}

TEST(CanvasGuides, TheEndOfADragEmptiesThem)
{
    Layer card = box(2, 400, 400, 100, 100);
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50), card}));
    hand.press({120, 120}).moveTo(347, 347); // Three from the card's middle on both axes.
    ASSERT_EQ(hand.state().activeGuideX, 450);
    ASSERT_EQ(hand.state().activeGuideY, 450);
    hand.release();
    EXPECT_FALSE(hand.state().activeGuideX);
    EXPECT_FALSE(hand.state().activeGuideY);
    EXPECT_FALSE(hand.state().activeGuideXFromLayer);
    EXPECT_FALSE(hand.state().activeGuideYFromLayer);
    EXPECT_EQ(hand.state().activeGuideXLabel, "");
    EXPECT_EQ(hand.state().activeGuideYLabel, "");
}

TEST(CanvasGuides, WithCommandNoGuideShows)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50)}));
    hand.hold(command).press({120, 120}).moveTo(-97, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{3, 100}));
    EXPECT_FALSE(hand.state().activeGuideX);
    hand.hold({}).moveTo(-97, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{0, 100}));
    EXPECT_EQ(hand.state().activeGuideX, 0);
    hand.hold(command).moveTo(-97, 0);
    EXPECT_FALSE(hand.state().activeGuideX);
}

TEST(CanvasGuides, AtHalfTheSizeTheRadiusIsTwelve)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50)}));
    hand.fit({.scale = 0.5}).press({60, 60}).moveTo(-44, 0); // The left edge comes to 12.
    EXPECT_EQ(hand.place(1), (CGPoint{0, 100}));
    hand.moveTo(-43.5, 0); // 13.
    EXPECT_EQ(hand.place(1), (CGPoint{13, 100}));
}

TEST(CanvasGuides, ARotatedSelectionSnapsByItsBox)
{
    Layer turned = box(1, 100, 100, 50, 50);
    turned.transform.rotation = 45;
    CanvasHand hand(canvasOf({turned}));
    hand.press({125, 125}).moveTo(-97, 0);
    EXPECT_EQ(hand.place(1), (CGPoint{0, 100}));
}

TEST(CanvasGuides, SeveralLayersSnapByTheBoxAroundThem)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50), box(2, 200, 200, 50, 50)}));
    hand.select({idOf(1), idOf(2)}).press({220, 220}).moveTo(547, 20); // The right edge comes to 797.
    EXPECT_EQ(hand.place(1), (CGPoint{650, 120}));
    EXPECT_EQ(hand.state().activeGuideXLabel, "Scene · right");
}

TEST(CanvasRotate, TheLayerTurnsWithThePointerAboutItsAnchor)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 200, 100)}));
    hand.select({idOf(1)}).hold(command).press({200, 76}); // Above the anchor (200, 150); a quarter turn is to the right of it.
    hand.moveTo(74, 74);
    EXPECT_NEAR(hand.layer(1).transform.rotation, 90, 1e-9);
    hand.moveTo(0, 148).release();
    EXPECT_NEAR(std::abs(hand.layer(1).transform.rotation), 180, 1e-9);
    EXPECT_EQ(hand.undoName(), "Rotate");
}

TEST(CanvasRotate, RotationKeyframesGetOneAtThePlayhead)
{
    Layer layer = box(1, 100, 100, 200, 100);
    addKeyframe(layer, Property::rotation, 0, 0);
    CanvasHand hand(canvasOf({layer}));
    hand.select({idOf(1)}).playhead(1).press({200, 76}).moveTo(74, 74);
    ASSERT_EQ(hand.layer(1).keyframes.size(), 2u);
    EXPECT_EQ(hand.layer(1).keyframes[1].time, 1);
    EXPECT_EQ(std::get<double>(hand.layer(1).keyframes[1].value), 90);
    EXPECT_EQ(hand.layer(1).transform.rotation, 0);

    CanvasHand direct(canvasOf({layer}));
    direct.settings.keyframeAtPlayhead = false;
    direct.select({idOf(1)}).playhead(1).press({200, 76}).moveTo(74, 74);
    EXPECT_EQ(direct.layer(1).keyframes.size(), 1u);
    EXPECT_EQ(direct.layer(1).transform.rotation, 90);
}

TEST(CanvasRotate, ANestedLayerTurnsAboutWhereItsAnchorIsSeen)
{
    CanvasHand hand(canvasOf({groupAt(1, 100, 100, {box(2, 0, 0, 200, 100)})}));
    hand.select({idOf(2)}).press({200, 76}).moveTo(74, 74);
    EXPECT_EQ(hand.layer(2).transform.rotation, 90);
}

TEST(CanvasResize, ItActsOnThePrimaryLayerAlone)
{
    CanvasHand hand(canvasOf({box(1, 100, 100, 50, 50), box(2, 200, 200, 50, 50)}));
    hand.select({idOf(1), idOf(2)}).hold(command).press({150, 150}).moveTo(20, 10).release();
    EXPECT_EQ(hand.layer(1).size, (CGSize{70, 60}));
    EXPECT_EQ(hand.layer(2).size, (CGSize{50, 50}));
    EXPECT_EQ(hand.undoName(), "Resize");
}

TEST(CanvasResize, ARenditionOfAPictureInPictureZoomKeepsTheZoomsAspect)
{
    Layer zoom = box(1, 0, 0, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    zoom.zoomType = ZoomType::pictureInPicture;
    zoom.children = {box(2, 500, 400, 100, 75)};
    zoom.children.edit()[0].pipRendition = true;
    CanvasHand hand(canvasOf({zoom}));
    hand.select({idOf(2)}).hold(command).press({600, 437.5}).moveTo(20, 0);
    EXPECT_EQ(hand.layer(2).size, (CGSize{120, 90}));
}

TEST(CanvasDrag, ReturningToTheStartRestoresEverythingWhateverIsNear)
{
    // Off the whole numbers, and near enough to an edge of the scene to snap.
    const TweenScene scene = canvasOf({box(1, 2.5, 100.4, 50.3, 50)});
    struct Case {
        const char* mode;
        CGPoint press;
    };
    for (const Case& c : {Case{"body", {20, 120}}, Case{"resize", {52.8, 150.4}}, Case{"rotate", {27.65, 76.4}}}) {
        SCOPED_TRACE(c.mode);
        CanvasHand hand(scene);
        hand.select({idOf(1)}).press(c.press).moveTo(40, 30);
        EXPECT_NE(hand.scene(), scene);
        hand.moveTo(0, 0);
        EXPECT_EQ(hand.scene(), scene);
        hand.release();
        EXPECT_EQ(hand.undoCount(), 0u);
    }
}

TEST(LinePoints, APointFollowsThePointerAndTheBoxBoundsTheLineAgain)
{
    Layer line = box(1, 100, 100, 102, 2);
    line.kind = Layer::Kind::line;
    line.strokeWidth = 2;
    line.linePoints = {CGPoint{1, 1}, CGPoint{101, 1}};
    const TweenScene scene = canvasOf({line});
    CanvasHand hand(scene);
    hand.select({idOf(1)}).press({203, 103}); // Two points off the end, at (201, 101).
    EXPECT_EQ(hand.state().linePointDragIndex, 1u);
    EXPECT_EQ(hand.state().linePointDragLayerID, idOf(1));
    EXPECT_FALSE(hand.state().dragMode);
    hand.moveTo(20, -40);
    const Layer moved = hand.layer(1);
    // Points at (101, 101) and (221, 61); a pad of 1 around.
    EXPECT_EQ(moved.transform.x, 100);
    EXPECT_EQ(moved.transform.y, 60);
    EXPECT_EQ(moved.size, (CGSize{122, 42}));
    EXPECT_EQ(moved.linePoints, (Array<CGPoint>{CGPoint{1, 41}, CGPoint{121, 1}}));
    hand.release();
    EXPECT_EQ(hand.undoName(), "Move Line Point");
    hand.undo();
    EXPECT_EQ(hand.scene(), scene);
    hand.press({201, 101}).moveTo(30, 30).moveTo(0, 0);
    EXPECT_EQ(hand.scene(), scene);
}

void expectPoints(const std::vector<CGPoint>& points, const std::vector<CGPoint>& expected)
{
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_NEAR(points[i].x, expected[i].x, 1e-6);
        EXPECT_NEAR(points[i].y, expected[i].y, 1e-6);
    }
}

TEST(LinePoints, InATurnedGroupOrATurnedLineTheOtherPointsStay)
{
    Layer line = box(2, 100, 100, 200, 100);
    line.kind = Layer::Kind::line;
    line.linePoints = {CGPoint{1, 1}, CGPoint{80, 90}, CGPoint{199, 20}};
    line.transform.rotation = 30;
    line.transform.scaleX = 1.5;
    addKeyframe(line, Property::x, 0, 100);
    addKeyframe(line, Property::x, 2, 300);
    Layer group = groupAt(1, 50, 20, {line, box(3, -300, -300, 1200, 1200)}); // The box about which it turns is that of 3.
    group.transform.rotation = -20;
    CanvasHand hand(canvasOf({group}));
    hand.select({idOf(2)}).playhead(1);
    std::vector<CGPoint> points = linePointsInScene(hand.scene(), idOf(2), 1);
    hand.press(points[1]).moveTo(13, 7);
    ASSERT_EQ(hand.state().linePointDragIndex, 1u);
    points[1] = {points[1].x + 13, points[1].y + 7};
    expectPoints(linePointsInScene(hand.scene(), idOf(2), 1), points);
}

TEST(LinePoints, AnEndOfAPresetTurnsAndStretchesItAboutTheOther)
{
    Layer arc = box(1, 100, 100, 200, 80);
    arc.kind = Layer::Kind::line;
    arc.lineShape = LineShape::arc;
    CanvasHand hand(canvasOf({arc}));
    hand.select({idOf(1)}).press({300, 140});
    EXPECT_EQ(hand.state().lineEndpointFixedScene, (CGPoint{100, 140}));
    hand.moveTo(-200, 150); // Straight below the fixed end.
    expectPoints(linePointsInScene(hand.scene(), idOf(1), 0), {{100, 140}, {100, 290}});
    EXPECT_NEAR(hand.layer(1).transform.rotation, 90, 1e-9);
    EXPECT_NEAR(hand.layer(1).size.width, 150, 1e-9);
    EXPECT_EQ(hand.layer(1).size.height, 80);
    hand.moveTo(-200, 0); // On the fixed end.
    EXPECT_EQ(hand.layer(1).size.width, 1);
    hand.release();

    CanvasHand other(canvasOf({arc}));
    other.select({idOf(1)}).press({100, 140}).moveTo(50, -30);
    expectPoints(linePointsInScene(other.scene(), idOf(1), 0), {{150, 110}, {300, 140}});
}

TEST(CanvasCursors, ThePointerTellsWhatAPressWouldDo)
{
    Layer locked = box(3, 600, 400, 50, 50), hidden = box(4, 600, 500, 50, 50);
    locked.isLocked = hidden.isHidden = true;
    const TweenScene scene = canvasOf({box(1, 100, 100, 200, 100), box(2, 400, 400, 50, 50), locked, hidden});
    const InteractionOverlay::Editor editor{.scene = scene, .selection = {idOf(1)}};
    struct Case {
        const char* where;
        CGPoint point;
        Modifiers modifiers;
        CanvasCursor cursor;
    };
    for (const Case& c : {Case{"Option", {150, 150}, option, CanvasCursor::openHand},
                          Case{"rotate handle", {200, 76}, {}, CanvasCursor::closedHand},
                          Case{"nw", {100, 100}, {}, CanvasCursor::resizeNWSE}, Case{"n", {200, 100}, {}, CanvasCursor::resizeNS},
                          Case{"ne", {300, 100}, {}, CanvasCursor::resizeNESW}, Case{"e", {300, 150}, {}, CanvasCursor::resizeEW},
                          Case{"se", {300, 200}, {}, CanvasCursor::resizeNWSE}, Case{"s", {200, 200}, {}, CanvasCursor::resizeNS},
                          Case{"sw", {100, 200}, {}, CanvasCursor::resizeNESW}, Case{"w", {100, 150}, {}, CanvasCursor::resizeEW},
                          Case{"a layer", {420, 420}, {}, CanvasCursor::pointer},
                          Case{"a locked layer", {620, 420}, {}, CanvasCursor::arrow},
                          Case{"a hidden layer", {620, 520}, {}, CanvasCursor::arrow},
                          Case{"nothing", {700, 500}, {}, CanvasCursor::arrow}}) {
        SCOPED_TRACE(c.where);
        InteractionOverlay overlay;
        EXPECT_EQ(overlay.updateCursor({.view = c.point, .modifiers = c.modifiers}, editor, {}), c.cursor);
    }
}

TEST(CanvasCursors, ADragKeepsItsCursorWhereverItGoes)
{
    struct Case { const char* what; CGPoint press; Modifiers modifiers; CanvasCursor cursor; };
    for (const Case& c : {Case{"moving", {150, 150}, {}, CanvasCursor::pointer}, Case{"a copy", {150, 150}, option, CanvasCursor::copy},
                          Case{"the view", {700, 500}, option, CanvasCursor::closedHand},
                          Case{"turning", {200, 76}, {}, CanvasCursor::closedHand},
                          Case{"resizing", {300, 150}, {}, CanvasCursor::resizeEW},
                          Case{"a marquee", {700, 500}, {}, CanvasCursor::arrow}}) {
        SCOPED_TRACE(c.what);
        CanvasHand hand(canvasOf({box(1, 100, 100, 200, 100), box(2, 400, 400, 50, 50)}));
        hand.select({idOf(1)}).hold(c.modifiers).press(c.press);
        EXPECT_EQ(hand.overlay.updateCursor({.view = {420, 420}}, hand.editor(), {}), c.cursor);
        hand.release();
        EXPECT_EQ(hand.overlay.updateCursor({.view = {20, 20}}, hand.editor(), {}), CanvasCursor::arrow);
    }
}

TEST(CanvasCursors, TheSameCursorIsNotSetAgain)
{
    const InteractionOverlay::Editor editor{.scene = canvasOf({box(1, 100, 100, 200, 100)})};
    InteractionOverlay overlay;
    int sets = 0;
    const auto count = [&](CanvasCursor) { ++sets; };
    overlay.updateCursor({.view = {150, 150}}, editor, count);
    overlay.updateCursor({.view = {160, 150}}, editor, count);
    EXPECT_EQ(sets, 1);
    overlay.updateCursor({.view = {700, 500}}, editor, count);
    EXPECT_EQ(sets, 2);
}

TEST(OverlaySettings, ComeFromTheDefaults)
{
    MemoryUserDefaults defaults;
    EXPECT_TRUE(InteractionOverlay::Settings::of(defaults).keyframeAtPlayhead);
    EXPECT_FALSE(InteractionOverlay::Settings::of(defaults).sizeAspectLocked);
    defaults.set(DefaultsKey::keyframeAtPlayhead, false);
    defaults.set(DefaultsKey::sizeAspectLocked, true);
    EXPECT_FALSE(InteractionOverlay::Settings::of(defaults).keyframeAtPlayhead);
    EXPECT_TRUE(InteractionOverlay::Settings::of(defaults).sizeAspectLocked);
}

TEST(OverlayItems, TheFrameAndItsHandlesAreInPointsOfTheView)
{
    const InteractionOverlay::Editor editor{.scene = canvasOf({box(1, 100, 100, 200, 100)}), .selection = {idOf(1)}};
    const OverlayItems items = overlayItems({}, editor, {.scale = 0.5, .originX = 10});
    ASSERT_TRUE(items.frame);
    EXPECT_EQ(items.frame->corners[2], (CGPoint{160, 100}));
    EXPECT_EQ(items.frame->handles.size(), 8u);
    EXPECT_EQ(items.frame->rotateHandle, (CGPoint{110, 26}));
    EXPECT_FALSE(items.selectionBox);
    EXPECT_FALSE(items.dragModeToggle);
    EXPECT_FALSE(overlayItems({}, {.scene = editor.scene}, {}).frame) << "nothing is selected";
}

TEST(OverlayItems, AFixedGroupsPillTellsWhatADragDoesToItsContents)
{
    Layer group = groupAt(1, 100, 100, {box(2, 0, 0, 10, 10)});
    group.groupSizeMode = GroupSizeMode::fixed;
    InteractionOverlay::Editor editor{.scene = canvasOf({group}), .selection = {idOf(1)}};
    const OverlayItems locked = overlayItems({}, editor, {});
    ASSERT_EQ(locked.pills.size(), 1u);
    EXPECT_EQ(locked.pills[0].text, "Locked: moving this group's rect also moves its contents.");
    EXPECT_EQ(locked.pills[0].anchor, (CGPoint{100, 100}));
    EXPECT_EQ(locked.pills[0].box, (CGRect{{100, 100}, {200, 200}}));
    ASSERT_EQ(locked.groupOutlines.size(), 1u);
    EXPECT_EQ(locked.groupOutlines[0], (CGRect{{100, 100}, {200, 200}}));

    editor.scene.layers.edit()[0].groupFixedLocked = false;
    EXPECT_EQ(overlayItems({}, editor, {}).pills[0].text, "Unlocked: moving the rect leaves contents in place.");
    editor.scene.layers.edit()[0].groupSizeMode = GroupSizeMode::dynamic;
    EXPECT_TRUE(overlayItems({}, editor, {}).pills.empty());
}

TEST(OverlayItems, TheToggleOfTheDragModeIsThereForASelectionThatMoves)
{
    Layer moving = box(1, 100, 100, 50, 50);
    addKeyframe(moving, Property::y, 0, 100);
    InteractionOverlay::Editor editor{.scene = canvasOf({moving, box(2, 300, 50, 50, 50)}), .selection = {idOf(1), idOf(2)}};
    const OverlayItems items = overlayItems({}, editor, {});
    ASSERT_TRUE(items.dragModeToggle);
    EXPECT_EQ(items.dragModeToggle->anchor, (CGPoint{350, 50}));
    EXPECT_TRUE(items.dragModeToggle->keyframeAtPlayhead);
    EXPECT_EQ(items.selectionBox, (CGRect{{100, 50}, {250, 100}}));
    editor.selection = {idOf(2)};
    EXPECT_FALSE(overlayItems({}, editor, {}).dragModeToggle);
}

TEST(OverlayItems, GuidesMarqueeAndGhostComeFromTheDrag)
{
    InteractionOverlay::State state;
    state.activeGuideX = 400;
    state.activeGuideXLabel = "Scene · center";
    state.activeGuideY = 70;
    state.activeGuideYFromLayer = true;
    state.marqueeRect = CGRect{{10, 20}, {30, 40}};
    state.waitGhostRect = CGRect{{0, 0}, {100, 100}};
    const OverlayItems items = overlayItems(state, {.scene = canvasOf({})}, {.scale = 0.5, .originX = 5, .originY = 7});
    ASSERT_EQ(items.guides.size(), 2u);
    EXPECT_EQ(items.guides[0].position, 205);
    EXPECT_EQ(items.guides[0].label, "Scene · center");
    EXPECT_EQ(items.guides[1].axis, OverlayItems::Guide::Axis::y);
    EXPECT_EQ(items.guides[1].position, 42);
    EXPECT_TRUE(items.guides[1].fromLayer);
    EXPECT_EQ(items.marquee, (CGRect{{10, 17}, {15, 20}}));
    EXPECT_EQ(items.waitGhost, (CGRect{{5, 7}, {50, 50}}));
}

} // namespace
} // namespace larkspool
