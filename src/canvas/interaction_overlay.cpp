#include "canvas/interaction_overlay.h"

#include "canvas/canvas_geometry.h"
#include "canvas/hit_testing.h"
#include "canvas/layer_copies.h"
#include "canvas/line_point_drag.h"
#include "canvas/selected_layers.h"
#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;
using Kind = InteractionOverlay::DragMode::Kind;

/// View points that a press may stray before it is a drag of the body, or a marquee.
constexpr double dragThreshold = 4;

/// A drag that comes to less than this on both axes, in scene units, writes nothing.
constexpr double leastMove = 0.001;

bool isFinite(CGPoint point)
{
    return std::isfinite(point.x) && std::isfinite(point.y);
}

bool isZero(CGPoint way)
{
    return way.x == 0 && way.y == 0;
}

double angleAbout(CGPoint center, CGPoint point)
{
    return std::atan2(point.y - center.y, point.x - center.x);
}

/// The rectangle between two corners.
CGRect rectangleOf(CGPoint a, CGPoint b)
{
    return {{std::min(a.x, b.x), std::min(a.y, b.y)}, {std::abs(a.x - b.x), std::abs(a.y - b.y)}};
}

/// Whether a marquee, which can be as thin as a line, reaches into the frame. Touching from outside does not count.
bool reachesInto(const CGRect& marquee, const CGRect& frame)
{
    const CGRect whole = frame.isNull() ? frame : unionOf(frame, frame);
    return !whole.isNull() && marquee.minX() < whole.maxX() && whole.minX() < marquee.maxX() && marquee.minY() < whole.maxY() &&
           whole.minY() < marquee.maxY();
}

/// Of the top-level layers that a marquee can select.
std::vector<std::pair<UUID, CGRect>> framesForMarquee(const TweenScene& scene, double time)
{
    std::vector<std::pair<UUID, CGRect>> frames;
    for (const Layer& layer : scene.layers) {
        if (layer.isHidden || !isVisible(layer, time)) continue;
        if (layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::fullScreen) continue;
        frames.emplace_back(layer.id, boxInParent(layer, time));
    }
    return frames;
}

CGRect movedBy(CGRect rect, CGPoint way)
{
    if (rect.isNull()) return rect;
    return {{rect.origin.x + way.x, rect.origin.y + way.y}, rect.size};
}

/// The handle, rotate handle or line point of the primary selected layer that the pointer is near.
struct HandleHit {
    UUID layerID{};
    SelectionFrame frame{};
    bool rotates = false;
    std::optional<SelectionHandle> handle{};
    std::optional<std::size_t> linePoint{};
    std::vector<CGPoint> linePoints{}; ///< In scene coordinates.
};

std::optional<HandleHit> handleHit(const TweenScene& scene, const LayerIDs& selection, double playhead, CGPoint view,
                                   const SceneFit& fit)
{
    const Layer* primary = selectedAnyLayer(scene, selection);
    if (!primary || !isOpenToEdits(scene, primary->id)) return std::nullopt;
    const std::optional<SelectionFrame> frame = selectionFrame(scene, primary->id, playhead);
    if (!frame) return std::nullopt;

    HandleHit hit{.layerID = primary->id, .frame = *frame};
    if (frame->isLine) {
        hit.linePoints = linePointsInScene(scene, primary->id, playhead);
        hit.linePoint = linePointAt(hit.linePoints, view, fit);
        return hit.linePoint ? std::optional(hit) : std::nullopt;
    }
    const CGPoint rotateHandle = rotateHandleViewPoint(*frame, fit);
    hit.rotates = std::hypot(view.x - rotateHandle.x, view.y - rotateHandle.y) <= handleRadius;
    if (!hit.rotates) hit.handle = handleAt(*frame, view, fit);
    return hit.rotates || hit.handle ? std::optional(hit) : std::nullopt;
}

} // namespace

InteractionOverlay::Settings InteractionOverlay::Settings::of(const UserDefaults& defaults)
{
    return {.keyframeAtPlayhead = defaults.boolean(DefaultsKey::keyframeAtPlayhead),
            .sizeAspectLocked = defaults.boolean(DefaultsKey::sizeAspectLocked)};
}

