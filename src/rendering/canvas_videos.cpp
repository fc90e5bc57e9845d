#include "rendering/canvas_videos.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace larkspool {

namespace {

/// While it plays, a player asks for a picture wherever its clock stands, but for repeats of one painting.
constexpr double playingInterval = 1.0 / 1000;

/// A scene that plays may hold the time of a source still, as at a frozen end. After so many seconds its player stands still too.
constexpr double longestHold = 0.1;

/// The clock of a player.
class PlayerClock {
public:
    double time(double now) const { return time_ + rate_ * (now - since_); }

    void follow(const VideoPlayerStep& step, double now)
    {
        using Kind = VideoPlayerStep::Kind;
        switch (step.kind) {
        case Kind::tearDown:
        case Kind::build: return set(0, 0, now);
        case Kind::seek: return set(step.time, rate_, now);
        case Kind::setRate: return set(time(now), step.rate, now);
        }
    }

private:
    void set(double time, double rate, double now)
    {
        time_ = time;
        rate_ = rate;
        since_ = now;
    }

    double time_ = 0, rate_ = 0, since_ = 0;
};

} // namespace

/// One layer's video.
struct CanvasVideos::View {
    VideoFrameRequests requests;
    std::optional<VideoFrameRequests::Request> underway; ///< The latest request, until it is answered.
    VideoPlayerDirector director;
    PlayerClock clock;
    double sourceTime = -1; ///< Asked for last.
    double heldSince = 0; ///< By the wall clock.
    bool isShown = true;
};

/// The thread that fetches, and its queue.
class CanvasVideos::Fetcher {
public:
    Fetcher(RunLoop& mainThread, std::function<void()> pictureArrived)
        : mainThread_(mainThread), pictureArrived_(std::make_shared<std::function<void()>>(std::move(pictureArrived))),
          thread_([this] { work(); })
    {
    }

    ~Fetcher()
    {
        {
            const std::lock_guard lock(mutex_);
            isDone_ = true;
        }
        changed_.notify_one();
        thread_.join();
    }

    void fetch(const std::shared_ptr<View>& view, const VideoFrameRequests::Request& request)
    {
        {
            const std::lock_guard lock(mutex_);
            jobs_.push_back({view, request});
        }
        changed_.notify_one();
    }

private:
    struct Job {
        std::weak_ptr<View> view;
        VideoFrameRequests::Request request;
    };

    void work()
    {
        while (const std::optional<Job> job = next()) {
            if (!isWanted(*job)) continue;
            const auto& [token, path, time, settings] = job->request;
            answer(*job, cache_.frame(path, time, settings));
        }
    }

    std::optional<Job> next()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isDone_ || !jobs_.empty(); });
        if (isDone_) return std::nullopt;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        return job;
    }

    static bool isWanted(const Job& job)
    {
        const std::shared_ptr<View> view = job.view.lock();
        return view && !view->requests.isOvertaken(job.request.token);
    }

    void answer(const Job& job, ImageRef image)
    {
        mainThread_.post([job, image = std::move(image), arrived = std::weak_ptr(pictureArrived_)] {
            const std::shared_ptr<View> view = job.view.lock();
            const auto tell = arrived.lock();
            if (!view || !tell) return;
            if (view->underway && view->underway->token == job.request.token) view->underway.reset();
            if (view->requests.commit(job.request, image)) (*tell)();
        });
    }

    RunLoop& mainThread_;
    std::shared_ptr<std::function<void()>> pictureArrived_; ///< Goes with the canvas, answers underway or not.
    VideoFrameCache cache_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool isDone_ = false;
    std::thread thread_;
};

CanvasVideos::CanvasVideos(RunLoop& mainThread, std::function<void()> pictureArrived)
    : fetcher_(std::make_unique<Fetcher>(mainThread, std::move(pictureArrived)))
{
}

CanvasVideos::~CanvasVideos() = default;

void CanvasVideos::beginPainting(bool scenePlaying, double now)
{
    scenePlaying_ = scenePlaying;
    now_ = now;
    for (const auto& [id, view] : views_) view->isShown = false;
}

ImageRef CanvasVideos::picture(const Layer& layer, const std::string& path, double sourceTime)
{
    std::shared_ptr<View>& view = views_[layer.id];
    if (!view) view = std::make_shared<View>();
    view->isShown = true;

    const BlackKeySettings settings = blackKeySettings(layer);
    const double time = wantedTime(*view, path, sourceTime, settings);
    const auto interval = scenePlaying_ ? playingInterval : VideoFrameRequests::scrubbingInterval;
    if (const auto& underway = view->underway; underway && underway->asksTheSame({underway->token, path, time, settings}))
        return view->requests.cgImage();
    view->underway = view->requests.request(path, time, settings, interval);
    if (view->underway) fetcher_->fetch(view, *view->underway);
    return view->requests.cgImage();
}

void CanvasVideos::endPainting()
{
    std::erase_if(views_, [](const auto& each) { return !each.second->isShown; });
}

/// Where the layer's player stands, once it has been told what the canvas wants.
double CanvasVideos::wantedTime(View& view, const std::string& path, double sourceTime, const BlackKeySettings& settings)
{
    if (sourceTime != view.sourceTime) {
        view.sourceTime = sourceTime;
        view.heldSince = now_;
    }
    const bool isPlaying = scenePlaying_ && now_ - view.heldSince <= longestHold;
    for (const VideoPlayerStep& step : view.director.configure(path, sourceTime, isPlaying, settings, view.clock.time(now_)))
        view.clock.follow(step, now_);
    return view.clock.time(now_);
}

} // namespace larkspool
