#include "shell/editor_assistant.h"

#include "assistant/assistant_tools.h"

#include <cassert>
#include <utility>

namespace larkspool {

EditorAssistant::EditorAssistant(Services services)
    : services_(std::move(services)), group_(services_.editor.undoManager()), view_(viewServices())
{}

AssistantView::Services EditorAssistant::viewServices()
{
    EditorView& editor = services_.editor;
    return {.session = session_,
            .defaults = editor.defaults(),
            .client = services_.client,
            .toolset = assistantToolset([this] { return context(); }),
            .document = [&editor] { return editor.state().document; },
            .setDocument =
                [this](TweenDocument document) {
                    assert(edited_);
                    *edited_ = std::move(document);
                },
            .onMutate = [this](std::string_view name, const std::function<void()>& change) { mutate(name, change); },
            .beginUndoGroup =
                [this](const std::string& name) {
                    group_.begin(name);
                    if (services_.changed) services_.changed(); // Nothing can be undone until the group ends.
                },
            .endUndoGroup = [this] { group_.end(); }};
}

void EditorAssistant::mutate(std::string_view actionName, const std::function<void()>& change)
{
    services_.editor.mutateDocument(actionName, [&](TweenDocument& document) {
        edited_ = &document;
        change();
        edited_ = nullptr;
    });
    if (services_.changed) services_.changed();
}

AssistantEditorContext EditorAssistant::context() const
{
    const EditorState& state = services_.editor.state();
    const UndoManager& undoManager = services_.editor.undoManager();
    return {.playhead = state.playhead,
            .isPlaying = services_.isPlaying && services_.isPlaying(),
            .selectedLayerIDs = state.selectedLayerIDs,
            .timelineSelection = state.timelineSelection,
            .timelinePinnedLayerIDs = state.timelinePinnedLayerIDs,
            .expandedLayerGroups = services_.expandedGroups ? services_.expandedGroups() : LayerIDs(),
            .hasAudio = state.document.audio.has_value(),
            .canUndo = undoManager.canUndo(),
            .canRedo = undoManager.canRedo()};
}

} // namespace larkspool
