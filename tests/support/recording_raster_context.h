#pragma once

#include "platform/raster_context.h"

#include <iosfwd>
#include <string>
#include <variant>
#include <vector>

namespace larkspool {

/// One call of a raster context, as a value. Each has the name and the arguments of the call.
namespace RasterOperation {

struct SaveGState {
    bool operator==(const SaveGState&) const = default;
};
struct RestoreGState {
    bool operator==(const RestoreGState&) const = default;
};
struct ConcatCTM {
    AffineTransform transform;
    bool operator==(const ConcatCTM&) const = default;
};
struct TranslateCTM {
    double x = 0, y = 0;
    bool operator==(const TranslateCTM&) const = default;
};
struct ScaleCTM {
    double x = 1, y = 1;
    bool operator==(const ScaleCTM&) const = default;
};
struct SetAlpha {
    double alpha = 1;
    bool operator==(const SetAlpha&) const = default;
};
struct SetFillColor {
    RasterColor color;
    bool operator==(const SetFillColor&) const = default;
};
struct SetStrokeColor {
    RasterColor color;
    bool operator==(const SetStrokeColor&) const = default;
};
struct SetLineWidth {
    double width = 1;
    bool operator==(const SetLineWidth&) const = default;
};
struct SetLineCap {
    RasterContext::LineCap cap = RasterContext::LineCap::butt;
    bool operator==(const SetLineCap&) const = default;
};
struct SetLineJoin {
    RasterContext::LineJoin join = RasterContext::LineJoin::miter;
    bool operator==(const SetLineJoin&) const = default;
};
struct SetFillCompositing {
    RasterContext::Compositing compositing = RasterContext::Compositing::over;
    bool operator==(const SetFillCompositing&) const = default;
};
struct SetShadow {
    std::optional<RasterShadow> shadow;
    bool operator==(const SetShadow&) const = default;
};
struct FillRect {
    CGRect rect;
    bool operator==(const FillRect&) const = default;
};
struct FillPath {
    Path path;
    FillRule rule = FillRule::winding;
    bool operator==(const FillPath&) const = default;
};
struct StrokePath {
    Path path;
    bool operator==(const StrokePath&) const = default;
};
struct ClipToPath {
    Path path;
    FillRule rule = FillRule::winding;
    bool operator==(const ClipToPath&) const = default;
};
struct DrawImage {
    ImageRef image;
    CGRect source;
    CGRect destination;
    bool operator==(const DrawImage&) const = default;
};
struct DrawText {
    TextLayoutRequest request; ///< What the layout was asked for.
    CGPoint origin;
    RasterColor color;
    std::vector<TextRange> clear;
    bool operator==(const DrawText&) const = default;
};
struct BeginTransparencyLayer {
    TransparencyLayerHints hints;
    bool operator==(const BeginTransparencyLayer&) const = default;
};
struct EndTransparencyLayer {
    bool operator==(const EndTransparencyLayer&) const = default;
};

using Any = std::variant<SaveGState, RestoreGState, ConcatCTM, TranslateCTM, ScaleCTM, SetAlpha, SetFillColor, SetStrokeColor,
                         SetLineWidth, SetLineCap, SetLineJoin, SetShadow, SetFillCompositing, FillRect, FillPath, StrokePath,
                         ClipToPath, DrawImage, DrawText, BeginTransparencyLayer, EndTransparencyLayer>;

/// One line, such as `fillPath box(0 0 100 50 r8) evenOdd`.
std::string text(const Any& operation);

} // namespace RasterOperation

/// A context that paints nothing and keeps what it was told. Its transform follows the calls as a painting one's would.
class RecordingRasterContext final : public RasterContext {
public:
    const std::vector<RasterOperation::Any>& operations() const { return operations_; }

    /// The operations, a line each. What is saved and what is grouped stands indented by two spaces.
    std::string text() const;

    /// How often `Operation` was called.
    template <typename Operation>
    int count() const
    {
        int found = 0;
        for (const RasterOperation::Any& operation : operations_) found += std::holds_alternative<Operation>(operation) ? 1 : 0;
        return found;
    }

    /// Whether each save has its restore and each layer its end, in proper order.
    bool isBalanced() const;

    void saveGState() override;
    void restoreGState() override;
    void concatCTM(const AffineTransform& transform) override;
    void translateCTM(double x, double y) override;
    void scaleCTM(double x, double y) override;
    AffineTransform ctm() const override { return ctm_; }
    void setAlpha(double alpha) override;
    void setFillColor(const RasterColor& color) override;
    void setStrokeColor(const RasterColor& color) override;
    void setLineWidth(double width) override;
    void setLineCap(LineCap cap) override;
    void setLineJoin(LineJoin join) override;
    void setShadow(const std::optional<RasterShadow>& shadow) override;
    void setFillCompositing(Compositing compositing) override;
    void fillRect(const CGRect& rect) override;
    void fillPath(const Path& path, FillRule rule) override;
    void strokePath(const Path& path) override;
    void clipToPath(const Path& path, FillRule rule) override;
    void drawImage(const ImageRef& image, const CGRect& source, const CGRect& destination) override;
    void drawText(const TextLayout& layout, CGPoint origin, const RasterColor& color, std::span<const TextRange> clear) override;
    void beginTransparencyLayer(const TransparencyLayerHints& hints) override;
    void endTransparencyLayer() override;

private:
    std::vector<RasterOperation::Any> operations_;
    AffineTransform ctm_;
    std::vector<AffineTransform> saved_;
};

} // namespace larkspool
