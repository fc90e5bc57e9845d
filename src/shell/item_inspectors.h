#pragma once

#include "editing/edit.h"
#include "foundation/random_source.h"

#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace larkspool {

/// The rules of the inspectors of single items of the timeline. There is no edit where nothing would change, and none for an item
/// that is gone or a number that is not finite.

/// The curves that a keyframe is offered by name.
enum class EasingPreset {
    linear,
    easeIn,
    easeOut,
    easeInOut,
    mixed ///< Of keyframes with different easings; cannot be chosen.
};

template <>
struct EnumTable<EasingPreset> {
    using enum EasingPreset;
    static constexpr EnumCase<EasingPreset> cases[] = {{linear, "linear", "Linear"},
                                                       {easeIn, "easeIn", "Ease In"},
                                                       {easeOut, "easeOut", "Ease Out"},
                                                       {easeInOut, "easeInOut", "Ease In Out"},
                                                       {mixed, "mixed", "Mixed"}};
};

/// The preset of the easings. Nothing for a spring or a cubic curve, which match none, and for no easings.
std::optional<EasingPreset> easingPreset(std::span<const Easing> easings);
Easing easingOf(EasingPreset preset);

namespace KeyframeInspector {

/// Gives all the keyframes that curve.
std::optional<Edit> setEasing(const TweenScene& scene, std::span<const TimelineItemRef> keyframes, const Easing& easing);
/// Seconds; held at 0 or after, and within the scene.
std::optional<Edit> setTime(const TweenScene& scene, const TimelineItemRef& keyframe, double seconds);
/// Seconds for which all the keyframes hold, at least 0.
std::optional<Edit> setWait(const TweenScene& scene, std::span<const TimelineItemRef> keyframes, double seconds);
/// A number is held within the property's limits. Nothing for a value of another case than the property takes.
std::optional<Edit> setValue(const TweenScene& scene, const TimelineItemRef& keyframe, const KeyValue& value);

} // namespace KeyframeInspector

namespace SpanInspector {

/// The effects that a menu offers to a layer of the kind.
struct EffectMenu {
    std::vector<SpanEffect::Kind> plain{};
    std::vector<SpanEffect::Kind> slideIn{};
    std::vector<SpanEffect::Kind> slideOut{};

    bool operator==(const EffectMenu&) const = default;
};
EffectMenu effectMenu(Layer::Kind kind);
inline constexpr std::string_view slideInTitle = "Slide In";
inline constexpr std::string_view slideOutTitle = "Slide Out";
inline constexpr std::string_view addEffectLabel = "+ Effect";
inline constexpr std::string_view addSpanLabel = "Add Span";

/// The span of the layer that holds the playhead, the first of them in the layer's order.
const TimeSpan* spanAtPlayhead(const Layer& layer, double playhead);

/// @name Seconds. A start is held at 0 or after, and each end keeps the span at least 0.05 seconds long; effects are shortened to
/// what the span has room for.
/// @{
std::optional<Edit> setStart(const TweenScene& scene, const TimelineItemRef& span, double seconds);
std::optional<Edit> setEnd(const TweenScene& scene, const TimelineItemRef& span, double seconds);
/// @}

/// @name The effects of a span.
/// @{
std::optional<Edit> addEffect(const TweenScene& scene, const TimelineItemRef& span, SpanEffect::Kind kind);
std::optional<Edit> removeEffect(const TweenScene& scene, const TimelineItemRef& span, const UUID& effectID);
/// Seconds: at least 0, at most what the span has room for.
std::optional<Edit> setEffectDuration(const TweenScene& scene, const TimelineItemRef& span, const UUID& effectID, double seconds);
/// Whether a line is drawn or erased from its other end.
std::optional<Edit> setEffectReversed(const TweenScene& scene, const TimelineItemRef& span, const UUID& effectID, bool reversed);
bool hasDirection(SpanEffect::Kind kind);
/// @}

/// @name The times within a span at which the caret of a text blinks.
/// @{
inline constexpr std::string_view addBlinkRangeLabel = "Add Blink Range";
bool hasBlinkRanges(Layer::Kind kind);
/// From the playhead to the span's end; all of the span where the playhead lies outside it or at its end.
std::optional<Edit> addBlinkRange(const TweenScene& scene, const TimelineItemRef& span, double playhead,
                                  RandomSource& random = systemRandom());
std::optional<Edit> removeBlinkRange(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID);
/// Seconds, held within the span and on its side of the range's other end.
std::optional<Edit> setBlinkRangeStart(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID, double seconds);
std::optional<Edit> setBlinkRangeEnd(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID, double seconds);
/// @}

enum class ZoomEnd { start, end };
/// How a zoom comes or goes.
std::optional<Edit> setZoomTransition(const TweenScene& scene, const TimelineItemRef& span, ZoomEnd end,
                                      ZoomTransition transition);

} // namespace SpanInspector

namespace PulseInspector {

std::optional<Edit> setTime(const TweenScene& scene, const TimelineItemRef& pulse, double seconds);
/// Switches one of the effects. What is heard of as nothing chosen plays scale and glow, and so does the switch begin with these;
/// the last one cannot be switched off.
std::optional<Edit> togglePulseEffect(const TweenScene& scene, const TimelineItemRef& pulse, PulseEffect effect);

} // namespace PulseInspector

namespace ClipInspector {

/// @name Seconds of the scene. The clip stays at least 0.05 seconds long.
/// @{
std::optional<Edit> setStart(const TweenScene& scene, const TimelineItemRef& clip, double seconds);
std::optional<Edit> setEnd(const TweenScene& scene, const TimelineItemRef& clip, double seconds);
/// @}
/// Seconds of the source, at 0 or after, and before its end where its length is known.
std::optional<Edit> setSourceStart(const TweenScene& scene, const TimelineItemRef& clip, double seconds);
std::optional<Edit> setEndBehavior(const TweenScene& scene, const TimelineItemRef& clip, VideoClip::EndBehavior behavior);

} // namespace ClipInspector

} // namespace larkspool
