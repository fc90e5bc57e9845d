#include "canvas/video_links.h"

#include "canvas/media_files.h"
#include "canvas/media_import.h"
#include "editing/scene_lookup.h"
#include "platform/file_url.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace larkspool {

namespace {

/// One path for one file, however it is written down.
std::string linkedPath(const Layer& layer, const MediaPlaces& places)
{
    std::filesystem::path path = mediaPath(layer.videoURL, places.documentFolder, places.exists);
    if (path.empty()) return {};
    if (path.is_relative() && !places.documentFolder.empty()) path = places.documentFolder / path;
    return path.lexically_normal().string();
}

bool isMissing(const Layer& layer, const MediaPlaces& places)
{
    return layer.kind == Layer::Kind::video && !places.exists(mediaPath(layer.videoURL, places.documentFolder, places.exists));
}

/// Changes the layers that `change(const Layer&)` gives another form; it gives nothing for the others. Lists without a change stay
/// shared. Whether there was one.
bool changeLayers(Array<Layer>& layers, const std::function<std::optional<Layer>(const Layer&)>& change)
{
    bool changed = false;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (std::optional<Layer> other = change(std::as_const(layers)[i])) {
            layers.edit()[i] = *std::move(other);
            changed = true;
        }
        Array<Layer> children = std::as_const(layers)[i].children;
        if (!changeLayers(children, change)) continue;
        layers.edit()[i].children = std::move(children);
        changed = true;
    }
    return changed;
}

std::string fullPath(const std::string& path)
{
    std::error_code ignored; // Without a working folder a relative path stays one.
    return std::filesystem::absolute(path, ignored).lexically_normal().string();
}

/// Links by the files that they are for, and by the layers where there is no file.
class RelinkIndex {
public:
    explicit RelinkIndex(std::span<const VideoRelink> relinks)
    {
        for (const VideoRelink& relink : relinks) {
            if (relink.missing.path.empty()) byLayer_.emplace(relink.missing.layerID, &relink);
            else byPath_.emplace(relink.missing.path, &relink);
        }
    }

    /// Null for none.
    const VideoRelink* find(const Layer& layer, const std::string& path) const
    {
        if (path.empty()) return found(byLayer_, layer.id);
        return found(byPath_, path);
    }

private:
    template <typename Key>
    static const VideoRelink* found(const std::unordered_map<Key, const VideoRelink*>& relinks, const Key& key)
    {
        const auto place = relinks.find(key);
        return place == relinks.end() ? nullptr : place->second;
    }

    std::unordered_map<std::string, const VideoRelink*> byPath_;
    std::unordered_map<UUID, const VideoRelink*> byLayer_;
};

} // namespace

std::vector<MissingVideoEntry> collectMissingVideos(const Array<Layer>& layers, const MediaPlaces& places)
{
    std::vector<MissingVideoEntry> missing;
    walkLayers(layers, [&](const Layer& layer) {
        if (!isMissing(layer, places)) return;
        const std::string path = linkedPath(layer, places);
        missing.push_back({layer.id, path, path.empty() ? layer.name.string() : shownFileName(path)});
    });
    return missing;
}

void relinkVideosViaBookmarks(Array<Layer>& layers, bool& refreshedAny, const MediaPlaces& places, const Bookmarks& bookmarks)
{
    const bool changed = changeLayers(layers, [&](const Layer& layer) -> std::optional<Layer> {
        if (layer.kind != Layer::Kind::video) return std::nullopt;
        const std::string stored = mediaPath(layer.videoURL, places.documentFolder, places.exists);
        const auto resolved = MediaImport::resolveBookmark(layer.videoBookmark, stored, bookmarks, places.exists);
        if (!resolved || !resolved->wasStale) return std::nullopt;
        Layer relinked = layer;
        if (resolved->path != stored) relinked.videoURL = SharedString(fileURLFromPath(resolved->path));
        if (std::optional<Bytes> fresh = MediaImport::makeBookmark(resolved->path, bookmarks))
            relinked.videoBookmark = std::move(fresh);
        return relinked;
    });
    if (changed) refreshedAny = true;
}

bool relinkVideos(Array<Layer>& layers, std::span<const VideoRelink> relinks, const MediaPlaces& places)
{
    const RelinkIndex index(relinks);
    return changeLayers(layers, [&](const Layer& layer) -> std::optional<Layer> {
        if (!isMissing(layer, places)) return std::nullopt;
        const VideoRelink* relink = index.find(layer, linkedPath(layer, places));
        if (!relink) return std::nullopt;
        Layer relinked = layer;
        relinked.videoURL = relink->videoURL;
        relinked.videoBookmark = relink->bookmark;
        return relinked;
    });
}

VideoReconnection::VideoReconnection(const TweenDocument& document, MediaPlaces places, const Bookmarks& bookmarks)
    : places_(std::move(places)), bookmarks_(bookmarks)
{
    std::unordered_set<std::string> paths;
    for (const TweenScene& scene : document.scenes) {
        for (MissingVideoEntry& entry : collectMissingVideos(scene.layers, places_)) {
            if (!entry.path.empty() && !paths.insert(entry.path).second) continue;
            names_.push_back(entry.name);
            missing_.push_back(std::move(entry));
        }
    }
    std::ranges::sort(names_);
}

void VideoReconnection::skip()
{
    if (!missing_.empty()) missing_.erase(missing_.begin());
}

std::vector<VideoRelink> VideoReconnection::locate(const std::string& path)
{
    if (missing_.empty()) return {};
    const std::string located = fullPath(path);
    const std::filesystem::path folder = std::filesystem::path(located).parent_path();
    std::vector<VideoRelink> relinks{relink(missing_.front(), located)};
    skip();
    std::erase_if(missing_, [&](const MissingVideoEntry& entry) {
        if (entry.path.empty() || sharesItsName(entry)) return false;
        const std::string beside = (folder / std::filesystem::path(entry.path).filename()).string();
        if (beside == located || !places_.exists(beside)) return false;
        relinks.push_back(relink(entry, beside));
        return true;
    });
    return relinks;
}

bool VideoReconnection::sharesItsName(const MissingVideoEntry& entry) const
{
    return std::ranges::equal_range(names_, entry.name).size() > 1;
}

VideoRelink VideoReconnection::relink(const MissingVideoEntry& entry, const std::string& path) const
{
    return {entry, SharedString(fileURLFromPath(path)), MediaImport::makeBookmark(path, bookmarks_)};
}

} // namespace larkspool
