#include "export/audio_mix.h"

#include "export/limiter.h"
#include "export/pending_file.h"
#include "export/read_ahead.h"
#include "platform/audio_reader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <utility>

namespace larkspool::Exporter {

namespace {

/// Shorter sound is not worth a place. The bed must be longer than this, a clip not shorter.
constexpr double leastLength = 0.01;

constexpr auto progressInterval = std::chrono::milliseconds(100);

/// Seconds that no place in a film or a source lies beyond.
constexpr double farthestSecond = 1e9;

/// Louder than any sound, and far from where sums overflow.
constexpr float loudestSample = 1e6F;

std::int64_t frameAt(double seconds)
{
    return std::llround(std::clamp(seconds, -farthestSecond, farthestSecond) * SampleStream::sampleRate);
}

double secondsLeft(double sourceDuration, double start)
{
    return std::max(sourceDuration - start, 0.0);
}

/// The least of the lengths; 0 if one of them is no number.
double least(std::initializer_list<double> lengths)
{
    const bool areNumbers = std::ranges::none_of(lengths, [](double length) { return std::isnan(length); });
    return areNumbers ? std::ranges::min(lengths) : 0;
}

/// What a file of any content may hold, made safe to add up.
float sound(float sample)
{
    return std::isnan(sample) ? 0.0F : std::clamp(sample, -loudestSample, loudestSample);
}

float usableGain(float volume)
{
    return std::isfinite(volume) ? std::max(volume, 0.0F) : 0.0F;
}

/// Null for what cannot be read: a missing sound fails no film.
std::unique_ptr<SampleSource> openQuietly(const SoundServices& services, const std::string& path)
{
    try {
        return services.openSound ? services.openSound(path) : AudioReader::open(path);
    } catch (const PlatformFailure&) {
        return nullptr;
    }
}

/// Collects the tracks of a mix for a film of a given length.
class TrackList {
public:
    TrackList(const SoundServices& services, double filmSeconds) : services_(services), filmSeconds_(filmSeconds) {}

    void add(const ExportAudio& audio)
    {
        const double limit = audio.startOffset + std::min(audio.duration, filmSeconds_);
        if (const auto duration = sourceDuration(audio.url, limit)) add(audio.url, placeBed(audio, *duration, filmSeconds_));
    }

    void add(const VideoAudioClip& clip)
    {
        const double limit = clip.sourceStart + std::min(clip.duration, filmSeconds_ - clip.outputStart);
        const auto duration = sourceDuration(clip.url, limit);
        if (!duration) return;
        if (const auto placed = placeClip(clip, *duration, filmSeconds_)) add(clip.url, *placed);
    }

    std::vector<MixTrack> tracks;

private:
    /// Opened for this alone and closed again: a film may have more clips than a program may have open files.
    std::optional<double> sourceDuration(const std::string& path, double limit) const
    {
        const std::unique_ptr<SampleSource> source = openQuietly(services_, path);
        if (!source) return std::nullopt;
        return source->duration(limit);
    }

    void add(const std::string& path, const PlacedSound& sound)
    {
        tracks.push_back({sound, [&services = services_, path] { return openQuietly(services, path); }});
    }

    const SoundServices& services_;
    double filmSeconds_;
};

/// Tells every tenth of a second how far the work is, and nothing that lies behind.
class SparseProgress {
public:
    explicit SparseProgress(const Progress& progress) : progress_(progress) {}

    void operator()(double part)
    {
        const auto now = std::chrono::steady_clock::now();
        if (!progress_ || now - last_ < progressInterval) return;
        last_ = now;
        told_ = std::max(told_, std::clamp(part, 0.0, 1.0));
        progress_(told_);
    }

private:
    const Progress& progress_;
    std::chrono::steady_clock::time_point last_{};
    double told_ = 0;
};

[[noreturn]] void failWriting(std::string detail)
{
    throw ExportError(ExportError::Kind::writeFailed, std::move(detail));
}

void expectCompletion(const ExportSession& session)
{
    using enum ExportSession::Status;
    switch (session.status()) {
    case completed: return;
    case failed:
    case cancelled: {
        const std::optional<PlatformError> error = session.error();
        failWriting(error ? error->localizedDescription : "audio mux failed");
    }
    case waiting: break;
    }
    failWriting("audio mux ended in unexpected state");
}

} // namespace

PlacedSound placeBed(const ExportAudio& audio, double sourceDuration, double filmSeconds)
{
    PlacedSound placed{.sourceStart = audio.startOffset, .volume = audio.volume};
    const double length = least({filmSeconds, secondsLeft(sourceDuration, audio.startOffset), audio.duration});
    if (length > leastLength) placed.length = length;
    if (audio.fadeOutLast > 0 && audio.fadeOutLast < placed.length) placed.fadeStart = placed.length - audio.fadeOutLast;
    return placed;
}

std::optional<PlacedSound> placeClip(const VideoAudioClip& clip, double sourceDuration, double filmSeconds)
{
    const double length = least({secondsLeft(sourceDuration, clip.sourceStart), clip.duration, filmSeconds - clip.outputStart});
    if (length < leastLength) return std::nullopt;
    return PlacedSound{.outputStart = clip.outputStart, .sourceStart = clip.sourceStart, .length = length, .volume = clip.volume};
}

/// A track on its way through the film, in frames.
class AudioMixer::Track {
public:
    explicit Track(MixTrack track)
        : open_(std::move(track.open)),
          volume_(usableGain(track.sound.volume)),
          begin_(frameAt(track.sound.outputStart)),
          end_(track.sound.length > 0 ? frameAt(track.sound.outputStart + track.sound.length) : begin_),
          sourceBegin_(frameAt(track.sound.sourceStart)),
          fadeBegin_(track.sound.fadeStart ? frameAt(*track.sound.fadeStart) : std::numeric_limits<std::int64_t>::max())
    {}

