#include "timeline/timeline_geometry.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr double shortestVisible = 0.001;
constexpr double closestTicks = 36;
constexpr double mostTicks = 10'000;
constexpr double longestStep = 600;

double pointsPerSecond(double width, double visibleSeconds)
{
    return width / std::max(visibleSeconds, shortestVisible);
}

/// Within 0 and the scene's end, and at 0 in a scene without duration.
double heldWithin(double time, double duration)
{
    return std::max(std::min(time, duration), 0.0);
}

} // namespace

double heldViewportStart(double start, double duration)
{
    return heldWithin(start, duration * (1 - zoomedShare));
}

std::optional<TimelineViewport> activeViewport(const EditorState& state)
{
    if (!state.zoomedIn) return std::nullopt;
    const double duration = state.scene().duration;
    return TimelineViewport{heldViewportStart(state.viewportStart, duration), duration * zoomedShare};
}

TrackMapping TrackMapping::of(const std::optional<TimelineViewport>& viewport, double duration, double left, double width)
{
    const TimelineViewport shown = shownViewport(viewport, duration);
    return {left, width, shown.start, shown.visibleDuration};
}

TrackMapping trackMapping(const std::optional<TimelineViewport>& viewport, double duration, double leftGutter,
                          double containerWidth)
{
    const double gutter = leftGutter + trackMargins;
    return TrackMapping::of(viewport, duration, gutter, std::max(containerWidth - gutter, 1.0));
}

double TimeTickRail::step(double width, double visibleSeconds)
{
    const double scale = pointsPerSecond(width, visibleSeconds);
    for (const double step : {1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 60.0, 120.0, 300.0})
        if (scale * step >= closestTicks) return step;
    return longestStep;
}

std::vector<double> TimeTickRail::ticks(double width, const TimelineViewport& viewport)
{
    const double between = step(width, viewport.visibleDuration);
    const double first = std::ceil(viewport.start / between), last = std::floor(viewport.end() / between);
    std::vector<double> ticks;
    if (!(last - first < mostTicks)) return ticks;
    for (double i = first; i <= last; ++i) ticks.push_back(i * between);
    return ticks;
}

double TimeTickRail::time(double x, double width, const TimelineViewport& viewport, double duration)
{
    const TrackMapping rail{0, std::max(width, 1.0), viewport.start, std::max(viewport.visibleDuration, shortestVisible)};
    return heldWithin(rail.time(x), duration);
}

TimelineViewport shownViewport(const std::optional<TimelineViewport>& viewport, double duration)
{
    return viewport.value_or(TimelineViewport{0, duration});
}

std::string timecodeBubble(double time, double fps)
{
    return fmt::format("{:.2f}s · f{:.0f}", time, std::max(std::round(time * fps), 0.0));
}

} // namespace larkspool
