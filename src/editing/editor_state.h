#pragma once

#include "document/tween_document.h"
#include "editing/timeline_item.h"

#include <optional>
#include <string>

namespace larkspool {

/// All that an editor window knows of its document and of what the person is about, as one value.
struct EditorState {
    TweenDocument document{};
    double playhead = 0; ///< Seconds of the active scene.

    /// @name Selections. Changed through the functions below, which keep them consistent.
    /// @{
    LayerIDs selectedLayerIDs{};
    TimelineSelection timelineSelection{};
    std::optional<UUID> selectedKeyframeID{}; ///< The primary item for the inspector; so too the span.
    std::optional<UUID> selectedSpanID{};
    /// @}
    LayerIDs timelinePinnedLayerIDs{}; ///< Layers kept in the timeline though not selected.

    /// @name The timeline's view.
    /// @{
    bool zoomedIn = false;    ///< A quarter of the scene is seen.
    double viewportStart = 0; ///< Seconds; read while zoomed in.
    /// @}

    /// @name The undo gate of the numeric field that has the focus.
    /// @{
    std::optional<TweenScene> gatePreFocusScene{}; ///< The scene when the field took the focus. Present while the gate is open.
    std::string gateActionName{};                  ///< Of the last edit under the gate; empty for none.
    /// @}

    /// The active scene of the document.
    TweenScene scene() const { return document.scene(); }
};

/// Selects the layers. A change of them empties the selection of timeline items and both primary items.
void selectLayers(EditorState& state, LayerIDs layerIDs);

/// Selects the timeline items. A primary item that is not among them any more is cleared.
void selectTimelineItems(EditorState& state, TimelineSelection items);

/// Takes out of all selections what the active scene does not hold any more.
void dropDeadReferences(EditorState& state);

} // namespace larkspool
