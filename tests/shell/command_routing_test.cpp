#include "shell/command_routing.h"

#include "shell/panels.h"
#include "support/test_editor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using enum CommandResult::Kind;

UUID idOf(std::uint64_t number)
{
    return {0, number};
}

/// A window with an editor of its own that writes down what reaches it.
struct Window {
    Window(NotificationCenter& center, const PrimaryEditorRegistry& registry, UUID id)
        : editorInstanceID(id),
          receiver(center, {.controlActive = [this] { return isActive; }, .envInstanceID = id}, registry,
                   [this](Command command, const Notification&) { heard.push_back(command); })
    {}

    UUID editorInstanceID;
    bool isActive = true;
    std::vector<Command> heard;
    EditorCommandReceiver receiver;
};

class TextField final : public TextResponder {
public:
    bool forwardToTextResponder(Command selector) override
    {
        if (!isEdited) return false;
        done.push_back(selector);
        return true;
    }

    bool isEdited = false;
    std::vector<Command> done;
};

class RoutingTest : public testing::Test {
protected:
    NotificationCenter center;
    PrimaryEditorRegistry registry{center};
    TextField text;
    Window first{center, registry, idOf(1)}, second{center, registry, idOf(2)};
};

TEST_F(RoutingTest, WithTwoWindowsACommandReachesThePrimaryOneAlone)
{
    registry.setPrimaryID(idOf(2));
    sendCommand(Command::togglePlay, center, text);
    EXPECT_THAT(first.heard, IsEmpty());
    EXPECT_THAT(second.heard, ElementsAre(Command::togglePlay));
    registry.setPrimaryID(idOf(1));
    sendCommand(Command::group, center, text);
    EXPECT_THAT(first.heard, ElementsAre(Command::group));
    EXPECT_EQ(second.heard.size(), 1u);
}

TEST_F(RoutingTest, ACommandDoesNotReachAnEditorWithASheetInFront)
{
    registry.setPrimaryID(idOf(1));
    first.isActive = false;
    sendCommand(Command::deleteSelection, center, text);
    EXPECT_THAT(first.heard, IsEmpty());
    EXPECT_THAT(second.heard, IsEmpty());
    first.isActive = true;
    sendCommand(Command::deleteSelection, center, text);
    EXPECT_THAT(first.heard, ElementsAre(Command::deleteSelection));
}

TEST_F(RoutingTest, AWindowThatClosesIsPrimaryNoMore)
{
    registry.setPrimaryID(idOf(1));
    center.post(EditorNotification::editorWindowClosing, idOf(2));
    EXPECT_EQ(registry.primaryID(), idOf(1)) << "another window has closed";
    center.post(EditorNotification::editorWindowClosing);
    EXPECT_EQ(registry.primaryID(), idOf(1)) << "nobody told which";
    center.post(EditorNotification::editorWindowClosing, idOf(1));
    EXPECT_EQ(registry.primaryID(), std::nullopt);
}

