#include "timeline/timeline_geometry.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

EditorState stateOf(double duration, bool zoomedIn, double viewportStart)
{
    EditorState state;
    state.document.setScene(TweenScene{.duration = duration});
    state.zoomedIn = zoomedIn;
    state.viewportStart = viewportStart;
    return state;
}

TEST(TimelineViewport, AZoomedTimelineShowsAQuarterOfTheScene)
{
    EXPECT_EQ(activeViewport(stateOf(8, false, 3)), std::nullopt);

    struct Case {
        const char* when;
        double stored, start;
    };
    for (const Case& c : {Case{"within", 3, 3}, Case{"before the scene", -1, 0}, Case{"the last quarter", 6, 6},
                          Case{"beyond three quarters", 7, 6}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(activeViewport(stateOf(8, true, c.stored)), (TimelineViewport{c.start, 2}));
    }
}

TEST(TimelineViewport, ASceneOfNoDurationHasAnEmptyOne)
{
    EXPECT_EQ(activeViewport(stateOf(0, true, 3)), (TimelineViewport{0, 0}));
}

TEST(TrackMapping, RunsFromTheTrackSLeftOverItsWidth)
{
    // A label of 84 and the margins of 16 leave 1000 of 1100 points.
    const TrackMapping whole = trackMapping(std::nullopt, 10, 84, 1100);
    EXPECT_DOUBLE_EQ(whole.x(0), 100);
    EXPECT_DOUBLE_EQ(whole.x(2.5), 350);
    EXPECT_DOUBLE_EQ(whole.time(350), 2.5);

    const TrackMapping zoomed = trackMapping(TimelineViewport{5, 2.5}, 10, 84, 1100);
    EXPECT_DOUBLE_EQ(zoomed.x(6), 500);
    EXPECT_DOUBLE_EQ(zoomed.time(500), 6);
    EXPECT_DOUBLE_EQ(zoomed.seconds(-400), -1);
}

TEST(TrackMapping, ANarrowContainerLeavesATrackOfOnePoint)
{
    EXPECT_EQ(trackMapping(std::nullopt, 10, 84, 50).width, 1);
    EXPECT_FALSE(trackMapping(std::nullopt, 0, 84, 1100).isUsable());
}

TEST(TimeTickRail, TheStepIsTheFirstThatKeepsTicks36PointsApart)
{
    // Widths for a view of 1000 seconds, so that a second is width / 1000 points.
    struct Case {
        const char* when;
        double width, step;
    };
    for (const Case& c : {Case{"36 points a second", 36'000, 1}, Case{"a little less", 35'999, 2}, Case{"18 points", 18'000, 2},
                          Case{"7.2 points", 7'200, 5}, Case{"3.6 points", 3'600, 10}, Case{"2.4 points", 2'400, 15},
                          Case{"1.2 points", 1'200, 30}, Case{"0.6 points", 600, 60}, Case{"0.3 points", 300, 120},
                          Case{"0.12 points", 120, 300}, Case{"less than any step serves", 119, 600}, Case{"no width", 0, 600}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(TimeTickRail::step(c.width, 1000), c.step);
    }
}

TEST(TimeTickRail, ThereAreNoTicksBelowOneSecond)
{
    EXPECT_EQ(TimeTickRail::step(10'000, 0.5), 1);
    EXPECT_EQ(TimeTickRail::step(10'000, 0), 1) << "the visible seconds are held at a thousandth";
}

TEST(TimeTickRail, TicksStandAtMultiplesOfTheStepWithinTheView)
{
    EXPECT_EQ(TimeTickRail::ticks(100, {0, 4}), (std::vector<double>{0, 2, 4})) << "25 points a second: steps of 2";
    EXPECT_EQ(TimeTickRail::ticks(1000, {2.5, 2.5}), (std::vector<double>{3, 4, 5}));
    EXPECT_EQ(TimeTickRail::ticks(1000, {2.2, 0.5}), std::vector<double>());
}

TEST(TimeTickRail, AnEndlessSceneNeedsNoEndlessTicks)
{
    EXPECT_TRUE(TimeTickRail::ticks(1000, {0, 1e300}).empty());
    EXPECT_TRUE(TimeTickRail::ticks(1000, {0, std::numeric_limits<double>::infinity()}).empty());
    EXPECT_EQ(TimeTickRail::ticks(1000, {0, 600 * 9'999.0}).size(), 10'000u);
}

TEST(TimeTickRail, APressMovesThePlayheadWithinTheScene)
{
    EXPECT_DOUBLE_EQ(TimeTickRail::time(250, 1000, {0, 10}, 10), 2.5);
    EXPECT_DOUBLE_EQ(TimeTickRail::time(250, 1000, {5, 2.5}, 10), 5.625);
    EXPECT_EQ(TimeTickRail::time(-20, 1000, {0, 10}, 10), 0);
    EXPECT_EQ(TimeTickRail::time(1200, 1000, {0, 10}, 10), 10);
    EXPECT_EQ(TimeTickRail::time(250, 0, {0, 10}, 10), 10) << "a rail without width counts as one point wide";
    EXPECT_EQ(TimeTickRail::time(250, 1000, {0, 0}, 0), 0);
}

TEST(TimecodeBubble, ShowsSecondsAndTheRoundedFrame)
{
    struct Case {
        double time, fps;
        const char* text;
    };
    for (const Case& c : {Case{1.5, 60, "1.50s · f90"}, Case{0, 60, "0.00s · f0"}, Case{1.26, 30, "1.26s · f38"},
                          Case{2, 0, "2.00s · f0"}, Case{-1, 60, "-1.00s · f0"}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(timecodeBubble(c.time, c.fps), c.text);
    }
}

} // namespace
} // namespace larkspool
