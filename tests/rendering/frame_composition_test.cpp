#include "rendering/frame_composition.h"

#include "rendering/rendering_fixture.h"
#include "rendering/shapes.h"
#include "support/arbitrary_document.h"
#include "support/golden.h"
#include "support/recording_raster_context.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

Layer solid(const ColorRGBA& color, CGRect place)
{
    return {.transform = {.x = place.origin.x, .y = place.origin.y}, .fill = color, .size = place.size};
}

Layer groupOf(Array<Layer> children)
{
    return {.kind = Kind::group, .children = std::move(children)};
}

Layer zoomOn(CGRect place, double start, double end, ZoomTransition in, ZoomTransition out)
{
    Layer zoom{.kind = Kind::zoom, .transform = {.x = place.origin.x, .y = place.origin.y}, .size = place.size};
    zoom.spans = {TimeSpan{.start = start, .end = end, .zoomStart = in, .zoomEnd = out}};
    return zoom;
}

TEST(FrameComposition, AWideSceneInASquareRasterHasBarsAboveAndBelow)
{
    const PixelBuffer picture = drawnFrame(sceneWith({8, 4}, {}), 0, CGSize{4, 4});
    for (const int x : {0, 3}) {
        EXPECT_EQ(pixelAt(picture, x, 0), blackPixel);
        EXPECT_EQ(pixelAt(picture, x, 1), whitePixel);
        EXPECT_EQ(pixelAt(picture, x, 2), whitePixel);
        EXPECT_EQ(pixelAt(picture, x, 3), blackPixel);
    }
}

TEST(FrameComposition, AHighSceneInASquareRasterHasBarsAtTheSides)
{
    const PixelBuffer picture = drawnFrame(sceneWith({4, 8}, {}), 0, CGSize{4, 4});
    for (const int y : {0, 3}) {
        EXPECT_EQ(pixelAt(picture, 0, y), blackPixel);
        EXPECT_EQ(pixelAt(picture, 1, y), whitePixel);
        EXPECT_EQ(pixelAt(picture, 2, y), whitePixel);
        EXPECT_EQ(pixelAt(picture, 3, y), blackPixel);
    }
}

TEST(FrameComposition, ATranslucentBackgroundLiesOnBlack)
{
    const PixelBuffer picture = drawnFrame(sceneWith({4, 4}, {}, {1, 1, 1, 0.5}));
    EXPECT_NEAR(pixelAt(picture, 2, 2).r, 128, 1);
    EXPECT_EQ(pixelAt(picture, 2, 2).a, 255);
}

TEST(FrameComposition, ASceneWithoutASizeIsBlack)
{
    for (const CGSize size : {CGSize{0, 0}, CGSize{-4, 10}, CGSize{10, 0}})
        EXPECT_EQ(pixelAt(drawnFrame(sceneWith(size, {solid(red, {{0, 0}, {4, 4}})}), 0, CGSize{8, 8}), 4, 4), blackPixel);
}

TEST(FrameComposition, TheFirstLayerIsBackmost)
{
    const PixelBuffer picture = drawnFrame(sceneWith({8, 8}, {solid(red, {{0, 0}, {8, 8}}), solid(blue, {{2, 2}, {4, 4}})}));
    EXPECT_EQ(pixelAt(picture, 0, 0), redPixel);
    EXPECT_EQ(pixelAt(picture, 4, 4), bluePixel);
}

TEST(FrameComposition, LayersHiddenOrOutsideTheirSpansAreNotPainted)
{
    Layer hidden = solid(red, {{0, 0}, {8, 8}});
    hidden.isHidden = true;
    Layer later = solid(blue, {{0, 0}, {8, 8}});
    later.spans = {TimeSpan{.start = 1, .end = 2}};
    const TweenScene scene = sceneWith({8, 8}, {hidden, later});
    EXPECT_EQ(pixelAt(drawnFrame(scene, 0.9), 4, 4), whitePixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene, 1), 4, 4), bluePixel);
    EXPECT_EQ(pixelAt(drawnFrame(scene, 2), 4, 4), bluePixel);
}

