#include "shell/commands.h"

#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;

bool isEnabled(Command command, const EditorFocusedValues& values)
{
    return availability(command, {.front = values}).isEnabled;
}

TEST(Commands, EachMenuItemHasItsTitleAndItsShortcut)
{
    struct Case {
        Command command;
        Menu menu;
        const char* title;
        const char* shortcut;
    };
    using enum Command;
    for (const Case& c : {Case{newDocument, Menu::file, "New Document", "Ctrl+N"},
                          Case{exportMP4, Menu::file, "Export MP4...", "Ctrl+E"},
                          Case{quickRender, Menu::file, "Quick Render", "Ctrl+Alt+R"},
                          Case{quickRenderFromPlayhead, Menu::file, "Quick Render From Playhead…", "Ctrl+Alt+Shift+R"},
                          Case{cut, Menu::edit, "Cut", "Ctrl+X"},
                          Case{copy, Menu::edit, "Copy", "Ctrl+C"},
                          Case{paste, Menu::edit, "Paste", "Ctrl+V"},
                          Case{selectAll, Menu::edit, "Select All", "Ctrl+A"},
                          Case{duplicate, Menu::edit, "Duplicate", "Ctrl+D"},
                          Case{deleteSelection, Menu::edit, "Delete Selection", "Del"},
                          Case{zoomIn, Menu::view, "Zoom In", "Ctrl+="},
                          Case{zoomOut, Menu::view, "Zoom Out", "Ctrl+-"},
                          Case{zoomReset, Menu::view, "Reset Zoom", "Ctrl+0"},
                          Case{fitSelection, Menu::view, "Fit Selection", "Ctrl+2"},
                          Case{toggleLayers, Menu::view, "Toggle Layer Panel", "Ctrl+Alt+L"},
                          Case{toggleInspector, Menu::view, "Toggle Inspector", "Ctrl+Alt+I"},
                          Case{toggleTimeline, Menu::view, "Toggle Timeline", "Ctrl+Alt+T"},
                          Case{toggleSceneStrip, Menu::view, "Toggle Scene Strip", "Ctrl+Alt+S"},
                          Case{toggleAssistant, Menu::view, "Toggle Assistant", "Ctrl+Alt+A"},
                          Case{toggleAllChrome, Menu::view, "Toggle UI", "Ctrl+."},
                          Case{hideOffCanvas, Menu::view, "Hide Off-Canvas Content", "Ctrl+Shift+H"},
                          Case{togglePlay, Menu::timeline, "Play / Pause", "Space"},
                          Case{rewind, Menu::timeline, "Rewind", "Esc"},
                          Case{stepBack, Menu::timeline, "Step Back One Frame", "Ctrl+Left"},
                          Case{stepForward, Menu::timeline, "Step Forward One Frame", "Ctrl+Right"},
                          Case{addKeyframe, Menu::timeline, "Add Keyframe at Playhead", "Ctrl+K"},
                          Case{spanIn, Menu::timeline, "Set Span In to Playhead", "I"},
                          Case{spanOut, Menu::timeline, "Set Span Out to Playhead", "O"},
                          Case{showRetime, Menu::timeline, "Retime…", "Ctrl+Shift+R"},
                          Case{toggleTimelineZoom, Menu::timeline, "Toggle Timeline Zoom", "Z"},
                          Case{moveToPlayhead, Menu::timeline, "Move to Playhead", "M"},
                          Case{showMoveModal, Menu::timeline, "Move…", "Ctrl+Shift+M"},
                          Case{showDilateModal, Menu::timeline, "Dilate…", "Ctrl+Shift+D"},
                          Case{distributeSpans, Menu::timeline, "Distribute Spans…", ""},
                          Case{staggerSpans, Menu::timeline, "Stagger Spans…", ""},
                          Case{group, Menu::arrange, "Group Selection", "Ctrl+G"},
                          Case{ungroup, Menu::arrange, "Ungroup", "Ctrl+Shift+G"},
                          Case{bringToFront, Menu::arrange, "Bring to Front", "Ctrl+Shift+]"},
                          Case{bringForward, Menu::arrange, "Bring Forward", "Ctrl+]"},
                          Case{sendBackward, Menu::arrange, "Send Backward", "Ctrl+["},
                          Case{sendToBack, Menu::arrange, "Send to Back", "Ctrl+Shift+["},
                          Case{alignLeft, Menu::arrange, "Align Left", ""},
                          Case{alignHCenter, Menu::arrange, "Align Horizontal Centers", ""},
                          Case{alignRight, Menu::arrange, "Align Right", ""},
                          Case{alignTop, Menu::arrange, "Align Top", ""},
                          Case{alignVCenter, Menu::arrange, "Align Vertical Centers", ""},
                          Case{alignBottom, Menu::arrange, "Align Bottom", ""},
                          Case{distributeH, Menu::arrange, "Distribute Horizontally", ""},
                          Case{distributeV, Menu::arrange, "Distribute Vertically", ""},
                          Case{mixAndMatch, Menu::arrange, "Mix & Match", "Ctrl+Alt+M"},
                          Case{insertLayerOfKind, Menu::insert, "Insert Layer", ""}}) {
        SCOPED_TRACE(c.title);
        const CommandInfo& info = commandInfo(c.command);
        EXPECT_EQ(info.menu, c.menu);
        EXPECT_EQ(info.title, c.title);
        EXPECT_EQ(info.shortcut ? portableText(*info.shortcut) : "", c.shortcut);
    }
}

