#include "rendering/video_view_logic.h"

#include "platform/raster_context.h"
#include "support/golden.h"
#include "support/test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include <fmt/format.h>

namespace larkspool {
namespace {

using Kind = VideoPlayerStep::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

ImageRef somePicture()
{
    return std::make_shared<const Image>(PixelBuffer(2, 2), Image::Alpha::opaque);
}

TEST(VideoFrameRequests, AreThinnedToSixtyASecond)
{
    VideoFrameRequests view;
    const auto first = view.request("a", 1, {});
    ASSERT_TRUE(first);
    EXPECT_TRUE(view.request("a", 1, {})) << "nothing was delivered yet";
    view.commit(*first, somePicture());
    EXPECT_FALSE(view.request("a", 1.016, {}));
    EXPECT_FALSE(view.request("a", 0.984, {}));
    EXPECT_TRUE(view.request("a", 1.017, {}));
    EXPECT_TRUE(view.request("a", 1, {.insetX = 1})) << "cut otherwise";
    EXPECT_TRUE(view.request("a", 1, {.manualCrop = CGRect{}})) << "cut by hand";
}

TEST(VideoFrameRequests, ANewPathLetsThePictureGo)
{
    VideoFrameRequests view;
    const auto first = view.request("a", 1, {});
    EXPECT_TRUE(view.commit(*first, somePicture()));
    const auto second = view.request("b", 1, {});
    ASSERT_TRUE(second) << "though the time is the same";
    EXPECT_EQ(second->path, "b");
    EXPECT_EQ(view.cgImage(), nullptr);
    EXPECT_EQ(view.lastDeliveredTime(), -1);
    EXPECT_EQ(view.committedToken(), 0u);
    EXPECT_GT(second->token, first->token) << "tokens go on";
}

TEST(VideoFrameRequests, DropWhatANewerOneHasOvertaken)
{
    VideoFrameRequests view;
    const auto first = view.request("a", 1, {});
    EXPECT_FALSE(view.isOvertaken(first->token));
    const auto second = view.request("a", 2, {});
    EXPECT_TRUE(view.isOvertaken(first->token));
    EXPECT_FALSE(view.isOvertaken(second->token));
    bool overtaken = false;
    std::thread([&] { overtaken = view.isOvertaken(first->token); }).join();
    EXPECT_TRUE(overtaken);
}

TEST(VideoFrameRequests, TakeNoAnswerOlderThanTheLast)
{
    VideoFrameRequests view;
    const auto first = view.request("a", 1, {}), second = view.request("a", 2, {});
    const ImageRef newer = somePicture();
    EXPECT_TRUE(view.commit(*second, newer));
    EXPECT_FALSE(view.commit(*first, somePicture()));
    EXPECT_FALSE(view.commit(*second, somePicture())) << "the same answer again";
    EXPECT_EQ(view.cgImage(), newer);
    EXPECT_EQ(view.lastDeliveredTime(), 2);
    const auto third = view.request("a", 3, {});
    EXPECT_FALSE(view.commit(*third, nullptr)) << "a failed fetch leaves the picture";
    EXPECT_EQ(view.cgImage(), newer);
}

class Player {
public:
    std::vector<VideoPlayerStep> paused(double time) { return configure("a", time, false, {}, 0); }
    std::vector<VideoPlayerStep> playing(double time, double playerTime) { return configure("a", time, true, {}, playerTime); }
    std::vector<VideoPlayerStep> configure(const std::string& path, double time, bool isPlaying, const BlackKeySettings& settings,
                                           double playerTime)
    {
        return director_.configure(path, time, isPlaying, settings, playerTime);
    }

private:
    VideoPlayerDirector director_;
};

constexpr VideoPlayerStep seek(double time, double tolerance)
{
    return {.kind = Kind::seek, .time = time, .tolerance = tolerance};
}

constexpr VideoPlayerStep rate(double rate)
{
    return {.kind = Kind::setRate, .rate = rate};
}

constexpr VideoPlayerStep build{.kind = Kind::build}, tearDown{.kind = Kind::tearDown};

TEST(VideoPlayerDirector, SeeksExactlyWhilePaused)
{
    Player player;
    EXPECT_THAT(player.paused(1), ElementsAre(build, seek(1, 0)));
    EXPECT_THAT(player.paused(1.0004), IsEmpty());
    EXPECT_THAT(player.paused(1.0006), ElementsAre(seek(1.0006, 0)));
    EXPECT_THAT(player.paused(1.0008), IsEmpty()) << "the last seek counts";
}

TEST(VideoPlayerDirector, SeeksWithToleranceOnTheChangeToPlaying)
{
    Player player;
    player.paused(1);
    EXPECT_THAT(player.playing(1, 1), ElementsAre(seek(1, 0.04), rate(1)));
    Player atOnce;
    EXPECT_THAT(atOnce.playing(3, 0), ElementsAre(build, seek(3, 0.04), rate(1)));
}

TEST(VideoPlayerDirector, LeavesSmallDriftAlone)
{
    Player player;
    player.playing(1, 1);
    EXPECT_THAT(player.playing(2, 2.19), IsEmpty());
    EXPECT_THAT(player.playing(2, 1.81), IsEmpty());
    EXPECT_THAT(player.playing(2, 2.25), ElementsAre(seek(2, 0.04)));
    EXPECT_THAT(player.playing(2, 1.75), ElementsAre(seek(2, 0.04)));
}

TEST(VideoPlayerDirector, StopsAndSeeksExactlyOnTheChangeToPaused)
{
    Player player;
    player.playing(1, 1);
    EXPECT_THAT(player.paused(1), ElementsAre(rate(0), seek(1, 0))) << "though the last seek was there";
    EXPECT_THAT(player.paused(1), IsEmpty());
}

TEST(VideoPlayerDirector, BuildsAnewForAnotherPathOrCut)
{
    Player player;
    player.playing(1, 1);
    EXPECT_THAT(player.configure("b", 1, true, {}, 1), ElementsAre(tearDown, build, seek(1, 0.04), rate(1)));
    EXPECT_THAT(player.configure("b", 1, false, {.blackKey = true}, 1), ElementsAre(tearDown, build, seek(1, 0)));
    EXPECT_THAT(player.configure("b", 1, false, {.blackKey = true}, 1), IsEmpty());
}

TEST(CanvasCacheKeys, TellApartWhatLooksDifferent)
{
    const std::vector<std::uint8_t> bytes{1, 2, 3}, others{1, 2, 4};
    const BlackKeySettings keyed{.blackKey = true, .insetX = 1, .insetY = 2.5, .cornerRadius = 3};
    BlackKeySettings byHand = keyed;
    byHand.manualCrop = CGRect{{0.25, 0}, {0.5, 1}};
    const std::string key = blackKeyedImageCacheKey(bytes, keyed);
    EXPECT_TRUE(key.starts_with("bk:3:")) << key;
    EXPECT_TRUE(key.ends_with(":1:2.5:3:auto")) << key;
    EXPECT_TRUE(blackKeyedImageCacheKey(bytes, byHand).ends_with(":1:2.5:3:m:0.25:0:0.5:1"));
    EXPECT_NE(blackKeyedImageCacheKey(others, keyed), key);
    EXPECT_EQ(videoFrameCacheKey("a.mp4", {}), "a.mp4|");
    EXPECT_NE(videoFrameCacheKey("a.mp4", keyed), videoFrameCacheKey("a.mp4", byHand));
}

TEST(CanvasImages, AreCutToTheirWindowOrByHand)
{
    PixelBuffer pixels(60, 40);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 60; ++x)
            reinterpret_cast<std::uint32_t*>(pixels.row(y))[x] = x >= 10 && x < 50 && y >= 5 && y < 35 ? 0xffffffff : 0xff000000;
    const ImageRef image = std::make_shared<const Image>(std::move(pixels), Image::Alpha::opaque);
    EXPECT_EQ(blackKeyedImage(image, {}), image) << "not keyed";
    EXPECT_EQ(blackKeyedImage(image, {.blackKey = true})->size(), (CGSize{40, 30}));
    EXPECT_EQ(blackKeyedImage(image, {.blackKey = true, .insetX = 2, .insetY = 3})->size(), (CGSize{36, 24}));
    EXPECT_EQ(blackKeyedImage(image, {.blackKey = true, .manualCrop = CGRect{{0.5, 0.5}, {0.25, 0}}})->size(), (CGSize{15, 1}))
        << "by hand before the window, a pixel at least";
    EXPECT_EQ(blackKeyedImage(image, {.manualCrop = CGRect{{3, 3}, {1, 1}}}), image) << "nothing left";
    EXPECT_EQ(blackKeyedImage(nullptr, {.blackKey = true}), nullptr);
}

/// A window of 96 x 60 on plain ground of 160 x 100.
ImageRef windowOn(std::uint32_t ground)
{
    PixelBuffer pixels(160, 100);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 160; ++x) {
            const bool isWindow = x >= 32 && x < 128 && y >= 20 && y < 80;
            const auto colour = static_cast<std::uint32_t>(0xff7090e0 - (y < 32 ? 0x300000 : 0) - static_cast<unsigned>(x) / 16 % 2 * 0x2000);
            reinterpret_cast<std::uint32_t*>(pixels.row(y))[x] = isWindow ? colour : ground;
        }
    return std::make_shared<const Image>(std::move(pixels), Image::Alpha::opaque);
}

