#include "platform/file_url.h"
#include "timeline/span_edits.h"
#include "views/tabular_text.h"
#include "views/theme.h"
#include "views/timeline_painting.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <numbers>
#include <tuple>

namespace larkspool::TimelinePainting {

namespace {

using namespace TimelineMeasures;

constexpr double barRadius = 4, outlineAlpha = 0.55, gridAlpha = 0.6;
constexpr double labelGap = 5, leastLabelRoom = 56;
constexpr double waitHeight = 8, waitHandleHeight = 12, waitHandleWidth = 2;
constexpr double gripWidth = 2, gripHeight = 12;
constexpr double pulseTextGap = 9, clipTextIndent = 10;
constexpr double countLeft = 4; ///< Of a count, from the middle of its marker.
constexpr double farOutside = 40; ///< How far beyond what is seen a bar is cut off, so that its ends do not show.

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

QColor mixed(const QColor& a, const QColor& b, double share)
{
    const auto mix = [share](int of, int with) { return static_cast<int>(std::lround(of * share + with * (1 - share))); };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

/// The colours of a kind of bar.
struct BarColors {
    QColor fill, hovered, outline, text, effect;
};
BarColors barColors(TimelineRow::Kind kind)
{
    const Theme& t = theme();
    if (kind == TimelineRow::Kind::videoClip) return {t.clipFill, t.clipFillHover, t.clip, t.clipText, t.clipEffect};
    return {t.spanFill, t.spanFillHover, t.span, t.spanText, t.spanEffect};
}

/// Small pictures that stand many times on the tracks.
struct Sprite {
    enum class Kind { diamond, selectedDiamond, pulse, selectedPulse };

    static constexpr double side = 22;

    Kind kind;
    QColor lane;
};

void drawDiamond(QPainter& painter, double reach, double radius, const QColor& color)
{
    painter.save();
    painter.rotate(45);
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(-reach, -reach, 2 * reach, 2 * reach), radius, radius);
    painter.restore();
}

void drawDisc(QPainter& painter, double radius, const QColor& color)
{
    painter.setBrush(color);
    painter.drawEllipse(QPointF(), radius, radius);
}

QPixmap drawn(const Sprite& sprite, double ratio)
{
    const Theme& t = theme();
    const int pixels = static_cast<int>(std::ceil(Sprite::side * ratio));
    QPixmap pixmap(pixels, pixels);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.translate(Sprite::side / 2, Sprite::side / 2);
    const double diamond = keyframeSize / 2 - 1, halo = 1.5;
    switch (sprite.kind) {
    case Sprite::Kind::selectedDiamond: drawDiamond(painter, diamond + 2 * halo, 2.5, t.text); [[fallthrough]];
    case Sprite::Kind::diamond:
        drawDiamond(painter, diamond + halo, 2, sprite.lane);
        drawDiamond(painter, diamond, 1.5, t.keyframe);
        break;
    case Sprite::Kind::selectedPulse: drawDisc(painter, pulseSize / 2 + 2 * halo, t.text); [[fallthrough]];
    case Sprite::Kind::pulse:
        drawDisc(painter, pulseSize / 2 + halo, sprite.lane);
        drawDisc(painter, pulseSize / 2, t.pulse);
        drawDisc(painter, pulseSize / 2 - 1.5, sprite.lane);
        drawDisc(painter, 1.5, t.pulse);
        break;
    }
    return pixmap;
}

/// At a whole pixel of the screen, so that all look alike.
void paintSprite(QPainter& painter, const Sprite& sprite, double x, double y)
{
    using Key = std::tuple<Sprite::Kind, QRgb, QRgb, double>;
    static std::map<Key, QPixmap> known;
    const double ratio = painter.device()->devicePixelRatioF();
    const Key key{sprite.kind, sprite.lane.rgb(), theme().text.rgb(), ratio};
    auto found = known.find(key);
    if (found == known.end()) found = known.emplace(key, drawn(sprite, ratio)).first;
    const auto aligned = [ratio](double at) { return std::round((at - Sprite::side / 2) * ratio) / ratio; };
    painter.drawPixmap(QPointF(aligned(x), aligned(y)), found->second);
}

/// A tile of the hatch of waits. Three stripes 4 wide at 45 degrees take very nearly 17 pixels, so that they meet at its edges.
QBrush waitHatch(double ratio)
{
    using Key = std::pair<QRgb, double>;
    static std::map<Key, QPixmap> known;
    const Theme& t = theme();
    const Key key{t.wait.rgb(), ratio};
    auto found = known.find(key);
    constexpr double side = 17, between = side / 3;
    const double stripe = 1.5 * std::numbers::sqrt2;
    if (found == known.end()) {
        const int pixels = static_cast<int>(std::lround(side * ratio));
        QPixmap tile(pixels, pixels);
        tile.fill(t.waitFill);
        QPainter painter(&tile);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(pixels / side, pixels / side);
        painter.setPen(Qt::NoPen);
        painter.setBrush(mixed(t.wait, t.waitFill, 0.55));
        for (double x = -side; x < 2 * side; x += between)
            painter.drawPolygon(
                QPolygonF{QPointF(x, side), QPointF(x + stripe, side), QPointF(x + side + stripe, 0), QPointF(x + side, 0)});
        painter.end();
        found = known.emplace(key, tile).first;
    }
    QBrush brush(found->second);
    brush.setTransform(QTransform::fromScale(side / found->second.width(), side / found->second.height()));
    return brush;
}

/// What all parts of a painting of the tracks need.
struct Canvas {
    QPainter& painter;
    const TimelineLayout& layout;
    const TimelineSelection& selection;
    QRectF seen;

