#include "shell/film_task.h"

#include <cstring>
#include <mutex>
#include <utility>

namespace larkspool {

namespace {

LiveFrame copied(const PixelBuffer& picture)
{
    auto copy = std::make_shared<PixelBuffer>(picture.width(), picture.height());
    for (int y = 0; y < picture.height(); ++y)
        std::memcpy(copy->row(y), picture.row(y), static_cast<std::size_t>(picture.width()) * 4);
    return copy;
}

} // namespace

/// What the two threads share.
class FilmTask::Run : public std::enable_shared_from_this<Run> {
public:
    Run(Tasks tasks, Steps steps) : tasks_(std::move(tasks)), steps_(std::move(steps)) {}

    void start()
    {
        tasks_.detach([run = shared_from_this()] { run->write(); });
    }

    void cancel() { cancel_.cancel(); }

    /// On the main thread.
    void letGo() { isHeld_ = false; }

private:
    void write()
    {
        std::exception_ptr error;
        try {
            steps_.write({.previewFrame = [this](const PixelBuffer& picture) { add({.frame = copied(picture)}); },
                          .progress = [this](double part) { add({.progress = part}); },
                          .cancel = &cancel_});
        } catch (...) {
            error = std::current_exception();
        }
        tasks_.onMain([run = shared_from_this(), error] { run->end(error); });
    }

    void add(FilmNews news)
    {
        {
            const std::lock_guard lock(mutex_);
            if (news.progress) news_.progress = news.progress;
            if (news.frame) news_.frame = std::move(news.frame);
            if (std::exchange(isPosted_, true)) return;
        }
        tasks_.onMain([run = shared_from_this()] { run->deliver(); });
    }

    void deliver()
    {
        FilmNews news;
        {
            const std::lock_guard lock(mutex_);
            news = std::exchange(news_, {});
            isPosted_ = false;
        }
        if (isHeld_) steps_.news(news);
    }

    void end(const std::exception_ptr& error)
    {
        if (isHeld_)
            steps_.end(error);
        else if (steps_.abandonedEnd)
            steps_.abandonedEnd(error);
    }

    Tasks tasks_;
    Steps steps_;
    Exporter::ExportCancelFlag cancel_;
    bool isHeld_ = true; ///< Of the main thread alone.

    std::mutex mutex_;
    FilmNews news_;
    bool isPosted_ = false;
};

FilmTask::FilmTask(Tasks tasks, Steps steps) : run_(std::make_shared<Run>(std::move(tasks), std::move(steps)))
{
    run_->start();
}

FilmTask::~FilmTask()
{
    run_->cancel();
    run_->letGo();
}

void FilmTask::cancel()
{
    run_->cancel();
}

} // namespace larkspool
