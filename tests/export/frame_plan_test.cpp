#include "export/frame_plan.h"

#include <array>
#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using ExporterGPU::FramePlan;
using ExporterGPU::FramePlanItem;

TweenScene scene(double duration, std::int64_t fps = 10)
{
    return {.fps = fps, .duration = duration};
}

TweenScene sceneBefore(double duration, SceneTransition transition)
{
    TweenScene made = scene(duration);
    made.transition = transition;
    return made;
}

std::vector<FramePlanItem> itemsOf(const FramePlan& plan)
{
    std::vector<FramePlanItem> items;
    for (std::int64_t i = 0; static_cast<double>(i) < plan.frames(); ++i) items.push_back(plan.item(i));
    return items;
}

std::vector<double> timesOf(const FramePlan& plan, std::size_t outScene)
{
    std::vector<double> times;
    for (const FramePlanItem& item : itemsOf(plan))
        if (item.outScene == outScene && !item.transition) times.push_back(item.outTime);
    return times;
}

using testing::DoubleEq;
using testing::ElementsAre;

TEST(FramePlan, ASingleSceneIsShownForItsDurationFromTheStartTimeOn)
{
    const std::array<double, 1> start{2};
    const FramePlan plan({scene(5, 30)}, start);
    ASSERT_EQ(plan.frames(), 150);
    EXPECT_EQ(plan.seconds(), 5);
    EXPECT_EQ(plan.item(0), (FramePlanItem{.outScene = 0, .outTime = 2}));
    EXPECT_DOUBLE_EQ(plan.item(1).outTime, 2 + 1 / 30.0);
    EXPECT_DOUBLE_EQ(plan.item(90).outTime, 5) << "where the scene ends";
    EXPECT_NEAR(plan.item(149).outTime, 6.9666667, 1e-6) << "and beyond";
}

