#pragma once

#include "document/tween_scene.h"

#include <optional>
#include <vector>

namespace larkspool {

/// What cursors can hover over in a scene at one time. The first question walks over all layers, and every further one goes
/// through what was found, so that a scene full of cursors costs no more than one walk. The scene must outlive it.
class HoverTargets {
public:
    HoverTargets(const TweenScene& scene, double time) : scene_(scene), time_(time) {}

    double time() const { return time_; }

    /// The override of the frontmost layer that shares an area with `box`, in canvas coordinates.
    std::optional<CursorVariant> variantUnder(const CGRect& box);

private:
    struct Target {
        CGRect box;
        CursorVariant variant;
    };

    void collect(const Array<Layer>& layers, CGPoint origin);
    CGRect boxOf(const Layer& layer) const;

    const TweenScene& scene_;
    double time_;
    bool isCollected_ = false;
    std::vector<Target> targets_; ///< Backmost first.
};

/// A cursor layer that passes over a layer with a hover override takes on its variant, unless a keyframe has set the variant by
/// then. `layer` is evaluated; `absoluteOrigin` is the origin of its parent on the canvas. Other kinds come back as they are.
Layer applyHoverOverride(Layer layer, CGPoint absoluteOrigin, HoverTargets& targets);

/// The same for a single layer.
Layer applyHoverOverride(Layer layer, CGPoint absoluteOrigin, const TweenScene& scene, double time);

} // namespace larkspool
