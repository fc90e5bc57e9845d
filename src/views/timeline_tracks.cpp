#include "views/timeline_tracks.h"

#include "platform/media_file.h"
#include "timeline/pulses_track.h"
#include "timeline/ripple_settings.h"
#include "timeline/snap.h"
#include "timeline/span_edits.h"
#include "views/input.h"
#include "views/theme.h"
#include "views/timeline_menus.h"
#include "views/timeline_popover.h"
#include "views/trim_preview.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

using namespace TimelineMeasures;

constexpr int scrollBarWidth = 8, popoverDelay = 500;
constexpr double pillGap = 6, markerReach = 6; ///< Of a marker, from its middle.

QRectF box(CGPoint a, CGPoint b)
{
    return QRectF(QPointF(std::min(a.x, b.x), std::min(a.y, b.y)), QPointF(std::max(a.x, b.x), std::max(a.y, b.y)));
}

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

/// What an item of the row is called.
QString rowName(const TimelineRow& row)
{
    switch (row.kind) {
    case TimelineRow::Kind::spans: return "Span";
    case TimelineRow::Kind::videoClip: return "Video clip";
    case TimelineRow::Kind::keyframes: return row.layer ? text(displayName(row.property)) + " keyframe" : QString("Keyframe");
    case TimelineRow::Kind::pulses: return "Pulse";
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
        update();
    });
    popoverTimer_.setSingleShot(true);
    popoverTimer_.setInterval(popoverDelay);
    connect(&popoverTimer_, &QTimer::timeout, this, [this] { showPopover(); });
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
    rebuildLayout();
    if (marquee_ && layout_.viewport() != before) updateMarquee(); // It has scrolled what lies below the marquee.
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    if (selection != paintedSelection_) {
        paintedSelection_ = selection;
        tracks_ = {};
    }
    placePills();
    showTrimPreview();
    itemsChanged(*this);
    update();
}

/// The items of all rows, in their order. What is scrolled away has no place.
std::vector<AccessibleItem> TimelineTracks::accessibleItems() const
{
    std::vector<AccessibleItem> items;
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    const QRectF seen(leftGutter, railHeight, width() - leftGutter, bodyBottom() - railHeight);
    for (const TimelineRow& row : layout_.rows()) {
        const QString what = rowName(row);
        const QString whose = row.layer ? QString::fromStdString(row.layer->name.string()) : QString("All layers");
        for (const TimelineMark& mark : row.marks) {
            const bool isMoment = mark.times.start == mark.times.end;
            const double start = layout_.mapping().x(mark.times.start), end = layout_.mapping().x(mark.times.end);
            const QRectF place(start - markerReach, row.laneTop(mark) + railHeight - scrolled(), end - start + 2 * markerReach,
                               rowHeight);
            QString name = what + ", " + whose + ", " + seconds(mark.times.start);
            if (!isMoment) name += " to " + seconds(mark.times.end);
            if (mark.members.size() > 1) name += QString(", %1 items").arg(mark.members.size());
            const bool isChosen = isSelected(mark, selection);
            items.push_back({.name = name,
                             .rect = place.intersected(seen).toAlignedRect(),
                             .isSelected = isChosen,
                             .hasKeyboard = isChosen,
                             .press = [tracks = const_cast<TimelineTracks*>(this), members = std::vector(mark.members)] {
                                 tracks->tap(members, {});
                             }});
        }
    }
    return items;
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
        pills_ = {{TimelinePainting::RippleSide::before, corner + QPointF(centers->before.x, centers->before.y)},
                  {TimelinePainting::RippleSide::after, corner + QPointF(centers->after.x, centers->after.y)}};
        return;
    }
}

