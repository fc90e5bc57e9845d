#include "rendering/gradient_field.h"

#include "rendering/patterns.h"
#include "rendering/radiate.h"
#include "rendering/rendering_fixture.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <limits>
#include <set>

namespace larkspool {
namespace {

using Kind = Layer::Kind;
constexpr double pi = std::numbers::pi;

Layer fieldOf(const ColorRGBA& fill, const ColorRGBA& stroke, CGSize size, double speed = 1, double pulse = 0.5)
{
    return {.kind = Kind::gradientField, .fill = fill, .stroke = stroke, .size = size, .gradientWarpSpeed = speed,
            .gradientPulseAmount = pulse};
}

struct Rgb {
    double r = 0, g = 0, b = 0;
};

/// The field's colour at a place, from the definition and over a black frame: 0...1, before it is held to 1.
Rgb fieldColor(const Layer& layer, double t, CGPoint at)
{
    const double W = layer.size.width, H = layer.size.height;
    const double A = t * std::max(layer.gradientWarpSpeed, 0.0) * 0.05;
    const double pulse = std::clamp(layer.gradientPulseAmount, 0.0, 1.0);
    const double theta = A * pi / 2;
    const double dx = W * std::cos(theta), dy = H * std::sin(theta);
    const double along = std::clamp(((at.x - W / 2) * dx + (at.y - H / 2) * dy) / (dx * dx + dy * dy) + 0.5, 0.0, 1.0);
    const auto mixed = [&](double m, double weight, Rgb& out) {
        const double a = (layer.fill.a + (layer.stroke.a - layer.fill.a) * m) * weight;
        out.r += (layer.fill.r + (layer.stroke.r - layer.fill.r) * m) * a;
        out.g += (layer.fill.g + (layer.stroke.g - layer.fill.g) * m) * a;
        out.b += (layer.fill.b + (layer.stroke.b - layer.fill.b) * m) * a;
    };
    Rgb color{};
    mixed(along, 1, color);
    for (int k = 0; k < 3; ++k) {
        const double p = k * 2 * pi / 3;
        const double m = 0.5 + 0.5 * std::sin(pi * (A + p));
        const double b = 1 - pulse * 0.45 * (1 - (0.5 + 0.5 * std::sin(2 * pi * (t * 0.135 + p * 0.7))));
        const double peak = std::min(b * 0.495, 0.675);
        const double radius = std::min(W, H) * 0.55 * (1 + pulse * 0.2 * std::sin(2 * pi * (t * 0.18 + p)));
        const double x = W * (0.5 + 0.32 * std::sin(pi * (A * 0.85 + p))), y = H * (0.5 + 0.32 * std::cos(pi * (A * 1.07 + p * 1.3)));
        mixed(m, peak * std::max(1 - std::hypot(at.x - x, at.y - y) / radius, 0.0), color);
    }
    return color;
}

int byteOf(double value)
{
    return static_cast<int>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

void expectField(const Layer& layer, double time)
{
    const PixelBuffer picture = drawnFrame(sceneWith(layer.size, {layer}, ColorRGBA::black), time);
    int worst = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
            const Rgb c = fieldColor(layer, time, {x + 0.5, y + 0.5});
            const Pixel p = pixelAt(picture, x, y);
            worst = std::max({worst, std::abs(p.r - byteOf(c.r)), std::abs(p.g - byteOf(c.g)), std::abs(p.b - byteOf(c.b))});
        }
    EXPECT_LE(worst, 1) << "at " << time;
}

TEST(GradientField, IsWhatItsDefinitionSaysAtEveryPixel)
{
    for (const double time : {0.0, 0.7, 3.0, 17.25, 1000.0}) {
        expectField(fieldOf({0.2, 0.5, 1, 1}, {0.9, 0.1, 0.4, 1}, {97, 61}), time);
        expectField(fieldOf({0.05, 0.3, 0.2, 1}, {0.1, 0.1, 0.4, 1}, {64, 120}, 2.5, 1), time);
    }
}

TEST(GradientField, IsWhatItsDefinitionSaysInALargeFrame)
{
    expectField(fieldOf({0.2, 0.5, 1, 1}, {0.4, 0.1, 0.5, 1}, {1601, 1003}, 1, 0.2), 4.2);
}

TEST(GradientField, TheFirstColourStandsAtTheLeftAtTheBeginning)
{
    // A radius of 0.55 * 40 leaves the corners of a wide box without light.
    const PixelBuffer picture = drawnFrame(sceneWith({400, 40}, {fieldOf(red, blue, {400, 40})}));
    EXPECT_NEAR(pixelAt(picture, 0, 0).r, 255, 1);
    EXPECT_NEAR(pixelAt(picture, 0, 0).b, 0, 1);
    EXPECT_NEAR(pixelAt(picture, 399, 39).b, 255, 1);
}

TEST(GradientField, TheSpotsAddToWhatIsBelow)
{
    const Layer layer = fieldOf({0.9, 0.9, 0.9, 1}, {0.9, 0.9, 0.9, 1}, {100, 100});
    const CGPoint spot = gradientField(layer, 0).blobs[0].center;
    EXPECT_EQ(spot, (CGPoint{50, 82})); // sin 0 and cos 0.
    const PixelBuffer picture = drawnFrame(sceneWith({100, 100}, {layer}));
    EXPECT_EQ(pixelAt(picture, 50, 82), whitePixel);
}

TEST(GradientField, LightIsFadedBeforeItIsHeldToWhite)
{
    // White at half opacity over black is 0.5; the light of a spot comes on top at half its strength.
    Layer layer = fieldOf(ColorRGBA::white, ColorRGBA::white, {100, 100});
    layer.opacity = 0.5;
    const Rgb whole = fieldColor(layer, 0, {50.5, 82.5});
    EXPECT_GT(whole.r, 1.3);
    const PixelBuffer picture = drawnFrame(sceneWith({100, 100}, {layer}, ColorRGBA::black));
    EXPECT_NEAR(pixelAt(picture, 50, 82).r, byteOf(whole.r / 2), 1);
}

TEST(GradientField, ATranslucentFieldKeepsAllOfTheLight)
{
    // Half clear over blue: half of blue stays, and light takes nothing of it away.
    const Layer layer = fieldOf({1, 0, 0, 0.5}, {1, 0, 0, 0.5}, {100, 100});
    const PixelBuffer picture = drawnFrame(sceneWith({100, 100}, {layer}, blue));
    const Rgb light = fieldColor(layer, 0, {50.5, 82.5});
    EXPECT_NEAR(pixelAt(picture, 50, 82).b, 128, 1);
    EXPECT_NEAR(pixelAt(picture, 50, 82).r, byteOf(light.r), 1);
    EXPECT_GT(light.r, 0.6);
}

TEST(GradientField, BlendsColoursOfDifferentAlphaChannelByChannel)
{
    // Half way between red and a clear blue there is purple at half, not red at half.
    for (const double time : {0.0, 2.5}) {
        expectField(fieldOf({0.9, 0.2, 0, 1}, {0, 0.3, 0.9, 0}, {97, 61}), time);
        expectField(fieldOf({0.9, 0.9, 0.9, 0.2}, {0.1, 0.3, 0.4, 0.7}, {97, 61}), time);
    }
}

TEST(GradientField, ANegativeSpeedIsNone)
{
    const CGSize size{60, 40};
    for (const double time : {0.0, 3.3})
        for (const double speed : {-1.0, -100.0}) {
            const GradientField field = gradientField(fieldOf(red, blue, size, speed), time);
            const GradientField still = gradientField(fieldOf(red, blue, size, 0), time);
            EXPECT_EQ(field.start, still.start);
            EXPECT_EQ(field.start, (CGPoint{0, 20}));
            EXPECT_EQ(field.end, (CGPoint{60, 20}));
            for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(field.blobs[k].center, still.blobs[k].center);
        }
}

TEST(GradientField, WithoutPulseTheSpotsKeepTheirSizeAndLight)
{
    for (const double pulse : {0.0, -3.0})
        for (const double time : {0.0, 1.1, 50.0})
            for (const GradientBlob& blob : gradientField(fieldOf(red, blue, {300, 200}, 1, pulse), time).blobs) {
                EXPECT_DOUBLE_EQ(blob.peakAlpha, 0.495);
                EXPECT_DOUBLE_EQ(blob.radius, 110);
            }
}

TEST(GradientField, WithoutSpeedTheSpotsStillBreathe)
{
    const Layer layer = fieldOf(red, blue, {300, 200}, 0, 1);
    const GradientField a = gradientField(layer, 0), b = gradientField(layer, 1);
    EXPECT_EQ(a.start, b.start);
    EXPECT_EQ(a.blobs[0].center, b.blobs[0].center);
    EXPECT_NE(a.blobs[0].radius, b.blobs[0].radius);
    EXPECT_NE(a.blobs[0].peakAlpha, b.blobs[0].peakAlpha);
    EXPECT_DOUBLE_EQ(b.blobs[0].radius, 110 * (1 + 0.2 * std::sin(2 * pi * 0.18)));
    EXPECT_DOUBLE_EQ(b.blobs[0].peakAlpha, 0.495 * (0.55 + 0.45 * (0.5 + 0.5 * std::sin(2 * pi * 0.135))));
}

TEST(GradientField, APulseAmountBeyondOneIsOne)
{
    const GradientField a = gradientField(fieldOf(red, blue, {300, 200}, 1, 7), 2), b = gradientField(fieldOf(red, blue, {300, 200}, 1, 1), 2);
    EXPECT_EQ(a.blobs[1].radius, b.blobs[1].radius);
    EXPECT_EQ(a.blobs[1].peakAlpha, b.blobs[1].peakAlpha);
}

TEST(GradientField, IsCutToItsBox)
{
    Layer layer = fieldOf(red, blue, {20, 20});
    layer.transform = {.x = 10, .y = 10};
    const PixelBuffer picture = drawnFrame(sceneWith({40, 40}, {layer}));
    for (const int at : {9, 30}) {
        EXPECT_EQ(pixelAt(picture, at, 20), whitePixel);
        EXPECT_EQ(pixelAt(picture, 20, at), whitePixel);
    }
    EXPECT_NE(pixelAt(picture, 10, 10), whitePixel);
    EXPECT_NE(pixelAt(picture, 29, 29), whitePixel);
}

TEST(GradientField, AGlowIsCutToItsBoxToo)
{
    Layer field = fieldOf(red, red, {40, 40});
    field.transform = {.x = 30, .y = 30};
    field.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
    Layer rectangle = field;
    rectangle.kind = Kind::rectangle;
    EXPECT_NE(pixelAt(drawnFrame(sceneWith({100, 100}, {rectangle}), 0.5), 25, 50), whitePixel);
    for (const double rotation : {0.0, 45.0}) {
        field.transform.rotation = rotation;
        const PixelBuffer picture = drawnFrame(sceneWith({100, 100}, {field}), 0.5);
        EXPECT_EQ(pixelAt(picture, 20, 20), whitePixel);
        EXPECT_EQ(pixelAt(picture, 50, 18), whitePixel);
        EXPECT_NE(pixelAt(picture, 50, 50), whitePixel);
    }
    // A shadow of its own is cast by what was cut.
    field.transform.rotation = 0;
    field.pulses = {};
    field.shadow = ShadowPreset::medium;
    EXPECT_NE(pixelAt(drawnFrame(sceneWith({100, 100}, {field})), 50, 75), whitePixel);
}

TEST(GradientField, AnEdgeThatRunsThroughAPixelShowsInItByHalf)
{
    Layer layer = fieldOf(ColorRGBA::black, ColorRGBA::black, {20, 20}); // Without any light.
    layer.transform = {.x = 10.5, .y = 10};
    const PixelBuffer picture = drawnFrame(sceneWith({40, 40}, {layer}));
    EXPECT_NEAR(pixelAt(picture, 10, 20).g, 127, 2);
    EXPECT_EQ(pixelAt(picture, 11, 20), blackPixel);
    EXPECT_NEAR(pixelAt(picture, 30, 20).g, 127, 2);
    EXPECT_EQ(pixelAt(picture, 31, 20), whitePixel);
}

TEST(GradientField, ASizeBelowOneIsOne)
{
    for (const CGSize size : {CGSize{0, 0}, CGSize{-5, 0.5}}) EXPECT_EQ(gradientField(fieldOf(red, blue, size), 0).size, (CGSize{1, 1}));
    const PixelBuffer picture = drawnFrame(sceneWith({3, 3}, {fieldOf(red, red, {0, 0})}));
    EXPECT_EQ(pixelAt(picture, 0, 0), redPixel);
    EXPECT_EQ(pixelAt(picture, 1, 1), whitePixel);
}

TEST(GradientField, AbsurdNumbersAreSurvived)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), huge = 1e300;
    for (const double bad : {nan, huge, -huge}) {
        drawnFrame(sceneWith({16, 16}, {fieldOf(red, blue, {16, 16}, bad, bad)}), 1);
        drawnFrame(sceneWith({16, 16}, {fieldOf({bad, 0, 0, 1}, {0, bad, 0, bad}, {16, 16})}), 1);
        const Layer sized = fieldOf(red, blue, {bad, 16});
        gradientFieldImages(gradientField(sized, 1), 8, 8);
    }
}

