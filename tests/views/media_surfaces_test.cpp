#include "views/media_surfaces.h"

#include "views/media_notice.h"
#include "views/media_window.h"

#include <QPushButton>
#include <QToolButton>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t locate = 0, skip = 1, skipAll = 2;

class MediaSurfacesTest : public MediaWindowTest {};

TEST_F(MediaSurfacesTest, ThePalettesButtonsAskForFilesAndAddThemInTheMiddle)
{
    choose({"wide.png", "tall.png"});
    QTest::mouseClick(findControl<QToolButton>(*window, "Image"), Qt::LeftButton);
    ASSERT_TRUE(has(2));
    EXPECT_EQ(panels.back(), "Choose images to add to the scene.");
    EXPECT_EQ(layers()[0].transform.x, 180); // (400 - 40) / 2
    EXPECT_EQ(undoName(), "Add 2 Images");

    choose({"film.mp4"});
    QTest::mouseClick(findControl<QToolButton>(*window, "Video"), Qt::LeftButton);
    ASSERT_TRUE(has(3));
    EXPECT_EQ(panels.back(), "Choose videos to add to the scene.");
    EXPECT_EQ(layers()[2].videoURL, SharedString(url("film.mp4")));
    EXPECT_EQ(undoName(), "Add Video");
    EXPECT_THAT(alerts, ElementsAre("Videos Are Linked, Not Embedded"));
}

TEST_F(MediaSurfacesTest, ACancelledPanelLeavesNoTrace)
{
    QTest::mouseClick(findControl<QToolButton>(*window, "Image"), Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([this] { return panels.size() == 1; }, patience));
    settle();
    EXPECT_THAT(layers(), IsEmpty());
    EXPECT_FALSE(editor().undoManager().canUndo());
}

TEST_F(MediaSurfacesTest, TheMenuInsertsAroundTheMiddleOfWhatIsSeen)
{
    choose({"wide.png"});
    insert("Image…");
    ASSERT_TRUE(has(1));
    const CGPoint middle = window->canvas().visibleCenter();
    EXPECT_NEAR(layers()[0].transform.x + 20, middle.x, 1);
    EXPECT_NEAR(layers()[0].transform.y + 10, middle.y, 1);
    choose({"film.mp4"});
    insert("Video…");
    ASSERT_TRUE(has(2));
    EXPECT_EQ(layers()[1].kind, Layer::Kind::video);
}

TEST_F(MediaSurfacesTest, DroppedFilesComeToThePlaceInOneStep)
{
    drop({"wide.png", "film.mp4"}, {100, 80});
    EXPECT_THAT(layers(), IsEmpty()) << "they are read elsewhere";
    ASSERT_TRUE(has(2));
    EXPECT_EQ(layers()[0].transform.x, 80); // 100 - 40 / 2
    EXPECT_EQ(layers()[0].transform.y, 70); // 80 - 20 / 2
    EXPECT_EQ(undoName(), "Add 2 Items");
    QTest::keyClick(window, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_THAT(layers(), IsEmpty());
}

TEST_F(MediaSurfacesTest, TwoHundredDroppedFilesComeAllAtOnce)
{
    std::vector<std::string> names;
    for (int i = 0; i < 200; ++i) {
        names.push_back("many" + std::to_string(i) + ".png");
        std::filesystem::copy_file(path("wide.png"), path(names.back()), std::filesystem::copy_options::skip_existing);
    }
    const Heartbeat heartbeat;
    drop(names);
    EXPECT_THAT(layers(), IsEmpty());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !layers().empty(); }, patience));
    settle();
    RecordProperty("longestPauseMilliseconds", static_cast<int>(heartbeat.longestPause()));
    EXPECT_LT(heartbeat.longestPause(), frozen);
    EXPECT_EQ(layers().size(), 200u);
    EXPECT_EQ(undoName(), "Add 200 Items");
    editor().undo();
    EXPECT_THAT(layers(), IsEmpty());
}

TEST_F(MediaSurfacesTest, WhatCannotBeTakenIsToldInPlainWordsAndTheRestComes)
{
    drop({"words.txt", "album", "wide.png", "gone.png"});
    ASSERT_TRUE(isTold("“words.txt” is no"));
    EXPECT_TRUE(showsWords(window->canvas(), "“album” is a folder: choose the files in it."));
    EXPECT_TRUE(showsWords(window->canvas(), "“gone.png” is not there any more."));
    EXPECT_EQ(layers().size(), 1u);
    QTest::mouseClick(findControl<QToolButton>(window->canvas(), "Dismiss"), Qt::LeftButton);
    EXPECT_FALSE(showsWords(window->canvas(), "words.txt"));
}

