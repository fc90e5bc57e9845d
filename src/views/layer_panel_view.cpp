#include "views/layer_panel_view.h"

#include "canvas/layer_tree_operations.h"
#include "editing/scene_lookup.h"
#include "shell/command_routing.h"
#include "views/icons.h"
#include "views/kind_icon.h"
#include "views/input.h"
#include "views/theme.h"

#include <QApplication>
#include <QBoxLayout>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int rowHeight = 28, indent = 16, leftPadding = 8, chevronWidth = 16, iconWidth = 16, gap = 8, slotWidth = 20;
constexpr int headHeight = 40, sceneRowHeight = 36;

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void paintDiamond(QPainter& painter, QPointF middle, double radius)
{
    painter.setPen(QPen(theme().panel, 1.5));
    painter.setBrush(theme().keyframe);
    painter.drawPolygon(QPolygonF({middle + QPointF(0, -radius), middle + QPointF(radius, 0), middle + QPointF(0, radius),
                                   middle + QPointF(-radius, 0)}));
    painter.setBrush(Qt::NoBrush);
}

/// The colour of the scene's background, in a box that can be seen on any panel.
void showSwatch(QLabel& box, const ColorRGBA& color)
{
    QColor fill;
    fill.setRgbF(static_cast<float>(std::clamp(color.r, 0.0, 1.0)), static_cast<float>(std::clamp(color.g, 0.0, 1.0)),
                 static_cast<float>(std::clamp(color.b, 0.0, 1.0)));
    if (box.property("color").value<QColor>() == fill) return;
    box.setProperty("color", fill);
    const double ratio = box.devicePixelRatioF();
    QPixmap picture(box.size() * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().hairlineStrong, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(QPointF(0, 0), box.size()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    painter.end();
    box.setPixmap(picture);
}

/// The scene above its layers. A press on it selects no layer, so that the scene itself is inspected.
class SceneRow final : public QAbstractButton {
public:
    explicit SceneRow(QWidget* parent) : QAbstractButton(parent)
    {
        setFocusPolicy(Qt::TabFocus);
        setAttribute(Qt::WA_Hover);
        setToolTip("Select the scene");
    }

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return click();
        QAbstractButton::keyPressEvent(event);
    }

    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF box = QRectF(rect()).adjusted(4, 2, -4, -2);
        if (underMouse()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme().hover);
            painter.drawRoundedRect(box, 6, 6);
        }
        if (!hasFocus() || !window()->testAttribute(Qt::WA_KeyboardFocusChange)) return;
        painter.setPen(QPen(theme().focusRing, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(box.adjusted(1, 1, -1, -1), 5, 5);
    }
};

/// An entry of a row's menu.
struct MenuEntry {
    Command command;
    std::string_view title{};  ///< Empty for the command's own.
    const char* shortcut = ""; ///< Where it is no shortcut of the window's.
    bool startsSection = false;
};

QString shortcutText(const MenuEntry& entry)
{
    const std::optional<Shortcut>& shortcut = commandInfo(entry.command).shortcut;
    return shortcut ? QKeySequence(QString::fromStdString(portableText(*shortcut))).toString(QKeySequence::NativeText)
                    : QString(entry.shortcut);
}

} // namespace

LayerList::LayerList(EditorContext context, QWidget* parent) : QWidget(parent), context_(std::move(context))
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName("Layers");
    nameField_ = new NameField(this);
    nameField_->ended = [this](NameField::End end) { finishRename(end); };
}

void LayerList::refresh()
{
    const LayerIDs& selected = context_.editor.state().selectedLayerIDs;
    const bool isSelectionNew = selected != shownSelection_;
    TweenScene scene = context_.editor.scene();
    if (isShown_ && !isSelectionNew && scene == scene_) return; // While it plays only the playhead moves.
    isShown_ = true;
    scene_ = std::move(scene);
    if (isSelectionNew) {
        shownSelection_ = selected;
        // What has been selected can be seen: the groups around it are open.
        for (const UUID& layerID : selected)
            for (const UUID& ancestor : ancestorsOf(scene_, layerID)) expandedGroups_.insert(ancestor);
    }
    showRows();
}

