#include "rendering/frame_composition.h"

#include "rendering/rendering_fixture.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"

#include <cmath>

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

Layer solid(const ColorRGBA& color, CGRect place)
{
    return {.transform = {.x = place.origin.x, .y = place.origin.y}, .fill = color, .size = place.size};
}

Layer viewport(CGRect place, const ColorRGBA& fill = red)
{
    Layer child = solid(fill, place);
    child.pipRendition = true;
    return child;
}

Layer zoomOn(CGRect place, Array<Layer> children)
{
    return {.kind = Kind::zoom, .transform = {.x = place.origin.x, .y = place.origin.y}, .size = place.size,
            .zoomType = ZoomType::pictureInPicture, .children = std::move(children)};
}

/// 100 x 100 with a blue square in the top left tenth, of which the zoom sees 20 x 10, shown at (40, 40) in 40 x 40: at twice the
/// size, with 10 of the fill above and below.
TweenScene letterboxed(const ColorRGBA& fill = red)
{
    return sceneWith({100, 100}, {solid(blue, {{0, 0}, {10, 10}}), zoomOn({{0, 0}, {20, 10}}, {viewport({{40, 40}, {40, 40}}, fill)})});
}

TEST(Viewport, ShowsTheZoomsRectangleBetweenBarsOfItsFill)
{
    const PixelBuffer frame = drawnFrame(letterboxed());
    EXPECT_EQ(pixelAt(frame, 60, 41), redPixel);
    EXPECT_EQ(pixelAt(frame, 60, 49), redPixel);
    EXPECT_EQ(pixelAt(frame, 41, 50), bluePixel);
    EXPECT_EQ(pixelAt(frame, 59, 69), bluePixel);
    EXPECT_EQ(pixelAt(frame, 60, 50), whitePixel);
    EXPECT_EQ(pixelAt(frame, 79, 69), whitePixel);
    EXPECT_EQ(pixelAt(frame, 60, 70), redPixel);
    EXPECT_EQ(pixelAt(frame, 39, 60), whitePixel);
    EXPECT_EQ(pixelAt(frame, 80, 60), whitePixel);
}

TEST(Viewport, AClearFillShowsTheFrameAroundThePicture)
{
    TweenScene scene = letterboxed(ColorRGBA::clear);
    Array<Layer> layers = scene.layers;
    layers.append(solid(green, {{40, 40}, {40, 40}}));
    scene.layers = layers;
    const PixelBuffer frame = drawnFrame(scene);
    EXPECT_EQ(pixelAt(frame, 60, 45), greenPixel);
    EXPECT_EQ(pixelAt(frame, 45, 60), bluePixel);
    EXPECT_EQ(pixelAt(frame, 60, 75), greenPixel);
}

TEST(Viewport, SeesFromThePlaceOfTheZoom)
{
    // The zoom stands 5 to the right: half of the blue square is seen, at twice the size.
    const TweenScene scene = sceneWith({100, 100}, {solid(blue, {{0, 0}, {10, 10}}), zoomOn({{5, 0}, {20, 20}}, {viewport({{40, 40}, {40, 40}})})});
    const PixelBuffer frame = drawnFrame(scene);
    EXPECT_EQ(pixelAt(frame, 49, 50), bluePixel);
    EXPECT_EQ(pixelAt(frame, 51, 50), whitePixel);
    EXPECT_EQ(pixelAt(frame, 49, 61), whitePixel);
}

TEST(Viewport, AZoomOfNoSizeIsTakenAsOnePoint)
{
    const TweenScene scene = sceneWith({100, 100}, {solid(blue, {{0, 0}, {10, 10}}), zoomOn({{9, 0}, {0, 0}}, {viewport({{40, 40}, {40, 20}})})});
    const PixelBuffer frame = drawnFrame(scene);
    // The point (9, 0) to (10, 1) at 20 times its size, centred. Only the viewport itself cuts the square, so that it goes on to
    // the left.
    EXPECT_EQ(pixelAt(frame, 49, 50), bluePixel);
    EXPECT_EQ(pixelAt(frame, 51, 41), bluePixel);
    EXPECT_EQ(pixelAt(frame, 69, 59), bluePixel);
    EXPECT_EQ(pixelAt(frame, 71, 50), redPixel);
}

