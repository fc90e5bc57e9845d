#include "platform/composition_export.h"

#include "platform/media_input.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// The finest unit in which the length of a whole film is told.
constexpr std::int64_t greatestTimescale = 1'000'000'000;

void check(int status)
{
    if (status < 0) throw PlatformFailure(ffmpegError(status, takeFFmpegComplaint()));
}

template <typename T>
T* made(T* object)
{
    if (!object) throw std::bad_alloc();
    return object;
}

/// Turns a stream of samples into AAC packets.
class SoundEncoder {
public:
    explicit SoundEncoder(SampleStream& sound) : sound_(sound)
    {
        const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
        codec_.reset(made(avcodec_alloc_context3(encoder)));
        codec_->sample_fmt = AV_SAMPLE_FMT_FLTP;
        codec_->sample_rate = SampleStream::sampleRate;
        codec_->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
        codec_->time_base = {1, SampleStream::sampleRate};
        codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        check(avcodec_open2(codec_.get(), encoder, nullptr));

        frame_.reset(made(av_frame_alloc()));
        packet_.reset(made(av_packet_alloc()));
        samples_.resize(static_cast<std::size_t>(codec_->frame_size) * SampleStream::channels);
    }

    static bool isAvailable() { return avcodec_find_encoder(AV_CODEC_ID_AAC) != nullptr; }

    const AVCodecContext& codec() const { return *codec_; }

    /// The next packet, in frames of sound; null at the end.
    AVPacket* next()
    {
        for (;;) {
            av_packet_unref(packet_.get());
            const int status = avcodec_receive_packet(codec_.get(), packet_.get());
            if (status >= 0) return packet_.get();
            if (status == AVERROR_EOF) return nullptr;
            if (status != AVERROR(EAGAIN)) check(status);
            sendFrame();
        }
    }

private:
    void sendFrame()
    {
        const std::size_t count = sound_.read(samples_);
        if (count == 0) {
            check(avcodec_send_frame(codec_.get(), nullptr));
            return;
        }
        av_frame_unref(frame_.get());
        frame_->format = codec_->sample_fmt;
        frame_->sample_rate = codec_->sample_rate;
        check(av_channel_layout_copy(&frame_->ch_layout, &codec_->ch_layout));
        frame_->nb_samples = static_cast<int>(count);
        check(av_frame_get_buffer(frame_.get(), 0));
        auto* left = reinterpret_cast<float*>(frame_->data[0]);
        auto* right = reinterpret_cast<float*>(frame_->data[1]);
        for (std::size_t i = 0; i < count; ++i) {
            left[i] = samples_[2 * i];
            right[i] = samples_[2 * i + 1];
        }
        frame_->pts = position_;
        position_ += static_cast<std::int64_t>(count);
        check(avcodec_send_frame(codec_.get(), frame_.get()));
    }

    SampleStream& sound_;
    FFmpegPointer<AVCodecContext> codec_;
    FFmpegPointer<AVFrame> frame_;
    FFmpegPointer<AVPacket> packet_;
    std::vector<float> samples_;
    std::int64_t position_ = 0;
};

/// The film file that comes into being.
class FilmFile {
public:
    FilmFile(std::string path, const AVStream& picture, const SoundEncoder* sound) : path_(std::move(path))
    {
        const std::string url = "file:" + path_; // A name with a colon in it is a name, and no protocol.
        AVFormatContext* muxer = nullptr;
        check(avformat_alloc_output_context2(&muxer, nullptr, "mp4", url.c_str()));
        muxer_.reset(muxer);
        picture_ = addPicture(picture);
        if (sound) sound_ = addSound(sound->codec());

        check(avio_open(&muxer->pb, url.c_str(), AVIO_FLAG_WRITE));
        AVDictionary* options = nullptr;
        av_dict_set(&options, "movflags", "+faststart", 0);
        // The lengths of edits are told in this unit; in it, both the pictures' and the sound's come out whole.
        const std::int64_t common = std::lcm<std::int64_t, std::int64_t>(picture.time_base.den, SampleStream::sampleRate);
        av_dict_set_int(&options, "movie_timescale", common <= greatestTimescale ? common : SampleStream::sampleRate, 0);
        const int status = avformat_write_header(muxer, &options);
        av_dict_free(&options);
        check(status);
    }

    void writePicture(AVPacket& packet, AVRational base) { write(packet, base, *picture_); }
    void writeSound(AVPacket& packet) { write(packet, {1, SampleStream::sampleRate}, *sound_); }

    /// Writes the index and closes the file.
    void finish()
    {
        const int status = av_write_trailer(muxer_.get());
        const int closed = avio_closep(&muxer_->pb);
        check(status);
        check(closed);
    }

private:
    struct Close {
        void operator()(AVFormatContext* muxer) const
        {
            avio_closep(&muxer->pb); // What fails here was either told already or belongs to a file that nobody wants.
            avformat_free_context(muxer);
        }
    };

