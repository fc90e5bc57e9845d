#pragma once

#include "export/exporter.h"
#include "platform/composition_export.h"
#include "platform/sample_source.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspool::Exporter {

/// A stretch of a source at its place in a film. Times are seconds.
///
///     film     0 ....... outputStart ........... end
///     source             sourceStart [  length  ]
///     gain               volume ------------\ 0        from fadeStart on, if there is a fade
struct PlacedSound {
    double outputStart = 0;
    double sourceStart = 0;
    double length = 0; ///< 0: nothing is heard.
    float volume = 1;  ///< Linear.
    std::optional<double> fadeStart{}; ///< In the film; the gain reaches 0 at the end.

    bool operator==(const PlacedSound&) const = default;
};

/// The bed in a film of `filmSeconds`, from its beginning on. What is heard ends with the film, the source and the length that is
/// asked for, whichever comes first, and is more than a hundredth of a second or nothing. The fade ends where the sound does, and
/// one that is not shorter than the sound is dropped.
PlacedSound placeBed(const ExportAudio& audio, double sourceDuration, double filmSeconds);

/// A clip's sound, ended in the same way; nothing if it comes to less than a hundredth of a second.
std::optional<PlacedSound> placeClip(const VideoAudioClip& clip, double sourceDuration, double filmSeconds);

/// A place in a film, and how to open what is heard there.
struct MixTrack {
    PlacedSound sound;
    std::function<std::unique_ptr<SampleSource>()> open; ///< May give null or throw PlatformFailure; then there is silence.
};

/// The sum of all tracks, from the film's beginning to the end of the last of them. Each is placed to the sample, opened when its
/// place comes and closed behind it. What would lie before the film or its source is silent; a source that ends early, too. The
/// sum may pass full scale.
class AudioMixer final : public SampleStream {
public:
    explicit AudioMixer(std::vector<MixTrack> tracks);
    ~AudioMixer() override;

    /// Of the whole mix; 0 if nothing is heard.
    std::int64_t frames() const { return frames_; }

    std::size_t read(std::span<float> samples) override;

private:
    class Track;

    std::vector<Track> tracks_;
    std::vector<float> scratch_;
    std::int64_t frames_ = 0;
    std::int64_t position_ = 0;
};

/// Lays sound beside the pictures of the film at `videoURL`, which are carried over as they are, and writes both to `outputURL`.
///
/// A source that cannot be read or has no sound drops out silently. The sum is held within full scale by a limiter that leaves
/// alone what stays within it. The file is written beside its place and takes its name when it is whole: a failure leaves what
/// was there. Throws ExportError. `progress` is told 0...1, at most ten times a second, and 1 at the end.
void muxAudio(const std::string& videoURL, const std::optional<ExportAudio>& audio,
              const std::vector<VideoAudioClip>& videoAudioClips, const std::string& outputURL, const Progress& progress,
              const SoundServices& services = {});

} // namespace larkspool::Exporter
