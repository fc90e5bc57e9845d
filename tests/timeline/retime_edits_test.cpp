#include "timeline/retime_edits.h"

#include "support/random_timeline.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>

namespace larkspool {
namespace {

const TimelineItemRef span = TimelineItemRef::span(idOf(1), idOf(11));
const TimelineItemRef pulse = TimelineItemRef::pulse(idOf(1), idOf(12));
const TimelineItemRef keyframe = TimelineItemRef::keyframe(idOf(1), idOf(13));
const TimelineItemRef wait = TimelineItemRef::waitTail(idOf(1), idOf(13));
const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(2));

/// 10 seconds. Layer 1: a span 2–5 that fades in for 2 seconds, a pulse at 3, a keyframe at 4 that waits for 0.5. Layer 2: a clip
/// 1–6.
TweenScene mixedScene()
{
    Layer box{.id = idOf(1)};
    TimeSpan fading = spanOf(11, 2, 5);
    fading.effects = {SpanEffect{.id = idOf(21), .kind = SpanEffect::Kind::fadeIn, .duration = 2}};
    box.spans = {fading};
    box.pulses = {pulseOf(12, 3)};
    box.keyframes = {keyframeOf(13, 4, 0.5)};
    return sceneOf({box, videoOf(2, {.sceneStart = 1, .sceneEnd = 6, .sourceStart = 0.25})});
}

const TweenScene& scene()
{
    static const TweenScene made = mixedScene();
    return made;
}

TweenScene withStart(const TimelineItemRef& source, double start)
{
    TweenScene written = scene();
    writeStart(written, source, start);
    return written;
}

TweenScene withDuration(const TimelineItemRef& source, double duration)
{
    TweenScene written = scene();
    writeDuration(written, source, duration);
    return written;
}

TEST(RetimeWrite, AStartMovesTheItemWithItsLength)
{
    EXPECT_EQ(timesOf(withStart(span, 7), span), (ItemTimes{7, 10}));
    EXPECT_EQ(timesOf(withStart(span, 9), span), (ItemTimes{9, 12})) << "beyond the scene's end";
    EXPECT_EQ(timesOf(withStart(clip, 2), clip), (ItemTimes{2, 7}));
    EXPECT_EQ(findVideoClip(withStart(clip, 2), idOf(2))->sourceStart, 0.25);
    EXPECT_EQ(timesOf(withStart(pulse, 0.5), pulse)->start, 0.5);
    EXPECT_EQ(timesOf(withStart(keyframe, 0.5), keyframe)->start, 0.5);
}

TEST(RetimeWrite, AWaitMovesItsKeyframe)
{
    const TweenScene written = withStart(wait, 6);
    EXPECT_EQ(timesOf(written, keyframe)->start, 6);
    EXPECT_EQ(findKeyframe(written, idOf(1), idOf(13))->wait, 0.5);
}

TEST(RetimeWrite, AStartIsHeldWithinTheScene)
{
    for (const TimelineItemRef& source : {span, pulse, keyframe, wait, clip}) {
        EXPECT_EQ(timesOf(withStart(source, 12), source)->start, 10);
        EXPECT_EQ(timesOf(withStart(source, -3), source)->start, 0);
    }
}

TEST(RetimeWrite, ADurationSetsTheEndOfASpanOrClipAndTheWaitItself)
{
    EXPECT_EQ(timesOf(withDuration(span, 4.5), span), (ItemTimes{2, 6.5}));
    EXPECT_EQ(timesOf(withDuration(clip, 0.5), clip), (ItemTimes{1, 1.5}));
    EXPECT_EQ(findKeyframe(withDuration(wait, 0.75), idOf(1), idOf(13))->wait, 0.75);
    EXPECT_EQ(timesOf(withDuration(wait, 0.75), keyframe)->start, 4);
}

TEST(RetimeWrite, ADurationIsHeldAtZero)
{
    EXPECT_EQ(timesOf(withDuration(span, -1), span), (ItemTimes{2, 2}));
    EXPECT_EQ(timesOf(withDuration(clip, -1), clip), (ItemTimes{1, 1}));
    EXPECT_EQ(findKeyframe(withDuration(wait, -1), idOf(1), idOf(13))->wait, 0);
}

TEST(RetimeWrite, PulsesAndKeyframesHaveNoDuration)
{
    EXPECT_EQ(withDuration(pulse, 2), scene());
    EXPECT_EQ(withDuration(keyframe, 2), scene());
}

TEST(RetimeWrite, EffectsAreRefitToAShorterSpan)
{
    const TweenScene written = withDuration(span, 1);
    EXPECT_EQ(findSpan(written, idOf(1), idOf(11))->effects[0].duration, 1);
}

TEST(RetimeWrite, EffectsTooLongForTheirSpanAreRefitWhereverItGoes)
{
    TweenScene overfull = scene();
    overfull.layers.edit()[0].spans.edit()[0].effects.edit()[0].duration = 9; // As a file may have it, in a span of 3 seconds.
    TweenScene moved = overfull, rippled = overfull;
    writeStart(moved, span, 6);
    applyRipple(rippled, {.ripple = RetimeRipple::both, .delta = 1});
    EXPECT_EQ(findSpan(moved, idOf(1), idOf(11))->effects[0].duration, 3);
    EXPECT_EQ(findSpan(rippled, idOf(1), idOf(11))->effects[0].duration, 3);
}

TEST(RetimeWrite, DeadSourcesAndWhatIsNoNumberChangeNothing)
{
    const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    for (const TimelineItemRef& dead : {TimelineItemRef::span(idOf(1), idOf(99)), TimelineItemRef::pulse(idOf(9), idOf(12)),
                                        TimelineItemRef::keyframe(idOf(2), idOf(13)), TimelineItemRef::videoClip(idOf(1))}) {
        EXPECT_EQ(withStart(dead, 1), scene());
        EXPECT_EQ(withDuration(dead, 1), scene());
    }
    for (const TimelineItemRef& source : {span, pulse, keyframe, wait, clip})
        for (const double none : {nan, infinity, -infinity}) {
            EXPECT_EQ(withStart(source, none), scene());
            EXPECT_EQ(withDuration(source, none), scene());
        }
}

/// Pulses at 1, 3, 5 and 7 after the shift.
std::vector<double> shiftedPulses(const RetimeShift& shift)
{
    Layer layer{.id = idOf(1)};
    layer.pulses = {pulseOf(11, 1), pulseOf(12, 3), pulseOf(13, 5), pulseOf(14, 7)};
    TweenScene shifted = sceneOf({layer});
    applyRipple(shifted, shift);
    std::vector<double> times;
    for (const Pulse& one : shifted.layers[0].pulses) times.push_back(one.time);
    return times;
}

TEST(RetimeRipple, TakesTheRowsOnItsSide)
{
    using enum RetimeRipple;
    using Times = std::vector<double>;
    EXPECT_EQ(shiftedPulses({.ripple = off, .delta = 0.5, .anchorStart = 5}), (Times{1, 3, 5, 7}));
    EXPECT_EQ(shiftedPulses({.ripple = after, .delta = 0.5, .anchorStart = 5}), (Times{1, 3, 5.5, 7.5}));
    EXPECT_EQ(shiftedPulses({.ripple = both, .delta = 0.5, .anchorStart = 5}), (Times{1.5, 3.5, 5.5, 7.5}));
}

TEST(RetimeRipple, BeforeAloneGoesTheOppositeWay)
{
    using Times = std::vector<double>;
    EXPECT_EQ(shiftedPulses({.ripple = RetimeRipple::before, .delta = 0.5, .anchorStart = 5}), (Times{0.5, 2.5, 5, 7}));
    EXPECT_EQ(shiftedPulses({.ripple = RetimeRipple::before, .delta = -0.5, .anchorStart = 5}), (Times{1.5, 3.5, 5, 7}));
}

TEST(RetimeRipple, RowsAtTheAnchorLessItsSlackCountWithADurationOnly)
{
    const double threshold = 5 - 0.0001;
    struct Case {
        const char* what;
        RetimeRipple ripple;
        RetimeShift::Edited edited;
        double time, shifted;
    };
    using enum RetimeShift::Edited;
    for (const Case& c : {Case{"after a duration, there", RetimeRipple::after, duration, threshold, threshold + 1},
                          Case{"after a start, there", RetimeRipple::after, start, threshold, threshold},
                          Case{"after a start, within the slack", RetimeRipple::after, start, 4.99995, 5.99995},
                          Case{"after a duration, before it", RetimeRipple::after, duration, 4.9998, 4.9998},
                          Case{"before a duration, there", RetimeRipple::before, duration, threshold, threshold},
                          Case{"before a start, there", RetimeRipple::before, start, threshold, threshold},
                          Case{"before, before it", RetimeRipple::before, start, 4.9998, 3.9998}}) {
        SCOPED_TRACE(c.what);
        Layer layer{.id = idOf(1)};
        layer.pulses = {pulseOf(11, c.time)};
        TweenScene shifted = sceneOf({layer});
        applyRipple(shifted, {.ripple = c.ripple, .delta = 1, .anchorStart = 5, .edited = c.edited});
        EXPECT_NEAR(shifted.layers[0].pulses[0].time, c.shifted, 1e-12);
    }
}

TEST(RetimeRipple, HoldsEveryRowWithinTheSceneWhoseDurationStays)
{
    TweenScene shifted = scene();
    applyRipple(shifted, {.ripple = RetimeRipple::both, .delta = 8});
    EXPECT_EQ(shifted.duration, 10);
    EXPECT_EQ(timesOf(shifted, span), (ItemTimes{7, 10}));
    EXPECT_EQ(timesOf(shifted, clip), (ItemTimes{5, 10}));
    EXPECT_EQ(timesOf(shifted, pulse)->start, 10);
    EXPECT_EQ(timesOf(shifted, keyframe)->start, 9.5) << "its wait ends with the scene";
    EXPECT_EQ(findKeyframe(shifted, idOf(1), idOf(13))->wait, 0.5);

    shifted = scene();
    applyRipple(shifted, {.ripple = RetimeRipple::both, .delta = -8});
    for (const TimelineItemRef& source : {span, pulse, keyframe, clip}) EXPECT_EQ(timesOf(shifted, source)->start, 0);
}

TEST(RetimeRipple, WhatIsLongerThanTheSceneIsHeldAtItsBegin)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 2, 15)};
    TweenScene shifted = sceneOf({layer});
    applyRipple(shifted, {.ripple = RetimeRipple::both, .delta = 1});
    EXPECT_EQ(timesOf(shifted, span), (ItemTimes{0, 13}));
}

