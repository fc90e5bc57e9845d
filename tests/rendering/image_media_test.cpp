#include "rendering/image_media.h"

#include "platform/png_writer.h"
#include "rendering/rendering_fixture.h"
#include "support/golden.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

constexpr Pixel clearPixel{0, 0, 0, 0};

Bytes png(int width, int height, const std::function<Pixel(int, int)>& pixel)
{
    PixelBuffer pixels(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Pixel p = pixel(x, y);
            std::uint8_t* out = pixels.row(y) + 4 * x;
            out[0] = static_cast<std::uint8_t>(p.b);
            out[1] = static_cast<std::uint8_t>(p.g);
            out[2] = static_cast<std::uint8_t>(p.r);
            out[3] = static_cast<std::uint8_t>(p.a);
        }
    return encodePng(pixels);
}

/// Red and green above blue and white.
Bytes quarters(int side)
{
    return png(side, side, [side](int x, int y) {
        const bool right = 2 * x >= side, low = 2 * y >= side;
        return low ? (right ? whitePixel : bluePixel) : (right ? greenPixel : redPixel);
    });
}

Bytes textBytes(std::string_view text)
{
    return std::vector<std::uint8_t>(text.begin(), text.end());
}

Layer imageLayer(Bytes data, CGSize size)
{
    return {.kind = Kind::image, .size = size, .imageData = std::move(data)};
}

/// The layer's body alone, on clear pixels.
PixelBuffer body(const Layer& layer, int width, int height)
{
    PixelBuffer pixels(width, height);
    Exporter::drawImageBody(layer, *makeRasterContext(pixels));
    return pixels;
}

TEST(ImageBody, StretchesThePictureToTheLayer)
{
    const PixelBuffer pixels = body(imageLayer(quarters(32), {16, 8}), 16, 8);
    EXPECT_EQ(pixelAt(pixels, 0, 0), redPixel);
    EXPECT_EQ(pixelAt(pixels, 7, 3), redPixel);
    EXPECT_EQ(pixelAt(pixels, 8, 3), greenPixel);
    EXPECT_EQ(pixelAt(pixels, 7, 4), bluePixel);
    EXPECT_EQ(pixelAt(pixels, 15, 7), whitePixel);
}

TEST(ImageBody, IsUprightAndInItsPlaceInAFrame)
{
    Layer layer = imageLayer(quarters(8), {8, 8});
    layer.transform = {.x = 4, .y = 2};
    const PixelBuffer frame = drawnFrame(sceneWith({16, 12}, {layer}, ColorRGBA::black));
    EXPECT_EQ(pixelAt(frame, 4, 2), redPixel);
    EXPECT_EQ(pixelAt(frame, 11, 2), greenPixel);
    EXPECT_EQ(pixelAt(frame, 4, 9), bluePixel);
    EXPECT_EQ(pixelAt(frame, 11, 9), whitePixel);
    EXPECT_EQ(pixelAt(frame, 3, 2), blackPixel);
    EXPECT_EQ(pixelAt(frame, 12, 9), blackPixel);
}

TEST(ImageBody, WithoutAPictureThereIsNothingNotEvenAStroke)
{
    Layer layer{.kind = Kind::image, .strokeWidth = 2, .size = {8, 8}};
    for (const std::optional<Bytes>& data : {std::optional<Bytes>(), std::optional<Bytes>(Bytes()), std::optional<Bytes>(textBytes("no picture")),
                                             std::optional<Bytes>(textBytes("\x89PNG\r\n\x1a\n"))}) {
        layer.imageData = data;
        const PixelBuffer pixels = body(layer, 8, 8);
        for (int i = 0; i < 8; ++i) EXPECT_EQ(pixelAt(pixels, i, i), clearPixel);
    }
}

TEST(ImageBody, ABadPictureLeavesTheOtherLayersAsTheyAre)
{
    const Layer bad = imageLayer(textBytes("no picture"), {8, 8}), good = imageLayer(quarters(8), {8, 8});
    const PixelBuffer frame = drawnFrame(sceneWith({8, 8}, {bad, good}));
    EXPECT_EQ(pixelAt(frame, 0, 0), redPixel);
    EXPECT_EQ(pixelAt(drawnFrame(sceneWith({8, 8}, {good, bad})), 0, 0), redPixel);
}

