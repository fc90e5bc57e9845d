#include "views/form_controls.h"

#include "views/icons.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QKeyEvent>
#include <QPainter>
#include <QStyleOption>
#include <QWheelEvent>

namespace larkspool {

namespace {

constexpr double fieldRadius = 4, disabledOpacity = 0.5;
constexpr QSize switchSize(26, 16);
constexpr int knob = 12, knobInset = 2, textInset = 8, chevron = 16;

/// Whether the ring of the keyboard is to be drawn: not where the mouse brought it.
bool showsKeyboard(const QWidget& widget)
{
    QStyleOption option;
    option.initFrom(&widget);
    return widget.hasFocus() && (option.state & QStyle::State_KeyboardFocusChange);
}

void paintRing(QPainter& painter, const QRectF& rect, double radius, double width)
{
    painter.setPen(QPen(theme().focusRing, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(width / 2, width / 2, -width / 2, -width / 2), radius, radius);
}

/// Tab comes to `entry` alone of all buttons of the group.
void letTabEnter(const QButtonGroup& group, const QAbstractButton& entry)
{
    for (QAbstractButton* button : group.buttons()) button->setFocusPolicy(button == &entry ? Qt::StrongFocus : Qt::ClickFocus);
}

/// One of a row of choices.
class Segment final : public OneOfSeveral {
public:
    Segment(const QString& words, QWidget* parent) : OneOfSeveral(words, parent) { setFont(textFont(TextStyle::body)); }

    QSize sizeHint() const override
    {
        const int sign = sign_.isEmpty() ? 0 : signSide + signGap;
        return {sign + fontMetrics().horizontalAdvance(text()) + 2 * textInset, 24};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }
    void showSign(const QString& icon) { sign_ = icon; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (isChecked() || underMouse()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(isChecked() ? chosenFill() : t.fieldHover);
            painter.drawRoundedRect(rect(), fieldRadius, fieldRadius);
        }
        const QColor ink = isChecked() ? t.text : t.textSecondary;
        painter.setPen(ink);
        painter.setFont(font());
        if (sign_.isEmpty()) {
            painter.drawText(rect(), Qt::AlignCenter, text());
        } else {
            const int left = (width() - signSide - signGap - fontMetrics().horizontalAdvance(text())) / 2;
            painter.drawPixmap(left, (height() - signSide) / 2, iconPixmap(sign_, signSide, ink, devicePixelRatioF()));
            painter.drawText(rect().adjusted(left + signSide + signGap, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, text());
        }
        if (showsKeyboard(*this)) paintRing(painter, rect(), fieldRadius, 1.5);
    }

private:
    static constexpr int signSide = 14, signGap = 6;

    QString sign_; ///< The icon before the words.
};

} // namespace

Switch::Switch(const QString& name, QWidget* parent) : QCheckBox(parent)
{
    setAccessibleName(name);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
}

QSize Switch::sizeHint() const
{
    return switchSize + QSize(2 * ringRoom, 2 * ringRoom);
}

void Switch::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return event->ignore();
    QCheckBox::keyPressEvent(event);
}

void Switch::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(disabledOpacity);
    const QRectF track(QPointF(ringRoom, (height() - switchSize.height()) / 2.0), switchSize);
    const double radius = track.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(!isChecked() ? t.controlBorder : isDown() ? t.accentPressed : underMouse() ? t.accentHover : t.accent);
    painter.drawRoundedRect(track, radius, radius);
    painter.setBrush(t.textOnAccent);
    const double left = isChecked() ? track.right() - knobInset - knob : track.left() + knobInset;
    painter.drawEllipse(QRectF(left, track.top() + knobInset, knob, knob));
    if (showsKeyboard(*this)) paintRing(painter, track.adjusted(-ringRoom, -ringRoom, ringRoom, ringRoom), radius + ringRoom, 2);
}

OneOfSeveral::OneOfSeveral(const QString& words, QWidget* parent) : QRadioButton(words, parent)
{
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QRadioButton::toggled, this, [this](bool isOn) {
        if (isOn && group()) letTabEnter(*group(), *this);
    });
}