TEST(FocusedNotificationReceiveRule, AnActiveWindowReceivesUnlessAnotherIsPrimary)
{
    struct Case {
        const char* what;
        bool active;
        std::optional<UUID> window, primary;
        bool receives;
    };
    for (const Case& c :
         {Case{"the primary one", true, idOf(1), idOf(1), true}, Case{"another one", true, idOf(1), idOf(2), false},
          Case{"no primary one", true, idOf(1), {}, true}, Case{"a window without an editor", true, {}, idOf(2), true},
          Case{"no ids at all", true, {}, {}, true}, Case{"the primary one, inactive", false, idOf(1), idOf(1), false},
          Case{"inactive without ids", false, {}, {}, false}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(FocusedNotificationReceive::receives(c.active, c.window, c.primary), c.receives);
    }
}

TEST_F(RoutingTest, CutCopyAndPasteEndAtATextThatIsEdited)
{
    registry.setPrimaryID(idOf(1));
    text.isEdited = true;
    for (const Command command : {Command::cut, Command::copy, Command::paste, Command::selectAll, Command::duplicate})
        sendCommand(command, center, text);
    EXPECT_THAT(text.done, ElementsAre(Command::cut, Command::copy, Command::paste));
    EXPECT_THAT(first.heard, ElementsAre(Command::selectAll, Command::duplicate));
    text.isEdited = false;
    sendCommand(Command::paste, center, text);
    EXPECT_EQ(first.heard.back(), Command::paste);
    EXPECT_EQ(text.done.size(), 3u);
}

TEST_F(RoutingTest, EveryNotificationOfACommandReachesTheEditorOnce)
{
    registry.setPrimaryID(idOf(2));
    std::vector<Command> sent;
    for (const CommandInfo& info : allCommands()) {
        if (info.notification.empty()) continue;
        sendCommand(info.command, center, text);
        sent.push_back(info.command);
    }
    EXPECT_EQ(second.heard, sent);
    EXPECT_THAT(first.heard, IsEmpty());
}

TEST_F(RoutingTest, ThePayloadArrivesWithItsCommand)
{
    std::optional<LayerInsertion> arrived;
    const EditorCommandReceiver receiver(center, {.controlActive = [] { return true; }}, registry,
                                         [&](Command, const Notification& notification) {
                                             if (const auto* insertion = notification.as<LayerInsertion>()) arrived = *insertion;
                                         });
    const LayerInsertion wait{.kind = Layer::Kind::cursor, .cursorVariant = CursorVariant::wait};
    sendCommand(Command::insertLayerOfKind, center, text, wait);
    EXPECT_EQ(arrived, wait);
}

/// 10 seconds at 25 frames, 1000 x 800. From back to front: a rectangle (1) with two spans (11, 12) and a pulse (13), a group (2)
/// of two ellipses (3, 4), and a hidden text (5) that was renamed.
const TweenScene& sampleScene()
{
    static const TweenScene made = [] {
        Layer rectangle{.id = idOf(1), .name = "Blue Rectangle", .transform = {.x = 100, .y = 300}};
        rectangle.spans = {TimeSpan{.id = idOf(11), .start = 0, .end = 2}, TimeSpan{.id = idOf(12), .start = 3, .end = 6}};
        rectangle.pulses = {Pulse{.id = idOf(13), .time = 4}};
        Layer group{.id = idOf(2), .name = "Group", .kind = Layer::Kind::group};
        group.children = {Layer{.id = idOf(3), .name = "Blue Ellipse", .kind = Layer::Kind::ellipse},
                          Layer{.id = idOf(4), .name = "Blue Ellipse", .kind = Layer::Kind::ellipse, .transform = {.x = 500}}};
        Layer text{.id = idOf(5), .name = "Headline", .kind = Layer::Kind::text};
        text.isHidden = true;
        text.nameFollowsText = false;
        text.text = "Pay by card";
        TweenScene scene{.id = idOf(100), .width = 1000, .height = 800, .fps = 25, .duration = 10};
        scene.layers = {rectangle, group, text};
        return scene;
    }();
    return made;
}

/// An editor of the sample scene to which commands are given.
class CommandedEditor {
public:
    CommandedEditor& layers(LayerIDs ids)
    {
        view().selectLayers(std::move(ids));
        return *this;
    }
    CommandedEditor& items(TimelineSelection items)
    {
        view().selectTimelineItems(std::move(items));
        return *this;
    }
    CommandedEditor& playhead(double seconds)
    {
        view().setPlayhead(seconds);
        return *this;
    }
    CommandResult give(Command command)
    {
        return performCommand(view(), command,
                              {.pasteboard = pasteboard,
                               .styles = styles,
                               .viewportCenter = center,
                               .beep = [this] { ++beeps; },
                               .insertion = insertion});
    }
    EditorFocusedValues values() { return focusedValues(state(), view().undoManager(), styles); }

    EditorView& view() { return editor_.view(); }
    const EditorState& state() const { return editor_.state(); }
    TweenScene scene() const { return editor_.scene(); }
    const Layer* layer(std::uint64_t number) const
    {
        found_ = scene();
        return findLayer(found_, idOf(number));
    }
    /// The ids of the layers at the top, from back to front; 0 for a new one.
    std::vector<std::uint64_t> order() const
    {
        std::vector<std::uint64_t> ids;
        for (const Layer& top : scene().layers) ids.push_back(top.id.high == 0 ? top.id.low : 0);
        return ids;
    }
    std::string undoName() { return editor_.undoName(); }
    std::size_t undoCount() { return editor_.undoCount(); }

    MemoryPasteboard pasteboard;
    LayerStyleClipboard styles;
    std::optional<CGPoint> center;
    LayerInsertion insertion;
    int beeps = 0;

private:
    TestEditor editor_{sampleScene()};
    mutable TweenScene found_;
};

const TimelineItemRef firstSpan = TimelineItemRef::span(idOf(1), idOf(11)), secondSpan = TimelineItemRef::span(idOf(1), idOf(12)),
                      pulse = TimelineItemRef::pulse(idOf(1), idOf(13));

TEST(FocusedValues, CountTheSelections)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.values(), EditorFocusedValues{});
    editor.layers({idOf(1), idOf(3)}).items({firstSpan, secondSpan, pulse});
    const EditorFocusedValues values = editor.values();
    EXPECT_EQ(values.selectedLayerCount, 2u);
    EXPECT_EQ(values.contextActions.selectedCount, 2u);
    EXPECT_EQ(values.timelineSelectionCount, 3u);
    EXPECT_EQ(values.selectedSpanCount, 2u);
}

