#include "views/quick_render_flow.h"

#include "support/test_media.h"
#include "views/editor_window.h"
#include "views/film_picture.h"
#include "views/find_control.h"
#include "views/quick_render_sheet.h"
#include "views/quick_render_video_view.h"
#include "views/sheet_window.h"
#include "views/slider.h"

#include <QLineEdit>
#include <QProgressBar>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace larkspool {
namespace {

using From = QuickRender::From;

constexpr int patience = 60000;

/// The sheet over a window. Null if there is none.
QuickRenderSheet* sheetOver(const QWidget& window)
{
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        auto* sheet = dynamic_cast<QuickRenderSheet*>(widget);
        if (sheet && sheet->isVisible()) return sheet;
    }
    return nullptr;
}

/// A white scene of 64 x 36 in which a black rectangle covers the right half, from the middle of the time on.
TweenScene scene(double seconds)
{
    Layer half{.kind = Layer::Kind::rectangle, .fill = ColorRGBA::black, .size = {32, 36}};
    half.transform.x = 32;
    half.spans = {TimeSpan{.start = seconds / 2, .end = seconds}};
    TweenScene scene{.name = "Intro", .width = 64, .height = 36, .duration = seconds};
    scene.layers = {half};
    return scene;
}

/// A window with something that has the keyboard, and the quick render of a document of one scene.
class QuickRenderFlowTest : public SheetWindowTest {
protected:
    QuickRenderFlowTest() : SheetWindowTest({1200, 800})
    {
        exporter.exportScene = [this, real = FilmExporter::reference()](const TweenScene& film, const std::string& path,
                                                                        double startTime, const auto& audio, const auto& clips,
                                                                        const Exporter::ExportOptions& options) {
            ++renders;
            start_ = startTime;
            path_ = path;
            if (failure) throw std::runtime_error(failure);
            real.exportScene(film, path, startTime, audio, clips, options);
        };
        open(scene(1));
    }
    ~QuickRenderFlowTest() override
    {
        flow.reset();
        background.reset();
        EXPECT_FALSE(std::filesystem::exists(path_)) << "no film is left";
    }

    void open(TweenScene film)
    {
        flow.reset();
        views = std::make_unique<EditorForViews>(std::move(film));
        flow = std::make_unique<QuickRenderFlow>(
            window, QuickRenderFlow::Services{.editor = *views->editor,
                                              .playback = *views->playback,
                                              .tasks = background->tasks(),
                                              .document = [this] { return views->editor->state().document; },
                                              .sheetChanged = [this] { ++sheetChanges; },
                                              .loadSound =
                                                  [this](const std::string& path) {
                                                      std::unique_ptr<AudioPlayer> player = loadSinkAudioPlayer(path);
                                                      sound = player.get();
                                                      return player;
                                                  },
                                              .exporter = exporter});
    }

    QuickRenderSheet& sheet() { return *sheetOver(window); }
    const QuickRenderVideoView& video() { return sheet().video(); }
    Slider& scrubber() { return *findControl<Slider>(window, "Position"); }
    bool playsWithin() { return QTest::qWaitFor([this] { return findControl<QAbstractButton>(window, "Pause"); }, patience); }
    /// Renders, and pauses the film.
    void watch(From from = From::beginning)
    {
        flow->start(from);
        ASSERT_TRUE(playsWithin());
        press(Qt::Key_Space);
        ASSERT_FALSE(video().isPlaying());
    }
    /// How bright the picture is at a point, in parts of it.
    int brightness(double x, double y)
    {
        const QImage seen = findControl<FilmPicture>(window, "Film")->grab().toImage();
        return qGray(seen.pixel(static_cast<int>(seen.width() * x), static_cast<int>(seen.height() * y)));
    }
    bool isSeen(double x, double y, bool isBright)
    {
        return QTest::qWaitFor([=, this] { return isBright ? brightness(x, y) > 230 : brightness(x, y) < 25; }, patience);
    }

