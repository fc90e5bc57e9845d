#include "evaluation/group_layout.h"

#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"
#include "evaluation_fixture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <vector>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

constexpr double time = 1;

std::vector<CGPoint> cornersOf(const Array<Layer>& layers)
{
    std::vector<CGPoint> corners;
    for (const Layer& layer : layers) corners.push_back({layer.transform.x, layer.transform.y});
    return corners;
}

std::vector<CGPoint> placesIn(GroupLayout layout, GroupAlignment alignment, std::vector<Layer> children, double gap = 8)
{
    return cornersOf(layoutChildren(children, layout, gap, alignment, time));
}

class GroupLayoutTest : public testing::Test {
protected:
    void SetUp() override { Interpolation::invalidate(); }
};

} // namespace

TEST_F(GroupLayoutTest, AStackPlacesEachChildBehindTheLast)
{
    const Layer wide = layerAt({20, 5}, {100, 40}), narrow = layerAt({700, 700}, {50, 100});
    const struct Case {
        GroupLayout layout;
        GroupAlignment alignment;
        std::vector<CGPoint> places;
        const char* why;
    } cases[] = {
        {GroupLayout::horizontal, GroupAlignment::start, {{20, 5}, {128, 5}}, "20 + 100 + 8"},
        {GroupLayout::horizontal, GroupAlignment::center, {{20, 35}, {128, 5}}, "half of 100 - 40 lower"},
        {GroupLayout::horizontal, GroupAlignment::end, {{20, 65}, {128, 5}}, "100 - 40 lower"},
        {GroupLayout::vertical, GroupAlignment::start, {{20, 5}, {20, 53}}, "5 + 40 + 8"},
        {GroupLayout::vertical, GroupAlignment::center, {{20, 5}, {45, 53}}, "half of 100 - 50 to the right"},
        {GroupLayout::vertical, GroupAlignment::end, {{20, 5}, {70, 53}}, "100 - 50 to the right"},
        {GroupLayout::freeform, GroupAlignment::end, {{20, 5}, {700, 700}}, "as stored"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(placesIn(c.layout, c.alignment, {wide, narrow}), c.places);
    }
}

TEST_F(GroupLayoutTest, NothingIsRounded)
{
    EXPECT_EQ(placesIn(GroupLayout::horizontal, GroupAlignment::center, {layerAt({0, 0}, {10, 10}), layerAt({0, 0}, {10, 13})}),
              (std::vector<CGPoint>{{0, 1.5}, {18, 0}}));
}

TEST_F(GroupLayoutTest, OneChildKeepsItsPlace)
{
    for (const GroupAlignment alignment : {GroupAlignment::start, GroupAlignment::center, GroupAlignment::end})
        EXPECT_EQ(placesIn(GroupLayout::vertical, alignment, {layerAt({7, 9}, {10, 20})}), (std::vector<CGPoint>{{7, 9}}));
}

TEST_F(GroupLayoutTest, AGapMayBeNegative)
{
    EXPECT_EQ(placesIn(GroupLayout::vertical, GroupAlignment::start, {layerAt({0, 0}, {10, 20}), layerAt({0, 0}, {10, 20})}, -5),
              (std::vector<CGPoint>{{0, 0}, {0, 15}}));
}

TEST_F(GroupLayoutTest, KeyframesOfTheFirstChildSetTheOriginAndThoseOfOthersHaveNoEffect)
{
    Layer first = layerAt({0, 0}, {10, 10}), second = layerAt({0, 0}, {10, 10});
    first.keyframes = {key(Property::x, 0, 30.0), key(Property::y, 0, 40.0)};
    second.keyframes = {key(Property::x, 0, 999.0)};
    EXPECT_EQ(placesIn(GroupLayout::horizontal, GroupAlignment::start, {first, second}),
              (std::vector<CGPoint>{{30, 40}, {48, 40}}));
}

TEST_F(GroupLayoutTest, AKeyframedWidthPushesTheNeighbours)
{
    Layer first = layerAt({0, 0}, {10, 10});
    first.keyframes = {key(Property::width, 0, 10.0), key(Property::width, 2, 30.0)};
    EXPECT_EQ(placesIn(GroupLayout::horizontal, GroupAlignment::start, {first, layerAt({0, 0}, {5, 5})}),
              (std::vector<CGPoint>{{0, 0}, {28, 0}}));
}

TEST_F(GroupLayoutTest, ScaleHidingAndSpansDoNotCount)
{
    Layer scaled = layerAt({0, 0}, {10, 10}), hidden = layerAt({0, 0}, {20, 10}), gone = layerAt({0, 0}, {30, 10});
    scaled.transform.scaleX = 5;
    hidden.isHidden = true;
    gone.spans = {span(50, 60)};
    EXPECT_EQ(placesIn(GroupLayout::horizontal, GroupAlignment::start, {scaled, hidden, gone, layerAt({0, 0}, {1, 1})}, 0),
              (std::vector<CGPoint>{{0, 0}, {10, 0}, {30, 0}, {60, 0}}));
}

TEST_F(GroupLayoutTest, ANestedStackIsMeasuredByItsOwnSize)
{
    Layer nested = groupOf({layerAt({0, 0}, {500, 500}), layerAt({0, 0}, {500, 500})}, {0, 0}, GroupLayout::horizontal);
    nested.size = {40, 10};
    EXPECT_EQ(placesIn(GroupLayout::horizontal, GroupAlignment::start, {nested, layerAt({0, 0}, {1, 1})}, 0),
              (std::vector<CGPoint>{{0, 0}, {40, 0}}));
}

TEST_F(GroupLayoutTest, ResolvingALaidOutChildAgainKeepsItsPlace)
{
    Layer first = layerAt({0, 0}, {10, 10}), second = layerAt({0, 0}, {10, 10});
    second.keyframes = {key(Property::x, 0, 300.0), key(Property::opacity, 0, 0.25), key(Property::y, 0, 400.0)};
    const Array<Layer> laid = layoutChildren({first, second}, GroupLayout::horizontal, 8, GroupAlignment::start, time);
    ASSERT_EQ(laid[1].keyframes.size(), 1u);
    EXPECT_EQ(laid[1].keyframes[0], second.keyframes[1]);

    const Layer again = Interpolation::resolve(laid[1], 5);
    EXPECT_EQ(again.transform.x, 18);
    EXPECT_EQ(again.transform.y, 0);
    EXPECT_EQ(again.opacity, 0.25);
}

TEST_F(GroupLayoutTest, AFreeformGroupGivesItsChildrenAsStored)
{
    Layer child = layerAt({1, 2}, {3, 4});
    child.keyframes = {key(Property::x, 0, 50.0)};
    const Array<Layer> children{child};
    EXPECT_TRUE(layoutChildren(children, GroupLayout::freeform, 8, GroupAlignment::end, time).sharesStorageWith(children));
    EXPECT_TRUE(layoutChildren({}, GroupLayout::vertical, 8, GroupAlignment::end, time).empty());
}

TEST_F(GroupLayoutTest, TheResolvedGroupTellsGapLayoutAndAlignment)
{
    Layer group = groupOf({layerAt({0, 0}, {10, 10}), layerAt({0, 0}, {10, 30})}, {}, GroupLayout::horizontal);
    group.groupAlignment = GroupAlignment::end;
    group.keyframes = {key(Property::groupGap, 0, 50.0)};
    EXPECT_EQ(cornersOf(layoutChildren(Interpolation::resolve(group, time), time)), (std::vector<CGPoint>{{0, 20}, {60, 0}}));
}

TEST_F(GroupLayoutTest, BoxesOfLayersIgnoreHidingSpansScaleAndRotation)
{
    Layer a = layerAt({10, 20}, {30, 40}), b = layerAt({0, 0}, {5, 5});
    a.isHidden = true;
    a.spans = {span(50, 60)};
    a.transform.rotation = 45;
    a.transform.scaleX = 9;
    b.keyframes = {key(Property::x, 0, 100.0)};
    EXPECT_EQ(aabb({a, b}, time), (CGRect{{10, 0}, {95, 60}}));
    EXPECT_TRUE(aabb({}, time).isNull());
}

TEST_F(GroupLayoutTest, WhatDescendantsCoverAddsUpTheOriginsOfTheirGroups)
{
    Layer hidden = layerAt({900, 900}, {10, 10});
    hidden.isHidden = true;
    Layer gone = layerAt({800, 800}, {10, 10});
    gone.spans = {span(50, 60)};
    Layer inner = groupOf({layerAt({5, 6}, {20, 30}), hidden, gone}, {10, 20});
    inner.transform.scaleX = 3;
    inner.transform.rotation = 30;
    const Layer outer = groupOf({inner}, {100, 200});
    EXPECT_EQ(laidOutDescendantsAABBFree({outer, layerAt({0, 0}, {1, 1})}, time), (CGRect{{0, 0}, {135, 256}}));
    EXPECT_EQ(laidOutDescendantsAABBFree({outer}, time), (CGRect{{115, 226}, {20, 30}}));
    EXPECT_TRUE(laidOutDescendantsAABBFree({hidden, gone, groupOf({})}, time).isNull());
}

TEST_F(GroupLayoutTest, AGroupThatIsHiddenOrOutsideItsSpansStillCovers)
{
    Layer hidden = groupOf({layerAt({5, 6}, {20, 30})});
    hidden.isHidden = true;
    Layer gone = groupOf({layerAt({50, 6}, {20, 30})});
    gone.spans = {span(50, 60)};
    EXPECT_EQ(laidOutDescendantsAABBFree({hidden, gone}, time), (CGRect{{5, 6}, {65, 30}}));
}

TEST_F(GroupLayoutTest, WhatAStackCoversFollowsItsLayoutAndKeyframedGap)
{
    Layer stack = groupOf({layerAt({3, 4}, {10, 10}), layerAt({0, 0}, {10, 20})}, {100, 100}, GroupLayout::horizontal);
    stack.keyframes = {key(Property::groupGap, 0, 30.0)};
    EXPECT_EQ(laidOutDescendantsAABBFree({stack}, time), (CGRect{{103, 104}, {50, 20}}));
}

TEST_F(GroupLayoutTest, ADynamicGroupScalesAboutTheMiddleOfWhatItCovers)
{
    Layer group = groupOf({layerAt({0, 0}, {100, 100})}, {10, 10});
    group.transform.scaleX = 2;
    group.transform.rotation = 77;
    EXPECT_EQ(groupVisualAABB(group, time), (CGRect{{-40, 10}, {200, 100}}));

    group.keyframes = {key(Property::scaleX, 0, 1.0), key(Property::x, 0, 20.0)};
    EXPECT_EQ(groupVisualAABB(group, time), (CGRect{{20, 10}, {100, 100}}));
}

TEST_F(GroupLayoutTest, AFixedGroupHasItsBoxAndAnEmptyDynamicOneHasNone)
{
    Layer group = groupOf({}, {10, 20});
    EXPECT_TRUE(groupVisualAABB(group, time).isNull());
    group.groupSizeMode = GroupSizeMode::fixed;
    group.transform.scaleX = 3;
    group.keyframes = {key(Property::width, 0, 70.0)};
    EXPECT_EQ(groupVisualAABB(group, time), (CGRect{{10, 20}, {70, 200}}));
}

TEST_F(GroupLayoutTest, AGroupsTransformMovesThePointThatTheAnchorNames)
{
    const struct Case {
        CGSize scale;
        double rotation;
        CGPoint anchor, offset;
        Transform expected;
        const char* why;
    } cases[] = {
        // The layer is 100 x 100 at (10, 10), so that its anchor's point is (60, 60).
        {{1, 1}, 0, {5, 5}, {0, 0}, {10, 10, 0, 1, 1}, "nothing to do"},
        {{2, 2}, 0, {0, 0}, {0, 0}, {70, 70, 0, 2, 2}, "(120, 120) less (50, 50)"},
        {{2, 3}, 0, {60, 60}, {0, 0}, {10, 10, 0, 2, 3}, "about its own anchor it stays"},
        {{1, 1}, 90, {0, 0}, {0, 0}, {-110, 10, 90, 1, 1}, "(60, 60) turns to (-60, 60)"},
        {{1, 1}, 90, {60, 0}, {5, 7}, {-45, -43, 90, 1, 1}, "(0, 60) from the anchor turns to (-60, 0)"},
        {{1, 1}, 0, {3, 3}, {5, 7}, {15, 17, 0, 1, 1}, "an offset alone"},
        {{2, 1}, 90, {0, 0}, {0, 0}, {-110, 70, 90, 2, 1}, "scale comes before rotation: (120, 60) turns to (-60, 120)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        const Transform result =
            applyGroupTransform(layerAt({10, 10}, {100, 100}), c.scale, c.rotation, c.anchor, c.offset).transform;
        EXPECT_NEAR(result.x, c.expected.x, 1e-9);
        EXPECT_NEAR(result.y, c.expected.y, 1e-9);
        EXPECT_EQ(result.rotation, c.expected.rotation);
        EXPECT_EQ(result.scaleX, c.expected.scaleX);
        EXPECT_EQ(result.scaleY, c.expected.scaleY);
    }
}

TEST_F(GroupLayoutTest, AGroupsTransformAddsToTheLayersOwn)
{
    Layer layer = layerAt({0, 0}, {10, 10});
    layer.transform.scaleX = 3;
    layer.transform.rotation = 20;
    layer.transform.anchorX = layer.transform.anchorY = 0;
    const Transform result = applyGroupTransform(layer, {2, 1}, 15, {0, 0}, {0, 0}).transform;
    EXPECT_EQ(result.scaleX, 6);
    EXPECT_EQ(result.rotation, 35);
}

// Laws.

namespace {

double anyLength()
{
    return *rc::gen::inRange(-400, 2000) * 0.25;
}

std::vector<Layer> anyTree(int depth)
{
    std::vector<Layer> layers;
    const int count = *rc::gen::inRange(0, 5);
    for (int i = 0; i < count; ++i) {
        const bool isGroup = depth > 0 && *rc::gen::inRange(0, 2);
        Layer layer = layerAt({anyLength(), anyLength()}, {anyLength(), anyLength()},
                              isGroup ? Layer::Kind::group : Layer::Kind::ellipse);
        if (isGroup) {
            layer.children = anyTree(depth - 1);
            layer.groupLayout = static_cast<GroupLayout>(*rc::gen::inRange(0, 3));
            layer.groupAlignment = static_cast<GroupAlignment>(*rc::gen::inRange(0, 3));
        }
        constexpr Property properties[] = {Property::x, Property::y, Property::width, Property::height, Property::groupGap};
        for (int k = *rc::gen::inRange(0, 4); k > 0; --k)
            layer.keyframes.append(key(properties[*rc::gen::inRange(0, 5)], *rc::gen::inRange(0, 4) * 0.5, anyLength()));
        layer.isHidden = *rc::gen::inRange(0, 6) == 0;
        if (*rc::gen::inRange(0, 4) == 0) layer.spans = {span(0, *rc::gen::inRange(0, 4) * 0.5)};
        layers.push_back(layer);
    }
    return layers;
}

/// The rule word for word, with resolved and laid-out copies.
CGRect coveredByTheRule(const Array<Layer>& layers, CGPoint offset)
{
    CGRect box = CGRect::null();
    for (const Layer& layer : layers) {
        const Layer r = Interpolation::resolve(layer, time);
        const CGPoint corner{offset.x + r.transform.x, offset.y + r.transform.y};
        if (layer.kind == Layer::Kind::group)
            box = unionOf(box, coveredByTheRule(layoutChildren(layer.children, r.groupLayout, r.groupGap, r.groupAlignment, time),
                                                corner));
        else if (!layer.isHidden && isVisible(layer, time)) box = unionOf(box, {corner, r.size});
    }
    return box;
}

} // namespace

TEST_F(GroupLayoutTest, AStackKeepsItsChildrenTheirOrderAndEqualGaps)
{
    EXPECT_TRUE(rc::check("count, ids, order and gaps", [] {
        const Array<Layer> children = anyTree(1);
        const double gap = anyLength();
        const bool isHorizontal = *rc::gen::inRange(0, 2);
        const auto alignment = static_cast<GroupAlignment>(*rc::gen::inRange(0, 3));
        const Array<Layer> laid =
            layoutChildren(children, isHorizontal ? GroupLayout::horizontal : GroupLayout::vertical, gap, alignment, time);
        RC_ASSERT(laid.size() == children.size());
        for (std::size_t i = 0; i < laid.size(); ++i) {
            RC_ASSERT(laid[i].id == children[i].id);
            if (i == 0) continue;
            const CGRect a{{laid[i - 1].transform.x, laid[i - 1].transform.y}, laid[i - 1].size};
            const double between = isHorizontal ? laid[i].transform.x - a.maxX() : laid[i].transform.y - a.maxY();
            RC_ASSERT(std::abs(between - gap) < 1e-9);
        }
    }));
}

TEST_F(GroupLayoutTest, WhatDescendantsCoverIsTheUnionOfTheirLaidOutBoxes)
{
    EXPECT_TRUE(rc::check("the walk without copies gives the box of the walk with copies", [] {
        const Array<Layer> layers = anyTree(3);
        const CGRect box = laidOutDescendantsAABBFree(layers, time), expected = coveredByTheRule(layers, {});
        const auto near = [](double a, double b) { return a == b || std::abs(a - b) < 1e-9; };
        RC_ASSERT(near(box.minX(), expected.minX()) && near(box.minY(), expected.minY()));
        RC_ASSERT(near(box.size.width, expected.size.width) && near(box.size.height, expected.size.height));
    }));
}

} // namespace larkspool
