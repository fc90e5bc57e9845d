#include "export/exporter.h"

#include "export/film.h"
#include "export/film_source.h"
#include "export/segments.h"

#include <algorithm>

namespace larkspool {

namespace {

using Exporter::ExportError;

void refuseSound(const std::optional<Exporter::ExportAudio>& audio, const std::vector<Exporter::VideoAudioClip>& clips)
{
    if (audio || !clips.empty()) throw ExportError(ExportError::Kind::writeFailed, "Sound cannot be exported yet");
}

} // namespace

void Exporter::exportMP4(const TweenScene& scene, const std::string& path, double startTime,
                         const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& videoAudioClips,
                         const ExportOptions& options)
{
    refuseSound(audio, videoAudioClips);
    const double start = std::max(std::min(startTime, scene.duration), 0.0);
    const FilmPlan plan = planFilm(scene.size(), options.outputScale, scene.fps, std::max(scene.duration - start, 0.0));
    const auto source = makeSceneSource(scene);
    writeFilm(plan, *makeFilmFrames(*source, start, plan.fps, options.motionBlurSamples), path, options);
}

void Exporter::exportMP4(const Array<TweenScene>& scenes, const std::string& path, const std::optional<ExportAudio>& audio,
                         const std::vector<VideoAudioClip>& videoAudioClips, const ExportOptions& options)
{
    if (scenes.empty()) throw ExportError(ExportError::Kind::writeFailed, "No scenes to export");
    refuseSound(audio, videoAudioClips);
    ExportPlan layout = planExport(scenes);
    const TweenScene& first = scenes.front();
    const FilmPlan plan = planFilm(first.size(), options.outputScale, first.fps, layout.totalDuration);
    const auto source = makeScenesSource(scenes, std::move(layout.segments));
    writeFilm(plan, *makeFilmFrames(*source, 0, plan.fps, options.motionBlurSamples), path, options);
}

} // namespace larkspool
