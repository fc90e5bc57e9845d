#pragma once

#include "foundation/geometry.h"
#include "platform/image.h"
#include "platform/path.h"
#include "platform/text_layout.h"

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace larkspool {

class PixelBuffer;

/// A straight sRGB colour. Channels outside 0...1 are held within when painted.
struct RasterColor {
    double r = 0, g = 0, b = 0, a = 1;

    bool operator==(const RasterColor&) const = default;
};

/// The shadow that every paint casts. Offset and blur are device pixels and do not follow the transform; y is downward. A shadow
/// with a number that is not finite is none.
struct RasterShadow {
    CGSize offset;
    double blur = 0; ///< Twice the standard deviation of the Gaussian; held to 0...1000.
    RasterColor color;

    bool operator==(const RasterShadow&) const = default;
};

/// What is known of a transparency layer before it is painted. All of it is a promise of the caller, in user space.
struct TransparencyLayerHints {
    /// An area that holds all that will be painted.
    std::optional<CGRect> bounds;

    /// Boxes whose weighted sum is the layer's alpha, apart from anti-aliasing; weights are 0...1. Given these, its shadow needs
    /// no blur of what was painted. It is left out where the weights add up to 1, so that nothing of it shows through the
    /// anti-aliased edges of paints that meet within.
    struct WeightedBox {
        RoundedRect box;
        double weight = 1;

        bool operator==(const WeightedBox&) const = default;
    };
    std::vector<WeightedBox> coverage;

    bool operator==(const TransparencyLayerHints&) const = default;
};

/// Draws into a raster. Device space is the raster's pixels with the origin at the top left and y downward; user space is
/// mapped to it by the current transform, at first the identity. Edges are anti-aliased, clips too.
///
/// State (transform, alpha, clip, shadow, colours, line settings, compositing) is saved and restored as a stack. What is painted is
/// multiplied by the alpha; alpha is set, never accumulated. A shadow is cast by each paint under it on what lies below, with
/// the alpha of the paint.
///
/// What cannot be told, such as a path or a transform with numbers that are not finite, paints nothing, and a clip to it hides
/// all. Restoring and ending more often than was saved and begun has no effect.
///
/// Between beginTransparencyLayer and endTransparencyLayer, paints composite into a group that is then drawn once, with the
/// shadow and the alpha of the state at the beginning; within, alpha begins at 1 and there is no shadow.
class RasterContext {
public:
    enum class LineCap { butt, round };
    enum class LineJoin { miter, round };

    /// How a filled shape meets what is there: it lies over it, clears it whatever its colour, tints what is painted and leaves
    /// clear what is clear, or lies under it.
    enum class Compositing { over, clear, atop, under };

    virtual ~RasterContext() = default;

    virtual void saveGState() = 0;
    virtual void restoreGState() = 0;

    /// @name Transform: what is drawn from now on goes through the given step first.
    /// @{
    virtual void concatCTM(const AffineTransform& transform) = 0;
    virtual void translateCTM(double x, double y) = 0;
    virtual void scaleCTM(double x, double y) = 0;
    virtual AffineTransform ctm() const = 0;
    /// @}

    virtual void setAlpha(double alpha) = 0;
    virtual void setFillColor(const RasterColor& color) = 0;
    virtual void setStrokeColor(const RasterColor& color) = 0;
    virtual void setLineWidth(double width) = 0; ///< User space.
    virtual void setLineCap(LineCap cap) = 0;
    virtual void setLineJoin(LineJoin join) = 0;
    virtual void setShadow(const std::optional<RasterShadow>& shadow) = 0;

    /// Holds for fills of rectangles and paths alone. What does not lie over the rest casts no shadow.
    virtual void setFillCompositing(Compositing compositing) = 0;

    virtual void fillRect(const CGRect& rect) = 0;
    virtual void fillPath(const Path& path, FillRule rule) = 0;
    virtual void strokePath(const Path& path) = 0;
    virtual void clipToPath(const Path& path, FillRule rule) = 0;

    /// Draws the part `source` of a picture, in its pixels, stretched over `destination` in user space. Smaller it is averaged by
    /// area, so that no line is lost; larger it is smooth.
    virtual void drawImage(const ImageRef& image, const CGRect& source, const CGRect& destination) = 0;

    /// Draws laid-out text with its top left at `origin`. Characters that begin in `clear` are left out; the others stay where
    /// they are. Pictures among them have their own colours and the alpha of `color`.
    virtual void drawText(const TextLayout& layout, CGPoint origin, const RasterColor& color, std::span<const TextRange> clear = {}) = 0;

    virtual void beginTransparencyLayer(const TransparencyLayerHints& hints = {}) = 0;
    virtual void endTransparencyLayer() = 0;
};

/// Saves the state of a context now and restores it at the end of the scope.
class SavedState {
public:
    explicit SavedState(RasterContext& context) : context_(context) { context_.saveGState(); }
    ~SavedState() { context_.restoreGState(); }
    SavedState(const SavedState&) = delete;
    SavedState& operator=(const SavedState&) = delete;

private:
    RasterContext& context_;
};

/// A context that draws into the memory of `pixels`, which must outlive it. Used by one thread at a time.
std::unique_ptr<RasterContext> makeRasterContext(PixelBuffer& pixels);

} // namespace larkspool
