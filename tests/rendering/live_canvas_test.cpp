#include "rendering/live_canvas.h"

#include "platform/png_writer.h"
#include "rendering/continuous_corners.h"
#include "rendering/gradient_field.h"
#include "rendering/live_canvas_fixture.h"
#include "rendering/shapes.h"
#include "rendering/text_body.h"
#include "support/arbitrary_document.h"
#include "support/small_picture.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

namespace larkspool {
namespace {

using CanvasRenderer::OffCanvas;
using Kind = Layer::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

void expectNear(Pixel actual, Pixel expected, int tolerance = 1)
{
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
    EXPECT_NEAR(actual.a, expected.a, tolerance);
}

Layer zoomOn(CGRect place, ZoomType type = ZoomType::fullScreen, Array<Layer> children = {})
{
    return {.kind = Kind::zoom,
            .transform = {.x = place.origin.x, .y = place.origin.y},
            .size = place.size,
            .zoomType = type,
            .children = std::move(children)};
}

Layer viewportAt(CGRect place)
{
    Layer child = solidLayer(red, place);
    child.pipRendition = true;
    return child;
}

Pulse pulseOf(PulseEffect effect, double time = 0)
{
    Pulse pulse{.time = time};
    pulse.effects.insert(effect);
    return pulse;
}

/// 40 x 40 black with a window of red at (10, 10) of 20 x 20.
Bytes windowOnBlack()
{
    PixelBuffer pixels(40, 40);
    const auto context = makeRasterContext(pixels);
    context->setFillColor({0, 0, 0, 1});
    context->fillRect({{0, 0}, {40, 40}});
    context->setFillColor({1, 0, 0, 1});
    context->fillRect({{10, 10}, {20, 20}});
    return Bytes(encodePng(pixels));
}

// What surrounds the scene

/// A scene of 20 x 20 at (10, 10) in a view of 40 x 40, with a red layer that hangs out at the left by 5.
TweenScene overhanging()
{
    return sceneWith({20, 20}, {solidLayer(red, {{-5, 5}, {10, 10}})});
}

Look inTheMiddle(OffCanvas offCanvas)
{
    Look look{.origin = {10, 10}, .viewSize = CGSize{40, 40}};
    look.options.backdrop = {0.4, 0.4, 0.4, 1};
    look.options.offCanvas = offCanvas;
    return look;
}

TEST(LiveCanvas, DimsWhatLiesBeyondTheFrame)
{
    const PixelBuffer picture = paintedCanvas(overhanging(), inTheMiddle(OffCanvas::dimmed));
    EXPECT_EQ(pixelAt(picture, 2, 2), (Pixel{102, 102, 102, 255})); // The backdrop, 0.4.
    expectNear(pixelAt(picture, 6, 20), {166, 0, 0, 255});    // 0.65
    EXPECT_EQ(pixelAt(picture, 12, 20), redPixel);
    EXPECT_EQ(pixelAt(picture, 25, 25), whitePixel);
}

TEST(LiveCanvas, AWhiteLayerBeyondTheFrameIsSeenOnALightBackdrop)
{
    Look look = inTheMiddle(OffCanvas::dimmed);
    look.options.backdrop = {0.8, 0.8, 0.8, 1};
    const TweenScene scene = sceneWith({20, 20}, {solidLayer(ColorRGBA::white, {{-5, 5}, {10, 10}})});
    const PixelBuffer picture = paintedCanvas(scene, look);
    EXPECT_EQ(pixelAt(picture, 2, 2), (Pixel{204, 204, 204, 255}));
    expectNear(pixelAt(picture, 6, 20), {166, 166, 166, 255}); // 0.65
}

TEST(LiveCanvas, CutsLayersAtTheFrameIfTheyAreHiddenBeyond)
{
    const PixelBuffer picture = paintedCanvas(overhanging(), inTheMiddle(OffCanvas::hidden));
    EXPECT_EQ(pixelAt(picture, 2, 2), (Pixel{102, 102, 102, 255}));
    EXPECT_EQ(pixelAt(picture, 6, 20), (Pixel{102, 102, 102, 255}));
    EXPECT_EQ(pixelAt(picture, 10, 20), redPixel);
    EXPECT_EQ(pixelAt(picture, 12, 20), redPixel);
}

TEST(LiveCanvas, OutlinesTheFrameByAFaintPointAroundIt)
{
    for (const OffCanvas offCanvas : {OffCanvas::dimmed, OffCanvas::hidden}) {
        Look look = inTheMiddle(offCanvas);
        look.options.backdrop = {0, 0, 0, 1};
        const PixelBuffer picture = paintedCanvas(sceneWith({20, 20}, {}, ColorRGBA::black), look);
        for (const auto& [x, y] : {std::pair{9, 20}, {30, 20}, {20, 9}, {20, 30}})
            expectNear(pixelAt(picture, x, y), {46, 46, 46, 255}); // 0.18
        for (const auto& [x, y] : {std::pair{8, 20}, {10, 20}, {29, 20}, {31, 20}}) EXPECT_EQ(pixelAt(picture, x, y), blackPixel);
    }
}

TEST(LiveCanvas, AClearBackgroundShowsTheBackdrop)
{
    Look look = inTheMiddle(OffCanvas::dimmed);
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({20, 20}, {}, ColorRGBA::clear), look), 20, 20), (Pixel{102, 102, 102, 255}));
}

