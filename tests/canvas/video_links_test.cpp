#include "canvas/video_links.h"

#include "canvas/layers_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Layer videoNamed(char letter, std::string_view url, std::string_view bookmark = {})
{
    Layer layer = kindNamed(letter, Layer::Kind::video);
    layer.videoURL = SharedString(url);
    if (!bookmark.empty()) layer.videoBookmark = Bytes({bookmark.begin(), bookmark.end()});
    return layer;
}

/// A world in which there are these files alone.
MediaPlaces only(std::set<std::string> files, std::string documentFolder = {})
{
    return {std::move(documentFolder), [files = std::move(files)](const std::string& path) { return files.contains(path); }};
}

std::string textOf(const std::optional<Bytes>& bytes)
{
    return bytes ? std::string(bytes->view().begin(), bytes->view().end()) : "none";
}

TEST(MissingVideos, AreTheVideoLayersWithoutAFile)
{
    const MediaPlaces places = only({"/there.mp4", "/docs/beside.mp4"}, "/docs");
    const Array<Layer> layers = {videoNamed('a', "file:///there.mp4"),
                                 videoNamed('b', "beside.mp4"),
                                 groupNamed('g', {videoNamed('c', "file:///gone%20by.mp4"), videoNamed('d', "sub/lost.mov")}),
                                 videoNamed('e', ""),
                                 kindNamed('r', Layer::Kind::image)};
    EXPECT_THAT(collectMissingVideos(layers, places),
                ElementsAre(MissingVideoEntry{idNamed('c'), "/gone by.mp4", "gone by.mp4"},
                            MissingVideoEntry{idNamed('d'), "/docs/sub/lost.mov", "lost.mov"},
                            MissingVideoEntry{idNamed('e'), "", "e"}));
}

/// Bookmarks of three letters; one that is made is "new:" and the path.
class TestBookmarks final : public Bookmarks {
public:
    std::map<std::string, Resolved> resolved;
    bool makesThem = true;

    std::optional<Bytes> make(const std::string& path) const override
    {
        if (!makesThem) return std::nullopt;
        const std::string text = "new:" + path;
        return Bytes({text.begin(), text.end()});
    }
    std::optional<Resolved> resolve(const Bytes& bookmark) const override
    {
        const auto found = resolved.find(textOf(bookmark));
        return found == resolved.end() ? std::nullopt : std::optional(found->second);
    }
};

TEST(RelinkingByBookmarks, FollowsAFileThatWasMovedWithoutAWord)
{
    TestBookmarks bookmarks;
    bookmarks.resolved = {{"moved", {"/new/my film.mp4"}}};
    Array<Layer> layers = {groupNamed('g', {videoNamed('a', "/old/film.mp4", "moved")})};
    bool refreshedAny = false;
    relinkVideosViaBookmarks(layers, refreshedAny, only({"/new/my film.mp4"}), bookmarks);
    EXPECT_TRUE(refreshedAny);
    const Layer& video = layers[0].children[0];
    EXPECT_EQ(video.videoURL, "file:///new/my%20film.mp4");
    EXPECT_EQ(textOf(video.videoBookmark), "new:/new/my film.mp4");
    EXPECT_THAT(collectMissingVideos(layers, only({"/new/my film.mp4"})), IsEmpty());
}

TEST(RelinkingByBookmarks, ALinkThatHoldsStaysByteForByte)
{
    TestBookmarks bookmarks;
    bookmarks.resolved = {{"fine", {"/film.mp4"}}, {"gone", {"/gone.mp4"}}};
    const Array<Layer> before = {videoNamed('a', "/film.mp4", "fine"), videoNamed('b', "/film.mp4", "gone"),
                                 videoNamed('c', "/film.mp4", "unknown"), videoNamed('d', "/film.mp4"),
                                 groupNamed('g', {layerNamed('r')})};
    Array<Layer> layers = before;
    bool refreshedAny = false;
    relinkVideosViaBookmarks(layers, refreshedAny, only({"/film.mp4"}), bookmarks);
    EXPECT_FALSE(refreshedAny);
    EXPECT_TRUE(layers.sharesStorageWith(before));
}