const TimelineTracks::Pill* TimelineTracks::pillAt(QPointF position) const
{
    if (!isOverRows(position) || context_.editor.areRippleHandlesHidden()) return nullptr;
    const CGPoint point = inRows(position);
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
    paintGutter(painter, layout_, state.playhead, hovered, seen);
    if (!context_.editor.areRippleHandlesHidden())
        for (const Pill& pill : pills_) {
            const BooleanKey& key =
                pill.side == RippleSide::before ? DefaultsKey::ripplePushBefore : DefaultsKey::ripplePushAfter;
            paintRipplePill(painter, pill.side, pill.center, context_.editor.defaults().boolean(key));
        }
    if (marquee_) paintMarquee(painter, box(marquee_->from, marquee_->to));
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

void TimelineTracks::scrub(QPointF position, Modifiers modifiers)
{
    const TweenScene& scene = layout_.scene();
    const TrackMapping& mapping = layout_.mapping();
    const double time =
        TimeTickRail::time(position.x() - mapping.left, mapping.width, {mapping.start, mapping.visibleSeconds}, scene.duration);
    context_.editor.setPlayhead(scrubbedPlayhead(time, SnapSettings::of(context_.editor.defaults()).grid, scene, modifiers));
    context_.changed();
}

bool TimelineTracks::pressGutter(QPointF position)
{
    using namespace TimelinePainting;
    const CGPoint point = inRows(position);
    const TimelineBlock* block = layout_.blockAt(point.y);
    const TimelineRow* row = layout_.rowAt(point.y);
    if (!block || !block->layer || !row) return false;
    const QPointF at(point.x, point.y);
    const UUID layerID = block->layer->id;
    EditorView& editor = context_.editor;
    if (row->kind == TimelineRow::Kind::spans) {
        if (block->canFold && chevronRect(*block, *row).contains(at)) {
            if (block->isFolded)
                folded_.erase(layerID);
            else
                folded_.insert(layerID);
        } else if (pinRect(*row).contains(at)) {
            LayerIDs pinned = editor.state().timelinePinnedLayerIDs;
            if (pinned.erase(layerID) == 0) pinned.insert(layerID);
            editor.pinTimelineLayers(std::move(pinned));
        } else if (addRect(*row).contains(at)) {
            editor.perform(SpansTrack::addSpanAtPlayhead(editor.scene(), layerID, editor.state().playhead));
        } else {
            return false;
        }
    } else if (row->kind == TimelineRow::Kind::pulses && addRect(*row).contains(at)) {
        editor.addPulseAtPlayhead(layerID);
    } else if (row->kind == TimelineRow::Kind::keyframes && diamondRect(*row).contains(at)) {
        editor.addKeyframeAtPlayhead(layerID, row->property);
    } else {
        return false;
    }
    context_.changed();
    return true;
}

void TimelineTracks::pressItems(const TimelineLayout::Hit& hit, QPointF position, Modifiers modifiers)
{
    held_ = Held::items;
    const double top = hit.row->laneTop(*hit.mark) + railHeight - scrolled();
    DragPress press{.members = hit.members(),
                    .handle = hit.handle,
                    .row = hit.row->layer ? DragRow::layer : DragRow::aggregate,
                    .modifiers = modifiers,
                    .trackOrigin = {layout_.mapping().left, top}};
    context_.editor.pressTimelineItems(std::move(press), layout_.mapping().width, triggerDistance);
    pressedAt_ = position;
}

void TimelineTracks::mousePressEvent(QMouseEvent* event)
{
    hidePopover();
    if (event->button() != Qt::LeftButton || held_ != Held::nothing) return;
    const QPointF at = event->position();
    const Modifiers modifiers = asModifiers(event->modifiers());
    pressedAt_ = pointer_ = at;
    if (at.y() < railHeight) {
        if (at.x() < gutterDivider) return;
        held_ = Held::playhead;
        return scrub(at, modifiers);
    }
    if (!isOverRows(at)) {
        const QRectF strip(0, bodyBottom(), width(), minimapHeight);
        const TrackMapping whole = TimelinePainting::minimapMapping(layout_);
        if (!whole.isUsable() || at.x() < gutterDivider) return;
        held_ = Held::viewport;
        const QRectF frame = TimelinePainting::minimapFrame(layout_, strip);
        if (at.x() < frame.left() || at.x() > frame.right())
            context_.editor.scrollTimeline(whole.seconds(at.x() - frame.center().x()));
        pressedViewportStart_ = activeViewport(context_.editor.state()).value_or(TimelineViewport{}).start;
        return context_.changed();
    }
    if (const Pill* pill = pillAt(at)) {
        const BooleanKey& key =
            pill->side == TimelinePainting::RippleSide::before ? DefaultsKey::ripplePushBefore : DefaultsKey::ripplePushAfter;
        context_.editor.defaults().set(key, !context_.editor.defaults().boolean(key));
        return context_.changed();
    }
    if (at.x() < gutterDivider) {
        pressGutter(at);
        return;
    }
    if (const std::optional<TimelineLayout::Hit> hit = hitAt(at))
        pressItems(*hit, at, modifiers);
    else
        held_ = Held::emptyRows;
}

void TimelineTracks::dragMarquee(QPointF position, Modifiers modifiers)
{
    if (!marquee_) {
        const QPointF way = position - pressedAt_;
        if (std::max(std::abs(way.x()), std::abs(way.y())) < triggerDistance) return;
        const CGPoint from = inRows(pressedAt_);
        marquee_ = Marquee{.from = from, .before = context_.editor.state().timelineSelection};
        context_.editor.beginMarquee(from);
    }
    marquee_->to = inRows(position);
    marquee_->modifiers = modifiers;
    updateMarquee();
    context_.changed();
}

void TimelineTracks::updateMarquee()
{
    const std::optional<std::span<const UUID>> layers =
        layout_.isAggregate() ? std::nullopt : std::optional(layout_.shownLayers());
    context_.editor.updateMarquee(marquee_->to, layers, layout_.bands(), leftGutter, layout_.containerWidth(),
                                  marquee_->modifiers);
}

void TimelineTracks::dragViewport(QPointF position)
{
    const TrackMapping whole = TimelinePainting::minimapMapping(layout_);
    const std::optional<TimelineViewport> viewport = activeViewport(context_.editor.state());
    if (!viewport || !whole.isUsable()) return;
    const double start = pressedViewportStart_ + whole.seconds(position.x() - pressedAt_.x());
    context_.editor.scrollTimeline(start - viewport->start);
    context_.changed();
}

void TimelineTracks::mouseMoveEvent(QMouseEvent* event)
{
    const Modifiers modifiers = asModifiers(event->modifiers());
    pointer_ = event->position();
    isPointerInside_ = true;
    switch (held_) {
    case Held::nothing: return hover(event->position(), event->buttons());
    case Held::playhead: return scrub(event->position(), modifiers);
    case Held::items:
        setCursor(cursor().shape() == Qt::SplitHCursor ? Qt::SplitHCursor : Qt::ClosedHandCursor);
        context_.editor.dragTimelineItems(asPoint(event->position() - pressedAt_), modifiers);
        return context_.changed();
    case Held::emptyRows: return dragMarquee(event->position(), modifiers);
    case Held::viewport: return dragViewport(event->position());
    }
}

void TimelineTracks::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    const Modifiers modifiers = asModifiers(event->modifiers());
    const Held held = std::exchange(held_, Held::nothing);
    if (held == Held::nothing) return;
    if (held == Held::items) {
        if (event->position() != pointer_) context_.editor.dragTimelineItems(asPoint(event->position() - pressedAt_), modifiers);
        context_.editor.releaseTimelineItems(modifiers);
    }
    if (held == Held::emptyRows) {
        const bool keepsSelection = marquee_ || modifiers.shift || modifiers.command;
        context_.editor.endMarquee();
        marquee_.reset();
        if (!keepsSelection) context_.editor.selectTimelineItems({});
    }
    context_.changed();
    hover(event->position(), event->buttons());
}

