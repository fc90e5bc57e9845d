#pragma once

#include "platform/sample_source.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace larkspool {

/// Keeps a mix within full scale.
///
/// Sound that stays within -1...1 passes as it is, bit for bit. Before a peak beyond full scale the gain of both sides sinks
/// evenly, over the 5 ms before it, to where the peak just reaches full scale; afterwards it rises again within about a fifth of
/// a second. Nothing is ever clipped, and no sound moves in time.
class Limiter final : public SampleStream {
public:
    /// `mix` outlives the limiter.
    explicit Limiter(SampleStream& mix);

    std::size_t read(std::span<float> samples) override;

private:
    /// Gains are whole multiples of 1/unity, so that their sums are exact.
    using Gain = std::int64_t;

    /// A frame on its way through.
    struct Frame {
        float left = 0, right = 0;
    };

    void fill();
    Gain leastAhead();
    void see(Frame frame);

    SampleStream& mix_;
    std::vector<float> block_;
    std::deque<Frame> frames_; ///< Taken and not given out.
    bool isAtEnd_ = false;

    struct Need {
        std::int64_t index = 0;
        Gain gain = 0;
    };
    std::deque<Need> needs_; ///< Of the frames in the window, rising: the first is the least.
    std::int64_t taken_ = 0; ///< Frames of the mix.
    std::int64_t seen_ = 0; ///< Of these, frames whose needs are known.
    Gain released_; ///< The least gain ahead, let go slowly.
    std::vector<Gain> window_;
    std::size_t windowPlace_ = 0;
    Gain windowSum_;
};

} // namespace larkspool
