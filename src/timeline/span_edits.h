#pragma once

#include "editing/edit.h"
#include "editing/editor_state.h"
#include "foundation/random_source.h"
#include "timeline/drag_rules.h"

#include <optional>
#include <string_view>

namespace larkspool {

/// What is particular to the row of a layer's visibility spans. Dragging them is `TimelineItemDrag`.
namespace SpansTrack {

inline constexpr double rowHeight = 18;     ///< Points.
inline constexpr double edgeHandleWidth = 6; ///< Points at both ends of a bar that trim it.

/// What a press `x` points from the left end of a bar that wide takes hold of. Of a bar too narrow for both handles, the left one
/// wins.
DragHandle handleAt(double x, double barWidth);

/// Adds a span to the layer, from 0 or later on and 0.05 seconds long at least. Nothing if there is no such layer, and for times
/// that are not numbers.
std::optional<Edit> addSpan(const TweenScene& scene, const UUID& layerID, double start, double end,
                            RandomSource& random = systemRandom());

/// Adds a span from the playhead to the next one, or to the scene's end. If the playhead lies in a span, the first gap of the
/// layer is filled, wherever that is; nothing if there is none.
std::optional<Edit> addSpanAtPlayhead(const TweenScene& scene, const UUID& layerID, double playhead,
                                      RandomSource& random = systemRandom());

/// The help of the add button while the playhead lies in a span of the layer.
inline constexpr std::string_view playheadInsideHelp = "Playhead is already inside a visibility span on this layer";
inline constexpr std::string_view copyMenuEntry = "Copy Effects and Timing";
inline constexpr std::string_view pasteMenuEntry = "Paste Effects and Timing";

} // namespace SpansTrack

/// What is copied of a span.
struct SpanSnapshot {
    double length = 0; ///< Seconds.
    Array<SpanEffect> effects{};
    ZoomTransition zoomStart = ZoomTransition::zoom;
    ZoomTransition zoomEnd = ZoomTransition::zoom;

    static SpanSnapshot of(const TimeSpan& span);

    bool operator==(const SpanSnapshot&) const = default;
};

/// Gives the length, the effects and the zoom transitions to the right-clicked span, or to all selected spans if it is one of
/// two or more selected items. Starts are held within the scene, and ends too. The effects get ids of their own. Nothing if no
/// span is there.
std::optional<Edit> pasteSpanSnapshot(const TweenScene& scene, const TimelineSelection& selection, const SpanSnapshot& snapshot,
                                      const TimelineItemRef& rightClickedSpan, RandomSource& random = systemRandom());

/// Restacks all siblings by the start of their earliest selected item, so that the earliest layer lies on top. A layer counts
/// with what is selected below it, and as 0 with nothing. Nothing if fewer than two layers count, or if the order is so
/// already.
std::optional<Edit> orderLayersByStartTime(const TweenScene& scene, const TimelineSelection& selection);

/// How many layers `orderLayersByStartTime` would count; its menu entry is enabled from 2 on.
std::size_t affectedLayerCount(const TweenScene& scene, const TimelineSelection& selection);

} // namespace larkspool