    bool isHeard() const { return end_ > begin_; }
    std::int64_t end() const { return end_; }

    /// Adds what the track has from film frame `position` on.
    void addTo(std::span<float> mix, std::int64_t position, std::vector<float>& scratch)
    {
        const std::int64_t from = std::max(begin_, position);
        const std::int64_t to = std::min(end_, position + static_cast<std::int64_t>(mix.size() / channels));
        if (from >= to || !isOpen(from)) return;

        scratch.resize(static_cast<std::size_t>(to - from) * channels);
        const std::size_t count = source_->read(scratch);
        float* target = mix.data() + static_cast<std::size_t>(from - position) * channels;
        for (std::size_t i = 0; i < count; ++i) {
            const float gain = gainAt(from + static_cast<std::int64_t>(i));
            for (std::size_t side = 0; side < channels; ++side)
                target[i * channels + side] += gain * sound(scratch[i * channels + side]);
        }
        if (to == end_ || count * channels < scratch.size()) close();
    }

private:
    bool isOpen(std::int64_t frame)
    {
        if (source_ || isDone_) return source_ != nullptr;
        try {
            source_ = open_ ? open_() : nullptr;
        } catch (const PlatformFailure&) {
            source_ = nullptr; // As for a source that was not there from the first.
        }
        if (source_) source_->seek(sourceBegin_ + (frame - begin_));
        isDone_ = !source_;
        return !isDone_;
    }

    void close()
    {
        source_.reset();
        isDone_ = true;
    }

    float gainAt(std::int64_t frame) const
    {
        if (frame < fadeBegin_) return volume_;
        return volume_ * static_cast<float>(static_cast<double>(end_ - frame) / static_cast<double>(end_ - fadeBegin_));
    }

    std::function<std::unique_ptr<SampleSource>()> open_;
    std::unique_ptr<SampleSource> source_;
    bool isDone_ = false;
    float volume_;
    std::int64_t begin_, end_;
    std::int64_t sourceBegin_;
    std::int64_t fadeBegin_;
};

AudioMixer::AudioMixer(std::vector<MixTrack> tracks)
{
    for (MixTrack& each : tracks) {
        Track track(std::move(each));
        if (!track.isHeard()) continue;
        frames_ = std::max(frames_, track.end());
        tracks_.push_back(std::move(track));
    }
}

AudioMixer::~AudioMixer() = default;

std::size_t AudioMixer::read(std::span<float> samples)
{
    const auto count =
        static_cast<std::size_t>(std::min(static_cast<std::int64_t>(samples.size() / channels), frames_ - position_));
    const std::span<float> mix = samples.first(count * channels);
    std::ranges::fill(mix, 0.0F);
    for (Track& track : tracks_) track.addTo(mix, position_, scratch_);
    position_ += static_cast<std::int64_t>(count);
    return count;
}

void muxAudio(const std::string& videoURL, const std::optional<ExportAudio>& audio,
              const std::vector<VideoAudioClip>& videoAudioClips, const std::string& outputURL, const Progress& progress,
              const SoundServices& services)
{
    const std::unique_ptr<Composition> film =
        services.openComposition ? services.openComposition(videoURL) : openComposition(videoURL);
    if (!film) failWriting("Audio mux: no video track to splice");

    TrackList list(services, film->duration());
    if (audio) list.add(*audio);
    for (const VideoAudioClip& clip : videoAudioClips) list.add(clip);
    AudioMixer mix(std::move(list.tracks));
    Limiter limited(mix);

    PendingFile file(outputURL);
    std::optional<ReadAhead> sound; // Decoding and mixing run beside the encoder.
    if (mix.frames() > 0) sound.emplace(limited);
    const std::unique_ptr<ExportSession> session = film->exportSession(file.path(), sound ? &*sound : nullptr);
    if (!session) failWriting("Audio mux: cannot create export session");
    SparseProgress sparse(progress);
    session->run([&sparse](double part) { sparse(part); });
    expectCompletion(*session);
    file.takeName();
    if (progress) progress(1);
}

} // namespace larkspool::Exporter
