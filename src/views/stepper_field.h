#pragma once

#include <QWidget>

#include <functional>

class QLineEdit;
class QToolButton;

namespace larkspool {

/// A number that is typed or stepped, with its unit behind it. What the number means, and what may be typed, is the owner's.
class StepperField final : public QWidget {
public:
    struct Look {
        QString name; ///< For those who cannot see it.
        QString unit;
        int height = 28;
    };

    StepperField(const Look& look, QWidget* parent);

    QString text() const;
    /// Shows the text, unless it is there already.
    void showText(const QString& text);
    /// Whether what stands there is refused.
    void showRefused(bool isRefused);
    void setHelp(const QString& help);

    QLineEdit& edit() { return *edit_; }

    /// @name What a person does. Each may be absent.
    /// @{
    std::function<void(const QString& text)> typed;
    std::function<void(int steps)> stepped; ///< Ten with Shift.
    std::function<void()> left;             ///< The keyboard has gone on.
    /// @}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QToolButton* addButton(const QString& icon, const QString& name, int steps);
    void step(int steps, Qt::KeyboardModifiers modifiers);

    Look look_;
    QLineEdit* edit_;
    QToolButton* less_ = nullptr;
    QToolButton* more_ = nullptr;
    bool isRefused_ = false;
};

} // namespace larkspool