TEST(FocusedValues, TellWhatCanBeDoneWithTheLayers)
{
    struct Case {
        const char* what;
        LayerIDs selection;
        bool group, ungroup;
        ZOrderAvailability zOrder;
    };
    for (const Case& c : {Case{"the backmost", {idOf(1)}, true, false, {true, true, false, false}},
                          Case{"the group", {idOf(2)}, true, true, {true, true, true, true}},
                          Case{"the frontmost", {idOf(5)}, true, false, {false, false, true, true}},
                          Case{"nested", {idOf(3)}, true, false, {true, false, false, false}},
                          Case{"of two lists", {idOf(1), idOf(3)}, false, false, {true, true, false, false}}}) {
        SCOPED_TRACE(c.what);
        const EditorFocusedValues values = CommandedEditor().layers(c.selection).values();
        EXPECT_EQ(values.canGroupSelection, c.group);
        EXPECT_EQ(values.canUngroupSelection, c.ungroup);
        EXPECT_EQ(values.zOrder, c.zOrder);
    }
}

TEST(FocusedValues, TellOfTheFirstLayerWhatItIsAndShows)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.layers({idOf(5)}).values().contextActions, (ContextActionAvailability{.selectedCount = 1,
                                                                                           .hasPropertiesClipboard = false,
                                                                                           .primaryKind = Layer::Kind::text,
                                                                                           .canResetName = true,
                                                                                           .firstIsHidden = true,
                                                                                           .firstIsLocked = false}));
    EXPECT_EQ(editor.layers({idOf(5), idOf(2)}).values().contextActions,
              (ContextActionAvailability{.selectedCount = 2,
                                         .hasPropertiesClipboard = false,
                                         .primaryKind = Layer::Kind::group,
                                         .canResetName = true,
                                         .firstIsHidden = false,
                                         .firstIsLocked = false}));
    EXPECT_FALSE(editor.layers({idOf(2)}).values().contextActions.canResetName) << "groups have no derived name";
    EXPECT_FALSE(editor.layers({idOf(1)}).values().contextActions.canResetName) << "it follows already";
    editor.layers({idOf(1)}).give(Command::copyProperties);
    EXPECT_TRUE(editor.values().contextActions.hasPropertiesClipboard);
}

TEST(FocusedValues, KnowWhatCanBeUndone)
{
    CommandedEditor editor;
    editor.layers({idOf(1)}).give(Command::duplicate);
    EXPECT_TRUE(editor.values().canUndo);
    EXPECT_FALSE(editor.values().canRedo);
    EXPECT_EQ(editor.values().undoActionName, "Duplicate Layer");
    EXPECT_EQ(editor.values().redoActionName, "");
    editor.give(Command::undo);
    EXPECT_FALSE(editor.values().canUndo);
    EXPECT_TRUE(editor.values().canRedo);
    EXPECT_EQ(editor.values().undoActionName, "");
    EXPECT_EQ(editor.values().redoActionName, "Duplicate Layer");
}

