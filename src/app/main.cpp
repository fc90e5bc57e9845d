#include "app/command_line.h"
#include "export/headless.h"
#include "platform/heap.h"

#include <cstdlib>
#include <string>
#include <vector>

int main(int count, char** arguments)
{
    using namespace larkspool;
    keepLargeMemoryApart();
    if (const std::optional<HeadlessRequest> request = headlessRequest([](const char* name) { return std::getenv(name); })) {
        runHeadlessExport(request->inPath, request->outPath, HeadlessSurroundings::system());
        return 0;
    }

    const std::vector<std::string> words(arguments + (count > 0), arguments + count);
    const Terminal terminal = systemTerminal();
    const int status = runCommandLine(words, terminal);
    if (standardOutputArrived()) return status;
    terminal.error("larkspool: Standard output cannot be written\n");
    return 1;
}