TEST(LiveCanvas, CoversAllThatWasPaintedBefore)
{
    struct Case {
        const char* where;
        CGPoint origin;
        double scale, pixelsPerPoint;
        ColorRGBA background;
    };
    for (const Case& c : {Case{"in the middle", {10, 10}, 1, 1, ColorRGBA::black},
                          Case{"between pixels", {10.3, 9.6}, 1, 1, ColorRGBA::black},
                          Case{"in a finer raster", {10.3, 9.6}, 1, 1.25, ColorRGBA::black},
                          Case{"past the left", {-5.4, 9.6}, 1, 1, ColorRGBA::black},
                          Case{"past the bottom", {10, 30.5}, 1, 2, ColorRGBA::black},
                          Case{"within a pixel", {10.2, 10.2}, 0.02, 1, ColorRGBA::black},
                          Case{"beyond the view", {50, 50}, 1, 1, ColorRGBA::black},
                          Case{"all over the view", {-10.5, -10.5}, 4, 1, ColorRGBA::black},
                          Case{"nearly all over it", {-10.5, 0.5}, 4, 1, ColorRGBA::black},
                          Case{"clear", {10.3, 9.6}, 1, 1, ColorRGBA::clear},
                          Case{"clear all over the view", {-10.5, -10.5}, 4, 1, ColorRGBA::clear}}) {
        SCOPED_TRACE(c.where);
        Look look = inTheMiddle(OffCanvas::dimmed);
        look.origin = c.origin;
        look.scale = c.scale;
        look.pixelsPerPoint = c.pixelsPerPoint;
        const TweenScene scene = sceneWith({20, 20}, {}, c.background);
        const PixelBuffer fresh = paintedCanvas(scene, look);
        PixelBuffer used = paintedCanvas(sceneWith({40, 40}, {solidLayer(red, {{0, 0}, {40, 40}})}),
                                         {.pixelsPerPoint = c.pixelsPerPoint, .viewSize = CGSize{40, 40}});
        CanvasRenderer::paint(scene, 0, look.placement(scene), look.options, *makeRasterContext(used));
        for (int y = 0; y < fresh.height(); ++y)
            for (int x = 0; x < fresh.width(); ++x) {
                ASSERT_EQ(pixelAt(used, x, y), pixelAt(fresh, x, y)) << x << ", " << y;
                ASSERT_EQ(pixelAt(fresh, x, y).a, 255) << x << ", " << y;
            }
    }
}

TEST(LiveCanvas, PutsScenePointsAtOriginPlusScale)
{
    // A layer at (4, 6) of 2 x 2, at scale 3 and two pixels a point, from 2 * (5 + 12) = 34 across and 2 * (1 + 18) = 38 down.
    const Look look{.scale = 3, .origin = {5, 1}, .pixelsPerPoint = 2, .viewSize = CGSize{40, 40}};
    const PixelBuffer picture = paintedCanvas(sceneWith({10, 10}, {solidLayer(red, {{4, 6}, {2, 2}})}), look);
    EXPECT_EQ(picture.width(), 80);
    EXPECT_EQ(pixelAt(picture, 34, 38), redPixel);
    EXPECT_EQ(pixelAt(picture, 45, 49), redPixel);
    EXPECT_EQ(pixelAt(picture, 33, 38), whitePixel);
    EXPECT_EQ(pixelAt(picture, 46, 49), whitePixel);
    EXPECT_EQ(pixelAt(picture, 45, 50), whitePixel);
}

TEST(LiveCanvas, ShowsTheBackdropAloneWhereNoSceneCanBeSeen)
{
    constexpr double infinite = std::numeric_limits<double>::infinity();
    struct Case { const char* what; CGSize scene; double scale, originX; };
    for (const Case& c : {Case{"no size", {0, 0}, 1, 0}, Case{"negative", {-5, 5}, 1, 0}, Case{"no scale", {8, 8}, 0, 0},
                          Case{"negative scale", {8, 8}, -1, 0}, Case{"no number", {8, 8}, std::nan(""), 0},
                          Case{"endless", {8, 8}, infinite, 0}, Case{"nowhere", {8, 8}, 1, std::nan("")}}) {
        SCOPED_TRACE(c.what);
        const Look look{.scale = c.scale, .origin = {c.originX, 0}, .viewSize = CGSize{8, 8}};
        EXPECT_EQ(pixelAt(paintedCanvas(sceneWith(c.scene, {solidLayer(red, {{0, 0}, {8, 8}})}), look), 4, 4), blackPixel);
    }
}

// The layers

TEST(LiveCanvas, IsNotMovedByAFullScreenZoom)
{
    Layer zoom = zoomOn({{0, 0}, {10, 10}});
    zoom.spans = {TimeSpan{.start = 0, .end = 2}};
    const TweenScene scene = sceneWith({40, 40}, {solidLayer(blue, {{4, 4}, {4, 4}}), zoom});
    EXPECT_EQ(pixelAt(drawnFrame(scene, 1), 30, 30), bluePixel) << "in a film it is seen four times as large";
    EXPECT_EQ(pixelAt(paintedCanvas(scene, {.playhead = 1}), 30, 30), whitePixel);
}

TEST(LiveCanvas, SkipsAHiddenLayersChildrenAsAWhole)
{
    Layer group = groupLayer({solidLayer(red, {{0, 0}, {8, 8}})});
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({8, 8}, {group})), 4, 4), redPixel);
    group.isHidden = true;
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({8, 8}, {group})), 4, 4), whitePixel);
    group.isHidden = false;
    group.spans = {TimeSpan{.start = 1, .end = 2}};
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({8, 8}, {group})), 4, 4), whitePixel);
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({8, 8}, {group}), {.playhead = 1}), 4, 4), redPixel);
}

TEST(LiveCanvas, CompositesAGroupBeforeItsOpacityCounts)
{
    Layer group = groupLayer({solidLayer(red, {{0, 0}, {12, 12}}), solidLayer(blue, {{4, 4}, {12, 12}})});
    group.opacity = 0.5;
    const TweenScene scene = sceneWith({16, 16}, {group});
    const PixelBuffer canvas = paintedCanvas(scene);
    expectNear(pixelAt(canvas, 2, 2), {255, 128, 128, 255});
    expectNear(pixelAt(canvas, 8, 8), {128, 128, 255, 255});
    expectNear(pixelAt(drawnFrame(scene), 8, 8), {128, 64, 191, 255}); // The red shows through there.
}

TEST(LiveCanvas, HandsNoOpacityDownButDrawsEveryParentAsAWhole)
{
    for (const Kind kind : {Kind::group, Kind::zoom, Kind::text, Kind::hotspot}) {
        Layer parent{.kind = kind, .fill = ColorRGBA::clear, .opacity = 0.5, .size = {8, 8}, .text = ""};
        parent.children = {solidLayer(red, {{0, 0}, {8, 8}})};
        Look look;
        look.options.editingFrames = {.zoom = {0, 0, 0, 0}, .hotspot = {0, 0, 0, 0}};
        const PixelBuffer picture = paintedCanvas(sceneWith({8, 8}, {parent}, ColorRGBA::black), look);
        EXPECT_NEAR(pixelAt(picture, 4, 4).r, 128, 1) << static_cast<int>(kind);
    }
}

