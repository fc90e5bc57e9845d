#include "shell/editor_view.h"

#include "support/random_timeline.h"
#include "support/test_editor.h"
#include "timeline/selection.h"
#include "timeline/span_edits.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

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

/// One random thing that a person might do.
void operateAtRandom(TestEditor& editor, RandomTimeline& random)
{
    const TweenScene scene = editor.scene();
    const std::vector<TimelineItemRef> items = RandomTimeline::items(scene);
    const auto anyItem = [&] { return items[random.index(items.size())]; };
    const auto anyLayer = [&] {
        std::vector<UUID> ids;
        walkLayers(scene.layers, [&](const Layer& layer) { ids.push_back(layer.id); });
        return ids[random.index(ids.size())];
    };
    editor.ripple(random.chance(2), random.chance(2)).playhead(random.between(0, 10));
    if (random.chance(4)) editor.select(random.selection(scene));
    switch (random.index(7)) {
    case 0: editor.perform(SpansTrack::addSpan(scene, anyLayer(), random.time(), random.time())); break;
    case 1: editor.perform(SpansTrack::addSpanAtPlayhead(scene, anyLayer(), random.between(0, 10))); break;
    case 2:
        if (!items.empty())
            editor.perform(pasteSpanSnapshot(scene, editor.state().timelineSelection,
                                             {.length = random.between(0, 3), .effects = {SpanEffect{.duration = 1}}},
                                             anyItem()));
        break;
    case 3: editor.perform(orderLayersByStartTime(scene, editor.state().timelineSelection)); break;
    case 4:
        if (random.chance(4)) editor.view().deleteTimelineSelection();
        break;
    default:
        if (items.empty()) break;
        editor.press(anyItem(), static_cast<DragHandle>(random.index(3)));
        for (int i = 0; i < 3; ++i) editor.moveTo(random.between(-6, 6));
        editor.release();
    }
}

bool holdsDeadReference(const EditorState& state)
{
    const TweenScene scene = state.scene();
    for (const TimelineItemRef& ref : state.timelineSelection)
        if (!timesOf(scene, ref)) return true;
    return false;
}

TEST(EditorView, TwoHundredRandomOperationsAreUndoneAndRedoneStepByStep)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        TestEditor editor(random.scene());
        std::vector<TweenScene> states{editor.scene()};
        for (int i = 0; i < 200; ++i) {
            const TweenScene before = editor.scene();
            const std::size_t steps = editor.undoCount();
            operateAtRandom(editor, random);
            RC_ASSERT(!holdsDeadReference(editor.state()));
            RC_ASSERT(effectsFitTheirSpans(editor.scene()));
            if (editor.undoCount() == steps) {
                RC_ASSERT(editor.scene() == before);
                continue;
            }
            RC_ASSERT(editor.undoCount() == steps + 1);
            states.push_back(editor.scene());
        }
        for (std::size_t i = states.size(); i-- > 1;) {
            RC_ASSERT(editor.scene() == states[i]);
            editor.select(random.selection(editor.scene())).undo();
            RC_ASSERT(!holdsDeadReference(editor.state()));
        }
        RC_ASSERT(editor.scene() == states[0]);
        for (std::size_t i = 1; i < states.size(); ++i) {
            editor.select(random.selection(editor.scene())).redo();
            RC_ASSERT(editor.scene() == states[i]);
            RC_ASSERT(!holdsDeadReference(editor.state()));
        }
    }));
}

} // namespace
} // namespace larkspool
