#pragma once

#include "document/tween_scene.h"
#include "editing/timeline_item.h"

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace larkspool {

/// Finding records in the tree of layers by identity. What is found is valid until the scene is changed.
///
/// `edit...` gives a record for change, and parts only the lists on the way to it from copies of the scene. All give null for
/// what is not there.

/// Calls `visit(const Layer&)` for every layer, each parent before its children, in the order of the lists.
template <typename Visit>
void walkLayers(const Array<Layer>& layers, const Visit& visit)
{
    for (const Layer& layer : layers) {
        visit(layer);
        walkLayers(layer.children, visit);
    }
}

const Layer* findLayer(const TweenScene& scene, const UUID& layerID);
Layer* editLayer(TweenScene& scene, const UUID& layerID);

/// @name Of one layer.
/// @{
const Keyframe* findKeyframe(const Layer& layer, const UUID& kfID);
const TimeSpan* findSpan(const Layer& layer, const UUID& spanID);
const Pulse* findPulse(const Layer& layer, const UUID& pulseID);
const VideoClip* findVideoClip(const Layer& layer); ///< Only layers of kind `video` have one.
Keyframe* editKeyframe(Layer& layer, const UUID& kfID);
TimeSpan* editSpan(Layer& layer, const UUID& spanID);
Pulse* editPulse(Layer& layer, const UUID& pulseID);
VideoClip* editVideoClip(Layer& layer);
/// @}

/// @name Of a scene.
/// @{
const Keyframe* findKeyframe(const TweenScene& scene, const UUID& layerID, const UUID& kfID);
const TimeSpan* findSpan(const TweenScene& scene, const UUID& layerID, const UUID& spanID);
const Pulse* findPulse(const TweenScene& scene, const UUID& layerID, const UUID& pulseID);
const VideoClip* findVideoClip(const TweenScene& scene, const UUID& layerID);
Keyframe* editKeyframe(TweenScene& scene, const UUID& layerID, const UUID& kfID);
TimeSpan* editSpan(TweenScene& scene, const UUID& layerID, const UUID& spanID);
Pulse* editPulse(TweenScene& scene, const UUID& layerID, const UUID& pulseID);
VideoClip* editVideoClip(TweenScene& scene, const UUID& layerID);
/// @}

/// When an item is, in scene seconds. A pulse and a keyframe have no length; a wait tail runs from its keyframe's time for the
/// length of the wait. The end can lie before the start where a document says so.
struct ItemTimes {
    double start = 0;
    double end = 0;

    bool operator==(const ItemTimes&) const = default;
};

/// Nothing for a reference that names nothing.
std::optional<ItemTimes> timesOf(const Layer& layer, const TimelineItemRef& ref);
std::optional<ItemTimes> timesOf(const TweenScene& scene, const TimelineItemRef& ref);

/// Calls `visit(const TimelineItemRef&, ItemTimes, std::size_t)` for every item of the layer: spans, clip, pulses, keyframes,
/// each keyframe followed by its wait tail, whatever its length. The number is the item's place in the layer's list.
template <typename Visit>
void walkItems(const Layer& layer, const Visit& visit)
{
    for (std::size_t i = 0; i < layer.spans.size(); ++i) {
        const TimeSpan& span = layer.spans[i];
        visit(TimelineItemRef::span(layer.id, span.id), ItemTimes{span.start, span.end}, i);
    }
    if (const VideoClip* clip = findVideoClip(layer))
        visit(TimelineItemRef::videoClip(layer.id), ItemTimes{clip->sceneStart, clip->sceneEnd}, 0);
    for (std::size_t i = 0; i < layer.pulses.size(); ++i) {
        const Pulse& pulse = layer.pulses[i];
        visit(TimelineItemRef::pulse(layer.id, pulse.id), ItemTimes{pulse.time, pulse.time}, i);
    }
    for (std::size_t i = 0; i < layer.keyframes.size(); ++i) {
        const Keyframe& keyframe = layer.keyframes[i];
        visit(TimelineItemRef::keyframe(layer.id, keyframe.id), ItemTimes{keyframe.time, keyframe.time}, i);
        visit(TimelineItemRef::waitTail(layer.id, keyframe.id), ItemTimes{keyframe.time, keyframe.time + keyframe.wait}, i);
    }
}

/// The ids of the layers around the layer, the innermost first. Empty for a layer at the top, or of another scene.
std::vector<UUID> ancestorsOf(const TweenScene& scene, const UUID& layerID);

/// The ids with those of all layers below them. Ids that name no layer of the scene are left out.
LayerIDs expandedByDescendants(const TweenScene& scene, const LayerIDs& layerIDs);

/// Where the layers of a scene stand, for many look-ups. It holds places, no records, and so serves every later state of the
/// scene: a layer that has moved meanwhile is searched for, and one that is gone gives null.
class LayerIndex {
public:
    using Place = std::uint32_t; ///< Counts the layers in the order of the walk, from 0.

    explicit LayerIndex(const TweenScene& scene);

    std::size_t size() const { return nodes_.size(); }
    /// Of the first layer with the id.
    std::optional<Place> placeOf(const UUID& layerID) const;

    const Layer* find(const TweenScene& scene, Place place) const;
    const Layer* find(const TweenScene& scene, const UUID& layerID) const;
    Layer* edit(TweenScene& scene, Place place) const;
    Layer* edit(TweenScene& scene, const UUID& layerID) const;

private:
    static constexpr Place top = ~Place{};
    struct Node {
        UUID id;
        Place parent;
        std::uint32_t position; ///< Among its siblings.
    };

    void add(const Array<Layer>& layers, Place parent);
    const Layer* follow(const TweenScene& scene, Place place) const;
    Layer* followForEdit(TweenScene& scene, Place place) const;

    std::vector<Node> nodes_;
    std::unordered_map<UUID, Place> places_;
};

} // namespace larkspool
