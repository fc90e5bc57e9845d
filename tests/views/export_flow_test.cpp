#include "views/export_flow.h"

#include "document/tween_document.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/background_tasks.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/form_controls.h"
#include "views/sheet_window.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QShortcut>
#include <QTimer>

#include <gtest/gtest.h>

#include <filesystem>

namespace larkspool {
namespace {

TweenScene smallScene(const char* name, double seconds)
{
    TweenScene scene;
    scene.name = name;
    scene.width = 64;
    scene.height = 36;
    scene.duration = seconds;
    return scene;
}

/// A window with something that has the keyboard, and the export of a document of two scenes.
class ExportFlowTest : public SheetWindowTest {
protected:
    ExportFlowTest() : SheetWindowTest({900, 700})
    {
        document.scenes = {smallScene("Intro", 1), smallScene("Outro", 2)};
        flow = std::make_unique<ExportFlow>(window, ExportFlow::Services{.defaults = defaults,
                                                                         .tasks = background->tasks(),
                                                                         .document = [this] { return document; },
                                                                         .documentName = [] { return "Board"; },
                                                                         .documentFolder = [] { return ""; },
                                                                         .sheetsChanged = [this] { ++sheetChanges; },
                                                                         .runPanel =
                                                                             [this](const SavePanel& panel) {
                                                                                 offered = panel.nameFieldStringValue;
                                                                                 return path;
                                                                             },
                                                                         .reveal =
                                                                             [this](const std::string& shown) {
                                                                                 revealed = shown;
                                                                             }});
    }

    QLineEdit& filename() { return *findControl<QLineEdit>(window, "Filename"); }
    ChoiceField& scenes() { return *findControl<ChoiceField>(window, "Scenes"); }
    bool hasEnded() { return !flow->isRunning(); }

