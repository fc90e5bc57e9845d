#pragma once

#include <string>
#include <vector>

namespace larkspool {

/// Runs the editor with a window for each of the documents, or with a new one, until its last window is closed. `arguments` are
/// what follows the program's name. Returns the status to exit with.
int runEditor(int& count, char** arguments);

} // namespace larkspool
