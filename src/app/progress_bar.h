#pragma once

#include "app/terminal.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace larkspool {

/// How far a film is.
struct FilmProgress {
    std::int64_t frames = 0;      ///< Written so far.
    std::int64_t totalFrames = 0; ///< At least 1.
    double seconds = 0;           ///< Since the start.
};

/// One line of at most 79 characters: a bar, the part in percent, frames, frames per second, and the time left.
std::string progressLine(const FilmProgress& progress);

/// A bar in one line of the terminal that grows in place. Says nothing where no person watches.
class ProgressBar {
public:
    explicit ProgressBar(const Terminal& terminal);
    ~ProgressBar(); ///< Takes the bar away.
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Counts one more frame; `part` of all frames are then written, above 0 and at most 1.
    void frameWritten(double part);

    FilmProgress progress() const;

private:
    using Clock = std::chrono::steady_clock;

    const Terminal& terminal_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point shown_{};
    std::int64_t frames_ = 0;
    std::int64_t totalFrames_ = 1;
    std::size_t shownLength_ = 0;
};

} // namespace larkspool
