#include "app/command_line.h"

#include <cstdio>

namespace larkspool {

int runCommandLine(std::span<const std::string>)
{
    std::puts("larkspool " LARKSPOOL_VERSION);
    return 0;
}

} // namespace larkspool
