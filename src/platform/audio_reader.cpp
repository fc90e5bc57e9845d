#include "platform/audio_reader.h"

#include "platform/media_input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <deque>
#include <new>
#include <numeric>
#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace larkspool {

namespace {

constexpr std::int64_t outputRate = SampleStream::sampleRate;

/// Rates beyond these are in no file of good will.
constexpr int leastRate = 1000;
constexpr int greatestRate = 1'536'000;
constexpr int mostChannels = 64;

/// Decoded before the place that is asked for: what a codec carries over from packet to packet, and the resampler's reach.
constexpr double runUpSeconds = 1;

/// Times that a file tells may be off by this much without meaning a gap: some count in milliseconds or in packets.
constexpr double gapSeconds = 0.05;

/// Frames resampled at once, so that no packet needs memory without bound.
constexpr int slice = 16'384;

/// Packets in a row that give nothing, after which nothing more is expected.
constexpr int mostFruitlessPackets = 100'000;

/// Whole seconds beyond which no place in a file lies.
constexpr double farthestSecond = 1e9;

/// Containers whose packets tell where they belong. In the others a place is found by passing over all packets before it.
bool tellsPlaces(std::string_view container)
{
    constexpr std::array<std::string_view, 11> known = {"mov,", "matroska,", "wav", "w64", "aiff",  "caf",
                                                        "au",   "flac",      "ogg", "mxf", "mpegts"};
    return std::ranges::any_of(
        known, [&](std::string_view each) { return each.ends_with(',') ? container.starts_with(each) : container == each; });
}

std::int64_t flooredMultiple(std::int64_t value, std::int64_t step)
{
    const std::int64_t rest = value % step;
    return value - (rest < 0 ? rest + step : rest);
}

/// What a resampler is made for.
struct SoundFormat {
    AVSampleFormat samples = AV_SAMPLE_FMT_NONE;
    int rate = 0;
    AVChannelLayout layout{};

    bool describes(const AVFrame& frame) const
    {
        return samples == frame.format && rate == frame.sample_rate && av_channel_layout_compare(&layout, &frame.ch_layout) == 0;
    }
};

/// The gain of each input channel in the left and then in the right output, where the library's own choice is not ours.
std::optional<std::vector<double>> ownGains(const AVChannelLayout& layout)
{
    const auto channels = static_cast<std::size_t>(layout.nb_channels);
    if (channels == 1) return std::vector<double>{1, 1};
    AVChannelLayout usual{};
    av_channel_layout_default(&usual, layout.nb_channels);
    const bool isNamed = layout.order != AV_CHANNEL_ORDER_UNSPEC || usual.order != AV_CHANNEL_ORDER_UNSPEC;
    av_channel_layout_uninit(&usual);
    if (isNamed) return std::nullopt;
    // Nobody knows where these channels stand: the first two are heard.
    std::vector<double> gains(2 * channels);
    gains[0] = gains[channels + 1] = 1;
    return gains;
}

FFmpegPointer<SwrContext> makeResampler(const AVFrame& frame)
{
    AVChannelLayout input{};
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&input, frame.ch_layout.nb_channels);
    else if (av_channel_layout_copy(&input, &frame.ch_layout) < 0)
        return nullptr;
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;

