#pragma once

#include "document/tween_scene.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace larkspool::ExporterGPU {

/// What one frame of a film shows.
struct FramePlanItem {
    std::size_t outScene = 0; ///< The scene that shows, or that leaves.
    double outTime = 0;       ///< Its time, in seconds of it.
    std::optional<std::size_t> inScene{}; ///< The scene that enters in a transition.
    std::optional<double> inTime{};
    std::optional<SceneTransition> transition{};
    double transitionProgress = 0; ///< Above 0, up to 1.

    bool operator==(const FramePlanItem&) const = default;
};

/// What each frame of the second exporter's film shows:
///
///     | scene 0 ...... last time, held | transition 1/n ... n/n | scene 1 ...
///
/// The frames of each scene and of each transition are counted for themselves, rounded to the nearest whole number and at least
/// 1. A plan takes memory by its scenes, whatever their length.
class FramePlan {
public:
    /// For the list's size and rate, those of its first scene, of which there must be one.
    ///
    /// A single scene is shown for its whole duration from the first of `startTimes`, or from 0, on, without its pause; the times
    /// run past the scene's end by as much. Several scenes have no start times.
    explicit FramePlan(const Array<TweenScene>& scenes, std::span<const double> startTimes = {});

    /// How many items there are. For absurd durations it is too large for any film, or not a number; items must not be asked for.
    double frames() const { return frames_; }

    /// The film's length at its rate.
    double seconds() const { return frames_ / fps_; }

    /// The item of a frame, 0 <= `index` < frames().
    FramePlanItem item(std::int64_t index) const;

private:
    /// Frames of one scene, or of one transition.
    struct Stretch {
        double firstFrame = 0;
        double frames = 0;
        std::size_t scene = 0;
        double start = 0;  ///< The scene's time at the first frame.
        double latest = 0; ///< Beyond which its time does not go.
        std::optional<SceneTransition> transition{}; ///< Into the next scene, if this is one.
    };

    void append(Stretch stretch, double seconds);

    std::vector<Stretch> stretches_;
    double fps_ = 0;
    double frames_ = 0;
};

} // namespace larkspool::ExporterGPU
