#include "canvas/layer_tree_operations.h"

#include "canvas/hit_testing.h"
#include "canvas/layer_insertion.h"
#include "canvas/selected_layers.h"
#include "document/file_format.h"
#include "editing/scene_lookup.h"
#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <variant>

namespace larkspool {

namespace {

// ---------------------------------------------------------------- group

/// How many of the ids the list itself holds.
std::size_t heldCount(const Array<Layer>& layers, const LayerIDs& layerIDs)
{
    LayerIDs held;
    for (const Layer& layer : layers)
        if (layerIDs.contains(layer.id)) held.insert(layer.id);
    return held.size();
}

bool anyListHoldsAll(const Array<Layer>& layers, const LayerIDs& layerIDs)
{
    return heldCount(layers, layerIDs) == layerIDs.size() ||
           std::ranges::any_of(layers, [&](const Layer& layer) { return anyListHoldsAll(layer.children, layerIDs); });
}

/// Levels of layers, the list's own included.
std::size_t nestingOf(const Array<Layer>& layers)
{
    std::size_t deepest = 0;
    for (const Layer& layer : layers) deepest = std::max(deepest, 1 + nestingOf(layer.children));
    return deepest;
}

/// The list with its members in a group. `group` comes without children.
Array<Layer> grouped(const Array<Layer>& layers, const LayerIDs& members, Layer group)
{
    std::vector<Layer> rest;
    std::vector<Layer> inside;
    std::size_t behindTopmost = 0; ///< Of the rest, how many lie behind the topmost member.
    for (const Layer& layer : layers) {
        const bool isMember = members.contains(layer.id);
        (isMember ? inside : rest).push_back(layer);
        if (isMember) behindTopmost = rest.size();
    }
    group.children = Array<Layer>(std::move(inside));
    rest.insert(rest.begin() + static_cast<std::ptrdiff_t>(behindTopmost), std::move(group));
    return Array<Layer>(std::move(rest));
}

/// Groups in the first list that holds all ids. `level` is that of the list's layers. Whether there is such a list, and it is not
/// too deep.
bool groupIn(Array<Layer>& layers, const LayerIDs& members, const Layer& group, std::size_t level)
{
    if (heldCount(layers, members) == members.size()) {
        Array<Layer> with = grouped(layers, members, group);
        if (level - 1 + nestingOf(with) > deepestLayerNesting) return false;
        layers = std::move(with);
        return true;
    }
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (!anyListHoldsAll(layers[i].children, members)) continue;
        Array<Layer> children = layers[i].children;
        if (!groupIn(children, members, group, level + 1)) return false;
        layers.edit()[i].children = std::move(children);
        return true;
    }
    return false;
}

// ---------------------------------------------------------------- ungroup

bool isFinite(const Transform& transform)
{
    return std::isfinite(transform.x) && std::isfinite(transform.y) && std::isfinite(transform.rotation) &&
           std::isfinite(transform.scaleX) && std::isfinite(transform.scaleY);
}

/// The children of a group as they stand in its list without it. Nothing where that is no place.
std::optional<std::vector<Layer>> released(const Layer& group, double time)
{
    const Interpolation::Placement placed = Interpolation::placement(group, time);
    const Array<Layer> laidOut = layoutChildren(group.children, group.groupLayout, placed.groupGap, group.groupAlignment, time);
    const CGRect box = aabb(laidOut, time);
    const CGPoint anchor = box.isNull() ? CGPoint{} : CGPoint{box.midX(), box.midY()};

    const Transform& transform = placed.transform;
    std::vector<Layer> children;
    children.reserve(group.children.size());
    for (std::size_t i = 0; i < group.children.size(); ++i) {
        const Layer twin = applyGroupTransform(laidOut[i], {transform.scaleX, transform.scaleY}, transform.rotation, anchor,
                                               {transform.x, transform.y});
        if (!isFinite(twin.transform)) return std::nullopt;
        Layer& child = children.emplace_back(group.children[i]);
        child.transform = twin.transform;
        child.size = twin.size;
    }
    return children;
}

/// Takes the groups of the ids apart. Whether all of them could be.
bool ungroupHelper(Array<Layer>& layers, const LayerIDs& layerIDs, double time, LayerIDs& newSelection)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const Layer& layer = std::as_const(layers)[i];
        if (!layerIDs.contains(layer.id)) {
            if (layer.children.empty()) continue;
            Array<Layer> children = layer.children;
            if (!ungroupHelper(children, layerIDs, time, newSelection)) return false;
            if (!children.sharesStorageWith(layer.children)) layers.edit()[i].children = std::move(children);
            continue;
        }
        if (layer.kind != Layer::Kind::group) continue;
        std::optional<std::vector<Layer>> children = released(layer, time);
        if (!children) return false;
        auto& siblings = layers.edit();
        siblings.erase(std::as_const(siblings).begin() + static_cast<std::ptrdiff_t>(i));
        for (Layer& child : *children) {
            newSelection.insert(child.id);
            siblings.insert(std::as_const(siblings).begin() + static_cast<std::ptrdiff_t>(i), std::move(child));
            ++i;
        }
        --i; // From 0 this goes round, and the loop brings it back.
    }
    return true;
}

