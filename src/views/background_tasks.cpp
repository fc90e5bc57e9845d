#include "views/background_tasks.h"

#include "platform/worker_thread.h"

#include <utility>

namespace larkspool {

BackgroundTasks::~BackgroundTasks()
{
    for (Worker& worker : workers_) worker.thread.join();
    WorkerThread::waitForEnded();
}

Tasks BackgroundTasks::tasks()
{
    return {.detach = [this](std::function<void()> work) { start(std::move(work)); },
            .onMain = [this](std::function<void()> step) { loop_.post(std::move(step)); }};
}

std::size_t BackgroundTasks::running()
{
    removeEnded();
    return workers_.size();
}

void BackgroundTasks::start(std::function<void()> work)
{
    removeEnded();
    std::list<Worker> begun(1); // Apart until it has a thread.
    Worker& worker = begun.front();
    worker.thread = std::thread([&worker, work = std::move(work)]() mutable {
        work();
        work = nullptr; // What it holds goes before it counts as ended.
        worker.hasEnded = true;
    });
    workers_.splice(workers_.end(), begun);
}

void BackgroundTasks::removeEnded()
{
    std::erase_if(workers_, [](Worker& worker) {
        if (!worker.hasEnded) return false;
        worker.thread.join();
        return true;
    });
}

} // namespace larkspool
