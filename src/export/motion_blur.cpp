#include "export/motion_blur.h"

#include "platform/raster_context.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace larkspool::Exporter {

namespace {

/// A span's start or end moves a layer in or out a little before and after its time.
constexpr double spanGrace = 0.001;
/// Seconds after its time that a pulse counts as motion.
constexpr double pulseMotionSeconds = 0.6;

struct Window {
    double lo, hi;

    bool holds(double time) const { return lo <= time && time <= hi; }
    bool overlaps(double start, double end) const { return start < hi && lo < end; }
};

/// Whether the move from `a` to `b`, from the end of a's hold on, reaches into the window.
bool movesWithin(const Window& window, const Keyframe& a, const Keyframe& b)
{
    const double hold = a.time + a.wait;
    return hold < b.time && window.overlaps(hold, b.time);
}

bool keyframesMove(const Layer& layer, const Window& window)
{
    std::vector<const Keyframe*> sorted;
    sorted.reserve(layer.keyframes.size());
    for (const Keyframe& keyframe : layer.keyframes) {
        if (window.holds(keyframe.time)) return true;
        sorted.push_back(&keyframe);
    }
    std::ranges::stable_sort(sorted, [](const Keyframe* a, const Keyframe* b) {
        return a->property != b->property ? a->property < b->property : a->time < b->time;
    });
    for (std::size_t i = 1; i < sorted.size(); ++i)
        if (sorted[i - 1]->property == sorted[i]->property && movesWithin(window, *sorted[i - 1], *sorted[i])) return true;
    return false;
}

bool spanMoves(const TimeSpan& span, const Window& window)
{
    const Window wider{window.lo - spanGrace, window.hi + spanGrace};
    if (wider.holds(span.start) || wider.holds(span.end)) return true;
    // Every effect counts at both ends of its span, whichever it belongs to.
    return std::ranges::any_of(span.effects, [&](const SpanEffect& effect) {
        return window.overlaps(span.start, span.start + effect.duration) || window.overlaps(span.end - effect.duration, span.end);
    });
}

bool layerHasMotion(const Layer& layer, const Window& window)
{
    if (keyframesMove(layer, window)) return true;
    if (std::ranges::any_of(layer.spans, [&](const TimeSpan& span) { return spanMoves(span, window); })) return true;
    const auto pulseMoves = [&](const Pulse& pulse) { return window.overlaps(pulse.time, pulse.time + pulseMotionSeconds); };
    if (std::ranges::any_of(layer.pulses, pulseMoves)) return true;
    return std::ranges::any_of(layer.children, [&](const Layer& child) { return layerHasMotion(child, window); });
}

/// The most samples that a person is offered; more take a slower road.
constexpr std::size_t greatestNarrowCount = 16;

/// round((k * mean + sample) / (k + 1)) in 16 bits. As `k` is known here, the division becomes a multiplication of many at once.
template <std::size_t k>
void blendRowNarrow(std::uint8_t* mean, const std::uint8_t* sample, std::size_t bytes)
{
    constexpr std::uint16_t count = k + 1;
    static_assert(255 * count + count / 2 <= 65535);
    for (std::size_t i = 0; i < bytes; ++i) {
        const auto sum = static_cast<std::uint16_t>(k * mean[i] + sample[i] + count / 2);
        mean[i] = static_cast<std::uint8_t>(sum / count);
    }
}

using BlendRow = void (*)(std::uint8_t* mean, const std::uint8_t* sample, std::size_t bytes);

template <std::size_t... k>
constexpr std::array<BlendRow, sizeof...(k)> blendRowsNarrow(std::index_sequence<k...>)
{
    return {blendRowNarrow<k>...};
}

/// By `k`.
constexpr std::array<BlendRow, greatestNarrowCount> narrowRows = blendRowsNarrow(std::make_index_sequence<greatestNarrowCount>());

void blendRowWide(std::uint8_t* mean, const std::uint8_t* sample, std::size_t bytes, std::uint64_t k)
{
    for (std::size_t i = 0; i < bytes; ++i)
        mean[i] = static_cast<std::uint8_t>((k * mean[i] + sample[i] + (k + 1) / 2) / (k + 1));
}

void accumulate(PixelBuffer& mean, std::int64_t fps, int samples, double centerTime, BlurMemory& memory,
                const std::function<void(double, PixelBuffer&)>& render)
{
    render(sampleTime(centerTime, fps, samples, 0), mean);
    std::optional<PixelBuffer>& sample = memory.sample;
    if (!sample || sample->width() != mean.width() || sample->height() != mean.height()) sample.emplace(mean.width(), mean.height());
    for (int k = 1; k < samples; ++k) {
        render(sampleTime(centerTime, fps, samples, k), *sample);
        blendRunningMean(mean, *sample, k);
    }
}

} // namespace

bool sceneHasMotion(const TweenScene& scene, double time, std::int64_t fps)
{
    const double halfWindow = 0.5 / static_cast<double>(std::max<std::int64_t>(fps, 1));
    const Window window{time - halfWindow, time + halfWindow};
    return std::ranges::any_of(scene.layers, [&](const Layer& layer) { return layerHasMotion(layer, window); });
}

double sampleTime(double centerTime, std::int64_t fps, int samples, int k)
{
    const double frame = fps > 0 ? 1 / static_cast<double>(fps) : 1;
    const double open = centerTime - frame * 0.5;
    return std::max(open + frame * ((k + 0.5) / samples), 0.0);
}

void accumulateMotionBlur(PixelBuffer& target, std::int64_t fps, int samples, bool halfRes, double centerTime, BlurMemory& memory,
                          const std::function<void(double time, PixelBuffer&)>& render)
{
    if (!halfRes) return accumulate(target, fps, samples, centerTime, memory, render);

    PixelBuffer half(std::max(target.width() / 2, 1), std::max(target.height() / 2, 1));
    accumulate(half, fps, samples, centerTime, memory, render);
    const auto image = std::make_shared<const Image>(std::move(half), Image::Alpha::opaque);
    const CGSize size{static_cast<double>(target.width()), static_cast<double>(target.height())};
    makeRasterContext(target)->drawImage(image, {{0, 0}, image->size()}, {{0, 0}, size});
}

void blendRunningMean(PixelBuffer& mean, const PixelBuffer& sample, int k)
{
    const std::size_t bytes = static_cast<std::size_t>(mean.width()) * 4;
    const auto earlier = static_cast<std::size_t>(k);
    for (int y = 0; y < mean.height(); ++y) {
        if (k == 0)
            std::memcpy(mean.row(y), sample.row(y), bytes);
        else if (earlier < narrowRows.size())
            narrowRows[earlier](mean.row(y), sample.row(y), bytes);
        else
            blendRowWide(mean.row(y), sample.row(y), bytes, earlier);
    }
}

} // namespace larkspool::Exporter