    SwrContext* made = nullptr;
    const int status = swr_alloc_set_opts2(&made, &stereo, AV_SAMPLE_FMT_FLT, outputRate, &input,
                                           static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
    FFmpegPointer<SwrContext> resampler(made);
    av_channel_layout_uninit(&input);
    if (status < 0) return nullptr;
    av_opt_set_sample_fmt(made, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
    av_opt_set_double(made, "rematrix_maxval", 1, 0);
    if (const auto gains = ownGains(frame.ch_layout)) swr_set_matrix(made, gains->data(), frame.ch_layout.nb_channels);
    return swr_init(made) < 0 ? nullptr : std::move(resampler);
}

} // namespace

AudioError::AudioError(Kind kind, const std::string& path)
    : PlatformFailure(posixError(kind == Kind::unreadable ? ENOENT : EINVAL,
                                 kind == Kind::unreadable     ? fmt::format("The sound of \"{}\" cannot be read", path)
                                 : kind == Kind::noSoundTrack ? fmt::format("There is no sound in \"{}\"", path)
                                                              : fmt::format("The sound of \"{}\" cannot be decoded", path))),
      kind_(kind)
{}

/// Decodes packet after packet and gives out sound by its place. A run is a stretch of sound without a gap, of one format, that
/// passes through one resampler; it begins on a frame of the output that is a frame of the input too, so that every run meets the
/// same instants.
class AudioReader::Decoder {
public:
    explicit Decoder(std::string path) : path_(std::move(path)) { open(); }
    ~Decoder() { av_channel_layout_uninit(&format_.layout); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    double duration(double limit);
    void seek(std::int64_t frame);
    std::size_t read(std::span<float> samples);

    Work work;

private:
    enum class Error { none, unreadable, noSoundTrack, undecodable };

    void open();
    void openCodec();
    [[noreturn]] void fail(AudioError::Kind kind) const { throw AudioError(kind, path_); }

    const AVStream& track() const { return *input_->sound(); }
    double seconds(std::int64_t stamp) const { return static_cast<double>(stamp) * av_q2d(track().time_base) - origin_; }
    std::optional<double> toldDuration() const;
    double measuredDuration(double limit);

    void beginAnew();
    void passOver(double until);
    bool jumpTo(double time);
    bool readPacket();
    bool decodeMore();
    void take(const AVFrame& frame);
    void beginRun(const AVFrame& frame, std::int64_t place);
    void resample(const AVFrame& frame);
    void endRun();
    void append(int count);

    std::string path_;
    std::unique_ptr<MediaInput> input_;
    FFmpegPointer<AVCodecContext> codec_;
    FFmpegPointer<AVPacket> packet_;
    FFmpegPointer<AVFrame> frame_;
    double origin_ = 0;
    bool packetWaits_ = false; ///< `packet_` was passed over to and is the next to be decoded.
    bool isDrained_ = false;
    bool isAtEnd_ = false;
    bool isLost_ = false; ///< The file could not be opened again.
    bool isFresh_ = true; ///< Nothing was decoded since opening.

    FFmpegPointer<SwrContext> resampler_;
    SoundFormat format_;
    std::int64_t nextPlace_ = 0; ///< Where the run goes on, in frames of the source.
    std::int64_t nextOutput_ = 0; ///< Where the resampler's next frame belongs.
    std::vector<float> block_; ///< Where the resampler writes.

    /// A stretch of sound that waits to be given out, from frame `place` on.
    struct Piece {
        std::int64_t place = 0;
        std::vector<float> samples;

        std::int64_t end() const { return place + static_cast<std::int64_t>(samples.size() / SampleStream::channels); }
    };

    std::int64_t wanted_ = 0; ///< The frame that `read` gives next.
    std::deque<Piece> ready_;

    std::optional<std::int64_t> landing_; ///< After a seek: the place at or before which the first sound must lie.
    bool landedLate_ = false;
    std::optional<double> measured_;
    bool measuredToTheEnd_ = false;
};

void AudioReader::Decoder::open()
{
    input_ = MediaInput::openForSound(path_);
    if (!input_) fail(AudioError::Kind::unreadable);
    if (!input_->sound()) fail(AudioError::Kind::noSoundTrack);
    openCodec();
    origin_ = input_->origin();
    packet_.reset(av_packet_alloc());
    frame_.reset(av_frame_alloc());
    if (!packet_ || !frame_) throw std::bad_alloc();
    resampler_.reset();
    packetWaits_ = isDrained_ = isAtEnd_ = false;
    isFresh_ = true;
}

void AudioReader::Decoder::openCodec()
{
    const AVCodecParameters& parameters = *track().codecpar;
    const AVCodec* decoder = avcodec_find_decoder(parameters.codec_id);
    if (!decoder) fail(AudioError::Kind::undecodable);
    codec_.reset(avcodec_alloc_context3(decoder));
    if (!codec_ || avcodec_parameters_to_context(codec_.get(), &parameters) < 0) throw std::bad_alloc();
    codec_->pkt_timebase = track().time_base;
    codec_->thread_count = 1;
    if (avcodec_open2(codec_.get(), decoder, nullptr) < 0) fail(AudioError::Kind::undecodable);
}

std::optional<double> AudioReader::Decoder::toldDuration() const
{
    const AVFormatContext& file = input_->container();
    if (file.duration == AV_NOPTS_VALUE || file.duration <= 0) return std::nullopt;
    if (file.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) return std::nullopt; // A guess by the first packets.
    const double whole = static_cast<double>(file.duration) / AV_TIME_BASE;
    const bool countsPadding = std::string_view(file.iformat->name) == "mp3"; // The encoder's delay, which is the origin.
    return countsPadding ? std::max(whole - origin_, 0.0) : whole;
}

double AudioReader::Decoder::duration(double limit)
{
    if (isLost_) return 0;
    if (const std::optional<double> told = toldDuration()) return *told;
    if (!measured_ || (!measuredToTheEnd_ && *measured_ < limit)) measured_ = measuredDuration(limit);
    return *measured_;
}

double AudioReader::Decoder::measuredDuration(double limit)
{
    const std::int64_t place = wanted_;
    beginAnew();
    double end = 0;
    measuredToTheEnd_ = isLost_;
    while (!isLost_ && end < limit) {
        if (!readPacket()) {
            measuredToTheEnd_ = true;
            break;
        }
        if (packet_->pts == AV_NOPTS_VALUE) continue;
        end = std::max(end, seconds(packet_->pts + std::max<std::int64_t>(packet_->duration, 0)));
    }
    beginAnew();
    seek(place);
    return end;
}

void AudioReader::Decoder::beginAnew()
{
    if (isFresh_ && !packetWaits_) return;
    try {
        open();
    } catch (const AudioError&) {
        isLost_ = true; // It was there a moment ago. The rest is silence.
    }
}

bool AudioReader::Decoder::readPacket()
{
    isFresh_ = false;
    for (;;) {
        av_packet_unref(packet_.get());
        if (av_read_frame(&input_->container(), packet_.get()) < 0) return false;
        if (packet_->stream_index == track().index) return true;
    }
}

/// Leaves the first packet that lasts beyond `until` waiting.
void AudioReader::Decoder::passOver(double until)
{
    while (readPacket()) {
        const bool isBefore = packet_->pts != AV_NOPTS_VALUE && seconds(packet_->pts + packet_->duration) <= until;
        if (isBefore) continue;
        packetWaits_ = true;
        return;
    }
    isDrained_ = isAtEnd_ = true;
}

bool AudioReader::Decoder::jumpTo(double time)
{
    const double stamp = std::floor((std::min(time, farthestSecond) + origin_) / av_q2d(track().time_base));
    if (!(std::abs(stamp) < 4e18)) return false;
    isFresh_ = false;
    if (av_seek_frame(&input_->container(), track().index, static_cast<std::int64_t>(stamp), AVSEEK_FLAG_BACKWARD) < 0)
        return false;
    avcodec_flush_buffers(codec_.get());
    av_packet_unref(packet_.get());
    resampler_.reset();
    packetWaits_ = isDrained_ = isAtEnd_ = false;
    return true;
}

void AudioReader::Decoder::seek(std::int64_t frame)
{
    wanted_ = frame;
    ready_.clear();
    landing_.reset();
    if (isLost_) return;
    const double from = static_cast<double>(frame) / static_cast<double>(outputRate) - runUpSeconds;
    if (from > 0 && tellsPlaces(input_->container().iformat->name) && jumpTo(from)) {
        landing_ = frame;
        landedLate_ = false;
        decodeMore();
        if (!landedLate_) return;
        landedLate_ = false;
        ready_.clear();
    }
    beginAnew();
    if (!isLost_ && from > 0) passOver(from);
}

std::size_t AudioReader::Decoder::read(std::span<float> samples)
{
    constexpr std::size_t channels = SampleStream::channels;
    const std::size_t asked = samples.size() / channels;
    std::size_t done = 0;
    while (done < asked) {
        while (!ready_.empty() && ready_.front().end() <= wanted_) ready_.pop_front();
        if (ready_.empty()) {
            if (!decodeMore()) break;
            continue;
        }
        const Piece& piece = ready_.front();
        const bool isSilent = piece.place > wanted_;
        const auto available = static_cast<std::size_t>((isSilent ? piece.place : piece.end()) - wanted_);
        const std::size_t count = std::min(asked - done, available);
        float* const target = samples.data() + done * channels;
        if (isSilent)
            std::fill_n(target, count * channels, 0.0F);
        else
            std::copy_n(piece.samples.data() + static_cast<std::size_t>(wanted_ - piece.place) * channels, count * channels,
                        target);
        done += count;
        wanted_ += static_cast<std::int64_t>(count);
    }
    return done;
}

/// Puts the next sound into `ready_`, which is empty. False at the end.
bool AudioReader::Decoder::decodeMore()
{
    if (isLost_) return false;
    int fruitless = 0;
    while (ready_.empty()) {
        if (isAtEnd_) return false;
        const int status = avcodec_receive_frame(codec_.get(), frame_.get());
        if (status >= 0) {
            fruitless = 0;
            take(*frame_);
            av_frame_unref(frame_.get());
            if (landedLate_) return false;
            continue;
        }
        if (isDrained_ || ++fruitless > mostFruitlessPackets) {
            endRun();
            isAtEnd_ = true;
            continue;
        }
        if (!packetWaits_ && !readPacket()) {
            avcodec_send_packet(codec_.get(), nullptr);
            isDrained_ = true;
            continue;
        }
        isFresh_ = false;
        packetWaits_ = avcodec_send_packet(codec_.get(), packet_.get()) == AVERROR(EAGAIN);
    }
    return true;
}

void AudioReader::Decoder::take(const AVFrame& frame)
{
    const bool isUsable = frame.nb_samples > 0 && frame.sample_rate >= leastRate && frame.sample_rate <= greatestRate &&
                          frame.ch_layout.nb_channels >= 1 && frame.ch_layout.nb_channels <= mostChannels;
    if (!isUsable) return;
    work.decodedFrames += frame.nb_samples;

    const bool goesOn = resampler_ && format_.describes(frame);
    std::int64_t place = resampler_ ? av_rescale(nextPlace_, frame.sample_rate, std::max(format_.rate, 1)) : 0;
    const std::int64_t stamp = frame.best_effort_timestamp;
    if (stamp != AV_NOPTS_VALUE) {
        const double told = std::round(std::clamp(seconds(stamp), -farthestSecond, farthestSecond) * frame.sample_rate);
        const bool isGap = std::abs(told - static_cast<double>(place)) > gapSeconds * frame.sample_rate;
        if (!resampler_ || isGap) {
            endRun();
            place = static_cast<std::int64_t>(told);
        }
    } else if (!resampler_ && landing_) {
        return; // After a seek nobody knows where this belongs.
    }
    if (landing_) {
        landedLate_ = av_rescale(place, outputRate, frame.sample_rate) > *landing_;
        landing_.reset();
        if (landedLate_) return;
    }
    if (!goesOn || !resampler_) beginRun(frame, place);
    if (resampler_) resample(frame);
}

void AudioReader::Decoder::beginRun(const AVFrame& frame, std::int64_t place)
{
    endRun();
    resampler_ = makeResampler(frame);
    if (!resampler_) return;
    av_channel_layout_uninit(&format_.layout);
    format_.samples = static_cast<AVSampleFormat>(frame.format);
    format_.rate = frame.sample_rate;
    if (av_channel_layout_copy(&format_.layout, &frame.ch_layout) < 0) throw std::bad_alloc();

    const std::int64_t common = std::gcd<std::int64_t, std::int64_t>(frame.sample_rate, outputRate);
    const std::int64_t step = frame.sample_rate / common;
    const std::int64_t aligned = flooredMultiple(place, step);
    nextPlace_ = place;
    nextOutput_ = aligned / step * (outputRate / common);
    if (place > aligned) swr_inject_silence(resampler_.get(), static_cast<int>(place - aligned));
}

void AudioReader::Decoder::resample(const AVFrame& frame)
{
    const bool isPlanar = av_sample_fmt_is_planar(format_.samples) != 0;
    const int channels = frame.ch_layout.nb_channels;
    const int planes = isPlanar ? channels : 1;
    const int frameBytes = av_get_bytes_per_sample(format_.samples) * (isPlanar ? 1 : channels);
    std::array<const std::uint8_t*, mostChannels> data{};
    for (int done = 0; done < frame.nb_samples; done += slice) {
        const int count = std::min(slice, frame.nb_samples - done);
        for (int plane = 0; plane < planes; ++plane)
            data[static_cast<std::size_t>(plane)] = frame.extended_data[plane] + std::ptrdiff_t{done} * frameBytes;
        const int room = swr_get_out_samples(resampler_.get(), count);
        if (room < 0) return;
        block_.resize(static_cast<std::size_t>(room) * SampleStream::channels);
        auto* target = reinterpret_cast<std::uint8_t*>(block_.data());
        append(swr_convert(resampler_.get(), &target, room, data.data(), count));
    }
    nextPlace_ += frame.nb_samples;
}

/// Takes out what the resampler still holds.
void AudioReader::Decoder::endRun()
{
    if (!resampler_) return;
    block_.resize(std::size_t{slice} * SampleStream::channels);
    int count = 0;
    do {
        auto* target = reinterpret_cast<std::uint8_t*>(block_.data());
        count = swr_convert(resampler_.get(), &target, slice, nullptr, 0);
        append(count);
    } while (count == slice);
    resampler_.reset();
}

/// Makes `count` frames of `block_` ready.
void AudioReader::Decoder::append(int count)
{
    if (count <= 0) return;
    const std::int64_t place = nextOutput_;
    nextOutput_ += count;
    if (nextOutput_ <= wanted_) return;
    const auto samples = static_cast<std::ptrdiff_t>(count) * static_cast<std::ptrdiff_t>(SampleStream::channels);
    ready_.push_back({place, std::vector<float>(block_.begin(), block_.begin() + samples)});
}

AudioReader::AudioReader() = default;
AudioReader::~AudioReader() = default;

std::unique_ptr<AudioReader> AudioReader::open(const std::string& path)
{
    std::unique_ptr<AudioReader> reader(new AudioReader);
    reader->decoder_ = std::make_unique<Decoder>(path);
    return reader;
}

double AudioReader::duration(double limit)
{
    return decoder_->duration(limit);
}

void AudioReader::seek(std::int64_t frame)
{
    decoder_->seek(frame);
}

std::size_t AudioReader::read(std::span<float> samples)
{
    return decoder_->read(samples);
}

AudioReader::Work AudioReader::work() const
{
    return decoder_->work;
}

} // namespace larkspool
