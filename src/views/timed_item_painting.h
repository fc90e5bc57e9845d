#pragma once

#include "timeline/retime_row.h"

#include <QColor>
#include <QPointF>
#include <QString>

class QPainter;
class QRectF;

namespace larkspool {

/// How the kinds of timed items look wherever they are drawn small: in previews and tables.

/// What a person calls the kind.
QString kindName(RetimeRow::Kind kind);

/// Whether items of the kind are a moment, without a length.
bool isMoment(RetimeRow::Kind kind);

/// In the hue of the kind. A bar that is `isChosen` has the outline of the selection.
void paintTimedBar(QPainter& painter, RetimeRow::Kind kind, const QRectF& bar, bool isChosen = false);
/// `size` pixels wide and high.
void paintMoment(QPainter& painter, RetimeRow::Kind kind, QPointF center, double size);
/// The sign of the kind at the begin of a line, in 16 by 16 pixels around `center`.
void paintKindSign(QPainter& painter, RetimeRow::Kind kind, QPointF center);

} // namespace larkspool
