#include "canvas/restacking.h"

#include "canvas/hit_testing.h"

#include <algorithm>
#include <string>
#include <utility>

namespace larkspool {

namespace {

std::optional<std::size_t> indexOf(const Array<Layer>& layers, const UUID& layerID)
{
    const auto found = std::ranges::find(layers, layerID, &Layer::id);
    return found == layers.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - layers.begin()));
}

void move(Array<Layer>& layers, std::size_t from, std::size_t to)
{
    auto& siblings = layers.edit();
    const auto at = [&](std::size_t index) { return std::as_const(siblings).begin() + static_cast<std::ptrdiff_t>(index); };
    Layer moved = *at(from);
    siblings.erase(at(from));
    siblings.insert(at(to), std::move(moved));
}

/// Moves the primary layer to one end of the top list.
template <typename Target>
std::optional<Edit> moveToEnd(const TweenScene& scene, const LayerIDs& selection, std::string_view actionName, Target target)
{
    const Layer* primary = selectedAnyLayer(scene, selection);
    const std::optional<std::size_t> index = primary ? indexOf(scene.layers, primary->id) : std::nullopt;
    const std::size_t end = index ? target(scene.layers.size()) : 0;
    if (!index || *index == end) return std::nullopt;
    Edit edit{.scene = scene, .actionName = std::string(actionName)};
    move(edit.scene.layers, *index, end);
    return edit;
}

std::optional<Edit> moveByOne(const TweenScene& scene, const LayerIDs& selection, std::string_view actionName,
                              std::ptrdiff_t delta)
{
    const Layer* primary = selectedAnyLayer(scene, selection);
    if (!primary) return std::nullopt;
    Edit edit{.scene = scene, .actionName = std::string(actionName)};
    swapInTree(edit.scene.layers, primary->id, delta);
    const bool moved = !edit.scene.layers.sharesStorageWith(scene.layers);
    return moved ? std::optional(std::move(edit)) : std::nullopt;
}

/// The list that holds the layer; null if there is none.
const Array<Layer>* siblingsOf(const Array<Layer>& layers, const UUID& layerID)
{
    if (indexOf(layers, layerID)) return &layers;
    for (const Layer& layer : layers)
        if (const Array<Layer>* below = siblingsOf(layer.children, layerID)) return below;
    return nullptr;
}

} // namespace

std::optional<Edit> bringToFront(const TweenScene& scene, const LayerIDs& selection)
{
    return moveToEnd(scene, selection, "Bring to Front", [](std::size_t count) { return count - 1; });
}

std::optional<Edit> sendToBack(const TweenScene& scene, const LayerIDs& selection)
{
    return moveToEnd(scene, selection, "Send to Back", [](std::size_t) { return std::size_t{0}; });
}

std::optional<Edit> bringForward(const TweenScene& scene, const LayerIDs& selection)
{
    return moveByOne(scene, selection, "Bring Forward", 1);
}

std::optional<Edit> sendBackward(const TweenScene& scene, const LayerIDs& selection)
{
    return moveByOne(scene, selection, "Send Backward", -1);
}

bool swapInTree(Array<Layer>& layers, const UUID& layerID, std::ptrdiff_t delta)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (std::as_const(layers)[i].id == layerID) {
            const std::ptrdiff_t target = static_cast<std::ptrdiff_t>(i) + delta;
            const bool isInRange = target >= 0 && target < static_cast<std::ptrdiff_t>(layers.size());
            if (isInRange) move(layers, i, static_cast<std::size_t>(target));
            return true;
        }
        if (layers[i].children.empty()) continue;
        Array<Layer> children = layers[i].children;
        if (!swapInTree(children, layerID, delta)) continue;
        if (!children.sharesStorageWith(layers[i].children)) layers.edit()[i].children = std::move(children);
        return true;
    }
    return false;
}

ZOrderAvailability zOrderAvailability(const std::optional<UUID>& primaryID, const TweenScene& scene)
{
    const Array<Layer>* siblings = primaryID ? siblingsOf(scene.layers, *primaryID) : nullptr;
    if (!siblings) return {};
    const std::size_t index = *indexOf(*siblings, *primaryID);
    const bool isBelowAnother = index + 1 < siblings->size(), isAboveAnother = index > 0;
    const bool isAtTop = siblings == &scene.layers;
    return {isBelowAnother, isAtTop && isBelowAnother, isAboveAnother, isAtTop && isAboveAnother};
}

} // namespace larkspool
