#include "rendering/retained/compositing_renderer.h"

#include "rendering/rendering_fixture.h"
#include "rendering/retained/scene_layer.h"
#include "support/arbitrary_document.h"
#include "support/small_picture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

CompositingNode box(CGRect place, RasterColor color, std::uint64_t identity = 0)
{
    CompositingNode node{.identity = identity, .size = place.size, .background = color};
    node.transform = AffineTransform().translatedBy(place.origin.x, place.origin.y);
    return node;
}

constexpr RasterColor whiteColor{1, 1, 1, 1}, redColor{1, 0, 0, 1}, blueColor{0, 0, 1, 1};

CompositingNode page(std::vector<CompositingNode> children, CGSize size = {64, 48})
{
    CompositingNode root{.size = size, .background = whiteColor};
    root.children = std::move(children);
    return root;
}

/// Pixels with nothing that would pass for a picture.
PixelBuffer soiled(int width, int height)
{
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y) std::memset(pixels.row(y), 0x5A, static_cast<std::size_t>(width) * 4);
    return pixels;
}

PixelBuffer rendered(const CompositingNode& root, int width = 64, int height = 48)
{
    PixelBuffer pixels = soiled(width, height);
    makeSoftwareRenderer()->render(root, pixels);
    return pixels;
}

bool areEqual(const PixelBuffer& a, const PixelBuffer& b)
{
    for (int y = 0; y < a.height(); ++y)
        if (std::memcmp(a.row(y), b.row(y), static_cast<std::size_t>(a.width()) * 4) != 0) return false;
    return true;
}

bool contains(std::span<const PixelRect> rects, int x, int y)
{
    return std::ranges::any_of(rects,
                               [&](const PixelRect& r) { return x >= r.left && x < r.right && y >= r.top && y < r.bottom; });
}

long long areaOf(std::span<const PixelRect> rects)
{
    long long area = 0;
    for (const PixelRect& rect : rects) area += static_cast<long long>(rect.width()) * rect.height();
    return area;
}

TEST(SoftwareRenderer, PaintsNodesInOrderEachAboveItsParent)
{
    CompositingNode parent = box({{10, 10}, {20, 20}}, redColor);
    parent.children.push_back(box({{5, 5}, {30, 5}}, blueColor));
    const PixelBuffer frame = rendered(page({parent, box({{12, 12}, {2, 2}}, {0, 1, 0, 1})}));
    EXPECT_EQ(pixelAt(frame, 9, 10), whitePixel);
    EXPECT_EQ(pixelAt(frame, 10, 10), redPixel);
    EXPECT_EQ(pixelAt(frame, 13, 13), greenPixel);
    EXPECT_EQ(pixelAt(frame, 15, 15), bluePixel);
    EXPECT_EQ(pixelAt(frame, 44, 19), bluePixel); // Children are not cut to their parent.
    EXPECT_EQ(pixelAt(frame, 29, 29), redPixel);
    EXPECT_EQ(pixelAt(frame, 30, 29), whitePixel);
}

TEST(SoftwareRenderer, OpacityIsANodesOwn)
{
    CompositingNode parent = box({{10, 10}, {20, 20}}, {0, 0, 0, 1});
    parent.opacity = 0.5;
    parent.children.push_back(box({{0, 0}, {5, 5}}, redColor));
    const PixelBuffer frame = rendered(page({parent}));
    EXPECT_EQ(pixelAt(frame, 20, 20), (Pixel{127, 127, 127, 255}));
    EXPECT_EQ(pixelAt(frame, 12, 12), redPixel);
}

TEST(SoftwareRenderer, AGroupHasItsOpacityAsAWhole)
{
    CompositingNode group = box({{10, 10}, {20, 20}}, {0, 0, 0, 1});
    group.compositing = CompositingNode::Compositing::group;
    group.opacity = 0.5;
    group.children.push_back(box({{0, 0}, {5, 5}}, redColor));
    const PixelBuffer frame = rendered(page({group}));
    EXPECT_EQ(pixelAt(frame, 20, 20), (Pixel{127, 127, 127, 255}));
    EXPECT_EQ(pixelAt(frame, 12, 12), (Pixel{255, 127, 127, 255})); // Nothing of the parent shows through the child.
    EXPECT_EQ(pixelAt(frame, 31, 31), whitePixel);
}

