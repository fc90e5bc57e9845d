#include "views/export_sheet_view.h"

#include "rendering/frame_composition.h"
#include "shell/film_summary.h"
#include "views/controls.h"
#include "views/form_controls.h"
#include "views/picture.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 456, padding = 24, labelColumn = 104, rowGap = 16, dialogButton = 32, leastButtonWidth = 96;
constexpr QSize pictureSize(112, 63);
constexpr double pictureRadius = 6;

const char* const sizeHelp = "Scales output dimensions. Smaller renders faster — useful for previewing motion / timing without "
                             "waiting for a full-res export.";

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

template <typename Choices, typename Matches>
int indexOf(const Choices& choices, Matches matches)
{
    const auto found = std::ranges::find_if(choices, matches);
    return found == std::end(choices) ? -1 : static_cast<int>(found - std::begin(choices));
}

/// A frame of the scene's middle, fitted between bars, with round corners.
QPixmap pictureOf(const TweenScene& scene, double ratio)
{
    QPixmap pixmap(pictureSize * ratio);
    pixmap.fill(Qt::transparent);
    pixmap.setDevicePixelRatio(ratio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath corners;
    corners.addRoundedRect(QRectF(QPointF(), pictureSize).adjusted(0.5, 0.5, -0.5, -0.5), pictureRadius, pictureRadius);
    painter.setClipPath(corners);
    painter.fillPath(corners, Qt::black);
    const CGSize size{pictureSize.width() * ratio, pictureSize.height() * ratio};
    if (const auto pixels = Exporter::renderSceneToImage(scene, scene.duration * 0.5, size))
        painter.drawImage(QRectF(QPointF(), pictureSize), seenInPlace(*pixels));
    painter.setClipping(false);
    painter.setPen(theme().hairlineStrong);
    painter.drawPath(corners);
    return pixmap;
}

} // namespace

ExportConfigSheet::ExportConfigSheet(QWidget& window, ExportSheetState initialState, TweenDocument document, Steps steps)
    : Sheet(window, "Export MP4", sheetWidth), state_(std::move(initialState)), document_(std::move(document)),
      steps_(std::move(steps))
{
    document_.scenes = state_.scenes;
    document_.activeSceneIndex = state_.activeIdx;
    onCancel = [this] { steps_.onCancel(); };
    onConfirm = [this] { steps_.onContinue(state_); };

    auto* column = new QVBoxLayout(card());
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    buildHead();
    column->addWidget(hairline(Qt::Horizontal, card()));
    buildForm();
    column->addWidget(hairline(Qt::Horizontal, card()));
    buildButtons();
    fill();
}

void ExportConfigSheet::present()
{
    Sheet::present(filename_);
    const qsizetype ending = state_.filename.ends_with(".mp4") ? 4 : 0;
    filename_->setSelection(0, static_cast<int>(filename_->text().size() - ending));
}

void ExportConfigSheet::buildHead()
{
    auto* head = new QHBoxLayout;
    head->setContentsMargins(padding, 20, padding, 20);
    head->setSpacing(16);
    picture_ = new QLabel(card());
    picture_->setFixedSize(pictureSize);
    head->addWidget(picture_);
    auto* facts = new QVBoxLayout;
    facts->setSpacing(0);
    measures_ = label("", TextStyle::body, LabelTone::secondary, card());
    format_ = label("", TextStyle::body, LabelTone::secondary, card());
    facts->addStretch(1);
    facts->addWidget(label("Export MP4", TextStyle::title, LabelTone::text, card()));
    facts->addSpacing(4);
    facts->addWidget(measures_);
    facts->addWidget(format_);
    facts->addStretch(1);
    head->addLayout(facts, 1);
    static_cast<QVBoxLayout*>(card()->layout())->addLayout(head);
}

