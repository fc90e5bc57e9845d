#include "platform/image_generator.h"

#include "platform/video_decoder.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <new>

namespace larkspool {

namespace {

/// How many pictures before the one on show are kept, so that several askers a few pictures apart cost no seek: none of very
/// large ones, whose memory would cost more.
constexpr std::size_t keptPictures = 4;
constexpr double mostKeptPixels = 4096.0 * 2304;

std::size_t picturesKept(CGSize size)
{
    return size.width * size.height <= mostKeptPixels ? keptPictures : 0;
}

/// What a codec keeps besides: its pictures for reference and one for each thread.
constexpr std::int64_t codecPictures = 8;

constexpr double infinity = std::numeric_limits<double>::infinity();

} // namespace

struct ImageGenerator::Held {
    VideoDecoder::Picture picture;
    ImageRef image; ///< Absent until asked for.
};

/// Pictures that follow each other in the file without a gap; the last is the next to come.
class ImageGenerator::Window {
public:
    std::deque<Held> pictures;
    bool reachesEnd = false; ///< Nothing follows the last picture.

    void clear()
    {
        pictures.clear();
        reachesEnd = false;
    }

    /// The index of the picture on show at `time`, if that can be told: there must be one that has begun and one that has not.
    std::optional<std::size_t> onShow(double time, double firstOfFile) const
    {
        if (pictures.empty()) return std::nullopt;
        const auto later = std::ranges::upper_bound(pictures, time, {}, [](const Held& held) { return held.picture.time; });
        if (later == pictures.end() && !reachesEnd) return std::nullopt;
        if (later != pictures.begin()) return static_cast<std::size_t>(later - pictures.begin() - 1);
        if (pictures.front().picture.time <= firstOfFile) return 0;
        return std::nullopt;
    }
};

ImageGenerator::ImageGenerator(const std::string& path, Settings settings)
    : settings_(settings), converter_(std::make_unique<FrameConverter>()), window_(std::make_unique<Window>())
{
    try {
        decoder_ = VideoDecoder::open(path);
    } catch (const std::bad_alloc&) {
        decoder_ = nullptr; // A file that memory does not suffice for gives no pictures.
    }
}

ImageGenerator::~ImageGenerator() = default;

VideoFrame ImageGenerator::frame(double seconds)
{
    if (!decoder_ || std::isnan(seconds)) return {};
    const double slack = std::clamp(settings_.requestedTimeToleranceAfter, 0.0, clockStep / 2);
    const double time = std::max(seconds, 0.0) + slack;
    try {
        if (!bringOnShow(time)) return {};
        return converted(*window_->onShow(time, decoder_->firstTime()));
    } catch (const std::bad_alloc&) {
        return {}; // As for every picture that cannot be had.
    }
}

bool ImageGenerator::bringOnShow(double time)
{
    Window& window = *window_;
    bool hasSought = false;
    while (!window.onShow(time, decoder_->firstTime())) {
        if (window.reachesEnd && hasSought) return false;
        const bool isBehind = !window.pictures.empty() && window.pictures.front().picture.time > time;
        const bool isFarAhead = !window.pictures.empty() && decoder_->seekPays(window.pictures.back().picture.time, time);
        const bool isLost = window.pictures.empty() && window.reachesEnd;
        if (!hasSought && (isBehind || isFarAhead || isLost)) {
            window.clear();
            decoder_->seek(time);
            hasSought = true;
        }
        std::optional<VideoDecoder::Picture> next = decoder_->next();
        if (!next) {
            window.reachesEnd = true;
            continue;
        }
        window.pictures.push_back({std::move(*next), nullptr});
        if (window.pictures.size() > picturesKept(decoder_->codedSize()) + 2) window.pictures.pop_front();
    }
    return true;
}

VideoFrame ImageGenerator::converted(std::size_t index)
{
    const std::deque<Held>& pictures = window_->pictures;
    Held& held = window_->pictures[index];
    if (!held.image) {
        ++convertedPictures_;
        const FrameOrientation upright = settings_.appliesPreferredTrackTransform ? decoder_->orientation() : FrameOrientation{};
        held.image = converter_->convert(*held.picture.frame, upright);
    }
    const bool isFirst = index == 0 && held.picture.time <= decoder_->firstTime();
    return {.image = held.image,
            .start = isFirst ? -infinity : held.picture.time,
            .end = index + 1 < pictures.size() ? pictures[index + 1].picture.time : infinity};
}

double ImageGenerator::duration() const
{
    return decoder_ ? decoder_->duration() : 0;
}

double ImageGenerator::frameInterval() const
{
    return decoder_ ? decoder_->frameInterval() : 1.0 / 30;
}

CGSize ImageGenerator::naturalSize() const
{
    if (!decoder_) return {};
    const CGSize size = decoder_->codedSize();
    const bool isTurned = settings_.appliesPreferredTrackTransform && decoder_->orientation().swapsAxes;
    return isTurned ? CGSize{size.height, size.width} : size;
}

std::int64_t ImageGenerator::memoryBytes() const
{
    if (!decoder_) return 0;
    const CGSize size = decoder_->codedSize();
    const auto pixels = static_cast<std::int64_t>(size.width * size.height);
    constexpr std::int64_t bytesOfPlanarPixel = 2, bytesOfImagePixel = 4;
    const auto windowPictures = static_cast<std::int64_t>(picturesKept(size)) + 2;
    return pixels * ((codecPictures + windowPictures) * bytesOfPlanarPixel + windowPictures * bytesOfImagePixel);
}

ImageGenerator::Work ImageGenerator::work() const
{
    if (!decoder_) return {};
    return {.decodedPictures = decoder_->work().decodedPictures,
            .convertedPictures = convertedPictures_,
            .seeks = decoder_->work().seeks};
}

} // namespace larkspool