TEST(RelinkingByBookmarks, AStaleBookmarkIsMadeAnew)
{
    TestBookmarks bookmarks;
    bookmarks.resolved = {{"stale", {"/film.mp4", /*isStale=*/true}}};
    Array<Layer> layers = {videoNamed('a', "/film.mp4", "stale")};
    bool refreshedAny = false;
    relinkVideosViaBookmarks(layers, refreshedAny, only({"/film.mp4"}), bookmarks);
    EXPECT_TRUE(refreshedAny);
    EXPECT_EQ(layers[0].videoURL, "/film.mp4") << "the file is where it was";
    EXPECT_EQ(textOf(layers[0].videoBookmark), "new:/film.mp4");

    bookmarks.makesThem = false;
    layers = {videoNamed('a', "/film.mp4", "stale")};
    relinkVideosViaBookmarks(layers, refreshedAny, only({"/film.mp4"}), bookmarks);
    EXPECT_EQ(textOf(layers[0].videoBookmark), "stale") << "an old one is better than none";
}

TEST(RelinkingByBookmarks, ABookmarkOfAFileThatIsGoneCountsAsMissing)
{
    TestBookmarks bookmarks;
    bookmarks.resolved = {{"gone", {"/gone.mp4"}}};
    Array<Layer> layers = {videoNamed('a', "/old.mp4", "gone")};
    bool refreshedAny = false;
    relinkVideosViaBookmarks(layers, refreshedAny, only({}), bookmarks);
    EXPECT_FALSE(refreshedAny);
    EXPECT_EQ(collectMissingVideos(layers, only({})).size(), 1u);
}

TweenDocument documentOf(std::vector<Array<Layer>> scenes)
{
    TweenDocument document;
    document.scenes = {};
    for (Array<Layer>& layers : scenes) document.scenes.append(sceneHolding(std::move(layers)));
    return document;
}

/// The letters of the layers that these links change, and what they name then.
std::map<std::string, std::string> mended(const TweenDocument& document, const std::vector<VideoRelink>& relinks,
                                          const MediaPlaces& places)
{
    std::map<std::string, std::string> links;
    for (const TweenScene& scene : document.scenes) {
        Array<Layer> layers = scene.layers;
        relinkVideos(layers, relinks, places);
        walkLayers(layers, [&](const Layer& layer) {
            const Layer* before = findLayer(scene, layer.id);
            if (!(before->videoURL == layer.videoURL)) links[layer.name.string()] = layer.videoURL.string();
        });
    }
    return links;
}

std::string askedFor(const VideoReconnection& reconnection)
{
    return reconnection.asked() ? reconnection.asked()->name : "nothing";
}

TEST(Reconnection, AsksForEachFileOnceAndMendsAllLayersThatNameIt)
{
    const MediaPlaces places = only({"/new/found.mp4"});
    const TweenDocument document =
        documentOf({{videoNamed('a', "file:///old/x.mp4"), groupNamed('g', {videoNamed('b', "/old/x.mp4")})},
                    {videoNamed('c', "/old/./x.mp4"), videoNamed('d', "/old/y.mp4")}});
    VideoReconnection reconnection(document, places);
    EXPECT_EQ(reconnection.remaining(), 2u);
    EXPECT_EQ(askedFor(reconnection), "x.mp4");
    const auto relinks = reconnection.locate("/new/found.mp4");
    const std::string url = "file:///new/found.mp4";
    EXPECT_EQ(mended(document, relinks, places), (std::map<std::string, std::string>{{"a", url}, {"b", url}, {"c", url}}));
    EXPECT_EQ(askedFor(reconnection), "y.mp4");
    reconnection.skip();
    EXPECT_EQ(askedFor(reconnection), "nothing");
    reconnection.skip();
    EXPECT_THAT(reconnection.locate("/new/found.mp4"), IsEmpty());
}

TEST(Reconnection, OneLocatedFolderMendsAllFilesFoundInIt)
{
    const MediaPlaces places = only({"/new/renamed.mp4", "/new/b.mp4", "/new/c d.mp4"});
    const TweenDocument document = documentOf({{videoNamed('a', "/old/a.mp4"), videoNamed('b', "/old/b.mp4"),
                                                videoNamed('x', "/old/x.mp4"), videoNamed('c', "/older/c d.mp4")}});
    VideoReconnection reconnection(document, places);
    const auto relinks = reconnection.locate("/new/renamed.mp4");
    EXPECT_EQ(mended(document, relinks, places), (std::map<std::string, std::string>{{"a", "file:///new/renamed.mp4"},
                                                                                      {"b", "file:///new/b.mp4"},
                                                                                      {"c", "file:///new/c%20d.mp4"}}));
    EXPECT_EQ(askedFor(reconnection), "x.mp4");
    EXPECT_EQ(reconnection.remaining(), 1u);
}

