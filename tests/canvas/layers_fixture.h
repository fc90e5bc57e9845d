#pragma once

#include "canvas/layer_upkeep.h"
#include "document/file_format.h"
#include "editing/scene_lookup.h"
#include "editing/shared_commit.h"
#include "evaluation/interpolation.h"
#include "platform/undo_manager.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkspool {

/// The same id for the same letter.
inline UUID idNamed(char letter)
{
    return {11, static_cast<std::uint64_t>(letter)};
}

inline LayerIDs idsNamed(std::string_view letters)
{
    LayerIDs ids;
    for (const char letter : letters) ids.insert(idNamed(letter));
    return ids;
}

/// A rectangle named after the letter.
inline Layer layerNamed(char letter, CGRect box = {{0, 0}, {10, 10}})
{
    Layer layer{.id = idNamed(letter), .name = SharedString(std::string(1, letter))};
    layer.videoClip.id = {12, static_cast<std::uint64_t>(letter)};
    layer.transform.x = box.minX();
    layer.transform.y = box.minY();
    layer.size = box.size;
    return layer;
}

inline Layer kindNamed(char letter, Layer::Kind kind, CGRect box = {{0, 0}, {10, 10}})
{
    Layer layer = layerNamed(letter, box);
    layer.kind = kind;
    return layer;
}

inline Layer groupNamed(char letter, Array<Layer> children, CGPoint at = {})
{
    Layer group = kindNamed(letter, Layer::Kind::group, {at, {200, 200}});
    group.children = std::move(children);
    return group;
}

/// 1000 x 500.
inline TweenScene sceneHolding(Array<Layer> layers)
{
    Interpolation::invalidate(); // Tests use the same ids for different layers.
    return {.id = {13, 0}, .width = 1000, .height = 500, .layers = std::move(layers)};
}

/// The names of the layers from the back to the front, what a layer holds in brackets behind it: "a b(c d) e".
inline std::string treeOf(const Array<Layer>& layers)
{
    std::string text;
    for (const Layer& layer : layers) {
        if (!text.empty()) text += ' ';
        text += layer.name.string();
        if (!layer.children.empty()) text += "(" + treeOf(layer.children) + ")";
    }
    return text;
}

inline std::string treeOf(const TweenScene& scene)
{
    return treeOf(scene.layers);
}

inline std::string treeOf(const std::optional<Edit>& edit)
{
    return edit ? treeOf(edit->scene) : "nothing";
}

/// The names of the layers of these ids, in the order of the tree.
inline std::string namesOf(const TweenScene& scene, const LayerIDs& ids)
{
    std::string names;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (ids.contains(layer.id)) names += (names.empty() ? "" : " ") + layer.name.string();
    });
    return names;
}

inline std::string selectedIn(const std::optional<Edit>& edit)
{
    return edit ? namesOf(edit->scene, edit->selection.layerIDs) : "nothing";
}

/// The layer of that letter after the edit, which must be there.
inline const Layer& after(const std::optional<Edit>& edit, char letter)
{
    return *findLayer(edit.value().scene, idNamed(letter));
}

inline Keyframe keyAt(Keyframe::AnimatableProperty property, double time, double value, double wait = 0)
{
    return {.property = property, .time = time, .value = value, .wait = wait};
}

/// A glyph is half as wide as the font is large, and a line as high.
class GridMeasurer final : public TextMeasurer {
public:
    CGSize boundingSize(std::string_view text, std::string_view, double fontSize, double width) const override
    {
        const double all = static_cast<double>(text.size()) * fontSize * 0.5;
        return {std::min(all, width), std::ceil(all / width) * fontSize};
    }
    FontMetrics metrics(std::string_view, double fontSize) const override { return {fontSize, -0.25 * fontSize, 0, 0}; }
};

/// An editor of one document: edits go the road of every edit, and can be undone.
struct Studio {
    GridMeasurer measurer{};
    EditorState state{};
    UndoManager manager{};
    SharedCommit commit{state, &manager, layerUpkeep(measurer)};

    explicit Studio(TweenScene scene, LayerIDs selection = {})
    {
        Interpolation::invalidate();
        state.document.setScene(std::move(scene));
        selectLayers(state, std::move(selection));
    }

    TweenScene scene() const { return state.scene(); }
    std::vector<std::uint8_t> file() const { return encodedData(state.document); }
    std::string selected() const { return namesOf(scene(), state.selectedLayerIDs); }

    /// Whether there was an edit.
    bool perform(std::optional<Edit> edit)
    {
        if (!edit) return false;
        commit.commit(std::move(*edit));
        return true;
    }
};

} // namespace larkspool
