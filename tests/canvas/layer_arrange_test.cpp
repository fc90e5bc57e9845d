#include "canvas/layer_arrange.h"

#include "canvas/layers_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Kind = Layer::Kind;
using Property = Keyframe::AnimatableProperty;

CGPoint placeOf(const std::optional<Edit>& edit, char letter)
{
    const Transform& transform = after(edit, letter).transform;
    return {transform.x, transform.y};
}

/// The keyframes of the property as "time:value", in the order of the list.
std::string keysOf(const Layer& layer, Property property)
{
    std::string keys;
    for (const Keyframe& keyframe : layer.keyframes) {
        if (keyframe.property != property) continue;
        keys += (keys.empty() ? "" : " ") + std::to_string(keyframe.time).substr(0, 3) + ":" +
                std::to_string(static_cast<int>(std::get<double>(keyframe.value)));
    }
    return keys;
}

TEST(LayerVisualFrame, IsTheBoxAtThePlayhead)
{
    Layer layer = layerNamed('a', {{1, 2}, {30, 40}});
    layer.transform.rotation = 45;
    layer.transform.scaleX = 3;
    EXPECT_EQ(layerVisualFrame(layer, 0), (CGRect{{1, 2}, {30, 40}}));
    layer.keyframes = {keyAt(Property::x, 0, 100), keyAt(Property::width, 0, 50)};
    EXPECT_EQ(layerVisualFrame(layer, 1), (CGRect{{100, 2}, {50, 40}}));
}

TEST(LayerVisualFrame, OfAStoredCropIsWhatItLeaves)
{
    for (const Kind kind : {Kind::image, Kind::video}) {
        Layer media = kindNamed('a', kind, {{10, 20}, {100, 200}});
        media.cropRect = {{0.25, 0.5}, {0.5, 0.75}};
        EXPECT_EQ(layerVisualFrame(media, 0), (CGRect{{10, 20}, {100, 200}})) << "no crop";
        media.cropMode = CropMode::automatic;
        EXPECT_EQ(layerVisualFrame(media, 0), (CGRect{{10, 20}, {100, 200}})) << "an automatic one";
        media.cropMode = CropMode::manual;
        EXPECT_EQ(layerVisualFrame(media, 0), (CGRect{{35, 120}, {50, 100}})) << "held within the box";
        media.keyframes = {keyAt(Property::width, 0, 200)};
        EXPECT_EQ(layerVisualFrame(media, 0), (CGRect{{60, 120}, {100, 100}})) << "of the size at the playhead";
    }
    Layer shape = layerNamed('s', {{10, 20}, {100, 200}});
    shape.cropMode = CropMode::manual;
    shape.cropRect = {{0.25, 0.5}, {0.5, 0.5}};
    EXPECT_EQ(layerVisualFrame(shape, 0), (CGRect{{10, 20}, {100, 200}}));
}

TEST(LayerVisualFrame, OfAGroupIsWhatItHolds)
{
    Layer group = groupNamed('g', {layerNamed('a', {{0, 0}, {100, 100}})}, {10, 10});
    group.transform.scaleX = 2;
    EXPECT_EQ(layerVisualFrame(group, 0), (CGRect{{-40, 10}, {200, 100}}));
    group.transform.scaleX = -2;
    EXPECT_EQ(layerVisualFrame(group, 0), (CGRect{{-40, 10}, {200, 100}})) << "mirrored";
    group.groupSizeMode = GroupSizeMode::fixed;
    EXPECT_EQ(layerVisualFrame(group, 0), (CGRect{{10, 10}, {200, 200}}));
    EXPECT_TRUE(layerVisualFrame(groupNamed('g', {}), 0).isNull());
}

TEST(LayerVisualFrame, TheUnionSkipsWhatHasNone)
{
    const Layer a = layerNamed('a', {{0, 10}, {10, 10}}), b = layerNamed('b', {{40, 0}, {10, 10}}), empty = groupNamed('g', {});
    const Layer* const all[] = {&a, &empty, &b};
    EXPECT_EQ(unionFrame(all, 0), (CGRect{{0, 0}, {50, 20}}));
    const Layer* const none[] = {&empty};
    EXPECT_TRUE(unionFrame(none, 0).isNull());
}

