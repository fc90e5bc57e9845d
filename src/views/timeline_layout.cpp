#include "views/timeline_layout.h"

#include "timeline/keyframe_tracks.h"
#include "timeline/pulses_track.h"
#include "timeline/selection.h"
#include "timeline/video_clip_track.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace larkspool {

namespace {

using namespace TimelineMeasures;

constexpr double lineHeight = 1;
constexpr double keyframeReach = 7; ///< From a diamond's middle.

void sortByTime(TimelineRow& row)
{
    std::ranges::stable_sort(row.marks, {}, [](const TimelineMark& mark) { return mark.times.start; });
}

/// A row of bars or markers that each are one item.
TimelineRow rowOf(TimelineRow::Kind kind, const Layer& layer)
{
    TimelineRow row{.kind = kind, .layer = &layer};
    if (kind == TimelineRow::Kind::spans)
        for (std::size_t i = 0; i < layer.spans.size(); ++i) {
            const TimeSpan& span = layer.spans[i];
            row.marks.push_back({{TimelineItemRef::span(layer.id, span.id)}, {span.start, span.end}, i});
        }
    if (kind == TimelineRow::Kind::videoClip)
        if (const VideoClip* clip = findVideoClip(layer))
            row.marks.push_back({{TimelineItemRef::videoClip(layer.id)}, {clip->sceneStart, clip->sceneEnd}, 0});
    if (kind == TimelineRow::Kind::pulses)
        for (std::size_t i = 0; i < layer.pulses.size(); ++i) {
            const Pulse& pulse = layer.pulses[i];
            row.marks.push_back({{TimelineItemRef::pulse(layer.id, pulse.id)}, {pulse.time, pulse.time}, i});
        }
    sortByTime(row);
    return row;
}

std::vector<TimelineRow> keyframeRows(const Layer& layer)
{
    std::unordered_map<UUID, std::size_t> positions;
    for (std::size_t i = 0; i < layer.keyframes.size(); ++i) positions.emplace(layer.keyframes[i].id, i);
    std::vector<TimelineRow> rows;
    for (const KeyframeTracks::Row& track : KeyframeTracks::rows(layer)) {
        TimelineRow& row =
            rows.emplace_back(TimelineRow{.kind = TimelineRow::Kind::keyframes, .layer = &layer, .property = track.property});
        for (const UUID& id : track.kfIDs) {
            const std::size_t position = positions.at(id);
            const Keyframe& keyframe = layer.keyframes[position];
            const double wait = KeyframeTracks::offersWaitTail(keyframe) ? keyframe.wait : 0;
            row.marks.push_back({{TimelineItemRef::keyframe(layer.id, id)}, {keyframe.time, keyframe.time + wait}, position});
        }
        sortByTime(row);
    }
    return rows;
}

template <typename Ref>
TimelineRow aggregateRow(TimelineRow::Kind kind, const std::vector<AggregateGroup<Ref>>& groups)
{
    TimelineRow row{.kind = kind};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        row.marks.push_back({groups[i].members(), {groups[i].start, groups[i].end}, i});
        row.itemCount += groups[i].refs.size();
    }
    return row;
}

/// Gives bars that overlap lanes of their own, each the highest that is free.
void stack(TimelineRow& row)
{
    std::vector<double> ends;
    for (TimelineMark& mark : row.marks) {
        const auto free = std::ranges::find_if(ends, [&](double end) { return end <= mark.times.start; });
        mark.lane = static_cast<std::size_t>(free - ends.begin());
        if (free == ends.end())
            ends.push_back(mark.times.end);
        else
            *free = mark.times.end;
    }
    row.laneCount = std::max<std::size_t>(ends.size(), 1);
}

bool isBarRow(const TimelineRow& row)
{
    return row.kind == TimelineRow::Kind::spans || row.kind == TimelineRow::Kind::videoClip;
}

} // namespace

TimelineLayout::TimelineLayout(const EditorState& state, const Folded& folded, double viewWidth)
    : scene_(state.scene()),
      viewport_(activeViewport(state)),
      containerWidth_(viewWidth - rightMargin),
      viewWidth_(viewWidth),
      selected_(state.selectedLayerIDs),
      pinned_(state.timelinePinnedLayerIDs),
      shown_(currentTimelineLayerIDs(state)),
      folded_(folded)
{
    mapping_ = trackMapping(viewport_, scene_.duration, leftGutter, containerWidth_);
    if (isAggregate()) {
        addAggregateRows();
    } else {
        addLayers(scene_.layers, selected_, folded);
        addLayers(scene_.layers, pinned_, folded);
    }
    height_ = blocks_.empty() ? 0 : blocks_.back().bottom;
}

