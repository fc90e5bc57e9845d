#include "export/transition_layer.h"

#include "rendering/retained/compositing_renderer.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using ExporterGPU::transitionLayer;
using Kind = SceneTransition::Kind;

/// The tree of a plain scene.
CompositingNode plain(RasterColor color, CGSize size = {90, 60})
{
    return {.size = size, .background = color};
}

constexpr RasterColor red{1, 0, 0, 1}, blue{0, 0, 1, 1}, white{1, 1, 1, 1};

void expectSame(const AffineTransform& a, const AffineTransform& b)
{
    EXPECT_NEAR(a.a, b.a, 1e-12);
    EXPECT_NEAR(a.b, b.b, 1e-12);
    EXPECT_NEAR(a.c, b.c, 1e-12);
    EXPECT_NEAR(a.d, b.d, 1e-12);
    EXPECT_NEAR(a.tx, b.tx, 1e-12);
    EXPECT_NEAR(a.ty, b.ty, 1e-12);
}

TEST(TransitionLayer, PlacesBothScenesByTheKind)
{
    // Of 90 x 60 pixels. What grows keeps its centre at 45, 30: by 1.1, its corner goes to 45 - 49.5, 30 - 33; by 0.8, to 45 - 36,
    // 30 - 24.
    struct Case { const char* what; Kind kind; double progress; AffineTransform out; double outOpacity; AffineTransform in; double inOpacity; };
    for (const Case& c : {Case{"fade", Kind::fade, 1.0 / 3, {}, 2.0 / 3, {}, 1.0 / 3},
                          Case{"zoom", Kind::zoom, 1.0 / 3, {1.1, 0, 0, 1.1, -4.5, -3}, 2.0 / 3, {0.8, 0, 0, 0.8, 9, 6}, 1.0 / 3},
                          Case{"slide to the left", Kind::slideL, 1.0 / 3, {1, 0, 0, 1, -30, 0}, 1, {1, 0, 0, 1, 60, 0}, 1},
                          Case{"push", Kind::push, 1.0 / 3, {1, 0, 0, 1, -30, 0}, 1, {1, 0, 0, 1, 60, 0}, 1},
                          Case{"slide to the right", Kind::slideR, 1.0 / 3, {1, 0, 0, 1, 30, 0}, 1, {1, 0, 0, 1, -60, 0}, 1},
                          Case{"fade, at its end", Kind::fade, 1, {}, 0, {}, 1},
                          Case{"zoom, at its end", Kind::zoom, 1, {1.3, 0, 0, 1.3, -13.5, -9}, 0, {}, 1},
                          Case{"slide to the left, at its end", Kind::slideL, 1, {1, 0, 0, 1, -90, 0}, 1, {}, 1},
                          Case{"slide to the right, at its end", Kind::slideR, 1, {1, 0, 0, 1, 90, 0}, 1, {}, 1}}) {
        SCOPED_TRACE(c.what);
        const CompositingNode root = transitionLayer(c.kind, c.progress, plain(red), plain(blue));
        ASSERT_GE(root.children.size(), 2u);
        const CompositingNode& out = root.children.front();
        const CompositingNode& in = root.children.back();
        EXPECT_EQ(out.background, red);
        EXPECT_EQ(in.background, blue);
        expectSame(out.transform, c.out);
        expectSame(in.transform, c.in);
        EXPECT_NEAR(out.opacity, c.outOpacity, 1e-12);
        EXPECT_NEAR(in.opacity, c.inOpacity, 1e-12);
    }
}

TEST(TransitionLayer, BothScenesArePicturesOverBlack)
{
    const CompositingNode root = transitionLayer(Kind::fade, 0.5, plain(red), plain(blue));
    EXPECT_EQ(root.size, (CGSize{90, 60}));
    EXPECT_EQ(root.background, (RasterColor{0, 0, 0, 1}));
    EXPECT_EQ(root.opacity, 1);
    for (const CompositingNode& child : root.children) EXPECT_EQ(child.compositing, CompositingNode::Compositing::group);
}

PixelBuffer composited(const CompositingNode& root)
{
    PixelBuffer picture(static_cast<std::int64_t>(root.size.width), static_cast<std::int64_t>(root.size.height));
    makeSoftwareRenderer()->render(root, picture);
    return picture;
}

TEST(TransitionLayer, NoDarkLineShowsBetweenWholePixels)
{
    for (const Kind kind : {Kind::slideL, Kind::slideR, Kind::push})
        for (const double progress : {0.03, 0.25, 0.5, 0.77, 1.0}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(kind) << " at " << progress);
            const PixelBuffer picture = composited(transitionLayer(kind, progress, plain(white, {10, 2}), plain(white, {10, 2})));
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < 40; ++x) ASSERT_EQ(picture.row(y)[x], 255) << x / 4;
        }
}

TEST(TransitionLayer, WhatLiesOutsideASceneDoesNotShowInTheOther)
{
    CompositingNode out = plain(red, {10, 2});
    out.children = {{.size = {10, 2}, .transform = AffineTransform().translatedBy(10, 0), .background = white}};
    const PixelBuffer picture = composited(transitionLayer(Kind::slideL, 0.5, out, plain(blue, {10, 2})));
    for (int x = 0; x < 10; ++x) {
        const std::uint8_t* pixel = picture.row(0) + 4 * x;
        EXPECT_EQ(pixel[2], x < 5 ? 255 : 0) << "red at " << x;
        EXPECT_EQ(pixel[0], x < 5 ? 0 : 255) << "blue at " << x;
        EXPECT_EQ(pixel[1], 0) << "green at " << x;
    }
}

} // namespace
} // namespace larkspool
