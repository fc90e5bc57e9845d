// What editing on the canvas costs, on a scene of 2,000 layers in nested groups: what lies under the pointer, drags of 500
// selected layers with guides, and operations on 500 layers. The floor is copying what such a drag changes: the 500 layers and
// the lists on the way to them.

#include "canvas/canvas_geometry.h"
#include "canvas/hit_testing.h"
#include "canvas/interaction_overlay.h"
#include "canvas/layer_arrange.h"
#include "canvas/layer_copies.h"
#include "canvas/layer_tree_operations.h"
#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

using namespace larkspool;

constexpr int passes = 200;
/// 50 groups of 3 groups of 12 layers, some of which move along keyframes.
constexpr std::size_t outerGroups = 50, innerGroups = 3, leaves = 12;
constexpr std::size_t selectedCount = 500;

UUID idOf(std::uint64_t number)
{
    return {1, number};
}

/// Median milliseconds of one call of `pass(i)`.
template <typename Pass>
double medianMilliseconds(Pass pass)
{
    std::vector<double> milliseconds;
    for (int i = 0; i < passes; ++i) {
        const auto start = std::chrono::steady_clock::now();
        pass(i);
        milliseconds.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    const auto middle = milliseconds.begin() + passes / 2;
    std::nth_element(milliseconds.begin(), middle, milliseconds.end());
    return *middle;
}

void report(const char* what, double milliseconds, double floor)
{
    std::printf("  %-58s %8.4f ms  %6.2f of the floor\n", what, milliseconds, milliseconds / floor);
}

Layer layerAt(std::uint64_t& number, double x, double y, CGSize size)
{
    Layer layer{.id = idOf(++number)};
    layer.transform.x = x;
    layer.transform.y = y;
    layer.size = size;
    return layer;
}

TweenScene nestedScene()
{
    TweenScene scene;
    std::uint64_t number = 0;
    for (std::size_t o = 0; o < outerGroups; ++o) {
        Layer outer = layerAt(number, static_cast<double>(o % 10) * 190, static_cast<double>(o / 10) * 200, {200, 200});
        outer.kind = Layer::Kind::group;
        if (o % 4 == 0) outer.transform.scaleX = 0.9;
        for (std::size_t i = 0; i < innerGroups; ++i) {
            Layer inner = layerAt(number, 0, static_cast<double>(i) * 60, {200, 60});
            inner.kind = Layer::Kind::group;
            if (i == 0) inner.groupLayout = GroupLayout::horizontal;
            for (std::size_t l = 0; l < leaves; ++l) {
                Layer leaf = layerAt(number, static_cast<double>(l) * 15, 5, {12, 40});
                if (l % 6 == 0) leaf.keyframes = {{.time = 0, .value = leaf.transform.x}, {.time = 2, .value = 100.0}};
                inner.children.append(leaf);
            }
            outer.children.append(inner);
        }
        scene.layers.append(outer);
    }
    return scene;
}

/// Leaves of all groups alike.
LayerIDs selectedLeaves(const TweenScene& scene)
{
    LayerIDs selection;
    std::size_t count = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (layer.kind == Layer::Kind::rectangle && count++ % 3 == 0 && selection.size() < selectedCount)
            selection.insert(layer.id);
    });
    return selection;
}

UUID lastOf(const TweenScene& scene, const LayerIDs& selection)
{
    UUID last;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (selection.contains(layer.id)) last = layer.id;
    });
    return last;
}

