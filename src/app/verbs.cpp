#include "app/verbs.h"

#include <array>

namespace larkspool {

std::span<const Verb> verbs()
{
    static const std::array all = {exportVerb(),   frameVerb(),    checkVerb(), convertVerb(),
                                   evaluateVerb(), describeVerb(), patchVerb()};
    return all;
}

} // namespace larkspool
