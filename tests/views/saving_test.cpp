#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/editor_window.h"
#include "views/window_test.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace larkspool {
namespace {

constexpr int patience = 10'000;

/// The window of a document that has a file. A save goes on at least until the window's loop turns.
class SavingTest : public testing::Test {
protected:
    SavingTest()
    {
        DocumentFile(TweenDocument()).save(TweenDocument(), board());
        window = new EditorWindow(DocumentFile::open(board()), workspace);
        window->resize(1400, 900);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
    }
    ~SavingTest() override { delete window; }

    std::string board() const { return folder.path("board.larkspool"); }
    void edit(double endPause)
    {
        window->editor().mutate("Edit", [endPause](TweenScene& scene) { scene.endPause = endPause; });
        window->refresh();
    }
    double savedPause(const char* name = "board.larkspool") const
    {
        return DocumentFile::open(folder.path(name)).saved().scene().endPause;
    }
    /// Nothing can be written there from now on.
    void block()
    {
        std::filesystem::remove(board());
        std::filesystem::create_directory(board());
    }
    void unblock() { std::filesystem::remove(board()); }

    [[nodiscard]] bool waitForSaves()
    {
        return QTest::qWaitFor([this] { return !window || !window->isSaving(); }, patience);
    }
    [[nodiscard]] bool waitForEnd()
    {
        return QTest::qWaitFor([this] { return window.isNull(); }, patience);
    }

    /// Does something with the next dialog that comes, whenever that is.
    void whenAsked(std::function<void(QWidget& dialog)> step)
    {
        auto* timer = new QTimer(window);
        QObject::connect(timer, &QTimer::timeout, timer, [timer, step = std::move(step)] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog) return;
            timer->stop();
            timer->deleteLater();
            step(*dialog);
        });
        timer->start(1);
    }
    /// Presses a button of the next message, and keeps its words.
    std::shared_ptr<std::string> answer(QMessageBox::StandardButton button)
    {
        auto words = std::make_shared<std::string>();
        whenAsked([words, button](QWidget& dialog) {
            *words = dynamic_cast<QMessageBox&>(dialog).text().toStdString();
            dynamic_cast<QMessageBox&>(dialog).button(button)->click();
        });
        return words;
    }
    void answerWithName(const char* name)
    {
        whenAsked([name](QWidget& dialog) {
            dynamic_cast<QFileDialog&>(dialog).selectFile(name);
            static_cast<QDialog&>(dynamic_cast<QFileDialog&>(dialog)).done(QDialog::Accepted);
        });
    }

    const TemporaryFolder folder;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    QPointer<EditorWindow> window;
};

TEST_F(SavingTest, EditsMadeMeanwhileStayAndLeaveTheDocumentEdited)
{
    edit(2);
    EXPECT_TRUE(window->save());
    EXPECT_TRUE(window->isSaving());
    EXPECT_TRUE(window->isWindowModified()) << "until it is written";
    edit(3);
    ASSERT_TRUE(waitForSaves());
    EXPECT_EQ(savedPause(), 2);
    EXPECT_EQ(window->editor().scene().endPause, 3);
    EXPECT_TRUE(window->isWindowModified());
    window->perform(Command::undo);
    EXPECT_FALSE(window->isWindowModified()) << "that is what the file has";
    EXPECT_EQ(workspace.recents.paths().front(), board());
}

