#include "evaluation/interpolation.h"

#include "foundation/main_thread.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <map>
#include <variant>

namespace larkspool::Interpolation {

namespace {

using Property = Keyframe::AnimatableProperty;

/// The field of a layer that a property overrides. Its type is the case of value that the property takes.
using Target = std::variant<double Transform::*, double CGSize::*, double Layer::*, ColorRGBA Layer::*, ShadowPreset Layer::*,
                            CursorVariant Layer::*, SharedString Layer::*>;

struct AnimatableField {
    Property property;
    Target target;
};

/// In the order of the properties.
constexpr std::array<AnimatableField, Keyframe::animatablePropertyCount> animatableFields{{
    {Property::x, &Transform::x},
    {Property::y, &Transform::y},
    {Property::rotation, &Transform::rotation},
    {Property::scaleX, &Transform::scaleX},
    {Property::scaleY, &Transform::scaleY},
    {Property::opacity, &Layer::opacity},
    {Property::fill, &Layer::fill},
    {Property::stroke, &Layer::stroke},
    {Property::strokeWidth, &Layer::strokeWidth},
    {Property::width, &CGSize::width},
    {Property::height, &CGSize::height},
    {Property::cornerRadius, &Layer::cornerRadius},
    {Property::shadow, &Layer::shadow},
    {Property::cursorVariant, &Layer::cursorVariant},
    {Property::groupGap, &Layer::groupGap},
    {Property::fontSize, &Layer::fontSize},
    {Property::fontName, &Layer::fontName},
    {Property::textColor, &Layer::textColor},
    {Property::lineArcBend, &Layer::lineArcBend},
    {Property::lineWaveFrequency, &Layer::lineWaveFrequency},
    {Property::lineWaveAmplitude, &Layer::lineWaveAmplitude},
}};

constexpr bool isInOrder()
{
    for (std::size_t index = 0; index < animatableFields.size(); ++index)
        if (static_cast<std::size_t>(animatableFields[index].property) != index) return false;
    return true;
}
static_assert(isInOrder());

using PropertySet = std::uint32_t;
static_assert(Keyframe::animatablePropertyCount <= 32);

constexpr PropertySet setOf(Property property)
{
    return PropertySet{1} << static_cast<unsigned>(property);
}

constexpr PropertySet allProperties = ~PropertySet{0};
constexpr PropertySet placementProperties = setOf(Property::x) | setOf(Property::y) | setOf(Property::rotation) |
                                            setOf(Property::scaleX) | setOf(Property::scaleY) | setOf(Property::width) |
                                            setOf(Property::height) | setOf(Property::groupGap);

/// The keyframes of one property that decide its value at a time t.
///
///     ---a---b---a'---|---c---d----        before = a', the last in array order of those at its time
///                     t                    next = c, the first in array order of those at its time
///
/// They are what sorting the keyframes by time, stably, would show left and right of t, found in one pass without sorting.
struct Neighbours {
    const Keyframe* before; ///< The latest with a time below t.
    const Keyframe* next;   ///< The earliest with a time of t or above.
    const Keyframe* at;     ///< The last in array order with the time t.
    bool isFollowed;        ///< Whether a keyframe has a time above t.

    void add(const Keyframe& keyframe, double time)
    {
        if (keyframe.time < time) {
            if (!before || keyframe.time >= before->time) before = &keyframe;
        } else if (keyframe.time >= time) {
            if (!next || keyframe.time < next->time) next = &keyframe;
            if (keyframe.time == time) at = &keyframe;
            else isFollowed = true;
        }
    }
};

/// The value `eased` of the way from `a` to `b`; `eased` may lie outside 0...1.
KeyValue mixed(const KeyValue& a, const KeyValue& b, double eased)
{
    const auto number = [eased](double from, double to) { return from + eased * (to - from); };
    if (a.index() != b.index()) return b;
    if (const auto* from = std::get_if<double>(&a)) return number(*from, std::get<double>(b));
    if (const auto* from = std::get_if<ColorRGBA>(&a)) {
        const ColorRGBA& to = std::get<ColorRGBA>(b);
        return ColorRGBA{number(from->r, to.r), number(from->g, to.g), number(from->b, to.b), number(from->a, to.a)};
    }
    if (const auto* from = std::get_if<CGPoint>(&a)) {
        const CGPoint& to = std::get<CGPoint>(b);
        return CGPoint{number(from->x, to.x), number(from->y, to.y)};
    }
    if (const auto* from = std::get_if<CGSize>(&a)) {
        const CGSize& to = std::get<CGSize>(b);
        return CGSize{number(from->width, to.width), number(from->height, to.height)};
    }
    return eased >= 1 ? b : a; // Shadows, cursors and fonts do not blend.
}

/// The value of the move from `a` to `b` at `time`, which lies between them.
KeyValue valueDuringMove(const Keyframe& a, const Keyframe& b, double time)
{
    const double hold = std::min(a.time + std::max(a.wait, 0.0), b.time);
    if (time <= hold) return a.value;
    const double span = b.time - hold;
    const double progress = span > 0 ? (time - hold) / span : 0;
    return mixed(a.value, b.value, a.easing.apply(progress));
}

KeyValue sampledValue(const Neighbours& keyframes, double time)
{
    if (!keyframes.before) return keyframes.next->value;
    if (!keyframes.isFollowed) return (keyframes.at ? keyframes.at : keyframes.before)->value;
    return valueDuringMove(*keyframes.before, *keyframes.next, time);
}

/// Calls `store(target, value)` for each keyframed property of `properties`.
template <typename Store>
void sample(const Array<Keyframe>& keyframes, double time, PropertySet properties, Store store)
{
    std::array<Neighbours, Keyframe::animatablePropertyCount> neighbours; // Those of `keyframed` are set, the rest are not.
    PropertySet keyframed = 0;
    for (const Keyframe& keyframe : keyframes) {
        const PropertySet property = setOf(keyframe.property) & properties;
        if (!property) continue;
        Neighbours& own = neighbours[static_cast<std::size_t>(keyframe.property)];
        if (!(keyframed & property)) own = {};
        own.add(keyframe, time);
        keyframed |= property;
    }
    for (std::size_t index = 0; keyframed >> index; ++index) {
        // A time that is not a number has no neighbours.
        if (!(keyframed >> index & 1) || !(neighbours[index].before || neighbours[index].next)) continue;
        store(animatableFields[index].target, sampledValue(neighbours[index], time));
    }
}

template <typename Field>
void assign(Field& field, const KeyValue& value)
{
    if (const Field* held = std::get_if<Field>(&value)) field = *held;
}

struct LayerFields {
    Layer& layer;
    const KeyValue& value;