TEST(GradientField, IsAFunctionOfTheTimeAlone)
{
    const TweenScene scene = sceneWith({64, 36}, {fieldOf(red, blue, {64, 36})});
    const PixelBuffer once = drawnFrame(scene, 1.5);
    drawnFrame(scene, 9);
    const PixelBuffer again = drawnFrame(scene, 1.5);
    for (int y = 0; y < 36; ++y)
        for (int x = 0; x < 64; ++x) ASSERT_EQ(pixelAt(once, x, y), pixelAt(again, x, y));
}

TEST(Blend, IsLinearInAllFourChannels)
{
    EXPECT_EQ(blend({0, 1, 0.5, 1}, {1, 0, 0.5, 0}, 0.25), (ColorRGBA{0.25, 0.75, 0.5, 0.75}));
}

TEST(RadiateRings, GrowAndFadeOneAfterTheOther)
{
    const auto early = radiateRings(0.1);
    ASSERT_TRUE(early[0]);
    EXPECT_DOUBLE_EQ(early[0]->radius, 22);
    EXPECT_DOUBLE_EQ(early[0]->alpha, 0.9 * 0.7);
    EXPECT_DOUBLE_EQ(early[0]->lineWidth, 0.94 * 3);
    EXPECT_FALSE(early[1]);
    EXPECT_FALSE(early[2]);

    const auto later = radiateRings(0.5);
    EXPECT_DOUBLE_EQ(later[0]->radius, 110);
    EXPECT_DOUBLE_EQ(later[1]->radius, 0.32 * 220);
    EXPECT_DOUBLE_EQ(later[2]->radius, 0.14 * 220);
    EXPECT_DOUBLE_EQ(later[2]->alpha, 0.86 * 0.7);
}

