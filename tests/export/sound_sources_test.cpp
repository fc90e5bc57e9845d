#include "export/sound_sources.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using Exporter::ExportAudio;
using Exporter::SoundSources;
using Exporter::VideoAudioClip;

bool everythingExists(const std::string&)
{
    return true;
}

Layer video(const std::string& path, double start, double end, double sourceStart = 0)
{
    Layer layer{.kind = Layer::Kind::video};
    layer.videoURL = path;
    layer.videoClip = {.sceneStart = start, .sceneEnd = end, .sourceStart = sourceStart};
    return layer;
}

Layer parent(Layer::Kind kind, const Layer& child)
{
    Layer layer{.kind = kind};
    layer.children = {child};
    return layer;
}

/// Three scenes of 2, 3 and 4 seconds, with a pause and a transition, a clip in each, and a bed.
TweenDocument filmDocument()
{
    TweenDocument document;
    document.scenes = {};
    for (const double duration : {2.0, 3.0, 4.0}) {
        TweenScene scene{.duration = duration, .endPause = 7};
        scene.layers = {video("/clip", 0.5, 1.5, 10)};
        scene.transition = SceneTransition{.duration = 1};
        document.scenes.append(scene);
    }
    document.activeSceneIndex = 1;
    document.audio = DocumentAudio{.urlString = "file:///my%20bed.mp3", .volume = 0.5};
    return document;
}

VideoAudioClip clipAt(double outputStart)
{
    return {.url = "/clip", .outputStart = outputStart, .sourceStart = 10, .duration = 1, .volume = 1};
}

TEST(SoundSources, AllScenesFollowOneAnotherByTheirDurationsAlone)
{
    const SoundSources sources = Exporter::soundSources(filmDocument(), ExportTarget::allScenes(), everythingExists);
    EXPECT_EQ(sources.audio,
              (ExportAudio{.url = "/my bed.mp3", .startOffset = 0, .duration = 9, .fadeOutLast = 1, .volume = 0.5F}));
    EXPECT_THAT(sources.videoAudioClips, testing::ElementsAre(clipAt(0.5), clipAt(2.5), clipAt(5.5)));
}

TEST(SoundSources, OneSceneHasTheStretchOfTheBedUnderItAndOnlyTheLastFades)
{
    struct Case {
        const char* what;
        ExportTarget target;
        std::int64_t active;
        double offset, duration, fade;
    };
    for (const Case& c :
         {Case{"first", ExportTarget::specificScene(0), 1, 0, 2, 0}, Case{"middle", ExportTarget::specificScene(1), 0, 2, 3, 0},
          Case{"last", ExportTarget::specificScene(2), 0, 5, 4, 1}, Case{"active", ExportTarget::currentScene(), 1, 2, 3, 0},
          Case{"active beyond the list", ExportTarget::currentScene(), 7, 0, 2, 0},
          Case{"active below the list", ExportTarget::currentScene(), -1, 0, 2, 0},
          Case{"a scene beyond the list", ExportTarget::specificScene(3), 2, 5, 4, 1},
          Case{"a scene below the list", ExportTarget::specificScene(-1), 1, 2, 3, 0}}) {
        SCOPED_TRACE(c.what);
        TweenDocument document = filmDocument();
        document.activeSceneIndex = c.active;
        const SoundSources sources = Exporter::soundSources(document, c.target, everythingExists);
        EXPECT_EQ(
            sources.audio,
            (ExportAudio{
                .url = "/my bed.mp3", .startOffset = c.offset, .duration = c.duration, .fadeOutLast = c.fade, .volume = 0.5F}));
        EXPECT_THAT(sources.videoAudioClips, testing::ElementsAre(clipAt(0.5)));
    }
}

TEST(SoundSources, ABedThatIsNotThereIsNone)
{
    TweenDocument document = filmDocument();
    const auto noBed = [](const std::string& path) { return path != "/my bed.mp3"; };
    EXPECT_EQ(Exporter::soundSources(document, ExportTarget::allScenes(), noBed).audio, std::nullopt);
    document.audio->urlString = "";
    EXPECT_EQ(Exporter::soundSources(document, ExportTarget::allScenes(), everythingExists).audio, std::nullopt);
    document.audio.reset();
    EXPECT_EQ(Exporter::soundSources(document, ExportTarget::currentScene(), everythingExists).audio, std::nullopt);
}

TEST(SoundSources, ADocumentWithoutScenesHasNone)
{
    TweenDocument document = filmDocument();
    document.scenes = {};
    for (const ExportTarget target : {ExportTarget::allScenes(), ExportTarget::currentScene(), ExportTarget::specificScene(0)})
        EXPECT_EQ(Exporter::soundSources(document, target, everythingExists), SoundSources{});
}

TEST(VideoSound, OnlyVideoLayersThatHaveAFileAndAStretchGiveAClip)
{
    Layer silentKind = video("/clip", 0, 1);
    silentKind.kind = Layer::Kind::image;
    struct Case {
        const char* what;
        Layer layer;
        std::size_t clips;
    };
    for (const Case& c :
         {Case{"a video", video("/clip", 0, 1), 1}, Case{"no file named", video("", 0, 1), 0},
          Case{"its file is gone", video("/gone", 0, 1), 0}, Case{"no length", video("/clip", 1, 1), 0},
          Case{"an end before the start", video("/clip", 2, 1), 0},
          Case{"no number", video("/clip", std::numeric_limits<double>::quiet_NaN(), 1), 0}, Case{"another kind", silentKind, 0},
          Case{"in a group", parent(Layer::Kind::group, video("/clip", 0, 1)), 1},
          Case{"in a group in a group", parent(Layer::Kind::group, parent(Layer::Kind::group, video("/clip", 0, 1))), 1},
          Case{"in a zoom", parent(Layer::Kind::zoom, video("/clip", 0, 1)), 0}}) {
        SCOPED_TRACE(c.what);
        std::vector<VideoAudioClip> clips;
        Exporter::collectQuickRenderVideoAudio({c.layer}, 0, clips, [](const std::string& path) { return path != "/gone"; });
        EXPECT_EQ(clips.size(), c.clips);
    }
}

TEST(VideoSound, AClipIsItsPlainStretchOfSourceWhateverItsLayerShows)
{
    Layer layer = video("file:///clip", 1, 4, 10);
    layer.isHidden = true;
    layer.opacity = 0;
    layer.spans = {TimeSpan{.start = 100, .end = 101}};
    layer.videoDuration = 0.5;
    layer.videoClip.endBehavior = VideoClip::EndBehavior::loop;
    layer.videoClip.sourceTrimLength = 0.1;
    std::vector<VideoAudioClip> clips = {clipAt(0)};
    Exporter::collectQuickRenderVideoAudio({layer}, 20, clips, everythingExists);
    EXPECT_THAT(clips,
                testing::ElementsAre(
                    clipAt(0), VideoAudioClip{.url = "/clip", .outputStart = 21, .sourceStart = 10, .duration = 3, .volume = 1}));
}

} // namespace
} // namespace larkspool
