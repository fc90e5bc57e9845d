#pragma once

#include "editing/shared_commit.h"
#include "platform/undo_manager.h"

#include <cstdint>
#include <string>
#include <utility>

namespace larkspool {

/// The same identifier for the same number.
inline UUID idOf(std::uint64_t number)
{
    return {0, number};
}

inline TweenScene sceneNamed(std::string_view name)
{
    TweenScene scene{.id = idOf(1)};
    scene.name = SharedString(name);
    return scene;
}

/// The road of an edit over a document of one scene, which writes down the steps that it comes by.
struct Desk {
    EditorState state{};
    UndoManager manager{};
    std::string steps{};
    SharedCommit commit{state,
                        &manager,
                        {.normalizeZoomLayers = [this](TweenScene&) { steps += "zoom "; },
                         .refitTextLayers = [this](TweenScene&) { steps += "text "; },
                         .invalidate = [this] { steps += "invalidate "; }}};

    explicit Desk(TweenScene scene = sceneNamed("before")) { state.document.setScene(std::move(scene)); }

    std::string name() const { return state.scene().name->string(); }
    void rename(std::string_view name, std::string_view action = "Rename")
    {
        commit.mutate(action, [name](TweenScene& scene) { scene.name = SharedString(name); });
    }
};

} // namespace larkspool