    double x(double time) const { return layout.mapping().x(time); }
    bool isSeen(double left, double right) const
    {
        return right >= seen.left() - farOutside && left <= seen.right() + farOutside;
    }
};

QColor laneColor(const TimelineBlock& block)
{
    return block.isSelected ? theme().laneSelected : theme().panel;
}

/// A bar's rectangle, cut off far outside of what is seen.
QRectF barRect(const Canvas& canvas, const TimelineRow& row, const TimelineMark& mark)
{
    const double left = std::max(canvas.x(mark.times.start), canvas.seen.left() - farOutside);
    const double right = std::min(canvas.x(mark.times.end), canvas.seen.right() + farOutside);
    return {left, row.laneTop(mark), std::max(right - left, 2.0), rowHeight};
}

void paintBarOutline(QPainter& painter, const QRectF& bar, const QColor& color, bool isSelected)
{
    const double width = isSelected ? 1.5 : 1;
    const QRectF inside = bar.adjusted(width / 2, width / 2, -width / 2, -width / 2);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(isSelected ? theme().text : withAlpha(color, outlineAlpha), width));
    painter.drawRoundedRect(inside, barRadius - width / 2, barRadius - width / 2);
    painter.setPen(Qt::NoPen);
}

/// How far the wedges of a span reach in from its ends, in seconds, and what they are called.
struct Wedges {
    double in = 0, out = 0;
    QString inName, outName;

