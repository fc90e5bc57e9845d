#pragma once

#include "assistant/json.h"
#include "document/tween_document.h"
#include "editing/timeline_item.h"

namespace larkspool {

/// What the model is told of the editor around the document.
struct AssistantEditorContext {
    double playhead = 0; ///< Seconds of the active scene.
    bool isPlaying = false;
    LayerIDs selectedLayerIDs{};
    TimelineSelection timelineSelection{};
    LayerIDs timelinePinnedLayerIDs{};
    LayerIDs expandedLayerGroups{};
    bool hasAudio = false;
    bool canUndo = false;
    bool canRedo = false;
};

/// The items by kind, each kind a list of its own, be it empty.
JSON timelineSelectionJSON(const TimelineSelection& items);

/// The active scene within what surrounds it, or {"error": "no active scene"} if the document's index names none. Throws
/// JsonWriteError for a scene that no file can hold.
JSON activeSceneJSON(const TweenDocument& document, const AssistantEditorContext& context);

} // namespace larkspool