void measure()
{
    const TweenScene scene = nestedScene();
    const LayerIDs selection = selectedLeaves(scene);
    const LayerIndex index(scene);
    std::printf("%zu layers in nested groups, %zu selected\n", index.size(), selection.size());
    constexpr double playhead = 1;

    const double floor = medianMilliseconds([&](int) {
        TweenScene copy = scene;
        for (const UUID& id : selection) index.edit(copy, id);
    });
    report("copying the selected layers (the floor)", floor, floor);

    std::size_t hits = 0;
    const auto pointOf = [](int i) { return CGPoint{static_cast<double>(i * 37 % 1900), static_cast<double>(i * 53 % 1000)}; };
    report("hit test", medianMilliseconds([&](int i) { hits += topmostHitLayerID(scene, pointOf(i), playhead).has_value(); }),
           floor);
    report("hit test that finds nothing", medianMilliseconds([&](int) {
               hits += topmostHitLayerID(scene, {5000, 5000}, playhead).has_value();
           }),
           floor);
    report("hit test of a group's children", medianMilliseconds([&](int i) {
               const Layer& group = scene.layers[static_cast<std::size_t>(i) % outerGroups];
               hits += topmostChildHit(group, pointOf(i), {group.transform.x, group.transform.y}, playhead).has_value();
           }),
           floor);

    const InteractionOverlay::Editor editor{.scene = scene, .selection = selection, .playhead = playhead};
    const CGRect target = unionAABBOfSelected(scene, {lastOf(scene, selection)}, playhead);
    const CGPoint onSelected{target.midX(), target.midY()}; // Far from the handles, which are around the first.
    InteractionOverlay overlay;
    report("press on a selected layer", medianMilliseconds([&](int) {
               overlay.cancelDrag();
               overlay.beginDrag({.view = onSelected}, editor);
           }),
           floor);
    const bool isBody = overlay.state().dragMode == InteractionOverlay::DragMode{InteractionOverlay::DragMode::Kind::body};
    const auto update = [&](int i, Modifiers modifiers) {
        overlay.applyDrag({.view = {onSelected.x + 10 + i, onSelected.y + 20}, .modifiers = modifiers});
    };
    report("update with guides", medianMilliseconds([&](int i) { update(i, {}); }), floor);
    report("update without guides", medianMilliseconds([&](int i) { update(i, {.command = true}); }), floor);
    std::printf("  %zu layers moved, %zu targets of guides across, %zu hits%s\n", overlay.state().initialMultiTransforms.size(),
                overlay.state().cachedSnapX.size(), hits, isBody ? "" : ": NO BODY DRAG");
    overlay.endDrag();
}

/// 2,000 layers in 500 groups.
TweenScene sceneOfGroups()
{
    TweenScene scene;
    std::uint64_t number = 0;
    for (std::size_t g = 0; g < selectedCount; ++g) {
        Layer group = layerAt(number, static_cast<double>(g), 0, {200, 200});
        group.kind = Layer::Kind::group;
        if (g % 2 == 0) group.groupLayout = GroupLayout::vertical;
        if (g % 5 == 0) group.transform.rotation = 30;
        for (std::size_t l = 0; l < 3; ++l) group.children.append(layerAt(number, static_cast<double>(l) * 15, 5, {12, 40}));
        scene.layers.append(group);
    }
    return scene;
}

/// 2,000 layers of which 1,000 are the children of one group.
TweenScene sceneWithAWideGroup()
{
    TweenScene scene;
    std::uint64_t number = 0;
    Layer wide = layerAt(number, 0, 0, {200, 200});
    wide.kind = Layer::Kind::group;
    for (std::size_t l = 0; l < 2 * selectedCount; ++l) {
        wide.children.append(layerAt(number, static_cast<double>(l), 5, {12, 40}));
        if (l + 1 < 2 * selectedCount) scene.layers.append(layerAt(number, static_cast<double>(l), 50, {12, 40}));
    }
    scene.layers.append(wide);
    return scene;
}

LayerIDs everyNth(const Array<Layer>& layers, std::size_t step)
{
    LayerIDs selection;
    for (std::size_t i = 0; i < layers.size(); i += step) selection.insert(layers[i].id);
    return selection;
}

template <typename Apply>
void measureOperation(const char* what, double floor, const Apply& apply)
{
    std::size_t edits = 0;
    report(what, medianMilliseconds([&](int) { edits += apply().has_value(); }), floor);
    if (edits != static_cast<std::size_t>(passes)) std::printf("  NO EDIT\n");
}

void measureOperations()
{
    const TweenScene scene = nestedScene(), groups = sceneOfGroups(), wide = sceneWithAWideGroup();
    const LayerIDs selection = selectedLeaves(scene), all = everyNth(groups.layers, 1);
    const LayerIDs siblings = everyNth(wide.layers.back().children, 2);
    const LayerIndex index(scene);
    constexpr double playhead = 1;
    std::printf("operations on %zu, %zu and %zu of %zu, %zu and %zu layers\n", selection.size(), siblings.size(), all.size(),
                index.size(), LayerIndex(wide).size(), LayerIndex(groups).size());
    const double floor = medianMilliseconds([&](int) {
        TweenScene copy = scene;
        for (const UUID& id : selection) index.edit(copy, id);
    });
    measureOperation("duplicate", floor, [&] { return duplicateSelected(scene, selection); });
    measureOperation("group", floor, [&] { return groupSelection(wide, siblings); });
    measureOperation("ungroup", floor, [&] {
        Interpolation::invalidate();
        return ungroupSelection(groups, all, playhead);
    });
    measureOperation("align", floor, [&] { return alignSelected(scene, selection, AlignEdge::hCenter, playhead); });
    measureOperation("align groups", floor, [&] { return alignSelected(groups, all, AlignEdge::left, playhead); });
    measureOperation("distribute", floor, [&] { return distributeSelected(groups, all, DistributeAxis::horizontal, playhead); });
}

} // namespace

int main()
{
    measure();
    measureOperations();
}