TEST(Align, BringsAnEdgeOfEachToThatOfAll)
{
    struct Case {
        AlignEdge edge;
        CGPoint a, b;
    };
    // a is 10 x 10 at (0, 0), b is 30 x 50 at (100, 200): together 130 x 250 at (0, 0).
    for (const Case& c : {Case{AlignEdge::left, {0, 0}, {0, 200}}, Case{AlignEdge::hCenter, {60, 0}, {50, 200}},
                          Case{AlignEdge::right, {120, 0}, {100, 200}}, Case{AlignEdge::top, {0, 0}, {100, 0}},
                          Case{AlignEdge::vCenter, {0, 120}, {100, 100}}, Case{AlignEdge::bottom, {0, 240}, {100, 200}}}) {
        SCOPED_TRACE(fileValue(c.edge));
        const auto edit =
            alignSelected(sceneHolding({layerNamed('a'), groupNamed('g', {layerNamed('b', {{100, 200}, {30, 50}})})}),
                          idsNamed("ab"), c.edge, 0);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Align");
        EXPECT_EQ(placeOf(edit, 'a'), c.a);
        EXPECT_EQ(placeOf(edit, 'b'), c.b);
    }
}

TEST(Align, OneLayerAlignsToTheScene)
{
    const TweenScene scene = sceneHolding({layerNamed('a', {{3, 4}, {100, 50}}), layerNamed('b')});
    EXPECT_EQ(placeOf(alignSelected(scene, idsNamed("a"), AlignEdge::left, 0), 'a'), (CGPoint{0, 4}));
    EXPECT_EQ(placeOf(alignSelected(scene, idsNamed("a"), AlignEdge::right, 0), 'a'), (CGPoint{900, 4}));
    EXPECT_EQ(placeOf(alignSelected(scene, idsNamed("a"), AlignEdge::vCenter, 0), 'a'), (CGPoint{3, 225}));
}

TEST(Align, AKeyframedLayerGetsAKeyframeAtThePlayheadAndOneAtTheStart)
{
    Layer layer = layerNamed('a', {{7, 8}, {100, 50}});
    layer.keyframes = {keyAt(Property::x, 1, 40), keyAt(Property::x, 3, 60)};
    layer.keyframes.edit()[0].easing = Easing::linear();
    const TweenScene scene = sceneHolding({layer});

    const auto later = alignSelected(scene, idsNamed("a"), AlignEdge::left, 2);
    EXPECT_EQ(keysOf(after(later, 'a'), Property::x), "1.0:40 3.0:60 0.0:40 2.0:0");
    EXPECT_EQ(after(later, 'a').transform, layer.transform) << "the base value stays";

    const auto atStart = alignSelected(scene, idsNamed("a"), AlignEdge::left, 0);
    EXPECT_EQ(keysOf(after(atStart, 'a'), Property::x), "1.0:40 3.0:60 0.0:0");
}

TEST(Align, TheHeightIsKeyframedByItself)
{
    Layer layer = layerNamed('a', {{7, 8}, {100, 50}});
    layer.keyframes = {keyAt(Property::x, 1, 5), keyAt(Property::y, 1, 40), keyAt(Property::y, 3, 60)};
    layer.keyframes.edit()[1].easing = Easing::linear();
    const auto edit = alignSelected(sceneHolding({layer}), idsNamed("a"), AlignEdge::bottom, 2);
    EXPECT_EQ(keysOf(after(edit, 'a'), Property::y), "1.0:40 3.0:60 0.0:40 2.0:450");
    EXPECT_EQ(keysOf(after(edit, 'a'), Property::x), "1.0:5");
    EXPECT_EQ(after(edit, 'a').transform, layer.transform);
}