TEST(PerformCommand, NothingIsUndoneWhileManyEditsAreGatheredIntoOneStep)
{
    CommandedEditor editor;
    editor.layers({idOf(1)}).give(Command::duplicate);
    const TweenScene before = editor.scene();
    editor.view().undoManager().beginUndoGrouping();
    EXPECT_TRUE(editor.values().isUndoGroupOpen);
    EXPECT_EQ(editor.give(Command::undo).kind, unavailable);
    EXPECT_EQ(editor.give(Command::redo).kind, unavailable);
    EXPECT_EQ(editor.scene(), before);
    editor.view().undoManager().endUndoGrouping();
    EXPECT_FALSE(editor.values().isUndoGroupOpen);
    EXPECT_EQ(editor.give(Command::undo).kind, done);
    EXPECT_EQ(editor.scene(), sampleScene());
}

TEST(PerformCommand, EachEditIsOneStepOfItsName)
{
    struct Case {
        Command command;
        LayerIDs layers;
        TimelineSelection items;
        double playhead;
        const char* undoName;
    };
    using enum Command;
    for (const Case& c :
         {Case{deleteSelection, {idOf(1)}, {}, 0, "Delete Layer"}, Case{cut, {idOf(1), idOf(5)}, {}, 0, "Delete Layers"},
          Case{duplicate, {idOf(1)}, {}, 0, "Duplicate Layer"}, Case{insertLayerOfKind, {}, {}, 0, "Add Rectangle"},
          Case{addKeyframe, {idOf(1)}, {}, 1, "Add Keyframes"}, Case{spanIn, {}, {firstSpan}, 1, "Set In"},
          Case{spanOut, {}, {firstSpan}, 1, "Set Out"}, Case{moveToPlayhead, {}, {pulse}, 1, "Move to Playhead"},
          Case{group, {idOf(1), idOf(5)}, {}, 0, "Group"}, Case{ungroup, {idOf(2)}, {}, 0, "Ungroup"},
          Case{bringToFront, {idOf(1)}, {}, 0, "Bring to Front"}, Case{bringForward, {idOf(1)}, {}, 0, "Bring Forward"},
          Case{sendBackward, {idOf(5)}, {}, 0, "Send Backward"}, Case{sendToBack, {idOf(5)}, {}, 0, "Send to Back"},
          Case{alignLeft, {idOf(1)}, {}, 0, "Align"}, Case{resetLayerName, {idOf(5)}, {}, 0, "Rename Layer"}}) {
        SCOPED_TRACE(commandInfo(c.command).title);
        CommandedEditor editor;
        editor.layers(c.layers).items(c.items).playhead(c.playhead);
        EXPECT_EQ(editor.give(c.command).kind, done);
        EXPECT_EQ(editor.undoName(), c.undoName);
        EXPECT_EQ(editor.undoCount(), 1u);
        EXPECT_NE(editor.scene(), sampleScene());
        EXPECT_EQ(editor.give(Command::undo).kind, done);
        EXPECT_EQ(editor.scene(), sampleScene());
        EXPECT_EQ(editor.give(Command::redo).kind, done);
        EXPECT_NE(editor.scene(), sampleScene());
    }
}

TEST(PerformCommand, TheOtherEditsDoWhatTheySay)
{
    CommandedEditor editor;
    editor.layers({idOf(5)}).give(Command::hideToggle);
    EXPECT_FALSE(editor.layer(5)->isHidden);
    editor.give(Command::lockToggle);
    EXPECT_TRUE(editor.layer(5)->isLocked);
    editor.layers({idOf(1)}).give(Command::resetTimeline);
    EXPECT_TRUE(editor.layer(1)->spans.empty());
    EXPECT_TRUE(editor.layer(1)->pulses.empty());
    EXPECT_EQ(editor.undoCount(), 3u);
}

