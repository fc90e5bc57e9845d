#pragma once

#include "document/tween_scene.h"

#include <future>
#include <utility>
#include <vector>

namespace larkspool {

inline Keyframe key(Keyframe::AnimatableProperty property, double time, KeyValue value, Easing easing = Easing::linear(),
                    double wait = 0)
{
    return {.property = property, .time = time, .value = std::move(value), .easing = easing, .wait = wait};
}

/// A layer of this kind with its top left corner at `origin`.
inline Layer layerAt(CGPoint origin, CGSize size, Layer::Kind kind = Layer::Kind::rectangle)
{
    Layer layer;
    layer.kind = kind;
    layer.transform.x = origin.x;
    layer.transform.y = origin.y;
    layer.size = size;
    return layer;
}

inline Layer groupOf(std::vector<Layer> children, CGPoint origin = {}, GroupLayout layout = GroupLayout::freeform)
{
    Layer group = layerAt(origin, {200, 200}, Layer::Kind::group);
    group.children = std::move(children);
    group.groupLayout = layout;
    return group;
}

inline TimeSpan span(double start, double end, std::vector<SpanEffect> effects = {})
{
    return {.start = start, .end = end, .effects = std::move(effects)};
}

inline TweenScene sceneOf(std::vector<Layer> layers)
{
    TweenScene scene;
    scene.layers = std::move(layers);
    return scene;
}

/// A spring with more damping than it can swing with: its curve is not a number.
inline Easing overdampedSpring()
{
    return Easing::spring(1, 4);
}

/// What `work` gives on a thread of its own, where evaluation keeps no results.
template <typename Work>
auto offMainThread(Work work)
{
    return std::async(std::launch::async, std::move(work)).get();
}

} // namespace larkspool
