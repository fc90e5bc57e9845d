#include "evaluation/span_effects.h"

#include "foundation/text.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <string>
#include <vector>

namespace larkspool {

namespace {

/// Pixels that a slide goes beyond the layer's own size.
constexpr double slideMargin = 40;
/// Seconds of one blink of a caret; it shows for the first half.
constexpr double blinkPeriod = 0.8;
/// An effect takes at least this long, so that its progress is defined.
constexpr double shortestEffect = 0.001;

double backEaseOut(double p)
{
    if (p >= 1) return 1;
    const double q = p - 1;
    return 1 + q * q * (2.70158 * q + 1.70158);
}

double bounce(double p)
{
    constexpr double strength = 7.5625, divisor = 2.75;
    const auto arc = [p](double middle, double height) {
        const double q = p - middle / divisor;
        return strength * q * q + height;
    };
    if (p < 1 / divisor) return arc(0, 0);
    if (p < 2 / divisor) return arc(1.5, 0.75);
    if (p < 2.5 / divisor) return arc(2.25, 0.9375);
    return arc(2.625, 0.984375);
}

/// How much of the effect is done at `time`: 0 at the span's start and 1 a duration later for an intro, mirrored in time for
/// an outro.
double effectProgress(const SpanEffect& effect, const TimeSpan& span, double time)
{
    const double elapsed = isIntro(effect.kind) ? time - span.start : span.end - time;
    return std::clamp(elapsed / std::max(effect.duration, shortestEffect), 0.0, 1.0);
}

void fade(Layer& layer, double factor)
{
    layer.opacity *= factor;
}

void scale(Layer& layer, double factor)
{
    layer.transform.scaleX *= factor;
    layer.transform.scaleY *= factor;
}

/// `coordinate` is the layer's x or y, `distance` how far from its place it begins.
void slide(Layer& layer, double& coordinate, double distance, double eased)
{
    coordinate += (1 - eased) * distance;
    fade(layer, eased);
}

/// Of several effects that type, the one that is behind rules. They are taken together, so that the characters of a long text
/// are counted once.
void type(Layer& text, const TimeSpan& span, double time)
{
    std::optional<double> least;
    for (const SpanEffect& effect : span.effects) {
        if (effect.kind != SpanEffect::Kind::typeOn && effect.kind != SpanEffect::Kind::deleteOff) continue;
        const double progress = effectProgress(effect, span, time);
        least = std::min(least.value_or(progress), progress);
    }
    if (!least) return;

    const std::size_t count = characterCount(text.text);
    const double typed = std::round(*least * static_cast<double>(count));
    text.textTypeOnVisible = typed > 0 ? std::min(static_cast<std::size_t>(typed), count) : 0;
}

void draw(Layer& layer, const SpanEffect& effect, double eased)
{
    if (layer.kind != Layer::Kind::line || !(eased < layer.lineDrawProgress)) return;
    layer.lineDrawProgress = eased;
    layer.lineDrawReversed = effect.reversed;
}

void apply(Layer& layer, const SpanEffect& effect, const TimeSpan& span, double time)
{
    const double p = effectProgress(effect, span, time);
    const double eased = 1 - (1 - p) * (1 - p);

    using enum SpanEffect::Kind;
    switch (effect.kind) {
    case fadeIn:
    case fadeOut: return fade(layer, eased);
    case popIn:
    case popOut: return scale(layer, backEaseOut(p));
    case bounceIn:
    case bounceOut: return scale(layer, bounce(p));
    case slideInLeft:
    case slideOutLeft: return slide(layer, layer.transform.x, -(layer.size.width + slideMargin), eased);
    case slideInRight:
    case slideOutRight: return slide(layer, layer.transform.x, layer.size.width + slideMargin, eased);
    case slideInTop:
    case slideOutTop: return slide(layer, layer.transform.y, -(layer.size.height + slideMargin), eased);
    case slideInBottom:
    case slideOutBottom: return slide(layer, layer.transform.y, layer.size.height + slideMargin, eased);
    case drawOn:
    case eraseOff: return draw(layer, effect, eased);
    case typeOn:
    case deleteOff: return; // Typed together, see above.
    case blinkingCursorStart:
    case blinkingCursorEnd: return;
    }
}

bool isInBlinkRange(const TimeSpan& span, double time)
{
    return std::any_of(span.cursorBlinkRanges.begin(), span.cursorBlinkRanges.end(), [&](const BlinkRange& range) {
        const double low = std::clamp(range.start, span.start, span.end);
        const double high = std::clamp(range.end, span.start, span.end);
        return low <= time && time <= high;
    });
}

bool hasBlinkRange(const Layer& layer)
{
    return std::any_of(layer.spans.begin(), layer.spans.end(),
                       [](const TimeSpan& span) { return !span.cursorBlinkRanges.empty(); });
}

/// The caret is a character at the end of the text, so that it takes part in the layout; where it does not show, it keeps the
/// text from jumping.
void addCaret(Layer& layer, const Layer& original, const TimeSpan& span, double time)
{
    if (!hasBlinkRange(original) && !original.textCursorBlinks) return;
    layer.text = layer.text.string() + "|";
    layer.textCursorVisible =
        (original.textCursorBlinks || isInBlinkRange(span, time)) && std::fmod(time, blinkPeriod) < blinkPeriod / 2;
}

const TimeSpan* spanAt(const Layer& layer, double time)
{
    const auto found =
        std::find_if(layer.spans.begin(), layer.spans.end(), [time](const TimeSpan& span) { return span.contains(time); });
    return found == layer.spans.end() ? nullptr : found;
}

} // namespace

bool isVisible(const Layer& layer, double time)
{
    if (layer.kind == Layer::Kind::video) {
        const VideoClip& clip = layer.videoClip;
        if (!(clip.sceneStart < clip.sceneEnd && clip.contains(time))) return false;
    }
    return layer.spans.empty() || spanAt(layer, time);
}

bool isInWait(const Layer& layer, double time, std::optional<std::span<const Keyframe::AnimatableProperty>> properties)
{
    std::vector<const Keyframe*> keyframes;
    for (const Keyframe& keyframe : layer.keyframes)
        if (!properties || std::find(properties->begin(), properties->end(), keyframe.property) != properties->end())
            keyframes.push_back(&keyframe);

    // weak_order, since a time that is not a number would break the promise of `<`.
    std::stable_sort(keyframes.begin(), keyframes.end(), [](const Keyframe* a, const Keyframe* b) {
        return a->property != b->property ? a->property < b->property : std::weak_order(a->time, b->time) < 0;
    });
    const auto waiting = std::adjacent_find(keyframes.begin(), keyframes.end(), [time](const Keyframe* a, const Keyframe* b) {
        return a->property == b->property && a->wait > 0 && a->time <= time && time <= std::min(a->time + a->wait, b->time);
    });
    return waiting != keyframes.end();
}

Layer applySpanEffects(Layer resolved, const Layer& original, double time)
{
    const TimeSpan* span = spanAt(original, time);
    if (!span) return resolved;
    for (const SpanEffect& effect : span->effects) apply(resolved, effect, *span, time);
    if (resolved.kind == Layer::Kind::text) {
        type(resolved, *span, time);
        addCaret(resolved, original, *span, time);
    }
    return resolved;
}

double transformProgress(ZoomTransition transition, double progress)
{
    return transition == ZoomTransition::zoom ? Easing::easeInOut().apply(progress) : 1;
}

double alphaFactor(ZoomTransition transition, double progress)
{
    return transition == ZoomTransition::fade ? Easing::easeInOut().apply(progress) : 1;
}

} // namespace larkspool
