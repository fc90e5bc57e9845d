#include "views/timeline_tracks.h"

#include "timeline/pulses_track.h"
#include "timeline/span_edits.h"
#include "views/input.h"
#include "views/timeline_menus.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <cmath>

// The rows by the keyboard, and what they are to those who cannot see them.

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

QString ownerName(const TimelineRow& row)
{
    return row.layer ? QString::fromStdString(row.layer->name.string()) : QString("All layers");
}

/// What the keys reach in a row, from left to right: behind a keyframe that waits lies the tail of its wait.
std::vector<TimelineLayout::Hit> itemsOf(const TimelineRow& row)
{
    std::vector<TimelineLayout::Hit> items;
    for (const TimelineMark& mark : row.marks) {
        items.push_back({&row, &mark});
        if (hasWaitTail(row, mark)) items.push_back({&row, &mark, DragHandle::rightEdge, /*isWaitTail=*/true});
    }
    return items;
}

bool isSelected(const TimelineLayout::Hit& item, const TimelineSelection& selection)
{
    const std::vector<TimelineItemRef> members = item.members();
    return !selection.empty() &&
           std::ranges::all_of(members, [&](const TimelineItemRef& ref) { return selection.contains(ref); });
}

double timeOf(const TimelineLayout::Hit& item)
{
    return item.isWaitTail ? item.mark->times.end : item.mark->times.start;
}

bool isPress(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Space || event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

/// The one whose middle is nearest to `x`. Null for none.
const GutterControl* nearestTo(double x, const std::vector<GutterControl>& controls)
{
    const auto nearest = std::ranges::min_element(
        controls, {}, [x](const GutterControl& control) { return std::abs(control.rect.center().x() - x); });
    return nearest == controls.end() ? nullptr : &*nearest;
}

} // namespace

/// What can be pressed in the gutter and the items of all rows, in their order. What is scrolled away has no place.
std::vector<AccessibleItem> TimelineTracks::accessibleItems() const
{
    std::vector<AccessibleItem> items;
    for (const TimelineRow& row : layout_.rows()) {
        for (const GutterControl& control : TimelineGutter::controls(layout_, row))
            items.push_back(accessibleControl(row, control));
        for (const TimelineLayout::Hit& item : itemsOf(row)) items.push_back(accessibleMark(item));
    }
    return items;
}

AccessibleItem TimelineTracks::accessibleControl(const TimelineRow& row, const GutterControl& control) const
{
    const GutterPlace place = TimelineGutter::place(row, control);
    const QRectF seen(0, railHeight, gutterDivider, bodyBottom() - railHeight);
    AccessibleItem item{.name = TimelineGutter::help(layout_, row, control.kind, context_.editor.state().playhead) + ", " +
                                ownerName(row),
                        .role = QAccessible::PushButton,
                        .rect = control.rect.translated(0, railHeight - scrolled()).intersected(seen).toAlignedRect(),
                        .isSelectable = false,
                        .hasKeyboard = gutterFocus_ == place,
                        .press = [tracks = const_cast<TimelineTracks*>(this), place] { tracks->pressControl(place); }};
    if (control.kind == GutterControl::Kind::fold) item.isExpanded = !layout_.blockOf(row).isFolded;
    return item;
}

AccessibleItem TimelineTracks::accessibleMark(const TimelineLayout::Hit& shown) const
{
    const TimelineRow& row = *shown.row;
    const TimelineMark& mark = *shown.mark;
    const QRectF seen(leftGutter, railHeight, width() - leftGutter, bodyBottom() - railHeight);
    const bool isMoment = mark.times.start == mark.times.end;
    const double start = layout_.mapping().x(mark.times.start), end = layout_.mapping().x(mark.times.end);
    const double left = shown.isWaitTail ? start + markerReach : start - markerReach;
    const QRectF place(left, row.laneTop(mark) + railHeight - scrolled(), end + markerReach - left, rowHeight);
    QString name = rowName(row) + (shown.isWaitTail ? " wait, " : ", ") + ownerName(row) + ", " + seconds(mark.times.start);
    if (!isMoment) name += " to " + seconds(mark.times.end);
    if (mark.members.size() > 1) name += QString(", %1 items").arg(mark.members.size());
    const bool isChosen = isSelected(shown, context_.editor.state().timelineSelection);
    return {.name = name,
            .rect = place.intersected(seen).toAlignedRect(),
            .isSelected = isChosen,
            .hasKeyboard = isChosen && !gutterFocus_,
            .press = [tracks = const_cast<TimelineTracks*>(this), members = shown.members()] { tracks->tap(members, {}); }};
}

