#include "timeline/move_items.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace larkspool {

namespace {

using Kind = TimelineItemRef::Kind;

/// Seconds that are no move.
constexpr double noMove = 0.0001;

/// Where the item ends among the selected ones: a keyframe with its wait.
double endOf(const Layer& layer, const TimelineItemRef& ref, ItemTimes times, std::size_t position)
{
    if (ref.kind != Kind::keyframe && ref.kind != Kind::waitTail) return times.end;
    return times.start + std::max(layer.keyframes[position].wait, 0.0);
}

void list(SelectionMoveTargets& targets, RetimeRow row, double end)
{
    targets.minStart = std::min(targets.minStart, row.start);
    targets.maxEnd = std::max(targets.maxEnd, end);
    targets.allStarts.push_back(row.start);
    targets.retimeRows.push_back(std::move(row));
}

/// Whether the item moves by itself while the items are selected.
bool moves(const TimelineItemRef& ref, const TimelineSelection& selection)
{
    if (ref.kind == Kind::waitTail) return false;
    if (selection.contains(ref)) return true;
    return ref.kind == Kind::keyframe && selection.contains(TimelineItemRef::waitTail(ref.layerID, ref.itemID));
}

bool canMove(const TweenScene& scene, const SelectionMoveTargets& targets)
{
    return !targets.items.empty() && std::isfinite(targets.minStart) && scene.duration > 0;
}

} // namespace

SelectionMoveTargets collectSelectionMoveTargets(const TweenScene& scene, const TimelineSelection& selection)
{
    SelectionMoveTargets targets;
    if (selection.empty()) return targets;

    targets.items = CapturedItems(std::make_shared<const LayerIndex>(scene));
    LayerIndex::Place place = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        const LayerIndex::Place here = place++;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
            if (selection.contains(ref))
                list(targets, RetimeRow::of(layer, ref, times, position), endOf(layer, ref, times, position));
            if (moves(ref, selection)) targets.items.add(here, CapturedItem::of(layer, ref, times), position);
        });
    });
    return targets;
}

TimelineSelection rippleExclusions(const TimelineSelection& selection, const SelectionMoveTargets& targets)
{
    TimelineSelection excluded = selection;
    for (std::size_t i = 0; i < targets.items.size(); ++i) excluded.insert(targets.items[i].ref);
    return excluded;
}

ItemTimes placedWithin(const CapturedItem& item, double start, double total)
{
    start = std::max(std::min(start, total), 0.0);
    if (item.ref.kind == Kind::keyframe || item.ref.kind == Kind::pulse) return {start, start};
    return {start, std::max(std::min(start + item.length(), total), start)};
}

void applyDeltaToTargets(const SelectionMoveTargets& targets, double delta, double total, TweenScene& to)
{
    placeTargets(targets, total, to, [delta](const CapturedItem& item) { return item.times.start + delta; });
}

std::optional<RippledEdit> applyMoveDelta(const TweenScene& scene, const TimelineSelection& selection, double delta,
                                          const RippleSetting& ripple, std::string_view actionName)
{
    if (!std::isfinite(delta) || std::abs(delta) <= noMove) return std::nullopt;
    const SelectionMoveTargets targets = collectSelectionMoveTargets(scene, selection);
    if (!canMove(scene, targets)) return std::nullopt;

    TimelineRippleState others{.scopeLayerIDs = ripple.scopeLayerIDs};
    others.capture(scene, rippleExclusions(selection, targets), ripple.mode, targets.minStart);
    RippledEdit moved{{.scene = scene, .actionName = std::string(actionName)}};
    applyDeltaToTargets(targets, delta, scene.duration, moved.edit.scene);
    others.apply(delta, moved.edit.scene);
    if (moved.edit.scene == scene) return std::nullopt;
    if (const std::optional<std::size_t> count = others.clear()) moved.rippled.push_back(*count);
    return moved;
}

std::optional<Edit> applyMoveAbsolute(const TweenScene& scene, const TimelineSelection& selection, double time,
                                      std::string_view actionName)
{
    if (!std::isfinite(time)) return std::nullopt;
    const SelectionMoveTargets targets = collectSelectionMoveTargets(scene, selection);
    if (!canMove(scene, targets)) return std::nullopt;

    Edit edit{.scene = scene, .actionName = std::string(actionName)};
    placeTargets(targets, scene.duration, edit.scene, [time](const CapturedItem&) { return time; });
    return edit.scene == scene ? std::nullopt : std::optional(std::move(edit));
}

} // namespace larkspool
