#include "canvas/canvas_hand.h"

#include "canvas/canvas_geometry.h"
#include "canvas/hit_testing.h"
#include "canvas/selection_handles.h"
#include "support/random_layer_tree.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <unordered_set>

namespace larkspool {
namespace {

/// A point in the box of one of the top-level layers, where there is one.
CGPoint pointOnALayer(RandomLayerTree& random, const TweenScene& scene, double time)
{
    const CGRect box = boxInParent(scene.layers[random.index(scene.layers.size())], time);
    if (box.isNull()) return random.point();
    return {box.minX() + random.between(0, 1) * box.size.width, box.minY() + random.between(0, 1) * box.size.height};
}

/// A press somewhere in a random scene with a random selection: on a layer, on a handle or a point of a line, or anywhere.
struct RandomPress {
    RandomLayerTree random;
    TweenScene before;
    LayerIDs selection;
    CanvasHand hand;
    CGPoint point{};

    explicit RandomPress(std::uint64_t seed, RandomLayerTree::Traits traits = {}, bool mayClone = true)
        : random(seed, traits), before(random.scene()), selection(random.selection(before)), hand(before)
    {
        hand.settings.keyframeAtPlayhead = random.chance(2);
        hand.settings.sizeAspectLocked = random.chance(2);
        hand.playhead(random.time()).select(selection);
        hand.fit({.scale = random.between(0.3, 2), .originX = random.between(-50, 50), .originY = 10});
        point = pressPoint();
        hand.hold({.command = random.chance(2), .shift = random.chance(4), .option = mayClone && random.chance(6)}).press(point);
    }
    void wander()
    {
        hand.hold({.command = random.chance(2), .shift = random.chance(3)});
        hand.moveTo(random.between(-300, 300), random.between(-300, 300));
    }

private:
    CGPoint pressPoint()
    {
        const InteractionOverlay::Editor editor = hand.editor();
        const SceneFit fit = hand.currentFit();
        const Layer* primary = selectedAnyLayer(editor.scene, editor.selection);
        const auto frame = primary ? selectionFrame(editor.scene, primary->id, editor.playhead) : std::nullopt;
        if (!frame || random.chance(5)) return fit.viewFromScene(random.point());
        const std::vector<CGPoint> linePoints = linePointsInScene(editor.scene, primary->id, editor.playhead);
        if (!linePoints.empty() && random.chance(2)) return fit.viewFromScene(linePoints[random.index(linePoints.size())]);
        if (random.chance(4)) return rotateHandleViewPoint(*frame, fit);
        if (random.chance(2)) return frame->viewPoint(static_cast<SelectionHandle>(random.index(selectionHandleCount)), fit);
        const CGPoint inFrame{frame->rect.minX() + random.between(0.2, 0.8) * frame->rect.size.width,
                              frame->rect.minY() + random.between(0.2, 0.8) * frame->rect.size.height};
        return fit.viewFromScene(frame->toScene.apply(inFrame));
    }
};

TEST(CanvasDragLaws, ADragThatReturnsToItsStartLeavesTheSceneAsItWas)
{
    int moved = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        RandomPress press(seed, {}, /*mayClone=*/false);
        for (int i = 0; i < 4; ++i) press.wander();
        moved += press.hand.scene() != press.before;
        press.hand.hold({.command = press.random.chance(2), .shift = press.random.chance(2)}).moveTo(0, 0);
        RC_ASSERT(press.hand.scene() == press.before);
        press.hand.release();
        RC_ASSERT(canonical(press.hand.scene()) == canonical(press.before));
        RC_ASSERT(press.hand.undoCount() == 0u);
    }));
    EXPECT_GT(moved, 20);
}

TEST(CanvasDragLaws, AnUndoGivesBackTheSceneToTheByte)
{
    int steps = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        RandomPress press(seed);
        for (int i = 0; i < 3; ++i) press.wander();
        const bool changed = press.hand.scene() != press.before;
        press.hand.release();
        RC_ASSERT(press.hand.undoCount() == (changed ? 1u : 0u));
        if (!changed) return;
        ++steps;
        press.hand.undo();
        RC_ASSERT(canonical(press.hand.scene()) == canonical(press.before));
    }));
    EXPECT_GT(steps, 20);
}

TEST(CanvasDragLaws, WhereADragHasBeenDoesNotMatter)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        // Without keyframes, as new ones get new ids.
        RandomPress direct(seed, {.keyframes = false}, /*mayClone=*/false), wandering(seed, {.keyframes = false}, false);
        for (int i = 0; i < 4; ++i) wandering.wander();
        direct.hand.hold({}).moveTo(-37, 62);
        wandering.hand.hold({}).moveTo(-37, 62);
        RC_ASSERT(direct.hand.scene() == wandering.hand.scene());
        RC_ASSERT(direct.hand.selection() == wandering.hand.selection());
    }));
}

/// A body drag of a selection by (dx, dy) scene units, in a view of the scene's own size and with nothing that snaps.
struct BodyMove {
    RandomLayerTree random;
    TweenScene before;
    LayerIDs selection;
    double time;
    CanvasHand hand;
    bool isBody = false;
    CGPoint way{}; ///< Of the primary layer.