TEST(RetimeRipple, ExcludedSourcesStayAndAKeyframeStaysWithItsWait)
{
    for (const TimelineItemRef& either : {keyframe, wait}) {
        TweenScene shifted = scene();
        applyRipple(shifted, {.ripple = RetimeRipple::both, .delta = 0.5, .excludingSources = {span, either}});
        EXPECT_EQ(timesOf(shifted, span)->start, 2);
        EXPECT_EQ(timesOf(shifted, keyframe)->start, 4);
        EXPECT_EQ(timesOf(shifted, pulse)->start, 3.5);
        EXPECT_EQ(timesOf(shifted, clip)->start, 1.5);
    }
}

TEST(RetimeRipple, LayersOutsideOfTheScopeStayAndTheirChildrenAreAsked)
{
    Layer inner{.id = idOf(1)}, outer{.id = idOf(2), .kind = Layer::Kind::group};
    inner.pulses = {pulseOf(12, 3)};
    outer.pulses = {pulseOf(22, 3)};
    outer.children = {inner};
    TweenScene shifted = sceneOf({outer});
    applyRipple(shifted, {.ripple = RetimeRipple::both, .delta = 1, .scopeLayerIDs = LayerIDs{idOf(1)}});
    EXPECT_EQ(timesOf(shifted, pulse)->start, 4);
    EXPECT_EQ(timesOf(shifted, TimelineItemRef::pulse(idOf(2), idOf(22)))->start, 3);
}

