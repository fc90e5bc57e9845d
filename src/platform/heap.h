#pragma once

namespace larkspool {

/// Makes pieces of memory the size of pictures come straight from the system and go back to it when they are freed. Otherwise
/// small pieces that stay settle between them, and a program that draws for long takes many times what it holds. For the start
/// of a program.
void keepLargeMemoryApart();

} // namespace larkspool
