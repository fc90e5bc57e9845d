#include "assistant/patch_operations.h"

#include "document/file_format.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace larkspool {

namespace {

// ---------------------------------------------------------------- reading operations

/// The members of an operation, asked for by name.
class OperationReader {
public:
    explicit OperationReader(const JSON& value) : value_(value)
    {
        if (!value.object()) throw DecodingError(DecodingError::Kind::typeMismatch, "", "the operation is not an object");
    }

    const JSON& member(std::string_view key) const
    {
        const JSON* found = value_[key];
        if (!found) throw DecodingError(DecodingError::Kind::missingKey, std::string(key), "is missing");
        return *found;
    }
    const std::string& text(std::string_view key) const
    {
        const std::string* found = member(key).string();
        if (!found) throw DecodingError(DecodingError::Kind::typeMismatch, std::string(key), "is not a string");
        return *found;
    }
    UUID id(std::string_view key) const
    {
        const std::optional<UUID> found = UUID::parse(text(key));
        if (!found) throw DecodingError(DecodingError::Kind::invalidValue, std::string(key), "is not a UUID");
        return *found;
    }

private:
    const JSON& value_;
};

struct OperationForm {
    std::string_view op;
    PatchOperation (*read)(const OperationReader& from);
};

constexpr OperationForm operationForms[] = {
    {"set_scene_property",
     [](const OperationReader& from) -> PatchOperation {
         return SetSceneProperty{from.text("property"), from.member("value")};
     }},
    {"set_property",
     [](const OperationReader& from) -> PatchOperation {
         return SetProperty{from.id("layer_id"), from.text("property"), from.member("value")};
     }},
    {"add_keyframe",
     [](const OperationReader& from) -> PatchOperation { return AddKeyframe{from.id("layer_id"), from.member("keyframe")}; }},
    {"delete_keyframe",
     [](const OperationReader& from) -> PatchOperation { return DeleteKeyframe{from.id("layer_id"), from.id("keyframe_id")}; }},
    {"add_pulse",
     [](const OperationReader& from) -> PatchOperation { return AddPulse{from.id("layer_id"), from.member("pulse")}; }},
    {"delete_pulse",
     [](const OperationReader& from) -> PatchOperation { return DeletePulse{from.id("layer_id"), from.id("pulse_id")}; }},
    {"add_layer", [](const OperationReader& from) -> PatchOperation { return AddLayer{from.member("layer")}; }},
    {"delete_layer", [](const OperationReader& from) -> PatchOperation { return DeleteLayer{from.id("layer_id")}; }},
};

// ---------------------------------------------------------------- what reading a value loses

std::string joined(std::string_view place, std::string_view path)
{
    if (place.empty() || path.empty()) return std::string(place.empty() ? path : place);
    return fmt::format("{}{}{}", place, path.front() == '[' ? "" : ".", path);
}

/// The part of a value that a path such as "spans[2].effects" leads to, or null if there is none.
const JSON* partAt(const JSON& value, std::string_view path)
{
    const JSON* part = &value;
    while (part && !path.empty()) {
        if (path.front() == '[') {
            std::size_t index = 0;
            const auto [rest, error] = std::from_chars(path.data() + 1, path.data() + path.size(), index);
            const JSON::Array* elements = part->array();
            part = error == std::errc() && elements && index < elements->size() ? &(*elements)[index] : nullptr;
            path.remove_prefix(std::min(path.size(), static_cast<std::size_t>(rest - path.data()) + 1));
        } else {
            if (path.front() == '.') path.remove_prefix(1);
            const std::string_view key = path.substr(0, path.find_first_of(".["));
            part = (*part)[key];
            path.remove_prefix(key.size());
        }
    }
    return part;
}

/// Whether something of the value is lost that a file can hold in another form. A null may fall back: it asks for that.
bool isLoss(const Diagnostic& diagnostic, const JSON& value)
{
    if (diagnostic.action == Diagnostic::Action::migrated || diagnostic.action == Diagnostic::Action::unknownKey) return false;
    const JSON* part = partAt(value, diagnostic.path);
    return !part || !part->isNull();
}

void requireNoLoss(const Diagnostics& diagnostics, const JSON& value, std::string_view place)
{
    for (const Diagnostic& each : diagnostics.told) {
        if (!isLoss(each, value)) continue;
        const bool namesPlace = each.text.starts_with(each.path);
        throw PatchError::decodeFailed(namesPlace ? joined(place, each.text)
                                                  : fmt::format("{}: {}", joined(place, each.path), each.text));
    }
    // What is not told any more may be a loss as well.
    if (diagnostics.untold > diagnostics.untoldUnknownKeys)
        throw PatchError::decodeFailed(
            fmt::format("{} has more than {} parts that are not understood", place, Diagnostics::mostTold));
}

/// The record that a value stands for whole. `place` is where in the scene it goes. Throws DecodingError if it is none, and
/// PatchError if it would lose a part.
template <typename Record>
Record decoded(const JSON& value, std::string_view place)
{
    Diagnostics diagnostics;
    std::optional<Record> record;
    try {
        record = decodeJson<Record>(value.encoded(), &diagnostics);
    } catch (const DecodingError& error) {
        throw DecodingError(error.kind(), joined(place, error.path()), error.reason());
    }
    requireNoLoss(diagnostics, value, place);
    return *std::move(record);
}

/// The same for an element of a list that would be lost with it.
template <typename Record>
Record decodedElement(const JSON& value, const std::string& place)
try {
    return decoded<Record>(value, place);
} catch (const DecodingError& error) {
    throw PatchError::decodeFailed(error.what());
}

/// The record with one key of its JSON form changed.
template <typename Record>
Record withKey(const Record& record, const std::string& key, const JSON& value, std::string_view place)
{
    JSON::Object members = *JSON::decode(encodedJson(record, JsonWriter::Layout::compact)).object();
    members.insert_or_assign(key, value);
    return decoded<Record>(JSON(std::move(members)), place);
}

// ---------------------------------------------------------------- the round trip

/// Children, pictures and bookmarks are large, and come back from JSON as they were: they go around it.
Array<Layer> withoutMedia(const Array<Layer>& layers)
{
    std::vector<Layer> plain;
    plain.reserve(layers.size());
    for (Layer layer : layers) {
        layer.imageData.reset();
        layer.videoBookmark.reset();
        layer.children = withoutMedia(layer.children);
        plain.push_back(std::move(layer));
    }
    return plain;
}

/// Puts back what `withoutMedia` left out. The two lists have the same shape.
void takeMedia(Array<Layer>& layers, const Array<Layer>& from)
{
    if (layers.empty()) return;
    Array<Layer>::Elements& elements = layers.edit();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        Layer& layer = elements[i];
        layer.imageData = from[i].imageData;
        layer.videoBookmark = from[i].videoBookmark;
        takeMedia(layer.children, from[i].children);
    }
}

