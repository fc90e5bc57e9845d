#include "evaluation/evaluated_frame.h"

#include "evaluation/interpolation.h"
#include "evaluation_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

class EvaluatedFrameTest : public testing::Test {
protected:
    void SetUp() override { Interpolation::invalidate(); }
};

class FrameZoomTest : public EvaluatedFrameTest {};

Layer zoomLayer(CGRect rect, std::vector<TimeSpan> spans, ZoomType type = ZoomType::fullScreen)
{
    Layer layer = layerAt(rect.origin, rect.size, Layer::Kind::zoom);
    layer.zoomType = type;
    layer.spans = std::move(spans);
    return layer;
}

TimeSpan zoomSpan(double start, double end, ZoomTransition in = ZoomTransition::zoom, ZoomTransition out = ZoomTransition::zoom)
{
    return {.start = start, .end = end, .zoomStart = in, .zoomEnd = out};
}

Layer named(Layer layer, const char* name)
{
    layer.name = name;
    return layer;
}

Layer pulsed(Layer layer, double time, PulseEffects effects)
{
    layer.pulses = {{.time = time, .effects = effects}};
    return layer;
}

std::vector<std::string> namesOf(const std::vector<EvaluatedLayer>& layers)
{
    std::vector<std::string> names;
    for (const EvaluatedLayer& evaluated : layers) names.push_back(evaluated.layer.name.string());
    return names;
}

EvaluatedLayer onlyLayer(const Layer& layer, double time)
{
    return evaluateFrame(sceneOf({layer}), time).layers.at(0);
}

void expectNear(CGPoint point, CGPoint expected)
{
    EXPECT_NEAR(point.x, expected.x, 1e-9);
    EXPECT_NEAR(point.y, expected.y, 1e-9);
}

} // namespace

// The zoom of the frame.

