#include "rendering/retained/damage_region.h"

#include <algorithm>
#include <bit>

namespace larkspool {

namespace {

constexpr int bitsPerWord = 64;
/// With more than this part of the tiles, the whole is as quick to paint.
constexpr double nearlyAll = 0.6;
/// More rectangles take longer to paint than what lies between them.
constexpr std::size_t greatestRectCount = 24;

/// Calls `with` with each run of set bits: its first column, and the one after its last.
template <typename With>
void forEachRun(const std::uint64_t* bits, int columns, const With& with)
{
    const auto isSet = [&](int column) { return (bits[column / bitsPerWord] >> (column % bitsPerWord) & 1) != 0; };
    for (int column = 0; column < columns;) {
        if (bits[column / bitsPerWord] >> (column % bitsPerWord) == 0) {
            column = (column / bitsPerWord + 1) * bitsPerWord;
            continue;
        }
        if (!isSet(column)) {
            ++column;
            continue;
        }
        const int begin = column;
        while (column < columns && isSet(column)) ++column;
        with(begin, column);
    }
}

} // namespace

void DamageRegion::reset(int width, int height)
{
    width_ = width;
    height_ = height;
    columns_ = (width + tileSide - 1) / tileSide;
    rows_ = (height + tileSide - 1) / tileSide;
    words_ = (columns_ + bitsPerWord - 1) / bitsPerWord;
    bits_.assign(static_cast<std::size_t>(words_) * static_cast<std::size_t>(rows_), 0);
}

void DamageRegion::add(const PixelRect& rect)
{
    const PixelRect held = intersectionOf(rect, {0, 0, width_, height_});
    if (held.empty()) return;
    const int left = held.left / tileSide, right = (held.right - 1) / tileSide;
    for (int y = held.top / tileSide; y <= (held.bottom - 1) / tileSide; ++y) {
        std::uint64_t* bits = row(y);
        for (int word = left / bitsPerWord; word <= right / bitsPerWord; ++word) {
            const int first = std::max(left - word * bitsPerWord, 0),
                      last = std::min(right - word * bitsPerWord, bitsPerWord - 1);
            bits[word] |= (~std::uint64_t{0} >> (bitsPerWord - 1 - (last - first))) << first;
        }
    }
}

void DamageRegion::add(const DamageRegion& other)
{
    if (bits_.size() != other.bits_.size()) return addAll();
    for (std::size_t i = 0; i < bits_.size(); ++i) bits_[i] |= other.bits_[i];
}

void DamageRegion::addAll()
{
    add(PixelRect{0, 0, width_, height_});
}

bool DamageRegion::empty() const
{
    return std::ranges::all_of(bits_, [](std::uint64_t word) { return word == 0; });
}

void DamageRegion::appendTo(std::vector<PixelRect>& rects) const
{
    int count = 0;
    for (const std::uint64_t word : bits_) count += std::popcount(word);
    if (count == 0) return;
    if (count > nearlyAll * columns_ * rows_) {
        rects.push_back({0, 0, width_, height_});
        return;
    }
    const std::size_t first = rects.size();
    appendRuns(rects, Runs::asTheyAre);
    if (rects.size() - first <= greatestRectCount) return;
    rects.resize(first);
    appendRuns(rects, Runs::joined);
    if (rects.size() - first <= greatestRectCount) return;
    PixelRect all;
    for (std::size_t i = first; i < rects.size(); ++i) all = unionOf(all, rects[i]);
    rects.resize(first);
    rects.push_back(all);
}

void DamageRegion::appendRuns(std::vector<PixelRect>& rects, Runs runs) const
{
    const std::size_t first = rects.size();
    for (int y = 0; y < rows_; ++y) {
        const auto append = [&](int begin, int end) {
            const PixelRect run{begin * tileSide, y * tileSide, std::min(end * tileSide, width_),
                                std::min((y + 1) * tileSide, height_)};
            const auto continues = [&](const PixelRect& above) {
                return above.bottom == run.top && above.left == run.left && above.right == run.right;
            };
            const auto above = std::find_if(rects.begin() + static_cast<std::ptrdiff_t>(first), rects.end(), continues);
            if (above != rects.end())
                above->bottom = run.bottom;
            else
                rects.push_back(run);
        };
        if (runs == Runs::asTheyAre) {
            forEachRun(row(y), columns_, append);
            continue;
        }
        int begin = columns_, end = 0;
        forEachRun(row(y), columns_, [&](int from, int to) {
            begin = std::min(begin, from);
            end = std::max(end, to);
        });
        if (begin < end) append(begin, end);
    }
}

} // namespace larkspool
