#include "rendering/shapes.h"

#include "rendering/rendering_fixture.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"
#include "support/small_picture.h"

#include <functional>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

/// A layer of 20 x 20 at (10, 10), green with a red stroke.
Layer box(Kind kind = Kind::rectangle)
{
    return {.kind = kind, .transform = {.x = 10, .y = 10}, .fill = green, .stroke = red, .size = {20, 20}};
}

PixelBuffer drawn(const Layer& layer)
{
    return drawnFrame(sceneWith({40, 40}, {layer}));
}

/// A closed path layer of 20 x 20 that stands where `box` does.
Layer squarePath()
{
    Layer layer = box(Kind::path);
    layer.path = {MoveTo{{0, 0}}, LineTo{{20, 0}}, LineTo{{20, 20}}, LineTo{{0, 20}}, ClosePath{}};
    return layer;
}

void expectNear(Pixel actual, Pixel expected, int tolerance)
{
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
    EXPECT_NEAR(actual.a, expected.a, tolerance);
}

TEST(CornerRadius, IsCappedAtHalfTheSmallerSideThenRaisedToZero)
{
    struct Case { const char* what; double radius; CGSize size; double clamped; };
    for (const Case& c : {Case{"fits", 5, {20, 30}, 5}, Case{"capped", 50, {20, 30}, 10}, Case{"negative", -3, {20, 30}, 0},
                          Case{"of nothing", 5, {0, 30}, 0}, Case{"of a negative size", 5, {-4, 30}, 0}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(clampedCornerRadius(c.radius, c.size), c.clamped);
    }
}

TEST(ShadowPresets, HaveTheirNumbers)
{
    struct Case { ShadowPreset preset; double alpha, offset, blur; };
    for (const Case& c : {Case{ShadowPreset::none, 0, 0, 0}, Case{ShadowPreset::low, 0.3, -4, 8}, Case{ShadowPreset::medium, 0.4, -12, 18},
                          Case{ShadowPreset::high, 0.55, -30, 40}}) {
        const ShadowPresetValues values = shadowPresetValues(c.preset);
        EXPECT_EQ(values.alpha, c.alpha);
        EXPECT_EQ(values.verticalOffset, c.offset);
        EXPECT_EQ(values.blur, c.blur);
    }
}

TEST(Shapes, AStrokeOfNoWidthOutsidePaintsTheFillAlone)
{
    Layer layer = box();
    layer.strokeOutside = true;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 9, 20), whitePixel);
    EXPECT_EQ(pixelAt(picture, 10, 20), greenPixel);
}

TEST(Shapes, AStrokeOfANegativeWidthPaintsTheFillAlone)
{
    for (const Kind kind : {Kind::rectangle, Kind::ellipse})
        for (const bool outside : {false, true}) {
            Layer layer = box(kind);
            layer.strokeWidth = -4;
            layer.strokeOutside = outside;
            RecordingRasterContext context;
            Exporter::drawCacheableLayerBody(layer, context);
            EXPECT_EQ(context.operations().size(), 2u) << "a colour and a fill";
            EXPECT_EQ(context.count<RasterOperation::FillPath>(), 1);
        }
}

TEST(Shapes, AFreePathHasNoStrokeForEachSide)
{
    Layer layer = squarePath();
    layer.strokeWidth = 4;
    RecordingRasterContext plain, perSide;
    Exporter::drawCacheableLayerBody(layer, plain);
    layer.perSideStroke = true;
    layer.strokeWidthTop = 9;
    Exporter::drawCacheableLayerBody(layer, perSide);
    EXPECT_EQ(perSide.operations(), plain.operations());
}

TEST(Shapes, AShadowDoesNotCutTheStrokeAroundAnEllipseThatAsksForOneForEachSide)
{
    Layer layer = box(Kind::ellipse);
    layer.perSideStroke = layer.strokeOutside = true;
    layer.strokeWidth = 8;
    layer.shadow = ShadowPreset::low;
    EXPECT_EQ(pixelAt(drawn(layer), 4, 20), redPixel); // 6 from the ellipse's side.
}

