#include "views/editor_window.h"

#include "editing/scene_lookup.h"
#include "shell/panels.h"
#include "support/memory_user_defaults.h"
#include "support/test_media.h"
#include "views/accessible_items.h"
#include "views/canvas_view.h"
#include "views/find_control.h"
#include "views/inspector_tabs.h"
#include "views/layer_palette_view.h"
#include "views/layer_panel_view.h"
#include "views/panel_splitter.h"
#include "views/scene_strip_view.h"
#include "views/window_test.h"

#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>

#include <gtest/gtest.h>

#include <fstream>

// The parts of an editor's window that are around its views: the bar at the top, the panels' sizes, what floats, and what those
// find who work by the keyboard or have the screen read to them.

namespace larkspool {
namespace {

using Property = Keyframe::AnimatableProperty;

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

TweenDocument documentOf(std::vector<Layer> layers)
{
    TweenDocument document;
    TweenScene scene = document.scene();
    for (Layer& layer : layers) scene.layers.append(std::move(layer));
    document.setScene(std::move(scene));
    return document;
}

Layer boxAt(std::uint64_t number, double x, double y)
{
    Layer layer{.id = idOf(number), .name = "Box " + std::to_string(number)};
    layer.transform.x = x;
    layer.transform.y = y;
    layer.size = {200, 100};
    return layer;
}

Layer boxOnAPath(std::uint64_t number)
{
    Layer layer = boxAt(number, 800, 400);
    layer.keyframes = {Keyframe{.id = idOf(900 + number), .property = Property::x, .time = 0, .value = 800.0},
                       Keyframe{.id = idOf(950 + number), .property = Property::x, .time = 2, .value = 1200.0}};
    return layer;
}

class EditorWindowPartsTest : public testing::Test {
protected:
    EditorWindowPartsTest() { workspace.windowStatePath = folder.path("windows.ini"); }

    void open(DocumentFile file, QSize size = {1500, 950})
    {
        window.reset();
        window = std::make_unique<EditorWindow>(std::move(file), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->resize(size);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt);
        QApplication::processEvents();
    }
    void open(std::vector<Layer> layers = {}) { open(DocumentFile(documentOf(std::move(layers)))); }

    EditorView& editor() { return window->editor(); }
    template <typename View>
    View& part()
    {
        for (QWidget* child : window->findChildren<QWidget*>())
            if (auto* found = dynamic_cast<View*>(child)) return *found;
        throw std::logic_error("The window has no such part");
    }
    PanelSplitter& splitterOf(QWidget& panel)
    {
        QWidget* parent = panel.parentWidget();
        while (!dynamic_cast<PanelSplitter*>(parent)) parent = parent->parentWidget();
        return static_cast<PanelSplitter&>(*parent);
    }
    void dragHandle(PanelSplitter& splitter, QPoint way)
    {
        QSplitterHandle* handle = splitter.handle(1);
        const QPointF start = handle->mapToGlobal(QPointF(0, 50));
        const auto send = [&](QEvent::Type type, QPoint at, Qt::MouseButtons buttons) {
            const QPointF global = start + at;
            QMouseEvent event(type, handle->mapFromGlobal(global), global, Qt::LeftButton, buttons, Qt::NoModifier);
            QApplication::sendEvent(handle, &event);
        };
        send(QEvent::MouseButtonPress, {}, Qt::LeftButton);
        for (int i = 1; i <= 5; ++i) send(QEvent::MouseMove, way * i / 5, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, way, Qt::NoButton);
        QApplication::processEvents();
    }

