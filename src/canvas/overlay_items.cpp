#include "canvas/overlay_items.h"

#include "canvas/canvas_geometry.h"
#include "canvas/hit_testing.h"
#include "editing/scene_lookup.h"

#include <algorithm>

namespace larkspool {

namespace {

using Editor = InteractionOverlay::Editor;

CGRect inView(const CGRect& rect, const SceneFit& fit)
{
    const CGRect upright = unionOf(rect, rect); // A mirrored box has its origin at the right or the bottom.
    return {fit.viewFromScene(upright.origin), {upright.size.width * fit.scale, upright.size.height * fit.scale}};
}

std::optional<CGRect> inView(const std::optional<CGRect>& rect, const SceneFit& fit)
{
    return rect && !rect->isNull() ? std::optional(inView(*rect, fit)) : std::nullopt;
}

std::optional<OverlayItems::Frame> primaryFrame(const Editor& editor, const SceneFit& fit)
{
    const Layer* primary = selectedAnyLayer(editor.scene, editor.selection);
    if (!primary) return std::nullopt;
    const std::optional<SelectionFrame> frame = selectionFrame(editor.scene, primary->id, editor.playhead);
    if (!frame) return std::nullopt;

    OverlayItems::Frame drawn;
    constexpr SelectionHandle corners[] = {SelectionHandle::nw, SelectionHandle::ne, SelectionHandle::se, SelectionHandle::sw};
    for (std::size_t i = 0; i < 4; ++i) drawn.corners[i] = frame->viewPoint(corners[i], fit);
    // What cannot be edited shows its frame alone.
    if (!isOpenToEdits(editor.scene, primary->id)) return drawn;
    if (frame->isLine) {
        for (const CGPoint& point : linePointsInScene(editor.scene, primary->id, editor.playhead))
            drawn.linePoints.push_back(fit.viewFromScene(point));
        return drawn;
    }
    drawn.rotateHandle = rotateHandleViewPoint(*frame, fit);
    if (!frame->canResize) return drawn;
    for (std::size_t i = 0; i < selectionHandleCount; ++i)
        drawn.handles.push_back(frame->viewPoint(static_cast<SelectionHandle>(i), fit));
    return drawn;
}

std::vector<OverlayItems::Guide> activeGuides(const InteractionOverlay::State& state, const SceneFit& fit)
{
    using Axis = OverlayItems::Guide::Axis;
    std::vector<OverlayItems::Guide> guides;
    if (state.activeGuideX)
        guides.push_back({Axis::x, fit.viewFromScene({*state.activeGuideX, 0}).x, state.activeGuideXFromLayer,
                          state.activeGuideXLabel});
    if (state.activeGuideY)
        guides.push_back({Axis::y, fit.viewFromScene({0, *state.activeGuideY}).y, state.activeGuideYFromLayer,
                          state.activeGuideYLabel});
    return guides;
}

bool hasPositionKeyframes(const Layer& layer)
{
    return hasKeyframes(layer, Keyframe::AnimatableProperty::x) || hasKeyframes(layer, Keyframe::AnimatableProperty::y);
}

} // namespace

OverlayItems overlayItems(const InteractionOverlay::State& state, const Editor& editor, const SceneFit& fit)
{
    OverlayItems items{.frame = primaryFrame(editor, fit),
                       .guides = activeGuides(state, fit),
                       .waitGhost = inView(state.waitGhostRect, fit),
                       .marquee = inView(state.marqueeRect, fit),
                       .dragModeToggle = dragModeToggle(editor, fit)};
    if (editor.selection.size() > 1)
        items.selectionBox = inView(unionAABBOfSelected(editor.scene, editor.selection, editor.playhead), fit);
    walkPlacedLayers(editor.scene.layers, {}, editor.playhead, [&](const Layer& layer, const ParentFrame& parent) {
        if (layer.kind != Layer::Kind::group || !editor.selection.contains(layer.id)) return;
        if (const auto outline = inView(std::optional(sceneBox(layer, parent, editor.playhead)), fit))
            items.groupOutlines.push_back(*outline);
        if (const auto pill = fixedGroupLockPill(editor, layer.id, fit)) items.pills.push_back(*pill);
    });
    return items;
}

std::optional<OverlayItems::Pill> fixedGroupLockPill(const Editor& editor, const UUID& layerID, const SceneFit& fit)
{
    const std::optional<PlacedLayer> group = placedLayer(editor.scene, layerID, editor.playhead);
    if (!group || group->layer.kind != Layer::Kind::group || group->layer.groupSizeMode != GroupSizeMode::fixed)
        return std::nullopt;
    const bool locked = group->layer.groupFixedLocked;
    const CGRect box = inView(sceneBox(group->layer, group->parent, editor.playhead), fit);
    return OverlayItems::Pill{layerID, locked, locked ? lockedGroupText : unlockedGroupText, box.origin, box};
}

std::optional<OverlayItems::DragModeToggle> dragModeToggle(const Editor& editor, const SceneFit& fit)
{
    bool isKeyframed = false;
    if (!editor.selection.empty())
        walkLayers(editor.scene.layers, [&](const Layer& layer) {
            isKeyframed = isKeyframed || (editor.selection.contains(layer.id) && hasPositionKeyframes(layer));
        });
    if (!isKeyframed) return std::nullopt;
    const std::optional<CGPoint> anchor = dragModeToggleMultiAnchor(editor, fit);
    if (!anchor) return std::nullopt;
    return OverlayItems::DragModeToggle{.keyframeAtPlayhead = editor.settings.keyframeAtPlayhead, .anchor = *anchor};
}

std::optional<CGPoint> dragModeToggleMultiAnchor(const Editor& editor, const SceneFit& fit)
{
    const CGRect box = unionAABBOfSelected(editor.scene, editor.selection, editor.playhead);
    if (box.isNull()) return std::nullopt;
    const CGRect shown = inView(box, fit);
    return CGPoint{shown.maxX(), shown.minY()};
}

} // namespace larkspool
