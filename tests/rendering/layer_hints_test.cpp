#include "rendering/shapes.h"

#include "rendering/rendering_fixture.h"
#include "support/small_picture.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

/// Draws as another context does, which is told nothing of a layer before it is painted.
class ContextWithoutHints final : public RasterContext {
public:
    explicit ContextWithoutHints(RasterContext& context) : context_(context) {}

    void saveGState() override { context_.saveGState(); }
    void restoreGState() override { context_.restoreGState(); }
    void concatCTM(const AffineTransform& transform) override { context_.concatCTM(transform); }
    void translateCTM(double x, double y) override { context_.translateCTM(x, y); }
    void scaleCTM(double x, double y) override { context_.scaleCTM(x, y); }
    AffineTransform ctm() const override { return context_.ctm(); }
    void setAlpha(double alpha) override { context_.setAlpha(alpha); }
    void setFillColor(const RasterColor& color) override { context_.setFillColor(color); }
    void setStrokeColor(const RasterColor& color) override { context_.setStrokeColor(color); }
    void setLineWidth(double width) override { context_.setLineWidth(width); }
    void setLineCap(LineCap cap) override { context_.setLineCap(cap); }
    void setLineJoin(LineJoin join) override { context_.setLineJoin(join); }
    void setShadow(const std::optional<RasterShadow>& shadow) override { context_.setShadow(shadow); }
    void setFillCompositing(Compositing compositing) override { context_.setFillCompositing(compositing); }
    void fillRect(const CGRect& rect) override { context_.fillRect(rect); }
    void fillPath(const Path& path, FillRule rule) override { context_.fillPath(path, rule); }
    void strokePath(const Path& path) override { context_.strokePath(path); }
    void clipToPath(const Path& path, FillRule rule) override { context_.clipToPath(path, rule); }
    void drawImage(const ImageRef& image, const CGRect& source, const CGRect& destination) override
    {
        context_.drawImage(image, source, destination);
    }
    void drawText(const TextLayout& layout, CGPoint origin, const RasterColor& color, std::span<const TextRange> clear) override
    {
        context_.drawText(layout, origin, color, clear);
    }
    void beginTransparencyLayer(const TransparencyLayerHints&) override { context_.beginTransparencyLayer(); }
    void endTransparencyLayer() override { context_.endTransparencyLayer(); }

private:
    RasterContext& context_;
};

int greatestDifferenceWithoutHints(const Layer& layer)
{
    constexpr int width = 140, height = 130;
    const TweenScene scene = sceneWith({width, height}, {layer}, {0.8, 0.85, 0.9, 1});
    const PixelBuffer hinted = drawnFrame(scene);
    PixelBuffer plain(width, height);
    const std::unique_ptr<RasterContext> context = makeRasterContext(plain);
    ContextWithoutHints withoutHints(*context);
    Exporter::drawScene(scene, 0, withoutHints, {width, height});

    return greatestDifference(hinted, plain);
}

struct Stroke {
    const char* what;
    double width;
    bool outside, perSide;
};

Layer shadowed(Kind kind, const Stroke& stroke)
{
    Layer layer{.kind = kind,
                .transform = {.x = 30.3, .y = 25.6},
                .fill = {0.2, 0.5, 0.9, 1},
                .stroke = {0.9, 0.3, 0.1, 1},
                .strokeWidth = stroke.width,
                .size = {80, 60},
                .shadow = ShadowPreset::medium};
    layer.strokeOutside = stroke.outside;
    layer.perSideStroke = stroke.perSide;
    layer.strokeWidthTop = layer.strokeWidthLeft = 2;
    layer.strokeWidthBottom = 5;
    if (kind == Kind::path) layer.path = {MoveTo{{0, 0}}, LineTo{{80, 10}}, LineTo{{20, 60}}, ClosePath{}};
    if (kind == Kind::text) layer.text = "Words";
    return layer;
}

TEST(LayerHints, WhatIsKnownOfALayerBeforehandDoesNotChangeItsPicture)
{
    constexpr Stroke strokes[] = {{"no stroke", 0, false, false},    {"inside", 6, false, false},
                                  {"wide inside", 60, false, false}, {"outside", 12, true, false},
                                  {"per side", 12, false, true},     {"per side, outside", 12, true, true}};
    struct Look {
        double radius, fillAlpha, strokeAlpha, opacity, rotation, scaleX;
    };
    std::vector<Look> looks;
    for (const double radius : {0.0, 12.0})
        for (const double fillAlpha : {1.0, 0.4, 0.0})
            for (const double strokeAlpha : {1.0, 0.5}) {
                looks.push_back({radius, fillAlpha, strokeAlpha, 1, 0, 1});
                looks.push_back({radius, fillAlpha, strokeAlpha, 1, 0, -1.3});
                looks.push_back({radius, fillAlpha, strokeAlpha, 0.6, 25, 1});
            }
    for (const Kind kind :
         {Kind::rectangle, Kind::ellipse, Kind::path, Kind::text, Kind::line, Kind::gradientField, Kind::cursor})
        for (const Stroke& stroke : strokes)
            for (const Look& look : looks) {
                SCOPED_TRACE(testing::Message() << fileValue(kind) << ", " << stroke.what << ", radius " << look.radius
                                                << ", fill " << look.fillAlpha << ", stroke " << look.strokeAlpha << ", opacity "
                                                << look.opacity << ", turned " << look.rotation << ", scaled "
                                                << look.scaleX);
                Layer layer = shadowed(kind, stroke);
                layer.transform.rotation = look.rotation;
                layer.transform.scaleX = look.scaleX;
                layer.fill.a = look.fillAlpha;
                layer.stroke.a = look.strokeAlpha;
                layer.opacity = look.opacity;
                layer.cornerRadius = look.radius;
                EXPECT_LE(greatestDifferenceWithoutHints(layer), 8);
            }
}

} // namespace
} // namespace larkspool
