#include "platform/media_input.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspool {

namespace {

/// Containers of one file. Playlists and lists of files are none of them.
constexpr const char* containers = "mov,matroska,avi,mpegts,mpeg,mpegvideo,flv,ogg,asf,mxf,nut,ivf,h264,hevc,m4v,gif,apng,dv,"
                                   "yuv4mpegpipe";

/// Those in which sound may come: these, and files of sound alone.
constexpr const char* soundContainers =
    "mov,matroska,avi,mpegts,mpeg,flv,ogg,asf,mxf,nut,dv,wav,w64,aiff,caf,au,mp3,flac,aac,loas,"
    "ac3,eac3,dts,dtshd,truehd,amr,ape,wv,tta,tak,mpc,mpc8,dsf,voc,iff";

constexpr int bufferBytes = 64 * 1024;

/// The descriptor of a regular file, or -1. Opening waits for nothing and sets nothing off: what is no file is not even opened.
int openRegularFile(const std::string& path)
{
    if (path.find('\0') != std::string::npos) return -1;
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return -1;
    // The name can have changed hands since.
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) return descriptor;
    ::close(descriptor);
    return -1;
}

int readBytes(void* opaque, std::uint8_t* target, int count)
{
    for (;;) {
        const ssize_t got = ::read(*static_cast<const int*>(opaque), target, static_cast<std::size_t>(count));
        if (got > 0) return static_cast<int>(got);
        if (got == 0) return AVERROR_EOF;
        if (errno != EINTR) return AVERROR(errno);
    }
}

std::int64_t seekBytes(void* opaque, std::int64_t offset, int whence)
{
    const int descriptor = *static_cast<const int*>(opaque);
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE) {
        struct stat status{};
        return ::fstat(descriptor, &status) == 0 ? static_cast<std::int64_t>(status.st_size) : AVERROR(errno);
    }
    const off_t position = ::lseek(descriptor, offset, whence);
    return position >= 0 ? static_cast<std::int64_t>(position) : AVERROR(errno);
}

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**)
{
    return AVERROR(EPERM);
}

bool isVideo(const AVStream& stream)
{
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

} // namespace

std::unique_ptr<MediaInput> MediaInput::openForVideo(const std::string& path)
{
    return openFor(Purpose::video, path);
}

std::unique_ptr<MediaInput> MediaInput::openForSound(const std::string& path)
{
    return openFor(Purpose::sound, path);
}

std::unique_ptr<MediaInput> MediaInput::openFor(Purpose purpose, const std::string& path)
{
    silenceFFmpeg();
    const int descriptor = openRegularFile(path);
    if (descriptor < 0) return nullptr;
    std::unique_ptr<MediaInput> input(new MediaInput(descriptor, purpose));
    if (!input->open()) return nullptr;
    return input;
}

MediaInput::~MediaInput()
{
    avformat_close_input(&container_);
    if (bytes_) av_freep(&bytes_->buffer);
    avio_context_free(&bytes_);
    ::close(descriptor_);
}

bool MediaInput::open()
{
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferBytes));
    if (!buffer) return false;
    bytes_ = avio_alloc_context(buffer, bufferBytes, 0, &descriptor_, readBytes, nullptr, seekBytes);
    if (!bytes_) {
        av_free(buffer);
        return false;
    }
    container_ = avformat_alloc_context();
    if (!container_) return false;
    container_->pb = bytes_;
    container_->io_open = refuseToOpen;
    container_->flags |= AVFMT_FLAG_DISCARD_CORRUPT; // A frame that the end of the file cuts in two is not shown.

    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", purpose_ == Purpose::sound ? soundContainers : containers, 0);
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    const int status = avformat_open_input(&container_, "", nullptr, &options); // Frees the container where it fails.
    av_dict_free(&options);
    if (status < 0) return false;

    chooseTrack();
    if (!findStreamInfo()) return false;
    chooseTrack();
    return true;
}

void MediaInput::chooseTrack()
{
    if (purpose_ == Purpose::sound)
        chooseSound();
    else
        chooseVideo();
}

void MediaInput::chooseSound()
{
    const std::vector<AVStream*> streams(container_->streams, container_->streams + container_->nb_streams);
    const auto isSound = [](const AVStream* stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; };
    const auto first = std::ranges::find_if(streams, isSound);
    sound_ = first == streams.end() ? nullptr : *first;
    if (sound_) readOnly(sound_);
}

void MediaInput::readOnly(const AVStream* chosen)
{
    for (unsigned i = 0; i < container_->nb_streams; ++i) {
        AVStream* stream = container_->streams[i];
        stream->discard = stream == chosen ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

void MediaInput::chooseVideo()
{
    video_ = nullptr;
    const std::vector<AVStream*> streams(container_->streams, container_->streams + container_->nb_streams);
    for (AVStream* stream : streams) {
        if (!isVideo(*stream)) continue;
        if (!video_) video_ = stream;
        if ((stream->disposition & AV_DISPOSITION_DEFAULT) == 0) continue;
        video_ = stream;
        break;
    }
    if (video_) readOnly(video_);
}

bool MediaInput::findStreamInfo()
{
    // The library decodes a few frames to learn their format, so that the bound must hold for it too.
    std::vector<AVDictionary*> options(container_->nb_streams, nullptr);
    for (AVDictionary*& each : options) {
        av_dict_set_int(&each, "max_pixels", maximumPixels, 0);
        av_dict_set_int(&each, "threads", 1, 0);
    }
    const int status = avformat_find_stream_info(container_, options.empty() ? nullptr : options.data());
    for (AVDictionary*& each : options) av_dict_free(&each);
    return status >= 0;
}

double MediaInput::origin() const
{
    // A movie's times count from its own beginning, which its edit lists refer to. Elsewhere a file begins where its first
    // stream does; sound that begins a little before zero does not move the picture.
    const bool isMovie = std::string_view(container_->iformat->name).starts_with("mov,");
    if (isMovie || container_->start_time == AV_NOPTS_VALUE) return 0;
    return std::max(0.0, static_cast<double>(container_->start_time) / AV_TIME_BASE);
}

} // namespace larkspool
