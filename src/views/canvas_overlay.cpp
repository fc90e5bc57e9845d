#include "views/canvas_overlay.h"

#include "views/theme.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr double frameWidth = 1.5, handleSize = 8, handleCorner = 2, rotateHandleSize = 10;
constexpr double pillHeight = 24, pillPadding = 12, pillGap = 4;
constexpr double badgeHeight = 18, badgePadding = 6, badgeGap = 8, badgeCorner = 4;
constexpr double labelHeight = 16, labelPadding = 5, labelGap = 6;
constexpr double edge = 8; ///< What keeps from the view's edges keeps so far from them.

/// Points as Qt has them, those of upright lines on the middle of a pixel.
class Places {
public:
    Places(const OverlaySurface& surface, bool isAligned) : surface_(surface), isAligned_(isAligned) {}

    QPointF operator()(CGPoint point) const
    {
        return isAligned_ ? QPointF(surface_.pixelMiddle(point.x), surface_.pixelMiddle(point.y)) : QPointF(point.x, point.y);
    }
    QRectF operator()(const CGRect& rect) const
    {
        return QRectF((*this)(CGPoint{rect.minX(), rect.minY()}), (*this)(CGPoint{rect.maxX(), rect.maxY()}));
    }

private:
    const OverlaySurface& surface_;
    bool isAligned_;
};

bool isUpright(const OverlayItems::Frame& frame)
{
    constexpr double hair = 0.01; // Points by which a side may lean.
    const auto& corners = frame.corners;
    const auto alongAxis = [](CGPoint a, CGPoint b) { return std::abs(a.x - b.x) < hair || std::abs(a.y - b.y) < hair; };
    return alongAxis(corners[0], corners[1]) && alongAxis(corners[1], corners[2]);
}

QRectF asQRect(const CGRect& rect)
{
    return QRectF(rect.minX(), rect.minY(), rect.size.width, rect.size.height);
}

QRectF boundsOf(const OverlayItems::Frame& frame)
{
    QPolygonF corners;
    for (const CGPoint& corner : frame.corners) corners << QPointF(corner.x, corner.y);
    return corners.boundingRect();
}

/// Whether the frame is that of a group, which has it dashed.
bool isDashed(const OverlayItems& items)
{
    constexpr double hair = 0.01;
    const QRectF frame = boundsOf(*items.frame);
    const auto covers = [&](const CGRect& group) {
        return std::abs(group.minX() - frame.left()) < hair && std::abs(group.minY() - frame.top()) < hair &&
               std::abs(group.maxX() - frame.right()) < hair && std::abs(group.maxY() - frame.bottom()) < hair;
    };
    return isUpright(*items.frame) && std::ranges::any_of(items.groupOutlines, covers);
}

/// `box` moved so far that it lies in the view, right of what floats there; where it is wider, its left part does.
QRectF heldInView(QRectF box, const OverlaySurface& surface)
{
    const QRectF room = surface.view.adjusted(surface.clearLeft + edge, edge, -edge, -edge);
    box.moveLeft(std::max(room.left(), std::min(box.left(), room.right() - box.width())));
    box.moveTop(std::max(room.top(), std::min(box.top(), room.bottom() - box.height())));
    return box;
}

void paintBox(QPainter& painter, const QRectF& box, double corner, const QColor& fill, const QColor& text, const QString& words)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(box, corner, corner);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(text);
    painter.drawText(box, Qt::AlignCenter, words);
}

void paintKnob(QPainter& painter, QPointF middle, double size, double corner)
{
    painter.setPen(QPen(theme().selectionOutline, frameWidth));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(middle.x() - size / 2, middle.y() - size / 2, size, size), corner, corner);
    painter.setBrush(Qt::NoBrush);
}

void paintFrame(QPainter& painter, const OverlayItems& items, const OverlaySurface& surface)
{
    const OverlayItems::Frame& frame = *items.frame;
    const Places place(surface, isUpright(frame));
    painter.setPen(QPen(theme().selectionOutline, frameWidth));
    if (frame.linePoints.empty() && !isDashed(items)) {
        QPolygonF corners;
        for (const CGPoint& corner : frame.corners) corners << place(corner);
        painter.drawPolygon(corners);
    }
    if (frame.rotateHandle) {
        const CGPoint topLeft = frame.corners[0], topRight = frame.corners[1];
        const QPointF handle = place(*frame.rotateHandle);
        painter.drawLine(place(CGPoint{(topLeft.x + topRight.x) / 2, (topLeft.y + topRight.y) / 2}), handle);
        paintKnob(painter, handle, rotateHandleSize, rotateHandleSize / 2);
    }
    for (const CGPoint& handle : frame.handles) paintKnob(painter, place(handle), handleSize, handleCorner);
    for (const CGPoint& point : frame.linePoints) paintKnob(painter, place(point), rotateHandleSize, rotateHandleSize / 2);
}

void paintBadge(QPainter& painter, const OverlayItems::Frame& frame, const QString& size, const OverlaySurface& surface)
{
    const QRectF around = boundsOf(frame);
    if (size.isEmpty() || !around.intersects(surface.view)) return;
    painter.setFont(textFont(TextStyle::caption));
    const double wide = QFontMetricsF(painter.font()).horizontalAdvance(size) + 2 * badgePadding;
    const QRectF below(std::round(around.center().x() - wide / 2), std::round(around.bottom() + badgeGap), wide, badgeHeight);
    paintBox(painter, heldInView(below, surface), badgeCorner, theme().accent, theme().textOnAccent, size);
}

QColor colorOf(const OverlayItems::Guide& guide)
{
    return guide.fromLayer ? theme().guideLayer : theme().guideScene;
}

