#include "platform/film_encoder.h"

#include "platform/pixel_conversion.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <utility>

#include <fmt/format.h>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace larkspool {

namespace {

using OptionList = std::vector<std::pair<std::string, std::string>>;

/// Rows of the planes begin on multiples of this many bytes.
constexpr int planeAlignment = 64;

constexpr std::int64_t maximumFps = std::numeric_limits<int>::max();

/// Options on their way to a library, which takes those that it knows out of the list.
class Options {
public:
    explicit Options(const OptionList& list)
    {
        for (const auto& [name, value] : list) av_dict_set(&dictionary_, name.c_str(), value.c_str(), 0);
    }
    ~Options() { av_dict_free(&dictionary_); }
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    AVDictionary** get() { return &dictionary_; }

    void refuseLeftovers(const std::string& library) const
    {
        const AVDictionaryEntry* left = av_dict_get(dictionary_, "", nullptr, AV_DICT_IGNORE_SUFFIX);
        if (left) throw PlatformFailure(posixError(EINVAL, fmt::format("{} has no option \"{}\"", library, left->key)));
    }

private:
    AVDictionary* dictionary_ = nullptr;
};

[[noreturn]] void refuse(std::string words)
{
    throw PlatformFailure(posixError(EINVAL, std::move(words)));
}

[[noreturn]] void failOfMemory(const FilmSettings& settings)
{
    throw PlatformFailure(posixError(
        ENOMEM, fmt::format("There is not enough memory for a film of {} x {} pixels", settings.width, settings.height)));
}

AVPixelFormat pixelFormat(const FilmFormat& format)
{
    return av_get_pix_fmt(format.pixelFormat.c_str());
}

/// Refuses what no encoder needs to be asked about.
void checkSettings(const FilmSettings& settings)
{
    const AVPixFmtDescriptor& pixels = *av_pix_fmt_desc_get(pixelFormat(settings.format));
    const std::int64_t widthStep = std::int64_t{1} << pixels.log2_chroma_w;
    const std::int64_t heightStep = std::int64_t{1} << pixels.log2_chroma_h;
    const std::string size = fmt::format("A film of {} x {} pixels cannot be made", settings.width, settings.height);

    if (settings.width < 2 || settings.height < 2) refuse(size + ": both sides must be at least 2");
    const std::int64_t maximumSide = std::min(settings.format.maximumSide, PixelBuffer::maximumSide);
    if (settings.width > maximumSide || settings.height > maximumSide ||
        settings.width * settings.height > settings.format.maximumPixels)
        refuse(fmt::format("{}: a picture may have at most {} pixels, and {} on a side", size, settings.format.maximumPixels,
                           maximumSide));
    if (settings.width % widthStep != 0 || settings.height % heightStep != 0)
        refuse(fmt::format("{}: the width must be a multiple of {} and the height of {}", size, widthStep, heightStep));
    if (settings.fps < 1 || settings.fps > maximumFps)
        refuse(fmt::format("A film of {} frames a second cannot be made", settings.fps));
}

/// BT.709, in limited range where the planes are YUV.
void setColour(AVCodecContext& codec)
{
    const AVPixFmtDescriptor& pixels = *av_pix_fmt_desc_get(codec.pix_fmt);
    const bool isRGB = (pixels.flags & AV_PIX_FMT_FLAG_RGB) != 0;
    codec.color_primaries = AVCOL_PRI_BT709;
    codec.color_trc = AVCOL_TRC_BT709;
    codec.colorspace = isRGB ? AVCOL_SPC_RGB : AVCOL_SPC_BT709;
    codec.color_range = isRGB ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    if (pixels.log2_chroma_w > 0 && pixels.log2_chroma_h > 0) codec.chroma_sample_location = AVCHROMA_LOC_CENTER;
}

/// Divides the colours by alpha again.
void removePremultiplication(const PixelBuffer& picture, PixelBuffer& straight)
{
    for (int y = 0; y < picture.height(); ++y) {
        const std::uint8_t* source = picture.row(y);
        std::uint8_t* target = straight.row(y);
        for (int i = 0; i < picture.width() * 4; ++i) {
            const int alpha = source[i | 3];
            const bool isAlpha = i % 4 == 3;
            target[i] = isAlpha || alpha == 0 ? source[i]
                                              : static_cast<std::uint8_t>(std::min(255, (source[i] * 255 + alpha / 2) / alpha));
        }
    }
}

} // namespace

