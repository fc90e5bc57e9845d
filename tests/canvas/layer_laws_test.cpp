#include "canvas/layer_arrange.h"
#include "canvas/layer_clipboard.h"
#include "canvas/layer_copies.h"
#include "canvas/layer_insertion.h"
#include "canvas/layer_style.h"
#include "canvas/layer_tree_operations.h"
#include "canvas/layers_fixture.h"
#include "canvas/restacking.h"
#include "canvas/selected_layers.h"
#include "evaluation/evaluated_frame.h"
#include "support/random_layer_tree.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <functional>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace larkspool {
namespace {

using Kind = Layer::Kind;

/// What an operation is done to.
struct Setting {
    TweenScene scene;
    LayerIDs selection;
    double playhead = 0;
};

Setting settingOf(RandomLayerTree& random)
{
    Setting setting{.scene = random.scene()};
    setting.selection = random.selection(setting.scene);
    setting.playhead = random.time();
    // The views of a picture-in-picture may be selected; then nothing can be deleted.
    Interpolation::invalidate();
    return setting;
}

/// Some of the layers of one list, neighbours or not.
LayerIDs siblings(RandomLayerTree& random, const TweenScene& scene)
{
    std::vector<const Array<Layer>*> lists{&scene.layers};
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (!layer.children.empty()) lists.push_back(&layer.children);
    });
    const Array<Layer>& list = *lists[random.index(lists.size())];
    LayerIDs selected{list[random.index(list.size())].id};
    for (const Layer& layer : list)
        if (random.chance(2)) selected.insert(layer.id);
    return selected;
}

void addIDs(const Layer& layer, std::vector<UUID>& ids)
{
    ids.push_back(layer.id);
    ids.push_back(layer.videoClip.id);
    for (const Keyframe& keyframe : layer.keyframes) ids.push_back(keyframe.id);
    for (const Pulse& pulse : layer.pulses) ids.push_back(pulse.id);
    for (const TimeSpan& span : layer.spans) {
        ids.push_back(span.id);
        for (const SpanEffect& effect : span.effects) ids.push_back(effect.id);
        for (const BlinkRange& range : span.cursorBlinkRanges) ids.push_back(range.id);
    }
}

bool allIDsDiffer(const TweenScene& scene)
{
    std::vector<UUID> ids;
    walkLayers(scene.layers, [&](const Layer& layer) { addIDs(layer, ids); });
    return std::unordered_set<UUID>(ids.begin(), ids.end()).size() == ids.size();
}

/// Every layer's parent, which is all zero at the top. Fails where a layer is there twice.
std::map<UUID, UUID> parentsIn(const TweenScene& scene)
{
    std::map<UUID, UUID> parents;
    const std::function<void(const Array<Layer>&, const UUID&)> walk = [&](const Array<Layer>& layers, const UUID& parent) {
        for (const Layer& layer : layers) {
            RC_ASSERT(parents.emplace(layer.id, parent).second);
            walk(layer.children, layer.id);
        }
    };
    walk(scene.layers, UUID{});
    return parents;
}

std::map<UUID, Layer> layersByID(const TweenScene& scene)
{
    std::map<UUID, Layer> layers;
    walkLayers(scene.layers, [&](const Layer& layer) {
        Layer alone = layer;
        alone.children = {};
        layers.emplace(layer.id, alone);
    });
    return layers;
}

/// All operations on a selection, by name.
struct Operation {
    const char* name;
    std::function<std::optional<Edit>(const Setting&)> apply;
};

