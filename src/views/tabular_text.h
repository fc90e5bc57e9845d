#pragma once

#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace larkspool {

/// Texts whose digits all are as wide as the widest of the font, so that times and sizes do not dance while they change.

/// Pixels.
double tabularWidth(const QFont& font, const QString& text);

/// Draws the text in the painter's font and pen, in the middle of the rectangle's height.
void paintTabular(QPainter& painter, const QRectF& rect, Qt::Alignment alignment, const QString& text);

} // namespace larkspool
