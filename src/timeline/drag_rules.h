#pragma once

#include "foundation/geometry.h"
#include "timeline/captured_items.h"
#include "timeline/snap.h"

#include <string_view>

namespace larkspool {

/// The part of an item that is pressed.
enum class DragHandle {
    body,     ///< The whole item moves.
    leftEdge, ///< The start is trimmed.
    rightEdge ///< The end is trimmed; of a wait tail, the hold is.
};

/// Whether a row shows one layer or stands for the whole scene.
enum class DragRow { layer, aggregate };

/// How far a press may stray before it is a drag. Until then it is a possible tap, and changes nothing.
struct DeadZone {
    enum class Axes { horizontal, both };

    double points = 0;
    Axes axes = Axes::horizontal;

    /// Whether a way of exactly `points` already is a drag.
    enum class Border { within, beyond };
    Border border = Border::within;

    bool holds(CGPoint translation) const;
};

/// All that tells the kinds of item apart when they are dragged. The drag itself is the same for all: see `TimelineItemDrag`.
struct DragRules {
    struct Names {
        std::string_view one;
        std::string_view many;
    };

    TimelineItemRef::Kind kind;
    Names move; ///< Of the undo step. Empty for a kind that has no body: every press on it is on its right edge.
    Names trim; ///< Empty for a kind that has no edges: every press on it is on its body.
    SnapMember snapMember;          ///< In the row of a layer.
    SnapMember aggregateSnapMember; ///< In a row that stands for the scene.

    /// Whether a time that no target is near lands on the grid.
    enum class Grid { lands, ignored };
    Grid grid = Grid::lands;
    /// Whether the snap line shows a grid time too.
    enum class Line { always, atTargets };
    Line line = Line::always;
    /// How the pointer's time is held before it snaps: within the scene, or where the item has no length. After the snap all that
    /// the kind asks for holds in any case.
    enum class HeldBeforeSnap { no, withinScene, atNoLength };
    HeldBeforeSnap heldBeforeSnap = HeldBeforeSnap::no;
    /// Whether a trim also trims the selected items of the kind.
    enum class Trims { pressedOnly, selection };
    Trims trims = Trims::pressedOnly;
    /// When the undo step has the name of many in the row of a layer. In a row that stands for the scene it always has.
    enum class NamesMany { withOthersOfTheKind, never };
    NamesMany namesMany = NamesMany::withOthersOfTheKind;
    /// A track without width: it counts as one point wide, or the drag is refused.
    enum class NoWidth { onePoint, refused };
    NoWidth noWidth = NoWidth::refused;
};

const DragRules& dragRules(TimelineItemRef::Kind kind);

/// The dead zone of a handle. That of a span's body is the view's, which knows its pointer: `bodyTrigger` points.
DeadZone deadZone(TimelineItemRef::Kind kind, DragHandle handle, double bodyTrigger);

/// What holds the edges of dragged items, as the scene was when the drag began.
struct DragLimits {
    double duration = 0;     ///< Of the scene.
    double shortestSpan = 0; ///< A frame, and 0.05 seconds at least.

    static DragLimits of(const TweenScene& scene);
};

/// The edge that a handle moves: the start, or the end for the right edge.
double edgeOf(const CapturedItem& item, DragHandle handle);

/// Where the edge stays when it is dragged to `edge`.
double heldEdge(const CapturedItem& item, DragHandle handle, double edge, const DragLimits& limits);

/// The item with that edge where it is, as held. A body keeps its length; a clip whose start is trimmed keeps its picture in
/// place.
CapturedItems::Written withEdge(const CapturedItem& item, DragHandle handle, double edge);

} // namespace larkspool
