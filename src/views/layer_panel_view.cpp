#include "views/layer_panel_view.h"

#include "canvas/layer_tree_operations.h"
#include "editing/scene_lookup.h"
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

} // namespace

LayerList::LayerList(EditorContext context, QWidget* parent) : QWidget(parent), context_(std::move(context))
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName("Layers");
    nameField_ = new QLineEdit(this);
    nameField_->hide();
    nameField_->setFont(textFont(TextStyle::body));
    connect(nameField_, &QLineEdit::editingFinished, this, [this] { finishRename(/*keeps=*/true); });
}

void LayerList::refresh()
{
    scene_ = context_.editor.scene();
    // What is selected can be seen: the groups around it are open.
    for (const UUID& layerID : context_.editor.state().selectedLayerIDs)
        for (const UUID& ancestor : ancestorsOf(scene_, layerID)) expandedGroups_.insert(ancestor);
    rows_ = LayerPanel::flattenedLayers(scene_, expandedGroups_);
    setFixedHeight(std::max(1, static_cast<int>(rows_.size()) * rowHeight + 8));
    update();
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
    std::size_t depthOfSelected = SIZE_MAX; // The rows below a selected group, down to its depth, belong to it.
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        if (rows_[row].depth <= depthOfSelected) depthOfSelected = SIZE_MAX;
        const bool isBelowSelected = depthOfSelected != SIZE_MAX;
        if (!isBelowSelected && selected.contains(rows_[row].layerID)) depthOfSelected = rows_[row].depth;
        if (!rowRect(row).intersects(event->rect())) continue;
        if (const Layer* layer = findLayer(scene_, rows_[row].layerID)) paintRow(painter, row, *layer, isBelowSelected);
    }
    if (!dropRow_) return;
    const int y = static_cast<int>(*dropRow_) * rowHeight;
    painter.fillRect(QRect(leftPadding, y - 1, width() - 2 * leftPadding, 2), theme().selectionOutline);
}

void LayerList::paintRow(QPainter& painter, std::size_t row, const Layer& layer, bool isBelowSelected) const
{
    const Theme& t = theme();
    const QRect rect = rowRect(row);
    const bool isSelected = context_.editor.state().selectedLayerIDs.contains(layer.id);
    const bool isHovered = hovered_ == row;
    QColor fill = Qt::transparent;
    if (isSelected)
        fill = hasFocus() || QApplication::focusWidget() == nullptr ? t.selection : t.selectionInactive;
    else if (isBelowSelected) {
        fill = t.selection;
        fill.setAlphaF(0.42F);
    } else if (isHovered)
        fill = t.hover;
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect).adjusted(4, 1, -4, -1), 6, 6);

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

    painter.setFont(textFont(TextStyle::bodyMedium));
    painter.setPen(layer.isHidden ? t.textDisabled : t.text);
    const QString name = painter.fontMetrics().elidedText(words(layer.name), Qt::ElideRight, eyeX - x - 4);
    painter.drawText(QRect(x, rect.y(), eyeX - x, rowHeight), Qt::AlignVCenter | Qt::AlignLeft, name);
    if (isSelected && hasFocus() && range_.rangeCursorID == layer.id && context_.editor.state().selectedLayerIDs.size() > 1) {
        painter.setPen(QPen(t.focusRing, 1));
        painter.drawRoundedRect(QRectF(rect).adjusted(4.5, 1.5, -4.5, -1.5), 6, 6);
    }
}

void LayerList::select(LayerIDs layerIDs)
{
    context_.editor.selectLayers(std::move(layerIDs));
    context_.changed();
}

void LayerList::toggleExpanded(const UUID& layerID)
{
    if (expandedGroups_.erase(layerID) == 0) expandedGroups_.insert(layerID);
    refresh();
}

void LayerList::mousePressEvent(QMouseEvent* event)
{
    finishRename(/*keeps=*/true);
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
    update();
}

void LayerList::mouseReleaseEvent(QMouseEvent* event)
{
    const bool dragged = std::exchange(isDraggingRows_, false);
    const std::optional<QPoint> pressed = std::exchange(pressedAt_, std::nullopt);
    const std::optional<std::size_t> drop = std::exchange(dropRow_, std::nullopt);
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
    constexpr Command entries[] = {renameLayer, resetLayerName, copyProperties, paste, duplicate, deleteSelection, group, ungroup,
                                   bringToFront, bringForward, sendBackward, sendToBack, hideToggle, lockToggle, resetTimeline};
    QMenu menu(this);
    for (const Command command : entries) {
        QString title = words(commandInfo(command).title);
        if (command == renameLayer) title = "Rename";
        if (command == resetLayerName) title = "Reset Name";
        if (command == deleteSelection) title = "Delete";
        if (command == group) title = "Group";
        menu.addAction(title, this, [this, command] { command == renameLayer ? renameSelected() : context_.perform(command); });
    }
    menu.exec(event->globalPos());
}

