#include "platform/film_encoder.h"

#include "platform/ffmpeg_options.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

#include <fmt/format.h>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace larkspool {

namespace {

constexpr std::int64_t maximumFps = std::numeric_limits<int>::max();

/// Repeats of its first and of its last picture that lead a chunk in and out; the first chunk of a film begins as one pass of the
/// encoder does. Measured on the films of the benchmark in chunks of 150 to 240 frames against that pass: without any, up to 1.1 dB
/// are lost; with these, 0.2 dB, and no film grows by more than 4 percent. Those behind the last picture are looked at, but mostly
/// not coded.
constexpr std::int64_t leadInFrames = 3;
constexpr std::int64_t leadOutFrames = 8;

/// Threads of one encoder. What it makes depends on their number, so that it is the same on every machine. Four keep two cores busy
/// with a single chunk.
constexpr int encoderThreads = 4;

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

/// Whether encoders of this kind spend their bits by need.
bool looksAround(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264;
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

/// By its instructions of 512 bits libx264 takes eight blocks of a row at a time in one place, and where the row's number of blocks
/// is no multiple of that, looks at whatever stands behind it, so that a film would come out differently every time. There it is
/// told of all others that such a machine has, which takes it 5 percent longer.
void avoidChance(FFmpegOptions& options, std::int64_t width)
{
#if defined(__x86_64__)
    constexpr std::int64_t blockSide = 16, blocksAtATime = 8;
    static const bool isTempted = __builtin_cpu_supports("avx512f") != 0;
    const std::int64_t blocks = (width + blockSide - 1) / blockSide;
    if (isTempted && blocks % blocksAtATime != 0) options.addPart("x264-params", "asm=sse2fast,lzcnt,avx2,fma3,bmi1,bmi2");
#endif
}

FFmpegPointer<AVCodecContext> openCodec(const FilmSettings& settings)
{
    const FilmFormat& format = settings.format;
    const AVCodec* encoder = avcodec_find_encoder_by_name(format.codec.c_str());
    const AVOutputFormat* container = av_guess_format(format.container.c_str(), nullptr, nullptr);

    // Made for this encoder, the context holds the encoder's own defaults ("unset" for most), not the library's general ones.
    FFmpegPointer<AVCodecContext> codec(avcodec_alloc_context3(encoder));
    if (!codec) failOfMemory(settings);
    codec->width = static_cast<int>(settings.width);
    codec->height = static_cast<int>(settings.height);
    codec->pix_fmt = pixelFormat(format);
    codec->time_base = {1, static_cast<int>(settings.fps)};
    codec->framerate = {static_cast<int>(settings.fps), 1};
    codec->thread_count = looksAround(encoder->id) ? encoderThreads : 1;
    setColour(*codec);
    if (container->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

    FFmpegOptions options(format.codecOptions);
    if (format.codec == "libx264") avoidChance(options, settings.width);
    takeFFmpegComplaint();
    const int status = avcodec_open2(codec.get(), encoder, options.get());
    if (status == AVERROR(ENOMEM)) failOfMemory(settings);
    if (status < 0) {
        const std::string complaint = takeFFmpegComplaint();
        PlatformError error{.localizedDescription = fmt::format("{} cannot make a film of {} x {} pixels at {} frames a second",
                                                                format.codec, settings.width, settings.height, settings.fps),
                            .domain = "FFmpeg",
                            .code = status,
                            .underlying = std::make_shared<const PlatformError>(ffmpegError(status))};
        if (!complaint.empty()) error.localizedFailureReason = complaint;
        throw PlatformFailure(std::move(error));
    }
    options.refuseLeftovers(format.codec);
    return codec;
}

FFmpegPointer<AVCodecContext> openChecked(const FilmSettings& settings)
{
    silenceFFmpeg();
    checkSettings(settings);
    return openCodec(settings);
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

FilmEncoder::FilmEncoder(const FilmSettings& settings)
    : settings_(settings), codec_(openChecked(settings)), packet_(av_packet_alloc())
{
    if (!packet_) failOfMemory(settings);
    pictures_.reserve(pictureCount);
    while (pictures_.size() < pictureCount)
        pictures_.push_back({.picture = PlanarPicture(*codec_, settings.format.keepsAlpha), .stale = {}});
}

/// What the feeder still takes would miss the encoder.
FilmEncoder::~FilmEncoder()
{
    waitForFeeder();
}

void FilmEncoder::beginChunk(std::int64_t firstFrame, std::int64_t frames)
{
    settle();
    if (isUsed_) codec_.reset();
    if (!codec_) codec_ = openCodec(settings_);
    isUsed_ = true;
    isDraining_ = false;
    frames_ = frames;
    framesTaken_ = 0;
    codedFrames_ = 0;
    chunk_ = {.firstFrame = firstFrame};
}

void FilmEncoder::checkFits(const PixelBuffer& picture) const
{
    if (picture.width() != settings_.width || picture.height() != settings_.height)
        refuse(fmt::format("A picture of {} x {} pixels does not fit a film of {} x {}", picture.width(), picture.height(),
                           settings_.width, settings_.height));
}

/// Those that wait to be taken stay as they are.
void FilmEncoder::setPicture(const PixelBuffer& picture, const PixelRect& changed)
{
    checkFits(picture);
    for (Staged& staged : pictures_) staged.stale = unionOf(staged.stale, changed);
    shown_ = (shown_ + 1) % pictures_.size();
    Staged& shown = pictures_[shown_];
    shown.picture.set(picture, std::exchange(shown.stale, {}));
}

void FilmEncoder::encodeFrame()
{
    if (isDraining_ || framesTaken_ == frames_)
        refuse(fmt::format("There is no room for a frame behind frame {}", chunk_.firstFrame + framesTaken_ - 1));
    if (framesTaken_ == 0 && chunk_.firstFrame > 0 && looksAround(codec_->codec_id)) leadIn();
    const bool isLast = framesTaken_ + 1 == frames_;
    hand(framesTaken_ == 0 ? AV_PICTURE_TYPE_I : isLast ? AV_PICTURE_TYPE_P : AV_PICTURE_TYPE_NONE,
         chunk_.firstFrame + framesTaken_);
    ++framesTaken_;
}

/// Each repeat is told to refer to the one before, so that the encoder learns what it costs to keep the picture up.
void FilmEncoder::leadIn()
{
    for (std::int64_t i = 0; i < leadInFrames; ++i)
        hand(i == 0 ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_P, chunk_.firstFrame - leadInFrames + i);
}

void FilmEncoder::leadOut()
{
    for (std::int64_t i = 0; i < leadOutFrames; ++i) hand(AV_PICTURE_TYPE_NONE, chunk_.firstFrame + frames_ + i);
    settle();
}

/// Has the picture last set taken as frame `frame` of the film, once there is room.
void FilmEncoder::hand(AVPictureType type, std::int64_t frame)
{
    std::shared_ptr<AVFrame> picture(av_frame_clone(&pictures_[shown_].picture.frame()), FFmpegDelete{});
    if (!picture) failOfMemory(settings_);
    picture->pict_type = type;
    picture->pts = frame;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return handed_ < framesAhead; });
    if (failure_) std::rethrow_exception(failure_);
    try {
        feeder_.add([this, picture = std::move(picture)]() mutable { take(std::move(picture)); });
    } catch (const std::system_error& error) {
        throw PlatformFailure(posixError(error.code().value(), "There is no thread for the encoder"));
    }
    ++handed_; // Only now: a frame without a thread is not waited for. None is taken before, since that needs the lock.
}

/// Nothing is taken any more after a failure.
void FilmEncoder::take(std::shared_ptr<AVFrame> frame)
{
    std::exception_ptr failure;
    try {
        if (!failure_) send(frame.get());
    } catch (...) {
        failure = std::current_exception();
    }
    frame.reset(); // Its memory may be drawn into again as soon as there is room.
    const std::scoped_lock lock(mutex_);
    if (failure) failure_ = failure;
    --handed_;
    changed_.notify_one();
}

void FilmEncoder::waitForFeeder()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return handed_ == 0; });
}