TEST_F(MediaSurfacesTest, WhatIsOnAnotherComputerIsToldToo)
{
    dropURLs({QUrl("https://example.org/picture.png")});
    EXPECT_TRUE(showsWords(window->canvas(), "Only files on this computer can be dropped here."));
    EXPECT_THAT(layers(), IsEmpty());
}

TEST_F(MediaSurfacesTest, APalettesItemThatIsDroppedAsksForItsFiles)
{
    QMimeData data;
    data.setData("application/x-larkspool-palette-item", "lks-palette:image");
    choose({"wide.png"});
    dropData(data, {60, 50});
    ASSERT_TRUE(has(1));
    EXPECT_EQ(layers()[0].transform.x, 40); // 60 - 40 / 2
    EXPECT_EQ(layers()[0].transform.y, 40); // 50 - 20 / 2
}

TEST_F(MediaSurfacesTest, AnImageIsReplacedAndKeepsAllElse)
{
    drop({"wide.png"});
    ASSERT_TRUE(has(1));
    const Layer before = layers()[0];
    choose({"tall.png"});
    window->perform(Command::replaceImage);
    ASSERT_TRUE(QTest::qWaitFor([this] { return undoName() == "Replace Image"; }, patience));
    EXPECT_EQ(layers()[0].imageData, Bytes(fileBytes(path("tall.png"))));
    EXPECT_EQ(layers()[0].size, before.size);
    EXPECT_EQ(layers()[0].transform, before.transform);

    choose({"words.txt"});
    window->perform(Command::replaceImage);
    EXPECT_TRUE(isTold("“words.txt” is no"));
    EXPECT_EQ(layers()[0].imageData, Bytes(fileBytes(path("tall.png"))));
}

TEST_F(MediaSurfacesTest, AVideoIsReplacedByTheCommandOfTheSelectedLayer)
{
    drop({"film.mp4"});
    ASSERT_TRUE(has(1));
    choose({"other.mp4"});
    window->perform(Command::replaceVideo);
    ASSERT_TRUE(QTest::qWaitFor([this] { return undoName() == "Replace Video"; }, patience));
    EXPECT_EQ(layers()[0].videoURL, SharedString(url("other.mp4")));
}

TEST_F(MediaSurfacesTest, TheStripsMusicButtonAsksForASound)
{
    QWidget* strip = nullptr;
    for (QWidget* widget : window->findChildren<QWidget*>())
        if (widget->accessibleName() == "Scenes") strip = widget;
    ASSERT_NE(strip, nullptr);
    choose({"song.wav"});
    QTest::mouseClick(strip, Qt::LeftButton, {}, QPoint(strip->width() - 30, strip->height() / 2));
    ASSERT_TRUE(QTest::qWaitFor([this] { return editor().state().document.audio.has_value(); }, patience));
    EXPECT_EQ(editor().state().document.audio->displayName, SharedString("song.wav"));
    EXPECT_EQ(editor().state().document.audio->urlString, SharedString(url("song.wav")));
}

TEST_F(MediaSurfacesTest, TheNoticeOfLinkedVideosComesOnceOverAllWindows)
{
    drop({"film.mp4"});
    ASSERT_TRUE(has(1));
    open(DocumentFile(documentOf({})));
    drop({"film.mp4"});
    ASSERT_TRUE(has(1));
    settle();
    EXPECT_THAT(alerts, ElementsAre("Videos Are Linked, Not Embedded"));
}

TEST_F(MediaSurfacesTest, ADocumentThatOpensAsksForEachMissingVideoAndOneFolderMendsAll)
{
    presses = {skip, locate};
    choose({"film.mp4"});
    open(inFile(documentOf({video("file:///gone/first.mp4"), video("file:///gone/film.mp4"), video("file:///gone/other.mp4")})));
    ASSERT_TRUE(QTest::qWaitFor([this] { return undoName() == "Reconnect Video"; }, patience));
    EXPECT_THAT(alerts, ElementsAre("Locate the video file for “first.mp4”", "Locate the video file for “film.mp4”"));
    EXPECT_EQ(layers()[0].videoURL, SharedString("file:///gone/first.mp4"));
    EXPECT_EQ(layers()[1].videoURL, SharedString(url("film.mp4")));
    EXPECT_EQ(layers()[2].videoURL, SharedString(url("other.mp4"))) << "it lies in the same folder";
    EXPECT_TRUE(window->isWindowModified() || QTest::qWaitFor([this] { return window->isWindowModified(); }, patience));
}