/// What comes back when a scene is written and read. Nearly always that is the scene itself, which then goes on sharing its
/// records with other copies.
TweenScene roundTripped(const TweenScene& scene)
{
    TweenScene plain = scene;
    plain.layers = withoutMedia(scene.layers);
    TweenScene read = decodeJson<TweenScene>(encodedJson(plain, JsonWriter::Layout::compact));
    if (read == plain) return scene;
    takeMedia(read.layers, scene.layers);
    return read;
}

void requireReadable(const Array<Layer>& layers, std::size_t levelsLeft, std::size_t& countLeft)
{
    if (layers.empty()) return;
    if (levelsLeft == 0)
        throw DecodingError(DecodingError::Kind::syntax, "",
                            fmt::format("Layers are nested deeper than {} levels", deepestLayerNesting));
    if (layers.size() > countLeft)
        throw DecodingError(DecodingError::Kind::syntax, "", fmt::format("There are more than {} layers", mostLayers));
    countLeft -= layers.size();
    for (const Layer& layer : layers) requireReadable(layer.children, levelsLeft - 1, countLeft);
}

/// Throws DecodingError for layers that no file can hold.
void requireReadable(const TweenScene& scene)
{
    std::size_t countLeft = mostLayers;
    requireReadable(scene.layers, deepestLayerNesting, countLeft);
}

