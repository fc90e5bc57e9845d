#include "views/sheet.h"

#include "views/theme.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>

namespace larkspool {

namespace {

constexpr double cornerRadius = 12;
constexpr int shadowDrop = 24, shadowReach = 32, shadowSteps = 16;

/// A soft shadow below the rectangle, in as many steps of the same strength.
void paintShadow(QPainter& painter, const QRectF& rect)
{
    QColor color = theme().shadow;
    color.setAlphaF(color.alphaF() / shadowSteps);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    for (int step = 0; step < shadowSteps; ++step) {
        const double reach = shadowReach * (2.0 * step / shadowSteps - 1);
        const double radius = std::max(0.0, cornerRadius + reach);
        painter.drawRoundedRect(rect.translated(0, shadowDrop).adjusted(-reach, -reach, reach, reach), radius, radius);
    }
}

} // namespace

Sheet::Sheet(QWidget& window, const QString& name, int width)
    : QWidget(&window), card_(new QWidget(this)), before_(window.window()->focusWidget())
{
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_NoMousePropagation);
    card_->setFixedWidth(width);
    window.installEventFilter(this);
    hide();
}

void Sheet::dismiss()
{
    QWidget* const now = window()->focusWidget();
    if (before_ && before_->isVisible())
        before_->setFocus(Qt::OtherFocusReason);
    else if (now && (now == this || isAncestorOf(now)))
        now->clearFocus();
    hide();
    deleteLater();
}

void Sheet::present(QWidget* first)
{
    setGeometry(parentWidget()->rect());
    place();
    show();
    raise();
    first->setFocus(Qt::TabFocusReason);
}

void Sheet::place()
{
    card_->adjustSize();
    // Words that take several lines count for the width that the card has, not for the one that it would like.
    if (const QLayout* layout = card_->layout(); layout && layout->hasHeightForWidth())
        card_->resize(card_->width(), layout->totalHeightForWidth(card_->width()));
    const QSize size = card_->size();
    card_->move((width() - size.width()) / 2, std::max(0, (height() - size.height()) / 2));
    update();
}

bool Sheet::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride: event->accept(); break; // No menu answers a key while the sheet has the keyboard.
    case QEvent::LayoutRequest:
    case QEvent::Resize: place(); break;
    default: break;
    }
    return QWidget::event(event);
}

bool Sheet::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize) setGeometry(parentWidget()->rect());
    return QWidget::eventFilter(watched, event);
}

bool Sheet::focusNextPrevChild(bool next)
{
    QWidget* const now = QApplication::focusWidget();
    QWidget* const from = now && (now == this || isAncestorOf(now)) ? now : this;
    QWidget* candidate = from;
    do {
        candidate = next ? candidate->nextInFocusChain() : candidate->previousInFocusChain();
        const bool isOurs = candidate != this && isAncestorOf(candidate) && candidate->isVisible() && candidate->isEnabled();
        if (!isOurs || !(candidate->focusPolicy() & Qt::TabFocus)) continue;
        candidate->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    } while (candidate != from);
    return true; // The keyboard stays within the sheet.
}

void Sheet::keyPressEvent(QKeyEvent* event)
{
    const bool confirms = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool cancels = event->key() == Qt::Key_Escape;
    event->accept();
    if (confirms && onConfirm) return onConfirm();
    if (cancels && onCancel) return onCancel();
}

void Sheet::mousePressEvent(QMouseEvent* event)
{
    event->accept();
}

void Sheet::wheelEvent(QWheelEvent* event)
{
    event->accept();
}

void Sheet::contextMenuEvent(QContextMenuEvent* event)
{
    event->accept();
}

void Sheet::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), t.scrim);
    const QRectF card = card_->geometry();
    paintShadow(painter, card);
    painter.setPen(QPen(t.hairlineStrong, 1));
    painter.setBrush(t.panel);
    painter.drawRoundedRect(card.adjusted(-0.5, -0.5, 0.5, 0.5), cornerRadius, cornerRadius);
}

} // namespace larkspool