bool isKnown(const FilmFormat& format)
{
    const AVCodec* codec = avcodec_find_encoder_by_name(format.codec.c_str());
    const AVPixelFormat pixels = pixelFormat(format);
    if (!codec || pixels == AV_PIX_FMT_NONE || !sws_isSupportedOutput(pixels)) return false;
    if (!av_guess_format(format.container.c_str(), nullptr, nullptr)) return false;
    if (!codec->pix_fmts) return true;
    const AVPixelFormat* taken = codec->pix_fmts;
    while (*taken != AV_PIX_FMT_NONE && *taken != pixels) ++taken;
    return *taken == pixels;
}

void FilmEncoder::CloseMuxer::operator()(AVFormatContext* muxer) const
{
    avio_closep(&muxer->pb); // What fails here was either told already or belongs to a file that nobody wants.
    avformat_free_context(muxer);
}

FilmEncoder::FilmEncoder(const std::string& path, const FilmSettings& settings) : path_(path), format_(settings.format)
{
    silenceFFmpeg();
    takeFFmpegComplaint();
    checkSettings(settings);
    openEncoder(settings);
    prepareConversion();
    openFile(path, settings);
}

FilmEncoder::~FilmEncoder() = default;

void FilmEncoder::openEncoder(const FilmSettings& settings)
{
    const AVCodec* encoder = avcodec_find_encoder_by_name(format_.codec.c_str());
    const AVOutputFormat* container = av_guess_format(format_.container.c_str(), nullptr, nullptr);

    // Made for this encoder, the context holds the encoder's own defaults ("unset" for most), not the library's general ones.
    codec_.reset(avcodec_alloc_context3(encoder));
    if (!codec_) failOfMemory(settings);
    codec_->width = static_cast<int>(settings.width);
    codec_->height = static_cast<int>(settings.height);
    codec_->pix_fmt = pixelFormat(format_);
    codec_->time_base = {1, static_cast<int>(settings.fps)};
    codec_->framerate = {static_cast<int>(settings.fps), 1};
    setColour(*codec_);
    if (container->flags & AVFMT_GLOBALHEADER) codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

    Options options(format_.codecOptions);
    const int status = avcodec_open2(codec_.get(), encoder, options.get());
    if (status == AVERROR(ENOMEM)) failOfMemory(settings);
    if (status < 0) {
        const std::string complaint = takeFFmpegComplaint();
        PlatformError error{.localizedDescription = fmt::format("{} cannot make a film of {} x {} pixels at {} frames a second",
                                                                format_.codec, settings.width, settings.height, settings.fps),
                            .domain = "FFmpeg",
                            .code = status,
                            .underlying = std::make_shared<const PlatformError>(ffmpegError(status))};
        if (!complaint.empty()) error.localizedFailureReason = complaint;
        throw PlatformFailure(std::move(error));
    }
    options.refuseLeftovers(format_.codec);
}