/// Waits until all frames have been taken. The encoder is the caller's then.
void FilmEncoder::settle()
{
    waitForFeeder();
    if (failure_) std::rethrow_exception(failure_);
}

bool FilmEncoder::codeHeldFrame()
{
    const std::int64_t before = codedFrames();
    settle();
    if (!isDraining_) drain();
    while (codedFrames() == before && codedFrames() < framesTaken_)
        if (!receive()) return false;
    return codedFrames() > before;
}

void FilmEncoder::drain()
{
    isDraining_ = true;
    // Only the last picture of a whole chunk is known to refer to none behind it.
    if (framesTaken_ == frames_ && looksAround(codec_->codec_id)) leadOut();
    send(nullptr);
}

std::int64_t FilmEncoder::codedFrames() const
{
    return codedFrames_;
}

FilmChunk FilmEncoder::takeChunk()
{
    settle();
    std::int64_t last = -1, whole = 0;
    for (std::int64_t i = 0; i < codedFrames(); ++i) {
        last = std::max(last, chunk_.pictures[static_cast<std::size_t>(i)].frame - chunk_.firstFrame);
        if (last == i) whole = i + 1; // As many pictures as frames up to the last of them: none is missing.
    }
    chunk_.pictures.resize(static_cast<std::size_t>(whole));
    if (codec_->extradata) chunk_.parameters.assign(codec_->extradata, codec_->extradata + codec_->extradata_size);
    codec_.reset();
    return std::exchange(chunk_, {});
}

void FilmEncoder::send(const AVFrame* frame)
{
    const int status = avcodec_send_frame(codec_.get(), frame);
    if (status < 0) throw PlatformFailure(ffmpegError(status, takeFFmpegComplaint()));
    while (frame && receive()) continue;
}

/// Takes one coded picture out of the encoder. False if it has none ready, or at the end none any more.
bool FilmEncoder::receive()
{
    const int status = avcodec_receive_packet(codec_.get(), packet_.get());
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return false;
    if (status < 0) throw PlatformFailure(ffmpegError(status, takeFFmpegComplaint()));
    keep(*packet_);
    return true;
}

/// The repeats around a chunk are dropped.
void FilmEncoder::keep(const AVPacket& packet)
{
    if (packet.pts < chunk_.firstFrame || packet.pts >= chunk_.firstFrame + frames_) return;
    CodedPicture& picture = chunk_.pictures.emplace_back();
    picture.bytes.assign(packet.data, packet.data + packet.size);
    picture.frame = packet.pts;
    picture.isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    codedFrames_ = static_cast<std::int64_t>(chunk_.pictures.size());
}

} // namespace larkspool
