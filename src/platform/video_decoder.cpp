#include "platform/video_decoder.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

extern "C" {
#include <libavutil/display.h>
}

namespace larkspool {

namespace {

/// More threads than this gain little for one film and cost a picture's memory each.
constexpr unsigned mostThreads = 4;

/// Pictures of fewer pixels are decoded sooner than threads are woken.
constexpr int pixelsWorthThreads = 640 * 360;

int decodingThreads(int width, int height)
{
    if (std::int64_t{width} * height < pixelsWorthThreads) return 1;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, mostThreads));
}

/// A seek costs the start of a group of pictures and the filling of the codec's pipeline.
constexpr double leastSecondsLeftOut = 0.25;
constexpr double leastPicturesLeftOut = 4;

/// How far apart key pictures are taken to be in a file of which no two have been seen and that has no index.
constexpr double presumedKeyInterval = 2;

/// The steps back in the search of a key picture: the first, and what each grows by.
constexpr double firstStepBack = 0.5;
constexpr double stepGrowth = 3;

/// A codec that keeps complaining while it gives its last pictures is left alone.
constexpr int mostComplaints = 1000;

bool hasAllowedSize(int width, int height)
{
    return width >= 1 && height >= 1 && width <= MediaInput::maximumSide && height <= MediaInput::maximumSide &&
           std::int64_t{width} * height <= MediaInput::maximumPixels;
}

} // namespace

std::unique_ptr<VideoDecoder> VideoDecoder::open(const std::string& path)
{
    std::unique_ptr<VideoDecoder> decoder(new VideoDecoder(path));
    if (!decoder->openFromStart()) return nullptr;
    return decoder;
}

bool VideoDecoder::openFromStart()
{
    codec_.reset();
    input_ = MediaInput::openForVideo(path_);
    if (!input_ || !input_->video() || !openCodec()) return false;
    readTrack();
    lastTime_ = trustedFrom_ = lastKeyTime_ = firstDecodingTime_ = notYet;
    waitsForKeyPacket_ = packetWaits_ = isDrained_ = hasReadPacket_ = false;
    pending_ = decode();
    if (!pending_) return false;
    if (firstDecodingTime_ != notYet) beginAt(firstDecodingTime_);
    firstTime_ = pending_->time;
    return true;
}

void VideoDecoder::beginAt(double time)
{
    const double delay = std::max(pending_->time - time, 0.0);
    origin_ += delay;
    for (double* each : {&pending_->time, &lastTime_, &lastKeyTime_, &trackEnd_}) *each -= delay;
}

bool VideoDecoder::openCodec()
{
    const AVCodecParameters& parameters = *stream().codecpar;
    if (!hasAllowedSize(parameters.width, parameters.height)) return false;
    const AVCodec* decoder = avcodec_find_decoder(parameters.codec_id);
    if (!decoder) return false;
    codec_.reset(avcodec_alloc_context3(decoder));
    packet_.reset(av_packet_alloc());
    if (!codec_ || !packet_ || avcodec_parameters_to_context(codec_.get(), &parameters) < 0) return false;
    codec_->pkt_timebase = stream().time_base;
    codec_->max_pixels = MediaInput::maximumPixels; // Checked before a picture gets its memory, whatever its header says later.
    codec_->thread_count = decodingThreads(parameters.width, parameters.height);
    return avcodec_open2(codec_.get(), decoder, nullptr) >= 0;
}

void VideoDecoder::readTrack()
{
    const AVStream& track = stream();
    codedSize_ = {static_cast<double>(track.codecpar->width), static_cast<double>(track.codecpar->height)};
    origin_ = input_->origin();
    const AVFormatContext& file = input_->container();
    if (file.duration != AV_NOPTS_VALUE && file.duration > 0) duration_ = static_cast<double>(file.duration) / AV_TIME_BASE;
    if (track.duration != AV_NOPTS_VALUE && track.duration > 0) {
        const std::int64_t start = track.start_time == AV_NOPTS_VALUE ? 0 : track.start_time;
        trackEnd_ = seconds(start) + static_cast<double>(track.duration) * av_q2d(track.time_base);
    }
    const AVRational rate =
        track.avg_frame_rate.num > 0 && track.avg_frame_rate.den > 0 ? track.avg_frame_rate : track.r_frame_rate;
    if (rate.num > 0 && rate.den > 0) frameInterval_ = static_cast<double>(rate.den) / rate.num;

    std::size_t bytes = 0;
    const std::uint8_t* matrix = av_stream_get_side_data(&track, AV_PKT_DATA_DISPLAYMATRIX, &bytes);
    std::int32_t numbers[9];
    if (!matrix || bytes < sizeof numbers) return;
    std::copy_n(matrix, sizeof numbers, reinterpret_cast<std::uint8_t*>(numbers));
    orientation_ = FrameOrientation::fromDisplayMatrix(numbers);
}

double VideoDecoder::seconds(std::int64_t timestamp) const
{
    const AVRational base = stream().time_base;
    // One division of whole numbers, so that a time that a double can hold comes out as that double.
    return static_cast<double>(timestamp) * base.num / base.den - origin_;
}

std::int64_t VideoDecoder::timestamp(double time) const
{
    constexpr double farthest = 4e18;
    return static_cast<std::int64_t>(std::clamp(std::floor((time + origin_) / av_q2d(stream().time_base)), -farthest, farthest));
}