TEST(FrameComposition, OnlyGroupsAndZoomsHandTheirOpacityDown)
{
    struct Case { Kind kind; int red; };
    for (const Case& c : {Case{Kind::group, 128}, Case{Kind::zoom, 128}, Case{Kind::text, 255}, Case{Kind::hotspot, 255}}) {
        Layer parent{.kind = c.kind, .fill = ColorRGBA::clear, .opacity = 0.5, .size = {8, 8}, .text = ""};
        parent.children = {solid(red, {{0, 0}, {8, 8}})};
        if (c.kind == Kind::zoom) parent.zoomType = ZoomType::pictureInPicture;
        EXPECT_NEAR(pixelAt(drawnFrame(sceneWith({8, 8}, {parent}, ColorRGBA::black)), 4, 4).r, c.red, 1);
    }
}

TEST(FrameComposition, NestedGroupsMultiplyTheirOpacity)
{
    Layer inner = groupOf({solid(red, {{0, 0}, {8, 8}})});
    inner.opacity = 0.5;
    Layer outer = groupOf({inner});
    outer.opacity = 0.5;
    EXPECT_NEAR(pixelAt(drawnFrame(sceneWith({8, 8}, {outer}, ColorRGBA::black)), 4, 4).r, 64, 1);
}

TEST(FrameComposition, ChildrenStandInTheSpaceOfTheirParent)
{
    Layer group = groupOf({solid(red, {{1, 1}, {2, 2}})});
    group.transform.x = 3;
    group.transform.y = 4;
    const PixelBuffer picture = drawnFrame(sceneWith({8, 8}, {group}));
    EXPECT_EQ(pixelAt(picture, 4, 5), redPixel);
    EXPECT_EQ(pixelAt(picture, 5, 6), redPixel);
    EXPECT_EQ(pixelAt(picture, 3, 4), whitePixel);
    EXPECT_EQ(pixelAt(picture, 6, 7), whitePixel);
}

TEST(FrameComposition, AGroupTurnsAboutTheMiddleOfWhatShowsInIt)
{
    // The visible children cover (0, 0) to (4, 2): a turn of 90 degrees about (2, 1) covers (1, -1) to (3, 3).
    Layer invisible = solid(blue, {{20, 20}, {10, 10}});
    invisible.isHidden = true;
    Layer group = groupOf({solid(red, {{0, 0}, {4, 2}}), invisible});
    group.transform = {.x = 4, .y = 4, .rotation = 90};
    const PixelBuffer picture = drawnFrame(sceneWith({12, 12}, {group}));
    EXPECT_EQ(pixelAt(picture, 5, 3), redPixel);
    EXPECT_EQ(pixelAt(picture, 6, 6), redPixel);
    EXPECT_EQ(pixelAt(picture, 4, 4), whitePixel);
    EXPECT_EQ(pixelAt(picture, 7, 4), whitePixel);
}

TEST(FrameComposition, AGroupThatShowsNothingTurnsAboutItsOwnSize)
{
    Layer hidden = solid(red, {{0, 0}, {2, 2}});
    hidden.isHidden = true;
    Layer group = groupOf({hidden});
    group.transform = {.rotation = 90};
    group.size = {8, 8};
    RecordingRasterContext context;
    Exporter::drawScene(sceneWith({8, 8}, {group}), 0, context, {8, 8});
    ASSERT_EQ(context.count<RasterOperation::ConcatCTM>(), 1);
    for (const RasterOperation::Any& operation : context.operations()) {
        const auto* turn = std::get_if<RasterOperation::ConcatCTM>(&operation);
        if (!turn) continue;
        EXPECT_NEAR(turn->transform.apply(CGPoint{4, 4}).x, 4, 1e-9); // The middle of its own size stands still.
        EXPECT_NEAR(turn->transform.apply(CGPoint{0, 0}).x, 8, 1e-9);
    }
}

TEST(FrameComposition, AChildOfATextStandsInItsSpaceWithoutItsOpacity)
{
    Layer text{.kind = Kind::text, .fill = ColorRGBA::clear, .opacity = 0.5, .size = {8, 8}, .text = ""};
    text.transform = {.x = 4, .y = 2};
    text.children = {solid(red, {{1, 1}, {2, 2}})};
    const PixelBuffer picture = drawnFrame(sceneWith({16, 16}, {text}));
    EXPECT_EQ(pixelAt(picture, 5, 3), redPixel);
    EXPECT_EQ(pixelAt(picture, 4, 2), whitePixel);
}