TEST(Viewport, IsNotThereWithoutItsZoom)
{
    struct Case {
        const char* what;
        void (*change)(Layer& zoom, Layer& child);
        bool shows;
    };
    for (const Case& c : {Case{"as it is", [](Layer&, Layer&) {}, true}, Case{"the zoom hidden", [](Layer& z, Layer&) { z.isHidden = true; }, false},
                          Case{"the child hidden", [](Layer&, Layer& v) { v.isHidden = true; }, false},
                          Case{"the zoom outside its span", [](Layer& z, Layer&) { z.spans = {TimeSpan{.start = 1, .end = 2}}; }, false},
                          Case{"the child outside its span", [](Layer&, Layer& v) { v.spans = {TimeSpan{.start = 1, .end = 2}}; }, false}}) {
        SCOPED_TRACE(c.what);
        Layer child = viewport({{40, 40}, {40, 40}}), zoom = zoomOn({{0, 0}, {20, 10}}, {});
        c.change(zoom, child);
        zoom.children = {child};
        EXPECT_EQ(pixelAt(drawnFrame(sceneWith({100, 100}, {zoom})), 60, 45), c.shows ? redPixel : whitePixel);
    }
}

TEST(Viewport, AnOrdinaryChildOfTheZoomStandsInItsPlace)
{
    const TweenScene scene = sceneWith({100, 100}, {zoomOn({{10, 20}, {20, 20}}, {solid(green, {{1, 2}, {5, 5}})})});
    const PixelBuffer frame = drawnFrame(scene);
    EXPECT_EQ(pixelAt(frame, 11, 22), greenPixel);
    EXPECT_EQ(pixelAt(frame, 15, 26), greenPixel);
    EXPECT_EQ(pixelAt(frame, 10, 22), whitePixel);
}

TEST(Viewport, ShowsNeitherItselfNorAnother)
{
    // Both see the whole scene, in which both stand.
    const TweenScene scene = sceneWith({100, 100}, {zoomOn({{0, 0}, {100, 100}}, {viewport({{0, 0}, {50, 50}}, red)}),
                                                    zoomOn({{0, 0}, {100, 100}}, {viewport({{50, 50}, {50, 50}}, green)})});
    const PixelBuffer frame = drawnFrame(scene);
    for (const int at : {5, 20, 40, 60, 80, 95}) EXPECT_EQ(pixelAt(frame, at, at), whitePixel) << at;
}

TEST(Viewport, StandsAboveAllLayers)
{
    TweenScene scene = letterboxed();
    Array<Layer> layers = scene.layers;
    layers.append(solid(green, {{0, 20}, {100, 80}}));
    scene.layers = layers;
    EXPECT_EQ(pixelAt(drawnFrame(scene), 60, 45), redPixel);
}

TEST(Viewport, IsCutToItsRoundCorners)
{
    Layer child = viewport({{40, 40}, {40, 40}});
    child.cornerRadius = 20;
    const TweenScene scene = sceneWith({100, 100}, {solid(blue, {{0, 0}, {20, 20}}), zoomOn({{0, 0}, {20, 20}}, {child})});
    const PixelBuffer frame = drawnFrame(scene);
    EXPECT_EQ(pixelAt(frame, 41, 41), whitePixel);
    EXPECT_EQ(pixelAt(frame, 60, 60), bluePixel);
}

TEST(Viewport, ItsStrokeLiesOnThePictureInsideOrOutside)
{
    for (const bool outside : {false, true}) {
        SCOPED_TRACE(outside ? "outside" : "inside");
        Layer child = viewport({{40, 40}, {40, 40}});
        child.stroke = green;
        child.strokeWidth = 4;
        child.strokeOutside = outside;
        child.perSideStroke = true; // Plays no part on a viewport.
        const TweenScene scene = sceneWith({100, 100}, {solid(blue, {{0, 0}, {20, 20}}), zoomOn({{0, 0}, {20, 20}}, {child})});
        const PixelBuffer frame = drawnFrame(scene);
        EXPECT_EQ(pixelAt(frame, 41, 60), outside ? bluePixel : greenPixel);
        EXPECT_EQ(pixelAt(frame, 43, 60), outside ? bluePixel : greenPixel);
        EXPECT_EQ(pixelAt(frame, 45, 60), bluePixel);
        EXPECT_EQ(pixelAt(frame, 39, 60), outside ? greenPixel : whitePixel);
        EXPECT_EQ(pixelAt(frame, 36, 60), outside ? greenPixel : whitePixel);
        // A quarter of a point more than its width.
        const Pixel beyond = outside ? pixelAt(frame, 35, 60) : pixelAt(frame, 44, 60);
        EXPECT_NEAR(beyond.b, outside ? 191 : 191, 2);
    }
}

