#include "timeline/span_in_out.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

const TimelineItemRef spanA = TimelineItemRef::span(idOf(1), idOf(10)), spanB = TimelineItemRef::span(idOf(1), idOf(11)),
                      pulse = TimelineItemRef::pulse(idOf(1), idOf(12)), clip = TimelineItemRef::videoClip(idOf(2));

/// 10 seconds: spans 2–4 and 5–8, a pulse at 9, a clip at 3–6 from 1 of its source on.
EditorState stateAt(double playhead, TimelineSelection selection)
{
    Layer layer{.id = idOf(1), .spans = {spanOf(10, 2, 4), spanOf(11, 5, 8)}, .pulses = {pulseOf(12, 9)}};
    EditorState state{.playhead = playhead, .timelineSelection = std::move(selection)};
    state.document.setScene(sceneOf({layer, videoOf(2, {.sceneStart = 3, .sceneEnd = 6, .sourceStart = 1}, 2)}));
    return state;
}

TEST(InOutTargets, AreTheSelectedSpansElseThePrimaryOneAndTheSelectedClips)
{
    EditorState state = stateAt(0, {spanA, spanB, pulse, clip});
    state.selectedSpanID = idOf(77);
    EXPECT_EQ(collectInOutTargetSpanIDs(state), (std::unordered_set<UUID>{idOf(10), idOf(11)}));
    EXPECT_EQ(collectInOutTargetVideoClipLayerIDs(state), LayerIDs{idOf(2)});
    state.timelineSelection = {pulse};
    EXPECT_EQ(collectInOutTargetSpanIDs(state), std::unordered_set<UUID>{idOf(77)});
    EXPECT_TRUE(collectInOutTargetVideoClipLayerIDs(state).empty());
    state.selectedSpanID.reset();
    EXPECT_TRUE(collectInOutTargetSpanIDs(state).empty());
}

TEST(SetInOut, MovesOneEndToThePlayheadAndLeavesTheOther)
{
    struct Case {
        const char* when;
        InOutPoint point;
        double playhead;
        std::optional<ItemTimes> after; ///< Of span 2–4; nothing for no edit.
    };
    using enum InOutPoint;
    for (const Case& c :
         {Case{"in, inside", in, 3, ItemTimes{3, 4}}, Case{"in, before the span", in, 0.5, ItemTimes{0.5, 4}},
          Case{"in, at the very end", in, 4, ItemTimes{4, 4}}, Case{"in, just behind the end", in, 4.0003, std::nullopt},
          Case{"in, behind the end", in, 5, std::nullopt}, Case{"in, where it is", in, 2, std::nullopt},
          Case{"out, inside", out, 3, ItemTimes{2, 3}}, Case{"out, behind the span", out, 7, ItemTimes{2, 7}},
          Case{"out, at the very start", out, 2, ItemTimes{2, 2}}, Case{"out, just before the start", out, 1.9997, std::nullopt},
          Case{"out, before the start", out, 1, std::nullopt}, Case{"out, where it is", out, 4, std::nullopt},
          Case{"in, before the scene", in, -3, ItemTimes{0, 4}}, Case{"out, behind the scene", out, 13, ItemTimes{2, 10}}}) {
        SCOPED_TRACE(c.when);
        const auto edit = applySpanInOut(stateAt(c.playhead, {spanA}), c.point, {});
        EXPECT_EQ(edit ? timesOf(edit->edit.scene, spanA) : std::nullopt, c.after);
        if (!edit) continue;
        EXPECT_EQ(edit->edit.actionName, c.point == in ? "Set In" : "Set Out");
        EXPECT_EQ(timesOf(edit->edit.scene, spanB), (ItemTimes{5, 8}));
    }
}

TEST(SetInOut, SkipsTheTargetsThatCannotTakeThePlayhead)
{
    const auto edit = applySpanInOut(stateAt(5.5, {spanA, spanB, clip}), InOutPoint::in, {});
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesOf(edit->edit.scene, spanA), (ItemTimes{2, 4}));
    EXPECT_EQ(timesOf(edit->edit.scene, spanB), (ItemTimes{5.5, 8}));
    EXPECT_EQ(timesOf(edit->edit.scene, clip), (ItemTimes{5.5, 6}));
}

TEST(SetInOut, TakesThePrimarySpanWithNoneSelected)
{
    EditorState state = stateAt(3, {pulse});
    state.selectedSpanID = idOf(10);
    const auto edit = applySpanInOut(state, InOutPoint::in, {TimelineRippleMode::both, {}});
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesOf(edit->edit.scene, spanA), (ItemTimes{3, 4})) << "and it does not ripple itself";
}

TEST(SetInOut, AnInvertedSpanCanBeSetRight)
{
    EditorState state = stateAt(3, {spanA});
    TweenScene scene = state.scene();
    scene.layers.edit()[0].spans = {spanOf(10, 6, 4)};
    state.document.setScene(scene);
    EXPECT_EQ(timesOf(applySpanInOut(state, InOutPoint::in, {})->edit.scene, spanA), (ItemTimes{3, 4}));
    EXPECT_FALSE(applySpanInOut(state, InOutPoint::out, {}));
}

