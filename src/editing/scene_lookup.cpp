#include "editing/scene_lookup.h"

#include <algorithm>

namespace larkspool {

namespace {

const Layer* findIn(const Array<Layer>& layers, const UUID& layerID)
{
    for (const Layer& layer : layers) {
        if (layer.id == layerID) return &layer;
        if (const Layer* below = findIn(layer.children, layerID)) return below;
    }
    return nullptr;
}

/// The positions that lead to the layer, the last step first. Whether there is such a layer.
bool collectPath(const Array<Layer>& layers, const UUID& layerID, std::vector<std::size_t>& path)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layers[i].id == layerID || collectPath(layers[i].children, layerID, path)) {
            path.push_back(i);
            return true;
        }
    }
    return false;
}

bool collectAncestors(const Array<Layer>& layers, const UUID& layerID, std::vector<UUID>& ancestors)
{
    for (const Layer& layer : layers) {
        if (layer.id == layerID) return true;
        if (collectAncestors(layer.children, layerID, ancestors)) {
            ancestors.push_back(layer.id);
            return true;
        }
    }
    return false;
}

void collectExpanded(const Array<Layer>& layers, const LayerIDs& layerIDs, bool isBelow, LayerIDs& expanded)
{
    for (const Layer& layer : layers) {
        const bool belongs = isBelow || layerIDs.contains(layer.id);
        if (belongs) expanded.insert(layer.id);
        collectExpanded(layer.children, layerIDs, belongs, expanded);
    }
}

template <typename T>
const T* findById(const Array<T>& list, const UUID& id)
{
    const auto found = std::ranges::find(list, id, &T::id);
    return found == list.end() ? nullptr : &*found;
}

/// Looks first, so that a list without the record stays shared.
template <typename T>
T* editById(Array<T>& list, const UUID& id)
{
    const auto found = std::ranges::find(std::as_const(list), id, &T::id);
    if (found == std::as_const(list).end()) return nullptr;
    const auto position = static_cast<std::size_t>(found - std::as_const(list).begin());
    return &list.edit()[position];
}

} // namespace

const Layer* findLayer(const TweenScene& scene, const UUID& layerID)
{
    return findIn(scene.layers, layerID);
}

Layer* editLayer(TweenScene& scene, const UUID& layerID)
{
    std::vector<std::size_t> path;
    if (!collectPath(scene.layers, layerID, path)) return nullptr;

    Array<Layer>* layers = &scene.layers;
    Layer* layer = nullptr;
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        layer = &layers->edit()[*step];
        layers = &layer->children;
    }
    return layer;
}

const Keyframe* findKeyframe(const Layer& layer, const UUID& kfID)
{
    return findById(layer.keyframes, kfID);
}

const TimeSpan* findSpan(const Layer& layer, const UUID& spanID)
{
    return findById(layer.spans, spanID);
}

const Pulse* findPulse(const Layer& layer, const UUID& pulseID)
{
    return findById(layer.pulses, pulseID);
}

const VideoClip* findVideoClip(const Layer& layer)
{
    return layer.kind == Layer::Kind::video ? &layer.videoClip : nullptr;
}

Keyframe* editKeyframe(Layer& layer, const UUID& kfID)
{
    return editById(layer.keyframes, kfID);
}

TimeSpan* editSpan(Layer& layer, const UUID& spanID)
{
    return editById(layer.spans, spanID);
}

Pulse* editPulse(Layer& layer, const UUID& pulseID)
{
    return editById(layer.pulses, pulseID);
}

VideoClip* editVideoClip(Layer& layer)
{
    return layer.kind == Layer::Kind::video ? &layer.videoClip : nullptr;
}

const Keyframe* findKeyframe(const TweenScene& scene, const UUID& layerID, const UUID& kfID)
{
    const Layer* layer = findLayer(scene, layerID);
    return layer ? findKeyframe(*layer, kfID) : nullptr;
}

const TimeSpan* findSpan(const TweenScene& scene, const UUID& layerID, const UUID& spanID)
{
    const Layer* layer = findLayer(scene, layerID);
    return layer ? findSpan(*layer, spanID) : nullptr;
}

const Pulse* findPulse(const TweenScene& scene, const UUID& layerID, const UUID& pulseID)
{
    const Layer* layer = findLayer(scene, layerID);
    return layer ? findPulse(*layer, pulseID) : nullptr;
}

const VideoClip* findVideoClip(const TweenScene& scene, const UUID& layerID)
{
    const Layer* layer = findLayer(scene, layerID);
    return layer ? findVideoClip(*layer) : nullptr;
}

Keyframe* editKeyframe(TweenScene& scene, const UUID& layerID, const UUID& kfID)
{
    if (!findKeyframe(scene, layerID, kfID)) return nullptr;
    return editKeyframe(*editLayer(scene, layerID), kfID);
}

