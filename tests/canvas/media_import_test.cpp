#include "canvas/media_import.h"

#include "canvas/layers_fixture.h"
#include "platform/file_io.h"
#include "platform/file_url.h"
#include "support/png_bytes.h"
#include "support/test_media.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <map>
#include <set>

namespace larkspool {
namespace {

const TweenScene fullHD = {.width = 1920, .height = 1080, .duration = 4};

/// A black picture, a bit for each pixel.
std::vector<std::uint8_t> blackPng(std::uint32_t width, std::uint32_t height)
{
    return pngBytes({.width = width,
                     .height = height,
                     .color = PngColor::grey,
                     .bitDepth = 1,
                     .samples = std::vector<std::uint8_t>(std::size_t{(width + 7) / 8} * height)});
}

class MediaImportTest : public testing::Test {
protected:
    std::string put(std::string_view name, const std::vector<std::uint8_t>& bytes) const
    {
        const std::string path = folder_.path(name);
        writeFile(path, bytes);
        return path;
    }
    std::string path(std::string_view name) const { return folder_.path(name); }

    TemporaryFolder folder_;
};

void expectBox(const Layer& layer, double x, double y, double width, double height)
{
    EXPECT_EQ(layer.transform.x, x);
    EXPECT_EQ(layer.transform.y, y);
    EXPECT_EQ(layer.size, (CGSize{width, height}));
}

TEST(MediaImportSize, MediaAreScaledDownToTheWidthAndNeverUp)
{
    struct Case {
        const char* what;
        CGSize natural;
        double fitWidth;
        CGSize size;
    };
    for (const Case& c : {Case{"wider", {4000, 3000}, 1920, {1920, 1440}},
                          Case{"as wide", {1920, 3000}, 1920, {1920, 3000}},
                          Case{"smaller", {100, 50}, 1920, {100, 50}},
                          Case{"rounded after scaling", {3, 2}, 2, {2, 1}},
                          Case{"half a pixel", {3000, 999}, 1500, {1500, 500}},
                          Case{"very flat", {4000, 1}, 100, {100, 1}},
                          Case{"no width", {0, 30.4}, 10, {1, 30}},
                          Case{"no height, wider than the scene", {99.6, 0}, 10, {100, 1}},
                          Case{"nothing at all", {0, 0}, 10, {1, 1}},
                          Case{"a negative side", {-20, 5}, 10, {1, 5}},
                          Case{"a scene without width", {20, 5}, 0, {1, 1}}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(MediaImport::scaledSize(c.natural, c.fitWidth), c.size);
    }
}

TEST_F(MediaImportTest, ALargeImageIsFittedToTheSceneAcrossAndMayBeHigher)
{
    const auto layer = MediaImport::imageLayer(put("large.png", blackPng(4000, 3000)), fullHD);
    ASSERT_TRUE(layer);
    expectBox(*layer, 0, -180, 1920, 1440);
}

TEST_F(MediaImportTest, AnImageComesWholeUnderTheNameOfItsFile)
{
    const std::vector<std::uint8_t> bytes = blackPng(100, 51);
    const auto layer = MediaImport::imageLayer(put("my shot.2.png", bytes), fullHD);
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->kind, Layer::Kind::image);
    EXPECT_EQ(layer->name, "my shot.2");
    EXPECT_EQ(layer->imageData, Bytes(bytes)) << "the bytes of the file, not written anew";
    EXPECT_EQ(layer->fill, ColorRGBA::clear);
    EXPECT_EQ(layer->cornerRadius, 0);
    expectBox(*layer, 910, 515, 100, 51); // (1080 - 51) / 2 = 514.5, rounded.
    EXPECT_NE(layer->id, layer->videoClip.id);
}

TEST_F(MediaImportTest, ANameThatIsNoTextGetsMarksInItsPlaces)
{
    const auto layer = MediaImport::imageLayer(put("a\xFF""b.png", blackPng(1, 1)), fullHD);
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->name, "a\uFFFDb");
}

TEST_F(MediaImportTest, VectorArtHasTheSizeThatItAsksFor)
{
    const std::string path = folder_.path("art.svg");
    writeFile(path, R"(<svg xmlns="http://www.w3.org/2000/svg" width="30" height="20"><rect width="9" height="9"/></svg>)");
    const auto layer = MediaImport::imageLayer(path, fullHD);
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->size, (CGSize{30, 20}));
}

TEST_F(MediaImportTest, WhatDoesNotDecodeIsNoImage)
{
    std::vector<std::uint8_t> cut = blackPng(64, 64), broken = cut;
    cut.resize(cut.size() / 2);
    broken[broken.size() / 2] ^= 0xFF;
    EXPECT_FALSE(MediaImport::imageLayer(put("words.png", {'h', 'i'}), fullHD));
    EXPECT_FALSE(MediaImport::imageLayer(put("empty.png", {}), fullHD));
    EXPECT_FALSE(MediaImport::imageLayer(put("cut.png", cut), fullHD));
    EXPECT_FALSE(MediaImport::imageLayer(put("broken.png", broken), fullHD));
    EXPECT_FALSE(MediaImport::imageLayer(put("lying.png", pngBytes({.width = 100'000, .height = 100'000})), fullHD));
}

TEST_F(MediaImportTest, AFileTooLargeIsNotReadAtAll)
{
    const std::string large = put("large.png", blackPng(8, 8));
    std::filesystem::resize_file(large, MediaImport::greatestImageBytes + 1);
    try {
        MediaImport::imageLayer(large, fullHD);
        FAIL() << "it was read";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), EFBIG);
    }
    EXPECT_THROW(MediaImport::imageLayer(path("gone.png"), fullHD), FileError);
}

