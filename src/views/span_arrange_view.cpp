#include "views/span_arrange_view.h"

#include "editing/number_input.h"
#include "views/form_controls.h"
#include "views/stepper_field.h"
#include "views/theme.h"
#include "views/times_preview.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace larkspool {

namespace {

/// What one step of an arrow key is worth, in seconds and of the curve.
constexpr double inputStep = 0.1;
const char* const noAmount = "Type the amount in seconds, such as 0.1.";

QString spansText(std::size_t count)
{
    return QString("%1 spans").arg(count);
}

/// From where to where the spans go, and what is remarkable about it.
QString outcome(const std::vector<ResolvedSpanRef>& spans, double sceneDuration)
{
    double start = std::numeric_limits<double>::infinity(), end = -start;
    for (const ResolvedSpanRef& ref : spans) {
        start = std::min(start, ref.span.start);
        end = std::max(end, ref.span.end);
    }
    QString words = "Will be " + secondsText(start) + " – " + secondsText(end);
    if (end > sceneDuration) words += " · goes past the end of the scene";
    return words;
}

} // namespace

DistributeSpansSheetView::DistributeSpansSheetView(QWidget& window, DistributeSpansSheet& sheet, SpansToArrange spans,
                                                   const Steps& steps)
    : FormSheet(window, {"Distribute Spans", "Distribute"}), sheet_(sheet), spans_(std::move(spans))
{
    confirmed = [this, steps] {
        steps.apply(sheet_.parsedGap());
        steps.closed();
    };
    cancelled = [this, steps, before = sheet] {
        sheet_ = before;
        steps.closed();
    };
    showFacts(spansText(spans_.resolved.size()));
    gap_ = new StepperField({.name = "Gap", .unit = "s"}, body());
    gap_->setHelp("From the end of each span to the start of the next. Below 0 counts as 0.");
    gap_->showText(QString::fromStdString(sheet_.distributeSpansGapInput));
    gap_->typed = [this](const QString& text) {
        sheet_.distributeSpansGapInput = text.toStdString();
        showOutcome();
    };
    gap_->stepped = [this](int count) {
        sheet_.bumpGap(count * inputStep);
        gap_->showText(QString::fromStdString(sheet_.distributeSpansGapInput));
        showOutcome();
    };
    addRow("Gap", gap_);
    preview_ = new SpansArrangePreview(body());
    note_ = addWithWords(preview_);
    showOutcome();
}

void DistributeSpansSheetView::present()
{
    Sheet::present(&gap_->edit());
    gap_->edit().selectAll();
}

void DistributeSpansSheetView::showOutcome()
{
    const std::vector<ResolvedSpanRef> arranged = sheet_.preview(spans_.resolved);
    preview_->showSpans(spans_.scene, spans_.resolved, arranged);
    QString words = outcome(arranged, spans_.scene.duration);
    if (!parsedNumber(sheet_.distributeSpansGapInput)) words += " · no number counts as 0";
    note_->setText(words);
}

StaggerSpansSheetView::StaggerSpansSheetView(QWidget& window, StaggerSpansSheet& sheet, SpansToArrange spans, const Steps& steps)
    : FormSheet(window, {"Stagger Spans", "Stagger"}), sheet_(sheet), spans_(std::move(spans))
{
    confirmed = [this, steps] {
        if (sheet_.apply(steps.apply)) steps.closed();
    };
    cancelled = [this, steps, before = sheet] {
        sheet_ = before;
        steps.closed();
    };
    showFacts(spansText(spans_.resolved.size()));
    amount_ = addNumber("Amount", "s", "From the start of the first span to that of the second.", sheet_.staggerSpansAmountInput);
    addNumber("Curve", "", "0 for equal steps, above 0 for ever longer and below 0 for ever shorter ones.",
              sheet_.staggerSpansCurveInput);
    auto* order = new ChoiceField("Order", body());
    for (const EnumCase<StaggerOrder>& choice : EnumTable<StaggerOrder>::cases) order->addItem(inWords(choice.label));
    order->setCurrentIndex(static_cast<int>(sheet_.staggerSpansOrder));
    order->setToolTip("Which span goes first. A random order is another one each time.");
    connect(order, &QComboBox::activated, this, [this](int index) {
        sheet_.staggerSpansOrder = EnumTable<StaggerOrder>::cases[index].value;
        showOutcome();
    });
    addRow("Order", order);
    preview_ = new SpansArrangePreview(body());
    note_ = addWithWords(preview_);
    showOutcome();
}

StepperField* StaggerSpansSheetView::addNumber(const QString& name, const QString& unit, const QString& help, std::string& input)
{
    auto* field = new StepperField({.name = name, .unit = unit}, body());
    field->setHelp(help);
    field->showText(QString::fromStdString(input));
    field->typed = [this, &input](const QString& text) {
        input = text.toStdString();
        showOutcome();
    };
    field->stepped = [this, field, &input](int steps) {
        const double number = parsedNumber(input).value_or(0) + steps * inputStep;
        if (!std::isfinite(number)) return;
        input = typedNumber(number);
        field->showText(QString::fromStdString(input));
        showOutcome();
    };
    addRow(name, field);
    return field;
}

void StaggerSpansSheetView::present()
{
    Sheet::present(&amount_->edit());
    amount_->edit().selectAll();
}

void StaggerSpansSheetView::showOutcome()
{
    const bool hasAmount = sheet_.parsedAmount().has_value();
    amount_->showRefused(!hasAmount);
    showObstacle(hasAmount ? "" : noAmount);
    const std::vector<ResolvedSpanRef> arranged = sheet_.preview(spans_.scene, spans_.resolved);
    preview_->showSpans(spans_.scene, spans_.resolved, arranged);
    QString words = hasAmount ? outcome(arranged, spans_.scene.duration) : QString(noAmount);
    if (hasAmount && sheet_.staggerSpansOrder == StaggerOrder::random) words += " · the order is drawn anew";
    note_->setText(words);
}

} // namespace larkspool
