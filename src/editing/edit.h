#pragma once

#include "document/tween_scene.h"
#include "editing/timeline_item.h"

#include <optional>
#include <string>

namespace larkspool {

/// What an operation makes of a scene: the new scene, the name of its undo step, and what is selected afterwards. An operation
/// that has nothing to do returns no edit.
struct Edit {
    /// What changes of the editor's selections.
    struct Selection {
        LayerIDs layerIDs{};                         ///< Empty keeps the selected layers.
        std::optional<TimelineSelection> timeline{}; ///< Absent keeps the selected timeline items.
    };

    TweenScene scene;
    std::string actionName;
    Selection selection{};
};

} // namespace larkspool
