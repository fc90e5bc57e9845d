#pragma once

#include "timeline/cross_track_drag.h"
#include "timeline/drag_rules.h"
#include "timeline/ripple_state.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace larkspool {

/// What was pressed.
struct DragPress {
    /// One item, or all that a bar or marker of an aggregate row stands for: of one kind, and together in time.
    std::vector<TimelineItemRef> members{};
    DragHandle handle = DragHandle::body;
    DragRow row = DragRow::layer;
    Modifiers modifiers{}; ///< At the press: with shift or Command, an item that is not selected joins the selection.
    CGPoint trackOrigin{}; ///< Top left of the row's track in the timeline, in points, for the preview of a trim.
};

/// What a drag takes of the editor when the item is pressed. Nothing of it changes while the drag runs: what ripple does to the
/// scene's duration does not bend it.
struct DragSetting {
    TweenScene scene{};
    TimelineSelection selection{};
    double playhead = 0;
    double trackWidth = 0;     ///< Points.
    double visibleSeconds = 0; ///< Along the width.
    double bodyTrigger = 3;    ///< Points that a press on a span's body may stray.
    SnapSettings snapping{};
    TimelineRippleMode rippleMode = TimelineRippleMode::none;
    std::optional<LayerIDs> rippleScope{}; ///< Absent for all layers.
};

/// Drags items of the timeline: spans, clips, pulses, keyframes and wait tails, of one layer or of an aggregate row. What differs
/// between them is told by `DragRules`.
///
///     press ─▶ update … within the dead zone: nothing ─▶ update … beyond it: dragging ─▶ end
///
/// The pressed item's edge goes with the pointer, snaps, and is held; the way it has gone is the delta, and of several pressed
/// members the way of the one that follows best: a clip whose source runs out does not stop the others. All pressed members, the
/// other selected items and the rippled ones go the same way, each held by the rules of its own kind. Every update is made from
/// the scene at the press, so that a drag that comes back to where it began leaves the scene as it was.
class TimelineItemDrag {
public:
    /// The scene that a drag has come to.
    struct Update {
        TweenScene scene;
        std::optional<double> snapTime; ///< Of the snap line.
    };

    TimelineItemDrag(DragPress press, DragSetting setting);

    /// The pointer is `translation` points from the press. Nothing while this is a possible tap, and where there is nothing to
    /// drag: none of the members exists, or the track shows no time.
    std::optional<Update> update(CGPoint translation, Modifiers modifiers);

    bool isDragging() const { return drag_.has_value(); }

    /// What was pressed, of what exists, with the handle that its kind has.
    const DragPress& press() const { return press_; }
    /// The pressed items that exist: what a tap would be on.
    std::vector<TimelineItemRef> tappedMembers() const;
    /// What is selected while dragging: the selection at the press, with the pressed item.
    const TimelineSelection& selection() const { return setting_.selection; }
    /// Of the undo step.
    std::string_view actionName() const;
    /// Ends the drag. How many items ripple has moved, to be announced; nothing if none.
    std::optional<std::size_t> end();

private:
    /// What was captured when the press became a drag.
    struct Drag {
        CapturedItems members;
        CapturedItem reference; ///< The first member, which the pointer holds.
        CrossTrackDragSnapshot others{};
        CapturedItems trimmedOthers{}; ///< Selected items of the kind, where a trim takes them along.
        TimelineRippleState ripple{};
        std::optional<TimeSnap> snap{};
        double triggerTranslation = 0; ///< Points that do not count.
    };
    /// Where the pointer has brought the edge.
    struct Destination {
        double edge;
        std::optional<double> line;
    };

    const DragRules& rules() const { return dragRules(press_.members.front().kind); }
    bool canBegin() const;
    void begin(CGPoint translation);
    void selectPressed();
    CapturedItems captureTrimmedOthers() const;
    TimelineSelection rippleExclusions() const;
    TimelineSelection travelling(const Drag& drag) const;
    TimeSnap makeSnap(const Drag& drag) const;
    double seconds(double points) const;
    Destination destination(double seconds, Modifiers modifiers) const;
    double heldBeforeSnap(double edge) const;
    double closestHeldEdge(double edge) const;
    double heldMemberEdge(const CapturedItem& member, double edge) const;
    TweenScene sceneWithEdgeAt(double edge);

    DragPress press_;
    DragSetting setting_;
    DragLimits limits_;
    std::shared_ptr<const LayerIndex> index_; ///< Of the setting's scene. Null before the drag.
    std::optional<Drag> drag_;
};

} // namespace larkspool
