#include "support/film_probe.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace larkspool {

namespace {

struct Delete {
    void operator()(AVFormatContext* film) const { avformat_close_input(&film); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
template <typename T>
using Owned = std::unique_ptr<T, Delete>;

void check(int status, const std::string& what)
{
    if (status >= 0) return;
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(status, words, sizeof words);
    throw std::runtime_error(what + ": " + words);
}

/// A film that is open for reading, with a decoder for its pictures.
class OpenFilm {
public:
    explicit OpenFilm(const std::string& path)
    {
        AVFormatContext* film = nullptr;
        check(avformat_open_input(&film, ("file:" + path).c_str(), nullptr, nullptr), path);
        film_.reset(film);
        check(avformat_find_stream_info(film, nullptr), path);
        const AVCodec* decoder = nullptr;
        streamIndex_ = av_find_best_stream(film, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
        check(streamIndex_, path);
        codec_.reset(avcodec_alloc_context3(decoder));
        avcodec_parameters_to_context(codec_.get(), stream().codecpar);
        check(avcodec_open2(codec_.get(), decoder, nullptr), path);
    }

    AVFormatContext& film() const { return *film_; }
    AVStream& stream() const { return *film_->streams[streamIndex_]; }
    const std::vector<double>& decodingTimes() const { return decodingTimes_; }

    /// Calls `visit` with every frame until it answers false.
    void decode(const std::function<bool(const AVFrame&)>& visit)
    {
        const Owned<AVPacket> packet(av_packet_alloc());
        while (av_read_frame(film_.get(), packet.get()) >= 0) {
            const bool ours = packet->stream_index == streamIndex_;
            if (ours) decodingTimes_.push_back(static_cast<double>(packet->dts) * av_q2d(stream().time_base));
            if (ours) check(avcodec_send_packet(codec_.get(), packet.get()), "decoding");
            av_packet_unref(packet.get());
            if (ours && !takeFrames(visit)) return;
        }
        check(avcodec_send_packet(codec_.get(), nullptr), "decoding");
        takeFrames(visit);
    }

private:
    bool takeFrames(const std::function<bool(const AVFrame&)>& visit)
    {
        const Owned<AVFrame> frame(av_frame_alloc());
        for (;;) {
            const int status = avcodec_receive_frame(codec_.get(), frame.get());
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return true;
            check(status, "decoding");
            if (!visit(*frame)) return false;
        }
    }

    Owned<AVFormatContext> film_;
    int streamIndex_ = -1;
    Owned<AVCodecContext> codec_;
    std::vector<double> decodingTimes_; ///< Of the pictures so far, in seconds.
};

/// A frame in the colours of a raster.
PixelBuffer rasterOf(const AVFrame& frame)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const Owned<SwsContext> scaler(sws_getContext(frame.width, frame.height, format, frame.width, frame.height, AV_PIX_FMT_BGRA,
                                                  SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr,
                                                  nullptr));
    if (!scaler) throw std::runtime_error("the frame cannot be converted");
    const int* matrix = sws_getCoefficients(frame.colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    sws_setColorspaceDetails(scaler.get(), matrix, frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0, matrix, 1, 0, 1 << 16, 1 << 16);

    PixelBuffer picture(frame.width, frame.height);
    std::uint8_t* rows[4] = {picture.data(), nullptr, nullptr, nullptr};
    const int bytesPerRow[4] = {static_cast<int>(picture.bytesPerRow()), 0, 0, 0};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, rows, bytesPerRow);
    return picture;
}

std::string name(const char* text)
{
    return text ? text : "";
}

/// Whether the box `moov` comes before `mdat` among the outermost boxes of the file.
bool hasIndexAtFront(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    unsigned char head[16];
    while (file.read(reinterpret_cast<char*>(head), 8)) {
        std::uint64_t size = 0;
        for (int i = 0; i < 4; ++i) size = size << 8 | head[i];
        std::uint64_t headLength = 8;
        if (std::memcmp(head + 4, "moov", 4) == 0) return true;
        if (std::memcmp(head + 4, "mdat", 4) == 0) return false;
        if (size == 1) {
            headLength = 16;
            size = 0;
            if (!file.read(reinterpret_cast<char*>(head + 8), 8)) return false;
            for (int i = 8; i < 16; ++i) size = size << 8 | head[i];
        }
        if (size < headLength) return false;
        file.seekg(static_cast<std::streamoff>(size - headLength), std::ios::cur);
    }
    return false;
}

} // namespace

FilmReport probeFilm(const std::string& path)
{
    OpenFilm open(path);
    const AVStream& stream = open.stream();
    const AVCodecParameters& parameters = *stream.codecpar;

    FilmReport report;
    report.container = open.film().iformat->name;
    report.codec = avcodec_get_name(parameters.codec_id);
    report.pixelFormat = name(av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters.format)));
    report.width = parameters.width;
    report.height = parameters.height;
    report.rateNumerator = stream.r_frame_rate.num;
    report.rateDenominator = stream.r_frame_rate.den;
    report.declaredFrames = stream.nb_frames;
    report.seconds = static_cast<double>(stream.duration) * av_q2d(stream.time_base);
    report.fileSeconds = static_cast<double>(open.film().duration) / AV_TIME_BASE;
    report.colorRange = name(av_color_range_name(parameters.color_range));
    report.colorSpace = name(av_color_space_name(parameters.color_space));
    report.colorPrimaries = name(av_color_primaries_name(parameters.color_primaries));
    report.colorTransfer = name(av_color_transfer_name(parameters.color_trc));
    report.chromaLocation = name(av_chroma_location_name(parameters.chroma_location));
    for (unsigned i = 0; i < open.film().nb_streams; ++i)
        if (open.film().streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) report.hasAudio = true;
    report.indexAtFront = hasIndexAtFront(path);
    open.decode([&](const AVFrame& frame) {
        report.presentationTimes.push_back(static_cast<double>(frame.best_effort_timestamp) * av_q2d(stream.time_base));
        return true;
    });
    report.decodingTimes = open.decodingTimes();
    return report;
}

void forEachFrame(const std::string& path, const std::function<void(std::int64_t index, const PixelBuffer& picture)>& visit)
{
    std::int64_t index = 0;
    OpenFilm(path).decode([&](const AVFrame& frame) {
        visit(index++, rasterOf(frame));
        return true;
    });
}

std::vector<PixelBuffer> decodedFrames(const std::string& path, std::int64_t limit)
{
    std::vector<PixelBuffer> frames;
    OpenFilm(path).decode([&](const AVFrame& frame) {
        if (static_cast<std::int64_t>(frames.size()) < limit) frames.push_back(rasterOf(frame));
        return static_cast<std::int64_t>(frames.size()) < limit;
    });
    return frames;
}

double meanChannelError(const PixelBuffer& first, const PixelBuffer& second)
{
    if (first.width() != second.width() || first.height() != second.height())
        throw std::runtime_error(fmt::format("pictures of {} x {} and {} x {} pixels cannot be compared", first.width(),
                                             first.height(), second.width(), second.height()));
    double sum = 0;
    for (int y = 0; y < first.height(); ++y)
        for (int i = 0; i < first.width() * 4; ++i)
            if (i % 4 != 3) sum += std::abs(first.row(y)[i] - second.row(y)[i]);
    return sum / (3.0 * first.width() * first.height());
}

} // namespace larkspool
