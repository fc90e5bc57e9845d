#include "timeline/span_arrange.h"

#include "document/normalisers.h"
#include "editing/scene_lookup.h"

#include <algorithm>
#include <cmath>
#include <ranges>
#include <unordered_map>
#include <utility>

namespace larkspool {

namespace {

constexpr std::size_t fewest = 2;
/// The least by which a step of a stagger is multiplied for the next one.
constexpr double leastRatio = 0.05;
/// A ratio nearer to 1 makes equal steps.
constexpr double equalRatio = 0.000001;

double lengthOf(const ResolvedSpanRef& ref)
{
    return std::max(ref.span.end - ref.span.start, 0.0);
}

double baseOf(const std::vector<ResolvedSpanRef>& ordered)
{
    return std::max(ordered.front().span.start, 0.0);
}

/// Moves the span with the length that it has.
void startAt(ResolvedSpanRef& ref, double start)
{
    const double length = lengthOf(ref);
    ref.span.start = start;
    ref.span.end = start + length;
}

bool isFinite(const ResolvedSpanRef& ref)
{
    return std::isfinite(ref.span.start) && std::isfinite(ref.span.end);
}

/// What the spans came to, or what they were if that is out of all bounds.
std::vector<ResolvedSpanRef> finiteOr(std::vector<ResolvedSpanRef> arranged, std::vector<ResolvedSpanRef> before)
{
    return std::ranges::all_of(arranged, isFinite) ? std::move(arranged) : std::move(before);
}

using PanelRows = std::unordered_map<UUID, std::size_t>;

void addPanelRows(const Array<Layer>& layers, PanelRows& rows)
{
    for (const Layer& layer : layers | std::views::reverse) {
        rows.emplace(layer.id, rows.size());
        addPanelRows(layer.children, rows);
    }
}

PanelRows panelRows(const TweenScene& scene)
{
    PanelRows rows;
    addPanelRows(scene.layers, rows);
    return rows;
}

enum class Direction { down, up };

void sortByPanel(std::vector<ResolvedSpanRef>& spans, const TweenScene& scene, Direction direction)
{
    const PanelRows rows = panelRows(scene);
    const auto rowOf = [&](const ResolvedSpanRef& ref) {
        const auto found = rows.find(ref.layerID);
        return found == rows.end() ? rows.size() : found->second;
    };
    std::ranges::stable_sort(spans, [&](const ResolvedSpanRef& a, const ResolvedSpanRef& b) {
        const std::size_t rowA = rowOf(a), rowB = rowOf(b);
        if (rowA == rowB) return a.span.start < b.span.start;
        return direction == Direction::down ? rowA < rowB : rowA > rowB;
    });
}

void shuffle(std::vector<ResolvedSpanRef>& spans, RandomSource& random)
{
    for (std::size_t i = spans.size(); i > 1; --i) std::swap(spans[i - 1], spans[random.next() % i]);
}

void sortFor(StaggerOrder order, std::vector<ResolvedSpanRef>& spans, const TweenScene& scene, RandomSource& random)
{
    switch (order) {
    case StaggerOrder::layerTopDown: sortByPanel(spans, scene, Direction::down); break;
    case StaggerOrder::layerBottomUp: sortByPanel(spans, scene, Direction::up); break;
    case StaggerOrder::earliestFirst:
        std::ranges::stable_sort(spans, {}, [](const ResolvedSpanRef& ref) { return ref.span.start; });
        break;
    case StaggerOrder::random: shuffle(spans, random); break;
    }
}

/// The sum of the first `index` steps, each `ratio` times the one before.
double staggerOffset(double amount, double ratio, std::size_t index)
{
    const double steps = static_cast<double>(index);
    if (std::abs(ratio - 1) < equalRatio) return amount * steps;
    return amount * (std::pow(ratio, steps) - 1) / (ratio - 1);
}

void writeSpans(const std::vector<ResolvedSpanRef>& spans, TweenScene& to)
{
    const LayerIndex index(to);
    LayerIDs changed;
    for (const ResolvedSpanRef& ref : spans) {
        const Layer* layer = index.find(std::as_const(to), ref.layerID);
        const TimeSpan* span = layer ? findSpan(*layer, ref.spanID) : nullptr;
        if (!span || (span->start == ref.span.start && span->end == ref.span.end)) continue;
        TimeSpan* written = editSpan(*index.edit(to, ref.layerID), ref.spanID);
        written->start = ref.span.start;
        written->end = ref.span.end;
        changed.insert(ref.layerID);
    }
    for (const UUID& layerID : changed) normalizeSpanEffects(*index.edit(to, layerID));
}

/// The edit that gives the spans the times they were arranged to.
std::optional<Edit> editOf(const TweenScene& scene, const std::vector<ResolvedSpanRef>& arranged, std::string_view actionName)
{
    if (arranged.size() < fewest || !(scene.duration > 0)) return std::nullopt;
    Edit edit{.scene = scene, .actionName = std::string(actionName)};
    writeSpans(arranged, edit.scene);
    return edit.scene == scene ? std::nullopt : std::optional(std::move(edit));
}

} // namespace

std::vector<ResolvedSpanRef> resolvedSelectedSpans(const TweenScene& scene, const TimelineSelection& selection)
{
    std::vector<ResolvedSpanRef> resolved;
    walkLayers(scene.layers, [&](const Layer& layer) {
        for (const TimeSpan& span : layer.spans)
            if (selection.contains(TimelineItemRef::span(layer.id, span.id))) resolved.push_back({layer.id, span.id, span});
    });
    return resolved;
}

std::size_t selectedSpanCount(const TweenScene& scene, const TimelineSelection& selection)
{
    return resolvedSelectedSpans(scene, selection).size();
}

std::optional<std::size_t> layerPanelOrderIndex(const TweenScene& scene, const UUID& layerID)
{
    const PanelRows rows = panelRows(scene);
    const auto found = rows.find(layerID);
    return found == rows.end() ? std::nullopt : std::optional(found->second);
}

std::vector<ResolvedSpanRef> previewDistributeSpans(double gap, std::vector<ResolvedSpanRef> resolved)
{
    if (resolved.size() < fewest || !std::isfinite(gap)) return resolved;
    std::vector<ResolvedSpanRef> spans = resolved;
    // Where two begin together, the shorter goes first: one of no length keeps its place if all is done once more.
    std::ranges::stable_sort(spans, {}, [](const ResolvedSpanRef& ref) { return std::pair(ref.span.start, lengthOf(ref)); });

    double cursor = baseOf(spans);
    for (ResolvedSpanRef& ref : spans) {
        startAt(ref, cursor);
        cursor = ref.span.end + std::max(gap, 0.0);
    }
    return finiteOr(std::move(spans), std::move(resolved));
}

std::vector<ResolvedSpanRef> previewStaggerSpans(double amount, double curve, StaggerOrder order, const TweenScene& scene,
                                                 std::vector<ResolvedSpanRef> resolved, RandomSource& random)
{
    if (resolved.size() < fewest || !std::isfinite(amount) || !std::isfinite(curve)) return resolved;
    std::vector<ResolvedSpanRef> spans = resolved;
    sortFor(order, spans, scene, random);

    const double base = baseOf(spans), ratio = std::max(1 + curve, leastRatio);
    for (std::size_t i = 0; i < spans.size(); ++i) startAt(spans[i], std::max(base + staggerOffset(amount, ratio, i), 0.0));
    return finiteOr(std::move(spans), std::move(resolved));
}

std::optional<Edit> distributeSelectedSpans(const TweenScene& scene, const TimelineSelection& selection, double gap)
{
    return editOf(scene, previewDistributeSpans(gap, resolvedSelectedSpans(scene, selection)), "Distribute Spans");
}

std::optional<Edit> staggerSelectedSpans(const TweenScene& scene, const TimelineSelection& selection, double amount, double curve,
                                         StaggerOrder order, RandomSource& random)
{
    return editOf(scene, previewStaggerSpans(amount, curve, order, scene, resolvedSelectedSpans(scene, selection), random),
                  "Stagger Spans");
}

} // namespace larkspool
