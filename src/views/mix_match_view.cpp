#include "views/mix_match_view.h"

#include "canvas/layer_upkeep.h"
#include "views/form_controls.h"
#include "views/icons.h"
#include "views/scene_preview.h"
#include "views/slider.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMouseEvent>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 656, leastPreview = 184, mostPreview = 300, columnGap = 16, switchRow = 24;
constexpr int besidePreview = 540; ///< Pixels of a window's height that the rest of the sheet takes, and what is around it.
constexpr int biasSteps = 1000; ///< Of the slider, from one end to the other.

const char* const biasHelp = "How much of what is dealt are the layers' own values, and how much values in between them.";
const char* const setHelp = "A layer takes all its values from the same other layer.";
const char* const poolHelp = "Texts to deal, with commas between. Without any, the layers' own are dealt.";
const char* const shuffleHelp = "Deals anew, at random.";

/// The headings of a column of the sheet.
constexpr std::array<std::array<std::string_view, 2>, 4> columns = {
    {{"Color & Stroke", ""}, {"Surface", "Size"}, {"Position", ""}, {"Text", ""}}};

QString layersText(std::size_t count)
{
    return QString("%1 layers").arg(count);
}

/// A word that turns a switch when it is clicked.
class SwitchWord final : public QLabel {
public:
    SwitchWord(const QString& words, Switch* turned, QWidget* parent) : QLabel(words, parent), turned_(turned)
    {
        setFont(textFont(TextStyle::body));
        turned->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == turned_ && event->type() == QEvent::EnabledChange) setEnabled(turned_->isEnabled());
        if (watched == turned_ && event->type() == QEvent::ToolTipChange) setToolTip(turned_->toolTip());
        return QLabel::eventFilter(watched, event);
    }
    void mouseReleaseEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton && rect().contains(event->pos())) turned_->click();
    }

private:
    Switch* turned_;
};

/// A switch with its name behind it.
Switch* addSwitch(const QString& name, QWidget* parent, QBoxLayout& rows)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    auto* turned = new Switch(name, parent);
    turned->setFixedSize(turned->sizeHint());
    auto* words = new SwitchWord(name, turned, parent);
    words->setFixedHeight(switchRow);
    row->addWidget(turned);
    row->addWidget(words, 1);
    rows.addLayout(row);
    return turned;
}

} // namespace

MixMatchSheetView::MixMatchSheetView(QWidget& window, UserDefaults& defaults, Subject subject, Steps steps)
    : FormSheet(window, {inWords(MixMatchSheet::title), "Apply"}, sheetWidth), subject_(std::move(subject))
{
    sheet_ = MixMatchSheet::opened(defaults, subject_.scene, subject_.selection);
    buildSheet(defaults, std::move(steps));
    showFacts(layersText(sheet_.selectionCount));
    QMargins margins = form().contentsMargins();
    margins.setLeft(margins.left() - Switch::ringRoom); // So that switches and fields stand below each other.
    form().setContentsMargins(margins);
    buildPreview();
    buildSections();
    buildBias();
    buildTexts();
    buildSet();
    connect(addButton("Select All"), &QPushButton::clicked, this, [this] {
        sheet_.selectAll();
        showCategories();
    });
    connect(addButton("None"), &QPushButton::clicked, this, [this] {
        sheet_.selectNone();
        showCategories();
    });
    showBias();
    showCategories();
}

void MixMatchSheetView::buildSheet(UserDefaults& defaults, Steps steps)
{
    sheet_.onCancel = steps.closed;
    sheet_.onApply = [this, &defaults, steps = std::move(steps)](const MixMatchSettings& settings) {
        sheet_.save(defaults);
        random_.restart();
        steps.apply(settings, random_);
        steps.closed();
    };
    confirmed = [this] { sheet_.onApply(sheet_.settings()); };
    cancelled = [this] { sheet_.onCancel(); };
}

void MixMatchSheetView::buildPreview()
{
    auto* whole = new QWidget(body());
    auto* around = new QVBoxLayout(whole);
    around->setContentsMargins(Switch::ringRoom, 0, 0, 0);
    preview_ = new ScenePreview({.scene = [this] { return outcome(); }, .playhead = subject_.playhead, .videos = subject_.videos},
                                whole);
    around->addWidget(preview_);
    addWide(whole);
    fitPreview();
}

void MixMatchSheetView::fitPreview()
{
    preview_->setFixedHeight(std::clamp(parentWidget()->height() - besidePreview, leastPreview, mostPreview));
}

void MixMatchSheetView::resizeEvent(QResizeEvent* event)
{
    FormSheet::resizeEvent(event);
    fitPreview();
}

TweenScene MixMatchSheetView::outcome()
{
    random_.restart();
    std::optional<Edit> edit = applyMixAndMatch(subject_.scene, subject_.selection, sheet_.settings(), random_);
    if (!edit) return subject_.scene;
    normalizeZoomLayers(edit->scene);
    refitTextLayers(edit->scene);
    return std::move(edit->scene);
}

void MixMatchSheetView::buildSections()
{
    auto* whole = new QWidget(body());
    auto* row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(columnGap);
    for (const auto& sections : columns) {
        auto* column = new QVBoxLayout;
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(0);
        for (const std::string_view section : sections)
            if (!section.empty()) addSection(whole, *column, section);
        column->addStretch(1);
        row->addLayout(column, 1);
    }
    addWide(whole);
}

