#pragma once

#include "platform/undo_manager.h"

#include <string>
#include <utility>

namespace larkspool {

/// Edits over a longer time that are undone as one step under one name, whatever the names of the single ones. Without edits there
/// is no step, and the step before keeps its name. The manager must outlive it.
class NamedUndoGroup {
public:
    explicit NamedUndoGroup(UndoManager& manager) : manager_(manager) {}

    void begin(std::string name)
    {
        manager_.beginUndoGrouping();
        name_ = std::move(name);
    }
    void end()
    {
        if (!name_.empty()) manager_.setActionName(name_); // Of the group, as long as it is open.
        name_.clear();
        manager_.endUndoGrouping();
    }

private:
    UndoManager& manager_;
    std::string name_;
};

} // namespace larkspool
