#include "rendering/video_generator_pool.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// Times at most this far ahead of a reader are reached by reading on, in seconds. Farther ahead it would most likely seek.
constexpr double readingReach = 2;

/// So far behind its reader, in seconds, a time is still served by the pictures that a generator keeps.
constexpr double keptBehind = 0.1;

/// A reader goes on from where it stood by at most this much, in seconds.
constexpr double trailReach = 0.5;

constexpr std::size_t mostTrails = 32;

/// Both tolerances of the pictures of an export, in seconds.
constexpr double exportTolerance = 1.0 / 240;

constexpr ImageGenerator::Settings exportSettings{.appliesPreferredTrackTransform = true,
                                                  .requestedTimeToleranceBefore = exportTolerance,
                                                  .requestedTimeToleranceAfter = exportTolerance};

} // namespace

VideoFrame VideoGeneratorPool::frame(const std::string& path, double time)
{
    std::unique_lock lock(mutex_);
    const Entries::iterator entry = reserve(lock, path, time);
    lock.unlock();

    ImageGenerator::Work before;
    VideoFrame frame;
    if (!entry->generator) entry->generator = std::make_unique<ImageGenerator>(path, exportSettings);
    else before = entry->generator->work();
    frame = entry->generator->frame(time);

    lock.lock();
    countWork(before, entry->generator->work());
    entry->bytes = entry->generator->memoryBytes();
    entry->isBusy = false;
    makeRoom(entry);
    becameFree_.notify_all();
    return frame;
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::reserve(std::unique_lock<std::mutex>& lock, const std::string& path,
                                                                  double time)
{
    Entries::iterator entry;
    for (;;) {
        entry = nearestBefore(path, time);
        const bool mustJump = entry == entries_.end();
        if (mustJump) {
            entry = leastRecentlyUsedOf(path);
            const bool isWanted = entry == entries_.end() || entry->isBusy || takeTrail(path, time);
            if (isWanted) {
                entry = entries_.insert(entries_.end(), Entry{.path = path});
                ++work_.openedGenerators;
            } else {
                leaveTrail(*entry);
            }
        }
        if (!entry->isBusy) break;
        // Another thread is about to bring it nearly here, which is cheaper to wait for than to do again.
        becameFree_.wait(lock);
    }
    entry->isBusy = true;
    entry->position = time;
    entry->lastUse = ++uses_;
    makeRoom(entry);
    return entry;
}

VideoGeneratorPool::Entries::iterator VideoGeneratorPool::nearestBefore(const std::string& path, double time)
{
    auto best = entries_.end();
    double bestDistance = readingReach;
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
        const double ahead = time - entry->position;
        if (entry->path != path || ahead < -keptBehind || std::abs(ahead) > bestDistance) continue;
        best = entry;
        bestDistance = std::abs(ahead);
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

bool VideoGeneratorPool::takeTrail(const std::string& path, double time)
{
    const auto trail = std::ranges::find_if(trails_, [&](const Trail& each) {
        return each.path == path && time - each.position >= -keptBehind && time - each.position <= trailReach;
    });
    if (trail == trails_.end()) return false;
    trails_.erase(trail);
    return true;
}

void VideoGeneratorPool::leaveTrail(const Entry& entry)
{
    trails_.push_back({entry.path, entry.position});
    if (trails_.size() > mostTrails) trails_.pop_front();
}

void VideoGeneratorPool::makeRoom(Entries::const_iterator keep)
{
    const auto isTooMuch = [&] {
        std::int64_t bytes = 0;
        for (const Entry& entry : entries_) bytes += entry.bytes;
        return bytes > limits_.bytes || entries_.size() > limits_.generators;
    };
    while (isTooMuch()) {
        auto oldest = entries_.end();
        for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
            if (entry->isBusy || entry == keep) continue;
            if (oldest == entries_.end() || entry->lastUse < oldest->lastUse) oldest = entry;
        }
        if (oldest == entries_.end()) return;
        entries_.erase(oldest);
    }
}

void VideoGeneratorPool::countWork(const ImageGenerator::Work& before, const ImageGenerator::Work& after)
{
    work_.decodedPictures += after.decodedPictures - before.decodedPictures;
    work_.seeks += after.seeks - before.seeks;
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
