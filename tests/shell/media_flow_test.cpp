#include "shell/media_flow.h"

#include "platform/file_url.h"
#include "shell/hand_run_tasks.h"
#include "shell/scene_strip.h"
#include "support/fake_timers.h"
#include "support/memory_user_defaults.h"
#include "support/png_bytes.h"
#include "support/test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t locate = 0, skip = 1, skipAll = 2;

/// A person in front of a window: panels and alerts are answered from lists made before.
class MediaFlowTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder_ = std::make_unique<TemporaryFolder>();
        makeMedia(path("film.mp4"), countingSource(30) + " -c:v libx264 -pix_fmt yuv420p");
        std::filesystem::copy_file(path("film.mp4"), path("other.mp4"));
        makeMedia(path("song.wav"), "-f lavfi -i sine=duration=1");
        std::filesystem::copy_file(path("song.wav"), path("hymn.wav"));
        for (const char* name : {"a.png", "b.png"})
            writeFile(path(name), pngBytes({.width = 40, .height = 20, .samples = std::vector<std::uint8_t>(40 * 20 * 3)}));
        writeFile(path("words.txt"), "words");
    }
    static void TearDownTestSuite() { folder_.reset(); }
    static std::string path(std::string_view name) { return folder_->path(name); }

    MediaFlowTest() { open(documentOf({TweenScene{.width = 400, .height = 200}})); }

    static TweenDocument documentOf(Array<TweenScene> scenes)
    {
        TweenDocument document;
        document.scenes = std::move(scenes);
        return document;
    }
    static Layer video(std::string_view url)
    {
        Layer layer{.name = SharedString("V"), .kind = Layer::Kind::video};
        layer.videoURL = SharedString(url);
        return layer;
    }

    void open(TweenDocument document)
    {
        flow_.reset();
        editor_ = std::make_unique<EditorView>(std::move(document), EditorView::Services{.defaults = defaults_, .timers = timers_});
        flow_ = std::make_unique<MediaFlow>(
            *editor_, MediaFlow::Services{.tasks = tasks_.tasks(),
                                          .runPanel =
                                              [this](const OpenPanel& panel) {
                                                  panels_.push_back(panel.message);
                                                  return taken(choices_);
                                              },
                                          .runAlert =
                                              [this](const Alert& alert) {
                                                  alerts_.push_back(alert);
                                                  return taken(presses_);
                                              },
                                          .tell = [this](const std::string& words) { told_.push_back(words); },
                                          .changed = [this] { ++changes_; },
                                          .progressed = [this] { ++progressions_; },
                                          .documentFolder = [this] { return documentFolder_; }});
    }

    /// The person chooses these files in the next panel.
    void choose(std::vector<std::string> names)
    {
        for (std::string& name : names) name = path(name);
        choices_.push_back(std::move(names));
    }
    void drop(const std::vector<std::string>& names, CGPoint at = {100, 100})
    {
        std::vector<std::string> paths;
        for (const std::string& name : names) paths.push_back(path(name));
        flow_->importMediaFiles(std::move(paths), at);
    }

    const TweenDocument& document() const { return editor_->state().document; }
    Array<Layer> layers() const { return editor_->scene().layers; }
    std::string undoName() { return editor_->undoManager().undoActionName(); }
    std::size_t undoCount() { return editor_->undoManager().undoCount(); }
    static std::string url(std::string_view name) { return fileURLFromPath(path(name)); }

    MemoryUserDefaults defaults_;
    FakeTimers timers_;
    HandRunTasks tasks_;
    std::string documentFolder_;
    std::deque<std::vector<std::string>> choices_; ///< Without any a panel is cancelled.
    std::deque<std::size_t> presses_;              ///< Without any the first button is pressed.
    std::vector<std::string> panels_;
    std::vector<Alert> alerts_;
    std::vector<std::string> told_;
    int changes_ = 0, progressions_ = 0;
    std::unique_ptr<EditorView> editor_;
    std::unique_ptr<MediaFlow> flow_;