/// Ends what the button holds, with everything as it was at the press.
void TimelineTracks::cancel()
{
    const Held held = std::exchange(held_, Held::nothing);
    if (held == Held::items) context_.editor.cancelTimelinePress();
    if (marquee_) {
        context_.editor.endMarquee();
        context_.editor.selectTimelineItems(std::exchange(marquee_, std::nullopt)->before);
    }
    if (held != Held::nothing) context_.changed();
}

void TimelineTracks::hover(QPointF position, Qt::MouseButtons buttons)
{
    const bool wasInside = std::exchange(isPointerInside_, rect().contains(position.toPoint()));
    pointer_ = position;
    const std::optional<TimelineLayout::Hit> hit = hitAt(position);
    Qt::CursorShape shape = Qt::ArrowCursor;
    if (position.y() < railHeight && position.x() >= gutterDivider) shape = Qt::SplitHCursor;
    if (pillAt(position))
        shape = Qt::PointingHandCursor;
    else if (hit && hit->handle != DragHandle::body)
        shape = Qt::SplitHCursor;
    setCursor(shape);
    hidePopover();
    if (hit && !hit->row->layer && buttons == Qt::NoButton) popoverTimer_.start();
    if (wasInside || isPointerInside_) update();
}

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

void TimelineTracks::wheelEvent(QWheelEvent* event)
{
    const QPointF way = event->pixelDelta().isNull() ? QPointF(event->angleDelta()) / 2 : QPointF(event->pixelDelta());
    const bool isSideways = std::abs(way.x()) > std::abs(way.y()) || (event->modifiers() & Qt::ShiftModifier);
    hidePopover();
    if (isSideways && layout_.viewport()) {
        const double points = std::abs(way.x()) > std::abs(way.y()) ? way.x() : way.y();
        context_.editor.scrollTimeline(-layout_.mapping().seconds(points));
        context_.changed();
    } else if (!isSideways) {
        scrollBar_->setValue(scrollBar_->value() - static_cast<int>(std::lround(way.y())));
    }
    event->accept();
}

