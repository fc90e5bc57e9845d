#include "shell/item_inspectors.h"

#include "document/normalisers.h"
#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "shell/inspector.h"
#include "timeline/keyframe_tracks.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace larkspool {

namespace {

constexpr double shortestStretch = 0.05; ///< Seconds that a span or a clip lasts at least.

/// The edit that `change` makes of a copy of the scene; nothing if it changes nothing.
std::optional<Edit> changed(const TweenScene& scene, std::string_view actionName, const std::function<void(TweenScene&)>& change)
{
    Edit edit{scene, std::string(actionName)};
    change(edit.scene);
    if (edit.scene == scene) return std::nullopt;
    return edit;
}

std::optional<Edit> changedKeyframes(const TweenScene& scene, std::string_view actionName,
                                     std::span<const TimelineItemRef> keyframes, const std::function<void(Keyframe&)>& change)
{
    return changed(scene, actionName, [&](TweenScene& copy) {
        for (const TimelineItemRef& ref : keyframes)
            if (Keyframe* keyframe = editKeyframe(copy, ref.layerID, ref.itemID)) change(*keyframe);
    });
}

/// A change of a span, with its effects refit.
std::optional<Edit> mutateSpan(const TweenScene& scene, std::string_view actionName, const TimelineItemRef& ref,
                               const std::function<void(TimeSpan&)>& change)
{
    return changed(scene, actionName, [&](TweenScene& copy) {
        Layer* layer = editLayer(copy, ref.layerID);
        TimeSpan* span = layer ? editSpan(*layer, ref.itemID) : nullptr;
        if (!span) return;
        change(*span);
        normalizeSpanEffects(*layer);
    });
}

std::optional<Edit> mutateEffect(const TweenScene& scene, std::string_view actionName, const TimelineItemRef& span,
                                 const UUID& effectID, const std::function<void(SpanEffect&)>& change)
{
    return mutateSpan(scene, actionName, span, [&](TimeSpan& edited) {
        for (SpanEffect& effect : edited.effects.edit())
            if (effect.id == effectID) change(effect);
    });
}

std::optional<Edit> mutateBlinkRange(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID,
                                     const std::function<void(BlinkRange&, const TimeSpan&)>& change)
{
    return mutateSpan(scene, "Edit Cursor Blink Range", span, [&](TimeSpan& edited) {
        for (BlinkRange& range : edited.cursorBlinkRanges.edit())
            if (range.id == rangeID) change(range, edited);
    });
}

std::optional<Edit> mutateClip(const TweenScene& scene, std::string_view actionName, const TimelineItemRef& ref,
                               const std::function<void(VideoClip&)>& change)
{
    return changed(scene, actionName, [&](TweenScene& copy) {
        if (VideoClip* clip = editVideoClip(copy, ref.layerID)) change(*clip);
    });
}

bool isSlideIn(SpanEffect::Kind kind)
{
    return kind >= SpanEffect::Kind::slideInLeft && kind <= SpanEffect::Kind::slideInBottom;
}

bool isSlideOut(SpanEffect::Kind kind)
{
    return kind >= SpanEffect::Kind::slideOutLeft && kind <= SpanEffect::Kind::slideOutBottom;
}

} // namespace

std::optional<EasingPreset> easingPreset(std::span<const Easing> easings)
{
    if (easings.empty()) return std::nullopt;
    if (std::ranges::any_of(easings, [&](const Easing& easing) { return easing != easings.front(); })) return EasingPreset::mixed;
    const auto* plain = std::get_if<Easing::Plain>(&easings.front().curve);
    if (!plain) return std::nullopt;
    switch (*plain) {
    case Easing::Plain::linear: return EasingPreset::linear;
    case Easing::Plain::easeIn: return EasingPreset::easeIn;
    case Easing::Plain::easeOut: return EasingPreset::easeOut;
    case Easing::Plain::easeInOut: return EasingPreset::easeInOut;
    }
    return std::nullopt;
}

Easing easingOf(EasingPreset preset)
{
    switch (preset) {
    case EasingPreset::linear: return Easing::linear();
    case EasingPreset::easeIn: return Easing::easeIn();
    case EasingPreset::easeOut: return Easing::easeOut();
    case EasingPreset::easeInOut:
    case EasingPreset::mixed: break;
    }
    return Easing::easeInOut();
}

std::optional<Edit> KeyframeInspector::setEasing(const TweenScene& scene, std::span<const TimelineItemRef> keyframes,
                                                 const Easing& easing)
{
    return changedKeyframes(scene, "Edit Easing", keyframes, [&](Keyframe& keyframe) { keyframe.easing = easing; });
}

