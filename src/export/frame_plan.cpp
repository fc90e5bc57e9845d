#include "export/frame_plan.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace larkspool::ExporterGPU {

namespace {

/// Seconds that a transition must be longer than to be one.
constexpr double leastTransition = 0.0001;

/// What is not a number stays so.
double wholeFrames(double seconds, double fps)
{
    const double frames = std::round(seconds * fps);
    return frames < 1 ? 1 : frames;
}

} // namespace

FramePlan::FramePlan(const Array<TweenScene>& scenes, std::span<const double> startTimes)
    : fps_(static_cast<double>(scenes.front().fps))
{
    if (scenes.size() == 1) {
        const double start = startTimes.empty() ? 0 : startTimes.front();
        append({.start = start, .latest = std::numeric_limits<double>::infinity()}, scenes.front().duration);
        return;
    }
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        const TweenScene& scene = scenes[i];
        append({.scene = i, .latest = scene.duration}, scene.duration + std::max(scene.endPause, 0.0));
        if (i + 1 == scenes.size() || !scene.transition || !(scene.transition->duration > leastTransition)) continue;
        append({.scene = i, .start = scene.duration, .latest = scene.duration, .transition = scene.transition},
               scene.transition->duration);
    }
}

void FramePlan::append(Stretch stretch, double seconds)
{
    stretch.firstFrame = frames_;
    stretch.frames = wholeFrames(seconds, fps_);
    frames_ += stretch.frames;
    stretches_.push_back(stretch);
}

FramePlanItem FramePlan::item(std::int64_t index) const
{
    assert(index >= 0 && static_cast<double>(index) < frames_);
    const auto behind = std::ranges::upper_bound(stretches_, static_cast<double>(index), {}, &Stretch::firstFrame);
    const Stretch& stretch = *std::prev(behind);
    const double k = static_cast<double>(index) - stretch.firstFrame;
    if (!stretch.transition) return {.outScene = stretch.scene, .outTime = std::min(stretch.start + k / fps_, stretch.latest)};
    return {.outScene = stretch.scene,
            .outTime = stretch.start,
            .inScene = stretch.scene + 1,
            .inTime = 0,
            .transition = stretch.transition,
            .transitionProgress = (k + 1) / stretch.frames};
}

} // namespace larkspool::ExporterGPU