TEST(Align, APlayheadNextToTheStartNeedsNoKeyframeThere)
{
    Layer layer = layerNamed('a', {{7, 8}, {100, 50}});
    layer.keyframes = {keyAt(Property::x, 1, 40)};
    const TweenScene scene = sceneHolding({layer});
    EXPECT_EQ(after(alignSelected(scene, idsNamed("a"), AlignEdge::left, 0.0005), 'a').keyframes.size(), 2u);
    EXPECT_EQ(after(alignSelected(scene, idsNamed("a"), AlignEdge::left, 0.002), 'a').keyframes.size(), 3u);
}

TEST(Align, TheFramesAreThoseAtThePlayhead)
{
    Layer moving = layerNamed('a', {{0, 0}, {10, 10}});
    moving.keyframes = {keyAt(Property::x, 0, 50), keyAt(Property::x, 2, 90)};
    const TweenScene scene = sceneHolding({moving, layerNamed('b', {{70, 0}, {10, 10}})});
    EXPECT_EQ(placeOf(alignSelected(scene, idsNamed("ab"), AlignEdge::left, 0), 'b'), (CGPoint{50, 0}));
    EXPECT_EQ(placeOf(alignSelected(scene, idsNamed("ab"), AlignEdge::right, 2), 'b'), (CGPoint{90, 0}));
}

TEST(Align, AKeyframeAtTheStartIsNotAddedAgain)
{
    Layer layer = layerNamed('a', {{0, 0}, {100, 50}});
    layer.keyframes = {keyAt(Property::x, 0.0005, 40)};
    EXPECT_EQ(keysOf(after(alignSelected(sceneHolding({layer}), idsNamed("a"), AlignEdge::left, 2), 'a'), Property::x),
              "0.0:40 2.0:0");
}

TEST(Align, AKeyframeAtThePlayheadHandsItsEasingAndWaitOn)
{
    Layer layer = layerNamed('a', {{0, 0}, {100, 50}});
    layer.keyframes = {keyAt(Property::x, 0, 40), keyAt(Property::x, 2.0005, 60, /*wait=*/0.5)};
    layer.keyframes.edit()[1].easing = Easing::easeIn();
    const auto edit = alignSelected(sceneHolding({layer}), idsNamed("a"), AlignEdge::left, 2);
    const Keyframe& key = after(edit, 'a').keyframes[1];
    EXPECT_EQ(after(edit, 'a').keyframes.size(), 2u);
    EXPECT_EQ(key.time, 2);
    EXPECT_EQ(key.easing, Easing::easeIn());
    EXPECT_EQ(key.wait, 0.5);
}

TEST(Align, KeyframesOfTheOtherCoordinateDoNotCount)
{
    Layer layer = layerNamed('a', {{30, 8}, {100, 50}});
    layer.keyframes = {keyAt(Property::y, 1, 40)};
    const auto edit = alignSelected(sceneHolding({layer}), idsNamed("a"), AlignEdge::left, 2);
    EXPECT_EQ(placeOf(edit, 'a'), (CGPoint{0, 8}));
    EXPECT_EQ(after(edit, 'a').keyframes, layer.keyframes);
}

TEST(Align, AGroupAlignsByWhatItHolds)
{
    const Layer group = groupNamed('g', {layerNamed('a', {{20, 0}, {10, 10}})}, {100, 0});
    EXPECT_EQ(placeOf(alignSelected(sceneHolding({group}), idsNamed("g"), AlignEdge::left, 0), 'g'), (CGPoint{-20, 0}));
}

TEST(Align, WhatIsInPlaceIsLeftAlone)
{
    Layer first = layerNamed('a'), second = layerNamed('b', {{50, 0}, {10, 10}});
    first.keyframes = {keyAt(Property::y, 1, 40)};
    const auto edit = alignSelected(sceneHolding({first, second}), idsNamed("ab"), AlignEdge::left, 2);
    EXPECT_EQ(after(edit, 'a'), first);
    EXPECT_EQ(placeOf(edit, 'b'), (CGPoint{0, 0}));
    EXPECT_FALSE(alignSelected(edit->scene, idsNamed("ab"), AlignEdge::left, 2));
    EXPECT_FALSE(alignSelected(edit->scene, {}, AlignEdge::left, 2));
    EXPECT_FALSE(alignSelected(sceneHolding({groupNamed('g', {})}), idsNamed("g"), AlignEdge::left, 0)) << "no frame";
}

