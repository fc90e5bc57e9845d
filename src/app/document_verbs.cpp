#include "app/documents.h"
#include "app/evaluated_json.h"
#include "app/verbs.h"
#include "platform/file_io.h"

#include <fmt/format.h>

namespace larkspool {

namespace {

std::string_view caseName(Diagnostic::Action action)
{
    switch (action) {
    case Diagnostic::Action::dropped:
    case Diagnostic::Action::unknownKey: return "dropped";
    case Diagnostic::Action::defaulted: return "defaulted";
    case Diagnostic::Action::migrated: return "migrated";
    }
    return {};
}

std::string lineFor(const Diagnostic& diagnostic)
{
    const std::string_view place = diagnostic.path.empty() ? "document" : std::string_view(diagnostic.path);
    return onOneLine(fmt::format("{}: {}: {}", place, caseName(diagnostic.action), diagnostic.text)) + "\n";
}

int runCheck(const Call& call, const Terminal& terminal)
{
    const Diagnostics diagnostics = readDocument(call.operand(0)).diagnostics;
    for (const Diagnostic& diagnostic : diagnostics.told) terminal.out(lineFor(diagnostic));
    if (diagnostics.untold > 0) terminal.out(fmt::format("and {} more\n", diagnostics.untold));
    return diagnostics.empty() ? 0 : 1;
}

int runConvert(const Call& call, const Terminal&)
{
    const TweenDocument document = readDocument(call.operand(0)).document;
    replaceFileAtomically(call.operand(1), encodedData(document));
    return 0;
}

int runEvaluate(const Call& call, const Terminal& terminal)
{
    const double time = call.number("--at").value();
    const TweenDocument document = readDocument(call.operand(0)).document;
    const std::size_t index = sceneIndex(call, document);
    terminal.out(evaluatedJson(document.scenes[index], index, time) + "\n");
    return 0;
}

} // namespace

const Verb& checkVerb()
{
    static const Verb verb{
        .rules = {"check", {"DOC"}, {}},
        .summary = "tell what reading a document repaired, dropped or carried over",
        .notes = "One line each, with the place in the file. The exit status is 0 if there is nothing to tell, and 1 if\n"
                 "there is, or if the file is no document.\n",
        .run = runCheck,
    };
    return verb;
}

const Verb& convertVerb()
{
    static const Verb verb{
        .rules = {"convert", {"IN", "OUT"}, {}},
        .summary = "read a document and write it in its canonical form",
        .notes = "What cannot be read is not written back: larkspool check tells what that would be. OUT may be IN.\n"
                 "A failure leaves OUT as it was.\n",
        .run = runConvert,
    };
    return verb;
}

const Verb& evaluateVerb()
{
    static const Verb verb{
        .rules = {"evaluate", {"DOC"}, {{"--at", "T", "the time in the scene, in seconds", Option::Need::required}, sceneOption}},
        .summary = "print the layers of a scene at a time as JSON",
        .notes = "Hidden and invisible layers are there too. A value that is not finite is null.\n",
        .run = runEvaluate,
    };
    return verb;
}

} // namespace larkspool