TEST(FrameComposition, AFullScreenZoomShowsItsRectangle)
{
    // The zoom looks at the right lower quarter, which is red.
    TweenScene scene = sceneWith({16, 16}, {solid(red, {{8, 8}, {8, 8}}), zoomOn({{8, 8}, {8, 8}}, 1, 3, ZoomTransition::none, ZoomTransition::none)});
    EXPECT_EQ(pixelAt(drawnFrame(scene, 0.5), 2, 2), whitePixel);
    const PixelBuffer zoomed = drawnFrame(scene, 1);
    EXPECT_EQ(pixelAt(zoomed, 0, 0), redPixel);
    EXPECT_EQ(pixelAt(zoomed, 15, 15), redPixel);
}

TEST(FrameComposition, AFadingZoomLooksLikeOneThatCutsIn)
{
    const auto sceneWithTransitions = [](ZoomTransition transition) {
        return sceneWith({16, 16}, {solid(red, {{9, 9}, {5, 5}}), zoomOn({{8, 8}, {8, 8}}, 1, 3, transition, transition)});
    };
    const PixelBuffer fading = drawnFrame(sceneWithTransitions(ZoomTransition::fade), 1.1);
    const PixelBuffer cut = drawnFrame(sceneWithTransitions(ZoomTransition::none), 1.1);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) EXPECT_EQ(pixelAt(fading, x, y), pixelAt(cut, x, y));
}

TEST(FrameComposition, TheBackgroundStandsStillUnderAZoom)
{
    TweenScene scene = sceneWith({16, 8}, {zoomOn({{0, 0}, {4, 2}}, 0, 3, ZoomTransition::none, ZoomTransition::none)}, blue);
    const PixelBuffer picture = drawnFrame(scene, 1, CGSize{16, 16});
    EXPECT_EQ(pixelAt(picture, 8, 3), blackPixel);
    EXPECT_EQ(pixelAt(picture, 8, 4), bluePixel);
}

TEST(FrameComposition, AZoomsChildrenStandInIt)
{
    Layer zoom = zoomOn({{0, 0}, {16, 16}}, 0, 3, ZoomTransition::none, ZoomTransition::none);
    zoom.zoomType = ZoomType::pictureInPicture;
    zoom.transform.x = 4;
    zoom.children = {solid(red, {{0, 0}, {4, 4}})};
    EXPECT_EQ(pixelAt(drawnFrame(sceneWith({16, 16}, {zoom}), 1), 5, 1), redPixel);
}

TEST(FrameComposition, AZoomsChildrenAreNotCutByIt)
{
    Layer zoom = zoomOn({{0, 0}, {4, 4}}, 0, 3, ZoomTransition::none, ZoomTransition::none);
    zoom.zoomType = ZoomType::pictureInPicture;
    zoom.children = {solid(red, {{6, 6}, {4, 4}})};
    EXPECT_EQ(pixelAt(drawnFrame(sceneWith({16, 16}, {zoom}), 1), 8, 8), redPixel);
}

TEST(FrameComposition, AShadowedLayerThatGlowsIsPaintedTwiceWithOneShadowEach)
{
    struct Case { ShadowPreset shadow; int fills, shadows, groups; };
    for (const Case& c : {Case{ShadowPreset::none, 1, 1, 0}, Case{ShadowPreset::low, 2, 2, 1}}) {
        Layer layer = solid(red, {{40, 40}, {20, 20}});
        layer.shadow = c.shadow;
        layer.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
        RecordingRasterContext context;
        Exporter::drawScene(sceneWith({100, 100}, {layer}), 0.5, context, {100, 100});
        EXPECT_EQ(context.count<RasterOperation::FillPath>(), c.fills);
        EXPECT_EQ(context.count<RasterOperation::SetShadow>(), c.shadows);
        EXPECT_EQ(context.count<RasterOperation::BeginTransparencyLayer>(), c.groups);
    }
}