    const TemporaryFolder folder;
    TweenDocument document;
    MemoryUserDefaults defaults;
    std::unique_ptr<BackgroundTasks> background = std::make_unique<BackgroundTasks>();
    std::optional<std::string> path;
    std::string offered, revealed;
    int sheetChanges = 0;
    std::unique_ptr<ExportFlow> flow;
};

TEST_F(ExportFlowTest, TheKeyboardGoesRoundAllFieldsAndStaysInTheSheet)
{
    flow->start();
    EXPECT_EQ(wayOfTab(7), QStringList({"Filename", "Cancel", "Export", "Scenes", "Size: Full", "Motion Blur", "Include Audio",
                                        "Filename"}));
    press(Qt::Key_Backtab);
    EXPECT_EQ(focusName(window), "Include Audio");
}

TEST_F(ExportFlowTest, NoShortcutOfTheWindowAnswersWhileASheetIsOpen)
{
    int answered = 0;
    const QShortcut shortcut(QKeySequence("Ctrl+K"), &window, [&] { ++answered; });
    const auto type = [this] { QTest::keyClick(window.windowHandle(), Qt::Key_K, Qt::ControlModifier); };
    type();
    ASSERT_EQ(answered, 1);
    flow->start();
    type();
    EXPECT_EQ(answered, 1);
    press(Qt::Key_Escape);
    type();
    EXPECT_EQ(answered, 2);
}

TEST_F(ExportFlowTest, TheNameFollowsTheScenesUntilOneIsTyped)
{
    flow->start();
    EXPECT_EQ(filename().text(), "Board (Intro) Export.mp4");
    scenes().setFocus();
    press(Qt::Key_Up);
    EXPECT_EQ(scenes().currentText(), "All Scenes");
    EXPECT_EQ(filename().text(), "Board (All Scenes) Export.mp4");
    filename().setFocus();
    filename().selectAll();
    QTest::keyClicks(&filename(), "mine.mp4");
    scenes().setFocus();
    press(Qt::Key_End);
    EXPECT_EQ(scenes().currentText(), "Outro");
    EXPECT_EQ(filename().text(), "mine.mp4");
}

TEST_F(ExportFlowTest, ArrowsChooseTheSizeAndTheSheetTellsWhatTheFilmWillBe)
{
    flow->start();
    EXPECT_TRUE(showsWords(window, "64 × 36 · 60 fps · 1.00s"));
    findControl<QAbstractButton>(window, "Size: Full")->setFocus();
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_EQ(focusName(window), "Size: Half");
    EXPECT_TRUE(showsWords(window, "32 × 18 · 60 fps · 1.00s"));
    scenes().setFocus();
    press(Qt::Key_Home);
    EXPECT_TRUE(showsWords(window, "32 × 18 · 60 fps · 3.00s"));
}

TEST_F(ExportFlowTest, EscapeLeavesEverythingAsItWas)
{
    flow->start();
    ASSERT_TRUE(flow->isOpen());
    scenes().setFocus();
    press(Qt::Key_Home);
    press(Qt::Key_Escape);
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(window.focusWidget(), behind);
    EXPECT_TRUE(offered.empty());
    EXPECT_EQ(defaults.string(DefaultsKey::lastExportTarget), "current");
    EXPECT_EQ(sheetChanges, 2);
}

TEST_F(ExportFlowTest, APanelThatIsCancelledStoresNothing)
{
    flow->start();
    findControl<QAbstractButton>(window, "Include Audio")->click();
    press(Qt::Key_Return);
    EXPECT_EQ(offered, "Board (Intro) Export.mp4");
    EXPECT_FALSE(flow->isOpen());
    EXPECT_TRUE(defaults.boolean(DefaultsKey::exportIncludeAudio));
}

TEST_F(ExportFlowTest, ReturnWritesTheFilmShowsItAndKeepsTheChoices)
{
    path = folder.path("film.mp4");
    flow->start();
    scenes().setFocus();
    press(Qt::Key_End);
    press(Qt::Key_Return);
    ASSERT_TRUE(flow->isOpen());
    EXPECT_TRUE(showsWords(window, "Exporting MP4..."));
    ASSERT_TRUE(QTest::qWaitFor([this] { return hasEnded(); }, 60000));
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(revealed, *path);
    EXPECT_TRUE(std::filesystem::exists(*path));
    EXPECT_EQ(defaults.string(DefaultsKey::lastExportTarget), "scene:1");
    EXPECT_EQ(window.focusWidget(), behind);
}

TEST_F(ExportFlowTest, StopEndsTheExportWithoutAnError)
{
    document.scenes = {smallScene("Long", 600)};
    path = folder.path("part.mp4");
    flow->start();
    press(Qt::Key_Return);
    ASSERT_TRUE(flow->isRunning());
    QTest::qWait(50);
    findControl<QAbstractButton>(window, "Stop")->click();
    ASSERT_TRUE(QTest::qWaitFor([this] { return hasEnded(); }, 60000));
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(revealed.empty(), !std::filesystem::exists(*path));
}

TEST_F(ExportFlowTest, AFailureIsToldUntilItIsDismissed)
{
    path = folder.path("no such folder/film.mp4");
    flow->start();
    press(Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([this] { return hasEnded(); }, 60000));
    EXPECT_TRUE(showsWords(window, "Export failed"));
    EXPECT_FALSE(showsWords(window, "Exporting MP4..."));
    EXPECT_TRUE(revealed.empty());
    press(Qt::Key_Return);
    EXPECT_FALSE(flow->isOpen());
    EXPECT_EQ(window.focusWidget(), behind);
}

TEST_F(ExportFlowTest, NoThreadIsLeftWhenTheWindowGoesDuringAnExport)
{
    document.scenes = {smallScene("Long", 600)};
    path = folder.path("part.mp4");
    flow->start();
    press(Qt::Key_Return);
    ASSERT_TRUE(flow->isRunning());
    flow.reset();
    EXPECT_TRUE(QTest::qWaitFor([this] { return background->running() == 0; }, 60000));
    EXPECT_TRUE(revealed.empty());
}

TEST_F(ExportFlowTest, TheProgramWaitsForItsThreadsToEnd)
{
    document.scenes = {smallScene("Long", 600)};
    path = folder.path("part.mp4");
    flow->start();
    press(Qt::Key_Return);
    flow.reset();
    background.reset();
    QTest::qWait(20); // Nothing that the thread has posted may arrive.
    EXPECT_TRUE(revealed.empty());
}

TEST_F(ExportFlowTest, AnEditorWindowThatIsClosedStopsItsExport)
{
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    auto editor = std::make_unique<EditorWindow>(DocumentFile(TweenDocument{.scenes = {smallScene("Long", 600)}}), workspace);
    editor->setAttribute(Qt::WA_DeleteOnClose, false);
    editor->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(editor.get()));
    workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    editor->perform(Command::exportMP4);
    ASSERT_TRUE(findControl<QLineEdit>(*editor, "Filename"));
    QTimer::singleShot(0, editor.get(), [this] {
        auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(panel);
        panel->selectFile(QString::fromStdString(folder.path("part")));
        QTest::keyClick(panel, Qt::Key_Return);
    });
    QTest::keyClick(findControl<QLineEdit>(*editor, "Filename"), Qt::Key_Return);
    EXPECT_TRUE(showsWords(*editor, "Exporting MP4..."));
    EXPECT_EQ(workspace.background.running(), 1u);
    editor->close();
    editor.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return workspace.background.running() == 0; }, 60000));
    for (const std::string& name : folder.names()) EXPECT_EQ(name, "part.mp4") << "nothing half done is left";
}

} // namespace
} // namespace larkspool