TEST(SoftwareRenderer, AGroupThatClipsShowsNothingOutsideItsShape)
{
    CompositingNode group = box({{8, 8}, {16, 16}}, {0, 0, 0, 0});
    group.compositing = CompositingNode::Compositing::group;
    group.clipsToShape = true;
    group.cornerRadius = 8;
    group.children.push_back(box({{-10, -10}, {60, 60}}, redColor));
    const PixelBuffer frame = rendered(page({group}));
    EXPECT_EQ(pixelAt(frame, 16, 16), redPixel);
    EXPECT_EQ(pixelAt(frame, 16, 9), redPixel);
    EXPECT_EQ(pixelAt(frame, 8, 8), whitePixel);
    EXPECT_EQ(pixelAt(frame, 23, 23), whitePixel);
    EXPECT_EQ(pixelAt(frame, 24, 16), whitePixel);
}

TEST(SoftwareRenderer, AnEllipseIsABoxWhoseCornersMeet)
{
    CompositingNode ellipse = box({{2, 4}, {40, 20}}, redColor);
    ellipse.shape = CompositingNode::Shape::ellipse;
    const PixelBuffer frame = rendered(page({ellipse}));
    double covered = 0;
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) covered += (255 - pixelAt(frame, x, y).g) / 255.0;
    EXPECT_NEAR(covered, 3.14159265 * 20 * 10, 0.5); // pi a b
}

TEST(SoftwareRenderer, ABorderInsideTakesItsWidthFromTheBackground)
{
    CompositingNode framed = box({{10, 10}, {20, 20}}, redColor);
    framed.border = {.color = blueColor, .width = 4, .place = NodeBorder::Place::inside, .sides = {}};
    const PixelBuffer frame = rendered(page({framed}));
    EXPECT_EQ(pixelAt(frame, 10, 20), bluePixel);
    EXPECT_EQ(pixelAt(frame, 12, 20), bluePixel);
    EXPECT_EQ(pixelAt(frame, 14, 20), redPixel);
    EXPECT_EQ(pixelAt(frame, 9, 20), whitePixel);
}

TEST(SoftwareRenderer, ABorderWiderThanTheBoxLeavesNothingOfTheBackground)
{
    for (const CompositingNode::Shape shape : {CompositingNode::Shape::rectangle, CompositingNode::Shape::ellipse}) {
        CompositingNode framed = box({{10, 10}, {40, 20}}, redColor);
        framed.shape = shape;
        framed.border = {.color = blueColor, .width = 30, .place = NodeBorder::Place::inside, .sides = {}};
        const PixelBuffer frame = rendered(page({framed}));
        for (int x = 15; x < 45; ++x) EXPECT_EQ(pixelAt(frame, x, 20), bluePixel) << x;
    }
}

TEST(SoftwareRenderer, EachSideOfABorderHasItsOwnWidth)
{
    CompositingNode framed = box({{10, 10}, {20, 20}}, redColor);
    framed.border = {.color = blueColor, .width = 0, .place = NodeBorder::Place::outside, .sides = NodeBorder::Sides{1, 2, 3, 4}};
    const PixelBuffer frame = rendered(page({framed}));
    EXPECT_EQ(pixelAt(frame, 20, 9), bluePixel);
    EXPECT_EQ(pixelAt(frame, 20, 8), whitePixel);
    EXPECT_EQ(pixelAt(frame, 31, 20), bluePixel);
    EXPECT_EQ(pixelAt(frame, 32, 20), whitePixel);
    EXPECT_EQ(pixelAt(frame, 20, 32), bluePixel);
    EXPECT_EQ(pixelAt(frame, 20, 33), whitePixel);
    EXPECT_EQ(pixelAt(frame, 6, 20), bluePixel);
    EXPECT_EQ(pixelAt(frame, 5, 20), whitePixel);
    EXPECT_EQ(pixelAt(frame, 20, 20), redPixel);
}

TEST(SoftwareRenderer, TheFirstTimeAllHasChanged)
{
    PixelBuffer target = soiled(100, 70);
    const auto renderer = makeSoftwareRenderer();
    EXPECT_EQ(areaOf(renderer->render(page({}, {100, 70}), target)), 7000);
}

TEST(SoftwareRenderer, TheSameTreeAgainChangesNothing)
{
    PixelBuffer target = soiled(100, 70);
    const auto renderer = makeSoftwareRenderer();
    const CompositingNode root = page({box({{10, 10}, {20, 20}}, redColor)}, {100, 70});
    renderer->render(root, target);
    EXPECT_TRUE(renderer->render(root, target).empty());
}

