#include "shell/film_summary.h"

#include "export/film.h"
#include "export/segments.h"

#include <algorithm>

namespace larkspool {

std::optional<FilmSummary> filmSummary(const FilmJob& job)
{
    if (job.scenes.empty()) return std::nullopt;
    const TweenScene& first = job.scenes.front();
    const bool isJoined = job.form == FilmJob::Form::allScenes;
    const double seconds = isJoined ? Exporter::planExport(job.scenes).totalDuration : std::max(first.duration, 0.0);
    try {
        const Exporter::FilmPlan plan = Exporter::planFilm(first.size(), job.outputScale, first.fps, seconds);
        return FilmSummary{plan.width, plan.height, plan.fps, plan.seconds, job.hasSound()};
    } catch (const Exporter::ExportError&) {
        return std::nullopt;
    }
}

} // namespace larkspool
