#pragma once

#include "document/tween_scene.h"
#include "evaluation/hover.h"
#include "evaluation/pulses.h"

#include <optional>
#include <vector>

namespace larkspool {

/// One layer after all steps of evaluation, without its children.
struct PreparedLayer {
    Layer layer; ///< Resolved, with span effects, hover override and pulse scale.
    PulseEnvelope pulse;
};

/// Takes a layer through all steps of evaluation at `time`, whether it shows or not. `stored` is as in the document, or as laid
/// out by its group; `origin` is the absolute origin of its parent. Without `hover`, the targets at that time, no hover override
/// applies.
PreparedLayer prepareLayer(const Layer& stored, CGPoint origin, HoverTargets* hover, double time);

/// The children of a prepared layer, in drawing order and in their places: laid out for a group, as stored for all else. Their
/// absolute origin is that of `prepared` plus its x and y.
Array<Layer> placedChildren(const Layer& prepared, double time);

/// A layer as it shows at a time, with the part of its subtree that shows. Enough to paint it: no time is needed but for
/// the kinds that move by themselves.
struct EvaluatedLayer {
    Layer layer;               ///< Resolved, with span effects, hover override and pulse scale.
    AffineTransform transform; ///< From the layer's local space to its parent's.
    double glow = 0;           ///< Strength of a pulse's glow.
    ColorRGBA glowColor;       ///< Of the glow and the rings; clear if there are none. Its alpha plays no part.
    ShadowPreset storedShadow = ShadowPreset::none; ///< Under a glow: the layer's shadow as stored, without its keyframes.
    std::optional<double> radiateProgress; ///< Age of the rings behind the layer, 0...1 seconds.
    CGPoint radiateCenter;                 ///< In the space of the layer's parent.
    std::vector<EvaluatedLayer> children;  ///< In drawing order; those that show in their places.

    bool operator==(const EvaluatedLayer&) const = default;
};

/// The zoom of the whole frame by a full-screen zoom layer.
struct FrameZoom {
    UUID layer;       ///< The zoom layer.
    double k = 0;     ///< 0: the whole scene, 1: the zoom's rectangle.
    double scale = 1; ///< A frame point p goes to scale * (p + translate).
    CGPoint translate;
    double alpha = 1;

    bool operator==(const FrameZoom&) const = default;
};

/// A view of the scene in the shape of a child of a picture-in-picture zoom. What it shows are the frame's layers without the
/// picture-in-picture zooms.
struct EvaluatedViewport {
    EvaluatedLayer child; ///< Without children of its own: a viewport shows none.
    Layer parent;         ///< The zoom, resolved.

    bool operator==(const EvaluatedViewport&) const = default;
};

/// All that a frame of a scene shows. Two equal frames look the same, unless `movesByItself`.
struct EvaluatedFrame {
    CGSize sceneSize;
    ColorRGBA background;
    std::optional<FrameZoom> zoom;
    std::vector<EvaluatedLayer> layers;       ///< In drawing order.
    std::vector<EvaluatedViewport> viewports; ///< Painted after all layers.
    double time = 0;                          ///< Scene seconds; plays no part in equality.

    /// Whether something shows whose picture depends on the time itself: a video, a gradient field that drifts or breathes, a
    /// waiting cursor.
    bool movesByItself = false;

    bool operator==(const EvaluatedFrame& other) const;
};

/// Evaluates a scene at a time. Pure off the main thread.
EvaluatedFrame evaluateFrame(const TweenScene& scene, double time);

/// Evaluates one layer and its subtree: `prepared` is the layer after all steps of evaluation, `stored` as in the document.
/// `origin` is the absolute origin of its parent. Without a scene no hover override and no rings apply to the subtree.
EvaluatedLayer evaluateSubtree(Layer prepared, const Layer& stored, CGPoint origin, const TweenScene* scene, double time);

/// Seconds that a full-screen zoom takes at most to come or go.
inline constexpr double zoomRampDuration = 0.5;

struct ActiveZoom {
    const Layer* layer;
    const TimeSpan* span;
};

/// The full-screen zoom that is on at `time` and its span that holds the time: the last such top-level layer, its first such
/// span. A span that does not end after its start holds no time for it. The pointers are into `scene`.
std::optional<ActiveZoom> activeZoomSpan(const TweenScene& scene, double time);

/// How the zoom moves the frame at `time`.
FrameZoom frameZoom(const ActiveZoom& active, CGSize sceneSize, double time);

} // namespace larkspool