InteractionOverlay::InteractionOverlay(std::function<void()> beep, RandomSource& random)
    : beep_(std::move(beep)), random_(random)
{}

// --- Begin

const InteractionOverlay::Outcome& InteractionOverlay::beginDrag(const Pointer& pointer, Editor editor)
{
    state_ = {};
    state_.dragStartView = pointer.view;
    state_.dragStartScene = pointer.fit.sceneFromView(pointer.view);
    state_.panAtDragStart = editor.pan;
    state_.preDragScene = editor.scene;
    Outcome outcome{editor.scene, editor.selection, editor.pan};
    LayerIDs selection = editor.selection;
    drag_ = Drag{.editor = std::move(editor), .outcome = std::move(outcome), .beforeSelection = std::move(selection)};

    const Editor& held = drag_->editor;
    const CGPoint scenePt = state_.dragStartScene;
    if (!isFinite(scenePt)) {
        state_.dragMode = DragMode{Kind::pan};
        return drag_->outcome;
    }
    // What is selected can be taken hold of through what lies over it.
    const auto selectedHit = [&] { return topmostSelectedHit(held.scene, held.selection, scenePt, held.playhead); };
    const auto hit = [&] { return topmostHitLayerID(held.scene, scenePt, held.playhead); };
    if (pointer.modifiers.option) {
        std::optional<UUID> source = selectedHit();
        if (!source) source = hit();
        if (source) duplicateForOptionDrag(*source);
        else state_.dragMode = DragMode{Kind::pan};
        return drag_->outcome;
    }
    if (!beginOnHandles(pointer)) pressBody(pointer, selectedHit(), hit());
    return drag_->outcome;
}

void InteractionOverlay::duplicateForOptionDrag(const UUID& hit)
{
    Editor& editor = drag_->editor;
    const LayerIDs sources = editor.selection.contains(hit) ? editor.selection : LayerIDs{hit};
    std::size_t added = 0;
    for (const Layer* source : topmostSelected(editor.scene.layers, sources)) added += 1 + layerCount(source->children);
    if (!hasRoomFor(editor.scene, added)) {
        if (beep_) beep_();
        state_.dragMode = DragMode{Kind::pan};
        return;
    }
    CopiedIDs clones;
    duplicateInTree(editor.scene.layers, sources, namedCopies, clones, random_);

    LayerIDs selection;
    for (const auto& [source, clone] : clones) selection.insert(clone);
    // A selected layer in a selected group has been cloned with its group.
    UUID primary = hit;
    for (const UUID& ancestor : ancestorsOf(*state_.preDragScene, hit))
        if (clones.contains(ancestor)) primary = ancestor;
    editor.selection = selection;
    drag_->outcome.scene = editor.scene;
    drag_->outcome.selection = std::move(selection);
    drag_->isOptionDrag = true;
    state_.dragMutated = true;
    beginBody(clones.at(primary));
}

bool InteractionOverlay::beginOnHandles(const Pointer& pointer)
{
    const Editor& editor = drag_->editor;
    const std::optional<HandleHit> hit =
        handleHit(editor.scene, editor.selection, editor.playhead, pointer.view, pointer.fit);
    if (!hit) return false;

    const std::optional<PlacedLayer> primary = placedLayer(editor.scene, hit->layerID, editor.playhead);
    state_.initialLayer = primary->layer;
    if (hit->linePoint) {
        beginLinePoint(hit->layerID, *hit->linePoint, hit->linePoints);
        return true;
    }
    state_.initialMultiTransforms = snapshotInitialTransforms(editor.scene, editor.selection, editor.playhead);
    if (hit->rotates) {
        state_.dragMode = DragMode{Kind::rotate};
        state_.rotateCenter = hit->frame.pivot;
        state_.rotateStartAngle = angleAbout(state_.rotateCenter, state_.dragStartScene);
        return true;
    }
    state_.dragMode = DragMode::resize(*hit->handle);
    drag_->handleCursor = cursorForHandle(hit->frame, *hit->handle);
    drag_->selectionBox = unionAABBOfSelected(editor.scene, editor.selection, editor.playhead);
    drag_->resize = ResizeBegin{.layer = primary->layer,
                                .ancestorOffset = primary->parent.offset,
                                .scene = editor.scene.size()};
    if (const Layer* zoom = pipParentZoom(editor.scene, hit->layerID))
        drag_->resize->parentZoomSize = Interpolation::placement(*zoom, editor.playhead).size;
    return true;
}

