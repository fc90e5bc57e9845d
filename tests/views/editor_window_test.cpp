#include "views/editor_window.h"

#include "editing/scene_lookup.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/canvas_view.h"
#include "views/find_control.h"
#include "views/window_test.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTimer>
#include <QToolButton>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace larkspool {
namespace {

/// A window of its own workspace, shown without a screen.
class EditorWindowTest : public testing::Test {
protected:
    EditorWindowTest() { open(DocumentFile(TweenDocument())); }
    ~EditorWindowTest() override { delete window; }

    void open(DocumentFile file)
    {
        delete window;
        window = new EditorWindow(std::move(file), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(1400, 900);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    }

    EditorView& editor() { return window->editor(); }
    TweenScene scene() { return editor().scene(); }

    QPoint onCanvas(CGPoint scenePoint)
    {
        const CGPoint view = window->canvas().sceneFit().viewFromScene(scenePoint);
        return {static_cast<int>(std::lround(view.x)), static_cast<int>(std::lround(view.y))};
    }
    void dragOnCanvas(CGPoint from, CGPoint to)
    {
        const QPoint start = onCanvas(from), end = onCanvas(to);
        QTest::mousePress(&window->canvas(), Qt::LeftButton, Qt::NoModifier, start);
        for (int i = 1; i <= 8; ++i) QTest::mouseMove(&window->canvas(), start + (end - start) * i / 8);
        QTest::mouseRelease(&window->canvas(), Qt::LeftButton, Qt::NoModifier, end);
    }

    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    EditorWindow* window = nullptr;
};

TEST_F(EditorWindowTest, MakesASceneFromNothingSavesItAndOpensItAgain)
{
    workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::rectangle});
    ASSERT_EQ(scene().layers.size(), 1u);
    const UUID box = scene().layers[0].id;
    EXPECT_EQ(editor().state().selectedLayerIDs, LayerIDs{box});

    const Transform before = scene().layers[0].transform;
    const CGSize size = scene().layers[0].size;
    const CGPoint middle{before.x + size.width / 2, before.y + size.height / 2};
    dragOnCanvas(middle, {middle.x + 300, middle.y});
    const double moved = scene().layers[0].transform.x - before.x;
    EXPECT_NEAR(moved, 300, 12) << "within what a guide takes it to";
    EXPECT_EQ(editor().undoManager().undoActionName(), "Move");

    QTest::keyClick(window, Qt::Key_K, Qt::ControlModifier);
    EXPECT_FALSE(scene().layers[0].keyframes.empty());
    QTest::keyClick(window, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(scene().layers[0].keyframes.empty());
    QTest::keyClick(window, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_FALSE(scene().layers[0].keyframes.empty());

    const TemporaryFolder folder;
    const TweenScene made = scene();
    DocumentFile file = window->file();
    file.save(editor().state().document, folder.path("made.larkspool"));
    open(DocumentFile::open(folder.path("made.larkspool")));
    EXPECT_EQ(scene(), made);
    EXPECT_EQ(window->windowTitle(), "made[*] — Larkspool");
}

TEST_F(EditorWindowTest, TwentyUndoneStepsGiveTheSceneBack)
{
    const TweenScene before = scene();
    for (int i = 0; i < 20; ++i) workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::ellipse});
    EXPECT_EQ(scene().layers.size(), before.layers.size() + 20);
    for (int i = 0; i < 20; ++i) QTest::keyClick(window, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(scene(), before);
    EXPECT_TRUE(editor().state().selectedLayerIDs.empty());
}

TEST_F(EditorWindowTest, ACommandReachesOnlyThePrimaryWindow)
{
    EditorWindow other(DocumentFile(TweenDocument()), workspace);
    other.setAttribute(Qt::WA_DeleteOnClose, false);
    workspace.registry.setPrimaryID(window->instanceID());
    workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::rectangle});
    EXPECT_EQ(scene().layers.size(), 1u);
    EXPECT_TRUE(other.editor().scene().layers.empty());
}

TEST_F(EditorWindowTest, EscapeDuringADragOnTheCanvasGivesTheSceneBack)
{
    workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::rectangle});
    const TweenScene before = scene();
    const Layer& box = before.layers[0];
    const QPoint start = onCanvas({box.transform.x + box.size.width / 2, box.transform.y + box.size.height / 2});
    QTest::mousePress(&window->canvas(), Qt::LeftButton, Qt::NoModifier, start);
    for (int i = 1; i <= 6; ++i) QTest::mouseMove(&window->canvas(), start + QPoint(i * 10, i * 6));
    EXPECT_FALSE(scene() == before);
    QTest::keyClick(&window->canvas(), Qt::Key_Escape);
    EXPECT_EQ(scene(), before);
    QTest::mouseRelease(&window->canvas(), Qt::LeftButton, Qt::NoModifier, start);
    EXPECT_EQ(scene(), before);
    EXPECT_EQ(editor().undoManager().undoCount(), 1u);
}