private:
    template <typename Answer>
    static Answer taken(std::deque<Answer>& answers)
    {
        if (answers.empty()) return {};
        Answer first = answers.front();
        answers.pop_front();
        return first;
    }

    static std::unique_ptr<TemporaryFolder> folder_;
};
std::unique_ptr<TemporaryFolder> MediaFlowTest::folder_;

TEST_F(MediaFlowTest, ChosenImagesComeIntoTheMiddleInOneStep)
{
    choose({"a.png", "b.png"});
    flow_->addImageLayers();
    EXPECT_THAT(panels_, ElementsAre("Choose images to add to the scene."));
    EXPECT_THAT(layers(), IsEmpty()) << "they are still being read";
    tasks_.workAndDrain();
    ASSERT_EQ(layers().size(), 2u);
    EXPECT_EQ(layers()[0].transform.x, 180); // (400 - 40) / 2
    EXPECT_EQ(layers()[0].transform.y, 90);
    EXPECT_EQ(layers()[1].transform.x, 200);
    EXPECT_EQ(undoName(), "Add 2 Images");
    EXPECT_EQ(editor_->state().selectedLayerIDs, (LayerIDs{layers()[0].id, layers()[1].id}));
    EXPECT_THAT(alerts_, IsEmpty());
    editor_->undo();
    EXPECT_THAT(layers(), IsEmpty());
    EXPECT_EQ(undoCount(), 0u);
}

TEST_F(MediaFlowTest, ACancelledPanelLeavesNoTrace)
{
    flow_->addImageLayers();
    flow_->addVideoLayers();
    flow_->insertImageLayer({1, 1});
    flow_->insertVideoLayer({1, 1});
    flow_->replaceImageMedia({1, 1});
    flow_->replaceVideoMedia({1, 1});
    flow_->pickAudioFile();
    EXPECT_EQ(panels_.size(), 7u);
    EXPECT_EQ(tasks_.waitingWork(), 0u);
    EXPECT_FALSE(flow_->progress());
}

TEST_F(MediaFlowTest, OnTheCanvasTheyComeAroundAPoint)
{
    choose({"a.png"});
    flow_->insertImageLayer({100, 50});
    tasks_.workAndDrain();
    EXPECT_EQ(layers()[0].transform.x, 80);
    EXPECT_EQ(layers()[0].transform.y, 40);
    EXPECT_EQ(undoName(), "Add Image");

    choose({"film.mp4"});
    flow_->insertVideoLayer({100, 50});
    tasks_.workAndDrain();
    EXPECT_EQ(layers()[1].transform.x, 68); // 64 x 48
    EXPECT_EQ(undoName(), "Add Video");
}

TEST_F(MediaFlowTest, TheNoticeOfLinkedVideosIsShownOnceOverAllDocuments)
{
    choose({"film.mp4"});
    flow_->addVideoLayers();
    tasks_.workAndDrain();
    ASSERT_EQ(alerts_.size(), 1u);
    EXPECT_EQ(alerts_[0].title, "Videos Are Linked, Not Embedded");
    EXPECT_EQ(alerts_[0].text,
              "Larkspool links to your video file rather than copying it into the document, and tracks it across moves and renames "
              "automatically. If Larkspool ever can't find the file (for example after the source is deleted or moved to another "
              "volume), it'll ask you to point it at the current location. You can also right-click the layer at any time to "
              "replace the video.");
    EXPECT_THAT(alerts_[0].buttons, ElementsAre("OK"));
    EXPECT_TRUE(defaults_.boolean(DefaultsKey::shownVideoLinkedNotice));
    EXPECT_EQ(undoName(), "Add Video");

    open(documentOf({TweenScene{}}));
    drop({"film.mp4"});
    tasks_.workAndDrain();
    EXPECT_EQ(layers().size(), 1u);
    EXPECT_EQ(alerts_.size(), 1u);
}

TEST_F(MediaFlowTest, DroppedFilesOfEveryKindAreOneStepAndEachThatDoesNotServeHasAWord)
{
    drop({"a.png", "words.txt", "film.mp4", "gone.png"});
    tasks_.workAndDrain();
    ASSERT_EQ(layers().size(), 2u);
    EXPECT_EQ(layers()[0].transform.x, 80);
    EXPECT_EQ(layers()[1].transform.x, 88); // (100 - 32) + 20
    EXPECT_EQ(undoCount(), 1u);
    EXPECT_EQ(undoName(), "Add 2 Items");
    EXPECT_THAT(told_, ElementsAre("“words.txt” is no picture or video that can be used.\n“gone.png” is not there any more."));
}

