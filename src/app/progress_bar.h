#pragma once

#include "app/terminal.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace larkspool {

/// How far a film is.
struct FilmProgress {
    /// The second stage of a film with sound, behind its last frame.
    struct Sound {
        double part = 0;    ///< 0...1.
        double seconds = 0; ///< Since the stage began.
    };

    std::int64_t frames = 0;      ///< Written so far.
    std::int64_t totalFrames = 0; ///< At least 1.
    double seconds = 0;           ///< Since the start.
    double part = 0;              ///< Of the whole work, 0...1.
    std::optional<Sound> sound{};
};

/// One line of at most 79 characters: a bar, the part of the whole work in percent, frames, and frames per second with the time
/// that the rest of them takes; or, behind the last frame, that sound is being added, with the time left.
std::string progressLine(const FilmProgress& progress);

/// A bar in one line of the terminal that grows in place. Says nothing where no person watches.
class ProgressBar {
public:
    enum class Stages {
        frames,         ///< The frames are all the work.
        framesThenSound ///< Sound follows, with the share of the progress that an exporter gives it.
    };

    ProgressBar(const Terminal& terminal, Stages stages);
    ~ProgressBar(); ///< Takes the bar away.
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Takes in what an exporter tells: `part` of the whole work is done. Each call up to the last frame counts one more.
    void advance(double part);

    FilmProgress progress() const;

private:
    using Clock = std::chrono::steady_clock;

    void countFrame(double filmPart);

    const Terminal& terminal_;
    Stages stages_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point shown_{};
    std::int64_t frames_ = 0;
    std::int64_t totalFrames_ = 1;
    double part_ = 0;
    std::optional<Clock::time_point> framesDone_; ///< When the last of them was written, if sound follows.
    bool tellsSound_ = false;
    std::size_t shownLength_ = 0;
};

} // namespace larkspool
