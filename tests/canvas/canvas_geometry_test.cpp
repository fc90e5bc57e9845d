#include "canvas/canvas_geometry.h"

#include "canvas/canvas_hand.h"
#include "evaluation/evaluated_frame.h"
#include "support/random_layer_tree.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>

namespace larkspool {
namespace {

void expectNear(CGPoint a, CGPoint b)
{
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
}

TEST(CanvasGeometry, TheOffsetsOfTheGroupsAroundALayerAddUp)
{
    const TweenScene scene = canvasOf({groupAt(1, 100, 50, {groupAt(2, 10, 20, {box(3, 1, 2, 30, 30)})})});
    EXPECT_EQ(ancestorOffset(scene, idOf(3), 0), (CGPoint{110, 70}));
    EXPECT_EQ(ancestorOffset(scene, idOf(1), 0), (CGPoint{}));
    EXPECT_EQ(ancestorOffset(scene, idOf(99), 0), (CGPoint{}));
}

TEST(CanvasGeometry, AnOffsetIsThatOfThePlaceInAStack)
{
    Layer row = groupAt(1, 100, 50, {box(2, 10, 0, 40, 40), groupAt(3, 500, 500, {box(4, 0, 0, 10, 10)})});
    row.groupLayout = GroupLayout::horizontal; // The second stands at 10 + 40 + 8.
    EXPECT_EQ(ancestorOffset(canvasOf({row}), idOf(4), 0), (CGPoint{158, 50}));
}

TEST(CanvasGeometry, AZoomLeavesItsChildrenInTheScene)
{
    Layer zoom = box(1, 100, 100, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    zoom.children = {box(2, 10, 10, 50, 50)};
    EXPECT_EQ(ancestorOffset(canvasOf({zoom}), idOf(2), 0), (CGPoint{}));
}

TEST(CanvasGeometry, ABakedLayerHasTheTransformsOfItsGroups)
{
    Layer group = groupAt(1, 100, 0, {box(2, 0, 0, 100, 100)});
    group.transform.scaleX = group.transform.scaleY = 2;
    group.transform.rotation = 30;
    const Layer baked = *bakedLayer(canvasOf({group}), idOf(2), 0);
    expectNear({baked.transform.x, baked.transform.y}, {100, 0}); // About the middle of the child itself.
    EXPECT_EQ(baked.transform.scaleX, 2);
    EXPECT_EQ(baked.transform.rotation, 30);
    EXPECT_FALSE(bakedLayer(canvasOf({}), idOf(2), 0));
}

TEST(CanvasGeometry, TheUnionGoesAroundSelectedLayersAtAnyDepth)
{
    Layer hidden = groupAt(5, 0, 0, {});
    const TweenScene scene = canvasOf({groupAt(1, 100, 100, {box(2, 10, 10, 20, 20)}), box(3, 0, 300, 50, 50), hidden});
    EXPECT_EQ(unionAABBOfSelected(scene, {idOf(2)}, 0), (CGRect{{110, 110}, {20, 20}}));
    EXPECT_EQ(unionAABBOfSelected(scene, {idOf(2), idOf(3)}, 0), (CGRect{{0, 110}, {130, 240}}));
    EXPECT_TRUE(unionAABBOfSelected(scene, {idOf(5)}, 0).isNull()) << "an empty group covers nothing";
    EXPECT_TRUE(unionAABBOfSelected(scene, {}, 0).isNull());
}

TEST(CanvasGeometry, TheUnionGoesAroundLayersWhereThePlayheadHasThem)
{
    Layer moving = box(1, 0, 0, 20, 20);
    addKeyframe(moving, Keyframe::AnimatableProperty::x, 0, 0);
    addKeyframe(moving, Keyframe::AnimatableProperty::x, 1, 300);
    Interpolation::invalidate();
    EXPECT_EQ(unionAABBOfSelected(canvasOf({moving}), {idOf(1)}, 1), (CGRect{{300, 0}, {20, 20}}));
}

TEST(CanvasGeometry, AGroupsBoxIsInSceneCoordinates)
{
    const TweenScene scene = canvasOf({groupAt(1, 100, 100, {groupAt(2, 10, 10, {box(3, 5, 5, 20, 20)})}), box(4, 0, 0, 9, 9)});
    EXPECT_EQ(groupSceneAABB(scene, idOf(2), 0), (CGRect{{115, 115}, {20, 20}}));
    EXPECT_TRUE(groupSceneAABB(scene, idOf(4), 0).isNull()) << "no group";
    EXPECT_EQ(laidOutDescendantsAABB(scene.layers[0], 0), (CGRect{{15, 15}, {20, 20}}));
}

TEST(CanvasGeometry, CroppedMediaShowAPartOfTheirBox)
{
    Layer image = box(1, 0, 0, 200, 100);
    image.kind = Layer::Kind::image;
    image.cropRect = {{0.25, 0.5}, {0.5, 2}};
    EXPECT_EQ(mediaCropSubRect(image), (CGRect{{0, 0}, {200, 100}})) << "no crop";
    image.cropMode = CropMode::manual;
    EXPECT_EQ(mediaCropSubRect(image), (CGRect{{50, 50}, {100, 50}}));
    image.kind = Layer::Kind::rectangle;
    EXPECT_EQ(mediaCropSubRect(image), (CGRect{{0, 0}, {200, 100}})) << "no media";
}

/// Every evaluated layer with the space that it is drawn in.
template <typename Visit>
void walkEvaluated(const std::vector<EvaluatedLayer>& layers, const AffineTransform& toScene, const Visit& visit)
{
    for (const EvaluatedLayer& evaluated : layers) {
        visit(evaluated, toScene);
        walkEvaluated(evaluated.children, toScene.concatenating(evaluated.transform), visit);
    }
}

bool near(CGPoint a, CGPoint b)
{
    return std::abs(a.x - b.x) < 1e-6 && std::abs(a.y - b.y) < 1e-6;
}

TEST(CanvasGeometry, LayersStandWhereTheyAreDrawn)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomLayerTree random(seed, {.zooms = false});
        const TweenScene scene = random.scene();
        const double time = random.time();
        Interpolation::invalidate();
        walkEvaluated(evaluateFrame(scene, time).layers, {}, [&](const EvaluatedLayer& drawn, const AffineTransform& toScene) {
            const PlacedLayer placed = placedLayer(scene, drawn.layer.id, time).value();
            for (const CGPoint& probe : {CGPoint{0, 0}, CGPoint{100, 0}, CGPoint{0, 100}})
                RC_ASSERT(near(placed.parent.toScene.apply(probe), toScene.apply(probe)));
            RC_ASSERT(placed.layer.transform == drawn.layer.transform);

            // A layer that is baked stands by itself where its anchor is drawn.
            const Layer baked = bakedLayer(scene, drawn.layer.id, time).value();
            const CGPoint anchor{baked.transform.anchorX * baked.size.width, baked.transform.anchorY * baked.size.height};
            const AffineTransform own = drawn.layer.transform.cgAffine(drawn.layer.size);
            RC_ASSERT(near(baked.transform.cgAffine(baked.size).apply(anchor), toScene.apply(own.apply(anchor))));
        });
    }));
}

TEST(CanvasGeometry, TheWalkVisitsEveryLayerInItsPlace)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const TweenScene scene = random.scene();
        const double time = random.time();
        Interpolation::invalidate();
        std::vector<UUID> visited;
        walkPlacedLayers(scene.layers, {}, time, [&](const Layer& layer, const ParentFrame& parent) {
            visited.push_back(layer.id);
            RC_ASSERT(parent.offset == ancestorOffset(scene, layer.id, time));
        });
        RC_ASSERT(visited == RandomLayerTree::ids(scene));
    }));
}

} // namespace
} // namespace larkspool
