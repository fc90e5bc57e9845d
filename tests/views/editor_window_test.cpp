#include "views/editor_window.h"

#include "editing/scene_lookup.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/canvas_view.h"
#include "views/window_test.h"

#include <QKeyEvent>
#include <QMenuBar>

#include <gtest/gtest.h>

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
    defaults.set(DefaultsKey::timelinePlayheadSnap.name, "off");

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

} // namespace
} // namespace larkspool
