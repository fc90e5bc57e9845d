#include "platform/raster/box_painter.h"

#include "platform/raster/vectorised.h"

#include <array>
#include <cstring>
#include <vector>

namespace larkspool {

namespace {

/// x * y / 255, rounded, for values of 0...255.
inline std::uint32_t scaled(std::uint32_t x, std::uint32_t y)
{
    const std::uint32_t product = x * y + 128;
    return (product + (product >> 8)) >> 8;
}

PixelColor covered(const PixelColor& color, std::uint32_t coverage)
{
    const auto part = [&](std::uint8_t channel) { return static_cast<std::uint8_t>(scaled(channel, coverage)); };
    return {part(color.blue), part(color.green), part(color.red), part(color.alpha)};
}

std::uint32_t packed(const PixelColor& color)
{
    return color.blue | std::uint32_t{color.green} << 8 | std::uint32_t{color.red} << 16 | std::uint32_t{color.alpha} << 24;
}

void blendPixel(std::uint8_t* pixel, const PixelColor& color)
{
    const std::uint32_t rest = 255U - color.alpha;
    pixel[0] = static_cast<std::uint8_t>(color.blue + scaled(pixel[0], rest));
    pixel[1] = static_cast<std::uint8_t>(color.green + scaled(pixel[1], rest));
    pixel[2] = static_cast<std::uint8_t>(color.red + scaled(pixel[2], rest));
    pixel[3] = static_cast<std::uint8_t>(color.alpha + scaled(pixel[3], rest));
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

void blendRun(std::uint8_t* pixels, const PixelColor& color, int count)
{
    if (color.alpha == 0) return;
    if (color.alpha == 255) return storeRun(reinterpret_cast<std::uint32_t*>(pixels), packed(color), count);
    if (count < 4) {
        for (int i = 0; i < count; ++i) blendPixel(pixels + std::ptrdiff_t{4} * i, color);
        return;
    }
    std::array<std::uint8_t, patternBytes> pattern;
    const std::uint32_t value = packed(color);
    for (std::size_t i = 0; i < pattern.size(); i += sizeof value) std::memcpy(pattern.data() + i, &value, sizeof value);
    blendPattern(pixels, pattern.data(), static_cast<std::uint8_t>(255 - color.alpha), count * 4);
}

/// Where the outline of a box runs through a row of pixels, from the straight line between two corners to the corner's side.
struct Piece {
    double nearLine = 0, farLine = 0; ///< Distances from the line of the corners' centres; both 0 for a straight piece.
    double height = 0;
    double nearArea = 0, farArea = 0; ///< Between the circle and its diameter, up to the two distances.
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

    /// Whether the rows from `y` to `y + 1` and the one before look the same.
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
        if (piece.nearLine < piece.farLine) {
            piece.nearArea = areaUnderCircle(piece.nearLine);
            piece.farArea = areaUnderCircle(piece.farLine);
        }
        widest_ = std::max(widest_, halfWidth(piece.nearLine));
        narrowest_ = std::min(narrowest_, halfWidth(piece.farLine));
    }

    double halfWidth(double line) const { return std::sqrt(std::max(box_.radius * box_.radius - line * line, 0.0)); }

    /// The area of the box in this row that lies outward of a column, `x` being counted from the line of the corners' centres.
    double areaBeyond(double x) const
    {
        double area = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            const Piece& piece = pieces_[i];
            if (piece.farLine <= piece.nearLine) {
                area += std::max(halfWidth(piece.nearLine) - x, 0.0) * piece.height;
                continue;
            }
            // As far from the line of the centres as the circle is wider than x.
            const double until = x <= 0 ? piece.farLine : x >= box_.radius ? 0 : std::min(halfWidth(x), piece.farLine);
            if (until <= piece.nearLine) continue;
            const double untilArea = until < piece.farLine ? areaUnderCircle(until) : piece.farArea;
            area += untilArea - piece.nearArea - x * (until - piece.nearLine);
        }
        return area;
    }

    /// The area between the circle and its diameter from the centre on.
    double areaUnderCircle(double line) const
    {
        const double r = box_.radius;
        return 0.5 * (line * halfWidth(line) + r * r * std::asin(std::min(line / r, 1.0)));
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

} // namespace

void paintBox(const RasterTarget& target, const PixelRect& clip, const DeviceBox& outer, const std::optional<DeviceBox>& inner,
              const PixelColor& color)
{
    const PixelRect area = pixelsTouchedBy(outer.rect, intersectionOf(clip, target.area));
    if (area.empty() || color.alpha == 0) return;

    BoxRow outerRow(outer), innerRow(inner.value_or(DeviceBox{}));
    std::vector<std::uint8_t> levels(static_cast<std::size_t>(area.width())); // Of the pixels before and after the run.
    int runBegin = 0, runEnd = 0;
    float runCoverage = 0;
    const auto computeRow = [&](int y) {
        outerRow.compute(y, area.left, area.right);
        if (inner) innerRow.compute(y, area.left, area.right);
        runBegin = outerRow.runBegin;
        runEnd = outerRow.runEnd;
        runCoverage = outerRow.height;
        if (inner && !innerRow.empty()) {
            runBegin = std::max(runBegin, innerRow.runBegin);
            runEnd = std::min(runEnd, innerRow.runEnd);
            runCoverage -= innerRow.height;
        }
        if (runBegin >= runEnd) runBegin = runEnd = outerRow.end;
        const auto computeLevels = [&](int from, int to) {
            for (int x = from; x < to; ++x)
                levels[static_cast<std::size_t>(x - area.left)] =
                    static_cast<std::uint8_t>(toLevel(outerRow.at(x) - (inner ? innerRow.at(x) : 0)));
        };
        computeLevels(outerRow.begin, runBegin);
        computeLevels(runEnd, outerRow.end);
    };

    bool isRepeated = false;
    for (int y = area.top; y < area.bottom; ++y) {
        const bool straight = outerRow.isStraight(y) && (!inner || innerRow.isStraight(y));
        if (!straight || !isRepeated) computeRow(y);
        isRepeated = straight;
        const auto blendLevels = [&](int from, int to) {
            for (int x = from; x < to;) {
                const std::uint8_t level = levels[static_cast<std::size_t>(x - area.left)];
                int next = x + 1;
                while (next < to && levels[static_cast<std::size_t>(next - area.left)] == level) ++next;
                if (level > 0) blendRun(target.at(x, y), covered(color, level), next - x);
                x = next;
            }
        };
        blendLevels(outerRow.begin, runBegin);
        if (runBegin < runEnd) blendRun(target.at(runBegin, y), covered(color, toLevel(runCoverage)), runEnd - runBegin);
        blendLevels(runEnd, outerRow.end);
    }
}

} // namespace larkspool