TEST(ImageBody, ARadiusOfHalfAPointLeavesTheCorners)
{
    Layer layer = imageLayer(quarters(16), {16, 16});
    layer.cornerRadius = 0.5;
    EXPECT_EQ(pixelAt(body(layer, 16, 16), 0, 0), redPixel);
    layer.cornerRadius = 0.6;
    EXPECT_LT(pixelAt(body(layer, 16, 16), 0, 0).a, 255);
    layer.cornerRadius = 8;
    const PixelBuffer round = body(layer, 16, 16);
    EXPECT_EQ(pixelAt(round, 0, 0), clearPixel);
    EXPECT_EQ(pixelAt(round, 15, 15), clearPixel);
    EXPECT_EQ(pixelAt(round, 4, 4), redPixel);
}

TEST(ImageBody, AManualCropShowsItsPart)
{
    Layer layer = imageLayer(quarters(16), {8, 8});
    layer.cropMode = CropMode::manual;
    layer.cropRect = {{0.5, 0}, {0.5, 0.5}};
    const PixelBuffer pixels = body(layer, 8, 8);
    for (const int i : {0, 3, 7}) EXPECT_EQ(pixelAt(pixels, i, i), greenPixel);
}

TEST(ImageBody, ACropOfNoWidthShowsOneColumn)
{
    const Bytes columns = png(8, 2, [](int x, int) { return x == 5 ? redPixel : whitePixel; });
    Layer layer = imageLayer(columns, {8, 8});
    layer.cropMode = CropMode::manual;
    layer.cropRect = {{5.0 / 8, 0}, {0, 1}};
    const PixelBuffer pixels = body(layer, 8, 8);
    for (const int i : {0, 3, 7}) EXPECT_EQ(pixelAt(pixels, i, i), redPixel);
}

TEST(ImageBody, ACropBeyondTheEdgeBeginsAtTheLastPixel)
{
    Layer layer = imageLayer(quarters(16), {8, 8});
    layer.cropMode = CropMode::manual;
    layer.cropRect = {{3, 3}, {1, 1}};
    EXPECT_EQ(pixelAt(body(layer, 8, 8), 4, 4), whitePixel);
    layer.cropRect = {{-3, -3}, {0.5, 0.5}}; // Begins at the first.
    EXPECT_EQ(pixelAt(body(layer, 8, 8), 4, 4), redPixel);
}

TEST(ImageBody, NoOtherCropAndNoBlackKeyHasAnEffect)
{
    // A white window in black.
    const Bytes window = png(16, 16, [](int x, int y) { return x >= 4 && x < 12 && y >= 4 && y < 12 ? whitePixel : blackPixel; });
    Layer layer = imageLayer(window, {16, 16});
    layer.blackKey = true;
    layer.blackKeyInsetX = layer.blackKeyInsetY = 3;
    layer.cropRect = {{0.5, 0.5}, {0.1, 0.1}};
    for (const CropMode mode : {CropMode::none, CropMode::automatic}) {
        layer.cropMode = mode;
        const PixelBuffer pixels = body(layer, 16, 16);
        EXPECT_EQ(pixelAt(pixels, 0, 0), blackPixel);
        EXPECT_EQ(pixelAt(pixels, 3, 8), blackPixel);
        EXPECT_EQ(pixelAt(pixels, 4, 8), whitePixel);
        EXPECT_EQ(pixelAt(pixels, 12, 8), blackPixel);
    }
}

Layer strokedImage()
{
    Layer layer = imageLayer(png(4, 4, [](int, int) { return redPixel; }), {20, 20});
    layer.stroke = blue;
    layer.strokeWidth = 3;
    return layer;
}

