#pragma once

#include "canvas/restacking.h"
#include "document/layer.h"
#include "editing/editor_state.h"
#include "editing/modifiers.h"
#include "platform/user_defaults.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larkspool {

/// The one table of what menus, keys and buttons can ask for. Menus belong to the program and edits to an editor: what goes to
/// an editor is posted as a notification, and the editor in front carries it out.

/// Everything that a menu, a key or a button can ask for, in the order of the menus.
enum class Command {
    showWelcome,
    checkForUpdates,
    showSettings,
    quit,

    newDocument,
    openDocument,
    closeWindow,
    saveDocument,
    saveDocumentAs,
    revertDocument,
    exportMP4,
    quickRender,
    quickRenderFromPlayhead,

    undo,
    redo,
    cut,
    copy,
    paste,
    selectAll,
    duplicate,
    deleteSelection,
    copyProperties,
    pasteProperties,
    pastePropertiesPositioned,

    zoomIn,
    zoomOut,
    zoomReset,
    fitSelection,
    toggleLayers,
    toggleInspector,
    toggleTimeline,
    toggleSceneStrip,
    toggleAssistant,
    toggleAllChrome,
    hideOffCanvas,

    togglePlay,
    rewind,
    stepBack,
    stepForward,
    addKeyframe,
    spanIn,
    spanOut,
    showRetime,
    toggleTimelineZoom,
    moveToPlayhead,
    showMoveModal,
    showDilateModal,
    distributeSpans,
    staggerSpans,
    cycleRipple,

    group,
    ungroup,
    bringToFront,
    bringForward,
    sendBackward,
    sendToBack,
    alignLeft,
    alignHCenter,
    alignRight,
    alignTop,
    alignVCenter,
    alignBottom,
    distributeH,
    distributeV,
    mixAndMatch,

    insertLayerOfKind,

    hideToggle,
    lockToggle,
    renameLayer,
    resetLayerName,
    replaceImage,
    replaceVideo,
    replaceFont,
    showCropEditor,
    drillIntoGroup,
    resetTimeline,
    arrowStepUp,
    arrowStepDown,
};

/// The names of what editors tell about themselves, as notifications. The types of the payloads stand behind.
namespace EditorNotification {
inline constexpr std::string_view rippleApplied = "LKSRippleApplied";             ///< std::size_t: how many items have moved.
inline constexpr std::string_view sceneCreated = "LKSSceneCreated";
inline constexpr std::string_view editorWindowClosing = "LKSEditorWindowClosing"; ///< UUID: the editor's `editorInstanceID`.
} // namespace EditorNotification

enum class Menu { application, file, edit, view, timeline, arrange, insert, none };
/// The title of the menu; empty for `none`.
std::string_view menuTitle(Menu menu);

/// A key with the modifiers that are down with it. On this platform Command is the Control key, and Option is Alt.
struct Shortcut {
    std::string_view key; ///< What the key gives without modifiers, in upper case, or its short name: "Space", "Esc", "Left".
    Modifiers modifiers{};

    bool operator==(const Shortcut&) const = default;
};

/// The shortcut in words for the toolkit and for people: "Ctrl+Alt+Shift+R".
std::string portableText(const Shortcut& shortcut);

/// Whether a text field that has the keyboard takes the key before any command: all keys without Command are for typing.
constexpr bool goesToTextFirst(const Shortcut& shortcut)
{
    return !shortcut.modifiers.command;
}

/// Whether the command goes to a text that is being edited, if there is one.
constexpr bool isForText(Command command)
{
    return command == Command::cut || command == Command::copy || command == Command::paste;
}

/// Who carries a command out.
enum class CommandTarget {
    application, ///< It needs no window.
    window,      ///< The front window of a document, for its file.
    editor       ///< The editor in front, by the command's notification.
};

/// What menus and context menus ask of the selection of layers. The first layer is the
/// first selected one in the order of the tree.
struct ContextActionAvailability {
    std::size_t selectedCount = 0;        ///< Layers.
    bool hasPropertiesClipboard = false;  ///< A style was copied.
    std::optional<Layer::Kind> primaryKind{};
    bool canResetName = false;            ///< A selected layer was renamed, and its name can follow its content again.
    std::optional<bool> firstIsHidden{};
    std::optional<bool> firstIsLocked{};

