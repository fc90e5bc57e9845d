#include "views/timeline_tracks.h"

#include "platform/media_file.h"
#include "timeline/ripple_settings.h"
#include "views/timeline_popover.h"
#include "views/trim_preview.h"

// What the timeline tells of itself beside what it paints: tooltips, the list of layers behind a bar, the picture at a trimmed
// edge.

namespace larkspool {

using namespace TimelineMeasures;

namespace {

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

QString seconds(double time)
{
    return QString::number(time, 'f', 2) + "s";
}

/// The help of a row that stands for the whole scene.
QString aggregateHelp(TimelineRow::Kind kind)
{
    switch (kind) {
    case TimelineRow::Kind::spans: return text(AggregateSpansTrack::help);
    case TimelineRow::Kind::videoClip: return text(AggregateVideoTrack::help);
    case TimelineRow::Kind::keyframes: return text(AggregateKeyframesTrack::help);
    case TimelineRow::Kind::pulses: return text(AggregatePulsesTrack::help);
    }
    return {};
}

std::vector<OverlapGroup> layersBehind(const TweenScene& scene, const TimelineLayout::Hit& hit)
{
    switch (hit.row->kind) {
    case TimelineRow::Kind::spans: return overlapGroups(AggregateSpansTrack::groups(scene), hit.mark->position);
    case TimelineRow::Kind::videoClip: return overlapGroups(AggregateVideoTrack::groups(scene), hit.mark->position);
    case TimelineRow::Kind::keyframes: return overlapGroups(AggregateKeyframesTrack::groups(scene), hit.mark->position);
    case TimelineRow::Kind::pulses: return overlapGroups(AggregatePulsesTrack::groups(scene), hit.mark->position);
    }
    return {};
}

} // namespace

void TimelineTracks::leaveEvent(QEvent*)
{
    isPointerInside_ = false;
    hidePopover();
    update();
}

void TimelineTracks::hideEvent(QHideEvent*)
{
    cancel();
    hidePopover();
}

void TimelineTracks::showPopover()
{
    const std::optional<TimelineLayout::Hit> hit = isPointerInside_ && held_ == Held::nothing ? hitAt(pointer_) : std::nullopt;
    if (!hit || hit->row->layer) return;
    const double y = hit->row->laneTop(*hit->mark) + railHeight - scrolled();
    if (!popover_) popover_ = new TimelinePopover(window());
    popover_->show(layout_.scene(), layersBehind(layout_.scene(), *hit), mapTo(window(), QPointF(pointer_.x(), y)).toPoint());
}

void TimelineTracks::showTrimPreview()
{
    if (const std::optional<VideoTrimOverlayState>& trim = context_.editor.videoTrimOverlay()) {
        if (!trimPreview_) trimPreview_ = new TrimPreview(window());
        VideoTrimOverlayState shown = *trim;
        shown.videoPath = mediaPath(shown.videoPath, context_.documentFolder());
        trimPreview_->show(shown, mapTo(window(), QPointF(trim->x, trim->y)).toPoint());
    } else if (trimPreview_) {
        trimPreview_->end();
    }
}

void TimelineTracks::hidePopover()
{
    popoverTimer_.stop();
    if (popover_) popover_->hide();
}

QString TimelineTracks::helpAt(QPointF position) const
{
    if (const Pill* pill = pillAt(position))
        return text(
            label(pill->side == TimelinePainting::RippleSide::before ? TimelineRippleMode::before : TimelineRippleMode::after));
    if (!isOverRows(position)) return {};
    const CGPoint point = inRows(position);
    const TimelineRow* row = layout_.rowAt(point.y);
    if (!row) return {};
    if (point.x >= gutterDivider) {
        const std::optional<TimelineLayout::Hit> hit = layout_.hit(point);
        if (!row->layer) return hit ? QString() : aggregateHelp(row->kind); // A bar opens its list instead.
        if (!hit) return {};
        const ItemTimes& times = hit->mark->times;
        return times.start == times.end ? seconds(times.start) : seconds(times.start) + " – " + seconds(times.end);
    }
    if (!row->layer) return aggregateHelp(row->kind);
    for (const GutterControl& control : TimelineGutter::controls(layout_, *row))
        if (control.rect.contains(QPointF(point.x, point.y)))
            return TimelineGutter::help(layout_, *row, control.kind, context_.editor.state().playhead);
    return row->kind == TimelineRow::Kind::spans ? QString::fromStdString(row->layer->name.string()) : QString();
}

} // namespace larkspool
