#pragma once

#include "timeline/captured_items.h"

#include <memory>

namespace larkspool {

/// Selected items that move in lock-step with a dragged one, whatever their kinds, rows and layers.
struct CrossTrackDragSnapshot {
    CapturedItems items{};
};

/// Captures the selected spans, clips, pulses and keyframes but for those excluded. References that name nothing are passed over,
/// and so are wait tails: they do not move by themselves. `index`, if given, is of the document's scene.
CrossTrackDragSnapshot captureCrossTrackSnapshot(const TimelineSelection& selection, const TimelineSelection& excluding,
                                                 const TweenScene& document, std::shared_ptr<const LayerIndex> index = nullptr);

/// Writes every item `dt` seconds from where it was captured: a span held at 0, a keyframe or pulse within 0 and `duration`, a
/// clip so that it ends at `duration`, then at 0. Lengths are kept.
void applyCrossTrackDrag(const CrossTrackDragSnapshot& snapshot, double dt, double duration, TweenScene& document);

} // namespace larkspool