    const TemporaryFolder folder;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    std::unique_ptr<EditorWindow> window;
};

TEST_F(EditorWindowPartsTest, FilmsAreMadeFromTheTopBar)
{
    open();
    for (const char* name : {"Quick Render", "Export"}) {
        SCOPED_TRACE(name);
        auto* button = findControl<QPushButton>(*window, name);
        ASSERT_NE(button, nullptr);
        EXPECT_TRUE(button->isEnabled());
    }
}

TEST_F(EditorWindowPartsTest, PanelsFirstOpenAsTheWindowsWidthAsks)
{
    struct Case {
        QSize window;
        int layers, inspector;
    };
    for (const Case& c : {Case{{1280, 800}, 216, 272}, Case{{1500, 950}, 248, 288}, Case{{2200, 1300}, 280, 320}}) {
        SCOPED_TRACE(c.window.width());
        open(DocumentFile(TweenDocument()), c.window);
        EXPECT_EQ(part<LayerPanelView>().width(), c.layers);
        EXPECT_EQ(part<InspectorTabs>().width(), c.inspector);
    }
}

TEST_F(EditorWindowPartsTest, TheSizesOfPanelsAreKeptForTheNextWindow)
{
    open();
    dragHandle(splitterOf(part<LayerPanelView>()), {60, 0});
    dragHandle(splitterOf(part<InspectorTabs>()), {-40, 0});
    EXPECT_EQ(part<LayerPanelView>().width(), 248 + 60);
    EXPECT_EQ(part<InspectorTabs>().width(), 288 + 40);
    window->close();
    open();
    EXPECT_EQ(part<LayerPanelView>().width(), 308);
    EXPECT_EQ(part<InspectorTabs>().width(), 328);
}

TEST_F(EditorWindowPartsTest, APanelIsHeldAtItsLimits)
{
    open();
    dragHandle(splitterOf(part<LayerPanelView>()), {400, 0});
    EXPECT_EQ(part<LayerPanelView>().width(), 420);
    dragHandle(splitterOf(part<LayerPanelView>()), {-250, 0});
    EXPECT_EQ(part<LayerPanelView>().width(), 184) << "30 below the least is not yet shut";
    EXPECT_TRUE(isVisible(defaults, Panel::layers));
}

TEST_F(EditorWindowPartsTest, APanelDraggedShutComesBackAsLargeAsItWas)
{
    open();
    dragHandle(splitterOf(part<LayerPanelView>()), {-120, 0});
    EXPECT_FALSE(isVisible(defaults, Panel::layers));
    EXPECT_TRUE(part<LayerPanelView>().isHidden());
    window->perform(Command::toggleLayers);
    QApplication::processEvents();
    EXPECT_FALSE(part<LayerPanelView>().isHidden());
    EXPECT_GE(part<LayerPanelView>().width(), 184);
}

TEST_F(EditorWindowPartsTest, APanelThatIsToggledKeepsItsSize)
{
    open();
    dragHandle(splitterOf(part<LayerPanelView>()), {60, 0});
    window->perform(Command::toggleLayers);
    QApplication::processEvents();
    window->perform(Command::toggleLayers);
    QApplication::processEvents();
    EXPECT_EQ(part<LayerPanelView>().width(), 308);
}

TEST_F(EditorWindowPartsTest, ARepairedDocumentOpensWithANoticeOfWhatWasLost)
{
    const std::string path = folder.path("broken.larkspool");
    DocumentFile whole{TweenDocument()};
    whole.save(documentOf({boxAt(1, 0, 0)}), path);
    std::ifstream in(path);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    const std::size_t kind = bytes.find("\"rectangle\"");
    ASSERT_NE(kind, std::string::npos);
    bytes.replace(kind, 11, "\"nosuchkind\"");
    std::ofstream(path) << bytes;

    open(DocumentFile::open(path));
    ASSERT_FALSE(window->file().diagnostics().empty());
    EXPECT_TRUE(showsWords(*window, "could not be read"));
    auto* show = findControl<QPushButton>(*window, "Show What Was Lost");
    ASSERT_NE(show, nullptr);
    EXPECT_EQ(findControl<QPlainTextEdit>(*window, "What was lost"), nullptr) << "folded at first";
    show->click();
    auto* list = findControl<QPlainTextEdit>(*window, "What was lost");
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->toPlainText().contains(QString::fromStdString(window->file().diagnostics().told.front().text)));
    findControl<QToolButton>(*window, "Dismiss")->click();
    EXPECT_FALSE(showsWords(*window, "could not be read"));
}

TEST_F(EditorWindowPartsTest, AWholeDocumentOpensWithoutANotice)
{
    const std::string path = folder.path("whole.larkspool");
    DocumentFile whole{TweenDocument()};
    whole.save(documentOf({boxAt(1, 0, 0)}), path);
    open(DocumentFile::open(path));
    EXPECT_FALSE(showsWords(*window, "could not be read"));
}

TEST_F(EditorWindowPartsTest, F6GoesRoundThePartsOfTheWindow)
{
    open({boxAt(1, 0, 0)});
    window->canvas().setFocus();
    const auto isIn = [&](QWidget& region) {
        const QWidget* focus = window->focusWidget();
        return focus && (focus == &region || region.isAncestorOf(focus));
    };
    QTest::keyClick(window.get(), Qt::Key_F6);
    EXPECT_TRUE(isIn(part<SceneStripView>())) << focusName(*window).toStdString();
    for (int i = 0; i < 2; ++i) QTest::keyClick(window.get(), Qt::Key_F6);
    EXPECT_TRUE(isIn(part<InspectorTabs>())) << focusName(*window).toStdString();
    for (int i = 0; i < 2; ++i) QTest::keyClick(window.get(), Qt::Key_F6);
    EXPECT_TRUE(isIn(part<LayerPanelView>())) << focusName(*window).toStdString();
    QTest::keyClick(window.get(), Qt::Key_F6);
    EXPECT_TRUE(window->canvas().hasFocus());
    QTest::keyClick(window.get(), Qt::Key_F6, Qt::ShiftModifier);
    EXPECT_TRUE(isIn(part<LayerPanelView>()));
}

TEST_F(EditorWindowPartsTest, TheDragModeIsSwitchedBesideASelectionThatHasAPath)
{
    open({boxOnAPath(1), boxAt(2, 100, 100)});
    editor().selectLayers({idOf(2)});
    window->refresh();
    EXPECT_EQ(findControl<QToolButton>(window->canvas(), "Move whole path"), nullptr) << "no keyframes of x or y";
    editor().selectLayers({idOf(1)});
    window->refresh();
    auto* movePath = findControl<QToolButton>(window->canvas(), "Move whole path");
    auto* setKeyframe = findControl<QToolButton>(window->canvas(), "Set keyframe at playhead");
    ASSERT_NE(movePath, nullptr);
    EXPECT_TRUE(setKeyframe->isChecked());
    EXPECT_EQ(movePath->toolTip(), "Move whole path. Dragging shifts every X/Y keyframe by the same offset, preserving the "
                                   "existing animation.");
    const CGPoint corner = window->canvas().sceneFit().viewFromScene({1000, 400});
    EXPECT_NEAR(movePath->parentWidget()->x(), corner.x + 12, 1);
    EXPECT_NEAR(movePath->parentWidget()->y(), corner.y, 1);

    movePath->click();
    EXPECT_FALSE(defaults.boolean(DefaultsKey::keyframeAtPlayhead));
    EXPECT_TRUE(movePath->isChecked());
    EXPECT_FALSE(setKeyframe->isChecked());
}

TEST_F(EditorWindowPartsTest, ZoomingInKeepsThePivotOfTheSelectedLayer)
{
    open({boxAt(1, 300, 200)});
    editor().selectLayers({idOf(1)});
    window->refresh();
    const CGPoint pivot{300 + 100, 200 + 50}; // The middle, where anchors are at first.
    CanvasView& canvas = window->canvas();
    const CGPoint before = canvas.sceneFit().viewFromScene(pivot);
    window->perform(Command::zoomIn);
    const CGPoint after = canvas.sceneFit().viewFromScene(pivot);
    EXPECT_NEAR(after.x, before.x, 1e-6);
    EXPECT_NEAR(after.y, before.y, 1e-6);
    EXPECT_GT(canvas.zoom(), 0.81);
}

TEST_F(EditorWindowPartsTest, ThePaletteIsPoppedOutAndComesBackWhenItsWindowCloses)
{
    open();
    const auto docked = [&] {
        for (QWidget* child : window->canvas().findChildren<QWidget*>())
            if (dynamic_cast<LayerPaletteView*>(child) && child->isVisible()) return true;
        return false;
    };
    const auto itsWindow = [&]() -> QWidget* {
        for (QWidget* top : QApplication::topLevelWidgets())
            if (dynamic_cast<LayerPaletteWindow*>(top) && top->isVisible()) return top;
        return nullptr;
    };
    EXPECT_TRUE(docked());
    findControl<QToolButton>(*window, "Pop Out Palette")->click();
    EXPECT_FALSE(docked());
    ASSERT_NE(itsWindow(), nullptr);
    findControl<QToolButton>(*itsWindow(), "Ellipse")->click();
    ASSERT_EQ(editor().scene().layers.size(), 1u);
    EXPECT_EQ(editor().scene().layers[0].kind, Layer::Kind::ellipse);
    itsWindow()->close();
    EXPECT_TRUE(docked());
    EXPECT_EQ(itsWindow(), nullptr);
}

TEST_F(EditorWindowPartsTest, WhatIsDraggedOutOfThePaletteIsAddedWhereItIsDropped)
{
    open();
    CanvasView& canvas = window->canvas();
    QMimeData data;
    data.setData("application/x-larkspool-palette-item", "lks-palette:rectangle");
    const CGPoint there = canvas.sceneFit().viewFromScene({500, 300});
    QDragEnterEvent enter({static_cast<int>(there.x), static_cast<int>(there.y)}, Qt::CopyAction, &data, Qt::LeftButton,
                          Qt::NoModifier);
    QApplication::sendEvent(&canvas, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(there.x, there.y), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&canvas, &drop);
    ASSERT_EQ(editor().scene().layers.size(), 1u);
    const Layer& added = editor().scene().layers[0];
    EXPECT_NEAR(added.transform.x + added.size.width / 2, 500, 1);
    EXPECT_NEAR(added.transform.y + added.size.height / 2, 300, 1);
}

TEST_F(EditorWindowPartsTest, EscapeWhileALayerIsRenamedKeepsItsNameAndThePlayhead)
{
    open({boxAt(1, 0, 0)});
    editor().selectLayers({idOf(1)});
    editor().setPlayhead(1);
    window->refresh();
    window->perform(Command::renameLayer);
    auto* field = findControl<QLineEdit>(part<LayerPanelView>(), "Name");
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, "Another");
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_FALSE(field->isVisible());
    EXPECT_EQ(editor().scene().layers[0].name.string(), "Box 1");
    EXPECT_EQ(editor().state().playhead, 1);
}

