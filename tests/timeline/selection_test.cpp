#include "timeline/selection.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

const TimelineItemRef a = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef b = TimelineItemRef::pulse(idOf(1), idOf(12));
const TimelineItemRef c = TimelineItemRef::keyframe(idOf(1), idOf(13));

EditorState stateOf(TweenScene scene)
{
    EditorState state;
    state.document.setScene(std::move(scene));
    return state;
}

TEST(TimelineTap, ModifiersTellWhatATapDoes)
{
    using Set = TimelineSelection;
    struct Case {
        const char* tap;
        Set before;
        std::vector<TimelineItemRef> members;
        Modifiers modifiers;
        Set after;
    };
    const Modifiers plain{}, shift{.shift = true}, command{.command = true}, bothDown{.command = true, .shift = true};
    for (const Case& test :
         {Case{"plain, nothing selected", {}, {a}, plain, {a}}, Case{"plain, another selected", {b}, {a}, plain, {a}},
          Case{"plain, one of two", {a, b}, {a}, plain, {a}}, Case{"plain, the only one", {a}, {a}, plain, {}},
          Case{"plain, the whole group", {a, b}, {a, b}, plain, {}},
          Case{"plain, a group with more selected", {a, b, c}, {a, b}, plain, {a, b}},
          Case{"shift", {a}, {b, c}, shift, {a, b, c}}, Case{"shift, selected already", {a}, {a}, shift, {a}},
          Case{"Command, not selected", {a}, {b}, command, {a, b}}, Case{"Command, selected", {a, b}, {b}, command, {a}},
          Case{"Command, a group partly selected", {a}, {a, b}, command, {a, b}},
          Case{"Command, a group all selected", {a, b, c}, {a, b}, command, {c}},
          Case{"shift goes before Command", {a}, {a}, bothDown, {a}}}) {
        SCOPED_TRACE(test.tap);
        Set selection = test.before;
        applyTimelineTap(test.members, selection, test.modifiers);
        EXPECT_EQ(selection, test.after);
    }
}

TEST(TimelineTap, ThePrimaryItemFollows)
{
    EditorState state;
    tapTimelineItems(state, std::vector{a}, {});
    EXPECT_EQ(state.selectedSpanID, idOf(11));
    tapTimelineItems(state, std::vector{c}, {.shift = true});
    EXPECT_EQ(state.selectedSpanID, idOf(11));
    EXPECT_EQ(state.selectedKeyframeID, idOf(13));
    tapTimelineItems(state, std::vector{c}, {.command = true});
    EXPECT_EQ(state.selectedKeyframeID, std::nullopt);
    tapTimelineItems(state, std::vector{a}, {});
    EXPECT_TRUE(state.timelineSelection.empty());
    EXPECT_EQ(state.selectedSpanID, std::nullopt);
}

TEST(CurrentTimelineLayers, AreThoseSelectedAndPinnedWithAllBelowThem)
{
    const Layer leaf{.id = idOf(3)}, inner{.id = idOf(2), .children = {leaf}}, outer{.id = idOf(1), .children = {inner}},
        other{.id = idOf(4)}, third{.id = idOf(5)};
    EditorState state = stateOf(sceneOf({outer, other, third}));
    EXPECT_TRUE(currentTimelineLayerIDs(state).empty());
    state.selectedLayerIDs = {idOf(2)};
    state.timelinePinnedLayerIDs = {idOf(4)};
    EXPECT_EQ(currentTimelineLayerIDs(state), (LayerIDs{idOf(2), idOf(3), idOf(4)}));
}

/// A layer with items around 5 seconds, in a scene of 24 frames a second.
EditorState stateAround5(double playhead)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 1, 5), spanOf(14, 5, 6), spanOf(15, 7, 8)};
    layer.pulses = {pulseOf(12, 5)};
    layer.keyframes = {keyframeOf(13, 5, 2)};
    TweenScene scene = sceneOf({layer, videoOf(2, {.sceneStart = 4, .sceneEnd = 6})});
    scene.fps = 24;
    EditorState state = stateOf(scene);
    state.playhead = playhead;
    return state;
}

TEST(SelectAllAtPlayhead, TakesMomentsWithinHalfAFrame)
{
    // Half a frame is 1 / 48 = 0.0208333.
    struct Case {
        double playhead;
        bool taken;
    };
    for (const Case& test : {Case{5.02, true}, Case{4.98, true}, Case{5.021, false}, Case{4.979, false}, Case{6.5, false}}) {
        SCOPED_TRACE(test.playhead);
        const TimelineSelection taken = selectAllAtPlayhead(stateAround5(test.playhead));
        EXPECT_EQ(taken.contains(b), test.taken);
        EXPECT_EQ(taken.contains(c), test.taken);
        EXPECT_FALSE(taken.contains(TimelineItemRef::waitTail(idOf(1), idOf(13))));
    }
}

TEST(SelectAllAtPlayhead, TakesSpansAndClipsThatCoverThePlayheadWithATenThousandthOfSlack)
{
    const TimelineItemRef second = TimelineItemRef::span(idOf(1), idOf(14)), clip = TimelineItemRef::videoClip(idOf(2));
    struct Case {
        double playhead;
        bool first, second, clip;
    };
    for (const Case& test : {Case{3, true, false, false}, Case{5, true, true, true}, Case{5.00005, true, true, true},
                             Case{5.0002, false, true, true}, Case{4.99995, true, true, true}, Case{4.9998, true, false, true},
                             Case{6.0002, false, false, false}, Case{3.99995, true, false, true}}) {
        SCOPED_TRACE(test.playhead);
        const TimelineSelection taken = selectAllAtPlayhead(stateAround5(test.playhead));
        EXPECT_EQ(taken.contains(a), test.first);
        EXPECT_EQ(taken.contains(second), test.second);
        EXPECT_EQ(taken.contains(clip), test.clip);
    }
}