std::vector<RasterShadow> shadowsIn(const RecordingRasterContext& context)
{
    std::vector<RasterShadow> shadows;
    for (const RasterOperation::Any& operation : context.operations())
        if (const auto* set = std::get_if<RasterOperation::SetShadow>(&operation)) shadows.push_back(set->shadow.value());
    return shadows;
}

TEST(FrameComposition, AGlowIsAShadowThatFollowsItsStrength)
{
    Layer layer = solid(red, {{40, 40}, {20, 20}});
    layer.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
    struct Case { const char* when; double time, blur, alpha; };
    // A sixth of a second into the half sine, its height is a half.
    for (const Case& c : {Case{"half as strong", 1.0 / 6, 0.7 * 24, 0.7 * 0.85}, Case{"at the peak", 0.5, 1.4 * 24, 1}}) {
        SCOPED_TRACE(c.when);
        RecordingRasterContext context;
        Exporter::drawScene(sceneWith({100, 100}, {layer}), c.time, context, {50, 50}); // No scale but the raster's own.
        const std::vector<RasterShadow> shadows = shadowsIn(context);
        ASSERT_EQ(shadows.size(), 1u);
        EXPECT_EQ(shadows[0].offset, (CGSize{0, 0}));
        EXPECT_NEAR(shadows[0].blur, c.blur, 1e-9);
        EXPECT_NEAR(shadows[0].color.a, c.alpha, 1e-9);
        EXPECT_EQ((RasterColor{shadows[0].color.r, shadows[0].color.g, shadows[0].color.b, 1}), (RasterColor{1, 0, 0, 1}));
    }
}

TEST(FrameComposition, UnderAGlowTheStoredShadowTellsHowOftenALayerIsPainted)
{
    constexpr double glow = 33.6, low = 8, high = 40; // By their blurs.
    struct Case { const char* what; ShadowPreset stored, keyed; int fills; std::vector<double> blurs; };
    for (const Case& c : {Case{"taken away by a keyframe", ShadowPreset::low, ShadowPreset::none, 2, {glow}},
                          Case{"changed by a keyframe", ShadowPreset::low, ShadowPreset::high, 2, {high, glow}},
                          Case{"brought by a keyframe", ShadowPreset::none, ShadowPreset::low, 1, {glow, low}}}) {
        SCOPED_TRACE(c.what);
        Layer layer = solid(red, {{40, 40}, {20, 20}});
        layer.shadow = c.stored;
        layer.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::shadow, .time = 0, .value = c.keyed}};
        layer.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
        RecordingRasterContext context;
        Exporter::drawScene(sceneWith({100, 100}, {layer}), 0.5, context, {100, 100});
        EXPECT_EQ(context.count<RasterOperation::FillPath>(), c.fills);
        const std::vector<RasterShadow> shadows = shadowsIn(context);
        ASSERT_EQ(shadows.size(), c.blurs.size());
        for (std::size_t i = 0; i < shadows.size(); ++i) EXPECT_NEAR(shadows[i].blur, c.blurs[i], 1e-9);
    }
}

TEST(FrameComposition, AGroupThatGlowsIsPaintedOnceWhateverItsShadow)
{
    Layer group = groupOf({solid(red, {{40, 40}, {20, 20}})});
    group.shadow = ShadowPreset::high;
    group.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
    RecordingRasterContext context;
    Exporter::drawScene(sceneWith({100, 100}, {group}), 0.5, context, {100, 100});
    EXPECT_EQ(context.count<RasterOperation::FillPath>(), 1);
    EXPECT_EQ(shadowsIn(context).size(), 1u);
}

TEST(FrameComposition, ALayerIsPaintedStepByStep)
{
    Layer layer = solid(red, {{10, 20}, {40, 30}});
    layer.opacity = 0.5;
    layer.shadow = ShadowPreset::low;
    RecordingRasterContext context;
    Exporter::drawLayer(layer, context, /*parentOpacity=*/0.5, {0, 0}, /*scene=*/nullptr, /*skipOwnShadow=*/false, 0);
    EXPECT_EQ(context.text(), "saveGState\n"
                              "  setShadow offset(0 4) blur 8 rgba(0 0 0 0.3)\n"
                              "  concatCTM 1 0 0 1 10 20\n"
                              "  setAlpha 0.25\n"
                              "  beginTransparencyLayer bounds(0 0 40 30) 1*box(0 0 40 30)\n"
                              "    setFillColor rgba(1 0 0 1)\n"
                              "    fillPath box(0 0 40 30) winding\n"
                              "  endTransparencyLayer\n"
                              "restoreGState\n");
}

