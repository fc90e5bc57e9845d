#include "shell/editor_view.h"

#include "support/test_editor.h"
#include "timeline/selection.h"
#include "timeline/span_edits.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef spanB = TimelineItemRef::span(idOf(1), idOf(12));
const TimelineItemRef keyframeA = TimelineItemRef::keyframe(idOf(1), idOf(13));
const TimelineItemRef pulseA = TimelineItemRef::pulse(idOf(1), idOf(14));

/// 10 seconds: spans 1–2 and 3–4, a keyframe at 5 and a pulse at 6.
TweenScene makeSmallScene()
{
    Layer layer{.id = idOf(1)};
    layer.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 2}, TimeSpan{.id = idOf(12), .start = 3, .end = 4}};
    layer.keyframes = {Keyframe{.id = idOf(13), .time = 5}};
    layer.pulses = {Pulse{.id = idOf(14), .time = 6}};
    TweenScene scene{.id = idOf(100), .duration = 10};
    scene.layers = {layer};
    return scene;
}

/// The same one each time, identifiers that play no part included.
const TweenScene& smallScene()
{
    static const TweenScene scene = makeSmallScene();
    return scene;
}

TEST(EditorView, ADragIsOneStepWithItsName)
{
    TestEditor editor(smallScene());
    editor.press(spanA).moveBy(0.3).moveBy(0.2).release();
    EXPECT_EQ(editor.times(spanA), (ItemTimes{1.5, 2.5}));
    EXPECT_EQ(editor.undoName(), "Move Span");
    EXPECT_EQ(editor.undoCount(), 1u);
    editor.undo();
    EXPECT_EQ(editor.scene(), smallScene());
    editor.redo();
    EXPECT_EQ(editor.times(spanA), (ItemTimes{1.5, 2.5}));
}

TEST(EditorView, ADragThatReturnsLeavesNoTrace)
{
    TestEditor editor(smallScene());
    editor.ripple(false, true).press(spanA).moveBy(0.7).moveBy(-0.7).release();
    EXPECT_EQ(editor.scene(), smallScene());
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_EQ(editor.rippled(), std::vector<std::size_t>{3}) << "but it rippled on the way";
}

TEST(EditorView, ReleasingABodyWithinItsDeadZoneIsATapWithoutAStep)
{
    TestEditor editor(smallScene());
    editor.press(spanA).movePoints(2.9).release();
    EXPECT_EQ(editor.scene(), smallScene());
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{spanA});
    EXPECT_EQ(editor.state().selectedSpanID, idOf(11));
}

TEST(EditorView, TapsSelectAsTheModifiersTell)
{
    TestEditor editor(smallScene());
    editor.tap(spanA).hold({.shift = true}).tap(spanB);
    EXPECT_EQ(editor.state().timelineSelection, (TimelineSelection{spanA, spanB}));
    EXPECT_EQ(editor.state().selectedSpanID, idOf(12));
    editor.hold({.command = true}).tap(spanB);
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{spanA});
    EXPECT_EQ(editor.state().selectedSpanID, std::nullopt);
    editor.hold({}).tap(spanA);
    EXPECT_TRUE(editor.state().timelineSelection.empty());
}

TEST(EditorView, ADragSelectsThePressedItemAndMakesItPrimary)
{
    TestEditor editor(smallScene());
    editor.select({pulseA}).press(keyframeA).moveBy(0.5);
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{keyframeA});
    EXPECT_EQ(editor.state().selectedKeyframeID, idOf(13));
    editor.release();
    EXPECT_EQ(editor.times(pulseA)->start, 6);
    EXPECT_EQ(editor.undoName(), "Move Keyframe");
}

TEST(EditorView, TheSnapLineShowsWhileADragSnaps)
{
    TestEditor editor(smallScene());
    editor.playhead(7.5).press(pulseA).moveTo(1.47);
    EXPECT_EQ(editor.snapTime(), 7.5);
    EXPECT_EQ(editor.times(pulseA)->start, 7.5);
    editor.hold({.command = true}).moveTo(1.47);
    EXPECT_EQ(editor.snapTime(), std::nullopt);
    EXPECT_DOUBLE_EQ(editor.times(pulseA)->start, 7.47);
    editor.hold({}).moveTo(1.47).release();
    EXPECT_EQ(editor.snapTime(), std::nullopt);
}

TEST(EditorView, ARippleTellsItsCountInAToastThatGoesByItself)
{
    TestEditor editor(smallScene());
    editor.ripple(false, true).press(spanB).moveBy(0.5).release();
    EXPECT_EQ(editor.times(pulseA)->start, 6.5);
    EXPECT_EQ(editor.times(spanA)->start, 1);
    EXPECT_EQ(editor.view().rippleToastMessage(), "Ripple moved 2 other items");
    editor.timers().pass(1.59);
    EXPECT_TRUE(editor.view().rippleToastMessage());
    editor.timers().pass(0.02);
    EXPECT_FALSE(editor.view().rippleToastMessage());
    editor.undo();
    EXPECT_EQ(editor.scene(), smallScene()) << "ripple is part of the one step";
}

