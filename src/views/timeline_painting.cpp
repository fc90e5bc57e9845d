#include "views/timeline_painting.h"

#include "evaluation/interpolation.h"
#include "timeline/ripple_settings.h"
#include "views/icons.h"
#include "views/kind_icon.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace TimelinePainting {

namespace {

using namespace TimelineMeasures;

constexpr double gutterIndent = 12, chevronSize = 12, kindSize = 14, gutterGap = 6, propertyIndent = 44;
constexpr double diamondSize = 7, valueRight = 165;
constexpr double controlReach = 10; ///< Kept free of text, from the middle of a control.
constexpr double bubbleTop = 3, bubbleHeight = 18, bubblePadding = 6, bubbleTip = 4;
constexpr double labelMargin = 6; ///< Kept between the bubble and the labels of ticks.
constexpr double minimapFirstBar = 6, minimapBarPitch = 4;
constexpr std::size_t minimapLanes = 5;
constexpr double atPlayhead = 0.001; ///< Seconds; what stands so near counts as at the playhead, as for adding a keyframe.

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

double indentOf(const TimelineBlock& block)
{
    return groupIndent * static_cast<double>(block.depth);
}

void paintIcon(QPainter& painter, const QString& name, double size, QPointF middle, const QColor& color)
{
    const double ratio = painter.device()->devicePixelRatioF();
    const QPointF corner(std::round((middle.x() - size / 2) * ratio) / ratio,
                         std::round((middle.y() - size / 2) * ratio) / ratio);
    painter.drawPixmap(corner, iconPixmap(name, static_cast<int>(size), color, ratio));
}

void paintDiamond(QPainter& painter, QPointF middle, bool isFilled)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(middle);
    painter.rotate(45);
    painter.setPen(QPen(theme().keyframe, 1.25));
    painter.setBrush(isFilled ? QBrush(theme().keyframe) : QBrush(Qt::NoBrush));
    const double half = diamondSize / 2 - 0.6;
    painter.drawRoundedRect(QRectF(-half, -half, 2 * half, 2 * half), 1, 1);
    painter.restore();
}

/// How many decimals a number of the property is shown with.
int decimalsOf(Keyframe::AnimatableProperty property)
{
    using enum Keyframe::AnimatableProperty;
    switch (property) {
    case scaleX:
    case scaleY:
    case opacity:
    case lineArcBend:
    case lineWaveAmplitude: return 2;
    default: return 0;
    }
}

QString numberText(double number, Keyframe::AnimatableProperty property)
{
    const QString unit = property == Keyframe::AnimatableProperty::rotation ? "°" : "";
    const int decimals = std::max(decimalsOf(property), std::abs(number - std::round(number)) < 0.05 ? 0 : 1);
    return QString::number(number, 'f', decimals) + unit;
}

QString colorText(const ColorRGBA& color)
{
    const auto part = [](double value) {
        return QString("%1").arg(static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255)), 2, 16, QChar('0')).toUpper();
    };
    return part(color.r) + part(color.g) + part(color.b);
}

QString valueText(const KeyValue& value, Keyframe::AnimatableProperty property)
{
    if (const double* number = std::get_if<double>(&value)) return numberText(*number, property);
    if (const ColorRGBA* color = std::get_if<ColorRGBA>(&value)) return colorText(*color);
    if (const ShadowPreset* shadow = std::get_if<ShadowPreset>(&value)) return text(label(*shadow));
    if (const CursorVariant* cursor = std::get_if<CursorVariant>(&value)) return text(label(*cursor));
    if (const SharedString* font = std::get_if<SharedString>(&value)) return *font == "" ? "System" : text(font->view());
    return {};
}

bool hasMarkAt(const TimelineRow& row, double time)
{
    return std::ranges::any_of(row.marks,
                               [&](const TimelineMark& mark) { return std::abs(mark.times.start - time) < atPlayhead; });
}

struct AggregateHead {
    const char* icon;
    const char* name;
    QColor Theme::* color;
};
AggregateHead aggregateHead(TimelineRow::Kind kind)
{
    switch (kind) {
    case TimelineRow::Kind::spans: return {"span", "Spans", &Theme::span};
    case TimelineRow::Kind::videoClip: return {"video", "Video", &Theme::clip};
    case TimelineRow::Kind::pulses: return {"pulse", "Pulses", &Theme::pulse};
    case TimelineRow::Kind::keyframes: return {"keyframe", "Keyframes", &Theme::keyframe};
    }
    return {"span", "", &Theme::text};
}