TEST(SoftwareRenderer, WhatMovesChangesWhereItWasAndWhereItIs)
{
    PixelBuffer target = soiled(640, 480);
    const auto renderer = makeSoftwareRenderer();
    renderer->render(page({box({{10, 10}, {20, 20}}, redColor, 1), box({{300, 10}, {20, 20}}, redColor, 2)}, {640, 480}), target);
    const auto changed = renderer->render(
        page({box({{500, 400}, {20, 20}}, redColor, 1), box({{300, 10}, {20, 20}}, redColor, 2)}, {640, 480}), target);
    EXPECT_TRUE(contains(changed, 10, 10));
    EXPECT_TRUE(contains(changed, 29, 29));
    EXPECT_TRUE(contains(changed, 500, 400));
    EXPECT_FALSE(contains(changed, 310, 15));
    EXPECT_LT(areaOf(changed), 640 * 480 / 20);
    EXPECT_EQ(pixelAt(target, 15, 15), whitePixel);
    EXPECT_EQ(pixelAt(target, 505, 405), redPixel);
    EXPECT_EQ(pixelAt(target, 310, 15), redPixel);
}

TEST(SoftwareRenderer, EachMemoryIsBroughtUpToDateFromWhatItHolds)
{
    const auto renderer = makeSoftwareRenderer();
    PixelBuffer first = soiled(64, 48), second = soiled(64, 48);
    for (int step = 0; step < 12; ++step) {
        const CompositingNode root = page({box({{3.0 * step, 2.0 * step}, {9, 7}}, redColor, 1)});
        PixelBuffer& target = step % 3 == 0 ? first : second;
        renderer->render(root, target);
        EXPECT_TRUE(areEqual(target, rendered(root))) << step;
    }
}

TEST(SoftwareRenderer, AGroupThatStopsClippingShowsAllOfItself)
{
    const auto renderer = makeSoftwareRenderer();
    PixelBuffer target = soiled(64, 48);
    CompositingNode group = box({{8, 8}, {16, 16}}, redColor, 1);
    group.compositing = CompositingNode::Compositing::group;
    group.cornerRadius = 8;
    group.children.push_back(box({{0, 0}, {16, 16}}, redColor, 2));
    for (const bool clips : {true, false, true}) {
        group.clipsToShape = clips;
        renderer->render(page({group}), target);
        EXPECT_EQ(pixelAt(target, 8, 8), clips ? whitePixel : redPixel);
    }
}

TEST(SoftwareRenderer, ForgottenMemoryIsPaintedAnew)
{
    const auto renderer = makeSoftwareRenderer();
    const CompositingNode root = page({box({{3, 2}, {9, 7}}, redColor)});
    PixelBuffer target = soiled(64, 48);
    renderer->render(root, target);
    for (const bool all : {false, true}) {
        std::memset(target.row(3), 0x11, 64 * 4);
        all ? renderer->forget() : renderer->forget(target);
        renderer->render(root, target);
        EXPECT_TRUE(areEqual(target, rendered(root)));
    }
}

TEST(SoftwareRenderer, ARootThatIsAGroupGoesIntoTheMeanOfThePictures)
{
    const auto renderer = makeSoftwareRenderer();
    PixelBuffer target = soiled(64, 48);
    for (int frame = 0; frame < 3; ++frame) {
        SCOPED_TRACE(frame);
        std::vector<PixelBuffer> samples;
        for (int k = 0; k < 4; ++k) {
            CompositingNode root = page({box({{4.0 * k + frame, 10}, {10, 10}}, redColor, 1)});
            root.compositing = CompositingNode::Compositing::group;
            samples.push_back(rendered(root));
            root.opacity = 1.0 / (k + 1);
            renderer->render(root, target);
        }
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x) {
                int mean = pixelAt(samples[0], x, y).g;
                for (int k = 1; k < 4; ++k)
                    mean = static_cast<int>(
                        std::floor((mean * k + pixelAt(samples[static_cast<std::size_t>(k)], x, y).g) / (k + 1.0) + 0.5));
                ASSERT_EQ(pixelAt(target, x, y).g, mean) << x << ", " << y;
            }
    }
}

