#include "views/inspector_fields.h"

#include "editing/number_input.h"
#include "views/inspector_words.h"
#include "views/theme.h"

#include <QApplication>
#include <QColorDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

#include <algorithm>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr int refusalMilliseconds = 600, swatch = 16, alphaWidth = 46;

/// Shift makes steps ten times as large, Alt a tenth.
double stepFactor(Qt::KeyboardModifiers modifiers)
{
    if (modifiers & Qt::ShiftModifier) return 10;
    return modifiers & Qt::AltModifier ? 0.1 : 1;
}

/// White and grey squares behind what is not opaque.
void paintChecks(QPainter& painter, const QRectF& rect)
{
    painter.fillRect(rect, Qt::white);
    const double half = rect.width() / 2;
    painter.fillRect(QRectF(rect.left() + half, rect.top(), half, half), QColor(0xC8, 0xC8, 0xC8));
    painter.fillRect(QRectF(rect.left(), rect.top() + half, half, half), QColor(0xC8, 0xC8, 0xC8));
}

/// "f80", "#FF8800" or "ff880080".
std::optional<QColor> parsedHex(QString text, int alpha)
{
    text = text.trimmed();
    if (text.startsWith('#')) text.remove(0, 1);
    bool isHex = false;
    text.toULongLong(&isHex, 16);
    if (!isHex) return std::nullopt;
    if (text.size() == 3) text = QString(2, text[0]) + QString(2, text[1]) + QString(2, text[2]);
    if (text.size() != 6 && text.size() != 8) return std::nullopt;
    const auto channel = [&](qsizetype i) { return text.mid(i * 2, 2).toInt(nullptr, 16); };
    return QColor(channel(0), channel(1), channel(2), text.size() == 8 ? channel(3) : alpha);
}

} // namespace

void paintFieldDiamond(QPainter& painter, QPointF middle, Inspector::Diamond diamond)
{
    const Theme& t = theme();
    constexpr double radius = 3.5;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(diamond == Inspector::Diamond::none ? t.textDisabled : t.keyframe, 1.25));
    painter.setBrush(diamond == Inspector::Diamond::keyframeAtPlayhead ? QBrush(t.keyframe) : QBrush(Qt::NoBrush));
    painter.drawPolygon(QPolygonF(
        {middle + QPointF(0, -radius), middle + QPointF(radius, 0), middle + QPointF(0, radius), middle + QPointF(-radius, 0)}));
    painter.restore();
}

FieldBox::FieldBox(const QString& name, HasDiamond hasDiamond, QWidget* parent)
    : QWidget(parent), hasDiamond_(hasDiamond == HasDiamond::yes)
{
    setFixedHeight(fieldHeight);
    setMinimumWidth(56);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(name);
    refusal_.setSingleShot(true);
    refusal_.callOnTimeout(this, [this] {
        refused_ = false;
        update();
    });
}

QLineEdit* FieldBox::addEdit(const QString& name)
{
    auto* edit = new QLineEdit(this);
    edit->setProperty("bare", true);
    edit->setFrame(false);
    edit->setFont(textFont(TextStyle::value));
    edit->setAccessibleName(name);
    edit->setTextMargins(0, 0, 0, 0);
    edit->installEventFilter(this);
    return edit;
}

bool FieldBox::isTyping() const
{
    const QWidget* focus = focusWidget();
    return focus && focus->hasFocus();
}

void FieldBox::showDiamond(Inspector::Diamond diamond, const QString& help)
{
    if (toolTip() != help) setToolTip(help);
    if (diamond == diamond_) return;
    diamond_ = diamond;
    update();
}

void FieldBox::flashRefusal()
{
    refused_ = true;
    refusal_.start(refusalMilliseconds);
    update();
}

QRect FieldBox::diamondRect() const
{
    return hasDiamond_ ? QRect(width() - diamondCell(), 0, diamondCell(), fieldHeight) : QRect();
}

void FieldBox::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool typing = isTyping();
    QColor fill = diamond_ != Inspector::Diamond::none ? t.keyframeSoft : underMouse() ? t.fieldHover : t.field;
    if (typing) fill = t.fieldFocus;
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect(), 4, 4);
    if (hasDiamond_ && !typing) paintFieldDiamond(painter, QRectF(diamondRect()).center(), diamond_);
    if (!refused_ && !typing) return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(refused_ ? t.dangerText : t.focusRing, 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 4, 4);
}

void FieldBox::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && diamondRect().contains(event->pos()) && diamondClicked) diamondClicked();
}