void TimelineTracks::contextMenuEvent(QContextMenuEvent* event)
{
    if (held_ != Held::nothing) return;
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const QPointF at = isByKey ? selectedPlace() : QPointF(event->pos());
    if (!isOverRows(at)) return;
    hidePopover();
    const CGPoint point = inRows(at);
    TimelineMenuPlace place{.time = layout_.mapping().isUsable() ? layout_.mapping().time(point.x) : 0};
    if (const TimelineBlock* block = layout_.blockAt(point.y); block && block->layer) place.layerID = block->layer->id;
    if (const TimelineRow* row = layout_.rowAt(point.y); row && row->layer && row->kind == TimelineRow::Kind::keyframes)
        place.property = row->property;
    if (const std::optional<TimelineLayout::Hit> hit = layout_.hit(point)) {
        place.members = hit->members();
        const TimelineSelection& selection = context_.editor.state().timelineSelection;
        const bool isChosen =
            std::ranges::all_of(place.members, [&](const TimelineItemRef& ref) { return selection.contains(ref); });
        if (!isChosen) tap(place.members, {});
    }
    QMenu menu(this);
    fillTimelineMenu(menu, context_, place);
    menu.exec(isByKey ? mapToGlobal(at.toPoint()) : event->globalPos());
}

/// The middle of the first selected item that can be seen, or of the uppermost row.
QPointF TimelineTracks::selectedPlace() const
{
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    for (const TimelineRow& row : layout_.rows())
        for (const TimelineMark& mark : row.marks) {
            const QPointF middle(layout_.mapping().x((mark.times.start + mark.times.end) / 2),
                                 row.laneTop(mark) + rowHeight / 2 + railHeight - scrolled());
            if (isSelected(mark, selection) && isOverRows(middle)) return middle;
        }
    return {trackLeft, railHeight + blockMargin + rowHeight / 2};
}

void TimelineTracks::tap(const std::vector<TimelineItemRef>& members, Modifiers modifiers)
{
    context_.editor.pressTimelineItems({.members = members, .modifiers = modifiers}, layout_.mapping().width, triggerDistance);
    context_.editor.releaseTimelineItems(modifiers);
    context_.changed();
}

bool TimelineTracks::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape &&
        held_ != Held::nothing) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const QString words = held_ == Held::nothing ? helpAt(help->pos()) : QString();
        if (words.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), words, this);
        return true;
    }
    return QWidget::event(event);
}