// ---------------------------------------------------------------- delete

void removeFromTree(Array<Layer>& layers, const LayerIDs& layerIDs)
{
    const auto isRemoved = [&](const Layer& layer) { return layerIDs.contains(layer.id); };
    if (std::ranges::any_of(std::as_const(layers), isRemoved)) {
        std::vector<Layer> rest;
        for (const Layer& layer : std::as_const(layers))
            if (!isRemoved(layer)) rest.push_back(layer);
        layers = Array<Layer>(std::move(rest));
    }
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layers[i].children.empty()) continue;
        Array<Layer> children = layers[i].children;
        removeFromTree(children, layerIDs);
        if (!children.sharesStorageWith(layers[i].children)) layers.edit()[i].children = std::move(children);
    }
}

// ---------------------------------------------------------------- switches

std::optional<Edit> toggle(const TweenScene& scene, const LayerIDs& selection, bool Layer::* flag, std::string_view on,
                           std::string_view off)
{
    const Layer* first = selectedAnyLayer(scene, selection);
    if (!first) return std::nullopt;
    const bool value = !(first->*flag);
    Edit edit{.scene = scene, .actionName = std::string(value ? on : off)};
    editSelected(edit.scene.layers, selection, [&](Layer& layer) { layer.*flag = value; });
    return edit;
}

void resetClip(Layer& video)
{
    VideoClip& clip = video.videoClip;
    clip.sceneEnd = video.videoDuration > 0 ? video.videoDuration : clip.sceneEnd - clip.sceneStart;
    clip.sceneStart = 0;
    clip.sourceStart = 0;
    clip.sourceTrimLength.reset();
}

bool isFontKeyframe(const Keyframe& keyframe, std::string_view fontName)
{
    const auto* value = std::get_if<SharedString>(&keyframe.value);
    return value && keyframe.property == Keyframe::AnimatableProperty::fontName && *value == fontName;
}

bool usesFont(const Layer& layer, std::string_view fontName)
{
    return (layer.kind == Layer::Kind::text && layer.fontName == fontName) ||
           std::ranges::any_of(layer.keyframes, [&](const Keyframe& keyframe) { return isFontKeyframe(keyframe, fontName); });
}

LayerIDs fontUsers(const TweenScene& scene, std::string_view fontName)
{
    LayerIDs users;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (usesFont(layer, fontName)) users.insert(layer.id);
    });
    return users;
}

void replaceFontOf(Layer& layer, std::string_view fontName, std::string_view replacement)
{
    if (layer.kind == Layer::Kind::text && layer.fontName == fontName) layer.fontName = SharedString(replacement);
    if (layer.keyframes.empty()) return;
    for (Keyframe& keyframe : layer.keyframes.edit())
        if (isFontKeyframe(keyframe, fontName)) keyframe.value = SharedString(replacement);
}

} // namespace

