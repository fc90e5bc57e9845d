#include "views/timed_item_painting.h"

#include "views/theme.h"

#include <QPainter>

#include <algorithm>

namespace larkspool {

namespace {

constexpr double barRadius = 4, smallBar = 6;

struct KindColors {
    QColor fill, outline;
};
KindColors kindColors(RetimeRow::Kind kind)
{
    const Theme& t = theme();
    switch (kind) {
    case RetimeRow::Kind::span: return {t.spanFill, t.span};
    case RetimeRow::Kind::videoClip: return {t.clipFill, t.clip};
    case RetimeRow::Kind::wait: return {t.waitFill, t.wait};
    case RetimeRow::Kind::keyframe: return {t.keyframe, t.keyframe};
    case RetimeRow::Kind::pulse: return {t.pulse, t.pulse};
    }
    return {};
}

} // namespace

QString kindName(RetimeRow::Kind kind)
{
    switch (kind) {
    case RetimeRow::Kind::span: return "Span";
    case RetimeRow::Kind::videoClip: return "Clip";
    case RetimeRow::Kind::wait: return "Wait";
    case RetimeRow::Kind::keyframe: return "Keyframe";
    case RetimeRow::Kind::pulse: return "Pulse";
    }
    return {};
}

bool isMoment(RetimeRow::Kind kind)
{
    return kind == RetimeRow::Kind::keyframe || kind == RetimeRow::Kind::pulse;
}

void paintTimedBar(QPainter& painter, RetimeRow::Kind kind, const QRectF& bar, bool isChosen)
{
    const KindColors colors = kindColors(kind);
    painter.setPen(Qt::NoPen);
    if (bar.height() < smallBar || bar.width() < smallBar) return painter.fillRect(bar, isChosen ? theme().text : colors.outline);
    const double width = isChosen ? 1.5 : 1, radius = std::min(barRadius, bar.height() / 2);
    painter.setBrush(colors.fill);
    painter.setPen(QPen(isChosen ? theme().text : colors.outline, width));
    painter.drawRoundedRect(bar.adjusted(width / 2, width / 2, -width / 2, -width / 2), radius, radius);
    painter.setPen(Qt::NoPen);
}

void paintMoment(QPainter& painter, RetimeRow::Kind kind, QPointF center, double size)
{
    const QColor color = kindColors(kind).fill;
    painter.save();
    painter.translate(center);
    if (kind == RetimeRow::Kind::pulse) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(color, 1.5));
        const double radius = size / 2 - 0.75;
        painter.drawEllipse(QPointF(), radius, radius);
        painter.setBrush(color);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QPointF(), size * 0.15, size * 0.15);
    } else {
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.rotate(45);
        const double reach = size * 0.36;
        painter.drawRoundedRect(QRectF(-reach, -reach, 2 * reach, 2 * reach), 1.5, 1.5);
    }
    painter.restore();
}

void paintKindSign(QPainter& painter, RetimeRow::Kind kind, QPointF center)
{
    if (isMoment(kind)) return paintMoment(painter, kind, center, 10);
    const double height = kind == RetimeRow::Kind::wait ? 6 : 10;
    paintTimedBar(painter, kind, QRectF(center.x() - 7, center.y() - height / 2, 14, height));
}

} // namespace larkspool
