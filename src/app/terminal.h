#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace larkspool {

/// Where a verb speaks to.
struct Terminal {
    std::function<void(std::string_view)> out;   ///< Standard output: what was asked for.
    std::function<void(std::string_view)> error; ///< Standard error: what went wrong, and the progress of long work.
    bool showsProgress = false;                  ///< Whether a person watches standard error.
    std::function<std::string()> in{};           ///< All of standard input. Throws FileError.
};

/// The terminal of the process.
Terminal systemTerminal();

/// Whether all that was said to standard output has arrived. Asked once, at the end.
bool standardOutputArrived();

/// `text` with every control character made visible as a question mark, so that nothing from a file can steer a terminal or break
/// a line.
std::string onOneLine(std::string_view text);

} // namespace larkspool
