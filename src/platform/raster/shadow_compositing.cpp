#include "platform/raster/shadow_compositing.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace larkspool {

namespace {

/// Turns values of 0...1 into levels of 0...65535.
LARKSPOOL_VECTORISED
void toLevels(const float* __restrict values, int count, int* __restrict levels)
{
    for (int i = 0; i < count; ++i) {
        const float value = values[i] * 65535.0F + 0.5F;
        const float held = value < 0.5F ? 0.5F : value > 65535.5F ? 65535.5F : value;
        levels[i] = static_cast<int>(held);
    }
}

/// Interpolates from each of `count` levels to the next, `step` pixels each.
template <int step>
[[gnu::always_inline]] inline void widen(const int* __restrict levels, int count, std::uint16_t* __restrict pixels)
{
    for (int i = 0; i < count; ++i) {
        const int from = levels[i], to = levels[i + 1];
        for (int p = 0; p < step; ++p) {
            const auto mixed = static_cast<unsigned>(from * (2 * step) + (to - from) * (2 * p + 1) + step);
            pixels[i * step + p] = static_cast<std::uint16_t>(mixed / (2 * step));
        }
    }
}

LARKSPOOL_VECTORISED
void widenLevels(const int* __restrict levels, int count, int step, std::uint16_t* __restrict pixels)
{
    switch (step) {
    case 1:
        for (int i = 0; i < count; ++i) pixels[i] = static_cast<std::uint16_t>(levels[i]);
        return;
    case 2: return widen<2>(levels, count, pixels);
    case 4: return widen<4>(levels, count, pixels);
    case 8: return widen<8>(levels, count, pixels);
    default: break;
    }
    for (int i = 0; i < count; ++i)
        for (int p = 0; p < step; ++p) {
            const std::int64_t mixed =
                std::int64_t{levels[i]} * (2 * step - 2 * p - 1) + std::int64_t{levels[i + 1]} * (2 * p + 1);
            pixels[i * step + p] = static_cast<std::uint16_t>((mixed + step) / (2 * step));
        }
}

/// An alpha of 1 as the weight of a row: alphas are fractions of 15 bits.
constexpr double fullAlphaWeight = 32767;
/// The greatest such alpha that changes no channel, whatever the colours.
constexpr int greatestUnseenAlpha = 64;
/// Pixels blended at once: as many as the compiler makes a loop of vectors for.
constexpr int chunkPixels = 32;

/// The colour repeated for each pixel of a chunk, in the order of the channels.
using ChunkColors = std::array<std::int16_t, static_cast<std::size_t>(chunkPixels) * 4>;

/// The channel moved towards the colour, in steps that every processor has for many numbers at once: the upper half of a product
/// of 16 bits.
[[gnu::always_inline]] inline std::uint8_t blendedChannel(std::uint8_t channel, std::int16_t color, std::int16_t alpha)
{
    const auto missing = static_cast<std::int16_t>((color - channel) * 128);
    const auto fine = static_cast<std::int16_t>((static_cast<std::int32_t>(missing) * alpha) >> 16);
    const auto change = static_cast<std::int16_t>(static_cast<std::int16_t>(fine + 32) >> 6);
    return static_cast<std::uint8_t>(channel + change);
}

/// Two rows of densities, which count by their weights. The weights add up to fullAlphaWeight times the alpha at most.
struct DensityRows {
    const std::uint16_t* upper;
    const std::uint16_t* lower;
    std::uint16_t upperWeight, lowerWeight;
};

[[gnu::always_inline]] inline std::int16_t alphaOf(std::uint16_t upper, std::uint16_t lower, std::uint16_t upperWeight,
                                                   std::uint16_t lowerWeight)
{
    const auto above = static_cast<std::uint16_t>((static_cast<std::uint32_t>(upper) * upperWeight) >> 16);
    const auto below = static_cast<std::uint16_t>((static_cast<std::uint32_t>(lower) * lowerWeight) >> 16);
    return static_cast<std::int16_t>(above + below);
}

[[gnu::always_inline]] inline void blendChunk(std::uint8_t* __restrict pixels, const std::uint16_t* __restrict upper,
                                              const std::uint16_t* __restrict lower, std::uint16_t upperWeight,
                                              std::uint16_t lowerWeight, const std::int16_t* __restrict colors)
{
    std::int16_t alphas[chunkPixels], channelAlphas[chunkPixels * 4];
    for (int i = 0; i < chunkPixels; ++i) alphas[i] = alphaOf(upper[i], lower[i], upperWeight, lowerWeight);
    for (int i = 0; i < chunkPixels; ++i)
        for (int channel = 0; channel < 4; ++channel) channelAlphas[4 * i + channel] = alphas[i];
    for (int i = 0; i < chunkPixels * 4; ++i) pixels[i] = blendedChannel(pixels[i], colors[i], channelAlphas[i]);
}

/// Blends `count` pixels with the densities from `first` on, which must reach to a whole chunk.
LARKSPOOL_VECTORISED
void blendSpan(std::uint8_t* pixels, const DensityRows& rows, int first, int count, const std::int16_t* colors)
{
    const std::uint16_t* upper = rows.upper + first;
    const std::uint16_t* lower = rows.lower + first;
    const std::uint16_t upperWeight = rows.upperWeight, lowerWeight = rows.lowerWeight;
    for (; count >= chunkPixels; count -= chunkPixels) {
        blendChunk(pixels, upper, lower, upperWeight, lowerWeight, colors);
        pixels += std::ptrdiff_t{4} * chunkPixels;
        upper += chunkPixels;
        lower += chunkPixels;
    }
    if (count <= 0) return;
    std::uint8_t rest[chunkPixels * 4] = {};
    std::memcpy(rest, pixels, static_cast<std::size_t>(count) * 4);
    blendChunk(rest, upper, lower, upperWeight, lowerWeight, colors);
    std::memcpy(pixels, rest, static_cast<std::size_t>(count) * 4);
}

/// Blends whole chunks of pixels with the same alpha.
LARKSPOOL_VECTORISED
void blendEvenChunks(std::uint8_t* __restrict pixels, std::int16_t alpha, int count, const std::int16_t* __restrict colors)
{
    for (; count >= chunkPixels; count -= chunkPixels) {
        for (int i = 0; i < chunkPixels * 4; ++i) pixels[i] = blendedChannel(pixels[i], colors[i], alpha);
        pixels += std::ptrdiff_t{4} * chunkPixels;
    }
}

int inWholeChunks(int count)
{
    return (count + chunkPixels - 1) / chunkPixels * chunkPixels;
}

/// Pixels of a row, from `begin` to before `end`.
using PixelSpan = IndexRange;

/// The pixels of each row that lie within an opaque area with a pixel to spare.
class CoveredSpans {
public:
    CoveredSpans(const OpaqueArea& area, const PixelRect& within) : area_(area), within_(within)
    {
        if (!area.rect.isNull()) straight_ = spanFor(/*inset=*/0);
    }

