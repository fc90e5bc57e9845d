#pragma once

#include "shell/commands.h"

#include <QMenuBar>

#include <functional>
#include <optional>
#include <vector>

class QAction;

namespace larkspool {

/// The menus of an editor's window, made of the table of commands.
class Menus {
public:
    struct Steps {
        std::function<void(Command command)> perform;
        std::function<void(const LayerInsertion& insertion)> insert;
        std::function<std::vector<std::string>()> recentDocuments;
        std::function<void(const std::string& path)> openDocument;
        std::function<void()> aboutToShow{}; ///< Called before a menu is seen. May be absent.
    };

    Menus(QMenuBar& bar, Steps steps);

    /// Enables what is possible, and tells of the rest why not; names the steps to undo and redo.
    void refresh(const CommandContext& context, const UserDefaults& defaults);

private:
    void addCommand(QMenu& menu, const CommandInfo& info);
    void addRecents(QMenu& menu);
    void addInsertions(QMenu& menu);

    Steps steps_;
    std::vector<std::pair<Command, QAction*>> actions_;
    std::vector<QAction*> insertions_;
};

} // namespace larkspool
