#include "views/timeline_tracks.h"

#include "timeline/ripple_settings.h"
#include "views/theme.h"
#include "views/timeline_popover.h"
#include "views/trim_preview.h"

#include <QEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

using namespace TimelineMeasures;

constexpr int scrollBarWidth = 8, popoverDelay = 500;
constexpr double pillGap = 6, pillPitch = InlineRipplePills::side + 2;

QRectF box(CGPoint a, CGPoint b)
{
    return QRectF(QPointF(std::min(a.x, b.x), std::min(a.y, b.y)), QPointF(std::max(a.x, b.x), std::max(a.y, b.y)));
}

} // namespace

TimelineTracks::TimelineTracks(EditorContext context, QWidget* parent)
    : QWidget(parent), context_(std::move(context)), scrollBar_(new QScrollBar(Qt::Vertical, this))
{
    setObjectName("timelineTracks");
    setAccessibleName("Timeline rows");
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    scrollBar_->hide();
    connect(scrollBar_, &QScrollBar::valueChanged, this, [this] {
        tracks_ = {};
        hidePopover();
        if (marquee_) {
            marquee_->to = inRows(pointer_);
            updateMarquee();
            context_.changed();
        }
        update();
    });
    popoverTimer_.setSingleShot(true);
    popoverTimer_.setInterval(popoverDelay);
    connect(&popoverTimer_, &QTimer::timeout, this, [this] { showPopover(); });
    pillTimer_.setSingleShot(true);
    connect(&pillTimer_, &QTimer::timeout, this, [this] {
        awaitPills();
        update();
    });
}

TimelineTracks::~TimelineTracks()
{
    delete popover_;
    delete trimPreview_;
}

double TimelineTracks::bodyBottom() const
{
    return height() - (layout_.viewport() ? minimapHeight : 0);
}

double TimelineTracks::scrolled() const
{
    return scrollBar_->value();
}

CGPoint TimelineTracks::inRows(QPointF position) const
{
    return {position.x(), position.y() - railHeight + scrolled()};
}

bool TimelineTracks::isOverRows(QPointF position) const
{
    return position.y() >= railHeight && position.y() < bodyBottom();
}

std::optional<TimelineLayout::Hit> TimelineTracks::hitAt(QPointF position) const
{
    return isOverRows(position) ? layout_.hit(inRows(position)) : std::nullopt;
}

void TimelineTracks::refresh()
{
    const std::optional<TimelineViewport> before = layout_.viewport();
    followPlayhead();
    rebuildLayout();
    if (marquee_ && layout_.viewport() != before) shiftMarquee(before);
    if (gutterFocus_ && !TimelineGutter::rowOf(layout_, *gutterFocus_)) gutterFocus_.reset();
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    if (selection != paintedSelection_) {
        paintedSelection_ = selection;
        tracks_ = {};
    }
    placePills();
    awaitPills();
    showTrimPreview();
    itemsChanged(*this);
    update();
}

/// Lets the zoomed timeline go with a playhead that leaves what is seen. One that is out of sight stays so; but zooming in shows it.
void TimelineTracks::followPlayhead()
{
    const double playhead = context_.editor.state().playhead, before = std::exchange(shownPlayhead_, playhead);
    const std::optional<TimelineViewport> viewport = activeViewport(context_.editor.state());
    const auto isSeen = [&](double time) { return viewport->start <= time && time <= viewport->end(); };
    if (!viewport || isSeen(playhead) || held_ != Held::nothing) return;
    if (!layout_.viewport())
        context_.editor.scrollTimeline(playhead - viewport->start - viewport->visibleDuration / 2);
    else if (viewport == layout_.viewport() && isSeen(before))
        context_.editor.scrollTimeline(playhead - viewport->start);
}

