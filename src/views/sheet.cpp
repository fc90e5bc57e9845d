#include "views/sheet.h"

#include "views/motion.h"
#include "views/theme.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QVariantAnimation>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr double cornerRadius = 12;
constexpr int fadeInTime = 180, fadeOutTime = 120; ///< Milliseconds.
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

/// What a sheet lies on: the dimmed window, and the card's own ground with its shadow.
void paintGround(QPainter& painter, const QRect& window, const QRectF& card)
{
    const Theme& t = theme();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(window, t.scrim);
    paintShadow(painter, card);
    painter.setPen(QPen(t.hairlineStrong, 1));
    painter.setBrush(t.panel);
    painter.drawRoundedRect(card.adjusted(-0.5, -0.5, 0.5, 0.5), cornerRadius, cornerRadius);
}

/// A movement between 0 and 1 that belongs to `owner` and goes by itself.
QVariantAnimation* movement(QObject* owner, int milliseconds, double from, double to)
{
    auto* result = new QVariantAnimation(owner);
    result->setDuration(milliseconds);
    result->setStartValue(from);
    result->setEndValue(to);
    result->setEasingCurve(easeOutCurve());
    return result;
}

/// The picture of a sheet that has gone. It takes no input, and goes by itself.
class Afterimage final : public QWidget {
public:
    Afterimage(QWidget& window, const QRect& card, QPixmap picture)
        : QWidget(&window), card_(card), picture_(std::move(picture))
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
        setGeometry(window.rect());
        QVariantAnimation* fading = movement(this, fadeOutTime, 1, 0);
        connect(fading, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
            strength_ = value.toDouble();
            update();
        });
        connect(fading, &QVariantAnimation::finished, this, &QObject::deleteLater);
        fading->start();
        show();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setOpacity(strength_);
        paintGround(painter, rect(), card_);
        painter.drawPixmap(card_.topLeft(), picture_);
    }

private:
    QRect card_;
    QPixmap picture_;
    double strength_ = 1;
};

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
    fadeOut();
    hide();
    deleteLater();
}

void Sheet::present(QWidget* first)
{
    setGeometry(parentWidget()->rect());
    place();
    const bool isNew = !isVisible();
    show();
    raise();
    first->setFocus(Qt::TabFocusReason);
    if (isNew) fadeIn();
}

void Sheet::fadeIn()
{
    if (motion() == Motion::reduced) return;
    auto* effect = new QGraphicsOpacityEffect(card_);
    effect->setOpacity(strength_ = 0);
    card_->setGraphicsEffect(effect);
    QVariantAnimation* fading = movement(this, fadeInTime, 0, 1);
    connect(fading, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        strength_ = value.toDouble();
        if (auto* veil = qobject_cast<QGraphicsOpacityEffect*>(card_->graphicsEffect())) veil->setOpacity(strength_);
        update();
    });
    connect(fading, &QVariantAnimation::finished, this, [this] { card_->setGraphicsEffect(nullptr); }); // It costs at every paint.
    fading->start(QAbstractAnimation::DeleteWhenStopped);
}

void Sheet::fadeOut()
{
    if (motion() == Motion::reduced || !isVisible()) return;
    QPixmap picture(card_->size() * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    card_->setGraphicsEffect(nullptr);
    card_->render(&picture, {}, {}, QWidget::DrawChildren);
    new Afterimage(*parentWidget(), card_->geometry(), std::move(picture));
}

void Sheet::place()
{
    const QRect before = card_->geometry();
    card_->adjustSize();
    // Words that take several lines count for the width that the card has, not for the one that it would like.
    if (const QLayout* layout = card_->layout(); layout && layout->hasHeightForWidth())
        card_->resize(card_->width(), layout->totalHeightForWidth(card_->width()));
    const QSize size = card_->size();
    card_->move((width() - size.width()) / 2, std::max(0, (height() - size.height()) / 2));
    if (card_->geometry() != before) update(); // Words that change ask for a place too, and it would be all of the window.
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

void Sheet::paintEvent(QPaintEvent* event)
{
    constexpr int round = static_cast<int>(cornerRadius);
    const QRect card = card_->geometry(), changed = event->rect();
    QPainter painter(this);
    painter.setOpacity(strength_);
    const bool isAwayFromCorners =
        card.adjusted(0, round, 0, -round).contains(changed) || card.adjusted(round, 0, -round, 0).contains(changed);
    if (strength_ == 1 && isAwayFromCorners) return painter.fillRect(changed, theme().panel); // As when a preview goes on.
    paintGround(painter, rect(), card);
}

} // namespace larkspool
