#include "encoder_floor.h"

#include "platform/ffmpeg_support.h"
#include "platform/pixel_conversion.h"

#include <cassert>
#include <chrono>
#include <cmath>
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

/// Feeds a frame, or the end of the film where it is null, and takes what comes out.
void encode(const AVFrame* frame, CodedFilm& film)
{
    check(avcodec_send_frame(film.codec.get(), frame), "encoding");
    for (;;) {
        FFmpegPointer<AVPacket> packet(av_packet_alloc());
        const int status = avcodec_receive_packet(film.codec.get(), packet.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return;
        check(status, "encoding");
        film.packets.push_back(std::move(packet));
    }
}

double squaredError(const std::uint8_t* first, const std::uint8_t* second, int count)
{
    std::uint64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        const int difference = first[i] - second[i];
        sum += static_cast<std::uint64_t>(difference * difference);
    }
    return static_cast<double>(sum);
}

/// Decodes packets and compares them with the pictures of a film.
class Comparison {
public:
    Comparison(const AVCodecParameters& parameters, const PlanarFilm& film) : film_(film), frame_(av_frame_alloc())
    {
        const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
        decoder_.reset(avcodec_alloc_context3(codec));
        check(avcodec_parameters_to_context(decoder_.get(), &parameters), "setting the decoder up");
        check(avcodec_open2(decoder_.get(), codec, nullptr), "opening the decoder");
    }

    void take(const AVPacket* packet)
    {
        check(avcodec_send_packet(decoder_.get(), packet), "decoding");
        if (packet) quality_.bytes += packet->size;
        while (avcodec_receive_frame(decoder_.get(), frame_.get()) >= 0) compareFrame();
    }

    FilmQuality finish()
    {
        take(nullptr);
        if (frames_ != film_.frameCount()) throw std::runtime_error("the coded film has not all of its frames");
        const double samples = 1.5 * film_.width() * film_.height() * static_cast<double>(frames_);
        quality_.psnr = 10 * std::log10(255.0 * 255.0 * samples / error_);
        return quality_;
    }

private:
    void compareFrame()
    {
        if (frames_ == film_.frameCount()) throw std::runtime_error("the coded film has more than its frames");
        const std::uint8_t* original = film_.frame(frames_++);
        for (int plane = 0; plane < 3; ++plane) {
            const int columns = plane == 0 ? film_.width() : film_.width() / 2;
            const int rows = plane == 0 ? film_.height() : film_.height() / 2;
            for (int y = 0; y < rows; ++y, original += columns)
                error_ += squaredError(frame_->data[plane] + std::ptrdiff_t{y} * frame_->linesize[plane], original, columns);
        }
    }

    const PlanarFilm& film_;
    FFmpegPointer<AVCodecContext> decoder_;
    FFmpegPointer<AVFrame> frame_;
    std::int64_t frames_ = 0;
    double error_ = 0;
    FilmQuality quality_;
};

struct FreeParameters {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
struct CloseInput {
    void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};

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

    floor.film.codec = openEncoder(film);
    for (std::int64_t i = 0; i < film.frameCount(); ++i) encode(frameOver(film, i).get(), floor.film);
    encode(nullptr, floor.film);

    floor.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
    floor.cpuSeconds = processSeconds() - cpuBefore;
    return floor;
}

FilmQuality qualityOf(const CodedFilm& coded, const PlanarFilm& film)
{
    const std::unique_ptr<AVCodecParameters, FreeParameters> parameters(avcodec_parameters_alloc());
    check(avcodec_parameters_from_context(parameters.get(), coded.codec.get()), "reading the parameters");
    Comparison comparison(*parameters, film);
    for (const FFmpegPointer<AVPacket>& packet : coded.packets) comparison.take(packet.get());
    return comparison.finish();
}

FilmQuality qualityOf(const std::string& path, const PlanarFilm& film)
{
    AVFormatContext* opened = nullptr;
    check(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "opening the film");
    const std::unique_ptr<AVFormatContext, CloseInput> input(opened);
    Comparison comparison(*input->streams[0]->codecpar, film);
    const FFmpegPointer<AVPacket> packet(av_packet_alloc());
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        comparison.take(packet.get());
        av_packet_unref(packet.get());
    }
    return comparison.finish();
}

} // namespace larkspool