TEST(PerformCommand, LayersAreRestacked)
{
    struct Case {
        Command command;
        std::uint64_t layer;
        std::vector<std::uint64_t> order;
    };
    using enum Command;
    for (const Case& c : {Case{bringToFront, 1, {2, 5, 1}}, Case{bringForward, 1, {2, 1, 5}}, Case{sendBackward, 5, {1, 5, 2}},
                          Case{sendToBack, 5, {5, 1, 2}}}) {
        SCOPED_TRACE(commandInfo(c.command).title);
        CommandedEditor editor;
        editor.layers({idOf(c.layer)}).give(c.command);
        EXPECT_EQ(editor.order(), c.order);
    }
}

TEST(PerformCommand, AlignAndDistributeGoTheirOwnWay)
{
    struct Case {
        Command command;
        CGPoint place;
    };
    using enum Command;
    // The rectangle is 200 x 200 in a scene of 1000 x 800.
    for (const Case& c : {Case{alignLeft, {0, 300}}, Case{alignHCenter, {400, 300}}, Case{alignRight, {800, 300}},
                          Case{alignTop, {100, 0}}, Case{alignBottom, {100, 600}}}) {
        SCOPED_TRACE(commandInfo(c.command).title);
        CommandedEditor editor;
        EXPECT_EQ(editor.layers({idOf(1)}).give(c.command).kind, done);
        EXPECT_EQ((CGPoint{editor.layer(1)->transform.x, editor.layer(1)->transform.y}), c.place);
    }
    CommandedEditor centred;
    EXPECT_EQ(centred.layers({idOf(1)}).give(alignVCenter).kind, nothingToDo) << "it is in the middle already";

    // Centres: 1 at (200, 400); 3 at (100, 100); 4 at (600, 100). Evenly apart, 1 comes to x = 350, and 4, the second of those at
    // y = 100, to y = 250.
    CommandedEditor across;
    EXPECT_EQ(across.layers({idOf(1), idOf(3), idOf(4)}).give(distributeH).kind, done);
    EXPECT_EQ(across.undoName(), "Distribute Horizontally");
    EXPECT_EQ(across.layer(1)->transform.x, 250);
    CommandedEditor down;
    EXPECT_EQ(down.layers({idOf(1), idOf(3), idOf(4)}).give(distributeV).kind, done);
    EXPECT_EQ(down.undoName(), "Distribute Vertically");
    EXPECT_EQ(down.layer(3)->transform.y + down.layer(4)->transform.y, 150);
    EXPECT_EQ(down.layer(1)->transform.y, 300);
}

TEST(PerformCommand, DeletesTheItemsOfTheTimelineBeforeLayers)
{
    CommandedEditor editor;
    editor.layers({idOf(1)}).items({pulse});
    EXPECT_EQ(editor.give(Command::deleteSelection).kind, done);
    EXPECT_TRUE(editor.layer(1)->pulses.empty());
    EXPECT_EQ(editor.give(Command::deleteSelection).kind, done);
    EXPECT_THAT(editor.order(), ElementsAre(2, 5));
    EXPECT_TRUE(editor.state().selectedLayerIDs.empty());
    EXPECT_EQ(editor.give(Command::deleteSelection).kind, unavailable);
}

TEST(PerformCommand, CutTakesTheLayersToThePasteboardAndPasteBringsThemBack)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.give(Command::paste).kind, nothingToDo) << "the pasteboard is empty";
    editor.layers({idOf(1)});
    EXPECT_EQ(editor.give(Command::cut).kind, done);
    EXPECT_THAT(editor.order(), ElementsAre(2, 5));
    EXPECT_EQ(editor.give(Command::paste).kind, done);
    EXPECT_EQ(editor.undoName(), "Paste");
    EXPECT_THAT(editor.order(), ElementsAre(2, 5, 0));
    EXPECT_EQ(editor.scene().layers[2].transform.x, 120);

    CommandedEditor other;
    other.layers({idOf(2)});
    EXPECT_EQ(other.give(Command::copy).kind, done);
    EXPECT_EQ(other.scene(), sampleScene());
    EXPECT_EQ(other.undoCount(), 0u);
    EXPECT_TRUE(other.pasteboard.data("com.quorbel.Larkspool.layers"));
}

