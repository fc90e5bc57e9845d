#include "timeline/video_clip_track.h"

#include "evaluation/video_time.h"
#include "platform/file_url.h"

#include <algorithm>

namespace larkspool {

namespace {

/// The source's time at a scene time of the clip, within the source as far as its length is known.
double shownSourceTime(const Layer& layer, double sceneTime)
{
    const double seconds = sourceTime(layer, sceneTime).value_or(0);
    return layer.videoDuration > 0 ? std::min(seconds, layer.videoDuration) : seconds;
}

} // namespace

std::optional<VideoTrimOverlayState> VideoClipTrack::trimOverlay(const TweenScene& scene, const DragPress& press,
                                                                 const TrackMapping& mapping, double y)
{
    if (press.handle == DragHandle::body || press.members.empty() || !mapping.isUsable()) return std::nullopt;
    const TimelineItemRef& ref = press.members.front();
    if (ref.kind != TimelineItemRef::Kind::videoClip) return std::nullopt;
    const Layer* layer = findLayer(scene, ref.layerID);
    const VideoClip* clip = layer ? findVideoClip(*layer) : nullptr;
    if (!clip) return std::nullopt;

    const double edge = press.handle == DragHandle::leftEdge ? clip->sceneStart : clip->sceneEnd;
    return VideoTrimOverlayState{.x = mapping.x(edge),
                                 .y = y,
                                 .srcSeconds = shownSourceTime(*layer, edge),
                                 .totalSrc = std::max(layer->videoDuration, 0.0),
                                 .videoPath = pathFromURLOrPath(layer->videoURL)};
}

} // namespace larkspool