void TimelineTracks::tap(const std::vector<TimelineItemRef>& members, Modifiers modifiers)
{
    context_.editor.tapTimelineItems(members, modifiers);
    context_.changed();
}

void TimelineTracks::pressControl(const GutterPlace& place)
{
    EditorView& editor = context_.editor;
    switch (place.kind) {
    case GutterControl::Kind::fold:
        if (folded_.erase(place.layerID) == 0) folded_.insert(place.layerID);
        break;
    case GutterControl::Kind::pin: {
        LayerIDs pinned = editor.state().timelinePinnedLayerIDs;
        if (pinned.erase(place.layerID) == 0) pinned.insert(place.layerID);
        editor.pinTimelineLayers(std::move(pinned));
        break;
    }
    case GutterControl::Kind::addSpan:
        performAdding(context_, SpansTrack::addSpanAtPlayhead(editor.scene(), place.layerID, editor.state().playhead));
        break;
    case GutterControl::Kind::addPulse:
        performAdding(context_, PulsesTrack::addPulse(editor.scene(), place.layerID, editor.state().playhead));
        break;
    case GutterControl::Kind::addKeyframe: editor.addKeyframeAtPlayhead(place.layerID, place.property); break;
    }
    context_.changed();
}

bool TimelineTracks::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if ((key.key() == Qt::Key_Escape && held_ != Held::nothing) || (isPress(key) && gutterFocus_)) {
            event->accept();
            return true;
        }
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

void TimelineTracks::keyPressEvent(QKeyEvent* event)
{
    if (held_ != Held::nothing) {
        if (event->key() == Qt::Key_Escape) return cancel();
        return QWidget::keyPressEvent(event);
    }
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) return QWidget::keyPressEvent(event);
    if (gutterFocus_ && isPress(*event)) return pressControl(*gutterFocus_);
    if (gutterFocus_ ? stepControl(event->key()) : stepSelection(event->key(), asModifiers(event->modifiers()))) return;
    QWidget::keyPressEvent(event);
}

/// Scrolls until the stretch of the rows is seen.
void TimelineTracks::reveal(double top)
{
    const double seen = bodyBottom() - railHeight;
    if (top < scrolled()) scrollBar_->setValue(static_cast<int>(top - blockMargin));
    if (top + rowHeight > scrolled() + seen)
        scrollBar_->setValue(static_cast<int>(std::ceil(top + rowHeight + blockMargin - seen)));
}

/// Gives the keys to the control. Nothing happens without one.
void TimelineTracks::focusControl(const TimelineRow& row, const GutterControl* control)
{
    if (!control) return;
    gutterFocus_ = TimelineGutter::place(row, *control);
    reveal(row.top);
    itemsChanged(*this);
    update();
}

