#include "editing/scene_lookup.h"
#include "shell/panels.h"
#include "support/memory_user_defaults.h"
#include "support/png_bytes.h"
#include "support/test_media.h"
#include "timeline/ripple_settings.h"
#include "views/canvas_view.h"
#include "views/editor_window.h"
#include "views/find_control.h"
#include "views/layer_panel_view.h"
#include "views/scene_strip_view.h"
#include "views/sheet.h"
#include "views/window_test.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

// Every command, given by its menu item and by its notification with two windows open: it does what it says in the front one
// alone. Where it cannot be given, its item says why, and what it says is so.

namespace larkspool {
namespace {

using testing::ElementsAre;

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

const UUID box = idOf(1), ball = idOf(2), text = idOf(3), photo = idOf(4), film = idOf(5), group = idOf(6), inside = idOf(7);
const TimelineItemRef boxSpan = TimelineItemRef::span(box, idOf(11)), ballSpan = TimelineItemRef::span(ball, idOf(12));

Layer layerOf(const UUID& id, Layer::Kind kind, double x, double y)
{
    Layer layer{.id = id, .name = "Layer", .kind = kind};
    layer.transform.x = x;
    layer.transform.y = y;
    layer.size = {40, 20};
    return layer;
}

/// Small and short, so that a film of it is soon made. From back to front: a box (1–3 seconds), a ball (5–7 seconds), a text with
/// a name of its own, a picture, a video without a file, and a group of one box.
TweenDocument sampleDocument()
{
    Layer back = layerOf(box, Layer::Kind::rectangle, 10, 10), round = layerOf(ball, Layer::Kind::ellipse, 60, 30);
    back.spans = {TimeSpan{.id = idOf(11), .start = 1, .end = 3}};
    back.fill = {1, 0, 0, 1};
    round.spans = {TimeSpan{.id = idOf(12), .start = 5, .end = 7}};
    Layer words = layerOf(text, Layer::Kind::text, 20, 50);
    words.text = "Pay by card";
    words.nameFollowsText = false;
    Layer picture = layerOf(photo, Layer::Kind::image, 100, 10);
    picture.imageData = Bytes(pngBytes({.width = 20, .height = 10, .samples = std::vector<std::uint8_t>(20 * 10 * 3, 200)}));
    Layer group_ = layerOf(group, Layer::Kind::group, 100, 60);
    group_.children = {layerOf(inside, Layer::Kind::rectangle, 0, 0)};
    TweenScene scene{.id = idOf(100), .width = 160, .height = 90, .fps = 10, .duration = 8};
    scene.layers = {back, round, words, picture, layerOf(film, Layer::Kind::video, 120, 60), group_};
    TweenDocument document;
    document.scenes = {scene};
    return document;
}

/// What is seen of a window and its document.
struct Seen {
    TweenDocument document;
    double playhead = 0, zoom = 1;
    LayerIDs layers;
    TimelineSelection items;
    bool isTimelineZoomed = false, isPlaying = false, isVisible = false, isEdited = false;
    std::size_t undoCount = 0, redoCount = 0;
    QString sheet, file;
    bool showsAssistant = false, renames = false;

