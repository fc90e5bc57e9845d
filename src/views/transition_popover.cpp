#include "views/transition_popover.h"

#include "editing/number_input.h"
#include "shell/scene_strip.h"
#include "views/controls.h"
#include "views/icons.h"
#include "views/stepper_field.h"
#include "views/theme.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QScreen>
#include <QStyleOption>

#include <algorithm>

namespace larkspool {

namespace {

constexpr int popoverWidth = 208, rowHeight = 26, headHeight = 28, padding = 12, iconSide = 16, fieldWidth = 112, distance = 4;
constexpr double durationStep = 0.1; ///< Seconds.

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString durationText(const std::optional<SceneTransition>& transition)
{
    return transition ? QString::number(transition->duration, 'f', 2) : QString();
}

} // namespace

QString transitionIcon(std::optional<SceneTransition::Kind> kind)
{
    if (!kind) return "transition-none";
    switch (*kind) {
    case SceneTransition::Kind::fade: return "transition-fade";
    case SceneTransition::Kind::slideL: return "transition-slide-left";
    case SceneTransition::Kind::slideR: return "transition-slide-right";
    case SceneTransition::Kind::push: return "transition-push";
    case SceneTransition::Kind::zoom: return "transition-zoom";
    }
    return {};
}

/// One of the kinds. The arrows go from row to row, Space and Return choose.
class TransitionPopover::Row final : public QAbstractButton {
public:
    Row(std::optional<SceneTransition::Kind> rowKind, const QString& name, QWidget* parent)
        : QAbstractButton(parent), kind(rowKind)
    {
        setText(name);
        setAccessibleName(name);
        setCheckable(true);
        setFixedHeight(rowHeight);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
    }

    QSize sizeHint() const override { return {popoverWidth, rowHeight}; }

    const std::optional<SceneTransition::Kind> kind;

protected:
    void nextCheckState() override {} // The scene alone tells which one it has.

    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return click();
        QAbstractButton::keyPressEvent(event);
    }

    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF box = QRectF(rect()).adjusted(4, 1, -4, -1);
        if (underMouse() || hasFocus()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(hasFocus() ? t.selection : t.hover);
            painter.drawRoundedRect(box, 6, 6);
        }
        const double ratio = devicePixelRatioF();
        const int top = (height() - iconSide) / 2;
        painter.drawPixmap(padding, top, iconPixmap(transitionIcon(kind), iconSide, t.icon, ratio));
        painter.setFont(textFont(TextStyle::body));
        painter.setPen(t.text);
        painter.drawText(rect().adjusted(padding + iconSide + 8, 0, -padding - iconSide, 0), Qt::AlignVCenter | Qt::AlignLeft,
                         text());
        if (isChecked()) painter.drawPixmap(width() - padding - iconSide, top, iconPixmap("done", iconSide, t.accentText, ratio));
        QStyleOption option;
        option.initFrom(this);
        if (!hasFocus() || !(option.state & QStyle::State_KeyboardFocusChange)) return;
        painter.setPen(QPen(t.focusRing, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(box.adjusted(1, 1, -1, -1), 5, 5);
    }
};

TransitionPopover::TransitionPopover(QWidget* parent) : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_NoMouseReplay); // A press on the control that it came from closes it, and does no more.
    setAccessibleName(words(SceneStrip::transitionHeading));
    setFixedWidth(popoverWidth);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(1, 4, 1, 8);
    column->setSpacing(0);
    QLabel* head = label(words(SceneStrip::transitionHeading), TextStyle::section, LabelTone::text, this);
    head->setFixedHeight(headHeight);
    head->setContentsMargins(padding - 1, 0, padding, 0);
    column->addWidget(head);
    const auto add = [&](std::optional<SceneTransition::Kind> kind, std::string_view name) {
        auto* row = new Row(kind, words(name), this);
        connect(row, &QAbstractButton::clicked, this, [this, kind] {
            if (chooseKind) chooseKind(kind);
        });
        column->addWidget(row);
        rows_.push_back(row);
    };
    add(std::nullopt, SceneStrip::noneLabel);
    for (const auto& row : EnumTable<SceneTransition::Kind>::cases) add(row.value, row.label);
    column->addSpacing(4);
    column->addWidget(hairline(Qt::Horizontal, this));
    column->addSpacing(8);

    auto* line = new QHBoxLayout;
    line->setContentsMargins(padding - 1, 0, padding - 1, 0);
    line->addWidget(label(words(SceneStrip::durationLabel), TextStyle::body, LabelTone::secondary, this), 1);
    duration_ = new StepperField({.name = words(SceneStrip::durationLabel), .unit = "s", .height = 24}, this);
    duration_->setFixedWidth(fieldWidth);
    duration_->left = [this] { takeDuration(); };
    duration_->stepped = [this](int steps) { step(steps); };
    line->addWidget(duration_);
    column->addLayout(line);
}

TransitionPopover::~TransitionPopover()
{
    duration_->left = nullptr; // The field loses the keyboard while it goes.
}

void TransitionPopover::showTransition(const std::optional<SceneTransition>& transition)
{
    shown_ = transition;
    for (Row* row : rows_) row->setChecked(transition ? row->kind == transition->kind : !row->kind);
    duration_->showText(durationText(transition));
    duration_->setEnabled(transition.has_value());
    duration_->setHelp(transition ? "From 0.1 to 5 seconds." : "A duration needs a transition.");
}

void TransitionPopover::openAt(const QRect& control)
{
    adjustSize();
    const QRect room = parentWidget()->screen()->availableGeometry();
    const int below = control.bottom() + 1 + distance;
    const int y = below + height() <= room.bottom() ? below : control.top() - distance - height();
    const int rightmost = std::max(room.left(), room.right() + 1 - width());
    move(std::clamp(control.left(), room.left(), rightmost), std::max(y, room.top()));
    setAttribute(Qt::WA_KeyboardFocusChange, parentWidget()->window()->testAttribute(Qt::WA_KeyboardFocusChange));
    const auto current = std::ranges::find_if(rows_, [](const Row* row) { return row->isChecked(); });
    if (current != rows_.end()) (*current)->setFocus(Qt::PopupFocusReason);
    show();
}

void TransitionPopover::takeDuration()
{
    const QString typed = duration_->text();
    if (!shown_ || typed == durationText(shown_)) return;
    const std::optional<double> seconds = parsedNumber(typed.toStdString());
    duration_->showText(durationText(shown_));
    if (seconds && chooseDuration) chooseDuration(*seconds);
}

void TransitionPopover::step(int steps)
{
    takeDuration();
    if (shown_ && chooseDuration) chooseDuration(shown_->duration + steps * durationStep);
}

void TransitionPopover::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        duration_->showText(durationText(shown_));
        close();
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter: close(); return;
    default: QWidget::keyPressEvent(event);
    }
}

void TransitionPopover::closeEvent(QCloseEvent* event)
{
    takeDuration();
    QWidget::closeEvent(event);
}

void TransitionPopover::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), theme().raised);
    painter.setPen(theme().hairlineStrong);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawRoundedRect(QRectF(duration_->geometry()).adjusted(-0.5, -0.5, 0.5, 0.5), 4.5,
                            4.5); // Its grey is hardly another here.
}

} // namespace larkspool
