#pragma once

#include "shell/layer_palette.h"

#include <QWidget>

#include <functional>

class QMimeData;

namespace larkspool {

/// The palette of layers to add. It floats in the canvas, or stands in a window of its own. Its buttons can be dragged to where the
/// layer is to be.
class LayerPaletteView final : public QWidget {
public:
    using Add = std::function<void(const LayerPaletteCommands::Item& item)>;

    LayerPaletteView(Add add, QWidget* parent);

    /// What is dragged, if it comes out of a palette.
    static const LayerPaletteCommands::Item* dragged(const QMimeData& data);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};

/// The palette in a small window over the editor's.
class LayerPaletteWindow final : public QWidget {
public:
    /// `closed` is called when a person closes it.
    LayerPaletteWindow(LayerPaletteView::Add add, std::function<void()> closed, QWidget* editorWindow);

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::function<void()> closed_;
};

} // namespace larkspool
