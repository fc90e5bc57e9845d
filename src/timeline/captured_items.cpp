#include "timeline/captured_items.h"

#include "document/normalisers.h"

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

/// The record at its place, or wherever it is now.
template <typename T>
T* recordAt(Array<T>& list, std::size_t position, const UUID& id)
{
    const Array<T>& now = list;
    if (position >= now.size() || now[position].id != id) {
        const auto found = std::ranges::find(now, id, &T::id);
        if (found == now.end()) return nullptr;
        position = static_cast<std::size_t>(found - now.begin());
    }
    return &list.edit()[position];
}

} // namespace

CapturedItem CapturedItem::of(const Layer& layer, const TimelineItemRef& ref, ItemTimes times)
{
    CapturedItem item{.ref = ref, .times = times};
    if (ref.kind == TimelineItemRef::Kind::videoClip) {
        const VideoClip& clip = layer.videoClip;
        item.sourceStart = clip.sourceStart;
        if (clip.endBehavior == VideoClip::EndBehavior::end && layer.videoDuration > 0)
            item.latestEnd = clip.sceneStart + (layer.videoDuration - clip.sourceStart);
    }
    return item;
}

void CapturedItems::add(LayerIndex::Place place, const CapturedItem& item, std::size_t position)
{
    entries_.push_back({item, place, static_cast<std::uint32_t>(position)});
}

bool CapturedItems::writeItem(Layer& layer, const Entry& entry, const Written& written)
{
    const UUID& id = entry.item.ref.itemID;
    switch (entry.item.ref.kind) {
    case TimelineItemRef::Kind::keyframe:
        if (Keyframe* keyframe = recordAt(layer.keyframes, entry.position, id)) keyframe->time = written.times.start;
        return false;
    case TimelineItemRef::Kind::waitTail:
        if (Keyframe* keyframe = recordAt(layer.keyframes, entry.position, id))
            keyframe->wait = written.times.end - written.times.start;
        return false;
    case TimelineItemRef::Kind::pulse:
        if (Pulse* pulse = recordAt(layer.pulses, entry.position, id)) pulse->time = written.times.start;
        return false;
    case TimelineItemRef::Kind::videoClip:
        if (VideoClip* clip = editVideoClip(layer)) {
            clip->sceneStart = written.times.start;
            clip->sceneEnd = written.times.end;
            clip->sourceStart = written.sourceStart;
        }
        return false;
    case TimelineItemRef::Kind::span: {
        TimeSpan* span = recordAt(layer.spans, entry.position, id);
        if (!span || ItemTimes{span->start, span->end} == written.times) return false;
        span->start = written.times.start;
        span->end = written.times.end;
        return true;
    }
    }
    return false;
}

void CapturedItems::refitSpanEffects(Layer& layer)
{
    normalizeSpanEffects(layer);
}

} // namespace larkspool
