#include "export/limiter.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

constexpr std::int64_t unity = std::int64_t{1} << 30;

/// Frames over which the gain sinks before a peak: 5 ms.
constexpr std::size_t lookAhead = 240;

/// The part of the way back to full gain that is left after each frame; a thousandth after a fifth of a second.
constexpr double releaseFactor = 0.99928;

constexpr std::size_t blockFrames = 1024;

} // namespace

Limiter::Limiter(SampleStream& mix)
    : mix_(mix),
      block_(blockFrames * channels),
      released_(unity),
      window_(lookAhead, unity),
      windowSum_(unity * static_cast<Gain>(lookAhead))
{}

std::size_t Limiter::read(std::span<float> samples)
{
    const std::size_t asked = samples.size() / channels;
    for (std::size_t done = 0; done < asked; ++done) {
        // A frame may go when the gains of all those are known that its own gain must make room for.
        while (frames_.size() < lookAhead && !isAtEnd_) fill();
        if (frames_.empty()) return done;

        // What is least among the frames ahead stays least for as long as the window is wide, so that the window's mean comes
        // down in a straight line and is there when the peak is.
        const Gain least = leastAhead();
        released_ =
            std::min(least, unity - static_cast<Gain>(std::floor(static_cast<double>(unity - released_) * releaseFactor)));
        windowSum_ += released_ - window_[windowPlace_];
        window_[windowPlace_] = released_;
        windowPlace_ = (windowPlace_ + 1) % lookAhead;

        const Frame frame = frames_.front();
        frames_.pop_front();
        float gain = 1;
        if (windowSum_ != unity * static_cast<Gain>(lookAhead))
            gain =
                static_cast<float>(static_cast<double>(windowSum_) / static_cast<double>(unity * static_cast<Gain>(lookAhead)));
        samples[done * channels] = std::clamp(frame.left * gain, -1.0F, 1.0F); // Rounding alone is left to be cut off.
        samples[done * channels + 1] = std::clamp(frame.right * gain, -1.0F, 1.0F);
    }
    return asked;
}

void Limiter::fill()
{
    const std::size_t count = mix_.read(block_);
    for (std::size_t i = 0; i < count; ++i) frames_.push_back({block_[i * channels], block_[i * channels + 1]});
    taken_ += static_cast<std::int64_t>(count);
    isAtEnd_ = count < blockFrames;
}

/// The least gain that any of the frames from the next one to the end of the window needs.
Limiter::Gain Limiter::leastAhead()
{
    const std::int64_t next = taken_ - static_cast<std::int64_t>(frames_.size());
    const std::int64_t end = std::min(taken_, next + static_cast<std::int64_t>(lookAhead));
    for (; seen_ < end; ++seen_) see(frames_[static_cast<std::size_t>(seen_ - next)]);
    while (!needs_.empty() && needs_.front().index < next) needs_.pop_front();
    return needs_.empty() ? unity : needs_.front().gain;
}

/// Takes in what frame `seen_` needs. A frame that needs as much as one before it, or more, speaks for both.
void Limiter::see(Frame frame)
{
    const float peak = std::max(std::abs(frame.left), std::abs(frame.right));
    if (!(peak > 1)) return;
    const auto gain = static_cast<Gain>(std::floor(static_cast<double>(unity) / static_cast<double>(peak)));
    while (!needs_.empty() && needs_.back().gain >= gain) needs_.pop_back();
    needs_.push_back({seen_, gain});
}

} // namespace larkspool
