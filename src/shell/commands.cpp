#include "shell/commands.h"

#include "shell/panels.h"
#include "shell/preferences.h"

#include <algorithm>
#include <array>

namespace larkspool {

namespace {

using Values = EditorFocusedValues;

/// @name What commands need.
/// @{
constexpr std::string_view noDocument = "Open a document first.";
constexpr std::string_view behindSheet = "Finish or cancel what is open over the document first.";
constexpr CommandCondition noUndoGroup{[](const Values& v) { return !v.isUndoGroupOpen; },
                                       "The assistant is at work. What it does can be undone when it has finished."};
constexpr CommandCondition canUndo{[](const Values& v) { return v.canUndo; }, "There is nothing to undo.", &noUndoGroup};
constexpr CommandCondition canRedo{[](const Values& v) { return v.canRedo; }, "There is nothing to redo.", &noUndoGroup};
constexpr CommandCondition edited{[](const Values& v) { return v.isEdited.value_or(true); },
                                  "Nothing has changed since the document was saved."};
constexpr CommandCondition layers{[](const Values& v) { return v.selectedLayerCount >= 1; }, "Select a layer first."};
constexpr CommandCondition oneLayer{[](const Values& v) { return v.selectedLayerCount == 1; }, "Select one layer first."};
constexpr CommandCondition twoLayers{[](const Values& v) { return v.selectedLayerCount >= 2; },
                                     "Select two or more layers first."};
constexpr CommandCondition threeLayers{[](const Values& v) { return v.selectedLayerCount >= 3; },
                                       "Select three or more layers first."};
constexpr CommandCondition items{[](const Values& v) { return v.timelineSelectionCount >= 1; },
                                 "Select something in the timeline first."};
constexpr CommandCondition itemsOrLayers{[](const Values& v) { return v.timelineSelectionCount + v.selectedLayerCount >= 1; },
                                         "Select layers, or something in the timeline, first."};
constexpr CommandCondition twoSpans{[](const Values& v) { return v.selectedSpanCount >= 2; }, "Select two or more spans first."};
constexpr CommandCondition groupable{[](const Values& v) { return v.canGroupSelection; },
                                     "Select layers of one group or level first."};
constexpr CommandCondition ungroupable{[](const Values& v) { return v.canUngroupSelection; }, "Select a group first."};
constexpr CommandCondition toFront{[](const Values& v) { return v.zOrder.canBringToFront; },
                                   "The first selected layer is the frontmost, or in a group.", &layers};
constexpr CommandCondition forward{[](const Values& v) { return v.zOrder.canBringForward; },
                                   "The first selected layer is the frontmost of its level.", &layers};
constexpr CommandCondition backward{[](const Values& v) { return v.zOrder.canSendBackward; },
                                    "The first selected layer is the backmost of its level.", &layers};
constexpr CommandCondition toBack{[](const Values& v) { return v.zOrder.canSendToBack; },
                                  "The first selected layer is the backmost, or in a group.", &layers};
constexpr CommandCondition copiedProperties{[](const Values& v) { return v.contextActions.hasPropertiesClipboard; },
                                            "Copy the properties of a layer first.", &layers};
constexpr CommandCondition renamed{[](const Values& v) { return v.contextActions.canResetName; },
                                   "Select a layer that was renamed first."};

template <Layer::Kind... kinds>
bool primaryIsOneOf(const Values& values)
{
    return ((values.contextActions.primaryKind == kinds) || ...);
}
constexpr CommandCondition image{primaryIsOneOf<Layer::Kind::image>, "Select an image first."};
constexpr CommandCondition video{primaryIsOneOf<Layer::Kind::video>, "Select a video first."};
constexpr CommandCondition media{primaryIsOneOf<Layer::Kind::image, Layer::Kind::video>, "Select an image or a video first."};
constexpr CommandCondition aGroup{primaryIsOneOf<Layer::Kind::group>, "Select a group first."};
/// @}

constexpr Shortcut plain(std::string_view key)
{
    return {key, {}};
}
constexpr Shortcut command(std::string_view key)
{
    return {key, {.command = true}};
}
constexpr Shortcut commandShift(std::string_view key)
{
    return {key, {.command = true, .shift = true}};
}
constexpr Shortcut commandOption(std::string_view key)
{
    return {key, {.command = true, .option = true}};
}
constexpr Shortcut commandOptionShift(std::string_view key)
{
    return {key, {.command = true, .shift = true, .option = true}};
}

/// A row of the table, said in one line.
struct Row : CommandInfo {
    constexpr Row on(Shortcut first, std::optional<Shortcut> second = std::nullopt) const
    {
        Row row = *this;
        row.shortcut = first;
        row.alternative = second;
        return row;
    }
    constexpr Row needing(const CommandCondition& needed) const
    {
        Row row = *this;
        row.condition = &needed;
        return row;
    }
    constexpr Row without(std::string_view reason) const
    {
        Row row = *this;
        row.missing = reason;
        return row;
    }
    constexpr Row inNewSection() const
    {
        Row row = *this;
        row.startsSection = true;
        return row;
    }
};

constexpr Row posted(Command command, std::string_view notification, Menu menu, std::string_view title)
{
    return {{.command = command, .notification = notification, .menu = menu, .title = title}};
}
constexpr Row ofWindow(Command command, Menu menu, std::string_view title)
{
    return {{.command = command, .menu = menu, .title = title, .target = CommandTarget::window}};
}
constexpr Row ofProgram(Command command, Menu menu, std::string_view title)
{
    return {{.command = command, .menu = menu, .title = title, .target = CommandTarget::application}};
}

using enum Command;

/// In the order of the enumeration, which is that of the menus.
constexpr std::array<CommandInfo, static_cast<std::size_t>(arrowStepDown) + 1> table = {
    ofProgram(showWelcome, Menu::application, "Welcome to Larkspool"),
    ofProgram(checkForUpdates, Menu::application, "Check for Updates…").without(Updater::whyNot),
    ofProgram(showSettings, Menu::application, "Settings…").on(command(",")).inNewSection(),
    ofProgram(quit, Menu::application, "Quit Larkspool").on(command("Q")).inNewSection(),

    ofProgram(newDocument, Menu::file, "New Document").on(command("N")),
    ofProgram(openDocument, Menu::file, "Open…").on(command("O")),
    ofWindow(closeWindow, Menu::file, "Close").on(command("W")).inNewSection(),
    ofWindow(saveDocument, Menu::file, "Save").on(command("S")),
    ofWindow(saveDocumentAs, Menu::file, "Save As…").on(commandShift("S")),
    ofWindow(revertDocument, Menu::file, "Revert to Saved").needing(edited),
    posted(exportMP4, "LKSExportMP4", Menu::file, "Export MP4...").on(command("E")).inNewSection(),
    posted(quickRender, "LKSQuickRender", Menu::file, "Quick Render").on(commandOption("R")),
    posted(quickRenderFromPlayhead, "", Menu::file, "Quick Render From Playhead…")
        .on(commandOptionShift("R"), commandOption("P")),

    ofWindow(undo, Menu::edit, "Undo").on(command("Z")).needing(canUndo),
    ofWindow(redo, Menu::edit, "Redo").on(commandShift("Z")).needing(canRedo),
    posted(cut, "LKSCut", Menu::edit, "Cut").on(command("X")).needing(layers).inNewSection(),
    posted(copy, "LKSCopy", Menu::edit, "Copy").on(command("C")).needing(layers),
    posted(paste, "LKSPaste", Menu::edit, "Paste").on(command("V")),
    posted(selectAll, "LKSSelectAll", Menu::edit, "Select All").on(command("A")),
    posted(duplicate, "LKSDuplicate", Menu::edit, "Duplicate").on(command("D")).needing(layers).inNewSection(),
    posted(deleteSelection, "LKSDelete", Menu::edit, "Delete Selection")
        .on(plain("Del"), plain("Backspace"))
        .needing(itemsOrLayers),
    posted(copyProperties, "LKSCopyProperties", Menu::none, "Copy Properties").needing(layers),
    posted(pasteProperties, "LKSPasteProperties", Menu::none, "Paste Properties").needing(copiedProperties),
    posted(pastePropertiesPositioned, "LKSPastePropertiesPositioned", Menu::none, "Paste Properties with Position and Size")
        .needing(copiedProperties),

    posted(zoomIn, "LKSZoomIn", Menu::view, "Zoom In").on(command("="), command("+")),
    posted(zoomOut, "LKSZoomOut", Menu::view, "Zoom Out").on(command("-")),
    posted(zoomReset, "LKSZoomReset", Menu::view, "Reset Zoom").on(command("0")),
    posted(fitSelection, "LKSFitSelection", Menu::view, "Fit Selection").on(command("2")),
    posted(toggleLayers, "LKSToggleLayers", Menu::view, "Toggle Layer Panel")
        .on(commandOption("L"), commandShift("L"))
        .inNewSection(),
    posted(toggleInspector, "LKSToggleInspector", Menu::view, "Toggle Inspector").on(commandOption("I")),
    posted(toggleTimeline, "LKSToggleTimeline", Menu::view, "Toggle Timeline").on(commandOption("T"), commandShift("T")),
    posted(toggleSceneStrip, "LKSToggleSceneStrip", Menu::view, "Toggle Scene Strip").on(commandOption("S")),
    posted(toggleAssistant, "LKSToggleAssistant", Menu::view, "Toggle Assistant").on(commandOption("A")),
    posted(toggleAllChrome, "LKSToggleAllChrome", Menu::view, "Toggle UI").on(command(".")),
    posted(hideOffCanvas, "", Menu::view, "Hide Off-Canvas Content").on(commandShift("H")).inNewSection(),

    posted(togglePlay, "LKSTogglePlay", Menu::timeline, "Play / Pause").on(plain("Space")),
    posted(rewind, "LKSRewind", Menu::timeline, "Rewind").on(plain("Esc")),
    posted(stepBack, "LKSStepBack", Menu::timeline, "Step Back One Frame").on(command("Left")),
    posted(stepForward, "LKSStepForward", Menu::timeline, "Step Forward One Frame").on(command("Right")),
    posted(addKeyframe, "LKSAddKeyframe", Menu::timeline, "Add Keyframe at Playhead")
        .on(command("K"))
        .needing(layers)
        .inNewSection(),
    posted(spanIn, "LKSSpanIn", Menu::timeline, "Set Span In to Playhead").on(plain("I")).needing(items),
    posted(spanOut, "LKSSpanOut", Menu::timeline, "Set Span Out to Playhead").on(plain("O")).needing(items),
    posted(showRetime, "LKSShowRetime", Menu::timeline, "Retime…").on(commandShift("R")),
    posted(toggleTimelineZoom, "LKSToggleTimelineZoom", Menu::timeline, "Toggle Timeline Zoom").on(plain("Z")),
    posted(moveToPlayhead, "LKSMoveToPlayhead", Menu::timeline, "Move to Playhead").on(plain("M")).needing(items).inNewSection(),
    posted(showMoveModal, "LKSShowMoveModal", Menu::timeline, "Move…").on(commandShift("M")).needing(items),
    posted(showDilateModal, "LKSShowDilateModal", Menu::timeline, "Dilate…").on(commandShift("D")).needing(items),
    posted(distributeSpans, "LKSDistributeSpans", Menu::timeline, "Distribute Spans…").needing(twoSpans),
    posted(staggerSpans, "LKSStaggerSpans", Menu::timeline, "Stagger Spans…").needing(twoSpans),
    posted(cycleRipple, "LKSCycleRipple", Menu::timeline, "Cycle Ripple").on(plain("R")).needing(items).inNewSection(),

    posted(group, "LKSGroup", Menu::arrange, "Group Selection").on(command("G")).needing(groupable),
    posted(ungroup, "LKSUngroup", Menu::arrange, "Ungroup").on(commandShift("G")).needing(ungroupable),
    posted(bringToFront, "LKSBringToFront", Menu::arrange, "Bring to Front")
        .on(commandShift("]"))
        .needing(toFront)
        .inNewSection(),
    posted(bringForward, "LKSBringForward", Menu::arrange, "Bring Forward").on(command("]")).needing(forward),
    posted(sendBackward, "LKSSendBackward", Menu::arrange, "Send Backward").on(command("[")).needing(backward),
    posted(sendToBack, "LKSSendToBack", Menu::arrange, "Send to Back").on(commandShift("[")).needing(toBack),
    posted(alignLeft, "LKSAlignLeft", Menu::arrange, "Align Left").needing(layers).inNewSection(),
    posted(alignHCenter, "LKSAlignHCenter", Menu::arrange, "Align Horizontal Centers").needing(layers),
    posted(alignRight, "LKSAlignRight", Menu::arrange, "Align Right").needing(layers),
    posted(alignTop, "LKSAlignTop", Menu::arrange, "Align Top").needing(layers),
    posted(alignVCenter, "LKSAlignVCenter", Menu::arrange, "Align Vertical Centers").needing(layers),
    posted(alignBottom, "LKSAlignBottom", Menu::arrange, "Align Bottom").needing(layers),
    posted(distributeH, "LKSDistributeH", Menu::arrange, "Distribute Horizontally").needing(threeLayers).inNewSection(),
    posted(distributeV, "LKSDistributeV", Menu::arrange, "Distribute Vertically").needing(threeLayers),
    posted(mixAndMatch, "LKSMixAndMatch", Menu::arrange, "Mix & Match").on(commandOption("M")).needing(twoLayers).inNewSection(),

    posted(insertLayerOfKind, "LKSInsertLayerOfKind", Menu::insert, insertLayerMenuTitle),

    posted(hideToggle, "LKSHideToggle", Menu::none, "Hide or Show").needing(layers),
    posted(lockToggle, "LKSLockToggle", Menu::none, "Lock or Unlock").needing(layers),
    posted(renameLayer, "LKSRenameLayer", Menu::none, "Rename").needing(oneLayer),
    posted(resetLayerName, "LKSResetLayerName", Menu::none, "Reset Name").needing(renamed),
    posted(replaceImage, "LKSReplaceImage", Menu::none, "Replace Image").needing(image),
    posted(replaceVideo, "LKSReplaceVideo", Menu::none, "Replace Video").needing(video),
    posted(replaceFont, "LKSReplaceFont", Menu::none, "Replace Font…"),
    posted(showCropEditor, "LKSShowCropEditor", Menu::none, "Crop…").needing(media),
    posted(drillIntoGroup, "LKSDrillIntoGroup", Menu::none, "Select into Group").needing(aGroup),
    posted(resetTimeline, "LKSResetTimeline", Menu::none, "Reset Timeline").needing(layers),
    posted(arrowStepUp, "LKSArrowStepUp", Menu::none, "Step Value Up"),
    posted(arrowStepDown, "LKSArrowStepDown", Menu::none, "Step Value Down"),
};

constexpr bool isInOrder()
{
    for (std::size_t i = 0; i < table.size(); ++i)
        if (table[i].command != static_cast<Command>(i)) return false;
    return true;
}
static_assert(isInOrder());

using Kind = Layer::Kind;

constexpr std::array insertTable = {
    InsertItem{"Rectangle", {Kind::rectangle}},
    InsertItem{"Ellipse", {Kind::ellipse}},
    InsertItem{"Path", {Kind::path}},
    InsertItem{"Text", {Kind::text}},
    InsertItem{"Image…", {Kind::image}},
    InsertItem{"Group", {Kind::group}},
    InsertItem{"Line", {Kind::line}},
    InsertItem{"Gradient Field", {Kind::gradientField}},
    InsertItem{"Hot Spot", {Kind::hotspot}},
    InsertItem{"Video…", {Kind::video}},
    InsertItem{"Zoom", {Kind::zoom}},
};

constexpr auto insertCursorTable = [] {
    constexpr auto& variants = EnumTable<CursorVariant>::cases;
    std::array<InsertItem, std::size(variants)> entries{};
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i] = {variants[i].label, {.kind = Kind::cursor, .cursorVariant = variants[i].value}};
    return entries;
}();

std::string stepTitle(const std::string& title, const std::string& actionName)
{
    return actionName.empty() ? title : title + " " + actionName;
}

} // namespace