TEST(SoftwareRenderer, TheMeanTellsWhatItChanged)
{
    const auto renderer = makeSoftwareRenderer();
    PixelBuffer target = soiled(640, 480);
    const auto sample = [&](double x, double opacity) {
        CompositingNode root = page({box({{x, 10}, {10, 10}}, redColor, 1)}, {640, 480});
        root.compositing = CompositingNode::Compositing::group;
        root.opacity = opacity;
        const auto changed = renderer->render(root, target);
        return std::vector<PixelRect>(changed.begin(), changed.end());
    };
    sample(0, 1);
    EXPECT_LT(areaOf(sample(40, 0.5)), 640 * 480 / 20);
    const std::vector<PixelRect> next = sample(40, 1); // The same picture: but where it was mixed, it must be put right.
    EXPECT_TRUE(contains(next, 5, 15));
    EXPECT_EQ(pixelAt(target, 5, 15), whitePixel);
    EXPECT_TRUE(sample(40, 1).empty());
}

/// A layer with ordinary values, somewhere near the raster.
Layer plausibleLayer(int depth)
{
    const auto number = [](int from, int to) { return *rc::gen::inRange(from * 4, to * 4) / 4.0; };
    const auto color = [&] {
        return ColorRGBA{number(0, 2) / 2, number(0, 2) / 2, number(0, 2) / 2, *rc::gen::element(1.0, 1.0, 0.6, 0.0)};
    };
    Layer layer;
    layer.kind = *rc::gen::element(Kind::rectangle, Kind::rectangle, Kind::ellipse, Kind::text, Kind::path, Kind::line,
                                   Kind::group, Kind::cursor, Kind::gradientField, Kind::zoom);
    layer.transform = {.x = number(-40, 90),
                       .y = number(-40, 70),
                       .rotation = *rc::gen::element(0.0, 0.0, 0.0, 90.0, 33.0),
                       .scaleX = *rc::gen::element(1.0, 1.0, 0.5, 1.7)};
    layer.transform.scaleY = *rc::gen::element(layer.transform.scaleX, layer.transform.scaleX, -1.0);
    layer.size = {number(1, 70), number(1, 50)};
    layer.fill = color();
    layer.stroke = color();
    layer.strokeWidth = *rc::gen::element(0.0, 0.0, 1.0, 3.5, 40.0);
    layer.strokeOutside = *rc::gen::arbitrary<bool>();
    layer.perSideStroke = *rc::gen::inRange(0, 4) == 0;
    layer.strokeWidthLeft = number(0, 6);
    layer.strokeWidthTop = number(0, 6);
    layer.opacity = *rc::gen::element(1.0, 1.0, 0.5);
    layer.cornerRadius = *rc::gen::element(0.0, 6.0, 100.0);
    layer.shadow = *rc::gen::element(ShadowPreset::none, ShadowPreset::none, ShadowPreset::low, ShadowPreset::high);
    layer.text = *rc::gen::element("Card", "two\nlines", "");
    layer.fontSize = number(6, 40);
    layer.path = {MoveTo{{0, 0}}, LineTo{{number(0, 40), 4}}, CurveTo{{20, 30}, {5, 20}, {3, number(5, 30)}}, ClosePath{}};
    layer.linePoints = {{0, 0}, {number(0, 60), number(0, 40)}, {9, 30}};
    layer.lineArrowEnd = *rc::gen::arbitrary<bool>();
    layer.gradientWarpSpeed = layer.gradientPulseAmount = 0;
    if (*rc::gen::inRange(0, 3) == 0)
        layer.pulses = {{.id = UUID::random(), .time = -0.3, .effects = {PulseEffect::glow, PulseEffect::radiate}}};
    for (int i = depth > 0 ? *rc::gen::inRange(0, 3) : 0; i > 0; --i) layer.children.append(plausibleLayer(depth - 1));
    if (layer.kind == Kind::zoom) {
        layer.zoomType = ZoomType::pictureInPicture;
        for (Layer& child : layer.children.edit()) child.pipRendition = *rc::gen::arbitrary<bool>();
    }
    return layer;
}