void LayerList::showRows()
{
    takeRows();
    if (!shownSelection_.empty() && (!range_.rangeCursorID || !shownSelection_.contains(*range_.rangeCursorID))) {
        // The keyboard goes on from what was selected elsewhere.
        const auto first = std::ranges::find_if(rows_, [&](const auto& row) { return shownSelection_.contains(row.layerID); });
        if (first != rows_.end()) range_.rangeAnchorID = range_.rangeCursorID = first->layerID;
    }
    setMinimumHeight(static_cast<int>(rows_.size()) * rowHeight + 8); // What is left of the panel belongs to the list too.
    itemsChanged(*this);
    update();
}

void LayerList::takeRows()
{
    if (filter_.isEmpty()) {
        rows_ = LayerPanel::flattenedLayers(scene_, expandedGroups_);
        return;
    }
    LayerIDs all;
    walkLayers(scene_.layers, [&](const Layer& layer) { all.insert(layer.id); });
    rows_.clear();
    for (const LayerPanel::Row& row : LayerPanel::flattenedLayers(scene_, all)) {
        const Layer* layer = findLayer(scene_, row.layerID);
        if (layer && words(layer->name).contains(filter_, Qt::CaseInsensitive)) rows_.push_back({.layerID = row.layerID});
    }
}

void LayerList::showOnly(const QString& filter)
{
    filter_ = filter.trimmed();
    showRows();
}

std::optional<std::size_t> LayerList::rowOf(const std::optional<UUID>& layerID) const
{
    if (!layerID) return std::nullopt;
    const auto row = std::ranges::find(rows_, *layerID, &LayerPanel::Row::layerID);
    return row == rows_.end() ? std::nullopt : std::optional(static_cast<std::size_t>(row - rows_.begin()));
}

std::vector<AccessibleItem> LayerList::accessibleItems() const
{
    std::vector<AccessibleItem> items;
    const LayerIDs& selected = context_.editor.state().selectedLayerIDs;
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        const Layer* layer = findLayer(scene_, rows_[row].layerID);
        if (!layer) continue;
        QStringList about(kindName(layer->kind));
        if (rows_[row].depth > 0) about << QString("level %1").arg(rows_[row].depth + 1);
        if (layer->isHidden) about << "hidden";
        if (layer->isLocked) about << "locked";
        if (!layer->keyframes.empty()) about << "animated";
        AccessibleItem item{.name = words(layer->name),
                            .description = about.join(", "),
                            .role = QAccessible::TreeItem,
                            .rect = rowRect(row).intersected(visibleRegion().boundingRect()),
                            .isSelected = selected.contains(layer->id),
                            .hasKeyboard = range_.rangeCursorID == layer->id,
                            .press = [list = const_cast<LayerList*>(this), layerID = layer->id] { list->select({layerID}); }};
        if (rows_[row].hasChildren) item.isExpanded = rows_[row].isExpanded;
        items.push_back(std::move(item));
    }
    return items;
}

QVariant LayerList::inputMethodQuery(Qt::InputMethodQuery query) const
{
    const std::optional<std::size_t> row = rowOf(range_.rangeCursorID);
    if (query == Qt::ImCursorRectangle && row) return rowRect(*row);
    return QWidget::inputMethodQuery(query);
}

