#include "timeline/marquee.h"

#include "support/fake_timers.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Band = PerLayerTrackBand;
using enum PerLayerTrackBand::RowKind;

const TimelineItemRef span = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef pulse = TimelineItemRef::pulse(idOf(1), idOf(12));
const TimelineItemRef keyframe = TimelineItemRef::keyframe(idOf(1), idOf(13));
const TimelineItemRef tail = TimelineItemRef::waitTail(idOf(1), idOf(13));
const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(2));

/// Layer 1: a span 2–4, a pulse at 6, a keyframe at 3 that waits for 1. Layer 2: a clip 5–7. 100 points a second from x = 100.
EditorState stateWithRows(double wait = 1)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 2, 4)};
    layer.pulses = {pulseOf(12, 6)};
    layer.keyframes = {keyframeOf(13, 3, wait)};
    EditorState state;
    state.document.setScene(sceneOf({layer, videoOf(2, {.sceneStart = 5, .sceneEnd = 7})}));
    return state;
}

const std::vector<Band> bands{
    {idOf(1), spans, 0, 18}, {idOf(1), pulses, 20, 38}, {idOf(1), keyframes, 40, 58}, {idOf(2), videoClip, 60, 78}};
const std::vector<UUID> layers{idOf(1), idOf(2)};
const TrackMapping mapping = trackMapping(std::nullopt, 10, 84, 1100);

TimelineSelection taken(CGPoint start, CGPoint end, const EditorState& state = stateWithRows(), Modifiers modifiers = {})
{
    return TimelineMarquee(state, start).applyPerLayerMarquee(end, layers, {bands, mapping}, modifiers);
}

TEST(Marquee, TakesWhatItTouchesInWhicheverDirectionItIsDrawn)
{
    const TimelineSelection all{span, pulse, keyframe, tail, clip};
    EXPECT_EQ(taken({0, 0}, {1100, 100}), all);
    EXPECT_EQ(taken({1100, 100}, {0, 0}), all);
    EXPECT_EQ(taken({1100, 0}, {0, 100}), all);
}