void paintGutterText(QPainter& painter, const QString& words, double left, double right, double top, const QColor& color)
{
    painter.setPen(color);
    const QString fitting = QFontMetricsF(painter.font()).elidedText(words, Qt::ElideRight, right - left);
    painter.drawText(QRectF(left, top, right - left, rowHeight), Qt::AlignLeft | Qt::AlignVCenter, fitting);
}

void paintAggregateHead(QPainter& painter, const TimelineRow& row)
{
    const AggregateHead head = aggregateHead(row.kind);
    paintIcon(painter, head.icon, kindSize, {gutterIndent + kindSize / 2, row.top + rowHeight / 2}, theme().*head.color);
    painter.setFont(textFont(TextStyle::gutter));
    paintGutterText(painter, head.name, gutterIndent + kindSize + gutterGap, 150, row.top, theme().text);
    painter.setPen(theme().textSecondary);
    paintTabular(painter, QRectF(100, row.top, 180 - 100, rowHeight), Qt::AlignRight, QString::number(row.itemCount));
}

/// The middle of a control beside the row, which has it.
QPointF middleOf(const TimelineLayout& layout, const TimelineRow& row, GutterControl::Kind kind)
{
    const std::optional<GutterControl> control = TimelineGutter::control(layout, row, kind);
    return control ? control->rect.center() : QPointF();
}

enum class HeadState { rest, hovered };

void paintLayerHead(QPainter& painter, const TimelineLayout& layout, const TimelineRow& row, HeadState state)
{
    using Kind = GutterControl::Kind;
    const Theme& t = theme();
    const TimelineBlock& block = layout.blockOf(row);
    const bool isHovered = state == HeadState::hovered;
    const double middle = row.top + rowHeight / 2;
    const QPointF pin = middleOf(layout, row, Kind::pin), add = middleOf(layout, row, Kind::addSpan);
    if (block.canFold)
        paintIcon(painter, block.isFolded ? "chevron-right" : "chevron-down", chevronSize, middleOf(layout, row, Kind::fold),
                  t.textSecondary);
    const double kindLeft = gutterIndent - 4 + chevronSize + gutterGap + indentOf(block);
    paintIcon(painter, kindIcon(block.layer->kind), kindSize, {kindLeft + kindSize / 2, middle}, t.textSecondary);
    const bool showsPin = block.isPinned || isHovered;
    const double right = isHovered ? add.x() - controlReach : showsPin ? pin.x() - controlReach : leftGutter - 4;
    painter.setFont(textFont(TextStyle::gutterLayer));
    paintGutterText(painter, text(block.layer->name.view()), kindLeft + kindSize + gutterGap, right, row.top, t.text);
    if (showsPin) paintIcon(painter, "pin", kindSize, pin, block.isPinned ? t.textSecondary : t.iconDisabled);
    if (isHovered) paintIcon(painter, "plus", kindSize, add, t.textSecondary);
}

/// The layer of the rows that are being painted, as it looks at the playhead.
struct LayerAtPlayhead {
    const Layer* layer = nullptr;
    Layer resolved{};
};

void paintPropertyHead(QPainter& painter, const TimelineLayout& layout, const TimelineRow& row, double playhead,
                       LayerAtPlayhead& at)
{
    const double indent = indentOf(layout.blockOf(row));
    if (at.layer != row.layer) at = {row.layer, Interpolation::resolve(*row.layer, playhead)};
    painter.setFont(textFont(TextStyle::gutter));
    const QString value = valueText(Interpolation::fieldValue(at.resolved, row.property), row.property);
    const double valueWidth = std::min(tabularWidth(painter.font(), value), 72.0);
    paintGutterText(painter, text(displayName(row.property)), propertyIndent + indent, valueRight - valueWidth - gutterGap,
                    row.top, theme().textSecondary);
    paintTabular(painter, QRectF(valueRight - valueWidth, row.top, valueWidth, rowHeight), Qt::AlignRight,
                 QFontMetricsF(painter.font()).elidedText(value, Qt::ElideRight, valueWidth + 2));
    paintDiamond(painter, middleOf(layout, row, GutterControl::Kind::addKeyframe), hasMarkAt(row, playhead));
}

void paintFocus(QPainter& painter, const QRectF& control)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme().focusRing, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(control, 4, 4);
    painter.restore();
}

} // namespace