TEST_F(EditorWindowPartsTest, TabWhileALayerIsRenamedGoesOnToTheNextRow)
{
    open({boxAt(1, 0, 0), boxAt(2, 0, 0)}); // The second lies in front: it is the upper row.
    editor().selectLayers({idOf(2)});
    window->refresh();
    window->perform(Command::renameLayer);
    auto* field = findControl<QLineEdit>(part<LayerPanelView>(), "Name");
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, "Front");
    QTest::keyClick(field, Qt::Key_Tab);
    ASSERT_TRUE(field->isVisible());
    QTest::keyClicks(field, "Back");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(findLayer(editor().scene(), idOf(2))->name.string(), "Front");
    EXPECT_EQ(findLayer(editor().scene(), idOf(1))->name.string(), "Back");
}

TEST_F(EditorWindowPartsTest, AGroupCanBeClosedOverTheLayerThatIsSelectedInIt)
{
    Layer group{.id = idOf(1), .name = "Rows", .kind = Layer::Kind::group};
    group.children = {boxAt(2, 0, 0)};
    open({group});
    editor().selectLayers({idOf(2)});
    window->refresh();
    LayerList& list = part<LayerList>();
    EXPECT_EQ(list.items().size(), 2u) << "what becomes selected can be seen";
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Left); // To the group,
    QTest::keyClick(&list, Qt::Key_Left); // which closes.
    EXPECT_EQ(list.items().size(), 1u);
    window->refresh();
    EXPECT_EQ(list.items().size(), 1u);
}

