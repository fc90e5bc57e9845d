#include "views/layer_palette_view.h"

#include "views/controls.h"
#include "views/kind_icon.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMouseEvent>
#include <QPainter>

namespace larkspool {

namespace {

constexpr int buttonSide = 28, padding = 4;
constexpr double cornerRadius = 10;

} // namespace

LayerPaletteView::LayerPaletteView(std::function<void(const LayerPaletteCommands::Item& item)> add, QWidget* parent) : QWidget(parent)
{
    setAccessibleName("Layer Palette");
    setAttribute(Qt::WA_NoSystemBackground);
    setCursor(Qt::ArrowCursor);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(2);
    for (const LayerPaletteCommands::Item& item : LayerPaletteCommands::items) {
        if (item.needsFile) continue;
        const QString title = QString::fromUtf8(item.title.data(), static_cast<qsizetype>(item.title.size()));
        QToolButton* button = iconButton(kindIcon(item.kind), title, this, buttonSide);
        connect(button, &QToolButton::clicked, this, [add, &item] { add(item); });
        column->addWidget(button);
    }
    adjustSize();
}

void LayerPaletteView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().hairlineStrong, 1));
    painter.setBrush(theme().overlay);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

void LayerPaletteView::mousePressEvent(QMouseEvent* event)
{
    event->accept(); // A press between the buttons is none on the canvas below.
}

} // namespace larkspool
