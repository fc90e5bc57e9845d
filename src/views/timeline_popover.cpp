#include "views/timeline_popover.h"

#include "views/icons.h"
#include "views/kind_icon.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace larkspool {

namespace {

constexpr int listWidth = 232, lineHeight = 26, padding = 8, tipHeight = 6, tipGap = 2;
constexpr std::size_t mostLines = 14;

QString seconds(double time)
{
    return QString::number(time, 'f', 2) + "s";
}

} // namespace

TimelinePopover::TimelinePopover(QWidget* parent) : QWidget(parent)
{
    hide();
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void TimelinePopover::show(const TweenScene& scene, const std::vector<OverlapGroup>& groups, QPoint tip)
{
    const AggregateLayerPopover list = AggregateLayerPopover::of(groups, AggregateLayerPopover::nameLookup(scene));
    lines_.clear();
    const auto addPart = [&](const OverlapGroup& group, const std::vector<AggregateLayerPopover::Entry>& entries) {
        const QString times = group.start == group.end ? seconds(group.start) : seconds(group.start) + " – " + seconds(group.end);
        lines_.push_back(
            {Line::Kind::head, {}, entries.size() == 1 ? QString("1 layer") : QString("%1 layers").arg(entries.size()), times});
        for (const AggregateLayerPopover::Entry& entry : entries) {
            const Layer* layer = findLayer(scene, entry.layerID);
            lines_.push_back(
                {Line::Kind::layer, layer ? kindIcon(layer->kind) : QString(), QString::fromStdString(entry.name), {}});
        }
    };
    if (list.isGrouped())
        for (const AggregateLayerPopover::Part& part : list.groupedBody) addPart(part.group, part.entries);
    else if (!groups.empty())
        addPart(groups.front(), list.flatBody);
    if (lines_.empty()) return hide();
    if (lines_.size() > mostLines) {
        const std::size_t more = lines_.size() - mostLines + 1;
        lines_.resize(mostLines - 1);
        lines_.push_back({Line::Kind::more, {}, QString("and %1 more").arg(more), {}});
    }
    const QSize size(listWidth, static_cast<int>(lines_.size()) * lineHeight + 2 * padding + tipHeight);
    const int left = std::clamp(tip.x() - listWidth / 2, 0, std::max(0, parentWidget()->width() - listWidth));
    tipX_ = std::clamp(tip.x() - left, 16, listWidth - 16);
    setGeometry(QRect(QPoint(left, tip.y() - tipGap - size.height()), size));
    QWidget::show();
    raise();
    update();
}

void TimelinePopover::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box(0.5, 0.5, width() - 1, height() - tipHeight - 1);
    QPainterPath shape, tip;
    shape.addRoundedRect(box, 8, 8);
    tip.addPolygon(QPolygonF{QPointF(tipX_ - tipHeight, box.bottom()), QPointF(tipX_ + tipHeight, box.bottom()),
                             QPointF(tipX_, box.bottom() + tipHeight)});
    painter.setPen(t.hairlineStrong);
    painter.setBrush(t.raised);
    painter.drawPath(shape.united(tip));

    double y = padding;
    for (const Line& line : lines_) {
        const QRectF row(16, y, width() - 32, lineHeight);
        const bool isHead = line.kind == Line::Kind::head;
        painter.setFont(textFont(isHead ? TextStyle::section : TextStyle::body));
        painter.setPen(line.kind == Line::Kind::more ? t.textSecondary : t.text);
        const double left = line.icon.isEmpty() ? 0 : 24;
        if (left > 0)
            painter.drawPixmap(QPointF(row.left(), y + 5), iconPixmap(line.icon, 16, t.textSecondary, devicePixelRatioF()));
        const double room = row.width() - left - (isHead ? 110 : 0);
        painter.drawText(row.adjusted(left, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                         QFontMetricsF(painter.font()).elidedText(line.words, Qt::ElideRight, room));
        if (isHead) {
            painter.setFont(textFont(TextStyle::value));
            painter.setPen(t.textSecondary);
            paintTabular(painter, row, Qt::AlignRight, line.times);
        }
        y += lineHeight;
    }
}

} // namespace larkspool
