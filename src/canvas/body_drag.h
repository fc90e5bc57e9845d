#pragma once

#include "canvas/keyframed_write.h"
#include "editing/scene_lookup.h"

#include <string_view>
#include <vector>

namespace larkspool {

/// Where a layer stood when a drag of it began: resolved at the playhead, in the space of its siblings.
struct InitialTransform {
    UUID layerID{};
    LayerIndex::Place place = 0;
    Transform transform{};
    CGSize size{};
};

/// Of each selected layer, but for those below another selected one, which go with it. In the order of the tree.
std::vector<InitialTransform> snapshotInitialTransforms(const TweenScene& scene, const LayerIDs& selection, double playhead);

/// Moves a layer as it was at the begin of the drag.
///
/// A zoom is held within the scene. A fixed group that is not locked leaves its contents where they are. What moves along
/// keyframes gets one at the playhead (and one at 0 with the origin, for an axis that had none), or moves with its whole path.
void applyBodyDelta(Layer& to, const InitialTransform& origin, double deltaX, double deltaY, CGSize scene,
                    const KeyframedWriting& how);

/// What a fixed group's pill says.
inline constexpr std::string_view unlockedGroupText = "Unlocked: moving the rect leaves contents in place.";
inline constexpr std::string_view lockedGroupText = "Locked: moving this group's rect also moves its contents.";

/// What the two ways of moving what is keyframed say.
inline constexpr std::string_view movePathText =
    "Move whole path. Dragging shifts every X/Y keyframe by the same offset, preserving the existing animation.";
inline constexpr std::string_view setKeyframeText =
    "Set keyframe at playhead. Dragging sets a new position at the current time, leaving other keyframes alone.";

} // namespace larkspool