TEST_F(EditorWindowTest, ThePanelsAreShownAndHiddenByTheirCommands)
{
    for (const Command command : {Command::toggleLayers, Command::toggleInspector, Command::toggleTimeline, Command::toggleSceneStrip}) {
        const auto seen = [&] {
            int count = 0;
            for (const QWidget* child : window->findChildren<QWidget*>())
                if (child->isVisible()) ++count;
            return count;
        };
        const int all = seen();
        window->perform(command);
        EXPECT_LT(seen(), all) << static_cast<int>(command);
        window->perform(command);
        EXPECT_EQ(seen(), all);
    }
}

TEST_F(EditorWindowTest, TheTitleTellsOfUnsavedChanges)
{
    EXPECT_FALSE(window->isWindowModified());
    workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::rectangle});
    EXPECT_TRUE(window->isWindowModified());
    QTest::keyClick(window, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(EditorWindowTest, ZoomingHoldsItsLimitsAndWhatLiesUnderThePointer)
{
    CanvasView& canvas = window->canvas();
    canvas.zoomTo(50);
    EXPECT_EQ(canvas.zoom(), 10);
    canvas.zoomTo(0.001);
    EXPECT_EQ(canvas.zoom(), 0.1);
    const CGPoint anchor{200, 150};
    canvas.resetZoom();
    const CGPoint under = canvas.sceneFit().sceneFromView(anchor);
    canvas.zoomTo(2.5, anchor);
    const CGPoint after = canvas.sceneFit().sceneFromView(anchor);
    EXPECT_NEAR(after.x, under.x, 1e-6);
    EXPECT_NEAR(after.y, under.y, 1e-6);
}

TEST_F(EditorWindowTest, SpacePlaysAndTheSceneEndsWhilePlaying)
{
    QTest::keyClick(window, Qt::Key_Space);
    EXPECT_TRUE(window->playback().isPlaying());
    QTest::keyClick(window, Qt::Key_Space);
    EXPECT_FALSE(window->playback().isPlaying());
}

TEST_F(EditorWindowTest, IsClosedWhilePlayingWithoutATrace)
{
    QTest::keyClick(window, Qt::Key_Space);
    window->close();
    EXPECT_FALSE(window->playback().isPlaying());
}

/// What the next file dialog was like, which is answered with `name`; or cancelled without one.
struct FileDialogSeen {
    QString folder, name, suffix;
};
std::shared_ptr<FileDialogSeen> answerFileDialog(QWidget& window, const QString& name)
{
    auto seen = std::make_shared<FileDialogSeen>();
    QTimer::singleShot(0, &window, [seen, name] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        *seen = {dialog->directory().absolutePath(), QFileInfo(dialog->selectedFiles().value(0)).fileName(),
                 dialog->defaultSuffix()};
        if (name.isEmpty()) return dialog->reject();
        dialog->selectFile(name);
        static_cast<QDialog*>(dialog)->done(QDialog::Accepted);
    });
    return seen;
}

