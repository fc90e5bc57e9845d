#pragma once

#include "editing/editor_state.h"
#include "timeline/rippled_edit.h"

#include <optional>
#include <unordered_set>

namespace larkspool {

/// Which end of a span or clip is set.
enum class InOutPoint { in, out };

/// @name What is set. Whether it is there is not looked at.
/// @{
/// The selected spans; without one, the primary span.
std::unordered_set<UUID> collectInOutTargetSpanIDs(const EditorState& state);
/// The layers of the selected clips.
LayerIDs collectInOutTargetVideoClipLayerIDs(const EditorState& state);
/// @}

/// Sets the start or the end of every target to the playhead; its other end stays, and a clip keeps its picture in place, as far
/// back as its source reaches. The effects of spans are refit.
///
///     start  playhead    end
///       [-------|---------]       set in:  [---------]
///
/// A target that would end before it begins is left as it is: one that ends before the playhead for a set in, or begins after it
/// for a set out. Ripple takes the others from the earliest end that is set, by the way that this goes. Nothing if no target
/// changes, for a playhead that is not a number, and in a scene of no duration.
std::optional<RippledEdit> applySpanInOut(const EditorState& state, InOutPoint point, const RippleSetting& ripple);

} // namespace larkspool