TEST(Commands, EachIsKnownByTheNameOfItsNotification)
{
    const std::vector<std::string_view> names = {"LKSTogglePlay",
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
    std::set<Command> commands;
    for (const std::string_view name : names) {
        SCOPED_TRACE(name);
        const std::optional<Command> command = commandNamed(name);
        ASSERT_TRUE(command);
        EXPECT_EQ(commandInfo(*command).notification, name);
        EXPECT_TRUE(commands.insert(*command).second);
    }
    EXPECT_EQ(commandNamed("LKSDistributeH"), Command::distributeH);
    EXPECT_EQ(commandNamed("LKSDelete"), Command::deleteSelection);
    for (const std::string_view other : {"", "LKSRippleApplied", "LKSSceneCreated", "LKSEditorWindowClosing", "lksdelete"})
        EXPECT_EQ(commandNamed(other), std::nullopt) << other;
    for (const CommandInfo& info : allCommands())
        EXPECT_EQ(info.notification.empty(), !commands.contains(info.command)) << info.title;
}

TEST(Commands, NoTwoShareAShortcut)
{
    std::set<std::string> used;
    for (const CommandInfo& info : allCommands()) {
        for (const std::optional<Shortcut>& shortcut : {info.shortcut, info.alternative}) {
            if (!shortcut) continue;
            EXPECT_TRUE(used.insert(portableText(*shortcut)).second) << info.title;
        }
    }
}

TEST(Commands, AllHaveATitleAndASection)
{
    std::set<std::pair<Menu, std::string_view>> titles;
    Menu last = Menu::application;
    for (const CommandInfo& info : allCommands()) {
        SCOPED_TRACE(info.title);
        EXPECT_FALSE(info.title.empty());
        EXPECT_TRUE(titles.insert({info.menu, info.title}).second);
        if (info.menu == Menu::none) continue;
        EXPECT_LE(last, info.menu) << "the items of a menu stand together";
        EXPECT_FALSE(info.menu != last && info.startsSection) << "no separator at the top of a menu";
        EXPECT_FALSE(menuTitle(info.menu).empty());
        last = info.menu;
    }
}

TEST(Commands, KeysWithoutCommandAreForTypingFirst)
{
    std::set<std::string> typed;
    for (const CommandInfo& info : allCommands())
        for (const std::optional<Shortcut>& shortcut : {info.shortcut, info.alternative})
            if (shortcut && goesToTextFirst(*shortcut)) typed.insert(portableText(*shortcut));
    EXPECT_THAT(typed, ElementsAre("Backspace", "Del", "Esc", "I", "M", "O", "R", "Space", "Z"));
}

TEST(CommandAvailability, WithNoDocumentWindowOnlyWhatNeedsNoneIsEnabled)
{
    std::set<Command> enabled;
    for (const CommandInfo& info : allCommands()) {
        const CommandAvailability offered = availability(info.command, {});
        EXPECT_EQ(offered.reason.empty(), offered.isEnabled) << info.title;
        if (offered.isEnabled) enabled.insert(info.command);
    }
    using enum Command;
    EXPECT_EQ(enabled, (std::set<Command>{showWelcome, showSettings, quit, newDocument, openDocument}));
}

TEST(CommandAvailability, ATextThatIsEditedTakesCutCopyAndPaste)
{
    std::set<Command> enabled;
    for (const CommandInfo& info : allCommands())
        if (info.target == CommandTarget::editor && availability(info.command, {.editsText = true}).isEnabled)
            enabled.insert(info.command);
    EXPECT_EQ(enabled, (std::set<Command>{Command::cut, Command::copy, Command::paste}));
}

TEST(CommandAvailability, FollowsWhatTheEditorInFrontTells)
{
    struct Case {
        const char* what;
        std::vector<Command> commands;
        EditorFocusedValues tooLittle, enough;
    };
    using enum Command;
    const auto ofKind = [](Layer::Kind kind) {
        return EditorFocusedValues{.selectedLayerCount = 1, .contextActions = {.selectedCount = 1, .primaryKind = kind}};
    };
    const std::vector<Case> cases = {
        {"one layer",
         {cut, copy, duplicate, deleteSelection, addKeyframe, alignLeft, alignBottom, hideToggle, lockToggle, copyProperties,
          resetTimeline},
         {},
         {.selectedLayerCount = 1}},
        {"just one layer", {renameLayer}, {.selectedLayerCount = 2}, {.selectedLayerCount = 1}},
        {"three layers", {distributeH, distributeV}, {.selectedLayerCount = 2}, {.selectedLayerCount = 3}},
        {"an item of the timeline",
         {spanIn, spanOut, moveToPlayhead, cycleRipple, deleteSelection},
         {},
         {.timelineSelectionCount = 1}},
        {"what can be grouped", {group}, {.selectedLayerCount = 2, .canUngroupSelection = true}, {.canGroupSelection = true}},
        {"what can be ungrouped", {ungroup}, {.selectedLayerCount = 2, .canGroupSelection = true}, {.canUngroupSelection = true}},
        {"way to the front",
         {bringToFront},
         {.selectedLayerCount = 1, .zOrder = {true, false, true, true}},
         {.selectedLayerCount = 1, .zOrder = {.canBringToFront = true}}},
        {"way forward",
         {bringForward},
         {.selectedLayerCount = 1, .zOrder = {false, true, true, true}},
         {.selectedLayerCount = 1, .zOrder = {.canBringForward = true}}},
        {"way backward",
         {sendBackward},
         {.selectedLayerCount = 1, .zOrder = {true, true, false, true}},
         {.selectedLayerCount = 1, .zOrder = {.canSendBackward = true}}},
        {"way to the back",
         {sendToBack},
         {.selectedLayerCount = 1, .zOrder = {true, true, true, false}},
         {.selectedLayerCount = 1, .zOrder = {.canSendToBack = true}}},
        {"a style that was copied",
         {pasteProperties, pastePropertiesPositioned},
         {.selectedLayerCount = 1},
         {.selectedLayerCount = 1, .contextActions = {.hasPropertiesClipboard = true}}},
        {"a layer to give the style to",
         {pasteProperties, pastePropertiesPositioned},
         {.contextActions = {.hasPropertiesClipboard = true}},
         {.selectedLayerCount = 1, .contextActions = {.hasPropertiesClipboard = true}}},
        {"a name of a person's own", {resetLayerName}, {.selectedLayerCount = 1}, {.contextActions = {.canResetName = true}}},
        {"a group", {drillIntoGroup}, ofKind(Layer::Kind::zoom), ofKind(Layer::Kind::group)},
        {"a step to undo", {undo}, {.canRedo = true}, {.canUndo = true}},
        {"a step to redo", {redo}, {.canUndo = true}, {.canRedo = true}},
        {"the end of the assistant's turn",
         {undo, redo},
         {.canUndo = true, .canRedo = true, .isUndoGroupOpen = true},
         {.canUndo = true, .canRedo = true}},
        {"changes", {revertDocument}, {.isEdited = false}, {.isEdited = true}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        for (const Command command : c.commands) {
            EXPECT_FALSE(isEnabled(command, c.tooLittle)) << commandInfo(command).title;
            EXPECT_FALSE(availability(command, {.front = c.tooLittle}).reason.empty());
            EXPECT_TRUE(isEnabled(command, c.enough)) << commandInfo(command).title;
        }
    }
    for (const Command command : {togglePlay, rewind, stepBack, paste, selectAll, zoomIn, fitSelection, toggleLayers, exportMP4,
                                  hideOffCanvas, insertLayerOfKind, saveDocument, toggleTimelineZoom})
        EXPECT_TRUE(isEnabled(command, {})) << commandInfo(command).title << " needs a document alone";
}

TEST(CommandAvailability, TellsTheReasonThatIsTrueThen)
{
    struct Case {
        const char* when;
        Command command;
        EditorFocusedValues values;
        const char* reason;
    };
    using enum Command;
    for (const Case& c :
         {Case{"nothing was done", undo, {}, "There is nothing to undo."},
          Case{"the assistant works", undo, {.canUndo = true, .isUndoGroupOpen = true},
               "The assistant is at work. What it does can be undone when it has finished."},
          Case{"the assistant works on an untouched document", redo, {.isUndoGroupOpen = true},
               "The assistant is at work. What it does can be undone when it has finished."},
          Case{"no layer is selected", bringToFront, {}, "Select a layer first."},
          Case{"it is the frontmost", bringToFront, {.selectedLayerCount = 1},
               "The first selected layer is the frontmost, or in a group."},
          Case{"a style is copied and no layer selected", pasteProperties, {.contextActions = {.hasPropertiesClipboard = true}},
               "Select a layer first."},
          Case{"a layer is selected and no style copied", pasteProperties, {.selectedLayerCount = 1},
               "Copy the properties of a layer first."},
          Case{"all is saved", revertDocument, {.isEdited = false}, "Nothing has changed since the document was saved."}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(availability(c.command, {.front = c.values}).reason, c.reason);
    }
}

TEST(CommandAvailability, BehindASheetSaysSo)
{
    const CommandContext behind{.isCovered = true};
    for (const CommandInfo& info : allCommands()) {
        SCOPED_TRACE(info.title);
        if (!info.missing.empty()) continue;
        const CommandAvailability offered = availability(info.command, behind);
        EXPECT_EQ(offered.isEnabled, info.target == CommandTarget::application);
        if (!offered.isEnabled) {
            EXPECT_EQ(offered.reason, "Finish or cancel what is open over the document first.");
        }
    }
    EXPECT_TRUE(availability(Command::paste, {.editsText = true, .isCovered = true}).isEnabled) << "a text of the sheet";
}

TEST(CommandTitles, UndoAndRedoNameTheirStep)
{
    const CommandContext context{.front = EditorFocusedValues{.undoActionName = "Move", .redoActionName = "Edit Opacity"}};
    EXPECT_EQ(commandTitle(Command::undo, context), "Undo Move");
    EXPECT_EQ(commandTitle(Command::redo, context), "Redo Edit Opacity");
    EXPECT_EQ(commandTitle(Command::cut, context), "Cut");
    EXPECT_EQ(commandTitle(Command::undo, {.front = EditorFocusedValues{}}), "Undo") << "a step without a name, or none";
    EXPECT_EQ(commandTitle(Command::redo, {}), "Redo") << "no document";
}

TEST(CommandAvailability, WhatTheProgramDoesNotHaveSaysSoWhateverIsSelected)
{
    const EditorFocusedValues everything{.selectedSpanCount = 9, .timelineSelectionCount = 9, .selectedLayerCount = 9};
    std::set<Command> missing;
    for (const CommandInfo& info : allCommands()) {
        if (info.missing.empty()) continue;
        missing.insert(info.command);
        const CommandAvailability offered = availability(info.command, {.front = everything});
        EXPECT_FALSE(offered.isEnabled) << info.title;
        EXPECT_EQ(offered.reason, info.missing);
    }
    using enum Command;
    EXPECT_EQ(missing, (std::set<Command>{checkForUpdates}));
}

TEST(CommandConditions, ThoseOfTheSheetsAskForEnoughToWorkOn)
{
    struct Case {
        Command command;
        EditorFocusedValues tooLittle, enough;
    };
    using enum Command;
    const auto ofKind = [](Layer::Kind kind) { return EditorFocusedValues{.contextActions = {.primaryKind = kind}}; };
    for (const Case& c : {Case{distributeSpans, {.selectedSpanCount = 1, .timelineSelectionCount = 5}, {.selectedSpanCount = 2}},
                          Case{staggerSpans, {.selectedSpanCount = 1, .timelineSelectionCount = 5}, {.selectedSpanCount = 2}},
                          Case{showMoveModal, {.selectedLayerCount = 1}, {.timelineSelectionCount = 1}},
                          Case{showDilateModal, {.selectedLayerCount = 1}, {.timelineSelectionCount = 1}},
                          Case{mixAndMatch, {.selectedLayerCount = 1}, {.selectedLayerCount = 2}},
                          Case{replaceImage, ofKind(Layer::Kind::video), ofKind(Layer::Kind::image)},
                          Case{replaceVideo, ofKind(Layer::Kind::image), ofKind(Layer::Kind::video)},
                          Case{showCropEditor, ofKind(Layer::Kind::text), ofKind(Layer::Kind::image)},
                          Case{showCropEditor, {}, ofKind(Layer::Kind::video)}}) {
        const CommandInfo& info = commandInfo(c.command);
        SCOPED_TRACE(info.title);
        EXPECT_FALSE(info.condition->holds(c.tooLittle));
        EXPECT_TRUE(info.condition->holds(c.enough));
    }
}

TEST(InsertMenu, HasEveryKindAndEveryCursor)
{
    std::set<Layer::Kind> kinds{Layer::Kind::cursor};
    for (const InsertItem& item : insertItems()) EXPECT_TRUE(kinds.insert(item.insertion.kind).second) << item.title;
    EXPECT_EQ(kinds.size(), std::size(EnumTable<Layer::Kind>::cases));

    std::vector<std::string_view> cursors;
    for (const InsertItem& item : insertCursorItems()) {
        EXPECT_EQ(item.insertion.kind, Layer::Kind::cursor);
        EXPECT_EQ(item.title, label(item.insertion.cursorVariant));
        cursors.push_back(item.title);
    }
    EXPECT_THAT(cursors, ElementsAre("Arrow", "Pointer", "Grab", "Grabbing", "I-Beam", "Duplicate", "Wait"));
}

TEST(InsertMenu, NeedsADocumentAndNothingElse)
{
    const CommandAvailability alone = availability(Command::insertLayerOfKind, {});
    EXPECT_FALSE(alone.isEnabled);
    EXPECT_FALSE(alone.reason.empty());
    EXPECT_TRUE(availability(Command::insertLayerOfKind, {.front = EditorFocusedValues{}}).isEnabled);
}

TEST(CheckedCommands, ShowTheStateOfTheirSettings)
{
    struct Case {
        Command command;
        const char* key;
        bool byDefault;
        bool whenOn;
    };
    for (const Case& c : {Case{Command::toggleLayers, "lksShowLayers", true, true},
                          Case{Command::toggleLayers, "lksCollapsedLayers", true, false},
                          Case{Command::toggleInspector, "lksCollapsedInspector", true, false},
                          Case{Command::toggleTimeline, "lksCollapsedTimeline", true, false},
                          Case{Command::hideOffCanvas, "lksHideOffCanvas", false, true}}) {
        SCOPED_TRACE(c.key);
        MemoryUserDefaults defaults;
        EXPECT_EQ(isChecked(c.command, defaults), c.byDefault);
        defaults.set(c.key, true);
        EXPECT_EQ(isChecked(c.command, defaults), c.whenOn);
    }
    MemoryUserDefaults hidden({{"lksShowSceneStrip", false}});
    EXPECT_EQ(isChecked(Command::toggleSceneStrip, hidden), false);
    EXPECT_EQ(isChecked(Command::toggleAllChrome, hidden), std::nullopt);
    EXPECT_EQ(isChecked(Command::cut, hidden), std::nullopt);
}

} // namespace
} // namespace larkspool
