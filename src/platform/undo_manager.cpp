#include "platform/undo_manager.h"

#include <cassert>
#include <utility>

namespace larkspool {

namespace {

std::string menuItemTitle(std::string_view verb, const std::string& name)
{
    return name.empty() ? std::string(verb) : std::string(verb) + " " + name;
}

} // namespace

void UndoManager::registerUndo(Handler handler)
{
    if (running_ != Running::nothing || level_ > 0) {
        open_.handlers.push_back(std::move(handler));
        return;
    }
    Step step;
    step.handlers.push_back(std::move(handler));
    push(std::move(step));
}

void UndoManager::setActionName(std::string_view name)
{
    if (running_ != Running::nothing || level_ > 0)
        open_.name = name;
    else if (!undo_.empty() && named_)
        undo_.back().name = name;
}

void UndoManager::beginUndoGrouping()
{
    ++level_;
}

void UndoManager::endUndoGrouping()
{
    assert(level_ > 0);
    if (level_ == 0 || --level_ > 0 || running_ != Running::nothing) return;
    push(std::exchange(open_, {}));
}

void UndoManager::undo()
{
    run(undo_, Running::undo);
}

void UndoManager::redo()
{
    run(redo_, Running::redo);
}

void UndoManager::run(std::vector<Step>& from, Running running)
{
    if (running_ != Running::nothing || level_ > 0 || from.empty()) return;

    Step step = std::move(from.back());
    from.pop_back();
    open_ = {.name = step.name};
    running_ = running;
    // What was registered until a handler failed is still the way back.
    struct Ended {
        UndoManager& manager;
        ~Ended()
        {
            const Running ran = std::exchange(manager.running_, Running::nothing);
            manager.level_ = 0;
            Step back = std::exchange(manager.open_, {});
            if (!back.handlers.empty()) (ran == Running::undo ? manager.redo_ : manager.undo_).push_back(std::move(back));
            manager.named_ = false;
        }
    } ended{*this};
    while (!step.handlers.empty()) {
        const Handler handler = std::move(step.handlers.back());
        step.handlers.pop_back();
        handler();
    }
}

void UndoManager::push(Step step)
{
    if (step.handlers.empty()) return;
    undo_.push_back(std::move(step));
    redo_.clear();
    named_ = true;
}

std::string UndoManager::undoMenuItemTitle() const
{
    return menuItemTitle("Undo", undoActionName());
}

std::string UndoManager::redoMenuItemTitle() const
{
    return menuItemTitle("Redo", redoActionName());
}

void UndoManager::removeAllActions()
{
    undo_.clear();
    redo_.clear();
    open_ = {};
    named_ = false;
}

} // namespace larkspool
