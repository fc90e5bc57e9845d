#pragma once

#include "editing/edit_batches.h"
#include "editing/gesture.h"
#include "editing/shared_commit.h"
#include "platform/timers.h"
#include "platform/undo_manager.h"
#include "platform/user_defaults.h"
#include "timeline/item_drag.h"
#include "timeline/marquee.h"
#include "timeline/ripple_settings.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace larkspool {

/// The editor of one document without its window: the state, the undo manager, and the road on which edits and gestures are
/// committed. It decides nothing itself: what an edit does is told by the folders below, where things are by the view above.
/// Lives on the main thread.
class EditorView {
public:
    /// What it needs of the world around it, which outlives it.
    struct Services {
        UserDefaults& defaults;
        Timers& timers;
        SharedCommit::Steps steps{};
        std::function<void(std::size_t count)> rippleApplied{}; ///< Called when a drag that rippled so many items has ended.
    };

    EditorView(TweenDocument document, Services services);
    EditorView(const EditorView&) = delete;
    EditorView& operator=(const EditorView&) = delete;

    const EditorState& state() const { return state_; }
    TweenScene scene() const { return state_.scene(); }
    UndoManager& undoManager() { return undoManager_; }
    SharedCommit& commit() { return commit_; }
    ColorEditBatch& colorBatch() { return colorBatch_; }
    NumberScrub& scrub() { return scrub_; }
    UserDefaults& defaults() { return services_.defaults; }

    /// @name Edits.
    /// @{
    void mutate(std::string_view actionName, const SharedCommit::Work& work) { commit_.mutate(actionName, work); }
    /// Commits what an operation came to; an operation with nothing to do changes nothing. Whether there was an edit.
    bool perform(std::optional<Edit> edit);
    void undo() { undoManager_.undo(); }
    void redo() { undoManager_.redo(); }
    /// @}

    /// @name State that is no part of the document.
    /// @{
    void setPlayhead(double seconds) { state_.playhead = seconds; }
    void selectLayers(LayerIDs layerIDs) { larkspool::selectLayers(state_, std::move(layerIDs)); }
    void selectTimelineItems(TimelineSelection items) { larkspool::selectTimelineItems(state_, std::move(items)); }
    void pinTimelineLayers(LayerIDs layerIDs) { state_.timelinePinnedLayerIDs = std::move(layerIDs); }
    void setTimelineZoom(bool zoomedIn) { state_.zoomedIn = zoomedIn; }
    void scrollTimeline(double seconds) { scrollViewport(state_, seconds); }
    /// @}

    /// @name Commands of the timeline.
    /// @{
    bool deleteTimelineSelection();
    void selectAllAtPlayhead();
    void cycleRippleSettings();
    /// @}

    /// @name A press on items of the timeline, which ends as a tap or as a drag.
    /// @{
    /// `trackWidth` and `bodyTrigger` are points: of the row's track, and what a press on a span's body may stray.
    void pressTimelineItems(DragPress press, double trackWidth, double bodyTrigger);
    void dragTimelineItems(CGPoint translation, Modifiers modifiers);
    /// Whether an undo step came of it.
    bool releaseTimelineItems(Modifiers modifiers);
    /// Ends the press with the scene and the selection as they were.
    void cancelTimelinePress();
    const TimelineSnapState& snapState() const { return snapState_; }
    /// @}

    /// @name A marquee over rows of the timeline.
    /// @{
    void beginMarquee(CGPoint start);
    /// `layers` are those with rows of their own; absent, the rows stand for the whole scene.
    void updateMarquee(CGPoint end, std::optional<std::span<const UUID>> layers, std::span<const PerLayerTrackBand> bands,
                       double leftGutter, double containerWidth, Modifiers modifiers);
    void endMarquee();
    const MarqueeAutoScroll& marqueeAutoScroll() const { return autoScroll_; }
    /// @}

    std::optional<std::string> rippleToastMessage() const { return toast_.message(services_.timers.now()); }
    RippleHandleSuppressor& rippleHandles() { return suppressor_; }

private:
    /// A press under way.
    struct Press {
        TimelineItemDrag drag;
        EditorState before;
        std::optional<Gesture> gesture{}; ///< Present once the press is a drag.
    };

    DragSetting dragSetting(double trackWidth, double bodyTrigger) const;
    void announceRipple(std::optional<std::size_t> count);

    Services services_;
    EditorState state_;
    UndoManager undoManager_;
    SharedCommit commit_;
    ColorEditBatch colorBatch_;
    NumberScrub scrub_;
    std::optional<Press> press_;
    TimelineSnapState snapState_;
    std::optional<TimelineMarquee> marquee_;
    MarqueeAutoScroll autoScroll_;
    RippleToast toast_;
    RippleHandleSuppressor suppressor_;
};

} // namespace larkspool
