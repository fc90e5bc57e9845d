#pragma once

#include "canvas/layer_style.h"
#include "platform/notification_center.h"
#include "platform/pasteboard.h"
#include "platform/user_defaults.h"
#include "shell/command_routing.h"
#include "shell/document_saver.h"
#include "shell/media_flow.h"
#include "shell/welcome.h"
#include "views/background_tasks.h"

#include <functional>
#include <string>

namespace larkspool {

/// What all windows of the program share.
struct Workspace {
    UserDefaults& defaults;
    Pasteboard& pasteboard;
    NotificationCenter center{};
    PrimaryEditorRegistry registry{center};
    LayerStyleClipboard styles{};
    RecentDocuments recents{};
    BackgroundTasks background{};
    DocumentSaver saver{background.tasks()};
    std::string windowStatePath{}; ///< The file that keeps how large windows and their panels are; empty for none.

    /// @name What people are asked about media with. The windows' own, where none are given.
    /// @{
    RunOpenPanel runOpenPanel{};
    RunAlert runAlert{};
    /// @}

    /// @name Set by the program.
    /// @{
    std::function<void(Command command)> performForApplication{}; ///< What needs no window.
    std::function<void(const std::string& path)> openDocument{};
    /// @}
};

} // namespace larkspool