    std::unique_ptr<BackgroundTasks> background = std::make_unique<BackgroundTasks>();
    FilmExporter exporter = FilmExporter::reference();
    const char* failure = nullptr;
    std::atomic<int> renders = 0;
    int sheetChanges = 0;
    std::atomic<double> start_ = -1;
    std::string path_;
    const AudioPlayer* sound = nullptr; ///< Of the film that plays.
    std::unique_ptr<EditorForViews> views;
    std::unique_ptr<QuickRenderFlow> flow;
};

TEST_F(QuickRenderFlowTest, TellsHowFarItIsAndThenPlays)
{
    flow->start(From::beginning);
    EXPECT_TRUE(flow->isOpen());
    EXPECT_TRUE(showsWords(window, "Quick Render"));
    EXPECT_TRUE(showsWords(window, "0% — rendering at half size, no motion blur."));
    EXPECT_EQ(findControl<QProgressBar>(window, "Progress")->value(), 0);
    EXPECT_EQ(focusName(window), "Close");
    ASSERT_TRUE(playsWithin());
    EXPECT_FALSE(findControl<QProgressBar>(window, "Progress"));
    EXPECT_FALSE(showsWords(window, "no motion blur"));
    EXPECT_EQ(focusName(window), "Position");
    EXPECT_EQ(sheetChanges, 1);
}

TEST_F(QuickRenderFlowTest, ShowsThePicturesOfTheFilmAtItsTimes)
{
    watch();
    press(Qt::Key_Home);
    EXPECT_TRUE(isSeen(0.25, 0.5, true));
    EXPECT_TRUE(isSeen(0.75, 0.5, true));
    press(Qt::Key_End);
    EXPECT_TRUE(isSeen(0.75, 0.5, false));
    EXPECT_TRUE(isSeen(0.25, 0.5, true));
    press(Qt::Key_Home);
    EXPECT_TRUE(isSeen(0.75, 0.5, true));
}

TEST_F(QuickRenderFlowTest, PlaysToTheEndAndSpaceBeginsAnew)
{
    open(scene(0.5));
    flow->start(From::beginning);
    ASSERT_TRUE(playsWithin());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !video().isPlaying(); }, patience));
    EXPECT_NEAR(video().time(), 0.5, 0.02);
    EXPECT_TRUE(isSeen(0.75, 0.5, false));
    press(Qt::Key_Space);
    EXPECT_TRUE(video().isPlaying());
    EXPECT_LT(video().time(), 0.4);
}

TEST_F(QuickRenderFlowTest, TheSoundOfVideosGoesAlongWithoutADeviceToo)
{
    const TemporaryFolder folder;
    makeMedia(folder.path("tone.mp4"), "-f lavfi -i testsrc=s=64x36:r=30:d=3 -f lavfi -i sine=frequency=440:duration=3 "
                                       "-c:v libx264 -pix_fmt yuv420p -c:a aac -shortest");
    TweenScene film = scene(2);
    Layer clip{.kind = Layer::Kind::video, .size = {64, 36}};
    clip.videoURL = folder.path("tone.mp4");
    clip.videoDuration = 3;
    clip.videoClip = {.sceneStart = 0, .sceneEnd = 2, .sourceStart = 0};
    film.layers = {clip};
    open(film);
    flow->start(From::beginning);
    ASSERT_TRUE(playsWithin());
    ASSERT_NE(sound, nullptr);
    EXPECT_NEAR(sound->duration(), 2, 0.1);
    EXPECT_TRUE(sound->isPlaying());
    ASSERT_TRUE(QTest::qWaitFor([this] { return video().time() > 0.3; }, patience));
    EXPECT_NEAR(sound->currentTime(), video().time(), 0.2);
    press(Qt::Key_Space);
    EXPECT_FALSE(sound->isPlaying());
    press(Qt::Key_Space);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_TRUE(sound->isPlaying());
    EXPECT_NEAR(sound->currentTime(), video().time(), 0.2);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !video().isPlaying(); }, patience));
    EXPECT_NEAR(video().time(), 2, 0.02);
}

TEST_F(QuickRenderFlowTest, ASceneWithoutVideosIsSilent)
{
    watch();
    EXPECT_EQ(sound, nullptr);
}