    static Wedges of(const TimeSpan& span)
    {
        Wedges wedges;
        for (const SpanEffect& effect : span.effects) {
            double& reach = isIntro(effect.kind) ? wedges.in : wedges.out;
            QString& name = isIntro(effect.kind) ? wedges.inName : wedges.outName;
            reach = std::max(reach, effect.duration);
            if (!name.isEmpty()) name += " · ";
            name += QString::fromUtf8(label(effect.kind).data(), static_cast<qsizetype>(label(effect.kind).size()));
        }
        const double length = span.end - span.start;
        wedges.in = std::min(wedges.in, length);
        wedges.out = std::min(wedges.out, length);
        return wedges;
    }
};

/// A wedge within the round corners of its bar.
void paintWedge(QPainter& painter, const QPolygonF& wedge, const QRectF& bar, const QColor& color)
{
    QPainterPath round, corner;
    round.addRoundedRect(bar, barRadius, barRadius);
    corner.addPolygon(wedge);
    corner.closeSubpath();
    painter.setBrush(color);
    painter.drawPath(corner.intersected(round));
}

void paintSpanEffects(const Canvas& canvas, const TimeSpan& span, const QRectF& bar, const BarColors& colors)
{
    if (span.effects.empty()) return;
    const Wedges wedges = Wedges::of(span);
    const double left = canvas.x(span.start), right = canvas.x(span.end);
    const double inEnd = canvas.x(span.start + wedges.in), outStart = canvas.x(span.end - wedges.out);
    QPainter& painter = canvas.painter;
    if (wedges.in > 0)
        paintWedge(painter, {QPointF(left, bar.bottom()), QPointF(inEnd, bar.top()), QPointF(inEnd, bar.bottom())}, bar,
                   colors.effect);
    if (wedges.out > 0)
        paintWedge(painter, {QPointF(outStart, bar.top()), QPointF(right, bar.bottom()), QPointF(outStart, bar.bottom())}, bar,
                   colors.effect);

    painter.setFont(textFont(TextStyle::barLabel));
    painter.setPen(colors.text);
    double room = outStart - inEnd;
    const QRectF between(inEnd + labelGap, bar.top(), std::max(room - 2 * labelGap, 0.0), bar.height());
    const QFontMetricsF metrics(painter.font());
    if (!wedges.inName.isEmpty() && room >= leastLabelRoom) {
        const QString name = metrics.elidedText(wedges.inName, Qt::ElideRight, between.width());
        painter.drawText(between, Qt::AlignLeft | Qt::AlignVCenter, name);
        room -= metrics.horizontalAdvance(name) + labelGap;
    }
    if (!wedges.outName.isEmpty() && room >= leastLabelRoom)
        painter.drawText(between, Qt::AlignRight | Qt::AlignVCenter,
                         metrics.elidedText(wedges.outName, Qt::ElideRight, room - labelGap));
    painter.setPen(Qt::NoPen);
}

QString fileName(const Layer& layer)
{
    return QString::fromStdString(std::filesystem::path(pathFromURLOrPath(layer.videoURL)).filename().string());
}

/// The holes at the edge of a film, and its name.
void paintFilm(const Canvas& canvas, const QString& name, const QRectF& bar, const BarColors& colors)
{
    QPainter& painter = canvas.painter;
    const double left = bar.left() + 3, right = bar.right() - 3;
    for (double x = left; x < right; x += 8)
        painter.fillRect(QRectF(x, bar.top() + 2, std::min(4.0, right - x), 2), withAlpha(colors.outline, 0.6));
    const QRectF room = bar.adjusted(clipTextIndent, 1, -clipTextIndent, 1);
    if (room.width() < leastLabelRoom - 2 * clipTextIndent) return;
    painter.setFont(textFont(TextStyle::barLabel));
    painter.setPen(colors.text);
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetricsF(painter.font()).elidedText(name, Qt::ElideRight, room.width()));
    painter.setPen(Qt::NoPen);
}

const Layer* layerOf(const Canvas& canvas, const TimelineRow& row, const TimelineMark& mark)
{
    return row.layer ? row.layer : findLayer(canvas.layout.scene(), mark.members.front().layerID);
}

/// How many layers the items of the mark are of. Those of one layer stand together.
std::size_t layerCount(const TimelineMark& mark)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < mark.members.size(); ++i)
        if (i == 0 || mark.members[i].layerID != mark.members[i - 1].layerID) ++count;
    return count;
}

