#include "canvas/body_drag.h"

#include "editing/keyframe_upsert.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

/// Seconds from 0 within which the playhead counts as standing at the start.
constexpr double atStart = 0.001;

class Snapshot {
public:
    Snapshot(const LayerIDs& selection, double playhead) : selection_(selection), playhead_(playhead) {}

    void add(const Array<Layer>& layers, bool goesWithParent)
    {
        for (const Layer& layer : layers) {
            const LayerIndex::Place here = place_++;
            const bool isSelected = selection_.contains(layer.id);
            if (isSelected && !goesWithParent) {
                const Interpolation::Placement placed = Interpolation::placement(layer, playhead_);
                initial.push_back({layer.id, here, placed.transform, placed.size});
            }
            add(layer.children, goesWithParent || isSelected);
        }
    }

    std::vector<InitialTransform> initial;

private:
    const LayerIDs& selection_;
    double playhead_;
    LayerIndex::Place place_ = 0;
};

/// A zoom larger than the scene stands at 0.
double heldWithin(double position, double length, double scene)
{
    return std::max(0.0, std::min(position, scene - length));
}

void setKeyframe(Layer& layer, Property property, double origin, double value, const KeyframedWriting& how)
{
    // The motion starts from where the layer stood.
    if (!hasKeyframes(layer, property) && std::abs(how.playhead) > atStart)
        upsertKeyframe(layer, property, 0, origin, *how.random);
    upsertKeyframe(layer, property, how.playhead, value, *how.random);
}

} // namespace

std::vector<InitialTransform> snapshotInitialTransforms(const TweenScene& scene, const LayerIDs& selection, double playhead)
{
    Snapshot snapshot(selection, playhead);
    if (!selection.empty()) snapshot.add(scene.layers, /*goesWithParent=*/false);
    return std::move(snapshot.initial);
}

void applyBodyDelta(Layer& to, const InitialTransform& origin, double deltaX, double deltaY, CGSize scene,
                    const KeyframedWriting& how)
{
    const CGPoint from{origin.transform.x, origin.transform.y};
    CGPoint moved{from.x + deltaX, from.y + deltaY};
    if (to.kind == Layer::Kind::zoom)
        moved = {heldWithin(moved.x, origin.size.width, scene.width), heldWithin(moved.y, origin.size.height, scene.height)};
    const double dx = moved.x - from.x, dy = moved.y - from.y;

    to.transform.x = moved.x;
    to.transform.y = moved.y;
    const bool leavesContents =
        to.kind == Layer::Kind::group && to.groupSizeMode == GroupSizeMode::fixed && !to.groupFixedLocked;
    if (leavesContents && !to.children.empty())
        for (Layer& child : to.children.edit()) shiftPosition(child, -dx, -dy);

    if (!hasKeyframes(to, Property::x) && !hasKeyframes(to, Property::y)) return;
    if (!how.keyframeAtPlayhead) return shiftPositionKeyframes(to, dx, dy);
    setKeyframe(to, Property::x, from.x, moved.x, how);
    setKeyframe(to, Property::y, from.y, moved.y, how);
}

} // namespace larkspool
