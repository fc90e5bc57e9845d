#include "canvas/hit_testing.h"

#include "canvas/canvas_hand.h"
#include "canvas/selection_handles.h"
#include "platform/png_writer.h"
#include "rendering/frame_composition.h"
#include "support/random_layer_tree.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>

namespace larkspool {
namespace {

std::optional<UUID> hitAt(const TweenScene& scene, CGPoint point, double time = 0)
{
    Interpolation::invalidate();
    return topmostHitLayerID(scene, point, time);
}

Layer lineThrough(std::uint64_t number, std::vector<CGPoint> points, double strokeWidth = 2)
{
    Layer line = box(number, 0, 0, 400, 400);
    line.kind = Layer::Kind::line;
    line.strokeWidth = strokeWidth;
    line.linePoints = Array<CGPoint>(std::move(points));
    return line;
}

Layer presetLine(LineShape shape, CGSize size)
{
    Layer line = box(1, 0, 0, size.width, size.height);
    line.kind = Layer::Kind::line;
    line.lineShape = shape;
    return line;
}

TEST(CanvasHit, TheFrontmostLayerIsHitEdgesIncluded)
{
    const TweenScene scene = canvasOf({box(1, 0, 0, 100, 100), box(2, 50, 50, 100, 100)});
    struct Case {
        const char* where;
        CGPoint point;
        std::optional<UUID> hit;
    };
    for (const Case& c : {Case{"in the back one alone", {20, 20}, idOf(1)}, Case{"in both", {75, 75}, idOf(2)},
                          Case{"on the corner of the back one", {0, 0}, idOf(1)},
                          Case{"on the far corner of the front one", {150, 150}, idOf(2)},
                          Case{"beyond it", {150.1, 150}, std::nullopt}, Case{"in neither", {140, 20}, std::nullopt}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(hitAt(scene, c.point), c.hit);
    }
}

TEST(CanvasHit, AHiddenOrLockedLayerIsNeverHitAndTheOneBehindItIs)
{
    for (const bool hides : {true, false}) {
        SCOPED_TRACE(hides ? "hidden" : "locked");
        Layer front = box(2, 0, 0, 100, 100);
        (hides ? front.isHidden : front.isLocked) = true;
        EXPECT_EQ(hitAt(canvasOf({box(1, 0, 0, 100, 100), front}), {50, 50}), idOf(1));
    }
}

TEST(CanvasHit, ALayerOutsideItsSpansIsNotHitThoughItsFrameIsThere)
{
    Layer layer = box(1, 0, 0, 100, 100);
    layer.spans = {TimeSpan{.start = 1, .end = 2}};
    const TweenScene scene = canvasOf({layer});
    EXPECT_EQ(hitAt(scene, {50, 50}, 0.5), std::nullopt);
    EXPECT_EQ(hitAt(scene, {50, 50}, 1.5), idOf(1));
    EXPECT_TRUE(selectionFrame(scene, idOf(1), 0.5).has_value());
}

TEST(CanvasHit, ALayerWithAScaleOfZeroIsNeverHit)
{
    Layer flat = box(1, 0, 0, 100, 100);
    flat.transform.scaleX = 0;
    EXPECT_FALSE(pointIsInside({50, 50}, flat));
    flat.transform = {.scaleY = 0};
    EXPECT_FALSE(pointIsInside({50, 50}, flat));

    Layer group = groupAt(1, 0, 0, {box(2, 0, 0, 100, 100)});
    group.transform.scaleY = 0;
    EXPECT_EQ(hitAt(canvasOf({group}), {50, 50}), std::nullopt);
}

TEST(CanvasHit, AnEllipseIsHitAtItsCornersToo)
{
    Layer ellipse = box(1, 10, 10, 100, 60);
    ellipse.kind = Layer::Kind::ellipse;
    EXPECT_TRUE(pointIsInside({10, 10}, ellipse));
    EXPECT_TRUE(pointIsInside({110, 70}, ellipse));
    EXPECT_FALSE(pointIsInside({9.9, 10}, ellipse));
}

TEST(CanvasHit, APointIsTakenBackThroughRotationAndScale)
{
    // 100 x 20 about its middle (50, 10), turned upright: it covers (40, -40) to (60, 60).
    Layer turned = box(1, 0, 0, 100, 20);
    turned.transform.rotation = 90;
    EXPECT_TRUE(pointIsInside({50, 55}, turned));
    EXPECT_FALSE(pointIsInside({5, 10}, turned));
    turned.transform.scaleX = 0.5; // Now (40, -15) to (60, 35).
    EXPECT_FALSE(pointIsInside({50, 40}, turned));
    EXPECT_TRUE(pointIsInside({50, 34}, turned));
}

TEST(CanvasHit, ALayerIsHitWhereItsKeyframesHaveBroughtIt)
{
    Layer moving = box(1, 0, 0, 10, 10);
    addKeyframe(moving, Keyframe::AnimatableProperty::x, 0, 0);
    addKeyframe(moving, Keyframe::AnimatableProperty::x, 1, 300);
    EXPECT_EQ(hitAt(canvasOf({moving}), {305, 5}, 1), idOf(1));
    EXPECT_EQ(hitAt(canvasOf({moving}), {305, 5}, 0), std::nullopt);
}

TEST(CanvasHit, ALineIsHitFourteenPointsAroundAndThreeQuartersOfItsStrokeBeyond)
{
    struct Case {
        double strokeWidth, radius;
    };
    for (const Case& c : {Case{0, 14}, Case{1, 14.75}, Case{4, 17}, Case{20, 29}, Case{-8, 14}}) {
        SCOPED_TRACE(c.strokeWidth);
        EXPECT_DOUBLE_EQ(lineHitRadius(c.strokeWidth), c.radius);
        const Layer line = lineThrough(1, {{0, 100}, {300, 100}}, c.strokeWidth);
        EXPECT_TRUE(pointIsInside({150, 100 + c.radius}, line));
        EXPECT_FALSE(pointIsInside({150, 100 + c.radius + 0.01}, line));
        EXPECT_TRUE(pointIsInside({300 + c.radius, 100}, line)) << "beyond the end";
    }
}

TEST(CanvasHit, TheRadiusOfALineScalesWithIt)
{
    Layer line = lineThrough(1, {{0, 100}, {300, 100}}, /*strokeWidth=*/2); // 15.5 around.
    line.transform.scaleX = line.transform.scaleY = 2; // About (200, 200): it is seen at the scene's top, 31 around.
    EXPECT_TRUE(pointIsInside({200, 30.9}, line));
    EXPECT_FALSE(pointIsInside({200, 31.1}, line));
}

TEST(CanvasHit, ACurvedLineIsHitAlongItsCurve)
{
    // From (300, 0) to (300, 300) the curve has the controls (350, 50) and (350, 250): its middle is (337.5, 150).
    Layer line = lineThrough(1, {{0, 0}, {300, 0}, {300, 300}, {0, 300}});
    EXPECT_TRUE(pointIsInside({300, 150}, line));
    EXPECT_FALSE(pointIsInside({337.5, 150}, line));
    line.lineCurved = true;
    EXPECT_FALSE(pointIsInside({300, 150}, line));
    EXPECT_TRUE(pointIsInside({337.5, 150}, line));
}

TEST(CanvasHit, APresetLineIsHitAlongItsShape)
{
    struct Case {
        const char* what;
        LineShape shape;
        CGSize size;
        CGPoint point;
        bool hit;
    };
    // An arc runs through the middle of its box and half its control's height: bend 0.5 of half the height, times 1 at a width of
    // 200, 1.5 at 500 and 2 from 800 on.
    for (const Case& c : {Case{"side of a square", LineShape::square, {200, 200}, {0, 100}, true},
                          Case{"inside a square", LineShape::square, {200, 200}, {100, 100}, false},
                          Case{"top of a circle", LineShape::circle, {200, 100}, {100, 0}, true},
                          Case{"corner of a circle's box", LineShape::circle, {200, 200}, {0, 0}, false},
                          Case{"slope of a triangle", LineShape::triangle, {200, 200}, {150, 100}, true},
                          Case{"corner beside a triangle's tip", LineShape::triangle, {200, 200}, {0, 0}, false},
                          Case{"narrow arc", LineShape::arc, {200, 400}, {100, 200 + 50}, true},
                          Case{"chord of a narrow arc", LineShape::arc, {200, 400}, {100, 200}, false},
                          Case{"arc of 500", LineShape::arc, {500, 400}, {250, 200 + 75}, true},
                          Case{"wide arc", LineShape::arc, {800, 400}, {400, 200 + 100}, true},
                          Case{"wide arc where a narrow one runs", LineShape::arc, {800, 400}, {400, 200 + 50}, false},
                          Case{"start of a wave", LineShape::wave, {300, 200}, {0, 100}, true},
                          // 3 cycles: at a twelfth of the width the sine is -1, 0.6 of half the height above the middle.
                          Case{"first crest of a wave", LineShape::wave, {300, 200}, {25, 40}, true},
                          Case{"below a wave's first crest", LineShape::wave, {600, 400}, {50, 200 + 60}, false}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(pointIsInside(c.point, presetLine(c.shape, c.size)), c.hit);
    }
}

TEST(CanvasHit, ALineWithoutPointsIsNeverHitAndOneOfOnePointIsADot)
{
    EXPECT_EQ(distanceFromPolyline({0, 0}, {}), std::numeric_limits<double>::infinity());
    EXPECT_FALSE(pointIsInside({0, 0}, lineThrough(1, {})));
    EXPECT_TRUE(pointIsInside({110, 100}, lineThrough(1, {{100, 100}})));
    EXPECT_DOUBLE_EQ(distanceFromPolyline({3, 4}, {{0, 0}, {0, 0}}), 5);
}

TEST(CanvasHit, ADynamicGroupIsHitAnywhereInWhatItCovers)
{
    const TweenScene scene = canvasOf({groupAt(1, 100, 100, {box(2, 0, 0, 10, 10), box(3, 90, 90, 10, 10)})});
    EXPECT_EQ(hitAt(scene, {150, 150}), idOf(1)) << "between the children";
    EXPECT_EQ(hitAt(scene, {200, 200}), idOf(1));
    EXPECT_EQ(hitAt(scene, {201, 200}), std::nullopt) << "its own size of 200 plays no part";
}

TEST(CanvasHit, ADynamicGroupScalesAboutTheMiddleOfWhatItCovers)
{
    Layer group = groupAt(1, 10, 10, {box(2, 0, 0, 100, 100)});
    group.transform.scaleX = 2;
    const TweenScene scene = canvasOf({group}); // (-40, 10) to (160, 110).
    for (const CGPoint& inside : {CGPoint{-40, 10}, CGPoint{160, 110}}) EXPECT_EQ(hitAt(scene, inside), idOf(1));
    for (const CGPoint& outside : {CGPoint{-41, 50}, CGPoint{161, 50}, CGPoint{50, 111}})
        EXPECT_EQ(hitAt(scene, outside), std::nullopt);
}

TEST(CanvasHit, AFixedGroupIsHitInItsOwnBox)
{
    Layer group = groupAt(1, 100, 100, {box(2, 300, 300, 10, 10)});
    group.groupSizeMode = GroupSizeMode::fixed;
    EXPECT_EQ(hitAt(canvasOf({group}), {299, 299}), idOf(1));
    EXPECT_EQ(hitAt(canvasOf({group}), {405, 405}), std::nullopt);
}

TEST(CanvasHit, AFullScreenZoomIsHitInItsFrame)
{
    Layer zoom = box(1, 100, 100, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    EXPECT_EQ(hitAt(canvasOf({zoom}), {300, 200}), idOf(1));
}

TEST(CanvasHit, TheDeepestChildUnderThePointIsFound)
{
    Layer inner = groupAt(3, 50, 50, {box(4, 0, 0, 20, 20), box(5, 80, 80, 20, 20)});
    const Layer outer = groupAt(1, 100, 100, {box(2, 0, 0, 200, 200), inner});
    const CGPoint offset{100, 100};
    struct Case {
        const char* where;
        CGPoint point;
        std::optional<UUID> hit;
    };
    for (const Case& c : {Case{"in the inner group's child", {160, 160}, idOf(4)},
                          Case{"in the inner group between its children", {200, 200}, idOf(3)},
                          Case{"beside the inner group", {290, 290}, idOf(2)}, Case{"outside", {90, 90}, std::nullopt}}) {
        SCOPED_TRACE(c.where);
        EXPECT_EQ(topmostChildHit(outer, c.point, offset, 0), c.hit);
    }
}

TEST(CanvasHit, ChildrenAreHitWhereAStackPutsThem)
{
    Layer row = groupAt(1, 100, 0, {box(2, 10, 10, 50, 50), box(3, 0, 0, 50, 50)});
    row.groupLayout = GroupLayout::horizontal; // Gap 8: the second stands at 68.
    EXPECT_EQ(topmostChildHit(row, {100 + 70, 20}, {100, 0}, 0), idOf(3));
    EXPECT_EQ(topmostChildHit(row, {100 + 64, 20}, {100, 0}, 0), std::nullopt) << "in the gap";
    row.children.edit()[1].isLocked = true;
    EXPECT_EQ(topmostChildHit(row, {100 + 70, 20}, {100, 0}, 0), std::nullopt);
}

TEST(CanvasHit, AChildThatIsHiddenLockedOrOutsideItsSpansIsNotHitAndTheOneBehindItIs)
{
    Layer hidden = box(3, 0, 0, 50, 50), locked = box(4, 0, 0, 50, 50), later = box(5, 0, 0, 50, 50);
    hidden.isHidden = locked.isLocked = true;
    later.spans = {TimeSpan{.start = 1, .end = 2}};
    const Layer group = groupAt(1, 100, 100, {box(2, 0, 0, 50, 50), hidden, locked, later});
    Interpolation::invalidate();
    EXPECT_EQ(topmostChildHit(group, {120, 120}, {100, 100}, 0), idOf(2));
    EXPECT_EQ(topmostChildHit(group, {120, 120}, {100, 100}, 1), idOf(5));
}

TEST(CanvasHit, ASelectedLayerIsFoundAtAnyDepth)
{
    Layer turned = groupAt(1, 100, 100, {box(2, 0, 0, 100, 100), box(3, 0, 0, 20, 20)});
    turned.transform.rotation = 180; // About (50, 50): the small one stands at (180, 180) to (200, 200).
    const TweenScene scene = canvasOf({turned, box(4, 0, 0, 500, 500)});
    EXPECT_EQ(topmostSelectedHit(scene, {idOf(3)}, {190, 190}, 0), idOf(3)) << "through what lies over it";
    EXPECT_EQ(topmostSelectedHit(scene, {idOf(3)}, {110, 110}, 0), std::nullopt);
    EXPECT_EQ(topmostSelectedHit(scene, {idOf(3), idOf(4)}, {190, 190}, 0), idOf(4));
}

TEST(CanvasHit, ASelectedLayerInWhatIsNeverHitIsNotHitEither)
{
    enum class Around { nothing, hidden, locked, later };
    struct Case {
        const char* what;
        Around around;
        std::optional<UUID> hit;
        bool isOpen;
    };
    for (const Case& c : {Case{"in a plain group", Around::nothing, idOf(3), true},
                          Case{"in a hidden one", Around::hidden, std::nullopt, false},
                          Case{"in a locked one", Around::locked, std::nullopt, false},
                          Case{"in one outside its spans", Around::later, std::nullopt, true}}) {
        SCOPED_TRACE(c.what);
        Layer group = groupAt(1, 0, 0, {groupAt(2, 0, 0, {box(3, 0, 0, 50, 50)})});
        group.isHidden = c.around == Around::hidden;
        group.isLocked = c.around == Around::locked;
        if (c.around == Around::later) group.spans = {TimeSpan{.start = 1, .end = 2}};
        const TweenScene scene = canvasOf({group});
        Interpolation::invalidate();
        EXPECT_EQ(topmostSelectedHit(scene, {idOf(3)}, {20, 20}, 0), c.hit);
        EXPECT_EQ(isOpenToEdits(scene, idOf(3)), c.isOpen);
    }
    EXPECT_FALSE(isOpenToEdits(canvasOf({}), idOf(3))) << "no such layer";
}

TEST(CanvasHit, ASelectionIsKnownToHoldADescendant)
{
    const Layer group = groupAt(1, 0, 0, {groupAt(2, 0, 0, {box(3, 0, 0, 10, 10)})});
    EXPECT_TRUE(selectionContainsDescendant({idOf(3)}, group));
    EXPECT_FALSE(selectionContainsDescendant({idOf(1)}, group)) << "itself is none";
}

TEST(CanvasHit, ThePrimaryLayerIsTheFirstSelectedOneOfTheTree)
{
    const TweenScene scene = canvasOf({groupAt(1, 0, 0, {box(2, 0, 0, 10, 10)}), box(3, 0, 0, 10, 10)});
    EXPECT_EQ(selectedAnyLayer(scene, {idOf(3), idOf(2)})->id, idOf(2));
    EXPECT_EQ(selectedTopLevelLayer(scene, {idOf(3), idOf(2)})->id, idOf(3));
    EXPECT_EQ(selectedAnyLayer(scene, {}), nullptr);
}

TEST(CanvasHit, ThePictureInPictureParentIsFoundAtTheTopAlone)
{
    Layer zoom = box(1, 0, 0, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    zoom.children = {box(2, 0, 0, 100, 100)};
    EXPECT_EQ(pipParentZoom(canvasOf({zoom}), idOf(2)), nullptr) << "a full-screen zoom";
    zoom.zoomType = ZoomType::pictureInPicture;
    const TweenScene scene = canvasOf({zoom});
    EXPECT_EQ(pipParentZoom(scene, idOf(2))->id, idOf(1));
    EXPECT_EQ(pipParentZoom(canvasOf({groupAt(3, 0, 0, {zoom})}), idOf(2)), nullptr) << "not at the top";
}

/// A picture of one colour, which fills whatever box it is drawn in.
Bytes plainPicture()
{
    PixelBuffer picture(2, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) {
            std::uint8_t* pixel = picture.row(y) + 4 * x;
            pixel[0] = pixel[1] = 0;
            pixel[2] = pixel[3] = 255;
        }
    return Bytes(encodePng(picture));
}

bool paints(Layer layer, int x, int y, double time)
{
    const TweenScene alone{.width = RandomLayerTree::sceneWidth, .height = RandomLayerTree::sceneHeight, .layers = {layer}};
    PixelBuffer picture(static_cast<int>(alone.width), static_cast<int>(alone.height));
    Exporter::drawScene(alone, time, *makeRasterContext(picture), alone.size());
    const std::uint8_t* pixel = picture.row(y) + 4 * x;
    return pixel[0] != 255 || pixel[1] != 255 || pixel[2] != 255;
}

TEST(CanvasHit, WhereAnUprightRectangleOrImageIsHitItPaints)
{
    const Bytes picture = plainPicture();
    int compared = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        RandomLayerTree random(seed);
        TweenScene scene = random.scene();
        for (Layer& layer : scene.layers.edit())
            if (layer.kind == Layer::Kind::image) layer.imageData = picture;
        const double time = random.time();
        for (int i = 0; i < 20; ++i) {
            const Layer& target = scene.layers[random.index(scene.layers.size())];
            const CGRect near = insetBy(Interpolation::placement(target, time).box(), -20, -20);
            const int x = static_cast<int>(random.between(near.minX(), near.maxX()));
            const int y = static_cast<int>(random.between(near.minY(), near.maxY()));
            if (x < 0 || y < 0 || x >= 800 || y >= 600) continue;
            const std::optional<UUID> hit = hitAt(scene, {x + 0.5, y + 0.5}, time);
            if (!hit) continue;
            const Layer layer = Interpolation::resolve(*findLayer(scene, *hit), time);
            const bool isComparable = layer.kind == Layer::Kind::rectangle || layer.kind == Layer::Kind::image;
            if (!isComparable || layer.transform.rotation != 0) continue;
            ++compared;
            RC_ASSERT(paints(*findLayer(scene, *hit), x, y, time));
        }
    }));
    EXPECT_GT(compared, 20) << "the scenes have what is compared";
}

} // namespace
} // namespace larkspool