void InteractionOverlay::beginLinePoint(const UUID& layerID, std::size_t point, const std::vector<CGPoint>& scenePoints)
{
    state_.linePointDragIndex = point;
    state_.linePointDragLayerID = layerID;
    state_.linePointDragInitialScene = scenePoints[point];
    state_.linePointPreDragScene = drag_->editor.scene;
    if (state_.initialLayer->lineShape != LineShape::freeform) state_.lineEndpointFixedScene = scenePoints[point == 0 ? 1 : 0];
    const AffineTransform toScene = placedLayer(drag_->editor.scene, layerID, drag_->editor.playhead)->parent.toScene;
    if (toScene.determinant() != 0 && std::isfinite(toScene.determinant())) drag_->sceneToLine = toScene.inverted();
}

void InteractionOverlay::rememberDrill(const UUID& hit)
{
    const Editor& editor = drag_->editor;
    const Layer* layer = findLayer(editor.scene, hit);
    if (!layer || layer->kind != Layer::Kind::group) return;
    if (!editor.selection.contains(hit) && !selectionContainsDescendant(editor.selection, *layer)) return;
    const Transform place = Interpolation::placement(*layer, editor.playhead).transform;
    state_.pendingDrillChildID = topmostChildHit(*layer, state_.dragStartScene, {place.x, place.y}, editor.playhead);
}

void InteractionOverlay::pressBody(const Pointer& pointer, std::optional<UUID> selectedHit, std::optional<UUID> hit)
{
    if (!selectedHit && !hit) return beginMarquee(pointer);

    Editor& editor = drag_->editor;
    if (hit) rememberDrill(*hit);
    if (selectedHit) {
        if (hit && !editor.selection.contains(*hit) && !state_.pendingDrillChildID) state_.clickFallbackTopID = hit;
        return beginBody(*selectedHit);
    }
    if (!pointer.modifiers.shift) editor.selection.clear();
    editor.selection.insert(*hit);
    drag_->outcome.selection = editor.selection;
    beginBody(*hit);
}

void InteractionOverlay::beginBody(const UUID& pressed)
{
    const Editor& editor = drag_->editor;
    state_.dragMode = DragMode{Kind::body};
    drag_->index.emplace(editor.scene);
    state_.initialMultiTransforms = snapshotInitialTransforms(editor.scene, editor.selection, editor.playhead);

    // A layer below another selected one goes with that.
    UUID mover = pressed;
    for (const UUID& ancestor : ancestorsOf(editor.scene, pressed))
        if (editor.selection.contains(ancestor)) mover = ancestor;
    const auto found = std::ranges::find(state_.initialMultiTransforms, mover, &InitialTransform::layerID);
    if (found != state_.initialMultiTransforms.end()) {
        drag_->primary = static_cast<std::size_t>(found - state_.initialMultiTransforms.begin());
        state_.initialLayer = Interpolation::resolve(*drag_->index->find(editor.scene, found->place), editor.playhead);
    }
    drag_->selectionBox = unionAABBOfSelected(editor.scene, editor.selection, editor.playhead);
    SnapTargets targets = cacheSnapTargets(editor.scene, editor.selection, editor.playhead);
    state_.cachedSnapX = std::move(targets.x);
    state_.cachedSnapY = std::move(targets.y);
}

void InteractionOverlay::beginMarquee(const Pointer& pointer)
{
    Editor& editor = drag_->editor;
    state_.dragMode = DragMode{Kind::marquee};
    if (!pointer.modifiers.shift) editor.selection.clear();
    state_.marqueeBaseSelection = editor.selection;
    drag_->outcome.selection = editor.selection;
    drag_->marqueeFrames = framesForMarquee(editor.scene, editor.playhead);
}

// --- Update