std::vector<Operation> operations()
{
    const auto plain = [](auto operation) { return [operation](const Setting& s) { return operation(s.scene, s.selection); }; };
    std::vector<Operation> all{
        {"duplicate", [](const Setting& s) { return duplicateSelected(s.scene, s.selection); }},
        {"duplicate in place", [](const Setting& s) { return duplicateSelected(s.scene, s.selection, namedCopies); }},
        {"group", [](const Setting& s) { return groupSelection(s.scene, s.selection); }},
        {"ungroup", [](const Setting& s) { return ungroupSelection(s.scene, s.selection, s.playhead); }},
        {"delete", [](const Setting& s) { return deleteSelected(s.scene, s.selection); }},
        {"hide", plain(toggleHideForSelection)},
        {"lock", plain(toggleLockForSelection)},
        {"reset", plain(resetTimelineForSelection)},
        {"to front", plain(bringToFront)},
        {"to back", plain(sendToBack)},
        {"forward", plain(bringForward)},
        {"backward", plain(sendBackward)},
        {"distribute",
         [](const Setting& s) { return distributeSelected(s.scene, s.selection, DistributeAxis::vertical, s.playhead); }},
        {"nudge", [](const Setting& s) { return nudgeSelected(s.scene, s.selection, {3, -10}, s.playhead); }},
        {"insert", [](const Setting& s) { return insertLayer(s.scene, Kind::zoom, {10, 10}, ""); }},
        {"paste",
         [](const Setting& s) {
             MemoryPasteboard pasteboard;
             copySelection(s.scene, s.selection, pasteboard);
             return pasteSelection(s.scene, pasteboard);
         }},
        {"paste style", [](const Setting& s) {
             const LayerStyleClipboard clipboard{LayerStyleSnapshot::of(s.scene.layers.back())};
             return pasteProperties(s.scene, s.selection, clipboard, /*includePositionAndSize=*/true);
         }}};
    for (const EnumCase<AlignEdge>& edge : EnumTable<AlignEdge>::cases)
        all.push_back(
            {"align", [edge](const Setting& s) { return alignSelected(s.scene, s.selection, edge.value, s.playhead); }});
    return all;
}

TEST(LayerLaws, AnUndoAfterAnyOperationGivesBackTheSceneByteForByte)
{
    std::map<std::string, int> edits;
    EXPECT_TRUE(rc::check("undo restores", [&](std::uint64_t seed) {
        RandomLayerTree random(seed);
        Setting setting = settingOf(random);
        if (random.chance(3)) setting.selection = siblings(random, setting.scene);
        for (const Operation& operation : operations()) {
            Studio studio(setting.scene, setting.selection);
            const std::vector<std::uint8_t> before = studio.file();
            if (!studio.perform(operation.apply(setting))) continue;
            ++edits[operation.name];
            const std::vector<std::uint8_t> changed = studio.file();
            studio.manager.undo();
            RC_ASSERT(studio.file() == before);
            studio.manager.redo();
            RC_ASSERT(studio.file() == changed);
        }
    }));
    for (const Operation& operation : operations()) EXPECT_GT(edits[operation.name], 5) << operation.name;
}

TEST(LayerLaws, NoOperationLeavesTwoRecordsWithOneID)
{
    EXPECT_TRUE(rc::check("ids differ", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const Setting setting = settingOf(random);
        RC_ASSERT(allIDsDiffer(setting.scene));
        for (const Operation& operation : operations()) {
            const auto edit = operation.apply(setting);
            if (!edit) continue;
            RC_ASSERT(allIDsDiffer(edit->scene));
            for (const UUID& id : edit->selection.layerIDs) RC_ASSERT(findLayer(edit->scene, id) != nullptr);
        }
    }));
}

TEST(LayerLaws, CopiesShareNoIDWithTheirSourcesAndLookLikeThem)
{
    EXPECT_TRUE(rc::check("copies", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        Setting setting = settingOf(random);
        CopiedIDs newIDs;
        duplicateInTree(setting.scene.layers, setting.selection, CopyStyle{}, newIDs); // As an option-drag does.
        RC_ASSERT(allIDsDiffer(setting.scene));
        for (const auto& [sourceID, copyID] : newIDs) {
            const Layer& source = *findLayer(setting.scene, sourceID);
            const Layer& copy = *findLayer(setting.scene, copyID);
            RC_ASSERT(layerCount(source.children) == layerCount(copy.children));
            RC_ASSERT(source.transform == copy.transform && source.name == copy.name);
            RC_ASSERT(treeOf(source.children) == treeOf(copy.children));
        }
    }));
}

