#include "editing/shared_commit.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

namespace larkspool {

namespace {

/// Where the scene with the id is: at `index`, as long as nobody has moved it.
std::optional<std::size_t> placeOf(const UUID& id, std::size_t index, const Array<TweenScene>& scenes)
{
    if (index < scenes.size() && scenes[index].id == id) return index;
    const auto found = std::ranges::find(scenes, id, &TweenScene::id);
    if (found == scenes.end()) return std::nullopt;
    return static_cast<std::size_t>(found - scenes.begin());
}

} // namespace

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

void SharedCommit::mutateDocument(std::string_view actionName, const DocumentWork& work)
{
    const TweenDocument before = state_.document;
    TweenDocument after = before;
    work(after);
    state_.document = std::move(after);
    TweenScene active = state_.scene();
    runSteps(active);
    restore(std::move(active));

    const Array<TweenScene>& scenes = state_.document.scenes;
    assert(scenes.size() == before.scenes.size());
    std::vector<KeptScene> kept;
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        if (scenes[i] == before.scenes[i]) continue;
        if (state_.gatePreFocusScene && i == state_.document.clampedActiveSceneIndex())
            state_.gateActionName = shownActionName(actionName);
        else
            kept.push_back({scenes[i].id, i, before.scenes[i]});
    }
    if (kept.empty() || !undoManager_) return;
    recordScenes(std::move(kept));
    undoManager_->setActionName(shownActionName(actionName));
}

void SharedCommit::recordScenes(std::vector<KeptScene> before)
{
    undoManager_->registerUndo([this, before = std::move(before)] { restoreScenes(before); });
}

void SharedCommit::restoreScenes(const std::vector<KeptScene>& before)
{
    std::vector<KeptScene> current;
    for (const KeptScene& kept : before) {
        const std::optional<std::size_t> index = placeOf(kept.id, kept.index, state_.document.scenes);
        if (!index) continue;
        TweenScene& scene = state_.document.scenes.edit()[*index];
        current.push_back({kept.scene.id, *index, std::exchange(scene, kept.scene)});
    }
    if (current.empty()) return;
    if (steps_.invalidate) steps_.invalidate();
    dropDeadReferences(state_);
    recordScenes(std::move(current)); // The manager takes it for the way back, under the same name.
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
