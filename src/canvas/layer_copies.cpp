#include "canvas/layer_copies.h"

#include "canvas/keyframed_write.h"
#include "canvas/selected_layers.h"

#include <string>
#include <utility>

namespace larkspool {

namespace {

template <typename Record>
void renew(Array<Record>& records, RandomSource& random)
{
    if (records.empty()) return;
    for (Record& record : records.edit()) record.id = UUID::random(random);
}

void renewSpans(Array<TimeSpan>& spans, RandomSource& random)
{
    renew(spans, random);
    if (spans.empty()) return;
    for (TimeSpan& span : spans.edit()) {
        renew(span.effects, random);
        renew(span.cursorBlinkRanges, random);
    }
}

Layer copyOf(const Layer& source, const CopyStyle& style, RandomSource& random)
{
    Layer copy = regenerateIDs(source, random);
    if (!style.nameSuffix.empty()) copy.name = SharedString(copy.name.string() + std::string(style.nameSuffix));
    if (style.offset != 0) shiftPosition(copy, style.offset, style.offset);
    return copy;
}

} // namespace

Layer regenerateIDs(Layer layer, RandomSource& random)
{
    layer.id = UUID::random(random);
    layer.videoClip.id = UUID::random(random);
    renew(layer.keyframes, random);
    renewSpans(layer.spans, random);
    renew(layer.pulses, random);
    if (layer.children.empty()) return layer;
    std::vector<Layer> children;
    children.reserve(layer.children.size());
    for (const Layer& child : std::as_const(layer).children) children.push_back(regenerateIDs(child, random));
    layer.children = Array<Layer>(std::move(children));
    return layer;
}

void duplicateInTree(Array<Layer>& layers, const LayerIDs& layerIDs, const CopyStyle& style, CopiedIDs& newIDs,
                     RandomSource& random)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layerIDs.contains(layers[i].id)) {
            Layer copy = copyOf(layers[i], style, random);
            newIDs.insert_or_assign(layers[i].id, copy.id);
            ++i;
            auto& siblings = layers.edit();
            siblings.insert(std::as_const(siblings).begin() + static_cast<std::ptrdiff_t>(i), std::move(copy));
            continue;
        }
        if (layers[i].children.empty()) continue;
        Array<Layer> children = layers[i].children;
        duplicateInTree(children, layerIDs, style, newIDs, random);
        if (!children.sharesStorageWith(layers[i].children)) layers.edit()[i].children = std::move(children);
    }
}

std::optional<Edit> duplicateSelected(const TweenScene& scene, const LayerIDs& selection, const CopyStyle& style,
                                      RandomSource& random)
{
    std::size_t added = 0;
    for (const Layer* source : topmostSelected(scene.layers, selection)) added += 1 + layerCount(source->children);
    if (added == 0 || !hasRoomFor(scene, added)) return std::nullopt;

    Edit edit{.scene = scene, .actionName = selection.size() == 1 ? "Duplicate Layer" : "Duplicate Layers"};
    CopiedIDs newIDs;
    duplicateInTree(edit.scene.layers, selection, style, newIDs, random);
    for (const auto& [source, copy] : newIDs) edit.selection.layerIDs.insert(copy);
    return edit;
}

} // namespace larkspool
