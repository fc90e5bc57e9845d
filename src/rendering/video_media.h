#pragma once

#include "document/layer.h"
#include "platform/image.h"
#include "rendering/media_crop.h"

#include <optional>
#include <string>

namespace larkspool {

/// A picture and the part of it that is drawn, in whole pixels from the top left. Without an image nothing is drawn.
struct CroppedPicture {
    ImageRef image;
    CGRect pixels;
};

/// What a video layer shows in an export at a scene time: its source's picture, cropped by hand or to the window found on its
/// black or white surround. The crop is stretched to the layer's size. Nothing without a file, a picture or a source time.
///
/// The window is found on the first picture asked for and holds for the file from then on.
CroppedPicture videoPicture(const Layer& layer, double sceneTime);

/// Gives the picture of a file at a time of it.
using VideoFrameReader = ImageRef (*)(const std::string& path, double time);

/// The same with pictures from elsewhere.
CroppedPicture videoPicture(const Layer& layer, double sceneTime, VideoFrameReader readFrame);

namespace Exporter {

/// The picture of the video file at `path` that is on show at `time`, in seconds of the file, upright as the file says; null if
/// it cannot be had. Times below 0 are 0, and past the end there is the last picture.
///
/// A pure function of path and time, for any thread; several may ask at once. Behind it stand decoders that are kept from call
/// to call, several for a file that is read in several places at once, within about a gigabyte.
ImageRef exportFrame(const std::string& path, double time);

/// The window found on `sample`, a picture of the video at `path`, or on the first sample of that path on which one was found.
/// For any thread.
std::optional<CGRect> blackKeyBBox(const std::string& path, const ImageRef& sample);

/// The same as `detectWindowBBox`.
std::optional<CGRect> computeBlackKeyBBox(const Image& image, int threshold = windowThreshold);

/// Closes all decoders of `exportFrame` that no call is using, and forgets the last picture. What is needed opens again.
void releaseVideoGenerators();

/// What the decoders of `exportFrame` have done together since the process began.
struct VideoWork {
    std::int64_t openedGenerators = 0;
    std::int64_t decodedPictures = 0;
    std::int64_t seeks = 0;
};
VideoWork videoWork();

} // namespace Exporter

} // namespace larkspool