TEST(Reconnection, ANameThatTwoMissingFilesShareTellsNeither)
{
    const MediaPlaces places = only({"/new/take.mp4", "/new/other.mp4"});
    const TweenDocument document = documentOf(
        {{videoNamed('o', "/old/other.mp4"), videoNamed('a', "/monday/take.mp4"), videoNamed('b', "/tuesday/take.mp4")}});
    VideoReconnection reconnection(document, places);
    EXPECT_EQ(reconnection.locate("/new/other.mp4").size(), 1u);
    EXPECT_EQ(reconnection.remaining(), 2u);
    const auto relinks = reconnection.locate("/new/take.mp4");
    EXPECT_EQ(mended(document, relinks, places), (std::map<std::string, std::string>{{"a", "file:///new/take.mp4"}}));
    EXPECT_EQ(reconnection.remaining(), 1u);
}

TEST(Reconnection, AFileThatWasLocatedIsNotGivenToAnotherByItsName)
{
    const MediaPlaces places = only({"/new/b.mp4"});
    const TweenDocument document = documentOf({{videoNamed('a', "/old/a.mp4"), videoNamed('b', "/old/b.mp4")}});
    VideoReconnection reconnection(document, places);
    EXPECT_EQ(reconnection.locate("/new/b.mp4").size(), 1u);
    EXPECT_EQ(askedFor(reconnection), "b.mp4");
}

TEST(Reconnection, ALayerThatNamesNoFileIsMendedForItself)
{
    const MediaPlaces places = only({"/new/f.mp4"});
    const TweenDocument document = documentOf({{videoNamed('a', ""), videoNamed('b', "")}});
    VideoReconnection reconnection(document, places);
    EXPECT_EQ(reconnection.remaining(), 2u);
    EXPECT_EQ(askedFor(reconnection), "a");
    const auto relinks = reconnection.locate("/new/f.mp4");
    EXPECT_EQ(mended(document, relinks, places), (std::map<std::string, std::string>{{"a", "file:///new/f.mp4"}}));
    EXPECT_EQ(askedFor(reconnection), "b");
}

TEST(Reconnection, SkippingAllEndsIt)
{
    const TweenDocument document = documentOf({{videoNamed('a', "/x.mp4"), videoNamed('b', "/y.mp4")}});
    VideoReconnection reconnection(document, only({}));
    reconnection.skipAll();
    EXPECT_EQ(reconnection.asked(), nullptr);
}

TEST(Reconnection, TheOldBookmarkGoesWithTheOldLink)
{
    const MediaPlaces places = only({"/new.mp4"});
    const TweenDocument document = documentOf({{videoNamed('a', "/old.mp4", "old")}});
    VideoReconnection plain(document, places);
    Array<Layer> layers = document.scenes[0].layers;
    EXPECT_TRUE(relinkVideos(layers, plain.locate("/new.mp4"), places));
    EXPECT_FALSE(layers[0].videoBookmark);

    const TestBookmarks bookmarks;
    VideoReconnection marked(document, places, bookmarks);
    layers = document.scenes[0].layers;
    EXPECT_TRUE(relinkVideos(layers, marked.locate("/new.mp4"), places));
    EXPECT_EQ(textOf(layers[0].videoBookmark), "new:/new.mp4");
}

TEST(Reconnection, VideosThatAreThereAreLeftAlone)
{
    const MediaPlaces places = only({"/here.mp4"});
    const TweenDocument document = documentOf({{videoNamed('a', "/here.mp4"), layerNamed('r')}});
    EXPECT_EQ(VideoReconnection(document, places).asked(), nullptr);
    Array<Layer> layers = document.scenes[0].layers;
    const VideoRelink relink{{idNamed('a'), "/here.mp4", "here.mp4"}, "file:///other.mp4", std::nullopt};
    EXPECT_FALSE(relinkVideos(layers, std::span(&relink, 1), places));
    EXPECT_TRUE(layers.sharesStorageWith(document.scenes[0].layers));
}

} // namespace
} // namespace larkspool
