#include "canvas/selection_handles.h"

#include "canvas/canvas_hand.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

SelectionFrame frameOf(const TweenScene& scene, std::uint64_t number)
{
    Interpolation::invalidate();
    return selectionFrame(scene, idOf(number), 0).value();
}

void expectPoint(CGPoint point, CGPoint expected)
{
    EXPECT_NEAR(point.x, expected.x, 1e-9);
    EXPECT_NEAR(point.y, expected.y, 1e-9);
}

TEST(SelectionHandles, TheEightStandAtCornersAndMiddlesOfTheFrame)
{
    const SelectionFrame frame = frameOf(canvasOf({box(1, 100, 100, 200, 100)}), 1);
    const CGPoint expected[] = {{100, 100}, {200, 100}, {300, 100}, {300, 150}, {300, 200}, {200, 200}, {100, 200}, {100, 150}};
    for (std::size_t i = 0; i < selectionHandleCount; ++i) {
        SCOPED_TRACE(i);
        const auto handle = static_cast<SelectionHandle>(i);
        expectPoint(frame.viewPoint(handle, {}), expected[i]);
        EXPECT_EQ(handleAt(frame, expected[i], {}), handle);
    }
}

TEST(SelectionHandles, TheyTurnAndScaleWithTheLayer)
{
    Layer layer = box(1, 100, 100, 200, 100);
    layer.transform.rotation = 90; // About (200, 150): the top left corner goes to the top right.
    const SelectionFrame turned = frameOf(canvasOf({layer}), 1);
    expectPoint(turned.viewPoint(SelectionHandle::nw, {}), {250, 50});
    expectPoint(turned.viewPoint(SelectionHandle::e, {}), {200, 250});
    expectPoint(turned.viewPoint(SelectionHandle::se, {}), {150, 250});
    layer.transform = {.x = 100, .y = 100, .scaleX = 2};
    const SelectionFrame wide = frameOf(canvasOf({layer}), 1);
    expectPoint(wide.viewPoint(SelectionHandle::nw, {}), {0, 100});
    expectPoint(wide.viewPoint(SelectionHandle::se, {}), {400, 200});
}

TEST(SelectionHandles, AHandleIsTakenWithinTenPointsOfTheView)
{
    const SelectionFrame frame = frameOf(canvasOf({box(1, 100, 100, 200, 100)}), 1);
    EXPECT_EQ(handleAt(frame, {90, 100}, {}), SelectionHandle::nw);
    EXPECT_EQ(handleAt(frame, {89.9, 100}, {}), std::nullopt);
    // At half the size (150, 100) lies at (75, 50), and ten points of the view are twenty of the scene.
    const SceneFit half{.scale = 0.5};
    EXPECT_EQ(handleAt(frame, {40, 50}, half), SelectionHandle::nw);
    EXPECT_EQ(handleAt(frame, {39.9, 50}, half), std::nullopt);
}

TEST(SelectionHandles, OfSeveralWithinReachTheNearestIsTaken)
{
    const SelectionFrame frame = frameOf(canvasOf({box(1, 100, 100, 12, 12)}), 1);
    EXPECT_EQ(handleAt(frame, {111, 112}, {}), SelectionHandle::se);
    EXPECT_EQ(handleAt(frame, {106, 99}, {}), SelectionHandle::n);
}

TEST(SelectionHandles, TheRotateHandleStandsTwentyFourPointsAboveTheTopEdge)
{
    Layer layer = box(1, 100, 100, 200, 100);
    expectPoint(rotateHandleViewPoint(frameOf(canvasOf({layer}), 1), {}), {200, 76});
    expectPoint(rotateHandleViewPoint(frameOf(canvasOf({layer}), 1), {.scale = 2}), {400, 176});
    layer.transform.rotation = 90; // About (200, 150): the top edge is at the right, at x 250.
    expectPoint(rotateHandleViewPoint(frameOf(canvasOf({layer}), 1), {}), {274, 150});
    layer.transform = {.x = 100, .y = 100, .scaleY = -1};
    expectPoint(rotateHandleViewPoint(frameOf(canvasOf({layer}), 1), {}), {200, 224});
}

TEST(SelectionHandles, CroppedMediaHaveTheirHandlesAroundWhatShows)
{
    Layer image = box(1, 100, 100, 200, 100);
    image.kind = Layer::Kind::image;
    image.cropMode = CropMode::manual;
    image.cropRect = {{0.5, 0.5}, {0.5, 0.25}};
    const SelectionFrame frame = frameOf(canvasOf({image}), 1);
    expectPoint(frame.viewPoint(SelectionHandle::nw, {}), {200, 150});
    expectPoint(frame.viewPoint(SelectionHandle::se, {}), {300, 175});
    expectPoint(rotateHandleViewPoint(frame, {}), {250, 126});
    expectPoint(rotateHandleViewPoint(image, {{100, 50}, {100, 25}}, {}), {250, 126});
}

