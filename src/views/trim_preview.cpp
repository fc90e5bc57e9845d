#include "views/trim_preview.h"

#include "platform/image_generator.h"
#include "views/picture.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QPainter>
#include <QPainterPath>

#include <memory>
#include <utility>

namespace larkspool {

namespace {

constexpr int pictureWidth = 160, pictureHeight = 90, padding = 4, wordsHeight = 18, aboveEdge = 6;

QString seconds(double time)
{
    return QString::number(time, 'f', 2) + "s";
}

} // namespace

TrimPreview::TrimPreview(QWidget* parent) : QWidget(parent)
{
    hide();
    setAttribute(Qt::WA_TransparentForMouseEvents);
    resize(pictureWidth + 2 * padding, pictureHeight + wordsHeight + 2 * padding);
}

TrimPreview::~TrimPreview()
{
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    changed_.notify_one();
    if (worker_.joinable()) worker_.join();
}

void TrimPreview::show(const VideoTrimOverlayState& state, QPoint edge)
{
    if (state.videoPath != state_.videoPath) picture_ = {};
    state_ = state;
    wish({state.videoPath, state.srcSeconds, devicePixelRatioF()});
    move(edge.x() - width() / 2, edge.y() - aboveEdge - height());
    QWidget::show();
    raise();
    update();
}

void TrimPreview::end()
{
    if (!isVisible()) return;
    hide();
    picture_ = {};
    state_ = {};
    wish({});
}

void TrimPreview::wish(Wish wish)
{
    {
        const std::lock_guard lock(mutex_);
        wish_ = std::move(wish);
    }
    if (!worker_.joinable()) worker_ = std::thread([this] { work(); });
    changed_.notify_one();
}

void TrimPreview::work()
{
    std::unique_ptr<ImageGenerator> film;
    std::string path;
    for (;;) {
        Wish next;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return isOver_ || wish_; });
            if (isOver_) return;
            next = *std::exchange(wish_, std::nullopt);
        }
        if (next.path != std::exchange(path, next.path)) film.reset();
        if (path.empty()) continue;
        if (!film)
            film = std::make_unique<ImageGenerator>(path, ImageGenerator::Settings{.appliesPreferredTrackTransform = true});
        const ImageRef image = film->copyImage(next.seconds);
        if (!image) continue;
        const QSize room = QSize(pictureWidth, pictureHeight) * next.pixelRatio;
        QImage picture = asQImage(*image).scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        picture.setDevicePixelRatio(next.pixelRatio);
        QMetaObject::invokeMethod(
            this,
            [this, picture = std::move(picture), path] {
                if (path != state_.videoPath) return;
                picture_ = picture;
                update();
            },
            Qt::QueuedConnection);
    }
}

void TrimPreview::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(t.hairlineStrong);
    painter.setBrush(t.raised);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    const QRectF room(padding, padding, pictureWidth, pictureHeight);
    painter.fillRect(room, t.backdrop);
    if (!picture_.isNull()) {
        const QSizeF size = picture_.deviceIndependentSize();
        painter.drawImage(QPointF(room.center().x() - size.width() / 2, room.center().y() - size.height() / 2), picture_);
    }
    painter.setFont(textFont(TextStyle::tick));
    painter.setPen(t.text);
    const QString total = state_.totalSrc > 0 ? " / " + seconds(state_.totalSrc) : QString();
    paintTabular(painter, QRectF(0, room.bottom(), width(), wordsHeight), Qt::AlignHCenter, seconds(state_.srcSeconds) + total);
}

} // namespace larkspool