    bool operator==(const Seen&) const = default;
};

/// The name of the sheet over the window; empty for none.
QString sheetOver(const EditorWindow& window)
{
    for (const QWidget* child : window.findChildren<QWidget*>())
        if (dynamic_cast<const Sheet*>(child) && !child->isHidden()) return child->accessibleName();
    return {};
}

template <typename Part>
QWidget* partOf(const EditorWindow& window)
{
    for (QWidget* child : window.findChildren<QWidget*>())
        if (dynamic_cast<const Part*>(child)) return child;
    return nullptr;
}

bool isRenaming(const EditorWindow& window)
{
    return findControl<QLineEdit>(*partOf<LayerPanelView>(window), "Name") != nullptr;
}

Seen look(EditorWindow& window)
{
    const EditorState& state = window.editor().state();
    return {.document = state.document,
            .playhead = state.playhead,
            .zoom = window.canvas().zoom(),
            .layers = state.selectedLayerIDs,
            .items = state.timelineSelection,
            .isTimelineZoomed = state.zoomedIn,
            .isPlaying = window.playback().isPlaying(),
            .isVisible = window.isVisible(),
            .isEdited = window.isWindowModified(),
            .undoCount = window.editor().undoManager().undoCount(),
            .redoCount = window.editor().undoManager().redoCount(),
            .sheet = sheetOver(window),
            .file = QString::fromStdString(window.file().path()),
            .showsAssistant = findControl<QPlainTextEdit>(window, "Message") != nullptr,
            .renames = isRenaming(window)};
}

/// Two windows of one program, and what is asked of the program itself.
class Desk {
public:
    Desk()
    {
        DocumentFile(TweenDocument()).save(sampleDocument(), path());
        workspace.performForApplication = [this](Command command) { asked.push_back(command); };
        workspace.runOpenPanel = [this](const OpenPanel& panel) {
            panels.push_back(panel.message);
            return std::vector<std::string>();
        };
        workspace.runAlert = [](const Alert& alert) { return alert.cancelButton; }; // Of the video that is missing.
        front = openWindow(DocumentFile::open(path()));
        other = openWindow(DocumentFile(sampleDocument()));
        QApplication::processEvents();
    }
    ~Desk()
    {
        delete front;
        delete other;
    }

    std::string path() const { return folder.path("Board.larkspool"); }
    EditorView& editor() { return front->editor(); }
    TweenScene scene() { return editor().scene(); }
    Layer layer(const UUID& id) { return *findLayer(held = scene(), id); }
    std::string undoName() { return editor().undoManager().undoActionName(); }

    /// @name Before the command.
    /// @{
    void select(LayerIDs layers) { editor().selectLayers(std::move(layers)); }
    void selectItems(TimelineSelection items) { editor().selectTimelineItems(std::move(items)); }
    void at(double seconds) { editor().setPlayhead(seconds); }
    void edit()
    {
        editor().mutate("Edit", [](TweenScene& scene) { scene.endPause = 3; });
    }
    /// Answers the next dialog, and keeps its title.
    void answerDialog()
    {
        whenThere([this] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog) return false;
            askedBy = dialog->parentWidget();
            auto* files = qobject_cast<QFileDialog*>(dialog);
            dialogTitle = files ? files->windowTitle() : qobject_cast<QMessageBox*>(dialog)->text();
            files ? files->reject() : qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::Yes)->click();
            return true;
        });
    }
    /// Gives the command, for what it leaves.
    void give(Command command)
    {
        workspace.registry.setPrimaryID(front->instanceID());
        front->perform(command);
    }
    /// @}

    /// Tries again and again until it has come about, also while a dialog or a menu is open.
    void whenThere(std::function<bool()> attempt)
    {
        auto* timer = new QTimer(front);
        QObject::connect(timer, &QTimer::timeout, timer, [timer, attempt = std::move(attempt)] {
            timer->stop();
            if (attempt())
                timer->deleteLater();
            else
                timer->start();
        });
        timer->start(2);
    }

    /// The menu item of the command; null if it has none.
    QAction* menuItem(Command command) const
    {
        const QString title = QString::fromStdString(commandTitle(command, {})).replace('&', "&&");
        for (QAction* menu : front->findChild<QMenuBar*>()->actions())
            for (QAction* action : menu->menu()->actions()) {
                const bool isIt = action->text() == title || ((command == Command::undo || command == Command::redo) &&
                                                              action->text().startsWith(title + " "));
                if (isIt) return action->menu() ? action->menu()->actions().front() : action; // "Rectangle" of those to insert.
            }
        return nullptr;
    }

    /// The windows as they are before the command.
    void settle()
    {
        front->refresh();
        other->refresh();
        QApplication::processEvents();
        workspace.registry.setPrimaryID(front->instanceID()); // The platform without a screen activates windows as it likes.
        before = look(*front);
        otherBefore = look(*other);
    }

    const TemporaryFolder folder;
    MemoryUserDefaults defaults;
    MemoryPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    QPointer<EditorWindow> front, other;
    std::vector<Command> asked;
    std::vector<std::string> panels;
    QString dialogTitle;
    QWidget* askedBy = nullptr;
    Seen before, otherBefore;

