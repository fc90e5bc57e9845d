#pragma once

#include "document/tween_document.h"
#include "export/exporter.h"
#include "export/sound_sources.h"

#include <array>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

namespace larkspool {

/// What a person chooses for a film.
struct FilmChoices {
    ExportTarget target{};
    int motionBlurSamples = 1;
    bool includeAudio = true;
    double outputScale = 1;

    bool operator==(const FilmChoices&) const = default;
};

struct MotionBlurChoice {
    std::string_view label;
    int samples;
};

/// The strengths of motion blur that a person is offered.
inline constexpr std::array motionBlurChoices = {
    MotionBlurChoice{"Off", 1},          MotionBlurChoice{"Fast (2× ½-res)", -2}, MotionBlurChoice{"Light (4×)", 4},
    MotionBlurChoice{"Medium (8×)", 8}, MotionBlurChoice{"Strong (16×)", 16},
};

struct OutputScaleChoice {
    std::string_view label;
    double scale;
};

/// The sizes that a person is offered.
inline constexpr std::array outputScaleChoices = {
    OutputScaleChoice{"Full", 1},
    OutputScaleChoice{"75%", 0.75},
    OutputScaleChoice{"Half", 0.5},
    OutputScaleChoice{"Quarter", 0.25},
};

/// `scale` held within 0.1 and 1. What is not a number counts as 1.
double clampedOutputScale(double scale);

/// A film as an exporter takes it: a snapshot, which later edits do not touch.
struct FilmJob {
    enum class Form {
        oneScene, ///< The scene alone, without the pause at its end.
        allScenes ///< Joined by their transitions, pauses included.
    };

    Form form = Form::oneScene;
    Array<TweenScene> scenes; ///< The one, or all of them.
    Exporter::SoundSources sound;
    int motionBlurSamples = 1;
    double outputScale = 1;

    bool hasSound() const { return sound.audio || !sound.videoAudioClips.empty(); }
};

/// What the choices come to for a document as it is now.
FilmJob filmJob(const TweenDocument& document, const FilmChoices& choices,
                const Exporter::FileExists& exists = Exporter::fileExists);

/// One way to write films.
struct FilmExporter {
    std::function<void(const TweenScene& scene, const std::string& path, double startTime,
                       const std::optional<Exporter::ExportAudio>& audio,
                       const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)>
        exportScene;
    std::function<void(const Array<TweenScene>& scenes, const std::string& path,
                       const std::optional<Exporter::ExportAudio>& audio,
                       const std::vector<Exporter::VideoAudioClip>& videoAudioClips, const Exporter::ExportOptions& options)>
        exportScenes;
    /// Whether an error of this exporter says that a person stopped it.
    std::function<bool(const std::exception& error)> isCancel;

    /// The exporter that draws every frame as the canvas does.
    static FilmExporter reference();

    /// The exporter that composites every frame, faster.
    static FilmExporter gpu();
};

/// Writes the film to `path`. `options` tell who watches and who may stop it; blur and size are the job's. Returns when the file is
/// whole; throws what the exporter throws, and writeFailed for a job without scenes.
void writeFilm(const FilmJob& job, const std::string& path, const FilmExporter& exporter, Exporter::ExportOptions options);

/// What an error is called before a person.
std::string localizedDescription(const std::exception& error);

} // namespace larkspool
