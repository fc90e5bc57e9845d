#include "timeline/span_edits.h"

#include "document/normalisers.h"
#include "editing/scene_lookup.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_map>
#include <utility>

namespace larkspool {

namespace {

constexpr double shortestAdded = 0.05;

bool liesInSpan(const Layer& layer, double time)
{
    return std::ranges::any_of(layer.spans, [time](const TimeSpan& span) { return span.contains(time); });
}

/// Where the first span after the time begins; the scene's end if there is none.
double nextStart(const Layer& layer, double time, double sceneEnd)
{
    double next = std::numeric_limits<double>::infinity();
    for (const TimeSpan& span : layer.spans)
        if (span.start > time) next = std::min(next, span.start);
    return std::isfinite(next) ? next : sceneEnd;
}

/// The first stretch that no span covers, walking the spans in their order.
std::optional<ItemTimes> firstGap(const Layer& layer, double sceneEnd)
{
    double cursor = 0;
    for (const TimeSpan& span : layer.spans) {
        if (span.start > cursor) return ItemTimes{cursor, span.start};
        cursor = std::max(cursor, span.end);
    }
    return cursor < sceneEnd ? std::optional(ItemTimes{cursor, sceneEnd}) : std::nullopt;
}

double heldWithin(double time, double least, double most)
{
    return std::max(std::min(time, most), least);
}

void pasteOnto(TimeSpan& span, const SpanSnapshot& snapshot, double sceneEnd, RandomSource& random)
{
    span.start = heldWithin(span.start, 0, sceneEnd);
    span.end = std::max(std::min(span.start + snapshot.length, sceneEnd), span.start);
    span.effects = snapshot.effects;
    if (!span.effects.empty())
        for (SpanEffect& effect : span.effects.edit()) effect.id = UUID::random(random);
    span.zoomStart = snapshot.zoomStart;
    span.zoomEnd = snapshot.zoomEnd;
}

/// The earliest selected start of each layer that has one, itself or below it.
using EarliestStarts = std::unordered_map<UUID, double>;

/// Gives the earliest start among the layers.
std::optional<double> collectEarliest(const Array<Layer>& layers, const TimelineSelection& selection, EarliestStarts& starts)
{
    std::optional<double> earliest;
    const auto fold = [](std::optional<double>& into, double start) { into = into ? std::min(*into, start) : start; };
    for (const Layer& layer : layers) {
        std::optional<double> own = collectEarliest(layer.children, selection, starts);
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t) {
            if (selection.contains(ref)) fold(own, times.start);
        });
        if (!own) continue;
        starts.emplace(layer.id, *own);
        fold(earliest, *own);
    }
    return earliest;
}

EarliestStarts earliestStarts(const TweenScene& scene, const TimelineSelection& selection)
{
    EarliestStarts starts;
    if (selection.size() >= 2) collectEarliest(scene.layers, selection, starts);
    return starts;
}

/// Sorts the siblings and all below them. A list that is in order already stays shared.
void sortContainer(Array<Layer>& layers, const EarliestStarts& byMin, bool& changed)
{
    const auto startOf = [&](const Layer& layer) {
        const auto found = byMin.find(layer.id);
        return found == byMin.end() ? 0.0 : found->second;
    };
    const auto isBelow = [&](const Layer& a, const Layer& b) { return startOf(a) > startOf(b); };
    if (!std::is_sorted(std::as_const(layers).begin(), std::as_const(layers).end(), isBelow)) {
        auto&& siblings = layers.edit();
        std::stable_sort(siblings.begin(), siblings.end(), isBelow);
        changed = true;
    }
    for (std::size_t i = 0; i < layers.size(); ++i) {
        Array<Layer> children = std::as_const(layers)[i].children;
        if (children.empty()) continue;
        sortContainer(children, byMin, changed);
        if (!children.sharesStorageWith(std::as_const(layers)[i].children)) layers.edit()[i].children = std::move(children);
    }
}

} // namespace

DragHandle SpansTrack::handleAt(double x, double barWidth)
{
    if (x < edgeHandleWidth) return DragHandle::leftEdge;
    return x > barWidth - edgeHandleWidth ? DragHandle::rightEdge : DragHandle::body;
}

std::optional<Edit> SpansTrack::addSpan(const TweenScene& scene, const UUID& layerID, double start, double end,
                                        RandomSource& random)
{
    Edit edit{.scene = scene, .actionName = "Add Span"};
    Layer* layer = std::isfinite(start) && std::isfinite(end) ? editLayer(edit.scene, layerID) : nullptr;
    if (!layer) return std::nullopt;

    const double from = std::max(start, 0.0);
    layer->spans.append({.id = UUID::random(random), .start = from, .end = std::max(end, from + shortestAdded)});
    return edit;
}

std::optional<Edit> SpansTrack::addSpanAtPlayhead(const TweenScene& scene, const UUID& layerID, double playhead,
                                                  RandomSource& random)
{
    const Layer* layer = findLayer(scene, layerID);
    if (!layer) return std::nullopt;
    if (!liesInSpan(*layer, playhead)) {
        const double end = std::max(nextStart(*layer, playhead, scene.duration), playhead + shortestAdded);
        return addSpan(scene, layerID, playhead, end, random);
    }
    const std::optional<ItemTimes> gap = firstGap(*layer, scene.duration);
    return gap ? addSpan(scene, layerID, gap->start, gap->end, random) : std::nullopt;
}

SpanSnapshot SpanSnapshot::of(const TimeSpan& span)
{
    return {span.end - span.start, span.effects, span.zoomStart, span.zoomEnd};
}

std::optional<Edit> pasteSpanSnapshot(const TweenScene& scene, const TimelineSelection& selection, const SpanSnapshot& snapshot,
                                      const TimelineItemRef& rightClickedSpan, RandomSource& random)
{
    const bool ontoSelection = selection.size() >= 2 && selection.contains(rightClickedSpan);
    const auto isTarget = [&](const TimelineItemRef& ref) {
        return ref.kind == TimelineItemRef::Kind::span && (ontoSelection ? selection.contains(ref) : ref == rightClickedSpan);
    };

    Edit edit{.scene = scene};
    std::size_t pasted = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        for (const TimeSpan& span : layer.spans) {
            if (!isTarget(TimelineItemRef::span(layer.id, span.id))) continue;
            Layer* changed = editLayer(edit.scene, layer.id);
            pasteOnto(*editSpan(*changed, span.id), snapshot, scene.duration, random);
            normalizeSpanEffects(*changed);
            ++pasted;
        }
    });
    if (pasted == 0) return std::nullopt;
    edit.actionName = pasted == 1 ? "Paste Span" : "Paste Spans";
    return edit;
}

std::optional<Edit> orderLayersByStartTime(const TweenScene& scene, const TimelineSelection& selection)
{
    const EarliestStarts starts = earliestStarts(scene, selection);
    if (starts.size() < 2) return std::nullopt;

    Edit edit{.scene = scene, .actionName = "Order Layers by Start Time"};
    bool changed = false;
    sortContainer(edit.scene.layers, starts, changed);
    return changed ? std::optional(std::move(edit)) : std::nullopt;
}

std::size_t affectedLayerCount(const TweenScene& scene, const TimelineSelection& selection)
{
    return earliestStarts(scene, selection).size();
}

} // namespace larkspool
