#include "platform/raster/coverage_filler.h"

#include "platform/raster/pixel_blend.h"
#include "platform/raster/vectorised.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

namespace larkspool {

namespace {

/// So many sums are worked on at once, that they stay in the nearest cache.
constexpr int sumsAtOnce = 6144;
constexpr int bitsPerWord = 64;
/// Fewer pixels between two edges are summed up rather than filled as a run.
constexpr int leastRun = 8;
/// Shapes of at most this many pixels on both sides are summed up down their columns, all columns at once.
constexpr int smallSide = 64;
/// Levels are blended in groups of so many.
constexpr int blendedPixels = 8;
/// Rows of sums of small shapes are this long, for vectors of any width.
constexpr int smallStride = smallSide;

/// The coverage as a level. Whole numbers are what vectors hold best.
inline std::uint8_t levelOf(float sum)
{
    constexpr int finer = 256; // Than a level.
    const int scaled = static_cast<int>(sum * (255.0F * finer));
    const int level = ((scaled < 0 ? -scaled : scaled) + finer / 2) / finer;
    return static_cast<std::uint8_t>(level < 255 ? level : 255);
}

void mark(std::uint64_t* marks, int first, int last)
{
    for (int i = first; i <= last; ++i) marks[i / bitsPerWord] |= std::uint64_t{1} << (i % bitsPerWord);
}

/// The next row of a small shape: adds its sums to the coverage, and clears them.
LARKSPOOL_VECTORISED
void sumUpRow(float* __restrict coverage, float* __restrict sums, std::uint8_t* __restrict levels, int count)
{
    for (int i = 0; i < count; ++i) {
        coverage[i] += sums[i];
        sums[i] = 0;
    }
    for (int i = 0; i < count; ++i) levels[i] = levelOf(coverage[i]);
}

/// Rounds up a number that is not negative.
template <typename Number>
int ceiling(Number value)
{
    const int whole = static_cast<int>(value);
    return whole + (value > static_cast<Number>(whole) ? 1 : 0);
}

} // namespace

void CoverageFiller::begin(const PixelRect& area)
{
    area_ = area;
    bounds_ = {};
    edges_.clear();
}

bool CoverageFiller::add(std::span<const CGPoint> outline, Direction direction)
{
    const auto isFinite = [](const CGPoint& p) { return std::isfinite(p.x) && std::isfinite(p.y); };
    if (!std::ranges::all_of(outline, isFinite)) return false;
    if (outline.size() < 3 || area_.empty()) return true;
    if (edges_.empty()) {
        CGPoint low = outline.front(), high = outline.front();
        for (const CGPoint& p : outline) {
            low = {std::min(low.x, p.x), std::min(low.y, p.y)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y)};
        }
        bounds_ = pixelsTouchedBy({low, {high.x - low.x, high.y - low.y}}, area_);
        lanes_ = bounds_.width() <= smallSide && bounds_.height() <= smallSide ? Lanes::columns : Lanes::rows;
        lengthAcross_ = lanes_ == Lanes::rows ? bounds_.height() : bounds_.width();
        lengthAlong_ = lanes_ == Lanes::rows ? bounds_.width() : bounds_.height();
    }
    if (bounds_.empty()) return true;

    const float sign = direction == Direction::forwards ? 1.0F : -1.0F;
    const auto local = [&](const CGPoint& p) {
        const CGPoint at{p.x - bounds_.left, p.y - bounds_.top};
        return lanes_ == Lanes::rows ? at : CGPoint{at.y, at.x};
    };
    CGPoint from = local(outline.back());
    for (const CGPoint& p : outline) {
        const CGPoint to = local(p);
        addEdge(from, to, sign);
        from = to;
    }
    return true;
}

/// A point's x is where it is along a lane, its y across the lanes.
void CoverageFiller::addEdge(CGPoint from, CGPoint to, float direction)
{
    if (from.y == to.y) return;
    if (from.y > to.y) {
        std::swap(from, to);
        direction = -direction;
    }
    if (to.y <= 0 || from.y >= lengthAcross_) return;
    Edge edge{from.x, from.y, to.x, to.y, direction};
    const double slope = (to.x - from.x) / (to.y - from.y);
    if (from.y < 0) {
        edge.beginAt = from.x - from.y * slope;
        edge.begin = 0;
    }
    if (to.y > lengthAcross_) {
        edge.endAt = from.x + (lengthAcross_ - from.y) * slope;
        edge.end = lengthAcross_;
    }
    addEdgeWithinLanes(edge);
}

