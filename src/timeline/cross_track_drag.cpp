#include "timeline/cross_track_drag.h"

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

double heldStart(const CapturedItem& item, double start, double duration)
{
    switch (item.ref.kind) {
    case TimelineItemRef::Kind::span: break;
    case TimelineItemRef::Kind::videoClip: start = std::min(start, duration - item.length()); break;
    case TimelineItemRef::Kind::keyframe:
    case TimelineItemRef::Kind::pulse:
    case TimelineItemRef::Kind::waitTail: start = std::min(start, duration); break;
    }
    return std::max(start, 0.0);
}

} // namespace

CrossTrackDragSnapshot captureCrossTrackSnapshot(const TimelineSelection& selection, const TimelineSelection& excluding,
                                                 const TweenScene& document, std::shared_ptr<const LayerIndex> index)
{
    if (selection.empty()) return {};
    if (!index) index = std::make_shared<const LayerIndex>(document);
    CrossTrackDragSnapshot snapshot{CapturedItems(std::move(index))};
    LayerIndex::Place place = 0;
    walkLayers(document.layers, [&](const Layer& layer) {
        const LayerIndex::Place here = place++;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
            if (ref.kind == TimelineItemRef::Kind::waitTail || !selection.contains(ref) || excluding.contains(ref)) return;
            snapshot.items.add(here, CapturedItem::of(layer, ref, times), position);
        });
    });
    return snapshot;
}

void applyCrossTrackDrag(const CrossTrackDragSnapshot& snapshot, double dt, double duration, TweenScene& document)
{
    snapshot.items.write(document, [&](const CapturedItem& item) {
        const double start = heldStart(item, item.times.start + dt, duration);
        return CapturedItems::Written{.times = {start, start + item.length()}, .sourceStart = item.sourceStart};
    });
}

} // namespace larkspool
