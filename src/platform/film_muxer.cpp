#include "platform/film_muxer.h"

#include "platform/ffmpeg_options.h"

#include <cerrno>
#include <utility>

#include <fmt/format.h>

extern "C" {
#include <libavutil/opt.h>
}

namespace larkspool {

namespace {

[[noreturn]] void refuse(std::string words)
{
    throw PlatformFailure(posixError(EINVAL, std::move(words)));
}

} // namespace

void FilmMuxer::CloseMuxer::operator()(AVFormatContext* muxer) const
{
    avio_closep(&muxer->pb); // What fails here was either told already or belongs to a file that nobody wants.
    avformat_free_context(muxer);
}

FilmMuxer::FilmMuxer(const std::string& path, const FilmSettings& settings, const AVCodecContext& codec)
    : path_(path), packet_(av_packet_alloc()), frameTime_(codec.time_base), delay_(codec.has_b_frames)
{
    const std::string url = "file:" + path; // A name with a colon in it is a name, and no protocol.
    AVFormatContext* muxer = nullptr;
    avformat_alloc_output_context2(&muxer, nullptr, settings.format.container.c_str(), url.c_str());
    muxer_.reset(muxer);
    stream_ = muxer ? avformat_new_stream(muxer, nullptr) : nullptr;
    if (!stream_ || !packet_ || avcodec_parameters_from_context(stream_->codecpar, &codec) < 0)
        throw PlatformFailure(ffmpegError(AVERROR(ENOMEM)));
    if (codec.extradata) parameters_.assign(codec.extradata, codec.extradata + codec.extradata_size);
    stream_->time_base = codec.time_base;
    stream_->avg_frame_rate = codec.framerate;

    int status = avio_open(&muxer->pb, url.c_str(), AVIO_FLAG_WRITE);
    if (status < 0) failToWrite(status);

    FFmpegOptions options(settings.format.containerOptions);
    // The length of the whole film is told in this unit, in milliseconds if nobody asks for better.
    if (muxer->priv_data && av_opt_find(muxer->priv_data, "movie_timescale", nullptr, 0, 0))
        options.add("movie_timescale", settings.fps);
    takeFFmpegComplaint();
    status = avformat_write_header(muxer, options.get());
    if (status < 0) failToWrite(status);
    options.refuseLeftovers(settings.format.container);
}

FilmMuxer::~FilmMuxer() = default;

void FilmMuxer::append(const FilmChunk& chunk)
{
    check(chunk);
    for (const CodedPicture& picture : chunk.pictures) write(picture);
}

void FilmMuxer::check(const FilmChunk& chunk) const
{
    if (chunk.firstFrame != frames_) refuse(fmt::format("Frame {} came where frame {} was due", chunk.firstFrame, frames_));
    if (chunk.pictures.empty() || !chunk.pictures.front().isKey)
        refuse(fmt::format("What begins with frame {} cannot be shown without what comes before", chunk.firstFrame));
    if (chunk.parameters != parameters_)
        refuse(fmt::format("What begins with frame {} was coded unlike the frames before", chunk.firstFrame));
}

/// Pictures are decoded one frame's time after the other, and so early that none is late for being shown.
void FilmMuxer::write(const CodedPicture& picture)
{
    av_packet_unref(packet_.get());
    packet_->data = const_cast<std::uint8_t*>(picture.bytes.data()); // Which is only read.
    packet_->size = static_cast<int>(picture.bytes.size());
    packet_->pts = picture.frame;
    packet_->dts = frames_ - delay_;
    packet_->duration = 1; // In frames; without it the last frame would have no length.
    packet_->flags = picture.isKey ? AV_PKT_FLAG_KEY : 0;
    packet_->stream_index = stream_->index;
    av_packet_rescale_ts(packet_.get(), frameTime_, stream_->time_base);
    const int status = av_write_frame(muxer_.get(), packet_.get());
    if (status < 0) failToWrite(status);
    ++frames_;
}

void FilmMuxer::finish()
{
    if (frames_ == 0) refuse("The film has no frames");
    const int status = av_write_trailer(muxer_.get());
    const int closed = avio_closep(&muxer_->pb);
    if (status < 0) failToWrite(status);
    if (closed < 0) failToWrite(closed);
}

void FilmMuxer::failToWrite(int status) const
{
    const std::string complaint = takeFFmpegComplaint();
    std::string reason = fmt::format("the file \"{}\" cannot be written", path_);
    if (!complaint.empty()) reason += ": " + complaint;
    throw PlatformFailure(ffmpegError(status, std::move(reason)));
}

} // namespace larkspool
