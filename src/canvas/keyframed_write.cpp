#include "canvas/keyframed_write.h"

#include "editing/keyframe_upsert.h"

#include <algorithm>
#include <cassert>
#include <variant>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

double& field(Layer& layer, Property property)
{
    switch (property) {
    case Property::x: return layer.transform.x;
    case Property::y: return layer.transform.y;
    case Property::rotation: return layer.transform.rotation;
    case Property::width: return layer.size.width;
    case Property::height: return layer.size.height;
    default: break;
    }
    assert(!"no drag writes this property");
    return layer.transform.x;
}

bool isPosition(const Keyframe& keyframe)
{
    return (keyframe.property == Property::x || keyframe.property == Property::y) &&
           std::holds_alternative<double>(keyframe.value);
}

} // namespace

bool hasKeyframes(const Layer& layer, Property property)
{
    return std::ranges::any_of(layer.keyframes, [&](const Keyframe& keyframe) { return keyframe.property == property; });
}

void writeProperty(Layer& layer, Property property, double value, const KeyframedWriting& how)
{
    if (how.keyframeAtPlayhead && hasKeyframes(layer, property))
        upsertKeyframe(layer, property, how.playhead, value, *how.random);
    else
        field(layer, property) = value;
}

void shiftPosition(Layer& layer, double dx, double dy)
{
    layer.transform.x += dx;
    layer.transform.y += dy;
    shiftPositionKeyframes(layer, dx, dy);
}

void shiftPositionKeyframes(Layer& layer, double dx, double dy)
{
    // Editing a list parts it from its copies.
    if (std::ranges::none_of(layer.keyframes, isPosition)) return;
    for (Keyframe& keyframe : layer.keyframes.edit())
        if (isPosition(keyframe)) std::get<double>(keyframe.value) += keyframe.property == Property::x ? dx : dy;
}

} // namespace larkspool