QString TimelineTracks::helpAt(QPointF position) const
{
    using namespace TimelinePainting;
    if (const Pill* pill = pillAt(position))
        return text(label(pill->side == RippleSide::before ? TimelineRippleMode::before : TimelineRippleMode::after));
    if (!isOverRows(position)) return {};
    const CGPoint point = inRows(position);
    const TimelineRow* row = layout_.rowAt(point.y);
    if (!row) return {};
    if (point.x >= gutterDivider) {
        const std::optional<TimelineLayout::Hit> hit = layout_.hit(point);
        if (!hit || !row->layer) return {};
        const ItemTimes& times = hit->mark->times;
        return times.start == times.end ? seconds(times.start) : seconds(times.start) + " – " + seconds(times.end);
    }
    if (!row->layer) return aggregateHelp(row->kind);
    const TimelineBlock& block = layout_.blockOf(*row);
    const QPointF at(point.x, point.y);
    const double playhead = context_.editor.state().playhead;
    if (row->kind == TimelineRow::Kind::spans) {
        if (pinRect(*row).contains(at)) return block.isPinned ? "Unpin from Timeline" : "Pin to Timeline";
        const bool isInside =
            std::ranges::any_of(row->layer->spans, [&](const TimeSpan& span) { return span.contains(playhead); });
        if (addRect(*row).contains(at))
            return isInside ? text(SpansTrack::playheadInsideHelp) : QString("Add visibility span at playhead");
        return QString::fromStdString(row->layer->name.string());
    }
    if (row->kind == TimelineRow::Kind::pulses && addRect(*row).contains(at)) return text(PulsesTrack::addHelp);
    if (row->kind == TimelineRow::Kind::keyframes && diamondRect(*row).contains(at))
        return "Add " + text(displayName(row->property)) + " keyframe at playhead";
    return {};
}

void TimelineTracks::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && held_ != Held::nothing) return cancel();
    if (held_ == Held::nothing && !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) &&
        stepSelection(event->key(), asModifiers(event->modifiers())))
        return;
    QWidget::keyPressEvent(event);
}

/// Selects the item beside the selected one, or the nearest one of the next row that has any. Without a selection, the first one.
bool TimelineTracks::stepSelection(int key, Modifiers modifiers)
{
    const int sideways = key == Qt::Key_Right ? 1 : key == Qt::Key_Left ? -1 : 0;
    const int down = key == Qt::Key_Down ? 1 : key == Qt::Key_Up ? -1 : 0;
    if (sideways == 0 && down == 0) return false;
    const std::span<const TimelineRow> rows = layout_.rows();
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    const TimelineRow* row = nullptr;
    const TimelineMark* from = nullptr;
    for (const TimelineRow& candidate : rows)
        for (const TimelineMark& mark : candidate.marks)
            if (isSelected(mark, selection) && (!from || sideways > 0 || down > 0)) {
                row = &candidate;
                from = &mark;
            }
    const TimelineMark* to = nullptr;
    if (!from) {
        const auto first = std::ranges::find_if(rows, [](const TimelineRow& candidate) { return !candidate.marks.empty(); });
        if (first == rows.end()) return true;
        row = &*first;
        to = &first->marks.front();
    } else if (sideways != 0) {
        const std::ptrdiff_t next = (from - row->marks.data()) + sideways;
        if (next >= 0 && next < std::ssize(row->marks)) to = &row->marks[static_cast<std::size_t>(next)];
    } else {
        for (std::ptrdiff_t i = (row - rows.data()) + down; i >= 0 && i < std::ssize(rows) && !to; i += down) {
            row = &rows[static_cast<std::size_t>(i)];
            for (const TimelineMark& mark : row->marks)
                if (!to || std::abs(mark.times.start - from->times.start) < std::abs(to->times.start - from->times.start))
                    to = &mark;
        }
    }
    if (!to) return true;
    const double top = row->laneTop(*to), seen = bodyBottom() - railHeight;
    if (top < scrolled()) scrollBar_->setValue(static_cast<int>(top - blockMargin));
    if (top + rowHeight > scrolled() + seen)
        scrollBar_->setValue(static_cast<int>(std::ceil(top + rowHeight + blockMargin - seen)));
    tap(std::vector(to->members), modifiers);
    return true;
}

} // namespace larkspool
