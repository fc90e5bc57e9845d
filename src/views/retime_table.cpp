#include "views/retime_table.h"

#include "editing/number_input.h"
#include "timeline/retime_rows.h"
#include "views/controls.h"
#include "views/icons.h"
#include "views/tabular_text.h"
#include "views/theme.h"
#include "views/timed_item_painting.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr int chevronWidth = 20, signWidth = 20, childIndent = 16;
constexpr int cellWidth = 92, cellGap = 8, cellInset = 2, textInset = 8, unitRoom = 18, rightMargin = 12;
constexpr double rowRadius = 6, fieldRadius = 4;
constexpr double nameShare = 0.46;

int leftOfCells(int width)
{
    return width - rightMargin - 2 * cellWidth - cellGap;
}

QString valueText(double seconds)
{
    return QString::fromStdString(typedNumber(seconds));
}

std::optional<double> valueOf(const RetimeRow& row, RetimeTable::Column column)
{
    return column == RetimeTable::Column::start ? std::optional(row.start) : row.duration;
}

QString columnName(RetimeTable::Column column)
{
    return column == RetimeTable::Column::start ? "Start" : "Duration";
}

/// @name For those who cannot see the table.
/// @{
QString rowText(const RetimeRow& row)
{
    return QString::fromStdString(row.layerName) + ", " + itemText(row);
}
QString cellText(const RetimeRow& row, RetimeTable::Column column)
{
    return columnName(column) + " " + valueText(valueOf(row, column).value_or(0)) + " seconds";
}
/// @}

} // namespace

QString itemText(const RetimeRow& row)
{
    QString words = kindName(row.kind);
    if (!row.children.empty()) words = QString("%1 %2s").arg(row.children.size()).arg(words.toLower());
    if (row.detail) words += " · " + QString::fromStdString(*row.detail);
    return words;
}

RetimeTable::RetimeTable(double step, Steps steps, QWidget* parent)
    : QAbstractScrollArea(parent), step_(step), steps_(std::move(steps)), edit_(new QLineEdit(viewport()))
{
    setAccessibleName("Times");
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    edit_->setFont(textFont(TextStyle::value));
    edit_->setTextMargins(textInset - 2, 0, unitRoom, 0);
    unit_ = label("s", TextStyle::body, LabelTone::secondary, edit_);
    unit_->setForegroundRole(QPalette::WindowText);
    unit_->setAttribute(Qt::WA_TransparentForMouseEvents);
    unit_->setAlignment(Qt::AlignVCenter | Qt::AlignRight);
    edit_->setToolTip("A number of seconds, such as 0.5");
    edit_->installEventFilter(this);
    edit_->hide();
    connect(edit_, &QLineEdit::textChanged, this, [this](const QString& text) {
        QPalette palette = edit_->palette();
        palette.setColor(QPalette::Text, parsedNumber(text.toStdString()) ? theme().text : theme().dangerText);
        edit_->setPalette(palette);
    });
}

QRect RetimeTable::columnIn(Column column, int width)
{
    const int left = leftOfCells(width) + (column == Column::start ? 0 : cellWidth + cellGap);
    return {left, 0, cellWidth, lineHeight};
}

QRect RetimeTable::nameIn(int width)
{
    const int left = chevronWidth + signWidth + 4;
    return {left, 0, static_cast<int>((leftOfCells(width) - left) * nameShare), lineHeight};
}

QRect RetimeTable::itemIn(int width)
{
    const int left = nameIn(width).right() + 1 + 12;
    return {left, 0, leftOfCells(width) - left - 12, lineHeight};
}

const RetimeRow& RetimeTable::rowOf(const Line& line) const
{
    const RetimeRow& row = rows_[line.row];
    return line.child ? row.children[*line.child] : row;
}

std::optional<RetimeSource> RetimeTable::sourceOf(const RetimeRow& row) const
{
    const std::vector<RetimeSource> sources = sourcesOf(row);
    return sources.empty() ? std::nullopt : std::optional(sources.front());
}

const RetimeRow* RetimeTable::currentRow() const
{
    return lines_.empty() ? nullptr : &rowOf(lines_[static_cast<std::size_t>(line_)]);
}

void RetimeTable::showRows(std::vector<RetimeRow> rows)
{
    rows_ = std::move(rows);
    layOut();
}