TEST_F(QuickRenderFlowTest, ArrowsGoByAPictureWithShiftByASecond)
{
    open(scene(3)); // Of 60 pictures a second.
    watch();
    press(Qt::Key_Home);
    press(Qt::Key_Right);
    EXPECT_NEAR(video().time() * 60, 1.5, 0.1) << "the middle of the second picture";
    press(Qt::Key_Right);
    EXPECT_NEAR(video().time() * 60, 2.5, 0.1);
    press(Qt::Key_Left);
    EXPECT_NEAR(video().time() * 60, 1.5, 0.1);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(video().time() * 60, 61.5, 0.1);
    press(Qt::Key_Left, Qt::ShiftModifier);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(video().time(), 0);
    press(Qt::Key_End);
    EXPECT_NEAR(video().time(), 3, 0.02);
    press(Qt::Key_Left);
    EXPECT_NEAR(video().time() * 60, 178.5, 0.1) << "the last but one";
}

TEST_F(QuickRenderFlowTest, APictureStopsAFilmThatPlaysAndALeapDoesNot)
{
    open(scene(20));
    watch();
    press(Qt::Key_Space);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_TRUE(video().isPlaying());
    press(Qt::Key_Right);
    EXPECT_FALSE(video().isPlaying());
}

TEST_F(QuickRenderFlowTest, TheScrubberHoldsTheFilmWhileItIsDragged)
{
    open(scene(20));
    watch();
    press(Qt::Key_Space);
    Slider& slider = scrubber();
    const auto at = [&](double part) {
        return QPoint(static_cast<int>(Slider::endInset + part * (slider.width() - 2 * Slider::endInset)), slider.height() / 2);
    };
    QTest::mousePress(&slider, Qt::LeftButton, {}, at(0.25));
    EXPECT_FALSE(video().isPlaying());
    EXPECT_NEAR(video().time(), 5, 0.1);
    QTest::mouseMove(&slider, at(0.75));
    EXPECT_NEAR(video().time(), 15, 0.1);
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, at(0.75));
    EXPECT_TRUE(video().isPlaying()) << "it goes on as before";
}

TEST_F(QuickRenderFlowTest, AClickOnThePicturePausesAndPlays)
{
    open(scene(20));
    watch();
    auto* film = findControl<FilmPicture>(window, "Film");
    QTest::mouseClick(film, Qt::LeftButton);
    EXPECT_TRUE(video().isPlaying());
    QTest::mouseClick(film, Qt::LeftButton);
    EXPECT_FALSE(video().isPlaying());
}

TEST_F(QuickRenderFlowTest, TabGoesRoundTheTransportAndClose)
{
    watch();
    QStringList way{focusName(window)};
    for (int i = 0; i < 3; ++i) {
        press(Qt::Key_Tab);
        way << focusName(window);
    }
    EXPECT_EQ(way, QStringList({"Position", "Close", "Play", "Position"}));
}

TEST_F(QuickRenderFlowTest, AnUnchangedScenePlaysAtOnceAndAChangedOneIsRenderedAgain)
{
    watch();
    press(Qt::Key_Escape);
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(window.focusWidget(), behind);
    EXPECT_TRUE(std::filesystem::exists(path_)) << "kept for the next time";
    EXPECT_EQ(sheetChanges, 2);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    watch();
    EXPECT_EQ(renders, 1);
    press(Qt::Key_Return);
    EXPECT_FALSE(flow->isOpen());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    const std::string earlier = path_;
    views->editor->mutate("Change", [](TweenScene& film) { film.layers.edit()[0].opacity = 0.5; });
    watch();
    EXPECT_EQ(renders, 2);
    EXPECT_FALSE(std::filesystem::exists(earlier));
}

TEST_F(QuickRenderFlowTest, FromThePlayheadBeyondTheEndTheLastHundredthPlays)
{
    views->editor->setPlayhead(9);
    flow->start(From::playhead);
    ASSERT_TRUE(QTest::qWaitFor([this] { return findControl<Slider>(window, "Position") && scrubber().isEnabled(); }, patience));
    EXPECT_NEAR(start_, 0.99, 1e-9);
    EXPECT_TRUE(isSeen(0.75, 0.5, false)) << "the end of the scene";
}