TEST(Shapes, AStrokeInsideIsARingWithASeamOfTheFillAlongItsInnerEdge)
{
    Layer layer = box();
    layer.strokeWidth = 4;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 9, 20), whitePixel);
    EXPECT_EQ(pixelAt(picture, 10, 20), redPixel);
    EXPECT_EQ(pixelAt(picture, 12, 20), redPixel);
    expectNear(pixelAt(picture, 13, 20), {128, 128, 0, 255}, 2); // The seam covers half of this pixel.
    EXPECT_EQ(pixelAt(picture, 14, 20), greenPixel);
}

TEST(Shapes, AClearFillLeavesTheInsideOfARingOpen)
{
    Layer layer = box();
    layer.strokeWidth = 4;
    layer.fill = ColorRGBA::clear;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 13, 20), redPixel);
    EXPECT_EQ(pixelAt(picture, 14, 20), whitePixel);
}

TEST(Shapes, AFillOfAThousandthCountsAsNone)
{
    struct Case { double alpha; int seams; };
    for (const Case& c : {Case{0, 0}, Case{0.001, 0}, Case{0.0011, 1}}) {
        Layer layer = box();
        layer.strokeWidth = 4;
        layer.fill.a = c.alpha;
        RecordingRasterContext context;
        Exporter::drawCacheableLayerBody(layer, context);
        EXPECT_EQ(context.count<RasterOperation::FillPath>(), 1 + c.seams) << c.alpha;
        EXPECT_EQ(context.count<RasterOperation::StrokePath>(), c.seams) << c.alpha;
    }
}

TEST(Shapes, ASemiTransparentRingDoesNotOverlapTheFill)
{
    Layer layer = box();
    layer.strokeWidth = 4;
    layer.stroke.a = 0.5;
    const PixelBuffer picture = drawn(layer);
    expectNear(pixelAt(picture, 11, 20), {255, 128, 128, 255}, 1);
    EXPECT_EQ(pixelAt(picture, 20, 20), greenPixel);
}

TEST(Shapes, AStrokeTooWideForARingIsALineClippedToTheShape)
{
    Layer layer = box();
    layer.size = {10, 30};
    layer.strokeWidth = 6;
    layer.stroke.a = 0.5; // Shows that the fill lies below, and that the line covers it once.
    const PixelBuffer picture = drawn(layer);
    expectNear(pixelAt(picture, 15, 25), {128, 128, 0, 255}, 2);
    EXPECT_EQ(pixelAt(picture, 9, 25), whitePixel);
}

TEST(Shapes, AStrokeTooWideForARingGlowsWithinTheShapeAlone)
{
    // Clipped to the shape, what it adds to the glow lies under it.
    for (const Kind kind : {Kind::rectangle, Kind::ellipse, Kind::path})
        for (const double rotation : {0.0, 20.0}) {
            Layer layer = squarePath();
            layer.kind = kind;
            layer.transform.rotation = rotation;
            layer.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
            const auto drawnAt = [&](double strokeWidth) {
                layer.strokeWidth = strokeWidth;
                return drawnFrame(sceneWith({40, 40}, {layer}), 0.1);
            };
            const PixelBuffer plain = drawnAt(0), stroked = drawnAt(15);
            for (const auto& [x, y] : {std::pair{4, 20}, {20, 4}, {36, 20}, {20, 36}}) {
                SCOPED_TRACE(testing::Message() << fileValue(kind) << ", turned " << rotation << ", at " << x << ", " << y);
                EXPECT_NE(pixelAt(plain, x, y), whitePixel);
                expectNear(pixelAt(stroked, x, y), pixelAt(plain, x, y), 1);
            }
            EXPECT_EQ(pixelAt(stroked, 20, 20), redPixel);
        }
}