TEST(RadiateRings, AtTheirBeginningThereIsNone)
{
    for (const double age : {-1.0, 0.0})
        for (const auto& ring : radiateRings(age)) EXPECT_FALSE(ring);
    EXPECT_FALSE(radiateRings(0.18)[1]);
    EXPECT_TRUE(radiateRings(0.181)[1]);
}

TEST(RadiateRings, AtOneSecondTheFirstIsGoneAndTheOthersAreFaint)
{
    const auto rings = radiateRings(1);
    EXPECT_DOUBLE_EQ(rings[0]->alpha, 0);
    EXPECT_DOUBLE_EQ(rings[0]->radius, 220);
    EXPECT_DOUBLE_EQ(rings[0]->lineWidth, 1.2);
    EXPECT_NEAR(rings[1]->alpha, 0.18 * 0.7, 1e-12);
    EXPECT_NEAR(rings[2]->alpha, 0.36 * 0.7, 1e-12);
}

TEST(RadiateRings, AnAgeBeyondTheEndHoldsThemWithoutAnyAlpha)
{
    for (const double age : {1.36, 50.0})
        for (const auto& ring : radiateRings(age)) {
            EXPECT_DOUBLE_EQ(ring->radius, 220);
            EXPECT_DOUBLE_EQ(ring->alpha, 0);
        }
}