TEST_F(QuickRenderFlowTest, TheEditorStopsPlaying)
{
    views->playback->setPlaying(true);
    flow->start(From::beginning);
    EXPECT_FALSE(views->playback->isPlaying());
}

TEST_F(QuickRenderFlowTest, ClosingWhileItRendersLeavesNoFileAndTellsNoError)
{
    open(scene(600));
    flow->start(From::beginning);
    QTest::qWait(50);
    press(Qt::Key_Escape);
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(window.focusWidget(), behind);
    ASSERT_TRUE(QTest::qWaitFor([this] { return background->running() == 0; }, patience));
    QTest::qWait(20);
    EXPECT_FALSE(flow->isOpen());
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(QuickRenderFlowTest, ReturnDoesNotStopARendering)
{
    open(scene(600));
    flow->start(From::beginning);
    press(Qt::Key_Return);
    EXPECT_TRUE(flow->isOpen());
}

TEST_F(QuickRenderFlowTest, NothingIsLeftWhenTheProgramEndsDuringARendering)
{
    open(scene(600));
    flow->start(From::beginning);
    QTest::qWait(50);
    flow.reset();
    background.reset(); // Nobody takes what the thread tells any more.
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(QuickRenderFlowTest, AFailureIsToldUntilItIsClosed)
{
    failure = "The disk is full.";
    open(scene(1));
    flow->start(From::beginning);
    ASSERT_TRUE(QTest::qWaitFor([this] { return showsWords(window, "Render Failed"); }, patience));
    EXPECT_TRUE(showsWords(window, "The disk is full."));
    EXPECT_FALSE(showsWords(window, "no motion blur"));
    EXPECT_FALSE(findControl<FilmPicture>(window, "Film"));
    EXPECT_EQ(focusName(window), "Close");
    press(Qt::Key_Return);
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(window.focusWidget(), behind);
}

TEST_F(QuickRenderFlowTest, AFilmThatWasBrokenMeanwhileIsToldAndRenderedAnew)
{
    watch();
    press(Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::ofstream(path_, std::ios::trunc) << "no film";
    flow->start(From::beginning);
    ASSERT_TRUE(QTest::qWaitFor([this] { return showsWords(window, "could not be read"); }, patience));
    EXPECT_EQ(focusName(window), "Close");
    press(Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    watch();
    EXPECT_EQ(renders, 2);
}

TEST_F(QuickRenderFlowTest, ThePictureTakesTheRoomThatTheWindowHas)
{
    watch();
    for (const QSize size : {QSize(1024, 680), QSize(1280, 800), QSize(2560, 1440)}) {
        SCOPED_TRACE(testing::Message() << size.width() << " x " << size.height());
        window.resize(size);
        QApplication::processEvents();
        const QRect card = sheet().card()->geometry();
        EXPECT_TRUE(window.rect().contains(card));
        const QSize picture = findControl<FilmPicture>(window, "Film")->size();
        EXPECT_GE(picture.width(), 488);
        EXPECT_LE(picture.width(), 960);
    }
    EXPECT_EQ(findControl<FilmPicture>(window, "Film")->size(), QSize(960, 540));
}

TEST(QuickRenderInTheEditor, TheTopBarOpensItOverTheWindowAndClosingTheWindowEndsIt)
{
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    auto editor = std::make_unique<EditorWindow>(DocumentFile(TweenDocument{.scenes = {scene(600)}}), workspace);
    editor->setAttribute(Qt::WA_DeleteOnClose, false);
    editor->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(editor.get()));
    workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    findControl<QAbstractButton>(*editor, "Quick Render")->click();
    ASSERT_TRUE(sheetOver(*editor));
    EXPECT_FALSE(findControl<QAbstractButton>(*editor, "Export")->isEnabled()) << "the sheet has the window";
    EXPECT_EQ(workspace.background.running(), 1u);
    editor->close();
    EXPECT_FALSE(sheetOver(*editor));
    editor.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return workspace.background.running() == 0; }, patience));
}

} // namespace
} // namespace larkspool
