#include "timeline/retime_edits.h"

#include "document/normalisers.h"
#include "timeline/captured_items.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

namespace larkspool {

namespace {

using Kind = TimelineItemRef::Kind;

/// Seconds that two times may differ by and still be one to a ripple.
constexpr double slack = 0.0001;
/// A wait this long or shorter, in seconds, has no row of its own.
constexpr double shortestWait = 0.0001;

double heldWithin(double time, double end)
{
    return std::max(std::min(time, end), 0.0);
}

void refitSpanEffects(TweenScene& scene, const UUID& layerID)
{
    if (Layer* layer = editLayer(scene, layerID)) normalizeSpanEffects(*layer);
}

bool takes(const RetimeShift& shift, double start)
{
    const double threshold = shift.anchorStart - slack;
    switch (shift.ripple) {
    case RetimeRipple::off: return false;
    case RetimeRipple::after: return shift.edited == RetimeShift::Edited::duration ? start >= threshold : start > threshold;
    case RetimeRipple::before: return start < threshold;
    case RetimeRipple::both: return true;
    }
    return false;
}

/// The time that the item's row takes up: for a keyframe, its wait's row.
double rowLength(const Layer& layer, const TimelineItemRef& ref, ItemTimes times, std::size_t position)
{
    if (ref.kind != Kind::keyframe) return std::max(times.end - times.start, 0.0);
    const Keyframe& keyframe = layer.keyframes[position];
    return hasRetimeRow(keyframe) ? keyframe.wait : 0;
}

/// Whether the item is shifted by itself. A wait goes with its keyframe, whose two rows are one item: neither is left behind, and
/// none moves twice.
bool isShifted(const TimelineItemRef& ref, ItemTimes times, const RetimeShift& shift)
{
    if (ref.kind == Kind::waitTail || shift.excludingSources.contains(ref) || !takes(shift, times.start)) return false;
    if (ref.kind == Kind::keyframe)
        return !shift.excludingSources.contains(TimelineItemRef::waitTail(ref.layerID, ref.itemID));
    return ref.kind != Kind::videoClip || times.start < times.end;
}

} // namespace

bool hasRetimeRow(const Keyframe& waiting)
{
    return waiting.wait > shortestWait;
}

void writeStart(TweenScene& scene, const RetimeSource& source, double start)
{
    if (!std::isfinite(start)) return;
    start = heldWithin(start, scene.duration);
    switch (source.kind) {
    case Kind::keyframe:
    case Kind::waitTail:
        if (Keyframe* keyframe = editKeyframe(scene, source.layerID, source.itemID)) keyframe->time = start;
        return;
    case Kind::pulse:
        if (Pulse* pulse = editPulse(scene, source.layerID, source.itemID)) pulse->time = start;
        return;
    case Kind::videoClip:
        if (VideoClip* clip = editVideoClip(scene, source.layerID)) {
            clip->sceneEnd = start + (clip->sceneEnd - clip->sceneStart);
            clip->sceneStart = start;
        }
        return;
    case Kind::span:
        if (TimeSpan* span = editSpan(scene, source.layerID, source.itemID)) {
            span->end = start + (span->end - span->start);
            span->start = start;
            refitSpanEffects(scene, source.layerID);
        }
        return;
    }
}

void writeDuration(TweenScene& scene, const RetimeSource& source, double duration)
{
    if (!std::isfinite(duration)) return;
    duration = std::max(duration, 0.0);
    switch (source.kind) {
    case Kind::keyframe:
    case Kind::pulse: return;
    case Kind::waitTail:
        if (Keyframe* keyframe = editKeyframe(scene, source.layerID, source.itemID)) keyframe->wait = duration;
        return;
    case Kind::videoClip:
        if (VideoClip* clip = editVideoClip(scene, source.layerID)) clip->sceneEnd = clip->sceneStart + duration;
        return;
    case Kind::span:
        if (TimeSpan* span = editSpan(scene, source.layerID, source.itemID)) {
            span->end = span->start + duration;
            refitSpanEffects(scene, source.layerID);
        }
        return;
    }
}

void applyRipple(TweenScene& scene, const RetimeShift& shift)
{
    if (shift.ripple == RetimeRipple::off || !std::isfinite(shift.delta)) return;

    const double way = shift.ripple == RetimeRipple::before ? -shift.delta : shift.delta;
    CapturedItems shifted(std::make_shared<const LayerIndex>(scene));
    LayerIndex::Place place = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        const LayerIndex::Place here = place++;
        if (shift.scopeLayerIDs && !shift.scopeLayerIDs->contains(layer.id)) return;
        walkItems(layer, [&](const TimelineItemRef& ref, ItemTimes times, std::size_t position) {
            if (!isShifted(ref, times, shift)) return;
            const double start =
                heldWithin(times.start + way, scene.duration - rowLength(layer, ref, times, position));
            shifted.add(here, CapturedItem::of(layer, ref, {start, start + (times.end - times.start)}), position);
        });
    });
    shifted.write(scene, [](const CapturedItem& item) {
        return CapturedItems::Written{.times = item.times, .sourceStart = item.sourceStart};
    });
}

} // namespace larkspool
