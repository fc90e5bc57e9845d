#pragma once

#include "platform/image_generator.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <string>

namespace larkspool {

/// Image generators by path, several for one path where it is read in several places at once.
///
/// A request goes to the generator that stands at its time or a step before it. If all stand elsewhere, the one of that path that
/// was used longest ago jumps; should someone then go on from where it had stood, it was taken from a reader that lives, who gets
/// a generator of its own. So a film that loops keeps one generator, and two layers that take turns on one file have two.
///
/// For any thread. No lock is held while a generator works.
class VideoGeneratorPool {
public:
    struct Limits {
        std::int64_t bytes = std::int64_t{1} << 30; ///< Of all generators together, as they tell it.
        std::size_t generators = 24;
    };
    struct Work {
        std::int64_t openedGenerators = 0;
        std::int64_t decodedPictures = 0;
        std::int64_t seeks = 0;
    };

    explicit VideoGeneratorPool(Limits limits) : limits_(limits) {}

    /// The picture on show at `time`; see ImageGenerator.
    VideoFrame frame(const std::string& path, double time);

    /// Closes all generators that no call is using.
    void release();

    Work work() const;
    std::size_t size() const; ///< Open generators.

private:
    struct Entry {
        std::string path;
        std::unique_ptr<ImageGenerator> generator; ///< Absent while it is being opened.
        double position = 0; ///< The time that it serves or served last.
        double step = 0; ///< What it last read on by; 0 after a jump.
        double keptBehind = 0; ///< So far before that, in seconds, it still has the pictures.
        std::uint64_t lastUse = 0;
        std::int64_t bytes = 0;
        bool isBusy = false;
    };
    /// Where a generator stood that jumped away.
    struct Trail {
        std::string path;
        double position;
    };
    using Entries = std::list<Entry>;
    class Reservation;

    Entries::iterator reserve(std::unique_lock<std::mutex>& lock, const std::string& path, double time);
    Entries::iterator choose(const std::string& path, double time);
    Entries::iterator open(const std::string& path);
    Entries::iterator nearest(const std::string& path, double time);
    Entries::iterator leastRecentlyUsedOf(const std::string& path);
    std::deque<Trail>::iterator trailBefore(const std::string& path, double time);
    void leaveTrail(const std::string& path, double position);
    void makeRoom();

    const Limits limits_;
    mutable std::mutex mutex_;
    std::condition_variable becameFree_;
    Entries entries_;
    std::deque<Trail> trails_; ///< The newest last.
    std::uint64_t uses_ = 0;
    Work work_;
};

} // namespace larkspool
