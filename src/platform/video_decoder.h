#pragma once

#include "platform/frame_converter.h"
#include "platform/media_input.h"

#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace larkspool {

/// The pictures of a video file one after the other, in the order in which they show, with their times.
///
/// Times are seconds of the file: edit lists are followed, and a film that begins late has its first picture late. They never
/// fall. Packets and pictures that are broken are left out. Used by one thread at a time.
class VideoDecoder {
public:
    struct Picture {
        FFmpegPointer<AVFrame> frame;
        double time = 0;
        double duration = 0; ///< As the file tells it; 0 where it does not.
    };

    /// How much work was done since opening.
    struct Work {
        std::int64_t decodedPictures = 0;
        std::int64_t seeks = 0;
    };

    /// Null if there is no picture track that can be decoded. The first picture is decoded at once.
    static std::unique_ptr<VideoDecoder> open(const std::string& path);

    /// The next picture, or nothing at the end of the file.
    std::optional<Picture> next();

    /// Makes `next` begin anew: with a key picture at or before `time`, or with the first of the file. If the file has become
    /// unreadable meanwhile, nothing comes any more.
    void seek(double time);

    /// Whether getting from a picture at `from` to the one on show at `to` by a seek leaves out enough pictures to pay.
    bool seekPays(double from, double to) const;

    CGSize codedSize() const { return codedSize_; } ///< Pixels, before turning.
    FrameOrientation orientation() const { return orientation_; }
    double duration() const { return duration_; } ///< Of the file, in seconds; 0 if unknown.
    double frameInterval() const { return frameInterval_; } ///< The mean of the track; 1/30 if unknown.
    double firstTime() const { return firstTime_; } ///< Of the first picture.
    const Work& work() const { return work_; }

private:
    explicit VideoDecoder(std::string path) : path_(std::move(path)) {}

    bool openFromStart();
    bool openCodec();
    void beginAt(double time);
    void readTrack();
    std::optional<Picture> decode();
    Picture take(FFmpegPointer<AVFrame> frame);
    bool readPacket();
    bool sendPacket();
    bool jumpTo(double time);
    double seconds(std::int64_t timestamp) const;
    std::int64_t timestamp(double time) const;
    const AVStream& stream() const { return *input_->video(); }

    static constexpr double notYet = -std::numeric_limits<double>::infinity();

    std::string path_;
    std::unique_ptr<MediaInput> input_;
    FFmpegPointer<AVCodecContext> codec_;
    FFmpegPointer<AVPacket> packet_;
    CGSize codedSize_;
    FrameOrientation orientation_;
    double origin_ = 0, duration_ = 0, frameInterval_ = 1.0 / 30;
    double trackEnd_ = std::numeric_limits<double>::infinity();
    double firstTime_ = notYet;

    /// Of the first packet, where the container tells when pictures are decoded alone. They show as late as the codec needs to put
    /// them in order, and the first of them is to show at this time.
    double firstDecodingTime_ = notYet;
    bool hasReadPacket_ = false;

    std::optional<Picture> pending_; ///< Decoded already, for `next`.
    double lastTime_ = notYet; ///< Of the last picture decoded.
    double trustedFrom_ = notYet; ///< After a seek: pictures before this may refer to some that were left out.
    bool waitsForKeyPacket_ = false; ///< After a seek.
    bool packetWaits_ = false; ///< `packet_` is still to be taken by the codec.
    bool isDrained_ = false; ///< The codec was told that nothing more comes.
    bool isLost_ = false; ///< The file could not be opened again.
    double lastKeyTime_ = notYet; ///< Of the key packets, as read.
    double longestKeyInterval_ = 0;
    Work work_;
};

} // namespace larkspool
