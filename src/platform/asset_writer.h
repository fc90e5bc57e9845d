#pragma once

#include "platform/pixel_buffer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// What the system says of a failure.
struct PlatformError {
    std::string localizedDescription;
    std::optional<std::string> localizedFailureReason;
    std::string domain; ///< Who speaks: "FFmpeg", "POSIX".
    std::int64_t code = 0;
    std::shared_ptr<const PlatformError> underlying;
};

/// A kind of film file. Further formats are further values of this.
struct FilmFormat {
    std::string container;   ///< The muxer's name, such as "mp4".
    std::string codec;       ///< The encoder's name, such as "libx264".
    std::string pixelFormat; ///< What the encoder is given, such as "yuv420p".
    bool keepsAlpha = false;
    std::vector<std::pair<std::string, std::string>> containerOptions;
    std::vector<std::pair<std::string, std::string>> codecOptions;

    /// H.264 in an MP4 whose index stands at the front, by the encoder's own defaults.
    static FilmFormat mp4();
};

struct FilmSettings {
    FilmFormat format = FilmFormat::mp4();
    int width = 0;  ///< Even, at least 2.
    int height = 0; ///< Even, at least 2.
    std::int64_t fps = 60;
};

/// Writes pictures into a film file, in order, each 1/fps seconds after the one before.
///
/// Encoding runs on a thread of its own behind a bounded queue: `nextPixelBuffer` waits while the encoder is behind, which
/// sets the pace of the caller. All calls come from one thread. A writer is never used again after it has finished.
class AssetWriter {
public:
    virtual ~AssetWriter() = default;

    /// Opens the file and the encoder. False on failure: see error().
    virtual bool startWriting() = 0;

    /// Memory for the next picture, W x H, with arbitrary content. Null on failure.
    virtual std::shared_ptr<PixelBuffer> nextPixelBuffer() = 0;

    /// Hands over the picture of frame `frameIndex` (0, 1, 2 and so on). False on failure: see error().
    virtual bool append(std::shared_ptr<PixelBuffer> picture, std::int64_t frameIndex) = 0;

    /// Shows the last appended picture once more, at no cost of drawing or conversion. False on failure.
    virtual bool appendRepeat(std::int64_t frameIndex) = 0;

    /// Writes out what is queued and closes a playable file. False on failure: see error().
    virtual bool finishWriting() = 0;

    /// What went wrong, if anything did.
    virtual std::optional<PlatformError> error() const = 0;
};

/// A writer of the film at `path`, by the libraries of the system; null if the format is unknown to them. Nothing is touched on
/// disk before startWriting.
std::unique_ptr<AssetWriter> makeAssetWriter(const std::string& path, const FilmSettings& settings);

} // namespace larkspool
