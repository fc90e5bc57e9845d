#pragma once

#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>
#include <string>

namespace larkspool {

/// A message that floats for a moment above the lower edge of a widget, one at a time. How long that is, the one who gives the
/// message decides.
class Toast final : public QWidget {
public:
    using Message = std::function<std::optional<std::string>()>;

    /// Floats over `over`. `message` gives what is to be said now, or nothing.
    Toast(QWidget* over, Message message);

    /// Asks for the message, and again until there is none.
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();

    Message message_;
    QString words_;
    QTimer timer_; ///< Runs while a message is shown.
};

} // namespace larkspool
