#include "platform/raster/box_painter.h"

#include "platform/raster/vectorised.h"

#include <array>
#include <cstring>
#include <vector>

namespace larkspool {

namespace {

/// The four bytes times `factor` / 255, rounded, for a factor of 0...255. Two bytes at a time have room for their products.
inline std::uint32_t scaled(std::uint32_t bytes, std::uint32_t factor)
{
    constexpr std::uint32_t everyOther = 0x00ff00ff, half = 0x00800080;
    const std::uint32_t even = (bytes & everyOther) * factor + half, odd = (bytes >> 8 & everyOther) * factor + half;
    return ((even + (even >> 8 & everyOther)) >> 8 & everyOther) | ((odd + (odd >> 8 & everyOther)) & ~everyOther);
}

/// A premultiplied colour as it lies in memory.
std::uint32_t packed(const PixelColor& color)
{
    return color.blue | std::uint32_t{color.green} << 8 | std::uint32_t{color.red} << 16 | std::uint32_t{color.alpha} << 24;
}

std::uint8_t alphaOf(std::uint32_t color)
{
    return static_cast<std::uint8_t>(color >> 24);
}

LARKSPOOL_VECTORISED
void storeRun(std::uint32_t* pixels, std::uint32_t value, int count)
{
    for (int i = 0; i < count; ++i) pixels[i] = value;
}

constexpr int patternBytes = 64;

/// Blends `bytes` bytes, of which the pattern repeats the colour, under the remaining opacity of the colour.
LARKSPOOL_VECTORISED
void blendPattern(std::uint8_t* __restrict pixels, const std::uint8_t* __restrict pattern, std::uint8_t rest, int bytes)
{
    for (; bytes >= patternBytes; bytes -= patternBytes) {
        for (int i = 0; i < patternBytes; ++i) {
            const auto product = static_cast<std::uint16_t>(static_cast<std::uint16_t>(pixels[i] * rest) + 128);
            pixels[i] = static_cast<std::uint8_t>(
                pattern[i] + static_cast<std::uint8_t>(static_cast<std::uint16_t>(product + (product >> 8)) >> 8));
        }
        pixels += patternBytes;
    }
    for (int i = 0; i < bytes; ++i) {
        const auto product = static_cast<std::uint16_t>(static_cast<std::uint16_t>(pixels[i] * rest) + 128);
        pixels[i] = static_cast<std::uint8_t>(
            pattern[i] + static_cast<std::uint8_t>(static_cast<std::uint16_t>(product + (product >> 8)) >> 8));
    }
}

/// Pixels of a row that are painted alike.
struct Run {
    int begin = 0, count = 0;
    std::uint32_t color = 0; ///< Packed; as much of the colour as the pixels are covered.
};

void blendRun(std::uint8_t* pixels, const Run& run)
{
    const auto rest = static_cast<std::uint8_t>(255 - alphaOf(run.color));
    if (rest == 0) return storeRun(reinterpret_cast<std::uint32_t*>(pixels), run.color, run.count);
    if (run.count < 8) {
        for (int i = 0; i < run.count; ++i, pixels += sizeof run.color) {
            std::uint32_t below = 0;
            std::memcpy(&below, pixels, sizeof below);
            const std::uint32_t blended = run.color + scaled(below, rest);
            std::memcpy(pixels, &blended, sizeof blended);
        }
        return;
    }
    std::array<std::uint32_t, patternBytes / sizeof(std::uint32_t)> pattern;
    pattern.fill(run.color);
    blendPattern(pixels, reinterpret_cast<const std::uint8_t*>(pattern.data()), rest, run.count * 4);
}

/// Where the outline of a box runs through a row of pixels, from the straight line between two corners to the corner's side.
struct Piece {
    double nearLine = 0, farLine = 0; ///< Distances from the line of the corners' centres; both 0 for a straight piece.
    double height = 0;
    double nearWidth = 0, farWidth = 0; ///< How far the circle reaches there from its own centre.
    double area = 0; ///< Between the circle and its diameter, from one distance to the other.
};

/// Columns of pixels, from `from` to before `to`.
struct Columns {
    int from = 0, to = 0;
};

/// The coverage of one row of pixels by a box: some pixels that the left side crosses, a run of equal ones, some that the right
/// side crosses.
class BoxRow {
public:
    explicit BoxRow(const DeviceBox& box) : box_(box) {}

