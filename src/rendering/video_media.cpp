#include "rendering/video_media.h"

#include "evaluation/video_time.h"
#include "platform/file_url.h"
#include "rendering/video_generator_pool.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <mutex>
#include <system_error>

namespace larkspool {

namespace {

/// Times of an export are told apart by ticks of this many to a second.
constexpr double ticksPerSecond = 240;

/// Ticks are counted up to here, which is longer than any film.
constexpr double mostTicks = 9e15;

std::int64_t tickOf(double time)
{
    return static_cast<std::int64_t>(std::min(time * ticksPerSecond, mostTicks));
}

/// The last picture of an export: what motion blur asks for again and again.
class LastVideoFrame {
public:
    ImageRef find(const std::string& path, double time) const
    {
        const std::lock_guard lock(mutex_);
        if (tick_ != tickOf(time) || path_ != path) return nullptr;
        // A picture that changes within a tick must not depend on which side of it was asked first.
        return frame_.start <= time && time < frame_.end ? frame_.image : nullptr;
    }

    void store(const std::string& path, double time, const VideoFrame& frame)
    {
        // The pictures of a generator begin up to half a step of its clock early.
        constexpr double early = ImageGenerator::clockStep / 2;
        const std::lock_guard lock(mutex_);
        path_ = path;
        tick_ = tickOf(time);
        frame_ = {frame.image, frame.start - early, frame.end - early};
    }

    void forget()
    {
        const std::lock_guard lock(mutex_);
        frame_ = {};
        tick_ = -1;
    }

private:
    mutable std::mutex mutex_;
    std::string path_;
    std::int64_t tick_ = -1;
    VideoFrame frame_;
};

LastVideoFrame& lastVideoFrame()
{
    static LastVideoFrame last;
    return last;
}

VideoGeneratorPool& videoGenerators()
{
    static VideoGeneratorPool pool({});
    return pool;
}

/// Windows found so far, by path. A path never has more than one answer.
class BlackKeyBoxes {
public:
    std::optional<CGRect> find(const std::string& path) const
    {
        const std::lock_guard lock(mutex_);
        const auto found = boxes_.find(path);
        return found == boxes_.end() ? std::nullopt : std::optional(found->second);
    }

    /// The box that the path has from now on: the first one stored.
    CGRect store(const std::string& path, const CGRect& box)
    {
        const std::lock_guard lock(mutex_);
        return boxes_.try_emplace(path, box).first->second;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, CGRect> boxes_;
};

BlackKeyBoxes& blackKeyBoxes()
{
    static BlackKeyBoxes boxes;
    return boxes;
}

std::optional<CGRect> crop(const Layer& layer, const std::string& path, const ImageRef& frame)
{
    if (layer.cropMode == CropMode::manual) return croppedPixels(manualCropRect(layer.cropRect, frame->size()), frame->size());
    if (!layer.blackKey) return std::nullopt;
    const std::optional<CGRect> box = Exporter::blackKeyBBox(path, frame);
    if (!box) return std::nullopt;
    return croppedPixels(blackKeyCropRect(*box, layer.blackKeyInsetX, layer.blackKeyInsetY), frame->size());
}

} // namespace

CroppedPicture videoPicture(const Layer& layer, double sceneTime)
{
    return videoPicture(layer, sceneTime, Exporter::exportFrame);
}

CroppedPicture videoPicture(const Layer& layer, double sceneTime, VideoFrameReader readFrame)
{
    const std::optional<double> time = sourceTime(layer, sceneTime);
    if (!time || layer.videoURL.empty()) return {};
    const std::string path = pathFromURLOrPath(layer.videoURL);
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) return {};

    const ImageRef frame = readFrame(path, *time);
    if (!frame) return {};
    const CGRect whole{{0, 0}, frame->size()};
    return {frame, crop(layer, path, frame).value_or(whole)};
}

namespace Exporter {

ImageRef exportFrame(const std::string& path, double time)
{
    if (std::isnan(time)) return nullptr;
    time = std::max(time, 0.0);
    if (ImageRef again = lastVideoFrame().find(path, time)) return again;
    const VideoFrame frame = videoGenerators().frame(path, time);
    if (frame.image) lastVideoFrame().store(path, time, frame);
    return frame.image;
}

std::optional<CGRect> blackKeyBBox(const std::string& path, const ImageRef& sample)
{
    if (const std::optional<CGRect> known = blackKeyBoxes().find(path)) return known;
    if (!sample) return std::nullopt;
    const std::optional<CGRect> box = computeBlackKeyBBox(*sample);
    if (!box) return std::nullopt;
    return blackKeyBoxes().store(path, *box);
}

std::optional<CGRect> computeBlackKeyBBox(const Image& image, int threshold)
{
    return detectWindowBBox(image, threshold);
}

void releaseVideoGenerators()
{
    videoGenerators().release();
    lastVideoFrame().forget();
}

VideoWork videoWork()
{
    const VideoGeneratorPool::Work work = videoGenerators().work();
    return {work.openedGenerators, work.decodedPictures, work.seeks};
}

} // namespace Exporter

} // namespace larkspool
