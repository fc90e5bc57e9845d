#include "views/film_picture.h"

#include "views/picture.h"
#include "views/theme.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr double pictureRadius = 6;
constexpr int barHeight = 6;

} // namespace

FilmPicture::FilmPicture(const QString& name, QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent); // What lies below the sheet is not painted anew with every frame.
    setAccessibleName(name);
}

void FilmPicture::showFrame(LiveFrame frame)
{
    if (frame == frame_) return;
    picture_ = frame ? seenInPlace(*frame) : QImage();
    frame_ = std::move(frame);
    update();
}

void FilmPicture::showPicture(QImage picture)
{
    picture_ = std::move(picture);
    frame_ = nullptr;
    update();
}

void FilmPicture::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.fillRect(rect(), t.panel);
    QPainterPath corners;
    corners.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), pictureRadius, pictureRadius);
    painter.fillPath(corners, t.backdrop);
    if (!picture_.isNull()) {
        // Scaled down well: small text stays readable, as every pixel counts.
        QImage image = picture_;
        const QSize fitted = picture_.size().scaled(room(), Qt::KeepAspectRatio);
        if (fitted != image.size()) image = image.scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (image.devicePixelRatio() != devicePixelRatioF()) image.setDevicePixelRatio(devicePixelRatioF());
        const QSizeF size = image.deviceIndependentSize();
        painter.setClipPath(corners);
        painter.drawImage(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), image);
        painter.setClipping(false);
    }
    painter.setPen(t.hairlineStrong);
    painter.drawPath(corners);
}

ThinProgressBar::ThinProgressBar(QWidget* parent) : QProgressBar(parent)
{
    setRange(0, 1000);
    setTextVisible(false);
    setFixedHeight(barHeight);
    setAccessibleName("Progress");
}

void ThinProgressBar::showPart(double part)
{
    setValue(static_cast<int>(std::floor(part * maximum())));
}

void ThinProgressBar::paintEvent(QPaintEvent*)
{
    const double part = static_cast<double>(value()) / maximum();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath track;
    track.addRoundedRect(rect(), barHeight / 2.0, barHeight / 2.0);
    painter.fillPath(track, theme().field);
    painter.setClipPath(track);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().accent);
    painter.drawRoundedRect(QRectF(0, 0, width() * part, height()), barHeight / 2.0, barHeight / 2.0);
}

} // namespace larkspool
