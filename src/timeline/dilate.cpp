#include "timeline/dilate.h"

#include <algorithm>
#include <string>

namespace larkspool {

namespace {

/// A scale nearer to 1 changes nothing.
constexpr double noScale = 0.0001;
/// A boundary that goes no farther, in seconds, pushes nothing.
constexpr double noMove = 0.0001;

/// The items on one side of the selection, and how far they go.
struct Side {
    TimelineRippleState others{};
    double move = 0; ///< Seconds.

    void capture(const TweenScene& scene, const TimelineSelection& excluded, TimelineRippleMode mode, double boundary)
    {
        if (std::abs(move) > noMove) others.capture(scene, excluded, mode, boundary);
    }
};

bool pushesBefore(TimelineRippleMode mode)
{
    return mode == TimelineRippleMode::before || mode == TimelineRippleMode::both;
}

bool pushesAfter(TimelineRippleMode mode)
{
    return mode == TimelineRippleMode::after || mode == TimelineRippleMode::both;
}

} // namespace

double dilateAnchorTime(const SelectionMoveTargets& targets, DilateAnchor anchor)
{
    if (!targets.hasBounds()) return 0;
    switch (anchor) {
    case DilateAnchor::start: return targets.minStart;
    case DilateAnchor::center: return targets.minStart + (targets.maxEnd - targets.minStart) / 2;
    case DilateAnchor::end: return targets.maxEnd;
    }
    return 0;
}

std::optional<RippledEdit> applyDilate(const TweenScene& scene, const TimelineSelection& selection, double scale,
                                       DilateAnchor anchor, const RippleSetting& ripple, std::string_view actionName)
{
    if (!std::isfinite(scale) || std::abs(scale - 1) < noScale) return std::nullopt;
    const SelectionMoveTargets targets = collectSelectionMoveTargets(scene, selection);
    if (targets.items.empty() || !targets.hasBounds() || !(scene.duration > 0)) return std::nullopt;

    const double anchorTime = dilateAnchorTime(targets, anchor);
    const TimelineSelection excluded = rippleExclusions(selection, targets);
    Side left{{.scopeLayerIDs = ripple.scopeLayerIDs}, (scale - 1) * (targets.minStart - anchorTime)};
    Side right{{.scopeLayerIDs = ripple.scopeLayerIDs}, (scale - 1) * (targets.maxEnd - anchorTime)};
    if (pushesBefore(ripple.mode)) left.capture(scene, excluded, TimelineRippleMode::before, targets.minStart);
    if (pushesAfter(ripple.mode)) right.capture(scene, excluded, TimelineRippleMode::after, targets.maxEnd);

    RippledEdit moved{{.scene = scene, .actionName = std::string(actionName)}};
    TweenScene& to = moved.edit.scene;
    placeTargets(targets, scene.duration, to,
                 [&](const CapturedItem& item) { return dilated(item.times.start, anchorTime, scale); });
    left.others.apply(left.move, to);
    const double grown = to.duration;
    right.others.apply(right.move, to);
    // Each side gives the scene the duration that it needs itself.
    to.duration = std::max(to.duration, grown);
    if (to == scene) return std::nullopt;

    for (Side* side : {&left, &right})
        if (const std::optional<std::size_t> count = side->others.clear()) moved.rippled.push_back(*count);
    return moved;
}

} // namespace larkspool