private:
    EditorWindow* openWindow(DocumentFile file)
    {
        auto* window = new EditorWindow(std::move(file), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->show();
        (void)QTest::qWaitForWindowExposed(window);
        return window;
    }

    TweenScene held;
};

/// How a command is tried.
struct Row {
    Command command;
    std::function<void(Desk& desk)> prepare;
    /// What the command brings about; it is not so before.
    std::function<bool(Desk& desk)> isDone;
    const char* never = nullptr; ///< Why this program cannot do it at all, instead.
};

const auto nothing = [](Desk&) {};
auto selecting(LayerIDs layers)
{
    return [layers](Desk& desk) { desk.select(layers); };
}
auto selectingItems(TimelineSelection items, double playhead)
{
    return [items, playhead](Desk& desk) {
        desk.selectItems(items);
        desk.at(playhead);
    };
}
/// An edit of that name, which changes the scene.
auto edits(const char* name)
{
    return [name](Desk& desk) {
        return desk.undoName() == name && desk.editor().undoManager().undoCount() == desk.before.undoCount + 1 &&
               !(desk.editor().state().document == desk.before.document);
    };
}
auto opens(const char* sheet)
{
    return [sheet](Desk& desk) { return sheetOver(*desk.front) == sheet; };
}
auto asks(Command command)
{
    return [command](Desk& desk) { return desk.asked == std::vector{command}; };
}
bool isAsSaved(EditorWindow& window)
{
    return window.editor().state().document.scenes == window.file().saved().scenes;
}
auto switches(Panel panel)
{
    return [panel](Desk& desk) { return !isVisible(desk.defaults, panel); };
}
auto goesTo(double seconds)
{
    return [seconds](Desk& desk) { return std::abs(desk.editor().state().playhead - seconds) < 1e-9; };
}

