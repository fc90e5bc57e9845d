#include "export/film_with_sound.h"

#include "export/audio_mix.h"
#include "export/pending_file.h"
#include "rendering/video_export_readers.h"
#include "rendering/video_media.h"

#include <filesystem>
#include <system_error>

namespace larkspool::Exporter {

namespace {

/// Of the progress of an export with sound, behind the silent film.
constexpr double soundPart = 0.12;

/// The silent film of an export with sound, gone at the end.
class SilentFilm {
public:
    explicit SilentFilm(std::string_view prefix) : path_(makeTempURL(prefix)) {}
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

/// The decoders of videos for the length of an export. It begins with none, so that files are read as they are now, and leaves
/// none open, however it ends.
class ExportDecoders {
public:
    ExportDecoders() { closeAll(); }
    ~ExportDecoders() { closeAll(); }
    ExportDecoders(const ExportDecoders&) = delete;
    ExportDecoders& operator=(const ExportDecoders&) = delete;

private:
    static void closeAll()
    {
        resetActiveVideoExportReaders();
        releaseVideoGenerators();
    }
};

Progress stageProgress(const Progress& progress, double factor, double start)
{
    if (!progress) return {};
    return [&progress, factor, start](double part) { progress(part * factor + start); };
}

} // namespace

void writeWithSound(const std::string& path, const std::optional<ExportAudio>& audio, const std::vector<VideoAudioClip>& clips,
                    const ExportOptions& options, const SilentStage& stage)
{
    const ExportDecoders decoders;
    if (!audio && clips.empty()) {
        stage.write(path, options);
        return;
    }
    const PendingFile place(path); // Refuses a place where no file can stand before any work is done.
    const SilentFilm film(stage.temporaryPrefix);
    ExportOptions silent = options;
    silent.progress = stageProgress(options.progress, filmPartWithSound, 0);
    try {
        stage.write(film.path(), silent);
    } catch (const std::exception& error) {
        if (stage.isCancel(error)) film.keepAt(path);
        throw;
    }
    muxAudio(film.path(), audio, clips, path, stageProgress(options.progress, soundPart, filmPartWithSound), options.sound);
}

} // namespace larkspool::Exporter