TEST(ImageStroke, InsideIsARingOfItsWidth)
{
    const PixelBuffer pixels = body(strokedImage(), 20, 20);
    EXPECT_EQ(pixelAt(pixels, 0, 10), bluePixel);
    EXPECT_EQ(pixelAt(pixels, 2, 10), bluePixel);
    EXPECT_EQ(pixelAt(pixels, 3, 10), redPixel);
    EXPECT_EQ(pixelAt(pixels, 16, 16), redPixel);
    EXPECT_EQ(pixelAt(pixels, 17, 17), bluePixel);
}

TEST(ImageStroke, TooWideItHidesThePicture)
{
    for (const double width : {10.0, 11.0, 500.0}) {
        Layer layer = strokedImage();
        layer.strokeWidth = width;
        const PixelBuffer pixels = body(layer, 24, 24);
        EXPECT_EQ(pixelAt(pixels, 10, 10), bluePixel);
        EXPECT_EQ(pixelAt(pixels, 0, 0), bluePixel);
        EXPECT_EQ(pixelAt(pixels, 20, 10), clearPixel);
    }
}

TEST(ImageStroke, OutsideIsAQuarterOfAPointWiderThanItsWidth)
{
    Layer layer = strokedImage();
    layer.strokeOutside = true;
    Layer placed = layer;
    placed.transform = {.x = 10, .y = 10};
    const PixelBuffer frame = drawnFrame(sceneWith({40, 40}, {placed}));
    EXPECT_EQ(pixelAt(frame, 10, 20), redPixel);
    EXPECT_EQ(pixelAt(frame, 9, 20), bluePixel);
    EXPECT_EQ(pixelAt(frame, 7, 20), bluePixel);
    EXPECT_NEAR(pixelAt(frame, 6, 20).r, 191, 2); // A quarter of blue on white.
    EXPECT_EQ(pixelAt(frame, 5, 20), whitePixel);
}

TEST(ImageStroke, EachSideCanHaveItsWidth)
{
    Layer layer = strokedImage();
    layer.perSideStroke = true;
    layer.strokeWidth = 0;
    layer.strokeWidthLeft = 5;
    layer.strokeWidthBottom = 2;
    const PixelBuffer pixels = body(layer, 20, 20);
    EXPECT_EQ(pixelAt(pixels, 4, 10), bluePixel);
    EXPECT_EQ(pixelAt(pixels, 5, 10), redPixel);
    EXPECT_EQ(pixelAt(pixels, 19, 10), redPixel);
    EXPECT_EQ(pixelAt(pixels, 10, 0), redPixel);
    EXPECT_EQ(pixelAt(pixels, 10, 17), redPixel);
    EXPECT_EQ(pixelAt(pixels, 10, 18), bluePixel);
}

TEST(ImageStroke, OfNoWidthThereIsNone)
{
    for (const double width : {0.0, -4.0}) {
        Layer layer = strokedImage();
        layer.strokeWidth = width;
        EXPECT_EQ(pixelAt(body(layer, 20, 20), 0, 0), redPixel);
    }
}

constexpr std::string_view redSquare = R"(<svg xmlns="http://www.w3.org/2000/svg" width="8" height="8"><rect x="2" y="2" width="4" height="4" fill="#f00"/></svg>)";

TEST(ImageBody, VectorArtIsDrawnAtTheSizeItShows)
{
    // Sharp at 25 times its size.
    const PixelBuffer pixels = body(imageLayer(textBytes(redSquare), {200, 200}), 200, 200);
    EXPECT_EQ(pixelAt(pixels, 49, 100), clearPixel);
    EXPECT_EQ(pixelAt(pixels, 50, 100), redPixel);
    EXPECT_EQ(pixelAt(pixels, 149, 149), redPixel);
    EXPECT_EQ(pixelAt(pixels, 150, 100), clearPixel);
}

TEST(ImageBody, VectorArtIsCroppedByItsOwnSize)
{
    Layer layer = imageLayer(textBytes(redSquare), {80, 80});
    layer.cropMode = CropMode::manual;
    layer.cropRect = {{0.5, 0.5}, {0.5, 0.5}}; // From the middle: two points of red, two of nothing.
    const PixelBuffer pixels = body(layer, 80, 80);
    EXPECT_EQ(pixelAt(pixels, 0, 0), redPixel);
    EXPECT_EQ(pixelAt(pixels, 38, 38), redPixel);
    EXPECT_EQ(pixelAt(pixels, 42, 42), clearPixel);
}

