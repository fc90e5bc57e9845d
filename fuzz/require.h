#pragma once

#include <cstdio>
#include <cstdlib>

namespace larkspool {

/// Ends the program, which a fuzzer takes for a find, unless the law holds for the input at hand.
inline void require(bool holds, const char* law)
{
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", law);
    std::abort();
}

} // namespace larkspool
