#include "shell/film_export.h"

#include "export/exporter_gpu.h"

#include <algorithm>
#include <new>
#include <utility>

namespace larkspool {

namespace {

using Exporter::ExportError;

constexpr double leastOutputScale = 0.1;

bool isUserCancelled(const std::exception& error)
{
    const auto* exporting = dynamic_cast<const ExportError*>(&error);
    return exporting && exporting->kind() == ExportError::Kind::userCancelled;
}

bool isGPUExportCancelled(const std::exception& error)
{
    const auto* exporting = dynamic_cast<const GPUExportError*>(&error);
    return exporting && exporting->kind() == GPUExportError::Kind::cancelled;
}

} // namespace

double clampedOutputScale(double scale)
{
    return scale < 1 ? std::max(scale, leastOutputScale) : 1;
}

FilmJob filmJob(const TweenDocument& document, const FilmChoices& choices, const Exporter::FileExists& exists)
{
    FilmJob job{.motionBlurSamples = choices.motionBlurSamples, .outputScale = clampedOutputScale(choices.outputScale)};
    if (choices.includeAudio) job.sound = Exporter::soundSources(document, choices.target, exists);
    if (choices.target.kind == ExportTarget::Kind::allScenes) {
        job.form = FilmJob::Form::allScenes;
        job.scenes = document.scenes;
    } else if (!document.scenes.empty()) {
        job.scenes = {document.scenes[Exporter::exportedSceneIndex(document, choices.target)]};
    }
    return job;
}

FilmExporter FilmExporter::reference()
{
    return {.exportScene = [](const auto&... arguments) { Exporter::exportMP4(arguments...); },
            .exportScenes = [](const auto&... arguments) { Exporter::exportMP4(arguments...); },
            .isCancel = isUserCancelled};
}

FilmExporter FilmExporter::gpu()
{
    return {.exportScene = [](const auto&... arguments) { ExporterGPU::exportMP4(arguments...); },
            .exportScenes = [](const auto&... arguments) { ExporterGPU::exportMP4(arguments...); },
            .isCancel = isGPUExportCancelled};
}

void writeFilm(const FilmJob& job, const std::string& path, const FilmExporter& exporter, Exporter::ExportOptions options)
{
    if (job.scenes.empty()) throw ExportError(ExportError::Kind::writeFailed, "No scenes to export");
    options.motionBlurSamples = job.motionBlurSamples;
    options.outputScale = job.outputScale;
    if (job.form == FilmJob::Form::allScenes)
        exporter.exportScenes(job.scenes, path, job.sound.audio, job.sound.videoAudioClips, options);
    else
        exporter.exportScene(job.scenes.front(), path, /*startTime=*/0, job.sound.audio, job.sound.videoAudioClips, options);
}

std::string localizedDescription(const std::exception& error)
{
    if (dynamic_cast<const std::bad_alloc*>(&error)) return "There is not enough memory";
    return error.what();
}

} // namespace larkspool
