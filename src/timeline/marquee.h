#pragma once

#include "editing/editor_state.h"
#include "editing/modifiers.h"
#include "editing/scene_lookup.h"
#include "foundation/geometry.h"
#include "platform/timers.h"
#include "timeline/timeline_geometry.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace larkspool {

/// Where a row lies in the timeline. Rows overlap a marquee if they share a coordinate with it, both ends included.
struct PerLayerTrackBand {
    enum class RowKind { spans, videoClip, pulses, keyframes };

    UUID layerID{}; ///< All zero for a row that stands for the whole scene.
    RowKind kind = RowKind::spans;
    double minY = 0;
    double maxY = 0;
};

/// A box that is drawn over rows to select what it touches. The selection is made anew on every update, over the one that was
/// there when the marquee began.
class TimelineMarquee {
public:
    /// What the rows look like at the moment.
    struct Rows {
        std::span<const PerLayerTrackBand> bands{};
        TrackMapping mapping{}; ///< From `trackMapping`, in the coordinates of the marquee's corners.
    };

    /// Begins at `start`, over the active scene and selection.
    TimelineMarquee(const EditorState& state, CGPoint start);

    CGPoint start() const { return start_; }
    /// What lay at the start lies that many points farther to the right now: the start goes with it.
    void shift(double points) { start_.x += points; }

    /// The selection with the other corner at `end`, over the rows of the layers listed. While shift is down, what the marquee
    /// touches is added to the selection of its begin, else it takes its place.
    ///
    /// A span or clip is touched if its bar meets the box; a keyframe, a pulse, and the end of a wait above 0.001 seconds if it
    /// lies within 6 points of it to the left or right.
    TimelineSelection applyPerLayerMarquee(CGPoint end, std::span<const UUID> layers, const Rows& rows,
                                           Modifiers modifiers) const;

    /// The same over the rows that stand for the whole scene, in which all layers take part. They show no waits.
    TimelineSelection applyAggregateMarquee(CGPoint end, const Rows& rows, Modifiers modifiers) const;

private:
    CGPoint start_;
    TweenScene scene_;
    LayerIndex index_;
    TimelineSelection before_;
};

/// How fast a marquee with the cursor at `cursorX` scrolls the zoomed timeline, in seconds of the scene in a second; below 0
/// towards the left. 0 without a viewport, and outside the zones of 36 points at both edges of the track. In the middle of a
/// narrow track, where both zones meet, the deeper one wins, and the right one a tie.
double marqueeScrollSpeed(double cursorX, double containerWidth, double leftGutter,
                          const std::optional<TimelineViewport>& viewport);

/// Scrolls the zoomed timeline while a marquee stands in a zone at its edge.
class MarqueeAutoScroll {
public:
    static constexpr double tickSeconds = 1.0 / 30;

    /// `scroll` is called on every tick, with seconds to add to the viewport's start.
    MarqueeAutoScroll(Timers& timers, std::function<void(double seconds)> scroll) : timers_(timers), scroll_(std::move(scroll)) {}

    double speed() const { return speed_; }
    bool isRunning() const { return static_cast<bool>(timer_); }

    /// Starts at a speed other than 0, and stops at 0.
    void updateMarqueeAutoScroll(double speed);
    void stop() { updateMarqueeAutoScroll(0); }

private:
    void startMarqueeAutoScroll();

    Timers& timers_;
    std::function<void(double)> scroll_;
    double speed_ = 0;
    Timer timer_;
};

/// Moves the start of the zoomed viewport by that many seconds, held within the scene. A scene of no duration has no such view:
/// nothing happens.
void scrollViewport(EditorState& state, double seconds);

} // namespace larkspool
