#pragma once

#include "shell/tasks.h"

#include <deque>
#include <functional>
#include <utility>

namespace larkspool {

/// Both threads played by hand, one step at a time.
class HandRunTasks {
public:
    Tasks tasks()
    {
        return {.detach = [this](std::function<void()> work) { work_.push_back(std::move(work)); },
                .onMain = [this](std::function<void()> step) { steps_.push_back(std::move(step)); }};
    }

    /// Runs the detached work that waits longest, whole.
    void work() { runFirst(work_); }

    /// Runs all that waits for the main thread, and what comes of it. Returns how many steps that was.
    int drain()
    {
        int steps = 0;
        for (; !steps_.empty(); ++steps) runFirst(steps_);
        return steps;
    }

    void workAndDrain()
    {
        work();
        drain();
    }

    std::size_t waitingWork() const { return work_.size(); }

private:
    static void runFirst(std::deque<std::function<void()>>& queue)
    {
        const std::function<void()> first = std::move(queue.at(0));
        queue.pop_front();
        first();
    }

    std::deque<std::function<void()>> work_, steps_;
};

} // namespace larkspool
