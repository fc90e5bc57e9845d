#include "app/documents.h"
#include "app/verbs.h"
#include "assistant/assistant_tools.h"
#include "platform/file_io.h"

#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// Runs one of the assistant's tools. Throws Failure with the words that the model would be given.
std::string runTool(const AssistantTool& tool, const JSON& input, TweenDocument& document)
{
    const AssistantDocument access{.read = [&] { return document; },
                                   .edit = [&](const AssistantDocument::Change& change) { return change(document); }};
    const auto context = [&] { return AssistantEditorContext{.hasAudio = document.audio.has_value()}; };
    AssistantToolOutcome outcome = assistantToolset(context).execute(tool.name, input, access);
    if (outcome.isError) throw Failure(outcome.content);
    return std::move(outcome.content);
}

/// The tool's input in a file, or in standard input for "-". A bare list stands for an object that has it.
JSON readInput(const std::string& path, const Terminal& terminal)
{
    std::string text;
    if (path == "-") {
        text = terminal.in();
    } else {
        const std::vector<std::uint8_t> file = readWholeFile(path);
        text.assign(file.begin(), file.end());
    }
    try {
        JSON value = JSON::decode(text);
        return value.array() ? JSON(JSON::Object{{"operations", std::move(value)}}) : value;
    } catch (const std::runtime_error& error) {
        throw Failure(fmt::format("{} is no list of operations: {}", path == "-" ? "Standard input" : path, error.what()));
    }
}

int runPatch(const Call& call, const Terminal& terminal)
{
    const std::string& path = call.operand(0);
    TweenDocument document = readDocument(path).document;
    const JSON input = readInput(call.operand(1), terminal);
    const std::string told = runTool(AssistantToolCatalog::applyPatch(), input, document);
    replaceFileAtomically(call.text("-o").value_or(path), encodedData(document));
    terminal.out(told + "\n");
    return 0;
}

int runDescribe(const Call& call, const Terminal& terminal)
{
    TweenDocument document = readDocument(call.operand(0)).document;
    terminal.out(runTool(AssistantToolCatalog::getDocument(), JSON::Object{}, document) + "\n");
    return 0;
}

} // namespace

const Verb& describeVerb()
{
    static const Verb verb{
        .rules = {"describe", {"DOC"}, {}},
        .summary = "print the active scene as the assistant reads it",
        .notes = "JSON with the playhead at 0 and nothing selected. Pictures are left out.\n",
        .run = runDescribe,
    };
    return verb;
}

const Verb& patchVerb()
{
    static const Verb verb{
        .rules = {"patch", {"DOC", "OPS.json"}, {{"-o", "OUT", "the document to write; without it, DOC itself"}}},
        .summary = "apply a list of the assistant's operations to a document",
        .notes = "OPS.json is a list of operations, or an object that has it under \"operations\"; - reads standard input.\n"
                 "They apply to the active scene, all or none: a failure leaves OUT as it was. What cannot be read of DOC is\n"
                 "not written back: larkspool check tells what that would be.\n",
        .run = runPatch,
    };
    return verb;
}

} // namespace larkspool
