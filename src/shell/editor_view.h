#pragma once

#include "canvas/overlay_items.h"
#include "editing/edit_batches.h"
#include "editing/gesture.h"
#include "editing/shared_commit.h"
#include "platform/timers.h"
#include "platform/undo_manager.h"
#include "platform/user_defaults.h"
#include "timeline/dilate_items_sheet.h"
#include "timeline/item_drag.h"
#include "timeline/marquee.h"
#include "timeline/move_items_sheet.h"
#include "timeline/retime_sheet.h"
#include "timeline/ripple_settings.h"
#include "timeline/span_arrange_sheets.h"
#include "timeline/span_in_out.h"
#include "timeline/video_clip_track.h"

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
        std::function<void()> beep{}; ///< Sounds when a drag is refused.
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

    /// @name Edits. A drag, a scrub or a stream of colours that is under way becomes its step first, so that each step begins with
    /// the scene that the one before has left.
    /// @{
    void mutate(std::string_view actionName, const SharedCommit::Work& work);
    /// An edit that may reach other scenes than the active one. It is undone in all of them.
    void mutateDocument(std::string_view actionName, const SharedCommit::DocumentWork& work);
    /// Commits what an operation came to; an operation with nothing to do changes nothing. Whether there was an edit.
    bool perform(std::optional<Edit> edit);
    void undo();
    void redo();
    /// @}

    /// @name Scenes of the document. Undo knows one scene alone, so that no step comes of these.
    /// @{
    /// The scene of that index, held within the list, is the active one. Playhead and selections stay as they are.
    void setActiveScene(std::int64_t index);
    /// The same as a person's choice: at another scene the playhead starts at 0 and nothing is selected. Whether it is another.
    bool selectScene(std::int64_t index);
    /// Changes the list of scenes, or what belongs to all of them.
    void editDocument(const std::function<void(TweenDocument& document)>& work);
    /// @}

    /// Puts another document in the place of this one, exactly as it is, with all its scenes, as one step. The scene of the same
    /// index is the active one.
    void replaceDocument(std::string_view actionName, TweenDocument document);

    /// @name State that is no part of the document.
    /// @{
    void setPlayhead(double seconds) { state_.playhead = seconds; }
    void selectLayers(LayerIDs layerIDs) { larkspool::selectLayers(state_, std::move(layerIDs)); }
    void selectTimelineItems(TimelineSelection items) { larkspool::selectTimelineItems(state_, std::move(items)); }
    void tapTimelineItems(std::span<const TimelineItemRef> members, Modifiers modifiers);
    void pinTimelineLayers(LayerIDs layerIDs) { state_.timelinePinnedLayerIDs = std::move(layerIDs); }
    void setTimelineZoom(bool zoomedIn) { state_.zoomedIn = zoomedIn; }
    void scrollTimeline(double seconds) { scrollViewport(state_, seconds); }
    /// @}

    /// @name Commands of the timeline.
    /// @{
    bool deleteTimelineSelection();
    void selectAllAtPlayhead();
    /// To the selected layers. Whether there are any.
    bool addKeyframesAtPlayhead();
    bool addKeyframeAtPlayhead(const UUID& layerID, Keyframe::AnimatableProperty property);
    bool addPulseAtPlayhead(const UUID& layerID);
    void cycleRippleSettings();
    /// @}

    /// @name Moving and arranging the selected items of the timeline. Each is one step, and tells whether there was an edit.
    /// @{
    SelectionMoveTargets collectSelectionMoveTargets() const;
    bool applyMoveDelta(double delta, TimelineRippleMode ripple, std::string_view actionName);
    bool applyMoveAbsolute(double time, std::string_view actionName);
    bool moveToPlayhead();
    bool applyDilate(double scale, DilateAnchor anchor, TimelineRippleMode ripple, std::string_view actionName);
    bool distributeSelectedSpans(double gap);
    bool staggerSelectedSpans(double amount, double curve, StaggerOrder order);
    /// Sets the in or out point at the playhead, with ripple as the settings have it.
    bool applySpanInOut(InOutPoint point);
    /// @}

    /// @name The sheets over the selection, for as long as the editor lives. Confirming one makes its edit.
    /// @{
    MoveItemsSheet moveItemsSheet();
    DilateItemsSheet dilateItemsSheet();
    DistributeSpansSheet& distributeSpansSheet() { return distributeSheet_; }
    StaggerSpansSheet& staggerSpansSheet() { return staggerSheet_; }
    /// @}

    /// @name The table of times. Between opening and closing it, all edits in it are one step.
    /// @{
    /// Opens it, with ripple as the settings have it; closes one that is open.
    RetimeSheet& openRetimeSheet();
    RetimeSheet* retimeSheet() { return retimeSheet_ ? &*retimeSheet_ : nullptr; } ///< Null while it is closed.
    void closeRetimeSheet();
    /// @}

    /// @name A press on the canvas, which ends as a click or as a drag. Each gives the pan that the canvas has from then on.
    /// @{
    CGPoint pressCanvas(const InteractionOverlay::Pointer& pointer, CGPoint pan);
    CGPoint dragCanvas(const InteractionOverlay::Pointer& pointer);
    CGPoint releaseCanvas(Modifiers modifiers);
    /// Ends the press with the scene and the selection as they were.
    CGPoint cancelCanvasPress();
    bool isDraggingCanvas() const { return overlay_.isDragging(); }
    /// What is to be drawn over the canvas.
    OverlayItems canvasOverlay(const SceneFit& fit) const;
    /// As it is among those, alone.
    std::optional<OverlayItems::DragModeToggle> dragModeToggle(const SceneFit& fit) const;
    CanvasCursor canvasCursor(const InteractionOverlay::Pointer& pointer);
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
    /// Present while a clip is trimmed.
    const std::optional<VideoTrimOverlayState>& videoTrimOverlay() const { return videoTrimOverlay_; }
    /// @}

    /// @name A marquee over rows of the timeline.
    /// @{
    void beginMarquee(CGPoint start);
    /// `layers` are those with rows of their own; absent, the rows stand for the whole scene.
    void updateMarquee(CGPoint end, std::optional<std::span<const UUID>> layers, std::span<const PerLayerTrackBand> bands,
                       double leftGutter, double containerWidth, Modifiers modifiers);
    /// The rows below it have moved sideways by that many points, and its first corner with them.
    void shiftMarquee(double points);
    void endMarquee();
    const MarqueeAutoScroll& marqueeAutoScroll() const { return autoScroll_; }
    /// @}

    std::optional<std::string> rippleToastMessage() const { return toast_.message(services_.timers.now()); }
    /// Hides the ripple pills until a moment after the last of these calls.
    void suppressRippleHandles() { suppressor_.suppress(services_.timers.now()); }
    bool areRippleHandlesHidden() const { return suppressor_.hidden(services_.timers.now()); }

