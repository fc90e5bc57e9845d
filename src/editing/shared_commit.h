#pragma once

#include "editing/edit.h"
#include "editing/editor_state.h"
#include "editing/undo_coordinator.h"

#include <functional>
#include <string_view>
#include <vector>

namespace larkspool {

/// The road that every change of the active scene takes, and the only place that knows undo.
///
///     edit ─▶ normalizeZoomLayers ─▶ refitTextLayers ─▶ invalidate ─▶ undo step ─▶ selection
///
/// Lives on the main thread beside the state that it writes.
class SharedCommit {
public:
    /// The steps behind every edit. Each may be absent.
    struct Steps {
        std::function<void(TweenScene&)> normalizeZoomLayers{};
        std::function<void(TweenScene&)> refitTextLayers{};
        std::function<void()> invalidate{}; ///< Makes kept evaluations stale.
    };
    using Work = std::function<void(TweenScene&)>;
    using DocumentWork = std::function<void(TweenDocument&)>;

    /// Without an undo manager edits proceed and nothing is recorded. State and manager must outlive this object, and this
    /// object the steps on the manager's stacks.
    SharedCommit(EditorState& state, UndoManager* undoManager, Steps steps);
    SharedCommit(const SharedCommit&) = delete;
    SharedCommit& operator=(const SharedCommit&) = delete;

    const EditorState& state() const { return state_; }

    /// One edit, told as a change of the scene. While a numeric field's gate is open, the edit goes into the gate's one step,
    /// which takes this name.
    void mutate(std::string_view actionName, const Work& work);

    /// One edit, told as its result; otherwise the same. The selection is written last.
    void commit(Edit edit);

    /// One edit that may reach other scenes than the active one; it leaves their number and order alone. The steps run on the
    /// active scene. Undoing puts every scene that the edit has changed back in its own place, whichever is active then; one that
    /// has been deleted is passed over. An edit that changes no scene records nothing. While a gate is open, the active scene's
    /// part goes into it.
    void mutateDocument(std::string_view actionName, const DocumentWork& work);

    /// Replaces the active scene and makes kept evaluations stale, for a drag or a preview under way: items may change, and none
    /// may go. Records nothing.
    void show(TweenScene scene);

    /// Ends what was shown bit by bit: runs the steps on the scene as it stands and records `before`. Takes no notice of the
    /// gate.
    void onCommit(std::string_view actionName, TweenScene before);

    /// @name The undo gate of numeric fields. However many edits are made between opening and confirming it, they are one step.
    /// @{
    void openNumericUndoGate(); ///< Confirms a gate that was left open.
    void confirmNumericUndoGate(); ///< Records one step if there was an edit.
    void cancelNumericUndoGate(); ///< Puts the scene back as it was at the opening, and records nothing.
    /// @}

private:
    /// A scene as it was, and where it goes.
    struct KeptScene {
        UUID id{};             ///< Of the scene that it takes the place of.
        std::size_t index = 0; ///< Where that was last.
        TweenScene scene;
    };

    void recordScenes(std::vector<KeptScene> before);
    void restoreScenes(const std::vector<KeptScene>& before);
    void runSteps(TweenScene& scene) const;
    void finish(std::string_view actionName, TweenScene before, TweenScene after);
    void restore(TweenScene scene);

    EditorState& state_;
    UndoManager* undoManager_;
    Steps steps_;
    UndoCoordinator coordinator_;
};

} // namespace larkspool
