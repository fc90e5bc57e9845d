#pragma once

#include "editing/edit.h"
#include "foundation/random_source.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace larkspool {

/// The structure of the tree of layers, and switches of whole layers. None of these gives an edit where nothing is selected or
/// nothing would change.

/// Whether one list holds all selected layers, so that they can be grouped.
bool canGroupSelection(const TweenScene& scene, const LayerIDs& selection);

/// Puts the selected layers of one list into a group, in their order, where the topmost of them stood:
///
///     back  a [b] c [d] e  front   ▶   a c (b d) e
///
/// Nothing where no list holds all of them, and where the group would lie deeper than a file allows.
std::optional<Edit> groupSelection(const TweenScene& scene, const LayerIDs& selection, RandomSource& random = systemRandom());

/// Whether a selected layer is a group that `ungroupSelection` would take apart.
bool canUngroupSelection(const TweenScene& scene, const LayerIDs& selection);

/// Puts the children of each selected group in its place, and selects them. The group's layout, and its place, scale and rotation
/// at the playhead, go into the children's own transforms and sizes; their keyframes stay as they are, and so does what is
/// selected below another selected layer.
std::optional<Edit> ungroupSelection(const TweenScene& scene, const LayerIDs& selection, double playhead);

/// Deletes the selected layers with all below them. A view of a picture-in-picture zoom goes only with its zoom: where one is
/// selected nothing happens but a beep, if there is one.
std::optional<Edit> deleteSelected(const TweenScene& scene, const LayerIDs& selection, const std::function<void()>& beep = {});

/// @name Sets all selected layers to the opposite of the first of them in the tree.
/// @{
std::optional<Edit> toggleHideForSelection(const TweenScene& scene, const LayerIDs& selection);
std::optional<Edit> toggleLockForSelection(const TweenScene& scene, const LayerIDs& selection);
/// @}

/// Removes the keyframes, spans and pulses of the selected layers, and lets a video play its whole source from the scene's start.
/// Where the source's length is not known, its clip keeps its length.
std::optional<Edit> resetTimelineForSelection(const TweenScene& scene, const LayerIDs& selection);

/// The names of the fonts of the scene's texts and font keyframes, in order. An empty name is the system font.
std::vector<std::string> fontsInScene(const TweenScene& scene);

/// How many layers use the font, as texts or in font keyframes.
std::size_t countOfFontUsers(const TweenScene& scene, std::string_view fontName);

/// Replaces a font in the scene's texts and font keyframes.
std::optional<Edit> replaceFont(const TweenScene& scene, std::string_view fontName, std::string_view replacement);

} // namespace larkspool