TEST(Align, PlacesBeyondAllNumbersAreNotWritten)
{
    const TweenScene scene =
        sceneHolding({layerNamed('a', {{-1.7e308, 0}, {10, 10}}), layerNamed('b', {{1.7e308, 0}, {10, 10}})});
    for (const AlignEdge edge : {AlignEdge::left, AlignEdge::hCenter, AlignEdge::right}) {
        SCOPED_TRACE(fileValue(edge));
        const auto edit = alignSelected(scene, idsNamed("ab"), edge, 0);
        EXPECT_NO_THROW(encodedJson(edit ? edit->scene : scene));
    }
}

TEST(Align, AKeyframeBeyondAllNumbersIsNotWritten)
{
    // The group's own place lies as far to the right as its child to the left of it: together they show about the middle.
    Layer group = groupNamed('g', {layerNamed('a', {{-1.7e308, 0}, {10, 10}})});
    group.keyframes = {keyAt(Property::x, 0, 1.7e308)};
    const TweenScene scene = sceneHolding({group, layerNamed('b', {{1.7e308, 0}, {10, 10}})});
    const auto edit = alignSelected(scene, idsNamed("gb"), AlignEdge::right, 0);
    EXPECT_NO_THROW(encodedJson(edit ? edit->scene : scene));
}

TEST(Arranging, TheSelectionStays)
{
    Studio studio(sceneHolding({layerNamed('a'), layerNamed('b', {{30, 7}, {10, 10}}), layerNamed('c', {{90, 0}, {10, 10}})}),
                  idsNamed("abc"));
    const LayerIDs& selection = studio.state.selectedLayerIDs;
    ASSERT_TRUE(studio.perform(distributeSelected(studio.scene(), selection, DistributeAxis::horizontal, 0)));
    ASSERT_TRUE(studio.perform(alignSelected(studio.scene(), selection, AlignEdge::top, 0)));
    ASSERT_TRUE(studio.perform(nudgeSelected(studio.scene(), selection, {1, 1}, 0)));
    EXPECT_EQ(studio.selected(), "a b c");
}

TEST(Distribute, SpacesTheMiddlesEvenly)
{
    // Middles at 5, 30, 25 and 95 across: the line from 5 to 95 has steps of 30.
    const TweenScene scene =
        sceneHolding({layerNamed('a', {{0, 0}, {10, 10}}), layerNamed('b', {{20, 50}, {20, 20}}),
                      groupNamed('g', {layerNamed('c', {{20, 70}, {10, 10}})}), layerNamed('d', {{90, 300}, {10, 10}})});
    const auto across = distributeSelected(scene, idsNamed("abcd"), DistributeAxis::horizontal, 0);
    ASSERT_TRUE(across);
    EXPECT_EQ(across->actionName, "Distribute Horizontally");
    EXPECT_EQ(placeOf(across, 'a'), (CGPoint{0, 0}));
    EXPECT_EQ(placeOf(across, 'c'), (CGPoint{30, 70}));
    EXPECT_EQ(placeOf(across, 'b'), (CGPoint{55, 50}));
    EXPECT_EQ(placeOf(across, 'd'), (CGPoint{90, 300}));

    // Middles at 5, 60, 75 and 305 down: steps of 100.
    const auto down = distributeSelected(scene, idsNamed("abcd"), DistributeAxis::vertical, 0);
    EXPECT_EQ(down.value().actionName, "Distribute Vertically");
    EXPECT_EQ(placeOf(down, 'b'), (CGPoint{20, 95}));
    EXPECT_EQ(placeOf(down, 'c'), (CGPoint{20, 200}));
}

