#include "timeline/dilate.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TimelineItemRef pulse(std::uint64_t number)
{
    return TimelineItemRef::pulse(idOf(1), idOf(10 + number));
}

/// Pulses at those times, numbered from 0.
TweenScene pulsesAt(std::vector<double> times, double duration = 10)
{
    Layer layer{.id = idOf(1)};
    for (std::size_t i = 0; i < times.size(); ++i) layer.pulses.append(pulseOf(10 + i, times[i]));
    return sceneOf({layer}, duration);
}

TimelineSelection first(std::uint64_t count)
{
    TimelineSelection selected;
    for (std::uint64_t i = 0; i < count; ++i) selected.insert(pulse(i));
    return selected;
}

std::vector<double> pulseTimes(const TweenScene& scene)
{
    std::vector<double> times;
    for (const Pulse& each : scene.layers[0].pulses) times.push_back(each.time);
    return times;
}

using Times = std::vector<double>;

TEST(Dilate, ScalesTheSpacingAroundTheAnchorAndHoldsItInTheScene)
{
    struct Case {
        const char* when;
        Times before;
        double scale;
        DilateAnchor anchor;
        Times after;
    };
    using enum DilateAnchor;
    for (const Case& c : {Case{"doubled around the start", {1, 2, 3}, 2, start, {1, 3, 5}},
                          Case{"halved around the centre", {0, 10}, 0.5, center, {2.5, 7.5}},
                          Case{"doubled around the end", {5, 6, 7}, 2, end, {3, 5, 7}},
                          Case{"doubled around the centre, past both ends", {1, 5, 9}, 2, center, {0, 5, 10}},
                          Case{"listed in any order", {3, 1, 2}, 2, start, {5, 1, 3}},
                          Case{"stretched until some coincide", {1, 5, 8}, 20, start, {1, 10, 10}},
                          Case{"squeezed until all but coincide", {2, 4, 6}, 0.05, end, {5.8, 5.9, 6}}}) {
        SCOPED_TRACE(c.when);
        const auto edit = applyDilate(pulsesAt(c.before), first(3), c.scale, c.anchor, {}, "Dilate Selection");
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->edit.actionName, "Dilate Selection");
        const Times after = pulseTimes(edit->edit.scene);
        ASSERT_EQ(after.size(), c.after.size());
        for (std::size_t i = 0; i < after.size(); ++i) EXPECT_NEAR(after[i], c.after[i], 1e-12);
    }
}

TEST(Dilate, StartsMoveLengthsAndWaitsStay)
{
    Layer layer{.id = idOf(1), .spans = {spanOf(10, 0, 4)}, .pulses = {pulseOf(12, 4)}};
    layer.keyframes = {keyframeOf(13, 6, 2)};
    const TweenScene scene = sceneOf({layer, videoOf(2, {.sceneStart = 1, .sceneEnd = 4, .sourceStart = 0.5})}, 20);
    const TimelineItemRef span = TimelineItemRef::span(idOf(1), idOf(10)), clip = TimelineItemRef::videoClip(idOf(2)),
                          keyframe = TimelineItemRef::keyframe(idOf(1), idOf(13)),
                          tail = TimelineItemRef::waitTail(idOf(1), idOf(13)), moment = TimelineItemRef::pulse(idOf(1), idOf(12));
    for (const TimelineItemRef& ofKeyframe : {keyframe, tail}) {
        const auto edit = applyDilate(scene, {span, clip, ofKeyframe, moment}, 2, DilateAnchor::start, {}, "Dilate");
        ASSERT_TRUE(edit);
        EXPECT_EQ(timesOf(edit->edit.scene, span), (ItemTimes{0, 4}));
        EXPECT_EQ(timesOf(edit->edit.scene, clip), (ItemTimes{2, 5}));
        EXPECT_EQ(timesOf(edit->edit.scene, moment)->start, 8);
        EXPECT_EQ(timesOf(edit->edit.scene, tail), (ItemTimes{12, 14}));
        EXPECT_EQ(findVideoClip(edit->edit.scene, idOf(2))->sourceStart, 0.5);
    }
}