    PixelSpan at(int y) const
    {
        if (straight_.empty()) return {};
        const double above = y - 1 - area_.rect.minY(), below = area_.rect.maxY() - (y + 2);
        if (!(above >= 0 && below >= 0)) return {};
        const double depth = area_.radius - std::min(above, below);
        if (depth <= 0) return straight_;
        return spanFor(area_.radius - std::sqrt(std::max(area_.radius * area_.radius - depth * depth, 0.0)));
    }

private:
    PixelSpan spanFor(double inset) const
    {
        const double left = std::ceil(area_.rect.minX() + inset) + 1, right = std::floor(area_.rect.maxX() - inset) - 1;
        if (!(left < right)) return {};
        const double low = within_.left, high = within_.right;
        return {static_cast<int>(std::clamp(left, low, high)), static_cast<int>(std::clamp(right, low, high))};
    }

    const OpaqueArea& area_;
    PixelRect within_;
    PixelSpan straight_; ///< Of the rows that no corner narrows.
};

/// Rows of a grid widened to pixels. Two neighbours are kept: rows are asked for from the top down.
class WidenedRows {
public:
    /// Levels of 0...65535 up to `greatestUnseenLevel` need not be shown.
    WidenedRows(const BlurredCoverage& blurred, int greatestUnseenLevel)
        : blurred_(blurred), greatestUnseenLevel_(greatestUnseenLevel), levels_(static_cast<std::size_t>(blurred.columns))
    {
        for (Row& row : rows_)
            row.pixels.resize(static_cast<std::size_t>(blurred.columns - 1) * static_cast<std::size_t>(blurred.step) +
                              chunkPixels);
    }

