#include "rendering/video_export_readers.h"

#include "platform/video_export_reader.h"
#include "rendering/video_media.h"

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>

namespace larkspool {

namespace {

/// A reader and the lock of whoever reads.
struct ActiveReader {
    explicit ActiveReader(const std::string& path) : reader(path) {}

    std::mutex lock;
    VideoExportReader reader;
};

struct ActiveReaders {
    std::mutex lock;
    std::map<std::string, std::shared_ptr<ActiveReader>> activeVideoExportReaders;
    std::set<std::string> fastReaderFallbackPaths;
};

ActiveReaders& readers()
{
    static ActiveReaders all;
    return all;
}

/// The open reader of a file, or null if it is read the other way.
std::shared_ptr<ActiveReader> activeReader(const std::string& path)
{
    ActiveReaders& all = readers();
    const std::lock_guard guard(all.lock);
    if (all.fastReaderFallbackPaths.contains(path)) return nullptr;
    std::shared_ptr<ActiveReader>& active = all.activeVideoExportReaders[path];
    try {
        if (!active) active = std::make_shared<ActiveReader>(path);
    } catch (const std::runtime_error&) {
        active = nullptr; // No file: the other way says what comes of it.
    }
    if (active && active->reader.preferredTransformIsIdentity()) return active;
    all.activeVideoExportReaders.erase(path);
    all.fastReaderFallbackPaths.insert(path);
    return nullptr;
}

void fallBack(const std::string& path)
{
    ActiveReaders& all = readers();
    const std::lock_guard guard(all.lock);
    all.activeVideoExportReaders.erase(path);
    all.fastReaderFallbackPaths.insert(path);
}

} // namespace

ImageRef videoFrameForGPU(const std::string& path, double time)
{
    if (const std::shared_ptr<ActiveReader> active = activeReader(path)) {
        const std::lock_guard guard(active->lock);
        if (ImageRef image = active->reader.frame(time)) return image;
        fallBack(path);
    }
    return Exporter::exportFrame(path, time);
}

void resetActiveVideoExportReaders()
{
    ActiveReaders& all = readers();
    const std::lock_guard guard(all.lock);
    all.activeVideoExportReaders.clear();
    all.fastReaderFallbackPaths.clear();
}

} // namespace larkspool