TEST(LiveCanvas, NestedGroupsMultiplyTheirOpacityAndAnInvisibleOneShowsNothing)
{
    for (const double outerOpacity : {0.5, 0.0}) {
        Layer inner = groupLayer({solidLayer(red, {{0, 0}, {8, 8}})});
        inner.opacity = 0.5;
        Layer outer = groupLayer({inner});
        outer.opacity = outerOpacity;
        const PixelBuffer picture = paintedCanvas(sceneWith({8, 8}, {outer}, ColorRGBA::black));
        EXPECT_NEAR(pixelAt(picture, 4, 4).r, 255 * 0.5 * outerOpacity, 1);
    }
}

TEST(LiveCanvas, AFadedGroupLosesNothingOfItsShadowsStrokesAndGlows)
{
    // As a whole with an opacity just below 1, it must look as it does with 1, however far its layers reach.
    Layer card = solidLayer(blue, {{60, 60}, {60, 40}});
    card.shadow = ShadowPreset::high;
    Layer ring = solidLayer(red, {{150, 60}, {20, 20}});
    ring.strokeWidth = 12;
    ring.strokeOutside = true;
    Layer glowing = solidLayer(green, {{100, 140}, {10, 10}});
    glowing.pulses = {pulseOf(PulseEffect::glow)};
    Layer line{.kind = Kind::line, .transform = {.x = 20, .y = 190}, .stroke = red, .strokeWidth = 10, .size = {40, 4}};
    line.linePoints = {{0, 0}, {40, 0}};
    line.lineArrowEnd = true;
    Layer image{.kind = Kind::image, .transform = {.x = 180, .y = 180}, .stroke = green, .strokeWidth = 5, .strokeOutside = true,
                .size = {30, 30}, .imageData = windowOnBlack(), .shadow = ShadowPreset::medium};
    Layer turned = groupLayer({card, ring, glowing, line, image});
    turned.transform = {.x = 6, .y = 10, .rotation = 25, .scaleX = 0.9, .scaleY = 1.1};
    const auto painted = [&](double opacity) {
        turned.opacity = opacity;
        return paintedCanvas(sceneWith({260, 260}, {turned}), {.playhead = 0.5, .scale = 0.8, .pixelsPerPoint = 1.5});
    };
    EXPECT_LE(greatestDifference(painted(1), painted(0.9999)), 2);
}

TEST(LiveCanvas, ScalesShadowsWithTheScene)
{
    struct Case { ShadowPreset preset; double alpha, down, blur; };
    struct View { double scale, pixelsPerPoint; };
    for (const Case& c : {Case{ShadowPreset::low, 0.3, 4, 8}, Case{ShadowPreset::medium, 0.4, 12, 18}, Case{ShadowPreset::high, 0.55, 30, 40}})
        for (const View& view : {View{1, 1}, View{0.5, 1}, View{0.5, 3}}) {
            Layer card = solidLayer(blue, {{10, 10}, {40, 40}});
            card.shadow = c.preset;
            const Look look{.scale = view.scale, .pixelsPerPoint = view.pixelsPerPoint};
            const auto shadows = calls<RasterOperation::SetShadow>(recordedCanvas(sceneWith({100, 100}, {card}), look));
            ASSERT_EQ(shadows.size(), 1u);
            const double pixels = view.scale * view.pixelsPerPoint;
            EXPECT_EQ(shadows[0].shadow, (RasterShadow{.offset = {0, c.down * pixels}, .blur = c.blur * pixels, .color = {0, 0, 0, c.alpha}}));
        }
}

TEST(LiveCanvas, GlowsByThreeShadowsInViewPoints)
{
    // Half a second after its start a pulse glows with a strength of 1.4.
    Layer layer = solidLayer(red, {{40, 40}, {20, 20}});
    layer.pulses = {pulseOf(PulseEffect::glow)};
    layer.shadow = ShadowPreset::low;
    const Look look{.playhead = 0.5, .scale = 0.5, .pixelsPerPoint = 2};
    const RecordingRasterContext context = recordedCanvas(sceneWith({100, 100}, {layer}), look);
    const auto shadows = calls<RasterOperation::SetShadow>(context);
    ASSERT_EQ(shadows.size(), 4u) << "the layer's own is the last";
    struct Case { double blur, alpha; };
    const Case expected[] = {{48 * 1.4 * 2, 0.4 * 1.4}, {24 * 1.4 * 2, 0.7 * 1.4}, {10 * 1.4 * 2, 1}};
    for (std::size_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(shadows[i].shadow);
        EXPECT_EQ(shadows[i].shadow->offset, (CGSize{0, 0}));
        EXPECT_NEAR(shadows[i].shadow->blur, expected[i].blur, 1e-9);
        EXPECT_NEAR(shadows[i].shadow->color.a, expected[i].alpha, 1e-9);
        EXPECT_EQ(shadows[i].shadow->color.r, 1);
    }
    EXPECT_EQ(context.count<RasterOperation::BeginTransparencyLayer>(), 4) << "each is cast by what is within";
    EXPECT_TRUE(context.isBalanced());
}

TEST(LiveCanvas, AGlowIsWiderAndBrighterThanInAFilm)
{
    Layer layer = solidLayer(red, {{60, 60}, {20, 20}});
    layer.pulses = {pulseOf(PulseEffect::glow)};
    const TweenScene scene = sceneWith({140, 140}, {layer}, ColorRGBA::black);
    const PixelBuffer canvas = paintedCanvas(scene, {.playhead = 0.5}), film = drawnFrame(scene, 0.5);
    EXPECT_EQ(pixelAt(canvas, 70, 70), redPixel);
    EXPECT_GT(pixelAt(canvas, 54, 70).r, pixelAt(film, 54, 70).r);
    EXPECT_GT(pixelAt(canvas, 40, 70).r, pixelAt(film, 40, 70).r + 5);
}