/// Before the lanes an edge counts as if it ran along their start, beyond them not at all.
void CoverageFiller::addEdgeWithinLanes(const Edge& edge)
{
    const double least = std::min(edge.beginAt, edge.endAt), most = std::max(edge.beginAt, edge.endAt);
    if (!(edge.begin < edge.end) || least >= lengthAlong_) return;
    if (least >= 0 && most <= lengthAlong_) {
        edges_.push_back(edge);
        return;
    }
    if (most <= 0) {
        edges_.push_back({0, edge.begin, 0, edge.end, edge.direction});
        return;
    }
    const double side = least < 0 ? 0 : lengthAlong_;
    const double across = std::clamp(edge.begin + (edge.end - edge.begin) * ((side - edge.beginAt) / (edge.endAt - edge.beginAt)),
                                     edge.begin, edge.end);
    addEdgeWithinLanes({edge.beginAt, edge.begin, side, across, edge.direction});
    addEdgeWithinLanes({side, across, edge.endAt, edge.end, edge.direction});
}

/// An edge within a lane covers all that lies beyond it: of the pixels that it crosses a part, of those after them its height.
/// `cell` adds to a sum; no index is above `greatest`.
template <typename Number, typename Cell>
void CoverageFiller::accumulateLane(Number at0, Number at1, Number height, int greatest, const Cell& cell)
{
    constexpr Number half = 0.5F;
    const int first = std::min(static_cast<int>(at0), greatest - 1);
    const int last = std::clamp(ceiling(at1), first + 1, greatest); // One after the last crossed pixel.
    if (last == first + 1) {
        const Number beyond = ((at0 + at1) * half - static_cast<Number>(first)) * height;
        cell(first, static_cast<float>(height - beyond));
        cell(first + 1, static_cast<float>(beyond));
        return;
    }
    // How much of the height has been passed grows evenly between the ends; a pixel's part is its mean over the pixel.
    const Number growth = height / (at1 - at0);
    const Number begin = static_cast<Number>(first + 1) - at0;
    Number part = half * growth * begin * begin;
    cell(first, static_cast<float>(part));
    Number before = part;
    for (int x = first + 1; x < last - 1; ++x) {
        part = growth * (static_cast<Number>(x) + half - at0);
        cell(x, static_cast<float>(part - before));
        before = part;
    }
    const Number passed = static_cast<Number>(last - 1) - at0;
    part = half * height * (at1 - at0) + height * (static_cast<Number>(last) - at1) - half * growth * passed * passed;
    cell(last - 1, static_cast<float>(part - before));
    cell(last, static_cast<float>(height - part));
}

/// Adds what the edge covers in the rows from `firstRow` to before `lastRow`, whose sums stand first.
void CoverageFiller::accumulateRows(const Edge& edge, int firstRow, int lastRow)
{
    const int first = std::max(firstRow, static_cast<int>(edge.begin)), last = std::min(lastRow, ceiling(edge.end));
    const double slope = (edge.endAt - edge.beginAt) / (edge.end - edge.begin);
    const double least = std::min(edge.beginAt, edge.endAt), most = std::max(edge.beginAt, edge.endAt);
    for (int y = first; y < last; ++y) {
        const double from = std::max<double>(y, edge.begin), to = std::min<double>(y + 1, edge.end);
        const double x0 = std::clamp(edge.beginAt + (from - edge.begin) * slope, least, most),
                     x1 = std::clamp(edge.beginAt + (to - edge.begin) * slope, least, most);
        float* sums = sums_.data() + static_cast<std::ptrdiff_t>(y - firstRow) * columns_;
        std::uint64_t* marks = marks_.data() + static_cast<std::ptrdiff_t>(y - firstRow) * words_;
        const double low = std::min(x0, x1), high = std::max(x0, x1);
        accumulateLane(low, high, (to - from) * edge.direction, columns_ - 1, [sums](int x, float part) { sums[x] += part; });
        mark(marks, std::min(static_cast<int>(low), columns_ - 2),
             std::min(std::max(ceiling(high), static_cast<int>(low) + 1), columns_ - 1));
    }
}