void FilmEncoder::prepareConversion()
{
    const int bytes = av_image_get_buffer_size(codec_->pix_fmt, codec_->width, codec_->height, planeAlignment);
    if (bytes < 0) throw PlatformFailure(ffmpegError(bytes));
    planeMemory_.reset(av_buffer_pool_init(static_cast<std::size_t>(bytes), nullptr));
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    if (!planeMemory_ || !frame_ || !packet_) throw PlatformFailure(ffmpegError(AVERROR(ENOMEM)));
    if (codec_->pix_fmt == AV_PIX_FMT_YUV420P) return;

    const AVPixelFormat source = format_.keepsAlpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
    scaler_.reset(sws_getContext(codec_->width, codec_->height, source, codec_->width, codec_->height, codec_->pix_fmt,
                                 SWS_AREA | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
    if (!scaler_) throw PlatformFailure(ffmpegError(AVERROR(ENOMEM)));
    constexpr int full = 1, limited = 0, unchanged = 1 << 16;
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU709);
    const int targetRange = codec_->color_range == AVCOL_RANGE_JPEG ? full : limited;
    sws_setColorspaceDetails(scaler_.get(), coefficients, full, coefficients, targetRange, 0, unchanged, unchanged);
    if (format_.keepsAlpha) straightPixels_.emplace(codec_->width, codec_->height);
}

void FilmEncoder::openFile(const std::string& path, const FilmSettings& settings)
{
    const std::string url = "file:" + path; // A name with a colon in it is a name, and no protocol.
    AVFormatContext* muxer = nullptr;
    avformat_alloc_output_context2(&muxer, nullptr, format_.container.c_str(), url.c_str());
    muxer_.reset(muxer);
    stream_ = muxer ? avformat_new_stream(muxer, nullptr) : nullptr;
    if (!stream_) failOfMemory(settings);
    avcodec_parameters_from_context(stream_->codecpar, codec_.get());
    stream_->time_base = codec_->time_base;
    stream_->avg_frame_rate = codec_->framerate;

    int status = avio_open(&muxer->pb, url.c_str(), AVIO_FLAG_WRITE);
    if (status < 0) failToWrite(status);

    Options options(format_.containerOptions);
    // The length of the whole film is told in this unit, in milliseconds if nobody asks for better.
    if (muxer->priv_data && av_opt_find(muxer->priv_data, "movie_timescale", nullptr, 0, 0))
        av_dict_set_int(options.get(), "movie_timescale", settings.fps, 0);
    takeFFmpegComplaint();
    status = avformat_write_header(muxer, options.get());
    if (status < 0) failToWrite(status);
    options.refuseLeftovers(format_.container);
}

void FilmEncoder::setPicture(const PixelBuffer& picture)
{
    av_frame_unref(frame_.get());
    frame_->format = codec_->pix_fmt;
    frame_->width = codec_->width;
    frame_->height = codec_->height;
    frame_->color_range = codec_->color_range;
    frame_->colorspace = codec_->colorspace;
    frame_->color_primaries = codec_->color_primaries;
    frame_->color_trc = codec_->color_trc;
    frame_->chroma_location = codec_->chroma_sample_location;
    frame_->buf[0] = av_buffer_pool_get(planeMemory_.get());
    if (!frame_->buf[0]) throw PlatformFailure(ffmpegError(AVERROR(ENOMEM)));
    av_image_fill_arrays(frame_->data, frame_->linesize, frame_->buf[0]->data, codec_->pix_fmt, codec_->width, codec_->height,
                         planeAlignment);
    if (scaler_) {
        convertWithScaler(picture);
        return;
    }
    YUV420Planes target;
    for (std::size_t plane = 0; plane < 3; ++plane) {
        target.planes[plane] = frame_->data[plane];
        target.bytesPerRow[plane] = static_cast<std::size_t>(frame_->linesize[plane]);
    }
    convertToYUV420(picture, target);
}

void FilmEncoder::convertWithScaler(const PixelBuffer& picture)
{
    if (straightPixels_) removePremultiplication(picture, *straightPixels_);
    const PixelBuffer& source = straightPixels_ ? *straightPixels_ : picture;
    const std::uint8_t* const rows[4] = {source.data(), nullptr, nullptr, nullptr};
    const int bytesPerRow[4] = {static_cast<int>(source.bytesPerRow()), 0, 0, 0};
    sws_scale(scaler_.get(), rows, bytesPerRow, 0, source.height(), frame_->data, frame_->linesize);
}

void FilmEncoder::encodeFrame(std::int64_t frameIndex)
{
    frame_->pts = frameIndex;
    const int status = avcodec_send_frame(codec_.get(), frame_.get());
    if (status < 0) throw PlatformFailure(ffmpegError(status, takeFFmpegComplaint()));
    writePackets();
}

void FilmEncoder::writePackets()
{
    for (;;) {
        int status = avcodec_receive_packet(codec_.get(), packet_.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return;
        if (status < 0) throw PlatformFailure(ffmpegError(status, takeFFmpegComplaint()));

        packet_->duration = 1; // In frames; without it the last frame would have no length.
        packet_->stream_index = stream_->index;
        av_packet_rescale_ts(packet_.get(), codec_->time_base, stream_->time_base);
        status = av_interleaved_write_frame(muxer_.get(), packet_.get());
        if (status < 0) failToWrite(status);
    }
}

void FilmEncoder::finish()
{
    int status = avcodec_send_frame(codec_.get(), nullptr);
    if (status < 0) throw PlatformFailure(ffmpegError(status, takeFFmpegComplaint()));
    writePackets();

    status = av_write_trailer(muxer_.get());
    const int closed = avio_closep(&muxer_->pb);
    if (status < 0) failToWrite(status);
    if (closed < 0) failToWrite(closed);
}

void FilmEncoder::failToWrite(int status) const
{
    const std::string complaint = takeFFmpegComplaint();
    std::string reason = fmt::format("the file \"{}\" cannot be written", path_);
    if (!complaint.empty()) reason += ": " + complaint;
    throw PlatformFailure(ffmpegError(status, std::move(reason)));
}

} // namespace larkspool
