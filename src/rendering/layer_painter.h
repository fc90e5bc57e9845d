#pragma once

#include "evaluation/evaluated_frame.h"
#include "platform/raster_context.h"
#include "rendering/drawing_style.h"

#include <optional>

namespace larkspool {

/// Whether a layer casts the shadow of its preset.
enum class OwnShadow { cast, skipped };

/// Paints evaluated layers as they are at one time: of a film, or of a live canvas by its style. The context's user space must be
/// the space that the layers stand in. Context and style must outlive the painter.
class LayerPainter {
public:
    LayerPainter(RasterContext& context, double time, const DrawingStyle& style) : context_(context), time_(time), style_(style) {}

    /// A layer with its subtree, and what its pulses add.
    void paintWithRingsAndGlow(const EvaluatedLayer& evaluated, double parentOpacity);

    /// A layer with its subtree, without rings and glow of its own.
    void paint(const EvaluatedLayer& evaluated, double parentOpacity, OwnShadow ownShadow);

    /// A viewport of the frame, in the space of the scene.
    void paintWithRingsAndGlow(const EvaluatedViewport& viewport, const EvaluatedFrame& frame);

private:
    void paintUnderFilmGlow(const EvaluatedLayer& evaluated, double parentOpacity);
    template <typename Paint>
    void underStackedGlow(const EvaluatedLayer& evaluated, const Paint& paint);
    template <typename Paint>
    void composited(double opacity, const std::optional<CGRect>& bounds, const Paint& paint);

    void paintParts(const EvaluatedLayer& evaluated, double opacity, OwnShadow ownShadow);
    void paintBody(const Layer& layer);
    void paintEditingFrame(CGSize size, const RasterColor& color);
    void paint(const EvaluatedViewport& viewport, const EvaluatedFrame& frame);
    void paintParts(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, double opacity);
    void paintView(const EvaluatedViewport& viewport, const EvaluatedFrame& frame, double opacity);
    void fillViewport(const Layer& child, const RoundedRect& shape, const Path& outline);

    RasterShadow presetShadow(ShadowPreset preset) const;
    CGRect deviceReach(const EvaluatedLayer& evaluated, const AffineTransform& parentToDevice) const;
    std::optional<CGRect> reach(const EvaluatedLayer& evaluated, double deviceMargin) const;

    RasterContext& context_;
    double time_;
    const DrawingStyle& style_;
};

} // namespace larkspool
