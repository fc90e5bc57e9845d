#pragma once

#include "editing/edit.h"

#include <optional>

namespace larkspool {

/// The order of layers in their lists. A later layer lies nearer to the viewer. All of these act on one layer, the first selected
/// one of the tree, and give no edit where it cannot go further.

std::optional<Edit> bringToFront(const TweenScene& scene, const LayerIDs& selection); ///< Of layers at the top alone.
std::optional<Edit> sendToBack(const TweenScene& scene, const LayerIDs& selection); ///< Of layers at the top alone.
std::optional<Edit> bringForward(const TweenScene& scene, const LayerIDs& selection); ///< By one, among its siblings.
std::optional<Edit> sendBackward(const TweenScene& scene, const LayerIDs& selection); ///< By one, among its siblings.

/// Swaps the layer with the next sibling (`delta` 1) or the one before (-1). Whether the layer was found: one without such a
/// sibling stays.
bool swapInTree(Array<Layer>& layers, const UUID& layerID, std::ptrdiff_t delta);

/// Which of the commands have something to do.
struct ZOrderAvailability {
    bool canBringForward = false;
    bool canBringToFront = false;
    bool canSendBackward = false;
    bool canSendToBack = false;

    bool operator==(const ZOrderAvailability&) const = default;
};

ZOrderAvailability zOrderAvailability(const std::optional<UUID>& primaryID, const TweenScene& scene);

} // namespace larkspool
