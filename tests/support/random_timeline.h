#pragma once

#include "document/normalisers.h"
#include "editing/scene_lookup.h"

#include <random>
#include <unordered_set>
#include <vector>

namespace larkspool {

/// Scenes full of timeline items, and what hands do to them, drawn from a seed.
class RandomTimeline {
public:
    explicit RandomTimeline(std::uint64_t seed) : engine_(seed) {}

    std::size_t index(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
    bool chance(unsigned oneIn) { return engine_() % oneIn == 0; }
    double between(double low, double high) { return std::uniform_real_distribution<double>(low, high)(engine_); }
    UUID id() { return {engine_(), engine_()}; }

    /// Ten seconds or so, with items off the grid, at 0, beyond the end, on top of each other and inverted. Effects fit their spans.
    TweenScene scene()
    {
        TweenScene scene{.id = id(), .fps = static_cast<std::int64_t>(index(3) * 30), .duration = between(4, 12)};
        for (std::size_t i = 0; i < 4; ++i) scene.layers.append(layer(/*depth=*/2));
        return scene;
    }
    Layer layer(int depth)
    {
        Layer made{.id = id()};
        made.videoClip.id = id();
        for (std::size_t i = index(3); i > 0; --i) made.spans.append(span());
        for (std::size_t i = index(3); i > 0; --i) made.pulses.append({.id = id(), .time = time()});
        for (std::size_t i = index(4); i > 0; --i)
            made.keyframes.append({.id = id(), .time = time(), .wait = chance(2) ? between(0, 2) : 0});
        if (chance(3)) {
            made.kind = Layer::Kind::video;
            const double start = time();
            made.videoClip = {.id = id(), .sceneStart = start, .sceneEnd = start + between(0, 3), .sourceStart = between(0, 1)};
            made.videoDuration = chance(2) ? between(0, 5) : 0;
        } else if (depth > 0 && chance(2)) {
            made.kind = Layer::Kind::group;
            made.children = {layer(depth - 1), layer(depth - 1)};
        }
        normalizeSpanEffects(made);
        return made;
    }
    TimeSpan span()
    {
        const double start = time();
        TimeSpan made{.id = id(), .start = start, .end = chance(10) ? start - 0.5 : start + between(0, 4)};
        if (chance(2)) made.effects.append({.id = id(), .duration = between(0.1, 3)});
        return made;
    }
    double time()
    {
        switch (index(5)) {
        case 0: return 0;
        case 1: return static_cast<double>(index(8));
        default: return between(0, 11);
        }
    }

    /// Some of the scene's items.
    TimelineSelection selection(const TweenScene& scene)
    {
        TimelineSelection selected;
        for (const TimelineItemRef& ref : items(scene))
            if (chance(4)) selected.insert(ref);
        return selected;
    }
    static std::vector<TimelineItemRef> items(const TweenScene& scene)
    {
        std::vector<TimelineItemRef> all;
        walkLayers(scene.layers, [&](const Layer& layer) {
            walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes, std::size_t) { all.push_back(ref); });
        });
        return all;
    }

private:
    std::mt19937_64 engine_;
};

/// Whether no two layers, and no two items or effects of any, have one id.
inline bool idsAreUnique(const TweenScene& scene)
{
    std::unordered_set<UUID> ids;
    bool unique = true;
    const auto add = [&](const UUID& id) { unique = ids.insert(id).second && unique; };
    walkLayers(scene.layers, [&](const Layer& layer) {
        add(layer.id);
        add(layer.videoClip.id);
        for (const Keyframe& keyframe : layer.keyframes) add(keyframe.id);
        for (const Pulse& pulse : layer.pulses) add(pulse.id);
        for (const TimeSpan& span : layer.spans) {
            add(span.id);
            for (const SpanEffect& effect : span.effects) add(effect.id);
        }
    });
    return unique;
}

/// Whether no effect of the scene lasts longer than its span allows.
inline bool effectsFitTheirSpans(const TweenScene& scene)
{
    bool fit = true;
    walkLayers(scene.layers, [&](const Layer& layer) {
        Layer normalised = layer;
        normalizeSpanEffects(normalised);
        fit = fit && normalised.spans == layer.spans;
    });
    return fit;
}

} // namespace larkspool