/// Where a guide begins: with the pixel of its coordinate.
double startOf(const OverlayItems::Guide& guide, const OverlaySurface& surface)
{
    return std::floor(guide.position * surface.pixelRatio) / surface.pixelRatio;
}

void paintGuideLine(QPainter& painter, const OverlayItems::Guide& guide, const OverlaySurface& surface)
{
    const QRectF& view = surface.view;
    const double at = startOf(guide, surface);
    const bool isVertical = guide.axis == OverlayItems::Guide::Axis::x;
    const QRectF line = isVertical ? QRectF(at, view.top(), 1, view.height()) : QRectF(view.left(), at, view.width(), 1);
    painter.fillRect(line, colorOf(guide));
}

void paintGuideLabel(QPainter& painter, const OverlayItems::Guide& guide, const OverlaySurface& surface)
{
    const QRectF& view = surface.view;
    const double at = startOf(guide, surface);
    const bool isVertical = guide.axis == OverlayItems::Guide::Axis::x;
    const bool isSeen = isVertical ? view.left() <= at && at < view.right() : view.top() <= at && at < view.bottom();
    if (guide.label.empty() || !isSeen) return;

    painter.setFont(textFont(TextStyle::guideLabel));
    const QFontMetricsF metrics(painter.font());
    // A long name gives way in its middle: what is caught, at the end, is read in any case.
    const QString words = metrics.elidedText(QString::fromStdString(guide.label), Qt::ElideMiddle, view.width() / 2);
    QRectF box(QPointF(), QSizeF(metrics.horizontalAdvance(words) + 2 * labelPadding, labelHeight));
    if (isVertical) {
        const bool fitsRight = at + labelGap + box.width() + edge <= view.right();
        box.moveTopLeft({fitsRight ? at + labelGap : at - labelGap - box.width(), view.top() + edge});
    } else {
        const bool fitsBelow = at + labelGap + box.height() + edge <= view.bottom();
        box.moveTopLeft({view.left() + surface.clearLeft + edge, fitsBelow ? at + labelGap : at - labelGap - box.height()});
    }
    paintBox(painter, isVertical ? box : heldInView(box, surface), labelHeight / 2, colorOf(guide), theme().guideText, words);
}

/// Above the group, clear of the rotate handle; below it, clear of the size, where there is no room above.
void paintGroupPill(QPainter& painter, const OverlayItems::Pill& pill, const OverlayItems& items, const OverlaySurface& surface)
{
    const QRectF group = asQRect(pill.box);
    if (!group.intersects(surface.view)) return;
    const QString words = QString::fromUtf8(pill.text.data(), static_cast<qsizetype>(pill.text.size()));
    QRectF box(QPointF(group.left(), group.top() - pillGap - pillHeight), pillSize(words));
    box.moveLeft(heldInView(box, surface).left());
    if (items.frame && items.frame->rotateHandle) {
        constexpr double around = rotateHandleSize / 2 + frameWidth;
        const CGPoint handle = *items.frame->rotateHandle;
        const QRectF taken(handle.x - around, handle.y - around, 2 * around, rotateHandleDistance + 2 * around);
        if (box.intersects(taken)) box.moveBottom(taken.top() - pillGap);
    }
    if (box.top() < surface.view.top() + edge) box.moveTop(group.bottom() + badgeGap + badgeHeight + badgeGap);
    paintPill(painter, words, heldInView(box, surface).topLeft());
}

} // namespace

double OverlaySurface::pixelMiddle(double coordinate) const
{
    return (std::floor(coordinate * pixelRatio) + 0.5) / pixelRatio;
}

QSizeF pillSize(const QString& words)
{
    return {QFontMetricsF(textFont(TextStyle::value)).horizontalAdvance(words) + 2 * pillPadding, pillHeight};
}

QRectF paintPill(QPainter& painter, const QString& words, QPointF topLeft)
{
    painter.setFont(textFont(TextStyle::value));
    const QRectF pill(topLeft, pillSize(words));
    paintBox(painter, pill, pillHeight / 2, theme().overlay, theme().text, words);
    return pill;
}

void paintOverlayItems(QPainter& painter, const OverlayItems& items, const QString& size, const OverlaySurface& surface)
{
    const Theme& t = theme();
    const Places aligned(surface, /*isAligned=*/true);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    const QPen outline(t.selectionOutline, frameWidth);
    QPen dashed = outline;
    dashed.setDashPattern({4 / frameWidth, 3 / frameWidth});
    dashed.setCapStyle(Qt::FlatCap);

    // Handles and the size lie over the lines that they were brought to.
    for (const OverlayItems::Guide& guide : items.guides) paintGuideLine(painter, guide, surface);
    painter.setPen(dashed);
    for (const CGRect& group : items.groupOutlines) painter.drawRect(aligned(group));
    painter.setPen(outline);
    if (items.selectionBox) painter.drawRect(aligned(*items.selectionBox));
    if (items.frame) paintFrame(painter, items, surface);
    if (items.waitGhost) {
        painter.setPen(QPen(t.wait, frameWidth));
        painter.setBrush(QBrush(t.wait, Qt::BDiagPattern));
        painter.drawRect(aligned(*items.waitGhost));
        painter.setBrush(Qt::NoBrush);
    }
    if (items.marquee) {
        painter.setPen(QPen(t.selectionOutline, 1));
        painter.setBrush(t.marqueeFill);
        painter.drawRect(aligned(*items.marquee));
        painter.setBrush(Qt::NoBrush);
    }
    if (items.frame && items.frame->linePoints.empty()) paintBadge(painter, *items.frame, size, surface);
    for (const OverlayItems::Guide& guide : items.guides) paintGuideLabel(painter, guide, surface);
    for (const OverlayItems::Pill& pill : items.pills) paintGroupPill(painter, pill, items, surface);
}

} // namespace larkspool