TEST(Shapes, AStrokeTooWideForARingLeavesNoHoleInARoundShape)
{
    Layer round = box();
    round.kind = Layer::Kind::ellipse;
    round.size = {20, 20};
    round.strokeWidth = 11; // The inner edge of a line around a circle of 10 lies 1.25 beyond its centre.
    Layer pill = box();
    pill.size = {20, 30};
    pill.cornerRadius = 10;
    pill.strokeWidth = 12;
    for (const Layer& layer : {round, pill}) {
        SCOPED_TRACE(testing::Message() << "size " << layer.size.width << " x " << layer.size.height);
        const PixelBuffer picture = drawn(layer);
        for (const auto& [x, y] : {std::pair{20, 20}, {19, 20}, {20, 21}, {19, 19}, {20, 18}, {17, 20}})
            EXPECT_EQ(pixelAt(picture, x, y), redPixel) << x << ", " << y;
    }
}

TEST(Shapes, AClippedStrokeIsAQuarterOfAPointWiderThanItsWidth)
{
    Layer layer = squarePath();
    layer.strokeWidth = 4;
    const PixelBuffer inside = drawn(layer);
    EXPECT_EQ(pixelAt(inside, 9, 20), whitePixel);
    EXPECT_EQ(pixelAt(inside, 13, 20), redPixel);
    expectNear(pixelAt(inside, 14, 20), {64, 191, 0, 255}, 2);
    EXPECT_EQ(pixelAt(inside, 15, 20), greenPixel);

    layer.strokeOutside = true;
    layer.strokeWidth = 3;
    const PixelBuffer outside = drawn(layer);
    EXPECT_EQ(pixelAt(outside, 10, 20), greenPixel);
    EXPECT_EQ(pixelAt(outside, 9, 20), redPixel);
    EXPECT_EQ(pixelAt(outside, 7, 20), redPixel);
    expectNear(pixelAt(outside, 6, 20), {255, 191, 191, 255}, 2);
    EXPECT_EQ(pixelAt(outside, 5, 20), whitePixel);
}

TEST(Shapes, AStrokeForEachSideInsideHasFourWidths)
{
    Layer layer = box();
    layer.perSideStroke = true;
    layer.strokeWidthTop = 4;
    layer.strokeWidthRight = 6;
    layer.strokeWidthLeft = 2;
    layer.strokeWidth = 9; // Plays no part.
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 20, 13), redPixel);
    EXPECT_EQ(pixelAt(picture, 20, 14), greenPixel);
    EXPECT_EQ(pixelAt(picture, 11, 20), redPixel);
    EXPECT_EQ(pixelAt(picture, 12, 20), greenPixel);
    EXPECT_EQ(pixelAt(picture, 23, 20), greenPixel);
    EXPECT_EQ(pixelAt(picture, 24, 20), redPixel);
    EXPECT_EQ(pixelAt(picture, 20, 29), greenPixel);
}

TEST(Shapes, AStrokeForEachSideOutsideGrowsTheBox)
{
    Layer layer = box();
    layer.perSideStroke = true;
    layer.strokeOutside = true;
    layer.strokeWidthTop = 4;
    layer.strokeWidthBottom = 2;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 20, 6), redPixel);
    EXPECT_EQ(pixelAt(picture, 20, 5), whitePixel);
    EXPECT_EQ(pixelAt(picture, 20, 31), redPixel);
    EXPECT_EQ(pixelAt(picture, 20, 32), whitePixel);
    EXPECT_EQ(pixelAt(picture, 9, 20), whitePixel);
    EXPECT_EQ(pixelAt(picture, 10, 20), greenPixel);
}

