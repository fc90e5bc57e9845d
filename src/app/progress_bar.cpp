#include "app/progress_bar.h"

#include "export/exporter.h"

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

std::string soundWords(const FilmProgress::Sound& sound)
{
    const std::string words = "  adding sound";
    if (!(sound.part > 0)) return words;
    return words + fmt::format("  {} left", duration(sound.seconds / sound.part * (1 - sound.part)));
}

/// The part of the whole work that writing the frames is.
double filmShare(ProgressBar::Stages stages)
{
    return stages == ProgressBar::Stages::frames ? 1 : Exporter::filmPartWithSound;
}

template <typename Time>
double secondsBetween(Time from, Time to)
{
    return std::chrono::duration<double>(to - from).count();
}

} // namespace

std::string progressLine(const FilmProgress& progress)
{
    const int filled = static_cast<int>(progress.part * barWidth);
    std::string line = fmt::format("[{:#<{}}{:.<{}}] {:3.0f}%  {}/{}", "", filled, "", barWidth - filled,
                                   std::floor(progress.part * 100), progress.frames, progress.totalFrames);
    if (progress.sound) return line + soundWords(*progress.sound);
    if (progress.frames == 0 || !(progress.seconds > 0)) return line;

    const double framesPerSecond = static_cast<double>(progress.frames) / progress.seconds;
    const double left = static_cast<double>(progress.totalFrames - progress.frames) / framesPerSecond;
    return line + fmt::format("  {:.1f} frames/s  {} left", framesPerSecond, duration(left));
}

ProgressBar::ProgressBar(const Terminal& terminal, Stages stages) : terminal_(terminal), stages_(stages) {}

ProgressBar::~ProgressBar()
{
    if (shownLength_ > 0) terminal_.error(fmt::format("\r{:{}}\r", "", shownLength_));
}

void ProgressBar::advance(double part)
{
    part_ = part;
    const bool beginsSound = framesDone_ && !tellsSound_;
    tellsSound_ = framesDone_.has_value();
    if (!tellsSound_) countFrame(part / filmShare(stages_));

    const Clock::time_point now = Clock::now();
    if (!terminal_.showsProgress || (now - shown_ < betweenUpdates && !beginsSound)) return;
    const std::string line = progressLine(progress());
    terminal_.error(fmt::format("\r{:<{}}", line, shownLength_));
    shownLength_ = std::max(shownLength_, line.size());
    shown_ = now;
}

void ProgressBar::countFrame(double filmPart)
{
    ++frames_;
    totalFrames_ = std::max(static_cast<std::int64_t>(std::llround(static_cast<double>(frames_) / filmPart)), frames_);
    if (frames_ == totalFrames_ && stages_ == Stages::framesThenSound) framesDone_ = Clock::now();
}

FilmProgress ProgressBar::progress() const
{
    const Clock::time_point now = Clock::now();
    FilmProgress progress{.frames = frames_, .totalFrames = totalFrames_, .seconds = secondsBetween(start_, now), .part = part_};
    if (tellsSound_) {
        const double share = filmShare(stages_);
        progress.sound = {.part = (part_ - share) / (1 - share), .seconds = secondsBetween(*framesDone_, now)};
    }
    return progress;
}

} // namespace larkspool