Layer pulsing(Kind kind, Array<Pulse> pulses)
{
    Layer layer{.kind = kind, .transform = {.x = 100, .y = 100}, .fill = red, .size = {100, 100}};
    layer.pulses = std::move(pulses);
    return layer;
}

/// The boxes of the circles that a frame strokes.
std::vector<CGRect> circlesOf(const TweenScene& scene, double time)
{
    RecordingRasterContext context;
    Exporter::drawScene(scene, time, context, scene.size());
    std::vector<CGRect> circles;
    for (const auto& operation : context.operations())
        if (const auto* stroke = std::get_if<RasterOperation::StrokePath>(&operation)) circles.push_back(stroke->path.bounds());
    return circles;
}

TEST(Radiate, StandsInTheMiddleOfALayerAndAtTheTipOfACursor)
{
    const Array<Pulse> pulses{Pulse{.time = 1, .effects = {PulseEffect::radiate}}};
    struct Case {
        Kind kind;
        CGPoint center;
    };
    for (const Case& c : {Case{Kind::rectangle, {150, 150}}, Case{Kind::cursor, {122, 106}}}) {
        const std::vector<CGRect> circles = circlesOf(sceneWith({400, 400}, {pulsing(c.kind, pulses)}), 1.1);
        ASSERT_EQ(circles.size(), 1u);
        EXPECT_NEAR(circles[0].midX(), c.center.x, 1e-9);
        EXPECT_NEAR(circles[0].midY(), c.center.y, 1e-9);
        EXPECT_NEAR(circles[0].size.width, 2 * 22, 1e-9);
    }
}

