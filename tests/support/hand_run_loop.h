#pragma once

#include "platform/run_loop.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace larkspool {

/// A run loop that stands still until the test turns it.
class HandRunLoop final : public RunLoop {
public:
    void post(std::function<void()> step) override
    {
        const std::lock_guard lock(mutex_);
        steps_.push_back(std::move(step));
        arrived_.notify_all();
    }

    /// Runs all that waits, and what comes of it. Returns how many steps that was.
    std::size_t turn()
    {
        std::size_t count = 0;
        for (; const std::function<void()> step = next({}); ++count) step();
        return count;
    }

    /// Turns until `isDone`, and waits for steps meanwhile. Returns whether that came to pass in time.
    bool turnUntil(const std::function<bool()>& isDone, std::chrono::milliseconds longest = std::chrono::seconds(20))
    {
        const auto end = Clock::now() + longest;
        while (!isDone()) {
            const std::function<void()> step = next(end);
            if (!step) return false;
            step();
        }
        return true;
    }

    /// Waits until a step waits, and does not run it.
    bool waitForStep(std::chrono::milliseconds longest = std::chrono::seconds(20))
    {
        std::unique_lock lock(mutex_);
        return arrived_.wait_for(lock, longest, [this] { return !steps_.empty(); });
    }

private:
    using Clock = std::chrono::steady_clock;

    std::function<void()> next(Clock::time_point end)
    {
        std::unique_lock lock(mutex_);
        if (!arrived_.wait_until(lock, end, [this] { return !steps_.empty(); })) return nullptr;
        std::function<void()> step = std::move(steps_.front());
        steps_.pop_front();
        return step;
    }

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::function<void()>> steps_;
};

} // namespace larkspool
