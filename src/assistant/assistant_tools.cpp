#include "assistant/assistant_tools.h"

#include "assistant/assistant_prompts.h"
#include "foundation/text.h"

#include <exception>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

AssistantToolOutcome failure(std::string words)
{
    return {.content = std::move(words), .isError = true};
}

} // namespace

const AssistantTool& AssistantToolCatalog::getDocument()
{
    static const AssistantTool tool{
        .name = "get_document",
        .description = "Returns the entire current Larkspool document as JSON. Use this to inspect scenes, layers, keyframes, "
                       "spans, pulses before proposing changes. The JSON shape is documented in the system prompt under "
                       "\"Document schema.\"",
        .inputSchema = JSON::Object{{"type", "object"}, {"properties", JSON::Object{}}},
    };
    return tool;
}

const AssistantTool& AssistantToolCatalog::applyPatch()
{
    static const AssistantTool tool{
        .name = "apply_patch",
        .description = "Apply a list of structured edits to the document in a single undo step. Each operation references "
                       "targets by UUID. Supported ops:\n"
                       "  • set_property: change a top-level layer property in place\n"
                       "  • add_keyframe / delete_keyframe\n"
                       "  • add_pulse / delete_pulse\n"
                       "  • add_layer / delete_layer\n"
                       "See the system prompt for full op shapes.",
        .inputSchema =
            JSON::Object{{"type", "object"},
                         {"properties", JSON::Object{{"operations", JSON::Object{{"type", "array"},
                                                                                 {"items", JSON::Object{{"type", "object"}}}}}}},
                         {"required", JSON::Array{"operations"}}},
    };
    return tool;
}

const std::vector<AssistantTool>& AssistantToolCatalog::all()
{
    static const std::vector<AssistantTool> tools{getDocument(), applyPatch()};
    return tools;
}

AssistantToolOutcome AssistantToolExecutor::execute(std::string_view name, const JSON& input) const
{
    if (name == AssistantToolCatalog::getDocument().name) return getDocument();
    if (name == AssistantToolCatalog::applyPatch().name) return applyPatch(input);
    return failure(fmt::format("unknown tool: {}", name));
}

AssistantToolOutcome AssistantToolExecutor::getDocument() const
try {
    return {.content = stripMediaBlobs(context_.readActiveScene()).encoded(JsonWriter::Layout::pretty)};
} catch (const std::exception& error) {
    return failure(fmt::format("read failed: {}", error.what()));
}

AssistantToolOutcome AssistantToolExecutor::applyPatch(const JSON& input) const
{
    const JSON* list = input["operations"];
    if (!list || !list->array()) return failure("apply_patch: missing 'operations' array");

    std::vector<PatchOperation> operations;
    for (const JSON& element : *list->array()) {
        std::string text;
        try {
            text = element.encoded();
        } catch (const std::exception& error) {
            return failure(fmt::format("encode op {}: {}", operations.size(), error.what()));
        }
        try {
            operations.push_back(decodedPatchOperation(JSON::decode(text)));
        } catch (const std::exception& error) {
            return failure(fmt::format("op {}: {}", operations.size(), error.what()));
        }
    }
    try {
        return {.content = fmt::format("applied {} operation(s)", context_.applyPatch(operations))};
    } catch (const std::exception& error) {
        return failure(fmt::format("apply failed: {}", error.what()));
    }
}