/// Of how many layers the bar of an aggregate row is, or of which one.
void paintGroupName(const Canvas& canvas, const TimelineRow& row, const TimelineMark& mark, const QRectF& bar,
                    const QColor& color)
{
    const QRectF seenBar = bar.intersected(QRectF(trackLeft, bar.top(), canvas.seen.right() - trackLeft, bar.height()));
    if (seenBar.width() < leastLabelRoom) return;
    const std::size_t layers = layerCount(mark);
    QString words = QString("%1 layers").arg(layers);
    if (layers == 1)
        if (const Layer* layer = layerOf(canvas, row, mark)) words = QString::fromStdString(layer->name.string());
    QPainter& painter = canvas.painter;
    painter.setFont(textFont(TextStyle::barLabel));
    painter.setPen(color);
    painter.drawText(seenBar, Qt::AlignCenter,
                     QFontMetricsF(painter.font()).elidedText(words, Qt::ElideRight, seenBar.width() - 2 * labelGap));
    painter.setPen(Qt::NoPen);
}

enum class BarState { rest, hovered };

void paintBar(const Canvas& canvas, const TimelineRow& row, const TimelineMark& mark, BarState state)
{
    const QRectF bar = barRect(canvas, row, mark);
    const BarColors colors = barColors(row.kind);
    canvas.painter.setBrush(state == BarState::hovered ? colors.hovered : colors.fill);
    canvas.painter.drawRoundedRect(bar, barRadius, barRadius);
    if (row.kind == TimelineRow::Kind::videoClip) {
        const Layer* layer = layerOf(canvas, row, mark);
        const bool isOne = mark.members.size() == 1;
        paintFilm(canvas, isOne && layer ? fileName(*layer) : QString("%1 clips").arg(mark.members.size()), bar, colors);
    } else if (row.layer) {
        paintSpanEffects(canvas, row.layer->spans[mark.position], bar, colors);
    } else {
        paintGroupName(canvas, row, mark, bar, colors.text);
    }
    paintBarOutline(canvas.painter, bar, colors.outline, isSelected(mark, canvas.selection));
}

void paintBars(const Canvas& canvas, const TimelineRow& row)
{
    for (const TimelineMark& mark : row.marks) {
        const double top = row.laneTop(mark);
        if (top > canvas.seen.bottom() || top + rowHeight < canvas.seen.top()) continue;
        if (canvas.isSeen(canvas.x(mark.times.start), canvas.x(mark.times.end))) paintBar(canvas, row, mark, BarState::rest);
    }
}

/// Between a keyframe, or the end of its wait, and the next one, where the value changes.
void paintJoiningLines(const Canvas& canvas, const TimelineRow& row)
{
    const Array<Keyframe>& keyframes = row.layer->keyframes;
    for (std::size_t i = 0; i + 1 < row.marks.size(); ++i) {
        const TimelineMark &mark = row.marks[i], &next = row.marks[i + 1];
        const double left = canvas.x(mark.times.end), right = canvas.x(next.times.start);
        if (right <= left || !canvas.isSeen(left, right) || keyframes[mark.position].value == keyframes[next.position].value)
            continue;
        const double from = std::max(left, canvas.seen.left() - farOutside),
                     to = std::min(right, canvas.seen.right() + farOutside);
        canvas.painter.fillRect(QRectF(from, row.top + rowHeight / 2 - 1, to - from, 1), theme().keyframeLine);
    }
}

void paintWaitTail(const Canvas& canvas, const TimelineRow& row, const TimelineMark& mark, const QBrush& hatch)
{
    const double left = canvas.x(mark.times.start), right = canvas.x(mark.times.end);
    if (right <= left || !canvas.isSeen(left, right)) return;
    const TimelineItemRef& keyframe = mark.members.front();
    const bool isSelected = canvas.selection.contains(TimelineItemRef::waitTail(keyframe.layerID, keyframe.itemID));
    const double middle = row.top + rowHeight / 2;
    const QRectF tail(left, middle - waitHeight / 2, right - left, waitHeight);
    canvas.painter.fillRect(tail, hatch);
    if (isSelected) {
        canvas.painter.setPen(QPen(theme().text, 1.5));
        canvas.painter.setBrush(Qt::NoBrush);
        canvas.painter.drawRoundedRect(tail.adjusted(0, -0.75, 0, 0.75), 2, 2);
        canvas.painter.setPen(Qt::NoPen);
    }
    canvas.painter.setBrush(theme().wait);
    canvas.painter.drawRoundedRect(
        QRectF(right - waitHandleWidth, middle - waitHandleHeight / 2, waitHandleWidth, waitHandleHeight), 1, 1);
}