private:
    /// A press under way.
    struct Press {
        TimelineItemDrag drag;
        EditorState before;
        double trackWidth = 0; ///< Points.
        std::optional<Gesture> gesture{}; ///< Present once the press is a drag.
    };

    void endWhatIsUnderWay();
    void exchangeDocument(TweenDocument document);
    InteractionOverlay::Editor overlayEditor(CGPoint pan) const;
    CGPoint showCanvasDrag(const InteractionOverlay::Outcome& outcome);
    DragSetting dragSetting(double trackWidth, double bodyTrigger) const;
    void showTrimOverlay();
    RippleSetting rippleSetting(TimelineRippleMode mode) const;
    bool performRippled(std::optional<RippledEdit> edit);
    void announceRipple(std::optional<std::size_t> count);

    Services services_;
    EditorState state_;
    UndoManager undoManager_;
    SharedCommit commit_;
    ColorEditBatch colorBatch_;
    NumberScrub scrub_;
    InteractionOverlay overlay_;
    std::optional<Gesture> canvasGesture_; ///< While a press on the canvas lasts.
    std::optional<Press> press_;
    TimelineSnapState snapState_;
    std::optional<VideoTrimOverlayState> videoTrimOverlay_;
    std::optional<TimelineMarquee> marquee_;
    MarqueeAutoScroll autoScroll_;
    DistributeSpansSheet distributeSheet_;
    StaggerSpansSheet staggerSheet_;
    std::optional<RetimeSheet> retimeSheet_;
    RippleToast toast_;
    RippleHandleSuppressor suppressor_;
};

} // namespace larkspool
