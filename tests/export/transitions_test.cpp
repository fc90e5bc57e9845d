#include "export/transitions.h"

#include "rendering/frame_composition.h"
#include "support/golden.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Exporter::TransitionPainter;
using Kind = SceneTransition::Kind;

TweenScene plain(const ColorRGBA& color, CGSize size = {40, 20})
{
    return {.width = size.width, .height = size.height, .background = color};
}

const ColorRGBA red{1, 0, 0, 1}, blue{0, 0, 1, 1};

PixelBuffer drawn(Kind kind, double progress, const TweenScene& out = plain(red), const TweenScene& in = plain(blue))
{
    PixelBuffer picture(40, 20);
    TransitionPainter(kind, out, in).draw(progress, picture);
    return picture;
}

/// Red and blue of a pixel.
std::pair<int, int> at(const PixelBuffer& picture, int x, int y = 10)
{
    return {picture.row(y)[4 * x + 2], picture.row(y)[4 * x]};
}

const std::pair<int, int> redPixel{255, 0}, bluePixel{0, 255}, blackPixel{0, 0};

TEST(Transitions, BeginWithTheOldSceneAndEndWithTheNew)
{
    for (const Kind kind : {Kind::fade, Kind::slideL, Kind::slideR, Kind::push}) {
        EXPECT_EQ(at(drawn(kind, 0), 20), redPixel);
        EXPECT_EQ(at(drawn(kind, 1), 20), bluePixel);
    }
    EXPECT_EQ(at(drawn(Kind::zoom, 0), 20), redPixel);
    EXPECT_EQ(at(drawn(Kind::zoom, 1), 20), bluePixel);
}

TEST(Transitions, ASlideLeavesBothItsEndsUntouched)
{
    for (const Kind kind : {Kind::slideL, Kind::slideR, Kind::push}) {
        const PixelBuffer begun = drawn(kind, 0), ended = drawn(kind, 1);
        for (int x = 0; x < 40; ++x) {
            EXPECT_EQ(at(begun, x), redPixel) << x;
            EXPECT_EQ(at(ended, x), bluePixel) << x;
        }
    }
}

TEST(Transitions, AFadeDarkensTheOldSceneBelowTheNew)
{
    // Red at half alpha on black, then blue at half alpha over it.
    const auto [r, b] = at(drawn(Kind::fade, 0.5), 20);
    EXPECT_NEAR(r, 64, 1);
    EXPECT_NEAR(b, 128, 1);
}

TEST(Transitions, ASlideToTheLeftBringsTheNewSceneFromTheRight)
{
    for (const Kind kind : {Kind::slideL, Kind::push}) {
        const PixelBuffer picture = drawn(kind, 0.25);
        EXPECT_EQ(at(picture, 0), redPixel);
        EXPECT_EQ(at(picture, 28), redPixel);
        EXPECT_EQ(at(picture, 30), bluePixel);
        EXPECT_EQ(at(picture, 39), bluePixel);
    }
}

TEST(Transitions, ASlideToTheRightBringsTheNewSceneFromTheLeft)
{
    const PixelBuffer picture = drawn(Kind::slideR, 0.25);
    EXPECT_EQ(at(picture, 0), bluePixel);
    EXPECT_EQ(at(picture, 8), bluePixel);
    EXPECT_EQ(at(picture, 11), redPixel);
    EXPECT_EQ(at(picture, 39), redPixel);
}

TEST(Transitions, NoDarkLineShowsBetweenTwoSlidingScenes)
{
    for (const Kind kind : {Kind::slideL, Kind::slideR, Kind::push}) {
        for (const double progress : {0.01, 0.31, 0.5125, 0.737, 0.99}) {
            const PixelBuffer picture = drawn(kind, progress, plain(ColorRGBA::white), plain(ColorRGBA::white));
            for (int x = 0; x < 40; ++x) EXPECT_EQ(at(picture, x), (std::pair{255, 255})) << progress << " at " << x;
        }
    }
}