TEST_F(MediaFlowTest, ADropOfNothingThatServesChangesNothing)
{
    const TweenDocument before = document();
    drop({"words.txt"});
    tasks_.workAndDrain();
    EXPECT_EQ(document(), before);
    EXPECT_EQ(undoCount(), 0u);
    EXPECT_EQ(told_.size(), 1u);
}

TEST_F(MediaFlowTest, ADroppedSoundBecomesTheMusicOfADocumentWithoutAny)
{
    drop({"song.wav"});
    tasks_.workAndDrain();
    EXPECT_EQ(document().audio, (DocumentAudio{.urlString = url("song.wav"), .volume = 1, .displayName = "song.wav"}));
    EXPECT_THAT(told_, IsEmpty());

    drop({"hymn.wav"});
    tasks_.workAndDrain();
    EXPECT_EQ(document().audio->displayName, "song.wav") << "music that is there stays";
    EXPECT_THAT(told_, ElementsAre("“hymn.wav” is a sound: choose it as the music, below the canvas."));
}

TEST_F(MediaFlowTest, TwoDroppedSoundsAreNoChoiceOfMusic)
{
    drop({"song.wav", "hymn.wav"});
    tasks_.workAndDrain();
    EXPECT_FALSE(document().audio);
    EXPECT_EQ(told_.size(), 1u);
}

TEST_F(MediaFlowTest, MusicIsReplacedWithItsVolumeKept)
{
    choose({"song.wav"});
    flow_->pickAudioFile();
    tasks_.workAndDrain();
    EXPECT_THAT(panels_, ElementsAre(SceneStrip::musicPanelMessage));
    EXPECT_EQ(document().audio->volume, 1);
    editor_->editDocument([](TweenDocument& changed) { changed.audio->volume = 0.3; });

    choose({"hymn.wav"});
    flow_->pickAudioFile();
    tasks_.workAndDrain();
    EXPECT_EQ(document().audio, (DocumentAudio{.urlString = url("hymn.wav"), .volume = 0.3, .displayName = "hymn.wav"}));

    choose({"a.png"});
    flow_->pickAudioFile();
    tasks_.workAndDrain();
    EXPECT_EQ(document().audio->displayName, "hymn.wav");
    EXPECT_THAT(told_, ElementsAre("“a.png” is no sound that can be used."));
}

TEST_F(MediaFlowTest, AnImageOrAVideoOfALayerIsReplaced)
{
    drop({"film.mp4"});
    tasks_.workAndDrain();
    const Layer before = layers()[0];
    choose({"other.mp4", "film.mp4"});
    flow_->replaceVideoMedia(before.id);
    tasks_.workAndDrain();
    EXPECT_EQ(undoName(), "Replace Video");
    Layer expected = before;
    expected.videoURL = SharedString(url("other.mp4"));
    EXPECT_EQ(layers()[0], expected);

    choose({"a.png"});
    flow_->replaceImageMedia(before.id);
    tasks_.workAndDrain();
    EXPECT_EQ(layers()[0], expected) << "a video has no image";

    choose({"words.txt"});
    flow_->replaceVideoMedia(before.id);
    tasks_.workAndDrain();
    EXPECT_EQ(layers()[0], expected);
    EXPECT_EQ(undoCount(), 2u);
    EXPECT_THAT(told_, ElementsAre("“words.txt” is no video that can be used."));
}

TEST_F(MediaFlowTest, FilesComeIntoTheSceneThatTheyWereFor)
{
    open(documentOf({TweenScene{}, TweenScene{}}));
    drop({"a.png"});
    editor_->selectScene(1);
    tasks_.workAndDrain();
    EXPECT_EQ(document().activeSceneIndex, 0);
    EXPECT_EQ(document().scenes[0].layers.size(), 1u);
    EXPECT_THAT(document().scenes[1].layers, IsEmpty());

    drop({"b.png"});
    editor_->editDocument([](TweenDocument& changed) { changed.deleteScene(0); });
    tasks_.workAndDrain();
    EXPECT_THAT(layers(), IsEmpty());
    EXPECT_THAT(told_, ElementsAre("The scene that the files were for is gone."));
}