QFont countFont()
{
    QFont font = textFont(TextStyle::tick);
    font.setPixelSize(9);
    font.setWeight(QFont::DemiBold);
    return font;
}

/// How many items a marker stands for, at its upper right.
void paintCount(QPainter& painter, std::size_t count, double x, double top, const QColor& color)
{
    painter.setFont(countFont());
    painter.setPen(color);
    painter.drawText(QRectF(x + countLeft, top, 24, 12), Qt::AlignLeft | Qt::AlignVCenter, QString::number(count));
    painter.setPen(Qt::NoPen);
}

/// From a marker with the count to the next one, so that the count ends before it.
double leastCountRoom(std::size_t count)
{
    return countLeft + tabularWidth(countFont(), QString::number(count)) + keyframeSize / 2;
}

/// Calls `visit(mark, x)` for the markers that are seen. Of several unselected ones on one pixel, for the first alone.
template <typename Visit>
void walkMarkers(const Canvas& canvas, const TimelineRow& row, const Visit& visit)
{
    double lastPixel = -1e9;
    for (const TimelineMark& mark : row.marks) {
        const double x = canvas.x(mark.times.start);
        if (x < canvas.seen.left() - farOutside) continue;
        if (x > canvas.seen.right() + farOutside) break;
        const bool isChosen = isSelected(mark, canvas.selection);
        if (std::round(x) == lastPixel && !isChosen) continue;
        lastPixel = std::round(x);
        visit(mark, x, isChosen);
    }
}

void paintKeyframes(const Canvas& canvas, const TimelineRow& row, const QColor& lane, const QBrush& hatch)
{
    if (row.layer) {
        paintJoiningLines(canvas, row);
        for (const TimelineMark& mark : row.marks) paintWaitTail(canvas, row, mark, hatch);
    }
    walkMarkers(canvas, row, [&](const TimelineMark&, double x, bool isChosen) {
        paintSprite(canvas.painter, {isChosen ? Sprite::Kind::selectedDiamond : Sprite::Kind::diamond, lane}, x,
                    row.top + rowHeight / 2);
    });
    if (row.layer) return;
    std::vector<double> middles;
    walkMarkers(canvas, row, [&](const TimelineMark&, double x, bool) { middles.push_back(x); });
    std::size_t i = 0;
    walkMarkers(canvas, row, [&](const TimelineMark& mark, double x, bool) {
        ++i;
        if (mark.members.size() < 2) return;
        const bool hasRoom = i == middles.size() || middles[i] - x >= leastCountRoom(mark.members.size());
        if (hasRoom) paintCount(canvas.painter, mark.members.size(), x, row.top + 1, theme().keyframe);
    });
}

void paintPulses(const Canvas& canvas, const TimelineRow& row, const QColor& lane)
{
    QPainter& painter = canvas.painter;
    painter.setFont(textFont(TextStyle::tick));
    const double textWidth = tabularWidth(painter.font(), "00.00s");
    std::vector<double> middles;
    walkMarkers(canvas, row, [&](const TimelineMark& mark, double x, bool isChosen) {
        paintSprite(painter, {isChosen ? Sprite::Kind::selectedPulse : Sprite::Kind::pulse, lane}, x, row.top + rowHeight / 2);
        middles.push_back(x);
        if (mark.members.size() > 1) paintCount(painter, mark.members.size(), x, row.top + 1, theme().pulse);
    });
    painter.setFont(textFont(TextStyle::tick));
    painter.setPen(theme().textSecondary);
    std::size_t i = 0;
    walkMarkers(canvas, row, [&](const TimelineMark& mark, double x, bool) {
        ++i;
        const double left = x + pulseTextGap + (mark.members.size() > 1 ? 6 : 0);
        if (i < middles.size() && middles[i] - pulseSize < left + textWidth) return;
        painter.setPen(theme().textSecondary);
        paintTabular(painter, QRectF(left, row.top, textWidth, rowHeight), Qt::AlignLeft,
                     QString::number(mark.times.start, 'f', 2) + "s");
        painter.setPen(Qt::NoPen);
    });
    painter.setPen(Qt::NoPen);
}

