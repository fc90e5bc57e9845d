#pragma once

#include "platform/asset_writer.h"
#include "platform/ffmpeg_support.h"
#include "platform/planar_picture.h"

#include <cstdint>
#include <memory>

namespace larkspool {

/// Makes chunks by an encoder of the FFmpeg libraries, opened anew for each, with a number of threads that is always
/// the same.
///
/// An encoder that spends its bits by need looks back at what it did and ahead at what will refer to a picture. At the first
/// picture it can only guess, and it saves on the last ones. So a chunk is led in by a few repeats of its first picture and led
/// out by some of its last, which are not kept: then it begins and ends as if the film went on.
class FilmEncoder final : public ChunkEncoder {
public:
    /// Opens the encoder. Settings out of bounds are refused before any memory is taken.
    explicit FilmEncoder(const FilmSettings& settings);
    ~FilmEncoder() override;

    FilmEncoder(const FilmEncoder&) = delete;
    FilmEncoder& operator=(const FilmEncoder&) = delete;

    /// The encoder as it was opened, with the parameters of the film.
    const AVCodecContext& codec() const { return *codec_; }

    void beginChunk(std::int64_t firstFrame, std::int64_t frames) override;
    void setPicture(const PixelBuffer& picture, const PixelRect& changed) override;
    void encodeFrame() override;
    bool codeHeldFrame() override;
    std::int64_t codedFrames() const override;
    FilmChunk takeChunk() override;

private:
    void leadIn();
    void leadOut();
    void drain();
    void send(const AVFrame* frame);
    bool receive();
    void keep(const AVPacket& packet);

    FilmSettings settings_;
    FFmpegPointer<AVCodecContext> codec_;
    bool isUsed_ = false;     ///< Whether the encoder has begun a chunk, and cannot begin another.
    bool isDraining_ = false; ///< Whether it was told that no picture follows.
    PlanarPicture picture_;
    FFmpegPointer<AVPacket> packet_;

    FilmChunk chunk_;
    std::int64_t frames_ = 0; ///< That the chunk shall have.
    std::int64_t framesTaken_ = 0;
    std::vector<std::uint8_t> messages_; ///< What the encoder says of itself, in front of its first picture.
};

/// Whether the libraries know the container, the encoder and the pixel format of `format`, and the encoder takes the latter.
bool isKnown(const FilmFormat& format);

} // namespace larkspool