bool FieldBox::clickDiamondByKey(QEvent& event)
{
    if (event.type() != QEvent::ShortcutOverride && event.type() != QEvent::KeyPress) return false;
    const auto& key = static_cast<QKeyEvent&>(event);
    if (!hasDiamond_ || !diamondClicked || key.key() != Qt::Key_K || key.modifiers() != Qt::ControlModifier) return false;
    event.accept();
    if (event.type() == QEvent::KeyPress) diamondClicked();
    return true;
}

bool FieldBox::event(QEvent* event)
{
    return clickDiamondByKey(*event) || QWidget::event(event);
}

bool FieldBox::eventFilter(QObject* watched, QEvent* event)
{
    return clickDiamondByKey(*event) || QWidget::eventFilter(watched, event);
}

void FieldBox::enterEvent(QEnterEvent*)
{
    update();
}

void FieldBox::leaveEvent(QEvent*)
{
    update();
}

NumberField::NumberField(Look look, NumberSteps steps, QWidget* parent)
    : FieldBox(look.name, look.hasDiamond, parent), look_(std::move(look)), steps_(std::move(steps)), edit_(addEdit(look_.name))
{
    setMouseTracking(true);
    setFocusProxy(edit_);
    connect(edit_, &QLineEdit::textEdited, this, [this](const QString& text) { typed(text); });
    edit_->setText(shownText());
}

QString NumberField::shownText() const
{
    if (!value_) return words(Inspector::mixedText);
    if (!std::isfinite(*value_)) return QString::number(*value_);
    const double value = *value_ == 0 ? 0 : *value_;
    if (look_.decimals >= 0) return QString::number(value, 'f', look_.decimals) + look_.suffix;
    // Thousandths where there is room for them.
    QString text = QString::fromStdString(typedNumber(value)) + look_.suffix;
    const int room = edit_ ? edit_->width() - 4 : 0;
    for (int decimals = 2; decimals >= 0 && room > 0 && edit_->fontMetrics().horizontalAdvance(text) > room; --decimals)
        text = QString::fromStdString(typedNumber(QString::number(value, 'f', decimals).toDouble())) + look_.suffix;
    return text;
}

void NumberField::showValue(std::optional<double> value)
{
    if (value_ == value && (edit_->hasFocus() || edit_->text() == shownText())) return;
    const bool wasMixed = !value_;
    value_ = value;
    // What a person types stays as typed.
    if (edit_->hasFocus()) return;
    edit_->setText(shownText());
    edit_->setCursorPosition(0);
    if (wasMixed != !value_) {
        QPalette palette = edit_->palette();
        palette.setColor(QPalette::Text, value_ ? theme().text : theme().textSecondary);
        edit_->setPalette(palette);
    }
}

void NumberField::typed(const QString& text)
{
    QString number = text.trimmed();
    if (!look_.suffix.isEmpty() && number.endsWith(look_.suffix.trimmed())) number.chop(look_.suffix.trimmed().size());
    const std::optional<double> value = parsedNumber(number.toStdString());
    isRefused_ = !value || !steps_.typed(*value);
}

void NumberField::stepBy(double steps)
{
    // Values that differ have none in common to step from.
    if (!value_ || !steps_.typed(*value_ + steps * look_.step)) return flashRefusal();
    isRefused_ = false;
    edit_->setText(QString::fromStdString(typedNumber(*value_)));
    edit_->selectAll();
}

void NumberField::arrowStep(int direction, Qt::KeyboardModifiers modifiers)
{
    stepBy(direction * stepFactor(modifiers));
}

NumberField* NumberField::focused()
{
    const QWidget* focus = QApplication::focusWidget();
    return focus ? dynamic_cast<NumberField*>(focus->parentWidget()) : nullptr;
}

void NumberField::finish()
{
    // What was refused leaves nothing behind, not even the digits before it that were a number.
    if (std::exchange(isRefused_, false)) {
        flashRefusal();
        steps_.gate.exitCommand();
    }
    steps_.gate.loseFocus();
    place();
    edit_->setText(shownText());
    edit_->setCursorPosition(0);
}

void NumberField::place()
{
    const int left = look_.letter.isEmpty() ? padding : letterColumn();
    const int right = look_.hasDiamond == HasDiamond::yes && !edit_->hasFocus() ? diamondCell() : 4;
    edit_->setGeometry(left, 0, std::max(0, width() - left - right), fieldHeight);
    update();
}