bool LayerList::showsFocus() const
{
    return hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

QRect LayerList::rowRect(std::size_t row) const
{
    return {0, static_cast<int>(row) * rowHeight, width(), rowHeight};
}

std::optional<LayerList::Place> LayerList::placeAt(QPoint position) const
{
    if (position.y() < 0) return std::nullopt;
    const std::size_t row = static_cast<std::size_t>(position.y() / rowHeight);
    if (row >= rows_.size()) return std::nullopt;
    const int chevron = leftPadding + static_cast<int>(rows_[row].depth) * indent;
    if (rows_[row].hasChildren && position.x() >= chevron - 4 && position.x() < chevron + chevronWidth) return Place{row, Part::chevron};
    if (position.x() >= width() - 8 - slotWidth) return Place{row, Part::lock};
    if (position.x() >= width() - 8 - 2 * slotWidth) return Place{row, Part::eye};
    return Place{row, Part::row};
}

void LayerList::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), theme().panel);
    painter.setRenderHint(QPainter::Antialiasing);
    const LayerIDs& selected = context_.editor.state().selectedLayerIDs;
    std::size_t blockStart = 0, blockEnd = 0; // The rows below a selected group, down to its depth, belong to it.
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        if (row >= blockEnd && selected.contains(rows_[row].layerID)) {
            blockStart = row;
            blockEnd = row + 1;
            while (blockEnd < rows_.size() && rows_[blockEnd].depth > rows_[row].depth) ++blockEnd;
            paintBlock(painter, row, blockEnd);
        }
        if (!rowRect(row).intersects(event->rect())) continue;
        const Ground ground = row >= blockEnd ? Ground::none : row == blockStart ? Ground::head : Ground::below;
        if (const Layer* layer = findLayer(scene_, rows_[row].layerID)) paintRow(painter, row, *layer, ground);
    }
    if (showsFocus() && !rowOf(range_.rangeCursorID)) {
        painter.setPen(QPen(theme().focusRing, 2));
        painter.drawRoundedRect(QRectF(visibleRegion().boundingRect()).adjusted(3, 1, -3, -3), 6, 6);
    }
    if (dropRow_) paintDropLine(painter);
}

QColor LayerList::selectionColor() const
{
    return hasFocus() || QApplication::focusWidget() == nullptr ? theme().selection : theme().selectionInactive;
}

void LayerList::paintBlock(QPainter& painter, std::size_t row, std::size_t end) const
{
    constexpr float belowOpacity = 0.42F;
    const QRect top = rowRect(row), whole = top.united(rowRect(end - 1));
    const auto paintWithin = [&](const QRect& part, const QColor& color) {
        painter.save();
        painter.setClipRect(part);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawRoundedRect(QRectF(whole).adjusted(4, 1, -4, -1), 6, 6);
        painter.restore();
    };
    paintWithin(top, selectionColor());
    QColor below = theme().selection;
    below.setAlphaF(belowOpacity);
    if (end - row > 1) paintWithin(whole.adjusted(0, rowHeight, 0, 0), below);
}

/// A line with a ring at the level of what is dropped there.
void LayerList::paintDropLine(QPainter& painter) const
{
    constexpr int ring = 6;
    const int level = *dropRow_ < rows_.size() ? static_cast<int>(rows_[*dropRow_].depth) : 0;
    const int left = leftPadding + level * indent;
    const int y = std::max(static_cast<int>(*dropRow_) * rowHeight, ring / 2 + 1);
    painter.fillRect(QRect(left + ring, y - 1, width() - left - ring - leftPadding, 2), theme().selectionOutline);
    painter.setPen(QPen(theme().selectionOutline, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(left, y - ring / 2.0, ring, ring));
}

void LayerList::paintRow(QPainter& painter, std::size_t row, const Layer& layer, Ground ground) const
{
    const Theme& t = theme();
    const QRect rect = rowRect(row);
    const bool isSelected = context_.editor.state().selectedLayerIDs.contains(layer.id);
    const bool isHovered = hovered_ == row;
    const bool isSelectedInBlock = isSelected && ground == Ground::below;
    if (isSelectedInBlock || (isHovered && ground == Ground::none)) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isSelectedInBlock ? selectionColor() : t.hover);
        painter.drawRoundedRect(QRectF(rect).adjusted(4, 1, -4, -1), 6, 6);
    }

    const double ratio = devicePixelRatioF();
    const int iconY = rect.y() + (rowHeight - iconWidth) / 2;
    int x = leftPadding + static_cast<int>(rows_[row].depth) * indent;
    if (rows_[row].hasChildren)
        painter.drawPixmap(x - 2, iconY, iconPixmap(rows_[row].isExpanded ? "chevron-down" : "chevron-right", 16, t.icon, ratio));
    x += chevronWidth;
    const QColor iconColor = layer.isHidden ? t.iconDisabled : isSelected ? t.accentText : t.icon;
    painter.drawPixmap(x, iconY, iconPixmap(kindIcon(layer.kind), 16, iconColor, ratio));
    if (!layer.keyframes.empty()) paintDiamond(painter, QPointF(x + 14, iconY + 13), 4);
    x += iconWidth + gap;

    const bool showsSlots = isHovered || isSelected;
    const int eyeX = width() - 8 - 2 * slotWidth, lockX = width() - 8 - slotWidth;
    if (showsSlots || layer.isHidden)
        painter.drawPixmap(eyeX + 2, iconY, iconPixmap(layer.isHidden ? "eye-off" : "eye", 16, t.icon, ratio));
    if (showsSlots || layer.isLocked)
        painter.drawPixmap(lockX + 2, iconY, iconPixmap(layer.isLocked ? "lock" : "unlock", 16, t.icon, ratio));

    painter.setFont(textFont(TextStyle::body));
    painter.setPen(layer.isHidden ? t.textDisabled : t.text);
    const QString name = painter.fontMetrics().elidedText(words(layer.name), Qt::ElideRight, eyeX - x - 4);
    painter.drawText(QRect(x, rect.y(), eyeX - x, rowHeight), Qt::AlignVCenter | Qt::AlignLeft, name);
    if (showsFocus() && range_.rangeCursorID == layer.id) {
        painter.setPen(QPen(t.focusRing, 2));
        painter.drawRoundedRect(QRectF(rect).adjusted(5, 2, -5, -2), 5, 5);
    }
}