TEST(EditorView, ACancelledPressLeavesSceneAndSelectionAsTheyWere)
{
    TestEditor editor(smallScene());
    editor.select({pulseA}).press(spanA).moveBy(0.5);
    editor.view().cancelTimelinePress();
    EXPECT_EQ(editor.scene(), smallScene());
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{pulseA});
    EXPECT_EQ(editor.undoCount(), 0u);
    EXPECT_FALSE(editor.view().releaseTimelineItems({}));
}

TEST(EditorView, ADragInTheZoomedTimelineIsFourTimesFiner)
{
    TestEditor editor(smallScene());
    editor.view().setTimelineZoom(true);
    editor.hold({.command = true}).press(pulseA).movePoints(100);
    EXPECT_DOUBLE_EQ(editor.times(pulseA)->start, 6.25);
}

TEST(EditorView, DeletingTheSelectionIsAStepThatEmptiesIt)
{
    TestEditor editor(smallScene());
    editor.tap(spanA).hold({.shift = true}).tap(keyframeA);
    EXPECT_TRUE(editor.view().deleteTimelineSelection());
    EXPECT_EQ(editor.undoName(), "Delete 2 Timeline Items");
    EXPECT_EQ(editor.times(spanA), std::nullopt);
    EXPECT_TRUE(editor.state().timelineSelection.empty());
    EXPECT_FALSE(editor.state().selectedSpanID || editor.state().selectedKeyframeID);
    EXPECT_FALSE(editor.view().deleteTimelineSelection());
    EXPECT_EQ(editor.undoCount(), 1u);
}

TEST(EditorView, TheRippleCycleChangesTheSettings)
{
    TestEditor editor(smallScene());
    editor.tap(pulseA);
    editor.view().cycleRippleSettings();
    EXPECT_EQ(editorRippleMode(editor.view().defaults()), TimelineRippleMode::before);
}

TEST(EditorView, SelectAllAtThePlayheadReplacesTheSelection)
{
    TestEditor editor(smallScene());
    editor.select({pulseA}).playhead(3.5).view().selectAllAtPlayhead();
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{spanB});
}

TEST(EditorView, AMarqueeSelectsAndScrollsAndItsEndStopsBoth)
{
    TestEditor editor(smallScene());
    EditorView& view = editor.view();
    view.setTimelineZoom(true);
    const std::vector<PerLayerTrackBand> bands{{idOf(1), PerLayerTrackBand::RowKind::spans, 0, 18}};
    const std::vector<UUID> layers{idOf(1)};
    view.beginMarquee({100, 5});
    view.updateMarquee({1100, 6}, layers, bands, 84, 1100, {}); // 0 to 2.5 seconds, with the cursor at the right edge.
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{spanA});
    EXPECT_TRUE(view.marqueeAutoScroll().isRunning());
    editor.timers().pass(0.6); // 2.5 / 1.5 seconds a second.
    EXPECT_NEAR(editor.state().viewportStart, 1.0, 1e-9);
    view.endMarquee();
    EXPECT_FALSE(view.marqueeAutoScroll().isRunning());
    view.updateMarquee({0, 0}, layers, bands, 84, 1100, {});
    EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{spanA});
}

TEST(EditorView, AnEditDuringADragMakesTheDragItsStepFirst)
{
    TestEditor editor(smallScene());
    editor.press(spanA).moveBy(0.5);
    const TweenScene dragged = editor.scene();
    editor.perform(SpansTrack::addSpan(editor.scene(), idOf(1), 7, 8));
    EXPECT_EQ(editor.undoCount(), 2u);
    const TweenScene added = editor.scene();
    editor.moveBy(2).release();
    EXPECT_EQ(editor.scene(), added) << "the drag is over";
    editor.undo();
    EXPECT_EQ(editor.scene(), dragged);
    EXPECT_EQ(editor.undoName(), "Move Span");
    editor.undo();
    EXPECT_EQ(editor.scene(), smallScene());
}

TEST(EditorView, UndoDuringADragTakesTheDragBack)
{
    TestEditor editor(smallScene());
    editor.press(spanA).moveBy(0.5).release().press(pulseA).moveBy(1);
    editor.undo();
    EXPECT_EQ(editor.times(pulseA)->start, 6);
    EXPECT_EQ(editor.times(spanA)->start, 1.5);
    editor.moveBy(1).release();
    EXPECT_EQ(editor.times(pulseA)->start, 6);
    editor.redo();
    EXPECT_EQ(editor.times(pulseA)->start, 7);
}

