#pragma once

#include "timeline/span_clipboard.h"
#include "views/editor_context.h"

#include <optional>
#include <vector>

class QMenu;

namespace larkspool {

/// The span that was copied last, in any window.
SpanClipboard& spanClipboard();

/// What was right-clicked on the timeline.
struct TimelineMenuPlace {
    std::vector<TimelineItemRef> members{};  ///< Of the item or aggregate mark. Empty beside all items.
    std::optional<UUID> layerID{};           ///< Of the row, if it shows one layer.
    std::optional<Keyframe::AnimatableProperty> property{}; ///< Of the row, if it shows one.
    std::optional<double> time{};            ///< Seconds, under the pointer. Absent in the gutter.
};

/// Carries out an edit that adds an item to a layer, and selects the item.
void performAdding(const EditorContext& context, std::optional<Edit> edit);

/// Fills the menu of a place. The entries act on the selection, which holds the item of the place.
void fillTimelineMenu(QMenu& menu, const EditorContext& context, const TimelineMenuPlace& place);

} // namespace larkspool