    BodyMove(std::uint64_t seed, RandomLayerTree::Traits traits)
        : random(seed, traits), before(random.scene()), selection(random.selection(before)), time(random.time()), hand(before)
    {
        hand.settings.keyframeAtPlayhead = random.chance(2);
        hand.playhead(time).select(selection).hold({.command = true});
        hand.press(pointOnALayer(random, before, time));
        selection = hand.selection();
        const auto mode = hand.state().dragMode;
        isBody = mode && mode->kind == InteractionOverlay::DragMode::Kind::body;
        if (!isBody) return;
        const CGPoint delta{random.between(5, 60), random.between(5, 60)};
        const Transform primary = placeOf(hand.state().initialLayer->id);
        hand.moveTo(delta.x, delta.y);
        way = {std::round(primary.x + delta.x) - primary.x, std::round(primary.y + delta.y) - primary.y};
        isBody = !hand.state().waitGhostActive;
    }
    /// Before the drag.
    Transform placeOf(const UUID& id) const { return Interpolation::placement(*findLayer(before, id), time).transform; }
};

bool near(double a, double b)
{
    return std::abs(a - b) < 1e-6;
}

TEST(CanvasDragLaws, EverySelectedLayerMovesByTheWayAndNoOtherDoes)
{
    int moves = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        BodyMove move(seed, {});
        if (!move.isBody) return;
        ++moves;
        const TweenScene after = move.hand.scene();
        walkLayers(move.before.layers, [&](const Layer& layer) {
            const std::vector<UUID> ancestors = ancestorsOf(move.before, layer.id);
            const bool goesWithAnother =
                std::ranges::any_of(ancestors, [&](const UUID& id) { return move.selection.contains(id); });
            if (layer.kind == Layer::Kind::zoom || goesWithAnother) return;
            const Layer moved = *findLayer(after, layer.id);
            const Transform from = move.placeOf(layer.id);
            const bool isSelected = move.selection.contains(layer.id);
            const bool hasPath = !layer.keyframes.empty();
            // What moves along keyframes with its base left behind shows the way in the keyframes alone.
            const Transform to = hasPath ? Interpolation::placement(moved, move.time).transform : moved.transform;
            RC_ASSERT(near(to.x, from.x + (isSelected ? move.way.x : 0)));
            RC_ASSERT(near(to.y, from.y + (isSelected ? move.way.y : 0)));
            if (!isSelected) RC_ASSERT(moved.keyframes == layer.keyframes);
        });
    }));
    EXPECT_GT(moves, 10);
}

CGPoint inScene(const PlacedLayer& placed)
{
    return {placed.parent.offset.x + placed.layer.transform.x, placed.parent.offset.y + placed.layer.transform.y};
}

TEST(CanvasDragLaws, InPlainGroupsThePlaceInTheSceneMovesByTheWay)
{
    int moves = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        BodyMove move(seed, {.transforms = false, .zooms = false, .stacks = false});
        if (!move.isBody) return;
        ++moves;
        const TweenScene after = move.hand.scene();
        for (const UUID& id : move.selection) {
            // A group that leaves its contents in place does so with what is selected in it.
            bool staysBehind = false;
            for (const UUID& ancestor : ancestorsOf(move.before, id)) {
                const Layer* group = findLayer(move.before, ancestor);
                staysBehind = staysBehind || (move.selection.contains(ancestor) &&
                                              group->groupSizeMode == GroupSizeMode::fixed && !group->groupFixedLocked);
            }
            if (staysBehind) continue;
            Interpolation::invalidate();
            const PlacedLayer from = placedLayer(move.before, id, move.time).value();
            Interpolation::invalidate();
            const PlacedLayer to = placedLayer(after, id, move.time).value();
            const CGPoint a = inScene(from), b = inScene(to);
            RC_ASSERT(near(b.x, a.x + move.way.x) && near(b.y, a.y + move.way.y));
        }
    }));
    EXPECT_GT(moves, 10);
}

std::vector<UUID> allIDs(const TweenScene& scene)
{
    std::vector<UUID> ids;
    walkLayers(scene.layers, [&](const Layer& layer) {
        ids.push_back(layer.id);
        ids.push_back(layer.videoClip.id);
        for (const Keyframe& keyframe : layer.keyframes) ids.push_back(keyframe.id);
        for (const TimeSpan& span : layer.spans) ids.push_back(span.id);
    });
    return ids;
}

TEST(CanvasDragLaws, AnOptionDragLeavesItsSourcesAndSharesNoIdWithThem)
{
    int clones = 0;
    EXPECT_TRUE(rc::check([&](std::uint64_t seed) {
        RandomLayerTree random(seed);
        const TweenScene before = random.scene();
        CanvasHand hand(before);
        hand.select(random.selection(before)).hold({.command = true, .option = true});
        hand.press(pointOnALayer(random, before, /*time=*/0)).moveTo(30, 20);
        const TweenScene after = hand.scene();
        const std::vector<UUID> ids = allIDs(after);
        RC_ASSERT(std::unordered_set<UUID>(ids.begin(), ids.end()).size() == ids.size());
        walkLayers(before.layers, [&](const Layer& layer) {
            const Layer* kept = findLayer(after, layer.id);
            RC_ASSERT(kept && kept->transform == layer.transform && kept->keyframes == layer.keyframes);
        });
        clones += after != before;
    }));
    EXPECT_GT(clones, 10);
}

} // namespace
} // namespace larkspool