    struct Row {
        std::vector<std::uint16_t> pixels; ///< And a chunk beyond.
        PixelSpan seen; ///< Nothing shows outside.
        PixelSpan hole; ///< Pixels around the middle where nothing shows, such as the inside of a ring.
    };

    const Row& at(int index)
    {
        const std::size_t place = static_cast<std::size_t>(index % 2);
        if (shownIndices_[place] == index) return *shown_[place];
        const Row* neighbour = shown_[1 - place];
        const std::size_t bytes = static_cast<std::size_t>(blurred_.columns) * sizeof(float);
        const bool repeats =
            shownIndices_[1 - place] == index - 1 && std::memcmp(blurred_.row(index), blurred_.row(index - 1), bytes) == 0;
        shownIndices_[place] = index;
        shown_[place] = repeats ? neighbour : &widened(index, neighbour == &rows_[0] ? rows_[1] : rows_[0]);
        return *shown_[place];
    }

private:
    const Row& widened(int index, Row& row)
    {
        toLevels(blurred_.row(index), blurred_.columns, levels_.data());
        widenLevels(levels_.data(), blurred_.columns - 1, blurred_.step, row.pixels.data());
        // Between two values all pixels show something if one of the values does.
        const IndexRange seen = seenLevels(), hole = unseenLevelsAround(middleLevels());
        const int step = blurred_.step, last = blurred_.columns - 1;
        row.seen = seen.empty() ? PixelSpan{} : PixelSpan{std::max(seen.begin - 1, 0) * step, std::min(seen.end, last) * step};
        row.hole = {hole.begin * step, (hole.end - 1) * step};
        return row;
    }

    bool isSeen(int i) const { return levels_[static_cast<std::size_t>(i)] > greatestUnseenLevel_; }

    IndexRange seenLevels() const
    {
        IndexRange seen{0, blurred_.columns};
        while (seen.begin < seen.end && !isSeen(seen.begin)) ++seen.begin;
        while (seen.begin < seen.end && !isSeen(seen.end - 1)) --seen.end;
        return seen;
    }

    /// Some levels that are all seen or all not.
    IndexRange middleLevels() const
    {
        if (!blurred_.evenColumns.empty()) return blurred_.evenColumns;
        const int middle = blurred_.columns / 2;
        return {middle, middle + 1};
    }

    IndexRange unseenLevelsAround(IndexRange levels) const
    {
        if (isSeen(levels.begin)) return {levels.begin, levels.begin};
        while (levels.begin > 0 && !isSeen(levels.begin - 1)) --levels.begin;
        while (levels.end < blurred_.columns && !isSeen(levels.end)) ++levels.end;
        return levels;
    }

    static constexpr int none = -2; ///< The neighbour of no row.

    const BlurredCoverage& blurred_;
    int greatestUnseenLevel_;
    std::array<Row, 2> rows_;
    std::array<const Row*, 2> shown_{}; ///< Equal rows are shown by one.
    std::array<int, 2> shownIndices_{none, none};
    std::vector<int> levels_;
};

ChunkColors chunkColors(const ShadowColor& color)
{
    ChunkColors colors;
    for (std::size_t i = 0; i < colors.size(); i += 4) {
        colors[i] = color.blue;
        colors[i + 1] = color.green;
        colors[i + 2] = color.red;
        colors[i + 3] = 255;
    }
    return colors;
}

/// The smallest range that holds both.
IndexRange spanOf(const IndexRange& a, const IndexRange& b)
{
    if (a.empty()) return b;
    if (b.empty()) return a;
    return {std::min(a.begin, b.begin), std::max(a.end, b.end)};
}

IndexRange shiftedBy(const IndexRange& range, int distance)
{
    return {range.begin + distance, range.end + distance};
}

/// Blends rows of a shadow, in whole chunks where it can.
class RowBlender {
public:
    RowBlender(const RasterTarget& target, const ShadowColor& color, const BlurredCoverage& blurred)
        : target_(target),
          colors_(chunkColors(color)),
          left_(blurred.area.left),
          even_{blurred.evenColumns.begin * blurred.step + left_, (blurred.evenColumns.end - 1) * blurred.step + left_}
    {}

