#pragma once

#include "editing/edit.h"
#include "editing/editor_state.h"
#include "editing/modifiers.h"
#include "timeline/timeline_geometry.h"

#include <optional>
#include <span>

namespace larkspool {

/// What a tap on an item does to the selection. A composite item, such as a bar of an aggregate row, taps all its members.
///
///     shift      adds the members
///     Command    takes the members away if all are selected, else adds them
///     neither    selects just the members, or nothing if just they were selected
void applyTimelineTap(std::span<const TimelineItemRef> members, TimelineSelection& to, Modifiers modifiers);

/// The tap on the editor's selection. The primary item follows: the one keyframe or span that was tapped, if it is selected now.
void tapTimelineItems(EditorState& state, std::span<const TimelineItemRef> members, Modifiers modifiers);

/// Makes the item the primary one of its kind if it is selected and a keyframe or a span.
void makePrimary(EditorState& state, const TimelineItemRef& ref);

/// The items at the playhead, within the visible window, of the selected and pinned layers with all below them, or of every layer
/// if there are none. A keyframe or pulse counts within half a frame of the playhead; a span or clip if it covers it.
TimelineSelection selectAllAtPlayhead(const EditorState& state);

/// The layers that the timeline shows in detail: those selected and pinned, with all below them. Empty shows none.
LayerIDs currentTimelineLayerIDs(const EditorState& state);

/// Deletes the selected items and empties the selection. Nothing if none of them is there, or is but a wait of 0.
std::optional<Edit> deleteTimelineSelection(const EditorState& state);

/// Takes the items out of their layers. A clip goes back to a default one: the video layer stays; and of a wait tail the wait
/// becomes 0: the keyframe stays.
void applyTimelineDeletes(const TimelineSelection& sel, TweenScene& to);

} // namespace larkspool
