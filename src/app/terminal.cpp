#include "app/terminal.h"

#include <cstdio>

#include <unistd.h>

namespace larkspool {

Terminal systemTerminal()
{
    return {.out = [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); },
            .error =
                [](std::string_view text) {
                    std::fwrite(text.data(), 1, text.size(), stderr);
                    std::fflush(stderr);
                },
            .showsProgress = isatty(STDERR_FILENO) == 1};
}

bool standardOutputArrived()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

std::string onOneLine(std::string_view text)
{
    std::string line(text);
    for (char& character : line)
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7f) character = '?';
    return line;
}

} // namespace larkspool
