#include "evaluation/video_time.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// How far before the end of the play a frozen picture stands, in seconds.
constexpr double freezeMargin = 0.001;

/// The source time `offset` seconds into a clip that does something at the end of its play.
double heldInPlay(const VideoClip& clip, double sourceDuration, double offset)
{
    const double running = offset + clip.sourceStart;
    const double available = std::max(sourceDuration - clip.sourceStart, 0.0);
    const double trim = clip.sourceTrimLength.value_or(std::max(clip.sceneEnd - clip.sceneStart, 0.0));
    if (trim < 0 && available > 0) return running;

    const double play = std::min(trim, available);
    if (play > 0 && offset < play) return running;
    if (clip.endBehavior == VideoClip::EndBehavior::freezeFrame) return clip.sourceStart + play - freezeMargin;
    if (play == 0) return clip.sourceStart;
    return clip.sourceStart + std::fmod(offset - play, play);
}

} // namespace

std::optional<double> sourceTime(const Layer& layer, double sceneTime)
{
    const VideoClip& clip = layer.videoClip;
    const double offset = sceneTime - clip.sceneStart;
    const bool runsOn = clip.endBehavior == VideoClip::EndBehavior::end || !(layer.videoDuration > 0);
    const double time = runsOn ? offset + clip.sourceStart : heldInPlay(clip, layer.videoDuration, offset);
    if (!std::isfinite(time) || time < 0) return std::nullopt;
    return time;
}

} // namespace larkspool