TEST(ImageBody, AHugeLayerOfVectorArtIsSurvived)
{
    for (const double side : {1e5, 1e300}) body(imageLayer(textBytes(redSquare), {side, side}), 8, 8);
}

TEST(MediaPicture, IsDecodedOnceForEachContent)
{
    const Bytes once = quarters(8), same = quarters(8), other = quarters(12);
    const auto picture = mediaPicture(once);
    ASSERT_TRUE(picture);
    EXPECT_EQ(mediaPicture(once), picture);
    EXPECT_EQ(mediaPicture(same), picture);
    EXPECT_NE(mediaPicture(other), picture);
    EXPECT_EQ(picture->size(), (CGSize{8, 8}));
    EXPECT_EQ(mediaPicture(textBytes("nothing")), nullptr);
}

TEST(MediaPicture, IsTheSameForAllWhoWantItAtOnce)
{
    // A tenth of a second of work or so, while all the others ask.
    const Bytes slow = png(2000, 2000, [](int x, int y) { return Pixel{x % 256, y % 256, (x * y) % 256, 255}; });
    const Bytes other = quarters(20);
    std::vector<std::shared_ptr<const Picture>> pictures(8);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < pictures.size(); ++i)
        threads.emplace_back([&, i] { pictures[i] = mediaPicture(i == 7 ? other : slow); });
    for (std::thread& thread : threads) thread.join();
    ASSERT_TRUE(pictures[0]);
    for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(pictures[i], pictures[0]);
    EXPECT_EQ(pictures[7]->size(), (CGSize{20, 20}));
}

TEST(MediaPicture, VectorArtKeepsItsLastSizes)
{
    const auto picture = mediaPicture(textBytes(redSquare));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size(), (CGSize{8, 8}));
    const ImageRef image = picture->imageFor({20.2, 30});
    EXPECT_EQ(image->size(), (CGSize{21, 30}));
    EXPECT_EQ(picture->imageFor({20.2, 30}), image);
    EXPECT_EQ(picture->imageFor({1e9, 1})->size(), (CGSize{4096, 1}));
}

TEST(ImageGoldens, CropsCornersAndStrokes)
{
    const Bytes photo = png(96, 64, [](int x, int y) {
        const int ring = static_cast<int>(std::hypot(x - 48, y - 32)) / 4 % 2;
        return Pixel{x * 255 / 95, ring * 200, y * 255 / 63, 255};
    });
    Array<Layer> layers;
    const auto add = [&](double x, double y, const std::function<void(Layer&)>& change) {
        Layer layer = imageLayer(photo, {120, 80});
        layer.transform = {.x = x, .y = y};
        layer.stroke = {1, 0.85, 0.2, 1};
        change(layer);
        layers.append(layer);
    };
    add(10, 10, [](Layer&) {});
    add(150, 10, [](Layer& l) { l.cornerRadius = 20; });
    add(290, 10, [](Layer& l) { l.cropMode = CropMode::manual; l.cropRect = {{0.25, 0.25}, {0.5, 0.5}}; });
    add(10, 110, [](Layer& l) { l.cornerRadius = 14; l.strokeWidth = 5; });
    add(150, 110, [](Layer& l) { l.cornerRadius = 14; l.strokeWidth = 5; l.strokeOutside = true; });
    add(290, 110, [](Layer& l) { l.perSideStroke = true; l.strokeWidthLeft = 8; l.strokeWidthBottom = 3; });
    add(10, 210, [](Layer& l) { l.shadow = ShadowPreset::medium; l.cornerRadius = 12; });
    add(150, 210, [](Layer& l) { l.transform.rotation = 12; l.opacity = 0.6; });
    add(300, 220, [](Layer& l) { l.size = {30, 20}; l.blackKey = true; });
    EXPECT_GOLDEN(drawnFrame(sceneWith({420, 310}, layers)), "images");
}

} // namespace
} // namespace larkspool
