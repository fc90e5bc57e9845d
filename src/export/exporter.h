#pragma once

#include "document/tween_scene.h"
#include "foundation/array.h"
#include "platform/asset_writer.h"
#include "platform/composition_export.h"
#include "platform/sample_source.h"
#include "rendering/frame_composition.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

namespace Exporter {

/// Why a film could not be written. Thrown by every operation of the exporter.
class ExportError : public std::runtime_error {
public:
    enum class Kind { cannotCreateWriter, cannotCreatePixelBufferPool, userCancelled, writeFailed };

    explicit ExportError(Kind kind, std::string detail = {});

    Kind kind() const noexcept { return kind_; }
    const std::string& detail() const noexcept { return detail_; } ///< The payload of writeFailed; empty for the rest.
    std::string errorDescription() const { return what(); } ///< A sentence for a person.
    std::string textualForm() const; ///< The case with its payload: `writeFailed("No scenes to export")`.

    bool operator==(const ExportError& other) const { return kind_ == other.kind_ && detail_ == other.detail_; }

private:
    Kind kind_;
    std::string detail_;
};

/// Asks a running export to stop. May be set from any thread, and from a signal handler.
class ExportCancelFlag {
public:
    void cancel() { flagged_.store(true, std::memory_order_release); }
    bool isCancelled() const { return flagged_.load(std::memory_order_acquire); }

private:
    std::atomic<bool> flagged_{false};
};

/// The sound bed of a film. Times are seconds.
struct ExportAudio {
    std::string url; ///< The path of the file.
    double startOffset = 0; ///< In the file, where to begin.
    double duration = 0;    ///< As much as is wanted.
    double fadeOutLast = 0; ///< The length of a linear fade at the end; 0 is none.
    float volume = 1;       ///< Linear gain.

    bool operator==(const ExportAudio&) const = default;
};

/// The sound of a video layer at its place in a film. Times are seconds.
struct VideoAudioClip {
    std::string url; ///< The path of the video file.
    double outputStart = 0; ///< In the film.
    double sourceStart = 0; ///< In the file.
    double duration = 0;    ///< As much as is wanted.
    float volume = 1;       ///< Linear gain.

    bool operator==(const VideoAudioClip&) const = default;
};

/// What laying sound beside a film asks of the system; the system's own, where none is given.
struct SoundServices {
    std::function<std::unique_ptr<Composition>(const std::string& path)> openComposition;
    std::function<std::unique_ptr<SampleSource>(const std::string& path)> openSound; ///< May throw PlatformFailure.
};

/// Called with a picture of every sixth frame, in order. The picture holds during the call alone.
using PreviewFrame = std::function<void(const PixelBuffer&)>;

/// Called with the finished part, 0...1, after every frame that is finished, wherever in the film it stands.
using Progress = std::function<void(double)>;

/// With sound, how much of an export's progress the silent film is. The rest is the sound.
inline constexpr double filmPartWithSound = 0.88;

/// How an export runs, apart from what it shows. What it calls, it calls on threads of its own, one call at a time.
struct ExportOptions {
    int motionBlurSamples = 1;
    double outputScale = 1; ///< Below 1 shrinks the film, to a tenth at least.
    PreviewFrame previewFrame;
    Progress progress;
    const ExportCancelFlag* cancel = nullptr;
    /// Makes the writer of the film; the system's, where none is given.
    std::function<std::unique_ptr<AssetWriter>(const std::string& path, const FilmSettings&)> makeWriter;
    SoundServices sound;
    /// How many threads draw and encode; as many as the machine has use for, where it is 0. The film is the same with any number.
    int workers = 0;
    /// What the second exporter composites with, by name: "software". The best there is, where it is empty.
    std::string renderer;
};

/// A path in the system's temporary folder that no film has had. Throws writeFailed if there is no such folder.
std::string makeTempVideoURL();

/// The same for a film whose name begins with `prefix`.
std::string makeTempURL(std::string_view prefix);

/// Writes `scene` from `startTime` (held within the scene) to its end as an MP4 file. Returns when the file is whole.
///
/// The film takes its name when it is finished; until then, an earlier file of that name stays. A cancel closes a playable
/// file of the frames so far and throws userCancelled.
///
/// With sound, a silent film is written to a temporary file first (`filmPartWithSound` of the progress), and sound laid beside its
/// pictures afterwards. A cancel during the first stage leaves the silent part at `path`; the second is not cancelled any more.
/// Every other failure leaves what was there. The temporary file goes in any case.
void exportMP4(const TweenScene& scene, const std::string& path, double startTime, const std::optional<ExportAudio>& audio,
               const std::vector<VideoAudioClip>& videoAudioClips, const ExportOptions& options);

/// Writes all scenes, joined, as an MP4 file of the first one's size and rate.
void exportMP4(const Array<TweenScene>& scenes, const std::string& path, const std::optional<ExportAudio>& audio,
               const std::vector<VideoAudioClip>& videoAudioClips, const ExportOptions& options);

} // namespace Exporter

} // namespace larkspool
