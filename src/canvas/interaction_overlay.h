#pragma once

#include "canvas/body_drag.h"
#include "canvas/scene_fit.h"
#include "canvas/selection_handles.h"
#include "canvas/snap_guides.h"
#include "canvas/transform_drags.h"
#include "document/tween_scene.h"
#include "editing/modifiers.h"
#include "editing/timeline_item.h"
#include "foundation/random_source.h"
#include "platform/user_defaults.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace larkspool {

/// What lies over the canvas and turns drags of the pointer into edits: moving, resizing and turning layers, moving the points of
/// lines, marquees and panning.
///
///     beginDrag ─▶ applyDrag … ─▶ endDrag            which layers, which mode      edits from the begin's scene      one step
///
/// Every update is made from the scene at the begin and the whole way gone since, so that a drag that comes back to its start
/// leaves the scene as it was. What a drag has come to is handed out as values; showing them, and committing the step, is for the
/// caller. What is to be drawn comes from `state()`; see overlay_items.h.
class InteractionOverlay {
public:
    using Handle = SelectionHandle;
    using SnapTarget = larkspool::SnapTarget;

    struct DragMode {
        enum class Kind { resize, body, rotate, pan, marquee };

        Kind kind = Kind::body;
        Handle handle = Handle::nw; ///< Of a resize.

        static DragMode resize(Handle handle) { return {Kind::resize, handle}; }
        bool operator==(const DragMode&) const = default;
    };

    /// How a person likes to drag.
    struct Settings {
        bool keyframeAtPlayhead = true; ///< What is keyframed gets a keyframe at the playhead; otherwise its whole path moves.
        bool sizeAspectLocked = false;  ///< Resizing from a corner keeps the aspect, unless shift is down.

        static Settings of(const UserDefaults& defaults);
    };

    /// The pointer at the moment of an event, and how the canvas is shown by then.
    struct Pointer {
        CGPoint view{}; ///< View points.
        SceneFit fit{};
        Modifiers modifiers{};
    };

    /// What a drag takes of the editor when it begins. But for the pan, nothing of it changes while it runs.
    struct Editor {
        TweenScene scene{};
        LayerIDs selection{};
        double playhead = 0; ///< Seconds.
        CGPoint pan{};       ///< View points.
        Settings settings{};
    };

    /// What a drag has come to.
    struct Outcome {
        TweenScene scene{};
        LayerIDs selection{};
        CGPoint pan{};
    };

    /// How a drag ended.
    struct End {
        Outcome outcome{};
        std::optional<std::string_view> actionName{}; ///< Of the undo step on the begin's scene. Absent where nothing changed.
    };

    /// Of the drag under way. But for the caches, all is empty between drags.
    struct State {
        std::optional<DragMode> dragMode{}; ///< Absent while a point of a line is dragged.
        std::optional<std::size_t> linePointDragIndex{};
        std::optional<UUID> linePointDragLayerID{};
        CGPoint linePointDragInitialScene{};             ///< Where the point was.
        std::optional<TweenScene> linePointPreDragScene{};
        std::optional<CGPoint> lineEndpointFixedScene{}; ///< The other end of a preset line.

        std::optional<Layer> initialLayer{}; ///< The primary layer, resolved at the playhead.
        bool bodyDragArmed = false;          ///< Whether the pointer has gone far enough for a drag of the body, or a marquee.
        CGPoint dragStartScene{};
        CGPoint dragStartView{};
        CGPoint panAtDragStart{};
        double rotateStartAngle = 0; ///< Radians, of the pointer about `rotateCenter`.
        CGPoint rotateCenter{};      ///< In scene coordinates.
        std::optional<TweenScene> preDragScene{};
        bool dragMutated = false;
        std::optional<UUID> clickFallbackTopID{};  ///< What a click selects that was made through a selected layer.
        std::optional<UUID> pendingDrillChildID{}; ///< What a click on a group selects in it.
        std::vector<InitialTransform> initialMultiTransforms{};

