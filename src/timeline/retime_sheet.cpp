#include "timeline/retime_sheet.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

/// Seconds that are no edit.
constexpr double noEdit = 0.0001;

/// The items of a row as a scene has them now.
struct LiveRow {
    struct Item {
        RetimeSource source;
        double start;
        std::optional<double> duration;
    };
    std::vector<Item> items{}; ///< By start.

    static LiveRow of(const TweenScene& scene, const RetimeRow& row)
    {
        LiveRow live;
        const TimelineSelection sources = rowSourceIDs(row);
        walkLayers(scene.layers, [&](const Layer& layer) {
            walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
                if (!sources.contains(ref)) return;
                const RetimeRow now = RetimeRow::of(layer, ref, times, position);
                live.items.push_back({ref, now.start, now.duration});
            });
        });
        std::ranges::stable_sort(live.items, {}, &Item::start);
        return live;
    }
    double start() const { return items.front().start; }
    std::optional<double> duration() const { return items.front().duration; }

    TimelineSelection sources() const
    {
        TimelineSelection all;
        for (const Item& item : items) all.insert(item.source);
        return all;
    }
};

/// The row's id; of a group, those of its items, as its own changes with its times.
std::string cellKey(std::string_view column, const RetimeRow& row)
{
    std::string key(column);
    if (row.children.empty()) return key + " " + row.id;
    for (const RetimeRow& child : row.children) key += " " + child.id;
    return key;
}

} // namespace

std::vector<RetimeRow> RetimeSheet::rows() const
{
    std::vector<RetimeRow> rows = retimeRows(opening_.read());
    if (sortDescending_) std::ranges::reverse(rows);
    return stableRowOrder_ ? orderedAs(std::move(rows), *stableRowOrder_) : rows;
}

void RetimeSheet::sort(bool descending)
{
    sortDescending_ = descending;
    stableRowOrder_.reset();
}

std::optional<std::string_view> RetimeSheet::message() const
{
    return rows().empty() ? std::optional(nothingToRetime) : std::nullopt;
}

bool RetimeSheet::commitStart(double value, const RetimeRow& row)
{
    TweenScene scene = opening_.read();
    const LiveRow live = LiveRow::of(scene, row);
    if (!std::isfinite(value) || live.items.empty() || !(scene.duration > 0)) return false;

    const double oldStart = live.start();
    // A row beyond the scene's end stays there while what it shows is merely confirmed.
    if (std::abs(value - oldStart) <= noEdit) return false;
    value = std::max(std::min(value, scene.duration), 0.0);
    const double delta = value - oldStart;
    if (!(std::abs(delta) > noEdit)) return false;

    for (const LiveRow::Item& item : live.items) writeStart(scene, item.source, value + (item.start - oldStart));
    commit(Column::start, row, std::move(scene),
           {.delta = delta,
            .anchorStart = oldStart,
            .edited = RetimeShift::Edited::start,
            .excludingSources = live.sources()});
    return true;
}

bool RetimeSheet::commitDuration(double value, const RetimeRow& row)
{
    TweenScene scene = opening_.read();
    const LiveRow live = LiveRow::of(scene, row);
    if (!std::isfinite(value) || live.items.empty() || !live.duration() || !(scene.duration > 0)) return false;

    const double oldDuration = *live.duration();
    value = std::max(value, 0.0);
    const double delta = value - oldDuration;
    if (!(std::abs(delta) > noEdit)) return false;

    for (const LiveRow::Item& item : live.items) writeDuration(scene, item.source, value);
    commit(Column::duration, row, std::move(scene),
           {.delta = delta,
            .anchorStart = live.start() + oldDuration,
            .edited = RetimeShift::Edited::duration,
            .excludingSources = live.sources()});
    return true;
}

void RetimeSheet::commit(Column column, const RetimeRow& row, TweenScene edited, RetimeShift shift)
{
    shift.ripple = ripple;
    shift.scopeLayerIDs = opening_.rippleScopeLayerIDs;
    applyRipple(edited, shift);

    if (!stableRowOrder_) stableRowOrder_ = rowOrder(rows());
    beginSessionIfNeeded();
    pushUndoStep(cellKey(column == Column::start ? "start" : "duration", row));
    opening_.write(std::move(edited));
    scheduleResort();
}

void RetimeSheet::beginSessionIfNeeded()
{
    if (!sessionBaseline_) sessionBaseline_ = opening_.read();
}

void RetimeSheet::pushUndoStep(std::string key)
{
    const double now = opening_.timers.now();
    const bool isBurst = lastEditKey_ == key && now - lastEditAt_ < burstWindow;
    lastEditKey_ = std::move(key);
    lastEditAt_ = now;
    if (isBurst) return;
    undoStack_.push_back(opening_.read());
    redoStack_.clear();
}

void RetimeSheet::scheduleResort()
{
    resortTimer_ = opening_.timers.after(resortDelay, [this] { stableRowOrder_.reset(); });
}

void RetimeSheet::performInModalUndo()
{
    step(undoStack_, redoStack_);
}

void RetimeSheet::performInModalRedo()
{
    step(redoStack_, undoStack_);
}

void RetimeSheet::step(std::vector<TweenScene>& from, std::vector<TweenScene>& to)
{
    if (from.empty()) return;
    to.push_back(opening_.read());
    TweenScene scene = std::move(from.back());
    from.pop_back();
    opening_.write(std::move(scene));
    lastEditKey_.reset();
}

void RetimeSheet::finalizeUndo()
{
    if (!sessionBaseline_) return;
    TweenScene before = std::move(*sessionBaseline_);
    sessionBaseline_.reset();
    undoStack_.clear();
    redoStack_.clear();
    lastEditKey_.reset();
    if (opening_.read() != before) opening_.finish(std::move(before));
}

std::vector<RetimeMiniTimeline::Bar> RetimeSheet::bars(double width) const
{
    return RetimeMiniTimeline{width, opening_.read().duration}.bars(rows());
}

void RetimeSheet::scrub(double x, double width, PlayheadSnapMode grid, Modifiers modifiers) const
{
    const TweenScene scene = opening_.read();
    if (const std::optional<double> time = RetimeMiniTimeline{width, scene.duration}.time(x))
        opening_.setPlayhead(scrubbedPlayhead(*time, grid, scene, modifiers));
}

} // namespace larkspool