TEST(LiveCanvas, AGroupGlowsAsAWhole)
{
    Layer group = groupLayer({solidLayer(red, {{0, 0}, {20, 20}}), solidLayer(blue, {{5, 5}, {10, 10}})});
    group.pulses = {pulseOf(PulseEffect::glow)};
    const RecordingRasterContext context = recordedCanvas(sceneWith({60, 60}, {group}), {.playhead = 0.5});
    EXPECT_EQ(context.count<RasterOperation::BeginTransparencyLayer>(), 3);
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({60, 60}, {group}), {.playhead = 0.5}), 2, 2), redPixel) << "not blue's glow";
}

TEST(LiveCanvas, HasContinuousCorners)
{
    const CGRect box{{0, 0}, {60, 40}};
    const Path continuous = continuousRoundedRect({box, 10});
    for (const Kind kind : {Kind::rectangle, Kind::text}) {
        Layer layer{.kind = kind, .fill = red, .size = box.size, .cornerRadius = 10, .text = ""};
        const auto fills = calls<RasterOperation::FillPath>(recordedCanvas(sceneWith({80, 60}, {layer})));
        EXPECT_THAT(fills, testing::Contains(testing::Field(&RasterOperation::FillPath::path, continuous)));
    }
    Layer child = viewportAt(box);
    child.cornerRadius = 10;
    const RecordingRasterContext viewport = recordedCanvas(sceneWith({80, 60}, {zoomOn({{0, 0}, {10, 10}}, ZoomType::pictureInPicture, {child})}));
    EXPECT_THAT(calls<RasterOperation::ClipToPath>(viewport), testing::Contains(testing::Field(&RasterOperation::ClipToPath::path, continuous)));
}

TEST(LiveCanvas, CutsMoreOfItsCornersThanAFilm)
{
    Layer layer = solidLayer(red, {{0, 0}, {700, 700}});
    layer.cornerRadius = 200;
    const TweenScene scene = sceneWith({700, 700}, {layer});
    EXPECT_EQ(pixelAt(drawnFrame(scene), 225, 0), redPixel) << "where a circle has met the side";
    EXPECT_GT(pixelAt(paintedCanvas(scene), 225, 0).g, 200) << "all but a tenth of a pixel is cut";
    EXPECT_EQ(pixelAt(paintedCanvas(scene), 320, 0), redPixel) << "a radius and a half from the corner";
}

TEST(LiveCanvas, AddsNothingToStrokes)
{
    struct Case { const char* what; bool outside; Kind kind; };
    for (const Case& c : {Case{"a box outside", true, Kind::rectangle}, Case{"a circle outside", true, Kind::ellipse},
                          Case{"a path inside", false, Kind::path}}) {
        SCOPED_TRACE(c.what);
        Layer layer = solidLayer(green, {{10, 10}, {20, 20}});
        layer.kind = c.kind;
        layer.path = {MoveTo{{0, 0}}, LineTo{{20, 0}}, LineTo{{20, 20}}, LineTo{{0, 20}}, ClosePath{}};
        layer.strokeWidth = 4;
        layer.strokeOutside = c.outside;
        const auto widths = calls<RasterOperation::SetLineWidth>(recordedCanvas(sceneWith({40, 40}, {layer})));
        ASSERT_GE(widths.size(), 1u);
        EXPECT_EQ(widths[0].width, 8);
    }
    Layer layer = solidLayer(green, {{10, 10}, {20, 20}});
    layer.strokeWidth = 4;
    layer.strokeOutside = true;
    layer.stroke = red;
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({40, 40}, {layer})), 5, 20), whitePixel);
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({40, 40}, {layer})), 6, 20), redPixel);
    EXPECT_NE(pixelAt(drawnFrame(sceneWith({40, 40}, {layer})), 5, 20), whitePixel) << "a film adds a quarter";
}

TEST(LiveCanvas, WorksOutOfAGradientFieldOnlyWhatIsSeen)
{
    const Layer field{.kind = Kind::gradientField, .fill = red, .stroke = blue, .size = {200, 100}};
    const auto painted = [&](const DrawingStyle& style) {
        return drawn(60, 40, [&](RasterContext& context) {
            context.translateCTM(-500.25, 10.5); // Its right edge at 99.75, its top edge within the raster.
            context.scaleCTM(3, 3);
            Exporter::drawGradientField(field, context, 2, style);
        });
    };
    const PixelBuffer whole = painted({}), seen = painted({.visiblePixels = CGRect{{0, 0}, {60, 40}}});
    EXPECT_LE(greatestDifference(whole, seen), 2);
    EXPECT_EQ(storedPixelAt(seen, 30, 9), StoredPixel());
    EXPECT_EQ(storedPixelAt(seen, 30, 20).a, 255);
    const PixelBuffer beyond = drawn(8, 8, [&](RasterContext& context) {
        context.translateCTM(100, 0);
        Exporter::drawGradientField(field, context, 2, {.visiblePixels = CGRect{{0, 0}, {8, 8}}});
    });
    EXPECT_EQ(storedPixelAt(beyond, 4, 4), StoredPixel());
}

// Text

/// A thumb in a font whose capitals are far from the middle of a line.
Layer thumb()
{
    return {.kind = Kind::text, .size = {300, 100}, .text = "\U0001F44D", .fontSize = 20, .fontName = "Noto Color Emoji"};
}

/// Where the only text of a scene begins, in the layer's space: on the canvas, and in a film.
struct TextTops {
    double canvas, film;
};

TextTops textTops(const Layer& text, double scale)
{
    const TweenScene scene = sceneWith({300, 100}, {text});
    RecordingRasterContext film;
    Exporter::drawScene(scene, 0, film, {300, 100});
    const auto top = [](const RecordingRasterContext& context) { return calls<RasterOperation::DrawText>(context).at(0).origin.y; };
    return {top(recordedCanvas(scene, {.scale = scale})), top(film)};
}

TEST(LiveCanvas, CentresALineOfTextByItsCapitals)
{
    const FontMetrics m = fontMetrics("Noto Color Emoji", 20);
    const double moved = -(m.ascender - std::abs(m.descender) - m.capHeight) / 2;
    ASSERT_GT(std::abs(moved), 2);
    for (const double scale : {0.5, 1.0, 3.0}) {
        const TextTops tops = textTops(thumb(), scale);
        EXPECT_NEAR(tops.canvas - tops.film, moved, 1e-6) << scale;
    }
}