TEST(FrameComposition, ALayerCanBePaintedWithoutItsShadowAndItsSubtreeWithTheirs)
{
    Layer layer = solid(red, {{0, 0}, {40, 30}});
    layer.shadow = ShadowPreset::low;
    layer.children = {layer};
    RecordingRasterContext context;
    Exporter::drawLayer(layer, context, /*parentOpacity=*/1, {0, 0}, /*scene=*/nullptr, /*skipOwnShadow=*/true, 0);
    EXPECT_EQ(context.count<RasterOperation::FillPath>(), 2);
    EXPECT_EQ(shadowsIn(context).size(), 1u);
}

TEST(FrameComposition, ChildrenOfAShadowedLayerCastItsShadowToo)
{
    Layer layer = solid(red, {{10, 10}, {20, 20}});
    layer.shadow = ShadowPreset::low; // 4 down, blur 8.
    layer.children = {solid(blue, {{50, 0}, {20, 20}})};
    const TweenScene scene = sceneWith({100, 60}, {layer});
    const PixelBuffer picture = drawnFrame(scene);
    const Pixel below = pixelAt(picture, 20, 32);
    EXPECT_LT(below.g, 240);
    EXPECT_EQ(pixelAt(picture, 70, 32), below);
}

/// The green of the fill of a ring that is 55 wide, a quarter of a second old and so 0.525 opaque.
int greenOfRing(const PixelBuffer& picture, int centerX, int centerY)
{
    return pixelAt(picture, centerX + 54, centerY).g;
}

Layer radiating(CGRect place)
{
    Layer layer = solid(red, place);
    layer.pulses = {Pulse{.time = 0, .effects = {PulseEffect::radiate}}};
    return layer;
}

TEST(FrameComposition, AFadingZoomFadesRingsAlone)
{
    // Half of the ramp of half a second: an alpha of one half.
    const auto picture = [](ZoomTransition transition) {
        const Layer zoom = zoomOn({{0, 0}, {200, 200}}, 0, 4, transition, transition);
        return drawnFrame(sceneWith({200, 200}, {radiating({{90, 90}, {20, 20}}), zoom}), 0.25);
    };
    EXPECT_NEAR(greenOfRing(picture(ZoomTransition::none), 100, 100), 255 * (1 - 0.525), 2);
    EXPECT_NEAR(greenOfRing(picture(ZoomTransition::fade), 100, 100), 255 * (1 - 0.525 * 0.5), 2);
    EXPECT_EQ(pixelAt(picture(ZoomTransition::fade), 100, 100), redPixel);
}

TEST(FrameComposition, RingsOfAChildHaveTheOpacityOfItsParent)
{
    for (const Kind kind : {Kind::group, Kind::text}) {
        SCOPED_TRACE(fileValue(kind));
        Layer parent{.kind = kind, .fill = ColorRGBA::clear, .opacity = 0.5, .size = {200, 200}, .text = ""};
        parent.children = {radiating({{90, 90}, {20, 20}})};
        EXPECT_NEAR(greenOfRing(drawnFrame(sceneWith({200, 200}, {parent}), 0.25), 100, 100), 255 * (1 - 0.525 * 0.5), 2);
    }
}

TEST(FrameComposition, APulseScalesTheLayerAboutItsAnchor)
{
    Layer layer = solid(red, {{10, 10}, {20, 20}});
    layer.pulses = {Pulse{.time = 1, .effects = {PulseEffect::scale}}};
    const TweenScene scene = sceneWith({40, 40}, {layer});
    EXPECT_EQ(pixelAt(drawnFrame(scene, 1), 11, 20), redPixel);
    const PixelBuffer dipped = drawnFrame(scene, 1.2); // Scale 0.78: 7.8 to each side of 20.
    EXPECT_EQ(pixelAt(dipped, 11, 20), whitePixel);
    EXPECT_EQ(pixelAt(dipped, 13, 20), redPixel);
    EXPECT_EQ(pixelAt(dipped, 28, 20), whitePixel);
}