TEST(PerformCommand, AStyleGoesFromLayerToLayer)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.layers({idOf(5)}).give(Command::pasteProperties).kind, unavailable);
    editor.view().mutate("Edit Opacity", [](TweenScene& scene) { editLayer(scene, idOf(1))->opacity = 0.5; });
    EXPECT_EQ(editor.layers({idOf(1)}).give(Command::copyProperties).kind, done);
    EXPECT_EQ(editor.layers({idOf(5)}).give(Command::pasteProperties).kind, done);
    EXPECT_EQ(editor.layer(5)->opacity, 0.5);
    EXPECT_EQ(editor.layer(5)->transform.x, 0);
    EXPECT_EQ(editor.give(Command::pastePropertiesPositioned).kind, done);
    EXPECT_EQ(editor.layer(5)->transform.x, 100);
}

TEST(PerformCommand, ANewLayerComesToTheCentreOfWhatIsSeen)
{
    CommandedEditor editor;
    editor.insertion = {.kind = Layer::Kind::ellipse};
    EXPECT_EQ(editor.give(Command::insertLayerOfKind).kind, done);
    const Layer ellipse = editor.scene().layers[3];
    EXPECT_EQ(ellipse.kind, Layer::Kind::ellipse);
    EXPECT_EQ((CGPoint{ellipse.transform.x, ellipse.transform.y}), (CGPoint{400, 300})) << "200 x 200 in the scene's middle";

    editor.center = CGPoint{50, 60};
    editor.insertion = {.kind = Layer::Kind::cursor, .cursorVariant = CursorVariant::wait};
    EXPECT_EQ(editor.give(Command::insertLayerOfKind).kind, done);
    const Layer cursor = editor.scene().layers[4];
    EXPECT_EQ(cursor.cursorVariant, CursorVariant::wait);
    EXPECT_EQ((CGPoint{cursor.transform.x, cursor.transform.y}), (CGPoint{34, 44})) << "32 x 32 around the point";
    EXPECT_EQ(editor.state().selectedLayerIDs, LayerIDs{cursor.id});

    editor.insertion = {.kind = Layer::Kind::image};
    EXPECT_EQ(editor.give(Command::insertLayerOfKind).kind, nothingToDo) << "images come from files";
}

TEST(PerformCommand, ThePlayheadGoesBackAndStepsByFramesWithinTheScene)
{
    struct Case {
        const char* what;
        Command command;
        double from, to;
        CommandResult::Kind result;
    };
    using enum Command;
    for (const Case& c :
         {Case{"rewind", rewind, 4, 0, done}, Case{"rewind at the start", rewind, 0, 0, nothingToDo},
          Case{"a frame on", stepForward, 4, 4.04, done}, Case{"a frame back", stepBack, 4, 3.96, done},
          Case{"back at the start", stepBack, 0.01, 0, done}, Case{"back from 0", stepBack, 0, 0, nothingToDo},
          Case{"on near the end", stepForward, 9.99, 10, done}, Case{"on at the end", stepForward, 10, 10, nothingToDo}}) {
        SCOPED_TRACE(c.what);
        CommandedEditor editor;
        EXPECT_EQ(editor.playhead(c.from).give(c.command).kind, c.result);
        EXPECT_NEAR(editor.state().playhead, c.to, 1e-12);
        EXPECT_EQ(editor.undoCount(), 0u);
    }
    EXPECT_EQ(steppedPlayhead({.fps = 0, .duration = 10}, 4, 1), 5) << "a scene has one frame a second at least";
    EXPECT_EQ(steppedPlayhead({.fps = 25, .duration = -1}, 4, 1), 0);
}

TEST(PerformCommand, SelectAllTakesTheItemsAtThePlayhead)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.playhead(4).give(Command::selectAll).kind, done);
    EXPECT_EQ(editor.state().timelineSelection, (TimelineSelection{secondSpan, pulse}));
    EXPECT_EQ(editor.give(Command::selectAll).kind, nothingToDo);
}

