#pragma once

#include "app/call.h"
#include "app/terminal.h"

#include <span>

namespace larkspool {

/// A failure of a verb that is no mistake in the call. `what()` says in one line what went wrong.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One thing that the program does when called by name.
struct Verb {
    CallRules rules;
    std::string_view summary; ///< A few words for the list of verbs.
    std::string_view notes;   ///< What a person must know besides, in whole lines; may be empty.
    int (*run)(const Call& call, const Terminal& terminal); ///< Returns the exit status. May throw WrongCall and Failure.
};

/// All verbs, in the order of a person's work.
std::span<const Verb> verbs();

const Verb& checkVerb();
const Verb& convertVerb();
const Verb& evaluateVerb();
const Verb& describeVerb();
const Verb& patchVerb();
const Verb& frameVerb();
const Verb& exportVerb();

} // namespace larkspool
