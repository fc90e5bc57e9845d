#include "rendering/worker_thread.h"

#include <utility>

namespace larkspool {

WorkerThread::~WorkerThread()
{
    {
        const std::lock_guard lock(mutex_);
        isDone_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void WorkerThread::add(std::function<void()> job)
{
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    changed_.notify_one();
    if (!thread_.joinable()) thread_ = std::thread([this] { work(); });
}

void WorkerThread::work()
{
    while (const std::function<void()> job = next()) job();
}

/// Nothing at the end.
std::function<void()> WorkerThread::next()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isDone_ || !jobs_.empty(); });
    if (isDone_) return nullptr;
    std::function<void()> job = std::move(jobs_.front());
    jobs_.pop_front();
    return job;
}

} // namespace larkspool