TEST_F(EditorWindowTest, SaveAsBeginsInTheDocumentsFolder)
{
    const TemporaryFolder folder;
    const auto untitled = answerFileDialog(*window, {});
    EXPECT_FALSE(window->saveAs());
    const QDir documents(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    EXPECT_EQ(untitled->folder, documents.exists() ? documents.absolutePath() : QDir::homePath());
    EXPECT_EQ(untitled->name, "Untitled.larkspool");
    EXPECT_EQ(untitled->suffix, "larkspool") << "the dialog asks before it writes over the very file";

    DocumentFile file = window->file();
    file.save(TweenDocument(), folder.path("made.larkspool"));
    open(DocumentFile::open(folder.path("made.larkspool")));
    const auto made = answerFileDialog(*window, "other");
    EXPECT_TRUE(window->saveAs());
    ASSERT_TRUE(QTest::qWaitFor([this] { return !window->isSaving(); }, 10'000));
    EXPECT_EQ(made->folder.toStdString(), QFileInfo(QString::fromStdString(folder.path("x"))).absolutePath().toStdString());
    EXPECT_EQ(made->name, "made.larkspool");
    EXPECT_EQ(window->file().path(), folder.path("other.larkspool"));
    EXPECT_THAT(folder.names(), testing::ElementsAre("made.larkspool", "other.larkspool"));
    EXPECT_EQ(workspace.recents.paths().front(), folder.path("other.larkspool"));
}

TEST_F(EditorWindowTest, RevertingBringsBackAllScenesAndCanBeUndone)
{
    TweenDocument saved;
    saved.addScene();
    saved.activeSceneIndex = 0;
    open(DocumentFile(saved));
    editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 7; });
    editor().editDocument([](TweenDocument& document) {
        document.addScene();
        document.audio = DocumentAudio{.urlString = "file:///music.m4a"};
    });
    editor().setActiveScene(2);
    window->refresh();
    const TweenDocument edited = editor().state().document;
    ASSERT_EQ(edited.scenes.size(), 3u);
    const auto answer = [this](QMessageBox::StandardButton button) {
        QTimer::singleShot(0, window, [button] {
            qobject_cast<QMessageBox*>(QApplication::activeModalWidget())->button(button)->click();
        });
    };
    answer(QMessageBox::No);
    EXPECT_FALSE(window->revert());
    EXPECT_EQ(editor().state().document, edited);

    answer(QMessageBox::Yes);
    EXPECT_TRUE(window->revert());
    EXPECT_EQ(editor().state().document.scenes, saved.scenes);
    EXPECT_EQ(editor().state().document.audio, std::nullopt);
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_FALSE(window->revert()) << "nothing is left to be asked";
    window->perform(Command::undo);
    EXPECT_EQ(editor().state().document.scenes, edited.scenes);
    EXPECT_EQ(editor().state().document.audio, edited.audio);
    EXPECT_EQ(editor().undoManager().redoActionName(), "Revert");
    window->perform(Command::redo);
    EXPECT_EQ(editor().state().document.scenes, saved.scenes);
}

TEST_F(EditorWindowTest, TheMenusNameTheStepsToUndoAndRedo)
{
    const auto titles = [this] {
        QStringList found;
        for (const QAction* action : window->findChildren<QAction*>())
            if (action->text().startsWith("Undo") || action->text().startsWith("Redo")) found << action->text();
        return found;
    };
    EXPECT_EQ(titles(), (QStringList{"Undo", "Redo"}));
    workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::rectangle});
    EXPECT_EQ(titles(), (QStringList{"Undo Add Rectangle", "Redo"}));
    window->perform(Command::undo);
    EXPECT_EQ(titles(), (QStringList{"Undo", "Redo Add Rectangle"}));
}

TEST_F(EditorWindowTest, ATextThatHasTheKeyboardTakesCutCopyAndPasteOfTheMenu)
{
    workspace.center.post("LKSInsertLayerOfKind", LayerInsertion{.kind = Layer::Kind::rectangle});
    QMenu* edit = nullptr;
    for (QAction* menu : window->findChild<QMenuBar*>()->actions())
        if (menu->text() == "Edit") edit = menu->menu();
    ASSERT_NE(edit, nullptr);
    const auto item = [&](const char* title) {
        for (QAction* action : edit->actions())
            if (action->text() == title) return action;
        return static_cast<QAction*>(nullptr);
    };
    editor().selectLayers({});
    window->refresh();
    EXPECT_FALSE(item("Cut")->isEnabled());

    auto* search = findControl<QToolButton>(*window, "Search Layers");
    ASSERT_NE(search, nullptr);
    search->click();
    auto* field = findControl<QLineEdit>(*window, "Search Layers");
    ASSERT_NE(field, nullptr);
    field->setFocus();
    field->setText("words");
    field->selectAll();
    emit edit->aboutToShow();
    ASSERT_TRUE(item("Cut")->isEnabled());
    item("Cut")->trigger();
    EXPECT_EQ(field->text(), "");
    item("Paste")->trigger();
    EXPECT_EQ(field->text(), "words");
    EXPECT_EQ(scene().layers.size(), 1u);

    window->canvas().setFocus();
    emit edit->aboutToShow();
    EXPECT_FALSE(item("Cut")->isEnabled());
    EXPECT_EQ(item("Cut")->toolTip(), "Select a layer first.");
}

TEST_F(EditorWindowTest, SpaceIsABlankInATextAndPressesTheButtonThatTabHasComeTo)
{
    findControl<QToolButton>(*window, "Search Layers")->click();
    auto* field = findControl<QLineEdit>(*window, "Search Layers");
    ASSERT_NE(field, nullptr);
    field->setFocus();
    QTest::keyClicks(field, "a b");
    EXPECT_EQ(field->text(), "a b");
    EXPECT_FALSE(window->playback().isPlaying());

    auto* button = findControl<QPushButton>(*window, "Export");
    ASSERT_NE(button, nullptr);
    button->setFocus(Qt::TabFocusReason);
    QTest::keyClick(button, Qt::Key_Space);
    EXPECT_FALSE(window->playback().isPlaying());
    EXPECT_NE(findControl<QWidget>(*window, "Export MP4"), nullptr);
}

} // namespace
} // namespace larkspool
