#pragma once

#include <array>
#include <string_view>

namespace larkspool {

/// What the model is told before every conversation. Always the same bytes, so that the server can keep them: what changes from
/// call to call reaches the model through its tools.
namespace AssistantSchema {

extern const std::string_view systemPrompt;      ///< Who it is, followed by the reference.
extern const std::string_view documentReference; ///< How to author, how documents and patches look.

} // namespace AssistantSchema

/// What a person is offered to ask in an empty conversation.
inline constexpr std::array<std::string_view, 6> starterPrompts{
    "What's in this scene?",
    "Make every text layer's fill bright cyan",
    "Add a 1-second fade-in to all layers",
    "Stagger the layers' opacity animations 0.2s apart",
    "Add a pulse at the playhead to the topmost layer",
    "Trim the scene's duration to fit the last keyframe",
};

} // namespace larkspool