TEST(LayerLaws, RestackingNeverLosesDoublesOrMovesALayerToAnotherParent)
{
    EXPECT_TRUE(rc::check("restacking", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        Setting setting = settingOf(random);
        const auto parents = parentsIn(setting.scene);
        const auto layers = layersByID(setting.scene);
        using Command = std::optional<Edit> (*)(const TweenScene&, const LayerIDs&);
        const Command commands[] = {bringToFront, sendToBack, bringForward, sendBackward};
        for (int i = 0; i < 8; ++i) {
            const LayerIDs selection = random.selection(setting.scene);
            if (auto edit = commands[random.index(4)](setting.scene, selection)) setting.scene = edit->scene;
            RC_ASSERT(parentsIn(setting.scene) == parents);
            RC_ASSERT(layersByID(setting.scene) == layers);
        }
    }));
}

TEST(LayerLaws, ForwardAndBackwardUndoEachOther)
{
    EXPECT_TRUE(rc::check("there and back", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const Setting setting = settingOf(random);
        const auto edit = bringForward(setting.scene, setting.selection);
        const UUID primary = collectSelectedAnywhere(setting.scene.layers, setting.selection).front()->id;
        RC_ASSERT(edit.has_value() == zOrderAvailability(primary, setting.scene).canBringForward);
        if (!edit) return;
        RC_ASSERT(sendBackward(edit->scene, {primary})->scene == setting.scene);
    }));
}

TEST(LayerLaws, NoOperationMakesALayerItsOwnAncestorOrLosesOne)
{
    EXPECT_TRUE(rc::check("ancestors", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        Setting setting = settingOf(random);
        if (random.chance(2)) setting.selection = siblings(random, setting.scene);
        const auto before = parentsIn(setting.scene);
        for (const Operation& operation : operations()) {
            const auto edit = operation.apply(setting);
            if (!edit) continue;
            const auto now = parentsIn(edit->scene);
            const std::string name = operation.name;
            for (const auto& [id, parent] : before) {
                const bool mayGo = name == "delete" || (name == "ungroup" && findLayer(setting.scene, id)->kind == Kind::group);
                RC_ASSERT(now.contains(id) || mayGo);
            }
        }
    }));
}

TEST(LayerLaws, GroupThenUngroupGivesNeighboursBackAsTheyWere)
{
    int grouped = 0;
    EXPECT_TRUE(rc::check("group and ungroup", [&](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const Setting setting = settingOf(random);
        const std::vector<UUID> all = RandomLayerTree::ids(setting.scene);
        const Array<Layer>* list = &setting.scene.layers;
        const Layer* parent = findLayer(setting.scene, all[random.index(all.size())]);
        if (!parent->children.empty()) list = &parent->children;
        const std::size_t from = random.index(list->size()), count = 1 + random.index(list->size() - from);
        LayerIDs members;
        for (std::size_t i = from; i < from + count; ++i) members.insert((*list)[i].id);

        const auto group = groupSelection(setting.scene, members);
        RC_ASSERT(group.has_value());
        RC_ASSERT(treeOf(group->scene) != treeOf(setting.scene));
        Interpolation::invalidate();
        const auto back = ungroupSelection(group->scene, group->selection.layerIDs, setting.playhead);
        RC_ASSERT(back.has_value());
        RC_ASSERT(back->scene == setting.scene);
        RC_ASSERT(back->selection.layerIDs == members);
        Interpolation::invalidate();
        RC_ASSERT(evaluateFrame(back->scene, setting.playhead) == evaluateFrame(setting.scene, setting.playhead));
        ++grouped;
    }));
    EXPECT_EQ(grouped, 100);
}

TEST(LayerLaws, AGroupAtTheTopLooksLikeItsMembersAlone)
{
    EXPECT_TRUE(rc::check("a group shows what it holds", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const Setting setting = settingOf(random);
        LayerIDs members;
        for (const Layer& layer : setting.scene.layers)
            if (layer.kind != Kind::zoom) members.insert(layer.id);
        const auto edit = groupSelection(setting.scene, members);
        RC_ASSERT(edit.has_value());
        const EvaluatedFrame before = evaluateFrame(setting.scene, setting.playhead);
        Interpolation::invalidate();
        const EvaluatedFrame after = evaluateFrame(edit->scene, setting.playhead);
        const auto group = std::ranges::find(after.layers, Kind::group, [](const EvaluatedLayer& l) { return l.layer.kind; });
        RC_ASSERT(group != after.layers.end());
        RC_ASSERT(group->transform == AffineTransform{});
        std::vector<EvaluatedLayer> alone;
        for (const EvaluatedLayer& layer : before.layers)
            if (members.contains(layer.layer.id)) alone.push_back(layer);
        RC_ASSERT(group->children == alone);
    }));
}

