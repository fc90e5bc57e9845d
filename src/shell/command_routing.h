#pragma once

#include "canvas/layer_style.h"
#include "platform/notification_center.h"
#include "platform/pasteboard.h"
#include "shell/commands.h"
#include "shell/editor_view.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace larkspool {

/// The road of a command from a menu to the editor that carries it out:
///
///     menu ─▶ sendCommand ─▶ notification ─▶ FocusedNotificationReceive of each window ─▶ performCommand of the front one
///                  └─▶ the text that is being edited, for cut, copy and paste

/// Which of several windows commands go to: the one that was made key last.
class PrimaryEditorRegistry {
public:
    /// Listens for windows that close. The centre outlives it.
    explicit PrimaryEditorRegistry(NotificationCenter& center);
    PrimaryEditorRegistry(const PrimaryEditorRegistry&) = delete;
    PrimaryEditorRegistry& operator=(const PrimaryEditorRegistry&) = delete;

    /// The `editorInstanceID` of that window. Nothing until there was one, and after it has closed.
    const std::optional<UUID>& primaryID() const { return primaryID_; }
    void setPrimaryID(std::optional<UUID> primaryID) { primaryID_ = primaryID; }

private:
    std::optional<UUID> primaryID_;
    Observation closing_;
};

/// How an editor listens for commands, so that with many windows one command acts once.
class FocusedNotificationReceive {
public:
    /// The window that listens.
    struct Environment {
        std::function<bool()> controlActive;   ///< Whether the window is active: not while a sheet is in front of it.
        std::optional<UUID> envInstanceID{};   ///< Of its editor, where it has one.
    };

    /// `primary` and the centre outlive it.
    FocusedNotificationReceive(NotificationCenter& center, std::string_view name, Environment environment,
                               const PrimaryEditorRegistry& primary, NotificationCenter::Receive action);

    /// Whether a window runs its action: an active one does, unless both ids are there and differ.
    static bool receives(bool controlActive, const std::optional<UUID>& envInstanceID, const std::optional<UUID>& primaryID)
    {
        return controlActive && (!primaryID || !envInstanceID || *primaryID == *envInstanceID);
    }

private:
    Observation observation_;
};

/// The text that is being edited in the window that has the keyboard, if any.
class TextResponder {
public:
    virtual ~TextResponder() = default;

    /// Whether a text is being edited. It has then done what `selector` asks of it: to cut, copy or paste.
    virtual bool forwardToTextResponder(Command selector) = 0;
};

/// Sends a command of an editor on its way. Cut, copy and paste end at a text that is being edited. The command has a
/// notification; `payload` goes with it.
void sendCommand(Command command, const NotificationCenter& center, TextResponder& text, std::any payload = {});

/// Listens for all commands that have a notification, for the editor of one window.
class EditorCommandReceiver {
public:
    /// Called for each command that reaches this window, with the notification that brought it.
    using Receive = std::function<void(Command command, const Notification& notification)>;

    EditorCommandReceiver(NotificationCenter& center, const FocusedNotificationReceive::Environment& environment,
                          const PrimaryEditorRegistry& primary, const Receive& receive);

private:
    std::vector<FocusedNotificationReceive> receivers_;
};

/// What the editor tells the menus while it is in front.
EditorFocusedValues focusedValues(const EditorState& state, const UndoManager& undoManager, const LayerStyleClipboard& styles);

/// What came of a command.
struct CommandResult {
    enum class Kind {
        done,
        nothingToDo, ///< It is possible, and changes nothing as things are.
        forWindow,   ///< It is about what the window shows: the window carries it out.
        unavailable
    };

    Kind kind = Kind::done;
    std::string_view reason{}; ///< Of one that is unavailable: a sentence for a person.

    bool operator==(const CommandResult&) const = default;
};

/// What commands use of the window around the editor.
struct CommandSurroundings {
    Pasteboard& pasteboard;
    LayerStyleClipboard& styles;             ///< The same for all windows.
    std::optional<CGPoint> viewportCenter{}; ///< The centre of the visible canvas in scene coordinates, where it is known.
    std::function<void()> beep{};            ///< May be absent.
    LayerInsertion insertion{};              ///< For `insertLayerOfKind`.
};

/// Carries the command out, as far as an editor without a window can. One that is not available changes nothing.
CommandResult performCommand(EditorView& editor, Command command, const CommandSurroundings& around);

/// The playhead so many frames further, held within the scene.
double steppedPlayhead(const TweenScene& scene, double playhead, int frames);

/// Lets the names of the selected layers follow their contents again.
std::optional<Edit> resetLayerNames(const TweenScene& scene, const LayerIDs& selection);

} // namespace larkspool
