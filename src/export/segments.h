#pragma once

#include "document/tween_scene.h"

#include <variant>
#include <vector>

namespace larkspool::Exporter {

/// A stretch of a film, in seconds of the film. Segments follow one another without a gap:
///
///     | scene 0      pause | transition | scene 1      pause | scene 2 ...
struct SceneSegment {
    std::size_t index = 0; ///< Of the scene in the list.
    double start = 0;
    double end = 0;

    bool operator==(const SceneSegment&) const = default;
};

/// From the last moment of one scene to the first of the next; neither of them moves meanwhile.
struct TransitionSegment {
    std::size_t outIndex = 0; ///< The scene that leaves. The one behind it enters.
    double start = 0;
    double end = 0;
    SceneTransition::Kind kind = SceneTransition::Kind::fade;

    bool operator==(const TransitionSegment&) const = default;
};

using ExportSegment = std::variant<SceneSegment, TransitionSegment>;

struct ExportPlan {
    double totalDuration = 0;
    std::vector<ExportSegment> segments;
};

/// Lays the scenes out on the film's time. A pause below 0 counts as none, and a transition without a length as a cut.
ExportPlan planExport(const Array<TweenScene>& scenes);

/// The segment that shows at `time`: the last that has begun, with a billionth of a second of grace, or else the first. Null
/// without segments.
const ExportSegment* segmentAt(const std::vector<ExportSegment>& segments, double time);

/// The time within the scene that a scene segment shows: held at the scene's end during its pause.
double localTime(const SceneSegment& segment, const TweenScene& scene, double time);

/// How far a transition has come, 0...1, linearly.
double transitionProgress(const TransitionSegment& segment, double time);

} // namespace larkspool::Exporter
