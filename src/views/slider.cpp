#include "views/slider.h"

#include "views/theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr double grooveHeight = 4, knobSize = 14, ringGap = 2, ringWidth = 2, disabledOpacity = 0.5;

} // namespace

Slider::Slider(const QString& name, QWidget* parent) : QSlider(Qt::Horizontal, parent)
{
    setAccessibleName(name);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::StrongFocus);
    setFixedHeight(sizeHint().height());
}

void Slider::goTo(double x)
{
    const double way = std::max(width() - 2.0 * endInset, 1.0);
    const double part = std::clamp((x - endInset) / way, 0.0, 1.0);
    setValue(minimum() + static_cast<int>(std::lround(part * (maximum() - minimum()))));
}

void Slider::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    setSliderDown(true);
    goTo(event->position().x());
}

void Slider::mouseMoveEvent(QMouseEvent* event)
{
    if (isSliderDown()) goTo(event->position().x());
}

void Slider::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) setSliderDown(false);
}

void Slider::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

void Slider::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(disabledOpacity);
    const QRectF groove(endInset, (height() - grooveHeight) / 2, width() - 2 * endInset, grooveHeight);
    const double range = std::max(maximum() - minimum(), 1);
    const double x = groove.left() + groove.width() * (value() - minimum()) / range;
    painter.setPen(Qt::NoPen);
    painter.setBrush(t.field);
    painter.drawRoundedRect(groove, grooveHeight / 2, grooveHeight / 2);
    painter.setBrush(t.accent);
    painter.drawRoundedRect(QRectF(groove.topLeft(), QPointF(x, groove.bottom())), grooveHeight / 2, grooveHeight / 2);
    const QRectF knob(x - knobSize / 2, (height() - knobSize) / 2, knobSize, knobSize);
    painter.setPen(QPen(isSliderDown() ? t.accentPressed : underMouse() ? t.accentHover : t.accent, 1.5));
    painter.setBrush(Qt::white);
    painter.drawEllipse(knob.adjusted(0.75, 0.75, -0.75, -0.75));
    QStyleOption option;
    option.initFrom(this);
    if (!hasFocus() || !(option.state & QStyle::State_KeyboardFocusChange)) return;
    painter.setPen(QPen(t.focusRing, ringWidth));
    painter.setBrush(Qt::NoBrush);
    const double reach = ringGap + ringWidth / 2;
    painter.drawEllipse(knob.adjusted(-reach, -reach, reach, reach));
}

} // namespace larkspool
