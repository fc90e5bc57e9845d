#include "views/quick_render_pictures.h"

#include "platform/image_generator.h"
#include "views/picture.h"

#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <utility>

namespace larkspool {

namespace {

struct Wish {
    double seconds = 0;
    QSize room;
    double pixelRatio = 1;
};

QImage fitted(const Image& image, const Wish& wish)
{
    const QImage seen = seenInPlace(image.pixels());
    const QSize size = seen.size().scaled(wish.room, Qt::KeepAspectRatio);
    QImage result = size == seen.size() ? seen.copy() : seen.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    result.setDevicePixelRatio(wish.pixelRatio);
    return result;
}

} // namespace

/// What the two threads share.
class QuickRenderPictures::Run : public std::enable_shared_from_this<Run> {
public:
    Run(std::string path, Tasks tasks, Steps steps)
        : path_(std::move(path)), tasks_(std::move(tasks)), steps_(std::move(steps))
    {
    }

    void start()
    {
        tasks_.detach([run = shared_from_this()] { run->work(); });
    }

    void wish(const Wish& wish)
    {
        {
            const std::lock_guard lock(mutex_);
            wish_ = wish;
        }
        changed_.notify_one();
    }

    void end()
    {
        {
            const std::lock_guard lock(mutex_);
            isOver_ = true;
        }
        changed_.notify_one();
        steps_ = {};
    }

private:
    /// Waits for it. Nothing when it is all over.
    std::optional<Wish> nextWish()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isOver_ || wish_; });
        return isOver_ ? std::nullopt : std::exchange(wish_, std::nullopt);
    }

    void work()
    try {
        ImageGenerator film(path_, {.appliesPreferredTrackTransform = true});
        tell({.canBeShown = film.hasVideo(), .duration = film.duration(), .frameInterval = film.frameInterval()});
        double lastStart = std::numeric_limits<double>::quiet_NaN();
        QSize lastRoom;
        while (const std::optional<Wish> wish = nextWish()) {
            const VideoFrame frame = film.frame(wish->seconds);
            if (!frame.image || (frame.start == lastStart && wish->room == lastRoom)) continue;
            lastStart = frame.start;
            lastRoom = wish->room;
            tasks_.onMain([run = shared_from_this(), picture = Picture{fitted(*frame.image, *wish), frame.start, frame.end}] {
                // A step may end this, and with it the steps.
                if (const auto arrived = run->steps_.arrived) arrived(picture);
            });
        }
    } catch (const std::exception&) {
        tell({}); // Pictures that do not fit into memory cannot be shown.
    }

    void tell(const Film& film)
    {
        tasks_.onMain([run = shared_from_this(), film] {
            if (const auto opened = run->steps_.opened) opened(film);
        });
    }

    std::string path_;
    Tasks tasks_;
    Steps steps_; ///< Of the main thread alone.

    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Wish> wish_;
    bool isOver_ = false;
};

QuickRenderPictures::QuickRenderPictures(const std::string& path, Tasks tasks, Steps steps)
    : run_(std::make_shared<Run>(path, std::move(tasks), std::move(steps)))
{
    run_->start();
}

QuickRenderPictures::~QuickRenderPictures()
{
    run_->end();
}

void QuickRenderPictures::wish(double seconds, QSize room, double pixelRatio)
{
    run_->wish({seconds, room, pixelRatio});
}

} // namespace larkspool