    void operator()(double Transform::* member) const { assign(layer.transform.*member, value); }
    void operator()(double CGSize::* member) const { assign(layer.size.*member, value); }
    template <typename Field>
    void operator()(Field Layer::* member) const
    {
        assign(layer.*member, value);
    }
};

struct FieldReader {
    const Layer& layer;

    KeyValue operator()(double Transform::* member) const { return layer.transform.*member; }
    KeyValue operator()(double CGSize::* member) const { return layer.size.*member; }
    template <typename Field>
    KeyValue operator()(Field Layer::* member) const
    {
        return layer.*member;
    }
};

struct PlacementFields {
    Placement& placement;
    const KeyValue& value;

    void operator()(double Transform::* member) const { assign(placement.transform.*member, value); }
    void operator()(double CGSize::* member) const { assign(placement.size.*member, value); }
    void operator()([[maybe_unused]] double Layer::* member) const
    {
        assert(member == &Layer::groupGap);
        assign(placement.groupGap, value);
    }
    template <typename Field>
    void operator()(Field Layer::*) const
    {
        assert(!"no colour, preset or text is part of a placement");
    }
};

Layer resolvedCopy(const Layer& layer, double time)
{
    Layer copy = layer;
    sample(layer.keyframes, time, allProperties,
           [&copy](const Target& target, const KeyValue& value) { std::visit(LayerFields{copy, value}, target); });
    return copy;
}

struct CacheEntry {
    double time;
    std::uint64_t gen;
    Transform inputTransform;
    CGSize inputSize;
    std::size_t inputKfCount;
    Layer resolved;

    bool answers(const Layer& layer, double askedTime, std::uint64_t askedGen) const
    {
        return time == askedTime && gen == askedGen && inputTransform == layer.transform && inputSize == layer.size &&
               inputKfCount == layer.keyframes.size();
    }
};

// Both are touched on the main thread only, so they need no lock.
std::uint64_t generation = 0;

/// Ordered: the ids come from files, and some could be made to share one bucket of a hash table.
std::map<UUID, CacheEntry>& cache()
{
    static std::map<UUID, CacheEntry> entries;
    return entries;
}

} // namespace

Layer resolve(const Layer& layer, double time)
{
    if (layer.keyframes.empty()) return layer;
    if (!isMainThread()) return resolvedCopy(layer, time);

    const auto found = cache().find(layer.id);
    if (found != cache().end() && found->second.answers(layer, time, generation)) return found->second.resolved;

    Layer copy = resolvedCopy(layer, time);
    CacheEntry entry{time, generation, layer.transform, layer.size, layer.keyframes.size(), copy};
    if (found != cache().end()) found->second = std::move(entry);
    else cache().emplace(layer.id, std::move(entry));
    return copy;
}

void invalidate()
{
    assert(isMainThread());
    ++generation;
}

KeyValue fieldValue(const Layer& layer, Keyframe::AnimatableProperty property)
{
    return std::visit(FieldReader{layer}, animatableFields[static_cast<std::size_t>(property)].target);
}

Placement placement(const Layer& layer, double time)
{
    Placement placement{layer.transform, layer.size, layer.groupGap};
    sample(layer.keyframes, time, placementProperties,
           [&placement](const Target& target, const KeyValue& value) { std::visit(PlacementFields{placement, value}, target); });
    return placement;
}

} // namespace larkspool::Interpolation
