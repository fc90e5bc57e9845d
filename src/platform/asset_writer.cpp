#include "platform/asset_writer.h"

#include "platform/ffmpeg_support.h"
#include "platform/film_encoder.h"

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// Frames that may wait for the encoder. Only repeats reach it, pictures being fewer: a still part of a film lets the caller
/// draw ahead, while a cancel has little left to write.
constexpr std::size_t queueLength = 16;

/// Pictures that are not in use. Each picture comes back to it on its own, even after the writer has gone.
class PicturePool : public std::enable_shared_from_this<PicturePool> {
public:
    PicturePool(std::int64_t width, std::int64_t height) : width_(width), height_(height) {}

    /// The next free picture; made new until there are `pictureCount`; null if all are in use. Throws std::bad_alloc.
    std::shared_ptr<PixelBuffer> take()
    {
        const std::scoped_lock lock(mutex_);
        if (free_.empty() && made_ == AssetWriter::pictureCount) return nullptr;
        if (free_.empty()) {
            free_.reserve(AssetWriter::pictureCount);
            free_.push_back(std::make_unique<PixelBuffer>(width_, height_));
            ++made_;
        }
        PixelBuffer* picture = free_.back().release();
        free_.pop_back();
        return {picture, [pool = shared_from_this()](PixelBuffer* returned) { pool->giveBack(returned); }};
    }

private:
    void giveBack(PixelBuffer* picture)
    {
        const std::scoped_lock lock(mutex_);
        free_.emplace_back(picture); // Room is reserved for all.
    }

    const std::int64_t width_;
    const std::int64_t height_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<PixelBuffer>> free_;
    int made_ = 0;
};

class FFmpegAssetWriter final : public AssetWriter {
public:
    FFmpegAssetWriter(std::string path, FilmSettings settings) : path_(std::move(path)), settings_(std::move(settings)) {}

    ~FFmpegAssetWriter() override { stopThread(Ending::abandon); }

    bool startWriting() override;
    std::shared_ptr<PixelBuffer> nextPixelBuffer() override;
    bool append(std::shared_ptr<PixelBuffer> picture, std::int64_t frameIndex) override;
    bool appendRepeat(std::int64_t frameIndex) override;
    bool finishWriting() override;
    std::optional<PlatformError> error() const override;

private:
    enum class Phase { created, writing, finished };
    enum class Ending { none, drain, abandon };

    /// A frame on its way to the encoder; without a picture it shows the one before.
    struct Frame {
        std::shared_ptr<PixelBuffer> picture;
        std::int64_t index = 0;
    };

    bool expectWriting();
    bool expectFrame(std::int64_t frameIndex);
    bool enqueue(Frame frame);
    void encodeQueue();
    std::optional<Frame> nextFrame();
    void encode(Frame frame);
    void releasePicture(Frame& frame);
    void stopThread(Ending ending);

    /// Runs `work` and keeps what it throws as the error. False if it threw.
    template <typename Work>
    bool attempt(const Work& work);
    bool fail(PlatformError error);

    const std::string path_;
    const FilmSettings settings_;

    // Of the caller's thread.
    Phase phase_ = Phase::created;
    std::int64_t framesAppended_ = 0;
    std::shared_ptr<PicturePool> pool_;
    std::thread thread_;

    /// Of the encoding thread while that runs, of the caller's before and after.
    std::unique_ptr<FilmEncoder> encoder_;

    // Of both, under the mutex.
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Frame> queue_;
    int picturesUnderway_ = 0; ///< In the queue or being converted.
    Ending ending_ = Ending::none;
    std::optional<PlatformError> error_;
};

bool FFmpegAssetWriter::startWriting()
{
    if (error()) return false;
    if (phase_ != Phase::created) return fail(posixError(EINVAL, "The film was begun before"));
    phase_ = Phase::writing;
    return attempt([this] {
        encoder_ = std::make_unique<FilmEncoder>(path_, settings_);
        pool_ = std::make_shared<PicturePool>(settings_.width, settings_.height);
        thread_ = std::thread([this] { encodeQueue(); });
    });
}

std::shared_ptr<PixelBuffer> FFmpegAssetWriter::nextPixelBuffer()
{
    if (!expectWriting()) return nullptr;
    std::shared_ptr<PixelBuffer> picture;
    bool callerHoldsAll = false;
    const bool done = attempt([&] {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] {
            const bool noneComesBack = picturesUnderway_ == 0; // Asked before the pool is, since it is told after.
            if (!error_) picture = pool_->take();
            callerHoldsAll = !picture && noneComesBack;
            return picture || error_ || callerHoldsAll;
        });
    });
    if (done && callerHoldsAll) fail(posixError(EBUSY, "All pictures of the film are in use"));
    return error() ? nullptr : picture;
}

