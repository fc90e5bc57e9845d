#include "views/toast.h"

#include "views/theme.h"

#include <QEvent>
#include <QPainter>

#include <chrono>
#include <utility>

namespace larkspool {

namespace {

constexpr int toastHeight = 32, toastPadding = 16, aboveEdge = 16;
constexpr std::chrono::milliseconds askAgain{50};

} // namespace

Toast::Toast(QWidget* over, Message message) : QWidget(over), message_(std::move(message))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setVisible(false);
    over->installEventFilter(this);
    timer_.setInterval(askAgain);
    connect(&timer_, &QTimer::timeout, this, [this] { refresh(); });
}

void Toast::refresh()
{
    const std::optional<std::string> message = message_();
    setVisible(message.has_value());
    if (!message) return timer_.stop();
    const QString words = QString::fromStdString(*message);
    if (words != std::exchange(words_, words)) {
        setAccessibleName(words);
        place();
        update();
    }
    raise();
    if (!timer_.isActive()) timer_.start();
}

void Toast::place()
{
    const int wide = QFontMetrics(textFont(TextStyle::body)).horizontalAdvance(words_) + 2 * toastPadding;
    setGeometry((parentWidget()->width() - wide) / 2, parentWidget()->height() - aboveEdge - toastHeight, wide, toastHeight);
}

bool Toast::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize) place();
    return QWidget::eventFilter(watched, event);
}

void Toast::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme().hairlineStrong);
    painter.setBrush(theme().overlay);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), toastHeight / 2.0, toastHeight / 2.0);
    painter.setFont(textFont(TextStyle::body));
    painter.setPen(theme().text);
    painter.drawText(rect(), Qt::AlignCenter, words_);
}

} // namespace larkspool
