#pragma once

#include "platform/sample_source.h"

#include <algorithm>
#include <functional>
#include <memory>

namespace larkspool {

/// Sound by a rule: the amplitude of each frame on both sides, for a length.
class ToldSource final : public SampleSource {
public:
    using Amplitude = std::function<float(std::int64_t frame)>;

    ToldSource(double seconds, Amplitude amplitude) : seconds_(seconds), amplitude_(std::move(amplitude)) {}

    static std::unique_ptr<ToldSource> constant(double seconds, float amplitude)
    {
        return std::make_unique<ToldSource>(seconds, [amplitude](std::int64_t) { return amplitude; });
    }

    double duration(double) override { return seconds_; }
    void seek(std::int64_t frame) override { position_ = frame; }

    std::size_t read(std::span<float> samples) override
    {
        const auto end = static_cast<std::int64_t>(seconds_ * sampleRate);
        const auto asked = static_cast<std::int64_t>(samples.size() / channels);
        const std::int64_t count = std::clamp<std::int64_t>(end - position_, 0, asked);
        for (std::int64_t i = 0; i < count; ++i, ++position_) {
            const float amplitude = position_ < 0 ? 0.0F : amplitude_(position_);
            samples[static_cast<std::size_t>(2 * i)] = samples[static_cast<std::size_t>(2 * i + 1)] = amplitude;
        }
        return static_cast<std::size_t>(count);
    }

private:
    double seconds_;
    Amplitude amplitude_;
    std::int64_t position_ = 0;
};

/// The left side of all that a stream gives, read in pieces of `piece` frames.
inline std::vector<float> leftOfAll(SampleStream& stream, std::size_t piece = 1000)
{
    std::vector<float> left, block(piece * SampleStream::channels);
    while (const std::size_t count = stream.read(block))
        for (std::size_t i = 0; i < count; ++i) left.push_back(block[i * SampleStream::channels]);
    return left;
}

} // namespace larkspool