TEST(Viewport, ItsOpacityFadesThePictureTwice)
{
    // The fill and the background by the child's opacity, the layers within by it alone: 0.5 of blue over 0.5 of white over black.
    Layer child = viewport({{0, 0}, {20, 20}}, ColorRGBA::black);
    child.opacity = 0.5;
    TweenScene scene = sceneWith({20, 20}, {solid(blue, {{0, 0}, {20, 20}}), zoomOn({{0, 0}, {20, 20}}, {child})});
    // Blue; half of black over it: 128; half of white over that: 128, 128, 192; half of blue over that: 64, 64, 223.
    const Pixel p = pixelAt(drawnFrame(scene), 10, 10);
    EXPECT_NEAR(p.r, 64, 1);
    EXPECT_NEAR(p.b, 223, 2);
}

TEST(Viewport, AFullScreenZoomWithinPaintsNothingOfItsOwn)
{
    Layer full{.kind = Kind::zoom, .fill = green, .size = {20, 20}, .zoomType = ZoomType::fullScreen};
    const TweenScene scene = sceneWith({100, 100}, {full, zoomOn({{0, 0}, {20, 20}}, {viewport({{40, 40}, {40, 40}})})});
    EXPECT_EQ(pixelAt(drawnFrame(scene), 60, 60), whitePixel);
}

/// A layer of 4 x 4 at (8, 8), with a pulse that shows at 1.1 seconds.
Layer pulsing(PulseEffect effect)
{
    Layer layer = solid(blue, {{8, 8}, {4, 4}});
    layer.pulses = {Pulse{.time = 1, .effects = {effect}}};
    return layer;
}

int circlesIn(const TweenScene& scene)
{
    RecordingRasterContext context;
    Exporter::drawScene(scene, 1.1, context, scene.size());
    return context.count<RasterOperation::StrokePath>();
}

TEST(Viewport, RingsOfTheScenesOwnLayersAreLeftOutAndThoseOfNestedOnesAreNot)
{
    const Layer zoom = zoomOn({{0, 0}, {20, 20}}, {viewport({{40, 40}, {40, 40}})});
    EXPECT_EQ(circlesIn(sceneWith({100, 100}, {pulsing(PulseEffect::radiate), zoom})), 1);
    Layer group{.kind = Kind::group, .children = {pulsing(PulseEffect::radiate)}};
    EXPECT_EQ(circlesIn(sceneWith({100, 100}, {group, zoom})), 2);
}

TEST(Viewport, ItsOwnRingsStandBehindIt)
{
    Layer child = viewport({{40, 40}, {40, 40}});
    child.pulses = {Pulse{.time = 1, .effects = {PulseEffect::radiate}}};
    EXPECT_EQ(circlesIn(sceneWith({100, 100}, {zoomOn({{0, 0}, {20, 20}}, {child})})), 1);
}

TEST(Viewport, ItsGlowSpreadsAroundIt)
{
    Layer child = viewport({{40, 40}, {40, 40}}, blue);
    child.pulses = {Pulse{.time = 1, .effects = {PulseEffect::glow}}};
    const TweenScene scene = sceneWith({120, 120}, {zoomOn({{0, 0}, {20, 20}}, {child})});
    EXPECT_EQ(pixelAt(drawnFrame(scene, 0.9), 36, 60), whitePixel);
    EXPECT_NE(pixelAt(drawnFrame(scene, 1.2), 36, 60), whitePixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene, 5), 36, 60), whitePixel);
}

int shadowsIn(const TweenScene& scene)
{
    RecordingRasterContext context;
    Exporter::drawScene(scene, 1.1, context, scene.size());
    EXPECT_TRUE(context.isBalanced());
    return context.count<RasterOperation::SetShadow>();
}