bool TimelineLayout::isOf(const EditorState& state, const Folded& folded, double viewWidth) const
{
    return viewWidth == viewWidth_ && viewport_ == activeViewport(state) && folded == folded_ &&
           state.selectedLayerIDs == selected_ && state.timelinePinnedLayerIDs == pinned_ && state.scene() == scene_;
}

/// The roots among the layers and below them that have no rows yet, the frontmost first, each with all below it.
void TimelineLayout::addLayers(const Array<Layer>& layers, const LayerIDs& roots, const Folded& folded)
{
    for (std::size_t i = layers.size(); i-- > 0;) {
        const Layer& layer = layers[i];
        if (std::ranges::find(order_, layer.id) != order_.end()) continue;
        if (roots.contains(layer.id))
            addTree(layer, 0, folded);
        else
            addLayers(layer.children, roots, folded);
    }
}

void TimelineLayout::addTree(const Layer& layer, std::size_t depth, const Folded& folded)
{
    addBlock(layer, depth, folded.contains(layer.id));
    for (std::size_t i = layer.children.size(); i-- > 0;) addTree(layer.children[i], depth + 1, folded);
}

void TimelineLayout::addRow(TimelineRow row)
{
    row.top = rows_.empty() || blocks_.back().rowCount == 0 ? blocks_.back().top + (row.layer             ? blockMargin
                                                                                    : blocks_.size() == 1 ? aggregateTop
                                                                                                          : aggregateBandMargin)
                                                            : rows_.back().bottom() + (rowPitch - rowHeight);
    ++blocks_.back().rowCount;
    const UUID layerID = row.layer ? row.layer->id : UUID{};
    const bool continuesBand = !bands_.empty() && bands_.back().layerID == layerID && bands_.back().kind == row.kind;
    if (continuesBand)
        bands_.back().maxY = row.bottom();
    else
        bands_.push_back({layerID, row.kind, row.top, row.bottom()});
    rows_.push_back(std::move(row));
}

void TimelineLayout::addBlock(const Layer& layer, std::size_t depth, bool isFolded)
{
    order_.push_back(layer.id);
    blocks_.push_back({.layer = &layer,
                       .top = blocks_.empty() ? 0 : blocks_.back().bottom + lineHeight,
                       .depth = depth,
                       .firstRow = rows_.size(),
                       .isSelected = selected_.contains(layer.id),
                       .isPinned = pinned_.contains(layer.id),
                       .isFolded = isFolded});
    addRow(rowOf(TimelineRow::Kind::spans, layer));
    std::vector<TimelineRow> below;
    if (findVideoClip(layer)) below.push_back(rowOf(TimelineRow::Kind::videoClip, layer));
    if (!layer.pulses.empty()) below.push_back(rowOf(TimelineRow::Kind::pulses, layer));
    std::ranges::move(keyframeRows(layer), std::back_inserter(below));
    blocks_.back().canFold = !below.empty();
    if (!isFolded)
        for (TimelineRow& row : below) addRow(std::move(row));
    blocks_.back().bottom = rows_.back().bottom() + blockMargin;
}

void TimelineLayout::addAggregateRows()
{
    TimelineRow spans = aggregateRow(TimelineRow::Kind::spans, AggregateSpansTrack::groups(scene_));
    TimelineRow clips = aggregateRow(TimelineRow::Kind::videoClip, AggregateVideoTrack::groups(scene_));
    stack(spans);
    stack(clips);
    TimelineRow* const bars[] = {&spans, &clips};
    const auto add = [this](TimelineRow row) {
        blocks_.push_back({.top = blocks_.empty() ? 0 : blocks_.back().bottom + lineHeight, .firstRow = rows_.size()});
        addRow(std::move(row));
        blocks_.back().bottom = rows_.back().bottom() + aggregateBandMargin;
    };
    for (TimelineRow* row : bars) add(std::move(*row));
    add(aggregateRow(TimelineRow::Kind::keyframes, AggregateKeyframesTrack::groups(scene_)));
    add(aggregateRow(TimelineRow::Kind::pulses, AggregatePulsesTrack::groups(scene_)));
}

std::span<const TimelineRow> TimelineLayout::rowsBetween(double top, double bottom) const
{
    const auto first = std::ranges::partition_point(rows_, [&](const TimelineRow& row) { return row.bottom() <= top; });
    const auto last = std::partition_point(first, rows_.end(), [&](const TimelineRow& row) { return row.top < bottom; });
    return {first, last};
}