TEST(LiveCanvas, LeavesOtherTextWhereAFilmHasIt)
{
    Layer twoLines = thumb();
    twoLines.text = "\U0001F44D\n\U0001F44D";
    Layer atTheTop = thumb();
    atTheTop.textVerticalAlignment = TextVerticalAlignment::top;
    Layer narrow = thumb();
    narrow.size.width = 10;
    struct Case { const char* what; Layer text; };
    for (const Case& c : {Case{"two lines", twoLines}, Case{"at the top", atTheTop}, Case{"wider than its box", narrow}}) {
        SCOPED_TRACE(c.what);
        const TextTops tops = textTops(c.text, 2);
        EXPECT_EQ(tops.canvas, tops.film);
    }
}

TEST(LiveCanvas, HidesWhatIsNotTypedYetByCharacters)
{
    // The family is one character of eight UTF-16 units and 18 bytes, so that a film hides less than is left.
    Layer text{.kind = Kind::text, .size = {300, 100}, .text = "ab\U0001F469\u200D\U0001F469\u200D\U0001F467cd|", .fontSize = 30};
    text.textTypeOnVisible = 1;
    text.textCursorVisible = false;
    const PlacedText placed = placedText(text, {.text = DrawingStyle::Text::view});
    EXPECT_EQ(placed.layout->request.text, "a|b\U0001F469\u200D\U0001F469\u200D\U0001F467cd");
    EXPECT_THAT(placed.clear, ElementsAre(TextRange{1, 2}, TextRange{2, 23}));
    text.textCursorVisible = true;
    EXPECT_THAT(placedText(text, {.text = DrawingStyle::Text::view}).clear, ElementsAre(TextRange{2, 23}));
}

TEST(LiveCanvas, TakesTheSystemFontForANameThatIsNotInstalled)
{
    Layer text{.kind = Kind::text, .size = {300, 100}, .text = "HEH", .fontSize = 30, .fontName = "No Such Font At All"};
    const PixelBuffer unknown = paintedCanvas(sceneWith({300, 100}, {text}));
    text.fontName = "";
    EXPECT_EQ(greatestDifference(unknown, paintedCanvas(sceneWith({300, 100}, {text}))), 0);
}

// Lines

TEST(LiveCanvas, LinesHaveTheirLeastMeasuresInViewPoints)
{
    // At a scale of 0.1 a line of 4 is 0.4 points wide: drawn at 0.5 points, which are 5 units of the scene.
    Layer line{.kind = Kind::line, .strokeWidth = 4, .size = {400, 100}};
    line.linePoints = {{0, 50}, {400, 50}};
    line.lineArrowEnd = true;
    for (const LineShape shape : {LineShape::freeform, LineShape::wave}) {
        SCOPED_TRACE(fileValue(shape));
        line.lineShape = shape;
        const RecordingRasterContext context = recordedCanvas(sceneWith({600, 300}, {line}), {.scale = 0.1});
        const auto widths = calls<RasterOperation::SetLineWidth>(context);
        ASSERT_GE(widths.size(), 2u);
        EXPECT_DOUBLE_EQ(widths[0].width, 5);
        EXPECT_DOUBLE_EQ(widths[1].width, 10) << "the head's line is at least a point";
        // Its head is 6 points long, and its half base is 0.55 of that.
        const auto heads = calls<RasterOperation::FillPath>(context);
        const auto head = std::ranges::find_if(heads, [](const auto& fill) { return fill.path.elements().size() == 4 && !fill.path.boxes(); });
        ASSERT_NE(head, heads.end());
        const auto& corners = head->path.elements();
        const CGPoint tip = corners[0].points[0], one = corners[1].points[0], other = corners[2].points[0];
        EXPECT_NEAR(std::hypot((one.x + other.x) / 2 - tip.x, (one.y + other.y) / 2 - tip.y), 60, 1e-6);
        EXPECT_NEAR(std::hypot(one.x - other.x, one.y - other.y), 2 * 0.55 * 60, 1e-6);
    }
}

TEST(LiveCanvas, WideLinesAreThoseOfAFilm)
{
    Layer line{.kind = Kind::line, .stroke = red, .strokeWidth = 10, .size = {80, 40}};
    line.linePoints = {{10, 20}, {70, 20}};
    line.lineArrowStart = true;
    const TweenScene scene = sceneWith({80, 40}, {line});
    EXPECT_EQ(greatestDifference(paintedCanvas(scene), drawnFrame(scene)), 0);
}

// Media

TEST(LiveCanvas, HonoursTheBlackKeyOfAnImage)
{
    Layer image{.kind = Kind::image, .size = {40, 40}, .imageData = windowOnBlack()};
    EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({40, 40}, {image})), 2, 2), blackPixel);
    image.blackKey = true;
    const TweenScene scene = sceneWith({40, 40}, {image});
    EXPECT_EQ(pixelAt(paintedCanvas(scene), 2, 2), redPixel);
    EXPECT_EQ(pixelAt(paintedCanvas(scene), 38, 38), redPixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene), 2, 2), blackPixel) << "a film leaves it as it is";
}

TEST(LiveCanvas, CutsAnImageByHandAsAFilmDoes)
{
    Layer image{.kind = Kind::image, .size = {40, 40}, .imageData = windowOnBlack(), .cropMode = CropMode::manual};
    image.cropRect = {{0.25, 0.25}, {0.5, 0.5}};
    const TweenScene scene = sceneWith({40, 40}, {image});
    EXPECT_EQ(greatestDifference(paintedCanvas(scene), drawnFrame(scene)), 0);
    EXPECT_EQ(pixelAt(paintedCanvas(scene), 2, 2), redPixel);
}