TEST(FramePlan, ASingleSceneHasTheNearestWholeNumberOfFramesAndAtLeastOne)
{
    struct Case { const char* what; double duration; double frames; };
    for (const Case& c : {Case{"a second", 1, 10}, Case{"half a frame rounds up", 0.25, 3}, Case{"less than half a frame", 0.04, 1},
                          Case{"nothing", 0, 1}, Case{"less than nothing", -4, 1}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(FramePlan({scene(c.duration)}).frames(), c.frames);
    }
}

TEST(FramePlan, ASingleSceneHasNeitherPauseNorTransition)
{
    TweenScene only = sceneBefore(0.3, {.kind = SceneTransition::Kind::push, .duration = 2});
    only.endPause = 1;
    EXPECT_THAT(timesOf(FramePlan({only}), 0), ElementsAre(0, DoubleEq(0.1), DoubleEq(0.2)));
    EXPECT_EQ(FramePlan({only}).frames(), 3);
}

TEST(FramePlan, APauseHoldsTheLastTime)
{
    TweenScene first = scene(0.2), second = scene(0.3);
    first.endPause = 1;
    second.endPause = -1;
    const FramePlan plan({first, second});
    // Ten frames more than the two at 0 and 0.1, at the end of the scene; a pause below nothing is none.
    EXPECT_EQ(plan.frames(), 15);
    EXPECT_THAT(timesOf(plan, 0), ElementsAre(0, 0.1, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2));
    EXPECT_THAT(timesOf(plan, 1), ElementsAre(0, DoubleEq(0.1), DoubleEq(0.2)));
}

TEST(FramePlan, ATransitionGoesFromTheEndOfOneSceneToTheStartOfTheNextAndReachesOne)
{
    const SceneTransition push{.kind = SceneTransition::Kind::push, .duration = 0.3};
    TweenScene first = sceneBefore(0.2, push);
    first.endPause = 0.1;
    const std::vector<FramePlanItem> items = itemsOf(FramePlan({first, scene(0.1)}));
    ASSERT_EQ(items.size(), 7u); // 3 of the first, 3 between, 1 of the second.
    EXPECT_EQ(items[2], (FramePlanItem{.outScene = 0, .outTime = 0.2}));
    for (std::size_t k = 1; k <= 3; ++k) {
        SCOPED_TRACE(k);
        const FramePlanItem& item = items[2 + k];
        EXPECT_EQ(item.outScene, 0u);
        EXPECT_EQ(item.outTime, 0.2);
        EXPECT_EQ(item.inScene, 1u);
        EXPECT_EQ(item.inTime, 0);
        EXPECT_EQ(item.transition, push);
        EXPECT_DOUBLE_EQ(item.transitionProgress, static_cast<double>(k) / 3);
    }
    EXPECT_EQ(items[5].transitionProgress, 1);
    EXPECT_EQ(items[6], (FramePlanItem{.outScene = 1, .outTime = 0}));
}

TEST(FramePlan, OnlyATransitionThatTakesTimeHasFrames)
{
    struct Case { const char* what; double duration; double frames; };
    for (const Case& c : {Case{"a twentieth of a millisecond", 0.00005, 2}, Case{"the bound itself", 0.0001, 2},
                          Case{"a little more has one frame", 0.00011, 3}, Case{"nothing", 0, 2}, Case{"less than nothing", -1, 2},
                          Case{"half a frame rounds up", 0.25, 5},
                          Case{"not a number", std::numeric_limits<double>::quiet_NaN(), 2}}) {
        SCOPED_TRACE(c.what);
        const FramePlan plan({sceneBefore(0.1, {.duration = c.duration}), scene(0.1)});
        EXPECT_EQ(plan.frames(), c.frames);
        EXPECT_EQ(plan.item(1).transition.has_value(), c.frames > 2);
        if (c.frames > 2) { EXPECT_EQ(plan.item(static_cast<std::int64_t>(c.frames) - 2).transitionProgress, 1); }
    }
}

TEST(FramePlan, TheLastScenesTransitionLeadsNowhere)
{
    const SceneTransition fade{.duration = 1};
    EXPECT_EQ(FramePlan({scene(0.1), sceneBefore(0.1, fade)}).frames(), 2);
}

TEST(FramePlan, EachSceneIsRoundedForItselfAtTheRateOfTheFirst)
{
    // A frame and a half of each, where all together would come to four and a half.
    const FramePlan plan({scene(0.15), scene(0.15, 100), scene(0.15, 1)});
    EXPECT_EQ(plan.frames(), 6);
    for (const std::size_t i : {0u, 1u, 2u}) EXPECT_THAT(timesOf(plan, i), ElementsAre(0, 0.1));
}

TEST(FramePlan, EverySceneHasAFrame)
{
    const FramePlan plan({scene(0), scene(0), scene(-3)});
    EXPECT_EQ(plan.frames(), 3);
    for (const std::size_t i : {0u, 1u}) EXPECT_THAT(timesOf(plan, i), ElementsAre(0));
    EXPECT_THAT(timesOf(plan, 2), ElementsAre(-3)) << "the end, which comes before the start";
}

TEST(FramePlan, FindsAFrameOfAFilmOfADayAtOnce)
{
    const double day = 24 * 60 * 60;
    const FramePlan plan({scene(day, 60), scene(day, 60)});
    EXPECT_EQ(plan.frames(), 2 * day * 60);
    EXPECT_EQ(plan.item(static_cast<std::int64_t>(day) * 60 - 1).outScene, 0u);
    EXPECT_EQ(plan.item(static_cast<std::int64_t>(day) * 60), (FramePlanItem{.outScene = 1, .outTime = 0}));
    EXPECT_DOUBLE_EQ(plan.item(static_cast<std::int64_t>(day) * 120 - 60).outTime, day - 1);
}

TEST(FramePlan, AbsurdDurationsCountAsTheyAre)
{
    EXPECT_GT(FramePlan({scene(1e300), scene(1e300)}).frames(), 1e300);
    EXPECT_TRUE(std::isnan(FramePlan({scene(std::numeric_limits<double>::quiet_NaN()), scene(1)}).frames()));
}

} // namespace
} // namespace larkspool