/// The corners of the box of every layer that is no group, in scene coordinates.
using Corners = std::map<UUID, std::array<CGPoint, 4>>;

void collectCorners(const std::vector<EvaluatedLayer>& layers, const AffineTransform& toScene, Corners& corners)
{
    for (const EvaluatedLayer& each : layers) {
        const AffineTransform matrix = toScene.concatenating(each.transform);
        const CGSize size = each.layer.size;
        if (each.layer.kind != Kind::group)
            corners[each.layer.id] = {matrix.apply(CGPoint{0, 0}), matrix.apply(CGPoint{size.width, 0}),
                                      matrix.apply(CGPoint{0, size.height}), matrix.apply(CGPoint{size.width, size.height})};
        collectCorners(each.children, matrix, corners);
    }
}

Corners cornersOf(const TweenScene& scene, double time)
{
    Interpolation::invalidate();
    Corners corners;
    collectCorners(evaluateFrame(scene, time).layers, {}, corners);
    return corners;
}

/// Children that show and hold nothing, and that turn only where the group is scaled evenly, in a group that turns about its middle.
Layer looseGroup(RandomLayerTree& random)
{
    Layer group = groupNamed('g', {}, {std::round(random.between(-50, 300)), random.between(-50, 300)});
    group.groupLayout = static_cast<GroupLayout>(random.index(3));
    group.groupGap = random.between(-5, 30);
    group.groupAlignment = static_cast<GroupAlignment>(random.index(3));
    const bool isEven = random.chance(2);
    group.transform.rotation = random.chance(2) ? random.between(-180, 180) : 0;
    group.transform.scaleX = random.between(0.3, 2.5);
    group.transform.scaleY = isEven ? group.transform.scaleX : random.between(0.3, 2.5);
    for (std::size_t i = 1 + random.index(4); i > 0; --i) {
        Layer child = layerNamed(static_cast<char>('a' + i), {random.point(), {random.between(5, 90), random.between(5, 90)}});
        child.transform.anchorX = random.between(0, 1);
        child.transform.anchorY = random.between(0, 1);
        child.transform.scaleX = random.between(0.5, 2);
        if (isEven) child.transform.rotation = random.between(-180, 180);
        group.children.append(child);
    }
    return group;
}

TEST(LayerLaws, UngroupingKeepsTheLook)
{
    EXPECT_TRUE(rc::check("the look stays", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const TweenScene scene = sceneHolding({layerNamed('x'), looseGroup(random)});
        const double time = random.time();
        const Corners before = cornersOf(scene, time);
        const Corners now = cornersOf(ungroupSelection(scene, idsNamed("g"), time).value().scene, time);
        RC_ASSERT(before.size() == now.size());
        for (const auto& [id, corners] : before)
            for (std::size_t i = 0; i < corners.size(); ++i) {
                RC_ASSERT(std::abs(corners[i].x - now.at(id)[i].x) < 1e-6);
                RC_ASSERT(std::abs(corners[i].y - now.at(id)[i].y) < 1e-6);
            }
    }));
}

/// No layer of the selection lies in another one.
LayerIDs unrelated(const TweenScene& scene, const LayerIDs& selection)
{
    LayerIDs topmost;
    for (const Layer* layer : topmostSelected(scene.layers, selection)) topmost.insert(layer->id);
    return topmost;
}

/// The scene with keyframes that hold for no time: a keyframe within the hold of another does not show at its own time.
TweenScene withoutWaits(TweenScene scene)
{
    for (const UUID& id : RandomLayerTree::ids(scene)) {
        if (findLayer(scene, id)->keyframes.empty()) continue;
        for (Keyframe& keyframe : editLayer(scene, id)->keyframes.edit()) keyframe.wait = 0;
    }
    Interpolation::invalidate();
    return scene;
}

double edgeOf(const CGRect& frame, AlignEdge edge)
{
    switch (edge) {
    case AlignEdge::left: return frame.minX();
    case AlignEdge::hCenter: return frame.midX();
    case AlignEdge::right: return frame.maxX();
    case AlignEdge::top: return frame.minY();
    case AlignEdge::vCenter: return frame.midY();
    case AlignEdge::bottom: return frame.maxY();
    }
    return 0;
}