void CoverageFiller::accumulateColumns(const Edge& edge)
{
    // Within so few pixels, short numbers are exact enough.
    const auto begin = static_cast<float>(edge.begin), end = static_cast<float>(edge.end),
               beginAt = static_cast<float>(edge.beginAt), endAt = static_cast<float>(edge.endAt);
    const int first = static_cast<int>(begin), last = ceiling(end), height = bounds_.height();
    const float least = std::min(beginAt, endAt), most = std::max(beginAt, endAt);
    float slope = 0;
    if (last > first + 1) slope = (endAt - beginAt) / (end - begin);
    float before = beginAt, from = begin;
    for (int x = first; x < last; ++x) {
        const bool isLast = x + 1 == last;
        const float to = isLast ? end : static_cast<float>(x + 1);
        const float after = isLast ? endAt : std::clamp(beginAt + (to - begin) * slope, least, most);
        float* sums = sums_.data() + x;
        accumulateLane(std::min(before, after), std::max(before, after), (to - from) * edge.direction, height,
                       [sums](int y, float part) { sums[static_cast<std::ptrdiff_t>(y) * smallStride] += part; });
        before = after;
        from = to;
    }
}

template <typename Painter>
void CoverageFiller::paintRow(int y, float* sums, std::uint64_t* marks, const Painter& painter)
{
    const int width = bounds_.width();
    float sum = 0;
    int done = 0; // Pixels before are painted, or stand in the levels from `pending` on.
    int pending = 0;
    const auto paintPending = [&] {
        if (pending < done) painter.paintLevels(y, bounds_.left + pending, levels_.data(), done - pending);
        pending = done;
    };
    const auto goOnTo = [&](int x) {
        const std::uint32_t level = levelOf(sum);
        if (x - done < leastRun) {
            std::memset(levels_.data() + (done - pending), static_cast<int>(level), static_cast<std::size_t>(x - done));
            done = x;
            return;
        }
        paintPending();
        if (level > 0) painter.paintRun(y, bounds_.left + done, bounds_.left + x, level);
        pending = done = x;
    };
    for (int word = 0; word < words_; ++word) {
        for (std::uint64_t marked = std::exchange(marks[word], 0); marked != 0; marked &= marked - 1) {
            const int x = word * bitsPerWord + std::countr_zero(marked);
            const float more = std::exchange(sums[x], 0.0F);
            if (x >= width) continue;
            if (done < x) {
                // Nothing is covered before the first edge.
                if (sum == 0 && pending == done)
                    pending = done = x;
                else
                    goOnTo(x);
            }
            sum += more;
            levels_[static_cast<std::size_t>(done - pending)] = levelOf(sum);
            ++done;
        }
    }
    // Where the area ends, the shape may go on.
    if (done < width) goOnTo(width);
    paintPending();
}

template <typename Painter>
void CoverageFiller::sweepRows(const PixelRect& seen, const Painter& painter)
{
    columns_ = bounds_.width() + 1;
    words_ = (columns_ + bitsPerWord - 1) / bitsPerWord;
    const int rowsAtOnce = std::clamp(sumsAtOnce / columns_, 1, seen.height());
    const auto rows = static_cast<std::size_t>(rowsAtOnce);
    if (sums_.size() < rows * static_cast<std::size_t>(columns_)) sums_.resize(rows * static_cast<std::size_t>(columns_));
    if (marks_.size() < rows * static_cast<std::size_t>(words_)) marks_.resize(rows * static_cast<std::size_t>(words_));
    if (levels_.size() < static_cast<std::size_t>(columns_)) levels_.resize(static_cast<std::size_t>(columns_));

    for (int top = seen.top - bounds_.top; top < seen.bottom - bounds_.top; top += rowsAtOnce) {
        const int bottom = std::min(top + rowsAtOnce, seen.bottom - bounds_.top);
        for (const Edge& edge : edges_)
            if (edge.begin < bottom && edge.end > top) accumulateRows(edge, top, bottom);
        for (int y = top; y < bottom; ++y) {
            const std::ptrdiff_t row = y - top;
            paintRow(y + bounds_.top, sums_.data() + row * columns_, marks_.data() + row * words_, painter);
        }
    }
}