bool canGroupSelection(const TweenScene& scene, const LayerIDs& selection)
{
    return !selection.empty() && anyListHoldsAll(scene.layers, selection);
}

std::optional<Edit> groupSelection(const TweenScene& scene, const LayerIDs& selection, RandomSource& random)
{
    if (selection.empty() || !hasRoomFor(scene, 1)) return std::nullopt;
    Layer group = newLayer(Layer::Kind::group, random);
    group.name = SharedString("Group");
    group.fill = ColorRGBA::clear;

    Edit edit{.scene = scene, .actionName = "Group", .selection = {.layerIDs = {group.id}}};
    constexpr std::size_t topLevel = 1;
    if (!groupIn(edit.scene.layers, selection, group, topLevel)) return std::nullopt;
    return edit;
}

bool canUngroupSelection(const TweenScene& scene, const LayerIDs& selection)
{
    return std::ranges::any_of(topmostSelected(scene.layers, selection),
                               [](const Layer* layer) { return layer->kind == Layer::Kind::group; });
}

std::optional<Edit> ungroupSelection(const TweenScene& scene, const LayerIDs& selection, double playhead)
{
    if (!canUngroupSelection(scene, selection)) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Ungroup"};
    if (!ungroupHelper(edit.scene.layers, selection, playhead, edit.selection.layerIDs)) return std::nullopt;
    return edit;
}

std::optional<Edit> deleteSelected(const TweenScene& scene, const LayerIDs& selection, const std::function<void()>& beep)
{
    const std::vector<const Layer*> selected = collectSelectedAnywhere(scene.layers, selection);
    if (selected.empty()) return std::nullopt;
    if (std::ranges::any_of(selected, &Layer::pipRendition)) {
        if (beep) beep();
        return std::nullopt;
    }
    Edit edit{.scene = scene, .actionName = selection.size() == 1 ? "Delete Layer" : "Delete Layers"};
    removeFromTree(edit.scene.layers, selection);
    return edit;
}

std::optional<Edit> toggleHideForSelection(const TweenScene& scene, const LayerIDs& selection)
{
    return toggle(scene, selection, &Layer::isHidden, "Hide Layers", "Show Layers");
}

std::optional<Edit> toggleLockForSelection(const TweenScene& scene, const LayerIDs& selection)
{
    return toggle(scene, selection, &Layer::isLocked, "Lock Layers", "Unlock Layers");
}

std::optional<Edit> resetTimelineForSelection(const TweenScene& scene, const LayerIDs& selection)
{
    Edit edit{.scene = scene, .actionName = "Reset Timeline"};
    editSelected(edit.scene.layers, selection, [](Layer& layer) {
        layer.keyframes = {};
        layer.spans = {};
        layer.pulses = {};
        if (layer.kind == Layer::Kind::video) resetClip(layer);
    });
    return edit.scene == scene ? std::nullopt : std::optional(std::move(edit));
}

std::vector<std::string> fontsInScene(const TweenScene& scene)
{
    std::set<std::string> names;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (layer.kind == Layer::Kind::text) names.insert(layer.fontName.string());
        for (const Keyframe& keyframe : layer.keyframes)
            if (const auto* value = std::get_if<SharedString>(&keyframe.value);
                value && keyframe.property == Keyframe::AnimatableProperty::fontName)
                names.insert(value->string());
    });
    return {names.begin(), names.end()};
}

std::size_t countOfFontUsers(const TweenScene& scene, std::string_view fontName)
{
    return fontUsers(scene, fontName).size();
}

std::optional<Edit> replaceFont(const TweenScene& scene, std::string_view fontName, std::string_view replacement)
{
    if (fontName == replacement) return std::nullopt;
    const LayerIDs users = fontUsers(scene, fontName);
    if (users.empty()) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Replace Font"};
    editSelected(edit.scene.layers, users, [&](Layer& layer) { replaceFontOf(layer, fontName, replacement); });
    return edit;
}

} // namespace larkspool
