#include "rendering/video_view_logic.h"

#include "foundation/text.h"
#include "platform/image_generator.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <string_view>
#include <system_error>
#include <utility>

namespace larkspool {

namespace {

/// A paused player closer to its time than this stays, in seconds.
constexpr double pausedTolerance = 0.0005;

/// How exactly a player is put to its time while it plays, in seconds.
constexpr double playingTolerance = 0.04;

/// Both tolerances of an uncut picture of the canvas, in seconds.
constexpr double canvasTolerance = 1.0 / 15;

/// Where a video is looked at for its window, and how exactly, in seconds.
constexpr double windowSampleTime = 0.5;
constexpr double windowSampleTolerance = 1.0 / 30;

std::string number(double value)
{
    return std::isfinite(value) ? shortestNumber(value) : "none";
}

/// What tells a file from another one that takes its place. Nothing for a file that is gone.
struct FileVersion {
    std::uintmax_t bytes = 0;
    std::filesystem::file_time_type written{};

    bool operator==(const FileVersion&) const = default;
};

std::optional<FileVersion> versionOf(const std::string& path)
{
    std::error_code failure;
    const std::uintmax_t bytes = std::filesystem::file_size(path, failure);
    if (failure) return std::nullopt;
    const auto written = std::filesystem::last_write_time(path, failure);
    return failure ? std::nullopt : std::optional(FileVersion{bytes, written});
}

/// "auto", or "m:" and the four numbers of a crop by hand.
std::string cutWords(const BlackKeySettings& settings)
{
    if (!settings.manualCrop) return "auto";
    const CGRect& crop = *settings.manualCrop;
    return "m:" + number(crop.minX()) + ":" + number(crop.minY()) + ":" + number(crop.size.width) + ":" +
           number(crop.size.height);
}

std::string insetWords(const BlackKeySettings& settings)
{
    return number(settings.insetX) + ":" + number(settings.insetY) + ":" + number(settings.cornerRadius);
}

} // namespace

BlackKeySettings blackKeySettings(const Layer& layer)
{
    BlackKeySettings settings{.blackKey = layer.blackKey, .insetX = layer.blackKeyInsetX, .insetY = layer.blackKeyInsetY};
    if (layer.cropMode == CropMode::manual) settings.manualCrop = layer.cropRect;
    return settings;
}

CGRect manualCropBox(const CGRect& fractions, CGSize picture)
{
    return {{fractions.minX() * picture.width, fractions.minY() * picture.height},
            {std::max(fractions.size.width * picture.width, 1.0), std::max(fractions.size.height * picture.height, 1.0)}};
}

ImageRef blackKeyed(const ImageRef& image, const BlackKeySettings& settings, const std::optional<CGRect>& windowBox)
{
    if (!image) return nullptr;
    std::optional<CGRect> box = windowBox;
    if (settings.manualCrop) box = manualCropBox(*settings.manualCrop, image->size());
    return blackKeyMasked(image, box, settings.insetX, settings.insetY, settings.cornerRadius);
}

std::optional<VideoFrameRequests::Request> VideoFrameRequests::request(const std::string& path, double time,
                                                                       const BlackKeySettings& settings, double interval)
{
    const bool isSamePath = path == lastPath_;
    if (isSamePath && settings == lastSettings_ && std::abs(time - lastDeliveredTime_) < interval) return std::nullopt;
    if (!isSamePath) {
        cgImage_.reset();
        lastDeliveredTime_ = -1;
        committedToken_ = 0;
    }
    lastPath_ = path;
    lastSettings_ = settings;
    return Request{.token = ++requestToken_, .path = path, .time = time, .settings = settings};
}

bool VideoFrameRequests::commit(const Request& request, ImageRef image)
{
    if (!image || request.token <= committedToken_) return false;
    committedToken_ = request.token;
    cgImage_ = std::move(image);
    lastDeliveredTime_ = request.time;
    return true;
}

std::vector<VideoPlayerStep> VideoPlayerDirector::configure(const std::string& path, double time, bool isPlaying,
                                                            const BlackKeySettings& settings, double playerTime)
{
    using Kind = VideoPlayerStep::Kind;
    std::vector<VideoPlayerStep> steps;
    if (!hasPlayer_ || path != currentPath_ || settings != currentSettings_) {
        if (hasPlayer_) steps.push_back({.kind = Kind::tearDown});
        steps.push_back({.kind = Kind::build});
        currentPath_ = path;
        currentSettings_ = settings;
        lastSeekTime_ = -1;
        wasPlaying_ = false;
        hasPlayer_ = true;
    }

    if (isPlaying && !wasPlaying_) {
        seek(steps, time, playingTolerance);
        steps.push_back({.kind = Kind::setRate, .rate = 1});
    } else if (isPlaying) {
        if (std::abs(playerTime - time) > driftTolerance) seek(steps, time, playingTolerance);
    } else if (wasPlaying_) {
        steps.push_back({.kind = Kind::setRate, .rate = 0});
        seek(steps, time, 0);
    } else if (std::abs(time - lastSeekTime_) >= pausedTolerance) {
        seek(steps, time, 0);
    }
    wasPlaying_ = isPlaying;
    return steps;
}

void VideoPlayerDirector::seek(std::vector<VideoPlayerStep>& steps, double time, double tolerance)
{
    steps.push_back({.kind = VideoPlayerStep::Kind::seek, .time = time, .tolerance = tolerance});
    lastSeekTime_ = time;
}

std::string videoFrameCacheKey(const std::string& path, const BlackKeySettings& settings)
{
    if (!settings.isKeyed()) return path + "|";
    return path + "|" + insetWords(settings) + ":" + cutWords(settings);
}

std::string blackKeyedImageCacheKey(std::span<const std::uint8_t> encoded, const BlackKeySettings& settings)
{
    const std::string_view bytes(reinterpret_cast<const char*>(encoded.data()), encoded.size());
    const std::size_t hash = std::hash<std::string_view>()(bytes);
    return "bk:" + std::to_string(encoded.size()) + ":" + std::to_string(hash) + ":" + insetWords(settings) + ":" +
           cutWords(settings);
}

std::optional<CGRect> detectVideoBBox(const std::string& path)
{
    static std::mutex lock;
    static std::map<std::string, CGRect> bboxes;
    {
        const std::lock_guard guard(lock);
        if (const auto known = bboxes.find(path); known != bboxes.end()) return known->second;
    }
    ImageGenerator generator(path, {.appliesPreferredTrackTransform = true,
                                    .requestedTimeToleranceBefore = windowSampleTolerance,
                                    .requestedTimeToleranceAfter = windowSampleTolerance});
    const ImageRef sample = generator.copyImage(windowSampleTime);
    if (!sample) return std::nullopt;
    const std::optional<CGRect> box = detectWindowBBox(*sample);
    if (!box) return std::nullopt;
    const std::lock_guard guard(lock);
    return bboxes.try_emplace(path, *box).first->second;
}

ImageRef blackKeyedImage(const ImageRef& decoded, const BlackKeySettings& settings)
{
    if (!decoded || !settings.isKeyed()) return decoded;
    const std::optional<CGRect> window = settings.manualCrop ? std::nullopt : detectWindowBBox(*decoded);
    const ImageRef keyed = blackKeyed(decoded, settings, window);
    return keyed ? keyed : decoded;
}

/// A generator and the window that its pictures are cut to.
struct VideoFrameCache::Source {
    Source(const std::string& path, const ImageGenerator::Settings& settings) : generator(path, settings) {}

