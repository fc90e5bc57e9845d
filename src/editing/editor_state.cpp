#include "editing/editor_state.h"

#include "editing/scene_lookup.h"

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

bool holdsItem(const TimelineSelection& items, TimelineItemRef::Kind kind, const UUID& id)
{
    return std::ranges::any_of(items, [&](const TimelineItemRef& ref) { return ref.kind == kind && ref.itemID == id; });
}

/// What of the selections the scene holds.
struct Survivors {
    LayerIDs selected{};
    LayerIDs pinned{};
    TimelineSelection items{};
    bool keyframe = false;
    bool span = false;
};

Survivors survivorsOf(const EditorState& state, const TweenScene& scene)
{
    Survivors left;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (state.selectedLayerIDs.contains(layer.id)) left.selected.insert(layer.id);
        if (state.timelinePinnedLayerIDs.contains(layer.id)) left.pinned.insert(layer.id);
        if (state.selectedKeyframeID && findKeyframe(layer, *state.selectedKeyframeID)) left.keyframe = true;
        if (state.selectedSpanID && findSpan(layer, *state.selectedSpanID)) left.span = true;
        if (state.timelineSelection.empty()) return;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes, std::size_t) {
            if (state.timelineSelection.contains(ref)) left.items.insert(ref);
        });
    });
    return left;
}

} // namespace

void selectLayers(EditorState& state, LayerIDs layerIDs)
{
    if (layerIDs == state.selectedLayerIDs) return;
    state.selectedLayerIDs = std::move(layerIDs);
    state.selectedSpanID.reset();
    state.selectedKeyframeID.reset();
    state.timelineSelection.clear();
}

void selectTimelineItems(EditorState& state, TimelineSelection items)
{
    if (items == state.timelineSelection) return;
    state.timelineSelection = std::move(items);
    using enum TimelineItemRef::Kind;
    if (state.selectedSpanID && !holdsItem(state.timelineSelection, span, *state.selectedSpanID)) state.selectedSpanID.reset();
    if (state.selectedKeyframeID && !holdsItem(state.timelineSelection, keyframe, *state.selectedKeyframeID))
        state.selectedKeyframeID.reset();
}

void dropDeadReferences(EditorState& state)
{
    if (state.selectedLayerIDs.empty() && state.timelinePinnedLayerIDs.empty() && state.timelineSelection.empty() &&
        !state.selectedKeyframeID && !state.selectedSpanID)
        return;

    Survivors left = survivorsOf(state, state.scene());
    if (!left.keyframe) state.selectedKeyframeID.reset();
    if (!left.span) state.selectedSpanID.reset();
    state.timelinePinnedLayerIDs = std::move(left.pinned);
    selectTimelineItems(state, std::move(left.items));
    selectLayers(state, std::move(left.selected));
}

} // namespace larkspool