TimeSpan* editSpan(TweenScene& scene, const UUID& layerID, const UUID& spanID)
{
    if (!findSpan(scene, layerID, spanID)) return nullptr;
    return editSpan(*editLayer(scene, layerID), spanID);
}

Pulse* editPulse(TweenScene& scene, const UUID& layerID, const UUID& pulseID)
{
    if (!findPulse(scene, layerID, pulseID)) return nullptr;
    return editPulse(*editLayer(scene, layerID), pulseID);
}

VideoClip* editVideoClip(TweenScene& scene, const UUID& layerID)
{
    if (!findVideoClip(scene, layerID)) return nullptr;
    return editVideoClip(*editLayer(scene, layerID));
}

std::optional<ItemTimes> timesOf(const Layer& layer, const TimelineItemRef& ref)
{
    switch (ref.kind) {
    case TimelineItemRef::Kind::keyframe:
        if (const Keyframe* keyframe = findKeyframe(layer, ref.itemID)) return ItemTimes{keyframe->time, keyframe->time};
        break;
    case TimelineItemRef::Kind::waitTail:
        if (const Keyframe* keyframe = findKeyframe(layer, ref.itemID))
            return ItemTimes{keyframe->time, keyframe->time + keyframe->wait};
        break;
    case TimelineItemRef::Kind::pulse:
        if (const Pulse* pulse = findPulse(layer, ref.itemID)) return ItemTimes{pulse->time, pulse->time};
        break;
    case TimelineItemRef::Kind::span:
        if (const TimeSpan* span = findSpan(layer, ref.itemID)) return ItemTimes{span->start, span->end};
        break;
    case TimelineItemRef::Kind::videoClip:
        if (const VideoClip* clip = findVideoClip(layer)) return ItemTimes{clip->sceneStart, clip->sceneEnd};
        break;
    }
    return std::nullopt;
}

std::optional<ItemTimes> timesOf(const TweenScene& scene, const TimelineItemRef& ref)
{
    const Layer* layer = findLayer(scene, ref.layerID);
    return layer ? timesOf(*layer, ref) : std::nullopt;
}

std::vector<UUID> ancestorsOf(const TweenScene& scene, const UUID& layerID)
{
    std::vector<UUID> ancestors;
    collectAncestors(scene.layers, layerID, ancestors);
    return ancestors;
}

LayerIDs expandedByDescendants(const TweenScene& scene, const LayerIDs& layerIDs)
{
    LayerIDs expanded;
    if (!layerIDs.empty()) collectExpanded(scene.layers, layerIDs, /*isBelow=*/false, expanded);
    return expanded;
}

LayerIndex::LayerIndex(const TweenScene& scene)
{
    add(scene.layers, top);
    places_.reserve(nodes_.size());
    for (Place place = 0; place < nodes_.size(); ++place) places_.emplace(nodes_[place].id, place);
}

void LayerIndex::add(const Array<Layer>& layers, Place parent)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const auto place = static_cast<Place>(nodes_.size());
        nodes_.push_back({layers[i].id, parent, static_cast<std::uint32_t>(i)});
        add(layers[i].children, place);
    }
}

std::optional<LayerIndex::Place> LayerIndex::placeOf(const UUID& layerID) const
{
    const auto found = places_.find(layerID);
    return found == places_.end() ? std::nullopt : std::optional(found->second);
}

const Layer* LayerIndex::follow(const TweenScene& scene, Place place) const
{
    const Node& node = nodes_[place];
    const Layer* parent = node.parent == top ? nullptr : follow(scene, node.parent);
    if (node.parent != top && !parent) return nullptr;
    const Array<Layer>& siblings = parent ? parent->children : scene.layers;
    if (node.position >= siblings.size() || siblings[node.position].id != node.id) return nullptr;
    return &siblings[node.position];
}

Layer* LayerIndex::followForEdit(TweenScene& scene, Place place) const
{
    const Node& node = nodes_[place];
    Array<Layer>& siblings = node.parent == top ? scene.layers : followForEdit(scene, node.parent)->children;
    return &siblings.edit()[node.position];
}

const Layer* LayerIndex::find(const TweenScene& scene, Place place) const
{
    if (const Layer* layer = follow(scene, place)) return layer;
    return findLayer(scene, nodes_[place].id);
}

const Layer* LayerIndex::find(const TweenScene& scene, const UUID& layerID) const
{
    const std::optional<Place> place = placeOf(layerID);
    return place ? find(scene, *place) : findLayer(scene, layerID);
}

Layer* LayerIndex::edit(TweenScene& scene, Place place) const
{
    if (follow(scene, place)) return followForEdit(scene, place);
    return editLayer(scene, nodes_[place].id);
}

Layer* LayerIndex::edit(TweenScene& scene, const UUID& layerID) const
{
    const std::optional<Place> place = placeOf(layerID);
    return place ? edit(scene, *place) : editLayer(scene, layerID);
}

} // namespace larkspool
