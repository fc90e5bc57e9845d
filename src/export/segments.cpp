#include "export/segments.h"

#include <algorithm>

namespace larkspool::Exporter {

namespace {

constexpr double startGrace = 1e-9;
constexpr double shortestTransition = 0.001;

double startOf(const ExportSegment& segment)
{
    return std::visit([](const auto& part) { return part.start; }, segment);
}

} // namespace

ExportPlan planExport(const Array<TweenScene>& scenes)
{
    ExportPlan plan;
    double cursor = 0;
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        const TweenScene& scene = scenes[i];
        const double length = scene.duration + std::max(scene.endPause, 0.0);
        plan.segments.push_back(SceneSegment{.index = i, .start = cursor, .end = cursor + length});
        cursor += length;

        const bool isLast = i + 1 == scenes.size();
        if (isLast || !scene.transition || !(scene.transition->duration > 0)) continue;
        const double end = cursor + scene.transition->duration;
        plan.segments.push_back(TransitionSegment{.outIndex = i, .start = cursor, .end = end, .kind = scene.transition->kind});
        cursor = end;
    }
    plan.totalDuration = cursor;
    return plan;
}

const ExportSegment* segmentAt(const std::vector<ExportSegment>& segments, double time)
{
    if (segments.empty()) return nullptr;
    for (auto segment = segments.rbegin(); segment != segments.rend(); ++segment)
        if (startOf(*segment) - startGrace <= time) return &*segment;
    return &segments.front();
}

double localTime(const SceneSegment& segment, const TweenScene& scene, double time)
{
    return std::max(std::min(time - segment.start, scene.duration), 0.0);
}

double transitionProgress(const TransitionSegment& segment, double time)
{
    return std::clamp((time - segment.start) / std::max(segment.end - segment.start, shortestTransition), 0.0, 1.0);
}

} // namespace larkspool::Exporter
