#pragma once

#include "evaluation/evaluated_frame.h"
#include "platform/raster/pixel_rect.h"
#include "platform/raster_context.h"

#include <memory>
#include <optional>

namespace larkspool {

/// Something that the reference drawing paints, to be kept as a bitmap. Two equal drawings paint the same.
class NodeDrawing {
public:
    virtual ~NodeDrawing() = default;

    /// Paints in the node's space, into clear pixels.
    virtual void draw(RasterContext& context) const = 0;

    /// Holds all that is painted under a transform, in device space; null where nothing is.
    virtual CGRect deviceBounds(const AffineTransform& toDevice) const = 0;

    /// Whether it is a picture of one moment, so that the next frame has another.
    virtual bool movesByItself() const = 0;

    /// Whether the other is a drawing of the same kind that paints the same.
    virtual bool equals(const NodeDrawing& other) const = 0;
};

/// Drawings equal by what they paint. Null equals null.
bool areEqual(const std::shared_ptr<const NodeDrawing>& a, const std::shared_ptr<const NodeDrawing>& b);

/// What of a layer decides its picture in its own space: everything else is as in a new layer.
Layer bodyOf(const Layer& layer);

/// The body of a layer with its opacity and its own shadow. `inherited` is a shadow that each of its paints casts, where it has
/// none of its own. `time`, in scene seconds, counts for bodies that move by themselves.
std::shared_ptr<const NodeDrawing> makeLayerDrawing(const Layer& layer, double opacity, bool hasOwnShadow,
                                                    const std::optional<RasterShadow>& inherited, double time);

/// A viewport of a frame, with its rings and its glow, in the space of the scene.
std::shared_ptr<const NodeDrawing> makeViewportDrawing(const EvaluatedViewport& viewport,
                                                       const std::shared_ptr<const EvaluatedFrame>& frame);

} // namespace larkspool
