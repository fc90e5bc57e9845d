#include "views/controls.h"

#include "views/icons.h"
#include "views/theme.h"

#include <QKeyEvent>
#include <QPainter>

namespace larkspool {

QToolButton* iconButton(const QString& icon, const QString& name, QWidget* parent, int side)
{
    auto* button = new QToolButton(parent);
    button->setIcon(buttonIcon(icon));
    button->setIconSize({16, 16});
    button->setFixedSize(side, side);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus); // With the focus of a click, Space would press it again instead of playing.
    button->setToolTip(name);
    button->setAccessibleName(name);
    return button;
}

QPushButton* wordButton(const QString& words, ButtonRole role, QWidget* parent, int height)
{
    auto* button = new QPushButton(words, parent);
    button->setFont(textFont(TextStyle::bodyMedium));
    button->setFixedHeight(height);
    button->setFocusPolicy(Qt::TabFocus);
    if (role == ButtonRole::primary) makePrimary(*button);
    return button;
}

void makePrimary(QPushButton& button)
{
    button.setProperty("primary", true);
    QPalette palette = button.palette();
    palette.setColor(QPalette::ButtonText, theme().textOnAccent);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, theme().textDisabled);
    button.setPalette(palette);
}

QColor chosenFill()
{
    return theme().scheme == Theme::Scheme::light ? theme().raised : theme().pressed;
}

void PaintedButton::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

QLabel* label(const QString& words, TextStyle style, LabelTone tone, QWidget* parent)
{
    auto* result = new QLabel(words, parent);
    result->setFont(textFont(style));
    result->setTextFormat(Qt::PlainText);
    result->setForegroundRole(QPalette::WindowText); // On a button it would take that of the button.
    QPalette palette = result->palette();
    palette.setColor(QPalette::WindowText, tone == LabelTone::text ? theme().text : theme().textSecondary);
    result->setPalette(palette);
    return result;
}

QWidget* hairline(Qt::Orientation orientation, QWidget* parent)
{
    auto* line = new Surface(theme().hairline, parent);
    if (orientation == Qt::Horizontal)
        line->setFixedHeight(1);
    else
        line->setFixedWidth(1);
    return line;
}

Surface::Surface(const QColor& color, QWidget* parent) : QWidget(parent), color_(color) {}

void Surface::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), color_);
}

} // namespace larkspool