TEST(Shapes, TheCornersOfAStrokeForEachSideFollowItsWidths)
{
    const auto ring = [](const std::function<void(Layer&)>& change) {
        Layer layer = box();
        layer.perSideStroke = true;
        layer.cornerRadius = 6;
        change(layer);
        RecordingRasterContext context;
        Exporter::drawPerSideStroke(layer, {{0, 0}, {40, 40}}, context);
        for (const RasterOperation::Any& operation : context.operations())
            if (const auto* fill = std::get_if<RasterOperation::FillPath>(&operation)) return *fill->path.boxes();
        return std::vector<RoundedRect>();
    };
    // Outside, the outer corner grows by the mean of the widths; inside, the inner one shrinks by the lesser of left and top.
    EXPECT_THAT(ring([](Layer& l) { l.strokeOutside = true, l.strokeWidthTop = 4; }),
                testing::ElementsAre(RoundedRect{{{0, -4}, {40, 44}}, 7}, RoundedRect{{{0, 0}, {40, 40}}, 6}));
    EXPECT_THAT(ring([](Layer& l) { l.strokeWidthLeft = 10, l.strokeWidthTop = 2; }),
                testing::ElementsAre(RoundedRect{{{0, 0}, {40, 40}}, 6}, RoundedRect{{{10, 2}, {30, 38}}, 4}));
    EXPECT_THAT(ring([](Layer& l) { l.strokeWidthRight = 10, l.strokeWidthBottom = 20; }),
                testing::ElementsAre(RoundedRect{{{0, 0}, {40, 40}}, 6}, RoundedRect{{{0, 0}, {30, 20}}, 6}));
    // Neither is more than half of the smaller side, nor below 0, and a width below 0 is none.
    EXPECT_THAT(ring([](Layer& l) { l.strokeOutside = true, l.cornerRadius = 90, l.strokeWidthTop = 4; }),
                testing::ElementsAre(RoundedRect{{{0, -4}, {40, 44}}, 20}, RoundedRect{{{0, 0}, {40, 40}}, 20}));
    EXPECT_THAT(ring([](Layer& l) { l.strokeOutside = true, l.cornerRadius = -3, l.strokeWidthTop = 4, l.strokeWidthLeft = -9; }),
                testing::ElementsAre(RoundedRect{{{0, -4}, {40, 44}}, 0}, RoundedRect{{{0, 0}, {40, 40}}, 0}));
    EXPECT_THAT(ring([](Layer& l) { l.cornerRadius = 90, l.strokeWidthLeft = l.strokeWidthTop = 10; }),
                testing::ElementsAre(RoundedRect{{{0, 0}, {40, 40}}, 20}, RoundedRect{{{10, 10}, {30, 30}}, 15}));
    EXPECT_THAT(ring([](Layer& l) { l.strokeWidthLeft = 8, l.strokeWidthTop = 7; }),
                testing::ElementsAre(RoundedRect{{{0, 0}, {40, 40}}, 6}, RoundedRect{{{8, 7}, {32, 33}}, 0}));
}

TEST(Shapes, AStrokeWhoseWidthIsNoNumberLeavesTheFillAndItsShadow)
{
    for (const bool outside : {false, true}) {
        Layer layer = box();
        layer.shadow = ShadowPreset::low;
        layer.strokeOutside = outside;
        const PixelBuffer plain = drawn(layer);
        layer.strokeWidth = std::numeric_limits<double>::quiet_NaN();
        const PixelBuffer picture = drawn(layer);
        for (const int y : {5, 20, 33}) EXPECT_EQ(pixelAt(picture, 20, y), pixelAt(plain, 20, y)) << y;
        EXPECT_EQ(pixelAt(picture, 20, 20), greenPixel);
    }
}

TEST(Shapes, WidthsForEachSideThatLeaveNothingFillTheBoxWithTheStroke)
{
    Layer layer = box();
    layer.perSideStroke = true;
    layer.strokeWidthLeft = 12;
    layer.strokeWidthRight = 12;
    EXPECT_EQ(pixelAt(drawn(layer), 20, 20), redPixel);
}