TEST_F(MediaImportTest, AVideoIsLinkedAndPlaysFromTheStartOfTheScene)
{
    makeMedia(path("two seconds.mp4"), countingSource(60, 30, "144x96") + " -c:v libx264 -pix_fmt yuv420p");
    const TweenScene narrow = {.width = 96, .height = 54, .duration = 4};
    const Layer layer = MediaImport::videoLayer(path("two seconds.mp4"), narrow);
    EXPECT_EQ(layer.kind, Layer::Kind::video);
    EXPECT_EQ(layer.name, "two seconds");
    EXPECT_EQ(layer.fill, ColorRGBA::clear);
    EXPECT_EQ(layer.videoURL.string(), fileURLFromPath(path("two seconds.mp4")));
    EXPECT_NEAR(layer.videoDuration, 2, 0.001);
    EXPECT_FALSE(layer.videoBookmark) << "this system has none";
    expectBox(layer, 0, -5, 96, 64);
    EXPECT_EQ(layer.videoClip.sceneStart, 0);
    EXPECT_EQ(layer.videoClip.sceneEnd, layer.videoDuration);
    EXPECT_EQ(layer.videoClip.sourceStart, 0);

    const TweenScene shorter = {.duration = 1.5};
    EXPECT_EQ(MediaImport::videoLayer(path("two seconds.mp4"), shorter).videoClip.sceneEnd, 1.5);
}

TEST_F(MediaImportTest, AVideoThatIsTurnedForShowingHasTheSizeThatIsShown)
{
    makeMedia(path("flat.mp4"), countingSource(3, 30, "64x32") + " -c:v libx264 -pix_fmt yuv420p");
    makeMedia(path("high.mov"), "-i '" + path("flat.mp4") + "' -c copy -metadata:s:v:0 rotate=90");
    EXPECT_EQ(MediaImport::videoLayer(path("high.mov"), fullHD).size, (CGSize{32, 64}));
}

TEST_F(MediaImportTest, AVideoWithoutPicturesHasAStandardSize)
{
    makeMedia(path("sound.mp4"), "-f lavfi -i sine=duration=3 -c:a aac");
    const Layer sound = MediaImport::videoLayer(path("sound.mp4"), fullHD);
    EXPECT_EQ(sound.size, (CGSize{1280, 720}));
    EXPECT_NEAR(sound.videoDuration, 3, 0.05);

    const Layer nothing = MediaImport::videoLayer(put("nothing.mp4", {'n', 'o'}), fullHD);
    EXPECT_EQ(nothing.size, (CGSize{1280, 720}));
    EXPECT_EQ(nothing.videoDuration, 0.001);
    EXPECT_EQ(nothing.videoClip.sceneEnd, 0.001);
}

