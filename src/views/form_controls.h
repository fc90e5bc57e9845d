#pragma once

#include "views/controls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>

#include <functional>
#include <vector>

class QButtonGroup;

namespace larkspool {

/// A sliding switch. Space turns it; Return is left to the sheet around it.
class Switch final : public QCheckBox {
public:
    /// How far the switch is drawn from its edges: the room of the ring that shows the keyboard.
    static constexpr int ringRoom = 4;

    Switch(const QString& name, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& point) const override { return rect().contains(point); }
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

/// A field that opens a list of choices.
class ChoiceField final : public QComboBox {
public:
    ChoiceField(const QString& name, QWidget* parent, int height = 28);

protected:
    void wheelEvent(QWheelEvent* event) override; ///< A turn of the wheel is no choice.
    void paintEvent(QPaintEvent* event) override;
};

/// One of several buttons of a QButtonGroup, of which one is on. Arrows go to the next one and turn it on; Tab knows the one that
/// is on alone. Space is of no use then, and Return is left to the sheet around it.
class OneOfSeveral : public QRadioButton {
public:
    OneOfSeveral(const QString& words, QWidget* parent);

protected:
    bool hitButton(const QPoint& point) const override { return rect().contains(point); }
    void keyPressEvent(QKeyEvent* event) override;
};

/// A row of choices, all of which are seen. Tab enters at the one that is chosen, arrows go on from there.
class SegmentedChoice final : public QWidget {
public:
    SegmentedChoice(const QString& name, const QStringList& choices, QWidget* parent, int height = 28);

    /// -1 while none is chosen.
    int chosen() const;
    void choose(int index);
    /// Puts an icon before the words of a choice.
    void showSign(int index, const QString& icon);

    std::function<void(int index)> onChoice; ///< Called when a person chooses another one. May be absent.

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QButtonGroup* group_;
};

/// Words that take several lines, with the line height that they have in dialogs.
QLabel* paragraph(const QString& words, TextStyle style, LabelTone tone, QWidget* parent);

/// A field of text, `height` pixels high.
QLineEdit* textField(const QString& name, QWidget* parent, int height = 28);

} // namespace larkspool
