#pragma once

#include "shell/layer_palette.h"
#include "shell/layer_panel.h"
#include "views/accessible_items.h"
#include "views/controls.h"
#include "views/editor_context.h"
#include "views/name_field.h"

#include <QScrollArea>

class QAbstractButton;
class QLineEdit;

namespace larkspool {

/// The rows of the tree of layers: one painted list.
class LayerList final : public QWidget, public AccessibleItems {
public:
    LayerList(EditorContext context, QWidget* parent);

    void refresh();
    const LayerIDs& expandedGroups() const { return expandedGroups_; }
    /// Lets the name of the selected layer be typed.
    void renameSelected();
    /// Only the layers are shown whose names have these words in them, whatever groups they lie in. All if there are none.
    void showOnly(const QString& words);

    std::function<void(QRect rect)> bringIntoView{}; ///< Scrolls to a row that the keyboard has gone to.
    std::function<void()> endSearch{};               ///< Has all layers shown again. May be absent.

    std::vector<AccessibleItem> accessibleItems() const override;
    /// Where the keyboard is, for what scrolls the list.
    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    enum class Part { row, chevron, eye, lock };
    struct Place {
        std::size_t row = 0;
        Part part = Part::row;
    };

    QRect rowRect(std::size_t row) const;
    std::optional<Place> placeAt(QPoint position) const;
    /// Whether a row begins what is painted as one block with a selected group, or lies in it below.
    enum class Ground { none, head, below };
    void paintRow(QPainter& painter, std::size_t row, const Layer& layer, Ground ground) const;
    /// The ground of a selected row with all rows below it, down to the one before `end`, that belong to it.
    void paintBlock(QPainter& painter, std::size_t row, std::size_t end) const;
    QColor selectionColor() const;
    void select(LayerIDs layerIDs);
    void toggleExpanded(const UUID& layerID);
    void rename(const UUID& layerID);
    void finishRename(NameField::End end);
    void showRows();
    void takeRows();
    /// The place of the row in the list; nothing for one that is not shown.
    std::optional<std::size_t> rowOf(const std::optional<UUID>& layerID) const;
    void moveBy(int step, bool extends);
    bool showsFocus() const;
    void showDropAt(QPoint position);
    void paintDropLine(QPainter& painter) const;
    void endDrag();
    /// Opens what is closed around the layer, and ends a search that leaves it out.
    void reveal(const UUID& layerID);

    EditorContext context_;
    TweenScene scene_;
    LayerIDs shownSelection_;
    bool isShown_ = false; ///< Whether these two have been taken from the editor once.
    std::vector<LayerPanel::Row> rows_;
    LayerIDs expandedGroups_;
    LayerPanel::RangeSelection range_;
    std::optional<std::size_t> hovered_;
    std::optional<QPoint> pressedAt_;
    bool isDraggingRows_ = false;
    std::optional<std::size_t> dropRow_; ///< Rows are dropped above it; one behind the last for the end.
    std::optional<UUID> renamingLayerID_;
    NameField* nameField_ = nullptr;
    QString filter_;
};

/// The layers of the scene as a tree, the frontmost on top.
class LayerPanelView final : public Surface {
public:
    LayerPanelView(EditorContext context, QWidget* parent);

    /// Shows the editor's state.
    void refresh();
    void renameSelected() { list_->renameSelected(); }
    const LayerIDs& expandedGroups() const { return list_->expandedGroups(); }

    /// Adds a layer of the palette's kinds.
    std::function<void(const LayerPaletteCommands::Item& item)> add{};
    std::function<void()> popOutPalette{}; ///< Gives the palette a window of its own.

private:
    QWidget* buildHead();
    QWidget* buildSceneRow();
    void showAddMenu(QPoint position);
    void showSearch(bool isOn);

    EditorContext context_;
    QLabel* title_ = nullptr;
    QLineEdit* search_ = nullptr;
    QToolButton* searchButton_ = nullptr;
    QAbstractButton* sceneRow_ = nullptr;
    QLabel* sceneSwatch_ = nullptr;
    QLabel* sceneName_ = nullptr;
    QLabel* sceneSize_ = nullptr;
    QLabel* empty_ = nullptr;
    LayerList* list_ = nullptr;
};

} // namespace larkspool