void paintGutter(QPainter& painter, const TimelineLayout& layout, double playhead, const GutterHover& hover, const QRectF& seen)
{
    LayerAtPlayhead at;
    for (const TimelineRow& row : layout.rowsBetween(seen.top(), seen.bottom())) {
        if (!row.layer) {
            paintAggregateHead(painter, row);
            continue;
        }
        const TimelineBlock& block = layout.blockOf(row);
        const double left = propertyIndent + indentOf(block);
        painter.setFont(textFont(TextStyle::gutter));
        switch (row.kind) {
        case TimelineRow::Kind::spans:
            paintLayerHead(painter, layout, row,
                           hover.block == &block || hover.focusedRow == &row ? HeadState::hovered : HeadState::rest);
            break;
        case TimelineRow::Kind::videoClip:
            paintGutterText(painter, "Clip", left, valueRight, row.top, theme().textSecondary);
            break;
        case TimelineRow::Kind::pulses:
            paintGutterText(painter, "Pulses", left, valueRight, row.top, theme().textSecondary);
            if (hover.row == &row || hover.focusedRow == &row)
                paintIcon(painter, "plus", kindSize, middleOf(layout, row, GutterControl::Kind::addPulse), theme().textSecondary);
            break;
        case TimelineRow::Kind::keyframes: paintPropertyHead(painter, layout, row, playhead, at); break;
        }
    }
    painter.fillRect(QRectF(gutterDivider, seen.top(), 1, seen.height()), theme().hairline);
    if (hover.focused) paintFocus(painter, hover.focused->rect);
}

namespace {

/// Where the readout of the playhead stands on the rail. Empty while the playhead is out of sight.
QRectF bubbleRect(const TimelineLayout& layout, double playhead, const QString& words)
{
    const TrackMapping& mapping = layout.mapping();
    const double x = mapping.x(playhead);
    if (!mapping.isUsable() || x < mapping.left - 1 || x > mapping.left + mapping.width + 1) return {};
    QFont font = textFont(TextStyle::tick);
    font.setWeight(QFont::DemiBold);
    const double width = std::ceil(tabularWidth(font, words) + 2 * bubblePadding);
    return {std::round(x) + 0.5 - width / 2, bubbleTop, width, bubbleHeight};
}

QString bubbleWords(const TimelineLayout& layout, double playhead)
{
    return QString::fromStdString(timecodeBubble(playhead, static_cast<double>(layout.scene().fps)));
}

} // namespace

void paintRail(QPainter& painter, const TimelineLayout& layout, double viewWidth, double playhead)
{
    const Theme& t = theme();
    painter.fillRect(QRectF(0, 0, viewWidth, railHeight), t.railBackground);
    painter.fillRect(QRectF(0, 0, viewWidth, 1), t.hairline);
    painter.fillRect(QRectF(0, railHeight - 1, viewWidth, 1), t.hairline);
    const TrackMapping& mapping = layout.mapping();
    if (!mapping.isUsable()) return;
    const QRectF bubble = bubbleRect(layout, playhead, bubbleWords(layout, playhead)).adjusted(-labelMargin, 0, labelMargin, 0);
    painter.setFont(textFont(TextStyle::tick));
    for (const double time : TimeTickRail::ticks(mapping.width, {mapping.start, mapping.visibleSeconds})) {
        const double x = mapping.x(time);
        painter.fillRect(QRectF(std::round(x), railHeight - 7, 1, 6), t.tick);
        const QString words = QString::number(time, 'f', 0) + "s";
        const double width = tabularWidth(painter.font(), words);
        const QRectF label(x - width / 2, 4, width, 12);
        if (bubble.isValid() && label.intersects(bubble)) continue;
        painter.setPen(t.tickText);
        paintTabular(painter, label, Qt::AlignHCenter, words);
    }
}

void paintPlayhead(QPainter& painter, const TimelineLayout& layout, double playhead, double bottom)
{
    const QString words = bubbleWords(layout, playhead);
    const QRectF bubble = bubbleRect(layout, playhead, words);
    if (bubble.isEmpty()) return;
    const Theme& t = theme();
    const double x = std::round(layout.mapping().x(playhead));
    painter.fillRect(QRectF(x, 1, 1, bottom - 1), t.playhead);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(t.playhead);
    painter.drawRoundedRect(bubble, 4, 4);
    const double middle = x + 0.5;
    painter.drawPolygon(QPolygonF{QPointF(middle - bubbleTip, bubble.bottom()), QPointF(middle + bubbleTip, bubble.bottom()),
                                  QPointF(middle, bubble.bottom() + bubbleTip)});
    QFont font = textFont(TextStyle::tick);
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(t.playheadText);
    paintTabular(painter, bubble, Qt::AlignHCenter, words);
    painter.restore();
}