TEST(Shapes, AnEllipseHasNoStrokeForEachSide)
{
    Layer layer = box(Kind::ellipse);
    layer.perSideStroke = true;
    layer.strokeWidthTop = 9;
    layer.strokeWidth = 3;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 20, 11), redPixel);
    EXPECT_EQ(pixelAt(picture, 20, 15), greenPixel);
    EXPECT_EQ(pixelAt(picture, 10, 10), whitePixel);
}

TEST(Shapes, ANegativeCornerRadiusIsNone)
{
    Layer layer = box();
    layer.cornerRadius = -8;
    EXPECT_EQ(pixelAt(drawn(layer), 10, 10), greenPixel);
}

TEST(Shapes, ALargeCornerRadiusMakesACircle)
{
    Layer layer = box();
    layer.cornerRadius = 100;
    const PixelBuffer picture = drawn(layer);
    EXPECT_EQ(pixelAt(picture, 11, 11), whitePixel); // 12.0 from the middle; the radius is 10.
    EXPECT_EQ(pixelAt(picture, 14, 14), greenPixel); // 7.8 from the middle.
}

TEST(Shapes, SizesThatHoldNothingPaintNothing)
{
    const PixelBuffer empty = drawnFrame(sceneWith({40, 40}, {}));
    for (const Kind kind : {Kind::rectangle, Kind::ellipse})
        for (const CGSize size : {CGSize{0, 20}, CGSize{0, 0}, CGSize{20, 0}}) {
            Layer layer = box(kind);
            layer.size = size;
            layer.strokeWidth = 2;
            layer.shadow = ShadowPreset::low;
            EXPECT_EQ(greatestDifference(drawn(layer), empty), 0);
        }
}

TEST(BodyHints, TellTheAlphaOfABoxAsASumOfBoxes)
{
    Layer layer = box();
    layer.fill.a = 0.25;
    ASSERT_EQ(bodyHints(layer).coverage.size(), 1u);
    EXPECT_EQ(bodyHints(layer).coverage[0].weight, 0.25);

    layer.fill.a = 1;
    layer.strokeWidth = 4;
    ASSERT_EQ(bodyHints(layer).coverage.size(), 1u);
    EXPECT_EQ(bodyHints(layer).coverage[0].box, (RoundedRect{{{0, 0}, {20, 20}}, 0}));

    layer.stroke.a = 0.25;
    ASSERT_EQ(bodyHints(layer).coverage.size(), 2u);
    EXPECT_EQ(bodyHints(layer).coverage[0].weight, 0.25);
    EXPECT_EQ(bodyHints(layer).coverage[1].box.rect, (CGRect{{3.5, 3.5}, {13, 13}}));
    EXPECT_EQ(bodyHints(layer).coverage[1].weight, 0.75);

    layer.fill.a = 0.5; // The seam's alpha adds up otherwise than a sum of boxes.
    EXPECT_TRUE(bodyHints(layer).coverage.empty());
}

