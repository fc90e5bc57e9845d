#pragma once

#include "platform/asset_writer.h"
#include "platform/ffmpeg_support.h"

#include <cstdint>
#include <optional>
#include <string>

namespace larkspool {

/// Turns pictures into the packets of a film file, one after the other, on the thread that calls. Every operation throws
/// PlatformFailure; after that, only the destructor may follow.
class FilmEncoder {
public:
    /// Opens the encoder, then the file, and writes its head. Settings out of bounds are refused before any memory is taken.
    FilmEncoder(const std::string& path, const FilmSettings& settings);

    /// Closes the file as it stands.
    ~FilmEncoder();

    FilmEncoder(const FilmEncoder&) = delete;
    FilmEncoder& operator=(const FilmEncoder&) = delete;

    /// Makes `picture` the one that following frames show. It is not looked at any more afterwards.
    void setPicture(const PixelBuffer& picture);

    /// Encodes the picture last set as frame `frameIndex`. Indices rise.
    void encodeFrame(std::int64_t frameIndex);

    /// Writes what the encoder still holds and the index of the file, and closes it.
    void finish();

private:
    void openEncoder(const FilmSettings& settings);
    void prepareConversion();
    void openFile(const std::string& path, const FilmSettings& settings);
    void convertWithScaler(const PixelBuffer& picture);
    void writePackets();
    [[noreturn]] void failToWrite(int status) const;

    struct CloseMuxer {
        void operator()(AVFormatContext* muxer) const;
    };

    std::string path_;
    FilmFormat format_;
    FFmpegPointer<AVCodecContext> codec_;
    std::unique_ptr<AVFormatContext, CloseMuxer> muxer_;
    AVStream* stream_ = nullptr; ///< Owned by the muxer.
    FFmpegPointer<AVBufferPool> planeMemory_;
    FFmpegPointer<AVFrame> frame_; ///< The picture as the encoder wants it.
    FFmpegPointer<AVPacket> packet_;
    FFmpegPointer<SwsContext> scaler_;          ///< For pixel formats other than planar YUV 4:2:0.
    std::optional<PixelBuffer> straightPixels_; ///< The picture with straight alpha, for formats that keep it.
};

/// Whether the libraries know the container, the encoder and the pixel format of `format`, and the encoder takes the latter.
bool isKnown(const FilmFormat& format);

} // namespace larkspool