std::optional<VideoDecoder::Picture> VideoDecoder::next()
{
    if (pending_) return std::exchange(pending_, std::nullopt);
    if (isLost_) return std::nullopt;
    return decode();
}

std::optional<VideoDecoder::Picture> VideoDecoder::decode()
{
    int complaints = 0;
    for (;;) {
        FFmpegPointer<AVFrame> frame(av_frame_alloc());
        if (!frame) return std::nullopt;
        const int status = avcodec_receive_frame(codec_.get(), frame.get());
        if (status == AVERROR_EOF) return std::nullopt;
        if (status >= 0) {
            ++work_.decodedPictures;
            if (!hasAllowedSize(frame->width, frame->height)) continue;
            Picture picture = take(std::move(frame));
            if (picture.time < trustedFrom_) continue;
            return picture;
        }
        if (isDrained_ && (status == AVERROR(EAGAIN) || ++complaints > mostComplaints)) return std::nullopt;
        if (!isDrained_ && !sendPacket()) {
            avcodec_send_packet(codec_.get(), nullptr);
            isDrained_ = true;
        }
    }
}

VideoDecoder::Picture VideoDecoder::take(FFmpegPointer<AVFrame> frame)
{
    std::int64_t stamp = frame->best_effort_timestamp;
    if (stamp == AV_NOPTS_VALUE) stamp = frame->pts;
    const bool follows = lastTime_ != notYet;
    double time = follows ? lastTime_ + frameInterval_ : 0;
    if (stamp != AV_NOPTS_VALUE) time = seconds(stamp);
    if (follows) time = std::max(time, lastTime_);
    lastTime_ = time;
    const double duration = static_cast<double>(frame->pkt_duration) * av_q2d(stream().time_base);
    return {.frame = std::move(frame), .time = time, .duration = std::max(duration, 0.0)};
}

bool VideoDecoder::sendPacket()
{
    if (!packetWaits_ && !readPacket()) return false;
    // A codec that is full keeps the packet waiting; one that cannot use it has lost it.
    packetWaits_ = avcodec_send_packet(codec_.get(), packet_.get()) == AVERROR(EAGAIN);
    if (!packetWaits_) av_packet_unref(packet_.get());
    return true;
}

bool VideoDecoder::readPacket()
{
    for (;;) {
        av_packet_unref(packet_.get());
        if (av_read_frame(&input_->container(), packet_.get()) < 0) return false;
        if (packet_->stream_index != stream().index) continue;
        const bool isKey = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
        if (waitsForKeyPacket_ && !isKey) continue;

        const std::int64_t stamp = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
        if (waitsForKeyPacket_) trustedFrom_ = stamp == AV_NOPTS_VALUE ? notYet : seconds(stamp);
        waitsForKeyPacket_ = false;
        const bool tellsDecodingAlone = packet_->pts == AV_NOPTS_VALUE && stamp != AV_NOPTS_VALUE;
        if (!hasReadPacket_ && tellsDecodingAlone) firstDecodingTime_ = seconds(stamp);
        hasReadPacket_ = true;
        if (isKey && stamp != AV_NOPTS_VALUE) {
            const double time = seconds(stamp);
            if (lastKeyTime_ != notYet) longestKeyInterval_ = std::max(longestKeyInterval_, time - lastKeyTime_);
            lastKeyTime_ = time;
        }
        return true;
    }
}

bool VideoDecoder::jumpTo(double time)
{
    ++work_.seeks;
    if (av_seek_frame(&input_->container(), stream().index, timestamp(time), AVSEEK_FLAG_BACKWARD) < 0) return false;
    avcodec_flush_buffers(codec_.get());
    av_packet_unref(packet_.get());
    lastTime_ = trustedFrom_ = lastKeyTime_ = notYet;
    waitsForKeyPacket_ = true;
    packetWaits_ = isDrained_ = false;
    return true;
}

void VideoDecoder::seek(double time)
{
    pending_.reset();
    if (isLost_) return;
    // An index orders key pictures by when they are decoded, and some files have none, so that the first landing can lie too
    // late; the search then goes back in growing steps.
    double target = std::min(time, trackEnd_);
    for (double step = firstStepBack; jumpTo(target); target -= step, step *= stepGrowth) {
        pending_ = decode();
        if (pending_ && pending_->time <= std::max(time, firstTime_)) return;
        if (target < firstTime_) break;
    }
    ++work_.seeks;
    isLost_ = !openFromStart();
}

bool VideoDecoder::seekPays(double from, double to) const
{
    to = std::min(to, trackEnd_);
    const double leastGain = std::max(leastSecondsLeftOut, leastPicturesLeftOut * frameInterval_);
    if (to - from <= leastGain) return false;

    auto* const track = const_cast<AVStream*>(&stream()); // The library's index is read through a bare pointer.
    const int entries = avformat_index_get_entries_count(track);
    const AVIndexEntry* last = entries > 0 ? avformat_index_get_entry(track, entries - 1) : nullptr;
    const bool indexReaches = last && last->timestamp >= timestamp(to);
    if (indexReaches) {
        const AVIndexEntry* key = avformat_index_get_entry_from_timestamp(track, timestamp(to), AVSEEK_FLAG_BACKWARD);
        return key && seconds(key->timestamp) - from > leastGain;
    }
    return to - from > (longestKeyInterval_ > 0 ? longestKeyInterval_ : presumedKeyInterval);
}

} // namespace larkspool
