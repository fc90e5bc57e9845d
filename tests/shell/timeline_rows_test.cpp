#include "support/random_timeline.h"
#include "support/test_editor.h"
#include "timeline/aggregate_tracks.h"
#include "timeline/keyframe_tracks.h"
#include "timeline/pulses_track.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

// The rows of keyframes, clips and pulses and those that stand for the whole scene, used by hand. 100 points are a second.

namespace larkspool {
namespace {

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const TimelineItemRef keyframeA = TimelineItemRef::keyframe(idOf(1), idOf(11));
const TimelineItemRef keyframeB = TimelineItemRef::keyframe(idOf(2), idOf(21));
const TimelineItemRef tailA = TimelineItemRef::waitTail(idOf(1), idOf(11));
const TimelineItemRef pulseA = TimelineItemRef::pulse(idOf(1), idOf(12));
const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(3));

/// 10 seconds. Layer 1: a keyframe at 3 with a wait of 1, a pulse at 5. Layer 2: a keyframe at 3. Layer 3: a clip 6–8 that
/// plays a source of 5 seconds from its second 1 on.
TweenScene makeRowsScene()
{
    const Layer first{.id = idOf(1),
                      .keyframes = {Keyframe{.id = idOf(11), .time = 3, .wait = 1}},
                      .pulses = {Pulse{.id = idOf(12), .time = 5}}};
    const Layer second{.id = idOf(2), .keyframes = {Keyframe{.id = idOf(21), .time = 3}}};
    Layer film{.id = idOf(3), .kind = Layer::Kind::video};
    film.videoClip = {.id = idOf(31), .sceneStart = 6, .sceneEnd = 8, .sourceStart = 1};
    film.videoDuration = 5;
    film.videoURL = "/films/a.mp4";
    TweenScene scene{.id = idOf(100), .duration = 10};
    scene.layers = {first, second, film};
    return scene;
}

/// The same one each time, identifiers that play no part included.
const TweenScene& rowsScene()
{
    static const TweenScene scene = makeRowsScene();
    return scene;
}

TEST(KeyframeRow, AStrayOf2PointsOnADiamondOr3OnATailIsATap)
{
    struct Case {
        const char* what;
        TimelineItemRef item;
        double points;
        std::optional<UUID> primary;
    };
    for (const Case& c : {Case{"a diamond", keyframeA, 2, idOf(11)}, Case{"a tail", tailA, 3, std::nullopt}}) {
        SCOPED_TRACE(c.what);
        TestEditor editor(rowsScene());
        editor.press(c.item).movePoints(c.points).movePoints(-c.points).release();
        EXPECT_EQ(editor.scene(), rowsScene());
        EXPECT_EQ(editor.undoCount(), 0u);
        EXPECT_EQ(editor.state().timelineSelection, TimelineSelection{c.item});
        EXPECT_EQ(editor.state().selectedKeyframeID, c.primary);
        editor.press(c.item).movePoints(c.points + 10).release();
        EXPECT_EQ(editor.undoCount(), 1u) << "farther is a drag";
    }
}

TEST(KeyframeRow, ResizingAWaitIsAStepThatPushesWhatLiesAfterIt)
{
    TestEditor editor(rowsScene());
    editor.ripple(false, true).press(tailA).moveTo(0.5).release();
    EXPECT_EQ(editor.undoName(), "Resize Wait");
    EXPECT_EQ(editor.times(tailA), (ItemTimes{3, 4.5}));
    EXPECT_EQ(editor.times(pulseA)->start, 5.5);
    EXPECT_EQ(editor.times(keyframeB)->start, 3) << "before the hold's end";
    EXPECT_EQ(editor.rippled(), std::vector<std::size_t>{2});
    editor.undo();
    EXPECT_EQ(editor.scene(), rowsScene());
}

TEST(KeyframeRow, KeyframesAreAddedToTheSelectedLayersAtThePlayhead)
{
    TestEditor editor(rowsScene());
    EXPECT_FALSE(editor.view().addKeyframesAtPlayhead()) << "no layer is selected";
    editor.playhead(2).view().selectLayers({idOf(2)});
    EXPECT_TRUE(editor.view().addKeyframesAtPlayhead());
    EXPECT_EQ(editor.undoName(), "Add Keyframes");
    EXPECT_EQ(findLayer(editor.scene(), idOf(2))->keyframes.size(), 10u);
    EXPECT_EQ(editor.state().selectedLayerIDs, LayerIDs{idOf(2)});
    editor.undo();
    EXPECT_EQ(editor.scene(), rowsScene());

    EXPECT_TRUE(editor.view().addKeyframeAtPlayhead(idOf(1), Keyframe::AnimatableProperty::opacity));
    EXPECT_EQ(editor.undoName(), "Add Opacity Keyframe");
    EXPECT_EQ(findLayer(editor.scene(), idOf(1))->keyframes.size(), 2u);
    EXPECT_FALSE(editor.view().addKeyframeAtPlayhead(idOf(9), Keyframe::AnimatableProperty::opacity));
}

TEST(KeyframeRow, AKeyframeAddedAfterADragHasTheValueOfTheMovedOne)
{
    TweenScene scene = rowsScene();
    Keyframe first{.id = idOf(21), .time = 0, .value = 0.0, .easing = Easing::linear()};
    Keyframe last{.id = idOf(22), .time = 4, .value = 100.0};
    editLayer(scene, idOf(2))->keyframes = {first, last};
    TestEditor editor(scene);
    editor.playhead(2).view().addKeyframeAtPlayhead(idOf(2), Keyframe::AnimatableProperty::x);
    EXPECT_EQ(findLayer(editor.scene(), idOf(2))->keyframes[2].value, KeyValue(50.0));
    editor.undo().hold({.command = true}).press(TimelineItemRef::keyframe(idOf(2), idOf(22))).moveTo(4).release();
    editor.view().addKeyframeAtPlayhead(idOf(2), Keyframe::AnimatableProperty::x);
    EXPECT_EQ(findLayer(editor.scene(), idOf(2))->keyframes[2].value, KeyValue(25.0));
}

TEST(PulseRow, APulseIsAddedAtThePlayhead)
{
    TestEditor editor(rowsScene());
    editor.playhead(5);
    EXPECT_TRUE(editor.view().addPulseAtPlayhead(idOf(1)));
    EXPECT_EQ(editor.undoName(), "Add Pulse");
    EXPECT_EQ(findLayer(editor.scene(), idOf(1))->pulses.size(), 2u) << "beside the one that stands there";
    EXPECT_FALSE(editor.view().addPulseAtPlayhead(idOf(9)));
    editor.undo();
    EXPECT_EQ(editor.scene(), rowsScene());
}

TEST(PulseRow, APulseDraggedPastTheEndStopsThere)
{
    TestEditor editor(rowsScene());
    editor.press(pulseA).moveTo(7).release();
    EXPECT_EQ(editor.times(pulseA)->start, 10);
    EXPECT_EQ(editor.undoName(), "Move Pulse");
}

TEST(ClipRow, ATrimShowsThePictureAtItsEdgeUntilItEnds)
{
    for (const bool isCancelled : {false, true}) {
        SCOPED_TRACE(isCancelled ? "cancelled" : "released");
        TestEditor editor(rowsScene());
        editor.hold({.command = true})
            .press({.members = {clip}, .handle = DragHandle::leftEdge, .trackOrigin = {40, 25}})
            .movePoints(1);
        EXPECT_FALSE(editor.view().videoTrimOverlay()) << "this may be a tap";
        editor.movePoints(50);
        EXPECT_EQ(editor.view().videoTrimOverlay(), (VideoTrimOverlayState{690, 25, 1.5, 5, "/films/a.mp4"}));
        editor.movePoints(-300);
        EXPECT_EQ(editor.view().videoTrimOverlay(), (VideoTrimOverlayState{540, 25, 0, 5, "/films/a.mp4"}));
        if (isCancelled)
            editor.view().cancelTimelinePress();
        else
            editor.release();
        EXPECT_FALSE(editor.view().videoTrimOverlay());
        EXPECT_EQ(editor.undoName(), isCancelled ? "" : "Trim Clip");
    }
}

TEST(ClipRow, TheTrimsPictureStandsWhereTheZoomedTimelineShowsTheEdge)
{
    TestEditor editor(rowsScene());
    editor.view().setTimelineZoom(true);
    editor.view().scrollTimeline(6);
    editor.hold({.command = true}).press(clip, DragHandle::rightEdge).movePoints(-200); // Half a second.
    EXPECT_EQ(editor.view().videoTrimOverlay(), (VideoTrimOverlayState{600, 0, 2.5, 5, "/films/a.mp4"})) << "1.5 of 2.5 seconds";
}

TEST(ClipRow, AMoveShowsNoPicture)
{
    TestEditor editor(rowsScene());
    editor.press(clip).moveTo(1);
    EXPECT_FALSE(editor.view().videoTrimOverlay());
    editor.release();
    EXPECT_EQ(editor.undoName(), "Move Clip");
}

TEST(AggregateRow, ATapIsOnAllItemsOfTheGroupOneByOne)
{
    TestEditor editor(rowsScene());
    const auto groups = AggregateKeyframesTrack::groups(rowsScene());
    ASSERT_EQ(groups.size(), 1u);
    editor.pressGroup(groups[0].members()).release();
    EXPECT_EQ(editor.state().timelineSelection, (TimelineSelection{keyframeA, keyframeB}));
    EXPECT_EQ(editor.state().selectedKeyframeID, std::nullopt) << "none of the two is the primary one";
    editor.pressGroup(groups[0].members()).release();
    EXPECT_TRUE(editor.state().timelineSelection.empty());

    editor.select({keyframeA}).hold({.command = true}).pressGroup(groups[0].members()).release();
    EXPECT_EQ(editor.state().timelineSelection, (TimelineSelection{keyframeA, keyframeB})) << "the rest is added";
    editor.pressGroup(groups[0].members()).release();
    EXPECT_TRUE(editor.state().timelineSelection.empty());
}

TEST(AggregateRow, AGroupMovesByOneWayWithTheRestOfTheSelectionAsOneStep)
{
    TestEditor editor(rowsScene());
    const auto group = AggregateKeyframesTrack::groups(rowsScene())[0];
    editor.hold({.command = true}).select({keyframeA, keyframeB, pulseA});
    editor.pressGroup(group.members()).moveTo(1.25).release();
    EXPECT_EQ(editor.times(keyframeA)->start, 4.25);
    EXPECT_EQ(editor.times(keyframeB)->start, 4.25);
    EXPECT_EQ(editor.times(pulseA)->start, 6.25);
    EXPECT_EQ(editor.times(clip), (ItemTimes{6, 8}));
    EXPECT_EQ(editor.undoName(), "Move Keyframes");
    EXPECT_EQ(AggregateKeyframesTrack::groups(editor.scene())[0].stableID, group.stableID);
    editor.undo();
    EXPECT_EQ(editor.scene(), rowsScene());
}

TEST(AggregateRow, RippleLeavesTheGroupsItemsToTheDrag)
{
    TestEditor editor(rowsScene());
    editor.ripple(true, true).hold({.command = true});
    editor.pressGroup(AggregateKeyframesTrack::groups(rowsScene())[0].members()).moveTo(1).release();
    EXPECT_EQ(editor.times(keyframeA)->start, 4) << "once, not twice";
    EXPECT_EQ(editor.times(keyframeB)->start, 4);
    EXPECT_EQ(editor.times(pulseA)->start, 6);
    EXPECT_EQ(editor.rippled(), std::vector<std::size_t>{2});
}

/// A random bar or marker of a random aggregate row, if there is one.
std::optional<DragPress> anyGroup(const TweenScene& scene, RandomTimeline& random)
{
    const auto pick = [&](const auto& groups) -> std::optional<DragPress> {
        if (groups.empty()) return std::nullopt;
        return groups[random.index(groups.size())].press(static_cast<DragHandle>(random.index(3)));
    };
    switch (random.index(4)) {
    case 0: return pick(AggregateSpansTrack::groups(scene));
    case 1: return pick(AggregateVideoTrack::groups(scene));
    case 2: return pick(AggregateKeyframesTrack::groups(scene));
    default: return pick(AggregatePulsesTrack::groups(scene));
    }
}

/// One random thing that a person might do in the rows.
void useRowsAtRandom(TestEditor& editor, RandomTimeline& random)
{
    const TweenScene scene = editor.scene();
    std::vector<UUID> layers;
    walkLayers(scene.layers, [&](const Layer& layer) { layers.push_back(layer.id); });
    const UUID layer = layers[random.index(layers.size())];
    editor.ripple(random.chance(2), random.chance(2)).playhead(random.time());
    editor.hold({.command = random.chance(2)});
    if (random.chance(4)) editor.select(random.selection(scene));
    switch (random.index(6)) {
    case 0: editor.view().addPulseAtPlayhead(layer); break;
    case 1:
        editor.view().addKeyframeAtPlayhead(
            layer, static_cast<Keyframe::AnimatableProperty>(random.index(Keyframe::animatablePropertyCount)));
        break;
    case 2:
        editor.view().selectLayers({layer, layers[random.index(layers.size())]});
        editor.view().addKeyframesAtPlayhead();
        break;
    default:
        const std::optional<DragPress> group = anyGroup(scene, random);
        if (!group) break;
        editor.press(*group);
        for (int i = 0; i < 3; ++i) editor.moveTo(random.between(-6, 6));
        editor.release();
    }
}

TEST(TimelineRows, WhateverIsDoneIdsStayUniqueEffectsFitAndUndoGivesTheSceneBefore)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        TestEditor editor(random.scene());
        std::vector<TweenScene> states{editor.scene()};
        for (int i = 0; i < 30; ++i) {
            const std::size_t steps = editor.undoCount();
            useRowsAtRandom(editor, random);
            RC_ASSERT(idsAreUnique(editor.scene()));
            RC_ASSERT(effectsFitTheirSpans(editor.scene()));
            RC_ASSERT(!editor.view().videoTrimOverlay() && !editor.snapTime());
            if (editor.undoCount() > steps) states.push_back(editor.scene());
            RC_ASSERT(editor.undoCount() + 1 == states.size());
            RC_ASSERT(editor.scene() == states.back());
        }
        for (std::size_t i = states.size(); i-- > 1;) {
            RC_ASSERT(editor.scene() == states[i]);
            editor.undo();
        }
        RC_ASSERT(editor.scene() == states[0]);
    }));
}

} // namespace
} // namespace larkspool
