#include "views/export_progress_view.h"

#include "views/controls.h"
#include "views/icons.h"
#include "views/picture.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QProgressBar>

#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 536, padding = 24, dialogButton = 32, leastButtonWidth = 96;
constexpr QSize pictureSize(488, 274);
constexpr double pictureRadius = 6;
const char* const preparing = "Preparing…";
constexpr int barHeight = 6, badgeSide = 32, percentWidth = 72;

/// The frame as large as it is shown. Small text stays readable, as every pixel counts.
QImage scaled(const PixelBuffer& frame, double ratio)
{
    QImage image = seenInPlace(frame).scaled(pictureSize * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(ratio);
    return image;
}

/// The sign of a failure.
class Badge final : public QWidget {
public:
    explicit Badge(QWidget* parent) : QWidget(parent) { setFixedSize(badgeSide, badgeSide); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().dangerSoft);
        painter.drawEllipse(rect());
        const QPixmap sign = iconPixmap("warning", 16, theme().dangerText, devicePixelRatioF());
        painter.drawPixmap((badgeSide - 16) / 2, (badgeSide - 16) / 2, sign);
    }
};

} // namespace

/// The last frame that the export has told of, fitted between bars.
class ExportProgressSheet::LivePicture final : public QWidget {
public:
    explicit LivePicture(QWidget* parent) : QWidget(parent)
    {
        setFixedSize(pictureSize);
        setAttribute(Qt::WA_OpaquePaintEvent); // What lies below the sheet is not painted anew with every frame.
        setAccessibleName("Live picture");
    }

    void show(LiveFrame frame)
    {
        if (frame == frame_) return;
        frame_ = std::move(frame);
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        painter.fillRect(rect(), t.panel);
        QPainterPath corners;
        corners.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), pictureRadius, pictureRadius);
        painter.fillPath(corners, t.backdrop);
        if (frame_) {
            const QImage image = scaled(*frame_, devicePixelRatioF());
            const QSizeF size = image.deviceIndependentSize();
            painter.setClipPath(corners);
            painter.drawImage(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), image);
            painter.setClipping(false);
        }
        painter.setPen(t.hairlineStrong);
        painter.drawPath(corners);
    }

private:
    LiveFrame frame_;
};

class ExportProgressSheet::Bar final : public QProgressBar {
public:
    explicit Bar(QWidget* parent) : QProgressBar(parent)
    {
        setRange(0, 1000);
        setTextVisible(false);
        setFixedHeight(barHeight);
        setAccessibleName("Progress");
    }

protected:
    void paintEvent(QPaintEvent*) override
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
};

ExportProgressSheet::ExportProgressSheet(QWidget& window, Steps steps)
    : Sheet(window, "Export", sheetWidth), steps_(std::move(steps))
{
    auto* column = new QVBoxLayout(card());
    column->setContentsMargins(padding, 20, padding, 20);
    progress_ = buildProgress();
    failure_ = buildFailure();
    column->addWidget(progress_);
    column->addWidget(failure_);
    failure_->hide();
}

QWidget* ExportProgressSheet::buildProgress()
{
    auto* page = new QWidget(card());
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(label("Exporting MP4...", TextStyle::title, LabelTone::text, page));
    column->addSpacing(16);
    picture_ = new LivePicture(page);
    column->addWidget(picture_);
    column->addSpacing(20);

    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    bar_ = new Bar(page);
    row->addWidget(bar_, 1);
    percent_ = label(preparing, TextStyle::section, LabelTone::text, page);
    percent_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    percent_->setFixedWidth(percentWidth);
    row->addWidget(percent_);
    stop_ = wordButton("Stop", ButtonRole::plain, page, dialogButton);
    stop_->setVisible(steps_.onStop != nullptr);
    connect(stop_, &QPushButton::clicked, this, [this] { stop(); });
    row->addWidget(stop_);
    column->addLayout(row);
    return page;
}

QWidget* ExportProgressSheet::buildFailure()
{
    auto* page = new QWidget(card());
    auto* row = new QHBoxLayout(page);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(16);
    row->addWidget(new Badge(page), 0, Qt::AlignTop);
    auto* column = new QVBoxLayout;
    column->setSpacing(0);
    column->addWidget(label("Export failed", TextStyle::title, LabelTone::text, page));
    column->addSpacing(4);
    error_ = label("", TextStyle::body, LabelTone::secondary, page);
    error_->setWordWrap(true);
    column->addWidget(error_);
    column->addSpacing(16);
    dismiss_ = wordButton("OK", ButtonRole::primary, page, dialogButton);
    dismiss_->setMinimumWidth(leastButtonWidth);
    connect(dismiss_, &QPushButton::clicked, this, [this] { steps_.onDismiss(); });
    column->addWidget(dismiss_, 0, Qt::AlignRight);
    row->addLayout(column, 1);
    return page;
}

void ExportProgressSheet::show(const ExportRun::State& state)
{
    const bool hasFailed = state.exportError.has_value();
    const bool turns = !isVisible() || hasFailed == failure_->isHidden();
    if (hasFailed) {
        error_->setText(QString::fromStdString(*state.exportError));
    } else {
        const double part = state.exportProgress.value_or(0);
        bar_->setValue(static_cast<int>(std::floor(part * bar_->maximum())));
        // The encoder takes a while of pictures before it gives the first one back.
        percent_->setText(part > 0 ? QString("%1%").arg(static_cast<int>(std::floor(part * 100))) : QString(preparing));
        picture_->show(state.liveFrame);
    }
    if (!turns) return;

    progress_->setVisible(!hasFailed);
    failure_->setVisible(hasFailed);
    setAccessibleName(hasFailed ? "Export failed" : "Exporting MP4...");
    stop_->setEnabled(true);
    onConfirm = hasFailed ? steps_.onDismiss : nullptr;
    onCancel = hasFailed ? steps_.onDismiss : [this] { stop(); };
    present(hasFailed ? dismiss_ : stop_);
}

/// The export comes to its end as the exporter sees fit, which may take a moment.
void ExportProgressSheet::stop()
{
    if (!steps_.onStop) return;
    setFocus();
    stop_->setEnabled(false);
    steps_.onStop();
}

} // namespace larkspool
