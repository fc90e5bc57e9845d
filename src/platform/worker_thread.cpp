#include "platform/worker_thread.h"

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <utility>

namespace larkspool {

/// What the thread shares with its owner, and has for itself when that is gone.
struct WorkerThread::Jobs {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> waiting;
    bool isOver = false;   ///< There is no owner any more.
    bool hasEnded = false; ///< The thread is done.

    void work()
    {
        while (const std::function<void()> job = next()) job();
        const std::lock_guard lock(mutex);
        hasEnded = true;
    }

    /// Nothing at the end.
    std::function<void()> next()
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isOver || !waiting.empty(); });
        if (isOver) return nullptr;
        std::function<void()> job = std::move(waiting.front());
        waiting.pop_front();
        return job;
    }
};

namespace {

/// Threads without an owner.
class EndedThreads {
public:
    ~EndedThreads() { joinAll(); }

    /// `hasEnded` tells whether joining it waits for nothing.
    void add(std::thread thread, std::function<bool()> hasEnded)
    {
        const std::lock_guard lock(mutex_);
        threads_.remove_if([](One& one) {
            if (!one.hasEnded()) return false;
            one.thread.join();
            return true;
        });
        threads_.push_back({std::move(thread), std::move(hasEnded)});
    }

    void joinAll()
    {
        const std::lock_guard lock(mutex_);
        for (One& one : threads_) one.thread.join();
        threads_.clear();
    }

private:
    struct One {
        std::thread thread;
        std::function<bool()> hasEnded;
    };

    std::mutex mutex_;
    std::list<One> threads_;
};

EndedThreads& endedThreads()
{
    static EndedThreads threads;
    return threads;
}

} // namespace

WorkerThread::WorkerThread() : jobs_(std::make_shared<Jobs>()) {}

WorkerThread::~WorkerThread()
{
    std::deque<std::function<void()>> dropped; // What they hold goes when nobody waits for the lock.
    {
        const std::lock_guard lock(jobs_->mutex);
        jobs_->isOver = true;
        dropped.swap(jobs_->waiting);
    }
    jobs_->changed.notify_one();
    if (!thread_.joinable()) return;
    endedThreads().add(std::move(thread_), [jobs = jobs_] {
        const std::lock_guard lock(jobs->mutex);
        return jobs->hasEnded;
    });
}

void WorkerThread::add(std::function<void()> job)
{
    // First, so that a job for which there is no thread does not wait for the next one's.
    if (!thread_.joinable()) thread_ = std::thread([jobs = jobs_] { jobs->work(); });
    {
        const std::lock_guard lock(jobs_->mutex);
        jobs_->waiting.push_back(std::move(job));
    }
    jobs_->changed.notify_one();
}

void WorkerThread::waitForEnded()
{
    endedThreads().joinAll();
}

} // namespace larkspool
