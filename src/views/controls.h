#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QWidget>

namespace larkspool {

enum class TextStyle;

/// A square button that shows an icon; `name` tells what it does, to the tooltip and to those who cannot see it. A click does not
/// take the focus away from where the person types.
QToolButton* iconButton(const QString& icon, const QString& name, QWidget* parent, int side = 28);

/// A button with words. The one main action of a surface is filled with the accent.
enum class ButtonRole { plain, primary };
QPushButton* wordButton(const QString& words, ButtonRole role, QWidget* parent, int height = 28);

/// Makes a button the main action of its surface.
void makePrimary(QPushButton& button);

/// What the chosen one of a row of choices lies on, within the row's own ground.
QColor chosenFill();

/// A button that paints itself. Return presses it as Space does.
class PaintedButton : public QAbstractButton {
public:
    using QAbstractButton::QAbstractButton;

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

/// A line of text in a style, in the theme's text colour or its secondary one.
enum class LabelTone { text, secondary };
QLabel* label(const QString& words, TextStyle style, LabelTone tone, QWidget* parent);

/// A line of one pixel that parts two sections.
QWidget* hairline(Qt::Orientation orientation, QWidget* parent);

/// A plain surface in one of the theme's greys.
class Surface : public QWidget {
public:
    explicit Surface(const QColor& color, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor color_;
};

} // namespace larkspool