TEST(Distribute, TakesThreeLayers)
{
    const TweenScene scene =
        sceneHolding({layerNamed('a'), layerNamed('b', {{5, 0}, {10, 10}}), layerNamed('c', {{80, 0}, {10, 10}})});
    EXPECT_FALSE(distributeSelected(scene, idsNamed("ac"), DistributeAxis::horizontal, 0));
    EXPECT_FALSE(distributeSelected(scene, idsNamed("acz"), DistributeAxis::horizontal, 0));
    EXPECT_EQ(placeOf(distributeSelected(scene, idsNamed("abc"), DistributeAxis::horizontal, 0), 'b'), (CGPoint{40, 0}));
}

TEST(Distribute, GoesByThePlayheadAndLeavesKeyframesAlone)
{
    Layer keyed = layerNamed('b', {{5, 0}, {10, 10}});
    keyed.keyframes = {keyAt(Property::x, 0, 10)};
    const TweenScene scene = sceneHolding({layerNamed('a'), keyed, layerNamed('c', {{80, 0}, {10, 10}})});
    const auto edit = distributeSelected(scene, idsNamed("abc"), DistributeAxis::horizontal, 1);
    EXPECT_EQ(placeOf(edit, 'b'), (CGPoint{35, 0})) << "30 on from the stored 5";
    EXPECT_EQ(after(edit, 'b').keyframes, keyed.keyframes);
}

TEST(Nudge, MovesEverySelectedLayer)
{
    const TweenScene scene =
        sceneHolding({layerNamed('a', {{3, 4}, {10, 10}}), groupNamed('g', {layerNamed('b'), layerNamed('c')}, {50, 60})});
    const auto edit = nudgeSelected(scene, idsNamed("agb"), {-1, 10}, 0);
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Nudge");
    EXPECT_EQ(placeOf(edit, 'a'), (CGPoint{2, 14}));
    EXPECT_EQ(placeOf(edit, 'g'), (CGPoint{49, 70}));
    EXPECT_EQ(placeOf(edit, 'b'), (CGPoint{-1, 10})) << "moves with its group, and by itself";
    EXPECT_EQ(placeOf(edit, 'c'), (CGPoint{0, 0}));
    EXPECT_FALSE(nudgeSelected(scene, {}, {1, 0}, 0));
}

TEST(Nudge, AKeyframedCoordinateIsWrittenFromTheStoredOne)
{
    Layer layer = layerNamed('a', {{7, 8}, {10, 10}});
    layer.keyframes = {keyAt(Property::x, 1, 40), keyAt(Property::x, 1.9995, 60, /*wait=*/0.5)};
    layer.keyframes.edit()[1].easing = Easing::easeOut();
    const auto edit = nudgeSelected(sceneHolding({layer}), idsNamed("a"), {1, 2}, 2);
    const Layer& nudged = after(edit, 'a');
    EXPECT_EQ(placeOf(edit, 'a'), (CGPoint{8, 10}));
    EXPECT_EQ(keysOf(nudged, Property::x), "1.0:40 2.0:8") << "no keyframe at 0";
    EXPECT_EQ(nudged.keyframes[1].easing, Easing::easeOut());
    EXPECT_EQ(nudged.keyframes[1].wait, 0.5);
    EXPECT_EQ(keysOf(nudged, Property::y), "");
}

TEST(Nudge, BothCoordinatesAreWrittenWhereBothAreKeyframed)
{
    Layer layer = layerNamed('a', {{7, 8}, {10, 10}});
    layer.keyframes = {keyAt(Property::y, 1, 40), keyAt(Property::x, 1, 50)};
    const auto edit = nudgeSelected(sceneHolding({layer}), idsNamed("a"), {10, 0}, 3);
    EXPECT_EQ(keysOf(after(edit, 'a'), Property::x), "1.0:50 3.0:17");
    EXPECT_EQ(keysOf(after(edit, 'a'), Property::y), "1.0:40 3.0:8");
}

TEST(Nudge, AnArrowKeyGoesByOneAndWithShiftByTen)
{
    EXPECT_EQ(nudgeStep(/*shift=*/false), 1);
    EXPECT_EQ(nudgeStep(/*shift=*/true), 10);
}

} // namespace
} // namespace larkspool
