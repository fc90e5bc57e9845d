#include "timeline/selection.h"

#include "editing/scene_lookup.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

/// Seconds by which an item may lie outside the window or the playhead outside an item.
constexpr double slack = 0.0001;

bool holdsAll(const TimelineSelection& selection, std::span<const TimelineItemRef> members)
{
    return std::ranges::all_of(members, [&](const TimelineItemRef& ref) { return selection.contains(ref); });
}

/// Which items stand at the playhead.
struct AtPlayhead {
    double playhead;
    double tolerance;
    TimelineViewport window;

    bool takesMoment(double time) const
    {
        return std::abs(time - playhead) < tolerance && time >= window.start - slack && time <= window.end() + slack;
    }
    bool takesStretch(ItemTimes times) const
    {
        return times.start - slack <= playhead && playhead < times.end + slack && times.end >= window.start - slack &&
               times.start <= window.end() + slack;
    }
    bool takes(const TimelineItemRef& ref, ItemTimes times) const
    {
        switch (ref.kind) {
        case TimelineItemRef::Kind::keyframe:
        case TimelineItemRef::Kind::pulse: return takesMoment(times.start);
        case TimelineItemRef::Kind::span:
        case TimelineItemRef::Kind::videoClip: return takesStretch(times);
        case TimelineItemRef::Kind::waitTail: return false;
        }
        return false;
    }
};

/// Those of the selected items that are there.
TimelineSelection selectedItems(const TweenScene& scene, const TimelineSelection& selection)
{
    TimelineSelection there;
    if (selection.empty()) return there;
    walkLayers(scene.layers, [&](const Layer& layer) {
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes, std::size_t) {
            if (selection.contains(ref)) there.insert(ref);
        });
    });
    return there;
}

std::string deleteName(const TimelineSelection& sel)
{
    if (sel.size() > 1) return fmt::format("Delete {} Timeline Items", sel.size());
    switch (sel.begin()->kind) {
    case TimelineItemRef::Kind::keyframe: return "Delete Keyframe";
    case TimelineItemRef::Kind::pulse: return "Delete Pulse";
    case TimelineItemRef::Kind::span: return "Delete Span";
    case TimelineItemRef::Kind::videoClip: return "Delete Video Clip";
    case TimelineItemRef::Kind::waitTail: return "Clear Wait";
    }
    return {};
}

/// Takes out what is listed of one layer. A list without any stays shared.
template <typename T, typename MakeRef>
void eraseListed(Array<T>& list, const TimelineSelection& sel, const MakeRef& refOf)
{
    const auto isListed = [&](const T& item) { return sel.contains(refOf(item)); };
    if (std::ranges::any_of(std::as_const(list), isListed)) std::erase_if(list.edit(), isListed);
}

void deleteFrom(Layer& layer, const TimelineSelection& sel)
{
    const UUID id = layer.id;
    eraseListed(layer.keyframes, sel, [&](const Keyframe& keyframe) { return TimelineItemRef::keyframe(id, keyframe.id); });
    eraseListed(layer.pulses, sel, [&](const Pulse& pulse) { return TimelineItemRef::pulse(id, pulse.id); });
    eraseListed(layer.spans, sel, [&](const TimeSpan& span) { return TimelineItemRef::span(id, span.id); });
    if (layer.kind == Layer::Kind::video && sel.contains(TimelineItemRef::videoClip(id))) layer.videoClip = VideoClip{};

    const auto hasListedTail = [&](const Keyframe& keyframe) { return sel.contains(TimelineItemRef::waitTail(id, keyframe.id)); };
    if (std::ranges::none_of(std::as_const(layer.keyframes), hasListedTail)) return;
    for (Keyframe& keyframe : layer.keyframes.edit())
        if (hasListedTail(keyframe)) keyframe.wait = 0;
}

} // namespace

void applyTimelineTap(std::span<const TimelineItemRef> members, TimelineSelection& to, Modifiers modifiers)
{
    if (modifiers.shift) {
        to.insert(members.begin(), members.end());
        return;
    }
    const bool allSelected = holdsAll(to, members);
    if (modifiers.command) {
        for (const TimelineItemRef& ref : members) {
            if (allSelected)
                to.erase(ref);
            else
                to.insert(ref);
        }
        return;
    }
    TimelineSelection just(members.begin(), members.end());
    if (to == just) just.clear();
    to = std::move(just);
}

void makePrimary(EditorState& state, const TimelineItemRef& ref)
{
    if (!state.timelineSelection.contains(ref)) return;
    if (ref.kind == TimelineItemRef::Kind::keyframe) state.selectedKeyframeID = ref.itemID;
    if (ref.kind == TimelineItemRef::Kind::span) state.selectedSpanID = ref.itemID;
}

void tapTimelineItems(EditorState& state, std::span<const TimelineItemRef> members, Modifiers modifiers)
{
    TimelineSelection selection = state.timelineSelection;
    applyTimelineTap(members, selection, modifiers);
    selectTimelineItems(state, std::move(selection));
    if (members.size() == 1) makePrimary(state, members.front());
}

LayerIDs currentTimelineLayerIDs(const EditorState& state)
{
    LayerIDs shown = state.selectedLayerIDs;
    shown.insert(state.timelinePinnedLayerIDs.begin(), state.timelinePinnedLayerIDs.end());
    return shown.empty() ? LayerIDs() : expandedByDescendants(state.scene(), shown);
}

TimelineSelection selectAllAtPlayhead(const EditorState& state)
{
    const TweenScene scene = state.scene();
    const bool isEverywhere = state.selectedLayerIDs.empty() && state.timelinePinnedLayerIDs.empty();
    const LayerIDs scope = currentTimelineLayerIDs(state);
    const AtPlayhead at{state.playhead, 0.5 / static_cast<double>(std::max<std::int64_t>(scene.fps, 1)),
                        shownViewport(activeViewport(state), scene.duration)};

    TimelineSelection taken;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (!isEverywhere && !scope.contains(layer.id)) return;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t) {
            if (at.takes(ref, times)) taken.insert(ref);
        });
    });
    return taken;
}

std::optional<Edit> deleteTimelineSelection(const EditorState& state)
{
    const TweenScene scene = state.scene();
    const TimelineSelection there = selectedItems(scene, state.timelineSelection);
    if (there.empty()) return std::nullopt;

    Edit edit{.scene = scene, .actionName = deleteName(there), .selection = {.timeline = TimelineSelection()}};
    applyTimelineDeletes(there, edit.scene);
    return edit.scene == scene ? std::nullopt : std::optional(std::move(edit));
}

void applyTimelineDeletes(const TimelineSelection& sel, TweenScene& to)
{
    LayerIDs layerIDs;
    for (const TimelineItemRef& ref : sel) layerIDs.insert(ref.layerID);
    const LayerIndex index(to);
    for (const UUID& id : layerIDs)
        if (index.find(to, id)) deleteFrom(*index.edit(to, id), sel);
}

} // namespace larkspool
