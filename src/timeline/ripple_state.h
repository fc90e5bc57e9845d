#pragma once

#include "document/enumeration.h"
#include "timeline/captured_items.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace larkspool {

/// Which items follow when one is moved: those that begin before the anchor, those that begin at it or after, or both.
enum class TimelineRippleMode { none, before, after, both };

template <>
struct EnumTable<TimelineRippleMode> {
    using enum TimelineRippleMode;
    static constexpr EnumCase<TimelineRippleMode> cases[] = {
        {none, "none", "Off"},
        {before, "before", "Push Items Before"},
        {after, "after", "Push Items After"},
        {both, "both", "Push Both Before & After"},
    };
};

/// Keeps the rest of a scene in step while one item is moved in time: every other item on the chosen side of the anchor moves by
/// the same way.
///
///     anchor |          after, by dt
///      [--a--]  [-b-]    *c               a is dragged to the right,
///            [--a--]  [-b-]    *c         and b and c keep their distance
///
/// Items are captured once, and each `apply` writes what was captured plus the way gone, so that a drag that wanders and returns
/// leaves no trace. Capture, apply as often as you like, clear.
struct TimelineRippleState {
    struct Snapshot {
        TimelineRippleMode mode = TimelineRippleMode::none;
        double anchor = 0;           ///< Seconds.
        CapturedItems items{};       ///< Spans, clips, pulses and keyframes that move along.
        double originalDuration = 0; ///< Of the scene.
    };

    std::optional<Snapshot> snapshot{};
    bool didShift = false;                   ///< Whether anything was ever moved by more than 0.0001 seconds.
    std::optional<LayerIDs> scopeLayerIDs{}; ///< The layers that take part; absent for all. Stays when the state is cleared.

    /// Takes the items on the chosen side of the anchor. A span or clip stands on the side of its start, and moves whole. The
    /// mode `none` takes no snapshot. A wait tail in `excluded` excludes nothing: its keyframe takes part. A clip without
    /// length never does. `index`, if given, is of the scene.
    void capture(const TweenScene& scene, const TimelineSelection& excluded, TimelineRippleMode mode, double anchor,
                 std::shared_ptr<const LayerIndex> index = nullptr);

    /// Moves what was captured `dt` seconds from where it was, and none before 0; lengths and waits stay. The scene's duration
    /// grows to hold the last of them, and comes back to that of the capture, not below it. Without a snapshot nothing happens.
    void apply(double dt, TweenScene& to);
    /// The same, by the way that an item that began at the anchor has gone.
    void applyPrimaryStart(double primaryStart, TweenScene& to);

    /// Ends the gesture. How many items were moved, to be announced; nothing if none were.
    std::optional<std::size_t> clear();

    std::size_t rippledItemCount() const { return snapshot ? snapshot->items.size() : 0; }
};

} // namespace larkspool