void LayerList::select(LayerIDs layerIDs)
{
    context_.editor.selectLayers(std::move(layerIDs));
    context_.changed();
}

void LayerList::toggleExpanded(const UUID& layerID)
{
    if (expandedGroups_.erase(layerID) == 0) {
        expandedGroups_.insert(layerID);
    } else if (range_.rangeCursorID && std::ranges::count(ancestorsOf(scene_, *range_.rangeCursorID), layerID) > 0) {
        range_.rangeAnchorID = range_.rangeCursorID = layerID; // The keyboard stays where something is seen.
    }
    showRows();
}

void LayerList::mousePressEvent(QMouseEvent* event)
{
    nameField_->finish(NameField::End::kept);
    const std::optional<Place> place = placeAt(event->pos());
    if (!place) return select({});
    const UUID layerID = rows_[place->row].layerID;
    const LayerIDs selected = context_.editor.state().selectedLayerIDs;
    if (event->button() == Qt::RightButton) {
        if (!selected.contains(layerID)) select({layerID});
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    const LayerIDs concerned = selected.contains(layerID) ? selected : LayerIDs{layerID};
    switch (place->part) {
    case Part::chevron: return toggleExpanded(layerID);
    case Part::eye: context_.editor.perform(toggleHideForSelection(scene_, concerned)); return context_.changed();
    case Part::lock: context_.editor.perform(toggleLockForSelection(scene_, concerned)); return context_.changed();
    case Part::row: break;
    }
    pressedAt_ = event->pos();
    // A press on one of several selected rows may begin to drag them all: the click selects it alone only when let go.
    if (!selected.contains(layerID) || event->modifiers() != Qt::NoModifier)
        select(range_.click(rows_, layerID, selected, asModifiers(event->modifiers())));
}

void LayerList::mouseMoveEvent(QMouseEvent* event)
{
    if (pressedAt_ && (isDraggingRows_ || (event->pos() - *pressedAt_).manhattanLength() >= QApplication::startDragDistance())) {
        isDraggingRows_ = true;
        return showDropAt(event->pos());
    }
    const std::optional<Place> place = placeAt(event->pos());
    hovered_ = place ? std::optional(place->row) : std::nullopt;
    update();
}

void LayerList::showDropAt(QPoint position)
{
    const int row = std::clamp((position.y() + rowHeight / 2) / rowHeight, 0, static_cast<int>(rows_.size()));
    dropRow_ = static_cast<std::size_t>(row);
    if (bringIntoView) bringIntoView({0, position.y() - rowHeight, 1, 2 * rowHeight}); // Long lists go on below the pointer.
    update();
}

void LayerList::endDrag()
{
    isDraggingRows_ = false;
    pressedAt_.reset();
    dropRow_.reset();
    update();
}

void LayerList::mouseReleaseEvent(QMouseEvent* event)
{
    const bool dragged = isDraggingRows_;
    const std::optional<QPoint> pressed = pressedAt_;
    const std::optional<std::size_t> drop = dropRow_;
    endDrag();
    const LayerIDs& selected = context_.editor.state().selectedLayerIDs;
    if (dragged && drop) {
        context_.editor.perform(*drop < rows_.size() ? LayerPanel::moveLayersBefore(scene_, selected, rows_[*drop].layerID)
                                                     : LayerPanel::moveLayersToEnd(scene_, selected));
        return context_.changed();
    }
    const std::optional<Place> place = placeAt(event->pos());
    if (pressed && place && place->part == Part::row && event->modifiers() == Qt::NoModifier && event->button() == Qt::LeftButton)
        select(range_.click(rows_, rows_[place->row].layerID, selected, {}));
}

void LayerList::mouseDoubleClickEvent(QMouseEvent* event)
{
    const std::optional<Place> place = placeAt(event->pos());
    if (place && place->part == Part::row) rename(rows_[place->row].layerID);
}

void LayerList::leaveEvent(QEvent*)
{
    hovered_.reset();
    update();
}

void LayerList::contextMenuEvent(QContextMenuEvent* event)
{
    using enum Command;
    constexpr MenuEntry entries[] = {{.command = renameLayer, .shortcut = "Return"},
                                     {.command = resetLayerName},
                                     {.command = copyProperties, .startsSection = true},
                                     {.command = paste},
                                     {.command = duplicate},
                                     {.command = deleteSelection, .title = "Delete"},
                                     {.command = group, .title = "Group", .startsSection = true},
                                     {.command = ungroup},
                                     {.command = bringToFront, .startsSection = true},
                                     {.command = bringForward},
                                     {.command = sendBackward},
                                     {.command = sendToBack},
                                     {.command = hideToggle, .startsSection = true},
                                     {.command = lockToggle},
                                     {.command = resetTimeline, .startsSection = true},
                                     {.command = replaceImage, .startsSection = true},
                                     {.command = replaceVideo, .startsSection = true}};
    const CommandContext possible{
        .front = focusedValues(context_.editor.state(), context_.editor.undoManager(), LayerStyleClipboard{})};
    const ContextActionAvailability& about = possible.front->contextActions;
    const QString counted = QString(about.selectedCount == 1 ? " %1 Layer" : " %1 Layers").arg(about.selectedCount);
    QMenu menu(this);
    menu.setToolTipsVisible(true);
    for (const MenuEntry& entry : entries) {
        const Command command = entry.command;
        if (command == replaceImage && about.primaryKind != Layer::Kind::image) continue;
        if (command == replaceVideo && about.primaryKind != Layer::Kind::video) continue;
        QString title = words(entry.title.empty() ? commandInfo(command).title : entry.title);
        if (command == hideToggle) title = (about.firstIsHidden.value_or(false) ? "Show" : "Hide") + counted;
        if (command == lockToggle) title = (about.firstIsLocked.value_or(false) ? "Unlock" : "Lock") + counted;
        if (entry.startsSection) menu.addSeparator();
        if (const QString keys = shortcutText(entry); !keys.isEmpty()) title += '\t' + keys;
        QAction* action = menu.addAction(
            title, this, [this, command] { command == renameLayer ? renameSelected() : context_.perform(command); });
        const CommandAvailability availability = larkspool::availability(command, possible);
        action->setEnabled(availability.isEnabled);
        action->setToolTip(words(availability.reason));
    }
    const std::optional<std::size_t> row = rowOf(range_.rangeCursorID);
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard && row;
    menu.exec(isByKey ? mapToGlobal(rowRect(*row).bottomLeft() + QPoint(leftPadding + chevronWidth, 0)) : event->globalPos());
}

bool LayerList::event(QEvent* event)
{
    // While rows are dragged Escape is no command of the window's.
    if (event->type() == QEvent::ShortcutOverride && isDraggingRows_ && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void LayerList::keyPressEvent(QKeyEvent* event)
{
    const EditorState& state = context_.editor.state();
    switch (event->key()) {
    case Qt::Key_Escape:
        if (isDraggingRows_) return endDrag();
        break;
    case Qt::Key_Up: return moveBy(-1, event->modifiers() & Qt::ShiftModifier);
    case Qt::Key_Down: return moveBy(1, event->modifiers() & Qt::ShiftModifier);
    case Qt::Key_Left:
    case Qt::Key_Right: {
        if (!range_.rangeCursorID || (event->modifiers() & Qt::ControlModifier)) break;
        const auto result =
            LayerPanel::handleHorizontal(scene_, expandedGroups_, *range_.rangeCursorID, event->key() == Qt::Key_Right);
        if (!result) return;
        expandedGroups_ = result->expandedGroups;
        if (result->selects) {
            range_.rangeAnchorID = range_.rangeCursorID = result->selects;
            return select({*result->selects});
        }
        return showRows();
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (state.selectedLayerIDs.size() == 1) return rename(*state.selectedLayerIDs.begin());
        break;
    default: break;
    }
    QWidget::keyPressEvent(event);
}

void LayerList::moveBy(int step, bool extends)
{
    if (rows_.empty()) return;
    select(range_.move(rows_, step, extends));
    if (const auto row = rowOf(range_.rangeCursorID); row && bringIntoView) bringIntoView(rowRect(*row));
}

void LayerList::focusInEvent(QFocusEvent*)
{
    update();
}

void LayerList::focusOutEvent(QFocusEvent*)
{
    update();
}

void LayerList::renameSelected()
{
    const LayerIDs& selected = context_.editor.state().selectedLayerIDs;
    if (!selected.empty()) rename(*selected.begin());
}

void LayerList::reveal(const UUID& layerID)
{
    if (rowOf(layerID)) return;
    if (!filter_.isEmpty() && endSearch) endSearch();
    for (const UUID& ancestor : ancestorsOf(scene_, layerID)) expandedGroups_.insert(ancestor);
    showRows();
}

void LayerList::rename(const UUID& layerID)
{
    reveal(layerID);
    const std::optional<std::size_t> row = rowOf(layerID);
    const Layer* layer = findLayer(scene_, layerID);
    if (!row || !layer) return;
    renamingLayerID_ = layerID;
    if (bringIntoView) bringIntoView(rowRect(*row));
    const int x = leftPadding + static_cast<int>(rows_[*row].depth) * indent + chevronWidth + iconWidth + gap - 6;
    nameField_->open({x, static_cast<int>(*row) * rowHeight + 2, width() - x - 8, rowHeight - 4}, words(layer->name));
}

void LayerList::finishRename(NameField::End end)
{
    const std::optional<UUID> layerID = std::exchange(renamingLayerID_, std::nullopt);
    if (!layerID) return;
    if (window()->isActiveWindow() && !QApplication::focusWidget()) setFocus();
    if (end != NameField::End::cancelled)
        context_.editor.perform(LayerPanel::commitRename(scene_, *layerID, nameField_->text().toStdString()));
    context_.changed();
    if (end != NameField::End::keptAndOn && end != NameField::End::keptAndBack) return;
    const std::optional<std::size_t> row = rowOf(layerID);
    const std::size_t next = row ? *row + (end == NameField::End::keptAndOn ? 1 : std::size_t(-1)) : rows_.size();
    if (next >= rows_.size()) return;
    const UUID nextID = rows_[next].layerID;
    select({nextID});
    rename(nextID);
}

LayerPanelView::LayerPanelView(EditorContext context, QWidget* parent) : Surface(theme().panel, parent), context_(context)
{
    setAccessibleName("Layers");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    column->addWidget(buildHead());
    column->addWidget(buildSceneRow());
    auto* lineRow = new QHBoxLayout;
    lineRow->setContentsMargins(12, 0, 12, 8);
    lineRow->addWidget(hairline(Qt::Horizontal, this));
    column->addLayout(lineRow);

    empty_ = label(words(LayerPanel::emptyText), TextStyle::body, LabelTone::secondary, this);
    empty_->setAlignment(Qt::AlignCenter);
    empty_->setContentsMargins(0, 24, 0, 0);
    column->addWidget(empty_);

    list_ = new LayerList(context_, nullptr);
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(list_);
    list_->bringIntoView = [scroll](QRect rect) {
        scroll->ensureVisible(0, rect.top(), 0, 0);
        scroll->ensureVisible(0, rect.bottom(), 0, 0);
    };
    list_->endSearch = [this] {
        searchButton_->setChecked(false);
        showSearch(/*isOn=*/false);
    };
    column->addWidget(scroll, 1);
}

QWidget* LayerPanelView::buildHead()
{
    auto* head = new QWidget(this);
    head->setFixedHeight(headHeight);
    auto* row = new QHBoxLayout(head);
    row->setContentsMargins(12, 0, 8, 0);
    row->setSpacing(2);
    title_ = label("Layers", TextStyle::section, LabelTone::text, head);
    row->addWidget(title_, 1);
    search_ = new QLineEdit(head);
    search_->setPlaceholderText("Search Layers");
    search_->setAccessibleName("Search Layers");
    search_->setFixedHeight(24);
    search_->hide();
    connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) { list_->showOnly(text); });
    row->addWidget(search_, 1);
    searchButton_ = iconButton("search", "Search Layers", head, 24);
    searchButton_->setCheckable(true);
    connect(searchButton_, &QToolButton::clicked, this, [this](bool isOn) { showSearch(isOn); });
    row->addWidget(searchButton_);
    QToolButton* popOut = iconButton("palette-popout", words(LayerPanel::popOutPaletteLabel), head, 24);
    connect(popOut, &QToolButton::clicked, this, [this] { popOutPalette(); });
    row->addWidget(popOut);
    QToolButton* addButton = iconButton("plus", words(LayerPanel::addLayerLabel), head, 24);
    connect(addButton, &QToolButton::clicked, this,
            [this, addButton] { showAddMenu(addButton->mapToGlobal(QPoint(0, addButton->height()))); });
    row->addWidget(addButton);
    return head;
}

void LayerPanelView::showSearch(bool isOn)
{
    title_->setVisible(!isOn);
    search_->setVisible(isOn);
    search_->clear();
    if (isOn) search_->setFocus(Qt::OtherFocusReason);
}

QWidget* LayerPanelView::buildSceneRow()
{
    auto* scene = sceneRow_ = new SceneRow(this);
    scene->setFixedHeight(sceneRowHeight);
    connect(scene, &QAbstractButton::clicked, this, [this] {
        context_.editor.selectLayers({});
        context_.changed();
    });
    auto* row = new QHBoxLayout(scene);
    row->setContentsMargins(12, 0, 12, 0);
    row->setSpacing(8);
    sceneSwatch_ = new QLabel(scene);
    sceneSwatch_->setFixedSize(16, 16);
    sceneName_ = label("", TextStyle::body, LabelTone::text, scene);
    sceneSize_ = label("", TextStyle::caption, LabelTone::secondary, scene);
    row->addWidget(sceneSwatch_);
    row->addWidget(sceneName_, 1);
    row->addWidget(sceneSize_);
    for (QLabel* part : {sceneSwatch_, sceneName_, sceneSize_}) part->setAttribute(Qt::WA_TransparentForMouseEvents);
    return scene;
}

void LayerPanelView::showAddMenu(QPoint position)
{
    QMenu menu(this);
    menu.setToolTipsVisible(true);
    for (const LayerPaletteCommands::Item& item : LayerPaletteCommands::items) {
        const QString title = words(item.title) + (item.needsFile ? "…" : "");
        menu.addAction(buttonIcon(kindIcon(item.kind)), title, this, [this, &item] { add(item); });
    }
    menu.addSeparator();
    menu.addAction(words(LayerPanel::popOutPaletteLabel), this, [this] { popOutPalette(); });
    menu.exec(position);
}

void LayerPanelView::refresh()
{
    const EditorState& state = context_.editor.state();
    const TweenScene scene = state.scene();
    showSwatch(*sceneSwatch_, scene.background);
    sceneName_->setText(QString::fromStdString(scene.displayName(state.document.clampedActiveSceneIndex())));
    sceneSize_->setText(QString("%1×%2").arg(scene.width).arg(scene.height));
    sceneRow_->setAccessibleName("Scene: " + sceneName_->text());
    sceneRow_->setAccessibleDescription(sceneSize_->text());
    empty_->setVisible(scene.layers.empty());
    list_->refresh();
}

} // namespace larkspool