TEST(LiveCanvas, ABorderAroundAnImageHasRoundOuterCorners)
{
    Layer image{.kind = Kind::image, .transform = {.x = 20, .y = 20}, .stroke = blue, .strokeWidth = 10, .strokeOutside = true,
                .size = {40, 40}, .imageData = windowOnBlack()};
    const TweenScene scene = sceneWith({80, 80}, {image});
    const PixelBuffer canvas = paintedCanvas(scene);
    EXPECT_EQ(pixelAt(canvas, 10, 40), bluePixel);
    EXPECT_EQ(pixelAt(canvas, 9, 40), whitePixel);
    EXPECT_EQ(pixelAt(canvas, 19, 19), bluePixel);
    EXPECT_EQ(pixelAt(canvas, 20, 20), blackPixel) << "the picture's own corner is sharp";
    EXPECT_EQ(pixelAt(canvas, 11, 11), whitePixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene), 11, 11), bluePixel) << "a film has it sharp";
}

/// Videos that give one picture, and remember what they were asked.
class ToldVideos final : public VideoPictures {
public:
    File file(const std::string& reference) override { return known.state == File::State::unknown ? known : VideoPictures::file(reference); }
    void beginPainting(bool scenePlaying, double now) override { told.push_back(fmt::format("begin {} {}", scenePlaying, now)); }
    ImageRef picture(const Layer&, const std::string& path, double sourceTime) override
    {
        told.push_back(fmt::format("{} at {:.2f}", path, sourceTime));
        return given;
    }
    void endPainting() override { told.push_back("end"); }

    File known{.state = File::State::there};
    ImageRef given;
    std::vector<std::string> told;
};

Layer videoLayer(const std::string& path)
{
    Layer video{.kind = Kind::video, .stroke = blue, .strokeWidth = 2, .size = {200, 120}, .videoURL = path, .videoDuration = 10};
    video.videoClip = {.sceneStart = 1, .sceneEnd = 5, .sourceStart = 2};
    return video;
}

TEST(LiveCanvas, AsksForTheVideosPictureAndDrawsItOverTheBox)
{
    PixelBuffer pixels(4, 4);
    makeRasterContext(pixels)->fillRect({{0, 0}, {4, 4}}); // Black.
    ToldVideos videos;
    videos.given = makeImage(std::move(pixels));
    Look look{.playhead = 1.5};
    look.options.videos = &videos;
    look.options.scenePlaying = true;
    look.options.now = 7;
    const std::string self = "/proc/self/exe"; // A file that is there.
    const PixelBuffer picture = paintedCanvas(sceneWith({200, 120}, {videoLayer(self)}), look);
    EXPECT_THAT(videos.told, ElementsAre("begin true 7", self + " at 2.50", "end"));
    EXPECT_EQ(pixelAt(picture, 100, 60), blackPixel);
    EXPECT_EQ(pixelAt(picture, 1, 60), bluePixel);
}

TEST(LiveCanvas, AVideoOfWhoseFileNothingIsKnownYetShowsItsStrokeAndNoPlaceholder)
{
    ToldVideos videos;
    videos.known = {};
    Look look{.playhead = 1.5};
    look.options.videos = &videos;
    const PixelBuffer picture = paintedCanvas(sceneWith({200, 120}, {videoLayer("/no/such/file.mp4")}), look);
    EXPECT_EQ(pixelAt(picture, 100, 60), whitePixel);
    EXPECT_EQ(pixelAt(picture, 1, 60), bluePixel);
    EXPECT_THAT(videos.told, ElementsAre("begin false 0", "end")) << "no picture is asked for";
}

TEST(LiveCanvas, AVideoWithoutAPictureYetShowsItsStroke)
{
    ToldVideos videos;
    Look look{.playhead = 1.5};
    look.options.videos = &videos;
    const PixelBuffer picture = paintedCanvas(sceneWith({200, 120}, {videoLayer("/proc/self/exe")}), look);
    EXPECT_EQ(pixelAt(picture, 100, 60), whitePixel);
    EXPECT_EQ(pixelAt(picture, 1, 60), bluePixel);
}

TEST(LiveCanvas, AVideoOutsideItsClipIsNotAskedFor)
{
    ToldVideos videos;
    Look look{.playhead = 0.5};
    look.options.videos = &videos;
    paintedCanvas(sceneWith({200, 120}, {videoLayer("/proc/self/exe")}), look);
    EXPECT_THAT(videos.told, ElementsAre("begin false 0", "end"));
}

TEST(LiveCanvas, AMissingVideoHasAPlaceholderUnlikeInAFilm)
{
    for (const std::string path : {"/no/such/file.mp4", ""}) {
        const TweenScene scene = sceneWith({200, 120}, {videoLayer(path)});
        const RecordingRasterContext context = recordedCanvas(scene, {.playhead = 1.5});
        const auto texts = calls<RasterOperation::DrawText>(context);
        ASSERT_EQ(texts.size(), 1u);
        EXPECT_EQ(texts[0].request.text, "Video missing");
        const PixelBuffer picture = paintedCanvas(scene, {.playhead = 1.5});
        EXPECT_LT(pixelAt(picture, 5, 5).r, 80);
        EXPECT_EQ(pixelAt(drawnFrame(scene, 1.5), 5, 5), whitePixel);
    }
}

TEST(LiveCanvas, TheWordsOfThePlaceholderFallAwayWhereTheyDoNotFit)
{
    Layer video = videoLayer("/no/such/file.mp4");
    video.size = {60, 60};
    EXPECT_EQ(recordedCanvas(sceneWith({200, 120}, {video}), {.playhead = 1.5}).count<RasterOperation::DrawText>(), 0);
    EXPECT_EQ(recordedCanvas(sceneWith({200, 120}, {video}), {.playhead = 1.5, .scale = 4}).count<RasterOperation::DrawText>(), 1)
        << "their size is the view's";
}

// Cursors, rings, viewports

TEST(LiveCanvas, ASpinnerTurnsByTheWallClock)
{
    const Layer spinner{.kind = Kind::cursor, .size = {80, 80}, .cursorVariant = CursorVariant::wait};
    const TweenScene scene = sceneWith({80, 80}, {spinner});
    const auto painted = [&](double playhead, double now) {
        Look look{.playhead = playhead};
        look.options.now = now;
        return paintedCanvas(scene, look);
    };
    EXPECT_EQ(greatestDifference(painted(0, 100), painted(0.5, 100)), 0);
    EXPECT_GT(greatestDifference(painted(0, 100), painted(0, 100.5)), 100);
    // Spoke 4, the one that points down, leads half a turn later: it is opaque black.
    EXPECT_EQ(pixelAt(painted(0, 100.5), 40, 66), blackPixel);
    EXPECT_EQ(pixelAt(painted(0, 100), 40, 14), blackPixel);
}