std::optional<Edit> KeyframeInspector::setTime(const TweenScene& scene, const TimelineItemRef& keyframe, double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    const double time = std::max(std::min(seconds, scene.duration), 0.0);
    return changed(scene, "Edit Keyframe Time",
                   [&](TweenScene& copy) { KeyframeTracks::setKeyframeTimeIn(copy, keyframe.layerID, keyframe.itemID, time); });
}

std::optional<Edit> KeyframeInspector::setWait(const TweenScene& scene, std::span<const TimelineItemRef> keyframes,
                                               double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return changedKeyframes(scene, "Edit Keyframe Wait", keyframes,
                            [&](Keyframe& keyframe) { keyframe.wait = std::max(seconds, 0.0); });
}

std::optional<Edit> KeyframeInspector::setValue(const TweenScene& scene, const TimelineItemRef& ref, const KeyValue& value)
{
    const Keyframe* keyframe = findKeyframe(scene, ref.layerID, ref.itemID);
    if (!keyframe || Interpolation::fieldValue(Layer{}, keyframe->property).index() != value.index()) return std::nullopt;
    KeyValue kept = value;
    if (double* number = std::get_if<double>(&kept)) {
        if (!std::isfinite(*number)) return std::nullopt;
        *number = Inspector::clampForProperty(keyframe->property, displayName(keyframe->property), *number);
    }
    return changed(scene, Inspector::actionName(displayName(keyframe->property)), [&](TweenScene& copy) {
        editKeyframe(copy, ref.layerID, ref.itemID)->value = kept;
        normalizeLineBounds(*editLayer(copy, ref.layerID));
    });
}

SpanInspector::EffectMenu SpanInspector::effectMenu(Layer::Kind kind)
{
    EffectMenu menu;
    for (const EnumCase<SpanEffect::Kind>& effect : EnumTable<SpanEffect::Kind>::cases) {
        if (!applies(effect.value, kind)) continue;
        (isSlideIn(effect.value) ? menu.slideIn : isSlideOut(effect.value) ? menu.slideOut : menu.plain).push_back(effect.value);
    }
    return menu;
}

const TimeSpan* SpanInspector::spanAtPlayhead(const Layer& layer, double playhead)
{
    for (const TimeSpan& span : layer.spans)
        if (span.contains(playhead)) return &span;
    return nullptr;
}

std::optional<Edit> SpanInspector::setStart(const TweenScene& scene, const TimelineItemRef& ref, double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateSpan(scene, "Resize Span", ref,
                      [&](TimeSpan& span) { span.start = std::max(std::min(seconds, span.end - shortestStretch), 0.0); });
}

std::optional<Edit> SpanInspector::setEnd(const TweenScene& scene, const TimelineItemRef& ref, double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateSpan(scene, "Resize Span", ref, [&](TimeSpan& span) {
        span.end = std::max(std::min(seconds, scene.duration), span.start + shortestStretch);
    });
}

std::optional<Edit> SpanInspector::addEffect(const TweenScene& scene, const TimelineItemRef& span, SpanEffect::Kind kind)
{
    return changed(scene, "Add Span Effect", [&](TweenScene& copy) {
        if (Layer* layer = editLayer(copy, span.layerID)) addSpanEffect(*layer, span.itemID, kind);
    });
}

std::optional<Edit> SpanInspector::removeEffect(const TweenScene& scene, const TimelineItemRef& ref, const UUID& effectID)
{
    return mutateSpan(scene, "Remove Effect", ref, [&](TimeSpan& span) {
        std::erase_if(span.effects.edit(), [&](const SpanEffect& effect) { return effect.id == effectID; });
    });
}

std::optional<Edit> SpanInspector::setEffectDuration(const TweenScene& scene, const TimelineItemRef& span, const UUID& effectID,
                                                     double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateEffect(scene, "Edit Effect Duration", span, effectID,
                        [&](SpanEffect& effect) { effect.duration = std::max(seconds, 0.0); });
}

std::optional<Edit> SpanInspector::setEffectReversed(const TweenScene& scene, const TimelineItemRef& span, const UUID& effectID,
                                                     bool reversed)
{
    return mutateEffect(scene, "Edit Effect Direction", span, effectID, [&](SpanEffect& effect) { effect.reversed = reversed; });
}

bool SpanInspector::hasDirection(SpanEffect::Kind kind)
{
    return kind == SpanEffect::Kind::drawOn || kind == SpanEffect::Kind::eraseOff;
}

bool SpanInspector::hasBlinkRanges(Layer::Kind kind)
{
    return kind == Layer::Kind::text;
}

