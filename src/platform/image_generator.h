#pragma once

#include "platform/image.h"

#include <cstdint>
#include <memory>
#include <string>

namespace larkspool {

/// A picture of a video and when it shows: from `start` until before `end`, in seconds of the file. The first of a file shows
/// from minus infinity and the last to infinity. The image is null where there is none.
struct VideoFrame {
    ImageRef image;
    double start = 0;
    double end = 0;
};

/// The pictures of a video file by time.
///
/// The picture for a time is the one on show then, whatever was asked before: the last that has begun. Before the first there
/// is the first, and after the last there is the last. What the container tells is followed: edit lists, pictures of unequal
/// length, a late start, colour (see FrameConverter).
///
/// Times that rise cost one decoded picture for each new one; the last few pictures are kept, and asking for one of them again
/// costs nothing. A jump back, or far enough ahead that a key picture lies between, seeks.
///
/// The largest picture allowed costs some 256 MB as an image and half of that or more for each that the codec keeps, so that a
/// file that goes to the limits can hold about 2 GB; a 1080p film holds about 100 MB at most.
///
/// A file that is missing, broken or none of video, and pictures with a side above 16384 or with more than 64 x 1024 x 1024
/// pixels, give no image, without a word. Only regular files are opened, and nothing outside the one file is read. Used by one
/// thread at a time.
class ImageGenerator {
public:
    struct Settings {
        /// Whether pictures are turned as the container says for showing.
        bool appliesPreferredTrackTransform = false;

        /// How much earlier or later than asked, in seconds, a picture may begin that is given in place of the one on show. Of
        /// what these allow only this is used: a picture that begins at most `clockStep / 2` after the time counts as begun.
        /// So a time that was rounded to a container's milliseconds finds its picture.
        double requestedTimeToleranceBefore = 0;
        double requestedTimeToleranceAfter = 0;
    };

    /// How finely times are told apart, in seconds, given some tolerance.
    static constexpr double clockStep = 1.0 / 600;

    ImageGenerator(const std::string& path, Settings settings);
    ~ImageGenerator();
    ImageGenerator(const ImageGenerator&) = delete;
    ImageGenerator& operator=(const ImageGenerator&) = delete;

    /// The picture for `seconds`, or null. Times below 0 are 0.
    ImageRef copyImage(double seconds) { return frame(seconds).image; }

    /// The same, with when it shows.
    VideoFrame frame(double seconds);

    bool hasVideo() const { return decoder_ != nullptr; }
    double duration() const; ///< Of the file, in seconds; 0 if unknown.
    double frameInterval() const; ///< The mean time from picture to picture, in seconds; 1/30 if unknown.
    CGSize naturalSize() const; ///< In pixels, turned if the settings say so; zero without video.
    std::int64_t memoryBytes() const; ///< About what decoding this file holds at most.

    /// How much work was done so far.
    struct Work {
        std::int64_t decodedPictures = 0;
        std::int64_t convertedPictures = 0;
        std::int64_t seeks = 0;
    };
    Work work() const;

private:
    struct Held;
    class Window;

    bool bringOnShow(double time);
    VideoFrame converted(std::size_t index);

    Settings settings_;
    std::unique_ptr<class VideoDecoder> decoder_;
    std::unique_ptr<class FrameConverter> converter_;
    std::unique_ptr<Window> window_;
    std::int64_t convertedPictures_ = 0;
};

} // namespace larkspool
