#pragma once

#include "shell/layer_palette.h"
#include "shell/layer_panel.h"
#include "views/controls.h"
#include "views/editor_context.h"

#include <QScrollArea>

class QLineEdit;

namespace larkspool {

/// The rows of the tree of layers: one painted list.
class LayerList final : public QWidget {
public:
    LayerList(EditorContext context, QWidget* parent);

    void refresh();
    /// Lets the name of the selected layer be typed.
    void renameSelected();

protected:
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
    void paintRow(QPainter& painter, std::size_t row, const Layer& layer, bool isBelowSelected) const;
    void select(LayerIDs layerIDs);
    void toggleExpanded(const UUID& layerID);
    void rename(const UUID& layerID);
    void finishRename(bool keeps);
    void showDropAt(QPoint position);

    EditorContext context_;
    TweenScene scene_;
    std::vector<LayerPanel::Row> rows_;
    LayerIDs expandedGroups_;
    LayerPanel::RangeSelection range_;
    std::optional<std::size_t> hovered_;
    std::optional<QPoint> pressedAt_;
    bool isDraggingRows_ = false;
    std::optional<std::size_t> dropRow_; ///< Rows are dropped above it; one behind the last for the end.
    std::optional<UUID> renamingLayerID_;
    QLineEdit* nameField_ = nullptr;
};

/// The layers of the scene as a tree, the frontmost on top.
class LayerPanelView final : public Surface {
public:
    LayerPanelView(EditorContext context, QWidget* parent);

    /// Shows the editor's state.
    void refresh();
    void renameSelected() { list_->renameSelected(); }

    /// Adds a layer of the palette's kinds.
    std::function<void(const LayerPaletteCommands::Item& item)> add{};

private:
    void showAddMenu(QPoint position);

    EditorContext context_;
    QLabel* sceneName_ = nullptr;
    QLabel* sceneSize_ = nullptr;
    QLabel* empty_ = nullptr;
    LayerList* list_ = nullptr;
};

} // namespace larkspool
