#pragma once

#include "platform/image.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace larkspool {

/// The forward readers of whoever draws a film in order, each open on one file. For one thread at a time.
///
/// What they give depends on path and time alone, as long as a file can be read; it costs least when times rise.
class VideoExportReaders {
public:
    VideoExportReaders();
    ~VideoExportReaders();
    VideoExportReaders(const VideoExportReaders&) = delete;
    VideoExportReaders& operator=(const VideoExportReaders&) = delete;

    /// The picture of the file that is on show at `time`, in seconds of it; null if it cannot be had. A file that its reader fails
    /// on, or whose pictures need turning, is remembered and read by `Exporter::exportFrame` from then on.
    ImageRef frame(const std::string& path, double time);

    /// Closes all readers and forgets the files that they failed on.
    void reset();

    std::size_t openReaders() const { return activeVideoExportReaders_.size(); }
    const std::set<std::string>& fastReaderFallbackPaths() const { return fastReaderFallbackPaths_; }

private:
    struct ActiveReader;

    ActiveReader* activeReader(const std::string& path);
    void fallBack(const std::string& path);

    std::map<std::string, std::unique_ptr<ActiveReader>> activeVideoExportReaders_;
    std::set<std::string> fastReaderFallbackPaths_;
};

/// For its lifetime, `videoFrameForGPU` on this thread reads with these readers.
class ReadingVideosWith {
public:
    explicit ReadingVideosWith(VideoExportReaders& readers);
    ~ReadingVideosWith();
    ReadingVideosWith(const ReadingVideosWith&) = delete;
    ReadingVideosWith& operator=(const ReadingVideosWith&) = delete;

private:
    VideoExportReaders* before_;
};

/// The picture of a video for the second exporter: of the readers that this thread reads with, or else of those that all share. For
/// any thread.
ImageRef videoFrameForGPU(const std::string& path, double time);

/// Resets the readers that all share. For the start and every end of an export.
void resetActiveVideoExportReaders();

} // namespace larkspool
