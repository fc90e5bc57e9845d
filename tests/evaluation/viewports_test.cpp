#include "evaluation/viewports.h"

#include "evaluation/evaluation_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

Layer zoomOf(ZoomType type, std::vector<Layer> children = {})
{
    Layer zoom = layerAt({}, {10, 10}, Kind::zoom);
    zoom.zoomType = type;
    zoom.children = std::move(children);
    return zoom;
}

TEST(FilteredLayers, LeavesOutPictureInPictureZoomsAtEveryDepth)
{
    const Layer box = layerAt({}, {10, 10}), child = layerAt({1, 2}, {3, 4});
    const Layer view = zoomOf(ZoomType::pictureInPicture, {child}), camera = zoomOf(ZoomType::fullScreen, {view, child});
    const Layer outer = groupOf({groupOf({view, child}), box});
    Layer inner = outer.children[0], expected = outer, expectedCamera = camera;
    inner.children = {child};
    expected.children = {inner, box};
    expectedCamera.children = {child};
    EXPECT_EQ(filteredLayers({view, box, outer, view, camera}), (Array<Layer>{box, expected, expectedCamera}));
    EXPECT_EQ(filteredLayers({view}), Array<Layer>());
    EXPECT_EQ(filteredLayers({}), Array<Layer>());
}

TEST(FindPIPParentZoom, IsTheFirstZoomThatHasTheChild)
{
    const Layer child = layerAt({}, {10, 10}), deeper = groupOf({layerAt({}, {5, 5})});
    const Layer first = zoomOf(ZoomType::pictureInPicture, {deeper, child}), second = zoomOf(ZoomType::pictureInPicture, {child});
    const Array<Layer> layers{child, zoomOf(ZoomType::fullScreen, {child}), first, second};
    EXPECT_EQ(findPIPParentZoom(child.id, layers), &std::as_const(layers)[2]);
    EXPECT_EQ(findPIPParentZoom(deeper.id, layers), &std::as_const(layers)[2]);
    EXPECT_EQ(findPIPParentZoom(deeper.children[0].id, layers), nullptr) << "no child of the zoom itself";
    EXPECT_EQ(findPIPParentZoom(first.id, layers), nullptr) << "the zoom is not its own child";
    EXPECT_EQ(findPIPParentZoom(child.id, {groupOf({first})}), nullptr) << "a zoom within a group";
    EXPECT_EQ(findPIPParentZoom(child.id, {}), nullptr);
}

} // namespace
} // namespace larkspool