TEST_F(MediaFlowTest, ReadingIsToldAndCanBeStopped)
{
    drop({"a.png", "b.png"});
    ASSERT_TRUE(flow_->progress());
    EXPECT_EQ(flow_->progress()->done, 0u);
    EXPECT_EQ(flow_->progress()->total, 2u);
    flow_->stop();
    tasks_.workAndDrain();
    EXPECT_THAT(layers(), IsEmpty());
    EXPECT_THAT(told_, IsEmpty());
    EXPECT_FALSE(flow_->progress());

    drop({"a.png", "b.png"});
    const int before = changes_, progressionsBefore = progressions_;
    tasks_.work();
    EXPECT_EQ(flow_->progress()->done, 1u);
    tasks_.drain();
    EXPECT_EQ(progressions_, progressionsBefore + 2) << "for each file";
    EXPECT_EQ(changes_, before + 1) << "at the end";
    EXPECT_EQ(layers().size(), 2u);
}

TEST_F(MediaFlowTest, AWindowThatIsClosedHearsNothingOfItsFiles)
{
    drop({"a.png"});
    tasks_.work();
    flow_.reset();
    tasks_.drain();
    EXPECT_THAT(layers(), IsEmpty());
}

TEST_F(MediaFlowTest, MissingVideosAreAskedForOneAfterTheOther)
{
    open(documentOf({TweenScene{.layers = {video("/gone/film.mp4"), video("/gone/x.mp4"), video("/gone/y.mp4")}}}));
    presses_ = {locate, skip, skip};
    choose({"film.mp4"});
    flow_->reconnectMissingVideosIfNeeded();
    ASSERT_EQ(alerts_.size(), 3u);
    EXPECT_EQ(alerts_[0].style, Alert::Style::warning);
    EXPECT_EQ(alerts_[0].title, "Locate the video file for “film.mp4”");
    EXPECT_THAT(alerts_[0].buttons, ElementsAre("Locate…", "Skip", "Skip All"));
    EXPECT_EQ(alerts_[0].cancelButton, skip);
    EXPECT_EQ(alerts_[1].title, "Locate the video file for “x.mp4”");
    EXPECT_THAT(alerts_[2].buttons, ElementsAre("Locate…", "Skip")) << "nothing is left to skip";
    EXPECT_EQ(layers()[0].videoURL.string(), url("film.mp4"));
    EXPECT_EQ(undoName(), "Reconnect Video");
    EXPECT_EQ(undoCount(), 1u);
    editor_->undo();
    EXPECT_EQ(layers()[0].videoURL, "/gone/film.mp4");
}

TEST_F(MediaFlowTest, OneLocatedFolderMendsWhatLiesInItInOneStep)
{
    open(documentOf({TweenScene{.layers = {video("/gone/film.mp4"), video("/gone/other.mp4")}},
                     TweenScene{.layers = {video("/gone/other.mp4")}}}));
    choose({"film.mp4"});
    flow_->reconnectMissingVideosIfNeeded();
    EXPECT_EQ(alerts_.size(), 1u);
    EXPECT_EQ(layers()[0].videoURL.string(), url("film.mp4"));
    EXPECT_EQ(layers()[1].videoURL.string(), url("other.mp4"));
    EXPECT_EQ(document().scenes[1].layers[0].videoURL.string(), url("other.mp4"));
    EXPECT_EQ(undoCount(), 1u);
    editor_->undo();
    EXPECT_EQ(layers()[1].videoURL, "/gone/other.mp4");
    EXPECT_EQ(document().scenes[1].layers[0].videoURL, "/gone/other.mp4") << "one step takes back every scene";
}

