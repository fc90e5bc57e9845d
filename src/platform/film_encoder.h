#pragma once

#include "platform/asset_writer.h"
#include "platform/ffmpeg_support.h"
#include "platform/planar_picture.h"
#include "platform/worker_thread.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <vector>

namespace larkspool {

/// Makes chunks by an encoder of the FFmpeg libraries, opened anew for each, with a number of threads that is always
/// the same.
///
/// An encoder that spends its bits by need looks back at what it did and ahead at what will refer to a picture. At the first
/// picture it can only guess, and it saves on the last ones. So a chunk is led in by a few repeats of its first picture and led
/// out by some of its last, which are not kept: then it begins and ends as if the film went on.
///
/// Frames are handed over to the encoder on a thread of its own, so that the next ones are drawn while it takes its time. What goes
/// wrong there is told by the next call.
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
    /// Pictures that frames may be made of before the encoder has taken them all: the one last set, the one that it takes, and those
    /// that wait.
    static constexpr std::size_t pictureCount = 3;
    static constexpr int framesAhead = static_cast<int>(pictureCount) - 1;

    /// A picture, and what of it is older than the one last set.
    struct Staged {
        PlanarPicture picture;
        PixelRect stale;
    };

    void checkFits(const PixelBuffer& picture) const;
    void leadIn();
    void leadOut();
    void drain();
    void hand(AVPictureType type, std::int64_t frame);
    void take(std::shared_ptr<AVFrame> frame);
    void waitForFeeder();
    void settle();
    void send(const AVFrame* frame);
    bool receive();
    void keep(const AVPacket& packet);

    FilmSettings settings_;
    FFmpegPointer<AVCodecContext> codec_;
    bool isUsed_ = false;     ///< Whether the encoder has begun a chunk, and cannot begin another.
    bool isDraining_ = false; ///< Whether it was told that no picture follows.
    std::vector<Staged> pictures_; ///< In turn.
    std::size_t shown_ = 0; ///< The picture last set.
    FFmpegPointer<AVPacket> packet_;

    FilmChunk chunk_;
    std::int64_t frames_ = 0; ///< That the chunk shall have.
    std::int64_t framesTaken_ = 0;
    std::atomic<std::int64_t> codedFrames_ = 0;

    std::mutex mutex_;
    std::condition_variable changed_;
    int handed_ = 0; ///< Frames that the encoder has not taken yet.
    std::exception_ptr failure_;
    WorkerThread feeder_;
};

/// Whether the libraries know the container, the encoder and the pixel format of `format`, and the encoder takes the latter.
bool isKnown(const FilmFormat& format);

} // namespace larkspool