void ExportConfigSheet::buildForm()
{
    form_ = new QWidget(card());
    auto* rows = new QVBoxLayout(form_);
    rows->setContentsMargins(padding, 20, padding, 20);
    rows->setSpacing(rowGap);
    card()->layout()->addWidget(form_);

    scenes_ = new ChoiceField("Scenes", form_);
    for (const ExportTargetChoice& choice : exportTargetChoices(state_.scenes))
        scenes_->addItem(QString::fromStdString(choice.label));
    addRow("Scenes", scenes_);

    auto* size = new QWidget(form_);
    auto* sizeColumn = new QVBoxLayout(size);
    sizeColumn->setContentsMargins(0, 0, 0, 0);
    sizeColumn->setSpacing(8);
    QStringList scales;
    for (const OutputScaleChoice& choice : outputScaleChoices) scales << words(choice.label);
    size_ = new SegmentedChoice("Size", scales, size);
    size_->setToolTip(sizeHelp);
    size_->setAccessibleDescription(sizeHelp);
    sizeColumn->addWidget(size_);
    sizeColumn->addWidget(paragraph(sizeHelp, TextStyle::caption, LabelTone::secondary, size));
    addRow("Size", size);

    blur_ = new ChoiceField("Motion Blur", form_);
    for (const MotionBlurChoice& choice : motionBlurChoices) blur_->addItem(words(choice.label));
    addRow("Motion Blur", blur_);

    audio_ = new Switch("Include Audio", form_);
    addRow("Include Audio", audio_, /*topOfLabel=*/4);
    filename_ = textField("Filename", form_);
    addRow("Filename", filename_);
}

void ExportConfigSheet::addRow(const QString& words, QWidget* field, int topOfLabel)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(field == audio_ ? 16 - Switch::ringRoom : 16);
    QLabel* name = label(words, TextStyle::body, LabelTone::secondary, form_);
    name->setFixedWidth(labelColumn);
    name->setContentsMargins(0, topOfLabel, 0, 0);
    row->addWidget(name, 0, Qt::AlignTop);
    if (field == audio_) {
        row->addWidget(field);
        row->addStretch(1);
    } else {
        row->addWidget(field, 1);
    }
    static_cast<QVBoxLayout*>(form_->layout())->addLayout(row);
}

void ExportConfigSheet::buildButtons()
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(padding, 16, padding, 16);
    row->setSpacing(8);
    row->addStretch(1);
    QPushButton* cancel = wordButton("Cancel", ButtonRole::plain, card(), dialogButton);
    QPushButton* confirm = wordButton("Export", ButtonRole::primary, card(), dialogButton);
    confirm->setMinimumWidth(leastButtonWidth);
    connect(cancel, &QPushButton::clicked, this, [this] { onCancel(); });
    connect(confirm, &QPushButton::clicked, this, [this] { onConfirm(); });
    row->addWidget(cancel);
    row->addWidget(confirm);
    static_cast<QVBoxLayout*>(card()->layout())->addLayout(row);
}

void ExportConfigSheet::fill()
{
    scenes_->setCurrentIndex(indexOf(exportTargetChoices(state_.scenes),
                                     [this](const ExportTargetChoice& choice) { return choice.target == state_.target; }));
    size_->choose(indexOf(outputScaleChoices, [this](const auto& choice) { return choice.scale == state_.outputScale; }));
    blur_->setCurrentIndex(
        indexOf(motionBlurChoices, [this](const auto& choice) { return choice.samples == state_.motionBlurSamples; }));
    audio_->setChecked(state_.includeAudio);
    filename_->setText(QString::fromStdString(state_.filename));
    showFilm();

    connect(scenes_, &QComboBox::activated, this, [this](int index) {
        chooseTarget(state_, exportTargetChoices(state_.scenes)[static_cast<std::size_t>(index)].target);
        filename_->setText(QString::fromStdString(state_.filename));
        showFilm();
    });
    size_->onChoice = [this](int index) {
        state_.outputScale = outputScaleChoices[static_cast<std::size_t>(index)].scale;
        showFilm();
    };
    connect(blur_, &QComboBox::activated, this,
            [this](int index) { state_.motionBlurSamples = motionBlurChoices[static_cast<std::size_t>(index)].samples; });
    connect(audio_, &QCheckBox::toggled, this, [this](bool isOn) {
        state_.includeAudio = isOn;
        showFilm();
    });
    connect(filename_, &QLineEdit::textEdited, this, [this](const QString& text) { state_.filename = text.toStdString(); });
}

/// Shows what the choices come to.
void ExportConfigSheet::showFilm()
{
    const FilmJob job = filmJob(document_, state_.choices());
    const std::optional<FilmSummary> film = filmSummary(job);
    measures_->setText(film ? QString("%1 × %2 · %3 fps · %4s")
                                  .arg(film->width)
                                  .arg(film->height)
                                  .arg(film->fps)
                                  .arg(film->seconds, 0, 'f', 2)
                            : "No film of this size can be written.");
    format_->setText(!film ? "" : film->hasSound ? "H.264 with sound" : "H.264 without sound");
    if (job.scenes.empty() || pictured_ == job.scenes.front().id) return;
    pictured_ = job.scenes.front().id;
    picture_->setPixmap(pictureOf(job.scenes.front(), devicePixelRatioF()));
}

} // namespace larkspool