TEST(Radiate, HasTheLayersColourAndLiesBehindIt)
{
    Layer layer = pulsing(Kind::rectangle, {Pulse{.time = 1, .effects = {PulseEffect::radiate}}});
    layer.fill.a = 0.5; // Plays no part.
    const TweenScene scene = sceneWith({400, 400}, {layer});
    RecordingRasterContext context;
    Exporter::drawScene(scene, 1.1, context, scene.size());
    const std::string drawn = context.text();
    const std::size_t ring = drawn.find("setStrokeColor rgba(1 0 0 0.63)\n"
                                        "    setLineWidth 2.82\n"
                                        "    strokePath path(M 172 150 ");
    ASSERT_NE(ring, drawn.npos) << drawn;
    EXPECT_GT(drawn.find("fillPath box(0 0 100 100)"), ring);
    EXPECT_NE(drawn.find("fillPath box(0 0 100 100)"), drawn.npos);
}

TEST(Radiate, StandsInTheSpaceOfTheParent)
{
    Layer child = pulsing(Kind::rectangle, {Pulse{.time = 1, .effects = {PulseEffect::radiate}}});
    child.transform = {.x = 10, .y = 20, .rotation = 30}; // The layer's own turn plays no part.
    const Layer group{.kind = Kind::group, .transform = {.x = 200, .y = 100}, .children = {child}};
    const TweenScene scene = sceneWith({400, 400}, {group});
    const std::vector<CGRect> circles = circlesOf(scene, 1.1);
    ASSERT_EQ(circles.size(), 1u);
    EXPECT_NEAR(circles[0].midX(), 60, 1e-9);
    EXPECT_NEAR(circles[0].midY(), 70, 1e-9);
    // Seen 22 above the child's middle at (260, 170), over the background that the turned child leaves open at half a second.
    EXPECT_NE(pixelAt(drawnFrame(scene, 1.5), 260, 170 - 110), whitePixel);
}

TEST(Radiate, ALaterPulseCutsOffTheOneBefore)
{
    const Array<Pulse> pulses{Pulse{.time = 1, .effects = {PulseEffect::radiate}}, Pulse{.time = 1.5, .effects = {PulseEffect::radiate}}};
    const TweenScene scene = sceneWith({400, 400}, {pulsing(Kind::rectangle, pulses)});
    EXPECT_EQ(circlesOf(scene, 1.45).size(), 3u);
    const std::vector<CGRect> circles = circlesOf(scene, 1.6);
    ASSERT_EQ(circles.size(), 1u);
    EXPECT_NEAR(circles[0].size.width, 2 * 22, 1e-9);
}

TEST(Radiate, EndsAfterASecond)
{
    const TweenScene scene = sceneWith({400, 400}, {pulsing(Kind::rectangle, {Pulse{.time = 1, .effects = {PulseEffect::radiate}}})});
    EXPECT_EQ(circlesOf(scene, 0.99).size(), 0u);
    EXPECT_EQ(circlesOf(scene, 1.0).size(), 0u);
    EXPECT_EQ(circlesOf(scene, 2.0).size(), 3u);
    EXPECT_EQ(circlesOf(scene, 2.001).size(), 0u);
}

TEST(TVSnow, IsTheSameAtEveryDrawing)
{
    const TVSnowPattern a({31, 20}), b({31, 20});
    EXPECT_EQ(a.columns, 10);
    EXPECT_EQ(a.rows, 6);
    EXPECT_EQ(a.greys, b.greys);
    EXPECT_EQ(a.greys.size(), 60u);
    // It is no flat grey: more than half of the levels differ from one another.
    EXPECT_GT(std::set<int>(a.greys.begin(), a.greys.end()).size(), 30u);
}

