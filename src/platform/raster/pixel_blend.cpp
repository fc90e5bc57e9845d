#include "platform/raster/pixel_blend.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace larkspool {

namespace {

/// Below this many pixels, a plain loop is faster than setting up a wide one.
constexpr int leastWideRun = 8;
constexpr int patternBytes = 64;
using Pattern = std::array<std::uint8_t, patternBytes>;

/// The colour as it lies in memory.
std::uint32_t packed(const PixelColor& color)
{
    const std::uint8_t pixel[4] = {color.blue, color.green, color.red, color.alpha};
    std::uint32_t value = 0;
    std::memcpy(&value, pixel, 4);
    return value;
}

Pattern patternOf(const PixelColor& color)
{
    const std::uint32_t value = packed(color);
    Pattern pattern;
    for (std::size_t i = 0; i < pattern.size(); i += 4) std::memcpy(pattern.data() + i, &value, 4);
    return pattern;
}

LARKSPOOL_VECTORISED
void storePixels(std::uint32_t* pixels, std::uint32_t value, int count)
{
    for (int i = 0; i < count; ++i) pixels[i] = value;
}

inline std::uint8_t narrowPart(std::uint8_t value, std::uint8_t level)
{
    const auto product = static_cast<std::uint16_t>(static_cast<std::uint16_t>(value * level) + 128);
    return static_cast<std::uint8_t>(static_cast<std::uint16_t>(product + (product >> 8)) >> 8);
}

/// `bytes` is a multiple of four.
LARKSPOOL_VECTORISED
void blendPattern(std::uint8_t* __restrict pixels, const std::uint8_t* __restrict pattern, std::uint8_t rest, int bytes)
{
    for (; bytes >= patternBytes; bytes -= patternBytes) {
        for (int i = 0; i < patternBytes; ++i) pixels[i] = static_cast<std::uint8_t>(pattern[i] + narrowPart(pixels[i], rest));
        pixels += patternBytes;
    }
    for (int i = 0; i < bytes; ++i) pixels[i] = static_cast<std::uint8_t>(pattern[i] + narrowPart(pixels[i], rest));
}

/// What of the pixel below shows, for each channel of a pixel.
void spreadRests(std::uint8_t* __restrict rests, const std::uint8_t* __restrict pixels, int count)
{
    for (int i = 0; i < count; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, pixels + std::ptrdiff_t{4} * i, 4);
        const std::uint32_t rest = (255U - (pixel >> 24)) * 0x01010101U;
        std::memcpy(rests + std::ptrdiff_t{4} * i, &rest, 4);
    }
}

constexpr int chunkPixels = 64;
using Chunk = std::array<std::uint8_t, std::size_t{4} * chunkPixels>;

LARKSPOOL_VECTORISED
void blendChunk(std::uint8_t* __restrict to, const std::uint8_t* __restrict from, int count)
{
    alignas(64) Chunk rests;
    spreadRests(rests.data(), from, count);
    for (int i = 0; i < count * 4; ++i) {
        const std::uint8_t above = from[i];
        const auto sum = static_cast<std::uint8_t>(above + narrowPart(to[i], rests[static_cast<std::size_t>(i)]));
        to[i] = sum < above ? 255 : sum;
    }
}

LARKSPOOL_VECTORISED
void scaleBytes(std::uint8_t* __restrict scaled, const std::uint8_t* __restrict from, std::uint8_t level, int bytes)
{
    for (int i = 0; i < bytes; ++i) scaled[i] = narrowPart(from[i], level);
}

LARKSPOOL_VECTORISED
void scaleBytesEach(std::uint8_t* __restrict scaled, const std::uint8_t* __restrict from, const std::uint8_t* __restrict levels,
                    int count)
{
    alignas(64) Chunk spread;
    for (int i = 0; i < count; ++i) {
        const std::uint32_t four = std::uint32_t{levels[i]} * 0x01010101U;
        std::memcpy(spread.data() + std::ptrdiff_t{4} * i, &four, 4);
    }
    for (int i = 0; i < count * 4; ++i) scaled[i] = narrowPart(from[i], spread[static_cast<std::size_t>(i)]);
}

/// So many pixels are blended at once with levels of their own.
constexpr int groupPixels = 8;
constexpr int groupBytes = groupPixels * 4;

/// Whole groups of pixels.
LARKSPOOL_VECTORISED
void blendGroups(std::uint8_t* __restrict pixels, std::uint32_t color, const std::uint8_t* __restrict levels, int groups)
{
    const auto alpha = static_cast<std::uint8_t>(color >> 24); // The last byte of a pixel.
    alignas(32) std::array<std::uint32_t, groupPixels> colors;
    for (std::uint32_t& one : colors) one = color;
    alignas(32) std::array<std::uint8_t, groupBytes> pattern;
    std::memcpy(pattern.data(), colors.data(), groupBytes);
    for (; groups > 0; --groups, pixels += groupBytes, levels += groupPixels) {
        std::uint64_t all = 0;
        std::memcpy(&all, levels, sizeof all);
        if (all == 0) continue;
        if (alpha == 255 && all == ~std::uint64_t{0}) {
            std::memcpy(pixels, pattern.data(), groupBytes);
            continue;
        }
        alignas(32) std::array<std::uint32_t, groupPixels> fours;
        for (std::size_t i = 0; i < groupPixels; ++i) fours[i] = std::uint32_t{levels[i]} * 0x01010101U;
        alignas(32) std::array<std::uint8_t, groupBytes> spread;
        std::memcpy(spread.data(), fours.data(), groupBytes);
        for (std::size_t i = 0; i < groupBytes; ++i) {
            const auto rest = static_cast<std::uint8_t>(255 - narrowPart(spread[i], alpha));
            pixels[i] = static_cast<std::uint8_t>(narrowPart(pattern[i], spread[i]) + narrowPart(pixels[i], rest));
        }
    }
}