TEST(RetimeRipple, AClipWithoutLengthHasNoRowAndStays)
{
    TweenScene shifted = sceneOf({videoOf(2, {.sceneStart = 3, .sceneEnd = 3})});
    const TweenScene before = shifted;
    applyRipple(shifted, {.ripple = RetimeRipple::both, .delta = 1});
    EXPECT_EQ(shifted, before);
}

TEST(RetimeRipple, KeepsLengthsAndTheDurationAndFitsEffects)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const RetimeShift shift{.ripple = static_cast<RetimeRipple>(random.index(4)),
                                .delta = random.between(-8, 8),
                                .anchorStart = random.time(),
                                .edited = static_cast<RetimeShift::Edited>(random.index(2)),
                                .excludingSources = random.selection(before)};
        TweenScene shifted = before;
        applyRipple(shifted, shift);
        RC_ASSERT(shifted.duration == before.duration);
        RC_ASSERT(effectsFitTheirSpans(shifted));
        for (const TimelineItemRef& ref : RandomTimeline::items(before)) {
            const ItemTimes was = *timesOf(before, ref), is = *timesOf(shifted, ref);
            RC_ASSERT(std::abs((is.end - is.start) - (was.end - was.start)) < 1e-9);
            RC_ASSERT(is == was || is.start >= 0);
            if (shift.excludingSources.contains(ref)) RC_ASSERT(is.start == was.start);
        }
    }));
}

} // namespace
} // namespace larkspool
