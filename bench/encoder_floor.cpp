#include "encoder_floor.h"

#include "platform/ffmpeg_support.h"
#include "platform/pixel_conversion.h"

#include <cassert>
#include <chrono>
#include <ctime>
#include <stdexcept>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace larkspool {

namespace {

void check(int status, const char* what)
{
    if (status < 0) throw std::runtime_error(std::string(what) + ": " + ffmpegError(status).localizedDescription);
}

double processSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

FFmpegPointer<AVCodecContext> openEncoder(const PlanarFilm& film)
{
    const AVCodec* x264 = avcodec_find_encoder_by_name("libx264");
    if (!x264) throw std::runtime_error("there is no libx264");
    FFmpegPointer<AVCodecContext> codec(avcodec_alloc_context3(x264));
    codec->width = film.width();
    codec->height = film.height();
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = {1, film.fps()};
    codec->framerate = {film.fps(), 1};
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    codec->color_primaries = AVCOL_PRI_BT709;
    codec->color_trc = AVCOL_TRC_BT709;
    codec->colorspace = AVCOL_SPC_BT709;
    codec->color_range = AVCOL_RANGE_MPEG;
    codec->chroma_sample_location = AVCHROMA_LOC_CENTER;
    check(avcodec_open2(codec.get(), x264, nullptr), "opening the encoder");
    return codec;
}

/// A frame over memory of the film, which is neither copied nor freed by it.
FFmpegPointer<AVFrame> frameOver(const PlanarFilm& film, std::int64_t index)
{
    const int size = av_image_get_buffer_size(AV_PIX_FMT_YUV420P, film.width(), film.height(), 1);
    auto* memory = const_cast<std::uint8_t*>(film.frame(index)); // Marked as read-only.
    const auto keep = [](void*, std::uint8_t*) {};

    FFmpegPointer<AVFrame> frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = film.width();
    frame->height = film.height();
    frame->pts = index;
    frame->buf[0] = av_buffer_create(memory, static_cast<std::size_t>(size), keep, nullptr, AV_BUFFER_FLAG_READONLY);
    av_image_fill_arrays(frame->data, frame->linesize, memory, AV_PIX_FMT_YUV420P, film.width(), film.height(), 1);
    return frame;
}

/// Feeds a frame, or the end of the film where it is null, and counts what comes out.
void encode(AVCodecContext& codec, const AVFrame* frame, AVPacket& packet, EncoderFloor& floor)
{
    check(avcodec_send_frame(&codec, frame), "encoding");
    for (;;) {
        const int status = avcodec_receive_packet(&codec, &packet);
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return;
        check(status, "encoding");
        ++floor.packets;
        floor.bytes += packet.size;
        av_packet_unref(&packet);
    }
}

} // namespace

void PlanarFilm::append(const PixelBuffer& picture)
{
    assert(picture.width() == width_ && picture.height() == height_);
    const std::size_t luma = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    auto planes = std::make_shared<std::vector<std::uint8_t>>(luma * 3 / 2);
    const std::size_t columns = static_cast<std::size_t>(width_);
    convertToYUV420(picture, {.planes = {planes->data(), planes->data() + luma, planes->data() + luma * 5 / 4},
                              .bytesPerRow = {columns, columns / 2, columns / 2}});
    frames_.push_back(std::move(planes));
    ++distinct_;
}

EncoderFloor encodeAlone(const PlanarFilm& film)
{
    silenceFFmpeg();
    EncoderFloor floor;
    const double cpuBefore = processSeconds();
    const auto wallBefore = std::chrono::steady_clock::now();

    const FFmpegPointer<AVCodecContext> codec = openEncoder(film);
    const FFmpegPointer<AVPacket> packet(av_packet_alloc());
    for (std::int64_t i = 0; i < film.frameCount(); ++i) encode(*codec, frameOver(film, i).get(), *packet, floor);
    encode(*codec, nullptr, *packet, floor);

    floor.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
    floor.cpuSeconds = processSeconds() - cpuBefore;
    return floor;
}

} // namespace larkspool