void paintSnapLine(QPainter& painter, const TimelineLayout& layout, double time, double bottom)
{
    if (!layout.mapping().isUsable()) return;
    const double x = std::round(layout.mapping().x(time));
    if (x <= gutterDivider) return; // What a drag snaps to may lie before what the zoomed timeline shows.
    painter.fillRect(QRectF(x, railHeight, 1, bottom - railHeight), theme().snapLine);
}

void paintMarquee(QPainter& painter, const QRectF& box)
{
    painter.fillRect(box, theme().marqueeFill);
    painter.setPen(QPen(theme().selectionOutline, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(
        QRectF(std::round(box.left()) + 0.5, std::round(box.top()) + 0.5, std::round(box.width()), std::round(box.height())));
}

void paintRipplePill(QPainter& painter, RippleSide side, QPointF center, bool isOn)
{
    const Theme& t = theme();
    const double radius = InlineRipplePills::side / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(isOn ? QPen(Qt::NoPen) : QPen(t.hairlineStrong, 1));
    painter.setBrush(isOn ? t.accent : t.overlay);
    painter.drawEllipse(center, radius, radius);
    paintIcon(painter, side == RippleSide::before ? "ripple-before" : "ripple-after", 12, center, isOn ? t.textOnAccent : t.icon);
    painter.restore();
}

TrackMapping minimapMapping(const TimelineLayout& layout)
{
    return trackMapping(std::nullopt, layout.scene().duration, leftGutter, layout.containerWidth());
}

QRectF minimapFrame(const TimelineLayout& layout, const QRectF& rect)
{
    const TrackMapping whole = minimapMapping(layout);
    if (!layout.viewport() || !whole.isUsable()) return {};
    const double left = whole.x(layout.viewport()->start), right = whole.x(layout.viewport()->end());
    return {left, rect.top() + 3, right - left, rect.height() - 5};
}

void paintMinimap(QPainter& painter, const TimelineLayout& layout, const QRectF& rect, double playhead)
{
    const Theme& t = theme();
    painter.fillRect(rect, t.railBackground);
    painter.fillRect(QRectF(rect.left(), rect.top(), rect.width(), 1), t.hairline);
    const TrackMapping whole = minimapMapping(layout);
    if (!layout.viewport() || !whole.isUsable()) return;
    std::size_t lane = 0;
    for (const TimelineRow& row : layout.rows()) {
        if (row.kind != TimelineRow::Kind::spans && row.kind != TimelineRow::Kind::videoClip) continue;
        QColor color = row.kind == TimelineRow::Kind::spans ? t.span : t.clip;
        color.setAlphaF(0.75f);
        for (const TimelineMark& mark : row.marks) {
            const double y =
                rect.top() + minimapFirstBar + minimapBarPitch * static_cast<double>((lane + mark.lane) % minimapLanes);
            const double left = whole.x(mark.times.start);
            painter.fillRect(QRectF(left, y, std::max(whole.x(mark.times.end) - left, 1.0), 2), color);
        }
        lane += row.laneCount;
    }
    painter.fillRect(QRectF(std::round(whole.x(playhead)), rect.top() + 1, 1, rect.height() - 1), t.playhead);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QColor veil = t.text;
    veil.setAlphaF(0.07f);
    painter.setBrush(veil);
    painter.setPen(QPen(t.controlBorder, 1.5));
    painter.drawRoundedRect(minimapFrame(layout, rect).adjusted(0.75, 0.75, -0.75, -0.75), 3, 3);
    painter.restore();
    painter.setFont(textFont(TextStyle::caption));
    painter.setPen(t.textSecondary);
    const auto seconds = [](double time) { return QString::number(time, 'f', 2) + "s"; };
    paintTabular(painter, QRectF(16, rect.top() + 1, 160, rect.height() - 1), Qt::AlignLeft,
                 seconds(layout.viewport()->start) + " – " + seconds(layout.viewport()->end()));
}

} // namespace TimelinePainting

} // namespace larkspool
