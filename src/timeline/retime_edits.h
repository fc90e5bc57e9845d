#pragma once

#include "document/tween_scene.h"
#include "timeline/retime_row.h"

#include <optional>

namespace larkspool {

/// What a table of times writes into a scene. The effects of spans that change are refit. A source that names nothing, or has no
/// such time, and a time that is no finite number change nothing.

/// The item starts at `start`, which is held within the scene. Spans and clips keep their length. Where a wait starts is where
/// its keyframe stands, and the keyframe moves.
void writeStart(TweenScene& scene, const RetimeSource& source, double start);

/// The span or clip ends `duration` seconds behind its start, or the wait lasts that long; held at 0. Pulses and keyframes have
/// no duration.
void writeDuration(TweenScene& scene, const RetimeSource& source, double duration);

/// What follows an edit of one row: the others are shifted by the way that the row's start or end has gone.
///
///     anchor |      after, by delta
///      [-a-]   *b  [-c-]                  a was edited,
///      [----a----]   *b  [-c-]            and b and c keep their distance
///
/// Unlike the ripple of drags, it holds everything within the scene, whose duration stays, and `before` alone goes the other way:
/// an edit that takes a row to the right pushes the earlier ones to the left.
struct RetimeShift {
    /// What was edited. What begins at the anchor counts as after it, with a slack of 0.0001 seconds; what begins just so much
    /// before it counts if a duration was edited.
    enum class Edited { start, duration };

    RetimeRipple ripple = RetimeRipple::off;
    double delta = 0;       ///< Seconds.
    double anchorStart = 0; ///< Seconds: where the edited start or end was.
    Edited edited = Edited::start;
    TimelineSelection excludingSources{};      ///< Stay. A keyframe stays with its wait if either is named.
    std::optional<LayerIDs> scopeLayerIDs{}; ///< The layers that take part; absent for all.
};

/// Shifts every item that has a row of its own or in a group.
void applyRipple(TweenScene& scene, const RetimeShift& shift);

/// Whether a wait is long enough, above 0.0001 seconds, to have a row of its own.
bool hasRetimeRow(const Keyframe& waiting);

} // namespace larkspool