void LayerList::keyPressEvent(QKeyEvent* event)
{
    const EditorState& state = context_.editor.state();
    switch (event->key()) {
    case Qt::Key_Up: return select(range_.move(rows_, -1, event->modifiers() & Qt::ShiftModifier));
    case Qt::Key_Down: return select(range_.move(rows_, 1, event->modifiers() & Qt::ShiftModifier));
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
        return refresh();
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (state.selectedLayerIDs.size() == 1) return rename(*state.selectedLayerIDs.begin());
        break;
    default: break;
    }
    QWidget::keyPressEvent(event);
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

void LayerList::rename(const UUID& layerID)
{
    const auto row = std::ranges::find(rows_, layerID, &LayerPanel::Row::layerID);
    const Layer* layer = findLayer(scene_, layerID);
    if (row == rows_.end() || !layer) return;
    renamingLayerID_ = layerID;
    const int x = leftPadding + static_cast<int>(row->depth) * indent + chevronWidth + iconWidth + gap - 6;
    nameField_->setGeometry(x, static_cast<int>(row - rows_.begin()) * rowHeight + 2, width() - x - 8, rowHeight - 4);
    nameField_->setText(words(layer->name));
    nameField_->selectAll();
    nameField_->show();
    nameField_->setFocus();
}

void LayerList::finishRename(bool keeps)
{
    const std::optional<UUID> layerID = std::exchange(renamingLayerID_, std::nullopt);
    if (!layerID) return;
    const std::string draft = nameField_->text().toStdString();
    nameField_->hide();
    setFocus();
    if (keeps) context_.editor.perform(LayerPanel::commitRename(scene_, *layerID, draft));
    context_.changed();
}

LayerPanelView::LayerPanelView(EditorContext context, QWidget* parent) : Surface(theme().panel, parent), context_(context)
{
    setAccessibleName("Layers");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    auto* head = new QWidget(this);
    head->setFixedHeight(headHeight);
    auto* headRow = new QHBoxLayout(head);
    headRow->setContentsMargins(12, 0, 8, 0);
    headRow->addWidget(label("Layers", TextStyle::section, LabelTone::text, head));
    headRow->addStretch(1);
    QToolButton* addButton = iconButton("plus", words(LayerPanel::addLayerLabel), head, 24);
    connect(addButton, &QToolButton::clicked, this,
            [this, addButton] { showAddMenu(addButton->mapToGlobal(QPoint(0, addButton->height()))); });
    headRow->addWidget(addButton);
    column->addWidget(head);

    auto* scene = new QWidget(this);
    scene->setFixedHeight(sceneRowHeight);
    auto* sceneRow = new QHBoxLayout(scene);
    sceneRow->setContentsMargins(12, 0, 12, 0);
    sceneName_ = label("", TextStyle::bodyMedium, LabelTone::text, scene);
    sceneSize_ = label("", TextStyle::caption, LabelTone::secondary, scene);
    sceneRow->addWidget(sceneName_);
    sceneRow->addStretch(1);
    sceneRow->addWidget(sceneSize_);
    column->addWidget(scene);
    column->addWidget(hairline(Qt::Horizontal, this));

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
    column->addWidget(scroll, 1);
}

void LayerPanelView::showAddMenu(QPoint position)
{
    QMenu menu(this);
    menu.setToolTipsVisible(true);
    for (const LayerPaletteCommands::Item& item : LayerPaletteCommands::items) {
        QAction* action = menu.addAction(buttonIcon(kindIcon(item.kind)), words(item.title), this, [this, &item] { add(item); });
        action->setEnabled(!item.needsFile);
        if (item.needsFile) action->setToolTip("Drop a file on the canvas, or paste a picture.");
    }
    menu.exec(position);
}

void LayerPanelView::refresh()
{
    const EditorState& state = context_.editor.state();
    const TweenScene scene = state.scene();
    sceneName_->setText(QString::fromStdString(scene.displayName(state.document.clampedActiveSceneIndex())));
    sceneSize_->setText(QString("%1×%2").arg(scene.width).arg(scene.height));
    empty_->setVisible(scene.layers.empty());
    list_->refresh();
}

} // namespace larkspool