TEST(PerformCommand, TheViewCommandsSwitchTheirSettings)
{
    CommandedEditor editor;
    UserDefaults& defaults = editor.view().defaults();
    using enum Command;
    for (const Command command : {toggleLayers, toggleInspector, toggleTimeline, toggleSceneStrip, hideOffCanvas}) {
        SCOPED_TRACE(commandInfo(command).title);
        const std::optional<bool> before = isChecked(command, defaults);
        EXPECT_EQ(editor.give(command).kind, done);
        EXPECT_EQ(isChecked(command, defaults), !*before);
        editor.give(command);
        EXPECT_EQ(isChecked(command, defaults), before);
    }
    editor.give(toggleAllChrome);
    EXPECT_FALSE(isVisible(defaults, Panel::layers));
    EXPECT_FALSE(isVisible(defaults, Panel::timeline));
    EXPECT_TRUE(isVisible(defaults, Panel::sceneStrip));
    editor.give(toggleTimelineZoom);
    EXPECT_TRUE(editor.state().zoomedIn);
    editor.give(toggleTimelineZoom);
    EXPECT_FALSE(editor.state().zoomedIn);
}

TEST(PerformCommand, RippleCyclesWhileAnItemIsSelected)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.give(Command::cycleRipple).kind, unavailable);
    editor.items({firstSpan});
    EXPECT_EQ(editor.give(Command::cycleRipple).kind, done);
    EXPECT_EQ(editorRippleMode(editor.view().defaults()), TimelineRippleMode::before);
}

TEST(PerformCommand, SelectsTheFrontmostLayerInAGroup)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.layers({idOf(2)}).give(Command::drillIntoGroup).kind, done);
    EXPECT_EQ(editor.state().selectedLayerIDs, LayerIDs{idOf(4)});
    EXPECT_EQ(editor.give(Command::drillIntoGroup).kind, unavailable) << "an ellipse holds nothing";
}

TEST(PerformCommand, ARenamedLayerFollowsItsContentAgain)
{
    CommandedEditor editor;
    EXPECT_EQ(editor.layers({idOf(5), idOf(1)}).give(Command::resetLayerName).kind, done);
    EXPECT_EQ(editor.layer(5)->name, "Pay by card");
    EXPECT_TRUE(editor.layer(5)->nameFollowsText);
    EXPECT_EQ(editor.layer(1)->name, "Blue Rectangle");
    EXPECT_EQ(editor.give(Command::resetLayerName).kind, unavailable);
}

TEST(PerformCommand, WhatIsNotPossibleChangesNothingAndSaysWhy)
{
    CommandedEditor editor;
    for (const CommandInfo& info : allCommands()) {
        SCOPED_TRACE(info.title);
        const CommandAvailability offered = availability(info.command, {.front = editor.values()});
        if (offered.isEnabled) continue;
        EXPECT_EQ(editor.give(info.command), (CommandResult{unavailable, offered.reason}));
        EXPECT_EQ(editor.scene(), sampleScene());
    }
    EXPECT_EQ(editor.give(Command::showMoveModal).reason, "Select something in the timeline first.");
    EXPECT_EQ(editor.give(Command::staggerSpans).reason, "Select two or more spans first.");
    EXPECT_EQ(editor.give(Command::group).reason, "Select layers of one group or level first.");
    EXPECT_EQ(editor.undoCount(), 0u);
}

TEST(PerformCommand, WhatIsAboutTheWindowIsLeftToIt)
{
    using enum Command;
    for (const Command command :
         {exportMP4, zoomIn, zoomOut, zoomReset, fitSelection, togglePlay, renameLayer, arrowStepUp, arrowStepDown, newDocument,
          openDocument, saveDocument, closeWindow, showSettings, showWelcome, showRetime}) {
        SCOPED_TRACE(commandInfo(command).title);
        CommandedEditor editor;
        EXPECT_EQ(editor.layers({idOf(1)}).give(command).kind, forWindow);
        EXPECT_EQ(editor.scene(), sampleScene());
    }
}

} // namespace
} // namespace larkspool