TEST(SelectAllAtPlayhead, LooksAtTheShownLayersAndWithoutAnyAtAll)
{
    const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(2));
    EditorState state = stateAround5(5);
    state.timelinePinnedLayerIDs = {idOf(2)};
    EXPECT_EQ(selectAllAtPlayhead(state), TimelineSelection{clip});
    state.timelinePinnedLayerIDs.clear();
    EXPECT_EQ(selectAllAtPlayhead(state).size(), 5u);
    state.selectedLayerIDs = {idOf(99)};
    EXPECT_TRUE(selectAllAtPlayhead(state).empty()) << "a layer that is gone shows nothing";
}

TEST(SelectAllAtPlayhead, LeavesOutWhatTheZoomedWindowDoesNotShow)
{
    EditorState state = stateAround5(5);
    state.zoomedIn = true;
    state.viewportStart = 5.01; // Up to 7.51: the moments at 5 lie before it, and the first span ends before it.
    EXPECT_EQ(selectAllAtPlayhead(state),
              (TimelineSelection{TimelineItemRef::span(idOf(1), idOf(14)), TimelineItemRef::videoClip(idOf(2))}));
    state.viewportStart = 5.00005;
    EXPECT_EQ(selectAllAtPlayhead(state).size(), 5u) << "a ten-thousandth of slack";
}

TEST(SelectAllAtPlayhead, ASceneOfNoFrameRateCountsAsOneFrameASecond)
{
    EditorState state = stateAround5(5.4);
    TweenScene scene = state.scene();
    scene.fps = 0;
    state.document.setScene(scene);
    EXPECT_TRUE(selectAllAtPlayhead(state).contains(b));
}

TEST(DeleteTimelineSelection, IsNamedByWhatIsDeleted)
{
    struct Case {
        TimelineSelection selection;
        const char* name;
    };
    const TimelineItemRef tail = TimelineItemRef::waitTail(idOf(1), idOf(13));
    for (const Case& test : {Case{{a}, "Delete Span"}, Case{{b}, "Delete Pulse"}, Case{{c}, "Delete Keyframe"},
                             Case{{TimelineItemRef::videoClip(idOf(2))}, "Delete Video Clip"}, Case{{tail}, "Clear Wait"},
                             Case{{a, b, c}, "Delete 3 Timeline Items"}, Case{{c, tail}, "Delete 2 Timeline Items"}}) {
        SCOPED_TRACE(test.name);
        EditorState state = stateAround5(5);
        state.timelineSelection = test.selection;
        const auto edit = deleteTimelineSelection(state);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, test.name);
        EXPECT_EQ(edit->selection.timeline, TimelineSelection());
    }
    EXPECT_FALSE(deleteTimelineSelection(stateAround5(5)));
}

TEST(DeleteTimelineSelection, CountsTheItemsThatAreThereAndIsNoEditWithoutAny)
{
    EditorState state = stateAround5(5);
    state.timelineSelection = {TimelineItemRef::span(idOf(1), idOf(99)), TimelineItemRef::pulse(idOf(77), idOf(12))};
    EXPECT_FALSE(deleteTimelineSelection(state));
    state.timelineSelection.insert(b);
    EXPECT_EQ(deleteTimelineSelection(state)->actionName, "Delete Pulse");
}

TEST(DeleteTimelineSelection, AWaitThatIsNoneIsNoEdit)
{
    EditorState state;
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(11, 2)};
    state.document.setScene(sceneOf({layer}));
    state.timelineSelection = {TimelineItemRef::waitTail(idOf(1), idOf(11))};
    EXPECT_FALSE(deleteTimelineSelection(state));
}

TEST(DeleteTimelineSelection, RemovesItemsAndKeepsTheVideoAndTheKeyframeOfAWait)
{
    TweenScene scene = stateAround5(5).scene();
    applyTimelineDeletes({a, b, TimelineItemRef::videoClip(idOf(2)), TimelineItemRef::waitTail(idOf(1), idOf(13))}, scene);
    const Layer& layer = *findLayer(scene, idOf(1));
    EXPECT_EQ(layer.spans.size(), 2u);
    EXPECT_FALSE(findSpan(layer, idOf(11)));
    EXPECT_TRUE(layer.pulses.empty());
    ASSERT_EQ(layer.keyframes.size(), 1u);
    EXPECT_EQ(layer.keyframes[0].wait, 0);
    const VideoClip& clip = *findVideoClip(scene, idOf(2));
    EXPECT_EQ((ItemTimes{clip.sceneStart, clip.sceneEnd}), (ItemTimes{0, 0}));
}

TEST(DeleteTimelineSelection, AWaitTailAndItsKeyframeTogetherRemoveTheKeyframe)
{
    TweenScene scene = stateAround5(5).scene();
    applyTimelineDeletes({c, TimelineItemRef::waitTail(idOf(1), idOf(13))}, scene);
    EXPECT_TRUE(findLayer(scene, idOf(1))->keyframes.empty());
}

TEST(DeleteTimelineSelection, DeadReferencesAndClipsOfOtherKindsLeaveEverythingAsItIs)
{
    const TweenScene before = stateAround5(5).scene();
    TweenScene scene = before;
    applyTimelineDeletes({TimelineItemRef::span(idOf(1), idOf(99)), TimelineItemRef::pulse(idOf(77), idOf(12)),
                          TimelineItemRef::videoClip(idOf(1))},
                         scene);
    EXPECT_EQ(scene, before);
}

} // namespace
} // namespace larkspool
