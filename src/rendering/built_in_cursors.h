#pragma once

#include <string_view>

namespace larkspool {

/// The SVG of the program's own copy of a cursor file, by the file's name without ".svg"; empty if there is none of that name.
std::string_view builtInCursor(std::string_view name);

} // namespace larkspool
