#include "views/custom_size_view.h"

#include "editing/number_input.h"
#include "views/stepper_field.h"

#include <QLineEdit>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 360;
const char* const noSize = "There can be no canvas of this size. Type two numbers of pixels, such as 1920 and 1080.";

} // namespace

CustomSizeSheetView::CustomSizeSheetView(QWidget& window, CustomSizeSheet::OnFinish onFinish)
    : FormSheet(window, {inWords(CustomSizeSheet::title), "Create"}, sheetWidth)
{
    sheet_.onFinish = [this, onFinish = std::move(onFinish)](std::optional<double> width, std::optional<double> height) {
        dismiss();
        onFinish(width, height);
    };
    confirmed = [this] { (void)sheet_.create(); };
    cancelled = [this] { sheet_.cancel(); };
    width_ = addSide(CustomSizeSheet::Field::width, sheet_.widthText);
    addSide(CustomSizeSheet::Field::height, sheet_.heightText);
}

StepperField* CustomSizeSheetView::addSide(CustomSizeSheet::Field which, std::string& text)
{
    const QString name = inWords(CustomSizeSheet::fieldLabels[static_cast<std::size_t>(which)]);
    auto* field = new StepperField({.name = name, .unit = "px"}, body());
    field->showText(QString::fromStdString(text));
    field->typed = [this, &text](const QString& typed) {
        text = typed.toStdString();
        showOutcome();
    };
    field->stepped = [this, field, &text](int steps) {
        const std::optional<double> side = parsedNumber(text);
        if (!side) return;
        text = typedNumber(std::max(*side + steps, 1.0));
        field->showText(QString::fromStdString(text));
        showOutcome();
    };
    addRow(name, field);
    return field;
}

void CustomSizeSheetView::present()
{
    Sheet::present(&width_->edit());
    width_->edit().selectAll();
}

void CustomSizeSheetView::showOutcome()
{
    showObstacle(sheet_.size() ? "" : noSize);
}

} // namespace larkspool
