#include "views/quick_render_sheet.h"

#include "views/controls.h"
#include "views/failure_note.h"
#include "views/form_controls.h"
#include "views/quick_render_video_view.h"
#include "views/theme.h"

#include <QBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr int padding = 24, dialogButton = 32, leastButtonWidth = 96;
/// What lies around the picture: the card's own, and the room that the window keeps at its edges.
constexpr int aroundPicture = 168, besideCard = 64, aboveCard = 64;
constexpr QSize leastPicture(488, 274), mostPicture(960, 540);
const char* const hint = "Space plays and pauses. Arrow keys step by a frame, with Shift by a second.";
const char* const unreadableWords = "The film could not be read. Close this, and render it again.";

} // namespace

QuickRenderSheet::QuickRenderSheet(QWidget& window, Steps steps)
    : Sheet(window, "Quick Render", leastPicture.width() + 2 * padding), steps_(std::move(steps))
{
    auto* column = new QVBoxLayout(card());
    column->setContentsMargins(padding, 20, padding, 20);
    column->setSpacing(0);
    column->addWidget(label("Quick Render", TextStyle::title, LabelTone::text, card()));
    column->addSpacing(16);
    video_ = new QuickRenderVideoView({.tasks = steps_.tasks,
                                       .loadSound = steps_.loadSound,
                                       .begun = [this] { video_->firstFocus()->setFocus(Qt::TabFocusReason); },
                                       .unreadable =
                                           [this] {
                                               tell(unreadableWords);
                                               close_->setFocus();
                                               steps_.unreadable();
                                           }},
                                      card());
    column->addWidget(video_);
    failure_ = new FailureNote("Render Failed", card());
    failure_->hide();
    column->addWidget(failure_);
    column->addSpacing(16);

    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    words_ = label("", TextStyle::body, LabelTone::secondary, card());
    row->addWidget(words_, 1);
    close_ = wordButton("Close", ButtonRole::plain, card(), dialogButton);
    close_->setMinimumWidth(leastButtonWidth);
    connect(close_, &QPushButton::clicked, this, [this] { steps_.onClose(); });
    row->addWidget(close_);
    column->addLayout(row);
    onCancel = [this] { steps_.onClose(); };
    fitCard();
}

void QuickRenderSheet::show(const QuickRenderState& state)
{
    const bool isNewPhase = std::exchange(phase_, state.phase.index()) != state.phase.index();
    if (const auto* rendering = std::get_if<QuickRenderState::Rendering>(&state.phase)) {
        video_->showRendering(rendering->progress, state.liveFrame);
        const int percent = static_cast<int>(std::floor(rendering->progress * 100));
        tell(QString("%1% — rendering at half size, no motion blur.").arg(percent));
        if (isNewPhase) present(close_);
        return;
    }
    if (!isNewPhase) return;
    onConfirm = steps_.onClose; // There is nothing more to lose.
    if (const auto* playing = std::get_if<QuickRenderState::Playing>(&state.phase)) {
        tell(hint);
        video_->play(playing->url);
        present(close_); // Until there is something to play.
    } else {
        showFailure(QString::fromStdString(std::get<QuickRenderState::Error>(state.phase).words));
        present(close_);
    }
}

void QuickRenderSheet::tell(const QString& words)
{
    words_->setText(words);
}

void QuickRenderSheet::showFailure(const QString& words)
{
    video_->hide();
    failure_->show();
    failure_->showReason(words);
    tell("");
    fitCard();
}

void QuickRenderSheet::fitCard()
{
    const QSize room = parentWidget()->size() - QSize(2 * (padding + besideCard), aroundPicture + 2 * aboveCard);
    const QSize size = mostPicture.scaled(room.expandedTo(leastPicture), Qt::KeepAspectRatio).boundedTo(mostPicture);
    const QSize picture = failure_->isHidden() ? size.expandedTo(leastPicture) : leastPicture;
    video_->setPictureSize(picture);
    card()->setFixedWidth(picture.width() + 2 * padding);
}

void QuickRenderSheet::resizeEvent(QResizeEvent* event)
{
    Sheet::resizeEvent(event);
    fitCard();
}

} // namespace larkspool
