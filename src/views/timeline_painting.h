#pragma once

#include "views/timeline_gutter.h"
#include "views/timeline_layout.h"

#include <QPixmap>
#include <QRectF>

#include <optional>

class QPainter;

namespace larkspool {

/// The pictures of the timeline. The rows are painted with the painter's origin at the top of all rows; `seen` is the part that
/// is painted. What lies outside of it costs nothing.
namespace TimelinePainting {

/// The lanes with all that stands on them: everything that stays as it is while the playhead moves.
void paintTracks(QPainter& painter, const TimelineLayout& layout, const TimelineSelection& selection, const QRectF& seen);

/// A bar with the pointer over it: brighter, with a grip at the edge that a press would trim.
void paintHoveredBar(QPainter& painter, const TimelineLayout& layout, const TimelineLayout::Hit& hit,
                     const TimelineSelection& selection);

/// What the pointer is over in the gutter, and what the keys act on there.
struct GutterHover {
    const TimelineBlock* block = nullptr;
    const TimelineRow* row = nullptr;
    std::optional<GutterControl> focused{};    ///< It is shown even where the pointer would have to be over its row.
    const TimelineRow* focusedRow = nullptr; ///< The row of it.
};

/// Names, values at the playhead and what can be pressed there.
void paintGutter(QPainter& painter, const TimelineLayout& layout, double playhead, const GutterHover& hover, const QRectF& seen);

/// The tick rail, 24 high at the top of the view. With the origin at the view's corner, as the rest.
void paintRail(QPainter& painter, const TimelineLayout& layout, double viewWidth, double playhead);
/// The line down to `bottom`, and its readout on the rail.
void paintPlayhead(QPainter& painter, const TimelineLayout& layout, double playhead, double bottom);
void paintSnapLine(QPainter& painter, const TimelineLayout& layout, double time, double bottom);
void paintMarquee(QPainter& painter, const QRectF& box);
/// The button beside the selection that switches ripple on one side.
enum class RippleSide { before, after };
void paintRipplePill(QPainter& painter, RippleSide side, QPointF center, bool isOn);

/// The whole scene in small, `rect` being the strip below the rows, with a frame round what is seen.
void paintMinimap(QPainter& painter, const TimelineLayout& layout, const QRectF& rect, double playhead);
/// The frame of it.
QRectF minimapFrame(const TimelineLayout& layout, const QRectF& rect);
/// Seconds and pixels of the whole scene in the strip.
TrackMapping minimapMapping(const TimelineLayout& layout);

} // namespace TimelinePainting

} // namespace larkspool
