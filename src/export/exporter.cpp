#include "export/exporter.h"

#include "export/film.h"
#include "export/film_source.h"
#include "export/film_with_sound.h"
#include "export/segments.h"
#include "foundation/uuid.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>

namespace larkspool {

namespace {

using Exporter::ExportError;

constexpr std::string_view temporaryPrefix = "larkspool-export-";

bool isUserCancelled(const std::exception& error)
{
    const auto* exporting = dynamic_cast<const ExportError*>(&error);
    return exporting && exporting->kind() == ExportError::Kind::userCancelled;
}

/// The pictures of a film as a stage of its export.
Exporter::SilentStage silentStage(const Exporter::FilmPlan& plan, const Exporter::MakeFilmFrames& makeFrames)
{
    return {.temporaryPrefix = temporaryPrefix,
            .write = [&](const std::string& path, const Exporter::ExportOptions& options) { writeFilm(plan, makeFrames, path, options); },
            .isCancel = isUserCancelled};
}

} // namespace

std::string Exporter::makeTempVideoURL()
{
    return makeTempURL(temporaryPrefix);
}

std::string Exporter::makeTempURL(std::string_view prefix)
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) throw ExportError(ExportError::Kind::writeFailed, "There is no folder for temporary files: " + error.message());
    return (folder / fmt::format("{}{}.mp4", prefix, UUID::random().string())).string();
}

void Exporter::exportMP4(const TweenScene& scene, const std::string& path, double startTime,
                         const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& videoAudioClips,
                         const ExportOptions& options)
{
    const double start = std::max(std::min(startTime, scene.duration), 0.0);
    const FilmPlan plan = planFilm(scene.size(), options.outputScale, scene.fps, std::max(scene.duration - start, 0.0));
    const MakeFilmFrames makeFrames = [&] { return makeFilmFrames(makeSceneSource(scene), start, plan.fps, options.motionBlurSamples); };
    writeWithSound(path, audio, videoAudioClips, options, silentStage(plan, makeFrames));
}

void Exporter::exportMP4(const Array<TweenScene>& scenes, const std::string& path, const std::optional<ExportAudio>& audio,
                         const std::vector<VideoAudioClip>& videoAudioClips, const ExportOptions& options)
{
    if (scenes.empty()) throw ExportError(ExportError::Kind::writeFailed, "No scenes to export");
    const ExportPlan layout = planExport(scenes);
    const TweenScene& first = scenes.front();
    const FilmPlan plan = planFilm(first.size(), options.outputScale, first.fps, layout.totalDuration);
    const MakeFilmFrames makeFrames = [&] {
        return makeFilmFrames(makeScenesSource(scenes, layout.segments), 0, plan.fps, options.motionBlurSamples);
    };
    writeWithSound(path, audio, videoAudioClips, options, silentStage(plan, makeFrames));
}

} // namespace larkspool
