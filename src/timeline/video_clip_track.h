#pragma once

#include "timeline/item_drag.h"
#include "timeline/span_edits.h"
#include "timeline/timeline_geometry.h"

#include <optional>
#include <string>

namespace larkspool {

/// The floating preview of the source's picture at the edge of a clip that is being trimmed.
struct VideoTrimOverlayState {
    double x = 0;            ///< Of the trimmed edge, in the points of the timeline.
    double y = 0;            ///< Of the row's top, likewise.
    double srcSeconds = 0;   ///< Of the picture, in the source.
    double totalSrc = 0;     ///< Length of the source in seconds; 0 if that is not known.
    std::string videoPath{}; ///< The source's file.

    bool operator==(const VideoTrimOverlayState&) const = default;
};

/// What is particular to the row of a video layer's clip. Dragging it is `TimelineItemDrag`; the clip itself is found by
/// `findVideoClip`.
namespace VideoClipTrack {

inline constexpr double rowHeight = SpansTrack::rowHeight;             ///< Points.
inline constexpr double edgeHandleWidth = SpansTrack::edgeHandleWidth; ///< Points at both ends of a bar that trim it.

/// What a press `x` points from the left end of a bar that wide takes hold of. Of a bar too narrow for both handles, the left one
/// wins.
inline DragHandle handleAt(double x, double barWidth)
{
    return SpansTrack::handleAt(x, barWidth);
}

/// The preview for a press on an edge of a clip, with the scene as the trim has it by now; of several clips trimmed together,
/// that of the first. Nothing for a press on anything else, and on a track that shows no time. `mapping` is of the clip's row,
/// whose top is at `y`.
std::optional<VideoTrimOverlayState> trimOverlay(const TweenScene& scene, const DragPress& press, const TrackMapping& mapping,
                                                 double y);

} // namespace VideoClipTrack

} // namespace larkspool
