#pragma once

#include "document/layer.h"
#include "platform/image.h"
#include "rendering/media_crop.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace larkspool {

/// How a canvas view cuts its picture to a window: found on the black or white surround, or given by hand.
struct BlackKeySettings {
    bool blackKey = false;
    double insetX = 0; ///< Pixels of the picture, as all lengths here.
    double insetY = 0;
    double cornerRadius = 0;
    std::optional<CGRect> manualCrop{}; ///< In fractions of the picture. Takes the place of the window found.

    bool isKeyed() const { return blackKey || manualCrop.has_value(); }

    bool operator==(const BlackKeySettings&) const = default;
};

/// How the layer cuts its picture. Corners are left to the layer's box, which is cut by them as in a film.
BlackKeySettings blackKeySettings(const Layer& layer);

/// The box of a crop by hand: fractions of the picture, each side at least a pixel.
CGRect manualCropBox(const CGRect& fractions, CGSize picture);

/// One picture cut as a canvas view shows it: by hand, else to `windowBox`, else as it is.
ImageRef blackKeyed(const ImageRef& image, const BlackKeySettings& settings, const std::optional<CGRect>& windowBox);

/// Which pictures the view of a paused video asks for, and which answers it takes.
///
/// Requests are numbered. A worker drops one that a newer request has overtaken before it begins, and an answer is taken only if
/// no newer one was. All but `isOvertaken` belongs to the main thread.
class VideoFrameRequests {
public:
    struct Request {
        std::uint64_t token;
        std::string path;
        double time;
        BlackKeySettings settings;

        /// Whether the answer to the other would do for this one.
        bool asksTheSame(const Request& other) const { return path == other.path && time == other.time && settings == other.settings; }
    };

    /// Seconds by which requests are thinned while a person scrubs.
    static constexpr double scrubbingInterval = 1.0 / 60;

    /// What to fetch, or nothing if the picture at hand was made by the same settings for a time less than `interval` away. A
    /// new path lets the picture at hand go.
    std::optional<Request> request(const std::string& path, double time, const BlackKeySettings& settings,
                                   double interval = scrubbingInterval);

    /// For a worker on any thread: whether a newer request has been made.
    bool isOvertaken(std::uint64_t token) const { return token < requestToken_.load(); }

    /// Takes the answer to a request, and says whether there is a new picture to draw. A failed fetch has none.
    bool commit(const Request& request, ImageRef image);

    const ImageRef& cgImage() const { return cgImage_; }
    double lastDeliveredTime() const { return lastDeliveredTime_; }
    std::uint64_t requestToken() const { return requestToken_.load(); }
    std::uint64_t committedToken() const { return committedToken_; }

private:
    ImageRef cgImage_;
    std::string lastPath_;
    BlackKeySettings lastSettings_;
    double lastDeliveredTime_ = -1;
    std::atomic<std::uint64_t> requestToken_ = 0;
    std::uint64_t committedToken_ = 0;
};

/// What the canvas's player of a playing video is told to do, in order.
struct VideoPlayerStep {
    enum class Kind { tearDown, build, seek, setRate };

    Kind kind;
    double time = 0; ///< Of `seek`, in seconds of the source.
    double tolerance = 0; ///< Of `seek`, in seconds either way.
    double rate = 0; ///< Of `setRate`.

    bool operator==(const VideoPlayerStep&) const = default;
};

/// Keeps a player that runs by a clock of its own with the time that the canvas wants.
class VideoPlayerDirector {
public:
    /// How far a playing player may be off before it is put right, in seconds.
    static constexpr double driftTolerance = 0.2;

    /// `playerTime` is where the player stands now; it counts only while it plays on.
    std::vector<VideoPlayerStep> configure(const std::string& path, double time, bool isPlaying, const BlackKeySettings& settings,
                                           double playerTime);

private:
    void seek(std::vector<VideoPlayerStep>& steps, double time, double tolerance);

    std::string currentPath_;
    BlackKeySettings currentSettings_;
    double lastSeekTime_ = -1;
    bool wasPlaying_ = false;
    bool hasPlayer_ = false;
};

/// The key by which keyed generators of the canvas are kept: the path, "|" and how the picture is cut.
std::string videoFrameCacheKey(const std::string& path, const BlackKeySettings& settings);

/// The key by which keyed images of the canvas are kept.
std::string blackKeyedImageCacheKey(std::span<const std::uint8_t> encoded, const BlackKeySettings& settings);

/// The window of a video for the canvas: found on the picture at half a second, once for a path. For any thread.
std::optional<CGRect> detectVideoBBox(const std::string& path);

/// A decoded image as the canvas shows it with these settings; the image itself where keying leaves nothing.
ImageRef blackKeyedImage(const ImageRef& decoded, const BlackKeySettings& settings);

/// The paused pictures of videos for the canvas, cut by their settings, from generators that are kept. Fetching belongs to one
/// worker at a time.
class VideoFrameCache {
public:
    /// Generators kept; the one used longest ago goes first.
    static constexpr std::size_t mostGenerators = 8;

    VideoFrameCache();
    ~VideoFrameCache();

    /// The picture at `time`, in seconds of the source; null if there is none.
    ImageRef frame(const std::string& path, double time, const BlackKeySettings& settings);

private:
    struct Source;

    std::shared_ptr<Source> source(const std::string& path, const BlackKeySettings& settings);

    std::mutex lock_; ///< Of the map and the count alone, never held during decoding.
    std::map<std::string, std::shared_ptr<Source>> sources_;
    std::uint64_t uses_ = 0;
};

} // namespace larkspool