/// The scene a little later: some layers have moved, changed, gone, come or changed places.
void goOn(std::vector<Layer>& layers)
{
    for (int changes = *rc::gen::inRange(1, 4); changes > 0 && !layers.empty(); --changes) {
        const auto at = static_cast<std::size_t>(*rc::gen::inRange(0, static_cast<int>(layers.size())));
        Layer& layer = layers[at];
        switch (*rc::gen::inRange(0, 7)) {
        case 0: layer.transform.x += *rc::gen::element(0.25, 1.0, -17.0, 300.0); break;
        case 1: layer.opacity = *rc::gen::element(0.0, 0.3, 1.0); break;
        case 2: layer.fill.a = *rc::gen::element(1.0, 0.4); break;
        case 3: layers.erase(layers.begin() + static_cast<std::ptrdiff_t>(at)); break;
        case 4: layers.insert(layers.begin() + static_cast<std::ptrdiff_t>(at), plausibleLayer(1)); break;
        case 5: std::swap(layer, layers.front()); break;
        default: layer.transform.rotation += 15; break;
        }
    }
}

TEST(SoftwareRenderer, FramesThatGrowFromFramesAreAsIfPaintedAtOnce)
{
    EXPECT_TRUE(rc::check("whatever came before", [] {
        std::vector<Layer> layers;
        for (int i = *rc::gen::inRange(0, 9); i > 0; --i) layers.push_back(plausibleLayer(2));
        constexpr int width = 150, height = 110;
        const auto renderer = makeSoftwareRenderer(std::size_t{1} << 18); // Little enough to drop bitmaps now and then.
        PixelBuffer target = soiled(width, height);
        for (int step = 0; step < 5; ++step) {
            const TweenScene scene = sceneWith({150, 110}, layers, {1, 1, 1, *rc::gen::element(1.0, 0.5)});
            const CompositingNode root = ExporterGPU::buildSceneLayer(scene, 0, width, height);
            PixelBuffer before = soiled(width, height);
            std::memcpy(before.data(), target.data(), target.bytesPerRow() * height);
            const auto changed = renderer->render(root, target);
            const PixelBuffer atOnce = rendered(root, width, height);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    if (storedPixelAt(target, x, y) == storedPixelAt(atOnce, x, y)) continue;
                    RC_FAIL("step " + std::to_string(step) + " at " + std::to_string(x) + ", " + std::to_string(y));
                }
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    RC_ASSERT(storedPixelAt(target, x, y) == storedPixelAt(before, x, y) || contains(changed, x, y));
            goOn(layers);
        }
    }));
}

TEST(SoftwareRenderer, TransitionsGrowFromFramesToo)
{
    EXPECT_TRUE(rc::check("two scenes as groups", [] {
        std::vector<Layer> out, in;
        for (int i = *rc::gen::inRange(1, 4); i > 0; --i) out.push_back(plausibleLayer(1));
        for (int i = *rc::gen::inRange(1, 4); i > 0; --i) in.push_back(plausibleLayer(1));
        constexpr int width = 120, height = 90;
        const auto renderer = makeSoftwareRenderer();
        PixelBuffer target = soiled(width, height);
        for (int step = 0; step < 4; ++step) {
            const double p = step / 3.0;
            CompositingNode root{.size = {120, 90}, .background = {0, 0, 0, 1}};
            for (const std::vector<Layer>* layers : {&out, &in}) {
                CompositingNode scene = ExporterGPU::buildSceneLayer(sceneWith({120, 90}, *layers), 0, width, height);
                scene.compositing = CompositingNode::Compositing::group;
                scene.identity = layers == &out ? 1 : 2;
                scene.opacity = *rc::gen::element(1.0, layers == &out ? 1 - p : p);
                const double shift = *rc::gen::element(0.0, 1.0) * std::round(p * 100) / 3,
                             scale = *rc::gen::element(1.0, 1 + p * 0.3);
                scene.transform = AffineTransform().translatedBy(shift, 0).scaledBy(scale, scale);
                root.children.push_back(std::move(scene));
            }
            renderer->render(root, target);
            RC_ASSERT(areEqual(target, rendered(root, width, height)));
            if (*rc::gen::arbitrary<bool>()) goOn(out);
        }
    }));
}

TEST(SoftwareRenderer, NoDocumentIsTooOddForIt)
{
    EXPECT_TRUE(rc::check("it ends, and says nothing", [] {
        TweenScene scene = sceneWith({*arbitraryNumber(), 40}, arbitraryList<Layer>(4, [] { return *arbitraryLayer(); }));
        const auto renderer = makeSoftwareRenderer();
        PixelBuffer target = soiled(60, 40);
        for (const double time : {0.0, 1.0, *arbitraryNumber()})
            renderer->render(ExporterGPU::buildSceneLayer(scene, time, 60, 40), target);
    }));
}

} // namespace
} // namespace larkspool