void RetimeTable::layOut()
{
    lines_.clear();
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        lines_.push_back({row, std::nullopt});
        const std::vector<RetimeRow>& children = rows_[row].children;
        const bool isOpen = std::ranges::any_of(
            children, [this](const RetimeRow& child) { return child.source && unfolded_.contains(*child.source); });
        for (std::size_t child = 0; isOpen && child < children.size(); ++child) lines_.push_back({row, child});
    }
    const auto holdsCurrent = [this](const Line& line) {
        const RetimeRow& row = rowOf(line);
        return row.source == currentSource_ ||
               std::ranges::any_of(row.children, [this](const RetimeRow& child) { return child.source == currentSource_; });
    };
    const auto isCurrent = [&](const Line& line) { return line.child.has_value() == isChildCurrent_ && holdsCurrent(line); };
    auto found = std::ranges::find_if(lines_, isCurrent);
    if (found == lines_.end()) found = std::ranges::find_if(lines_, holdsCurrent);
    const int last = std::max(lineCount() - 1, 0);
    line_ = currentSource_ && found != lines_.end() ? static_cast<int>(found - lines_.begin()) : std::min(line_, last);
    if (!lines_.empty()) {
        currentSource_ = sourceOf(*currentRow());
        isChildCurrent_ = lines_[static_cast<std::size_t>(line_)].child.has_value();
        if (!hasCell(line_, column_)) column_ = Column::start;
    }
    verticalScrollBar()->setRange(0, std::max(heightOf(lineCount()) - viewport()->height(), 0));
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(lineHeight);
    placeEdit();
    itemsChanged(*this);
    viewport()->update();
}

std::optional<int> RetimeTable::lineAt(int y) const
{
    const int line = (y + verticalScrollBar()->value()) / lineHeight;
    return y >= 0 && line < lineCount() ? std::optional(line) : std::nullopt;
}

QRect RetimeTable::lineRect(int line) const
{
    return {0, line * lineHeight - verticalScrollBar()->value(), width(), lineHeight}; // The margin leaves room for the bar.
}

QRect RetimeTable::cellRect(int line, Column column) const
{
    const QRect place = columnIn(column, width());
    return place.translated(0, lineRect(line).top()).adjusted(0, cellInset, 0, -cellInset);
}

bool RetimeTable::hasCell(int line, Column column) const
{
    return valueOf(rowOf(lines_[static_cast<std::size_t>(line)]), column).has_value();
}

void RetimeTable::makeCurrent(int line, Column column)
{
    if (lines_.empty()) return;
    line_ = std::clamp(line, 0, lineCount() - 1);
    column_ = hasCell(line_, column) ? column : Column::start;
    currentSource_ = sourceOf(*currentRow());
    isChildCurrent_ = lines_[static_cast<std::size_t>(line_)].child.has_value();
    QScrollBar* bar = verticalScrollBar();
    const int top = line_ * lineHeight;
    bar->setValue(std::min(std::max(bar->value(), top + lineHeight - viewport()->height()), top));
    viewport()->update();
    tellCurrent();
    steps_.currentChanged();
}

void RetimeTable::tellCurrent()
{
    const RetimeRow& row = *currentRow();
    setAccessibleDescription(rowText(row) + ", " + cellText(row, column_));
    itemsChanged(*this);
}

std::vector<AccessibleItem> RetimeTable::accessibleItems() const
{
    std::vector<AccessibleItem> items;
    const QRect seen = viewport()->rect();
    for (int line = 0; line < lineCount(); ++line) {
        const RetimeRow& row = rowOf(lines_[static_cast<std::size_t>(line)]);
        AccessibleItem item{.name = rowText(row),
                            .description = cellText(row, Column::start),
                            .rect = lineRect(line).intersected(seen),
                            .isSelected = line == line_,
                            .hasKeyboard = line == line_,
                            .press = [table = const_cast<RetimeTable*>(this), line] { table->press(line); }};
        if (row.duration) item.description += ", " + cellText(row, Column::duration);
        if (!row.children.empty()) item.isExpanded = isUnfolded(line);
        items.push_back(std::move(item));
    }
    return items;
}

/// Opens the line's start.
void RetimeTable::press(int line)
{
    if (line >= lineCount() || !finishEditing()) return;
    makeCurrent(line, Column::start);
    beginEditing();
}

bool RetimeTable::isUnfolded(int line) const
{
    return line + 1 < lineCount() && !lines_[static_cast<std::size_t>(line)].child &&
           lines_[static_cast<std::size_t>(line + 1)].child.has_value();
}

void RetimeTable::toggleFold(int line)
{
    const Line at = lines_[static_cast<std::size_t>(line)];
    const std::vector<RetimeRow>& children = rows_[at.row].children;
    if (children.empty()) return;
    bool wasUnfolded = false;
    for (const RetimeRow& child : children) wasUnfolded |= child.source && unfolded_.erase(*child.source) > 0;
    if (!wasUnfolded && children.front().source) unfolded_.insert(*children.front().source);
    isChildCurrent_ = false;
    layOut();
}