    bool operator==(const ContextActionAvailability&) const = default;
};

/// What the editor in front tells the menus.
struct EditorFocusedValues {
    std::size_t selectedSpanCount = 0;
    std::size_t timelineSelectionCount = 0;
    std::size_t selectedLayerCount = 0;
    bool canGroupSelection = false;
    bool canUngroupSelection = false;
    ZOrderAvailability zOrder{};
    ContextActionAvailability contextActions{};
    bool canUndo = false;
    bool canRedo = false;
    std::string undoActionName{};     ///< Of the step that would be undone; empty if there is none or it has no name.
    std::string redoActionName{};
    bool isUndoGroupOpen = false;     ///< The assistant is at work: what is done meanwhile will be one step.
    std::optional<bool> isEdited{};   ///< Whether the document differs from what was saved; absent where that is not known.

    bool operator==(const EditorFocusedValues&) const = default;
};

/// What a command needs to be possible, and what a person is told if it is not.
struct CommandCondition {
    bool (*isMet)(const EditorFocusedValues& values);
    std::string_view otherwise;
    const CommandCondition* before = nullptr; ///< Needed as well, and told of first. Null for none.

    /// The first condition that does not hold; null if all do.
    const CommandCondition* failing(const EditorFocusedValues& values) const;
    bool holds(const EditorFocusedValues& values) const { return !failing(values); }
};

/// What is known of a command before it is carried out.
struct CommandInfo {
    Command command;
    std::string_view notification; ///< What is posted for it. Empty where nothing is.
    Menu menu = Menu::none;
    std::string_view title{};
    std::optional<Shortcut> shortcut{};
    /// A second shortcut, where some desktops keep the first one for themselves.
    std::optional<Shortcut> alternative{};
    CommandTarget target = CommandTarget::editor;
    const CommandCondition* condition = nullptr; ///< Beyond there being what the target names. Null for none.
    std::string_view missing{};                  ///< Why this program cannot do it at all. Empty if it can.
    bool startsSection = false;                  ///< A separator stands before it in its menu.
};

/// All commands, each at the place of its value.
std::span<const CommandInfo> allCommands();
const CommandInfo& commandInfo(Command command);
/// The command of a notification's name; nothing for other names.
std::optional<Command> commandNamed(std::string_view notification);

/// Whether a command can be given now, and if not, why: a sentence for a tooltip.
struct CommandAvailability {
    bool isEnabled = true;
    std::string_view reason{}; ///< Empty if it is enabled.
};

/// What lies in front when commands are looked at.
struct CommandContext {
    std::optional<EditorFocusedValues> front{}; ///< Absent with no document window in front, and while a sheet covers it.
    bool editsText = false;                     ///< Whether a text that is being edited takes cut, copy and paste.
    bool isCovered = false;                     ///< Whether there is such a window, and a sheet covers it.
};

CommandAvailability availability(Command command, const CommandContext& context);

/// The title as a menu shows it now: undo and redo name their step.
std::string commandTitle(Command command, const CommandContext& context);

/// For commands that switch something, whether it is on.
std::optional<bool> isChecked(Command command, const UserDefaults& defaults);

/// A layer to insert: the payload of the notification of `insertLayerOfKind`.
struct LayerInsertion {
    Layer::Kind kind = Layer::Kind::rectangle;
    CursorVariant cursorVariant = CursorVariant::arrow; ///< Of a cursor.

    bool operator==(const LayerInsertion&) const = default;
};

/// An entry of the menu that inserts layers.
struct InsertItem {
    std::string_view title;
    LayerInsertion insertion;
};

inline constexpr std::string_view insertLayerMenuTitle = "Insert Layer";
inline constexpr std::string_view cursorMenuTitle = "Cursor";
/// One for each kind but the cursor.
std::span<const InsertItem> insertItems();
/// One for each variant of the cursor.
std::span<const InsertItem> insertCursorItems();
} // namespace larkspool
