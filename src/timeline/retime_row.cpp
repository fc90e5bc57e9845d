#include "timeline/retime_row.h"

#include <algorithm>

namespace larkspool {

namespace {

/// The keyframe that a row is about; null for every other.
const Keyframe* keyframeOf(const Layer& layer, const RetimeSource& source, std::size_t position)
{
    if (source.kind != TimelineItemRef::Kind::keyframe && source.kind != TimelineItemRef::Kind::waitTail) return nullptr;
    const bool isThere = position < layer.keyframes.size() && layer.keyframes[position].id == source.itemID;
    return isThere ? &layer.keyframes[position] : findKeyframe(layer, source.itemID);
}

} // namespace

RetimeRow RetimeRow::of(const Layer& layer, const RetimeSource& source, ItemTimes times, std::size_t position)
{
    RetimeRow row{.id = retimeRowID(source),
                  .source = source,
                  .kind = retimeRowKind(source.kind),
                  .layerName = std::string(layer.name),
                  .start = times.start};
    if (row.kind != Kind::pulse && row.kind != Kind::keyframe) row.duration = std::max(times.end - times.start, 0.0);
    if (const Keyframe* keyframe = keyframeOf(layer, source, position)) {
        row.detail = std::string(displayName(keyframe->property));
        // The wait itself: it need not come back to the bit from the end of its tail.
        if (row.kind == Kind::wait) row.duration = std::max(keyframe->wait, 0.0);
    }
    return row;
}

RetimeRow::Kind retimeRowKind(TimelineItemRef::Kind kind)
{
    switch (kind) {
    case TimelineItemRef::Kind::keyframe: return RetimeRow::Kind::keyframe;
    case TimelineItemRef::Kind::pulse: return RetimeRow::Kind::pulse;
    case TimelineItemRef::Kind::span: return RetimeRow::Kind::span;
    case TimelineItemRef::Kind::videoClip: return RetimeRow::Kind::videoClip;
    case TimelineItemRef::Kind::waitTail: return RetimeRow::Kind::wait;
    }
    return RetimeRow::Kind::span;
}

std::string retimeRowID(const RetimeSource& source)
{
    switch (source.kind) {
    case TimelineItemRef::Kind::keyframe: return "keyframe:" + source.itemID.string();
    case TimelineItemRef::Kind::pulse: return "pulse:" + source.itemID.string();
    case TimelineItemRef::Kind::span: return "span:" + source.itemID.string();
    case TimelineItemRef::Kind::videoClip: return "video:" + source.layerID.string();
    case TimelineItemRef::Kind::waitTail: return "wait:" + source.itemID.string();
    }
    return {};
}

TimelineRippleMode rippleMode(RetimeRipple ripple)
{
    switch (ripple) {
    case RetimeRipple::off: return TimelineRippleMode::none;
    case RetimeRipple::after: return TimelineRippleMode::after;
    case RetimeRipple::before: return TimelineRippleMode::before;
    case RetimeRipple::both: return TimelineRippleMode::both;
    }
    return TimelineRippleMode::none;
}

RetimeRipple retimeRipple(TimelineRippleMode mode)
{
    switch (mode) {
    case TimelineRippleMode::none: return RetimeRipple::off;
    case TimelineRippleMode::before: return RetimeRipple::before;
    case TimelineRippleMode::after: return RetimeRipple::after;
    case TimelineRippleMode::both: return RetimeRipple::both;
    }
    return RetimeRipple::off;
}

} // namespace larkspool