bool RetimeTable::viewportEvent(QEvent* event)
{
    std::optional<int> now = hovered_;
    if (event->type() == QEvent::MouseMove) now = lineAt(static_cast<QMouseEvent*>(event)->pos().y());
    if (event->type() == QEvent::Leave) now.reset();
    if (std::exchange(hovered_, now) != now) viewport()->update();
    return QAbstractScrollArea::viewportEvent(event);
}

void RetimeTable::resizeEvent(QResizeEvent*)
{
    layOut();
}

void RetimeTable::scrollContentsBy(int, int)
{
    placeEdit();
    itemsChanged(*this);
    viewport()->update();
}

void RetimeTable::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    const int first = std::max(verticalScrollBar()->value() + event->rect().top(), 0) / lineHeight;
    const int last = std::min((verticalScrollBar()->value() + event->rect().bottom()) / lineHeight, lineCount() - 1);
    for (int line = first; line <= last; ++line) paintLine(painter, line);
}

void RetimeTable::paintLine(QPainter& painter, int line) const
{
    const Theme& t = theme();
    const Line& at = lines_[static_cast<std::size_t>(line)];
    const RetimeRow& row = rowOf(at);
    const QRect place = lineRect(line);
    const bool isCurrent = line == line_;
    if (isCurrent || hovered_ == line) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(!isCurrent ? t.hover : hasFocus() || isEditing() ? t.selection : t.selectionInactive);
        painter.drawRoundedRect(place.adjusted(0, 0, -rightMargin + 8, 0), rowRadius, rowRadius);
    }
    const int indent = at.child ? childIndent : 0;
    const double ratio = devicePixelRatioF();
    if (!row.children.empty()) {
        painter.drawPixmap(place.left() + 2, place.center().y() - 7,
                           iconPixmap(isUnfolded(line) ? "chevron-down" : "chevron-right", 16, t.icon, ratio));
    }
    paintKindSign(painter, row.kind, QPointF(chevronWidth + indent + 10, place.top() + lineHeight / 2.0));
    painter.setFont(textFont(TextStyle::body));
    const QFontMetrics metrics(painter.font());
    const auto write = [&](QRect room, const QColor& color, const QString& words) {
        room.translate(0, place.top());
        painter.setPen(color);
        painter.drawText(room, Qt::AlignVCenter | Qt::AlignLeft, metrics.elidedText(words, Qt::ElideRight, room.width()));
    };
    write(nameIn(place.width()).adjusted(indent, 0, 0, 0), t.text, QString::fromStdString(row.layerName));
    write(itemIn(place.width()), t.textSecondary, itemText(row));
    for (const Column column : {Column::start, Column::duration}) paintCell(painter, line, column);
}

void RetimeTable::paintCell(QPainter& painter, int line, Column column) const
{
    const Theme& t = theme();
    const std::optional<double> value = valueOf(rowOf(lines_[static_cast<std::size_t>(line)]), column);
    if (!value) return;
    const QRectF cell = cellRect(line, column);
    const bool isCurrent = line == line_ && column == column_;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isCurrent && hasFocus() ? t.fieldFocus : hovered_ == line ? t.fieldHover : t.field);
    painter.drawRoundedRect(cell, fieldRadius, fieldRadius);
    if (isCurrent && hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(t.focusRing, 1.5));
        painter.drawRoundedRect(cell.adjusted(0.75, 0.75, -0.75, -0.75), fieldRadius, fieldRadius);
    }
    painter.setFont(textFont(TextStyle::value));
    const QRectF room = cell.adjusted(textInset, 0, -textInset, 0);
    painter.setPen(t.text);
    paintTabular(painter, room, Qt::AlignLeft, valueText(*value));
    painter.setPen(t.textSecondary);
    painter.drawText(room, Qt::AlignVCenter | Qt::AlignRight, "s");
}

void RetimeTable::mousePressEvent(QMouseEvent* event)
{
    const std::optional<int> line = lineAt(event->pos().y());
    if (!line || event->button() != Qt::LeftButton || !finishEditing()) return;
    const std::optional<int> now = lineAt(event->pos().y()); // A commit may have moved the rows.
    if (!now) return;
    if (event->pos().x() < chevronWidth) {
        makeCurrent(*now, column_);
        return toggleFold(*now);
    }
    for (const Column column : {Column::start, Column::duration}) {
        if (!cellRect(*now, column).contains(event->pos()) || !hasCell(*now, column)) continue;
        makeCurrent(*now, column);
        return beginEditing();
    }
    makeCurrent(*now, column_);
}

void RetimeTable::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

