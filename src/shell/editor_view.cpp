#include "shell/editor_view.h"

#include "timeline/keyframe_tracks.h"
#include "timeline/pulses_track.h"
#include "timeline/selection.h"

#include <utility>

namespace larkspool {

EditorView::EditorView(TweenDocument document, Services services)
    : services_(std::move(services)),
      state_{.document = std::move(document)},
      commit_(state_, &undoManager_, services_.steps),
      colorBatch_(commit_, services_.timers),
      scrub_(commit_),
      overlay_(services_.beep),
      autoScroll_(services_.timers, [this](double seconds) { scrollTimeline(seconds); })
{}

void EditorView::endWhatIsUnderWay()
{
    if (overlay_.isDragging()) {
        const InteractionOverlay::State& press = overlay_.state();
        if (press.bodyDragArmed || press.dragMutated)
            releaseCanvas({});
        else
            cancelCanvasPress(); // It is no drag yet, and no click either.
    }
    if (press_ && press_->gesture) releaseTimelineItems({});
    cancelTimelinePress(); // One that is no drag yet is no tap either.
    endMarquee();
    scrub_.scrubEnd();
    colorBatch_.commitColorBatch();
}

void EditorView::mutate(std::string_view actionName, const SharedCommit::Work& work)
{
    endWhatIsUnderWay();
    commit_.mutate(actionName, work);
}

void EditorView::mutateDocument(std::string_view actionName, const SharedCommit::DocumentWork& work)
{
    endWhatIsUnderWay();
    commit_.mutateDocument(actionName, work);
}

void EditorView::undo()
{
    endWhatIsUnderWay();
    undoManager_.undo();
}

void EditorView::redo()
{
    endWhatIsUnderWay();
    undoManager_.redo();
}

bool EditorView::perform(std::optional<Edit> edit)
{
    if (!edit) return false;
    endWhatIsUnderWay();
    commit_.commit(std::move(*edit));
    return true;
}

bool EditorView::deleteTimelineSelection()
{
    return perform(larkspool::deleteTimelineSelection(state_));
}

void EditorView::selectAllAtPlayhead()
{
    selectTimelineItems(larkspool::selectAllAtPlayhead(state_));
}

bool EditorView::addKeyframesAtPlayhead()
{
    return perform(larkspool::addKeyframesAtPlayhead(state_.scene(), state_.selectedLayerIDs, state_.playhead));
}

bool EditorView::addKeyframeAtPlayhead(const UUID& layerID, Keyframe::AnimatableProperty property)
{
    return perform(larkspool::addKeyframeAtPlayhead(state_.scene(), layerID, property, state_.playhead));
}

bool EditorView::addPulseAtPlayhead(const UUID& layerID)
{
    return perform(PulsesTrack::addPulse(state_.scene(), layerID, state_.playhead));
}

void EditorView::cycleRippleSettings()
{
    larkspool::cycleRippleSettings(services_.defaults, state_);
}

RippleSetting EditorView::rippleSetting(TimelineRippleMode mode) const
{
    return {mode, editorRippleScopeIDs(services_.defaults, state_)};
}

bool EditorView::performRippled(std::optional<RippledEdit> edit)
{
    if (!edit) return false;
    endWhatIsUnderWay();
    commit_.commit(std::move(edit->edit));
    for (const std::size_t count : edit->rippled) announceRipple(count);
    return true;
}

SelectionMoveTargets EditorView::collectSelectionMoveTargets() const
{
    return larkspool::collectSelectionMoveTargets(scene(), state_.timelineSelection);
}

bool EditorView::applyMoveDelta(double delta, TimelineRippleMode ripple, std::string_view actionName)
{
    return performRippled(
        larkspool::applyMoveDelta(scene(), state_.timelineSelection, delta, rippleSetting(ripple), actionName));
}

bool EditorView::applyMoveAbsolute(double time, std::string_view actionName)
{
    return perform(larkspool::applyMoveAbsolute(scene(), state_.timelineSelection, time, actionName));
}

bool EditorView::moveToPlayhead()
{
    return applyMoveAbsolute(state_.playhead, "Move to Playhead");
}

bool EditorView::applyDilate(double scale, DilateAnchor anchor, TimelineRippleMode ripple, std::string_view actionName)
{
    return performRippled(
        larkspool::applyDilate(scene(), state_.timelineSelection, scale, anchor, rippleSetting(ripple), actionName));
}

bool EditorView::distributeSelectedSpans(double gap)
{
    return perform(larkspool::distributeSelectedSpans(scene(), state_.timelineSelection, gap));
}

bool EditorView::staggerSelectedSpans(double amount, double curve, StaggerOrder order)
{
    return perform(larkspool::staggerSelectedSpans(scene(), state_.timelineSelection, amount, curve, order));
}

bool EditorView::applySpanInOut(InOutPoint point)
{
    return performRippled(larkspool::applySpanInOut(state_, point, rippleSetting(editorRippleMode(services_.defaults))));
}

MoveItemsSheet EditorView::moveItemsSheet()
{
    const TweenScene active = scene();
    const auto confirm = [this](MoveItemsSheet::Mode mode, double value, TimelineRippleMode ripple) {
        if (mode == MoveItemsSheet::Mode::delta)
            applyMoveDelta(value, ripple, "Move Selection");
        else
            applyMoveAbsolute(value, "Move Selection");
    };
    return MoveItemsSheet({.sceneDuration = active.duration,
                           .fps = active.fps,
                           .targets = collectSelectionMoveTargets(),
                           .defaults = services_.defaults,
                           .onConfirm = confirm});
}

DilateItemsSheet EditorView::dilateItemsSheet()
{
    const auto confirm = [this](double scale, DilateAnchor anchor, TimelineRippleMode ripple) {
        applyDilate(scale, anchor, ripple, "Dilate Selection");
    };
    return DilateItemsSheet({.sceneDuration = scene().duration,
                             .targets = collectSelectionMoveTargets(),
                             .defaults = services_.defaults,
                             .onConfirm = confirm});
}

RetimeSheet& EditorView::openRetimeSheet()
{
    closeRetimeSheet();
    endWhatIsUnderWay();
    return retimeSheet_.emplace(RetimeSheet::Opening{
        .read = [this] { return scene(); },
        .write = [this](TweenScene scene) { commit_.show(std::move(scene)); },
        .finish = [this](TweenScene before) { commit_.onCommit(RetimeSheet::actionName, std::move(before)); },
        .setPlayhead = [this](double seconds) { setPlayhead(seconds); },
        .timers = services_.timers,
        .ripple = retimeRipple(editorRippleMode(services_.defaults)),
        .rippleScopeLayerIDs = editorRippleScopeIDs(services_.defaults, state_)});
}

void EditorView::closeRetimeSheet()
{
    if (!retimeSheet_) return;
    retimeSheet_->finalizeUndo();
    retimeSheet_.reset();
}

DragSetting EditorView::dragSetting(double trackWidth, double bodyTrigger) const
{
    const TweenScene scene = state_.scene();
    return {.scene = scene,
            .selection = state_.timelineSelection,
            .playhead = state_.playhead,
            .trackWidth = trackWidth,
            .visibleSeconds = shownViewport(activeViewport(state_), scene.duration).visibleDuration,
            .bodyTrigger = bodyTrigger,
            .snapping = SnapSettings::of(services_.defaults),
            .rippleMode = editorRippleMode(services_.defaults),
            .rippleScope = editorRippleScopeIDs(services_.defaults, state_)};
}

InteractionOverlay::Editor EditorView::overlayEditor(CGPoint pan) const
{
    return {scene(), state_.selectedLayerIDs, state_.playhead, pan, InteractionOverlay::Settings::of(services_.defaults)};
}

CGPoint EditorView::showCanvasDrag(const InteractionOverlay::Outcome& outcome)
{
    larkspool::selectLayers(state_, outcome.selection);
    if (!(outcome.scene == scene())) canvasGesture_->update(outcome.scene);
    return outcome.pan;
}

CGPoint EditorView::pressCanvas(const InteractionOverlay::Pointer& pointer, CGPoint pan)
{
    endWhatIsUnderWay();
    canvasGesture_.emplace(commit_);
    return showCanvasDrag(overlay_.beginDrag(pointer, overlayEditor(pan)));
}

CGPoint EditorView::dragCanvas(const InteractionOverlay::Pointer& pointer)
{
    return showCanvasDrag(overlay_.applyDrag(pointer));
}

CGPoint EditorView::releaseCanvas(Modifiers modifiers)
{
    const InteractionOverlay::End end = overlay_.endDrag(modifiers);
    showCanvasDrag(end.outcome);
    if (end.actionName) canvasGesture_->end(*end.actionName);
    canvasGesture_.reset();
    return end.outcome.pan;
}

CGPoint EditorView::cancelCanvasPress()
{
    const InteractionOverlay::Outcome outcome = overlay_.cancelDrag();
    showCanvasDrag(outcome);
    canvasGesture_.reset();
    return outcome.pan;
}

OverlayItems EditorView::canvasOverlay(const SceneFit& fit) const
{
    return overlayItems(overlay_.state(), overlayEditor({}), fit);
}

std::optional<OverlayItems::DragModeToggle> EditorView::dragModeToggle(const SceneFit& fit) const
{
    return larkspool::dragModeToggle(overlayEditor({}), fit);
}

CanvasCursor EditorView::canvasCursor(const InteractionOverlay::Pointer& pointer)
{
    return overlay_.updateCursor(pointer, overlayEditor({}), {});
}

void EditorView::tapTimelineItems(std::span<const TimelineItemRef> members, Modifiers modifiers)
{
    larkspool::tapTimelineItems(state_, members, modifiers);
}

void EditorView::pressTimelineItems(DragPress press, double trackWidth, double bodyTrigger)
{
    cancelTimelinePress();
    press_.emplace(Press{TimelineItemDrag(std::move(press), dragSetting(trackWidth, bodyTrigger)), state_, trackWidth});
}

void EditorView::dragTimelineItems(CGPoint translation, Modifiers modifiers)
{
    if (!press_) return;
    const bool wasDragging = press_->drag.isDragging();
    std::optional<TimelineItemDrag::Update> update = press_->drag.update(translation, modifiers);
    if (!update) return;
    if (!wasDragging) {
        press_->gesture.emplace(commit_);
        selectTimelineItems(press_->drag.selection());
        const std::vector<TimelineItemRef> members = press_->drag.tappedMembers();
        if (members.size() == 1) makePrimary(state_, members.front());
    }
    snapState_.time = update->snapTime;
    press_->gesture->update(std::move(update->scene));
    showTrimOverlay();
}

void EditorView::showTrimOverlay()
{
    const DragPress& press = press_->drag.press();
    const TweenScene scene = state_.scene();
    const TrackMapping mapping =
        TrackMapping::of(activeViewport(state_), scene.duration, press.trackOrigin.x, press_->trackWidth);
    videoTrimOverlay_ = VideoClipTrack::trimOverlay(scene, press, mapping, press.trackOrigin.y);
}

bool EditorView::releaseTimelineItems(Modifiers modifiers)
{
    if (!press_) return false;
    Press press = *std::exchange(press_, std::nullopt);
    snapState_.time.reset();
    videoTrimOverlay_.reset();
    if (!press.gesture) {
        tapTimelineItems(press.drag.tappedMembers(), modifiers);
        return false;
    }
    const bool recorded = press.gesture->end(press.drag.actionName());
    announceRipple(press.drag.end());
    return recorded;
}

void EditorView::cancelTimelinePress()
{
    if (!press_) return;
    const Press press = *std::exchange(press_, std::nullopt);
    snapState_.time.reset();
    videoTrimOverlay_.reset();
    if (!press.gesture) return;
    commit_.show(press.gesture->before());
    state_.timelineSelection = press.before.timelineSelection;
    state_.selectedKeyframeID = press.before.selectedKeyframeID;
    state_.selectedSpanID = press.before.selectedSpanID;
}

void EditorView::announceRipple(std::optional<std::size_t> count)
{
    if (!count) return;
    toast_.show(*count, services_.timers.now());
    if (services_.rippleApplied) services_.rippleApplied(*count);
}

void EditorView::beginMarquee(CGPoint start)
{
    marquee_.emplace(state_, start);
}

void EditorView::updateMarquee(CGPoint end, std::optional<std::span<const UUID>> layers, std::span<const PerLayerTrackBand> bands,
                               double leftGutter, double containerWidth, Modifiers modifiers)
{
    if (!marquee_) return;
    const std::optional<TimelineViewport> viewport = activeViewport(state_);
    const TimelineMarquee::Rows rows{bands, trackMapping(viewport, state_.scene().duration, leftGutter, containerWidth)};
    selectTimelineItems(layers ? marquee_->applyPerLayerMarquee(end, *layers, rows, modifiers)
                               : marquee_->applyAggregateMarquee(end, rows, modifiers));
    autoScroll_.updateMarqueeAutoScroll(marqueeScrollSpeed(end.x, containerWidth, leftGutter, viewport));
}

void EditorView::shiftMarquee(double points)
{
    if (marquee_) marquee_->shift(points);
}

void EditorView::endMarquee()
{
    marquee_.reset();
    autoScroll_.stop();
}

void EditorView::setActiveScene(std::int64_t index)
{
    TweenDocument& document = state_.document;
    document.activeSceneIndex = index;
    document.activeSceneIndex = static_cast<std::int64_t>(document.clampedActiveSceneIndex());
    if (services_.steps.invalidate) services_.steps.invalidate();
}

void EditorView::replaceDocument(std::string_view actionName, TweenDocument document)
{
    endWhatIsUnderWay();
    commit_.confirmNumericUndoGate();
    exchangeDocument(std::move(document));
    undoManager_.setActionName(actionName);
}

/// The way back is registered meanwhile, so that undoing and redoing are the same again.
void EditorView::exchangeDocument(TweenDocument document)
{
    undoManager_.registerUndo([this, before = state_.document] { exchangeDocument(before); });
    const std::int64_t active = state_.document.activeSceneIndex;
    state_.document = std::move(document);
    setActiveScene(active);
    dropDeadReferences(state_);
}

bool EditorView::selectScene(std::int64_t index)
{
    endWhatIsUnderWay();
    const std::size_t before = state_.document.clampedActiveSceneIndex();
    setActiveScene(index);
    if (state_.document.clampedActiveSceneIndex() == before) return false;
    state_.playhead = 0;
    larkspool::selectLayers(state_, {});
    larkspool::selectTimelineItems(state_, {});
    state_.selectedKeyframeID.reset();
    state_.selectedSpanID.reset();
    return true;
}

void EditorView::editDocument(const std::function<void(TweenDocument& document)>& work)
{
    endWhatIsUnderWay();
    work(state_.document);
    if (services_.steps.invalidate) services_.steps.invalidate();
    dropDeadReferences(state_);
}

} // namespace larkspool
