#include "views/layer_palette_view.h"

#include "views/controls.h"
#include "views/icons.h"
#include "views/kind_icon.h"
#include "views/theme.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <optional>

namespace larkspool {

namespace {

constexpr int buttonSide = 28, padding = 4;
constexpr double cornerRadius = 10;
const char* const tagType = "application/x-larkspool-palette-item";

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

class PaletteButton final : public QToolButton {
public:
    PaletteButton(const LayerPaletteCommands::Item& item, QWidget* parent) : QToolButton(parent), item_(item)
    {
        setIcon(buttonIcon(kindIcon(item.kind)));
        setIconSize({16, 16});
        setFixedSize(buttonSide, buttonSide);
        setAutoRaise(true);
        setFocusPolicy(Qt::TabFocus);
        setAccessibleName(words(item.title));
        setToolTip(words(item.title) + (item.needsFile ? "…" : ""));
    }

protected:
    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton) pressedAt_ = event->pos();
        QToolButton::mousePressEvent(event);
    }
    void mouseMoveEvent(QMouseEvent* event) override
    {
        QToolButton::mouseMoveEvent(event);
        const bool isFar = pressedAt_ && (event->pos() - *pressedAt_).manhattanLength() >= QApplication::startDragDistance();
        if (!isFar || item_.tag.empty()) return;
        pressedAt_.reset();
        setDown(false);
        auto* carried = new QMimeData;
        carried->setData(tagType, QByteArray(item_.tag.data(), static_cast<qsizetype>(item_.tag.size())));
        auto* drag = new QDrag(this);
        drag->setMimeData(carried);
        drag->setPixmap(iconPixmap(kindIcon(item_.kind), 20, theme().text, devicePixelRatioF()));
        drag->exec(Qt::CopyAction);
    }
    void mouseReleaseEvent(QMouseEvent* event) override
    {
        pressedAt_.reset();
        QToolButton::mouseReleaseEvent(event);
    }

private:
    const LayerPaletteCommands::Item& item_;
    std::optional<QPoint> pressedAt_;
};

} // namespace

LayerPaletteView::LayerPaletteView(Add add, QWidget* parent) : QWidget(parent)
{
    setAccessibleName("Layer Palette");
    setAttribute(Qt::WA_NoSystemBackground);
    setCursor(Qt::ArrowCursor);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(2);
    for (const LayerPaletteCommands::Item& item : LayerPaletteCommands::items) {
        auto* button = new PaletteButton(item, this);
        connect(button, &QToolButton::clicked, this, [add, &item] { add(item); });
        column->addWidget(button);
    }
    adjustSize();
}

const LayerPaletteCommands::Item* LayerPaletteView::dragged(const QMimeData& data)
{
    const QByteArray tag = data.data(tagType);
    if (tag.isEmpty()) return nullptr;
    const std::string_view wanted(tag.constData(), static_cast<std::size_t>(tag.size()));
    const auto item = std::ranges::find(LayerPaletteCommands::items, wanted, &LayerPaletteCommands::Item::tag);
    return item != LayerPaletteCommands::items.end() ? &*item : nullptr;
}

void LayerPaletteView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (isWindow() || parentWidget()->isWindow()) return painter.fillRect(rect(), theme().overlay);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().hairlineStrong, 1));
    painter.setBrush(theme().overlay);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

void LayerPaletteView::mousePressEvent(QMouseEvent* event)
{
    event->accept(); // A press between the buttons is none on the canvas below.
}

LayerPaletteWindow::LayerPaletteWindow(LayerPaletteView::Add add, std::function<void()> closed, QWidget* editorWindow)
    : QWidget(editorWindow, Qt::Tool), closed_(std::move(closed))
{
    setWindowTitle("Layer Palette");
    setAccessibleName("Layer Palette");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSizeConstraint(QLayout::SetFixedSize);
    column->addWidget(new LayerPaletteView(std::move(add), this));
}

void LayerPaletteWindow::closeEvent(QCloseEvent* event)
{
    event->accept();
    if (closed_) closed_();
}

void LayerPaletteWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace larkspool
