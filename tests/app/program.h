#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// What a run of the built program left behind.
struct ProgramResult {
    int status = -1;  ///< The exit status, or -1 if a signal or the time limit ended the run.
    int signal = 0;   ///< The signal that ended the run.
    std::string out;
    std::string error;
};

struct ProgramRun {
    std::string program;                            ///< Another file than the built one, if not empty.
    std::vector<std::string> arguments;
    std::map<std::string, std::string> environment; ///< Added to that of the test; the headless variables are taken out first.
    std::string workingFolder;                      ///< The test's own, if empty.
    std::optional<std::size_t> largestFile;         ///< No file may grow beyond so many bytes, as on a full disk.
    bool errorIsTerminal = false;                   ///< Standard error is a terminal, as at a person's desk.

    /// Called whenever something new was said on standard error, with all of it so far and the process. A test may send signals.
    std::function<void(const std::string& error, int process)> watch;
};

/// Runs the program to its end. A run of more than two minutes is killed.
ProgramResult runProgram(const ProgramRun& run);

} // namespace larkspool
