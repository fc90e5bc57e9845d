#include "rendering/video_export_readers.h"

#include "platform/video_export_reader.h"
#include "rendering/video_media.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace larkspool {

namespace {

/// What a sum of times in seconds is off by at most.
constexpr double rounding = 1e-6;

struct SharedReaders {
    std::mutex lock;
    VideoExportReaders readers;
};

SharedReaders& sharedReaders()
{
    static SharedReaders shared;
    return shared;
}

thread_local VideoExportReaders* readersOfThisThread = nullptr;

} // namespace

/// A reader, and how long its last picture is on show. Within that time it is not asked again: it would look one picture ahead, and
/// begin anew for the next time before that.
struct VideoExportReaders::ActiveReader {
    explicit ActiveReader(const std::string& path) : reader(path) {}

    ImageRef frame(double time)
    {
        if (from <= time && time < until) return image;
        image = reader.frame(time);
        from = std::min(time, reader.lastReadPTS());
        until = reader.lastReadPTS() + reader.cachedFrameInterval() - rounding;
        return image;
    }

    VideoExportReader reader;
    ImageRef image;
    double from = std::numeric_limits<double>::infinity();
    double until = -std::numeric_limits<double>::infinity();
};

VideoExportReaders::VideoExportReaders() = default;
VideoExportReaders::~VideoExportReaders() = default;

ImageRef VideoExportReaders::frame(const std::string& path, double time)
{
    if (ActiveReader* active = activeReader(path)) {
        if (ImageRef image = active->frame(std::max(time, 0.0))) return image;
        fallBack(path);
    }
    return Exporter::exportFrame(path, time);
}

/// The open reader of a file, or null if it is read the other way.
VideoExportReaders::ActiveReader* VideoExportReaders::activeReader(const std::string& path)
{
    if (fastReaderFallbackPaths_.contains(path)) return nullptr;
    std::unique_ptr<ActiveReader>& active = activeVideoExportReaders_[path];
    try {
        if (!active) active = std::make_unique<ActiveReader>(path);
    } catch (const std::runtime_error&) {
        active = nullptr; // No file: the other way says what comes of it.
    }
    if (active && active->reader.preferredTransformIsIdentity()) return active.get();
    fallBack(path);
    return nullptr;
}

void VideoExportReaders::fallBack(const std::string& path)
{
    activeVideoExportReaders_.erase(path);
    fastReaderFallbackPaths_.insert(path);
}

void VideoExportReaders::reset()
{
    activeVideoExportReaders_.clear();
    fastReaderFallbackPaths_.clear();
}

ReadingVideosWith::ReadingVideosWith(VideoExportReaders& readers) : before_(std::exchange(readersOfThisThread, &readers)) {}

ReadingVideosWith::~ReadingVideosWith()
{
    readersOfThisThread = before_;
}

ImageRef videoFrameForGPU(const std::string& path, double time)
{
    if (readersOfThisThread) return readersOfThisThread->frame(path, time);
    SharedReaders& shared = sharedReaders();
    const std::scoped_lock guard(shared.lock);
    return shared.readers.frame(path, time);
}

void resetActiveVideoExportReaders()
{
    SharedReaders& shared = sharedReaders();
    const std::scoped_lock guard(shared.lock);
    shared.readers.reset();
}

} // namespace larkspool
