#include "evaluation/hover.h"

#include "evaluation_fixture.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace larkspool {
namespace {

/// A cursor of 20 x 20.
Layer cursorAt(CGPoint at)
{
    return layerAt(at, {20, 20}, Layer::Kind::cursor);
}

/// A hotspot of 50 x 50.
Layer hotspotAt(CGPoint at, CursorVariant variant = CursorVariant::pointer)
{
    Layer layer = layerAt(at, {50, 50}, Layer::Kind::hotspot);
    layer.cursorHoverOverride = variant;
    return layer;
}

Layer groupAt(CGPoint at, Array<Layer> children)
{
    Layer group = layerAt(at, {1000, 1000}, Layer::Kind::group);
    group.children = std::move(children);
    return group;
}

CursorVariant variantOver(std::vector<Layer> layers, const Layer& cursor, double time = 0, CGPoint origin = {})
{
    return applyHoverOverride(cursor, origin, sceneOf(std::move(layers)), time).cursorVariant;
}

TEST(Hover, ACursorOverAHotspotTakesItsVariantAndNothingElse)
{
    const TweenScene scene = sceneOf({hotspotAt({100, 100})});
    const Layer cursor = cursorAt({120, 120});

    Layer expected = cursor;
    expected.cursorVariant = CursorVariant::pointer;
    EXPECT_EQ(applyHoverOverride(cursor, {}, scene, 0), expected);
}

TEST(Hover, OtherKindsComeBackAsTheyAre)
{
    const TweenScene scene = sceneOf({hotspotAt({0, 0})});
    const Layer box = layerAt({0, 0}, {20, 20}, Layer::Kind::rectangle);
    EXPECT_EQ(applyHoverOverride(box, {}, scene, 0), box);
}

TEST(Hover, TheWholeBoxOfTheCursorCountsAndMustShareAnArea)
{
    struct Case { const char* where; CGPoint at; CursorVariant expected; };
    for (const Case& c : {Case{"the far corner reaches in", {81, 81}, CursorVariant::pointer},
                          Case{"the edges touch", {80, 100}, CursorVariant::arrow},
                          Case{"the tip leaves", {149, 149}, CursorVariant::pointer},
                          Case{"the tip touches", {150, 149}, CursorVariant::arrow},
                          Case{"beside", {100, 200}, CursorVariant::arrow}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(variantOver({hotspotAt({100, 100})}, cursorAt(c.at)), c.expected);
    }
}

TEST(Hover, TheCursorStandsAtTheOriginOfItsParent)
{
    EXPECT_EQ(variantOver({hotspotAt({100, 100})}, cursorAt({10, 10})), CursorVariant::arrow);
    EXPECT_EQ(variantOver({hotspotAt({100, 100})}, cursorAt({10, 10}), 0, {100, 100}), CursorVariant::pointer);
}

TEST(Hover, AKeyframeOfTheVariantBeatsHotspotsFromThenOn)
{
    Layer cursor = cursorAt({0, 0});
    cursor.keyframes = {key(Keyframe::AnimatableProperty::cursorVariant, 5, CursorVariant::grab),
                        key(Keyframe::AnimatableProperty::x, 0, 0.0)};
    EXPECT_EQ(variantOver({hotspotAt({0, 0})}, cursor, 4.999), CursorVariant::pointer);
    EXPECT_EQ(variantOver({hotspotAt({0, 0})}, cursor, 5), CursorVariant::arrow) << "as it was given";
    EXPECT_EQ(variantOver({hotspotAt({0, 0})}, cursor, 9), CursorVariant::arrow);
}

TEST(Hover, OfOverlappingHotspotsTheFrontmostWins)
{
    const Layer back = hotspotAt({0, 0}, CursorVariant::grab), front = hotspotAt({10, 10}, CursorVariant::ibeam);
    EXPECT_EQ(variantOver({back, front}, cursorAt({20, 20})), CursorVariant::ibeam);
    EXPECT_EQ(variantOver({front, back}, cursorAt({20, 20})), CursorVariant::grab);
    EXPECT_EQ(variantOver({back, hotspotAt({500, 500})}, cursorAt({20, 20})), CursorVariant::grab);
}

TEST(Hover, AnyKindButCursorsAndZoomsCanBeHovered)
{
    for (const EnumCase<Layer::Kind>& kind : EnumTable<Layer::Kind>::cases) {
        SCOPED_TRACE(kind.fileValue);
        Layer target = hotspotAt({0, 0});
        target.kind = kind.value;
        target.groupSizeMode = GroupSizeMode::fixed;
        target.videoClip.sceneEnd = 1;
        const bool isExcluded = kind.value == Layer::Kind::cursor || kind.value == Layer::Kind::zoom;
        EXPECT_EQ(variantOver({target}, cursorAt({10, 10})), isExcluded ? CursorVariant::arrow : CursorVariant::pointer);
    }
}

TEST(Hover, WhatDoesNotShowIsNotHovered)
{
    Layer hidden = hotspotAt({0, 0});
    hidden.isHidden = true;
    EXPECT_EQ(variantOver({hidden}, cursorAt({0, 0})), CursorVariant::arrow);

    Layer later = hotspotAt({0, 0});
    later.spans = {TimeSpan{.start = 2, .end = 3}};
    EXPECT_EQ(variantOver({later}, cursorAt({0, 0}), 1), CursorVariant::arrow);
    EXPECT_EQ(variantOver({later}, cursorAt({0, 0}), 2.5), CursorVariant::pointer);
}

TEST(Hover, AHiddenOrAbsentGroupHidesItsHotspots)
{
    Layer group = groupAt({0, 0}, {hotspotAt({0, 0})});
    EXPECT_EQ(variantOver({group}, cursorAt({0, 0}), 1), CursorVariant::pointer);

    Layer absent = group;
    absent.spans = {TimeSpan{.start = 2, .end = 3}};
    EXPECT_EQ(variantOver({absent}, cursorAt({0, 0}), 1), CursorVariant::arrow);

    group.isHidden = true;
    EXPECT_EQ(variantOver({group}, cursorAt({0, 0}), 1), CursorVariant::arrow);
}

TEST(Hover, HotspotsStandWhereTheirKeyframesPutThem)
{
    Layer moving = hotspotAt({0, 0});
    moving.keyframes = {Keyframe{.time = 0, .value = 0.0, .easing = Easing::linear()}, Keyframe{.time = 1, .value = 400.0}};
    EXPECT_EQ(variantOver({moving}, cursorAt({0, 0}), 0), CursorVariant::pointer);
    EXPECT_EQ(variantOver({moving}, cursorAt({0, 0}), 0.5), CursorVariant::arrow);
    EXPECT_EQ(variantOver({moving}, cursorAt({210, 0}), 0.5), CursorVariant::pointer);
}

TEST(Hover, HotspotsStandWhereTheyWouldWithoutTheirSpanEffects)
{
    // It comes in from the left by its width and 40: seen, it begins at 10.
    Layer sliding = hotspotAt({100, 100});
    sliding.spans = {span(0, 10, {{.kind = SpanEffect::Kind::slideInLeft, .duration = 10}})};
    EXPECT_EQ(variantOver({sliding}, cursorAt({110, 110}), 0), CursorVariant::pointer);
    EXPECT_EQ(variantOver({sliding}, cursorAt({15, 110}), 0), CursorVariant::arrow);
}

TEST(Hover, ChildrenStandAtTheOriginsOfTheirGroups)
{
    const Layer nested = groupAt({100, 0}, {groupAt({0, 50}, {hotspotAt({5, 5})})});
    EXPECT_EQ(variantOver({nested}, cursorAt({106, 56})), CursorVariant::pointer);
    EXPECT_EQ(variantOver({nested}, cursorAt({5, 5})), CursorVariant::arrow);

    Layer moving = groupAt({0, 0}, {hotspotAt({0, 0})});
    moving.keyframes = {Keyframe{.time = 0, .value = 300.0}};
    EXPECT_EQ(variantOver({moving}, cursorAt({310, 0})), CursorVariant::pointer);
}

TEST(Hover, ChildrenOfAStackCountInTheirStoredPlaces)
{
    Layer stack = groupAt({0, 0}, {layerAt({0, 0}, {50, 50}, Layer::Kind::rectangle), hotspotAt({0, 0})});
    stack.groupLayout = GroupLayout::horizontal;
    EXPECT_EQ(variantOver({stack}, cursorAt({10, 10})), CursorVariant::pointer);
    EXPECT_EQ(variantOver({stack}, cursorAt({70, 10})), CursorVariant::arrow);
}

TEST(Hover, AGroupIsHoveredWhereItLooksToBe)
{
    Layer group = groupAt({100, 100}, {layerAt({0, 0}, {100, 100}, Layer::Kind::rectangle)});
    group.cursorHoverOverride = CursorVariant::grab;
    EXPECT_EQ(variantOver({group}, cursorAt({190, 190})), CursorVariant::grab);
    EXPECT_EQ(variantOver({group}, cursorAt({210, 110})), CursorVariant::arrow) << "within its own box, which is 1000 wide";

    // Twice as wide about the middle: from 50 to 250.
    group.transform.scaleX = 2;
    EXPECT_EQ(variantOver({group}, cursorAt({210, 110})), CursorVariant::grab);
    group.transform.scaleX = -2;
    EXPECT_EQ(variantOver({group}, cursorAt({210, 110})), CursorVariant::grab) << "mirrored";

    EXPECT_EQ(variantOver({groupAt({1000, 0}, {group})}, cursorAt({1210, 110})), CursorVariant::grab) << "in a group";
}

TEST(Hover, AGroupThatCoversNothingIsNotHovered)
{
    Layer group = groupAt({0, 0}, {});
    group.cursorHoverOverride = CursorVariant::grab;
    EXPECT_EQ(variantOver({group}, cursorAt({0, 0})), CursorVariant::arrow);
}

TEST(Hover, AChildStandsInFrontOfItsGroup)
{
    Layer group = groupAt({0, 0}, {hotspotAt({0, 0}, CursorVariant::ibeam), layerAt({0, 0}, {200, 200}, Layer::Kind::rectangle)});
    group.cursorHoverOverride = CursorVariant::grab;
    EXPECT_EQ(variantOver({group}, cursorAt({0, 0})), CursorVariant::ibeam);
    EXPECT_EQ(variantOver({group}, cursorAt({100, 100})), CursorVariant::grab);
}

TEST(Hover, TargetsAnswerAnyNumberOfCursors)
{
    const TweenScene scene = sceneOf({hotspotAt({0, 0}, CursorVariant::grab), hotspotAt({100, 0}, CursorVariant::ibeam)});
    HoverTargets targets(scene, 0);
    EXPECT_EQ(applyHoverOverride(cursorAt({110, 10}), {}, targets).cursorVariant, CursorVariant::ibeam);
    EXPECT_EQ(applyHoverOverride(cursorAt({10, 10}), {}, targets).cursorVariant, CursorVariant::grab);
    EXPECT_EQ(applyHoverOverride(cursorAt({10, 90}), {}, targets).cursorVariant, CursorVariant::arrow);
}

TEST(Hover, ZoomsAreNotSearched)
{
    Layer zoom = groupAt({0, 0}, {hotspotAt({0, 0})});
    zoom.kind = Layer::Kind::zoom;
    EXPECT_EQ(variantOver({zoom}, cursorAt({0, 0})), CursorVariant::arrow);
}

} // namespace
} // namespace larkspool