/// The most values whose mean fits numbers of 16 bits exactly: the reciprocal is too large by less than `count` 65536ths, and the
/// sum of so many stays below 65536 / `count`.
constexpr int greatestNarrowCount = 16;

LARKSPOOL_VECTORISED
void blendMeanNarrow(std::uint8_t* __restrict mean, const std::uint8_t* __restrict value, int bytes, std::uint16_t count)
{
    const auto rest = static_cast<std::uint16_t>(count - 1), half = static_cast<std::uint16_t>(count / 2),
               reciprocal = static_cast<std::uint16_t>((65536 + rest) / count);
    for (int i = 0; i < bytes; ++i) {
        const auto sum = static_cast<std::uint16_t>(rest * mean[i] + value[i] + half);
        mean[i] = static_cast<std::uint8_t>(std::uint32_t{sum} * reciprocal >> 16);
    }
}

} // namespace

void blendMean(std::uint8_t* mean, const std::uint8_t* value, int bytes, int count)
{
    if (count == 1) {
        std::memcpy(mean, value, static_cast<std::size_t>(bytes));
        return;
    }
    if (count <= greatestNarrowCount) return blendMeanNarrow(mean, value, bytes, static_cast<std::uint16_t>(count));
    const auto all = static_cast<std::uint32_t>(count);
    for (int i = 0; i < bytes; ++i) mean[i] = static_cast<std::uint8_t>(((all - 1) * mean[i] + value[i] + all / 2) / all);
}

void blendColor(std::uint8_t* pixels, const PixelColor& color, const std::uint8_t* levels, int count)
{
    const std::uint32_t value = packed(color);
    const int groups = count / groupPixels, whole = groups * groupPixels, rest = count - whole;
    blendGroups(pixels, value, levels, groups);
    if (rest == 0) return;
    alignas(32) std::array<std::uint8_t, groupBytes> lastPixels;
    std::array<std::uint8_t, groupPixels> lastLevels{};
    std::memcpy(lastLevels.data(), levels + whole, static_cast<std::size_t>(rest));
    std::uint8_t* last = pixels + std::ptrdiff_t{4} * whole;
    std::memcpy(lastPixels.data(), last, static_cast<std::size_t>(rest) * 4);
    blendGroups(lastPixels.data(), value, lastLevels.data(), 1);
    std::memcpy(last, lastPixels.data(), static_cast<std::size_t>(rest) * 4);
}

void blendColorRun(std::uint8_t* pixels, const PixelColor& color, int count)
{
    if (color.alpha == 0) return;
    if (color.alpha == 255) {
        const std::uint32_t value = packed(color);
        auto* words = reinterpret_cast<std::uint32_t*>(pixels);
        if (count >= leastWideRun) return storePixels(words, value, count);
        for (int i = 0; i < count; ++i) words[i] = value;
        return;
    }
    if (count < leastWideRun) {
        for (int i = 0; i < count; ++i) blendColor(pixels + std::ptrdiff_t{4} * i, color);
        return;
    }
    const Pattern pattern = patternOf(color);
    blendPattern(pixels, pattern.data(), static_cast<std::uint8_t>(255 - color.alpha), count * 4);
}

void blendPixels(std::uint8_t* to, const std::uint8_t* from, int count)
{
    for (int done = 0; done < count; done += chunkPixels)
        blendChunk(to + std::ptrdiff_t{4} * done, from + std::ptrdiff_t{4} * done, std::min(chunkPixels, count - done));
}

void blendPixels(std::uint8_t* to, const std::uint8_t* from, int count, std::uint32_t level)
{
    if (level >= 255) return blendPixels(to, from, count);
    alignas(64) Chunk part;
    for (int done = 0; done < count; done += chunkPixels) {
        const int pixels = std::min(chunkPixels, count - done);
        scaleBytes(part.data(), from + std::ptrdiff_t{4} * done, static_cast<std::uint8_t>(level), pixels * 4);
        blendChunk(to + std::ptrdiff_t{4} * done, part.data(), pixels);
    }
}

void blendPixels(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* levels, int count)
{
    alignas(64) Chunk part;
    for (int done = 0; done < count; done += chunkPixels) {
        const int pixels = std::min(chunkPixels, count - done);
        scaleBytesEach(part.data(), from + std::ptrdiff_t{4} * done, levels + done, pixels);
        blendChunk(to + std::ptrdiff_t{4} * done, part.data(), pixels);
    }
}

} // namespace larkspool
