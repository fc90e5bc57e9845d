#include "rendering/video_generator_pool.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace larkspool {

namespace {

/// A reader goes on from where it stands by at most this much, in seconds; farther is a jump.
constexpr double longestStep = 0.25;

/// A reader whose step is at most this many times its last is the same reader.
constexpr double steadyStep = 1.5;

/// So many pictures behind its reader a generator still has them, if they are about equally long.
constexpr double keptPictures = 3;

constexpr std::size_t mostTrails = 32;

/// Both tolerances of the pictures of an export, in seconds.
constexpr double exportTolerance = 1.0 / 240;

constexpr ImageGenerator::Settings exportSettings{.appliesPreferredTrackTransform = true,
                                                  .requestedTimeToleranceBefore = exportTolerance,
                                                  .requestedTimeToleranceAfter = exportTolerance};

} // namespace

/// A generator in the hands of one thread, from after its choice until it is given back.
class VideoGeneratorPool::Reservation {
public:
    Reservation(VideoGeneratorPool& pool, const std::string& path, double time) : pool_(pool)
    {
        std::unique_lock lock(pool_.mutex_);
        const Entries::iterator nearest = pool_.nearest(path, time);
        if (nearest != pool_.entries_.end()) stoodAt_ = nearest->position;
        entry_ = pool_.reserve(lock, path, time);
    }
    ~Reservation()
    {
        const std::lock_guard lock(pool_.mutex_);
        if (entry_->generator) giveBack(*entry_);
        entry_->isBusy = false;
        if (!entry_->generator) pool_.entries_.erase(entry_);
        pool_.makeRoom();
        pool_.becameFree_.notify_all();
    }
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;

    ImageGenerator& generator()
    {
        if (!entry_->generator)
            entry_->generator = std::make_unique<ImageGenerator>(entry_->path, exportSettings);
        else
            before_ = entry_->generator->work();
        return *entry_->generator;
    }

private:
    void giveBack(Entry& entry)
    {
        const ImageGenerator::Work after = entry.generator->work();
        pool_.work_.decodedPictures += after.decodedPictures - before_.decodedPictures;
        pool_.work_.seeks += after.seeks - before_.seeks;
        entry.bytes = entry.generator->memoryBytes();
        entry.keptBehind = keptPictures * entry.generator->frameInterval();
        // It was thought to have the picture, and had to go back for it.
        const bool hasLeft = stoodAt_ && after.seeks > before_.seeks;
        if (hasLeft) pool_.leaveTrail(entry.path, *stoodAt_);
    }

    VideoGeneratorPool& pool_;
    Entries::iterator entry_;
    std::optional<double> stoodAt_;
    ImageGenerator::Work before_;
};

VideoFrame VideoGeneratorPool::frame(const std::string& path, double time)
{
    Reservation reservation(*this, path, time);
    return reservation.generator().frame(time);
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::reserve(std::unique_lock<std::mutex>& lock, const std::string& path,
                                                                  double time)
{
    Entries::iterator entry = choose(path, time);
    while (entry->isBusy) {
        // Another thread is bringing it nearly here, which is cheaper to wait for than to do again.
        becameFree_.wait(lock);
        entry = choose(path, time);
    }
    const double ahead = time - entry->position;
    if (ahead > longestStep || ahead < -entry->keptBehind)
        entry->step = 0;
    else if (ahead > 0)
        entry->step = ahead;
    entry->isBusy = true;
    entry->position = time;
    entry->lastUse = ++uses_;
    makeRoom();
    return entry;
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::choose(const std::string& path, double time)
{
    const auto near = nearest(path, time);
    const auto trail = trailBefore(path, time);
    const bool readsOn = near != entries_.end() && std::abs(time - near->position) <= steadyStep * near->step;
    const bool wasTaken = trail != trails_.end() && !readsOn &&
                          (near == entries_.end() || std::abs(time - near->position) > time - trail->position);
    if (wasTaken) {
        trails_.erase(trail);
        return open(path);
    }
    if (near != entries_.end()) return near;

    const auto idle = leastRecentlyUsedOf(path);
    if (idle == entries_.end()) return open(path);
    leaveTrail(path, idle->position);
    return idle;
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::open(const std::string& path)
{
    ++work_.openedGenerators;
    return entries_.insert(entries_.end(), Entry{.path = path});
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::nearest(const std::string& path, double time)
{
    auto best = entries_.end();
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
        const double ahead = time - entry->position;
        if (entry->path != path || ahead < -entry->keptBehind || ahead > longestStep) continue;
        if (best == entries_.end() || std::abs(ahead) < std::abs(time - best->position)) best = entry;
    }
    return best;
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::leastRecentlyUsedOf(const std::string& path)
{
    auto oldest = entries_.end();
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
        if (entry->path != path || entry->isBusy) continue;
        if (oldest == entries_.end() || entry->lastUse < oldest->lastUse) oldest = entry;
    }
    return oldest;
}

std::deque<VideoGeneratorPool::Trail>::iterator VideoGeneratorPool::trailBefore(const std::string& path, double time)
{
    return std::ranges::find_if(trails_, [&](const Trail& trail) {
        return trail.path == path && time >= trail.position && time - trail.position <= longestStep;
    });
}

void VideoGeneratorPool::leaveTrail(const std::string& path, double position)
{
    std::erase_if(trails_, [&](const Trail& trail) { return trail.path == path && trail.position == position; });
    trails_.push_back({path, position});
    if (trails_.size() > mostTrails) trails_.pop_front();
}

void VideoGeneratorPool::makeRoom()
{
    const auto isTooMuch = [&] {
        std::int64_t bytes = 0;
        for (const Entry& entry : entries_) bytes += entry.bytes;
        return bytes > limits_.bytes || entries_.size() > limits_.generators;
    };
    while (entries_.size() > 1 && isTooMuch()) {
        auto oldest = entries_.end();
        for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
            if (entry->isBusy) continue;
            if (oldest == entries_.end() || entry->lastUse < oldest->lastUse) oldest = entry;
        }
        if (oldest == entries_.end()) return;
        entries_.erase(oldest);
    }
}

void VideoGeneratorPool::release()
{
    const std::lock_guard lock(mutex_);
    std::erase_if(entries_, [](const Entry& entry) { return !entry.isBusy; });
    trails_.clear();
}

VideoGeneratorPool::Work VideoGeneratorPool::work() const
{
    const std::lock_guard lock(mutex_);
    return work_;
}

std::size_t VideoGeneratorPool::size() const
{
    const std::lock_guard lock(mutex_);
    return entries_.size();
}

} // namespace larkspool