    AVStream* addPicture(const AVStream& source)
    {
        AVStream* stream = made(avformat_new_stream(muxer_.get(), nullptr));
        check(avcodec_parameters_copy(stream->codecpar, source.codecpar));
        stream->codecpar->codec_tag = 0; // The container chooses its own name for the codec.
        stream->time_base = source.time_base;
        stream->avg_frame_rate = source.avg_frame_rate;
        stream->r_frame_rate = source.r_frame_rate;
        stream->sample_aspect_ratio = source.sample_aspect_ratio;
        for (int i = 0; i < source.nb_side_data; ++i) { // How the pictures are to be turned is told here.
            const AVPacketSideData& each = source.side_data[i];
            std::uint8_t* copy = made(av_stream_new_side_data(stream, each.type, each.size));
            std::memcpy(copy, each.data, each.size);
        }
        return stream;
    }

    AVStream* addSound(const AVCodecContext& codec)
    {
        AVStream* stream = made(avformat_new_stream(muxer_.get(), nullptr));
        check(avcodec_parameters_from_context(stream->codecpar, &codec));
        stream->time_base = codec.time_base;
        return stream;
    }

    void write(AVPacket& packet, AVRational base, const AVStream& stream)
    {
        packet.stream_index = stream.index;
        packet.pos = -1;
        av_packet_rescale_ts(&packet, base, stream.time_base);
        check(av_interleaved_write_frame(muxer_.get(), &packet));
    }

    std::string path_;
    std::unique_ptr<AVFormatContext, Close> muxer_;
    AVStream* picture_ = nullptr; ///< Owned by the muxer, as is the sound.
    AVStream* sound_ = nullptr;
};

class FilmComposition final : public Composition {
public:
    explicit FilmComposition(std::unique_ptr<MediaInput> film) : film_(std::move(film)) {}

    double duration() const override
    {
        const std::int64_t told = film_->container().duration;
        return told == AV_NOPTS_VALUE ? 0 : std::max(static_cast<double>(told) / AV_TIME_BASE, 0.0);
    }

    std::unique_ptr<ExportSession> exportSession(const std::string& path, SampleStream* sound) override;

private:
    std::unique_ptr<MediaInput> film_;
};

class FilmSession final : public ExportSession {
public:
    FilmSession(MediaInput& film, double duration, std::string path, SampleStream* sound)
        : film_(film), duration_(duration), path_(std::move(path)), samples_(sound)
    {}

    void run(const std::function<void(double)>& progress) override
    {
        takeFFmpegComplaint();
        try {
            write(progress);
            status_ = Status::completed;
        } catch (const PlatformFailure& failure) {
            fail(failure.error());
        } catch (const std::bad_alloc&) {
            fail(ffmpegError(AVERROR(ENOMEM)));
        }
    }

    Status status() const override { return status_; }
    std::optional<PlatformError> error() const override { return error_; }

private:
    void fail(PlatformError error)
    {
        error_ = std::move(error);
        status_ = Status::failed;
    }

    void write(const std::function<void(double)>& progress)
    {
        const AVStream& track = *film_.video();
        std::optional<SoundEncoder> encoder;
        if (samples_) encoder.emplace(*samples_);
        FilmFile file(path_, track, encoder ? &*encoder : nullptr);

        const FFmpegPointer<AVPacket> picture(made(av_packet_alloc()));
        AVPacket* sound = encoder ? encoder->next() : nullptr;
        bool hasPicture = readPicture(*picture);
        while (hasPicture || sound) {
            const bool pictureIsNext = hasPicture && (!sound || av_compare_ts(picture->dts, track.time_base, sound->pts,
                                                                              {1, SampleStream::sampleRate}) <= 0);
            const double time = pictureIsNext ? static_cast<double>(picture->dts) * av_q2d(track.time_base)
                                              : static_cast<double>(sound->pts) / SampleStream::sampleRate;
            if (pictureIsNext) {
                file.writePicture(*picture, track.time_base);
                hasPicture = readPicture(*picture);
            } else {
                file.writeSound(*sound);
                sound = encoder->next();
            }
            if (progress && duration_ > 0) progress(std::clamp(time / duration_, 0.0, 1.0));
        }
        file.finish();
    }

    bool readPicture(AVPacket& packet)
    {
        for (;;) {
            av_packet_unref(&packet);
            const int status = av_read_frame(&film_.container(), &packet);
            if (status == AVERROR_EOF) return false;
            check(status);
            if (packet.stream_index == film_.video()->index) return true;
        }
    }

    MediaInput& film_;
    double duration_;
    std::string path_;
    SampleStream* samples_;
    Status status_ = Status::waiting;
    std::optional<PlatformError> error_;
};

std::unique_ptr<ExportSession> FilmComposition::exportSession(const std::string& path, SampleStream* sound)
{
    if (!SoundEncoder::isAvailable() || !av_guess_format("mp4", nullptr, nullptr)) return nullptr;
    return std::make_unique<FilmSession>(*film_, duration(), path, sound);
}

} // namespace

std::unique_ptr<Composition> openComposition(const std::string& path)
{
    std::unique_ptr<MediaInput> film = MediaInput::openForVideo(path);
    if (!film || !film->video()) return nullptr;
    return std::make_unique<FilmComposition>(std::move(film));
}

} // namespace larkspool
