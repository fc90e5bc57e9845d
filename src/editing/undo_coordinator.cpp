#include "editing/undo_coordinator.h"

#include "foundation/trim.h"

#include <string>
#include <utility>

namespace larkspool {

UndoCoordinator::UndoCoordinator(Read read, Write write)
    : access_(std::make_shared<const Access>(Access{std::move(read), std::move(write)}))
{}

void UndoCoordinator::registerUndo(UndoManager* undoManager, TweenScene before, std::string_view actionName) const
{
    if (!undoManager) return;
    record(access_, *undoManager, std::move(before));
    undoManager->setActionName(shownActionName(actionName));
}

void UndoCoordinator::record(const std::shared_ptr<const Access>& access, UndoManager& manager, TweenScene before)
{
    manager.registerUndo([access, &manager, before = std::move(before)] {
        TweenScene current = access->read();
        access->write(before);
        record(access, manager, std::move(current)); // The manager takes it for the way back, under the same name.
    });
}

std::string shownActionName(std::string_view actionName)
{
    const std::string_view name = trimmed(actionName);
    return std::string(name.empty() ? "Edit" : name);
}

} // namespace larkspool
