#include "canvas/scene_fit.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TEST(SceneFit, TheSceneJustFitsAndIsCentredThenZoomedAndMoved)
{
    struct Case { const char* what; CGSize view; double zoom; CGPoint pan; SceneFit expected; };
    for (const Case& c : {Case{"as wide as the view", {400, 600}, 1, {0, 0}, {0.5, 0, 200}},
                          Case{"as high as the view", {1000, 200}, 1, {0, 0}, {0.5, 300, 0}},
                          Case{"zoomed about the middle", {400, 600}, 2, {0, 0}, {1, -200, 100}},
                          Case{"moved by view points", {400, 600}, 2, {30, -7}, {1, -170, 93}}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(SceneFit::of({800, 400}, c.view, c.zoom, c.pan), c.expected);
    }
}

TEST(SceneFit, TakesPointsThereAndBack)
{
    const SceneFit fit{.scale = 0.25, .originX = 40, .originY = -8};
    EXPECT_EQ(fit.viewFromScene({100, 200}), (CGPoint{65, 42}));
    EXPECT_EQ(fit.sceneFromView({65, 42}), (CGPoint{100, 200}));
}

} // namespace
} // namespace larkspool