bool NumberField::keyPressed(int key, Qt::KeyboardModifiers modifiers)
{
    switch (key) {
    case Qt::Key_Up: arrowStep(1, modifiers); return true;
    case Qt::Key_Down: arrowStep(-1, modifiers); return true;
    case Qt::Key_Return:
    case Qt::Key_Enter: edit_->clearFocus(); return true;
    case Qt::Key_Escape:
        isRefused_ = false;
        steps_.gate.exitCommand();
        edit_->clearFocus();
        return true;
    default: return false;
    }
}

bool NumberField::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        // The keys of the field are not the window's shortcuts.
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key != Qt::Key_Up && key != Qt::Key_Down && key != Qt::Key_Escape && key != Qt::Key_Return && key != Qt::Key_Enter)
            break;
        event->accept();
        return true;
    }
    case QEvent::KeyPress:
        if (keyPressed(static_cast<QKeyEvent*>(event)->key(), static_cast<QKeyEvent*>(event)->modifiers())) return true;
        break;
    case QEvent::FocusIn:
        if (static_cast<QFocusEvent*>(event)->reason() == Qt::PopupFocusReason) break;
        steps_.gate.gainFocus();
        edit_->setText(value_ ? QString::fromStdString(typedNumber(*value_)) : QString());
        place();
        QTimer::singleShot(0, edit_, [this] {
            if (edit_->hasFocus()) edit_->selectAll();
        });
        break;
    case QEvent::FocusOut:
        if (static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason) finish();
        break;
    case QEvent::Enter:
    case QEvent::Leave: update(); break;
    default: break;
    }
    return FieldBox::eventFilter(watched, event);
}

void NumberField::paintEvent(QPaintEvent* event)
{
    FieldBox::paintEvent(event);
    if (look_.letter.isEmpty()) return;
    QPainter painter(this);
    painter.setFont(textFont(TextStyle::body));
    painter.setPen(theme().textSecondary);
    painter.drawText(QRect(padding, 0, letterColumn() - padding, fieldHeight), Qt::AlignLeft | Qt::AlignVCenter, look_.letter);
}

void NumberField::beginScrub()
{
    if (!value_ || isScrubbing_) return;
    if (edit_->hasFocus()) edit_->clearFocus();
    isScrubbing_ = true;
    scrubbed_ = *value_;
    scrubWay_ = 0;
    steps_.scrubBegin();
}

void NumberField::scrubTo(double way, Qt::KeyboardModifiers modifiers)
{
    if (!isScrubbing_) return;
    scrubbed_ += (way - std::exchange(scrubWay_, way)) * look_.step * stepFactor(modifiers);
    steps_.scrub(std::round(scrubbed_ * 1000) / 1000);
}

void NumberField::endScrub()
{
    if (std::exchange(isScrubbing_, false)) steps_.scrubEnd();
}

void NumberField::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && !look_.letter.isEmpty() && event->pos().x() < letterColumn()) {
        pressedAt_ = event->pos();
        return;
    }
    FieldBox::mousePressEvent(event);
}

void NumberField::mouseMoveEvent(QMouseEvent* event)
{
    if (!pressedAt_) {
        setCursor(!look_.letter.isEmpty() && event->pos().x() < letterColumn() ? Qt::SizeHorCursor : Qt::ArrowCursor);
        return;
    }
    const int way = event->pos().x() - pressedAt_->x();
    if (!isScrubbing_ && std::abs(way) < 2) return;
    beginScrub();
    scrubTo(way, event->modifiers());
}

void NumberField::mouseReleaseEvent(QMouseEvent*)
{
    // A letter that was clicked and not dragged lets the number be typed.
    if (std::exchange(pressedAt_, std::nullopt) && !isScrubbing_) edit_->setFocus(Qt::MouseFocusReason);
    endScrub();
}

void NumberField::resizeEvent(QResizeEvent*)
{
    place();
    if (!edit_->hasFocus()) edit_->setText(shownText());
}

ColorField::ColorField(const QString& name, HasDiamond hasDiamond, Steps steps, QWidget* parent)
    : FieldBox(name, hasDiamond, parent),
      steps_(std::move(steps)),
      hex_(addEdit(name + " in hexadecimal digits")),
      alpha_(addEdit(name + " opacity in percent"))
{
    setFocusProxy(hex_);
    alpha_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    QPalette palette = alpha_->palette();
    palette.setColor(QPalette::Text, theme().textSecondary);
    alpha_->setPalette(palette);
    connect(hex_, &QLineEdit::editingFinished, this, [this] { finishHex(); });
    connect(alpha_, &QLineEdit::editingFinished, this, [this] { finishAlpha(); });
    showTexts();
}

