#include "canvas/layer_upkeep.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

/// The zoom as it is after normalising a scene of that size.
Layer normalizedZoom(const Layer& zoom, CGSize size = {1920, 1080})
{
    TweenScene scene{.width = size.width, .height = size.height, .layers = {zoom}};
    normalizeZoomLayers(scene);
    return scene.layers[0];
}

Layer zoomAt(CGRect box)
{
    return kindNamed('z', Layer::Kind::zoom, box);
}

TEST(ZoomNormalisation, AZoomTakesTheScenesAspectByItsWidth)
{
    struct Case {
        const char* what;
        CGSize scene, zoom, expected;
    };
    for (const Case& c :
         {Case{"333 by 999", {1920, 1080}, {333, 999}, {333, 187}}, Case{"as it should be", {1920, 1080}, {960, 540}, {960, 540}},
          Case{"halves go up", {1000, 500}, {5, 9}, {5, 3}}, Case{"no width", {1920, 1080}, {0, 50}, {1, 1}},
          Case{"a width below 0", {1920, 1080}, {-40, 50}, {1, 1}}, Case{"a very wide scene", {10000, 10}, {20, 50}, {20, 1}}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(normalizedZoom(zoomAt({{0, 0}, c.zoom}), c.scene).size, c.expected);
    }
}

TEST(ZoomNormalisation, AZoomAndTheKeyframesOfItsPlaceAreHeldWithinTheScene)
{
    Layer zoom = zoomAt({{-5, 900}, {960, 540}});
    zoom.keyframes = {keyAt(Property::x, 0, -10), keyAt(Property::x, 1, 961), keyAt(Property::y, 1, 541),
                      keyAt(Property::y, 2, 30), keyAt(Property::width, 1, 5000)};
    const Layer held = normalizedZoom(zoom);
    EXPECT_EQ(held.transform.x, 0);
    EXPECT_EQ(held.transform.y, 540);
    const double values[] = {0, 960, 540, 30, 5000};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        EXPECT_EQ(held.keyframes[i].value, KeyValue(values[i])) << i;
        EXPECT_EQ(held.keyframes[i].id, zoom.keyframes[i].id) << i;
    }
}

TEST(ZoomNormalisation, APlaceIsHeldOnAllFourSides)
{
    struct Case {
        const char* what;
        CGPoint place, held;
    };
    for (const Case& c : {Case{"left and above", {-1, -2}, {0, 0}}, Case{"right", {961, 3}, {960, 3}},
                          Case{"below", {3, 541}, {3, 540}}, Case{"just within", {960, 540}, {960, 540}}}) {
        SCOPED_TRACE(c.what);
        Layer zoom = zoomAt({c.place, {960, 540}});
        zoom.keyframes = {keyAt(Property::x, 1, c.place.x), keyAt(Property::y, 1, c.place.y)};
        const Layer held = normalizedZoom(zoom);
        EXPECT_EQ((CGPoint{held.transform.x, held.transform.y}), c.held);
        EXPECT_EQ(held.keyframes[0].value, KeyValue(c.held.x));
        EXPECT_EQ(held.keyframes[1].value, KeyValue(c.held.y));
    }
}

TEST(ZoomNormalisation, AKeyframeThatHoldsNoNumberStays)
{
    Layer zoom = zoomAt({{0, 0}, {960, 540}});
    zoom.keyframes = {{.property = Property::x, .time = 1, .value = SharedString("odd")}};
    EXPECT_EQ(normalizedZoom(zoom), zoom);
}

TEST(ZoomNormalisation, AZoomWiderThanTheSceneIsHeldAtZero)
{
    const Layer wide = normalizedZoom(zoomAt({{300, 300}, {4000, 10}}));
    EXPECT_EQ(wide.size, (CGSize{4000, 2250}));
    EXPECT_EQ(wide.transform.x, 0);
    EXPECT_EQ(wide.transform.y, 0);
}

TEST(ZoomNormalisation, OtherLayersStayAsTheyAre)
{
    Layer picture = zoomAt({{-5, 900}, {333, 999}});
    picture.zoomType = ZoomType::pictureInPicture;
    const Layer nested = groupNamed('g', {zoomAt({{-5, 900}, {333, 999}})});
    for (const Layer& layer : {picture, nested, layerNamed('a', {{-5, 900}, {333, 999}})})
        EXPECT_EQ(normalizedZoom(layer), layer) << layer.name.view();
}

TEST(ZoomNormalisation, ASceneWithoutAnAreaKeepsItsZooms)
{
    const Layer zoom = zoomAt({{-5, 900}, {333, 999}});
    EXPECT_EQ(normalizedZoom(zoom, {0, 100}), zoom);
    EXPECT_EQ(normalizedZoom(zoom, {100, 0}), zoom);
    EXPECT_EQ(normalizedZoom(zoom, {-3, 100}), zoom);
}

TEST(ZoomNormalisation, ASizeBeyondAllNumbersStaysANumber)
{
    const Layer zoom = normalizedZoom(zoomAt({{0, 0}, {1e308, 1}}), {1, 1e6});
    EXPECT_TRUE(std::isfinite(zoom.size.height));
}

TEST(ZoomNormalisation, WhatIsInPlaceStaysShared)
{
    TweenScene scene{.width = 1920, .height = 1080, .layers = {layerNamed('a'), zoomAt({{10, 10}, {960, 540}})}};
    const TweenScene before = scene;
    normalizeZoomLayers(scene);
    EXPECT_TRUE(scene.layers.sharesStorageWith(before.layers));
}

TEST(LayerUpkeep, EveryEditNormalisesZoomsAndFitsTexts)
{
    Layer text = kindNamed('t', Layer::Kind::text, {{0, 0}, {1, 1}});
    text.text = SharedString("four");
    text.fontSize = 20;
    Studio studio(sceneHolding({zoomAt({{0, 0}, {100, 1}}), groupNamed('g', {text})}));
    studio.commit.mutate("Edit", [](TweenScene&) {});
    EXPECT_EQ(studio.scene().layers[0].size, (CGSize{100, 50}));
    // 4 glyphs of 10, and 4; the line of 20 + 5, and 4.
    EXPECT_EQ(studio.scene().layers[1].children[0].size, (CGSize{44, 29}));
}

} // namespace
} // namespace larkspool