    /// Computes the row for the columns `from` to before `to`.
    void compute(int y, int from, int to)
    {
        begin = end = runBegin = runEnd = from;
        height = static_cast<float>(cutPieces(y));
        if (height <= 0) return;

        // On both sides, x is counted from the line of the corners' centres outward.
        const double left = box_.rect.minX() + box_.radius, right = box_.rect.maxX() - box_.radius;
        const auto held = [&](double x) {
            return static_cast<int>(std::clamp(x, static_cast<double>(from), static_cast<double>(to)));
        };
        begin = held(std::floor(left - widest_));
        runBegin = held(std::ceil(left - narrowest_));
        runEnd = held(std::floor(right + narrowest_));
        end = held(std::ceil(right + widest_));
        fromLeft_.clear();
        fromRight_.clear();
        leftBegin_ = begin;
        rightBegin_ = runEnd;
        double outside = areaBeyond(left - begin);
        for (int x = begin; x < runBegin; ++x) {
            const double next = areaBeyond(left - (x + 1));
            fromLeft_.push_back(static_cast<float>(next - outside));
            outside = next;
        }
        outside = areaBeyond(runEnd - right);
        for (int x = runEnd; x < end; ++x) {
            const double next = areaBeyond(x + 1 - right);
            fromRight_.push_back(static_cast<float>(outside - next));
            outside = next;
        }
        if (runBegin > runEnd) runBegin = runEnd = end; // Both sides cross the same pixels.
    }

    /// The covered part of a pixel.
    float at(int x) const
    {
        if (x < begin || x >= end) return 0;
        return part(fromLeft_, x - leftBegin_) + part(fromRight_, x - rightBegin_) - height;
    }

    bool empty() const { return begin >= end; }

    /// Whether the row and the one before, if that is straight too, look the same.
    bool isStraight(int y) const { return y >= box_.rect.minY() + box_.radius && y + 1 <= box_.rect.maxY() - box_.radius; }

    int begin = 0, runBegin = 0, runEnd = 0, end = 0;
    float height = 0; ///< The coverage of the run.

private:
    float part(const std::vector<float>& crossed, int index) const
    {
        return index >= 0 && index < static_cast<int>(crossed.size()) ? crossed[static_cast<std::size_t>(index)] : height;
    }

    /// Cuts the row where corners begin and end; returns how much of its height is within the box.
    double cutPieces(int y)
    {
        const double top = std::max<double>(y, box_.rect.minY()), bottom = std::min<double>(y + 1, box_.rect.maxY());
        if (!(top < bottom)) return 0;
        const double upperCentre = box_.rect.minY() + box_.radius, lowerCentre = box_.rect.maxY() - box_.radius;
        const double straightTop = std::clamp(upperCentre, top, bottom),
                     straightBottom = std::clamp(lowerCentre, straightTop, bottom);
        count_ = 0;
        widest_ = 0;
        narrowest_ = box_.radius;
        addPiece(upperCentre - straightTop, upperCentre - top, straightTop - top);
        addPiece(0, 0, straightBottom - straightTop);
        addPiece(straightBottom - lowerCentre, bottom - lowerCentre, bottom - straightBottom);
        return bottom - top;
    }

    void addPiece(double nearLine, double farLine, double height_)
    {
        if (!(height_ > 0)) return;
        Piece& piece = pieces_[count_++];
        piece = {.nearLine = std::clamp(nearLine, 0.0, box_.radius),
                 .farLine = std::clamp(farLine, 0.0, box_.radius),
                 .height = height_};
        piece.nearWidth = halfWidth(piece.nearLine);
        piece.farWidth = halfWidth(piece.farLine);
        if (piece.nearLine < piece.farLine) piece.area = areaUnderArc(piece, piece.farLine, piece.farWidth);
        widest_ = std::max(widest_, piece.nearWidth);
        narrowest_ = std::min(narrowest_, piece.farWidth);
    }

    double halfWidth(double line) const { return std::sqrt(std::max(box_.radius * box_.radius - line * line, 0.0)); }

    /// The area of the box in this row that lies outward of a column, `x` being counted from the line of the corners' centres.
    double areaBeyond(double x) const
    {
        double area = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            const Piece& piece = pieces_[i];
            if (piece.farLine <= piece.nearLine) {
                area += std::max(piece.nearWidth - x, 0.0) * piece.height;
            } else if (x <= piece.farWidth) {
                area += piece.area - x * (piece.farLine - piece.nearLine);
            } else if (x < piece.nearWidth) {
                const double until = halfWidth(x); // There the circle is as wide as x.
                area += areaUnderArc(piece, until, x) - x * (until - piece.nearLine);
            }
        }
        return area;
    }

