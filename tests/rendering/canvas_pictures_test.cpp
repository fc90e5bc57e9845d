#include "rendering/canvas_pictures.h"

#include "platform/png_writer.h"
#include "rendering/image_media.h"
#include "rendering/live_canvas_fixture.h"
#include "support/hand_run_loop.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace larkspool {
namespace {

/// A picture of one colour that no other test has seen, and so nobody has decoded.
Bytes freshPicture()
{
    static int count = 0;
    PixelBuffer pixels(40, 40);
    const auto context = makeRasterContext(pixels);
    context->setFillColor({1, 0, ++count / 255.0, 1});
    context->fillRect({{0, 0}, {40, 40}});
    return Bytes(encodePng(pixels));
}

/// The same with a black surround of 10.
Bytes freshWindow()
{
    static int count = 0;
    PixelBuffer pixels(40, 40);
    const auto context = makeRasterContext(pixels);
    context->setFillColor({0, 0, 0, 1});
    context->fillRect({{0, 0}, {40, 40}});
    context->setFillColor({1, ++count / 255.0, 0, 1});
    context->fillRect({{10, 10}, {20, 20}});
    return Bytes(encodePng(pixels));
}

Layer imageOf(Bytes bytes)
{
    return {.kind = Layer::Kind::image, .stroke = blue, .strokeWidth = 4, .size = {40, 40}, .imageData = std::move(bytes)};
}

/// A canvas of 80 x 40 whose image stands at the left, and a green box at the right.
class CanvasPicturesTest : public testing::Test {
protected:
    PixelBuffer painted(const Layer& image)
    {
        Look look;
        look.options.images = pictures_.get();
        return paintedCanvas(sceneWith({80, 40}, {image, solidLayer(green, {{40, 0}, {40, 40}})}), look);
    }

    void waitFor(int pictures)
    {
        ASSERT_TRUE(loop_.turnUntil([&] { return arrived_ >= pictures; }));
    }

    HandRunLoop loop_;
    int arrived_ = 0;
    std::unique_ptr<CanvasPictures> pictures_ = std::make_unique<CanvasPictures>(loop_, [this] { ++arrived_; });
};

TEST_F(CanvasPicturesTest, TheRestIsPaintedUntilThePictureIsDecoded)
{
    const Layer image = imageOf(freshPicture());
    const PixelBuffer before = painted(image);
    EXPECT_EQ(pixelAt(before, 20, 20), whitePixel) << "the background, as the picture is not there yet";
    EXPECT_EQ(pixelAt(before, 2, 20), bluePixel) << "its stroke";
    EXPECT_EQ(pixelAt(before, 60, 20), greenPixel) << "another layer";

    painted(image);
    waitFor(1);
    EXPECT_EQ(pixelAt(painted(image), 20, 20).r, 255);
    EXPECT_EQ(pixelAt(painted(image), 20, 20).g, 0);
    EXPECT_FALSE(loop_.waitForStep(std::chrono::milliseconds(50))) << "asked for once";
    EXPECT_EQ(arrived_, 1);
}

TEST_F(CanvasPicturesTest, WhatIsDecodedAlreadyIsThereAtOnce)
{
    const Layer image = imageOf(freshPicture());
    ASSERT_NE(mediaPicture(*image.imageData), nullptr);
    EXPECT_EQ(pixelAt(painted(image), 20, 20).g, 0);
    EXPECT_FALSE(loop_.waitForStep(std::chrono::milliseconds(50)));
}

TEST_F(CanvasPicturesTest, AFilmWaitsForItsPictures)
{
    const Layer image = imageOf(freshPicture());
    EXPECT_EQ(pixelAt(drawnFrame(sceneWith({40, 40}, {image})), 20, 20).g, 0);
}

TEST_F(CanvasPicturesTest, TheWorkerCutsByTheBlackKeyToo)
{
    Layer image = imageOf(freshWindow());
    image.strokeWidth = 0;
    ASSERT_NE(mediaPicture(*image.imageData), nullptr);
    image.blackKey = true;
    EXPECT_EQ(pixelAt(painted(image), 20, 20), whitePixel) << "decoded, but not cut";
    waitFor(1);
    EXPECT_EQ(pixelAt(painted(image), 2, 2).r, 255) << "the window fills the box";
}

TEST_F(CanvasPicturesTest, WhatIsNotShownAnyMoreTellsNothing)
{
    painted(imageOf(freshPicture()));
    painted({.kind = Layer::Kind::hotspot});
    loop_.waitForStep(std::chrono::milliseconds(200));
    loop_.turn();
    EXPECT_EQ(arrived_, 0);
}

TEST_F(CanvasPicturesTest, NothingIsToldAfterItIsGone)
{
    painted(imageOf(freshPicture()));
    ASSERT_TRUE(loop_.waitForStep());
    pictures_.reset();
    loop_.turn();
    EXPECT_EQ(arrived_, 0);
}

TEST_F(CanvasPicturesTest, WhatIsNoPictureIsAskedForOnce)
{
    const Layer image = imageOf(Bytes(std::vector<std::uint8_t>{1, 2, 3, 4}));
    painted(image);
    waitFor(1);
    EXPECT_EQ(pixelAt(painted(image), 2, 20), whitePixel) << "neither a picture nor its stroke, as in a film";
    EXPECT_FALSE(loop_.waitForStep(std::chrono::milliseconds(50)));
}

TEST_F(CanvasPicturesTest, AnImageWithoutBytesIsAskedForNever)
{
    Layer image = imageOf({});
    painted(image);
    image.imageData.reset();
    painted(image);
    EXPECT_FALSE(loop_.waitForStep(std::chrono::milliseconds(50)));
}

/// A red square of 8 x 8 that no other test has seen.
Bytes freshArt()
{
    static int count = 0;
    const std::string text = fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" width="8" height="8">)"
                                         R"(<rect width="8" height="8" fill="#f00"/><!-- {} --></svg>)",
                                         ++count);
    return Bytes(std::vector<std::uint8_t>(text.begin(), text.end()));
}