TEST(Dilate, AroundTheEndMeansTheLastEndWaitsAndLengthsIncluded)
{
    Layer layer{.id = idOf(1), .pulses = {pulseOf(12, 4)}};
    layer.keyframes = {keyframeOf(13, 6, 2)};
    const TimelineItemRef keyframe = TimelineItemRef::keyframe(idOf(1), idOf(13)),
                          moment = TimelineItemRef::pulse(idOf(1), idOf(12));
    const auto edit = applyDilate(sceneOf({layer}), {keyframe, moment}, 0.5, DilateAnchor::end, {}, "Dilate");
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesOf(edit->edit.scene, keyframe)->start, 7) << "half way from 6 to 8";
    EXPECT_EQ(timesOf(edit->edit.scene, moment)->start, 6) << "half way from 4 to 8";
}

TEST(Dilate, ASpanThatComesToTheEndIsCutThereAndItsEffectsAreRefit)
{
    TimeSpan span = spanOf(20, 5, 9);
    span.effects = {SpanEffect{.id = idOf(60), .duration = 3}};
    const Layer layer{.id = idOf(1), .spans = {span}, .pulses = {pulseOf(10, 1)}};
    const TimelineItemRef ref = TimelineItemRef::span(idOf(1), idOf(20));
    const auto edit = applyDilate(sceneOf({layer}), {ref, pulse(0)}, 2, DilateAnchor::start, {}, "Dilate");
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesOf(edit->edit.scene, ref), (ItemTimes{9, 10}));
    EXPECT_EQ(findSpan(edit->edit.scene, idOf(1), idOf(20))->effects[0].duration, 1);
}

TEST(Dilate, RipplePushesBothSidesByTheWayOfTheirBoundary)
{
    // Selected are 10 and 20, which go to 12.5 and 17.5.
    struct Case {
        TimelineRippleMode mode;
        Times after;
        std::vector<std::size_t> counts;
    };
    using enum TimelineRippleMode;
    const TweenScene scene = pulsesAt({10, 20, 4, 25, 15, 10, 20}, 30);
    for (const Case& c :
         {Case{none, {12.5, 17.5, 4, 25, 15, 10, 20}, {}}, Case{before, {12.5, 17.5, 6.5, 25, 15, 10, 20}, {1}},
          Case{after, {12.5, 17.5, 4, 22.5, 15, 10, 17.5}, {2}}, Case{both, {12.5, 17.5, 6.5, 22.5, 15, 10, 17.5}, {1, 2}}}) {
        SCOPED_TRACE(label(c.mode));
        const auto edit = applyDilate(scene, first(2), 0.5, DilateAnchor::center, {c.mode, {}}, "Dilate");
        ASSERT_TRUE(edit);
        EXPECT_EQ(pulseTimes(edit->edit.scene), c.after);
        EXPECT_EQ(edit->rippled, c.counts);
    }
}

TEST(Dilate, ABoundaryAtTheAnchorPushesNothing)
{
    struct Case {
        DilateAnchor anchor;
        Times after;
        std::vector<std::size_t> counts;
    };
    const TweenScene scene = pulsesAt({10, 20, 4, 25}, 40);
    for (const Case& c : {Case{DilateAnchor::start, {10, 30, 4, 35}, {1}}, Case{DilateAnchor::end, {0, 20, 0, 25}, {1}}}) {
        SCOPED_TRACE(label(c.anchor));
        const auto edit = applyDilate(scene, first(2), 2, c.anchor, {TimelineRippleMode::both, {}}, "Dilate");
        ASSERT_TRUE(edit);
        EXPECT_EQ(pulseTimes(edit->edit.scene), c.after);
        EXPECT_EQ(edit->rippled, c.counts);
    }
}

