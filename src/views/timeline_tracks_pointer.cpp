#include "views/timeline_tracks.h"

#include "timeline/snap.h"
#include "views/input.h"
#include "views/timeline_menus.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

// What the mouse does on the rail, the rows and the minimap.

namespace larkspool {

using namespace TimelineMeasures;

void TimelineTracks::scrub(QPointF position, Modifiers modifiers)
{
    const TweenScene& scene = layout_.scene();
    const TrackMapping& mapping = layout_.mapping();
    const double time =
        TimeTickRail::time(position.x() - mapping.left, mapping.width, {mapping.start, mapping.visibleSeconds}, scene.duration);
    context_.editor.setPlayhead(scrubbedPlayhead(time, SnapSettings::of(context_.editor.defaults()).grid, scene, modifiers));
    context_.changed();
}

/// Whether a control of the gutter lies there, which is pressed.
bool TimelineTracks::pressGutter(QPointF position)
{
    const CGPoint point = inRows(position);
    const TimelineRow* row = layout_.rowAt(point.y);
    if (!row) return false;
    for (const GutterControl& control : TimelineGutter::controls(layout_, *row))
        if (control.rect.contains(QPointF(point.x, point.y))) {
            pressControl(TimelineGutter::place(*row, control));
            return true;
        }
    return false;
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
    gutterFocus_.reset();
    if (at.y() < railHeight) {
        if (at.x() < gutterDivider) return;
        held_ = Held::playhead;
        pressedPlayhead_ = context_.editor.state().playhead;
        return scrub(at, modifiers);
    }
    if (!isOverRows(at)) {
        const QRectF strip(0, bodyBottom(), width(), minimapHeight);
        const TrackMapping whole = TimelinePainting::minimapMapping(layout_);
        if (!layout_.viewport() || !whole.isUsable() || at.x() < gutterDivider) return;
        held_ = Held::viewport;
        cancelledViewportStart_ = layout_.viewport()->start;
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
    popoverTimer_.stop(); // Who has just dragged a bar does not ask for its list.
}

/// Ends what the button holds, with everything as it was at the press.
void TimelineTracks::cancel()
{
    const Held held = std::exchange(held_, Held::nothing);
    if (held == Held::items) context_.editor.cancelTimelinePress();
    if (held == Held::playhead) context_.editor.setPlayhead(pressedPlayhead_);
    if (held == Held::viewport)
        if (const std::optional<TimelineViewport> viewport = activeViewport(context_.editor.state()))
            context_.editor.scrollTimeline(cancelledViewportStart_ - viewport->start);
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
    TimelineMenuPlace place;
    if (point.x > gutterDivider && layout_.mapping().isUsable()) place.time = layout_.mapping().time(point.x);
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

/// The middle of what the keys act on: a control of the gutter, else the first selected item that can be seen. Without one, the
/// gutter of the uppermost row.
QPointF TimelineTracks::selectedPlace() const
{
    const TimelineRow* const focused = gutterFocus_ ? TimelineGutter::rowOf(layout_, *gutterFocus_) : nullptr;
    if (focused)
        if (const auto control = TimelineGutter::control(layout_, *focused, gutterFocus_->kind))
            return control->rect.center() + QPointF(0, railHeight - scrolled());
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    for (const TimelineRow& row : layout_.rows())
        for (const TimelineMark& mark : row.marks) {
            const QPointF middle(layout_.mapping().x((mark.times.start + mark.times.end) / 2),
                                 row.laneTop(mark) + rowHeight / 2 + railHeight - scrolled());
            if (isSelected(mark, selection) && isOverRows(middle)) return middle;
        }
    return {leftGutter / 2, railHeight + blockMargin + rowHeight / 2};
}

} // namespace larkspool
