#include "views/retime_mini_timeline_view.h"

#include "timeline/timeline_geometry.h"
#include "views/tabular_text.h"
#include "views/theme.h"
#include "views/timed_item_painting.h"
#include "views/times_preview.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace larkspool {

namespace {

constexpr double railHeight = 20, inset = 8, bandTop = 4, bandHeight = 9, bandGap = 2, radius = 6;

} // namespace

RetimeMiniTimelineView::RetimeMiniTimelineView(Steps steps, QWidget* parent) : QWidget(parent), steps_(std::move(steps))
{
    setAccessibleName("Playhead");
    setFocusPolicy(Qt::TabFocus);
    setFixedHeight(RetimeMiniTimelineView::sizeHint().height());
    setCursor(Qt::SplitHCursor);
    setToolTip("Drag to move the playhead. Arrow keys go on by a frame.");
}

void RetimeMiniTimelineView::showRows(const std::vector<RetimeRow>& rows, double sceneDuration)
{
    rows_ = rows;
    sceneDuration_ = sceneDuration;
    bars_ = {};
    update();
}

void RetimeMiniTimelineView::showChosen(const RetimeRow* row)
{
    chosen_ = row ? std::optional(*row) : std::nullopt;
    update();
}

void RetimeMiniTimelineView::showPlayhead(double seconds)
{
    if (std::exchange(playhead_, seconds) == seconds) return;
    setAccessibleDescription(secondsText(seconds));
    update();
}

QRectF RetimeMiniTimelineView::strip() const
{
    return QRectF(rect()).adjusted(inset, railHeight, -inset, 0);
}

QRectF RetimeMiniTimelineView::band(RetimeRow::Kind kind) const
{
    const int index = kind == RetimeRow::Kind::span        ? 0
                      : kind == RetimeRow::Kind::videoClip ? 1
                      : kind == RetimeRow::Kind::pulse     ? 2
                                                           : 3;
    const QRectF whole = strip();
    return {whole.left(), whole.top() + bandTop + index * (bandHeight + bandGap), whole.width(), bandHeight};
}

RetimeMiniTimeline RetimeMiniTimelineView::mapping() const
{
    return {strip().width(), sceneDuration_};
}

void RetimeMiniTimelineView::resizeEvent(QResizeEvent*)
{
    bars_ = {};
}

void RetimeMiniTimelineView::paintBars(QPainter& painter) const
{
    const Theme& t = theme();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath corners;
    corners.addRoundedRect(rect(), radius, radius);
    painter.setClipPath(corners);
    painter.fillRect(rect(), t.window);
    painter.fillRect(QRectF(0, 0, width(), railHeight), t.railBackground);
    painter.fillRect(QRectF(0, railHeight - 1, width(), 1), t.hairline);
    const QRectF whole = strip();
    const TrackMapping time{whole.left(), whole.width(), 0, sceneDuration_};
    if (!time.isUsable()) return;
    painter.setFont(textFont(TextStyle::tick));
    for (const double tick : TimeTickRail::ticks(whole.width(), {0, sceneDuration_})) {
        const double x = std::round(time.x(tick));
        painter.fillRect(QRectF(x, railHeight - 6, 1, 6), t.tick);
        const QString words = QString::number(tick) + "s";
        const double wide = tabularWidth(painter.font(), words);
        painter.setPen(t.tickText);
        paintTabular(painter, QRectF(std::clamp(x + 3, 0.0, width() - wide - 4), 0, wide, railHeight - 6), Qt::AlignLeft, words);
    }

    const std::vector<RetimeMiniTimeline::Bar> bars = mapping().bars(rows_);
    std::set<std::pair<RetimeRow::Kind, std::pair<int, int>>> seen; // Of several on the same pixels one is enough.
    for (const RetimeMiniTimeline::Bar& bar : bars) {
        const std::pair pixels(static_cast<int>(std::round(bar.x * 2)), static_cast<int>(std::round(bar.width * 2)));
        if (!seen.insert({bar.kind, pixels}).second) continue;
        const QRectF lane = band(bar.kind);
        const QRectF place(lane.left() + bar.x, lane.top(), bar.width, lane.height());
        if (isMoment(bar.kind))
            paintMoment(painter, bar.kind, {place.left(), place.center().y()}, bandHeight);
        else
            paintTimedBar(painter, bar.kind, bar.kind == RetimeRow::Kind::wait ? place.adjusted(0, 1, 0, -1) : place);
    }
}

void RetimeMiniTimelineView::paintGrip(QPainter& painter) const
{
    const std::optional<double> at = mapping().gripX(playhead_);
    if (!at) return;
    const Theme& t = theme();
    const double x = strip().left() + *at;
    painter.fillRect(QRectF(x - 0.5, 0, 1, height()), t.playhead);
    painter.setFont(textFont(TextStyle::tick));
    const QString words = secondsText(playhead_);
    const double wide = tabularWidth(painter.font(), words) + 12;
    const QRectF grip(std::clamp(x - wide / 2, 0.0, width() - wide), 1, wide, railHeight - 3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(t.playhead);
    painter.drawRoundedRect(grip, 4, 4);
    painter.setPen(t.playheadText);
    paintTabular(painter, grip, Qt::AlignHCenter, words);
    if (!hasFocus()) return;
    painter.setPen(QPen(t.focusRing, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius, radius);
}

void RetimeMiniTimelineView::paintEvent(QPaintEvent*)
{
    const double ratio = devicePixelRatioF();
    if (bars_.isNull() || bars_.devicePixelRatio() != ratio) {
        bars_ = QPixmap(size() * ratio);
        bars_.setDevicePixelRatio(ratio);
        bars_.fill(Qt::transparent);
        QPainter painter(&bars_);
        paintBars(painter);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawPixmap(0, 0, bars_);
    if (chosen_) {
        for (const RetimeMiniTimeline::Bar& bar : mapping().bars(std::vector{*chosen_})) {
            const QRectF lane = band(bar.kind);
            const double side = isMoment(bar.kind) ? bandHeight / 2 + 1 : 0;
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(theme().text, 1.5));
            painter.drawRoundedRect(QRectF(lane.left() + bar.x - side, lane.top() - 1,
                                           isMoment(bar.kind) ? 2 * side : std::max(bar.width, 4.0), lane.height() + 2),
                                    3, 3);
        }
    }
    paintGrip(painter);
}

void RetimeMiniTimelineView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) mouseMoveEvent(event);
}

void RetimeMiniTimelineView::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::LeftButton)
        steps_.scrub(event->position().x() - strip().left(), strip().width(), event->modifiers());
}

void RetimeMiniTimelineView::keyPressEvent(QKeyEvent* event)
{
    const int frames = event->modifiers() & Qt::ShiftModifier ? 10 : 1;
    if (event->key() == Qt::Key_Left) return steps_.stepPlayhead(-frames);
    if (event->key() == Qt::Key_Right) return steps_.stepPlayhead(frames);
    event->ignore();
}

} // namespace larkspool
