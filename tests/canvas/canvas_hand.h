#pragma once

#include "canvas/interaction_overlay.h"
#include "document/file_format.h"
#include "editing/gesture.h"
#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "platform/undo_manager.h"

#include <optional>
#include <string>
#include <utility>

namespace larkspool {

/// The same identifier for the same number.
inline UUID idOf(std::uint64_t number)
{
    return {7, number};
}

/// Bits that are the same in every run.
class CountedBits final : public RandomSource {
public:
    std::uint64_t next() override { return ++count_ * 0x9E3779B97F4A7C15u; }

private:
    std::uint64_t count_ = 0;
};

inline Layer box(std::uint64_t number, double x, double y, double width, double height)
{
    Layer layer{.id = idOf(number)};
    layer.videoClip.id = idOf(number + 10'000);
    layer.transform.x = x;
    layer.transform.y = y;
    layer.size = {width, height};
    return layer;
}

inline Layer groupAt(std::uint64_t number, double x, double y, Array<Layer> children)
{
    Layer group = box(number, x, y, 200, 200);
    group.kind = Layer::Kind::group;
    group.children = std::move(children);
    return group;
}

/// 800 x 600, unless told otherwise.
inline TweenScene canvasOf(Array<Layer> layers, CGSize size = {800, 600})
{
    return {.id = idOf(0), .width = size.width, .height = size.height, .layers = std::move(layers)};
}

inline void addKeyframe(Layer& layer, Keyframe::AnimatableProperty property, double time, double value, double wait = 0)
{
    layer.keyframes.append({.id = idOf(1000 + layer.keyframes.size() + 100 * layer.id.low), .property = property, .time = time,
                            .value = value, .wait = wait});
}

/// The scene as a file has it.
inline std::string canonical(const TweenScene& scene)
{
    return encodedJson(scene);
}

/// A hand with a pointer over a canvas, before an editor that shows and commits what its drags come to. The view shows the scene
/// at its own size, unless told otherwise.
class CanvasHand {
public:
    explicit CanvasHand(TweenScene scene)
    {
        Interpolation::invalidate(); // Tests use the same ids for different layers.
        state_.document.setScene(std::move(scene));
    }

    CanvasHand& select(LayerIDs layerIDs)
    {
        selectLayers(state_, std::move(layerIDs));
        return *this;
    }
    CanvasHand& playhead(double seconds)
    {
        state_.playhead = seconds;
        return *this;
    }
    CanvasHand& hold(Modifiers modifiers)
    {
        pointer_.modifiers = modifiers;
        return *this;
    }
    CanvasHand& fit(SceneFit fit)
    {
        pointer_.fit = fit;
        return *this;
    }

    CanvasHand& press(CGPoint view)
    {
        gesture_.emplace(commit_);
        pressed_ = pointer_.view = view;
        show(overlay.beginDrag(pointer_, editor()));
        return *this;
    }
    /// The pointer goes to so many view points from the press.
    CanvasHand& moveTo(double dx, double dy)
    {
        pointer_.view = {pressed_.x + dx, pressed_.y + dy};
        show(overlay.applyDrag(pointer_));
        return *this;
    }
    CanvasHand& release()
    {
        const InteractionOverlay::End end = overlay.endDrag(pointer_.modifiers);
        show(end.outcome);
        ended = end.actionName;
        if (end.actionName) gesture_->end(*end.actionName);
        gesture_.reset();
        return *this;
    }
    CanvasHand& click(CGPoint view) { return press(view).release(); }
    CanvasHand& cancel()
    {
        show(overlay.cancelDrag());
        gesture_.reset();
        return *this;
    }
    CanvasHand& undo()
    {
        manager_.undo();
        return *this;
    }

    InteractionOverlay::Editor editor() const
    {
        return {state_.scene(), state_.selectedLayerIDs, state_.playhead, pan, settings};
    }
    SceneFit currentFit() const { return pointer_.fit; }
    TweenScene scene() const { return state_.scene(); }
    const LayerIDs& selection() const { return state_.selectedLayerIDs; }
    Layer layer(std::uint64_t number) const { return layer(idOf(number)); }
    Layer layer(const UUID& id) const { return *findLayer(state_.document.scene(), id); }
    CGPoint place(std::uint64_t number) const
    {
        const Transform transform = layer(number).transform;
        return {transform.x, transform.y};
    }
    const InteractionOverlay::State& state() const { return overlay.state(); }
    std::size_t undoCount() { return manager_.undoCount(); }
    std::string undoName() { return manager_.undoActionName(); }

    InteractionOverlay::Settings settings{};
    CGPoint pan{};
    int beeps = 0;
    std::optional<std::string_view> ended{}; ///< The name of the step of the last drag.
    CountedBits bits{};
    InteractionOverlay overlay{[this] { ++beeps; }, bits};

private:
    void show(const InteractionOverlay::Outcome& outcome)
    {
        gesture_->update(outcome.scene);
        pan = outcome.pan;
        selectLayers(state_, outcome.selection);
    }

    EditorState state_{};
    UndoManager manager_{};
    SharedCommit commit_{state_, &manager_, {.invalidate = [] { Interpolation::invalidate(); }}};
    std::optional<Gesture> gesture_{};
    InteractionOverlay::Pointer pointer_{};
    CGPoint pressed_{};
};

} // namespace larkspool