TEST_F(MediaFlowTest, SkippingAllAsksNoMore)
{
    open(documentOf({TweenScene{.layers = {video("/gone/1.mp4"), video("/gone/2.mp4"), video("/gone/3.mp4")}}}));
    const TweenDocument before = document();
    presses_ = {skip, skipAll};
    flow_->reconnectMissingVideosIfNeeded();
    EXPECT_EQ(alerts_.size(), 2u);
    EXPECT_EQ(document(), before);
    EXPECT_EQ(undoCount(), 0u);
}

TEST_F(MediaFlowTest, AFileThatIsNoVideoIsAskedForAgainAndACancelledPanelSkips)
{
    open(documentOf({TweenScene{.layers = {video("/gone/1.mp4"), video("/gone/2.mp4")}}}));
    presses_ = {locate, locate, locate};
    choose({"words.txt"});
    choices_.emplace_back();
    choose({"film.mp4"});
    flow_->reconnectMissingVideosIfNeeded();
    EXPECT_EQ(panels_, (std::vector<std::string>{"Choose where “1.mp4” is now.", "Choose where “1.mp4” is now.",
                                                 "Choose where “2.mp4” is now."}));
    EXPECT_THAT(told_, ElementsAre("“words.txt” is no video that can be used."));
    EXPECT_EQ(layers()[0].videoURL, "/gone/1.mp4");
    EXPECT_EQ(layers()[1].videoURL.string(), url("film.mp4"));
}

TEST_F(MediaFlowTest, NothingIsAskedWhereAllIsThere)
{
    documentFolder_ = std::filesystem::path(path("film.mp4")).parent_path().string();
    open(documentOf({TweenScene{.layers = {video("film.mp4"), video(url("other.mp4"))}}}));
    const TweenDocument before = document();
    flow_->reconnectMissingVideosIfNeeded();
    EXPECT_THAT(alerts_, IsEmpty());
    EXPECT_EQ(document(), before);
}

/// A system that knows where one file went.
class MovedFile final : public Bookmarks {
public:
    explicit MovedFile(std::string to) : to_(std::move(to)) {}
    std::optional<Bytes> make(const std::string&) const override { return Bytes({2}); }
    std::optional<Resolved> resolve(const Bytes&) const override { return Resolved{to_}; }

private:
    std::string to_;
};

TEST_F(MediaFlowTest, AMovedVideoIsRelinkedWithoutAWordOrAStep)
{
    Layer moved = video("/gone/film.mp4");
    moved.videoBookmark = Bytes({1});
    open(documentOf({TweenScene{}, TweenScene{.layers = {moved}}}));
    const MovedFile bookmarks(path("film.mp4"));
    MediaFlow flow(*editor_, {.tasks = tasks_.tasks(),
                              .runPanel = [](const OpenPanel&) { return std::vector<std::string>(); },
                              .runAlert =
                                  [](const Alert&) {
                                      ADD_FAILURE() << "nothing is to be asked";
                                      return skipAll;
                                  },
                              .tell = [](const std::string&) {},
                              .changed = [] {},
                              .progressed = [] {},
                              .bookmarks = &bookmarks});
    flow.reconnectMissingVideosIfNeeded();
    EXPECT_EQ(document().scenes[1].layers[0].videoURL.string(), url("film.mp4"));
    EXPECT_EQ(document().scenes[1].layers[0].videoBookmark, Bytes({2}));
    EXPECT_EQ(undoCount(), 0u);
}

TEST_F(MediaFlowTest, AWindowThatIsClosedByItsAlertIsLeftAlone)
{
    open(documentOf({TweenScene{.layers = {video("/gone/1.mp4"), video("/gone/2.mp4")}}}));
    int alerts = 0;
    std::unique_ptr<MediaFlow> flow;
    flow = std::make_unique<MediaFlow>(
        *editor_, MediaFlow::Services{.tasks = tasks_.tasks(),
                                      .runPanel = [](const OpenPanel&) { return std::vector<std::string>(); },
                                      .runAlert =
                                          [&](const Alert&) {
                                              ++alerts;
                                              flow.reset();
                                              return locate;
                                          },
                                      .tell = [](const std::string&) {},
                                      .changed = [] {},
                                      .progressed = [] {}});
    flow->reconnectMissingVideosIfNeeded();
    EXPECT_EQ(alerts, 1);
}

} // namespace
} // namespace larkspool