TEST(SetInOut, AClipKeepsItsPictureInPlaceAsFarAsItsSourceReaches)
{
    struct Case {
        const char* when;
        InOutPoint point;
        double playhead;
        ItemTimes after;
        double sourceStart;
    };
    using enum InOutPoint;
    for (const Case& c : {Case{"in, later", in, 4.5, {4.5, 6}, 2.5}, Case{"in, earlier", in, 2.5, {2.5, 6}, 0.5},
                          Case{"in, before the source begins", in, 1, {1, 6}, 0}, Case{"out, earlier", out, 5, {3, 5}, 1},
                          Case{"out, later", out, 7, {3, 7}, 1}}) {
        SCOPED_TRACE(c.when);
        const auto edit = applySpanInOut(stateAt(c.playhead, {clip}), c.point, {});
        ASSERT_TRUE(edit);
        EXPECT_EQ(timesOf(edit->edit.scene, clip), c.after);
        EXPECT_EQ(findVideoClip(edit->edit.scene, idOf(2))->sourceStart, c.sourceStart);
    }
}

TEST(SetInOut, RippleGoesTheWayOfTheEdgeFromWhereItWas)
{
    // Setting out of span 2–4 at 4.5: what begins at 4 or after moves by 0.5, what begins before does so for `before`.
    struct Case {
        TimelineRippleMode mode;
        ItemTimes spanB, clip;
        double pulse;
        std::vector<std::size_t> counts;
    };
    using enum TimelineRippleMode;
    for (const Case& c : {Case{none, {5, 8}, {3, 6}, 9, {}}, Case{after, {5.5, 8.5}, {3, 6}, 9.5, {2}},
                          Case{before, {5, 8}, {3.5, 6.5}, 9, {1}}, Case{both, {5.5, 8.5}, {3.5, 6.5}, 9.5, {3}}}) {
        SCOPED_TRACE(label(c.mode));
        const auto edit = applySpanInOut(stateAt(4.5, {spanA}), InOutPoint::out, {c.mode, {}});
        ASSERT_TRUE(edit);
        EXPECT_EQ(timesOf(edit->edit.scene, spanA), (ItemTimes{2, 4.5}));
        EXPECT_EQ(timesOf(edit->edit.scene, spanB), c.spanB);
        EXPECT_EQ(timesOf(edit->edit.scene, clip), c.clip);
        EXPECT_EQ(timesOf(edit->edit.scene, pulse)->start, c.pulse);
        EXPECT_EQ(edit->rippled, c.counts);
    }
}

TEST(SetInOut, RippleLeavesTheSelectionAndOtherLayersAndGoesFromTheEarliestEdge)
{
    // In at 3.5 for the span from 2 and the clip from 3: the others go by 1.5.
    const auto edit = applySpanInOut(stateAt(3.5, {spanA, clip, pulse}), InOutPoint::in, {TimelineRippleMode::after, {}});
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesOf(edit->edit.scene, spanA), (ItemTimes{3.5, 4}));
    EXPECT_EQ(timesOf(edit->edit.scene, clip), (ItemTimes{3.5, 6}));
    EXPECT_EQ(timesOf(edit->edit.scene, pulse)->start, 9);
    EXPECT_EQ(timesOf(edit->edit.scene, spanB), (ItemTimes{6.5, 9.5}));
    const auto scoped = applySpanInOut(stateAt(3.5, {spanA}), InOutPoint::in, {TimelineRippleMode::after, LayerIDs{idOf(2)}});
    EXPECT_EQ(timesOf(scoped->edit.scene, spanB), (ItemTimes{5, 8}));
    EXPECT_EQ(timesOf(scoped->edit.scene, clip), (ItemTimes{4.5, 7.5}));
}

TEST(SetInOut, EffectsAreRefit)
{
    EditorState state = stateAt(3, {spanA});
    TweenScene scene = state.scene();
    TimeSpan span = spanOf(10, 2, 4);
    span.effects = {SpanEffect{.id = idOf(60), .duration = 2}};
    scene.layers.edit()[0].spans = {span};
    state.document.setScene(scene);
    const auto edit = applySpanInOut(state, InOutPoint::in, {});
    ASSERT_TRUE(edit);
    EXPECT_EQ(findSpan(edit->edit.scene, idOf(1), idOf(10))->effects[0].duration, 1);
}

TEST(SetInOut, IsRefusedWithoutATargetATimeOrADuration)
{
    const RippleSetting ripple{TimelineRippleMode::both, {}};
    for (const InOutPoint point : {InOutPoint::in, InOutPoint::out}) {
        EXPECT_FALSE(applySpanInOut(stateAt(3, {}), point, ripple));
        EXPECT_FALSE(applySpanInOut(stateAt(3, {pulse}), point, ripple));
        EXPECT_FALSE(applySpanInOut(stateAt(3, {TimelineItemRef::span(idOf(1), idOf(99))}), point, ripple));
        EXPECT_FALSE(applySpanInOut(stateAt(3, {TimelineItemRef::videoClip(idOf(1))}), point, ripple)) << "no video layer";
        EXPECT_FALSE(applySpanInOut(stateAt(notANumber, {spanA}), point, ripple));
        EditorState empty = stateAt(0, {spanA});
        TweenScene scene = empty.scene();
        scene.duration = 0;
        empty.document.setScene(scene);
        EXPECT_FALSE(applySpanInOut(empty, point, ripple));
    }
}

} // namespace
} // namespace larkspool
