#include "canvas/media_import.h"

#include "canvas/layer_insertion.h"
#include "canvas/selected_layers.h"
#include "editing/scene_lookup.h"
#include "foundation/text.h"
#include "platform/audio_reader.h"
#include "platform/file_io.h"
#include "platform/file_url.h"
#include "platform/image_generator.h"
#include "rendering/image_media.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// Seconds that are read of a sound at most to find its length, where only reading tells it.
constexpr double longestListening = 3600;

/// A layer of the file at the path, without its media.
Layer layerNamedAfter(const std::string& path, Layer::Kind kind, RandomSource& random)
{
    Layer layer = newLayer(kind, random);
    // Names of files are bytes, those of layers are text.
    layer.name = SharedString(wellFormed(std::filesystem::path(path).stem().string()));
    layer.fill = ColorRGBA::clear;
    layer.cornerRadius = 0;
    return layer;
}

void placeInMiddle(Layer& layer, CGSize natural, const TweenScene& scene)
{
    layer.size = MediaImport::scaledSize(natural, scene.width);
    layer.transform.x = std::round((scene.width - layer.size.width) * 0.5);
    layer.transform.y = std::round((scene.height - layer.size.height) * 0.5);
}

struct VideoFacts {
    CGSize size = MediaImport::unknownVideoSize;
    double duration = 0;
};

double soundDuration(const std::string& path)
{
    try {
        return AudioReader::open(path)->duration(longestListening);
    } catch (const AudioError&) {
        return 0; // Nothing can be read of the file: there are values for that.
    }
}

VideoFacts factsOf(const std::string& path)
{
    // Upright, as the pictures are drawn.
    const ImageGenerator video(path, {.appliesPreferredTrackTransform = true});
    VideoFacts facts;
    if (video.hasVideo())
        facts = {video.naturalSize(), video.duration()};
    else
        facts.duration = soundDuration(path);
    const bool isTold = std::isfinite(facts.duration) && facts.duration > MediaImport::leastVideoDuration;
    if (!isTold) facts.duration = MediaImport::leastVideoDuration;
    return facts;
}

std::string absolutePath(const std::string& path)
{
    std::error_code ignored; // Without a working folder a relative path stays one.
    return std::filesystem::absolute(path, ignored).string();
}

std::string importName(const Array<Layer>& layers)
{
    if (layers.size() > 1) return fmt::format("Add {} Items", layers.size());
    return layers.front().kind == Layer::Kind::video ? "Add Video" : "Add Image";
}

bool isOfKind(const Layer* layer, Layer::Kind kind, const Layer& fresh)
{
    return layer && layer->kind == kind && fresh.kind == kind;
}

} // namespace

namespace MediaImport {

CGSize scaledSize(CGSize natural, double fitWidth)
{
    const bool hasArea = natural.width > 0 && natural.height > 0;
    const double factor = hasArea && fitWidth < natural.width ? fitWidth / natural.width : 1;
    const auto whole = [factor](double side) { return std::max(std::round(side * factor), 1.0); };
    return {whole(natural.width), whole(natural.height)};
}

std::optional<Layer> imageLayer(const std::string& path, const TweenScene& scene, RandomSource& random)
{
    if (!looksLikePicture(readFileHead(path, pictureHeadLength))) return std::nullopt;
    Bytes bytes(readWholeFile(path, greatestImageBytes));
    const std::shared_ptr<const Picture> picture = mediaPicture(bytes);
    if (!picture) return std::nullopt;

    Layer layer = layerNamedAfter(path, Layer::Kind::image, random);
    layer.imageData = std::move(bytes);
    placeInMiddle(layer, picture->size(), scene);
    return layer;
}

Layer videoLayer(const std::string& path, const TweenScene& scene, const Bookmarks& bookmarks, RandomSource& random)
{
    const VideoFacts facts = factsOf(path);
    Layer layer = layerNamedAfter(path, Layer::Kind::video, random);
    layer.videoURL = SharedString(fileURLFromPath(absolutePath(path)));
    layer.videoDuration = facts.duration;
    layer.videoBookmark = makeBookmark(path, bookmarks);
    layer.videoClip.sceneEnd = std::max(std::min(facts.duration, scene.duration), 0.0);
    placeInMiddle(layer, facts.size, scene);
    return layer;
}

std::optional<Bytes> makeBookmark(const std::string& path, const Bookmarks& bookmarks)
{
    return bookmarks.make(path);
}

std::optional<ResolvedBookmark> resolveBookmark(const std::optional<Bytes>& bookmark, std::string_view storedPath,
                                                const Bookmarks& bookmarks, const FileExists& exists)
{
    if (!bookmark) return std::nullopt;
    std::optional<Bookmarks::Resolved> resolved = bookmarks.resolve(*bookmark);
    if (!resolved || !exists(resolved->path)) return std::nullopt;
    const bool wasStale = resolved->isStale || resolved->path != storedPath;
    return ResolvedBookmark{std::move(resolved->path), wasStale};
}

std::size_t imageBytes(const TweenDocument& document)
{
    std::size_t bytes = 0;
    for (const TweenScene& scene : document.scenes)
        walkLayers(scene.layers, [&](const Layer& layer) { bytes += layer.imageData ? layer.imageData->size() : 0; });
    return bytes;
}

} // namespace MediaImport

std::optional<Edit> importMediaFiles(const TweenScene& scene, const Array<Layer>& layers, CGPoint at, double cascadeOffset)
{
    const bool hasPlace = std::isfinite(at.x) && std::isfinite(at.y) && std::isfinite(cascadeOffset);
    if (layers.empty() || !hasPlace || !hasRoomFor(scene, layerCount(layers))) return std::nullopt;

    Edit edit{.scene = scene, .actionName = importName(layers)};
    double shift = 0;
    for (Layer layer : layers) {
        layer.transform.x = std::round(at.x - layer.size.width * 0.5) + shift;
        layer.transform.y = std::round(at.y - layer.size.height * 0.5) + shift;
        edit.selection.layerIDs.insert(layer.id);
        edit.scene.layers.append(std::move(layer));
        shift += cascadeOffset;
    }
    return edit;
}

std::optional<Edit> replaceImageMedia(const TweenScene& scene, const UUID& layerID, const Layer& fresh)
{
    const Layer* layer = findLayer(scene, layerID);
    if (!isOfKind(layer, Layer::Kind::image, fresh) || layer->imageData == fresh.imageData) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Replace Image"};
    editLayer(edit.scene, layerID)->imageData = fresh.imageData;
    return edit;
}

std::optional<Edit> replaceVideoMedia(const TweenScene& scene, const UUID& layerID, const Layer& fresh)
{
    const Layer* layer = findLayer(scene, layerID);
    if (!isOfKind(layer, Layer::Kind::video, fresh)) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Replace Video"};
    Layer& replaced = *editLayer(edit.scene, layerID);
    replaced.videoURL = fresh.videoURL;
    replaced.videoDuration = fresh.videoDuration;
    replaced.videoBookmark = fresh.videoBookmark;
    if (replaced == *layer) return std::nullopt;
    return edit;
}

} // namespace larkspool
