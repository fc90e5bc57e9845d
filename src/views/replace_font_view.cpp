#include "views/replace_font_view.h"

#include "canvas/layer_tree_operations.h"
#include "canvas/selected_layers.h"
#include "editing/scene_lookup.h"
#include "views/form_controls.h"
#include "views/theme.h"

#include <QFontDatabase>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int sampleHeight = 88, sampleSize = 22;

const char* const noFonts = "There is no text in this scene.";
const char* const noReplacement = "Choose the font that is to take its place.";
const char* const sameFont = "This is the font that is there already.";

QString fontTitle(const std::string& fontName)
{
    return fontName.empty() ? QString("System Font") : QString::fromStdString(fontName);
}

QFont sampleFont(const std::string& fontName)
{
    QFont font = textFont(TextStyle::body);
    if (!fontName.empty()) font.setFamily(QString::fromStdString(fontName));
    font.setPixelSize(sampleSize);
    return font;
}

QString layersText(std::size_t count)
{
    return count == 1 ? QString("1 layer") : QString("%1 layers").arg(count);
}

/// What the first text in the font says.
QString firstWords(const TweenScene& scene, const std::string& fontName)
{
    QString words;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (words.isEmpty() && layer.kind == Layer::Kind::text && layer.fontName.string() == fontName)
            words = QString::fromStdString(layer.text.string()).simplified();
    });
    return words.isEmpty() ? fontTitle(fontName) : words;
}

} // namespace

/// A text in the font as it is, and below it in the one that is to come.
class ReplaceFontSheetView::Sample final : public QWidget {
public:
    explicit Sample(QWidget* parent) : QWidget(parent)
    {
        setAccessibleName("Preview");
        setFixedHeight(sampleHeight);
    }

    void show(const QString& words, const std::string& before, const std::optional<std::string>& after)
    {
        words_ = words;
        before_ = before;
        after_ = after;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().backdrop);
        painter.drawRoundedRect(rect(), 6, 6);
        const QRect upper = rect().adjusted(16, 8, -16, -height() / 2), lower = rect().adjusted(16, height() / 2, -16, -8);
        paintLine(painter, upper, before_, theme().textSecondary);
        if (after_) paintLine(painter, lower, *after_, theme().text);
    }

private:
    void paintLine(QPainter& painter, const QRect& rect, const std::string& fontName, const QColor& color) const
    {
        painter.setFont(sampleFont(fontName));
        painter.setPen(color);
        painter.drawText(rect, Qt::AlignVCenter | Qt::AlignLeft,
                         painter.fontMetrics().elidedText(words_, Qt::ElideRight, rect.width()));
    }

    QString words_;
    std::string before_;
    std::optional<std::string> after_;
};

ReplaceFontSheetView::ReplaceFontSheetView(QWidget& window, Subject subject, Steps steps)
    : FormSheet(window, {"Replace Font", "Replace"}), subject_(std::move(subject)), fonts_(fontsInScene(subject_.scene))
{
    confirmed = [this, steps] {
        steps.apply(*font(), *replacement());
        steps.closed();
    };
    cancelled = [steps] { steps.closed(); };
    from_ = new ChoiceField("Font", body());
    to_ = new ChoiceField("Replace With", body());
    for (ChoiceField* field : {from_, to_}) {
        field->setMaxVisibleItems(16);
        connect(field, &QComboBox::currentIndexChanged, this, [this] { showOutcome(); });
    }
    fillFonts();
    fillReplacements();
    addRow("Font", from_);
    addRow("Replace With", to_);
    sample_ = new Sample(body());
    note_ = addWithWords(sample_);
    showOutcome();
}

void ReplaceFontSheetView::fillFonts()
{
    for (const std::string& name : fonts_) {
        const bool isMissing = !name.empty() && !QFontDatabase::hasFamily(QString::fromStdString(name));
        from_->addItem(fontTitle(name) + (isMissing ? " — not on this computer" : ""));
    }
    from_->setEnabled(!fonts_.empty());
    from_->setPlaceholderText(noFonts);
    if (fonts_.empty()) from_->setToolTip(noFonts);
    for (const Layer* layer : collectSelectedAnywhere(subject_.scene.layers, subject_.selection)) {
        if (layer->kind != Layer::Kind::text) continue;
        const auto at = std::ranges::find(fonts_, layer->fontName.string());
        return from_->setCurrentIndex(static_cast<int>(at - fonts_.begin()));
    }
}

void ReplaceFontSheetView::fillReplacements()
{
    replacements_ = {""};
    for (const QString& family : QFontDatabase::families()) replacements_.push_back(family.toStdString());
    for (const std::string& name : replacements_) to_->addItem(fontTitle(name));
    to_->setCurrentIndex(-1);
    to_->setPlaceholderText("Choose a font");
    to_->setEnabled(!fonts_.empty());
    if (fonts_.empty()) to_->setToolTip(noFonts);
}

std::optional<std::string> ReplaceFontSheetView::font() const
{
    const int index = from_->currentIndex();
    return index < 0 ? std::nullopt : std::optional(fonts_[static_cast<std::size_t>(index)]);
}

std::optional<std::string> ReplaceFontSheetView::replacement() const
{
    const int index = to_->currentIndex();
    return index < 0 ? std::nullopt : std::optional(replacements_[static_cast<std::size_t>(index)]);
}

void ReplaceFontSheetView::showOutcome()
{
    if (!sample_) return; // The lists are still being filled.
    const std::optional<std::string> before = font(), after = replacement();
    const char* obstacle = !before ? noFonts : !after ? noReplacement : *before == *after ? sameFont : "";
    showObstacle(obstacle);
    note_->setText(*obstacle ? QString(obstacle)
                             : QString("Changes %1 of this scene.").arg(layersText(countOfFontUsers(subject_.scene, *before))));
    sample_->show(before ? firstWords(subject_.scene, *before) : QString(), before.value_or(""), after);
}

void ReplaceFontSheetView::present()
{
    Sheet::present(from_->isEnabled() ? static_cast<QWidget*>(from_) : this);
}

} // namespace larkspool
