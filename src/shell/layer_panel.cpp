#include "shell/layer_panel.h"

#include "canvas/layer_names.h"
#include "editing/scene_lookup.h"
#include "foundation/trim.h"

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

void appendRows(const Array<Layer>& layers, const LayerIDs& expanded, std::size_t depth, std::vector<LayerPanel::Row>& rows)
{
    for (std::size_t i = layers.size(); i-- > 0;) {
        const Layer& layer = layers[i];
        const bool isExpanded = !layer.children.empty() && expanded.contains(layer.id);
        rows.push_back({layer.id, depth, !layer.children.empty(), isExpanded});
        if (isExpanded) appendRows(layer.children, expanded, depth + 1, rows);
    }
}

/// Takes the layers out of the tree, in its order. What lies in one of them goes with it.
Array<Layer> pluckLayers(Array<Layer>& layers, const LayerIDs& ids)
{
    Array<Layer> plucked, left;
    bool changed = false;
    for (const Layer& layer : layers) {
        if (ids.contains(layer.id)) {
            plucked.append(layer);
            changed = true;
            continue;
        }
        Layer kept = layer;
        if (!kept.children.empty()) {
            for (const Layer& child : pluckLayers(kept.children, ids)) {
                plucked.append(child);
                changed = true;
            }
        }
        left.append(std::move(kept));
    }
    if (changed) layers = std::move(left);
    return plucked;
}

bool insertInFrontOf(Array<Layer>& layers, const UUID& targetID, const Array<Layer>& added)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layers[i].id == targetID) {
            auto& items = layers.edit();
            for (std::size_t k = 0; k < added.size(); ++k)
                items.insert(items.begin() + static_cast<std::ptrdiff_t>(i + 1 + k), added[k]);
            return true;
        }
        if (layers[i].children.empty()) continue;
        Array<Layer> children = layers[i].children;
        if (!insertInFrontOf(children, targetID, added)) continue;
        layers.edit()[i].children = std::move(children);
        return true;
    }
    return false;
}

std::optional<Edit> reordered(const TweenScene& before, TweenScene after, const LayerIDs& moved)
{
    if (after == before) return std::nullopt;
    return Edit{std::move(after), moved.size() == 1 ? "Reorder Layer" : "Reorder Layers"};
}

std::optional<std::size_t> indexOf(std::span<const LayerPanel::Row> rows, const std::optional<UUID>& id)
{
    const auto found = std::ranges::find_if(rows, [&](const LayerPanel::Row& row) { return row.layerID == id; });
    return found == rows.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - rows.begin()));
}

LayerIDs rangeBetween(std::span<const LayerPanel::Row> rows, std::size_t a, std::size_t b)
{
    LayerIDs range;
    for (std::size_t i = std::min(a, b); i <= std::max(a, b); ++i) range.insert(rows[i].layerID);
    return range;
}

} // namespace

namespace LayerPanel {

std::vector<Row> flattenedLayers(const TweenScene& scene, const LayerIDs& expandedGroups)
{
    std::vector<Row> rows;
    appendRows(scene.layers, expandedGroups, 0, rows);
    return rows;
}

std::optional<Edit> commitRename(const TweenScene& scene, const UUID& layerID, std::string_view draft)
{
    const std::string name(trimmed(draft));
    const Layer* layer = findLayer(scene, layerID);
    if (name.empty() || !layer || layer->name == std::string_view(name)) return std::nullopt;
    TweenScene after = scene;
    Layer& renamed = *editLayer(after, layerID);
    renamed.name = name;
    setNameFollowsContent(renamed, false);
    return Edit{std::move(after), "Rename Layer"};
}

std::optional<UUID> parentGroup(const TweenScene& scene, const UUID& layerID)
{
    const std::vector<UUID> ancestors = ancestorsOf(scene, layerID);
    return ancestors.empty() ? std::nullopt : std::optional(ancestors.front());
}

std::optional<Edit> moveLayersBefore(const TweenScene& scene, const LayerIDs& droppedIDs, const UUID& targetID)
{
    if (droppedIDs.contains(targetID)) return std::nullopt;
    for (const UUID& ancestor : ancestorsOf(scene, targetID))
        if (droppedIDs.contains(ancestor)) return std::nullopt;
    TweenScene after = scene;
    const Array<Layer> moved = pluckLayers(after.layers, droppedIDs);
    if (moved.empty() || !insertInFrontOf(after.layers, targetID, moved)) return std::nullopt;
    return reordered(scene, std::move(after), droppedIDs);
}

std::optional<Edit> moveLayersToEnd(const TweenScene& scene, const LayerIDs& droppedIDs)
{
    TweenScene after = scene;
    Array<Layer> order = pluckLayers(after.layers, droppedIDs);
    if (order.empty()) return std::nullopt;
    for (const Layer& layer : after.layers) order.append(layer);
    after.layers = std::move(order);
    return reordered(scene, std::move(after), droppedIDs);
}

LayerIDs RangeSelection::move(std::span<const Row> rows, int step, bool extends)
{
    if (rows.empty()) return {};
    const std::optional<std::size_t> cursor = indexOf(rows, rangeCursorID);
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(rows.size()) - 1;
    const std::ptrdiff_t to = cursor ? std::clamp(static_cast<std::ptrdiff_t>(*cursor) + step, std::ptrdiff_t{0}, last)
                                     : (step > 0 ? 0 : last);
    const std::size_t index = static_cast<std::size_t>(to);
    rangeCursorID = rows[index].layerID;
    const std::optional<std::size_t> anchor = indexOf(rows, rangeAnchorID);
    if (extends && anchor) return rangeBetween(rows, *anchor, index);
    rangeAnchorID = rangeCursorID;
    return {rows[index].layerID};
}

LayerIDs RangeSelection::click(std::span<const Row> rows, const UUID& layerID, const LayerIDs& selected, Modifiers modifiers)
{
    rangeCursorID = layerID;
    const std::optional<std::size_t> anchor = indexOf(rows, rangeAnchorID), clicked = indexOf(rows, layerID);
    if (modifiers.shift && anchor && clicked) return rangeBetween(rows, *anchor, *clicked);
    rangeAnchorID = layerID;
    if (!modifiers.command) return {layerID};
    LayerIDs changed = selected;
    if (changed.erase(layerID) == 0) changed.insert(layerID);
    return changed;
}

std::optional<Horizontal> handleHorizontal(const TweenScene& scene, LayerIDs expandedGroups, const UUID& layerID, bool opens)
{
    const Layer* layer = findLayer(scene, layerID);
    if (!layer) return std::nullopt;
    const bool isOpen = !layer->children.empty() && expandedGroups.contains(layerID);
    if (opens) {
        if (layer->children.empty() || isOpen) return std::nullopt;
        expandedGroups.insert(layerID);
        return Horizontal{std::move(expandedGroups)};
    }
    if (isOpen) {
        expandedGroups.erase(layerID);
        return Horizontal{std::move(expandedGroups)};
    }
    const std::optional<UUID> parent = parentGroup(scene, layerID);
    if (!parent) return std::nullopt;
    return Horizontal{std::move(expandedGroups), parent};
}

} // namespace LayerPanel

} // namespace larkspool