std::span<const TimelineBlock> TimelineLayout::blocksBetween(double top, double bottom) const
{
    const auto first =
        std::ranges::partition_point(blocks_, [&](const TimelineBlock& block) { return block.bottom + lineHeight <= top; });
    const auto last = std::partition_point(first, blocks_.end(), [&](const TimelineBlock& block) { return block.top < bottom; });
    return {first, last};
}

const TimelineBlock* TimelineLayout::blockAt(double y) const
{
    const std::span<const TimelineBlock> found = blocksBetween(y, y + 1);
    return found.empty() || y < found.front().top || y >= found.front().bottom ? nullptr : &found.front();
}

const TimelineBlock& TimelineLayout::blockOf(const TimelineRow& row) const
{
    const std::size_t place = static_cast<std::size_t>(&row - rows_.data());
    const auto after = std::ranges::partition_point(blocks_, [&](const TimelineBlock& block) { return block.firstRow <= place; });
    return *std::prev(after);
}

const TimelineRow* TimelineLayout::rowAt(double y) const
{
    const std::span<const TimelineRow> found = rowsBetween(y, y + 1);
    return found.empty() || y < found.front().top ? nullptr : &found.front();
}

std::vector<TimelineItemRef> TimelineLayout::Hit::members() const
{
    if (!isWaitTail) return mark->members;
    const TimelineItemRef& keyframe = mark->members.front();
    return {TimelineItemRef::waitTail(keyframe.layerID, keyframe.itemID)};
}

std::optional<TimelineLayout::Hit> TimelineLayout::hit(CGPoint point) const
{
    const TimelineRow* row = rowAt(point.y);
    if (!row || !mapping_.isUsable() || point.x < gutterDivider) return std::nullopt;
    return isBarRow(*row) ? hitBar(*row, point) : hitMarker(*row, point);
}

/// Of bars that overlap, the one that lies on top: the last one painted.
std::optional<TimelineLayout::Hit> TimelineLayout::hitBar(const TimelineRow& row, CGPoint point) const
{
    for (std::size_t i = row.marks.size(); i-- > 0;) {
        const TimelineMark& mark = row.marks[i];
        const double top = row.laneTop(mark), left = mapping_.x(mark.times.start), right = mapping_.x(mark.times.end);
        if (point.y < top || point.y >= top + rowHeight || point.x < left || point.x > right) continue;
        return Hit{&row, &mark, SpansTrack::handleAt(point.x - left, right - left)};
    }
    return std::nullopt;
}

/// The nearest marker; else the handle of a wait, or its tail.
std::optional<TimelineLayout::Hit> TimelineLayout::hitMarker(const TimelineRow& row, CGPoint point) const
{
    const bool isKeyframes = row.kind == TimelineRow::Kind::keyframes;
    const double reach = isKeyframes ? keyframeReach : PulsesTrack::markerSize / 2;
    const TimelineMark* nearest = nullptr;
    double nearestWay = reach;
    const TimelineMark* tail = nullptr;
    for (const TimelineMark& mark : row.marks) {
        const double x = mapping_.x(mark.times.start), way = std::abs(point.x - x);
        if (way <= nearestWay) {
            nearest = &mark;
            nearestWay = way;
        }
        if (hasWaitTail(row, mark) && point.x > x && point.x <= mapping_.x(mark.times.end) + waitHandleReach) tail = &mark;
    }
    if (nearest) return Hit{&row, nearest, DragHandle::body};
    if (tail) return Hit{&row, tail, DragHandle::rightEdge, true};
    return std::nullopt;
}

std::optional<ItemTimes> TimelineLayout::selectedTimes(const TimelineRow& row, const TimelineSelection& selection) const
{
    std::optional<ItemTimes> times;
    const bool isBar = isBarRow(row);
    for (const TimelineMark& mark : row.marks) {
        if (!isSelected(mark, selection)) continue;
        const double end = isBar ? mark.times.end : mark.times.start;
        times = times ? ItemTimes{std::min(times->start, mark.times.start), std::max(times->end, end)}
                      : ItemTimes{mark.times.start, end};
    }
    return times;
}

bool hasWaitTail(const TimelineRow& row, const TimelineMark& mark)
{
    return row.kind == TimelineRow::Kind::keyframes && row.layer && mark.times.end > mark.times.start;
}

bool isSelected(const TimelineMark& mark, const TimelineSelection& selection)
{
    if (selection.empty()) return false;
    return std::ranges::all_of(mark.members, [&](const TimelineItemRef& ref) { return selection.contains(ref); });
}

} // namespace larkspool