TEST_F(FrameZoomTest, ItEasesInOverHalfASecondAndOutAgain)
{
    // The scene is 1920 x 1080. At k = 0.5 the frame looked at is 1440 x 810, at 0.125 it is 1800 x 1012.5.
    const TweenScene scene = sceneOf({zoomLayer({{400, 300}, {960, 540}}, {zoomSpan(1, 4)})});
    const struct Case {
        double time, k, scale;
        CGPoint translate;
    } cases[] = {
        {1, 0, 1, {0, 0}},
        {1.125, 0.125, 16.0 / 15, {-50, -37.5}},
        {1.25, 0.5, 4.0 / 3, {-200, -150}},
        {1.5, 1, 2, {-400, -300}},
        {3, 1, 2, {-400, -300}},
        {3.875, 0.125, 16.0 / 15, {-50, -37.5}},
        {4, 0, 1, {0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.time);
        const std::optional<FrameZoom> zoom = evaluateFrame(scene, c.time).zoom;
        ASSERT_TRUE(zoom);
        EXPECT_EQ(zoom->layer, scene.layers[0].id);
        EXPECT_DOUBLE_EQ(zoom->k, c.k);
        EXPECT_DOUBLE_EQ(zoom->scale, c.scale);
        expectNear(zoom->translate, c.translate);
        EXPECT_EQ(zoom->alpha, 1);
    }
    EXPECT_FALSE(evaluateFrame(scene, 0.99).zoom);
    EXPECT_FALSE(evaluateFrame(scene, 4.01).zoom);
}

TEST_F(FrameZoomTest, EachTransitionRulesItsOwnEnd)
{
    using enum ZoomTransition;
    const struct Case {
        ZoomTransition in, out;
        double time, k, alpha;
        const char* why;
    } cases[] = {
        {none, none, 1, 1, 1, "cuts in"},
        {none, none, 4, 1, 1, "cuts out"},
        {fade, fade, 1, 1, 0, "a fade frames at once"},
        {fade, fade, 1.125, 1, 0.125, "and its alpha eases"},
        {fade, fade, 2, 1, 1, "up to 1"},
        {fade, fade, 3.75, 1, 0.5, "and down"},
        {zoom, none, 1.25, 0.5, 1, "eases in"},
        {zoom, none, 4, 1, 1, "and cuts out"},
        {none, zoom, 1, 1, 1, "cuts in"},
        {none, zoom, 4, 0, 1, "and eases out"},
        {zoom, fade, 1.25, 0.5, 1, "zooms in"},
        {zoom, fade, 3.75, 1, 0.5, "and fades out"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(fileValue(c.in)) + ", " + std::string(fileValue(c.out)) + ": " + c.why);
        const TweenScene scene = sceneOf({zoomLayer({{0, 0}, {960, 540}}, {zoomSpan(1, 4, c.in, c.out)})});
        const std::optional<FrameZoom> result = evaluateFrame(scene, c.time).zoom;
        ASSERT_TRUE(result);
        EXPECT_DOUBLE_EQ(result->k, c.k);
        EXPECT_DOUBLE_EQ(result->alpha, c.alpha);
    }
}

TEST_F(FrameZoomTest, AShortSpanRampsOverHalfItsLengthAndPeaksForAnInstant)
{
    const TweenScene scene = sceneOf({zoomLayer({{0, 0}, {960, 540}}, {zoomSpan(0, 0.6)})});
    const struct Case {
        double time, k;
    } cases[] = {{0, 0}, {0.15, 0.5}, {0.3, 1}, {0.225, 0.875}, {0.375, 0.875}, {0.45, 0.5}, {0.6, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.time);
        EXPECT_NEAR(evaluateFrame(scene, c.time).zoom->k, c.k, 1e-9);
    }
}

TEST_F(FrameZoomTest, TheScaleIsTheSmallerQuotientOfTheSides)
{
    const struct Case {
        CGSize scene, zoom;
        double scale;
        const char* why;
    } cases[] = {
        {{1920, 1080}, {960, 1080}, 1, "1920 / 960 against 1080 / 1080"},
        {{1920, 1080}, {1920, 270}, 1, "1 against 4"},
        {{1920, 1080}, {480, 135}, 4, "4 against 8"},
        {{1920, 1080}, {0.25, -7}, 1080, "a side counts as 1 at least"},
        {{1920, 1080}, {3840, 2160}, 0.5, "a zoom beyond the scene shows more"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        TweenScene scene = sceneOf({zoomLayer({{0, 0}, c.zoom}, {zoomSpan(0, 10)})});
        scene.width = c.scene.width;
        scene.height = c.scene.height;
        EXPECT_DOUBLE_EQ(evaluateFrame(scene, 5).zoom->scale, c.scale);
    }
}

TEST_F(FrameZoomTest, ASideBelowOneLeavesTheScenesSideAsTheQuotient)
{
    TweenScene scene = sceneOf({zoomLayer({{0, 0}, {1, 1}}, {zoomSpan(0, 10)})});
    scene.width = 0.5;
    scene.height = 8;
    EXPECT_EQ(evaluateFrame(scene, 0).zoom->scale, 0.5) << "at k = 0 the sides are 0.5 and 8";
}

TEST_F(FrameZoomTest, TheZoomsKeyframesMoveItsRectangle)
{
    Layer zoom = zoomLayer({{0, 0}, {960, 540}}, {zoomSpan(0, 10)});
    zoom.keyframes = {key(Property::x, 4, 100.0), key(Property::x, 6, 300.0), key(Property::width, 0, 480.0),
                      key(Property::height, 0, 270.0)};
    const std::optional<FrameZoom> result = evaluateFrame(sceneOf({zoom}), 5).zoom;
    EXPECT_EQ(result->scale, 4);
    expectNear(result->translate, {-200, 0});
}

TEST_F(FrameZoomTest, TheLastFullScreenZoomThatShowsAndHasTheTimeWins)
{
    const CGRect rect{{0, 0}, {960, 540}};
    const Layer lower = named(zoomLayer(rect, {zoomSpan(0, 10)}), "lower");
    const auto upper = [&](auto change) {
        Layer layer = named(zoomLayer(rect, {zoomSpan(0, 10)}), "upper");
        change(layer);
        return layer;
    };
    const struct Case {
        Layer upper;
        const char* winner;
        const char* why;
    } cases[] = {
        {upper([](Layer&) {}), "upper", "the later in the list"},
        {upper([](Layer& layer) { layer.isHidden = true; }), "lower", "the later is hidden"},
        {upper([](Layer& layer) { layer.spans = {zoomSpan(20, 30)}; }), "lower", "the later has another time"},
        {upper([](Layer& layer) { layer.spans = {}; }), "lower", "without spans it shows, but zooms nothing"},
        {upper([](Layer& layer) { layer.zoomType = ZoomType::pictureInPicture; }), "lower", "of the other type"},
        {upper([](Layer& layer) { layer.kind = Layer::Kind::group; }), "lower", "no zoom"},
        {upper([](Layer& layer) { layer.spans = {zoomSpan(5, 5)}; }), "lower", "its span has no length"},
        {upper([](Layer& layer) { layer.spans = {zoomSpan(5, 5), zoomSpan(4, 6)}; }), "upper", "its second span has"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        const TweenScene scene = sceneOf({lower, c.upper});
        const std::optional<ActiveZoom> active = activeZoomSpan(scene, 5);
        ASSERT_TRUE(active);
        EXPECT_EQ(active->layer->name, c.winner);
    }
}

TEST_F(FrameZoomTest, OfItsSpansTheFirstThatHasTheTimeCounts)
{
    const TweenScene scene = sceneOf({zoomLayer({}, {zoomSpan(8, 9), zoomSpan(0, 6), zoomSpan(4, 10)})});
    EXPECT_EQ(activeZoomSpan(scene, 5)->span, &scene.layers[0].spans[1]);
    EXPECT_EQ(activeZoomSpan(scene, 7)->span, &scene.layers[0].spans[2]);
}

TEST_F(FrameZoomTest, AZoomInsideAGroupMovesNoFrame)
{
    EXPECT_FALSE(evaluateFrame(sceneOf({groupOf({zoomLayer({{0, 0}, {96, 54}}, {zoomSpan(0, 10)})})}), 5).zoom);
}

TEST_F(FrameZoomTest, ASpanTooShortToHalveIsDoneAtOnce)
{
    const double smallest = 5e-324;
    const TweenScene scene = sceneOf({zoomLayer({{0, 0}, {960, 540}}, {zoomSpan(0, smallest)})});
    const std::optional<FrameZoom> zoom = evaluateFrame(scene, 0).zoom;
    ASSERT_TRUE(zoom);
    EXPECT_EQ(zoom->k, 1);
}

// Which layers show.

TEST_F(EvaluatedFrameTest, ItTellsTheSceneAndTheLayersThatShowInTheirOrder)
{
    Layer hidden = named(Layer{}, "hidden"), gone = named(Layer{}, "gone"), view = named(Layer{}, "view");
    hidden.isHidden = true;
    gone.spans = {span(5, 6)};
    view.pipRendition = true;
    TweenScene scene = sceneOf({named(Layer{}, "back"), hidden, gone, view, named(Layer{}, "front")});
    scene.width = 640;
    scene.height = 360;
    scene.background = {0.1, 0.2, 0.3, 1};

    const EvaluatedFrame frame = evaluateFrame(scene, 1);
    EXPECT_EQ(frame.sceneSize, (CGSize{640, 360}));
    EXPECT_EQ(frame.background, scene.background);
    EXPECT_EQ(frame.time, 1);
    EXPECT_THAT(namesOf(frame.layers), testing::ElementsAre("back", "view", "front"));
    EXPECT_TRUE(frame.viewports.empty());
}

TEST_F(EvaluatedFrameTest, OfTheChildrenThoseThatShowAndAreNoViewports)
{
    Layer hidden = named(Layer{}, "hidden"), gone = named(Layer{}, "gone"), view = named(Layer{}, "view");
    hidden.isHidden = true;
    gone.spans = {span(5, 6)};
    view.pipRendition = true;
    for (const Layer::Kind kind : {Layer::Kind::group, Layer::Kind::zoom, Layer::Kind::text}) {
        SCOPED_TRACE(fileValue(kind));
        Layer parent = groupOf({named(Layer{}, "back"), hidden, gone, view, named(Layer{}, "front")});
        parent.kind = kind;
        EXPECT_THAT(namesOf(onlyLayer(parent, 1).children), testing::ElementsAre("back", "front"));
    }
}

// How a layer is prepared.

TEST_F(EvaluatedFrameTest, KeyframesThenSpanEffectsThenThePulse)
{
    Layer layer = pulsed(layerAt({0, 0}, {100, 50}), 0.3, {PulseEffect::scale});
    layer.keyframes = {key(Property::opacity, 0, 0.8), key(Property::scaleX, 0, 3.0), key(Property::x, 0, 10.0)};
    layer.spans = {span(0, 5, {{.kind = SpanEffect::Kind::slideInLeft, .duration = 1}})};
    // At 0.5 s the effect is half done and eased to 0.75; the pulse is 0.2 s old, at the bottom of its dip.
    const EvaluatedLayer result = onlyLayer(layer, 0.5);
    EXPECT_DOUBLE_EQ(result.layer.opacity, 0.6);
    EXPECT_DOUBLE_EQ(result.layer.transform.x, 10 - 0.25 * 140);
    EXPECT_NEAR(result.layer.transform.scaleX, 3 * 0.78, 1e-9);
    EXPECT_NEAR(result.layer.transform.scaleY, 0.78, 1e-9);
    EXPECT_EQ(result.transform, result.layer.transform.cgAffine({100, 50}));
    EXPECT_EQ(result.glow, 0);
}

TEST_F(EvaluatedFrameTest, AHiddenLayerCanBePreparedOnItsOwn)
{
    Layer layer = pulsed(Layer{}, 0, {PulseEffect::scale, PulseEffect::glow});
    layer.isHidden = true;
    layer.keyframes = {key(Property::x, 0, 10.0)};
    const PreparedLayer prepared = prepareLayer(layer, {}, nullptr, 0.5);
    EXPECT_EQ(prepared.layer.transform.x, 10);
    EXPECT_DOUBLE_EQ(prepared.pulse.glow, 1.4);
    EXPECT_EQ(prepared.layer.transform.scaleY, prepared.pulse.scale);
}

TEST_F(EvaluatedFrameTest, PlacedChildrenAreLaidOutInAGroupAndAsStoredElsewhere)
{
    Layer stack = groupOf({layerAt({0, 0}, {10, 10}), layerAt({0, 0}, {10, 10})}, {}, GroupLayout::horizontal);
    EXPECT_EQ(placedChildren(stack, 0)[1].transform.x, 18);
    stack.kind = Layer::Kind::zoom;
    EXPECT_TRUE(placedChildren(stack, 0).sharesStorageWith(stack.children));
}

TEST_F(EvaluatedFrameTest, TheGlowIsInTheLayersOwnColour)
{
    Layer layer = pulsed(Layer{}, 1, {PulseEffect::glow});
    layer.fill = {0.25, 0.5, 0.75, 1};
    const EvaluatedLayer lit = onlyLayer(layer, 1.5);
    EXPECT_DOUBLE_EQ(lit.glow, 1.4);
    EXPECT_EQ(lit.glowColor, layer.fill);
    EXPECT_FALSE(lit.radiateProgress);
    EXPECT_EQ(lit.layer.transform, layer.transform) << "a glow does not scale";

    const EvaluatedLayer before = onlyLayer(layer, 0.9);
    EXPECT_EQ(before.glow, 0);
    EXPECT_EQ(before.glowColor, ColorRGBA{});
}

TEST_F(EvaluatedFrameTest, AGlowKnowsTheShadowThatTheLayerIsStoredWith)
{
    Layer layer = pulsed(Layer{}, 1, {PulseEffect::glow});
    layer.shadow = ShadowPreset::low;
    layer.keyframes = {key(Property::shadow, 0, ShadowPreset::none)};
    EXPECT_EQ(onlyLayer(layer, 1.5).storedShadow, ShadowPreset::low);
    EXPECT_EQ(onlyLayer(layer, 1.5).layer.shadow, ShadowPreset::none);
    EXPECT_EQ(onlyLayer(layer, 0.5).storedShadow, ShadowPreset::none) << "without a glow, it plays no part";
}

TEST_F(EvaluatedFrameTest, ALayerWithoutAColourGlowsWhite)
{
    Layer layer = pulsed(Layer{}, 0, {PulseEffect::glow});
    layer.fill = layer.stroke = ColorRGBA::clear;
    EXPECT_EQ(onlyLayer(layer, 0.5).glowColor, ColorRGBA::white);
}

TEST_F(EvaluatedFrameTest, RingsGoOutFromTheResolvedLayer)
{
    Layer layer = pulsed(layerAt({100, 200}, {40, 20}), 1, {PulseEffect::radiate});
    layer.keyframes = {key(Property::x, 0, 300.0)};
    layer.spans = {span(0, 5, {{.kind = SpanEffect::Kind::slideInLeft, .duration = 5}})};
    layer.fill = {0.25, 0.5, 0.75, 1};
    const EvaluatedLayer result = onlyLayer(layer, 1.25);
    EXPECT_EQ(result.radiateProgress, 0.25);
    EXPECT_EQ(result.radiateCenter, (CGPoint{320, 210})) << "a slide does not move them";
    EXPECT_EQ(result.glowColor, layer.fill);
    EXPECT_EQ(result.glow, 0);
    EXPECT_FALSE(onlyLayer(layer, 2.5).radiateProgress);
}

TEST_F(EvaluatedFrameTest, WithoutASceneThereAreNoRings)
{
    const Layer child = pulsed(Layer{}, 0, {PulseEffect::radiate, PulseEffect::glow});
    const Layer group = groupOf({child});
    const TweenScene scene = sceneOf({});
    EXPECT_FALSE(evaluateSubtree(group, group, {}, nullptr, 0.5).children[0].radiateProgress);
    EXPECT_DOUBLE_EQ(evaluateSubtree(group, group, {}, nullptr, 0.5).children[0].glow, 1.4);
    EXPECT_TRUE(evaluateSubtree(group, group, {}, &scene, 0.5).children[0].radiateProgress);
}

TEST_F(EvaluatedFrameTest, ChildrenHoverWhereTheirParentStandsAndOnlyInAScene)
{
    Layer hotspot = layerAt({110, 220}, {10, 10}, Layer::Kind::hotspot);
    hotspot.cursorHoverOverride = CursorVariant::pointer;
    const TweenScene scene = sceneOf({hotspot});
    // The parent is at (10, 20) of an origin of (100, 200).
    const Layer parent = groupOf({layerAt({0, 0}, {5, 5}, Layer::Kind::cursor)}, {10, 20});
    const auto variant = [&](CGPoint origin, const TweenScene* in) {
        return evaluateSubtree(parent, parent, origin, in, 0).children[0].layer.cursorVariant;
    };
    EXPECT_EQ(variant({100, 200}, &scene), CursorVariant::pointer);
    EXPECT_EQ(variant({0, 0}, &scene), CursorVariant::arrow);
    EXPECT_EQ(variant({100, 200}, nullptr), CursorVariant::arrow);
}

// Transforms.

TEST_F(EvaluatedFrameTest, AGroupTurnsAboutItsAnchorInWhatItsDescendantsCover)
{
    // The child covers (10, 10, 40, 20), so that the middle is (30, 20).
    Layer group = groupOf({layerAt({10, 10}, {40, 20})}, {100, 50});
    group.transform.rotation = 90;
    const AffineTransform turned = onlyLayer(group, 0).transform;
    expectNear(turned.apply(CGPoint{30, 20}), {130, 70});
    expectNear(turned.apply(CGPoint{50, 20}), {130, 90});

    group.transform.rotation = 0;
    group.transform.scaleX = group.transform.scaleY = 2;
    group.transform.anchorX = 0;
    group.transform.anchorY = 1;
    const AffineTransform scaled = onlyLayer(group, 0).transform;
    expectNear(scaled.apply(CGPoint{10, 30}), {110, 80});
    expectNear(scaled.apply(CGPoint{20, 30}), {130, 80});
}

TEST_F(EvaluatedFrameTest, WhatAGroupCoversIsWithoutHiddenChildrenAndSpanEffects)
{
    Layer hidden = layerAt({900, 900}, {10, 10});
    hidden.isHidden = true;
    Layer sliding = layerAt({0, 0}, {100, 100});
    sliding.spans = {span(0, 9, {{.kind = SpanEffect::Kind::slideInLeft, .duration = 9}})};
    Layer group = groupOf({sliding, hidden});
    group.transform.rotation = 180;
    expectNear(onlyLayer(group, 0.5).transform.apply(CGPoint{50, 50}), {50, 50});
}

TEST_F(EvaluatedFrameTest, AStackTurnsAboutItsLaidOutChildren)
{
    Layer group = groupOf({layerAt({0, 0}, {10, 10}), layerAt({500, 0}, {10, 10})}, {}, GroupLayout::horizontal);
    group.groupGap = 20;
    group.transform.rotation = 180;
    const EvaluatedLayer result = onlyLayer(group, 0);
    expectNear(result.transform.apply(CGPoint{20, 5}), {20, 5});
    expectNear(result.children[1].transform.apply(CGPoint{0, 0}), {30, 0});
}

TEST_F(EvaluatedFrameTest, AGroupOfNothingVisibleTurnsAboutItsOwnSize)
{
    Layer child = layerAt({10, 10}, {40, 20});
    child.isHidden = true;
    Layer group = groupOf({child}, {100, 50});
    group.size = {200, 100};
    group.transform.rotation = 90;
    expectNear(onlyLayer(group, 0).transform.apply(CGPoint{100, 50}), {200, 100});
}

TEST_F(EvaluatedFrameTest, OtherParentsTurnAboutTheirOwnSize)
{
    Layer text = groupOf({layerAt({500, 500}, {40, 20})}, {100, 50});
    text.kind = Layer::Kind::text;
    text.transform.rotation = 90;
    const EvaluatedLayer result = onlyLayer(text, 0);
    expectNear(result.transform.apply(CGPoint{100, 100}), {200, 150});
    ASSERT_EQ(result.children.size(), 1u);
    expectNear(result.children[0].transform.apply(CGPoint{0, 0}), {500, 500});
}

// Hover.

TEST_F(EvaluatedFrameTest, ACursorDeepInGroupsHoversAtItsAbsolutePlace)
{
    Layer hotspot = layerAt({160, 240}, {10, 10}, Layer::Kind::hotspot);
    hotspot.cursorHoverOverride = CursorVariant::pointer;
    const Layer cursor = layerAt({10, 15}, {20, 20}, Layer::Kind::cursor);
    // 100 + 50 + 10 = 160 and 200 + 25 + 15 = 240.
    const auto variant = [&](CGPoint outer, CGPoint inner) {
        Interpolation::invalidate();
        const EvaluatedFrame frame = evaluateFrame(sceneOf({groupOf({groupOf({cursor}, inner)}, outer), hotspot}), 0);
        return frame.layers[0].children[0].children[0].layer.cursorVariant;
    };
    EXPECT_EQ(variant({100, 200}, {50, 25}), CursorVariant::pointer);
    EXPECT_EQ(variant({0, 0}, {50, 25}), CursorVariant::arrow);
    EXPECT_EQ(variant({100, 200}, {0, 0}), CursorVariant::arrow);
}

TEST_F(EvaluatedFrameTest, ACursorOnTheCanvasHovers)
{
    Layer hotspot = layerAt({0, 0}, {50, 50}, Layer::Kind::hotspot);
    hotspot.cursorHoverOverride = CursorVariant::grab;
    Layer cursor = layerAt({0, 0}, {20, 20}, Layer::Kind::cursor);
    cursor.keyframes = {key(Property::x, 0, 0.0), key(Property::x, 1, 100.0)};
    const TweenScene scene = sceneOf({hotspot, cursor});
    EXPECT_EQ(evaluateFrame(scene, 0.25).layers[1].layer.cursorVariant, CursorVariant::grab);
    EXPECT_EQ(evaluateFrame(scene, 0.75).layers[1].layer.cursorVariant, CursorVariant::arrow);
}

// Views of a picture-in-picture zoom.

namespace {

Layer viewOf(const char* name)
{
    Layer view = named(layerAt({30, 40}, {160, 90}), name);
    view.pipRendition = true;
    return view;
}

Layer pictureInPicture(std::vector<Layer> children)
{
    Layer zoom = zoomLayer({{10, 20}, {320, 180}}, {}, ZoomType::pictureInPicture);
    zoom.children = std::move(children);
    return zoom;
}

} // namespace

TEST_F(EvaluatedFrameTest, EachViewOfAPictureInPictureZoomIsPreparedWithTheResolvedZoom)
{
    Layer hidden = viewOf("hidden"), gone = viewOf("gone"), view = viewOf("view");
    hidden.isHidden = true;
    gone.spans = {span(5, 6)};
    view.pulses = {{.time = 0.5, .effects = {PulseEffect::glow, PulseEffect::radiate}}};
    view.keyframes = {key(Property::x, 0, 50.0)};
    view.children = {Layer{}};
    Layer zoom = pictureInPicture({hidden, named(Layer{}, "ordinary"), view, gone});
    zoom.keyframes = {key(Property::x, 0, 77.0)};
    const EvaluatedFrame frame = evaluateFrame(sceneOf({zoom, named(Layer{}, "other")}), 1);

    EXPECT_THAT(namesOf(frame.layers[0].children), testing::ElementsAre("ordinary"));
    ASSERT_EQ(frame.viewports.size(), 1u);
    const EvaluatedViewport& viewport = frame.viewports[0];
    EXPECT_EQ(viewport.child.layer.name, "view");
    EXPECT_EQ(viewport.child.transform.apply(CGPoint{0, 0}), (CGPoint{50, 40}));
    EXPECT_DOUBLE_EQ(viewport.child.glow, 1.4);
    EXPECT_EQ(viewport.child.glowColor, view.fill);
    EXPECT_EQ(viewport.child.radiateProgress, 0.5);
    EXPECT_EQ(viewport.child.radiateCenter, (CGPoint{130, 85}));
    EXPECT_TRUE(viewport.child.children.empty());
    EXPECT_EQ(viewport.parent.transform.x, 77);
}

TEST_F(EvaluatedFrameTest, ThereAreNoViewsOfAZoomThatDoesNotShow)
{
    Layer zoom = pictureInPicture({viewOf("view")});
    EXPECT_EQ(evaluateFrame(sceneOf({zoom}), 1).viewports.size(), 1u);
    EXPECT_EQ(evaluateFrame(sceneOf({groupOf({zoom})}), 1).viewports.size(), 0u) << "inside a group";
    zoom.isHidden = true;
    EXPECT_EQ(evaluateFrame(sceneOf({zoom}), 1).viewports.size(), 0u) << "hidden";
    zoom.isHidden = false;
    zoom.spans = {span(5, 6)};
    EXPECT_EQ(evaluateFrame(sceneOf({zoom}), 1).viewports.size(), 0u) << "outside its spans";
    zoom.spans = {};
    zoom.zoomType = ZoomType::fullScreen;
    EXPECT_EQ(evaluateFrame(sceneOf({zoom}), 1).viewports.size(), 0u) << "of the other type";
}

// What moves by itself, and when two frames are equal.

TEST_F(EvaluatedFrameTest, VideosGradientFieldsAndWaitingCursorsMoveByThemselves)
{
    const auto changed = [](Layer::Kind kind, auto change) {
        Layer layer = layerAt({0, 0}, {10, 10}, kind);
        layer.videoClip.sceneEnd = 10;
        change(layer);
        return layer;
    };
    const auto plain = [&](Layer::Kind kind) { return changed(kind, [](Layer&) {}); };
    const struct Case {
        Layer layer;
        bool moves;
        const char* what;
    } cases[] = {
        {plain(Layer::Kind::rectangle), false, "a rectangle"},
        {plain(Layer::Kind::video), true, "a video"},
        {changed(Layer::Kind::video, [](Layer& layer) { layer.isHidden = true; }), false, "a hidden video"},
        {changed(Layer::Kind::video, [](Layer& layer) { layer.videoClip.sceneEnd = 1; }), false, "a video past its clip"},
        {plain(Layer::Kind::gradientField), true, "a gradient field"},
        {changed(Layer::Kind::gradientField, [](Layer& layer) { layer.gradientWarpSpeed = 0; }), true, "one that only breathes"},
        {changed(Layer::Kind::gradientField, [](Layer& layer) { layer.gradientPulseAmount = 0; }), true, "one that only drifts"},
        {changed(Layer::Kind::gradientField,
                 [](Layer& layer) { layer.gradientWarpSpeed = layer.gradientPulseAmount = -1; }),
         false, "one that does neither"},
        {plain(Layer::Kind::cursor), false, "an arrow"},
        {changed(Layer::Kind::cursor, [](Layer& layer) { layer.cursorVariant = CursorVariant::wait; }), true, "a waiting cursor"},
        {changed(Layer::Kind::cursor,
                 [](Layer& layer) { layer.keyframes = {key(Property::cursorVariant, 0, CursorVariant::wait)}; }),
         true, "one that is set to wait by a keyframe"},
        {pulsed(Layer{}, 1.5, {PulseEffect::radiate}), false, "rings, whose age is told"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(evaluateFrame(sceneOf({c.layer}), 2).movesByItself, c.moves);
        EXPECT_EQ(evaluateFrame(sceneOf({Layer{}, groupOf({groupOf({c.layer})})}), 2).movesByItself, c.moves) << "in groups";
    }
}

TEST_F(EvaluatedFrameTest, FramesOfAStillSceneAreEqualAtAnyTime)
{
    Layer moving = Layer{};
    moving.keyframes = {key(Property::x, 0, 0.0), key(Property::x, 2, 100.0)};
    const TweenScene scene =
        sceneOf({groupOf({moving, Layer{}}, {}, GroupLayout::vertical), moving, pictureInPicture({viewOf("view")})});
    EXPECT_EQ(evaluateFrame(scene, 2), evaluateFrame(scene, 7));
    EXPECT_FALSE(evaluateFrame(scene, 1) == evaluateFrame(scene, 2));
}

TEST_F(EvaluatedFrameTest, AnythingThatShowsDifferentlyMakesFramesDiffer)
{
    const EvaluatedFrame frame = evaluateFrame(
        sceneOf({groupOf({Layer{}}), pictureInPicture({viewOf("view")}), zoomLayer({{1, 1}, {96, 54}}, {zoomSpan(0, 9)})}), 1);
    const struct Case {
        const char* what;
        void (*change)(EvaluatedFrame&);
    } cases[] = {
        {"scene size", [](EvaluatedFrame& changed) { changed.sceneSize.width += 1; }},
        {"background", [](EvaluatedFrame& changed) { changed.background.r = 0.5; }},
        {"zoom", [](EvaluatedFrame& changed) { changed.zoom->k = 0.5; }},
        {"no zoom", [](EvaluatedFrame& changed) { changed.zoom.reset(); }},
        {"layer", [](EvaluatedFrame& changed) { changed.layers[0].layer.opacity = 0.5; }},
        {"transform", [](EvaluatedFrame& changed) { changed.layers[0].transform.tx += 1; }},
        {"glow", [](EvaluatedFrame& changed) { changed.layers[0].glow = 0.5; }},
        {"stored shadow", [](EvaluatedFrame& changed) { changed.layers[0].storedShadow = ShadowPreset::high; }},
        {"rings", [](EvaluatedFrame& changed) { changed.layers[0].radiateProgress = 0.5; }},
        {"child", [](EvaluatedFrame& changed) { changed.layers[0].children[0].layer.fill.r = 0.9; }},
        {"count", [](EvaluatedFrame& changed) { changed.layers.pop_back(); }},
        {"view", [](EvaluatedFrame& changed) { changed.viewports[0].child.layer.fill.r = 0.9; }},
        {"view's zoom", [](EvaluatedFrame& changed) { changed.viewports[0].parent.transform.x = 5; }},
        {"moving by itself", [](EvaluatedFrame& changed) { changed.movesByItself = true; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EvaluatedFrame changed = frame;
        changed.time = 99;
        EXPECT_TRUE(changed == frame);
        c.change(changed);
        EXPECT_FALSE(changed == frame);
    }
}

// Depth, odd numbers and threads.

namespace {

/// Groups within groups, each with a layer beside the next.
Layer nested(int depth)
{
    Layer inner = layerAt({1, 1}, {10, 10});
    for (int level = 0; level < depth; ++level) {
        Layer beside = layerAt({0, 0}, {5, 5});
        beside.keyframes = {key(Property::width, 0, 5.0), key(Property::width, 2, 9.0)};
        inner = groupOf({beside, inner}, {1, 1}, static_cast<GroupLayout>(level % 3));
        inner.transform.rotation = 1;
        inner.keyframes = {key(Property::groupGap, 0, 3.0)};
    }
    return inner;
}

int depthOf(const EvaluatedLayer& layer)
{
    return layer.children.empty() ? 0 : 1 + depthOf(layer.children.back());
}

/// Some of everything that evaluation looks at.
TweenScene busyScene()
{
    std::vector<Layer> layers;
    for (int i = 0; i < 20; ++i) {
        Layer layer = layerAt({i * 30.0, i * 10.0}, {25, 25}, i % 2 ? Layer::Kind::text : Layer::Kind::ellipse);
        layer.keyframes = {key(Property::x, 0, 0.0, Easing::easeInOut()), key(Property::x, 3, 300.0),
                           key(Property::fontName, 0, SharedString("Inter")), key(Property::fontName, 2, SharedString("Serif"))};
        layer.spans = {span(0.2 * i, 4, {{.kind = SpanEffect::Kind::typeOn}, {.kind = SpanEffect::Kind::fadeIn}})};
        layer.textCursorBlinks = i % 3 == 0;
        layer.pulses = {{.time = 0.1 * i}, {.time = 0.2 * i, .effects = {PulseEffect::radiate}}};
        layers.push_back(i % 4 ? layer : groupOf({layer, layer}, {i * 2.0, 0}, GroupLayout::vertical));
    }
    Layer hotspot = layerAt({0, 0}, {500, 500}, Layer::Kind::hotspot);
    hotspot.cursorHoverOverride = CursorVariant::pointer;
    layers.push_back(hotspot);
    layers.push_back(layerAt({10, 10}, {20, 20}, Layer::Kind::cursor));
    layers.push_back(nested(12));
    layers.push_back(pictureInPicture({viewOf("view")}));
    layers.push_back(zoomLayer({{5, 5}, {960, 540}}, {zoomSpan(1, 3)}));
    return sceneOf(std::move(layers));
}

} // namespace

TEST_F(EvaluatedFrameTest, TwoHundredAndFiftyGroupsWithinEachOtherAreEvaluated)
{
    // Work that doubled with each level would not end.
    EXPECT_EQ(depthOf(onlyLayer(nested(250), 1)), 250);
    const Layer deep = nested(250);
    EXPECT_EQ(depthOf(offMainThread([&] { return onlyLayer(deep, 1); })), 250);
}

TEST_F(EvaluatedFrameTest, ASceneFullOfCursorsIsSearchedOnce)
{
    // A search for each cursor would take minutes.
    const Layer cursor = layerAt({10, 10}, {20, 20}, Layer::Kind::cursor);
    Layer hotspot = layerAt({0, 0}, {50, 50}, Layer::Kind::hotspot);
    hotspot.cursorHoverOverride = CursorVariant::grab;
    std::vector<Layer> layers(100'000, cursor);
    layers.insert(layers.begin(), hotspot);
    const EvaluatedFrame frame = evaluateFrame(sceneOf(std::move(layers)), 0);
    EXPECT_EQ(frame.layers.back().layer.cursorVariant, CursorVariant::grab);
}

TEST_F(EvaluatedFrameTest, NumbersThatAreNoneGoThroughEveryStep)
{
    const double nan = std::nan(""), infinity = std::numeric_limits<double>::infinity();
    TweenScene scene = busyScene();
    for (Layer& layer : scene.layers.edit()) {
        for (const Property property : {Property::x, Property::y, Property::width, Property::height, Property::rotation,
                                        Property::groupGap, Property::opacity, Property::scaleX}) {
            layer.keyframes.append(key(property, 0, 0.0, overdampedSpring()));
            layer.keyframes.append(key(property, 9, 10.0));
        }
        if (!layer.children.empty()) layer.children.edit()[0].keyframes = layer.keyframes;
    }
    const EvaluatedFrame frame = evaluateFrame(scene, 1);
    EXPECT_TRUE(std::isnan(frame.layers[0].layer.transform.x));
    EXPECT_FALSE(frame.layers.empty());

    for (const double number : {nan, infinity, -infinity, 1e308}) {
        SCOPED_TRACE(number);
        TweenScene odd = busyScene();
        for (Layer& layer : odd.layers.edit()) {
            layer.size = {number, number};
            layer.transform.x = number;
            layer.keyframes.append(key(Property::y, number, number, Easing::linear(), number));
            for (TimeSpan& span : layer.spans.edit()) {
                span.start = -1e308;
                span.end = 1e308;
                span.effects.append({.kind = SpanEffect::Kind::deleteOff, .duration = number});
                span.cursorBlinkRanges.append({.start = number, .end = number});
            }
            for (Pulse& pulse : layer.pulses.edit()) pulse.time = number;
        }
        EXPECT_FALSE(evaluateFrame(odd, 1).layers.empty());
        evaluateFrame(odd, number);
    }
}

TEST_F(EvaluatedFrameTest, EveryThreadEvaluatesASceneAlike)
{
    const TweenScene scene = busyScene();
    constexpr int frameCount = 40;
    std::vector<EvaluatedFrame> expected;
    for (int i = 0; i < frameCount; ++i) expected.push_back(evaluateFrame(scene, i * 0.1));

    std::vector<int> alike(4, 0);
    std::vector<std::thread> threads;
    for (int& count : alike)
        threads.emplace_back([&] {
            for (int i = 0; i < frameCount; ++i) count += evaluateFrame(scene, i * 0.1) == expected[i];
        });
    for (int i = 0; i < frameCount; ++i) EXPECT_EQ(evaluateFrame(scene, i * 0.1), expected[i]);
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(alike, testing::Each(frameCount));
}

} // namespace larkspool
