#pragma once

#include "editing/edit.h"
#include "editing/editor_state.h"
#include "foundation/random_source.h"
#include "timeline/timeline_geometry.h"

#include <optional>
#include <vector>

namespace larkspool {

/// What is particular to the rows of a layer's keyframes: one row for each animated property, a diamond for each keyframe, and a
/// tail behind a diamond for its wait. Dragging both is `TimelineItemDrag`.
namespace KeyframeTracks {

/// The keyframes of one property, in the layer's order.
struct Row {
    Keyframe::AnimatableProperty property{};
    std::vector<UUID> kfIDs{};

    bool operator==(const Row&) const = default;
};

/// The layer's rows, sorted by the names that a document file has for the properties. A property without keyframes has none.
std::vector<Row> rows(const Layer& layer);

/// Whether the keyframe's wait is long enough to be shown and taken hold of: above 0.001 seconds.
inline bool offersWaitTail(const Keyframe& keyframe)
{
    return keyframe.wait > 0.001;
}

/// Where a wait tail lies, in points of the mapping. Its handle stands at the wait's end.
///
///     <>-------------|
///     x              handleX
struct WaitTail {
    TimelineItemRef ref{};
    double x = 0;
    double handleX = 0;

    bool operator==(const WaitTail&) const = default;
};

/// Nothing for a keyframe that offers no tail, and on a track that shows no time.
std::optional<WaitTail> waitTail(const UUID& layerID, const Keyframe& keyframe, const TrackMapping& mapping);

/// @name Writing the time of a keyframe, and nothing else of it: it stays at its place in the list.
/// Whether there was such a keyframe; false also for a time that is not a number.
/// @{
bool setKeyframeTime(Layer& layer, const UUID& id, double time);
bool setKeyframeTimeIn(TweenScene& scene, const UUID& layerID, const UUID& id, double time);
/// @}

} // namespace KeyframeTracks

/// Pins the property of the layer at the playhead to the value that it has there. A keyframe that stands there gives its easing
/// and its wait. Nothing if there is no such layer, and for a playhead that is not a number.
std::optional<Edit> addKeyframeAtPlayhead(const TweenScene& scene, const UUID& layerID, Keyframe::AnimatableProperty property,
                                          double playhead, RandomSource& random = systemRandom());

/// Pins what most animations use of each of the layers, whether or not it has keyframes already: the box of a zoom; of every
/// other kind also the rotation, the scales, the opacity and the shadow. Layers below the listed ones are left alone. Nothing if
/// no listed layer is in the scene.
std::optional<Edit> addKeyframesAtPlayhead(const TweenScene& scene, const LayerIDs& layerIDs, double playhead,
                                           RandomSource& random = systemRandom());

/// The times of all keyframes of the layers that the timeline shows, ascending, each once. With no layer shown in detail the rows
/// stand for the whole scene, and every layer counts.
std::vector<double> allKeyframeTimes(const EditorState& state);

} // namespace larkspool