const std::vector<Row>& rows()
{
    using enum Command;
    static const std::vector<Row> table = {
        {showWelcome, nothing, asks(showWelcome)},
        {checkForUpdates, nothing, {}, "New versions come with the packages of your system."},
        {showSettings, nothing, asks(showSettings)},
        {quit, nothing, asks(quit)},

        {newDocument, nothing, asks(newDocument)},
        {openDocument, nothing, asks(openDocument)},
        {closeWindow, nothing, [](Desk& d) { return !d.front->isVisible(); }},
        {saveDocument, [](Desk& d) { d.edit(); },
         [](Desk& d) { return !d.front->isWindowModified() && DocumentFile::open(d.path()).saved().scene().endPause == 3; }},
        {saveDocumentAs, [](Desk& d) { d.answerDialog(); },
         [](Desk& d) { return d.dialogTitle == "Save As" && d.askedBy == d.front; }},
        {revertDocument,
         [](Desk& d) {
             d.edit();
             d.answerDialog();
         },
         [](Desk& d) { return d.askedBy == d.front && isAsSaved(*d.front) && d.undoName() == "Revert"; }},
        {exportMP4, nothing, opens("Export MP4")},
        {quickRender, nothing, opens("Quick Render")},
        {quickRenderFromPlayhead, [](Desk& d) { d.at(7); }, opens("Quick Render")},

        {undo, [](Desk& d) { d.edit(); }, [](Desk& d) { return isAsSaved(*d.front); }},
        {redo,
         [](Desk& d) {
             d.edit();
             d.editor().undo();
         },
         [](Desk& d) { return d.scene().endPause == 3; }},
        {cut, selecting({box}),
         [](Desk& d) { return edits("Delete Layer")(d) && d.pasteboard.data("com.quorbel.Larkspool.layers").has_value(); }},
        {copy, selecting({box}), [](Desk& d) { return d.pasteboard.data("com.quorbel.Larkspool.layers").has_value(); }},
        {paste,
         [](Desk& d) {
             d.select({box});
             d.give(copy);
         },
         [](Desk& d) { return edits("Paste")(d) && d.scene().layers.size() == 7; }},
        {selectAll, [](Desk& d) { d.at(2); }, [](Desk& d) { return d.editor().state().timelineSelection.contains(boxSpan); }},
        {duplicate, selecting({box}), edits("Duplicate Layer")},
        {deleteSelection, selecting({box}), edits("Delete Layer")},
        {copyProperties, selecting({box}), [](Desk& d) { return d.workspace.styles.snapshot.has_value(); }},
        {pasteProperties,
         [](Desk& d) {
             d.select({box});
             d.give(copyProperties);
             d.select({ball});
         },
         [](Desk& d) { return d.layer(ball).fill == d.layer(box).fill; }},
        {pastePropertiesPositioned,
         [](Desk& d) {
             d.select({box});
             d.give(copyProperties);
             d.select({ball});
         },
         [](Desk& d) { return d.layer(ball).transform.x == d.layer(box).transform.x; }},

        {zoomIn, nothing, [](Desk& d) { return d.front->canvas().zoom() > d.before.zoom; }},
        {zoomOut, nothing, [](Desk& d) { return d.front->canvas().zoom() < d.before.zoom; }},
        {zoomReset, [](Desk& d) { d.front->canvas().zoomTo(2); }, [](Desk& d) { return d.front->canvas().zoom() == 1; }},
        {fitSelection,
         [](Desk& d) {
             d.select({box});
             d.at(2);
         },
         [](Desk& d) { return d.front->canvas().zoom() > d.before.zoom; }},
        {toggleLayers, nothing, switches(Panel::layers)},
        {toggleInspector, nothing, switches(Panel::inspector)},
        {toggleTimeline, nothing, switches(Panel::timeline)},
        {toggleSceneStrip, nothing, switches(Panel::sceneStrip)},
        {toggleAssistant,
         [](Desk& d) {
             d.defaults.set(DefaultsKey::assistantEnabled, true);
             d.defaults.set(DefaultsKey::assistantAPIKey, std::string("key-0123456789"));
         },
         [](Desk& d) { return findControl<QPlainTextEdit>(*d.front, "Message") != nullptr; }},
        {toggleAllChrome, nothing,
         [](Desk& d) {
             return d.defaults.boolean(DefaultsKey::collapsedLayers) && d.defaults.boolean(DefaultsKey::collapsedInspector) &&
                    d.defaults.boolean(DefaultsKey::collapsedTimeline) && partOf<LayerPanelView>(*d.front)->isHidden();
         }},
        {hideOffCanvas, nothing, [](Desk& d) { return d.defaults.boolean(DefaultsKey::hideOffCanvas); }},

        {togglePlay, nothing, [](Desk& d) { return d.front->playback().isPlaying(); }},
        {rewind, [](Desk& d) { d.at(2); }, goesTo(0)},
        {stepBack, [](Desk& d) { d.at(2); }, goesTo(1.9)},
        {stepForward, [](Desk& d) { d.at(2); }, goesTo(2.1)},
        {addKeyframe, selecting({box}), edits("Add Keyframes")},
        {spanIn, selectingItems({boxSpan}, 1.5), edits("Set In")},
        {spanOut, selectingItems({boxSpan}, 2.5), edits("Set Out")},
        {showRetime, nothing, opens("Retime")},
        {toggleTimelineZoom, nothing, [](Desk& d) { return d.editor().state().zoomedIn != d.before.isTimelineZoomed; }},
        {moveToPlayhead, selectingItems({boxSpan}, 4), edits("Move to Playhead")},
        {showMoveModal, selectingItems({boxSpan}, 0), opens("Move Selection")},
        {showDilateModal, selectingItems({boxSpan, ballSpan}, 0), opens("Dilate Selection")},
        {distributeSpans, selectingItems({boxSpan, ballSpan}, 0), opens("Distribute Spans")},
        {staggerSpans, selectingItems({boxSpan, ballSpan}, 0), opens("Stagger Spans")},
        {cycleRipple, selectingItems({boxSpan}, 0),
         [](Desk& d) { return editorRippleMode(d.defaults) != TimelineRippleMode::none; }},

        {Command::group, selecting({box, ball}), edits("Group")},
        {ungroup, selecting({larkspool::group}), edits("Ungroup")},
        {bringToFront, selecting({box}), edits("Bring to Front")},
        {bringForward, selecting({box}), edits("Bring Forward")},
        {sendBackward, selecting({ball}), edits("Send Backward")},
        {sendToBack, selecting({text}), edits("Send to Back")},
        {alignLeft, selecting({box, ball}), edits("Align")},
        {alignHCenter, selecting({box, ball}), edits("Align")},
        {alignRight, selecting({box, ball}), edits("Align")},
        {alignTop, selecting({box, ball}), edits("Align")},
        {alignVCenter, selecting({box, ball}), edits("Align")},
        {alignBottom, selecting({box, ball}), edits("Align")},
        {distributeH, selecting({box, ball, photo}), edits("Distribute Horizontally")},
        {distributeV, selecting({box, ball, film}), edits("Distribute Vertically")},
        {mixAndMatch, selecting({box, ball}), opens("Mix & Match")},

        {insertLayerOfKind, nothing, edits("Add Rectangle")},

        {hideToggle, selecting({box}), [](Desk& d) { return d.layer(box).isHidden; }},
        {lockToggle, selecting({box}), [](Desk& d) { return d.layer(box).isLocked; }},
        {renameLayer, selecting({box}), [](Desk& d) { return isRenaming(*d.front); }},
        {resetLayerName, selecting({text}),
         [](Desk& d) { return edits("Rename Layer")(d) && d.layer(text).name == "Pay by card"; }},
        {replaceImage, selecting({photo}), [](Desk& d) { return d.panels.size() == 1; }},
        {replaceVideo, selecting({film}), [](Desk& d) { return d.panels.size() == 1; }},
        {replaceFont, nothing, opens("Replace Font")},
        {showCropEditor, selecting({photo}), opens("Crop")},
        {drillIntoGroup, selecting({larkspool::group}),
         [](Desk& d) { return d.editor().state().selectedLayerIDs == LayerIDs{inside}; }},
        {resetTimeline, selecting({box}), [](Desk& d) { return d.layer(box).spans.empty(); }},
        {arrowStepUp,
         [](Desk& d) {
             d.select({box});
             d.front->refresh();
             d.front->activateWindow();
             findControl<QLineEdit>(*d.front, "X")->setFocus();
         },
         [](Desk& d) { return d.layer(box).transform.x == 11; }},
        {arrowStepDown,
         [](Desk& d) {
             d.select({box});
             d.front->refresh();
             d.front->activateWindow();
             findControl<QLineEdit>(*d.front, "X")->setFocus();
         },
         [](Desk& d) { return d.layer(box).transform.x == 9; }},
    };
    return table;
}