QRect ColorField::swatchRect() const
{
    return {4, (fieldHeight - swatch) / 2, swatch, swatch};
}

void ColorField::showColor(std::optional<QColor> color)
{
    if (color_ == color) return;
    color_ = color;
    if (!isTyping()) showTexts();
    update();
}

void ColorField::showTexts()
{
    QPalette palette = hex_->palette();
    palette.setColor(QPalette::Text, color_ ? theme().text : theme().textSecondary);
    hex_->setPalette(palette);
    hex_->setText(color_ ? color_->name(QColor::HexRgb).mid(1).toUpper() : words(Inspector::mixedText));
    hex_->setCursorPosition(0);
    alpha_->setText(color_ ? QString("%1 %").arg(qRound(color_->alphaF() * 100)) : QString());
}

void ColorField::finishHex()
{
    if (!hex_->isModified()) return;
    hex_->setModified(false);
    const std::optional<QColor> color = parsedHex(hex_->text(), color_ ? color_->alpha() : 255);
    if (!color) flashRefusal();
    // The other channels of one that stays are exact, and are not written again.
    else if (!color_ || color->rgba() != color_->rgba())
        steps_.typed(*color);
    showTexts();
}

void ColorField::finishAlpha()
{
    if (!alpha_->isModified()) return;
    alpha_->setModified(false);
    const std::optional<double> percent = parsedNumber(alpha_->text().remove('%').trimmed().toStdString());
    if (!percent || !color_) {
        flashRefusal();
    } else {
        QColor color = *color_;
        color.setAlphaF(static_cast<float>(std::clamp(*percent / 100, 0.0, 1.0)));
        steps_.typed(color);
    }
    showTexts();
}

void ColorField::openDialog()
{
    QPointer<ColorField> self(this);
    QColorDialog dialog(color_.value_or(QColor(Qt::black)), window());
    dialog.setOptions(QColorDialog::DontUseNativeDialog | QColorDialog::ShowAlphaChannel);
    dialog.setWindowTitle(accessibleName());
    connect(&dialog, &QColorDialog::currentColorChanged, this, [this](const QColor& color) { steps_.chosen(color); });
    steps_.opened();
    const bool isKept = dialog.exec() == QDialog::Accepted;
    if (!self) return;
    if (!isKept) steps_.cancelled();
    steps_.closed();
}

bool ColorField::eventFilter(QObject* watched, QEvent* event)
{
    auto* edit = static_cast<QLineEdit*>(watched);
    const auto keyOf = [event] { return static_cast<QKeyEvent*>(event)->key(); };
    if (event->type() == QEvent::ShortcutOverride &&
        (keyOf() == Qt::Key_Escape || keyOf() == Qt::Key_Return || keyOf() == Qt::Key_Enter)) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress && keyOf() == Qt::Key_Escape) {
        showTexts();
        edit->setModified(false);
        edit->clearFocus();
        return true;
    }
    if (event->type() == QEvent::KeyPress && (keyOf() == Qt::Key_Return || keyOf() == Qt::Key_Enter)) {
        edit->clearFocus();
        return true;
    }
    if (event->type() == QEvent::FocusIn)
        QTimer::singleShot(0, edit, [edit] {
            if (edit->hasFocus()) edit->selectAll();
        });
    if (event->type() == QEvent::FocusOut) edit->deselect();
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) QTimer::singleShot(0, this, [this] { update(); });
    return FieldBox::eventFilter(watched, event);
}

void ColorField::paintEvent(QPaintEvent* event)
{
    FieldBox::paintEvent(event);
    if (!color_) return;
    QPainter painter(this);
    const QRectF rect = swatchRect();
    if (color_->alpha() < 255) paintChecks(painter, rect);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(*color_);
    painter.drawRoundedRect(rect, 3, 3);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme().hairlineStrong, 1));
    painter.drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 2.5, 2.5);
}

void ColorField::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && event->pos().x() < letterColumn()) return openDialog();
    FieldBox::mousePressEvent(event);
}

void ColorField::resizeEvent(QResizeEvent*)
{
    const int right = diamondRect().isNull() ? padding : diamondCell();
    alpha_->setGeometry(width() - right - alphaWidth, 0, alphaWidth, fieldHeight);
    hex_->setGeometry(letterColumn() + 4, 0, std::max(0, width() - right - alphaWidth - letterColumn() - 4), fieldHeight);
}

} // namespace larkspool
