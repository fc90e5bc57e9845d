#include "views/inspector_choices.h"

#include "views/controls.h"
#include "views/icons.h"
#include "views/theme.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr double segmentMargin = 2, segmentGap = 4.5, iconSide = 16;
constexpr int cellWidth = 20;
constexpr int easingCards = 4, easingGap = 6, easingHeight = 56;

} // namespace

SwitchButton::SwitchButton(const QString& name, QWidget* parent) : QAbstractButton(parent)
{
    setCheckable(true);
    setFixedSize(sizeHint());
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(name);
}

void SwitchButton::showState(std::optional<bool> isOn)
{
    setChecked(isOn.value_or(false));
    if (std::exchange(isMixed_, !isOn) == isMixed_) return;
    setAccessibleDescription(isMixed_ ? words(Inspector::mixedText) : QString());
    update();
}

void SwitchButton::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1 : 0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? (underMouse() ? t.accentHover : t.accent) : t.controlBorder);
    painter.drawRoundedRect(rect(), 8, 8);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(isMixed_ ? 7 : isChecked() ? 12 : 2, 2, 12, 12));
    if (!hasFocus()) return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(t.focusRing, 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 7.25, 7.25);
}

Segments::Segments(const QString& name, std::vector<Choice> choices, QWidget* parent)
    : QWidget(parent), choices_(std::move(choices))
{
    setFixedHeight(FieldBox::fieldHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(name);
    setAccessibleDescription(words(Inspector::mixedText));
}

void Segments::showChosen(std::optional<std::size_t> index)
{
    if (index_ == index) return;
    index_ = index;
    setAccessibleDescription(index ? choices_[*index].words : words(Inspector::mixedText));
    update();
}

double Segments::wordsWidth(TextStyle style) const
{
    const QFontMetricsF metrics(textFont(style));
    double sum = 0;
    for (const Choice& choice : choices_) sum += choice.icon.isEmpty() ? metrics.horizontalAdvance(choice.words) : iconSide;
    return sum;
}

/// Smaller where the words would come too near to each other.
TextStyle Segments::wordStyle() const
{
    const double room = width() - 2 * segmentMargin - segmentGap * static_cast<double>(choices_.size());
    for (const TextStyle style : {TextStyle::body, TextStyle::caption})
        if (wordsWidth(style) <= room) return style;
    return TextStyle::tick;
}

/// Whether the words stand so near to each other that lines have to part them.
bool Segments::isTight() const
{
    return wordStyle() == TextStyle::tick;
}

QRectF Segments::segmentRect(std::size_t index) const
{
    // Each is as wide as its words ask for, and what is left is shared evenly.
    const TextStyle style = wordStyle();
    const QFontMetricsF metrics(textFont(style));
    const double extra = (width() - 2 * segmentMargin - wordsWidth(style)) / static_cast<double>(choices_.size());
    const auto widthOf = [&](const Choice& choice) {
        return extra + (choice.icon.isEmpty() ? metrics.horizontalAdvance(choice.words) : iconSide);
    };
    double left = segmentMargin;
    for (std::size_t i = 0; i < index; ++i) left += widthOf(choices_[i]);
    return {left, segmentMargin, widthOf(choices_[index]), height() - 2 * segmentMargin};
}

std::size_t Segments::indexAt(QPoint position) const
{
    for (std::size_t i = 0; i + 1 < choices_.size(); ++i)
        if (position.x() < segmentRect(i).right()) return i;
    return choices_.size() - 1;
}

bool Segments::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        QToolTip::showText(help->globalPos(), choices_[indexAt(help->pos())].words, this);
        return true;
    }
    return QWidget::event(event);
}

void Segments::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(t.field);
    painter.drawRoundedRect(rect(), 4, 4);
    painter.setFont(textFont(wordStyle()));
    for (std::size_t i = 0; i < choices_.size(); ++i) paintSegment(painter, i);
    if (!hasFocus()) return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(t.focusRing, 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
}

void Segments::paintSegment(QPainter& painter, std::size_t index) const
{
    const Theme& t = theme();
    const Choice& choice = choices_[index];
    const QRectF segment = segmentRect(index);
    const bool isChosen = index_ == index;
    if (isChosen) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(chosenFill());
        painter.drawRoundedRect(segment, 3, 3);
    } else if (isTight() && index > 0 && index_ != index - 1) {
        painter.fillRect(QRectF(std::round(segment.left() - 0.5), 7, 1, height() - 14), t.hairlineStrong);
    }
    const QColor ink = isChosen ? t.text : t.textSecondary;
    painter.setPen(ink);
    if (choice.icon.isEmpty())
        painter.drawText(segment, Qt::AlignCenter, choice.words);
    else
        painter.drawPixmap(segment.center() - QPointF(8, 8), iconPixmap(choice.icon, 16, ink, devicePixelRatioF()));
}

void Segments::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && chosen) chosen(indexAt(event->pos()));
}

void Segments::keyPressEvent(QKeyEvent* event)
{
    const int way = event->key() == Qt::Key_Right ? 1 : event->key() == Qt::Key_Left ? -1 : 0;
    if (way == 0 || !chosen) return QWidget::keyPressEvent(event);
    const int last = static_cast<int>(choices_.size()) - 1;
    chosen(static_cast<std::size_t>(std::clamp(static_cast<int>(index_.value_or(0)) + way, 0, last)));
}

void Segments::focusInEvent(QFocusEvent*)
{
    update();
}

void Segments::focusOutEvent(QFocusEvent*)
{
    update();
}