/// The timeline has scrolled below the marquee, which stays over the items that it was drawn over.
void TimelineTracks::shiftMarquee(const std::optional<TimelineViewport>& before)
{
    const std::optional<TimelineViewport>& now = layout_.viewport();
    if (before && now && before->visibleDuration == now->visibleDuration && layout_.mapping().isUsable()) {
        const double points = (before->start - now->start) / now->visibleDuration * layout_.mapping().width;
        marquee_->from.x += points;
        context_.editor.shiftMarquee(points);
    }
    updateMarquee();
}

/// While the pills are hidden for a moment, nothing else tells that they are back.
void TimelineTracks::awaitPills()
{
    if (context_.editor.areRippleHandlesHidden() && !pillTimer_.isActive())
        pillTimer_.start(static_cast<int>(RippleHandleSuppressor::quietSeconds * 1000));
}

void TimelineTracks::rebuildLayout()
{
    const EditorState& state = context_.editor.state();
    if (layout_.isOf(state, folded_, width())) return;
    layout_ = TimelineLayout(state, folded_, width());
    tracks_ = {};
    placeScrollBar();
}

void TimelineTracks::placeScrollBar()
{
    const double seen = bodyBottom() - railHeight;
    const double hidden = std::max(layout_.height() - seen, 0.0);
    scrollBar_->setRange(0, static_cast<int>(std::ceil(hidden)));
    scrollBar_->setPageStep(std::max(1, static_cast<int>(seen)));
    scrollBar_->setSingleStep(static_cast<int>(rowPitch));
    scrollBar_->setGeometry(width() - scrollBarWidth - 2, static_cast<int>(railHeight) + 2, scrollBarWidth,
                            std::max(0, static_cast<int>(seen) - 4));
    scrollBar_->setVisible(hidden > 0);
}

/// Beside the selected items of the topmost row that has any.
void TimelineTracks::placePills()
{
    pills_.clear();
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    if (selection.empty() || !layout_.mapping().isUsable()) return;
    for (const TimelineRow& row : layout_.rows()) {
        const std::optional<ItemTimes> times = layout_.selectedTimes(row, selection);
        if (!times) continue;
        const auto first = std::ranges::find_if(row.marks, [&](const TimelineMark& mark) { return isSelected(mark, selection); });
        const bool isBars = row.kind == TimelineRow::Kind::spans || row.kind == TimelineRow::Kind::videoClip;
        const TrackMapping& mapping = layout_.mapping();
        const auto centers = InlineRipplePills::centers(times, {.visStart = mapping.start,
                                                                .visDur = mapping.visibleSeconds,
                                                                .geoWidth = mapping.width,
                                                                .rowHeight = rowHeight,
                                                                .gap = isBars ? pillGap : pillGap + markerReach});
        if (!centers) return;
        const QPointF corner(mapping.left, row.laneTop(*first));
        QPointF before(centers->before.x, centers->before.y), after(centers->after.x, centers->after.y);
        // Of a selection that is out of sight, both are held at one end of the row.
        if (after.x() - before.x() < pillPitch && before.x() - pillPitch > 0)
            before.setX(after.x() - pillPitch);
        else
            after.setX(std::max(after.x(), before.x() + pillPitch));
        pills_ = {{TimelinePainting::RippleSide::before, corner + before}, {TimelinePainting::RippleSide::after, corner + after}};
        return;
    }
}

/// Whether a selected marker or the edge of a selected bar lies there. At the end of the row a pill is held over it, and must leave
/// it in reach.
bool TimelineTracks::isOnSelectedEnd(CGPoint point) const
{
    const std::optional<TimelineLayout::Hit> hit = layout_.hit(point);
    if (!hit || !isSelected(*hit->mark, context_.editor.state().timelineSelection)) return false;
    if (hit->isWaitTail) return std::abs(point.x - layout_.mapping().x(hit->mark->times.end)) <= waitHandleReach;
    const bool isBar = hit->row->kind == TimelineRow::Kind::spans || hit->row->kind == TimelineRow::Kind::videoClip;
    return !isBar || hit->handle != DragHandle::body;
}

