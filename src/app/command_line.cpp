#include "app/command_line.h"

#include "app/verbs.h"
#include "document/tween_document.h"
#include "platform/program_folder.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

namespace larkspool {

namespace {

constexpr int success = 0;
constexpr int failure = 1;
constexpr int wrongCall = 2;

void tell(const Terminal& terminal, std::string_view message)
{
    terminal.error(fmt::format("larkspool: {}\n", onOneLine(message)));
}

std::string overallHelp()
{
    std::string text = "larkspool " LARKSPOOL_VERSION " makes films of product user interfaces.\n\n"
                       "  larkspool [FILE...]   opens the editor\n"
                       "  larkspool VERB ...    does one thing and ends:\n\n";
    for (const Verb& verb : verbs()) text += fmt::format("  {:<10} {}\n", verb.rules.verb, verb.summary);
    return text + "\n"
                  "  larkspool VERB --help   tells what a verb takes\n"
                  "  larkspool --version     tells the version\n\n"
                  "The exit status is 0 for success, 1 for a failure and 2 for a wrong call.\n"
                  "With LARKSPOOL_HEADLESS_EXPORT and LARKSPOOL_HEADLESS_OUTPUT both set, the document that the first names is\n"
                  "exported to the film that the second names, and all else is left aside. The status is then always 0: the\n"
                  "printed lines tell how it went.\n";
}

std::string help(const Verb& verb)
{
    std::string text = usageLine(verb.rules) + "\n\n  " + std::string(verb.summary) + "\n";
    if (!verb.rules.options.empty()) text += "\n" + optionLines(verb.rules);
    if (!verb.notes.empty()) text += "\n" + std::string(verb.notes);
    return text;
}

const Verb* verbNamed(std::string_view name)
{
    const auto all = verbs();
    const auto found = std::ranges::find_if(all, [name](const Verb& verb) { return verb.rules.verb == name; });
    return found == all.end() ? nullptr : &*found;
}

bool namesADocument(const std::string& argument)
{
    std::error_code ignored;
    return argument.ends_with("." + std::string(TweenDocument::fileExtension)) || std::filesystem::exists(argument, ignored);
}

/// Evaluation keeps results on the main thread for the editor's sake; verbs evaluate off it, where it is a pure function.
int runOffMainThread(const Verb& verb, const Call& call, const Terminal& terminal)
{
    int status = failure;
    std::exception_ptr error;
    std::thread work([&] {
        try {
            status = verb.run(call, terminal);
        } catch (...) {
            error = std::current_exception();
        }
    });
    work.join();
    if (error) std::rethrow_exception(error);
    return status;
}

int runVerb(const Verb& verb, std::span<const std::string> arguments, const Terminal& terminal)
{
    const Call call(verb.rules, arguments);
    if (!call.asksForHelp()) return runOffMainThread(verb, call, terminal);
    terminal.out(help(verb));
    return success;
}

int openEditor(std::span<const std::string> files, const Terminal& terminal)
{
    for (const std::string& file : files) {
        if (file.starts_with("-")) throw WrongCall(fmt::format("There is no option {}; see larkspool --help", file));
        if (!namesADocument(file)) throw WrongCall(fmt::format("There is no verb or file {}; see larkspool --help", file));
    }
    const std::string editor = programFolder() + "/larkspool-editor";
    std::vector<char*> words{const_cast<char*>(editor.c_str())}; // What is started does not write into them.
    for (const std::string& file : files) words.push_back(const_cast<char*>(file.c_str()));
    words.push_back(nullptr);
    execv(editor.c_str(), words.data());
    // It has not taken this program's place.
    tell(terminal, fmt::format("The editor cannot be started: {}: {}", editor, std::generic_category().message(errno)));
    return failure;
}

int run(std::span<const std::string> arguments, const Terminal& terminal)
{
    if (!arguments.empty()) {
        const std::string& first = arguments.front();
        if (const Verb* verb = verbNamed(first)) return runVerb(*verb, arguments.subspan(1), terminal);
        if (first == "--help" || first == "--version") {
            if (arguments.size() > 1) throw WrongCall(fmt::format("{} has no use for {}", first, arguments[1]));
            terminal.out(first == "--help" ? overallHelp() : "larkspool " LARKSPOOL_VERSION "\n");
            return success;
        }
    }
    return openEditor(arguments, terminal);
}

} // namespace

int runCommandLine(std::span<const std::string> arguments, const Terminal& terminal)
try {
    return run(arguments, terminal);
} catch (const WrongCall& error) {
    tell(terminal, error.what());
    return wrongCall;
} catch (const std::bad_alloc&) {
    tell(terminal, "There is not enough memory");
    return failure;
} catch (const std::exception& error) {
    tell(terminal, error.what());
    return failure;
}

} // namespace larkspool
