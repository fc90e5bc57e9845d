#include "views/times_preview.h"

#include "editing/scene_lookup.h"
#include "timeline/timeline_geometry.h"
#include "views/tabular_text.h"
#include "views/theme.h"
#include "views/timed_item_painting.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace larkspool {

namespace {

constexpr double radius = 6, scaleHeight = 20, inset = 8, highestLane = 18, laneGap = 2, leastNamedLane = 14, momentSize = 10;
constexpr double leastNameRoom = 40;

/// Where the lanes lie.
QRectF lanesIn(const QRectF& whole)
{
    return whole.adjusted(inset, scaleHeight + inset, -inset, -inset);
}

} // namespace

TimesPreview::TimesPreview(QWidget* parent) : QWidget(parent)
{
    setAccessibleName("Preview");
    setAttribute(Qt::WA_OpaquePaintEvent); // Else all that lies below the sheet is painted with it.
    setFixedHeight(TimesPreview::sizeHint().height());
}

void TimesPreview::show(std::vector<Item> items, double sceneDuration)
{
    items_ = std::move(items);
    sceneDuration_ = sceneDuration;
    words_.clear();
    double seconds = sceneDuration;
    for (const Item& item : items_)
        if (std::isfinite(item.newStart)) seconds = std::max(seconds, item.newStart + item.length);
    shownSeconds_ = std::min(seconds, 10 * std::max(sceneDuration, 1.0)); // What was typed by mistake does not shrink all to nothing.
    update();
}

void TimesPreview::show(const std::vector<RetimeRow>& before, const std::vector<RetimeRow>& after, double sceneDuration)
{
    std::vector<Item> items;
    for (std::size_t i = 0; i < before.size() && i < after.size(); ++i)
        items.push_back({.kind = before[i].kind,
                         .name = QString::fromStdString(before[i].layerName),
                         .start = before[i].start,
                         .newStart = after[i].start,
                         .length = before[i].duration.value_or(0)});
    show(std::move(items), sceneDuration);
}

void TimesPreview::showWords(const QString& words)
{
    items_.clear();
    words_ = words;
    update();
}

void TimesPreview::paintScale(QPainter& painter, const QRectF& lanes) const
{
    const Theme& t = theme();
    const double seconds = shownSeconds_;
    const TrackMapping mapping{lanes.left(), lanes.width(), 0, seconds};
    if (!mapping.isUsable()) return;

    const double end = mapping.x(sceneDuration_);
    if (seconds > sceneDuration_)
        painter.fillRect(QRectF(end, scaleHeight, lanes.right() + inset - end, height() - scaleHeight), t.railBackground);
    painter.setFont(textFont(TextStyle::tick));
    double free = 0;
    for (const double time : TimeTickRail::ticks(lanes.width(), {0, seconds})) {
        const double x = std::round(mapping.x(time));
        painter.fillRect(QRectF(x, scaleHeight, 1, height() - scaleHeight), t.hairline);
        const QString words = QString::number(time) + "s";
        const double width = tabularWidth(painter.font(), words);
        const double left = std::clamp(x - width / 2, 0.0, static_cast<double>(this->width()) - width - 4);
        if (left < free) continue;
        painter.setPen(t.tickText);
        paintTabular(painter, QRectF(left, 0, width, scaleHeight), Qt::AlignLeft, words);
        free = left + width + 8;
    }
    if (seconds > sceneDuration_)
        painter.fillRect(QRectF(std::round(end), scaleHeight, 1, height() - scaleHeight), t.controlBorder);
}

void TimesPreview::paintItem(QPainter& painter, const Item& item, const QRectF& lane) const
{
    const TrackMapping mapping{lane.left(), lane.width(), 0, shownSeconds_};
    if (!mapping.isUsable() || !std::isfinite(item.newStart)) return;
    const bool hasMoved = std::abs(item.newStart - item.start) > 1e-6;
    const double way = mapping.x(item.start), place = mapping.x(item.newStart);
    if (isMoment(item.kind)) {
        const double size = std::min(momentSize, std::max(lane.height(), 3.0)), middle = lane.center().y();
        if (hasMoved) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(theme().controlBorder, 1));
            painter.drawEllipse(QPointF(way, middle), size / 2 - 1, size / 2 - 1);
        }
        return paintMoment(painter, item.kind, {place, middle}, size);
    }
    const double width = std::max(mapping.x(item.start + item.length) - way, 2.0);
    const QRectF bar(place, lane.top(), width, lane.height());
    if (hasMoved && lane.height() >= 4) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(theme().controlBorder, 1, Qt::DotLine));
        painter.drawRoundedRect(bar.translated(way - place, 0).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
    }
    paintTimedBar(painter, item.kind, bar);
    if (lane.height() < leastNamedLane || width < leastNameRoom || item.name.isEmpty()) return;
    painter.setFont(textFont(TextStyle::barLabel));
    painter.setPen(item.kind == RetimeRow::Kind::videoClip ? theme().clipText
                   : item.kind == RetimeRow::Kind::wait    ? theme().waitText
                                                           : theme().spanText);
    const QRectF room = bar.adjusted(6, 0, -6, 0);
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetricsF(painter.font()).elidedText(item.name, Qt::ElideRight, room.width()));
}

void TimesPreview::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), theme().window);
    paintContent(painter);
    QPainterPath corners; // Painted over all: a round clip would slow down each of many items.
    corners.addRect(rect());
    corners.addRoundedRect(rect(), radius, radius);
    painter.fillPath(corners, theme().panel);
}

void TimesPreview::paintContent(QPainter& painter) const
{
    const Theme& t = theme();
    if (!words_.isEmpty()) {
        painter.setFont(textFont(TextStyle::body));
        painter.setPen(t.textSecondary);
        painter.drawText(rect().adjusted(24, 0, -24, 0), Qt::AlignCenter | Qt::TextWordWrap, words_);
        return;
    }
    const QRectF lanes = lanesIn(rect());
    paintScale(painter, lanes);
    if (items_.empty()) return;
    const double pitch = std::min(highestLane, lanes.height() / static_cast<double>(items_.size()));
    const double laneHeight = pitch >= 8 ? pitch - laneGap : pitch >= 3 ? pitch - 1 : std::max(pitch, 1.0);
    for (std::size_t i = 0; i < items_.size(); ++i)
        paintItem(painter, items_[i],
                  QRectF(lanes.left(), lanes.top() + static_cast<double>(i) * pitch, lanes.width(), laneHeight));
}

void SpansArrangePreview::showSpans(const TweenScene& scene, const std::vector<ResolvedSpanRef>& before,
                                    const std::vector<ResolvedSpanRef>& after)
{
    std::unordered_map<UUID, double> starts;
    for (const ResolvedSpanRef& ref : before) starts.emplace(ref.spanID, ref.span.start);
    std::unordered_map<UUID, QString> names;
    walkLayers(scene.layers, [&](const Layer& layer) { names.emplace(layer.id, QString::fromStdString(layer.name.string())); });
    std::vector<Item> items;
    for (const ResolvedSpanRef& ref : after)
        items.push_back({.kind = RetimeRow::Kind::span,
                         .name = names[ref.layerID],
                         .start = starts[ref.spanID],
                         .newStart = ref.span.start,
                         .length = std::max(ref.span.end - ref.span.start, 0.0)});
    show(std::move(items), scene.duration);
}

QString secondsText(double seconds)
{
    return QString::number(seconds, 'f', 2) + "s";
}

} // namespace larkspool