std::optional<Edit> SpanInspector::addBlinkRange(const TweenScene& scene, const TimelineItemRef& span, double playhead,
                                                 RandomSource& random)
{
    return mutateSpan(scene, "Add Blink Range", span, [&](TimeSpan& edited) {
        const bool isWithin = edited.start <= playhead && playhead < edited.end;
        edited.cursorBlinkRanges.append(
            {.id = UUID::random(random), .start = isWithin ? playhead : edited.start, .end = edited.end});
    });
}

std::optional<Edit> SpanInspector::removeBlinkRange(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID)
{
    return mutateSpan(scene, "Remove Cursor Blink Range", span, [&](TimeSpan& edited) {
        std::erase_if(edited.cursorBlinkRanges.edit(), [&](const BlinkRange& range) { return range.id == rangeID; });
    });
}

std::optional<Edit> SpanInspector::setBlinkRangeStart(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID,
                                                      double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateBlinkRange(scene, span, rangeID, [&](BlinkRange& range, const TimeSpan& within) {
        range.start = std::max(std::min({seconds, range.end, within.end}), within.start);
    });
}

std::optional<Edit> SpanInspector::setBlinkRangeEnd(const TweenScene& scene, const TimelineItemRef& span, const UUID& rangeID,
                                                    double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateBlinkRange(scene, span, rangeID, [&](BlinkRange& range, const TimeSpan& within) {
        range.end = std::min(std::max({seconds, range.start, within.start}), within.end);
    });
}

std::optional<Edit> SpanInspector::setZoomTransition(const TweenScene& scene, const TimelineItemRef& ref, ZoomEnd end,
                                                     ZoomTransition transition)
{
    return mutateSpan(scene, "Edit Zoom Transition", ref,
                      [&](TimeSpan& span) { (end == ZoomEnd::start ? span.zoomStart : span.zoomEnd) = transition; });
}

std::optional<Edit> PulseInspector::setTime(const TweenScene& scene, const TimelineItemRef& ref, double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return changed(scene, "Move Pulse", [&](TweenScene& copy) {
        if (Pulse* pulse = editPulse(copy, ref.layerID, ref.itemID))
            pulse->time = std::max(std::min(seconds, scene.duration), 0.0);
    });
}

std::optional<Edit> PulseInspector::togglePulseEffect(const TweenScene& scene, const TimelineItemRef& ref, PulseEffect effect)
{
    return changed(scene, "Edit Pulse Effects", [&](TweenScene& copy) {
        Pulse* pulse = editPulse(copy, ref.layerID, ref.itemID);
        if (!pulse) return;
        PulseEffects effects = pulse->effects.empty() ? PulseEffects{PulseEffect::scale, PulseEffect::glow} : pulse->effects;
        effects.contains(effect) ? effects.remove(effect) : effects.insert(effect);
        // Without any, the pulse would play the usual two.
        if (!effects.empty()) pulse->effects = effects;
    });
}

std::optional<Edit> ClipInspector::setStart(const TweenScene& scene, const TimelineItemRef& ref, double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateClip(scene, "Edit Trim", ref, [&](VideoClip& clip) {
        clip.sceneStart = std::max(std::min(seconds, clip.sceneEnd - shortestStretch), 0.0);
    });
}

std::optional<Edit> ClipInspector::setEnd(const TweenScene& scene, const TimelineItemRef& ref, double seconds)
{
    if (!std::isfinite(seconds)) return std::nullopt;
    return mutateClip(scene, "Edit Trim", ref, [&](VideoClip& clip) {
        clip.sceneEnd = std::max(std::min(seconds, scene.duration), clip.sceneStart + shortestStretch);
    });
}

std::optional<Edit> ClipInspector::setSourceStart(const TweenScene& scene, const TimelineItemRef& ref, double seconds)
{
    const Layer* layer = findLayer(scene, ref.layerID);
    if (!layer || !std::isfinite(seconds)) return std::nullopt;
    const double latest = layer->videoDuration > 0 ? std::max(layer->videoDuration - shortestStretch, 0.0) : seconds;
    return mutateClip(scene, "Edit Trim", ref,
                      [&](VideoClip& clip) { clip.sourceStart = std::max(std::min(seconds, latest), 0.0); });
}

std::optional<Edit> ClipInspector::setEndBehavior(const TweenScene& scene, const TimelineItemRef& clip,
                                                  VideoClip::EndBehavior behavior)
{
    return mutateClip(scene, "Edit End Behavior", clip, [&](VideoClip& edited) { edited.endBehavior = behavior; });
}

} // namespace larkspool