void OneOfSeveral::keyPressEvent(QKeyEvent* event)
{
    const bool isBack = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up;
    const bool isOn = event->key() == Qt::Key_Right || event->key() == Qt::Key_Down;
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return event->ignore();
    if (!group() || !(isBack || isOn)) return QRadioButton::keyPressEvent(event);
    const QList<QAbstractButton*> all = group()->buttons();
    const qsizetype to = all.indexOf(this) + (isBack ? -1 : 1);
    if (to < 0 || to >= all.size()) return;
    all[to]->setChecked(true);
    all[to]->setFocus(isBack ? Qt::BacktabFocusReason : Qt::TabFocusReason);
}

ChoiceField::ChoiceField(const QString& name, QWidget* parent, int height) : QComboBox(parent)
{
    setAccessibleName(name);
    setFixedHeight(height);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
}

void ChoiceField::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

void ChoiceField::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(disabledOpacity);
    painter.setPen(Qt::NoPen);
    painter.setBrush(underMouse() ? t.fieldHover : t.field);
    painter.drawRoundedRect(rect(), fieldRadius, fieldRadius);
    painter.setPen(currentIndex() < 0 ? t.textSecondary : t.text);
    painter.setFont(textFont(TextStyle::body));
    const QRect words = rect().adjusted(textInset, 0, -textInset - chevron, 0);
    painter.drawText(words, Qt::AlignVCenter | Qt::AlignLeft,
                     painter.fontMetrics().elidedText(currentIndex() < 0 ? placeholderText() : currentText(), Qt::ElideMiddle,
                                                       words.width()));
    painter.drawPixmap(width() - textInset / 2 - chevron, (height() - chevron) / 2,
                       iconPixmap("chevron-down", chevron, underMouse() ? t.text : t.icon, devicePixelRatioF()));
    if (showsKeyboard(*this)) paintRing(painter, rect(), fieldRadius, 1.5);
}

SegmentedChoice::SegmentedChoice(const QString& name, const QStringList& choices, QWidget* parent, int height)
    : QWidget(parent), group_(new QButtonGroup(this))
{
    setAccessibleName(name);
    setFixedHeight(height);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(2, 2, 2, 2);
    row->setSpacing(1);
    for (int i = 0; i < choices.size(); ++i) {
        auto* segment = new Segment(choices[i], this);
        segment->setAccessibleName(name + ": " + choices[i]);
        segment->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        group_->addButton(segment, i);
        row->addWidget(segment);
    }
    connect(group_, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
        if (isOn && onChoice) onChoice(index);
    });
    choose(-1);
}

int SegmentedChoice::chosen() const
{
    return group_->checkedId();
}

void SegmentedChoice::showSign(int index, const QString& icon)
{
    static_cast<Segment*>(group_->button(index))->showSign(icon);
}

void SegmentedChoice::choose(int index)
{
    const std::function<void(int)> onChoiceOfPerson = std::exchange(onChoice, nullptr);
    if (QAbstractButton* button = group_->button(index))
        button->setChecked(true);
    else
        letTabEnter(*group_, *group_->button(0));
    onChoice = onChoiceOfPerson;
}

void SegmentedChoice::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme().field);
    painter.drawRoundedRect(rect(), fieldRadius + 2, fieldRadius + 2);
}

QLabel* paragraph(const QString& words, TextStyle style, LabelTone tone, QWidget* parent)
{
    QLabel* result = label({}, style, tone, parent);
    result->setTextFormat(Qt::RichText);
    result->setWordWrap(true);
    const int lineHeight = result->font().pixelSize() + 5;
    result->setText(QString("<p style=\"line-height: %1px; margin: 0\">%2</p>").arg(lineHeight).arg(words.toHtmlEscaped()));
    return result;
}

QLineEdit* textField(const QString& name, QWidget* parent, int height)
{
    auto* field = new QLineEdit(parent);
    field->setAccessibleName(name);
    field->setFont(textFont(TextStyle::body));
    field->setFixedHeight(height);
    field->setTextMargins(6, 0, 6, 0);
    return field;
}

} // namespace larkspool
