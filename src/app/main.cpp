#include "app/command_line.h"

#include <string>
#include <vector>

int main(int count, char** arguments)
{
    return larkspool::runCommandLine(std::vector<std::string>(arguments + 1, arguments + count));
}
