#pragma once

#include "platform/platform_error.h"
#include "platform/sample_source.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace larkspool {

/// Writes a film of carried-over pictures and new sound, once.
class ExportSession {
public:
    enum class Status { waiting, completed, failed, cancelled };

    virtual ~ExportSession() = default;

    /// Runs to the end, on the calling thread. `progress` is told the finished part, 0...1, often. What came of it is the status.
    virtual void run(const std::function<void(double)>& progress) = 0;

    virtual Status status() const = 0;
    virtual std::optional<PlatformError> error() const = 0; ///< Of a failure.
};

/// A silent film that sound is laid beside.
class Composition {
public:
    virtual ~Composition() = default;

    /// Of the film, in seconds.
    virtual double duration() const = 0;

    /// A session that writes an MP4 file at `path`, over what is there, with its index at the front: the coded pictures as they
    /// are, and `sound` as AAC by the encoder's own choice of bit rate (128 kb/s for stereo). Frame 0 of the sound stands at the
    /// film's beginning to the sample: what the encoder puts in front is cut off by an edit list. No sound makes no sound track.
    /// Both outlive the session; one session to a composition. Null if there is no encoder.
    virtual std::unique_ptr<ExportSession> exportSession(const std::string& path, SampleStream* sound) = 0;
};

/// The film at `path`; null if it cannot be read or has no picture track.
std::unique_ptr<Composition> openComposition(const std::string& path);

} // namespace larkspool