TEST(Dilate, WhatLiesOutsideOfTheSceneOnASideThatStaysIsLeftThere)
{
    // Ripple would bring the pulse to 0, and grow the scene to hold the span.
    TweenScene scene = pulsesAt({10, 20, -1}, 40);
    scene.layers.edit()[0].spans = {spanOf(20, 35, 45)};
    const RippleSetting both{TimelineRippleMode::both, {}};
    const auto fromStart = applyDilate(scene, first(2), 2, DilateAnchor::start, both, "Dilate");
    ASSERT_TRUE(fromStart);
    EXPECT_EQ(pulseTimes(fromStart->edit.scene), (Times{10, 30, -1}));
    const auto fromEnd = applyDilate(scene, first(2), 0.5, DilateAnchor::end, both, "Dilate");
    ASSERT_TRUE(fromEnd);
    EXPECT_EQ(pulseTimes(fromEnd->edit.scene), (Times{15, 20, 4}));
    EXPECT_EQ(fromEnd->edit.scene.duration, 40);
}

TEST(Dilate, TheSceneKeepsTheDurationThatEitherSideNeeds)
{
    // The span before goes 1 to the right, to 2...21, and the pulse after 1 to the left.
    TweenScene scene = pulsesAt({4, 8, 9});
    scene.layers.edit()[0].spans = {spanOf(20, 1, 20)};
    const auto edit = applyDilate(scene, first(2), 0.5, DilateAnchor::center, {TimelineRippleMode::both, {}}, "Dilate");
    ASSERT_TRUE(edit);
    EXPECT_EQ(pulseTimes(edit->edit.scene), (Times{5, 7, 8}));
    EXPECT_EQ(edit->edit.scene.duration, 21);
}

TEST(Dilate, RippleKeepsToItsLayersAndLeavesTheKeyframeOfASelectedTail)
{
    Layer layer{.id = idOf(1), .pulses = {pulseOf(10, 1), pulseOf(11, 2)}};
    layer.keyframes = {keyframeOf(13, 4)};
    const Layer other{.id = idOf(2), .pulses = {pulseOf(30, 6)}};
    const TimelineItemRef tail = TimelineItemRef::waitTail(idOf(1), idOf(13));
    const auto edit = applyDilate(sceneOf({layer, other}), {pulse(0), tail}, 2, DilateAnchor::start,
                                  {TimelineRippleMode::after, LayerIDs{idOf(1)}}, "Dilate");
    ASSERT_TRUE(edit);
    EXPECT_EQ(timesOf(edit->edit.scene, tail)->start, 7);
    EXPECT_EQ(timesOf(edit->edit.scene, TimelineItemRef::pulse(idOf(2), idOf(30)))->start, 6);
    EXPECT_TRUE(edit->rippled.empty());
}

TEST(Dilate, IsRefusedForAScaleOfOneAndWithoutItemsANumberOrADuration)
{
    const TweenScene scene = pulsesAt({1, 2, 3});
    const RippleSetting ripple{TimelineRippleMode::both, {}};
    for (const double scale : {1.0, 1.00005, 0.99995, notANumber, std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(applyDilate(scene, first(3), scale, DilateAnchor::start, ripple, "Dilate")) << scale;
    EXPECT_TRUE(applyDilate(scene, first(3), 1.0002, DilateAnchor::start, ripple, "Dilate"));
    EXPECT_FALSE(applyDilate(scene, {}, 2, DilateAnchor::start, ripple, "Dilate"));
    EXPECT_FALSE(applyDilate(scene, {TimelineItemRef::videoClip(idOf(1))}, 2, DilateAnchor::start, ripple, "Dilate"));
    EXPECT_FALSE(applyDilate(pulsesAt({0, 0}, 0), first(2), 2, DilateAnchor::start, ripple, "Dilate"));
    EXPECT_FALSE(applyDilate(pulsesAt({1, 2}, 0), first(2), 2, DilateAnchor::start, ripple, "Dilate"));
    EXPECT_FALSE(applyDilate(scene, first(1), 2, DilateAnchor::center, {}, "Dilate")) << "it stands at the anchor";
}

} // namespace
} // namespace larkspool
