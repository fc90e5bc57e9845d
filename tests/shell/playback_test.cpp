#include "shell/playback.h"

#include "shell/hand_run_tasks.h"
#include "support/fake_timers.h"
#include "support/memory_user_defaults.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace larkspool {
namespace {

/// Writes down what it is told.
struct Played {
    std::vector<std::string> calls;
    double time = 0, volume = -1, duration = 100;
    bool isPlaying = false;
};

class RecordingPlayer final : public AudioPlayer {
public:
    explicit RecordingPlayer(Played& played) : played_(played) {}
    double duration() const override { return played_.duration; }
    double currentTime() const override { return played_.time; }
    void setCurrentTime(double seconds) override { played_.time = seconds; }
    void setVolume(double volume) override { played_.volume = volume; }
    bool isPlaying() const override { return played_.isPlaying; }
    void play() override
    {
        played_.isPlaying = true;
        played_.calls.push_back("play " + std::to_string(std::lround(played_.time * 1000)));
    }
    void pause() override
    {
        played_.isPlaying = false;
        played_.calls.push_back("pause");
    }

private:
    Played& played_;
};

TweenDocument documentOf(std::vector<double> durations, double volume = 1)
{
    TweenDocument document;
    document.scenes = {};
    for (const double duration : durations) {
        TweenScene scene;
        scene.id = UUID::random();
        scene.duration = duration;
        document.scenes.append(scene);
    }
    document.audio = DocumentAudio{.urlString = "bed.wav", .volume = volume};
    return document;
}

class PlaybackTest : public testing::Test {
protected:
    void open(TweenDocument document)
    {
        editor.emplace(std::move(document), EditorView::Services{.defaults = defaults, .timers = timers});
        playback.emplace(*editor, timers, audio);
        load("bed.wav");
        played.calls.clear();
    }
    void load(const std::string& path)
    {
        audio.load(path);
        tasks.workAndDrain();
    }
    double playhead() const { return editor->state().playhead; }