TEST(FrameComposition, AGlowSpreadsTheLayersColour)
{
    Layer layer = solid(red, {{40, 40}, {20, 20}});
    layer.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
    const TweenScene scene = sceneWith({100, 100}, {layer});
    const Pixel before = pixelAt(drawnFrame(scene, 0), 35, 50);
    const Pixel peak = pixelAt(drawnFrame(scene, 0.5), 35, 50);
    EXPECT_EQ(before, whitePixel);
    EXPECT_EQ(peak.r, 255);
    EXPECT_LT(peak.g, 230);
    EXPECT_EQ(peak.g, peak.b);
}

TEST(FrameComposition, AHotspotIsNeverPainted)
{
    Layer hotspot = solid(red, {{0, 0}, {8, 8}});
    hotspot.kind = Kind::hotspot;
    hotspot.shadow = ShadowPreset::high;
    EXPECT_EQ(pixelAt(drawnFrame(sceneWith({8, 8}, {hotspot})), 4, 4), whitePixel);
}

TEST(FrameComposition, AGroupCastsNoShadowOfItsOwn)
{
    Layer group = groupOf({solid(red, {{10, 10}, {10, 10}})});
    group.shadow = ShadowPreset::high;
    EXPECT_EQ(pixelAt(drawnFrame(sceneWith({60, 80}, {group})), 15, 40), whitePixel);
}

TEST(FrameComposition, AShadowLiesBelowTheLayerByItsPresetInDevicePixels)
{
    Layer layer = solid(ColorRGBA::white, {{40, 20}, {40, 40}});
    layer.shadow = ShadowPreset::low; // 4 down, blur 8.
    const TweenScene scene = sceneWith({120, 80}, {layer});
    for (const CGSize size : {CGSize{120, 80}, CGSize{240, 160}}) {
        const PixelBuffer picture = drawnFrame(scene, 0, size);
        const int unit = static_cast<int>(size.width) / 120;
        const int below = pixelAt(picture, 60 * unit, 60 * unit + 1).r, above = pixelAt(picture, 60 * unit, 20 * unit - 2).r;
        // Half way down the edge, at 4 below the box, half of the shadow's alpha of 0.3 is left.
        EXPECT_NEAR(pixelAt(picture, 60 * unit, 60 * unit + 4).r, 255 * (1 - 0.3 * 0.45), 4);
        EXPECT_LT(below, above);
        // Beyond the offset and three standard deviations of 4, nothing is left at any scale.
        EXPECT_EQ(pixelAt(picture, 60 * unit, 60 * unit + 17), whitePixel);
    }
}

TEST(FrameComposition, APaintedLayerLeavesTheContextAsItWas)
{
    PixelBuffer picture(16, 16);
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    context->translateCTM(3, 2);
    const AffineTransform before = context->ctm();
    TweenScene scene = sceneWith({16, 16}, {groupOf({solid(red, {{0, 0}, {8, 8}})})});
    Exporter::drawScene(scene, 0, *context, {16, 16});
    EXPECT_EQ(context->ctm(), before);
}

TEST(FrameComposition, AnySceneIsPaintedWholeAndLeavesTheContextAsItWas)
{
    EXPECT_TRUE(rc::check("saves and restores, begins and ends are in pairs", [] {
        const TweenScene scene = *arbitraryScene();
        const double time = *arbitraryNumber();
        RecordingRasterContext context;
        Exporter::drawScene(scene, time, context, {48, 32});
        RC_ASSERT(context.isBalanced());
        RC_ASSERT(context.ctm() == AffineTransform());
        RC_ASSERT(pixelAt(drawnFrame(scene, time, CGSize{48, 32}), 20, 20).a == 255);
    }));
}