enum class Road { menu, notification };

/// Gives the command by that road, and looks at both windows.
void tryRow(const Row& row, Road road)
{
    Desk desk;
    row.prepare(desk);
    desk.settle();
    QAction* const item = desk.menuItem(row.command);
    if (row.never) {
        ASSERT_TRUE(item);
        EXPECT_FALSE(item->isEnabled());
        EXPECT_EQ(item->toolTip(), row.never);
        return;
    }
    ASSERT_FALSE(row.isDone(desk)) << "it is so before";
    if (road == Road::menu) {
        ASSERT_TRUE(item);
        ASSERT_TRUE(item->isEnabled()) << item->toolTip().toStdString();
        item->trigger();
    } else {
        desk.workspace.center.post(commandInfo(row.command).notification);
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return row.isDone(desk); }, 5000));
    EXPECT_TRUE(look(*desk.other) == desk.otherBefore) << "the other window";
}

/// The names that a notification of an editor can have, as they stand in the table of them.
const std::set<std::string> namesOfCommands = {"LKSTogglePlay",
                                               "LKSRewind",
                                               "LKSStepBack",
                                               "LKSStepForward",
                                               "LKSAddKeyframe",
                                               "LKSExportMP4",
                                               "LKSQuickRender",
                                               "LKSDelete",
                                               "LKSDuplicate",
                                               "LKSCut",
                                               "LKSCopy",
                                               "LKSPaste",
                                               "LKSSelectAll",
                                               "LKSZoomIn",
                                               "LKSZoomOut",
                                               "LKSZoomReset",
                                               "LKSFitSelection",
                                               "LKSToggleLayers",
                                               "LKSToggleInspector",
                                               "LKSToggleTimeline",
                                               "LKSToggleSceneStrip",
                                               "LKSToggleAssistant",
                                               "LKSToggleAllChrome",
                                               "LKSToggleTimelineZoom",
                                               "LKSBringToFront",
                                               "LKSBringForward",
                                               "LKSSendBackward",
                                               "LKSSendToBack",
                                               "LKSGroup",
                                               "LKSUngroup",
                                               "LKSHideToggle",
                                               "LKSLockToggle",
                                               "LKSRenameLayer",
                                               "LKSResetLayerName",
                                               "LKSReplaceImage",
                                               "LKSReplaceVideo",
                                               "LKSReplaceFont",
                                               "LKSInsertLayerOfKind",
                                               "LKSCycleRipple",
                                               "LKSSpanIn",
                                               "LKSSpanOut",
                                               "LKSMoveToPlayhead",
                                               "LKSShowMoveModal",
                                               "LKSShowDilateModal",
                                               "LKSShowRetime",
                                               "LKSDistributeSpans",
                                               "LKSStaggerSpans",
                                               "LKSAlignLeft",
                                               "LKSAlignHCenter",
                                               "LKSAlignRight",
                                               "LKSAlignTop",
                                               "LKSAlignVCenter",
                                               "LKSAlignBottom",
                                               "LKSDistributeH",
                                               "LKSDistributeV",
                                               "LKSMixAndMatch",
                                               "LKSCopyProperties",
                                               "LKSPasteProperties",
                                               "LKSPastePropertiesPositioned",
                                               "LKSShowCropEditor",
                                               "LKSDrillIntoGroup",
                                               "LKSResetTimeline",
                                               "LKSArrowStepUp",
                                               "LKSArrowStepDown"};

