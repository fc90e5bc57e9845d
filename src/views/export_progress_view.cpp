#include "views/export_progress_view.h"

#include "views/controls.h"
#include "views/failure_note.h"
#include "views/film_picture.h"
#include "views/theme.h"

#include <QBoxLayout>

#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 536, padding = 24, dialogButton = 32, leastButtonWidth = 96;
constexpr QSize pictureSize(488, 274);
const char* const preparing = "Preparing…";
constexpr int percentWidth = 72;

} // namespace

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
    picture_ = new FilmPicture("Live picture", page);
    picture_->setFixedSize(pictureSize);
    column->addWidget(picture_);
    column->addSpacing(20);

    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    bar_ = new ThinProgressBar(page);
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
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(16);
    note_ = new FailureNote("Export failed", page);
    column->addWidget(note_);
    dismiss_ = wordButton("OK", ButtonRole::primary, page, dialogButton);
    dismiss_->setMinimumWidth(leastButtonWidth);
    connect(dismiss_, &QPushButton::clicked, this, [this] { steps_.onDismiss(); });
    column->addWidget(dismiss_, 0, Qt::AlignRight);
    return page;
}

void ExportProgressSheet::show(const ExportRun::State& state)
{
    const bool hasFailed = state.exportError.has_value();
    const bool turns = !isVisible() || hasFailed == failure_->isHidden();
    if (hasFailed) {
        note_->showReason(QString::fromStdString(*state.exportError));
    } else {
        const double part = state.exportProgress.value_or(0);
        bar_->showPart(part);
        // The encoder takes a while of pictures before it gives the first one back.
        percent_->setText(part > 0 ? QString("%1%").arg(static_cast<int>(std::floor(part * 100))) : QString(preparing));
        picture_->showFrame(state.liveFrame);
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
