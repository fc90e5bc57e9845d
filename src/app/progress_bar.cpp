#include "app/progress_bar.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace larkspool {

namespace {

constexpr int barWidth = 20;
constexpr std::chrono::milliseconds betweenUpdates{100};

/// "8 s", "2:05", "1:00:09".
std::string duration(double seconds)
{
    const auto whole = static_cast<std::int64_t>(std::ceil(std::clamp(seconds, 0.0, 359999.0)));
    if (whole < 60) return fmt::format("{} s", whole);
    if (whole < 3600) return fmt::format("{}:{:02}", whole / 60, whole % 60);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

} // namespace

std::string progressLine(const FilmProgress& progress)
{
    const double part = static_cast<double>(progress.frames) / static_cast<double>(progress.totalFrames);
    const int filled = static_cast<int>(part * barWidth);
    std::string line = fmt::format("[{:#<{}}{:.<{}}] {:3.0f}%  {}/{}", "", filled, "", barWidth - filled, std::floor(part * 100),
                                   progress.frames, progress.totalFrames);
    if (progress.frames == 0 || !(progress.seconds > 0)) return line;

    const double framesPerSecond = static_cast<double>(progress.frames) / progress.seconds;
    const double left = static_cast<double>(progress.totalFrames - progress.frames) / framesPerSecond;
    return line + fmt::format("  {:.1f} frames/s  {} left", framesPerSecond, duration(left));
}

ProgressBar::ProgressBar(const Terminal& terminal) : terminal_(terminal) {}

ProgressBar::~ProgressBar()
{
    if (shownLength_ > 0) terminal_.error(fmt::format("\r{:{}}\r", "", shownLength_));
}

void ProgressBar::frameWritten(double part)
{
    ++frames_;
    totalFrames_ = std::max(static_cast<std::int64_t>(std::llround(static_cast<double>(frames_) / part)), frames_);
    const Clock::time_point now = Clock::now();
    if (!terminal_.showsProgress || now - shown_ < betweenUpdates) return;

    const std::string line = progressLine(progress());
    terminal_.error(fmt::format("\r{:<{}}", line, shownLength_));
    shownLength_ = std::max(shownLength_, line.size());
    shown_ = now;
}

FilmProgress ProgressBar::progress() const
{
    return {
        .frames = frames_, .totalFrames = totalFrames_, .seconds = std::chrono::duration<double>(Clock::now() - start_).count()};
}

} // namespace larkspool
