#include "views/drag_mode_view.h"

#include "views/controls.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace larkspool {

namespace {

constexpr int buttonSide = 24, padding = 2, besideFrame = 12, edge = 4;
constexpr double cornerRadius = 6;

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

} // namespace

DragModeView::DragModeView(std::function<void(bool keyframeAtPlayhead)> choose, QWidget* parent) : QWidget(parent)
{
    setAccessibleName("Drag mode");
    setAttribute(Qt::WA_NoSystemBackground);
    setCursor(Qt::ArrowCursor);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->setSpacing(2);
    const auto segment = [&](const QString& icon, const QString& name, std::string_view help, bool keyframeAtPlayhead) {
        QToolButton* button = iconButton(icon, name, this, buttonSide);
        button->setCheckable(true);
        button->setToolTip(text(help));
        connect(button, &QToolButton::clicked, this, [choose, keyframeAtPlayhead] { choose(keyframeAtPlayhead); });
        row->addWidget(button);
        return button;
    };
    setKeyframe_ = segment("keyframe-filled", "Set keyframe at playhead", setKeyframeText, /*keyframeAtPlayhead=*/true);
    movePath_ = segment("path", "Move whole path", movePathText, /*keyframeAtPlayhead=*/false);
    adjustSize();
    hide();
}

void DragModeView::show(const std::optional<OverlayItems::DragModeToggle>& toggle, const QRectF& selected)
{
    if (!toggle) return hide();
    setKeyframe_->setChecked(toggle->keyframeAtPlayhead);
    movePath_->setChecked(!toggle->keyframeAtPlayhead);
    const QWidget& view = *parentWidget();
    const int right = static_cast<int>(toggle->anchor.x) + besideFrame;
    const int left = static_cast<int>(selected.left()) - besideFrame - width();
    const bool fitsRight = right + width() + edge <= view.width();
    const int x = std::clamp(fitsRight || left < edge ? right : left, edge, std::max(edge, view.width() - width() - edge));
    const int y = std::clamp(static_cast<int>(toggle->anchor.y), edge, std::max(edge, view.height() - height() - edge));
    move(x, y);
    setVisible(true);
}

void DragModeView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().hairlineStrong, 1));
    painter.setBrush(theme().overlay);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

void DragModeView::mousePressEvent(QMouseEvent* event)
{
    event->accept(); // A press between the segments is none on the canvas below.
}

} // namespace larkspool
