#pragma once

#include "editing/numeric_field_undo_gate.h"
#include "shell/inspector.h"

#include <QColor>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>

class QLineEdit;

namespace larkspool {

/// The fields of the inspector that are typed into. Each shows a value that it is told, and tells what a person makes of it.

/// A field's box: its fill, the ring of the focus, what was refused, and the diamond at its right.
class FieldBox : public QWidget {
public:
    static constexpr int fieldHeight = 24, padding = 8;

    enum class HasDiamond { no, yes };

    FieldBox(const QString& name, HasDiamond hasDiamond, QWidget* parent);

    /// While a field with a diamond has the keyboard, Ctrl+K is a click on it.
    void showDiamond(Inspector::Diamond diamond, const QString& help);
    std::function<void()> diamondClicked{};

protected:
    /// A text within the box that draws no box of its own.
    QLineEdit* addEdit(const QString& name);
    void flashRefusal();
    QRect diamondRect() const;
    bool isTyping() const;
    /// @name The columns in the field. They are narrower where the field is.
    /// @{
    bool isNarrow() const { return width() < 80; }
    int letterColumn() const { return isNarrow() ? 22 : 24; }
    int diamondCell() const { return isNarrow() ? 18 : 20; }
    /// @}

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    bool clickDiamondByKey(QEvent& event);

    bool hasDiamond_;
    bool refused_ = false;
    Inspector::Diamond diamond_ = Inspector::Diamond::none;
    QTimer refusal_;
};

/// What a number's field does to the scene.
struct NumberSteps {
    std::function<bool(double)> typed; ///< Whether it was taken.
    NumericFieldUndoGate gate{};
    std::function<void()> scrubBegin{};
    std::function<void(double)> scrub{};
    std::function<void()> scrubEnd{};
};

/// A number that can be typed, stepped with the arrow keys and scrubbed.
class NumberField final : public FieldBox {
public:
    struct Look {
        QString name;
        QString letter{}; ///< Scrubs, in a column of its own.
        QString suffix{};
        int decimals = -1; ///< As many as needed if below 0.
        double step = 1;
        HasDiamond hasDiamond = HasDiamond::no;
    };

    NumberField(Look look, NumberSteps steps, QWidget* parent);

    /// Nothing for values that differ.
    void showValue(std::optional<double> value);

    /// As an arrow key does it: `direction` steps up, or down below 0.
    void arrowStep(int direction, Qt::KeyboardModifiers modifiers);

    /// The field that has the keyboard, if any has.
    static NumberField* focused();

    /// @name A drag of the letter, or of a row's label. Points from the press, to the right.
    /// @{
    void beginScrub();
    void scrubTo(double way, Qt::KeyboardModifiers modifiers);
    void endScrub();
    /// @}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QString shownText() const;
    void typed(const QString& text);
    void stepBy(double steps);
    void finish();
    void place();
    bool keyPressed(int key, Qt::KeyboardModifiers modifiers);

    Look look_;
    NumberSteps steps_;
    QLineEdit* edit_ = nullptr;
    std::optional<double> value_ = 0;
    bool isRefused_ = false;
    bool isScrubbing_ = false;
    double scrubbed_ = 0;
    double scrubWay_ = 0;
    std::optional<QPoint> pressedAt_;
};

/// A colour: its swatch, which opens a dialog, its hexadecimal digits and its opacity.
class ColorField final : public FieldBox {
public:
    struct Steps {
        std::function<void(const QColor&)> typed;  ///< One change of its own.
        std::function<void()> opened;              ///< A stream of changes begins.
        std::function<void(const QColor&)> chosen; ///< One of them.
        std::function<void()> cancelled;           ///< All of them are to be taken back. `closed` follows.
        std::function<void()> closed;              ///< The stream has ended.
    };

    ColorField(const QString& name, HasDiamond hasDiamond, Steps steps, QWidget* parent);

    void showColor(std::optional<QColor> color);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QRect swatchRect() const;
    void openDialog();
    void finishHex();
    void finishAlpha();
    void showTexts();

    Steps steps_;
    QLineEdit* hex_ = nullptr;
    QLineEdit* alpha_ = nullptr;
    std::optional<QColor> color_ = Qt::black;
};

/// Draws a diamond of the inspector around a point.
void paintFieldDiamond(QPainter& painter, QPointF middle, Inspector::Diamond diamond);

} // namespace larkspool