    void setRow(int y, const DensityRows& rows)
    {
        y_ = y;
        rows_ = rows;
    }

    /// Blends a span, and more pixels within `limits` where that makes whole chunks.
    void blend(const PixelSpan& span, const PixelSpan& limits) const
    {
        if (span.empty()) return;
        const int length = inWholeChunks(span.length());
        const int end = std::min(span.begin + length, limits.end);
        const PixelSpan whole{std::max(end - length, limits.begin), end};
        const int evenBegin = whole.begin + inWholeChunks(std::max(even_.begin - whole.begin, 0));
        const int evenCount = (std::min(whole.end, even_.end) - evenBegin) / chunkPixels * chunkPixels;
        if (evenCount <= 0) return blendPiece(whole);

        blendPiece({whole.begin, evenBegin});
        const int offset = evenBegin - left_;
        const std::int16_t alpha = alphaOf(rows_.upper[offset], rows_.lower[offset], rows_.upperWeight, rows_.lowerWeight);
        blendEvenChunks(target_.at(evenBegin, y_), alpha, evenCount, colors_.data());
        blendPiece({evenBegin + evenCount, whole.end});
    }

private:
    void blendPiece(const PixelSpan& piece) const
    {
        if (!piece.empty()) blendSpan(target_.at(piece.begin, y_), rows_, piece.begin - left_, piece.length(), colors_.data());
    }

    const RasterTarget& target_;
    ChunkColors colors_;
    int left_; ///< Where the densities begin.
    PixelSpan even_; ///< The pixels of equal density in each row.
    int y_ = 0;
    DensityRows rows_{};
};

} // namespace

void compositeShadow(const RasterTarget& target, const PixelRect& clip, const BlurredCoverage& blurred, const ShadowColor& color,
                     const OpaqueArea& covered)
{
    const PixelRect area = intersectionOf(intersectionOf(clip, target.area), blurred.area);
    if (area.empty()) return;

    const double fullWeight = std::clamp(color.alpha, 0.0, 1.0) * fullAlphaWeight;
    constexpr int greatestLevel = 65535;
    const double greatestUnseenLevel = std::floor(greatestUnseenAlpha * (greatestLevel + 1) / (fullWeight + 0.5));
    if (greatestUnseenLevel >= greatestLevel) return;

    const int step = blurred.step, left = blurred.area.left;
    const CoveredSpans coveredSpans(covered, area);
    WidenedRows rows(blurred, static_cast<int>(greatestUnseenLevel));
    RowBlender blender(target, color, blurred);
    int index = (area.top - blurred.area.top) / step, part = (area.top - blurred.area.top) % step;
    for (int y = area.top; y < area.bottom; ++y) {
        const double fraction = step == 1 ? 0 : (part + 0.5) / step;
        const auto lowerWeight = static_cast<std::uint16_t>(fullWeight * fraction + 0.5);
        const auto upperWeight = static_cast<std::uint16_t>(fullWeight + 0.5 - lowerWeight);
        const WidenedRows::Row& upper = rows.at(index);
        const WidenedRows::Row& lower = rows.at(index + 1);
        if (++part == step) {
            part = 0;
            ++index;
        }
        const PixelSpan columns{area.left, area.right};
        const PixelSpan seen = intersectionOf(shiftedBy(spanOf(upper.seen, lower.seen), left), columns);
        if (seen.empty()) continue;

        blender.setRow(y, {upper.pixels.data(), lower.pixels.data(), upperWeight, lowerWeight});
        // Unseen pixels may be blended, covered ones may not.
        PixelSpan skipped = coveredSpans.at(y);
        if (skipped.empty()) skipped = intersectionOf(shiftedBy(intersectionOf(upper.hole, lower.hole), left), seen);
        if (skipped.empty()) {
            blender.blend(seen, columns);
        } else {
            blender.blend({seen.begin, std::min(skipped.begin, seen.end)}, {columns.begin, skipped.begin});
            blender.blend({std::max(skipped.end, seen.begin), seen.end}, {skipped.end, columns.end});
        }
    }
}

} // namespace larkspool
