#include "timeline/drag_rules.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

using Kind = TimelineItemRef::Kind;

constexpr double shortestSeconds = 0.05;

// Each row holds what is particular to a kind; what it leaves out is as the declaration has it.
constexpr DragRules keyframeRules{
    .kind = Kind::keyframe,
    .move = {"Move Keyframe", "Move Keyframes"},
    .trim = {},
    .snapMember = SnapMembers::keyframeTracks,
    .aggregateSnapMember = SnapMembers::aggregateKeyframesTrack,
    .line = DragRules::Line::atTargets,
    .heldBeforeSnap = DragRules::HeldBeforeSnap::withinScene,
};
constexpr DragRules pulseRules{
    .kind = Kind::pulse,
    .move = {"Move Pulse", "Move Pulses"},
    .trim = {},
    .snapMember = SnapMembers::pulsesTrack,
    .aggregateSnapMember = SnapMembers::aggregatePulsesTrack,
};
constexpr DragRules spanRules{
    .kind = Kind::span,
    .move = {"Move Span", "Move Spans"},
    .trim = {"Resize Span", "Resize Spans"},
    .snapMember = SnapMembers::spansTrack,
    .aggregateSnapMember = SnapMembers::aggregateSpansTrack,
    .trims = DragRules::Trims::selection,
    .noWidth = DragRules::NoWidth::onePoint,
};
constexpr DragRules videoClipRules{
    .kind = Kind::videoClip,
    .move = {"Move Clip", "Move Clips"},
    .trim = {"Trim Clip", "Trim Clips"},
    .snapMember = SnapMembers::videoClipTrack,
    .aggregateSnapMember = SnapMembers::aggregateVideoTrack,
    .namesMany = DragRules::NamesMany::never, // A layer's row has one clip.
};
constexpr DragRules waitTailRules{
    .kind = Kind::waitTail,
    .move = {},
    .trim = {"Resize Wait", "Resize Wait"},
    .snapMember = SnapMembers::keyframeTracks,
    .aggregateSnapMember = SnapMembers::aggregateKeyframesTrack,
    .grid = DragRules::Grid::ignored,
    .line = DragRules::Line::atTargets,
    .heldBeforeSnap = DragRules::HeldBeforeSnap::atNoLength,
    .trims = DragRules::Trims::selection,
};

bool isMoment(Kind kind)
{
    return kind == Kind::keyframe || kind == Kind::pulse;
}

double shortestOf(Kind kind, const DragLimits& limits)
{
    if (kind == Kind::span) return limits.shortestSpan;
    return kind == Kind::videoClip ? shortestSeconds : 0;
}

} // namespace

bool DeadZone::holds(CGPoint translation) const
{
    double way = std::abs(translation.x);
    if (axes == Axes::both) way = std::max(way, std::abs(translation.y));
    return border == Border::within ? way <= points : way < points;
}

const DragRules& dragRules(TimelineItemRef::Kind kind)
{
    switch (kind) {
    case Kind::keyframe: return keyframeRules;
    case Kind::pulse: return pulseRules;
    case Kind::span: return spanRules;
    case Kind::videoClip: return videoClipRules;
    case Kind::waitTail: return waitTailRules;
    }
    return spanRules;
}

DeadZone deadZone(TimelineItemRef::Kind kind, DragHandle handle, double bodyTrigger)
{
    switch (kind) {
    case Kind::keyframe:
    case Kind::pulse: return {2, DeadZone::Axes::both};
    case Kind::waitTail: return {3};
    case Kind::videoClip: return {1};
    case Kind::span: return {handle == DragHandle::body ? bodyTrigger : 0, DeadZone::Axes::horizontal, DeadZone::Border::beyond};
    }
    return {};
}

DragLimits DragLimits::of(const TweenScene& scene)
{
    const double frame = 1.0 / static_cast<double>(std::max<std::int64_t>(scene.fps, 1));
    return {scene.duration, std::max(frame, shortestSeconds)};
}

double edgeOf(const CapturedItem& item, DragHandle handle)
{
    return handle == DragHandle::rightEdge ? item.times.end : item.times.start;
}

double heldEdge(const CapturedItem& item, DragHandle handle, double edge, const DragLimits& limits)
{
    const Kind kind = item.ref.kind;
    const double shortest = shortestOf(kind, limits);
    switch (handle) {
    case DragHandle::body: return std::max(isMoment(kind) ? std::min(edge, limits.duration) : edge, 0.0);
    case DragHandle::leftEdge:
        // The picture cannot begin before its source does.
        if (kind == Kind::videoClip) edge = std::max(edge, item.times.start - item.sourceStart);
        return std::max(std::min(edge, item.times.end - shortest), 0.0);
    case DragHandle::rightEdge:
        if (kind == Kind::waitTail)
            edge = std::min(std::max(edge, item.times.start), std::max(limits.duration, item.times.start));
        if (kind == Kind::videoClip) edge = std::min(edge, item.latestEnd);
        return std::max(edge, item.times.start + shortest);
    }
    return edge;
}

CapturedItems::Written withEdge(const CapturedItem& item, DragHandle handle, double edge)
{
    CapturedItems::Written written{item.times, item.sourceStart};
    switch (handle) {
    case DragHandle::body: written.times = {edge, edge + item.length()}; break;
    case DragHandle::leftEdge: {
        written.times.start = edge;
        const double earliest = std::max(item.sourceStart - item.times.start, 0.0);
        written.sourceStart = std::max(item.sourceStart + (edge - item.times.start), earliest);
        break;
    }
    case DragHandle::rightEdge: written.times.end = edge; break;
    }
    return written;
}

} // namespace larkspool
