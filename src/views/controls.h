#pragma once

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
