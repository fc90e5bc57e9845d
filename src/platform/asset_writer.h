#pragma once

#include "platform/pixel_buffer.h"
#include "platform/platform_error.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// A kind of film file. Further formats are further values of this.
struct FilmFormat {
    std::string container;   ///< The muxer's name, such as "mp4".
    std::string codec;       ///< The encoder's name, such as "libx264".
    std::string pixelFormat; ///< What the encoder is given, such as "yuv420p".
    bool keepsAlpha = false; ///< Else the pictures are shown over black.
    std::vector<std::pair<std::string, std::string>> containerOptions;
    std::vector<std::pair<std::string, std::string>> codecOptions;
    std::int64_t maximumSide = 0;   ///< The longest side that the encoder takes, in pixels.
    std::int64_t maximumPixels = 0; ///< The largest picture, width times height, that the format is made for.

    /// H.264 in an MP4 whose index stands at the front, by the encoder's own defaults.
    static FilmFormat mp4();
};

struct FilmSettings {
    FilmFormat format = FilmFormat::mp4();
    std::int64_t width = 0;  ///< At least 2, and even where the pixel format has chroma at half size.
    std::int64_t height = 0; ///< As the width.
    std::int64_t fps = 60;   ///< At least 1.
};

/// Writes pictures into a film file, in order, each 1/fps seconds after the one before.
///
/// Encoding runs on a thread of its own behind a bounded queue: `nextPixelBuffer` waits while the encoder is behind, which
/// sets the pace of the caller. A failure of that thread comes out at a later call. The first failure is the one that is kept;
/// after it, every call fails. All calls come from one thread. A writer is never used again after it has finished.
///
/// A writer that goes away unfinished, or that failed, leaves an unplayable file, which is the caller's to remove.
class AssetWriter {
public:
    /// How many pictures there are. A caller that holds them all gets no further one.
    static constexpr int pictureCount = 3;

    virtual ~AssetWriter() = default;

    /// Opens the encoder, then the file, which loses what it held. False on failure: see error(). Settings that the encoder
    /// refuses leave the file untouched.
    virtual bool startWriting() = 0;

    /// Memory for the next picture, W x H, with arbitrary content. Pictures are recycled. Null on failure.
    virtual std::shared_ptr<PixelBuffer> nextPixelBuffer() = 0;

    /// Hands over the picture of frame `frameIndex` (0, 1, 2 and so on). Nobody changes it any more. False on failure: see
    /// error().
    virtual bool append(std::shared_ptr<PixelBuffer> picture, std::int64_t frameIndex) = 0;

    /// Shows the last appended picture once more, at no cost of drawing or conversion. False on failure.
    virtual bool appendRepeat(std::int64_t frameIndex) = 0;

    /// Writes out what is queued and closes a playable file of as many frames as were appended, at least one. False on
    /// failure: see error().
    virtual bool finishWriting() = 0;

    /// What went wrong first, if anything did.
    virtual std::optional<PlatformError> error() const = 0;
};

/// A writer of the film at `path`, by the libraries of the system; null if the format is unknown to them. Nothing is touched on
/// disk before startWriting.
std::unique_ptr<AssetWriter> makeAssetWriter(const std::string& path, const FilmSettings& settings);

} // namespace larkspool
