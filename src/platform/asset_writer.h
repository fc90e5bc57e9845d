#pragma once

#include "platform/pixel_buffer.h"
#include "platform/platform_error.h"
#include "platform/raster/pixel_rect.h"

#include <cstdint>
#include <memory>
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

/// One frame as it stands in a film file.
struct CodedPicture {
    std::vector<std::uint8_t> bytes;
    std::int64_t frame = 0; ///< Its place among the frames of the film as they are shown.
    bool isKey = false;     ///< Whether it is decoded without any other.

    bool operator==(const CodedPicture&) const = default;
};

/// A stretch of a film, coded and whole in itself: no picture of it refers to one outside.
struct FilmChunk {
    std::int64_t firstFrame = 0;
    std::vector<CodedPicture> pictures;   ///< In the order of decoding. They show `firstFrame` and those that follow, each once.
    std::vector<std::uint8_t> parameters; ///< What a decoder must know beforehand. The same in all chunks of a film.

    bool operator==(const FilmChunk&) const = default;
};

/// Makes chunks of a film out of pictures, one chunk after the other, for one thread at a time. What comes out depends on the
/// settings and on the chunk's own frames alone. Every operation may throw PlatformFailure; after that, only the destructor may
/// follow.
class ChunkEncoder {
public:
    virtual ~ChunkEncoder() = default;

    /// Begins a chunk of `frames` frames, one at least, with frame `firstFrame` of the film. What the one before still held is
    /// dropped.
    virtual void beginChunk(std::int64_t firstFrame, std::int64_t frames) = 0;

    /// Makes `picture` the one that following frames show. At the beginning of a chunk `changed` is all of it; later, no pixel
    /// outside `changed` differs from the picture set before. The picture is not looked at any more afterwards.
    virtual void setPicture(const PixelBuffer& picture, const PixelRect& changed) = 0;

    /// Takes in the picture last set as the next frame. It is coded now or later: encoders look ahead. Doing so again without
    /// another picture costs no conversion.
    virtual void encodeFrame() = 0;

    /// When a chunk has all its frames, or is to have no more, codes one of those that were taken in and not coded yet. False
    /// when there is none left. No further frame can be taken in after the first call.
    virtual bool codeHeldFrame() = 0;

    /// How many frames of the chunk have been coded so far.
    virtual std::int64_t codedFrames() const = 0;

    /// Gives out what has been coded, up to the last frame before which none is missing, and ends the chunk.
    virtual FilmChunk takeChunk() = 0;
};

/// Writes chunks into a film file, in order. Its frames stand 1/fps seconds apart.
///
/// Any number of encoders may work at a time, each on a thread of its own. All other calls come from one thread at a time. Every
/// operation throws PlatformFailure; after that, only the destructor may follow. A writer is never used again after it has
/// finished.
///
/// A writer that goes away unfinished, or that failed, leaves an unplayable file, which is the caller's to remove.
class AssetWriter {
public:
    virtual ~AssetWriter() = default;

    /// Opens an encoder, then the file, which loses what it held. Settings that the encoder refuses leave the file untouched.
    virtual void startWriting() = 0;

    /// An encoder for chunks of this film. For any thread, once writing has started.
    virtual std::unique_ptr<ChunkEncoder> makeEncoder() = 0;

    /// Memory for pictures, of the film's size, with arbitrary content. For any thread.
    virtual std::unique_ptr<PixelBuffer> makePixelBuffer() = 0;

    /// Writes the next chunk, which begins with the frame after the last one written.
    virtual void append(const FilmChunk& chunk) = 0;

    /// Closes a playable file of all frames that were appended, at least one.
    virtual void finishWriting() = 0;
};

/// A writer of the film at `path`, by the libraries of the system; null if the format is unknown to them. Nothing is touched on
/// disk before startWriting.
std::unique_ptr<AssetWriter> makeAssetWriter(const std::string& path, const FilmSettings& settings);

} // namespace larkspool