/// A main thread that lets nobody hand it anything until the gate is open: whoever comes first waits there.
class GatedRunLoop final : public RunLoop {
public:
    void post(std::function<void()> step) override
    {
        if (++posts == 1) gate.get_future().wait();
        loop.post(std::move(step));
    }

    HandRunLoop loop;
    std::promise<void> gate;
    std::atomic<int> posts{0};
};

/// A canvas that shows nothing but vector art, larger and smaller.
class CanvasArtTest : public testing::Test {
protected:
    /// How wide the picture is that is drawn where the art is `side` large; 0 for none.
    int paintedWidth(int side, const Layer& layer)
    {
        Look look{.scale = side / 8.0};
        look.options.images = pictures_.get();
        const auto drawn = calls<RasterOperation::DrawImage>(recordedCanvas(sceneWith({8, 8}, {layer}), look));
        if (drawn.empty()) return 0;
        EXPECT_EQ(drawn[0].source, (CGRect{{0, 0}, drawn[0].image->size()})) << "all of it, in whatever size";
        EXPECT_EQ(drawn[0].destination, (CGRect{{0, 0}, {8, 8}}));
        return drawn[0].image->width();
    }
    int paintedWidth(int side) { return paintedWidth(side, art_); }

    GatedRunLoop thread_;
    int arrived_ = 0;
    std::unique_ptr<CanvasPictures> pictures_ = std::make_unique<CanvasPictures>(thread_, [this] { ++arrived_; });
    Layer art_{.kind = Layer::Kind::image, .size = {8, 8}, .imageData = freshArt()};
};

TEST_F(CanvasArtTest, ArtIsRenderedOnTheWorkerAndStaysAsItWasUntilItsNewSizeIsThere)
{
    thread_.gate.set_value();
    EXPECT_EQ(paintedWidth(16), 0);
    ASSERT_TRUE(thread_.loop.turnUntil([&] { return arrived_ == 1; }));
    EXPECT_EQ(paintedWidth(16), 16);
    EXPECT_EQ(arrived_, 1) << "asked for once";

    const int enlarged = paintedWidth(80);
    EXPECT_TRUE(enlarged == 16 || enlarged == 80) << "stretched, if the worker has not been faster: " << enlarged;
    ASSERT_TRUE(thread_.loop.turnUntil([&] { return arrived_ == 2; }));
    EXPECT_EQ(paintedWidth(80), 80);
    EXPECT_EQ(paintedWidth(16), 16) << "its last sizes are kept";
    EXPECT_FALSE(thread_.loop.waitForStep(std::chrono::milliseconds(50)));
}

TEST_F(CanvasArtTest, OfTheSizesAskedForWhileTheWorkerIsSlowOnlyTheLastIsRendered)
{
    EXPECT_EQ(paintedWidth(16), 0);
    while (thread_.posts == 0) std::this_thread::yield(); // It has the first, and is slow to say so.
    for (const int side : {24, 32, 40, 48})
        EXPECT_EQ(paintedWidth(side), 16) << "painting waits for nothing, and goes on with what is there";
    thread_.gate.set_value();
    ASSERT_TRUE(thread_.loop.turnUntil([&] { return arrived_ == 1; }));
    EXPECT_EQ(paintedWidth(48), 48);
    EXPECT_EQ(thread_.posts, 2) << "the first and the last";
    EXPECT_EQ(arrived_, 1) << "nobody is told of a size that is not shown any more";
}

TEST_F(CanvasArtTest, TwoLayersOfOnePictureHaveTheirSizesSideBySide)
{
    thread_.gate.set_value();
    Layer large = art_;
    large.id = UUID::random();
    large.size = {32, 32};
    Look look;
    look.options.images = pictures_.get();
    const auto widths = [&] {
        std::vector<int> result;
        for (const auto& each : calls<RasterOperation::DrawImage>(recordedCanvas(sceneWith({40, 40}, {art_, large}), look)))
            result.push_back(each.image->width());
        return result;
    };
    ASSERT_TRUE(thread_.loop.turnUntil([&] { return widths() == std::vector{8, 32}; }));
    thread_.loop.turn();
    EXPECT_EQ(widths(), (std::vector{8, 32}));
    EXPECT_FALSE(thread_.loop.waitForStep(std::chrono::milliseconds(50))) << "neither sends the other away";
}

TEST_F(CanvasArtTest, WithoutACanvasArtIsRenderedWhileItIsDrawn)
{
    const auto drawn = calls<RasterOperation::DrawImage>(recordedCanvas(sceneWith({8, 8}, {art_}), Look{.scale = 3}));
    ASSERT_EQ(drawn.size(), 1u);
    EXPECT_EQ(drawn[0].image->width(), 24);
}

} // namespace
} // namespace larkspool
