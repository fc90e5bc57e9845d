#pragma once

#include "shell/layer_palette.h"

#include <QWidget>

#include <functional>

namespace larkspool {

/// The palette of layers to add, which floats in the canvas.
class LayerPaletteView final : public QWidget {
public:
    LayerPaletteView(std::function<void(const LayerPaletteCommands::Item& item)> add, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};

} // namespace larkspool
