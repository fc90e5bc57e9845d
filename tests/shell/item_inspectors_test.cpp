#include "shell/item_inspectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

/// A scene of 10 seconds with one layer that has one of every item.
struct OneOfEach {
    explicit OneOfEach(Layer::Kind kind = Layer::Kind::video)
    {
        Layer layer;
        layer.kind = kind;
        layer.videoDuration = 8;
        layer.videoClip.sceneStart = 1;
        layer.videoClip.sceneEnd = 5;
        layer.keyframes.append(Keyframe{.property = Property::opacity, .time = 1, .value = 0.5});
        layer.keyframes.append(Keyframe{.property = Property::fill, .time = 2, .value = ColorRGBA::white});
        layer.spans.append(TimeSpan{.start = 2, .end = 4});
        layer.pulses.append(Pulse{.time = 3});
        scene.duration = 10;
        opacity = TimelineItemRef::keyframe(layer.id, layer.keyframes[0].id);
        fill = TimelineItemRef::keyframe(layer.id, layer.keyframes[1].id);
        span = TimelineItemRef::span(layer.id, layer.spans[0].id);
        pulse = TimelineItemRef::pulse(layer.id, layer.pulses[0].id);
        clip = TimelineItemRef::videoClip(layer.id);
        scene.layers.append(layer);
    }

    TweenScene scene{};
    TimelineItemRef opacity, fill, span, pulse, clip;
};