TEST(Viewport, GlowsOfTheScenesOwnLayersAreLeftOutAndThoseOfNestedOnesAreNot)
{
    const Layer zoom = zoomOn({{0, 0}, {20, 20}}, {viewport({{40, 40}, {40, 40}})});
    EXPECT_EQ(shadowsIn(sceneWith({100, 100}, {pulsing(PulseEffect::glow), zoom})), 1);
    Layer group{.kind = Kind::group, .children = {pulsing(PulseEffect::glow)}};
    EXPECT_EQ(shadowsIn(sceneWith({100, 100}, {group, zoom})), 2);
}

TEST(Viewport, ThatGlowsCastsItsOwnShadowAsWell)
{
    Layer child = viewport({{40, 40}, {40, 40}});
    child.pulses = {Pulse{.time = 1, .effects = {PulseEffect::glow}}};
    EXPECT_EQ(shadowsIn(sceneWith({100, 100}, {zoomOn({{0, 0}, {20, 20}}, {child})})), 1);
    child.shadow = ShadowPreset::low;
    EXPECT_EQ(shadowsIn(sceneWith({100, 100}, {zoomOn({{0, 0}, {20, 20}}, {child})})), 2);
}

TEST(Viewport, AllThatItsGlowSurroundsCastsIt)
{
    // A black square in the middle of a viewport on white ground: white lies under it, and the glow, red as the child's fill, comes
    // from the square as well as from the viewport itself.
    Layer child = viewport({{100, 100}, {100, 100}}, red);
    const Layer square = solid(ColorRGBA::black, {{40, 40}, {20, 20}}), zoom = zoomOn({{0, 0}, {100, 100}}, {});
    const auto frame = [&](Array<Pulse> pulses, std::vector<Layer> shown) {
        child.pulses = std::move(pulses);
        Layer camera = zoom;
        camera.children = {child};
        shown.push_back(camera);
        return drawnFrame(sceneWith({300, 300}, std::move(shown)), 1.2);
    };
    const Array<Pulse> glows{Pulse{.time = 1, .effects = {PulseEffect::glow}}};
    EXPECT_EQ(pixelAt(frame({}, {square}), 137, 150), whitePixel);
    EXPECT_EQ(pixelAt(frame(glows, {}), 137, 150), whitePixel);
    const Pixel beside = pixelAt(frame(glows, {square}), 137, 150);
    EXPECT_EQ(beside.r, 255);
    EXPECT_LT(beside.g, 240);
    EXPECT_EQ(beside.g, beside.b);
}

TEST(Viewport, WithoutASizePaintsNothingAndHarmsNothing)
{
    for (const CGSize size : {CGSize{0, 0}, CGSize{-5, 10}, CGSize{std::nan(""), 10}}) {
        const TweenScene scene = sceneWith({40, 40}, {zoomOn({{0, 0}, {20, 20}}, {viewport({{5, 5}, size})}), solid(blue, {{30, 30}, {5, 5}})});
        EXPECT_EQ(pixelAt(drawnFrame(scene), 20, 20), whitePixel);
        EXPECT_EQ(pixelAt(drawnFrame(scene), 32, 32), bluePixel);
    }
}

TEST(ViewportGoldens, StrokesShadowAndGlow)
{
    Layer plain = viewport({{20, 170}, {110, 70}}, {0.1, 0.1, 0.15, 1}), inside = plain, outside = plain, glowing = plain;
    inside.transform.x = 150;
    inside.cornerRadius = 18;
    inside.stroke = outside.stroke = {0.95, 0.6, 0.1, 1};
    inside.strokeWidth = outside.strokeWidth = 5;
    outside.transform.x = 280;
    outside.cornerRadius = 18;
    outside.strokeOutside = true;
    outside.shadow = ShadowPreset::medium;
    glowing.transform.x = 410;
    glowing.cornerRadius = 35;
    glowing.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow, PulseEffect::radiate}}};
    Layer circle{.kind = Kind::ellipse, .transform = {.x = 80, .y = 40}, .fill = {0.9, 0.3, 0.4, 1}, .size = {90, 90}};
    Layer card = solid({0.2, 0.5, 1, 1}, {{180, 50}, {140, 70}});
    card.cornerRadius = 16;
    card.shadow = ShadowPreset::low;
    const TweenScene scene = sceneWith({540, 260}, {circle, card, zoomOn({{60, 20}, {200, 120}}, {plain, inside, outside, glowing})}, {0.93, 0.94, 0.96, 1});
    EXPECT_GOLDEN(drawnFrame(scene, 0.25), "viewports");
}

} // namespace
} // namespace larkspool
