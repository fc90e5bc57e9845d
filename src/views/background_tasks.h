#pragma once

#include "shell/tasks.h"
#include "views/main_thread.h"

#include <atomic>
#include <functional>
#include <list>
#include <thread>

namespace larkspool {

/// Long work on threads of its own, for all windows of the program. Lives on the main thread, longer than every window, and goes
/// when all its threads, and those that have outlasted their canvases, have come to their end: whoever has work running asks it to
/// stop before.
class BackgroundTasks {
public:
    BackgroundTasks() = default;
    ~BackgroundTasks();
    BackgroundTasks(const BackgroundTasks&) = delete;
    BackgroundTasks& operator=(const BackgroundTasks&) = delete;

    /// They may be used as long as this lives; `onMain` also by the work itself. `detach` throws std::system_error if the system has
    /// no thread to give, and nothing is done then.
    Tasks tasks();

    /// How many threads have not ended.
    std::size_t running();

private:
    struct Worker {
        std::thread thread{};
        std::atomic<bool> hasEnded{false};
    };

    void start(std::function<void()> work);
    void removeEnded();

    EventLoop loop_;
    std::list<Worker> workers_;
};

} // namespace larkspool