TEST(EditorView, UndoDuringAPressThatIsNoDragIsNoTap)
{
    TestEditor editor(smallScene());
    editor.press(spanA).undo().release();
    EXPECT_TRUE(editor.state().timelineSelection.empty());
}

/// A group of two layers that fill it: a click on the selected group would go on to the child under the pointer.
TweenScene sceneOfAGroup()
{
    Layer child{.id = idOf(3), .kind = Layer::Kind::rectangle, .size = {200, 200}};
    Layer group{.id = idOf(2), .kind = Layer::Kind::group, .transform = {.x = 100, .y = 100}, .size = {200, 200}};
    group.children = {child};
    TweenScene scene{.id = idOf(100), .width = 1920, .height = 1080, .duration = 10};
    scene.layers = {group};
    return scene;
}

TEST(EditorView, ACommandDuringAPressOnTheCanvasMakesNoClickOfIt)
{
    const CGPoint inside{200, 200};
    TestEditor clicked(sceneOfAGroup());
    clicked.view().selectLayers({idOf(2)});
    clicked.view().pressCanvas({.view = inside}, {});
    clicked.view().releaseCanvas({});
    ASSERT_EQ(clicked.state().selectedLayerIDs, LayerIDs{idOf(3)}) << "what a click does";

    TestEditor editor(sceneOfAGroup());
    editor.view().selectLayers({idOf(2)});
    editor.view().pressCanvas({.view = inside}, {});
    editor.view().mutate("Rename", [](TweenScene& scene) { scene.name = SharedString("renamed"); });
    EXPECT_FALSE(editor.view().isDraggingCanvas());
    EXPECT_EQ(editor.state().selectedLayerIDs, LayerIDs{idOf(2)});
    EXPECT_EQ(editor.undoCount(), 1u);
}

TEST(EditorView, ACommandDuringADragOnTheCanvasComesAfterIt)
{
    TestEditor editor(sceneOfAGroup());
    editor.view().selectLayers({idOf(2)});
    editor.view().pressCanvas({.view = {200, 200}}, {});
    editor.view().dragCanvas({.view = {250, 200}});
    const TweenScene dragged = editor.scene();
    EXPECT_NE(dragged, sceneOfAGroup());
    editor.view().mutate("Rename", [](TweenScene& scene) { scene.name = SharedString("renamed"); });
    EXPECT_EQ(editor.undoCount(), 2u);
    editor.undo();
    EXPECT_EQ(editor.scene(), dragged);
}

TEST(EditorView, UndoTakesBackColoursAndScrubsThatAreStillUnderWay)
{
    TestEditor editor(smallScene());
    editor.view().mutate("Rename", [](TweenScene& scene) { scene.name = SharedString("renamed"); });
    const TweenScene before = editor.scene();
    editor.view().colorBatch().colorEditBatch("Edit Color", [](TweenScene& scene) { scene.endPause = 1; });
    editor.undo();
    EXPECT_EQ(editor.scene(), before);
    editor.timers().pass(1);
    EXPECT_EQ(editor.undoName(), "Rename") << "the batch is not committed a second time";
    editor.view().scrub().scrubBegin("Edit Duration");
    editor.view().scrub().scrub([](TweenScene& scene) { scene.duration = 20; });
    editor.undo();
    EXPECT_EQ(editor.scene(), before);
}

TEST(EditorView, AnEditDuringAStreamOfColoursComesAfterIt)
{
    TestEditor editor(smallScene());
    editor.view().colorBatch().colorEditBatch("Edit Color", [](TweenScene& scene) { scene.endPause = 1; });
    const TweenScene coloured = editor.scene();
    editor.select({pulseA}).view().deleteTimelineSelection();
    EXPECT_EQ(editor.undoCount(), 2u);
    editor.undo();
    EXPECT_EQ(editor.scene(), coloured);
    editor.undo();
    EXPECT_EQ(editor.scene(), smallScene());
}

TEST(EditorView, AMarqueeEndsWithAnEdit)
{
    TestEditor editor(smallScene());
    const std::vector<PerLayerTrackBand> bands{{idOf(1), PerLayerTrackBand::RowKind::spans, 0, 18}};
    const std::vector<UUID> layers{idOf(1)};
    editor.view().beginMarquee({0, 5});
    editor.view().updateMarquee({1100, 6}, layers, bands, 84, 1100, {});
    editor.view().deleteTimelineSelection();
    editor.view().updateMarquee({1100, 7}, layers, bands, 84, 1100, {});
    EXPECT_TRUE(editor.state().timelineSelection.empty()) << "what is gone is not selected again";
}

} // namespace
} // namespace larkspool