const InteractionOverlay::Outcome& InteractionOverlay::applyDrag(const Pointer& pointer)
{
    static const Outcome none{};
    if (!drag_) return none;
    if (!isFinite(pointer.view) || !isFinite(wayInScene(pointer))) return drag_->outcome;
    if (state_.linePointDragIndex) {
        applyLinePoint(pointer);
        return drag_->outcome;
    }
    switch (state_.dragMode->kind) {
    case Kind::pan:
        drag_->outcome.pan = {state_.panAtDragStart.x + pointer.view.x - state_.dragStartView.x,
                              state_.panAtDragStart.y + pointer.view.y - state_.dragStartView.y};
        break;
    case Kind::marquee: applyMarquee(pointer); break;
    case Kind::body: applyBody(pointer); break;
    case Kind::rotate: applyRotate(pointer); break;
    case Kind::resize: applyResize(pointer); break;
    }
    return drag_->outcome;
}

CGPoint InteractionOverlay::wayInScene(const Pointer& pointer) const
{
    const CGPoint now = pointer.fit.sceneFromView(pointer.view);
    return {now.x - state_.dragStartScene.x, now.y - state_.dragStartScene.y};
}

double InteractionOverlay::travel(const Pointer& pointer) const
{
    return std::hypot(pointer.view.x - state_.dragStartView.x, pointer.view.y - state_.dragStartView.y);
}

void InteractionOverlay::restoreScene()
{
    drag_->outcome.scene = drag_->editor.scene;
    state_.dragMutated = drag_->isOptionDrag;
}

KeyframedWriting InteractionOverlay::writing() const
{
    return {.playhead = drag_->editor.playhead,
            .keyframeAtPlayhead = drag_->editor.settings.keyframeAtPlayhead,
            .random = &random_};
}

template <typename Work>
void InteractionOverlay::mutateSelected(const Work& work)
{
    TweenScene scene = drag_->editor.scene;
    if (Layer* layer = editLayer(scene, state_.initialLayer->id)) work(*layer);
    drag_->outcome.scene = std::move(scene);
    state_.dragMutated = true;
}

void InteractionOverlay::applyMarquee(const Pointer& pointer)
{
    if (travel(pointer) >= dragThreshold) state_.bodyDragArmed = true;
    if (!state_.bodyDragArmed) return;
    const CGRect marquee = rectangleOf(state_.dragStartScene, pointer.fit.sceneFromView(pointer.view));
    state_.marqueeRect = marquee;
    LayerIDs selection = state_.marqueeBaseSelection;
    for (const auto& [layerID, frame] : drag_->marqueeFrames)
        if (reachesInto(marquee, frame)) selection.insert(layerID);
    drag_->outcome.selection = std::move(selection);
}

bool InteractionOverlay::walkCheck()
{
    if (drag_->isInWait) return *drag_->isInWait;
    constexpr Property ofBody[] = {Property::x, Property::y}, ofResize[] = {Property::width, Property::height};
    const bool isBody = state_.dragMode->kind == Kind::body;
    const std::span<const Property> properties(isBody ? ofBody : ofResize);
    const Editor& editor = drag_->editor;
    bool isHeld = false;
    walkLayers(editor.scene.layers, [&](const Layer& layer) {
        isHeld = isHeld || (editor.selection.contains(layer.id) && isInWait(layer, editor.playhead, properties));
    });
    drag_->isInWait = isHeld;
    return isHeld;
}

bool InteractionOverlay::isHeldByWait(const Pointer& pointer, CGPoint way)
{
    if (!walkCheck()) return false;
    restoreScene();
    clearGuides();
    // A resize has no threshold of its own; a hold is not edited before the refusal is told either.
    if (!state_.waitGhostActive && travel(pointer) < dragThreshold) return true;
    if (!state_.waitGhostActive && beep_) beep_();
    state_.waitGhostActive = true;
    state_.waitGhostRect = movedBy(drag_->selectionBox, way);
    return true;
}

