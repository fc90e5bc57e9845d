#include "app/terminal.h"

#include "platform/file_io.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>

#include <unistd.h>

namespace larkspool {

namespace {

std::string readStandardInput()
{
    std::string text;
    char part[65536];
    while (true) {
        const ssize_t length = read(STDIN_FILENO, part, sizeof part);
        if (length > 0) text.append(part, static_cast<std::size_t>(length));
        if (length == 0) return text;
        if (length < 0 && errno != EINTR) throw FileError("Standard input", errno);
    }
}

} // namespace

Terminal systemTerminal()
{
    return {.out = [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); },
            .error =
                [](std::string_view text) {
                    std::fwrite(text.data(), 1, text.size(), stderr);
                    std::fflush(stderr);
                },
            .showsProgress = isatty(STDERR_FILENO) == 1,
            .in = readStandardInput};
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