TEST(CanvasImages, GoldenOfBlackKeysOnDarkAndLight)
{
    PixelBuffer picture(520, 220);
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    context->setFillColor({0.2, 0.45, 0.3, 1});
    context->fillRect({{0, 0}, {520, 220}});
    double y = 5;
    for (const std::uint32_t ground : {0xff000000u, 0xffffffffu}) {
        double x = 5;
        for (const BlackKeySettings& settings :
             {BlackKeySettings{}, BlackKeySettings{.blackKey = true}, BlackKeySettings{.blackKey = true, .insetX = 6, .insetY = 12, .cornerRadius = 16},
              BlackKeySettings{.cornerRadius = 12, .manualCrop = CGRect{{0.1, 0.1}, {0.4, 0.5}}}}) {
            const ImageRef image = blackKeyedImage(windowOn(ground), settings);
            context->drawImage(image, {{0, 0}, image->size()}, {{x, y}, image->size()});
            x += image->size().width + 10;
        }
        y += 110;
    }
    EXPECT_GOLDEN(picture, "black-keys");
}

TEST(CanvasVideos, AreCutToTheWindowAtHalfASecond)
{
    TemporaryFolder folder;
    const std::string path = folder.path("window.mkv");
    makeMedia(path, "-f lavfi -i \"color=black:s=64x48:r=30:d=1,drawbox=x=16:y=8:w=32:h=24:color=white:t=fill:"
                    "enable='gte(t,0.4)'\" -c:v ffv1");
    EXPECT_EQ(detectVideoBBox(path), (CGRect{{16, 8}, {32, 24}}));
    EXPECT_EQ(detectVideoBBox(folder.path("absent.mkv")), std::nullopt);

    VideoFrameCache cache;
    EXPECT_EQ(cache.frame(path, 0, {})->size(), (CGSize{64, 48}));
    EXPECT_EQ(cache.frame(path, 0, {.blackKey = true})->size(), (CGSize{32, 24})) << "before the window shows, too";
    EXPECT_EQ(cache.frame(path, 0.5, {.blackKey = true, .insetX = 4})->size(), (CGSize{24, 24}));
    EXPECT_EQ(cache.frame(path, 0.5, {.manualCrop = CGRect{{0, 0}, {0.5, 0.5}}})->size(), (CGSize{32, 24}));
    EXPECT_EQ(cache.frame(folder.path("absent.mkv"), 0, {}), nullptr);
    for (int i = 0; i < 30; ++i) EXPECT_TRUE(cache.frame(path, 0.5, {.blackKey = true, .insetX = i / 10.0}));
}