TEST(RenderSceneToImage, TruncatesItsSizeAndRefusesWhatIsNone)
{
    const TweenScene scene = sceneWith({8, 8}, {});
    const auto image = Exporter::renderSceneToImage(scene, 0, {8.9, 4.2});
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width(), 8);
    EXPECT_EQ(image->height(), 4);
    for (const CGSize size : {CGSize{0.9, 8}, CGSize{8, 0}, CGSize{-3, 8}, CGSize{1e9, 8}, CGSize{32767, 32767}, CGSize{std::nan(""), 8}})
        EXPECT_FALSE(Exporter::renderSceneToImage(scene, 0, size));
}

TEST(FrameGoldens, GlowAlone)
{
    Layer plain = solid({0.2, 0.5, 1, 1}, {{60, 50}, {80, 60}});
    plain.cornerRadius = 14;
    plain.pulses = {Pulse{.time = 0, .effects = {PulseEffect::glow}}};
    Layer shadowed = plain;
    shadowed.transform.x = 240;
    shadowed.shadow = ShadowPreset::low;
    Layer ellipse = plain;
    ellipse.kind = Kind::ellipse;
    ellipse.transform.x = 420;
    ellipse.strokeWidth = 6;
    ellipse.stroke = {0.9, 0.9, 1, 1};
    const TweenScene scene = sceneWith({560, 160}, {plain, shadowed, ellipse}, {0.1, 0.11, 0.14, 1});
    EXPECT_GOLDEN(drawnFrame(scene, 0.5), "frame-glow-peak");
    EXPECT_GOLDEN(drawnFrame(scene, 0.15), "frame-glow-rising");
}

TEST(FrameGoldens, GroupsTurnedScaledAndStacked)
{
    const auto chip = [](double width, const ColorRGBA& color) {
        Layer layer = solid(color, {{0, 0}, {width, 24}});
        layer.cornerRadius = 6;
        layer.shadow = ShadowPreset::low;
        return layer;
    };
    const Array<Layer> chips{chip(40, {0.9, 0.35, 0.35, 1}), chip(24, {0.3, 0.7, 0.45, 1}), chip(60, {0.3, 0.45, 0.9, 1})};
    const auto stack = [&](GroupLayout layout, GroupAlignment alignment, Transform transform) {
        Layer group = groupOf(chips);
        group.groupLayout = layout;
        group.groupAlignment = alignment;
        group.transform = transform;
        return group;
    };
    const TweenScene scene = sceneWith({520, 240},
                                       {stack(GroupLayout::horizontal, GroupAlignment::start, {.x = 20, .y = 30}),
                                        stack(GroupLayout::vertical, GroupAlignment::end, {.x = 220, .y = 20}),
                                        stack(GroupLayout::horizontal, GroupAlignment::center, {.x = 330, .y = 60, .rotation = 30}),
                                        stack(GroupLayout::vertical, GroupAlignment::center, {.x = 60, .y = 110, .scaleX = 1.5, .scaleY = 1.1}),
                                        stack(GroupLayout::freeform, GroupAlignment::start, {.x = 380, .y = 170, .rotation = -15, .anchorX = 0, .anchorY = 1})},
                                       {0.96, 0.96, 0.97, 1});
    EXPECT_GOLDEN(drawnFrame(scene), "frame-groups");
}

TEST(FrameGoldens, AZoomComesAndGoes)
{
    Array<Layer> layers;
    for (int i = 0; i < 12; ++i) {
        Layer card = solid({0.25 + 0.06 * i, 0.5, 0.95 - 0.05 * i, 1}, {{20.0 + 75 * (i % 4), 16.0 + 60 * (i / 4)}, {60, 44}});
        card.cornerRadius = 8;
        card.shadow = ShadowPreset::low;
        layers.append(card);
    }
    layers.append(zoomOn({{85, 70}, {120, 80}}, 1, 3, ZoomTransition::zoom, ZoomTransition::zoom));
    const TweenScene scene = sceneWith({320, 200}, layers);
    EXPECT_GOLDEN(drawnFrame(scene, 1.25), "frame-zoom-quarter");
    EXPECT_GOLDEN(drawnFrame(scene, 2), "frame-zoom-full");
    EXPECT_GOLDEN(drawnFrame(scene, 2, CGSize{320, 320}), "frame-zoom-letterboxed");
}

} // namespace
} // namespace larkspool