void InteractionOverlay::applyBody(const Pointer& pointer)
{
    if (travel(pointer) >= dragThreshold) state_.bodyDragArmed = true;
    if (!state_.bodyDragArmed || !drag_->primary) return;

    CGPoint way = wayInScene(pointer);
    const bool isAxisLocked = pointer.modifiers.shift;
    const bool xLocked = isAxisLocked && std::abs(way.x) < std::abs(way.y), yLocked = isAxisLocked && !xLocked;
    if (xLocked) way.x = 0;
    if (yLocked) way.y = 0;
    if (isHeldByWait(pointer, way)) return;

    clearGuides();
    // Back at the begin nothing has moved, wherever the layers stand and whatever is near.
    if (isZero(way)) return restoreScene();
    way = snappedWay(way, xLocked, yLocked, pointer);
    if (std::abs(way.x) <= leastMove && std::abs(way.y) <= leastMove) return restoreScene();

    const Editor& editor = drag_->editor;
    TweenScene scene = editor.scene;
    const KeyframedWriting how = writing();
    for (const InitialTransform& origin : state_.initialMultiTransforms)
        if (Layer* layer = drag_->index->edit(scene, origin.place))
            applyBodyDelta(*layer, origin, way.x, way.y, scene.size(), how);
    drag_->outcome.scene = std::move(scene);
    state_.dragMutated = true;
}

CGPoint InteractionOverlay::snappedWay(CGPoint way, bool xLocked, bool yLocked, const Pointer& pointer)
{
    if (!pointer.modifiers.command && !drag_->selectionBox.isNull()) {
        const double radius = snapRadius(pointer.fit);
        if (!xLocked) {
            const SnapCatch across = caught(SnapEdges::acrossOf(drag_->selectionBox), way.x, state_.cachedSnapX, radius);
            way.x = across.delta;
            setGuideX(across.target);
        }
        if (!yLocked) {
            const SnapCatch down = caught(SnapEdges::downOf(drag_->selectionBox), way.y, state_.cachedSnapY, radius);
            way.y = down.delta;
            setGuideY(down.target);
        }
    }
    const Transform& origin = state_.initialMultiTransforms[*drag_->primary].transform;
    return {xLocked ? 0 : std::round(origin.x + way.x) - origin.x, yLocked ? 0 : std::round(origin.y + way.y) - origin.y};
}

void InteractionOverlay::applyRotate(const Pointer& pointer)
{
    if (isZero(wayInScene(pointer))) return restoreScene();
    const double angle = angleAbout(state_.rotateCenter, pointer.fit.sceneFromView(pointer.view));
    const double rotation =
        draggedRotation(state_.initialLayer->transform.rotation, state_.rotateStartAngle, angle, pointer.modifiers);
    mutateSelected([&](Layer& layer) { writeProperty(layer, Property::rotation, rotation, writing()); });
}

void InteractionOverlay::applyResize(const Pointer& pointer)
{
    const CGPoint way = wayInScene(pointer);
    if (isHeldByWait(pointer, {})) return;
    if (isZero(way)) return restoreScene();
    const CGRect box = resizedBox(*drag_->resize, {.handle = state_.dragMode->handle,
                                                   .delta = way,
                                                   .modifiers = pointer.modifiers,
                                                   .fit = pointer.fit,
                                                   .sizeAspectLocked = drag_->editor.settings.sizeAspectLocked});
    mutateSelected([&](Layer& layer) { upsertResizeKeyframes(layer, box, writing()); });
}

void InteractionOverlay::applyLinePoint(const Pointer& pointer)
{
    const CGPoint way = wayInScene(pointer);
    if (isZero(way)) return restoreScene();
    // The point keeps its distance to the pointer, which has not hit it in the middle.
    const CGPoint point{state_.linePointDragInitialScene.x + way.x, state_.linePointDragInitialScene.y + way.y};
    const CGPoint inLine = drag_->sceneToLine.apply(point);
    mutateSelected([&](Layer& layer) {
        layer = withLinePointAt(std::move(layer), *state_.initialLayer, *state_.linePointDragIndex, inLine, writing());
    });
}

void InteractionOverlay::setGuideX(const SnapTarget* target)
{
    state_.activeGuideX = target ? std::optional(target->value) : std::nullopt;
    state_.activeGuideXFromLayer = target && target->fromLayer;
    state_.activeGuideXLabel = target ? target->label : std::string();
}

