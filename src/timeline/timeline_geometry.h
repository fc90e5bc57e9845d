#pragma once

#include "document/tween_scene.h"
#include "editing/editor_state.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// The stretch of the scene that the timeline shows while it is zoomed in, in seconds.
struct TimelineViewport {
    double start = 0;
    double visibleDuration = 0;

    double end() const { return start + visibleDuration; }

    bool operator==(const TimelineViewport&) const = default;
};

/// What part of a scene the zoomed timeline shows. There is no other level.
inline constexpr double zoomedShare = 0.25;

/// `start` held so that the zoomed view stays within a scene of that duration.
double heldViewportStart(double start, double duration);

/// Nothing while the timeline is not zoomed in: each track then shows the whole scene.
std::optional<TimelineViewport> activeViewport(const EditorState& state);

/// Seconds and points of one track: a piece of the timeline `width` points wide, from `left` on, that shows `visibleSeconds`
/// from `start` on.
///
///     left                left + width
///      |---------+-------------|          x in points
///    start       t    start + visible     t in seconds
struct TrackMapping {
    double left = 0;
    double width = 0;
    double start = 0;
    double visibleSeconds = 0;

    /// Shows the viewport, or `duration` from 0 where there is none.
    static TrackMapping of(const std::optional<TimelineViewport>& viewport, double duration, double left, double width);

    /// Whether both the width and the visible seconds are above 0, which both directions need.
    bool isUsable() const { return width > 0 && visibleSeconds > 0; }
    double x(double time) const { return left + width * ((time - start) / visibleSeconds); }
    double time(double x) const { return start + seconds(x - left); }
    /// How long a way of that many points is.
    double seconds(double points) const { return points / width * visibleSeconds; }
};

/// A row's track: left of it lie the row's label and two margins.
inline constexpr double trackMargins = 8 + 8;

/// The track of a container that wide, the label's part included. The track is held at a width of 1 or more.
TrackMapping trackMapping(const std::optional<TimelineViewport>& viewport, double duration, double leftGutter,
                          double containerWidth);

/// The rail of whole seconds above the tracks. Its visible seconds are held at 0.001 or more.
namespace TimeTickRail {

/// Seconds between ticks, so that they stand 36 points apart or more as long as a step of 600 seconds allows it.
double step(double width, double visibleSeconds);

/// Where ticks stand: at whole multiples of the step, both ends of the viewport included. A rail that would need more than 10,000
/// of them has none.
std::vector<double> ticks(double width, const TimelineViewport& viewport);

/// The playhead for a press or drag at `x` points from the rail's left edge, held within the scene.
double time(double x, double width, const TimelineViewport& viewport, double duration);

} // namespace TimeTickRail

/// The viewport, or the whole scene.
TimelineViewport shownViewport(const std::optional<TimelineViewport>& viewport, double duration);

/// The readout of the playhead: seconds with two decimals and the number of the frame, "1.50s · f90".
std::string timecodeBubble(double time, double fps);

} // namespace larkspool