TEST_F(MediaImportTest, ARelativePathIsLinkedInFull)
{
    const Layer layer = MediaImport::videoLayer("no/such.mp4", fullHD);
    EXPECT_EQ(pathFromURLOrPath(layer.videoURL), (std::filesystem::current_path() / "no/such.mp4").string());
}

/// A system with bookmarks, which are the words that are given for them here.
class TestBookmarks final : public Bookmarks {
public:
    std::map<std::string, Resolved> resolved;

    std::optional<Bytes> make(const std::string& path) const override { return Bytes({path.begin(), path.end()}); }
    std::optional<Resolved> resolve(const Bytes& bookmark) const override
    {
        const auto found = resolved.find(std::string(bookmark.view().begin(), bookmark.view().end()));
        return found == resolved.end() ? std::nullopt : std::optional(found->second);
    }
};

TEST(MediaBookmarks, ResolveToAFileThatIsThere)
{
    TestBookmarks bookmarks;
    bookmarks.resolved = {
        {"s", {"/stays.mp4"}}, {"m", {"/moved.mp4"}}, {"o", {"/old.mp4", /*isStale=*/true}}, {"g", {"/gone.mp4"}}};
    const FileExists exists = [](const std::string& path) { return path != "/gone.mp4"; };
    struct Case {
        const char* when;
        std::optional<Bytes> bookmark;
        const char* storedPath;
        std::optional<MediaImport::ResolvedBookmark> result;
    };
    for (const Case& c : {Case{"no bookmark", std::nullopt, "/stays.mp4", std::nullopt},
                          Case{"one that means nothing", Bytes({'x'}), "/stays.mp4", std::nullopt},
                          Case{"where it was", Bytes({'s'}), "/stays.mp4", {{"/stays.mp4", false}}},
                          Case{"elsewhere", Bytes({'m'}), "/stays.mp4", {{"/moved.mp4", true}}},
                          Case{"stale by the system's word", Bytes({'o'}), "/old.mp4", {{"/old.mp4", true}}},
                          Case{"a file that is gone", Bytes({'g'}), "/gone.mp4", std::nullopt}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(MediaImport::resolveBookmark(c.bookmark, c.storedPath, bookmarks, exists), c.result);
    }
}

TEST(MediaBookmarks, ThisSystemMakesNoneAndKnowsNone)
{
    EXPECT_FALSE(MediaImport::makeBookmark("/tmp"));
    EXPECT_FALSE(MediaImport::resolveBookmark(Bytes({1, 2}), "/tmp"));
}

Layer mediaLayer(char letter, Layer::Kind kind, CGSize size = {10, 10})
{
    return kindNamed(letter, kind, {{0, 0}, size});
}

TEST(MediaFilesOnTheCanvas, LieAroundThePointEachFurtherThanTheOneBefore)
{
    const TweenScene scene = sceneHolding({layerNamed('z')});
    const auto edit = importMediaFiles(
        scene, {mediaLayer('a', Layer::Kind::image, {100, 50}), mediaLayer('b', Layer::Kind::video, {11, 10})}, {300, 200}, 20);
    EXPECT_EQ(treeOf(edit), "z a b");
    EXPECT_EQ(selectedIn(edit), "a b");
    expectBox(after(edit, 'a'), 250, 175, 100, 50);
    expectBox(after(edit, 'b'), 315, 215, 11, 10); // 294.5 is rounded, then 20 further.
}

TEST(MediaFilesOnTheCanvas, OneStepIsNamedAfterWhatItBrings)
{
    const Layer image = mediaLayer('a', Layer::Kind::image), video = mediaLayer('b', Layer::Kind::video);
    const TweenScene scene = sceneHolding({});
    EXPECT_EQ(importMediaFiles(scene, {image}, {})->actionName, "Add Image");
    EXPECT_EQ(importMediaFiles(scene, {video}, {})->actionName, "Add Video");
    EXPECT_EQ(importMediaFiles(scene, {image, video}, {})->actionName, "Add 2 Items");
    EXPECT_FALSE(importMediaFiles(scene, {}, {}));
    EXPECT_FALSE(importMediaFiles(scene, {image}, {std::numeric_limits<double>::quiet_NaN(), 0}));
}

TEST(MediaFilesOnTheCanvas, AreOneUndoStep)
{
    Studio studio(sceneHolding({layerNamed('z')}));
    const std::vector<std::uint8_t> before = studio.file();
    ASSERT_TRUE(studio.perform(importMediaFiles(
        studio.scene(), {mediaLayer('a', Layer::Kind::image), mediaLayer('b', Layer::Kind::image)}, {50, 50})));
    EXPECT_EQ(studio.manager.undoCount(), 1u);
    studio.manager.undo();
    EXPECT_EQ(studio.file(), before);
}

TEST(ReplacedMedia, AnImageKeepsAllButItsBytes)
{
    Layer old = mediaLayer('a', Layer::Kind::image, {200, 100});
    old.imageData = Bytes({1});
    old.cornerRadius = 9;
    Layer fresh = mediaLayer('f', Layer::Kind::image, {3, 4});
    fresh.imageData = Bytes({2});
    const TweenScene scene = sceneHolding({groupNamed('g', {old})});

    const auto edit = replaceImageMedia(scene, old.id, fresh);
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Replace Image");
    Layer expected = old;
    expected.imageData = Bytes({2});
    EXPECT_EQ(after(edit, 'a'), expected);

    EXPECT_FALSE(replaceImageMedia(edit->scene, old.id, fresh)) << "it has that image";
    EXPECT_FALSE(replaceImageMedia(scene, idNamed('g'), fresh)) << "a group has none";
    EXPECT_FALSE(replaceImageMedia(scene, idNamed('x'), fresh)) << "not there";
    EXPECT_FALSE(replaceImageMedia(scene, old.id, mediaLayer('v', Layer::Kind::video))) << "a video is no image";
}

TEST(ReplacedMedia, AVideoKeepsItsClip)
{
    Layer old = mediaLayer('a', Layer::Kind::video, {200, 100});
    old.videoURL = "file:///old.mp4";
    old.videoDuration = 9;
    old.videoBookmark = Bytes({1});
    old.videoClip.sceneStart = 2;
    old.videoClip.sceneEnd = 5;
    old.videoClip.sourceStart = 1;
    Layer fresh = mediaLayer('f', Layer::Kind::video);
    fresh.videoURL = "file:///new.mp4";
    fresh.videoDuration = 3;
    fresh.videoClip.sceneEnd = 3;
    const TweenScene scene = sceneHolding({old});

    const auto edit = replaceVideoMedia(scene, old.id, fresh);
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Replace Video");
    Layer expected = old;
    expected.videoURL = "file:///new.mp4";
    expected.videoDuration = 3;
    expected.videoBookmark.reset();
    EXPECT_EQ(after(edit, 'a'), expected);
    EXPECT_FALSE(replaceVideoMedia(edit->scene, old.id, fresh)) << "it has that video";
    EXPECT_FALSE(replaceVideoMedia(scene, old.id, mediaLayer('i', Layer::Kind::image))) << "an image is no video";
}

TEST(ImageBytes, CountForEachLayerThatHasThem)
{
    Layer image = mediaLayer('a', Layer::Kind::image);
    image.imageData = Bytes(std::vector<std::uint8_t>(100));
    TweenDocument document;
    document.scenes = {sceneHolding({image, groupNamed('g', {image})}), sceneHolding({image, layerNamed('r')})};
    EXPECT_EQ(MediaImport::imageBytes(document), 300u);
}

} // namespace
} // namespace larkspool
