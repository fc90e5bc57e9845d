#pragma once

#include "assistant/assistant_context.h"
#include "assistant/assistant_toolset.h"
#include "assistant/patch_operations.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace larkspool {

/// The tools as they are offered to the model.
namespace AssistantToolCatalog {

const AssistantTool& getDocument();
const AssistantTool& applyPatch();
const std::vector<AssistantTool>& all(); ///< In the order of the two above.

} // namespace AssistantToolCatalog

/// What the tools work on. Both may throw.
struct AssistantToolContext {
    std::function<JSON()> readActiveScene;                                               ///< As activeSceneJSON gives it.
    std::function<std::int64_t(std::span<const PatchOperation> operations)> applyPatch; ///< Returns how many there were.
};

class AssistantToolExecutor {
public:
    explicit AssistantToolExecutor(AssistantToolContext context) : context_(std::move(context)) {}

    /// Runs the tool of that name. Whatever goes wrong becomes words for the model.
    AssistantToolOutcome execute(std::string_view name, const JSON& input) const;

private:
    AssistantToolOutcome getDocument() const;
    AssistantToolOutcome applyPatch(const JSON& input) const;

    AssistantToolContext context_;
};

/// The value with words in place of pictures and bookmarks, which would fill the model's memory for nothing.
JSON stripMediaBlobs(const JSON& value);

/// Both tools and the prompt. `context` tells of the editor at the moment when a tool runs.
AssistantToolset assistantToolset(std::function<AssistantEditorContext()> context);

} // namespace larkspool
