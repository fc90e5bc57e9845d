#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace larkspool {

/// The main thread, as a place to hand work over to.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    /// Runs `step` on the main thread, soon, after all that was posted before. May be called from any thread.
    virtual void post(std::function<void()> step) = 0;
};

/// A way to a run loop for work that may outlast it. The work shares this with its owner, who closes it.
class RunLoopLink {
public:
    explicit RunLoopLink(RunLoop& loop) : loop_(&loop) {}

    /// From any thread. Does nothing once it is closed.
    void post(std::function<void()> step)
    {
        const std::lock_guard lock(mutex_);
        if (loop_) loop_->post(std::move(step));
    }

    /// From here on the run loop may go.
    void close()
    {
        const std::lock_guard lock(mutex_);
        loop_ = nullptr;
    }

private:
    std::mutex mutex_;
    RunLoop* loop_;
};

} // namespace larkspool
