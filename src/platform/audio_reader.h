#pragma once

#include "platform/platform_error.h"
#include "platform/sample_source.h"

#include <memory>
#include <string>

namespace larkspool {

/// Why the sound of a file cannot be read.
class AudioError : public PlatformFailure {
public:
    enum class Kind {
        unreadable,   ///< Not there, not a regular file, or not of a known container.
        noSoundTrack, ///< Pictures alone, for example.
        undecodable   ///< Of a kind that nobody here can decode.
    };

    AudioError(Kind kind, const std::string& path);

    Kind kind() const noexcept { return kind_; }

private:
    Kind kind_;
};

/// The sound of a media file's first sound track, as stereo of 48,000 frames a second.
///
/// Frame n is the sound at n / 48000 seconds of the file, wherever reading began: what an encoder put in front is left out, edit
/// lists are followed, and a track that begins late or has gaps is silent there. Containers that tell times in milliseconds keep
/// their places within half of one. What is broken is left out as a gap. One
/// channel is heard from both sides at full level; more than two are mixed down so that full scale stays full scale.
///
/// Only what is asked for is decoded, and never more than about a second ahead of it. Used by one thread at a time.
class AudioReader final : public SampleSource {
public:
    /// How much work was done since opening.
    struct Work {
        std::int64_t decodedFrames = 0; ///< Of the source's own rate.
    };

    /// Throws AudioError. Nothing but the one regular file is touched; a pipe is not waited for.
    static std::unique_ptr<AudioReader> open(const std::string& path);
    ~AudioReader() override;

    double duration(double limit) override;
    void seek(std::int64_t frame) override;
    std::size_t read(std::span<float> samples) override;

    Work work() const;

private:
    AudioReader();

    class Decoder;
    std::unique_ptr<Decoder> decoder_;
};

} // namespace larkspool
