#pragma once

#include "document/enumeration.h"
#include "document/tween_scene.h"
#include "editing/modifiers.h"
#include "editing/timeline_item.h"
#include "platform/user_defaults.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace larkspool {

/// The grid of times that drags land on where no item is near.
enum class PlayheadSnapMode { frame, sec010, sec025, sec050, sec100 };

template <>
struct EnumTable<PlayheadSnapMode> {
    using enum PlayheadSnapMode;
    static constexpr EnumCase<PlayheadSnapMode> cases[] = {
        {frame, "frame"}, {sec010, "sec010"}, {sec025, "sec025"}, {sec050, "sec050"}, {sec100, "sec100"}};
};

/// Seconds from one grid time to the next. A scene of less than one frame a second counts as one of one.
double gridStep(PlayheadSnapMode mode, std::int64_t fps);

/// The grid time nearest to `time`; half way between two, the one farther from 0.
double gridTime(double time, double step);

/// What drags snap to. The grid and the playhead cannot be switched off.
struct SnapSettings {
    PlayheadSnapMode grid = PlayheadSnapMode::frame;
    bool toSpans = true;
    bool toKeyframes = true;
    bool toPulses = true;

    static SnapSettings of(const UserDefaults& defaults);
};

/// The line that shows what a drag has snapped to, by its time. Nothing means no line.
struct TimelineSnapState {
    std::optional<double> time{};
};

/// How one kind of row snaps.
struct SnapMember {
    /// Whose items are targets.
    enum class Pool { ownLayer, everyLayer, everyVideoLayer };

    double radius = 6; ///< Points.
    Pool pool = Pool::ownLayer;
};

namespace SnapMembers {
inline constexpr SnapMember spansTrack{6, SnapMember::Pool::ownLayer};
inline constexpr SnapMember videoClipTrack{6, SnapMember::Pool::ownLayer};
inline constexpr SnapMember pulsesTrack{6, SnapMember::Pool::ownLayer};
inline constexpr SnapMember keyframeTracks{12, SnapMember::Pool::ownLayer}; ///< Wait tails too.
inline constexpr SnapMember aggregateSpansTrack{6, SnapMember::Pool::everyLayer};
inline constexpr SnapMember aggregateVideoTrack{6, SnapMember::Pool::everyVideoLayer};
inline constexpr SnapMember aggregateKeyframesTrack{6, SnapMember::Pool::everyLayer};
inline constexpr SnapMember aggregatePulsesTrack{6, SnapMember::Pool::everyLayer};
} // namespace SnapMembers

/// Pulls times to items near them, else to the grid. The targets are taken once, at the begin of a drag.
class TimeSnap {
public:
    /// What a row shows when the drag begins.
    struct Track {
        double width = 0;          ///< Points.
        double totalSeconds = 0;   ///< Of the scene.
        double visibleSeconds = 0; ///< Of the viewport, or the scene's.
    };
    /// Where a time went.
    struct Snapped {
        double time = 0;
        bool toItem = false; ///< To the playhead or an item, not to the grid.

        bool operator==(const Snapped&) const = default;
    };
    /// Where a body went.
    struct SnappedBody {
        double start = 0;
        double line = 0; ///< The time that it snapped to: of its start or of its end.
        bool toItem = false;

        bool operator==(const SnappedBody&) const = default;
    };

    /// Items in `excluded` are no targets: what is dragged, and what moves along with it. `ownLayerID` is read by members whose
    /// pool is one layer.
    TimeSnap(const TweenScene& scene, double playhead, const SnapSettings& settings, SnapMember member, const UUID& ownLayerID,
             const TimelineSelection& excluded, const Track& track);

    /// The nearest target that is nearer than the radius; of several equally near, the one listed first: the playhead, then
    /// keyframes, pulses, and the starts and ends of spans. Without one, the grid. Nothing while Command is down, and on a
    /// track of no width or no duration.
    std::optional<Snapped> snap(double time, Modifiers modifiers) const;

    /// For a body of that length: a target near its start, else one near its end, else the grid at its start.
    std::optional<SnappedBody> snapBody(double start, double length, Modifiers modifiers) const;

private:
    std::optional<double> nearestTarget(double time) const;
    bool isActive(double time, Modifiers modifiers) const;

    std::vector<double> targets_; ///< The first of two equally near ones wins.
    double radiusSeconds_ = 0;
    double step_ = 0;
    bool usable_ = false;
};

/// Where a scrub to `time` puts the playhead: on the grid, unless Command is down, and within the scene.
double scrubbedPlayhead(double time, PlayheadSnapMode mode, const TweenScene& scene, Modifiers modifiers);

} // namespace larkspool