TEST(SelectionHandles, ANestedLayerHasThemWhereItIsSeen)
{
    Layer group = groupAt(1, 100, 100, {box(2, 0, 0, 100, 100), box(3, 100, 0, 100, 100)});
    expectPoint(frameOf(canvasOf({group}), 3).viewPoint(SelectionHandle::se, {}), {300, 200});
    group.transform.rotation = 90; // About (100, 50) of the group, which is (200, 150): the right child goes to the bottom.
    expectPoint(frameOf(canvasOf({group}), 3).viewPoint(SelectionHandle::nw, {}), {250, 150});
    expectPoint(frameOf(canvasOf({group}), 3).pivot, {200, 200});
}

TEST(SelectionHandles, ADynamicGroupHasNoSizeToChangeButTurns)
{
    Layer group = groupAt(1, 100, 100, {box(2, 10, 10, 40, 20)});
    const SelectionFrame frame = frameOf(canvasOf({group}), 1);
    EXPECT_EQ(handleAt(frame, {110, 110}, {}), std::nullopt);
    expectPoint(rotateHandleViewPoint(frame, {}), {130, 86});
    expectPoint(frame.pivot, {130, 120});
    group.groupSizeMode = GroupSizeMode::fixed;
    EXPECT_EQ(handleAt(frameOf(canvasOf({group}), 1), {300, 300}, {}), SelectionHandle::se);
    EXPECT_FALSE(selectionFrame(canvasOf({groupAt(1, 0, 0, {})}), idOf(1), 0)) << "nothing of it shows";
    EXPECT_FALSE(selectionFrame(canvasOf({}), idOf(1), 0));
}

TEST(SelectionHandles, ALineHasItsPointsAndAPresetItsTwoEnds)
{
    Layer line = box(1, 100, 100, 200, 40);
    line.kind = Layer::Kind::line;
    line.linePoints = {CGPoint{1, 1}, CGPoint{50, 30}, CGPoint{199, 39}};
    EXPECT_EQ(handleAt(frameOf(canvasOf({line}), 1), {100, 100}, {}), std::nullopt);
    EXPECT_EQ(linePointsInScene(canvasOf({line}), idOf(1), 0),
              (std::vector<CGPoint>{{101, 101}, {150, 130}, {299, 139}}));
    for (const LineShape shape :
         {LineShape::square, LineShape::circle, LineShape::triangle, LineShape::arc, LineShape::wave}) {
        line.lineShape = shape;
        EXPECT_EQ(linePointsInScene(canvasOf({line}), idOf(1), 0), (std::vector<CGPoint>{{100, 120}, {300, 120}}));
    }
    EXPECT_TRUE(linePointsInScene(canvasOf({box(1, 0, 0, 9, 9)}), idOf(1), 0).empty());
    EXPECT_EQ(linePointAt({{0, 0}, {50, 0}}, {42, 0}, {}), 1u);
    EXPECT_EQ(linePointAt({{0, 0}, {50, 0}}, {25, 0}, {}), std::nullopt);
}

TEST(SelectionHandles, TheirCursorsTurnWithTheFrame)
{
    using H = SelectionHandle;
    struct Case { const char* what; double rotation, scaleX; H handle; CanvasCursor cursor; };
    for (const Case& c : {Case{"upright", 0, 1, H::n, CanvasCursor::resizeNS}, Case{"upright", 0, 1, H::se, CanvasCursor::resizeNWSE},
                          Case{"the corner of a long frame", 0, 9, H::ne, CanvasCursor::resizeNESW},
                          Case{"a little", 20, 1, H::e, CanvasCursor::resizeEW}, Case{"an eighth", 45, 1, H::e, CanvasCursor::resizeNWSE},
                          Case{"an eighth", 45, 1, H::nw, CanvasCursor::resizeNS}, Case{"a quarter", 90, 1, H::n, CanvasCursor::resizeEW},
                          Case{"a quarter", 90, 1, H::ne, CanvasCursor::resizeNWSE}, Case{"back", -45, 1, H::s, CanvasCursor::resizeNWSE},
                          Case{"half", 180, 1, H::w, CanvasCursor::resizeEW}, Case{"mirrored", 0, -1, H::se, CanvasCursor::resizeNESW},
                          Case{"no width at all", 45, 0, H::e, CanvasCursor::resizeEW}}) {
        SCOPED_TRACE(c.what);
        Layer layer = box(1, 100, 100, 200, 100);
        layer.transform.rotation = c.rotation;
        layer.transform.scaleX = c.scaleX;
        EXPECT_EQ(cursorForHandle(frameOf(canvasOf({layer}), 1), c.handle), c.cursor);
    }
}

} // namespace
} // namespace larkspool