TEST_F(EditorWindowPartsTest, SearchShowsTheLayersWithTheWordsWhateverGroupTheyLieIn)
{
    Layer group{.id = idOf(1), .name = "Rows", .kind = Layer::Kind::group};
    group.children = {boxAt(2, 0, 0), boxAt(3, 0, 0)};
    open({group, boxAt(4, 0, 0)});
    LayerList& list = part<LayerList>();
    EXPECT_EQ(list.items().size(), 2u) << "the group is closed";
    findControl<QToolButton>(*window, "Search Layers")->click();
    auto* field = findControl<QLineEdit>(part<LayerPanelView>(), "Search Layers");
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, "box 3");
    ASSERT_EQ(list.items().size(), 1u);
    EXPECT_EQ(list.items()[0].name, "Box 3");
    findControl<QToolButton>(*window, "Search Layers")->click();
    EXPECT_EQ(list.items().size(), 2u);
}

TEST_F(EditorWindowPartsTest, ArrowStepCommandsStepTheFieldThatHasTheKeyboard)
{
    open({boxAt(1, 300, 200)});
    editor().selectLayers({idOf(1)});
    window->refresh();
    auto* x = findControl<QLineEdit>(part<InspectorTabs>(), "X");
    ASSERT_NE(x, nullptr);
    x->setFocus();
    workspace.center.post("LKSArrowStepUp");
    EXPECT_EQ(editor().scene().layers[0].transform.x, 301);
    workspace.center.post("LKSArrowStepDown");
    workspace.center.post("LKSArrowStepDown");
    EXPECT_EQ(editor().scene().layers[0].transform.x, 299);
    window->canvas().setFocus();
    workspace.center.post("LKSArrowStepDown");
    EXPECT_EQ(editor().scene().layers[0].transform.x, 299);
}