TEST(CommandWalk, EveryCommandIsTriedAndEveryNameBelongsToOne)
{
    std::map<Command, int> tried;
    for (const Row& row : rows()) ++tried[row.command];
    std::set<std::string> names;
    for (const CommandInfo& info : allCommands()) {
        EXPECT_EQ(tried[info.command], 1) << info.title;
        if (!info.notification.empty()) names.insert(std::string(info.notification));
    }
    EXPECT_EQ(tried.size(), allCommands().size());
    EXPECT_EQ(names, namesOfCommands);
}

TEST(CommandWalk, EveryMenuItemActsInTheFrontWindowAlone)
{
    for (const Row& row : rows()) {
        if (commandInfo(row.command).menu == Menu::none) continue;
        SCOPED_TRACE(commandInfo(row.command).title);
        tryRow(row, Road::menu);
    }
}

TEST(CommandWalk, EveryNotificationActsInTheFrontWindowAlone)
{
    for (const Row& row : rows()) {
        if (commandInfo(row.command).notification.empty()) continue;
        SCOPED_TRACE(commandInfo(row.command).notification);
        tryRow(row, Road::notification);
    }
}

/// What stands in the menus beside the commands.
TEST(CommandWalk, EveryKindAndCursorIsInsertedByItsItemInTheFrontWindowAlone)
{
    Desk desk;
    QMenu* kinds = nullptr;
    for (QAction* menu : desk.front->findChild<QMenuBar*>()->actions())
        if (menu->text() == "Insert") kinds = menu->menu()->actions().front()->menu();
    ASSERT_TRUE(kinds);
    EXPECT_EQ(kinds->title(), "Insert Layer");
    const auto insert = [&](QAction& item, const LayerInsertion& insertion) {
        SCOPED_TRACE(item.text().toStdString());
        desk.panels.clear();
        desk.settle();
        ASSERT_TRUE(item.isEnabled());
        item.trigger();
        const bool comesOfFile = insertion.kind == Layer::Kind::image || insertion.kind == Layer::Kind::video;
        if (comesOfFile) {
            EXPECT_TRUE(QTest::qWaitFor([&] { return desk.panels.size() == 1; }, 5000));
            QTest::qWait(50); // The question is over before the next one.
        } else {
            const Array<Layer> layers = desk.scene().layers;
            ASSERT_EQ(layers.size(), desk.before.document.scene().layers.size() + 1);
            const auto isNew = [&](const Layer& layer) {
                return layer.kind == insertion.kind && desk.editor().state().selectedLayerIDs == LayerIDs{layer.id} &&
                       (layer.kind != Layer::Kind::cursor || layer.cursorVariant == insertion.cursorVariant);
            };
            EXPECT_TRUE(std::ranges::any_of(layers, isNew));
        }
        EXPECT_TRUE(look(*desk.other) == desk.otherBefore);
    };
    const QList<QAction*> items = kinds->actions();
    ASSERT_EQ(static_cast<std::size_t>(items.size()), insertItems().size() + 1);
    for (std::size_t i = 0; i < insertItems().size(); ++i) insert(*items[static_cast<int>(i)], insertItems()[i].insertion);
    ASSERT_EQ(items.back()->text(), "Cursor");
    const QList<QAction*> cursors = items.back()->menu()->actions();
    ASSERT_EQ(static_cast<std::size_t>(cursors.size()), insertCursorItems().size());
    for (std::size_t i = 0; i < insertCursorItems().size(); ++i)
        insert(*cursors[static_cast<int>(i)], insertCursorItems()[i].insertion);
}