TEST(Marquee, OnlyRowsThatItTouchesTakePart)
{
    struct Case {
        const char* where;
        double y0, y1;
        TimelineSelection taken;
    };
    for (const Case& c : {Case{"in the span's row", 5, 6, {span}}, Case{"at its lower edge", 18, 19, {span}},
                          Case{"between rows", 18.5, 19.5, {}}, Case{"two rows", 10, 20, {span, pulse}},
                          Case{"the keyframes' row", 45, 50, {keyframe, tail}}, Case{"the clip's row", 78, 90, {clip}}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(taken({0, c.y0}, {1100, c.y1}), c.taken);
    }
}

TEST(Marquee, ABarIsTakenIfItMeetsTheBoxAndAMarkerWithin6Points)
{
    struct Case {
        const char* where;
        double x0, x1, y;
        bool taken;
    };
    // The span lies at 300–500, the clip at 600–800, the pulse at 700, the keyframe at 400, its tail's end at 500.
    for (const Case& c :
         {Case{"left of the span", 0, 299, 5, false}, Case{"up to its start", 0, 300, 5, true},
          Case{"from its end", 500, 900, 5, true}, Case{"right of it", 501, 900, 5, false}, Case{"within it", 350, 360, 5, true},
          Case{"up to the clip", 0, 600, 70, true}, Case{"left of the clip", 0, 599, 70, false},
          Case{"6 points left of the pulse", 0, 694, 30, true}, Case{"7 points left", 0, 693, 30, false},
          Case{"6 points right", 706, 900, 30, true}, Case{"7 points right", 707, 900, 30, false}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(!taken({c.x0, c.y}, {c.x1, c.y}).empty(), c.taken);
    }
}

TEST(Marquee, ADiamondAndItsTailAreTakenApart)
{
    EXPECT_EQ(taken({394, 50}, {394, 50}), TimelineSelection{keyframe});
    EXPECT_EQ(taken({490, 50}, {600, 50}), TimelineSelection{tail}) << "across the tail alone";
    EXPECT_TRUE(taken({420, 50}, {480, 50}).empty()) << "between the two";
}

TEST(Marquee, AShortWaitHasNoTail)
{
    EXPECT_EQ(taken({0, 50}, {1100, 50}, stateWithRows(0.0005)), TimelineSelection{keyframe});
    EXPECT_EQ(taken({0, 50}, {1100, 50}, stateWithRows(0.001)), TimelineSelection{keyframe});
    EXPECT_EQ(taken({0, 50}, {1100, 50}, stateWithRows(0.0011)).size(), 2u);
}

TEST(Marquee, ShiftAddsToTheSelectionOfItsBeginAndEveryUpdateBeginsAnew)
{
    EditorState state = stateWithRows();
    state.timelineSelection = {clip};
    const TimelineMarquee marquee(state, {0, 0});
    const TimelineMarquee::Rows rows{bands, mapping};
    EXPECT_EQ(marquee.applyPerLayerMarquee({1100, 30}, layers, rows, {.shift = true}), (TimelineSelection{clip, span, pulse}));
    EXPECT_EQ(marquee.applyPerLayerMarquee({1100, 10}, layers, rows, {.shift = true}), (TimelineSelection{clip, span}));
    EXPECT_EQ(marquee.applyPerLayerMarquee({1100, 10}, layers, rows, {}), TimelineSelection{span});
    EXPECT_EQ(marquee.applyPerLayerMarquee({10, 10}, layers, rows, {}), TimelineSelection());
}

TEST(Marquee, LayersThatAreNotListedOrGoneTakeNoPart)
{
    const TimelineMarquee marquee(stateWithRows(), {0, 0});
    const std::vector<UUID> some{idOf(2), idOf(99)};
    EXPECT_EQ(marquee.applyPerLayerMarquee({1100, 100}, some, {bands, mapping}, {}), TimelineSelection{clip});
}

TEST(Marquee, ASceneOfNoDurationSelectsNothing)
{
    EditorState state = stateWithRows();
    TweenScene scene = state.scene();
    scene.duration = 0;
    state.document.setScene(scene);
    const TimelineMarquee::Rows rows{bands, trackMapping(std::nullopt, 0, 84, 1100)};
    EXPECT_TRUE(TimelineMarquee(state, {0, 0}).applyPerLayerMarquee({1100, 100}, layers, rows, {}).empty());
    EXPECT_TRUE(TimelineMarquee(state, {0, 0}).applyAggregateMarquee({1100, 100}, rows, {}).empty());
}

TEST(Marquee, FollowsTheZoomedView)
{
    // From 5 to 7.5 seconds over 1000 points: the pulse at 6 lies at x = 500.
    const TimelineMarquee::Rows rows{bands, trackMapping(TimelineViewport{5, 2.5}, 10, 84, 1100)};
    EXPECT_EQ(TimelineMarquee(stateWithRows(), {495, 30}).applyPerLayerMarquee({499, 30}, layers, rows, {}),
              TimelineSelection{pulse});
}

TEST(Marquee, OverAggregateRowsEveryLayerTakesPartAndNoWaitDoes)
{
    Layer inner{.id = idOf(8)};
    inner.keyframes = {keyframeOf(81, 3, 1)};
    EditorState state = stateWithRows();
    TweenScene scene = state.scene();
    scene.layers.append(Layer{.id = idOf(7), .kind = Layer::Kind::group, .children = {inner}});
    state.document.setScene(scene);
    const std::vector<Band> rows{{{}, spans, 0, 18}, {{}, videoClip, 20, 38}, {{}, keyframes, 40, 58}, {{}, pulses, 60, 78}};
    const TimelineMarquee marquee(state, {0, 30});
    EXPECT_EQ(marquee.applyAggregateMarquee({1100, 50}, {rows, mapping}, {}),
              (TimelineSelection{clip, keyframe, TimelineItemRef::keyframe(idOf(8), idOf(81))}));
}

TEST(MarqueeAutoScroll, RunsFasterTheDeeperTheCursorIsInAZone)
{
    // The track lies at 100–1100 and shows 3 seconds: 2 seconds a second at most.
    const TimelineViewport viewport{4, 3};
    struct Case {
        const char* where;
        double x, speed;
    };
    for (const Case& c : {Case{"in the middle", 600, 0}, Case{"at the left zone's border", 136, 0}, Case{"half way in", 118, -1},
                          Case{"at the left edge", 100, -2}, Case{"left of the track", 0, -2}, Case{"right border", 1064, 0},
                          Case{"half way in, right", 1082, 1}, Case{"beyond the right edge", 2000, 2}}) {
        SCOPED_TRACE(c.where);
        EXPECT_DOUBLE_EQ(marqueeScrollSpeed(c.x, 1100, 84, viewport), c.speed);
    }
    EXPECT_EQ(marqueeScrollSpeed(100, 1100, 84, std::nullopt), 0);
}

TEST(MarqueeAutoScroll, WhereBothZonesMeetTheDeeperOneWinsAndTheRightOneATie)
{
    // A track of 40 points, at 100–140.
    const TimelineViewport viewport{4, 3};
    EXPECT_LT(marqueeScrollSpeed(119, 140, 84, viewport), 0);
    EXPECT_GT(marqueeScrollSpeed(121, 140, 84, viewport), 0);
    EXPECT_GT(marqueeScrollSpeed(120, 140, 84, viewport), 0);
}

TEST(MarqueeAutoScroll, ScrollsThirtyTimesASecondWithinThreeQuartersOfTheScene)
{
    EditorState state = stateWithRows();
    state.zoomedIn = true;
    state.viewportStart = 7.3;
    FakeTimers timers;
    MarqueeAutoScroll scroll(timers, [&](double seconds) { scrollViewport(state, seconds); });
    scroll.updateMarqueeAutoScroll(1.5);
    EXPECT_TRUE(scroll.isRunning());
    timers.pass(1.0 / 30);
    EXPECT_DOUBLE_EQ(state.viewportStart, 7.35);
    timers.pass(1);
    EXPECT_DOUBLE_EQ(state.viewportStart, 7.5);
    scroll.updateMarqueeAutoScroll(-3);
    timers.pass(1.0 / 30);
    EXPECT_DOUBLE_EQ(state.viewportStart, 7.4);
    scroll.updateMarqueeAutoScroll(0);
    EXPECT_FALSE(scroll.isRunning());
    EXPECT_EQ(scroll.speed(), 0);
    EXPECT_EQ(timers.running(), 0u);
    timers.pass(1);
    EXPECT_DOUBLE_EQ(state.viewportStart, 7.4);
}

TEST(MarqueeAutoScroll, ASceneOfNoDurationDoesNotScroll)
{
    EditorState state = stateWithRows();
    state.document.setScene(sceneOf({}, 0));
    state.viewportStart = 3;
    scrollViewport(state, 1);
    EXPECT_EQ(state.viewportStart, 3);
}

} // namespace
} // namespace larkspool