TEST(LayerLaws, AlignMakesTheEdgesEqualAndDoneAgainChangesNothingMore)
{
    int aligned = 0;
    EXPECT_TRUE(rc::check("align", [&](std::uint64_t seed) {
        RandomLayerTree random(seed);
        Setting setting = settingOf(random);
        setting.scene = withoutWaits(setting.scene);
        setting.selection = unrelated(setting.scene, setting.selection);
        for (const EnumCase<AlignEdge>& edge : EnumTable<AlignEdge>::cases) {
            const auto before = collectSelectedAnywhere(setting.scene.layers, setting.selection);
            const CGRect reference =
                before.size() == 1 ? CGRect{{0, 0}, setting.scene.size()} : unionFrame(before, setting.playhead);
            const auto edit = alignSelected(setting.scene, setting.selection, edge.value, setting.playhead);
            const TweenScene now = edit ? edit->scene : setting.scene;
            aligned += edit ? 1 : 0;
            for (const Layer* layer : collectSelectedAnywhere(now.layers, setting.selection)) {
                const CGRect frame = layerVisualFrame(*layer, setting.playhead);
                if (frame.isNull()) continue;
                RC_ASSERT(std::abs(edgeOf(frame, edge.value) - edgeOf(reference, edge.value)) < 1e-8);
            }
            RC_ASSERT(!alignSelected(now, setting.selection, edge.value, setting.playhead));
        }
    }));
    EXPECT_GT(aligned, 200);
}

TEST(LayerLaws, DistributeSpacesTheMiddlesEvenlyAndDoneAgainChangesNothingMore)
{
    int distributed = 0;
    EXPECT_TRUE(rc::check("distribute", [&](std::uint64_t seed) {
        RandomLayerTree random(seed, {.keyframes = false});
        Setting setting = settingOf(random);
        setting.selection = unrelated(setting.scene, random.selection(setting.scene, /*oneIn=*/2));
        for (const DistributeAxis axis : {DistributeAxis::horizontal, DistributeAxis::vertical}) {
            const auto edit = distributeSelected(setting.scene, setting.selection, axis, setting.playhead);
            if (!edit) continue;
            ++distributed;
            std::vector<double> middles;
            for (const Layer* layer : collectSelectedAnywhere(edit->scene.layers, setting.selection)) {
                const CGRect frame = layerVisualFrame(*layer, setting.playhead);
                if (!frame.isNull()) middles.push_back(axis == DistributeAxis::horizontal ? frame.midX() : frame.midY());
            }
            std::ranges::sort(middles);
            const double step = (middles.back() - middles.front()) / static_cast<double>(middles.size() - 1);
            for (std::size_t i = 1; i < middles.size(); ++i) RC_ASSERT(std::abs(middles[i] - middles[i - 1] - step) < 1e-8);
            RC_ASSERT(!distributeSelected(edit->scene, setting.selection, axis, setting.playhead));
        }
    }));
    EXPECT_GT(distributed, 20);
}

TEST(LayerLaws, NormalisingZoomsTwiceIsNormalisingThemOnce)
{
    EXPECT_TRUE(rc::check("zooms", [](std::uint64_t seed) {
        RandomLayerTree random(seed);
        TweenScene scene = random.scene();
        for (int i = 0; i < 3; ++i) {
            Layer zoom = random.layer(/*depth=*/0);
            zoom.kind = Kind::zoom;
            scene.layers.append(zoom);
        }
        normalizeZoomLayers(scene);
        const TweenScene once = scene;
        normalizeZoomLayers(scene);
        RC_ASSERT(scene == once);
        RC_ASSERT(scene.layers.sharesStorageWith(once.layers));
        for (const Layer& layer : scene.layers) {
            if (layer.kind != Kind::zoom || layer.zoomType != ZoomType::fullScreen) continue;
            RC_ASSERT(layer.transform.x >= 0 && layer.transform.y >= 0);
            RC_ASSERT(std::abs(layer.size.height - layer.size.width * scene.height / scene.width) <= 0.5 + 1e-9);
        }
    }));
}

} // namespace
} // namespace larkspool