// ---------------------------------------------------------------- edits of records

/// A layer within a scene, by its place in each list on the way.
using LayerPath = std::vector<std::size_t>;

/// The way to the first layer with the id, a parent before its children. Empty if there is none.
LayerPath pathTo(const UUID& layerID, const Array<Layer>& layers)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        if (layers[i].id == layerID) return {i};
        LayerPath path = pathTo(layerID, layers[i].children);
        if (path.empty()) continue;
        path.insert(path.begin(), i);
        return path;
    }
    return {};
}

std::string placeOf(const LayerPath& path)
{
    std::string place = fmt::format("layers[{}]", path.front());
    for (std::size_t i = 1; i < path.size(); ++i) place += fmt::format(".children[{}]", path[i]);
    return place;
}

Layer& editLayer(TweenScene& scene, const LayerPath& path)
{
    Layer* layer = &scene.layers.edit()[path.front()];
    for (std::size_t i = 1; i < path.size(); ++i) layer = &layer->children.edit()[path[i]];
    return *layer;
}

/// Once a scene has come back from JSON, writing and reading it again changes nothing: only what an edit touches has to go that
/// way any more.
class LayerEdit {
public:
    LayerEdit(TweenScene& scene, const LayerPath& path) : scene_(scene), layer_(editLayer(scene, path)), place_(placeOf(path)) {}

    void set(const std::string& property, const JSON& value)
    {
        Layer plain = layer_;
        plain.children = {};
        plain.imageData.reset();
        plain.videoBookmark.reset();

        Layer changed = withKey(plain, property, value, place_);
        if (property != "children") changed.children = layer_.children;
        if (property != "imageData") changed.imageData = layer_.imageData;
        if (property != "videoBookmark") changed.videoBookmark = layer_.videoBookmark;
        layer_ = std::move(changed);
        requireReadable(scene_);
    }

    template <typename Record>
    void add(Array<Record> Layer::*list, std::string_view key, const JSON& value)
    {
        const std::string place = fmt::format("{}.{}[{}]", place_, key, (layer_.*list).size());
        (layer_.*list).append(decodedElement<Record>(value, place));
    }

    template <typename Record>
    void remove(Array<Record> Layer::*list, const UUID& id)
    {
        const Array<Record>& all = layer_.*list;
        if (std::ranges::find(all, id, &Record::id) == all.end()) return;
        std::erase_if((layer_.*list).edit(), [&](const Record& each) { return each.id == id; });
    }

private:
    TweenScene& scene_;
    Layer& layer_;
    std::string place_;
};

/// The layers without those of that id, on all levels.
Array<Layer> withoutLayer(const Array<Layer>& layers, const UUID& layerID)
{
    std::vector<Layer> left;
    left.reserve(layers.size());
    for (const Layer& layer : layers) {
        if (layer.id == layerID) continue;
        left.push_back(layer);
        if (!layer.children.empty()) left.back().children = withoutLayer(layer.children, layerID);
    }
    return left;
}

// ---------------------------------------------------------------- a patch

/// A patch on its way: the scenes that it has reached, apart from the document until all is done.
class Patch {
public:
    explicit Patch(const TweenDocument& document)
        : document_(document), active_(static_cast<std::size_t>(document.activeSceneIndex)), reached_(document.scenes.size())
    {}

    void operator()(const SetSceneProperty& operation)
    {
        TweenScene& scene = edit(active_);
        TweenScene plain = scene;
        plain.layers = {};
        TweenScene changed = withKey(plain, operation.property, operation.value, "");
        if (operation.property != "layers") changed.layers = scene.layers;
        scene = std::move(changed);
    }

    void operator()(const SetProperty& operation) { layer(operation.layerID).set(operation.property, operation.value); }

    void operator()(const AddKeyframe& operation)
    {
        layer(operation.layerID).add(&Layer::keyframes, "keyframes", operation.keyframe);
    }
    void operator()(const DeleteKeyframe& operation)
    {
        layer(operation.layerID).remove(&Layer::keyframes, operation.keyframeID);
    }