    MemoryUserDefaults defaults;
    FakeTimers timers;
    Played played;
    HandRunTasks tasks;
    DocumentAudioController audio{
        [this](const std::string&) { return [this] { return std::make_unique<RecordingPlayer>(played); }; }, tasks.tasks()};
    std::optional<EditorView> editor;
    std::optional<Playback> playback;
};

TEST_F(PlaybackTest, AddsASixtiethOfASecondATickWhateverTheRateOfTheScene)
{
    TweenDocument document = documentOf({5});
    document.scenes.edit()[0].fps = 24;
    open(document);
    playback->tick();
    EXPECT_EQ(playhead(), 1.0 / 60) << "though no time has passed";
    playback->rewind();
    EXPECT_EQ(playhead(), 0);
    playback->setPlaying(true);
    timers.pass(0.5);
    EXPECT_NEAR(playhead(), 0.5, 1e-9);
    playback->togglePlay();
    timers.pass(1);
    EXPECT_NEAR(playhead(), 0.5, 1e-9);
    EXPECT_EQ(timers.running(), 0u);
}

TEST_F(PlaybackTest, OnceEndsExactlyAtTheScenesEndAndThenEndsAtOnce)
{
    open(documentOf({5}));
    playback->setPlaying(true);
    timers.pass(6);
    EXPECT_EQ(playhead(), 5);
    EXPECT_FALSE(playback->isPlaying());
    playback->setPlaying(true);
    timers.pass(0.02);
    EXPECT_EQ(playhead(), 5);
    EXPECT_FALSE(playback->isPlaying());
}

TEST_F(PlaybackTest, LoopTakesTheSoundBackToTheScenesStart)
{
    open(documentOf({2, 1}));
    defaults.set(DefaultsKey::playMode.name, "loop");
    editor->setActiveScene(1);
    playback->setPlaying(true);
    timers.pass(1.5);
    EXPECT_TRUE(playback->isPlaying());
    EXPECT_EQ(played.calls, (std::vector<std::string>{"play 2000", "play 2000"}));
    EXPECT_NEAR(playhead(), 0.5, 0.02);
    EXPECT_EQ(editor->state().document.activeSceneIndex, 1);
}

TEST_F(PlaybackTest, EachRoundOfALoopedSceneTakesTheSoundBack)
{
    open(documentOf({1}));
    defaults.set(DefaultsKey::playMode.name, "loop");
    playback->setPlaying(true);
    timers.pass(2.5);
    EXPECT_EQ(played.calls, (std::vector<std::string>{"play 0", "play 0", "play 0"}));
}

TEST_F(PlaybackTest, LoopingBeyondTheSoundsEndPlaysItsLastHundredthOfASecond)
{
    played.duration = 1.5;
    open(documentOf({2, 1}));
    defaults.set(DefaultsKey::playMode.name, "loop");
    editor->setActiveScene(1);
    editor->setPlayhead(1);
    playback->tick();
    EXPECT_EQ(played.calls, std::vector<std::string>{"play 1490"}) << "the scene begins at 2, which the sound does not reach";
}

TEST_F(PlaybackTest, PlayingStartsTheSoundAtThePlayheadAndScrubbingDoesNotMoveIt)
{
    open(documentOf({2, 3}));
    editor->setActiveScene(1);
    editor->setPlayhead(1.5);
    EXPECT_TRUE(played.calls.empty());
    EXPECT_EQ(played.time, 0);
    playback->togglePlay();
    EXPECT_EQ(played.calls, std::vector<std::string>{"play 3500"});
    playback->togglePlay();
    editor->setPlayhead(0.25);
    EXPECT_EQ(played.calls, (std::vector<std::string>{"play 3500", "pause"}));
}

TEST_F(PlaybackTest, TheSoundFollowsTheActiveSceneHoweverItWasChanged)
{
    open(documentOf({2, 3}));
    playback->followActiveScene();
    EXPECT_TRUE(played.calls.empty()) << "it is the same one";
    editor->setActiveScene(1);
    editor->setPlayhead(0.5);
    playback->followActiveScene();
    EXPECT_EQ(played.time, 2.5);
    EXPECT_FALSE(played.isPlaying);
    EXPECT_EQ(played.volume, 1);

    playback->setPlaying(true);
    // The first scene goes, and the one that plays takes its place.
    editor->editDocument([](TweenDocument& document) { document.deleteScene(0); });
    playback->followActiveScene();
    EXPECT_EQ(played.calls.back(), "play 500");
    played.calls.clear();
    playback->followActiveScene();
    EXPECT_TRUE(played.calls.empty());
}

TEST_F(PlaybackTest, AllScenesRunsThroughThemAndEndsWithTheLast)
{
    open(documentOf({1, 2, 1}));
    defaults.set(DefaultsKey::playMode.name, "allScenes");
    playback->setPlaying(true);
    timers.pass(5);
    EXPECT_EQ(played.calls, (std::vector<std::string>{"play 0", "play 1000", "play 3000", "pause"}));
    EXPECT_EQ(editor->state().document.activeSceneIndex, 2);
    EXPECT_EQ(playhead(), 1);
    EXPECT_FALSE(playback->isPlaying());
}

TEST_F(PlaybackTest, AModeOfUnknownNameIsOnce)
{
    EXPECT_EQ(playMode("sideways"), PlayMode::once);
    for (const PlayMode mode : {PlayMode::once, PlayMode::loop, PlayMode::allScenes}) EXPECT_EQ(playMode(playModeName(mode)), mode);
}

TEST_F(PlaybackTest, TheSoundFadesOutOverTheLastSecondOfTheDocument)
{
    const TweenDocument document = documentOf({2, 3}, 0.8);
    struct Case { double time, volume; };
    for (const Case& c : {Case{0, 0.8}, Case{4, 0.8}, Case{4.5, 0.4}, Case{5, 0}, Case{6, 0}})
        EXPECT_NEAR(audioFadeVolume(document, c.time), c.volume, 1e-12) << c.time;
    TweenDocument silent = document;
    silent.audio.reset();
    EXPECT_EQ(audioFadeVolume(silent, 0), 1);
}

TEST_F(PlaybackTest, EachTickSetsTheVolumeHeldWithinOne)
{
    open(documentOf({2}, 3));
    playback->setPlaying(true);
    EXPECT_EQ(played.volume, 1);
    timers.pass(1.9);
    EXPECT_NEAR(played.volume, 0.3, 0.06);
}

TEST_F(PlaybackTest, PlayingNearTheSoundsEndKeepsAHundredthOfASecondAndASeekDoesNot)
{
    open(documentOf({5}));
    audio.play(200);
    EXPECT_EQ(played.time, 99.99);
    EXPECT_TRUE(played.isPlaying);
    audio.seek(200);
    EXPECT_EQ(played.time, 100);
    EXPECT_FALSE(played.isPlaying);
    audio.seek(-3);
    EXPECT_EQ(played.time, 0);
    EXPECT_FALSE(played.isPlaying) << "it did not play before";
}

TEST_F(PlaybackTest, AnotherSceneSeeksTheSoundWhileStopped)
{
    open(documentOf({2, 3}));
    editor->selectScene(1);
    playback->activeSceneChanged();
    EXPECT_EQ(played.time, 2);
    EXPECT_FALSE(played.isPlaying);
}

TEST_F(PlaybackTest, WithoutAPlayerNothingHappens)
{
    open(documentOf({5}));
    audio.unload();
    EXPECT_EQ(audio.player(), nullptr);
    EXPECT_EQ(audio.duration(), 0);
    played.calls.clear();
    playback->setPlaying(true);
    timers.pass(0.1);
    playback->setPlaying(false);
    EXPECT_TRUE(played.calls.empty());
}

TEST_F(PlaybackTest, TheSoundFollowsTheDocument)
{
    open(documentOf({5}));
    audio.unload();
    const auto there = [](const DocumentAudio& bed) { return std::optional<std::string>(bed.urlString); };
    const auto gone = [](const DocumentAudio&) { return std::optional<std::string>(); };
    audio.sync(DocumentAudio{.urlString = "a.wav"}, there);
    tasks.workAndDrain();
    EXPECT_EQ(audio.loadedPath(), "a.wav");
    audio.sync(DocumentAudio{.urlString = "a.wav"}, gone);
    EXPECT_EQ(audio.loadedPath(), std::nullopt);
    audio.sync(DocumentAudio{.urlString = "b.wav"}, there);
    audio.sync(std::nullopt, there);
    tasks.workAndDrain();
    EXPECT_EQ(audio.player(), nullptr);
}

TEST_F(PlaybackTest, ASoundIsLoadedOnceAndOneThatWillNotLoadLeavesNoPlayer)
{
    std::vector<std::string> loads;
    DocumentAudioController controller(
        [&](const std::string& path) -> MakeAudioPlayer {
            loads.push_back(path);
            if (path == "broken.wav") return nullptr;
            return [this] { return std::make_unique<RecordingPlayer>(played); };
        },
        tasks.tasks());
    const auto there = [](const DocumentAudio& bed) { return std::optional<std::string>(bed.urlString); };
    controller.sync(DocumentAudio{.urlString = "a.wav"}, there);
    controller.sync(DocumentAudio{.urlString = "a.wav", .volume = 0.5}, there);
    tasks.workAndDrain();
    controller.sync(DocumentAudio{.urlString = "a.wav", .volume = 0.7}, there);
    EXPECT_EQ(tasks.waitingWork(), 0u);
    EXPECT_EQ(loads, std::vector<std::string>{"a.wav"});
    EXPECT_EQ(controller.duration(), 100);
    controller.play(3);
    controller.load("broken.wav");
    tasks.workAndDrain();
    EXPECT_FALSE(played.isPlaying) << "the one before is stopped";
    EXPECT_EQ(controller.player(), nullptr);
    EXPECT_EQ(controller.duration(), 0);
    EXPECT_EQ(controller.loadedPath(), std::nullopt);
}

TEST_F(PlaybackTest, ASoundIsReadOnAnotherThreadWhileTheSceneGoesOn)
{
    open(documentOf({5}));
    audio.load("long.mp3");
    EXPECT_EQ(audio.player(), nullptr) << "the one before is silent, and nobody waits for this one";
    playback->setPlaying(true);
    timers.pass(1);
    EXPECT_NEAR(playhead(), 1, 0.02);
    played.calls.clear();
    tasks.work();
    EXPECT_EQ(audio.player(), nullptr) << "players are made on the main thread alone";
    tasks.drain();
    EXPECT_EQ(audio.loadedPath(), "long.mp3");
    EXPECT_TRUE(played.isPlaying) << "the music comes in where the scene plays";
    EXPECT_NEAR(played.time, 1, 0.02);
    EXPECT_EQ(played.volume, 1);
}

TEST_F(PlaybackTest, ASoundThatComesWhileTheSceneStandsStillIsNotHeard)
{
    open(documentOf({5}));
    load("other.wav");
    EXPECT_FALSE(played.isPlaying);
    playback->setPlaying(true);
    EXPECT_TRUE(played.isPlaying);
}

TEST_F(PlaybackTest, OfSeveralSoundsTheOneWantedLastIsLoaded)
{
    open(documentOf({5}));
    std::vector<std::string> read;
    DocumentAudioController controller(
        [&](const std::string& path) {
            read.push_back(path);
            return [this] { return std::make_unique<RecordingPlayer>(played); };
        },
        tasks.tasks());
    controller.load("a.wav");
    tasks.work();
    controller.load("b.wav");
    controller.load("c.wav");
    tasks.drain();
    EXPECT_EQ(controller.player(), nullptr) << "the answer for the first comes too late";
    tasks.workAndDrain();
    tasks.workAndDrain();
    EXPECT_EQ(controller.loadedPath(), "c.wav");
    EXPECT_EQ(read, (std::vector<std::string>{"a.wav", "c.wav"})) << "one that is not wanted any more is not read";
}

TEST_F(PlaybackTest, NothingComesOfASoundWhoseDocumentIsClosed)
{
    int made = 0;
    const auto read = [&](const std::string&) {
        return [this, &made] {
            ++made;
            return std::make_unique<RecordingPlayer>(played);
        };
    };
    auto controller = std::make_unique<DocumentAudioController>(read, tasks.tasks());
    controller->load("a.wav");
    tasks.work();
    controller.reset();
    tasks.drain();
    EXPECT_EQ(made, 0);
}

TEST_F(PlaybackTest, StepsByFramesOfTheSceneAndStaysWithinIt)
{
    open(documentOf({1}));
    const double frame = 1.0 / static_cast<double>(editor->scene().fps);
    playback->stepFrames(2);
    EXPECT_NEAR(playhead(), 2 * frame, 1e-12);
    playback->stepFrames(-3);
    EXPECT_EQ(playhead(), 0);
    editor->setPlayhead(1);
    playback->stepFrames(1);
    EXPECT_EQ(playhead(), 1);
}

TEST_F(PlaybackTest, ChoosingAnotherSceneStartsAtItsBeginningWithNothingSelected)
{
    open(documentOf({2, 3}));
    editor->setPlayhead(1);
    EXPECT_FALSE(editor->selectScene(0)) << "it is the active one";
    EXPECT_EQ(playhead(), 1);
    EXPECT_TRUE(editor->selectScene(7)) << "held within the list";
    EXPECT_EQ(editor->state().document.activeSceneIndex, 1);
    EXPECT_EQ(playhead(), 0);
}

} // namespace
} // namespace larkspool