TEST(CommandWalk, WhatAnEditorTellsOfItselfConcernsNoOther)
{
    Desk desk;
    std::vector<std::string> heard;
    std::vector<Observation> listening;
    for (const char* name : {"LKSRippleApplied", "LKSSceneCreated", "LKSEditorWindowClosing"})
        listening.push_back(desk.workspace.center.addObserver(
            name, [&](const Notification& notification) { heard.emplace_back(notification.name); }));

    desk.defaults.set(DefaultsKey::ripplePushAfter, true);
    desk.selectItems({boxSpan});
    desk.at(3.5);
    desk.settle();
    desk.front->perform(Command::spanOut);
    EXPECT_THAT(heard, ElementsAre("LKSRippleApplied"));
    EXPECT_EQ(desk.editor().rippleToastMessage(), "Ripple moved 1 other item");
    EXPECT_EQ(desk.other->editor().rippleToastMessage(), std::nullopt);
    EXPECT_TRUE(look(*desk.other) == desk.otherBefore);

    heard.clear();
    desk.whenThere([] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu) return false;
        menu->actions().front()->trigger();
        menu->close();
        return true;
    });
    QWidget* const strip = partOf<SceneStripView>(*desk.front);
    ASSERT_TRUE(strip);
    strip->setFocus(Qt::TabFocusReason);
    QTest::keyClick(strip, Qt::Key_Right); // From the one scene to what adds more.
    QTest::keyClick(strip, Qt::Key_Return);
    EXPECT_THAT(heard, ElementsAre("LKSSceneCreated"));
    EXPECT_EQ(desk.editor().state().document.scenes.size(), 2u);
    EXPECT_TRUE(look(*desk.other) == desk.otherBefore);

    heard.clear();
    desk.workspace.registry.setPrimaryID(desk.front->instanceID());
    desk.whenThere([] { // "Do you want to save the changes"
        auto* question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!question) return false;
        question->button(QMessageBox::Discard)->click();
        return true;
    });
    desk.front->close();
    EXPECT_THAT(heard, ElementsAre("LKSEditorWindowClosing"));
    EXPECT_EQ(desk.workspace.registry.primaryID(), std::nullopt);
    EXPECT_TRUE(look(*desk.other) == desk.otherBefore);
}

