#pragma once

#include "document/enumeration.h"
#include "editing/edit.h"
#include "foundation/random_source.h"

#include <optional>
#include <span>

namespace larkspool {

/// Aligning, distributing and nudging the selected layers at the playhead, in seconds. Each layer moves in the space of its own
/// siblings, in canvas pixels. There is no edit where nothing would move.

enum class AlignEdge { left, hCenter, right, top, vCenter, bottom };

template <>
struct EnumTable<AlignEdge> {
    using enum AlignEdge;
    static constexpr EnumCase<AlignEdge> cases[] = {{left, "left"}, {hCenter, "hCenter"}, {right, "right"},
                                                    {top, "top"},   {vCenter, "vCenter"}, {bottom, "bottom"}};
};

/// What a layer covers of its siblings' space: a group the box of what it holds, an image or a video with a stored crop what the
/// crop leaves, any other its box. Scale and rotation do not count but for a group's scale. Null for a group of which nothing
/// shows.
CGRect layerVisualFrame(const Layer& layer, double playhead);

/// The box around the layers' frames; null if all are null.
CGRect unionFrame(std::span<const Layer* const> layers, double playhead);

/// Moves the selected layers so that an edge, or the middle, of each comes to that of the box around all of them; a single layer
/// to that of the scene. Where the coordinate is keyframed, the move is a keyframe at the playhead, and one at time 0 keeps the
/// opening as it was.
std::optional<Edit> alignSelected(const TweenScene& scene, const LayerIDs& selection, AlignEdge edge, double playhead,
                                  RandomSource& random = systemRandom());

enum class DistributeAxis { horizontal, vertical };

/// Moves the selected layers so that their middles are evenly apart; the first and the last stay. Keyframes are not touched.
/// Nothing for fewer than three layers.
std::optional<Edit> distributeSelected(const TweenScene& scene, const LayerIDs& selection, DistributeAxis axis, double playhead);

/// Moves the selected layers by a delta. A selected layer within a selected group moves twice. A keyframed coordinate gets a
/// keyframe at the playhead, at the stored coordinate plus the delta.
std::optional<Edit> nudgeSelected(const TweenScene& scene, const LayerIDs& selection, CGPoint delta, double playhead,
                                  RandomSource& random = systemRandom());

/// How far an arrow key nudges.
constexpr double nudgeStep(bool shift)
{
    return shift ? 10 : 1;
}

} // namespace larkspool