TEST(ShapeGoldens, StrokesOfEveryKind)
{
    Array<Layer> layers;
    auto add = [&layers, n = 0](const std::function<void(Layer&)>& change) mutable {
        Layer layer{.fill = {0.35, 0.55, 0.95, 1}, .stroke = {0.95, 0.45, 0.25, 1}, .size = {44, 32}, .cornerRadius = 8};
        layer.transform.x = 13.3 + 70 * (n % 6);
        layer.transform.y = 12.6 + 56 * (n / 6);
        ++n;
        change(layer);
        layers.append(layer);
    };
    const auto bezier = [](Layer& layer) {
        layer.kind = Kind::path;
        layer.path = {MoveTo{{0, 32}}, CurveTo{{4, -16}, {40, -16}, {44, 32}}, LineTo{{22, 20}}, ClosePath{}};
    };
    add([](Layer&) {});
    add([](Layer& l) { l.strokeWidth = 5; });
    add([](Layer& l) { l.strokeWidth = 5, l.strokeOutside = true; });
    add([](Layer& l) { l.strokeWidth = 20; });
    add([](Layer& l) { l.strokeWidth = 5, l.fill.a = 0; });
    add([](Layer& l) { l.strokeWidth = 5, l.stroke.a = 0.4; });
    add([](Layer& l) { l.kind = Kind::ellipse; });
    add([](Layer& l) { l.kind = Kind::ellipse, l.strokeWidth = 5; });
    add([](Layer& l) { l.kind = Kind::ellipse, l.strokeWidth = 5, l.strokeOutside = true; });
    add([](Layer& l) { l.kind = Kind::ellipse, l.strokeWidth = 18; });
    add([](Layer& l) { l.kind = Kind::ellipse, l.strokeWidth = 5, l.fill.a = 0; });
    add([](Layer& l) { l.kind = Kind::ellipse, l.strokeWidth = 5, l.opacity = 0.5; });
    add([](Layer& l) { l.perSideStroke = true, l.strokeWidthTop = 8; });
    add([](Layer& l) { l.perSideStroke = true, l.strokeWidthLeft = 10, l.strokeWidthTop = 2; });
    add([](Layer& l) { l.perSideStroke = true, l.strokeWidthLeft = 4, l.strokeWidthTop = 4, l.strokeWidthRight = 4, l.strokeWidthBottom = 4; });
    add([](Layer& l) { l.perSideStroke = l.strokeOutside = true, l.strokeWidthTop = 4; });
    add([](Layer& l) { l.perSideStroke = l.strokeOutside = true, l.strokeWidthLeft = 2, l.strokeWidthTop = 4, l.strokeWidthRight = 6, l.strokeWidthBottom = 8; });
    add([](Layer& l) { l.perSideStroke = true, l.strokeWidthLeft = 30, l.strokeWidthRight = 30; });
    add([&](Layer& l) { bezier(l); });
    add([&](Layer& l) { bezier(l), l.strokeWidth = 4; });
    add([&](Layer& l) { bezier(l), l.strokeWidth = 4, l.strokeOutside = true; });
    add([&](Layer& l) { bezier(l), l.strokeWidth = 4, l.transform.rotation = 30; });
    add([](Layer& l) { l.strokeWidth = 5, l.transform.rotation = 20; });
    add([](Layer& l) { l.strokeWidth = 0.5, l.fill = ColorRGBA::white, l.stroke = ColorRGBA::black; });

    const TweenScene scene = sceneWith({430, 232}, layers, {0.97, 0.97, 0.98, 1});
    EXPECT_GOLDEN(drawnFrame(scene), "shapes-strokes");
    EXPECT_GOLDEN(drawnFrame(scene, 0, CGSize{860, 464}), "shapes-strokes-2x");
}

TEST(ShapeGoldens, ShadowsOfEveryPreset)
{
    Array<Layer> layers;
    int n = 0;
    for (const ShadowPreset preset : {ShadowPreset::low, ShadowPreset::medium, ShadowPreset::high}) {
        for (const int look : {0, 1, 2, 3, 4}) {
            Layer layer{.kind = look == 1 ? Kind::ellipse : Kind::rectangle, .fill = ColorRGBA::white, .size = {60, 44}, .cornerRadius = 10,
                        .shadow = preset};
            layer.transform.x = 30.4 + 110 * look;
            layer.transform.y = 24.7 + 110 * n;
            if (look == 2) layer.opacity = 0.5;
            if (look == 3) layer.transform.rotation = 25;
            if (look == 4) layer.fill = ColorRGBA::clear, layer.strokeWidth = 6, layer.stroke = {0.2, 0.4, 0.9, 1};
            layers.append(layer);
        }
        ++n;
    }
    EXPECT_GOLDEN(drawnFrame(sceneWith({570, 350}, layers, {0.93, 0.94, 0.96, 1})), "shapes-shadows");
}

} // namespace
} // namespace larkspool
