#include "views/media_notice.h"

#include "views/controls.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <chrono>

namespace larkspool {

namespace {

constexpr int mostWidth = 480, aboveEdge = 16, edge = 12, padding = 12;
constexpr double cornerRadius = 10;
constexpr std::chrono::milliseconds patience{300}, leastReading{6000}, readingOfALine{2500};

} // namespace

MediaNotice::MediaNotice(QWidget* over, std::function<void()> stop) : QWidget(over)
{
    setAttribute(Qt::WA_NoSystemBackground);
    setCursor(Qt::ArrowCursor);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding, 8, 8, 8);
    row->setSpacing(12);
    label_ = label("", TextStyle::body, LabelTone::text, this);
    row->addWidget(label_, 1);
    stop_ = wordButton("Stop", ButtonRole::plain, this, 24);
    connect(stop_, &QPushButton::clicked, this, std::move(stop));
    row->addWidget(stop_, 0, Qt::AlignTop);
    close_ = iconButton("close", "Dismiss", this, 24);
    connect(close_, &QToolButton::clicked, this, [this] { dismiss(); });
    row->addWidget(close_, 0, Qt::AlignTop);
    over->installEventFilter(this);
    hide();
    untilShown_.setSingleShot(true);
    untilRead_.setSingleShot(true);
    connect(&untilShown_, &QTimer::timeout, this, [this] { showNow(); });
    connect(&untilRead_, &QTimer::timeout, this, [this] { dismiss(); });
}

void MediaNotice::tell(const std::string& words)
{
    words_ = QString::fromStdString(words);
    untilRead_.start(std::max(leastReading, readingOfALine * static_cast<int>(words_.count('\n') + 1)));
    showNow();
}

void MediaNotice::showProgress(const std::optional<MediaFlow::Progress>& progress)
{
    if (progress && !progress_) untilShown_.start(patience);
    progress_ = progress;
    if (!progress_) untilShown_.stop();
    showNow();
}

void MediaNotice::dismiss()
{
    untilRead_.stop();
    words_.clear();
    showNow();
}

void MediaNotice::showNow()
{
    const bool tells = !words_.isEmpty();
    const bool isSeen = tells || (progress_ && !untilShown_.isActive());
    if (!isSeen) return hide();
    label_->setText(tells ? words_ : QString("Reading files: %1 of %2").arg(progress_->done).arg(progress_->total));
    setAccessibleName(label_->text());
    stop_->setVisible(!tells);
    close_->setVisible(tells);
    place();
    show();
    raise();
}

void MediaNotice::place()
{
    const QWidget& view = *parentWidget();
    const int room = std::max(1, std::min(mostWidth, view.width() - 2 * edge));
    label_->setWordWrap(false);
    const int wide = std::min(room, layout()->sizeHint().width());
    label_->setWordWrap(true);
    const int high = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(wide) : layout()->sizeHint().height();
    setGeometry((view.width() - wide) / 2, view.height() - aboveEdge - high, wide, high);
}

bool MediaNotice::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && !isHidden()) place();
    return QWidget::eventFilter(watched, event);
}

void MediaNotice::mousePressEvent(QMouseEvent* event)
{
    event->accept(); // A press between the buttons is none on the canvas below.
}

void MediaNotice::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().hairlineStrong, 1));
    painter.setBrush(theme().overlay);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

} // namespace larkspool