    /// The area between the circle and its diameter from where a piece begins to the line `until`, where the circle is `width`
    /// wide: the area under the chord and the segment that the chord cuts off.
    double areaUnderArc(const Piece& piece, double until, double width) const
    {
        const double r = box_.radius, down = until - piece.nearLine, across = piece.nearWidth - width;
        const double square = (down * down + across * across) / (4 * r * r), sine = std::sqrt(square);
        // The angle of the segment less its sine, for whose difference a series is quicker and, in wide circles, more precise.
        constexpr double greatestSquareForSeries = 0.1;
        const double difference =
            square > greatestSquareForSeries
                ? 2 * (std::asin(std::min(sine, 1.0)) - sine * std::sqrt(std::max(1 - square, 0.0)))
                : sine * square *
                      (4.0 / 3 + square * (2.0 / 5 + square * (3.0 / 14 + square * (5.0 / 36 + square * 35.0 / 352))));
        return down * (piece.nearWidth + width) * 0.5 + r * r * 0.5 * difference;
    }

    DeviceBox box_;
    std::array<Piece, 3> pieces_;
    std::size_t count_ = 0;
    double widest_ = 0, narrowest_ = 0; ///< How far the box reaches beyond the line of the corners' centres in this row.
    int leftBegin_ = 0, rightBegin_ = 0;
    std::vector<float> fromLeft_, fromRight_; ///< The part of each crossed pixel on the inner side of the crossing side.
};

std::uint32_t toLevel(float coverage)
{
    return static_cast<std::uint32_t>(std::clamp(coverage, 0.0F, 1.0F) * 255 + 0.5F);
}

/// The runs of pixels that a row of a box, or of the ring around another, consists of.
class RowPainter {
public:
    RowPainter(const DeviceBox& outer, const std::optional<DeviceBox>& inner, std::uint32_t color, const Columns& columns)
        : outer_(outer), color_(color), columns_(columns)
    {
        if (inner) inner_.emplace(*inner);
    }

    /// Whether the row and the one before, if that is straight too, look the same.
    bool isStraight(int y) const { return outer_.isStraight(y) && (!inner_ || inner_->isStraight(y)); }

    void compute(int y)
    {
        runs_.clear();
        outer_.compute(y, columns_.from, columns_.to);
        if (inner_) inner_->compute(y, columns_.from, columns_.to);
        int runBegin = outer_.runBegin, runEnd = outer_.runEnd;
        float runCoverage = outer_.height;
        if (inner_ && !inner_->empty()) {
            runBegin = std::max(runBegin, inner_->runBegin);
            runEnd = std::min(runEnd, inner_->runEnd);
            runCoverage -= inner_->height;
        }
        if (runBegin >= runEnd) runBegin = runEnd = outer_.end;
        addPixels(outer_.begin, runBegin);
        add(runBegin, runEnd, toLevel(runCoverage));
        addPixels(runEnd, outer_.end);
    }

    const std::vector<Run>& runs() const { return runs_; }

private:
    void addPixels(int from, int to)
    {
        const auto levelAt = [&](int x) { return toLevel(outer_.at(x) - (inner_ ? inner_->at(x) : 0)); };
        int begin = from;
        std::uint32_t level = 0;
        for (int x = from; x < to; ++x) {
            const std::uint32_t next = levelAt(x);
            if (next == level) continue;
            add(begin, x, level);
            begin = x;
            level = next;
        }
        add(begin, to, level);
    }

    void add(int from, int to, std::uint32_t level)
    {
        if (from >= to) return;
        const std::uint32_t color = scaled(color_, level);
        if (color != 0) runs_.push_back({from, to - from, color});
    }

    BoxRow outer_;
    std::optional<BoxRow> inner_;
    std::uint32_t color_;
    Columns columns_;
    std::vector<Run> runs_;
};

} // namespace

void paintBox(const RasterTarget& target, const PixelRect& clip, const DeviceBox& outer, const std::optional<DeviceBox>& inner,
              const PixelColor& color)
{
    const PixelRect area = pixelsTouchedBy(outer.rect, intersectionOf(clip, target.area));
    if (area.empty() || color.alpha == 0) return;

    RowPainter row(outer, inner, packed(color), {area.left, area.right});
    bool isRepeated = false;
    for (int y = area.top; y < area.bottom; ++y) {
        const bool straight = row.isStraight(y);
        if (!straight || !isRepeated) row.compute(y);
        isRepeated = straight;
        for (const Run& run : row.runs()) blendRun(target.at(run.begin, y), run);
    }
}

} // namespace larkspool