TEST_F(EditorWindowPartsTest, TheStripIsWorkedByTheKeyboard)
{
    TweenDocument document;
    document.addScene();
    document.activeSceneIndex = 0;
    open(DocumentFile(document));
    SceneStripView& strip = part<SceneStripView>();
    strip.setFocus(Qt::TabFocusReason);
    // Scene, transition, scene.
    QTest::keyClick(&strip, Qt::Key_Right);
    QTest::keyClick(&strip, Qt::Key_Right);
    QTest::keyClick(&strip, Qt::Key_Return);
    EXPECT_EQ(editor().state().document.clampedActiveSceneIndex(), 1u);
    const UUID second = editor().scene().id;
    QTest::keyClick(&strip, Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(editor().state().document.scenes[0].id, second) << "Alt and an arrow move the scene";
    QTest::keyClick(&strip, Qt::Key_F2);
    auto* field = findControl<QLineEdit>(strip, "Name");
    ASSERT_NE(field, nullptr);
    QTest::keyClicks(field, "Opening");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(editor().state().document.scenes[0].displayName(0), "Opening");
    strip.setFocus(Qt::TabFocusReason);
    QTest::keyClick(&strip, Qt::Key_Delete);
    EXPECT_EQ(editor().state().document.scenes.size(), 1u);
    QTest::keyClick(&strip, Qt::Key_Delete);
    EXPECT_EQ(editor().state().document.scenes.size(), 1u) << "the only scene stays";
}

TEST_F(EditorWindowPartsTest, TheRowsOfLayersAreReadToThoseWhoCannotSeeThem)
{
    Layer group{.id = idOf(1), .name = "Rows", .kind = Layer::Kind::group};
    group.children = {boxAt(2, 0, 0)};
    Layer hidden = boxOnAPath(3);
    hidden.isHidden = true;
    open({group, hidden});
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&part<LayerList>());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->text(QAccessible::Name), "Layers");
    ASSERT_GE(list->childCount(), 2);
    QAccessibleInterface* first = list->child(0);
    EXPECT_EQ(first->role(), QAccessible::TreeItem);
    EXPECT_EQ(first->text(QAccessible::Name), "Box 3");
    EXPECT_EQ(first->text(QAccessible::Description), "rectangle, hidden, animated");
    EXPECT_EQ(first->parent(), list);
    EXPECT_EQ(list->indexOfChild(first), 0);
    EXPECT_FALSE(first->state().expandable);
    EXPECT_TRUE(list->child(1)->state().collapsed);
    const QPoint middle = first->rect().center();
    EXPECT_EQ(list->childAt(middle.x(), middle.y()), first);

    first->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(editor().state().selectedLayerIDs, LayerIDs{idOf(3)});
    EXPECT_TRUE(first->state().selected);

    editor().mutate("Delete", [](TweenScene& scene) { scene.layers = {}; });
    window->refresh();
    EXPECT_FALSE(first->isValid()) << "a row that is gone";
}

