#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// The undo and redo stacks of one document, without limit of depth. One thread.
///
/// What is undone is whatever handlers do. A handler that registers again while it runs records the way back:
///
///     registered       while undoing      while redoing
///     to the undo      to the redo        to the undo
///     stack; redo      stack              stack; redo
///     is emptied                          stays
///
/// A handler registered on its own is one step. Handlers registered between `beginUndoGrouping` and the matching
/// `endUndoGrouping` are one step together, and run in the reverse of the order in which they were registered.
class UndoManager {
public:
    using Handler = std::function<void()>;

    UndoManager() = default;
    UndoManager(const UndoManager&) = delete;
    UndoManager& operator=(const UndoManager&) = delete;

    void registerUndo(Handler handler);

    /// Names the open group; without one, the step that was registered last. A step that nobody names has the name of the one
    /// whose undoing or redoing brought it about, else none. Without such a step nothing happens.
    void setActionName(std::string_view name);

    /// Groups nest; the outermost is the step. One in which nothing is registered leaves no step.
    void beginUndoGrouping();
    void endUndoGrouping();
    std::size_t groupingLevel() const { return level_; } ///< 0 outside of any group.

    bool canUndo() const { return !undo_.empty(); }
    bool canRedo() const { return !redo_.empty(); }
    std::size_t undoCount() const { return undo_.size(); } ///< Steps that can be undone.
    std::size_t redoCount() const { return redo_.size(); }

    /// Runs the last step of the stack. Nothing happens if there is none, inside a group, or while a step is being undone or
    /// redone.
    void undo();
    void redo();
    bool isUndoing() const { return running_ == Running::undo; }
    bool isRedoing() const { return running_ == Running::redo; }

    /// The name of the step that would be undone or redone; empty if there is none or it has no name.
    std::string undoActionName() const { return undo_.empty() ? std::string() : undo_.back().name; }
    std::string redoActionName() const { return redo_.empty() ? std::string() : redo_.back().name; }

    /// "Undo" or "Redo", followed by a blank and the name if there is one.
    std::string undoMenuItemTitle() const;
    std::string redoMenuItemTitle() const;

    /// Empties both stacks, and drops what an open group has gathered.
    void removeAllActions();

private:
    enum class Running { nothing, undo, redo };
    struct Step {
        std::vector<Handler> handlers{};
        std::string name{};
    };

    void run(std::vector<Step>& from, Running running);
    void push(Step step);

    std::vector<Step> undo_;
    std::vector<Step> redo_;
    Step open_{}; ///< Gathered by the open group, or while a step runs.
    std::size_t level_ = 0; ///< Of the groups that callers opened.
    Running running_ = Running::nothing;
    bool named_ = false; ///< Whether the last registration can still be named.
};

} // namespace larkspool