TEST_F(MediaSurfacesTest, SkipAllEndsTheQuestionsAndChangesNothing)
{
    presses = {skipAll};
    open(inFile(documentOf({video("file:///gone/first.mp4"), video("file:///gone/second.mp4")})));
    ASSERT_TRUE(QTest::qWaitFor([this] { return alerts.size() == 1; }, patience));
    settle();
    EXPECT_EQ(alerts.size(), 1u);
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(MediaSurfacesTest, AFileThatIsNoVideoIsToldInTheQuestionThatComesAgain)
{
    presses = {locate, skip};
    choose({"words.txt"});
    open(inFile(documentOf({video("file:///gone/first.mp4")})));
    ASSERT_TRUE(QTest::qWaitFor([this] { return alertTexts.size() == 2; }, patience));
    EXPECT_EQ(alertTexts[0], "It is no longer at /gone/first.mp4.");
    EXPECT_THAT(alertTexts[1], HasSubstr("“words.txt” is no"));
    EXPECT_THAT(alertTexts[1], HasSubstr("It is no longer at /gone/first.mp4."));
}

TEST_F(MediaSurfacesTest, ADocumentWhoseVideosAreThereAsksNothing)
{
    open(inFile(documentOf({video(url("film.mp4"))})));
    settle();
    EXPECT_THAT(alerts, IsEmpty());
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(MediaSurfacesTest, WhatWasReadWaitsForASheetToGo)
{
    window->perform(Command::exportMP4);
    drop({"wide.png"});
    settle();
    EXPECT_THAT(layers(), IsEmpty()) << "nothing changes behind a sheet";
    QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
    EXPECT_TRUE(has(1));
}

TEST_F(MediaSurfacesTest, AWindowThatGoesWhileFilesAreReadTakesThemAlong)
{
    drop({"wide.png", "film.mp4"});
    delete window;
    EXPECT_TRUE(QTest::qWaitFor([this] { return workspace.background.running() == 0; }, patience));
    settle();
    EXPECT_THAT(alerts, IsEmpty());
}

TEST_F(MediaSurfacesTest, AWindowThatGoesWhileAPanelIsOpenTakesNothing)
{
    workspace.runOpenPanel = [this](const OpenPanel&) {
        delete window;
        return std::vector{path("wide.png")};
    };
    open(DocumentFile(documentOf({})));
    QTest::mouseClick(findControl<QToolButton>(*window, "Image"), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([this] { return window.isNull(); }, patience));
    settle();
}

/// A card over a plain widget.
class MediaNoticeTest : public testing::Test {
protected:
    MediaNoticeTest()
    {
        over.resize(700, 400);
        notice = new MediaNotice(&over, [this] { ++stops; });
        over.show();
        (void)QTest::qWaitForWindowExposed(&over);
    }

    QWidget over;
    MediaNotice* notice = nullptr;
    int stops = 0;
};

TEST_F(MediaNoticeTest, ProgressIsShownWhenItGoesOnAndCanBeStopped)
{
    notice->showProgress(MediaFlow::Progress{.done = 0, .total = 200});
    EXPECT_FALSE(notice->isVisible()) << "most files are there before anybody could read it";
    ASSERT_TRUE(QTest::qWaitFor([this] { return notice->isVisible(); }, patience));
    notice->showProgress(MediaFlow::Progress{.done = 12, .total = 200});
    EXPECT_TRUE(showsWords(over, "Reading files: 12 of 200"));
    QTest::mouseClick(findControl<QPushButton>(over, "Stop"), Qt::LeftButton);
    EXPECT_EQ(stops, 1);
    notice->showProgress(std::nullopt);
    EXPECT_FALSE(notice->isVisible());
}

TEST_F(MediaNoticeTest, WordsOfSeveralLinesStayWithinTheWidget)
{
    notice->tell(std::string(300, 'w') + "\nline two is made of words that go on for longer than the card is wide, as some do\nline three");
    EXPECT_TRUE(notice->isVisible());
    EXPECT_TRUE(over.rect().contains(notice->geometry()));
    over.resize(300, 400);
    EXPECT_TRUE(over.rect().contains(notice->geometry()));
}

} // namespace
} // namespace larkspool