/// When each reason is so, told apart from how the program comes to give it.
bool isTrue(const std::string& reason, Desk& desk)
{
    const EditorState& state = desk.editor().state();
    const Array<Layer> layers = state.scene().layers;
    const auto selected = [&](const Layer& layer) { return state.selectedLayerIDs.contains(layer.id); };
    std::size_t spans = 0;
    for (const TimelineItemRef& item : state.timelineSelection) spans += item == boxSpan || item == ballSpan;
    const auto first = std::ranges::find_if(layers, selected);
    const bool isNested = first == layers.end() && !state.selectedLayerIDs.empty(); // The one box of the group.
    const std::map<std::string, bool> reasons = {
        {"New versions come with the packages of your system.", true},
        {"Finish or cancel what is open over the document first.", !sheetOver(*desk.front).isEmpty()},
        {"Nothing has changed since the document was saved.", isAsSaved(*desk.front)},
        {"There is nothing to undo.", desk.editor().undoManager().undoCount() == 0},
        {"There is nothing to redo.", desk.editor().undoManager().redoCount() == 0},
        {"Select a layer first.", state.selectedLayerIDs.empty()},
        {"Select two or more layers first.", state.selectedLayerIDs.size() < 2},
        {"Select three or more layers first.", state.selectedLayerIDs.size() < 3},
        {"Select something in the timeline first.", state.timelineSelection.empty()},
        {"Select layers, or something in the timeline, first.",
         state.timelineSelection.empty() && state.selectedLayerIDs.empty()},
        {"Select two or more spans first.", spans < 2},
        {"Select layers of one group or level first.",
         state.selectedLayerIDs.empty() || (state.selectedLayerIDs.contains(inside) && state.selectedLayerIDs.size() > 1)},
        {"Select a group first.", !state.selectedLayerIDs.contains(group)},
        {"The first selected layer is the frontmost, or in a group.", isNested || selected(layers.back())},
        {"The first selected layer is the frontmost of its level.", isNested || selected(layers.back())},
        {"The first selected layer is the backmost of its level.", isNested || selected(layers.front())},
        {"The first selected layer is the backmost, or in a group.", isNested || selected(layers.front())},
    };
    const auto found = reasons.find(reason);
    return found != reasons.end() && found->second;
}

TEST(CommandWalk, WhatCannotBeGivenSaysWhyAndItIsSo)
{
    struct State {
        const char* when;
        std::function<void(Desk& desk)> prepare;
    };
    const std::vector<State> states = {
        {"nothing is selected", nothing},
        {"the backmost", selecting({box})},
        {"the frontmost", selecting({group})},
        {"one in the middle", selecting({ball})},
        {"one in a group", selecting({inside})},
        {"of two levels", selecting({box, inside})},
        {"three layers", selecting({box, ball, text})},
        {"one span", selectingItems({boxSpan}, 0)},
        {"two spans", selectingItems({boxSpan, ballSpan}, 0)},
        {"changes", [](Desk& d) { d.edit(); }},
        {"changes taken back",
         [](Desk& d) {
             d.edit();
             d.editor().undo();
         }},
        {"a sheet", [](Desk& d) { d.give(Command::exportMP4); }},
        {"a sheet of the timeline", [](Desk& d) { d.give(Command::showRetime); }},
        {"a sheet over layers",
         [](Desk& d) {
             d.select({photo});
             d.give(Command::showCropEditor);
         }},
    };
    for (const State& state : states) {
        SCOPED_TRACE(state.when);
        Desk desk;
        state.prepare(desk);
        desk.settle();
        std::size_t disabled = 0;
        for (QAction* menu : desk.front->findChild<QMenuBar*>()->actions())
            for (QAction* item : menu->menu()->actions()) {
                if (item->isEnabled() || item->isSeparator() || item->menu()) continue;
                ++disabled;
                EXPECT_TRUE(isTrue(item->toolTip().toStdString(), desk))
                    << item->text().toStdString() << ": " << item->toolTip().toStdString();
            }
        EXPECT_GE(disabled, 1u) << "that for updates at least";
    }
}

} // namespace
} // namespace larkspool