TEST(Transitions, TheNewSceneGrowsIntoPlaceInAZoom)
{
    // Near the end the new scene stands at 0.85 + 0.135 of its size, all but opaque, and leaves a black rim.
    const PixelBuffer picture = drawn(Kind::zoom, 0.9, plain({0, 0, 0, 1}));
    EXPECT_LT(at(picture, 0, 0).second, 200);
    EXPECT_NEAR(at(picture, 20).second, 255 * 0.9, 2);
    const PixelBuffer begun = drawn(Kind::zoom, 0.1, plain({0, 0, 0, 1}));
    EXPECT_EQ(at(begun, 1), blackPixel); // 0.865 of 40 leaves 2.7 on either side.
    EXPECT_NEAR(at(begun, 4).second, 25, 2);
}

TEST(Transitions, TheOldSceneGrowsAsItFadesInAZoom)
{
    // A red box from 10 to 30 of 40 grows by 0.4 of 0.15, and stands from 9.4 to 30.6.
    const TweenScene black = plain({0, 0, 0, 1});
    TweenScene out = black;
    out.layers = {Layer{.transform = {.x = 10}, .fill = red, .size = {20, 20}}};
    const PixelBuffer begun = drawn(Kind::zoom, 0, out, black), picture = drawn(Kind::zoom, 0.4, out, black);
    for (const int x : {9, 30}) EXPECT_EQ(at(begun, x), blackPixel);
    for (const int x : {10, 29}) EXPECT_EQ(at(begun, x), redPixel);
    // At 0.6 of its light, under black that has come 0.4 far.
    EXPECT_NEAR(at(picture, 20).first, 255 * 0.6 * 0.6, 2);
    for (const int x : {9, 30}) EXPECT_GT(at(picture, x).first, 30) << x;
    for (const int x : {7, 32}) EXPECT_EQ(at(picture, x), blackPixel) << x;
}

TEST(Transitions, ShowTheLastMomentAndTheFirst)
{
    Layer box{.fill = {0, 1, 0, 1}, .size = {10, 20}};
    box.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 0, .value = 0.0},
                     Keyframe{.property = Keyframe::AnimatableProperty::x, .time = 5, .value = 30.0}};
    TweenScene moving = plain(red);
    moving.layers = {box};
    const PixelBuffer last = drawn(Kind::fade, 0, moving, moving), first = drawn(Kind::fade, 1, moving, moving);
    EXPECT_EQ(last.row(10)[4 * 35 + 1], 255);
    EXPECT_EQ(last.row(10)[4 * 5 + 1], 0);
    EXPECT_EQ(first.row(10)[4 * 5 + 1], 255);
}

TEST(Transitions, ScenesOfOtherSizesAreFitted)
{
    const PixelBuffer picture = drawn(Kind::fade, 1, plain(red), plain(blue, {20, 20}));
    EXPECT_EQ(at(picture, 5), blackPixel);
    EXPECT_EQ(at(picture, 20), bluePixel);
}

TEST(TransitionGoldens, EachKindAtAThird)
{
    const auto card = [](const ColorRGBA& color, const ColorRGBA& background) {
        TweenScene scene = plain(background, {160, 90});
        scene.layers = {Layer{.transform = {.x = 40, .y = 25}, .fill = color, .size = {80, 40}, .cornerRadius = 8, .shadow = ShadowPreset::low}};
        return scene;
    };
    const TweenScene out = card({0.95, 0.4, 0.35, 1}, {1, 0.96, 0.9, 1}), in = card({0.3, 0.45, 0.95, 1}, {0.9, 0.94, 1, 1});
    PixelBuffer sheet(160, 90 * 4);
    int row = 0;
    for (const Kind kind : {Kind::fade, Kind::slideL, Kind::slideR, Kind::zoom}) {
        PixelBuffer picture(160, 90);
        TransitionPainter(kind, out, in).draw(1.0 / 3, picture);
        for (int y = 0; y < 90; ++y) std::copy_n(picture.row(y), 160 * 4, sheet.row(90 * row + y));
        ++row;
    }
    EXPECT_GOLDEN(sheet, "transitions");
}

} // namespace
} // namespace larkspool
