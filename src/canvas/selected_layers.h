#pragma once

#include "document/layer.h"
#include "document/tween_scene.h"
#include "editing/timeline_item.h"

#include <cstddef>
#include <vector>

namespace larkspool {

/// Calls `change(Layer&)` for every layer of the ids, at any depth, each parent before its children. Lists that hold none of them
/// stay shared with their copies. Whether there was any.
template <typename Change>
bool editSelected(Array<Layer>& layers, const LayerIDs& layerIDs, const Change& change)
{
    bool found = false;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layerIDs.contains(layers[i].id)) {
            change(layers.edit()[i]);
            found = true;
        }
        if (layers[i].children.empty()) continue;
        Array<Layer> children = layers[i].children;
        if (!editSelected(children, layerIDs, change)) continue;
        layers.edit()[i].children = std::move(children);
        found = true;
    }
    return found;
}

/// The selected layers at any depth, in the order of the tree, into `layers`.
std::vector<const Layer*> collectSelectedAnywhere(const Array<Layer>& layers, const LayerIDs& selection);

/// The same without those that lie in a selected layer: each goes with its parent.
std::vector<const Layer*> topmostSelected(const Array<Layer>& layers, const LayerIDs& selection);

/// How many layers there are, at any depth.
std::size_t layerCount(const Array<Layer>& layers);

/// Whether a file would still take a scene with so many layers more.
bool hasRoomFor(const TweenScene& scene, std::size_t addedLayers);

} // namespace larkspool
