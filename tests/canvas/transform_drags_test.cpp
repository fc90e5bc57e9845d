#include "canvas/transform_drags.h"

#include "canvas/canvas_hand.h"

#include <gtest/gtest.h>

#include <numbers>

namespace larkspool {
namespace {

using H = SelectionHandle;

/// Command is down, so that nothing snaps, unless told otherwise.
ResizeDrag dragOf(H handle, double dx, double dy, Modifiers modifiers = {.command = true})
{
    return {.handle = handle, .delta = {dx, dy}, .modifiers = modifiers};
}

ResizeBegin beginOf(Layer layer, CGSize scene = {800, 600})
{
    return {.layer = std::move(layer), .scene = scene};
}

CGRect rect(double x, double y, double width, double height)
{
    return {{x, y}, {width, height}};
}

void expectRect(const CGRect& box, const CGRect& expected)
{
    EXPECT_NEAR(box.minX(), expected.minX(), 1e-9);
    EXPECT_NEAR(box.minY(), expected.minY(), 1e-9);
    EXPECT_NEAR(box.size.width, expected.size.width, 1e-9);
    EXPECT_NEAR(box.size.height, expected.size.height, 1e-9);
}

TEST(Resize, EachHandleMovesItsSidesAndHoldsTheOthers)
{
    struct Case {
        H handle;
        CGRect box;
    };
    // From (100, 100, 200, 100), by (10, 20).
    for (const Case& c : {Case{H::nw, rect(110, 120, 190, 80)}, Case{H::n, rect(100, 120, 200, 80)},
                          Case{H::ne, rect(100, 120, 210, 80)}, Case{H::e, rect(100, 100, 210, 100)},
                          Case{H::se, rect(100, 100, 210, 120)}, Case{H::s, rect(100, 100, 200, 120)},
                          Case{H::sw, rect(110, 100, 190, 120)}, Case{H::w, rect(110, 100, 190, 100)}}) {
        SCOPED_TRACE(static_cast<int>(c.handle));
        expectRect(resizedBox(beginOf(box(1, 100, 100, 200, 100)), dragOf(c.handle, 10, 20)), c.box);
    }
}

TEST(Resize, WithOptionTheMiddleStays)
{
    const Modifiers option{.command = true, .option = true};
    expectRect(resizedBox(beginOf(box(1, 100, 100, 200, 100)), dragOf(H::se, 10, 20, option)), rect(90, 80, 220, 140));
    expectRect(resizedBox(beginOf(box(1, 100, 100, 200, 100)), dragOf(H::w, 10, 20, option)), rect(110, 100, 180, 100));
}

TEST(Resize, ASideStopsAtOneAndTheLayerDoesNotFlip)
{
    expectRect(resizedBox(beginOf(box(1, 100, 100, 200, 100)), dragOf(H::se, -500, -500)), rect(100, 100, 1, 1));
    expectRect(resizedBox(beginOf(box(1, 100, 100, 200, 100)), dragOf(H::nw, 500, 0)), rect(299, 100, 1, 100));
}

TEST(Resize, SizesAndPlacesAreWholeNumbers)
{
    expectRect(resizedBox(beginOf(box(1, 100.4, 100, 200, 100)), dragOf(H::e, 10.6, 0)), rect(100, 100, 211, 100));
}

TEST(Resize, ThePointersWayIsTakenAlongTheLayersOwnAxes)
{
    Layer turned = box(1, 100, 100, 200, 100);
    turned.transform.rotation = 90; // The layer's right is down.
    expectRect(resizedBox(beginOf(turned), dragOf(H::e, 5, 30)), rect(100, 100, 230, 100));
    turned.transform = {.x = 100, .y = 100, .scaleX = 2, .scaleY = 0};
    expectRect(resizedBox(beginOf(turned), dragOf(H::se, 30, 30)), rect(100, 100, 215, 130));
}

TEST(Resize, TheOppositeCornerOfARotatedLayerIsHeldAsIfItWereUpright)
{
    Layer turned = box(1, 100, 100, 200, 100);
    turned.transform.rotation = 90;
    const CGRect resized = resizedBox(beginOf(turned), dragOf(H::se, -40, 60)); // Wider by 60, higher by 40.
    expectRect(resized, rect(100, 100, 260, 140));
    const CGPoint cornerBefore = turned.transform.cgAffine(turned.size).apply(CGPoint{});
    const CGPoint cornerAfter = turned.transform.cgAffine(resized.size).apply(CGPoint{});
    EXPECT_NE(cornerBefore, cornerAfter);
    Layer upright = box(1, 100, 100, 200, 100);
    const CGRect held = resizedBox(beginOf(upright), dragOf(H::se, 60, 40));
    EXPECT_EQ(held.origin, (CGPoint{100, 100}));
}

TEST(Resize, ProportionalCornersGoAlongTheDiagonal)
{
    const Modifiers shift{.command = true, .shift = true};
    // The diagonal of 300 x 400 is 500 long; (30, 40) lies along it, a tenth of it.
    expectRect(resizedBox(beginOf(box(1, 0, 0, 300, 400)), dragOf(H::se, 30, 40, shift)), rect(0, 0, 330, 440));
    // (50, 0) is 50 * 300 / 500 = 30 along it: 6 percent.
    expectRect(resizedBox(beginOf(box(1, 0, 0, 300, 400)), dragOf(H::se, 50, 0, shift)), rect(0, 0, 318, 424));
    expectRect(resizedBox(beginOf(box(1, 0, 0, 300, 400)), dragOf(H::nw, -30, -40, shift)), rect(-30, -40, 330, 440));
    expectRect(resizedBox(beginOf(box(1, 0, 0, 300, 400)), dragOf(H::e, 30, 0, shift)), rect(0, 0, 330, 400)); // Edges are free.
}

TEST(Resize, ShiftTurnsTheLockOfTheAspectRound)
{
    for (const bool locked : {false, true}) {
        for (const bool shift : {false, true}) {
            ResizeDrag drag = dragOf(H::se, 50, 0, {.command = true, .shift = shift});
            drag.sizeAspectLocked = locked;
            const CGRect resized = resizedBox(beginOf(box(1, 0, 0, 300, 400)), drag);
            expectRect(resized, locked != shift ? rect(0, 0, 318, 424) : rect(0, 0, 350, 400));
        }
    }
}

TEST(Resize, MovingEdgesSnapToTheScene)
{
    const Layer layer = box(1, 100, 100, 200, 100);
    struct Case {
        const char* what;
        H handle;
        CGPoint delta;
        CGRect box;
    };
    for (const Case& c : {Case{"right edge to the centre", H::e, {95, 0}, rect(100, 100, 300, 100)},
                          Case{"right edge out of reach", H::e, {93, 0}, rect(100, 100, 293, 100)},
                          Case{"right edge to the right", H::e, {506, 0}, rect(100, 100, 700, 100)},
                          Case{"left edge to the left", H::w, {-96, 0}, rect(0, 100, 300, 100)},
                          Case{"bottom edge to the middle", H::s, {0, 104}, rect(100, 100, 200, 200)},
                          Case{"top edge to the top", H::n, {0, -97}, rect(100, 0, 200, 200)},
                          Case{"both of a corner", H::se, {95, 104}, rect(100, 100, 300, 200)},
                          Case{"no edge of the other axis", H::e, {10, 104}, rect(100, 100, 210, 100)}}) {
        SCOPED_TRACE(c.what);
        expectRect(resizedBox(beginOf(layer), dragOf(c.handle, c.delta.x, c.delta.y, {})), c.box);
    }
    expectRect(resizedBox(beginOf(layer), dragOf(H::e, 95, 0, {.command = true})), rect(100, 100, 295, 100));
    ResizeDrag small = dragOf(H::e, 89, 0, {});
    small.fit.scale = 0.5; // Twelve units of the scene.
    expectRect(resizedBox(beginOf(layer), small), rect(100, 100, 300, 100));
    ResizeBegin nested = beginOf(layer);
    nested.ancestorOffset = {50, 0}; // The edge stands 50 further right.
    expectRect(resizedBox(nested, dragOf(H::e, 47, 0, {})), rect(100, 100, 250, 100));
}

TEST(Resize, ASnappedProportionalResizeKeepsItsAspect)
{
    // 296 x 222 at (100, 0): the right edge at 396 snaps to 400, and the height follows the width.
    const Layer layer = box(1, 100, 0, 200, 150);
    const CGRect across = resizedBox(beginOf(layer), dragOf(H::se, 96, 72, {.shift = true}));
    expectRect(across, rect(100, 0, 300, 225));
    // At the top left it grows from the bottom right, at (300, 150): the left edge snaps to 0.
    const CGRect fromCorner = resizedBox(beginOf(layer), dragOf(H::nw, -96, -72, {.shift = true}));
    expectRect(fromCorner, rect(0, -75, 300, 225));
}

TEST(Resize, AProportionalResizeThatSnapsInHeightAloneTakesItsWidthFromThat)
{
    // 394 x 197: the bottom edge at 297 snaps to 300, and the right one, at 444, is near nothing.
    const Layer layer = box(1, 50, 100, 200, 100);
    expectRect(resizedBox(beginOf(layer), dragOf(H::se, 194, 97, {.shift = true})), rect(50, 100, 400, 200));
    // The top edge at 3 snaps to 0, and the bottom one stays at 200.
    expectRect(resizedBox(beginOf(layer), dragOf(H::ne, 194, -97, {.shift = true})), rect(50, 0, 400, 200));
}

TEST(Resize, ARenditionThatSnapsKeepsTheAspectOfItsZoom)
{
    ResizeBegin begin = beginOf(box(1, 100, 100, 200, 150));
    begin.parentZoomSize = CGSize{400, 300};
    // The right edge at 397 snaps to 400: 300 wide and so 225 high, about the middle at 175.
    expectRect(resizedBox(begin, dragOf(H::e, 97, 0, {})), rect(100, 63, 300, 225));
    // The bottom edge at 297 snaps to 300: 200 high and so 267 wide, about the middle at 200.
    expectRect(resizedBox(begin, dragOf(H::s, 0, 47, {})), rect(67, 100, 267, 200));
    // One that has had another aspect takes the zoom's: 297 wide at first, with the right edge at 397.
    begin.layer = box(1, 100, 100, 200, 100);
    expectRect(resizedBox(begin, dragOf(H::se, 97, 48.5, {})), rect(100, 100, 300, 225));
}

TEST(Resize, WithOptionASnappedBoxKeepsItsMiddle)
{
    expectRect(resizedBox(beginOf(box(1, 100, 100, 200, 100)), dragOf(H::e, 97, 0, {.option = true})), rect(0, 100, 400, 100));
}

TEST(Resize, AFullScreenZoomKeepsItsAspectAndStaysInTheSceneWithoutSnapping)
{
    Layer zoom = box(1, 100, 100, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    expectRect(resizedBox(beginOf(zoom), dragOf(H::se, 40, 30, {})), rect(100, 100, 440, 330));
    expectRect(resizedBox(beginOf(zoom), dragOf(H::e, 297, 0, {})), rect(100, 100, 697, 300));
    expectRect(resizedBox(beginOf(zoom), dragOf(H::se, 800, 600, {})), rect(0, 0, 800, 600)); // Held at the scene's size.
    expectRect(resizedBox(beginOf(zoom), dragOf(H::se, 360, 270, {})), rect(40, 30, 760, 570)); // Held within the scene.
}

TEST(Resize, ARenditionKeepsTheAspectOfItsZoom)
{
    ResizeBegin begin = beginOf(box(1, 0, 0, 200, 100));
    begin.parentZoomSize = CGSize{400, 300};
    expectRect(resizedBox(begin, dragOf(H::e, 40, 0)), rect(0, -40, 240, 180)); // The width leads: 240 * 3 / 4.
    expectRect(resizedBox(begin, dragOf(H::s, 0, 50)), rect(0, 0, 200, 150)); // The height does: 150 * 4 / 3.
    expectRect(resizedBox(begin, dragOf(H::s, 0, -99)), rect(100, 0, 1, 1));
}

TEST(Resize, KeyframedSidesGetAKeyframeAndOthersAreWritten)
{
    Layer layer = box(1, 0, 0, 100, 100);
    addKeyframe(layer, Keyframe::AnimatableProperty::width, 1, 100, /*wait=*/0.5);
    layer.keyframes.edit()[0].easing = Easing::linear();
    CountedBits bits;
    upsertResizeKeyframes(layer, rect(10, 20, 130, 140), {.playhead = 1, .random = &bits});
    EXPECT_EQ(layer.transform.x, 10);
    EXPECT_EQ(layer.size, (CGSize{100, 140}));
    ASSERT_EQ(layer.keyframes.size(), 1u);
    EXPECT_EQ(std::get<double>(layer.keyframes[0].value), 130);
    EXPECT_EQ(layer.keyframes[0].wait, 0.5);
    EXPECT_EQ(layer.keyframes[0].easing, Easing::linear());

    upsertResizeKeyframes(layer, rect(0, 0, 77, 88), {.playhead = 2, .keyframeAtPlayhead = false, .random = &bits});
    EXPECT_EQ(layer.size, (CGSize{77, 88}));
    EXPECT_EQ(layer.keyframes.size(), 1u);
}

TEST(Resize, ATextsBoxIsThenAPersonsAndRenditionsTakeAFullScreenZoomsAspect)
{
    Layer text = box(1, 0, 0, 100, 100);
    text.kind = Layer::Kind::text;
    upsertResizeKeyframes(text, rect(0, 0, 120, 100), {});
    EXPECT_TRUE(text.textUserResized);

    Layer zoom = box(1, 0, 0, 400, 300);
    zoom.kind = Layer::Kind::zoom;
    zoom.children = {box(2, 0, 0, 100, 75), box(3, 0, 0, 100, 75)};
    zoom.children.edit()[0].pipRendition = true;
    upsertResizeKeyframes(zoom, rect(0, 0, 400, 200), {});
    EXPECT_EQ(zoom.children[0].size, (CGSize{100, 50}));
    EXPECT_EQ(zoom.children[1].size, (CGSize{100, 75})) << "no rendition";
    EXPECT_FALSE(zoom.textUserResized);
}

TEST(Rotation, ItSnapsWithinThreeDegreesOfAStep)
{
    const auto degrees = [](double value) { return value * std::numbers::pi / 180; };
    struct Case {
        const char* what;
        double initial, change;
        Modifiers modifiers;
        double rotation;
    };
    for (const Case& c : {Case{"43 with steps of 45", 0, 43, {.shift = true}, 45},
                          Case{"41 with steps of 45", 0, 41, {.shift = true}, 41},
                          Case{"three degrees off", 42, 0, {.shift = true}, 45},
                          Case{"a little more", 41.99, 0, {.shift = true}, 41.99},
                          Case{"28 with steps of 15", 0, 28, {}, 30}, Case{"26 with steps of 15", 0, 26, {}, 26},
                          Case{"28 with Command", 0, 28, {.command = true}, 28},
                          Case{"below 0", -10, -6, {}, -15}, Case{"on top of what there was", 350, 20, {}, 370},
                          Case{"370 with steps of 45", 350, 11, {.shift = true}, 360}}) {
        SCOPED_TRACE(c.what);
        EXPECT_NEAR(draggedRotation(c.initial, 0.3, 0.3 + degrees(c.change), c.modifiers), c.rotation, 1e-9);
    }
}

TEST(Rotation, ItGoesTheShorterWayRound)
{
    // From 170 to -170 degrees is 20 onward, not 340 back.
    constexpr double degree = std::numbers::pi / 180;
    EXPECT_NEAR(draggedRotation(5, 170 * degree, -170 * degree, {.command = true}), 25, 1e-9);
    EXPECT_NEAR(draggedRotation(5, -170 * degree, 170 * degree, {.command = true}), -15, 1e-9);
}

} // namespace
} // namespace larkspool
