// Whatever bytes another program leaves on the pasteboard: a paste gives nothing, or a scene that holds all that it held before,
// no id twice, and that can be saved and read back as the same one.

#include "canvas/layer_clipboard.h"
#include "document/file_format.h"
#include "editing/scene_lookup.h"
#include "require.h"

#include <unordered_set>

namespace {

using namespace larkspool;

/// The first byte tells under which type the others lie.
std::string_view typeOf(std::uint8_t tag)
{
    switch (tag) {
    case 'P': return PasteboardType::png;
    case 'J': return PasteboardType::jpeg;
    case 'T': return PasteboardType::tiff;
    default: return layersPasteboardType;
    }
}

TweenScene sceneBefore()
{
    TweenScene scene{.id = {1, 1}, .width = 640, .height = 360};
    Layer group{.id = {1, 2}, .kind = Layer::Kind::group};
    group.children = {Layer{.id = {1, 3}}};
    scene.layers = {Layer{.id = {1, 4}}, group};
    return scene;
}

bool layersHaveIDsOfTheirOwn(const TweenScene& scene)
{
    std::unordered_set<UUID> ids;
    bool differ = true;
    walkLayers(scene.layers, [&](const Layer& layer) { differ = ids.insert(layer.id).second && differ; });
    return differ;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    MemoryPasteboard pasteboard;
    pasteboard.setData(typeOf(data[0]), Bytes({data + 1, data + size}));

    const TweenScene before = sceneBefore();
    const std::optional<Edit> edit = pasteSelection(before, pasteboard);
    if (!edit) return 0;

    const TweenScene& scene = edit->scene;
    require(scene.layers.size() > before.layers.size(), "a paste adds layers");
    for (std::size_t i = 0; i < before.layers.size(); ++i)
        require(scene.layers[i] == before.layers[i], "a paste leaves what was there");
    require(edit->selection.layerIDs.size() == scene.layers.size() - before.layers.size(), "what is pasted is selected");
    require(layersHaveIDsOfTheirOwn(scene), "no layer has the id of another");

    TweenDocument document;
    document.setScene(scene);
    const DecodedDocument again = decode(encodedData(document));
    require(again.document == document, "what was pasted reads back as the same");
    require(again.diagnostics.empty(), "what was pasted needs no repair");
    return 0;
}
