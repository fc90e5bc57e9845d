#include "canvas/layer_clipboard.h"

#include "canvas/layer_copies.h"
#include "canvas/layer_insertion.h"
#include "canvas/selected_layers.h"
#include "document/file_format.h"
#include "platform/tiff_writer.h"
#include "rendering/image_media.h"

#include <algorithm>
#include <string>
#include <utility>

namespace larkspool {

namespace {

/// How far pasted layers lie from those that were copied, on both axes.
constexpr double pasteShift = 20;
constexpr double leastSide = 1;

std::string_view textOf(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.view().data()), bytes.size()};
}

/// The layers on the pasteboard; empty if there are none that can be read.
Array<Layer> layersOn(const Pasteboard& pasteboard)
{
    const std::optional<Bytes> json = pasteboard.data(layersPasteboardType);
    if (!json) return {};
    try {
        return decodeJson<Array<Layer>>(textOf(*json));
    } catch (const DecodingError&) {
        return {}; // Not ours, or not whole: there may be a picture beside it.
    }
}

std::optional<Bytes> pictureOn(const Pasteboard& pasteboard)
{
    for (const std::string_view type : {PasteboardType::png, PasteboardType::jpeg, PasteboardType::tiff}) {
        std::optional<Bytes> bytes = pasteboard.data(type);
        if (bytes && !bytes->empty()) return bytes;
    }
    const ImageRef image = pasteboard.image();
    return image ? std::optional(Bytes(encodeTiff(image->pixels()))) : std::nullopt;
}

CGSize atLeastOne(CGSize size)
{
    return {std::max(size.width, leastSide), std::max(size.height, leastSide)};
}

CGSize fittedInto(CGSize scene, CGSize picture)
{
    const CGSize size = atLeastOne(picture);
    if (size.width <= scene.width && size.height <= scene.height) return size;
    const double ratio = std::min(scene.width / size.width, scene.height / size.height);
    return atLeastOne({size.width * ratio, size.height * ratio});
}

std::optional<Edit> pastedLayers(const TweenScene& scene, const Array<Layer>& layers, RandomSource& random)
{
    if (!hasRoomFor(scene, layerCount(layers))) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Paste"};
    for (const Layer& source : layers) {
        Layer layer = regenerateIDs(source, random);
        layer.transform.x += pasteShift;
        layer.transform.y += pasteShift;
        layer.pipRendition = false; // It left the zoom whose view it showed, without which nothing could delete it.
        edit.selection.layerIDs.insert(layer.id);
        edit.scene.layers.append(std::move(layer));
    }
    return edit;
}

} // namespace

bool copySelection(const TweenScene& scene, const LayerIDs& selection, Pasteboard& pasteboard)
{
    Array<Layer> layers;
    for (const Layer* layer : topmostSelected(scene.layers, selection)) layers.append(*layer);
    if (layers.empty()) return false;
    try {
        const std::string json = encodedJson(layers);
        pasteboard.clearContents();
        pasteboard.setData(layersPasteboardType, Bytes({json.begin(), json.end()}));
        return true;
    } catch (const JsonWriteError&) {
        return false; // Told by the result: the pasteboard keeps what it has.
    }
}

std::optional<Edit> pasteSelection(const TweenScene& scene, const Pasteboard& pasteboard, RandomSource& random)
{
    if (const Array<Layer> layers = layersOn(pasteboard); !layers.empty()) return pastedLayers(scene, layers, random);

    std::optional<Layer> image = layerFromPasteboardImage(pasteboard, scene.size(), random);
    if (!image || !hasRoomFor(scene, 1)) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Paste Image", .selection = {.layerIDs = {image->id}}};
    edit.scene.layers.append(std::move(*image));
    return edit;
}

std::optional<Layer> layerFromPasteboardImage(const Pasteboard& pasteboard, CGSize scene, RandomSource& random)
{
    std::optional<Bytes> bytes = pictureOn(pasteboard);
    const std::shared_ptr<const Picture> picture = bytes ? mediaPicture(*bytes) : nullptr;
    if (!picture) return std::nullopt;

    Layer layer = newLayer(Layer::Kind::image, random);
    layer.name = SharedString("Pasted Image");
    layer.fill = ColorRGBA::clear;
    layer.cornerRadius = 0;
    layer.imageData = std::move(*bytes);
    layer.size = fittedInto(scene, picture->size());
    layer.transform.x = (scene.width - layer.size.width) * 0.5;
    layer.transform.y = (scene.height - layer.size.height) * 0.5;
    return layer;
}

} // namespace larkspool
