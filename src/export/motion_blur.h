#pragma once

#include "document/tween_scene.h"
#include "platform/pixel_buffer.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace larkspool::Exporter {

/// Whether anything in the scene may move within one frame around `time`, by its keyframes, spans, effects and pulses alone.
/// Values are not compared, and what moves by itself (a video, a gradient field) does not count.
bool sceneHasMotion(const TweenScene& scene, double time, std::int64_t fps);

/// When sample `k` of `samples` is taken: at the middle of its equal part of the frame, which is centred on `centerTime`; never
/// before 0.
double sampleTime(double centerTime, std::int64_t fps, int samples, int k);

/// What the samples of a blurred frame are painted in, kept from one frame to the next.
struct BlurMemory {
    std::optional<PixelBuffer> sample;
};

/// Paints the mean of `samples` pictures, spread over the frame around `centerTime`. `render` paints the picture of a time over
/// arbitrary content of the buffer it is given. With `halfRes` the pictures are half as wide and high.
void accumulateMotionBlur(PixelBuffer& target, std::int64_t fps, int samples, bool halfRes, double centerTime, BlurMemory& memory,
                          const std::function<void(double time, PixelBuffer&)>& render);

/// Lays sample `k` (from 0) over the mean of those before it, with its weight of 1 / (k + 1): each channel becomes
/// round((k * mean + sample) / (k + 1)), halves up. Both are of one size.
void blendRunningMean(PixelBuffer& mean, const PixelBuffer& sample, int k);

} // namespace larkspool::Exporter
