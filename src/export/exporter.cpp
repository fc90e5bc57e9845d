#include "export/exporter.h"

#include "export/audio_mix.h"
#include "export/film.h"
#include "export/film_source.h"
#include "export/pending_file.h"
#include "export/segments.h"
#include "foundation/uuid.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace larkspool {

namespace {

using Exporter::ExportError;

/// The parts of the work: the silent film, and then the sound.
constexpr double filmPart = 0.88;
constexpr double soundPart = 0.12;

/// The silent film of an export with sound, gone at the end.
class SilentFilm {
public:
    SilentFilm() : path_(Exporter::makeTempVideoURL()) {}
    ~SilentFilm()
    {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    SilentFilm(const SilentFilm&) = delete;
    SilentFilm& operator=(const SilentFilm&) = delete;

    const std::string& path() const { return path_; }

    /// Puts a copy at `destination`, if there is anything to copy. Does what it can: the cancel is what is told.
    void keepAt(const std::string& destination) const
    {
        try {
            PendingFile file(destination);
            std::error_code error;
            if (std::filesystem::copy_file(path_, file.path(), error)) file.takeName();
        } catch (const ExportError&) {
            return;
        }
    }

private:
    std::string path_;
};

Exporter::Progress stage(const Exporter::Progress& progress, double factor, double start)
{
    if (!progress) return {};
    return [&progress, factor, start](double part) { progress(part * factor + start); };
}

/// Writes a film by `writeSilent`, which is given where and how, and lays sound beside it, if there is any.
template <typename WriteSilent>
void writeWithSound(const std::string& path, const std::optional<Exporter::ExportAudio>& audio,
                    const std::vector<Exporter::VideoAudioClip>& clips, const Exporter::ExportOptions& options,
                    const WriteSilent& writeSilent)
{
    if (!audio && clips.empty()) {
        writeSilent(path, options);
        return;
    }
    const PendingFile place(path); // Refuses a place where no file can stand before any work is done.
    const SilentFilm film;
    Exporter::ExportOptions silent = options;
    silent.progress = stage(options.progress, filmPart, 0);
    try {
        writeSilent(film.path(), silent);
    } catch (const ExportError& error) {
        if (error.kind() == ExportError::Kind::userCancelled) film.keepAt(path);
        throw;
    }
    Exporter::muxAudio(film.path(), audio, clips, path, stage(options.progress, soundPart, filmPart), options.sound);
}

} // namespace

std::string Exporter::makeTempVideoURL()
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) throw ExportError(ExportError::Kind::writeFailed, "There is no folder for temporary files: " + error.message());
    return (folder / ("larkspool-export-" + UUID::random().string() + ".mp4")).string();
}

void Exporter::exportMP4(const TweenScene& scene, const std::string& path, double startTime,
                         const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& videoAudioClips,
                         const ExportOptions& options)
{
    const double start = std::max(std::min(startTime, scene.duration), 0.0);
    const FilmPlan plan = planFilm(scene.size(), options.outputScale, scene.fps, std::max(scene.duration - start, 0.0));
    const auto source = makeSceneSource(scene);
    writeWithSound(path, audio, videoAudioClips, options, [&](const std::string& silentPath, const ExportOptions& silent) {
        writeFilm(plan, *makeFilmFrames(*source, start, plan.fps, options.motionBlurSamples), silentPath, silent);
    });
}

void Exporter::exportMP4(const Array<TweenScene>& scenes, const std::string& path, const std::optional<ExportAudio>& audio,
                         const std::vector<VideoAudioClip>& videoAudioClips, const ExportOptions& options)
{
    if (scenes.empty()) throw ExportError(ExportError::Kind::writeFailed, "No scenes to export");
    ExportPlan layout = planExport(scenes);
    const TweenScene& first = scenes.front();
    const FilmPlan plan = planFilm(first.size(), options.outputScale, first.fps, layout.totalDuration);
    const auto source = makeScenesSource(scenes, std::move(layout.segments));
    writeWithSound(path, audio, videoAudioClips, options, [&](const std::string& silentPath, const ExportOptions& silent) {
        writeFilm(plan, *makeFilmFrames(*source, 0, plan.fps, options.motionBlurSamples), silentPath, silent);
    });
}

} // namespace larkspool