void InteractionOverlay::setGuideY(const SnapTarget* target)
{
    state_.activeGuideY = target ? std::optional(target->value) : std::nullopt;
    state_.activeGuideYFromLayer = target && target->fromLayer;
    state_.activeGuideYLabel = target ? target->label : std::string();
}

void InteractionOverlay::clearGuides()
{
    setGuideX(nullptr);
    setGuideY(nullptr);
}

// --- End

namespace {

std::string_view actionNameOf(const InteractionOverlay::State& state)
{
    if (state.linePointDragIndex) return "Move Line Point";
    switch (state.dragMode->kind) {
    case Kind::body: return "Move";
    case Kind::rotate: return "Rotate";
    case Kind::resize: return "Resize";
    case Kind::pan:
    case Kind::marquee: break;
    }
    return "Canvas Edit";
}

/// What a drag leaves: the targets, to the next begin.
InteractionOverlay::State emptied(InteractionOverlay::State state)
{
    InteractionOverlay::State empty;
    empty.cachedSnapX = std::move(state.cachedSnapX);
    empty.cachedSnapY = std::move(state.cachedSnapY);
    return empty;
}

} // namespace

void InteractionOverlay::finishClick(Modifiers modifiers)
{
    const std::optional<UUID> clicked = state_.pendingDrillChildID ? state_.pendingDrillChildID : state_.clickFallbackTopID;
    if (!clicked) return;
    // The press may have selected the group around what is clicked.
    drag_->outcome.selection = modifiers.shift ? drag_->beforeSelection : LayerIDs{};
    drag_->outcome.selection.insert(*clicked);
}

InteractionOverlay::End InteractionOverlay::endDrag(Modifiers modifiers)
{
    if (!drag_) return {};
    const bool isClick = state_.dragMode == DragMode{Kind::body} && !state_.bodyDragArmed && !drag_->isOptionDrag;
    if (isClick) finishClick(modifiers);
    End end{.outcome = std::move(drag_->outcome)};
    if (state_.dragMutated && end.outcome.scene != *state_.preDragScene) end.actionName = actionNameOf(state_);
    drag_.reset();
    state_ = emptied(std::move(state_));
    return end;
}

InteractionOverlay::Outcome InteractionOverlay::cancelDrag()
{
    if (!drag_) return {};
    Outcome begun{std::move(*state_.preDragScene), std::move(drag_->beforeSelection), state_.panAtDragStart};
    drag_.reset();
    state_ = emptied(std::move(state_));
    return begun;
}

// --- Cursor

CanvasCursor InteractionOverlay::dragCursor() const
{
    if (state_.linePointDragIndex) return CanvasCursor::pointer;
    switch (state_.dragMode->kind) {
    case Kind::pan:
    case Kind::rotate: return CanvasCursor::closedHand;
    case Kind::resize: return drag_->handleCursor;
    case Kind::body: return drag_->isOptionDrag ? CanvasCursor::copy : CanvasCursor::pointer;
    case Kind::marquee: break;
    }
    return CanvasCursor::arrow;
}

CanvasCursor InteractionOverlay::updateCursor(const Pointer& pointer, const Editor& editor,
                                              const std::function<void(CanvasCursor)>& setCursor)
{
    const auto wanted = [&] {
        if (drag_) return dragCursor();
        if (pointer.modifiers.option) return CanvasCursor::openHand;
        if (const auto hit = handleHit(editor.scene, editor.selection, editor.playhead, pointer.view, pointer.fit)) {
            if (hit->rotates) return CanvasCursor::closedHand;
            if (hit->handle) return cursorForHandle(hit->frame, *hit->handle);
        }
        const CGPoint scenePt = pointer.fit.sceneFromView(pointer.view);
        return topmostHitLayerID(editor.scene, scenePt, editor.playhead) ? CanvasCursor::pointer : CanvasCursor::arrow;
    };
    const CanvasCursor cursor = wanted();
    if (lastCursor_ != cursor && setCursor) setCursor(cursor);
    lastCursor_ = cursor;
    return cursor;
}

} // namespace larkspool
