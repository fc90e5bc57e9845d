#include "rendering/canvas_pictures.h"

#include "platform/png_writer.h"
#include "rendering/image_media.h"
#include "rendering/live_canvas_fixture.h"
#include "support/hand_run_loop.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace larkspool
