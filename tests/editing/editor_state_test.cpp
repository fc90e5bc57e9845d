#include "editing/editor_state.h"

#include "editing/editing_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

const TimelineItemRef span = TimelineItemRef::span(idOf(2), idOf(5));
const TimelineItemRef keyframe = TimelineItemRef::keyframe(idOf(2), idOf(6));

EditorState selectedState()
{
    EditorState state;
    TweenScene scene;
    scene.layers = {Layer{.id = idOf(2), .keyframes = {Keyframe{.id = idOf(6)}}, .spans = {TimeSpan{.id = idOf(5)}}}};
    state.document.setScene(scene);
    state.selectedLayerIDs = {idOf(2)};
    state.timelineSelection = {span, keyframe};
    state.selectedSpanID = idOf(5);
    state.selectedKeyframeID = idOf(6);
    return state;
}

TEST(EditorState, OtherLayersEmptyTheTimelineSelectionAndThePrimaryItems)
{
    EditorState state = selectedState();
    selectLayers(state, {idOf(3)});
    EXPECT_TRUE(state.timelineSelection.empty());
    EXPECT_FALSE(state.selectedSpanID || state.selectedKeyframeID);
}

TEST(EditorState, TheSameLayersKeepTheTimelineSelection)
{
    EditorState state = selectedState();
    selectLayers(state, {idOf(2)});
    EXPECT_EQ(state.timelineSelection.size(), 2u);
    EXPECT_TRUE(state.selectedSpanID && state.selectedKeyframeID);
}

TEST(EditorState, APrimaryItemThatIsNotSelectedAnyMoreIsCleared)
{
    EditorState state = selectedState();
    selectTimelineItems(state, {keyframe});
    EXPECT_EQ(state.selectedSpanID, std::nullopt);
    EXPECT_EQ(state.selectedKeyframeID, idOf(6));
    selectTimelineItems(state, {TimelineItemRef::waitTail(idOf(2), idOf(6))});
    EXPECT_EQ(state.selectedKeyframeID, std::nullopt) << "a wait tail is not its keyframe";
}

TEST(EditorState, TheSameItemsKeepAPrimaryItemThatIsNotAmongThem)
{
    EditorState state = selectedState();
    state.timelineSelection = {keyframe};
    selectTimelineItems(state, {keyframe});
    EXPECT_EQ(state.selectedSpanID, idOf(5)) << "the rule runs when the selection changes";
}

TEST(EditorState, DeadReferencesGoAndLiveOnesStay)
{
    EditorState state = selectedState();
    state.timelinePinnedLayerIDs = {idOf(2), idOf(8)};
    state.timelineSelection.insert({TimelineItemRef::span(idOf(2), idOf(7)), TimelineItemRef::videoClip(idOf(2)),
                                    TimelineItemRef::waitTail(idOf(2), idOf(6)), TimelineItemRef::pulse(idOf(4), idOf(6))});
    dropDeadReferences(state);
    EXPECT_EQ(state.timelineSelection, (TimelineSelection{span, keyframe, TimelineItemRef::waitTail(idOf(2), idOf(6))}));
    EXPECT_EQ(state.timelinePinnedLayerIDs, LayerIDs{idOf(2)});
    EXPECT_EQ(state.selectedLayerIDs, LayerIDs{idOf(2)});
    EXPECT_EQ(state.selectedSpanID, idOf(5));

    state.document.setScene(TweenScene());
    dropDeadReferences(state);
    EXPECT_TRUE(state.timelineSelection.empty() && state.selectedLayerIDs.empty() && state.timelinePinnedLayerIDs.empty());
    EXPECT_FALSE(state.selectedSpanID || state.selectedKeyframeID);
}

} // namespace
} // namespace larkspool
