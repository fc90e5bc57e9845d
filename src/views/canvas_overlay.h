#pragma once

#include "canvas/overlay_items.h"

#include <QRectF>
#include <QString>

class QPainter;

namespace larkspool {

/// The part of a canvas that overlays are painted on, in its points.
struct OverlaySurface {
    QRectF view{};
    double clearLeft = 0;  ///< Labels keep to the right of what floats at the left edge.
    double pixelRatio = 1; ///< Device pixels for a point, to which upright lines are aligned.

    /// The middle of the pixel that a coordinate lies in.
    double pixelMiddle(double coordinate) const;
};

/// Paints what lies over the canvas. Labels, pills and the badge, which shows `size` below the frame, stay in view as a whole; an
/// empty `size` shows none.
void paintOverlayItems(QPainter& painter, const OverlayItems& items, const QString& size, const OverlaySurface& surface);

/// Paints words in a round box whose top left corner is given, and tells where it is.
QRectF paintPill(QPainter& painter, const QString& words, QPointF topLeft);
QSizeF pillSize(const QString& words);

} // namespace larkspool
