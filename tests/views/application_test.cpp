#include "views/application.h"

#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/preferences_window.h"
#include "views/welcome_window.h"
#include "views/window_test.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The whole program, without a screen and with settings that are forgotten.
class ApplicationTest : public testing::Test {
protected:
    std::string document(const char* name, double width = 640)
    {
        TweenDocument made;
        TweenScene scene = made.scene();
        scene.width = width;
        made.setScene(scene);
        DocumentFile(TweenDocument()).save(made, folder.path(name));
        return folder.path(name);
    }
    /// Until the documents are there.
    void launch(const std::vector<std::string>& paths)
    {
        application.launch(paths);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !application.documents().isReading(); }, 10'000));
    }
    static void edit(EditorWindow& window, double endPause)
    {
        window.editor().mutate("Edit", [endPause](TweenScene& scene) { scene.endPause = endPause; });
    }
    double savedPause(const char* name) const { return DocumentFile::open(folder.path(name)).saved().scene().endPause; }
    /// The sizes of the scenes in the windows.
    std::vector<CGSize> sizes()
    {
        std::vector<CGSize> found;
        for (EditorWindow* window : application.editorWindows()) found.push_back(window->editor().scene().size());
        return found;
    }
    bool greets() const { return application.welcomeWindow() && application.welcomeWindow()->isVisible(); }
    template <typename Window>
    static int countOf()
    {
        int count = 0;
        for (const QWidget* top : QApplication::topLevelWidgets()) count += dynamic_cast<const Window*>(top) && top->isVisible();
        return count;
    }

    const TemporaryFolder folder;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    std::vector<std::string> failed;
    Application application{{.defaults = defaults,
                             .pasteboard = pasteboard,
                             .tellFailure = [this](const std::string& path, const std::string&) { failed.push_back(path); }}};
};

TEST_F(ApplicationTest, ALaunchGreetsAlone)
{
    application.launch({});
    EXPECT_TRUE(greets());
    EXPECT_THAT(sizes(), IsEmpty());
}

TEST_F(ApplicationTest, WithTheWelcomeSuppressedALaunchShowsOneEmptyDocument)
{
    defaults.set(DefaultsKey::suppressWelcomeAtLaunch, true);
    application.launch({});
    EXPECT_FALSE(greets());
    EXPECT_THAT(sizes(), ElementsAre(CGSize{1920, 1080}));
    EXPECT_TRUE(application.editorWindows()[0]->editor().scene().layers.empty());
    EXPECT_FALSE(application.editorWindows()[0]->isWindowModified());
}

TEST_F(ApplicationTest, ALaunchWithDocumentsShowsThemAndGreetsNobody)
{
    launch({document("a.larkspool", 100), document("b.larkspool", 200), folder.path("nowhere.larkspool")});
    EXPECT_FALSE(greets());
    EXPECT_EQ(application.editorWindows().size(), 2u);
    EXPECT_THAT(failed, ElementsAre(folder.path("nowhere.larkspool")));
    EXPECT_EQ(application.workspace().recents.paths().front(), folder.path("b.larkspool"));
}

TEST_F(ApplicationTest, ALaunchWithoutAnyGoodDocumentGreets)
{
    launch({folder.path("nowhere.larkspool")});
    EXPECT_TRUE(greets());
    EXPECT_THAT(sizes(), IsEmpty());
}

TEST_F(ApplicationTest, APresetOfTheWelcomeWindowMakesOneDocumentAndTheNextPlainOneIsAsUsual)
{
    application.launch({});
    findControl<QAbstractButton>(*application.welcomeWindow(), "Square — 1080×1080")->click();
    EXPECT_FALSE(greets());
    EXPECT_THAT(sizes(), ElementsAre(CGSize{1080, 1080}));
    EXPECT_FALSE(defaults.value("lksPendingPresetWidth"));
    EXPECT_FALSE(defaults.value("lksPendingPresetHeight"));
    application.perform(Command::newDocument);
    EXPECT_THAT(sizes(), ElementsAre(CGSize{1080, 1080}, CGSize{1920, 1080}));
}

TEST_F(ApplicationTest, TheWelcomeWindowAndTheSettingsComeByTheirCommandsAndOnceEach)
{
    defaults.set(DefaultsKey::suppressWelcomeAtLaunch, true);
    application.launch({});
    for (int i = 0; i < 2; ++i) {
        application.perform(Command::showWelcome);
        application.perform(Command::showSettings);
    }
    EXPECT_TRUE(greets());
    EXPECT_EQ(countOf<WelcomeWindow>(), 1);
    EXPECT_EQ(countOf<PreferencesWindow>(), 1);
}

TEST_F(ApplicationTest, TheWelcomeWindowStaysUntilADocumentOfLateIsThere)
{
    application.workspace().recents.note(document("late.larkspool", 300));
    application.launch({});
    QAbstractButton* row = nullptr;
    for (QAbstractButton* button : application.welcomeWindow()->findChildren<QAbstractButton*>())
        if (button->accessibleName().startsWith("late, ")) row = button; // The time of day stands behind it.
    ASSERT_NE(row, nullptr);
    row->click();
    row->click();
    EXPECT_TRUE(greets()) << "the document is read meanwhile";
    EXPECT_THAT(sizes(), IsEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return sizes().size() == 1; }, 10'000));
    EXPECT_FALSE(greets());
    EXPECT_EQ(sizes().front().width, 300);
    QTest::qWait(20);
    EXPECT_EQ(sizes().size(), 1u) << "two clicks are one wish";
}