template <typename Painter>
void CoverageFiller::sweepColumns(const PixelRect& seen, const Painter& painter)
{
    constexpr std::size_t count = std::size_t{smallStride} * (smallSide + 1);
    if (sums_.size() < count) sums_.resize(count);
    for (const Edge& edge : edges_) accumulateColumns(edge);

    alignas(64) std::array<float, smallStride> coverage{};
    alignas(64) std::array<std::uint8_t, smallStride + blendedPixels> levels{}; // Zeros beyond the shape.
    constexpr int lanesOfVector = 16;
    const int padded = (bounds_.width() + lanesOfVector - 1) / lanesOfVector * lanesOfVector;
    float* sums = sums_.data();
    for (int y = bounds_.top; y < seen.bottom; ++y, sums += smallStride) {
        sumUpRow(coverage.data(), sums, levels.data(), padded);
        if (y >= seen.top) painter.paintLevels(y, bounds_.left, levels.data(), bounds_.width());
    }
    std::fill(sums, sums_.data() + static_cast<std::ptrdiff_t>(bounds_.height() + 1) * smallStride, 0.0F);
}

/// Has the painter paint the rows of the clip: levels pixel by pixel, and longer runs of one level.
template <typename Painter>
void CoverageFiller::sweep(const PixelRect& clip, const Painter& painter)
{
    const PixelRect seen = intersectionOf(clip, bounds_);
    if (seen.empty() || edges_.empty()) return;
    if (lanes_ == Lanes::rows)
        sweepRows(seen, painter);
    else
        sweepColumns(seen, painter);
}

void CoverageFiller::fill(const RasterTarget& target, const PixelRect& clip, const PixelColor& color)
{
    struct Painter {
        const RasterTarget& target;
        PixelRect clip;
        PixelColor color;
        bool hasZeros; ///< After each row's levels.

        void paintRun(int y, int left, int right, std::uint32_t level) const
        {
            left = std::max(left, clip.left);
            right = std::min(right, clip.right);
            if (left < right) blendColorRun(target.at(left, y), level == 255 ? color : coveredPart(color, level), right - left);
        }
        void paintLevels(int y, int left, const std::uint8_t* levels, int count) const
        {
            const int from = std::max(left, clip.left);
            int to = std::min(left + count, clip.right);
            if (from >= to) return;
            // Beyond the levels are zeros, where there are whole groups.
            if (hasZeros && to == left + count)
                to = std::min(from + (to - from + blendedPixels - 1) / blendedPixels * blendedPixels, target.area.right);
            blendColor(target.at(from, y), color, levels + (from - left), to - from);
        }
    };
    if (color.alpha == 0) return;
    const PixelRect seen = intersectionOf(clip, target.area);
    sweep(seen, Painter{target, seen, color, lanes_ == Lanes::columns});
}

void CoverageFiller::store(const PixelRect& clip, std::uint8_t* levels)
{
    struct Painter {
        PixelRect clip;
        std::uint8_t* stored;

        std::uint8_t* at(int x, int y) const
        {
            return stored + static_cast<std::ptrdiff_t>(y - clip.top) * clip.width() + (x - clip.left);
        }
        void paintRun(int y, int left, int right, std::uint32_t level) const
        {
            left = std::max(left, clip.left);
            right = std::min(right, clip.right);
            if (left < right) std::memset(at(left, y), static_cast<int>(level), static_cast<std::size_t>(right - left));
        }
        void paintLevels(int y, int left, const std::uint8_t* values, int count) const
        {
            const int from = std::max(left, clip.left), to = std::min(left + count, clip.right);
            if (from < to) std::memcpy(at(from, y), values + (from - left), static_cast<std::size_t>(to - from));
        }
    };
    if (clip.empty()) return;
    std::memset(levels, 0, static_cast<std::size_t>(clip.width()) * static_cast<std::size_t>(clip.height()));
    sweep(clip, Painter{clip, levels});
}

} // namespace larkspool
