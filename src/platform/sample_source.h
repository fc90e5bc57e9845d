#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace larkspool {

/// Stereo sound, given out piece by piece. A frame is a pair of samples, left and right, of which 48,000 make a second. Full
/// scale is -1...1; what lies beyond is kept.
class SampleStream {
public:
    static constexpr int sampleRate = 48'000;
    static constexpr std::size_t channels = 2;

    virtual ~SampleStream() = default;

    /// Fills `samples`, of which there is an even number, with the next frames. Returns how many frames it gave; fewer than asked
    /// for only at the end.
    virtual std::size_t read(std::span<float> samples) = 0;
};

/// A stream that can begin anywhere.
class SampleSource : public SampleStream {
public:
    /// Length in seconds. Where only reading tells it, no more than `limit` seconds are read: then any length of `limit` or more
    /// means at least `limit`.
    virtual double duration(double limit) = 0;

    /// Makes `read` go on at frame `frame` of the source. Before frame 0 and in gaps there is silence.
    virtual void seek(std::int64_t frame) = 0;
};

} // namespace larkspool
