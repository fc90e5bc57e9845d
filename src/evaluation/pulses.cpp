#include "evaluation/pulses.h"

#include "evaluation/group_layout.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace larkspool {

namespace {

/// The age in seconds of the latest pulse that plays `effect` at `time`; of equally late ones, the first.
std::optional<double> ageOfActivePulse(const Array<Pulse>& pulses, PulseEffect effect, double time)
{
    const Pulse* latest = nullptr;
    for (const Pulse& pulse : pulses) {
        const bool isActive = pulse.time <= time && time - pulse.time <= pulseSeconds && pulse.plays(effect);
        if (isActive && (!latest || pulse.time > latest->time)) latest = &pulse;
    }
    if (!latest) return std::nullopt;
    return time - latest->time;
}

/// A dip of 0.22 in the first fifth of a second, then a decaying sine.
double pulseScale(double age)
{
    constexpr double dipSeconds = 0.2, dip = 0.22, swing = 0.55;
    if (age <= dipSeconds) {
        const double rest = 1 - age / dipSeconds;
        return 1 - dip * (1 - rest * rest);
    }
    // asin(dip / swing): the sine starts at the bottom of the dip, with no jump.
    constexpr double phase = 0.4115168460674879;
    const double progress = (age - dipSeconds) / (pulseSeconds - dipSeconds);
    return 1 + swing * std::exp2(-4 * progress) * std::sin(10 * progress - phase);
}

double pulseGlow(double age)
{
    constexpr double strongest = 1.4;
    return std::min(strongest * std::sin(age * std::numbers::pi), strongest);
}

bool isVisibleColor(const ColorRGBA& color)
{
    return color.a >= 0.05;
}

std::optional<ColorRGBA> firstVisible(std::initializer_list<ColorRGBA> colors)
{
    const auto found = std::ranges::find_if(colors, isVisibleColor);
    if (found == colors.end()) return std::nullopt;
    return *found;
}

ColorRGBA meanWithStrongerAlpha(const ColorRGBA& a, const ColorRGBA& b)
{
    return {(a.r + b.r) / 2, (a.g + b.g) / 2, (a.b + b.b) / 2, std::max(a.a, b.a)};
}

/// The colour of the first visible descendant that has one of its own.
std::optional<ColorRGBA> groupColor(const Array<Layer>& children, const ColorRGBA& fallback)
{
    for (const Layer& child : children) {
        if (child.isHidden) continue;
        if (child.kind == Layer::Kind::group) {
            if (const std::optional<ColorRGBA> found = groupColor(child.children, fallback)) return found;
            continue;
        }
        const ColorRGBA color = pulseGlowColorRGBA(child, fallback);
        if (color != fallback) return color;
    }
    return std::nullopt;
}

std::optional<ColorRGBA> ownColor(const Layer& layer, const ColorRGBA& fallback)
{
    switch (layer.kind) {
    case Layer::Kind::text: return firstVisible({layer.textColor, layer.fill, layer.stroke});
    case Layer::Kind::line: return firstVisible({layer.stroke});
    case Layer::Kind::gradientField: return firstVisible({meanWithStrongerAlpha(layer.fill, layer.stroke)});
    case Layer::Kind::group: return groupColor(layer.children, fallback);
    default: return firstVisible({layer.fill, layer.stroke});
    }
}

} // namespace

PulseEnvelope pulseEnvelope(double time, const Array<Pulse>& pulses)
{
    PulseEnvelope envelope;
    if (const auto age = ageOfActivePulse(pulses, PulseEffect::scale, time)) envelope.scale = pulseScale(*age);
    if (const auto age = ageOfActivePulse(pulses, PulseEffect::glow, time)) envelope.glow = pulseGlow(*age);
    return envelope;
}

std::optional<double> activeRadiateProgress(const Array<Pulse>& pulses, double time)
{
    return ageOfActivePulse(pulses, PulseEffect::radiate, time);
}

ColorRGBA pulseGlowColorRGBA(const Layer& layer, const ColorRGBA& fallback)
{
    return ownColor(layer, fallback).value_or(fallback);
}

CGPoint radiateCenter(const Layer& layer, const Layer& baked, CGPoint groupOffset, double time)
{
    // A cursor's rings go out from the tip of its arrow.
    const CGPoint fraction = layer.kind == Layer::Kind::cursor ? CGPoint{0.22, 0.06} : CGPoint{0.5, 0.5};
    CGRect box{{baked.transform.x, baked.transform.y}, baked.size};
    if (layer.kind == Layer::Kind::group) {
        const CGRect covered = groupVisualAABB(layer, time);
        if (!covered.isNull()) box = {{covered.minX() + groupOffset.x, covered.minY() + groupOffset.y}, covered.size};
    }
    return {box.origin.x + fraction.x * box.size.width, box.origin.y + fraction.y * box.size.height};
}

Layer applyPulseScale(Layer layer, double scale)
{
    layer.transform.scaleX *= scale;
    layer.transform.scaleY *= scale;
    return layer;
}

} // namespace larkspool
