#pragma once

#include "editing/edit.h"
#include "foundation/random_source.h"

#include <optional>
#include <string_view>
#include <unordered_map>

namespace larkspool {

/// The layer and all below it with ids that nothing else has: those of the layers, their clips, keyframes, spans, effects, blink
/// ranges and pulses. All else stays, names and places too.
Layer regenerateIDs(Layer layer, RandomSource& random = systemRandom());

/// How a copy beside its source differs from it, but for the ids.
struct CopyStyle {
    double offset = 0; ///< Canvas pixels on both axes, of the place and of every keyframe of it.
    std::string_view nameSuffix{};
};

/// What a selection's copies differ by that are told from their sources by eye.
inline constexpr CopyStyle namedCopies{.offset = 0, .nameSuffix = " Copy"};
inline constexpr CopyStyle shiftedCopies{.offset = 20, .nameSuffix = " Copy"};

/// The ids of copies by those of their sources.
using CopiedIDs = std::unordered_map<UUID, UUID>;

/// Puts a copy of every layer of the ids directly in front of its source, in the same list. A layer is copied once, with all
/// below it: those of the ids that lie in another are no sources. Gives the copies' ids into `newIDs`.
void duplicateInTree(Array<Layer>& layers, const LayerIDs& layerIDs, const CopyStyle& style, CopiedIDs& newIDs,
                     RandomSource& random = systemRandom());

/// Copies the selected layers, and selects the copies. Nothing if there is none, and where a file could not hold them all.
std::optional<Edit> duplicateSelected(const TweenScene& scene, const LayerIDs& selection, const CopyStyle& style = shiftedCopies,
                                      RandomSource& random = systemRandom());

} // namespace larkspool