void RetimeTable::keyPressEvent(QKeyEvent* event)
{
    if (lines_.empty()) return event->ignore();
    const int page = std::max(viewport()->height() / lineHeight - 1, 1);
    switch (event->key()) {
    case Qt::Key_Up: return makeCurrent(line_ - 1, column_);
    case Qt::Key_Down: return makeCurrent(line_ + 1, column_);
    case Qt::Key_PageUp: return makeCurrent(line_ - page, column_);
    case Qt::Key_PageDown: return makeCurrent(line_ + page, column_);
    case Qt::Key_Home: return makeCurrent(0, column_);
    case Qt::Key_End: return makeCurrent(lineCount() - 1, column_);
    case Qt::Key_Left: return makeCurrent(line_, Column::start);
    case Qt::Key_Right: return makeCurrent(line_, Column::duration);
    case Qt::Key_Space: return toggleFold(line_);
    case Qt::Key_F2: return beginEditing();
    default: break;
    }
    const QString text = event->text();
    const bool isNumber = !text.isEmpty() && QString("0123456789.-+").contains(text[0]);
    if (!isNumber || (event->modifiers() & Qt::ControlModifier)) return event->ignore();
    beginEditing(text);
}

void RetimeTable::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    if (!lines_.empty()) tellCurrent();
    viewport()->update();
}

void RetimeTable::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

void RetimeTable::beginEditing(const QString& typed)
{
    if (lines_.empty()) return;
    edited_ = Edited{*currentRow(), column_};
    edit_->setAccessibleName(columnName(column_));
    edit_->setText(typed.isEmpty() ? valueText(valueOf(*currentRow(), column_).value_or(0)) : typed);
    edit_->setModified(!typed.isEmpty());
    placeEdit();
    edit_->show();
    edit_->setFocus(Qt::OtherFocusReason);
    if (typed.isEmpty()) edit_->selectAll();
    viewport()->update();
}

void RetimeTable::placeEdit()
{
    if (!isEditing() || lines_.empty()) return;
    edit_->setGeometry(cellRect(line_, edited_->column));
    unit_->setGeometry(edit_->rect().adjusted(edit_->width() - unitRoom, 0, -textInset, 0));
}

bool RetimeTable::finishEditing()
{
    if (!isEditing()) return true;
    if (edit_->isModified()) {
        const std::optional<double> value = parsedNumber(edit_->text().toStdString());
        if (!value) {
            edit_->selectAll();
            return false;
        }
        edit_->setModified(false);
        steps_.commit(edited_->column, *value, edited_->row);
    }
    endEditing();
    return true;
}

void RetimeTable::dropEditing()
{
    if (isEditing()) endEditing();
}

void RetimeTable::endEditing()
{
    edited_.reset();
    if (edit_->hasFocus()) setFocus(Qt::OtherFocusReason);
    edit_->hide();
    viewport()->update();
    steps_.editingEnded();
}

/// Goes on to the next or previous cell that there is, and opens it.
void RetimeTable::goOn(int by)
{
    if (!finishEditing()) return;
    int line = line_;
    Column column = column_;
    do {
        const bool turns = (by > 0) == (column == Column::duration);
        if (turns) line += by;
        column = column == Column::start ? Column::duration : Column::start;
        if (line < 0 || line >= lineCount()) return;
    } while (!hasCell(line, column));
    makeCurrent(line, column);
    beginEditing();
}

void RetimeTable::stepEdited(int steps)
{
    const std::optional<double> typed = parsedNumber(edit_->text().toStdString());
    const double from = edit_->isModified() && typed ? *typed : valueOf(*currentRow(), edited_->column).value_or(0);
    edit_->setModified(false);
    const RetimeRow row = edited_->row; // The cell goes on with the row that it was opened on.
    steps_.commit(edited_->column, from + steps * step_, row);
    edit_->setText(valueText(valueOf(*currentRow(), edited_->column).value_or(0)));
    edit_->selectAll();
}

bool RetimeTable::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != edit_ || !isEditing()) return QAbstractScrollArea::eventFilter(watched, event);
    if (event->type() == QEvent::FocusOut && static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason &&
        !finishEditing())
        dropEditing();
    if (event->type() != QEvent::KeyPress) return false;
    const auto& key = *static_cast<QKeyEvent*>(event);
    const int far = key.modifiers() & Qt::ShiftModifier ? 10 : 1;
    switch (key.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: finishEditing(); return true;
    case Qt::Key_Escape: dropEditing(); return true;
    case Qt::Key_Tab: goOn(1); return true;
    case Qt::Key_Backtab: goOn(-1); return true;
    case Qt::Key_Up: stepEdited(far); return true;
    case Qt::Key_Down: stepEdited(-far); return true;
    default: return false;
    }
}

} // namespace larkspool
