// Any text is a list of operations or a reason why not, and any list applies whole to a document, which a file then holds, or
// leaves the document as it was. What is read of it and set again changes nothing.

#include "assistant/assistant_context.h"
#include "assistant/assistant_tools.h"
#include "document/file_format.h"
#include "require.h"

#include <optional>

namespace {

using namespace larkspool;

TweenDocument documentBefore()
{
    Layer group{.id = {1, 2}, .kind = Layer::Kind::group};
    group.children = {Layer{.id = {1, 3}}};
    TweenScene first{.id = {2, 1}}, second{.id = {2, 2}};
    first.layers = {Layer{.id = {1, 1}, .imageData = Bytes({1, 2, 3})}, group};
    first.layers.edit()[0].keyframes = {Keyframe{.id = {3, 1}}};
    second.layers = {Layer{.id = {1, 4}}};
    return {.scenes = {first, second}};
}

std::optional<JSON> decodedValue(std::string_view text)
{
    try {
        return JSON::decode(text);
    } catch (const JsonSyntaxError&) {
    } catch (const DecodingError&) {}
    return std::nullopt;
}

void requireNothingChanges(const TweenDocument& document)
{
    const JSON envelope = activeSceneJSON(document, {});
    std::vector<PatchOperation> operations;
    for (const auto& [key, value] : *envelope["scene"]->object()) operations.push_back(SetSceneProperty{key, value});
    TweenDocument after = document;
    applyPatchOperations(operations, after);
    require(after == document, "a value that was read and set changes nothing");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::optional<JSON> operations = decodedValue({reinterpret_cast<const char*>(data), size});
    if (!operations) return 0;

    static const TweenDocument before = documentBefore();
    TweenDocument document = before;
    const AssistantDocument access{.read = [&] { return document; },
                                   .edit = [&](const AssistantDocument::Change& change) { return change(document); }};
    const AssistantToolset toolset = assistantToolset([] { return AssistantEditorContext{}; });
    const AssistantToolOutcome outcome = toolset.execute("apply_patch", JSON::Object{{"operations", *operations}}, access);
    if (outcome.isError) {
        require(document == before, "a patch that fails leaves no trace");
        return 0;
    }
    require(decodeDocument(encodedData(document)) == document, "a file holds what a patch made");
    requireNothingChanges(document);
    return 0;
}
