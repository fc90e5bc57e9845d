#include "timeline/keyframe_tracks.h"

#include "editing/keyframe_upsert.h"
#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "timeline/selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <span>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

constexpr Property zoomProperties[] = {Property::x, Property::y, Property::width, Property::height};
constexpr Property usualProperties[] = {Property::x,     Property::y,      Property::rotation, Property::scaleX, Property::scaleY,
                                        Property::width, Property::height, Property::opacity,  Property::shadow};

std::span<const Property> propertiesAdded(Layer::Kind kind)
{
    if (kind == Layer::Kind::zoom) return zoomProperties;
    return usualProperties;
}

/// Pins the properties to the values that the layer has at the time, before any of them is pinned.
void pin(Layer& layer, std::span<const Property> properties, double time, RandomSource& random)
{
    const Layer resolved = Interpolation::resolve(layer, time);
    for (const Property property : properties)
        upsertKeyframe(layer, property, time, Interpolation::fieldValue(resolved, property), random);
}

} // namespace

std::vector<KeyframeTracks::Row> KeyframeTracks::rows(const Layer& layer)
{
    std::vector<Row> rows;
    for (const Keyframe& keyframe : layer.keyframes) {
        auto row = std::ranges::find(rows, keyframe.property, &Row::property);
        if (row == rows.end()) row = rows.insert(row, Row{.property = keyframe.property});
        row->kfIDs.push_back(keyframe.id);
    }
    std::ranges::sort(rows, {}, [](const Row& row) { return fileValue(row.property); });
    return rows;
}

std::optional<KeyframeTracks::WaitTail> KeyframeTracks::waitTail(const UUID& layerID, const Keyframe& keyframe,
                                                                 const TrackMapping& mapping)
{
    if (!offersWaitTail(keyframe) || !mapping.isUsable()) return std::nullopt;
    return WaitTail{TimelineItemRef::waitTail(layerID, keyframe.id), mapping.x(keyframe.time),
                    mapping.x(keyframe.time + keyframe.wait)};
}

bool KeyframeTracks::setKeyframeTime(Layer& layer, const UUID& id, double time)
{
    Keyframe* keyframe = std::isfinite(time) ? editKeyframe(layer, id) : nullptr;
    if (!keyframe) return false;
    keyframe->time = time;
    return true;
}

bool KeyframeTracks::setKeyframeTimeIn(TweenScene& scene, const UUID& layerID, const UUID& id, double time)
{
    // Looked for first, so that a scene without it stays shared.
    if (!std::isfinite(time) || !findKeyframe(scene, layerID, id)) return false;
    return setKeyframeTime(*editLayer(scene, layerID), id, time);
}

std::optional<Edit> addKeyframeAtPlayhead(const TweenScene& scene, const UUID& layerID, Property property, double playhead,
                                          RandomSource& random)
{
    Edit edit{.scene = scene, .actionName = fmt::format("Add {} Keyframe", displayName(property))};
    Layer* layer = std::isfinite(playhead) ? editLayer(edit.scene, layerID) : nullptr;
    if (!layer) return std::nullopt;
    pin(*layer, {&property, 1}, playhead, random);
    return edit;
}

std::optional<Edit> addKeyframesAtPlayhead(const TweenScene& scene, const LayerIDs& layerIDs, double playhead,
                                           RandomSource& random)
{
    if (layerIDs.empty() || !std::isfinite(playhead)) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Add Keyframes"};
    bool isAny = false;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (!layerIDs.contains(layer.id)) return;
        pin(*editLayer(edit.scene, layer.id), propertiesAdded(layer.kind), playhead, random);
        isAny = true;
    });
    return isAny ? std::optional(std::move(edit)) : std::nullopt;
}

std::vector<double> allKeyframeTimes(const EditorState& state)
{
    const LayerIDs shown = currentTimelineLayerIDs(state);
    std::vector<double> times;
    walkLayers(state.scene().layers, [&](const Layer& layer) {
        if (!shown.empty() && !shown.contains(layer.id)) return;
        for (const Keyframe& keyframe : layer.keyframes) times.push_back(keyframe.time);
    });
    std::ranges::sort(times);
    const auto repeated = std::ranges::unique(times);
    times.erase(repeated.begin(), repeated.end());
    return times;
}

} // namespace larkspool