MenuField::MenuField(const QString& name, HasDiamond hasDiamond, QWidget* parent) : FieldBox(name, hasDiamond, parent)
{
    setFocusPolicy(Qt::TabFocus);
}

void MenuField::showWords(const QString& words)
{
    if (words == words_) return;
    words_ = words;
    setAccessibleDescription(words);
    update();
}

void MenuField::paintEvent(QPaintEvent* event)
{
    FieldBox::paintEvent(event);
    QPainter painter(this);
    painter.setFont(textFont(TextStyle::body));
    painter.setPen(theme().text);
    const int right = diamondRect().isNull() ? 0 : diamondCell();
    const QRect words = rect().adjusted(padding, 0, -right - 20, 0);
    painter.drawText(words, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(words_, Qt::ElideRight, words.width()));
    painter.drawPixmap(width() - right - 18, 6, iconPixmap("chevron-down", 12, theme().textSecondary, devicePixelRatioF()));
    if (!hasFocus()) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().focusRing, 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
}

void MenuField::mousePressEvent(QMouseEvent* event)
{
    if (diamondRect().contains(event->pos())) return FieldBox::mousePressEvent(event);
    if (event->button() == Qt::LeftButton) open();
}

void MenuField::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Down || event->key() == Qt::Key_Space) return open();
    FieldBox::keyPressEvent(event);
}

void MenuField::focusInEvent(QFocusEvent*)
{
    update();
}

void MenuField::focusOutEvent(QFocusEvent*)
{
    update();
}

void MenuField::open()
{
    if (!fill) return;
    auto* menu = new QMenu(window());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setMinimumWidth(width());
    fill(*menu);
    for (QAction* choice : menu->actions()) {
        if (choice->text() != words_) continue;
        choice->setCheckable(true);
        choice->setChecked(true);
    }
    menu->popup(mapToGlobal(QPoint(0, fieldHeight + 2)));
}

DiamondButton::DiamondButton(const QString& name, QWidget* parent) : QAbstractButton(parent)
{
    setFixedSize(cellWidth, FieldBox::fieldHeight);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(name);
}

void DiamondButton::showDiamond(Inspector::Diamond diamond, const QString& help)
{
    if (toolTip() != help) setToolTip(help);
    if (std::exchange(diamond_, diamond) != diamond) update();
}

void DiamondButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintFieldDiamond(painter, QRectF(rect()).center(), diamond_);
    if (!hasFocus()) return;
    painter.setPen(QPen(theme().focusRing, 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
}

EasingPicker::EasingPicker(QWidget* parent) : QWidget(parent)
{
    setFixedHeight(easingHeight);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName("Easing");
}

void EasingPicker::showChosen(std::optional<EasingPreset> preset)
{
    if (std::exchange(preset_, preset) == preset) return;
    setAccessibleDescription(preset ? QString::fromUtf8(label(*preset).data()) : QString());
    update();
}

QRectF EasingPicker::cardRect(int index) const
{
    const double wide = (width() - easingGap * (easingCards - 1)) / static_cast<double>(easingCards);
    return {index * (wide + easingGap), 0, wide, height() - 0.0};
}

void EasingPicker::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(textFont(TextStyle::tick));
    for (int i = 0; i < easingCards; ++i) {
        const EasingPreset preset = static_cast<EasingPreset>(i);
        const bool isChosen = preset_ == preset;
        const QRectF card = cardRect(i).adjusted(0.75, 0.75, -0.75, -0.75);
        painter.setPen(isChosen ? QPen(hasFocus() ? t.focusRing : t.accent, 1.5) : QPen(Qt::NoPen));
        painter.setBrush(isChosen ? t.accentSoft : t.field);
        painter.drawRoundedRect(card, 6, 6);
        const QColor ink = isChosen ? t.accentText : t.icon;
        const Easing easing = easingOf(preset);
        const QRectF room(card.center().x() - 12, 8, 24, 20);
        QPolygonF curve;
        for (int step = 0; step <= 24; ++step) {
            const double at = step / 24.0;
            curve.append({room.left() + at * room.width(), room.bottom() - easing.apply(at) * room.height()});
        }
        painter.setPen(QPen(ink, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawPolyline(curve);
        painter.setPen(isChosen ? t.text : t.textSecondary);
        painter.drawText(QRectF(card.left(), 34, card.width(), 18), Qt::AlignCenter, QString::fromUtf8(label(preset).data()));
    }
    if (!hasFocus() || preset_) return;
    painter.setPen(QPen(t.focusRing, 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 6, 6);
}

void EasingPicker::mousePressEvent(QMouseEvent* event)
{
    for (int i = 0; i < easingCards; ++i)
        if (event->button() == Qt::LeftButton && chosen && cardRect(i).contains(event->pos()))
            return chosen(static_cast<EasingPreset>(i));
}

void EasingPicker::keyPressEvent(QKeyEvent* event)
{
    const int way = event->key() == Qt::Key_Right ? 1 : event->key() == Qt::Key_Left ? -1 : 0;
    if (way == 0 || !chosen) return QWidget::keyPressEvent(event);
    const int now = preset_ && *preset_ != EasingPreset::mixed ? static_cast<int>(*preset_) : 0;
    chosen(static_cast<EasingPreset>(std::clamp(now + way, 0, easingCards - 1)));
}

void EasingPicker::focusInEvent(QFocusEvent*)
{
    update();
}

void EasingPicker::focusOutEvent(QFocusEvent*)
{
    update();
}

} // namespace larkspool
