#pragma once

#include "platform/image.h"

#include <memory>
#include <stdexcept>
#include <string>

struct AVFrame;

namespace larkspool {

/// A forward reader of a video's pictures, for an exporter whose times rise. It converts only the pictures that it gives.
///
/// It looks no further than the picture that it gives, so that it trusts the length that a picture is said to have. A time
/// beyond the beginning of the last picture read fetches the next one whose end lies beyond the time: asked more often than
/// the film has pictures, it runs up to one picture ahead. Used by one thread at a time.
class VideoExportReader {
public:
    /// Throws std::runtime_error if there is no file at `path`. A file without pictures gives none.
    explicit VideoExportReader(const std::string& path);
    ~VideoExportReader();
    VideoExportReader(const VideoExportReader&) = delete;
    VideoExportReader& operator=(const VideoExportReader&) = delete;

    /// The picture for a time in seconds of the file, not turned; null if there is none or after `close`. Times below 0 are 0.
    /// A time more than a millisecond before the last picture read begins anew. Past the end there is the last picture.
    ImageRef frame(double time);

    /// Ends reading and lets everything go. The destructor does it too.
    void close();

    const std::string& path() const { return path_; }
    bool preferredTransformIsIdentity() const { return preferredTransformIsIdentity_; } ///< Pictures need no turning.
    double sourceDuration() const { return sourceDuration_; } ///< Seconds; 0 if unknown.
    double cachedFrameInterval() const { return cachedFrameInterval_; } ///< The length of the last picture that told one.
    double lastReadPTS() const { return lastReadPTS_; } ///< When the last picture read begins; -1 if there was none.
    std::int64_t convertedPictures() const { return convertedPictures_; }

private:
    bool startReader(double time);
    void readForward(double time);
    void convert(const AVFrame& picture);

    std::string path_;
    bool preferredTransformIsIdentity_ = true;
    double sourceDuration_ = 0;
    std::unique_ptr<class VideoDecoder> reader_;
    std::unique_ptr<class FrameConverter> converter_;
    ImageRef lastCGImage_;
    double lastCGImageTime_ = -1;
    double lastReadPTS_ = -1;
    bool atEnd_ = false;
    double cachedFrameInterval_ = 1.0 / 30;
    std::int64_t convertedPictures_ = 0;
};

} // namespace larkspool