    ImageGenerator generator;
    std::optional<FileVersion> version; ///< Of what was opened.
    std::optional<CGRect> windowBox;
    std::uint64_t lastUse = 0;
};

VideoFrameCache::VideoFrameCache() = default;
VideoFrameCache::~VideoFrameCache() = default;

ImageRef VideoFrameCache::frame(const std::string& path, double time, const BlackKeySettings& settings)
{
    const std::shared_ptr<Source> fetched = source(path, settings);
    if (!fetched) return nullptr;
    const ImageRef picture = fetched->generator.copyImage(time);
    return settings.isKeyed() ? blackKeyed(picture, settings, fetched->windowBox) : picture;
}

std::shared_ptr<VideoFrameCache::Source> VideoFrameCache::source(const std::string& path, const BlackKeySettings& settings)
{
    const std::string key = videoFrameCacheKey(path, settings);
    const std::optional<FileVersion> version = versionOf(path);
    {
        const std::lock_guard guard(lock_);
        const auto known = sources_.find(key);
        const bool holds = known != sources_.end() && (!version || known->second->version == version);
        if (holds) {
            known->second->lastUse = ++uses_;
            return known->second;
        }
    }
    if (!version) return nullptr;
    ImageGenerator::Settings generatorSettings{.appliesPreferredTrackTransform = true};
    if (!settings.isKeyed())
        generatorSettings.requestedTimeToleranceBefore = generatorSettings.requestedTimeToleranceAfter = canvasTolerance;
    auto made = std::make_shared<Source>(path, generatorSettings);
    made->version = version;
    if (settings.blackKey && !settings.manualCrop) made->windowBox = detectVideoBBox(path);

    const std::lock_guard guard(lock_);
    made->lastUse = ++uses_;
    sources_[key] = made;
    if (sources_.size() > mostGenerators)
        sources_.erase(std::ranges::min_element(sources_, {}, [](const auto& each) { return each.second->lastUse; }));
    return made;
}

} // namespace larkspool
