#include "editing/shared_commit.h"

#include <utility>

namespace larkspool {

SharedCommit::SharedCommit(EditorState& state, UndoManager* undoManager, Steps steps)
    : state_(state),
      undoManager_(undoManager),
      steps_(std::move(steps)),
      coordinator_([this] { return state_.scene(); }, [this](TweenScene scene) { restore(std::move(scene)); })
{}

void SharedCommit::mutate(std::string_view actionName, const Work& work)
{
    TweenScene before = state_.scene();
    TweenScene after = before;
    work(after);
    finish(actionName, std::move(before), std::move(after));
    dropDeadReferences(state_);
}

void SharedCommit::commit(Edit edit)
{
    finish(edit.actionName, state_.scene(), std::move(edit.scene));
    if (!edit.selection.layerIDs.empty()) selectLayers(state_, std::move(edit.selection.layerIDs));
    if (edit.selection.timeline) selectTimelineItems(state_, std::move(*edit.selection.timeline));
    dropDeadReferences(state_);
}

void SharedCommit::finish(std::string_view actionName, TweenScene before, TweenScene after)
{
    runSteps(after);
    show(std::move(after));
    if (state_.gatePreFocusScene)
        state_.gateActionName = shownActionName(actionName);
    else
        coordinator_.registerUndo(undoManager_, std::move(before), actionName);
}

void SharedCommit::show(TweenScene scene)
{
    state_.document.setScene(std::move(scene));
    if (steps_.invalidate) steps_.invalidate();
}

void SharedCommit::restore(TweenScene scene)
{
    show(std::move(scene));
    dropDeadReferences(state_);
}

void SharedCommit::onCommit(std::string_view actionName, TweenScene before)
{
    TweenScene after = state_.scene();
    runSteps(after);
    restore(std::move(after));
    coordinator_.registerUndo(undoManager_, std::move(before), actionName);
}

void SharedCommit::runSteps(TweenScene& scene) const
{
    if (steps_.normalizeZoomLayers) steps_.normalizeZoomLayers(scene);
    if (steps_.refitTextLayers) steps_.refitTextLayers(scene);
}

void SharedCommit::openNumericUndoGate()
{
    confirmNumericUndoGate();
    state_.gatePreFocusScene = state_.scene();
    state_.gateActionName.clear();
}

void SharedCommit::confirmNumericUndoGate()
{
    if (!state_.gatePreFocusScene) return;
    TweenScene before = std::move(*state_.gatePreFocusScene);
    state_.gatePreFocusScene.reset();
    const std::string name = std::exchange(state_.gateActionName, {});
    if (!name.empty()) coordinator_.registerUndo(undoManager_, std::move(before), name);
}

void SharedCommit::cancelNumericUndoGate()
{
    if (!state_.gatePreFocusScene) return;
    TweenScene before = std::move(*state_.gatePreFocusScene);
    state_.gatePreFocusScene.reset();
    restore(std::move(before));
}

} // namespace larkspool
