#include "canvas/selected_layers.h"

#include "document/file_format.h"
#include "editing/scene_lookup.h"

namespace larkspool {

namespace {

void collectTopmost(const Array<Layer>& layers, const LayerIDs& selection, std::vector<const Layer*>& collected)
{
    for (const Layer& layer : layers) {
        if (selection.contains(layer.id))
            collected.push_back(&layer);
        else
            collectTopmost(layer.children, selection, collected);
    }
}

} // namespace

std::vector<const Layer*> collectSelectedAnywhere(const Array<Layer>& layers, const LayerIDs& selection)
{
    std::vector<const Layer*> collected;
    walkLayers(layers, [&](const Layer& layer) {
        if (selection.contains(layer.id)) collected.push_back(&layer);
    });
    return collected;
}

std::vector<const Layer*> topmostSelected(const Array<Layer>& layers, const LayerIDs& selection)
{
    std::vector<const Layer*> collected;
    collectTopmost(layers, selection, collected);
    return collected;
}

std::size_t layerCount(const Array<Layer>& layers)
{
    std::size_t count = 0;
    walkLayers(layers, [&](const Layer&) { ++count; });
    return count;
}

bool hasRoomFor(const TweenScene& scene, std::size_t addedLayers)
{
    return addedLayers <= mostLayers && layerCount(scene.layers) <= mostLayers - addedLayers;
}

} // namespace larkspool
