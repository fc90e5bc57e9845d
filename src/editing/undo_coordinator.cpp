#include "editing/undo_coordinator.h"

#include <string>
#include <utility>

namespace larkspool {

UndoCoordinator::UndoCoordinator(Read read, Write write)
    : access_(std::make_shared<const Access>(Access{std::move(read), std::move(write)}))
{}

void UndoCoordinator::registerUndo(UndoManager* undoManager, TweenScene before, std::string_view actionName) const
{
    if (!undoManager) return;
    record(access_, *undoManager, std::move(before), shownActionName(actionName));
}

void UndoCoordinator::record(const std::shared_ptr<const Access>& access, UndoManager& manager, TweenScene before,
                             std::string name)
{
    manager.registerUndo([access, &manager, before = std::move(before), name] {
        TweenScene current = access->read();
        access->write(before);
        record(access, manager, std::move(current), name); // The manager takes it for the way back.
    });
    manager.setActionName(name);
}

std::string shownActionName(std::string_view actionName)
{
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const std::size_t first = actionName.find_first_not_of(blanks);
    if (first == std::string_view::npos) return "Edit";
    return std::string(actionName.substr(first, actionName.find_last_not_of(blanks) - first + 1));
}

} // namespace larkspool
