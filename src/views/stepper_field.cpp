#include "views/stepper_field.h"

#include "views/controls.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

#include <cmath>

namespace larkspool {

namespace {

constexpr double radius = 4, ringWidth = 1.5;
constexpr int indent = 2, buttonSide = 24, buttonGap = 2, unitGap = 6;

int unitWidth(const QString& unit)
{
    return unit.isEmpty() ? 0 : static_cast<int>(std::ceil(tabularWidth(textFont(TextStyle::body), unit))) + 2 * unitGap;
}

} // namespace

StepperField::StepperField(const Look& look, QWidget* parent) : QWidget(parent), look_(look), edit_(new QLineEdit(this))
{
    setFixedHeight(look.height);
    setAttribute(Qt::WA_Hover);
    edit_->setProperty("bare", true);
    edit_->setFrame(false);
    edit_->setFont(textFont(TextStyle::value));
    edit_->setAccessibleName(look.name);
    edit_->setTextMargins(4, 0, 0, 0);
    edit_->installEventFilter(this);
    setFocusProxy(edit_);
    connect(edit_, &QLineEdit::textEdited, this, [this](const QString& text) {
        if (typed) typed(text);
    });
    less_ = addButton("minus", "Decrease " + look.name, -1);
    more_ = addButton("plus", "Increase " + look.name, 1);
}

QToolButton* StepperField::addButton(const QString& icon, const QString& name, int steps)
{
    QToolButton* button = iconButton(icon, name, this, buttonSide);
    button->setFocusPolicy(Qt::NoFocus); // The arrow keys of the field do the same.
    button->setAutoRepeat(true);
    connect(button, &QToolButton::clicked, this, [this, steps] { step(steps, QApplication::keyboardModifiers()); });
    return button;
}

QString StepperField::text() const
{
    return edit_->text();
}

void StepperField::showText(const QString& text)
{
    if (edit_->text() != text) edit_->setText(text);
}

void StepperField::showRefused(bool isRefused)
{
    isRefused_ = isRefused;
    update();
}

void StepperField::setHelp(const QString& help)
{
    edit_->setToolTip(help);
    edit_->setAccessibleDescription(help);
}

void StepperField::step(int steps, Qt::KeyboardModifiers modifiers)
{
    if (stepped) stepped(modifiers & Qt::ShiftModifier ? 10 * steps : steps);
    if (edit_->hasFocus()) edit_->selectAll();
}

bool StepperField::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto* pressed = static_cast<QKeyEvent*>(event);
        if (pressed->key() == Qt::Key_Up || pressed->key() == Qt::Key_Down) {
            step(pressed->key() == Qt::Key_Up ? 1 : -1, pressed->modifiers());
            return true;
        }
    }
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) update();
    if (event->type() == QEvent::FocusOut && left) left();
    return QWidget::eventFilter(watched, event);
}

void StepperField::resizeEvent(QResizeEvent*)
{
    const int top = (height() - buttonSide) / 2;
    more_->move(width() - indent - buttonSide, top);
    less_->move(more_->x() - buttonGap - buttonSide, top);
    edit_->setGeometry(indent, 0, less_->x() - unitWidth(look_.unit) - indent, height());
}

void StepperField::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(edit_->hasFocus() ? t.fieldFocus : underMouse() ? t.fieldHover : t.field);
    painter.drawRoundedRect(rect(), radius, radius);
    painter.setFont(textFont(TextStyle::body));
    painter.setPen(t.textSecondary);
    painter.drawText(QRect(edit_->geometry().right() + 1, 0, unitWidth(look_.unit) - unitGap, height()),
                     Qt::AlignVCenter | Qt::AlignRight, look_.unit);
    if (!edit_->hasFocus() && !isRefused_) return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(isRefused_ ? t.dangerText : t.focusRing, ringWidth));
    const double in = ringWidth / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(in, in, -in, -in), radius, radius);
}

} // namespace larkspool
