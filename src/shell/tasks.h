#pragma once

#include <functional>

namespace larkspool {

/// Where long work is done, and where it comes back to.
struct Tasks {
    /// Runs `work` on another thread, which nobody waits for.
    std::function<void(std::function<void()> work)> detach;
    /// Runs `step` on the main thread, soon, after all that was handed over before. May be called from any thread.
    std::function<void(std::function<void()> step)> onMain;
};

} // namespace larkspool