const CommandCondition* CommandCondition::failing(const EditorFocusedValues& values) const
{
    if (const CommandCondition* earlier = before ? before->failing(values) : nullptr) return earlier;
    return isMet(values) ? nullptr : this;
}

std::string_view menuTitle(Menu menu)
{
    constexpr std::array<std::string_view, 8> titles = {"Larkspool", "File", "Edit", "View", "Timeline", "Arrange", "Insert", ""};
    return titles[static_cast<std::size_t>(menu)];
}

std::string portableText(const Shortcut& shortcut)
{
    std::string text;
    if (shortcut.modifiers.command) text += "Ctrl+";
    if (shortcut.modifiers.option) text += "Alt+";
    if (shortcut.modifiers.shift) text += "Shift+";
    return text.append(shortcut.key);
}

std::span<const CommandInfo> allCommands()
{
    return table;
}

const CommandInfo& commandInfo(Command command)
{
    return table[static_cast<std::size_t>(command)];
}

std::optional<Command> commandNamed(std::string_view notification)
{
    if (notification.empty()) return std::nullopt;
    const auto found = std::ranges::find(table, notification, &CommandInfo::notification);
    return found != table.end() ? std::optional(found->command) : std::nullopt;
}

CommandAvailability availability(Command command, const CommandContext& context)
{
    const CommandInfo& info = commandInfo(command);
    if (!info.missing.empty()) return {false, info.missing};
    if (context.editsText && isForText(command)) return {};
    if (info.target == CommandTarget::application) return {};
    if (context.isCovered) return {false, behindSheet};
    if (!context.front) return {false, noDocument};
    const CommandCondition* failing = info.condition ? info.condition->failing(*context.front) : nullptr;
    if (failing) return {false, failing->otherwise};
    return {};
}

std::string commandTitle(Command command, const CommandContext& context)
{
    const std::string title(commandInfo(command).title);
    if (!context.front) return title;
    if (command == undo) return stepTitle(title, context.front->undoActionName);
    if (command == redo) return stepTitle(title, context.front->redoActionName);
    return title;
}

std::optional<bool> isChecked(Command command, const UserDefaults& defaults)
{
    switch (command) {
    case toggleLayers: return isVisible(defaults, Panel::layers);
    case toggleInspector: return isVisible(defaults, Panel::inspector);
    case toggleTimeline: return isVisible(defaults, Panel::timeline);
    case toggleSceneStrip: return isVisible(defaults, Panel::sceneStrip);
    case hideOffCanvas: return defaults.boolean(DefaultsKey::hideOffCanvas);
    default: return std::nullopt;
    }
}

std::span<const InsertItem> insertItems()
{
    return insertTable;
}

std::span<const InsertItem> insertCursorItems()
{
    return insertCursorTable;
}

} // namespace larkspool
