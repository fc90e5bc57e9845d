#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace larkspool {

/// A thread that does jobs one after the other, from the first one on. Its end waits for the job that has begun, and drops those
/// that have not. Jobs may not throw.
class WorkerThread {
public:
    WorkerThread() = default;
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    void add(std::function<void()> job);

private:
    void work();
    std::function<void()> next();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_;
    bool isDone_ = false;
    std::thread thread_;
};

} // namespace larkspool