const TimelineTracks::Pill* TimelineTracks::pillAt(QPointF position) const
{
    if (!isOverRows(position) || context_.editor.areRippleHandlesHidden()) return nullptr;
    const CGPoint point = inRows(position);
    if (isOnSelectedEnd(point)) return nullptr;
    for (const Pill& pill : pills_)
        if (std::hypot(point.x - pill.center.x(), point.y - pill.center.y()) <= InlineRipplePills::side / 2) return &pill;
    return nullptr;
}

void TimelineTracks::resizeEvent(QResizeEvent*)
{
    tracks_ = {};
    rebuildLayout();
    placeScrollBar();
    placePills();
}

void TimelineTracks::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) tracks_ = {};
    QWidget::changeEvent(event);
}

void TimelineTracks::paintEvent(QPaintEvent*)
{
    using namespace TimelinePainting;
    const EditorState& state = context_.editor.state();
    const double ratio = devicePixelRatioF(), bottom = bodyBottom();
    const QRectF seen(0, scrolled(), width(), std::max(bottom - railHeight, 1.0));
    if (tracks_.isNull() || tracks_.devicePixelRatio() != ratio) {
        tracks_ = QPixmap((QSizeF(seen.size()) * ratio).toSize());
        tracks_.setDevicePixelRatio(ratio);
        QPainter painter(&tracks_);
        painter.translate(0, -seen.top());
        paintTracks(painter, layout_, paintedSelection_, seen);
    }
    QPainter painter(this);
    painter.drawPixmap(QPointF(0, railHeight), tracks_);

    painter.save();
    painter.setClipRect(QRectF(0, railHeight, width(), bottom - railHeight));
    painter.translate(0, railHeight - scrolled());
    const bool showsHover = isPointerInside_ && held_ == Held::nothing && isOverRows(pointer_);
    GutterHover hovered;
    if (showsHover) {
        const CGPoint point = inRows(pointer_);
        hovered = {layout_.blockAt(point.y), layout_.rowAt(point.y)};
        const std::optional<TimelineLayout::Hit> hit = layout_.hit(point);
        const bool isBar = hit && (hit->row->kind == TimelineRow::Kind::spans || hit->row->kind == TimelineRow::Kind::videoClip);
        if (isBar) paintHoveredBar(painter, layout_, *hit, state.timelineSelection);
    }
    if (hasFocus() && gutterFocus_) {
        hovered.focusedRow = TimelineGutter::rowOf(layout_, *gutterFocus_);
        if (hovered.focusedRow) hovered.focused = TimelineGutter::control(layout_, *hovered.focusedRow, gutterFocus_->kind);
    }
    paintGutter(painter, layout_, state.playhead, hovered, seen);
    if (!context_.editor.areRippleHandlesHidden())
        for (const Pill& pill : pills_) {
            const BooleanKey& key =
                pill.side == RippleSide::before ? DefaultsKey::ripplePushBefore : DefaultsKey::ripplePushAfter;
            paintRipplePill(painter, pill.side, pill.center, context_.editor.defaults().boolean(key));
        }
    if (marquee_) {
        painter.setClipRect(QRectF(gutterDivider + 1, seen.top(), width() - gutterDivider - 1, seen.height()));
        paintMarquee(painter, box(marquee_->from, marquee_->to));
    }
    painter.restore();

    paintRail(painter, layout_, width(), state.playhead);
    if (context_.editor.snapState().time) paintSnapLine(painter, layout_, *context_.editor.snapState().time, bottom);
    paintPlayhead(painter, layout_, state.playhead, bottom);
    if (layout_.viewport()) paintMinimap(painter, layout_, QRectF(0, bottom, width(), minimapHeight), state.playhead);
    if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
        painter.setPen(QPen(theme().focusRing, 2));
        painter.drawRect(QRectF(1, railHeight + 1, width() - 2, bottom - railHeight - 2));
    }
}

} // namespace larkspool