TEST(LiveCanvas, TellsWhenASpinnerGoesOn)
{
    const Layer spinner{.kind = Kind::cursor, .size = {8, 8}, .cursorVariant = CursorVariant::wait};
    const Layer arrow{.kind = Kind::cursor, .size = {8, 8}};
    struct Case { const char* what; Array<Layer> layers; double now; std::optional<double> next; };
    for (const Case& c : {Case{"nothing waits", {arrow}, 0.3, std::nullopt}, Case{"a step of an eighth", {spinner}, 0.3, 0.075},
                          Case{"just begun", {spinner}, 8, 0.125}, Case{"in a group", {groupLayer({spinner})}, 1.0625, 0.0625}}) {
        SCOPED_TRACE(c.what);
        PixelBuffer pixels(8, 8);
        const TweenScene scene = sceneWith({8, 8}, c.layers);
        const auto next = CanvasRenderer::paint(scene, 0, Look().placement(scene), {.now = c.now}, *makeRasterContext(pixels));
        ASSERT_EQ(next.has_value(), c.next.has_value());
        EXPECT_NEAR(next.value_or(0), c.next.value_or(0), 1e-9);
    }
}

TEST(LiveCanvas, RingsLieOverEverythingAndAreCutByNothing)
{
    Layer radiating = solidLayer(blue, {{30, 30}, {4, 4}});
    radiating.pulses = {pulseOf(PulseEffect::radiate)};
    const Layer cover = solidLayer(green, {{0, 0}, {60, 60}});
    // A tenth of a second after the pulse, the first ring has a radius of 22 about (32, 32), seen at half size: from 11 points.
    for (const OffCanvas offCanvas : {OffCanvas::dimmed, OffCanvas::hidden}) {
        Look look{.playhead = 0.1, .scale = 0.5, .origin = {-6, 0}, .viewSize = CGSize{60, 60}};
        look.options.offCanvas = offCanvas;
        const PixelBuffer picture = paintedCanvas(sceneWith({40, 60}, {radiating, cover}), look);
        const Pixel onLayers = pixelAt(picture, 10, 5); // (10, 16) less 11.
        EXPECT_GT(onLayers.b, 100);
        const Pixel beyond = pixelAt(picture, 21, 16); // The frame ends at 14.
        EXPECT_GT(beyond.b, 100);
    }
}

TEST(LiveCanvas, RingsHaveTheirMeasuresFromTheFitAlone)
{
    struct Case { double scale, radius, lineWidth; };
    for (const Case& c : {Case{1, 22, 2.82}, Case{2, 44, 5.64}, Case{0.25, 5.5, 1}}) {
        Layer radiating = solidLayer(blue, {{30, 30}, {4, 4}});
        radiating.pulses = {pulseOf(PulseEffect::radiate)};
        Layer group = groupLayer({radiating});
        group.transform = {.x = 8, .scaleX = 3, .scaleY = 3};
        const auto context = recordedCanvas(sceneWith({60, 60}, {group}), {.playhead = 0.1, .scale = c.scale});
        const auto strokes = calls<RasterOperation::StrokePath>(context);
        const CGRect ring = strokes.back().path.bounds();
        EXPECT_NEAR(ring.size.width, 2 * c.radius, 1e-9);
        EXPECT_NEAR(ring.midX(), (8 + 32) * c.scale, 1e-9) << "the group grows about the middle of its child";
        EXPECT_NEAR(calls<RasterOperation::SetLineWidth>(context).back().width, c.lineWidth, 1e-9);
    }
}

TEST(LiveCanvas, AViewportIsFilledByWidthFromTheTopLeft)
{
    const auto scene = [](CGSize seen) {
        return sceneWith({100, 100}, {solidLayer(blue, {{0, 0}, {5, 5}}),
                                      zoomOn({{0, 0}, seen}, ZoomType::pictureInPicture, {viewportAt({{40, 40}, {40, 40}})})});
    };
    Look look;
    look.options.editingFrames = {.zoom = {0, 0, 0, 0}, .hotspot = {0, 0, 0, 0}};
    const PixelBuffer wide = paintedCanvas(scene({20, 10}), look); // At twice the size, 40 x 20.
    EXPECT_EQ(pixelAt(wide, 41, 41), bluePixel);
    EXPECT_EQ(pixelAt(wide, 49, 49), bluePixel);
    EXPECT_EQ(pixelAt(wide, 51, 51), whitePixel);
    EXPECT_EQ(pixelAt(wide, 60, 59), whitePixel);
    EXPECT_EQ(pixelAt(wide, 60, 61), redPixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene({20, 10})), 41, 41), redPixel) << "a film centres it";

    const PixelBuffer high = paintedCanvas(scene({10, 20}), look); // At four times the size, 40 x 80, cut at the bottom.
    EXPECT_EQ(pixelAt(high, 59, 59), bluePixel);
    EXPECT_EQ(pixelAt(high, 61, 61), whitePixel);
    EXPECT_EQ(pixelAt(high, 60, 79), whitePixel);
    EXPECT_EQ(pixelAt(high, 60, 81), whitePixel) << "the scene";
}

TEST(LiveCanvas, AViewportLeavesOutNestedViewportsAndWhatEdits)
{
    Layer nested = zoomOn({{0, 0}, {10, 10}}, ZoomType::pictureInPicture, {solidLayer(green, {{0, 0}, {10, 10}})});
    Layer hotspot{.kind = Kind::hotspot, .size = {10, 10}};
    const TweenScene scene = sceneWith({100, 100}, {groupLayer({nested}), hotspot,
                                                    zoomOn({{0, 0}, {10, 10}}, ZoomType::pictureInPicture, {viewportAt({{40, 40}, {40, 40}})})});
    const PixelBuffer picture = paintedCanvas(scene);
    EXPECT_EQ(pixelAt(picture, 60, 60), whitePixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene), 60, 60), greenPixel) << "a film leaves out those at the top alone";
}