void paintLanes(const Canvas& canvas)
{
    const Theme& t = theme();
    QPainter& painter = canvas.painter;
    const double left = canvas.seen.left(), width = canvas.seen.width();
    painter.fillRect(canvas.seen, t.panel);
    const std::span<const TimelineBlock> blocks = canvas.layout.blocksBetween(canvas.seen.top(), canvas.seen.bottom());
    for (const TimelineBlock& block : blocks)
        if (block.isSelected) painter.fillRect(QRectF(left, block.top, width, block.bottom - block.top), t.laneSelected);
    const TrackMapping& mapping = canvas.layout.mapping();
    if (mapping.isUsable())
        for (const double time : TimeTickRail::ticks(mapping.width, {mapping.start, mapping.visibleSeconds}))
            painter.fillRect(QRectF(std::round(mapping.x(time)), canvas.seen.top(), 1, canvas.seen.height()),
                             withAlpha(t.hairline, gridAlpha));
    const bool lineBelowLast = !canvas.layout.isAggregate();
    for (const TimelineBlock& block : blocks)
        if (lineBelowLast || &block != &canvas.layout.blocks().back())
            painter.fillRect(QRectF(left, block.bottom, width, 1), t.hairline);
}

} // namespace

void paintTracks(QPainter& painter, const TimelineLayout& layout, const TimelineSelection& selection, const QRectF& seen)
{
    const Canvas canvas{painter, layout, selection, seen};
    painter.save();
    painter.setPen(Qt::NoPen);
    paintLanes(canvas);
    if (layout.mapping().isUsable()) {
        painter.setClipRect(QRectF(gutterDivider + 1, seen.top(), seen.right() - gutterDivider - 1, seen.height()));
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrushOrigin(QPointF(std::fmod(std::round(layout.mapping().x(0)), 17), 0));
        const QBrush hatch = waitHatch(painter.device()->devicePixelRatioF());
        for (const TimelineRow& row : layout.rowsBetween(seen.top(), seen.bottom())) {
            const QColor lane = laneColor(layout.blockOf(row));
            switch (row.kind) {
            case TimelineRow::Kind::spans:
            case TimelineRow::Kind::videoClip: paintBars(canvas, row); break;
            case TimelineRow::Kind::pulses: paintPulses(canvas, row, lane); break;
            case TimelineRow::Kind::keyframes: paintKeyframes(canvas, row, lane, hatch); break;
            }
        }
    }
    painter.restore();
}

void paintHoveredBar(QPainter& painter, const TimelineLayout& layout, const TimelineLayout::Hit& hit,
                     const TimelineSelection& selection)
{
    const QRectF seen(0, hit.row->top, layout.containerWidth() + rightMargin, hit.row->bottom() - hit.row->top);
    const Canvas canvas{painter, layout, selection, seen};
    painter.save();
    painter.setPen(Qt::NoPen);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(QRectF(gutterDivider + 1, seen.top() - 1, seen.right() - gutterDivider - 1, seen.height() + 2));
    paintBar(canvas, *hit.row, *hit.mark, BarState::hovered);
    if (hit.handle != DragHandle::body) {
        const double edge = canvas.x(hit.handle == DragHandle::leftEdge ? hit.mark->times.start : hit.mark->times.end);
        const double inset = SpansTrack::edgeHandleWidth / 2;
        const double x = hit.handle == DragHandle::leftEdge ? edge + inset : edge - inset;
        painter.setBrush(barColors(hit.row->kind).text);
        painter.drawRoundedRect(
            QRectF(x - gripWidth / 2, hit.row->laneTop(*hit.mark) + (rowHeight - gripHeight) / 2, gripWidth, gripHeight), 1, 1);
    }
    painter.restore();
}

} // namespace larkspool::TimelinePainting