TEST(CanvasVideos, AFileThatTakesThePlaceOfAnotherIsSeen)
{
    TemporaryFolder folder;
    const std::string path = folder.path("film.mkv");
    makeMedia(path, "-f lavfi -i color=black:s=64x48:r=30:d=1 -c:v ffv1");
    VideoFrameCache cache;
    EXPECT_EQ(cache.frame(path, 0.5, {})->size(), (CGSize{64, 48}));

    makeMedia(folder.path("next.mkv"), "-f lavfi -i color=white:s=32x16:r=30:d=0.2 -c:v ffv1");
    std::filesystem::rename(folder.path("next.mkv"), path);
    ASSERT_NE(cache.frame(path, 0.5, {}), nullptr) << "past its end there is its last picture";
    EXPECT_EQ(cache.frame(path, 0.5, {})->size(), (CGSize{32, 16}));

    writeFile(path, "no film at all");
    EXPECT_EQ(cache.frame(path, 0.5, {}), nullptr);
    makeMedia(path, "-f lavfi -i color=white:s=16x16:r=30:d=1 -c:v ffv1");
    ASSERT_NE(cache.frame(path, 0.5, {}), nullptr);
    EXPECT_EQ(cache.frame(path, 0.5, {})->size(), (CGSize{16, 16}));
}

} // namespace
} // namespace larkspool