/// From one control of the gutter to the next; to the right of the last one lie the items of the row.
bool TimelineTracks::stepControl(int key)
{
    const TimelineRow* const row = TimelineGutter::rowOf(layout_, *gutterFocus_);
    if (!row) return false;
    const std::vector<GutterControl> controls = TimelineGutter::controls(layout_, *row);
    const auto here = std::ranges::find(controls, gutterFocus_->kind, &GutterControl::kind);
    const auto next = std::next(here);
    switch (key) {
    case Qt::Key_Left:
        if (here != controls.begin()) focusControl(*row, &*std::prev(here));
        return true;
    case Qt::Key_Right:
        if (next != controls.end()) {
            focusControl(*row, &*next);
        } else if (!row->marks.empty()) {
            gutterFocus_.reset();
            choose({row, &row->marks.front()}, {});
        }
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down: {
        const std::span<const TimelineRow> rows = layout_.rows();
        const std::ptrdiff_t step = key == Qt::Key_Down ? 1 : -1;
        for (std::ptrdiff_t i = (row - rows.data()) + step; i >= 0 && i < std::ssize(rows); i += step) {
            const TimelineRow& other = rows[static_cast<std::size_t>(i)];
            const std::vector<GutterControl> itsControls = TimelineGutter::controls(layout_, other);
            if (itsControls.empty()) continue;
            focusControl(other, nearestTo(here->rect.center().x(), itsControls));
            return true;
        }
        return true;
    }
    default: return false;
    }
}

/// Selects the item, as a tap does. One that is selected already stays so.
void TimelineTracks::choose(const TimelineLayout::Hit& item, Modifiers modifiers)
{
    reveal(item.row->laneTop(*item.mark));
    const TimelineSelection& selection = context_.editor.state().timelineSelection;
    const std::vector<TimelineItemRef> members = item.members();
    if (isSelected(item, selection) && selection.size() == members.size()) return context_.changed();
    tap(members, modifiers);
}

/// The first selected item of the rows, or the last one.
std::optional<TimelineLayout::Hit> TimelineTracks::selectedItem(EndOfRows end) const
{
    std::optional<TimelineLayout::Hit> found;
    for (const TimelineRow& row : layout_.rows())
        for (const TimelineLayout::Hit& item : itemsOf(row))
            if (isSelected(item, context_.editor.state().timelineSelection) && (!found || end == EndOfRows::last)) found = item;
    return found;
}

/// Selects the item beside the selected one, or the nearest one of the next row that has any. To the left of the first one lies the
/// gutter. Without a selection, the first item is next.
bool TimelineTracks::stepSelection(int key, Modifiers modifiers)
{
    const int sideways = key == Qt::Key_Right ? 1 : key == Qt::Key_Left ? -1 : 0;
    const int down = key == Qt::Key_Down ? 1 : key == Qt::Key_Up ? -1 : 0;
    if (sideways == 0 && down == 0) return false;
    const std::span<const TimelineRow> rows = layout_.rows();
    const std::optional<TimelineLayout::Hit> from = selectedItem(sideways > 0 || down > 0 ? EndOfRows::last : EndOfRows::first);
    if (!from) {
        const auto first = std::ranges::find_if(rows, [](const TimelineRow& candidate) { return !candidate.marks.empty(); });
        if (first != rows.end() && sideways >= 0)
            choose({&*first, &first->marks.front()}, modifiers);
        else if (!rows.empty())
            focusLastControl(rows.front());
        return true;
    }
    if (sideways != 0) {
        const std::vector<TimelineLayout::Hit> items = itemsOf(*from->row);
        const auto here = std::ranges::find(items, from->members(), &TimelineLayout::Hit::members);
        const std::ptrdiff_t next = (here - items.begin()) + sideways;
        if (next < 0) focusLastControl(*from->row);
        if (next >= 0 && next < std::ssize(items)) choose(items[static_cast<std::size_t>(next)], modifiers);
        return true;
    }
    for (std::ptrdiff_t i = (from->row - rows.data()) + down; i >= 0 && i < std::ssize(rows); i += down) {
        const TimelineRow& row = rows[static_cast<std::size_t>(i)];
        if (row.marks.empty()) continue;
        const auto way = [time = timeOf(*from)](const TimelineMark& mark) { return std::abs(mark.times.start - time); };
        choose({&row, &*std::ranges::min_element(row.marks, {}, way)}, modifiers);
        return true;
    }
    return true;
}

void TimelineTracks::focusLastControl(const TimelineRow& row)
{
    const std::vector<GutterControl> controls = TimelineGutter::controls(layout_, row);
    focusControl(row, controls.empty() ? nullptr : &controls.back());
}

} // namespace larkspool
