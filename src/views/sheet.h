#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

namespace larkspool {

/// A question or a message over a window: it dims the whole of it and takes all of its input, and shows a card in its middle.
///
/// The keyboard goes round the card's fields. Return confirms and Escape cancels, unless the field that has the keyboard takes
/// the key. It fades in and out where motion is full; keys and clicks do not wait for that.
class Sheet : public QWidget {
public:
    /// Over `window`, which owns it. `name` is for those who cannot see it; the card is `width` pixels wide.
    Sheet(QWidget& window, const QString& name, int width);

    /// What a person can be asked with goes here. It is as high as its layout asks.
    QWidget* card() { return card_; }

    /// Shows the sheet with the keyboard in `first`.
    void present(QWidget* first);

    /// Takes the sheet away, and the keyboard back to where it was. The sheet is destroyed soon after.
    void dismiss();

    /// @name What the keys do. Either may be absent.
    /// @{
    std::function<void()> onConfirm;
    std::function<void()> onCancel;
    /// @}

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void place();
    void fadeIn();
    void fadeOut();

    QWidget* card_;
    QPointer<QWidget> before_; ///< What had the keyboard.
    double strength_ = 1;      ///< 0...1, of what it paints while it fades in.
};

} // namespace larkspool
