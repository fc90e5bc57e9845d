#pragma once

#include "shell/commands.h"
#include "shell/editor_view.h"
#include "shell/playback.h"
#include "shell/tasks.h"

#include <functional>
#include <string>

namespace larkspool {

/// What a part of an editor's window works with. It draws the state of `editor`, and calls `changed` after every input that may
/// have changed it, which makes all parts of the window show the new state.
struct EditorContext {
    EditorView& editor;
    Playback& playback;
    std::function<void()> changed;
    std::function<void(Command command)> perform; ///< Carries a command out in this window, as its menu item would.
    std::function<void()> sceneCreated{}; ///< Tells that a person has added a scene. May be absent.
    std::function<std::string()> documentFolder = [] { return std::string(); }; ///< Empty for a document without a file.
    Tasks tasks{}; ///< For what may take long.
};

} // namespace larkspool