bool FFmpegAssetWriter::append(std::shared_ptr<PixelBuffer> picture, std::int64_t frameIndex)
{
    if (!expectWriting() || !expectFrame(frameIndex)) return false;
    if (!picture) return fail(posixError(EINVAL, fmt::format("Frame {} has no picture", frameIndex)));
    if (picture->width() != settings_.width || picture->height() != settings_.height)
        return fail(posixError(EINVAL, fmt::format("A picture of {} x {} pixels does not fit a film of {} x {}", picture->width(),
                                                   picture->height(), settings_.width, settings_.height)));
    return enqueue({std::move(picture), frameIndex});
}

bool FFmpegAssetWriter::appendRepeat(std::int64_t frameIndex)
{
    if (!expectWriting() || !expectFrame(frameIndex)) return false;
    if (frameIndex == 0) return fail(posixError(EINVAL, "The first frame of a film has none to repeat"));
    return enqueue({nullptr, frameIndex});
}

bool FFmpegAssetWriter::finishWriting()
{
    if (!expectWriting()) return false;
    phase_ = Phase::finished;
    stopThread(Ending::drain);
    if (!error() && framesAppended_ == 0) fail(posixError(EINVAL, "The film has no frames"));
    if (!error()) attempt([this] { encoder_->finish(); });
    encoder_.reset();
    return !error();
}

std::optional<PlatformError> FFmpegAssetWriter::error() const
{
    const std::scoped_lock lock(mutex_);
    return error_;
}

bool FFmpegAssetWriter::expectWriting()
{
    if (error()) return false;
    return phase_ == Phase::writing || fail(posixError(EINVAL, "The film is not being written"));
}

bool FFmpegAssetWriter::expectFrame(std::int64_t frameIndex)
{
    return frameIndex == framesAppended_ ||
           fail(posixError(EINVAL, fmt::format("Frame {} came where frame {} was due", frameIndex, framesAppended_)));
}

bool FFmpegAssetWriter::enqueue(Frame frame)
{
    const bool queued = attempt([&] {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return error_ || queue_.size() < queueLength; });
        if (error_) return;
        const int pictures = frame.picture ? 1 : 0;
        queue_.push_back(std::move(frame));
        picturesUnderway_ += pictures;
    });
    if (!queued || error()) return false;
    changed_.notify_all();
    ++framesAppended_;
    return true;
}

void FFmpegAssetWriter::encodeQueue()
{
    attempt([this] {
        while (std::optional<Frame> frame = nextFrame()) encode(std::move(*frame));
    });
}

/// Waits for a frame; nothing at the end.
std::optional<FFmpegAssetWriter::Frame> FFmpegAssetWriter::nextFrame()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return error_ || ending_ != Ending::none || !queue_.empty(); });
    if (error_ || ending_ == Ending::abandon || queue_.empty()) return std::nullopt;
    Frame frame = std::move(queue_.front());
    queue_.pop_front();
    lock.unlock();
    changed_.notify_all();
    return frame;
}

void FFmpegAssetWriter::encode(Frame frame)
{
    if (frame.picture) {
        encoder_->setPicture(*frame.picture);
        releasePicture(frame); // Before encoding, so that it can be painted anew meanwhile.
    }
    encoder_->encodeFrame(frame.index);
}

void FFmpegAssetWriter::releasePicture(Frame& frame)
{
    frame.picture.reset();
    {
        const std::scoped_lock lock(mutex_);
        --picturesUnderway_;
    }
    changed_.notify_all();
}

void FFmpegAssetWriter::stopThread(Ending ending)
{
    if (!thread_.joinable()) return;
    {
        const std::scoped_lock lock(mutex_);
        ending_ = ending;
    }
    changed_.notify_all();
    thread_.join();
}

template <typename Work>
bool FFmpegAssetWriter::attempt(const Work& work)
{
    try {
        work();
        return true;
    } catch (const PlatformFailure& failure) {
        return fail(failure.error());
    } catch (const std::bad_alloc&) {
        return fail(posixError(
            ENOMEM, fmt::format("There is not enough memory for a film of {} x {} pixels", settings_.width, settings_.height)));
    } catch (const std::exception& exception) {
        return fail(posixError(EIO, exception.what()));
    }
}

/// Keeps the first error; always false.
bool FFmpegAssetWriter::fail(PlatformError error)
{
    {
        const std::scoped_lock lock(mutex_);
        if (!error_) error_ = std::move(error);
    }
    changed_.notify_all();
    return false;
}

} // namespace

FilmFormat FilmFormat::mp4()
{
    return {.container = "mp4",
            .codec = "libx264",
            .pixelFormat = "yuv420p",
            .containerOptions = {{"movflags", "+faststart"}},
            .maximumSide = 16'384,
            // 139,264 macroblocks of 16 x 16 are the largest picture of the highest level that H.264 has.
            .maximumPixels = std::int64_t{139'264} * 256};
}

std::unique_ptr<AssetWriter> makeAssetWriter(const std::string& path, const FilmSettings& settings)
{
    silenceFFmpeg();
    if (!isKnown(settings.format)) return nullptr;
    return std::make_unique<FFmpegAssetWriter>(path, settings);
}

} // namespace larkspool
