#pragma once

#include "assistant/assistant_context.h"
#include "assistant/assistant_session.h"
#include "assistant/assistant_view.h"
#include "editing/named_undo_group.h"
#include "shell/editor_view.h"

#include <functional>
#include <string_view>

namespace larkspool {

/// The assistant of one editor: its conversation, and the road by which what it does reaches the document. Lives on the main
/// thread.
class EditorAssistant {
public:
    /// What it works with, which outlives it.
    struct Services {
        EditorView& editor;
        const AssistantClient& client;
        std::function<bool()> isPlaying{};          ///< Whether the editor is playing; absent, it never is.
        std::function<LayerIDs()> expandedGroups{}; ///< Of the layer panel; absent, none are.
        /// Called after a change of the document or of what can be undone. May be absent.
        std::function<void()> changed{};
    };

    explicit EditorAssistant(Services services);
    EditorAssistant(const EditorAssistant&) = delete;
    EditorAssistant& operator=(const EditorAssistant&) = delete;

    AssistantSession& session() { return session_; }
    AssistantView& view() { return view_; }

    /// What the model is told of the editor just now.
    AssistantEditorContext context() const;

private:
    AssistantView::Services viewServices();
    void mutate(std::string_view actionName, const std::function<void()>& change);

    Services services_;
    AssistantSession session_;
    NamedUndoGroup group_;
    TweenDocument* edited_ = nullptr; ///< While an edit is made.
    AssistantView view_;
};

} // namespace larkspool