TEST_F(SavingTest, ASecondSaveWritesWhatIsNewer)
{
    edit(2);
    EXPECT_TRUE(window->save());
    edit(3);
    EXPECT_TRUE(window->save());
    ASSERT_TRUE(waitForSaves());
    EXPECT_EQ(savedPause(), 3);
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(SavingTest, RevertingDuringASaveGoesBackToWhatIsBeingSaved)
{
    edit(2);
    EXPECT_TRUE(window->save());
    edit(3);
    // Answered before the loop turns, so that the save goes on.
    QTimer::singleShot(0, window, [] {
        dynamic_cast<QMessageBox&>(*QApplication::activeModalWidget()).button(QMessageBox::Yes)->click();
    });
    EXPECT_TRUE(window->revert());
    EXPECT_EQ(window->editor().scene().endPause, 2);
    ASSERT_TRUE(waitForSaves());
    EXPECT_FALSE(window->isWindowModified());
    window->perform(Command::undo);
    EXPECT_EQ(window->editor().scene().endPause, 3);
}

TEST_F(SavingTest, SaveAsDuringASaveTakesTheDocumentThere)
{
    edit(2);
    EXPECT_TRUE(window->save());
    edit(3);
    answerWithName("other");
    EXPECT_TRUE(window->saveAs());
    edit(4);
    EXPECT_TRUE(window->save()) << "into the new file";
    ASSERT_TRUE(waitForSaves());
    EXPECT_EQ(savedPause(), 2);
    EXPECT_EQ(savedPause("other.larkspool"), 4);
    EXPECT_EQ(window->file().path(), folder.path("other.larkspool"));
    EXPECT_EQ(window->windowTitle(), "other[*] — Larkspool");
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(SavingTest, AWindowThatIsClosedMeanwhileGoesWhenItIsSaved)
{
    int closings = 0;
    const Observation observation =
        workspace.center.addObserver(EditorNotification::editorWindowClosing, [&](const Notification&) { ++closings; });
    edit(2);
    EXPECT_TRUE(window->save());
    EXPECT_FALSE(window->close());
    EXPECT_FALSE(window->close()) << "however often it is asked";
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(closings, 0);
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(savedPause(), 2);
    EXPECT_EQ(closings, 1);
}

TEST_F(SavingTest, ClosingAsksForWhatWasEditedDuringTheSave)
{
    edit(2);
    EXPECT_TRUE(window->save());
    edit(3);
    EXPECT_FALSE(window->close());
    auto asked = answer(QMessageBox::Cancel);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !asked->empty(); }, patience));
    EXPECT_EQ(*asked, "Do you want to save the changes to “board”?");
    EXPECT_EQ(savedPause(), 2);
    QTest::qWait(20);
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->isVisible());

    asked = answer(QMessageBox::Save);
    EXPECT_FALSE(window->close());
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(savedPause(), 3);
}

TEST_F(SavingTest, AFailureOnClosingKeepsTheWindowAndTellsWhy)
{
    edit(2);
    block();
    whenAsked([](QWidget& question) { dynamic_cast<QMessageBox&>(question).button(QMessageBox::Save)->click(); });
    EXPECT_FALSE(window->close());
    const auto told = answer(QMessageBox::Ok);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !told->empty(); }, patience));
    EXPECT_THAT(*told, testing::StartsWith("The document could not be saved.\n\n"));
    EXPECT_THAT(*told, testing::HasSubstr("board.larkspool"));
    ASSERT_TRUE(waitForSaves());
    QTest::qWait(20);
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_EQ(window->editor().scene().endPause, 2);

    unblock();
    EXPECT_TRUE(window->save());
    ASSERT_TRUE(waitForSaves());
    QTest::qWait(20);
    ASSERT_TRUE(window) << "the wish to close it is forgotten";
    EXPECT_EQ(savedPause(), 2);
    EXPECT_TRUE(window->close());
}

TEST_F(SavingTest, AWindowInWhichSomethingElseHasBegunStays)
{
    edit(2);
    EXPECT_TRUE(window->save());
    EXPECT_FALSE(window->close());
    whenAsked([this](QWidget& dialog) {
        EXPECT_TRUE(waitForSaves());
        QTest::qWait(20);
        ASSERT_TRUE(window);
        EXPECT_TRUE(window->isVisible()) << "the dialog is its child";
        dynamic_cast<QFileDialog&>(dialog).reject();
    });
    EXPECT_FALSE(window->saveAs());
    QTest::qWait(20);
    ASSERT_TRUE(window);
    EXPECT_EQ(savedPause(), 2);
    EXPECT_TRUE(window->close());
}

TEST_F(SavingTest, AnUntitledDocumentIsWrittenWhereItsSaveAsGoes)
{
    delete window;
    window = new EditorWindow(DocumentFile(TweenDocument()), workspace);
    window->show();
    edit(2);
    const std::string path = folder.path("first.larkspool");
    answerWithName(path.c_str());
    EXPECT_TRUE(window->save());
    edit(3);
    EXPECT_TRUE(window->save()) << "without asking again";
    EXPECT_FALSE(window->close());
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(savedPause("first.larkspool"), 3);
}

} // namespace
} // namespace larkspool
