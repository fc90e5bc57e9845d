#include "views/move_items_view.h"

#include "editing/number_input.h"
#include "views/form_controls.h"
#include "views/stepper_field.h"
#include "views/theme.h"
#include "views/times_preview.h"

#include <QBoxLayout>

#include <algorithm>
#include <limits>
#include <utility>

namespace larkspool {

namespace {

constexpr double scaleStep = 0.05;
const char* const noSeconds = "Type a number of seconds, such as 0.5.";
const char* const noScale = "Type a number, such as 1.5.";

/// From the first start to the last end.
struct Range {
    double start = std::numeric_limits<double>::infinity(), end = -std::numeric_limits<double>::infinity();

    static Range of(const std::vector<RetimeRow>& rows)
    {
        Range range;
        for (const RetimeRow& row : rows) {
            range.start = std::min(range.start, row.start);
            range.end = std::max(range.end, row.start + row.duration.value_or(0));
        }
        return range;
    }
    QString words() const { return secondsText(start) + " – " + secondsText(end); }
};

QString itemsText(std::size_t count)
{
    return QString("%1 %2").arg(count).arg(count == 1 ? "item" : "items");
}

} // namespace

MovingSheet::MovingSheet(QWidget& window, const Words& words, double sceneDuration, std::vector<RetimeRow> before, Steps steps)
    : FormSheet(window, words), sceneDuration_(sceneDuration), before_(std::move(before)), steps_(std::move(steps))
{
    if (!before_.empty()) showFacts(itemsText(before_.size()) + " · " + Range::of(before_).words());
}

QWidget* MovingSheet::addRipple(SheetRipple& ripple, std::string_view help)
{
    auto* field = new ChoiceField("Ripple", body());
    for (const EnumCase<RetimeRipple>& choice : EnumTable<RetimeRipple>::cases) field->addItem(inWords(choice.label));
    field->setCurrentIndex(static_cast<int>(ripple.ripple()));
    field->setToolTip(inWords(help));
    field->setAccessibleDescription(inWords(help));
    connect(field, &QComboBox::activated, this, [this, &ripple](int index) {
        ripple.choose(EnumTable<RetimeRipple>::cases[index].value);
        steps_.changed();
    });
    return addRow("Ripple", field);
}

void MovingSheet::addPreview()
{
    preview_ = new TimesPreview(body());
    outcome_ = addWithWords(preview_);
}

void MovingSheet::showMoved(const std::vector<RetimeRow>& after)
{
    preview_->show(before_, after, sceneDuration_);
    const Range moved = Range::of(after);
    const bool isWithin = moved.start >= 0 && moved.end <= sceneDuration_;
    outcome_->setText(isWithin ? "Will be " + moved.words() : "Would be " + moved.words() + " · held within the scene");
}

void MovingSheet::showProblem(const QString& problem)
{
    outcome_->setText(problem);
    showObstacle(problem);
}

void MovingSheet::showMessage(std::string_view message)
{
    preview_->showWords(inWords(message));
    outcome_->clear();
    showObstacle(inWords(message));
}

MoveItemsSheetView::MoveItemsSheetView(QWidget& window, MoveItemsSheet sheet, double sceneDuration, Steps steps)
    : MovingSheet(window, {"Move Selection", "Move"}, sceneDuration, sheet.shiftedRows(), std::move(steps)),
      sheet_(std::move(sheet))
{
    endWith(sheet_);
    auto* mode = new SegmentedChoice("Mode", {"Delta", "Absolute"}, body());
    mode->choose(static_cast<int>(sheet_.mode));
    mode->onChoice = [this](int index) { chooseMode(static_cast<MoveItemsSheet::Mode>(index)); };
    addRow("Mode", mode);
    delta_ = addValue("Delta", deltaRow_);
    time_ = addValue("Time", timeRow_);
    rippleRow_ = addRipple(sheet_.ripple, MoveItemsSheet::rippleHelp);
    noteRow_ = addRow("", paragraph(inWords(MoveItemsSheet::absoluteNote), TextStyle::caption, LabelTone::secondary, body()));
    addPreview();
    showMode();
}

void MoveItemsSheetView::present()
{
    Sheet::present(&delta_->edit());
    delta_->edit().selectAll();
}

StepperField* MoveItemsSheetView::addValue(const QString& name, QWidget*& row)
{
    auto* field = new StepperField({.name = name, .unit = "s"}, body());
    field->setHelp("Arrow keys go on by a frame, with Shift by ten.");
    field->typed = [this, field](const QString& text) { type(*field, text); };
    field->stepped = [this](int steps) {
        sheet_.stepValue(steps * sheet_.step());
        showMode();
    };
    row = addRow(name, field);
    return field;
}

void MoveItemsSheetView::chooseMode(MoveItemsSheet::Mode mode)
{
    sheet_.mode = mode;
    showMode();
}

void MoveItemsSheetView::type(StepperField& field, const QString& text)
{
    const bool isNumber = sheet_.typeValue(text.toStdString());
    field.showRefused(!isNumber);
    showOutcome();
    if (!isNumber) showProblem(noSeconds);
}

/// Shows the fields of the mode, with their values.
void MoveItemsSheetView::showMode()
{
    const bool isDelta = sheet_.mode == MoveItemsSheet::Mode::delta;
    deltaRow_->setVisible(isDelta);
    timeRow_->setVisible(!isDelta);
    rippleRow_->setVisible(sheet_.showsRipple());
    noteRow_->setVisible(!sheet_.showsRipple());
    delta_->showText(QString::fromStdString(typedNumber(sheet_.deltaSeconds)));
    time_->showText(QString::fromStdString(typedNumber(sheet_.absoluteSeconds)));
    for (StepperField* field : {delta_, time_}) field->showRefused(false);
    showOutcome();
}

void MoveItemsSheetView::showOutcome()
{
    if (const auto message = sheet_.message()) return showMessage(*message);
    showObstacle({});
    showMoved(sheet_.shiftedRows());
}

DilateItemsSheetView::DilateItemsSheetView(QWidget& window, DilateItemsSheet sheet, double sceneDuration, Steps steps)
    : MovingSheet(window, {"Dilate Selection", "Dilate"}, sceneDuration, sheet.shiftedRows(), std::move(steps)),
      sheet_(std::move(sheet))
{
    endWith(sheet_);
    addScale();
    QStringList anchors;
    for (const EnumCase<DilateAnchor>& choice : EnumTable<DilateAnchor>::cases) anchors << inWords(choice.label);
    auto* anchor = new SegmentedChoice("Anchor", anchors, body());
    anchor->choose(static_cast<int>(sheet_.anchor()));
    anchor->setToolTip("What stays in place: the first start, the last end, or half way between.");
    anchor->onChoice = [this](int index) {
        sheet_.chooseAnchor(EnumTable<DilateAnchor>::cases[index].value);
        scale_->showText(QString::fromStdString(sheet_.scaleText()));
        scale_->showRefused(false);
        showOutcome();
    };
    addRow("Anchor", anchor);
    addRipple(sheet_.ripple, DilateItemsSheet::rippleHelp);
    addPreview();
    showOutcome();
}

void DilateItemsSheetView::present()
{
    Sheet::present(&scale_->edit());
    scale_->edit().selectAll();
}

void DilateItemsSheetView::addScale()
{
    auto* whole = new QWidget(body());
    auto* column = new QVBoxLayout(whole);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    scale_ = new StepperField({.name = "Scale", .unit = "×"}, whole);
    scale_->setHelp("Scales the spacing. Spans and clips keep their length.");
    scale_->showText(QString::fromStdString(sheet_.scaleText()));
    scale_->typed = [this](const QString& text) { type(text); };
    scale_->stepped = [this](int steps) {
        sheet_.setScale(sheet_.scale() + steps * scaleStep);
        scale_->showText(QString::fromStdString(sheet_.scaleText()));
        scale_->showRefused(false);
        showOutcome();
    };
    scale_->left = [this] {
        if (parsedNumber(scale_->text().toStdString())) scale_->showText(QString::fromStdString(sheet_.scaleText()));
    };
    range_ = label("", TextStyle::caption, LabelTone::secondary, whole);
    column->addWidget(scale_);
    column->addWidget(range_);
    addRow("Scale", whole);
}

void DilateItemsSheetView::type(const QString& text)
{
    const std::optional<double> scale = parsedNumber(text.toStdString());
    if (scale) sheet_.setScale(*scale);
    scale_->showRefused(!scale);
    showOutcome();
    if (!scale) showProblem(noScale);
}

void DilateItemsSheetView::showOutcome()
{
    range_->setText(QString("From %1 to %2 ×").arg(DilateItemsSheet::minScale, 0, 'f', 2).arg(sheet_.maxScale(), 0, 'f', 2));
    if (const auto message = sheet_.message()) return showMessage(*message);
    showObstacle({});
    showMoved(sheet_.shiftedRows());
}

} // namespace larkspool
