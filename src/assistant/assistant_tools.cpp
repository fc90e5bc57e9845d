#include "assistant/assistant_tools.h"

#include "assistant/assistant_prompts.h"
#include "foundation/text.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

AssistantToolOutcome failure(std::string words)
{
    return {.content = std::move(words), .isError = true};
}

/// How many characters a person sees. Encoded bytes have only plain ones, which need not be looked at one by one.
std::size_t shownLength(const std::string& text)
{
    const bool isPlain = std::ranges::all_of(text, [](char c) { return c > ' ' && c <= '~'; });
    return isPlain ? text.size() : characterCount(text);
}

JSON strippedMember(std::string_view key, const JSON& value)
{
    const bool isImage = key == "imageData";
    if (!isImage && key != "videoBookmark") return stripMediaBlobs(value);
    const std::string* text = value.string();
    if (!text || text->empty()) return value;
    return isImage ? fmt::format("<image bytes: {} chars omitted>", shownLength(*text)) : "<bookmark omitted>";
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

JSON stripMediaBlobs(const JSON& value)
{
    if (const JSON::Array* elements = value.array()) {
        JSON::Array stripped;
        stripped.reserve(elements->size());
        for (const JSON& element : *elements) stripped.push_back(stripMediaBlobs(element));
        return stripped;
    }
    if (const JSON::Object* members = value.object()) {
        JSON::Object stripped;
        for (const auto& [key, member] : *members) stripped.emplace_hint(stripped.end(), key, strippedMember(key, member));
        return stripped;
    }
    return value;
}

AssistantToolset assistantToolset(std::function<AssistantEditorContext()> context)
{
    return {
        .tools = AssistantToolCatalog::all(),
        .systemPrompt = std::string(AssistantSchema::systemPrompt),
        .execute =
            [context = std::move(context)](std::string_view name, const JSON& input, const AssistantDocument& document) {
                const AssistantToolExecutor executor({
                    .readActiveScene = [&] { return activeSceneJSON(document.read(), context()); },
                    .applyPatch =
                        [&](std::span<const PatchOperation> operations) {
                            return document.edit([&](TweenDocument& copy) { return applyPatchOperations(operations, copy); });
                        },
                });
                return executor.execute(name, input);
            },
    };
}

} // namespace larkspool