TEST(TVSnow, HasBarsOnlyIfItIsHighEnough)
{
    EXPECT_FALSE(TVSnowPattern({10, 40}).hasBars);
    EXPECT_TRUE(TVSnowPattern({10, 40.5}).hasBars);
    RecordingRasterContext context;
    TVSnowPattern({3, 41}).draw(context, {5, 7});
    // 13 cells of 3 points and bars at 0, 4, ... 40.
    EXPECT_EQ(context.count<RasterOperation::FillRect>(), 13 + 11);
    const auto& last = std::get<RasterOperation::FillRect>(context.operations().back());
    EXPECT_EQ(last.rect, (CGRect{{5, 47}, {3, 1.5}}));
}

TEST(TVSnow, SizesThatHoldNoCellAreEmpty)
{
    for (const CGSize size : {CGSize{2.9, 30}, CGSize{-10, 10}, CGSize{std::numeric_limits<double>::quiet_NaN(), 10}})
        EXPECT_TRUE(TVSnowPattern(size).greys.empty());
}

TEST(DiagonalHatch, HasALineEvery12PointsFromOneHeightBefore)
{
    // From -20 while below 50: -20, -8, 4, 16, 28, 40.
    const Path path = diagonalHatchPattern({{100, 200}, {30, 20}});
    ASSERT_EQ(path.elements().size(), 12u);
    EXPECT_EQ(path.elements()[0].points[0], (CGPoint{80, 200}));
    EXPECT_EQ(path.elements()[1].points[0], (CGPoint{100, 220}));
    EXPECT_EQ(path.elements()[10].points[0], (CGPoint{140, 200}));
    EXPECT_EQ(path.elements()[11].points[0], (CGPoint{160, 220}));
}

TEST(Checkerboard, HasACellOf4PointsWhereColumnAndRowTogetherAreEven)
{
    RecordingRasterContext context;
    drawCheckerboardPattern({{10, 20}, {15, 9}}, context);
    // Three columns and two rows: (0, 0), (2, 0), (1, 1).
    std::vector<CGRect> rects;
    for (const auto& operation : context.operations())
        if (const auto* fill = std::get_if<RasterOperation::FillRect>(&operation)) rects.push_back(fill->rect);
    EXPECT_EQ(rects, (std::vector<CGRect>{{{10, 20}, {15, 9}}, {{10, 20}, {4, 4}}, {{18, 20}, {4, 4}}, {{14, 24}, {4, 4}}}));
}

TEST(GradientFieldGoldens, AtFourTimes)
{
    for (const double time : {0.0, 1.0, 4.0, 15.0}) {
        const Layer layer = fieldOf({0.1, 0.25, 0.7, 1}, {0.75, 0.2, 0.5, 1}, {240, 135});
        EXPECT_GOLDEN(drawnFrame(sceneWith({240, 135}, {layer}), time), "gradient-field-" + std::to_string(static_cast<int>(time)));
    }
}

TEST(RadiateGoldens, RingsOfFourAges)
{
    Layer layer = pulsing(Kind::rectangle, {Pulse{.time = 0, .effects = {PulseEffect::radiate}}});
    layer.fill = {0.2, 0.5, 1, 1};
    layer.transform = {.x = 230, .y = 230};
    layer.size = {40, 40};
    layer.cornerRadius = 10;
    for (const auto& [name, age] : {std::pair{"rings-015", 0.15}, std::pair{"rings-030", 0.3}, std::pair{"rings-060", 0.6}, std::pair{"rings-100", 1.0}})
        EXPECT_GOLDEN(drawnFrame(sceneWith({500, 500}, {layer}), age), name);
}

TEST(PatternGoldens, SnowHatchAndCheckerboard)
{
    PixelBuffer picture(320, 100);
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    context->setFillColor({1, 1, 1, 1});
    context->fillRect({{0, 0}, {320, 100}});
    TVSnowPattern({96, 90}).draw(*context, {4, 4});
    {
        SavedState saved(*context);
        context->clipToPath(Path::rect({{110, 4}, {96, 90}}), FillRule::winding);
        context->setStrokeColor({0.6, 0.6, 0.6, 1});
        context->strokePath(diagonalHatchPattern({{110, 4}, {96, 90}}));
    }
    drawCheckerboardPattern({{216, 4}, {96, 90}}, *context);
    EXPECT_GOLDEN(picture, "patterns");
}

} // namespace
} // namespace larkspool
