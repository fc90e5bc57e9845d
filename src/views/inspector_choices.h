#pragma once

#include "shell/inspector.h"
#include "shell/item_inspectors.h"
#include "views/inspector_fields.h"
#include "views/inspector_words.h"

#include <QAbstractButton>
#include <QString>
#include <QWidget>

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

class QMenu;

namespace larkspool {

enum class TextStyle;

/// The controls of the inspector that offer a choice. Each shows what it is told, and tells what a person chooses.

/// A switch of two states.
class SwitchButton final : public QAbstractButton {
public:
    SwitchButton(const QString& name, QWidget* parent);

    /// Nothing for states that differ. A click then switches on.
    void showState(std::optional<bool> isOn);
    QSize sizeHint() const override { return {26, 16}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool isMixed_ = false;
};

/// A few choices side by side, one of which is chosen.
class Segments final : public QWidget {
public:
    struct Choice {
        QString words;
        QString icon{}; ///< Shown in place of the words, which become its help.
    };

    Segments(const QString& name, std::vector<Choice> choices, QWidget* parent);

    void showChosen(std::optional<std::size_t> index);
    std::function<void(std::size_t)> chosen{};

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    double wordsWidth(TextStyle style) const;
    TextStyle wordStyle() const;
    bool isTight() const;
    void paintSegment(QPainter& painter, std::size_t index) const;
    QRectF segmentRect(std::size_t index) const;
    std::size_t indexAt(QPoint position) const;

    std::vector<Choice> choices_;
    std::optional<std::size_t> index_;
};

/// The cases of an enumeration by their labels.
template <typename E>
std::vector<Segments::Choice> choicesOf()
{
    std::vector<Segments::Choice> choices;
    for (const EnumCase<E>& one : EnumTable<E>::cases) choices.push_back({words(one.label)});
    return choices;
}

/// A choice of many, from a menu.
class MenuField final : public FieldBox {
public:
    MenuField(const QString& name, HasDiamond hasDiamond, QWidget* parent);

    void showWords(const QString& words);
    /// Fills the menu each time that it opens. The choice whose words the field shows is then marked.
    std::function<void(QMenu&)> fill{};

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void open();

    QString words_;
};

/// A diamond on its own, beside what is no field.
class DiamondButton final : public QAbstractButton {
public:
    DiamondButton(const QString& name, QWidget* parent);

    void showDiamond(Inspector::Diamond diamond, const QString& help);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Inspector::Diamond diamond_ = Inspector::Diamond::none;
};

/// The easings that have a name, as cards with their curves.
class EasingPicker final : public QWidget {
public:
    explicit EasingPicker(QWidget* parent);

    void showChosen(std::optional<EasingPreset> preset);
    std::function<void(EasingPreset)> chosen{};

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QRectF cardRect(int index) const;

    std::optional<EasingPreset> preset_;
};

} // namespace larkspool
