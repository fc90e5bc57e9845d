#include "timeline/retime_rows.h"

#include "timeline/retime_edits.h"
#include "timeline/timeline_geometry.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <compare>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace larkspool {

namespace {

/// Rows of the same key are one row.
struct GroupKey {
    UUID layerID;
    RetimeRow::Kind kind;
    std::int64_t startMs;
    std::int64_t durationMs; ///< 0 where there is none.

    auto operator<=>(const GroupKey&) const = default;
};

std::int64_t milliseconds(double seconds)
{
    // Beyond this, a double holds no milliseconds.
    constexpr double most = 9e15;
    const double rounded = std::round(seconds * 1000);
    return std::isnan(rounded) ? 0 : static_cast<std::int64_t>(std::clamp(rounded, -most, most));
}

std::string_view kindName(RetimeRow::Kind kind)
{
    switch (kind) {
    case RetimeRow::Kind::span: return "span";
    case RetimeRow::Kind::pulse: return "pulse";
    case RetimeRow::Kind::keyframe: return "keyframe";
    case RetimeRow::Kind::wait: return "wait";
    case RetimeRow::Kind::videoClip: return "videoClip";
    }
    return {};
}

std::string groupID(const GroupKey& key)
{
    return fmt::format("group:{}:{}:{}:{}", key.layerID.string(), kindName(key.kind), key.startMs, key.durationMs);
}

/// What the children say, each thing once.
std::optional<std::string> joinedDetails(std::span<const RetimeRow> children)
{
    std::vector<std::string> details;
    for (const RetimeRow& child : children)
        if (child.detail && std::ranges::find(details, *child.detail) == details.end()) details.push_back(*child.detail);
    if (details.empty()) return std::nullopt;
    return fmt::format("{}", fmt::join(details, ", "));
}

/// A number that is none sorts behind all others.
double sortTime(const RetimeRow& row)
{
    return std::isnan(row.start) ? std::numeric_limits<double>::infinity() : row.start;
}

RetimeRow folded(const GroupKey& key, std::vector<RetimeRow> members)
{
    if (members.size() == 1) return std::move(members.front());
    std::ranges::stable_sort(members, {}, sortTime);
    const RetimeRow& first = members.front();
    return {.id = groupID(key),
            .source = std::nullopt,
            .kind = key.kind,
            .layerName = first.layerName,
            .detail = joinedDetails(members),
            .start = first.start,
            .duration = first.duration,
            .children = std::move(members)};
}

bool hasRow(const Layer& layer, const TimelineItemRef& ref, ItemTimes times, std::size_t position)
{
    switch (ref.kind) {
    case TimelineItemRef::Kind::waitTail: return hasRetimeRow(layer.keyframes[position]);
    case TimelineItemRef::Kind::videoClip: return times.start < times.end;
    case TimelineItemRef::Kind::keyframe:
    case TimelineItemRef::Kind::pulse:
    case TimelineItemRef::Kind::span: return true;
    }
    return true;
}

void appendRows(const Layer& layer, std::vector<RetimeRow>& rows)
{
    std::vector<std::pair<GroupKey, std::vector<RetimeRow>>> groups;
    std::map<GroupKey, std::size_t> places;
    walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
        if (!hasRow(layer, ref, times, position)) return;
        RetimeRow row = RetimeRow::of(layer, ref, times, position);
        const GroupKey key{layer.id, row.kind, milliseconds(row.start), milliseconds(row.duration.value_or(0))};
        const auto [place, isNew] = places.try_emplace(key, groups.size());
        if (isNew) groups.push_back({key, {}});
        groups[place->second].second.push_back(std::move(row));
    });
    for (auto& [key, members] : groups) rows.push_back(folded(key, std::move(members)));
}

} // namespace

std::vector<RetimeRow> retimeRows(const TweenScene& scene)
{
    std::vector<RetimeRow> rows;
    walkLayers(scene.layers, [&](const Layer& layer) { appendRows(layer, rows); });
    std::ranges::stable_sort(rows, {}, sortTime);
    return rows;
}

std::vector<RetimeSource> sourcesOf(const RetimeRow& row)
{
    std::vector<RetimeSource> sources;
    if (row.source) sources.push_back(*row.source);
    for (const RetimeRow& child : row.children)
        if (child.source) sources.push_back(*child.source);
    return sources;
}

TimelineSelection rowSourceIDs(const RetimeRow& row)
{
    const std::vector<RetimeSource> sources = sourcesOf(row);
    return {sources.begin(), sources.end()};
}

std::vector<std::string> rowOrder(std::span<const RetimeRow> rows)
{
    std::vector<std::string> order;
    for (const RetimeRow& row : rows) {
        order.push_back(row.id);
        for (const RetimeRow& child : row.children) order.push_back(child.id);
    }
    return order;
}

std::vector<RetimeRow> orderedAs(std::vector<RetimeRow> rows, std::span<const std::string> order)
{
    std::unordered_map<std::string_view, std::size_t> places;
    for (std::size_t i = 0; i < order.size(); ++i) places.try_emplace(order[i], i);
    const auto placeOf = [&](const RetimeRow& row) {
        const auto known = [&](const RetimeRow& one) {
            const auto found = places.find(one.id);
            return found == places.end() ? order.size() : found->second;
        };
        std::size_t place = known(row);
        for (const RetimeRow& child : row.children) place = std::min(place, known(child));
        return place;
    };

    std::vector<std::pair<std::size_t, RetimeRow>> placed;
    placed.reserve(rows.size());
    for (RetimeRow& row : rows) {
        const std::size_t place = placeOf(row);
        placed.emplace_back(place, std::move(row));
    }
    std::ranges::stable_sort(placed, {}, &std::pair<std::size_t, RetimeRow>::first);
    std::ranges::transform(placed, rows.begin(), [](auto& entry) { return std::move(entry.second); });
    return rows;
}

std::vector<RetimeMiniTimeline::Bar> RetimeMiniTimeline::bars(std::span<const RetimeRow> rows) const
{
    const TrackMapping mapping{.width = width, .visibleSeconds = duration};
    if (!mapping.isUsable()) return {};

    std::vector<Bar> bars;
    bars.reserve(rows.size());
    const double narrowest = std::min(narrowestBar, width);
    for (const RetimeRow& row : rows) {
        const double left = std::clamp(mapping.x(row.start), 0.0, width - narrowest);
        const double right = std::max(std::min(mapping.x(row.start + row.duration.value_or(0)), width), left + narrowest);
        bars.push_back({row.id, row.kind, left, right - left});
    }
    return bars;
}

std::optional<double> RetimeMiniTimeline::gripX(double playhead) const
{
    const TrackMapping mapping{.width = width, .visibleSeconds = duration};
    if (!mapping.isUsable()) return std::nullopt;
    return std::clamp(mapping.x(playhead), 0.0, width);
}

std::optional<double> RetimeMiniTimeline::time(double x) const
{
    const TrackMapping mapping{.width = width, .visibleSeconds = duration};
    if (!mapping.isUsable() || !std::isfinite(x)) return std::nullopt;
    return mapping.time(x);
}

} // namespace larkspool
