#include "export/segments.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using namespace Exporter;

TweenScene scene(double duration, double endPause = 0, std::optional<SceneTransition> transition = {})
{
    return {.duration = duration, .endPause = endPause, .transition = transition};
}

SceneTransition fade(double duration)
{
    return {SceneTransition::Kind::fade, duration};
}

TEST(ExportPlan, NoScenesComeToNothing)
{
    const ExportPlan plan = planExport({});
    EXPECT_EQ(plan.totalDuration, 0);
    EXPECT_TRUE(plan.segments.empty());
    EXPECT_EQ(segmentAt(plan.segments, 0), nullptr);
}

TEST(ExportPlan, ScenesPausesAndTransitionsFollowOneAnother)
{
    const ExportPlan plan = planExport({scene(2, 0.5, SceneTransition{SceneTransition::Kind::push, 0.75}), scene(3), scene(1, 1)});
    EXPECT_EQ(plan.totalDuration, 8.25);
    EXPECT_THAT(plan.segments, testing::ElementsAre(ExportSegment(SceneSegment{0, 0, 2.5}),
                                                    ExportSegment(TransitionSegment{0, 2.5, 3.25, SceneTransition::Kind::push}),
                                                    ExportSegment(SceneSegment{1, 3.25, 6.25}), ExportSegment(SceneSegment{2, 6.25, 8.25})));
}

TEST(ExportPlan, WhatIsNoTransitionIsACut)
{
    struct Case { const char* what; Array<TweenScene> scenes; std::size_t segments; };
    for (const Case& c : {Case{"on the last scene", {scene(1, 0, fade(1))}, 1}, Case{"of no length", {scene(1, 0, fade(0)), scene(1)}, 2},
                          Case{"of a negative length", {scene(1, 0, fade(-2)), scene(1)}, 2},
                          Case{"of no number", {scene(1, 0, fade(std::nan(""))), scene(1)}, 2}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(planExport(c.scenes).segments.size(), c.segments);
    }
}

TEST(ExportPlan, ANegativePauseIsNone)
{
    EXPECT_EQ(planExport({scene(2, -1)}).totalDuration, 2);
}

TEST(ExportPlan, ASegmentIsFoundFromABillionthOfASecondBeforeItsStart)
{
    const ExportPlan plan = planExport({scene(2, 0, fade(1)), scene(2)});
    struct Case { double time; std::size_t segment; };
    for (const Case& c : {Case{-5, 0}, Case{0, 0}, Case{1.9, 0}, Case{2 - 2e-9, 0}, Case{2 - 0.5e-9, 1}, Case{2, 1}, Case{3, 2}, Case{99, 2}})
        EXPECT_EQ(segmentAt(plan.segments, c.time), &plan.segments[c.segment]) << c.time;
}

TEST(ExportPlan, ASceneHoldsItsLastMomentDuringItsPause)
{
    const SceneSegment segment{.index = 0, .start = 10, .end = 13};
    const TweenScene two = scene(2, 1);
    struct Case { double time, local; };
    for (const Case& c : {Case{9, 0}, Case{10, 0}, Case{11.5, 1.5}, Case{12, 2}, Case{12.7, 2}}) EXPECT_EQ(localTime(segment, two, c.time), c.local);
}

TEST(ExportPlan, ATransitionRunsEvenly)
{
    const TransitionSegment segment{.outIndex = 0, .start = 4, .end = 6, .kind = SceneTransition::Kind::fade};
    struct Case { double time, progress; };
    for (const Case& c : {Case{3, 0}, Case{4, 0}, Case{4.5, 0.25}, Case{6, 1}, Case{7, 1}}) EXPECT_EQ(transitionProgress(segment, c.time), c.progress);
    const TransitionSegment instant{.outIndex = 0, .start = 4, .end = 4, .kind = SceneTransition::Kind::fade};
    EXPECT_NEAR(transitionProgress(instant, 4.0005), 0.5, 1e-9); // It counts as a thousandth of a second long.
}

} // namespace
} // namespace larkspool
