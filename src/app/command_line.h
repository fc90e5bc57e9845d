#pragma once

#include "app/terminal.h"

#include <span>
#include <string>

namespace larkspool {

/// Runs the program with its arguments (the program's own name left out) and returns the exit status: 0 for success, 1 for a
/// failure, 2 for a wrong call. What goes wrong is told in one line on standard error. Never throws.
int runCommandLine(std::span<const std::string> arguments, const Terminal& terminal);

} // namespace larkspool
