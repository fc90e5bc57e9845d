#include "shell/editor_view.h"

#include "timeline/selection.h"

#include <utility>

namespace larkspool {

EditorView::EditorView(TweenDocument document, Services services)
    : services_(std::move(services)),
      state_{.document = std::move(document)},
      commit_(state_, &undoManager_, services_.steps),
      colorBatch_(commit_, services_.timers),
      scrub_(commit_),
      autoScroll_(services_.timers, [this](double seconds) { scrollTimeline(seconds); })
{}

bool EditorView::perform(std::optional<Edit> edit)
{
    if (!edit) return false;
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

void EditorView::cycleRippleSettings()
{
    larkspool::cycleRippleSettings(services_.defaults, state_);
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

void EditorView::pressTimelineItems(DragPress press, double trackWidth, double bodyTrigger)
{
    cancelTimelinePress();
    press_.emplace(Press{TimelineItemDrag(std::move(press), dragSetting(trackWidth, bodyTrigger)), state_});
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
}

bool EditorView::releaseTimelineItems(Modifiers modifiers)
{
    if (!press_) return false;
    Press press = *std::exchange(press_, std::nullopt);
    snapState_.time.reset();
    if (!press.gesture) {
        tapTimelineItems(state_, press.drag.tappedMembers(), modifiers);
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

void EditorView::endMarquee()
{
    marquee_.reset();
    autoScroll_.stop();
}

} // namespace larkspool
