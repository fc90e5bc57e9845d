#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace larkspool {

/// A thread that does jobs one after the other, from the first one on. Jobs may not throw.
///
/// Its end waits for nothing, so that a window can close while a file is read: jobs that have not begun are dropped, and one that
/// has begun goes on by itself. It must hold all that it works with.
class WorkerThread {
public:
    WorkerThread();
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    /// Throws std::system_error if the system has no thread to give; the job is never done then.
    void add(std::function<void()> job);

    /// Waits for the jobs that go on by themselves: at the end of the program, while all that they need is there.
    static void waitForEnded();

private:
    struct Jobs;

    std::shared_ptr<Jobs> jobs_;
    std::thread thread_;
};

} // namespace larkspool