    void operator()(const AddPulse& operation) { layer(operation.layerID).add(&Layer::pulses, "pulses", operation.pulse); }
    void operator()(const DeletePulse& operation) { layer(operation.layerID).remove(&Layer::pulses, operation.pulseID); }

    void operator()(const AddLayer& operation)
    {
        TweenScene& scene = edit(active_);
        scene.layers.append(decoded<Layer>(operation.layer, fmt::format("layers[{}]", scene.layers.size())));
        requireReadable(scene);
    }

    void operator()(const DeleteLayer& operation)
    {
        for (const std::size_t index : searchOrder()) {
            const Array<Layer>& layers = scene(index).layers;
            if (std::ranges::find(layers, operation.layerID, &Layer::id) == layers.end()) continue;
            TweenScene& scene = edit(index);
            scene.layers = withoutLayer(scene.layers, operation.layerID);
            return;
        }
        throw PatchError::layerNotFound(operation.layerID);
    }

    /// Gives the document the scenes that have been edited.
    void finish(TweenDocument& document) const
    {
        for (std::size_t i = 0; i < reached_.size(); ++i)
            if (reached_[i] && reached_[i]->isEdited) document.scenes.edit()[i] = reached_[i]->scene;
    }

private:
    struct Reached {
        TweenScene scene;
        bool isEdited = false;
    };

    std::vector<std::size_t> searchOrder() const
    {
        std::vector<std::size_t> order{active_};
        for (std::size_t i = 0; i < reached_.size(); ++i)
            if (i != active_) order.push_back(i);
        return order;
    }

    const TweenScene& scene(std::size_t index)
    {
        std::optional<Reached>& reached = reached_[index];
        if (!reached) reached = Reached{.scene = roundTripped(document_.scenes[index])};
        return reached->scene;
    }

    TweenScene& edit(std::size_t index)
    {
        scene(index);
        reached_[index]->isEdited = true;
        return reached_[index]->scene;
    }

    LayerEdit layer(const UUID& layerID)
    {
        for (const std::size_t index : searchOrder())
            if (const LayerPath path = pathTo(layerID, scene(index).layers); !path.empty()) return {edit(index), path};
        throw PatchError::layerNotFound(layerID);
    }

    const TweenDocument& document_;
    std::size_t active_;
    std::vector<std::optional<Reached>> reached_;
};

} // namespace

PatchOperation decodedPatchOperation(const JSON& value)
{
    const OperationReader reader(value);
    const std::string& op = reader.text("op");
    const auto form = std::ranges::find(operationForms, op, &OperationForm::op);
    if (form == std::ranges::end(operationForms))
        throw DecodingError(DecodingError::Kind::invalidValue, "op", "Unknown op " + op);
    return form->read(reader);
}

PatchError PatchError::layerNotFound(const UUID& id)
{
    return {Kind::layerNotFound, fmt::format("Layer {} not found", id.string())};
}

PatchError PatchError::keyframeNotFound(const UUID& id)
{
    return {Kind::keyframeNotFound, fmt::format("Keyframe {} not found", id.string())};
}

PatchError PatchError::pulseNotFound(const UUID& id)
{
    return {Kind::pulseNotFound, fmt::format("Pulse {} not found", id.string())};
}

PatchError PatchError::sceneOutOfRange(std::int64_t index)
{
    return {Kind::sceneOutOfRange, fmt::format("Scene index {} out of range", index)};
}

PatchError PatchError::decodeFailed(std::string_view text)
{
    return {Kind::decodeFailed, fmt::format("Decode failed: {}", text)};
}

PatchError PatchError::invalidProperty(std::string_view name)
{
    return {Kind::invalidProperty, fmt::format("Invalid property: {}", name)};
}

std::int64_t applyPatchOperations(std::span<const PatchOperation> operations, TweenDocument& document)
{
    const std::int64_t index = document.activeSceneIndex;
    if (index < 0 || static_cast<std::size_t>(index) >= document.scenes.size()) throw PatchError::sceneOutOfRange(index);

    Patch patch(document);
    for (const PatchOperation& operation : operations) std::visit(patch, operation);
    patch.finish(document);
    return static_cast<std::int64_t>(operations.size());
}

} // namespace larkspool
