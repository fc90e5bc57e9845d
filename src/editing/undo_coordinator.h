#pragma once

#include "document/tween_scene.h"
#include "platform/undo_manager.h"

#include <functional>
#include <memory>
#include <string_view>

namespace larkspool {

/// Undoes every kind of edit in one way: the active scene is replaced by the copy that was taken before the edit.
///
/// `read` and `write` act on whatever scene is active when they run, so that a step taken in one scene and undone in another
/// replaces the one active then.
class UndoCoordinator {
public:
    using Read = std::function<TweenScene()>;
    using Write = std::function<void(TweenScene)>;

    UndoCoordinator(Read read, Write write);

    /// Records a step that puts `before` back. White space around the name does not count; a name of nothing else is "Edit".
    /// Without a manager nothing is recorded.
    void registerUndo(UndoManager* undoManager, TweenScene before, std::string_view actionName) const;

private:
    struct Access {
        Read read;
        Write write;
    };
    static void record(const std::shared_ptr<const Access>& access, UndoManager& manager, TweenScene before);

    std::shared_ptr<const Access> access_; ///< Held by the steps too.
};

/// The name of an undo step as it is shown: without white space and line ends around it, and "Edit" if nothing is left.
std::string shownActionName(std::string_view actionName);

} // namespace larkspool