TEST_F(EditorWindowPartsTest, TheItemsOfTimeAreReadToThoseWhoCannotSeeThem)
{
    open({boxOnAPath(1)});
    editor().selectLayers({idOf(1)});
    window->refresh();
    auto* rows = window->findChild<QWidget*>("timelineTracks");
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(rows);
    ASSERT_NE(list, nullptr);
    QStringList names;
    for (const AccessibleItem& item : dynamic_cast<AccessibleItems&>(*rows).items()) names << item.name;
    EXPECT_TRUE(names.contains("X keyframe, Box 1, 0.00s")) << names.join(" | ").toStdString();
    EXPECT_TRUE(names.contains("X keyframe, Box 1, 2.00s"));
    QAccessibleInterface* keyframe = list->child(static_cast<int>(names.indexOf("X keyframe, Box 1, 2.00s")));
    keyframe->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(editor().state().timelineSelection.size(), 1u);
    EXPECT_TRUE(keyframe->state().selected);
}

TEST_F(EditorWindowPartsTest, TheChipsOfTheStripAreReadToThoseWhoCannotSeeThem)
{
    TweenDocument document;
    document.addScene();
    open(DocumentFile(document));
    SceneStripView& strip = part<SceneStripView>();
    QStringList names;
    for (const AccessibleItem& item : strip.items()) names << item.name;
    ASSERT_EQ(names.size(), 5) << names.join(" | ").toStdString();
    EXPECT_EQ(names[1], "Transition: No transition");
    EXPECT_EQ(names[3], "Add Scene");
    EXPECT_EQ(names[4], "Music");
    strip.items()[0].press();
    EXPECT_EQ(editor().state().document.clampedActiveSceneIndex(), 0u);
}

TEST_F(EditorWindowPartsTest, TheTabsOfTheInspectorComeWithTheAssistant)
{
    open();
    InspectorTabs& tabs = part<InspectorTabs>();
    EXPECT_EQ(findControl<QAbstractButton>(tabs, "Assistant"), nullptr);
    defaults.set(DefaultsKey::assistantEnabled, true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return findControl<QAbstractButton>(tabs, "Assistant") != nullptr; }));
    findControl<QAbstractButton>(tabs, "Assistant")->click();
    EXPECT_EQ(tabs.tab(), InspectorTab::assistant);
    defaults.set(DefaultsKey::assistantEnabled, false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return tabs.tab() == InspectorTab::properties; }));
}

TEST_F(EditorWindowPartsTest, EveryControlHasANameAndTheKeyboardReachesIt)
{
    open({boxOnAPath(1)});
    editor().selectLayers({idOf(1)});
    window->refresh();
    for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        if (!button->isVisible()) continue;
        EXPECT_FALSE(button->accessibleName().isEmpty() && button->text().isEmpty()) << button->toolTip().toStdString();
        EXPECT_TRUE(button->focusPolicy() & Qt::TabFocus)
            << button->accessibleName().toStdString() << button->text().toStdString();
    }
    for (const QLineEdit* edit : window->findChildren<QLineEdit*>())
        if (edit->isVisible()) {
            EXPECT_FALSE(edit->accessibleName().isEmpty());
        }
}

} // namespace
} // namespace larkspool