void MixMatchSheetView::addSection(QWidget* parent, QVBoxLayout& column, std::string_view section)
{
    if (column.count() > 0) column.addSpacing(8);
    QLabel* heading = label(inWords(section), TextStyle::section, LabelTone::text, parent);
    heading->setFixedHeight(switchRow);
    heading->setContentsMargins(Switch::ringRoom, 0, 0, 0);
    column.addWidget(heading);
    for (const EnumCase<MixMatchCategory>& each : EnumTable<MixMatchCategory>::cases) {
        if (mixMatchSection(each.value) != section) continue;
        Switch* turned = addSwitch(inWords(each.label), parent, column);
        switches_.emplace_back(each.value, turned);
        connect(turned, &QCheckBox::clicked, this, [this, category = each.value] {
            sheet_.toggle(category);
            showCategories();
        });
    }
}

void MixMatchSheetView::buildBias()
{
    auto* whole = new QWidget(body());
    auto* column = new QVBoxLayout(whole);
    column->setContentsMargins(0, 2, 0, 0);
    column->setSpacing(2);
    bias_ = new Slider("Values", whole);
    bias_->setRange(0, biasSteps);
    bias_->setSingleStep(biasSteps / 100);
    bias_->setPageStep(biasSteps / 10);
    bias_->setValue(static_cast<int>(std::lround(sheet_.bias * biasSteps)));
    bias_->setToolTip(biasHelp);
    column->addWidget(bias_);
    auto* words = new QHBoxLayout;
    words->setContentsMargins(Slider::endInset - 6, 0, Slider::endInset - 6, 0);
    for (const std::string_view text : MixMatchSheet::biasLabels) {
        QLabel* one = label(inWords(text), TextStyle::caption, LabelTone::secondary, whole);
        if (!biasLabels_.empty()) words->addStretch(1);
        words->addWidget(one);
        biasLabels_.push_back(one);
    }
    column->addLayout(words);
    connect(bias_, &QSlider::valueChanged, this, [this](int value) {
        sheet_.bias = static_cast<double>(value) / biasSteps;
        showBias();
        showOutcome();
    });
    addRow("Values", whole)->setContentsMargins(Switch::ringRoom, 0, 0, 0);
}

void MixMatchSheetView::buildTexts()
{
    QLineEdit* pool = textField("Texts", body());
    pool->setPlaceholderText("The layers' own texts");
    pool->setToolTip(poolHelp);
    pool->setAccessibleDescription(poolHelp);
    connect(pool, &QLineEdit::textEdited, this, [this](const QString& text) {
        sheet_.textPool = text.toStdString();
        showOutcome();
    });
    texts_ = addRow("Texts", pool);
    texts_->setContentsMargins(Switch::ringRoom, 0, 0, 0);
}

void MixMatchSheetView::buildSet()
{
    auto* whole = new QWidget(body());
    auto* row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    Switch* asSet = addSwitch("Distribute as one set", whole, *row);
    asSet->setChecked(sheet_.distributeAsSet);
    asSet->setToolTip(setHelp);
    asSet->setAccessibleDescription(setHelp);
    connect(asSet, &QCheckBox::toggled, this, [this](bool isOn) {
        sheet_.distributeAsSet = isOn;
        showOutcome();
    });
    QPushButton* shuffle = wordButton("Shuffle", ButtonRole::plain, whole);
    shuffle->setIcon(buttonIcon("mix-match"));
    shuffle->setToolTip(shuffleHelp);
    connect(shuffle, &QPushButton::clicked, this, [this] {
        random_.renew();
        showOutcome();
    });
    row->addWidget(shuffle);
    addRow("Deal", whole)->setContentsMargins(Switch::ringRoom, 0, 0, 0);
}

void MixMatchSheetView::showBias()
{
    const double last = static_cast<double>(biasLabels_.size() - 1);
    const auto nearest = static_cast<std::size_t>(std::lround(sheet_.bias * last));
    for (std::size_t i = 0; i < biasLabels_.size(); ++i) {
        QPalette colors = biasLabels_[i]->palette();
        colors.setColor(QPalette::WindowText, i == nearest ? theme().text : theme().textSecondary);
        biasLabels_[i]->setPalette(colors);
    }
    bias_->setAccessibleDescription(inWords(MixMatchSheet::biasLabels[nearest]) + ". " + biasHelp);
}

void MixMatchSheetView::showCategories()
{
    for (const auto& [category, turned] : switches_) {
        const bool isOffered = sheet_.offers(category);
        turned->setChecked(sheet_.selected.contains(category));
        turned->setEnabled(isOffered);
        turned->setToolTip(isOffered ? "" : inWords(MixMatchSheet::noTexts));
        turned->setAccessibleDescription(turned->toolTip());
    }
    texts_->setVisible(sheet_.showsTextPool());
    showObstacle(inWords(sheet_.obstacle()));
    showOutcome();
}

void MixMatchSheetView::showOutcome()
{
    preview_->changed();
}

void MixMatchSheetView::present()
{
    Sheet::present(switches_.front().second);
}

} // namespace larkspool
