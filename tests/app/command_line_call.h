#pragma once

#include "app/command_line.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace larkspool {

/// What a call left behind.
struct Outcome {
    int status = -1;
    std::string out;
    std::string error;
};

inline Outcome call(const std::vector<std::string>& arguments)
{
    Outcome outcome;
    const Terminal terminal{.out = [&](std::string_view text) { outcome.out += text; },
                            .error = [&](std::string_view text) { outcome.error += text; }};
    outcome.status = runCommandLine(arguments, terminal);
    return outcome;
}

/// One line in the program's name.
MATCHER_P(IsOneLine, words, "")
{
    *result_listener << arg;
    return arg.starts_with("larkspool: ") && arg.ends_with("\n") && std::ranges::count(arg, '\n') == 1 &&
           arg.find(words) != std::string::npos;
}

} // namespace larkspool
