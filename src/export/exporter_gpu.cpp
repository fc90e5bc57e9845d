#include "export/exporter_gpu.h"

#include "export/film.h"
#include "export/film_with_sound.h"
#include "export/frame_plan.h"
#include "export/gpu_frames.h"
#include "export/writing_error.h"
#include "rendering/retained/compositing_renderer.h"
#include "rendering/video_export_readers.h"

#include <chrono>
#include <exception>
#include <memory>
#include <span>
#include <string_view>

namespace larkspool {

namespace {

using Exporter::ExportError;
using Exporter::WritingError;

constexpr std::string_view temporaryPrefix = "larkspool-gpu-";
constexpr std::string_view softwareName = "software";

/// The renderer of that name, the best where there is no name; null if it is not there.
std::unique_ptr<CompositingRenderer> makeRenderer(std::string_view name)
{
    return name.empty() || name == softwareName ? makeSoftwareRenderer() : nullptr;
}

GPUExportError gpuError(const WritingError& error)
{
    const std::string words = describe(error.cause());
    switch (error.step()) {
    case WritingError::Step::start: return GPUExportError::writerSetupFailed("startWriting: " + words);
    case WritingError::Step::makePicture:
        return GPUExportError::pixelBufferPoolFailed(static_cast<std::int32_t>(error.cause().code));
    case WritingError::Step::append: return GPUExportError::appendFailed(error.frame(), words);
    case WritingError::Step::finish: break;
    }
    return GPUExportError::writerSetupFailed(words);
}

/// What the making of a film file threw, in this exporter's terms.
GPUExportError gpuError(const ExportError& error)
{
    if (error.kind() == ExportError::Kind::userCancelled) return GPUExportError::cancelled();
    if (const auto* writing = dynamic_cast<const WritingError*>(&error)) return gpuError(*writing);
    return GPUExportError::writerSetupFailed(error.detail().empty() ? error.errorDescription() : error.detail());
}

bool isCancelled(const std::exception& error)
{
    const auto* exporting = dynamic_cast<const GPUExportError*>(&error);
    return exporting && exporting->kind() == GPUExportError::Kind::cancelled;
}

/// The readers of videos that all share, for the length of an export: none at its start and at every end.
class FreshReaders {
public:
    FreshReaders() { resetActiveVideoExportReaders(); }
    ~FreshReaders() { resetActiveVideoExportReaders(); }
    FreshReaders(const FreshReaders&) = delete;
    FreshReaders& operator=(const FreshReaders&) = delete;
};

/// Writes the silent film, and returns how many seconds that took.
double renderVideo(const Array<TweenScene>& scenes, const std::string& path, std::span<const double> startTimes,
                   const Exporter::ExportOptions& options)
{
    const auto begin = std::chrono::steady_clock::now();
    const FreshReaders readers;
    if (scenes.empty()) throw GPUExportError::writerSetupFailed("No scenes to render");
    if (!makeRenderer(options.renderer)) throw GPUExportError::noMetalDevice();

    const ExporterGPU::FramePlan plan(scenes, startTimes);
    const Exporter::MakeFilmFrames makeFrames = [&] {
        return makeGPUFrames(scenes, plan, options.motionBlurSamples, makeRenderer(options.renderer));
    };
    try {
        const TweenScene& first = scenes.front();
        writeFilm(Exporter::planFilm(first.size(), options.outputScale, first.fps, plan.seconds()), makeFrames, path, options);
    } catch (const ExportError& error) {
        throw gpuError(error);
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void exportWithSound(const Array<TweenScene>& scenes, const std::string& path, std::span<const double> startTimes,
                     const std::optional<Exporter::ExportAudio>& audio,
                     const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)
{
    bool isRendered = false;
    const auto write = [&](const std::string& silentPath, const Exporter::ExportOptions& silent) {
        renderVideo(scenes, silentPath, startTimes, silent);
        isRendered = true;
    };
    try {
        writeWithSound(path, audio, videoAudioClips, options,
                       {.temporaryPrefix = temporaryPrefix, .write = write, .isCancel = isCancelled});
    } catch (const ExportError& error) {
        if (isRendered) throw; // It is about the sound.
        throw gpuError(error);
    }
}

} // namespace

void ExporterGPU::exportMP4(const TweenScene& scene, const std::string& path, double startTime,
                            const std::optional<Exporter::ExportAudio>& audio,
                            const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)
{
    exportWithSound({scene}, path, {&startTime, 1}, audio, videoAudioClips, options);
}

void ExporterGPU::exportMP4(const Array<TweenScene>& scenes, const std::string& path,
                            const std::optional<Exporter::ExportAudio>& audio,
                            const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)
{
    exportWithSound(scenes, path, {}, audio, videoAudioClips, options);
}

double ExporterGPU::exportPhase0(const TweenScene& scene, const std::string& path, double startTime, double outputScale)
{
    return renderVideo({scene}, path, {&startTime, 1}, {.motionBlurSamples = 1, .outputScale = outputScale});
}

} // namespace larkspool