const Layer& only(const std::optional<Edit>& edit)
{
    return edit.value().scene.layers[0];
}

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(EasingPresets, ASelectionHasAPresetIfAllAreTheSamePlainCurve)
{
    struct Case {
        const char* when;
        std::vector<Easing> easings;
        std::optional<EasingPreset> preset;
    };
    for (const Case& c :
         {Case{"one", {Easing::easeIn()}, EasingPreset::easeIn},
          Case{"two alike", {Easing::linear(), Easing::linear()}, EasingPreset::linear},
          Case{"two that differ", {Easing::linear(), Easing::easeOut()}, EasingPreset::mixed},
          Case{"a spring", {Easing::spring(100, 10)}, std::nullopt}, Case{"a curve", {Easing::cubic(0, 0, 1, 1)}, std::nullopt},
          Case{"a spring among others", {Easing::easeOut(), Easing::spring(100, 10)}, EasingPreset::mixed},
          Case{"none", {}, std::nullopt}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(easingPreset(c.easings), c.preset);
    }
    for (const EasingPreset preset : {EasingPreset::linear, EasingPreset::easeIn, EasingPreset::easeOut, EasingPreset::easeInOut})
        EXPECT_EQ(easingPreset(std::vector{easingOf(preset)}), preset);
}

TEST(KeyframeInspector, EasingAndWaitGoToAllKeyframesTimeAndValueToOne)
{
    const OneOfEach one;
    const std::vector both{one.opacity, one.fill};
    const auto eased = KeyframeInspector::setEasing(one.scene, both, Easing::linear());
    for (const Keyframe& keyframe : only(eased).keyframes) EXPECT_EQ(keyframe.easing, Easing::linear());
    EXPECT_FALSE(KeyframeInspector::setEasing(eased->scene, both, Easing::linear())) << "nothing changes";

    const auto waiting = KeyframeInspector::setWait(one.scene, both, 0.75);
    EXPECT_EQ(waiting->actionName, "Edit Keyframe Wait");
    for (const Keyframe& keyframe : only(waiting).keyframes) EXPECT_EQ(keyframe.wait, 0.75);
    EXPECT_EQ(only(KeyframeInspector::setWait(waiting->scene, both, -1)).keyframes[0].wait, 0);

    const auto moved = KeyframeInspector::setTime(one.scene, one.opacity, 12);
    EXPECT_EQ(moved->actionName, "Edit Keyframe Time");
    EXPECT_EQ(only(moved).keyframes[0].time, 10) << "held within the scene";
    EXPECT_EQ(only(KeyframeInspector::setTime(one.scene, one.opacity, -3)).keyframes[0].time, 0);
    EXPECT_FALSE(KeyframeInspector::setTime(one.scene, one.opacity, notANumber));
    EXPECT_FALSE(KeyframeInspector::setTime(one.scene, one.pulse, 1)) << "no keyframe";
}

TEST(KeyframeInspector, AValueIsHeldWithinItsLimitsAndKeepsItsCase)
{
    const OneOfEach one;
    EXPECT_EQ(only(KeyframeInspector::setValue(one.scene, one.opacity, 1.4)).keyframes[0].value, KeyValue(1.0));
    EXPECT_EQ(KeyframeInspector::setValue(one.scene, one.opacity, 1.4)->actionName, "Edit Opacity");
    EXPECT_EQ(only(KeyframeInspector::setValue(one.scene, one.fill, ColorRGBA::black)).keyframes[1].value,
              KeyValue(ColorRGBA::black));
    EXPECT_FALSE(KeyframeInspector::setValue(one.scene, one.fill, 1.0));
    EXPECT_FALSE(KeyframeInspector::setValue(one.scene, one.opacity, notANumber));
}

TEST(SpanInspector, TheMenuOffersWhatGoesWithTheKind)
{
    using enum SpanEffect::Kind;
    const SpanInspector::EffectMenu text = SpanInspector::effectMenu(Layer::Kind::text);
    EXPECT_EQ(text.slideIn, (std::vector{slideInLeft, slideInRight, slideInTop, slideInBottom}));
    EXPECT_EQ(text.slideOut, (std::vector{slideOutLeft, slideOutRight, slideOutTop, slideOutBottom}));
    const auto holds = [](const SpanInspector::EffectMenu& menu, SpanEffect::Kind kind) {
        return std::ranges::find(menu.plain, kind) != menu.plain.end();
    };
    EXPECT_TRUE(holds(text, typeOn));
    EXPECT_TRUE(holds(text, fadeIn));
    EXPECT_FALSE(holds(text, drawOn));
    EXPECT_FALSE(holds(text, blinkingCursorStart));
    EXPECT_TRUE(holds(SpanInspector::effectMenu(Layer::Kind::line), drawOn));
    EXPECT_FALSE(holds(SpanInspector::effectMenu(Layer::Kind::line), typeOn));
}

TEST(SpanInspector, ASpanKeepsItsLeastLengthAndShortensItsEffects)
{
    const OneOfEach one;
    const auto faded = SpanInspector::addEffect(one.scene, one.span, SpanEffect::Kind::fadeIn);
    EXPECT_EQ(faded->actionName, "Add Span Effect");
    EXPECT_EQ(only(faded).spans[0].effects[0].duration, 0.4);
    EXPECT_FALSE(SpanInspector::addEffect(faded->scene, one.span, SpanEffect::Kind::fadeIn)) << "one of each kind";
    EXPECT_FALSE(SpanInspector::addEffect(one.scene, one.span, SpanEffect::Kind::typeOn)) << "not of this kind of layer";

    const auto late = SpanInspector::setStart(faded->scene, one.span, 3.75);
    EXPECT_EQ(only(late).spans[0].effects[0].duration, 0.25);
    EXPECT_DOUBLE_EQ(only(SpanInspector::setStart(one.scene, one.span, 9)).spans[0].start, 3.95);
    EXPECT_EQ(only(SpanInspector::setStart(one.scene, one.span, -1)).spans[0].start, 0);
    EXPECT_EQ(only(SpanInspector::setEnd(one.scene, one.span, 99)).spans[0].end, 10);
    EXPECT_DOUBLE_EQ(only(SpanInspector::setEnd(one.scene, one.span, 0)).spans[0].end, 2.05);
    EXPECT_FALSE(SpanInspector::setEnd(one.scene, one.span, notANumber));
}

TEST(SpanInspector, EffectsAreTimedTurnedAndRemoved)
{
    const OneOfEach one(Layer::Kind::line);
    const auto drawn = SpanInspector::addEffect(one.scene, one.span, SpanEffect::Kind::drawOn);
    const UUID effect = only(drawn).spans[0].effects[0].id;
    EXPECT_EQ(only(SpanInspector::setEffectDuration(drawn->scene, one.span, effect, 7)).spans[0].effects[0].duration, 2);
    EXPECT_EQ(only(SpanInspector::setEffectDuration(drawn->scene, one.span, effect, -1)).spans[0].effects[0].duration, 0);
    const auto reversed = SpanInspector::setEffectReversed(drawn->scene, one.span, effect, true);
    EXPECT_EQ(reversed->actionName, "Edit Effect Direction");
    EXPECT_TRUE(only(reversed).spans[0].effects[0].reversed);
    EXPECT_EQ(SpanInspector::removeEffect(drawn->scene, one.span, effect)->scene, one.scene);
    EXPECT_FALSE(SpanInspector::removeEffect(drawn->scene, one.span, UUID::random()));
    EXPECT_TRUE(SpanInspector::hasDirection(SpanEffect::Kind::eraseOff));
    EXPECT_FALSE(SpanInspector::hasDirection(SpanEffect::Kind::fadeIn));
}

TEST(SpanInspector, TheSpanAtThePlayheadHoldsBothItsEnds)
{
    const OneOfEach one;
    const Layer& layer = one.scene.layers[0];
    for (const double inside : {2.0, 3.0, 4.0}) EXPECT_EQ(SpanInspector::spanAtPlayhead(layer, inside), &layer.spans[0]);
    for (const double outside : {1.99, 4.01}) EXPECT_EQ(SpanInspector::spanAtPlayhead(layer, outside), nullptr);
}

TEST(SpanInspector, AZoomsComingAndGoingAreSetApart)
{
    const OneOfEach one(Layer::Kind::zoom);
    const auto goes = SpanInspector::setZoomTransition(one.scene, one.span, SpanInspector::ZoomEnd::end, ZoomTransition::fade);
    EXPECT_EQ(only(goes).spans[0].zoomStart, ZoomTransition::zoom);
    EXPECT_EQ(only(goes).spans[0].zoomEnd, ZoomTransition::fade);
}

TEST(SpanInspector, BlinkRangesStayWithinTheirSpan)
{
    Layer text;
    text.kind = Layer::Kind::text;
    text.spans.append(TimeSpan{.start = 1, .end = 4});
    TweenScene scene{.duration = 10};
    scene.layers.append(text);
    const TimelineItemRef span = TimelineItemRef::span(text.id, text.spans[0].id);
    const auto ranges = [&] { return scene.layers[0].spans[0].cursorBlinkRanges; };
    const auto edit = [&](std::optional<Edit> made, const char* name) {
        ASSERT_TRUE(made) << name;
        EXPECT_EQ(made->actionName, name);
        scene = std::move(made->scene);
    };
    EXPECT_TRUE(SpanInspector::hasBlinkRanges(Layer::Kind::text));
    EXPECT_FALSE(SpanInspector::hasBlinkRanges(Layer::Kind::rectangle));

    struct Case {
        const char* when;
        double playhead, start;
    };
    for (const Case& c : {Case{"before the span", 0.5, 1}, Case{"in it", 2, 2}, Case{"at its end", 4, 1}}) {
        SCOPED_TRACE(c.when);
        edit(SpanInspector::addBlinkRange(scene, span, c.playhead), "Add Blink Range");
        EXPECT_EQ(ranges()[ranges().size() - 1].start, c.start);
        EXPECT_EQ(ranges()[ranges().size() - 1].end, 4);
    }
    ASSERT_EQ(ranges().size(), 3u);
    const UUID second = ranges()[1].id;
    edit(SpanInspector::setBlinkRangeEnd(scene, span, second, 3), "Edit Cursor Blink Range");
    EXPECT_EQ(ranges()[1].end, 3);
    edit(SpanInspector::setBlinkRangeStart(scene, span, second, 9), "Edit Cursor Blink Range");
    EXPECT_EQ(ranges()[1].start, 3) << "not after its own end";
    edit(SpanInspector::setBlinkRangeStart(scene, span, second, 0), "Edit Cursor Blink Range");
    EXPECT_EQ(ranges()[1].start, 1) << "not before the span";
    edit(SpanInspector::setBlinkRangeEnd(scene, span, second, 9), "Edit Cursor Blink Range");
    EXPECT_EQ(ranges()[1].end, 4) << "not beyond the span";
    EXPECT_FALSE(SpanInspector::setBlinkRangeEnd(scene, span, second, 9)) << "nothing changes";
    EXPECT_FALSE(SpanInspector::setBlinkRangeStart(scene, span, second, NAN));
    edit(SpanInspector::removeBlinkRange(scene, span, second), "Remove Cursor Blink Range");
    ASSERT_EQ(ranges().size(), 2u);
    EXPECT_FALSE(SpanInspector::removeBlinkRange(scene, span, second)) << "it is gone";
}

TEST(KeyframeInspector, AValueOfALineMakesItsBoxFit)
{
    Layer line;
    line.kind = Layer::Kind::line;
    line.strokeWidth = 2;
    line.linePoints.append({10, 10});
    line.linePoints.append({110, 10});
    line.keyframes.append(Keyframe{.property = Property::strokeWidth, .value = 4.0});
    TweenScene scene;
    scene.layers.append(line);
    const auto edit = KeyframeInspector::setValue(scene, TimelineItemRef::keyframe(line.id, line.keyframes[0].id), 8.0);
    ASSERT_TRUE(edit);
    // By the base stroke of 2, half of which stands out on every side.
    EXPECT_EQ(edit->scene.layers[0].size, (CGSize{102, 2}));
}

TEST(PulseInspector, SwitchesBeginWithTheUsualTwoAndOneStaysOn)
{
    const OneOfEach one;
    const auto withRings = PulseInspector::togglePulseEffect(one.scene, one.pulse, PulseEffect::radiate);
    EXPECT_EQ(only(withRings).pulses[0].effects, (PulseEffects{PulseEffect::scale, PulseEffect::glow, PulseEffect::radiate}));
    const auto glowOnly = PulseInspector::togglePulseEffect(one.scene, one.pulse, PulseEffect::scale);
    EXPECT_EQ(only(glowOnly).pulses[0].effects, PulseEffects{PulseEffect::glow});
    EXPECT_FALSE(PulseInspector::togglePulseEffect(glowOnly->scene, one.pulse, PulseEffect::glow));
    EXPECT_EQ(only(PulseInspector::setTime(one.scene, one.pulse, 11)).pulses[0].time, 10);
    EXPECT_FALSE(PulseInspector::setTime(one.scene, one.pulse, 3)) << "where it is";
}

TEST(ClipInspector, AClipKeepsItsLeastLengthWithinSceneAndSource)
{
    const OneOfEach one;
    EXPECT_DOUBLE_EQ(only(ClipInspector::setStart(one.scene, one.clip, 7)).videoClip.sceneStart, 4.95);
    EXPECT_DOUBLE_EQ(only(ClipInspector::setEnd(one.scene, one.clip, 0)).videoClip.sceneEnd, 1.05);
    EXPECT_EQ(only(ClipInspector::setEnd(one.scene, one.clip, 99)).videoClip.sceneEnd, 10);
    EXPECT_DOUBLE_EQ(only(ClipInspector::setSourceStart(one.scene, one.clip, 30)).videoClip.sourceStart, 7.95);
    const auto loops = ClipInspector::setEndBehavior(one.scene, one.clip, VideoClip::EndBehavior::loop);
    EXPECT_EQ(loops->actionName, "Edit End Behavior");
    EXPECT_EQ(only(loops).videoClip.endBehavior, VideoClip::EndBehavior::loop);
    const OneOfEach shape(Layer::Kind::rectangle);
    EXPECT_FALSE(ClipInspector::setEnd(shape.scene, shape.clip, 3)) << "only videos have a clip";
}

} // namespace
} // namespace larkspool