        std::optional<CGRect> marqueeRect{}; ///< In scene coordinates.
        LayerIDs marqueeBaseSelection{};

        std::vector<SnapTarget> cachedSnapX{}, cachedSnapY{};
        std::optional<double> activeGuideX{}, activeGuideY{}; ///< Scene coordinates.
        bool activeGuideXFromLayer = false, activeGuideYFromLayer = false;
        std::string activeGuideXLabel{}, activeGuideYLabel{};

        std::optional<CGRect> waitGhostRect{}; ///< Where the selection would be in the scene, were it not held by a wait.
        bool waitGhostActive = false;
    };

    /// `beep` sounds when a drag is refused.
    explicit InteractionOverlay(std::function<void()> beep = {}, RandomSource& random = systemRandom());

    /// Begins a drag at the pointer. What it comes to at once: layers that are hit become selected, and with Option are cloned.
    const Outcome& beginDrag(const Pointer& pointer, Editor editor);
    /// The pointer has moved, or a modifier has changed.
    const Outcome& applyDrag(const Pointer& pointer);
    /// The pointer was let go where it was last.
    End endDrag(Modifiers modifiers = {});
    /// Ends the drag with the scene and the selection of its begin.
    Outcome cancelDrag();

    bool isDragging() const { return drag_.has_value(); }
    const State& state() const { return state_; }

    /// Tells what the pointer looks like, which stays as the drag under way asks, and calls `setCursor` where that is not what it
    /// looked like before.
    CanvasCursor updateCursor(const Pointer& pointer, const Editor& editor,
                              const std::function<void(CanvasCursor)>& setCursor);

private:
    struct Drag {
        Editor editor; ///< With the selection and the scene that the drag goes by: with clones, if there are any.
        Outcome outcome;
        LayerIDs beforeSelection;
        std::optional<LayerIndex> index{};
        std::optional<std::size_t> primary{}; ///< Of the initial transforms.
        CGRect selectionBox = CGRect::null();
        std::optional<ResizeBegin> resize{};
        std::optional<bool> isInWait{};
        std::vector<std::pair<UUID, CGRect>> marqueeFrames{};
        AffineTransform sceneToLine{}; ///< To the space of the dragged line's siblings.
        bool isOptionDrag = false;
        CanvasCursor handleCursor = CanvasCursor::arrow; ///< Of a resize.
    };

    void duplicateForOptionDrag(const UUID& hit);
    bool beginOnHandles(const Pointer& pointer);
    void beginLinePoint(const UUID& layerID, std::size_t point, const std::vector<CGPoint>& scenePoints);
    void beginBody(const UUID& pressed);
    void beginMarquee(const Pointer& pointer);
    void pressBody(const Pointer& pointer, std::optional<UUID> selectedHit, std::optional<UUID> hit);
    void rememberDrill(const UUID& hit);

    void applyBody(const Pointer& pointer);
    void applyResize(const Pointer& pointer);
    void applyRotate(const Pointer& pointer);
    void applyMarquee(const Pointer& pointer);
    void applyLinePoint(const Pointer& pointer);

    CGPoint wayInScene(const Pointer& pointer) const;
    double travel(const Pointer& pointer) const;
    bool walkCheck();
    bool isHeldByWait(const Pointer& pointer, CGPoint way);
    CGPoint snappedWay(CGPoint way, bool xLocked, bool yLocked, const Pointer& pointer);
    void setGuideX(const SnapTarget* target);
    void setGuideY(const SnapTarget* target);
    void clearGuides();
    void restoreScene();
    template <typename Work>
    void mutateSelected(const Work& work);
    KeyframedWriting writing() const;
    void finishClick(Modifiers modifiers);
    CanvasCursor dragCursor() const;

    std::function<void()> beep_;
    RandomSource& random_;
    State state_;
    std::optional<Drag> drag_;
    std::optional<CanvasCursor> lastCursor_;
};

} // namespace larkspool
