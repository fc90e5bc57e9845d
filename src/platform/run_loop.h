#pragma once

#include <functional>

namespace larkspool {

/// The main thread, as a place to hand work over to.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    /// Runs `step` on the main thread, soon, after all that was posted before. May be called from any thread.
    virtual void post(std::function<void()> step) = 0;
};

} // namespace larkspool
