#pragma once

#include <cstdint>

namespace larkspool {

/// What there is to work with.
struct Machine {
    int processors = 1; ///< That this process may use.
    std::int64_t availableBytes = 0; ///< Of memory, without any other process being pushed out of it.

    /// The one that this runs on, as it is now. Memory that cannot be told counts as unlimited.
    static Machine current();
};

} // namespace larkspool