TEST_F(ApplicationTest, ADocumentHasOneWindowByWhateverNameItIsAskedFor)
{
    const std::string path = document("board.larkspool");
    std::filesystem::create_symlink(path, folder.path("link.larkspool"));
    launch({path, folder.path("link.larkspool"), folder.path("./board.larkspool")});
    ASSERT_EQ(application.editorWindows().size(), 1u);
    application.workspace().openDocument(folder.path("link.larkspool"));
    QTest::qWait(50);
    ASSERT_EQ(application.editorWindows().size(), 1u);
    EXPECT_FALSE(application.documents().isReading());

    application.editorWindows()[0]->close();
    application.workspace().openDocument(path);
    EXPECT_TRUE(QTest::qWaitFor([&] { return application.editorWindows().size() == 1; }, 10'000)) << "anew, once it was closed";
}

TEST_F(ApplicationTest, AFileThatAWindowIsBeingSavedToIsNotOpenedBesideIt)
{
    launch({document("a.larkspool", 100)});
    const std::string other = document("b.larkspool", 200);
    EditorWindow* window = application.editorWindows()[0];
    QTimer::singleShot(0, window, [&] {
        auto& dialog = dynamic_cast<QFileDialog&>(*QApplication::activeModalWidget());
        dialog.selectFile("b.larkspool");
        static_cast<QDialog&>(dialog).done(QDialog::Accepted);
    });
    EXPECT_TRUE(window->saveAs());
    ASSERT_TRUE(window->isSaving());
    application.workspace().openDocument(other);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isSaving() && !application.documents().isReading(); }, 10'000));
    EXPECT_EQ(application.editorWindows().size(), 1u);
    EXPECT_EQ(window->file().path(), other);
}

TEST_F(ApplicationTest, OpenBeginsBesideTheLastDocument)
{
    launch({document("board.larkspool")});
    QString looksIn;
    QTimer::singleShot(0, application.editorWindows()[0], [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        looksIn = dialog->directory().absolutePath();
        dialog->reject();
    });
    application.perform(Command::openDocument);
    EXPECT_EQ(looksIn.toStdString(), std::filesystem::path(folder.path("x")).parent_path().string());
}

/// Answers the message that comes next, and keeps its words.
std::shared_ptr<QString> answer(QMessageBox::StandardButton button)
{
    auto words = std::make_shared<QString>();
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, words, button] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) return;
        timer->deleteLater();
        timer->stop();
        *words = box->text();
        box->button(button)->click();
    });
    timer->start(1);
    return words;
}

TEST_F(ApplicationTest, QuitAsksForChangesAndStaysIfTheyAreToBeKept)
{
    launch({document("a.larkspool"), document("b.larkspool")});
    EditorWindow* edited = application.editorWindows()[1];
    edit(*edited, 2);
    answer(QMessageBox::Cancel);
    application.perform(Command::quit);
    EXPECT_TRUE(edited->isVisible());
    answer(QMessageBox::Save);
    application.perform(Command::quit);
    EXPECT_TRUE(edited->isVisible()) << "until it is saved";
    EXPECT_TRUE(QTest::qWaitFor([&] { return application.editorWindows().empty(); }, 10'000));
    EXPECT_EQ(savedPause("b.larkspool"), 2);
    EXPECT_EQ(savedPause("a.larkspool"), TweenScene().endPause);
}

TEST_F(ApplicationTest, QuitWaitsForASaveAndThenClosesTheOtherWindowsToo)
{
    launch({document("a.larkspool"), document("b.larkspool")});
    EditorWindow* saving = application.editorWindows()[0];
    edit(*saving, 2);
    EXPECT_TRUE(saving->save());
    application.perform(Command::quit);
    EXPECT_EQ(application.editorWindows().size(), 2u);
    EXPECT_TRUE(QTest::qWaitFor([&] { return application.editorWindows().empty(); }, 10'000));
    EXPECT_EQ(savedPause("a.larkspool"), 2);
}

TEST_F(ApplicationTest, QuitGoesOnThoughOneMoreSaveIsNeeded)
{
    launch({document("a.larkspool"), document("b.larkspool")});
    EditorWindow* saving = application.editorWindows()[0];
    edit(*saving, 2);
    EXPECT_TRUE(saving->save());
    edit(*saving, 3);
    application.perform(Command::quit);
    const auto asked = answer(QMessageBox::Save);
    EXPECT_TRUE(QTest::qWaitFor([&] { return application.editorWindows().empty(); }, 10'000));
    EXPECT_EQ(*asked, "Do you want to save the changes to “a”?");
    EXPECT_EQ(savedPause("a.larkspool"), 3);
}

TEST_F(ApplicationTest, ASaveThatFailsEndsTheQuit)
{
    launch({document("a.larkspool"), document("b.larkspool")});
    EditorWindow* saving = application.editorWindows()[0];
    edit(*saving, 2);
    std::filesystem::remove(folder.path("a.larkspool"));
    std::filesystem::create_directory(folder.path("a.larkspool"));
    EXPECT_TRUE(saving->save());
    application.perform(Command::quit);
    const auto told = answer(QMessageBox::Ok);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !told->isEmpty() && !QApplication::activeModalWidget(); }, 10'000));
    EXPECT_TRUE(told->startsWith("The document could not be saved.\n\n")) << told->toStdString();
    QTest::qWait(20);
    EXPECT_EQ(application.editorWindows().size(), 2u);

    std::filesystem::remove(folder.path("a.larkspool"));
    EXPECT_TRUE(saving->save());
    saving->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return application.editorWindows().size() == 1; }, 10'000));
    QTest::qWait(20);
    EXPECT_EQ(application.editorWindows().size(), 1u) << "the quit is forgotten";
}

} // namespace
} // namespace larkspool