TEST(LiveCanvas, AViewportsLayersHaveTheMeasuresOfItsOwnScale)
{
    Layer card = solidLayer(blue, {{0, 0}, {5, 5}});
    card.shadow = ShadowPreset::low;
    const TweenScene scene =
        sceneWith({100, 100}, {card, zoomOn({{0, 0}, {20, 10}}, ZoomType::pictureInPicture, {viewportAt({{40, 40}, {40, 40}})})});
    const auto shadows = calls<RasterOperation::SetShadow>(recordedCanvas(scene, {.scale = 0.5}));
    ASSERT_EQ(shadows.size(), 2u);
    EXPECT_EQ(shadows[0].shadow->blur, 4);
    EXPECT_EQ(shadows[1].shadow->blur, 8) << "seen at twice the size";
}

TEST(LiveCanvas, AFadedViewportIsDrawnAsAWhole)
{
    Layer child = viewportAt({{40, 40}, {40, 40}});
    child.opacity = 0.5;
    const TweenScene scene = sceneWith({100, 100}, {solidLayer(blue, {{0, 0}, {10, 10}}), zoomOn({{0, 0}, {10, 10}}, ZoomType::pictureInPicture, {child})});
    expectNear(pixelAt(paintedCanvas(scene), 60, 60), {128, 128, 255, 255});
}

// What edits

TEST(LiveCanvas, ShowsZoomsAndHotSpotsAsFaintlyFilledBoxes)
{
    for (const Kind kind : {Kind::zoom, Kind::hotspot}) {
        Layer object = zoomOn({{10, 10}, {20, 10}});
        object.kind = kind;
        Look look{.scale = 2};
        look.options.editingFrames = {.zoom = {1, 0, 0, 1}, .hotspot = {1, 0, 0, 1}};
        const TweenScene scene = sceneWith({40, 40}, {object});
        const PixelBuffer picture = paintedCanvas(scene, look);
        EXPECT_LT(pixelAt(picture, 40, 20).g, 160) << "its line";
        const Pixel inside = pixelAt(picture, 40, 30);
        EXPECT_LT(inside.g, 250);
        EXPECT_GT(inside.g, 220);
        EXPECT_EQ(pixelAt(picture, 40, 44), whitePixel);
        EXPECT_EQ(pixelAt(drawnFrame(scene), 20, 10), whitePixel) << "a film never shows it";

        object.isHidden = true;
        EXPECT_EQ(pixelAt(paintedCanvas(sceneWith({40, 40}, {object}), look), 40, 20), whitePixel);
    }
}

TEST(LiveCanvas, ABoxThatStandsForAZoomHasALineOfAPointHoweverItIsScaled)
{
    Layer zoom = zoomOn({{10, 10}, {20, 10}});
    zoom.transform.scaleX = 3;
    const RecordingRasterContext context = recordedCanvas(sceneWith({60, 40}, {zoom}), {.scale = 2, .pixelsPerPoint = 1.5});
    const auto strokes = calls<RasterOperation::StrokePath>(context);
    ASSERT_GE(strokes.size(), 1u);
    const CGRect box = strokes[0].path.bounds(); // In pixels: 3 to a unit of the scene, grown about the middle at (20, 15).
    EXPECT_NEAR(box.minX(), (20 - 30) * 3, 1e-9);
    EXPECT_NEAR(box.maxX(), (20 + 30) * 3, 1e-9);
    EXPECT_NEAR(box.size.height, 10 * 3, 1e-9);
    EXPECT_EQ(calls<RasterOperation::SetLineWidth>(context)[0].width, 1.5);
}

// All of it

TEST(LiveCanvas, IsAFilmsFrameWhereNothingIsTold)
{
    // What no difference touches is the same to the pixel: sharp boxes, turned and scaled groups, effects, text at the top.
    Layer box = solidLayer(red, {{10, 10}, {30, 20}});
    box.strokeWidth = 3;
    box.opacity = 0.6;
    Layer circle = solidLayer(green, {{50, 8}, {30, 30}});
    circle.kind = Kind::ellipse;
    Layer text{.kind = Kind::text, .transform = {.x = 4, .y = 50}, .size = {90, 40}, .text = "Several words in a box", .fontSize = 13};
    text.textVerticalAlignment = TextVerticalAlignment::top;
    Layer field{.kind = Kind::gradientField, .transform = {.x = 60, .y = 60}, .size = {40, 40}};
    Layer stack = groupLayer({solidLayer(blue, {{0, 0}, {10, 6}}), solidLayer(red, {{0, 0}, {8, 10}})});
    stack.groupLayout = GroupLayout::horizontal;
    stack.transform = {.x = 20, .y = 80, .rotation = 30, .scaleX = 1.5};
    stack.spans = {TimeSpan{.start = 0, .end = 9, .effects = {SpanEffect{.kind = SpanEffect::Kind::popIn, .duration = 1}}}};
    const TweenScene scene = sceneWith({110, 110}, {box, circle, text, field, stack});
    for (const double time : {0.2, 0.5, 3.0})
        EXPECT_EQ(greatestDifference(paintedCanvas(scene, {.playhead = time}), drawnFrame(scene, time)), 0) << time;
}

TEST(LiveCanvas, PaintsAnySceneWholeAndLeavesTheContextAsItWas)
{
    EXPECT_TRUE(rc::check("no scene harms it", [] {
        const TweenScene scene = *arbitraryScene();
        Look look{.playhead = *arbitraryNumber(), .scale = std::abs(*arbitraryNumber()), .origin = {*arbitraryNumber(), 0},
                  .viewSize = CGSize{48, 32}};
        look.options.offCanvas = *rc::gen::arbitrary<bool>() ? OffCanvas::hidden : OffCanvas::dimmed;
        const PixelBuffer picture = paintedCanvas(scene, look);
        const RecordingRasterContext context = recordedCanvas(scene, look);
        RC_ASSERT(context.isBalanced());
        RC_ASSERT(context.ctm() == AffineTransform());
        RC_ASSERT(pixelAt(picture, 20, 20).a == 255);
    }));
}

} // namespace
} // namespace larkspool
