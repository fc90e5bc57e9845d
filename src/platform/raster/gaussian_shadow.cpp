#include "platform/raster/gaussian_shadow.h"

#include "platform/raster/vectorised.h"

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

/// A Gaussian's tail beyond this many standard deviations rounds to no alpha at all.
constexpr double reachInSigmas = 3;
/// Beyond this many standard deviations an edge counts as infinitely far.
constexpr double edgeInSigmas = 3.6;
/// Narrower blurs, in pixels, show how the edge of the coverage itself was rastered.
constexpr double leastBoxSigma = 2;
/// The least standard deviation in steps of a grid with large steps.
constexpr double leastSigmaInSteps = 3;
/// Corners wider than this, in standard deviations, take too many samples.
constexpr double greatestRadiusInSigmas = 20;

/// So that interpolation errs by less than a level of 255. The error grows with the square of the step against the deviation,
/// and is least for a step of 2, whose pixels all lie equally far from a value.
int stepFor(double sigma)
{
    if (sigma < 5) return 1;
    if (sigma < 10) return 2;
    int step = 4;
    while (step < 1024 && step * 2 * leastSigmaInSteps <= sigma) step *= 2;
    return step;
}

/// What interpolating linearly between values `step` apart adds to the variance, seen at the centres of pixels.
double interpolationVariance(int step)
{
    return step == 1 ? 0 : step * step / 6.0 + 1 / 12.0;
}

/// The values stand at the edges between pixels, from the left edge of the area on, or at the centres for a step of 1.
double positionOf(int index, int start, int step)
{
    return start + static_cast<double>(index) * step + (step == 1 ? 0.5 : 0);
}

BlurredCoverage emptyGrid(const PixelRect& area, int step)
{
    BlurredCoverage grid;
    grid.area = area;
    grid.step = step;
    grid.columns = (area.width() + step - 1) / step + 1;
    grid.rows = (area.height() + step - 1) / step + 1;
    grid.values = ScratchMemory<float>(static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows));
    return grid;
}

/// The standard normal distribution and its density by table, precise to 1e-5.
class NormalTable {
public:
    static const NormalTable& shared()
    {
        static const NormalTable table;
        return table;
    }

    float distribution(double z) const { return at(distribution_, z); }
    float density(double z) const { return at(density_, z); }

private:
    static constexpr int samplesPerSigma = 64;
    static constexpr int range = 5;
    static constexpr int count = 2 * range * samplesPerSigma + 2;

    NormalTable()
    {
        for (int i = 0; i < count; ++i) {
            const double z = static_cast<double>(i) / samplesPerSigma - range;
            distribution_[static_cast<std::size_t>(i)] = static_cast<float>(0.5 * std::erfc(-z / std::numbers::sqrt2));
            density_[static_cast<std::size_t>(i)] =
                static_cast<float>(std::exp(-0.5 * z * z) * std::numbers::inv_sqrtpi / std::numbers::sqrt2);
        }
    }

    static float at(const std::array<float, count>& samples, double z)
    {
        const double position = std::clamp((z + range) * samplesPerSigma, 0.0, static_cast<double>(count - 2));
        const auto index = static_cast<std::size_t>(position);
        const float fraction = static_cast<float>(position - static_cast<double>(index));
        return samples[index] + (samples[index + 1] - samples[index]) * fraction;
    }

    std::array<float, count> distribution_;
    std::array<float, count> density_;
};

/// Nodes and weights of Gauss-Legendre quadrature over 0...1.
struct Quadrature {
    std::vector<double> nodes, weights;

    explicit Quadrature(int count)
    {
        for (int i = 0; i < count; ++i) {
            double x = std::cos(std::numbers::pi * (i + 0.75) / (count + 0.5));
            double slope = 1;
            for (int iteration = 0; iteration < 50; ++iteration) {
                double previous = 0, value = 1;
                for (int n = 0; n < count; ++n)
                    previous = std::exchange(value, ((2 * n + 1) * x * value - n * previous) / (n + 1));
                slope = count * (x * value - previous) / (x * x - 1);
                const double delta = value / slope;
                x -= delta;
                if (std::abs(delta) < 1e-15) break;
            }
            nodes.push_back((1 - x) * 0.5);
            weights.push_back(1 / ((1 - x * x) * slope * slope));
        }
    }
};

const Quadrature& quadratureFor(double radiusInSigmas)
{
    static const Quadrature few(8), some(12), many(20), most(40);
    return radiusInSigmas <= 3 ? few : radiusInSigmas <= 6 ? some : radiusInSigmas <= 10 ? many : most;
}

/// Adds the sum of `count` profiles of `length` values, each times its weight, to `sums`.
LARKSPOOL_VECTORISED
void addWeighted(float* __restrict sums, const float* __restrict profiles, const float* __restrict weights, int count, int length)
{
    for (int k = 0; k < count; ++k) {
        const float weight = weights[k];
        const float* profile = profiles + static_cast<std::ptrdiff_t>(k) * length;
        for (int i = 0; i < length; ++i) sums[i] += profile[i] * weight;
    }
}

/// The grid indices of one axis whose positions lie in from...to.
struct IndexRange {
    int begin = 0, end = 0;
    int length() const { return end - begin; }
};

IndexRange indicesWithin(double from, double to, int start, int step, int count)
{
    const double origin = positionOf(0, start, step);
    const double first = std::clamp(std::ceil((from - origin) / step), 0.0, static_cast<double>(count));
    const double last = std::clamp(std::floor((to - origin) / step) + 1, first, static_cast<double>(count));
    return {static_cast<int>(first), static_cast<int>(last)};
}

/// Adds one blurred box to a grid. The box is a stack of slices, each as wide as the box is at its height: one slice for all
/// rows between the corners, and some for each row of corners, whose heights are the nodes of a quadrature. A blurred slice is
/// the product of a profile across and a profile down.
class BoxBlur {
public:
    BoxBlur(const WeightedDeviceBox& box, double sigma, BlurredCoverage& grid) : box_(box), sigma_(sigma), grid_(grid)
    {
        const double reach = edgeInSigmas * sigma, corner = box.radius + reach;
        const int start = grid.area.left, step = grid.step;
        left_ = indicesWithin(box.rect.minX() - reach, box.rect.minX() + corner, start, step, grid.columns);
        right_ = indicesWithin(box.rect.maxX() - corner, box.rect.maxX() + reach, start, step, grid.columns);
        if (right_.begin <= left_.end) {
            left_.end = right_.end;
            right_.begin = right_.end;
        }
        rows_ = indicesWithin(box.rect.minY() - reach, box.rect.maxY() + reach, grid.area.top, step, grid.rows);
        cutSlices();
        profileAcross(left_, leftProfiles_);
        profileAcross(right_, rightProfiles_);
    }

    void add()
    {
        std::vector<float> weights(insets_.size());
        for (int row = rows_.begin; row < rows_.end; ++row) {
            const int count = profileDown(positionOf(row, grid_.area.top, grid_.step), weights);
            float* values = grid_.values.data() + static_cast<std::ptrdiff_t>(row) * grid_.columns;
            addWeighted(values + left_.begin, leftProfiles_.data(), weights.data(), count, left_.length());
            if (right_.begin >= right_.end && right_.begin == left_.end) continue;
            float sum = 0;
            for (int k = 0; k < count; ++k) sum += weights[static_cast<std::size_t>(k)];
            for (int i = left_.end; i < right_.begin; ++i) values[i] += sum;
            addWeighted(values + right_.begin, rightProfiles_.data(), weights.data(), count, right_.length());
        }
    }

private:
    void cutSlices()
    {
        insets_ = {0};
        heights_ = {0};
        depths_ = {0};
        if (box_.radius <= 0) return;
        const Quadrature& quadrature = quadratureFor(box_.radius / sigma_);
        for (std::size_t i = 0; i < quadrature.nodes.size(); ++i) {
            // Heights go with the angle, along which the outline of the corner is smooth.
            const double angle = quadrature.nodes[i] * std::numbers::pi * 0.5;
            heights_.push_back(quadrature.weights[i] * std::numbers::pi * 0.5 * box_.radius * std::sin(angle));
            depths_.push_back(box_.radius * (1 - std::cos(angle)));
            insets_.push_back(box_.radius * (1 - std::sin(angle)));
        }
    }

    void profileAcross(const IndexRange& range, std::vector<float>& profiles) const
    {
        const NormalTable& normal = NormalTable::shared();
        profiles.resize(insets_.size() * static_cast<std::size_t>(range.length()));
        float* profile = profiles.data();
        const double perSigma = 1 / sigma_;
        for (const double inset : insets_) {
            for (int i = range.begin; i < range.end; ++i) {
                const double x = positionOf(i, grid_.area.left, grid_.step);
                *profile++ = normal.distribution((x - box_.rect.minX() - inset) * perSigma) -
                             normal.distribution((x - box_.rect.maxX() + inset) * perSigma);
            }
        }
    }

    /// Sets the weight that each slice has at a height; returns how many slices from the first on have any.
    int profileDown(double y, std::vector<float>& weights) const
    {
        const NormalTable& normal = NormalTable::shared();
        const double perSigma = 1 / sigma_;
        const double top = (y - box_.rect.minY()) * perSigma, bottom = (box_.rect.maxY() - y) * perSigma;
        const double radius = box_.radius * perSigma;
        const float weight = static_cast<float>(box_.weight);
        weights[0] = (normal.distribution(top - radius) - normal.distribution(radius - bottom)) * weight;
        if (top > radius + edgeInSigmas && bottom > radius + edgeInSigmas) return 1;
        for (std::size_t k = 1; k < insets_.size(); ++k) {
            const double depth = depths_[k] * perSigma;
            const float density = normal.density(top - depth) + normal.density(bottom - depth);
            weights[k] = density * static_cast<float>(heights_[k] * perSigma) * weight;
        }
        return static_cast<int>(insets_.size());
    }

    const WeightedDeviceBox& box_;
    double sigma_;
    BlurredCoverage& grid_;
    IndexRange left_, right_, rows_;
    std::vector<double> insets_;  ///< How much narrower than the box a slice is on each side.
    std::vector<double> heights_; ///< How high a slice is.
    std::vector<double> depths_;  ///< How far from the top, and from the bottom, a slice lies.
    std::vector<float> leftProfiles_, rightProfiles_;
};

/// Half of a Gaussian from its centre on, with a sum of 1 over both halves.
std::vector<float> gaussianWeights(double sigma)
{
    if (!(sigma > 0.05)) return {1};
    const int radius = static_cast<int>(std::ceil(edgeInSigmas * sigma));
    std::vector<double> half;
    double sum = 0;
    for (int i = 0; i <= radius; ++i) {
        half.push_back(std::exp(-0.5 * i * i / (sigma * sigma)));
        sum += i == 0 ? half.back() : 2 * half.back();
    }
    std::vector<float> weights;
    for (const double value : half) weights.push_back(static_cast<float>(value / sum));
    return weights;
}

LARKSPOOL_VECTORISED
void scaleRow(float* __restrict sums, const float* __restrict values, float weight, int count)
{
    for (int i = 0; i < count; ++i) sums[i] = values[i] * weight;
}

LARKSPOOL_VECTORISED
void addRowPair(float* __restrict sums, const float* __restrict first, const float* __restrict second, float weight, int count)
{
    for (int i = 0; i < count; ++i) sums[i] += (first[i] + second[i]) * weight;
}

LARKSPOOL_VECTORISED
void toFractions(const std::uint8_t* __restrict levels, int count, float* __restrict fractions)
{
    for (int i = 0; i < count; ++i) fractions[i] = static_cast<float>(levels[i]) * (1 / 255.0F);
}

/// Sums of the coverage in the cells around the grid's values: cell `index` reaches half a step to either side of its value.
class CellSums {
public:
    CellSums(const CoverageImage& coverage, const BlurredCoverage& grid) : coverage_(coverage), grid_(grid) {}

    IndexRange columns() const { return cells(coverage_.area.left, coverage_.area.right, grid_.area.left); }
    IndexRange rows() const { return cells(coverage_.area.top, coverage_.area.bottom, grid_.area.top); }

    /// The mean coverage of the cells of a row, for the columns above.
    void meansOfRow(int row, std::vector<float>& means) const
    {
        const IndexRange across = columns();
        if (grid_.step == 1) {
            means.resize(static_cast<std::size_t>(across.length()));
            toFractions(line(row + grid_.area.top), across.length(), means.data());
            return;
        }
        means.assign(static_cast<std::size_t>(across.length()), 0);
        const int firstLine = firstPixel(row, grid_.area.top);
        for (int y = std::max(firstLine, coverage_.area.top); y < std::min(firstLine + grid_.step, coverage_.area.bottom); ++y)
            addLine(y, across, means);
        const float scale = 1 / (255.0F * static_cast<float>(grid_.step) * static_cast<float>(grid_.step));
        for (float& mean : means) mean *= scale;
    }

private:
    int firstPixel(int index, int start) const { return start + index * grid_.step - grid_.step / 2; }

    IndexRange cells(int from, int to, int start) const
    {
        const auto cellOf = [&](int pixel) {
            const int distance = pixel - firstPixel(0, start);
            return distance >= 0 ? distance / grid_.step : -((-distance + grid_.step - 1) / grid_.step);
        };
        return {cellOf(from), cellOf(to - 1) + 1};
    }

    const std::uint8_t* line(int y) const
    {
        return coverage_.values.data() + static_cast<std::ptrdiff_t>(y - coverage_.area.top) * coverage_.area.width();
    }

    void addLine(int y, const IndexRange& across, std::vector<float>& means) const
    {
        const std::uint8_t* levels = line(y);
        for (int index = across.begin; index < across.end; ++index) {
            const int first = firstPixel(index, grid_.area.left);
            const int from = std::max(first, coverage_.area.left), to = std::min(first + grid_.step, coverage_.area.right);
            int sum = 0;
            for (int x = from; x < to; ++x) sum += levels[x - coverage_.area.left];
            means[static_cast<std::size_t>(index - across.begin)] += static_cast<float>(sum);
        }
    }

    const CoverageImage& coverage_;
    const BlurredCoverage& grid_;
};

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
        for (int p = 0; p < step; ++p)
            pixels[i * step + p] =
                static_cast<std::uint16_t>((from * (2 * step - 2 * p - 1) + to * (2 * p + 1) + step) / (2 * step));
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

constexpr int chunkPixels = 64;
/// An alpha of 1 as the weight of a row: alphas are fractions of 15 bits.
constexpr double fullAlphaWeight = 32767;

/// Blends up to chunkPixels pixels. The densities of two rows count by their weights, which add up to fullAlphaWeight times the
/// alpha at most; `colors` is the colour repeated.
[[gnu::always_inline]] inline void blendChunk(std::uint8_t* __restrict pixels, const std::uint16_t* __restrict upper,
                                              const std::uint16_t* __restrict lower, std::uint16_t upperWeight,
                                              std::uint16_t lowerWeight, const std::int16_t* __restrict colors, int count)
{
    std::int16_t alphas[chunkPixels];
    std::int16_t any = 0;
    for (int i = 0; i < count; ++i) {
        const auto above = static_cast<std::uint16_t>((static_cast<std::uint32_t>(upper[i]) * upperWeight) >> 16);
        const auto below = static_cast<std::uint16_t>((static_cast<std::uint32_t>(lower[i]) * lowerWeight) >> 16);
        alphas[i] = static_cast<std::int16_t>(above + below);
        any = static_cast<std::int16_t>(any | alphas[i]);
    }
    if (any == 0) return;

    std::int16_t channelAlphas[chunkPixels * 4];
    for (int i = 0; i < count; ++i)
        for (int channel = 0; channel < 4; ++channel) channelAlphas[4 * i + channel] = alphas[i];
    for (int i = 0; i < count * 4; ++i) {
        // In steps that every processor has for many numbers at once: the upper half of a product of 16 bits.
        const auto missing = static_cast<std::int16_t>((colors[i] - pixels[i]) * 128);
        const auto fine = static_cast<std::int16_t>((static_cast<std::int32_t>(missing) * channelAlphas[i]) >> 16);
        const auto change = static_cast<std::int16_t>(static_cast<std::int16_t>(fine + 32) >> 6);
        pixels[i] = static_cast<std::uint8_t>(pixels[i] + change);
    }
}

LARKSPOOL_VECTORISED
void blendSpan(std::uint8_t* pixels, const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t upperWeight,
               std::uint16_t lowerWeight, const std::int16_t* colors, int count)
{
    for (; count >= chunkPixels; count -= chunkPixels) {
        blendChunk(pixels, upper, lower, upperWeight, lowerWeight, colors, chunkPixels);
        pixels += std::ptrdiff_t{4} * chunkPixels;
        upper += chunkPixels;
        lower += chunkPixels;
    }
    if (count > 0) blendChunk(pixels, upper, lower, upperWeight, lowerWeight, colors, count);
}

/// Pixels of a row, from `begin` to before `end`.
struct PixelSpan {
    int begin = 0, end = 0;

    bool empty() const { return begin >= end; }
};

PixelSpan intersectionOf(const PixelSpan& a, const PixelSpan& b)
{
    return {std::max(a.begin, b.begin), std::min(a.end, b.end)};
}

/// The pixels of a row that lie within an opaque area with a pixel to spare.
PixelSpan coveredSpan(const OpaqueArea& area, int y, const PixelRect& within)
{
    if (area.rect.isNull()) return {};
    const double above = y - 1 - area.rect.minY(), below = area.rect.maxY() - (y + 2);
    if (!(above >= 0 && below >= 0)) return {};
    const double depth = area.radius - std::min(above, below);
    const double inset = depth > 0 ? area.radius - std::sqrt(std::max(area.radius * area.radius - depth * depth, 0.0)) : 0;
    const double left = std::ceil(area.rect.minX() + inset) + 1, right = std::floor(area.rect.maxX() - inset) - 1;
    if (!(left < right)) return {};
    return {static_cast<int>(std::clamp(left, static_cast<double>(within.left), static_cast<double>(within.right))),
            static_cast<int>(std::clamp(right, static_cast<double>(within.left), static_cast<double>(within.right)))};
}

const PixelSpan& longer(const PixelSpan& a, const PixelSpan& b)
{
    return b.end - b.begin > a.end - a.begin ? b : a;
}

/// The zeros around the middle of a row: the inside of a ring.
PixelSpan middleZeros(const std::vector<int>& levels)
{
    const int count = static_cast<int>(levels.size());
    const auto isZero = [&](int i) { return levels[static_cast<std::size_t>(i)] == 0; };
    PixelSpan zeros{count / 2, count / 2};
    while (zeros.begin > 0 && isZero(zeros.begin - 1)) --zeros.begin;
    while (zeros.end < count && isZero(zeros.end)) ++zeros.end;
    return zeros;
}

/// Rows of a grid widened to pixels. Two neighbours are kept: rows are asked for from the top down.
class WidenedRows {
public:
    explicit WidenedRows(const BlurredCoverage& blurred) : blurred_(blurred), levels_(static_cast<std::size_t>(blurred.columns))
    {
        for (Row& row : rows_)
            row.pixels.resize(static_cast<std::size_t>(blurred.columns - 1) * static_cast<std::size_t>(blurred.step));
    }

    struct Row {
        int index = -1;
        std::vector<std::uint16_t> pixels;
        PixelSpan empty; ///< Pixels that the shadow does not reach.
    };

    const Row& at(int index)
    {
        Row& row = rows_[static_cast<std::size_t>(index % 2)];
        if (row.index == index) return row;
        row.index = index;
        toLevels(blurred_.row(index), blurred_.columns, levels_.data());
        widenLevels(levels_.data(), blurred_.columns - 1, blurred_.step, row.pixels.data());
        const PixelSpan zeros = middleZeros(levels_);
        row.empty = {zeros.begin * blurred_.step, (zeros.end - 1) * blurred_.step};
        return row;
    }

private:
    const BlurredCoverage& blurred_;
    std::array<Row, 2> rows_;
    std::vector<int> levels_;
};

} // namespace

int shadowReach(double sigma)
{
    return static_cast<int>(std::ceil(reachInSigmas * sigma)) + 1;
}

bool canBlurAsBoxes(std::span<const WeightedDeviceBox> boxes, double sigma)
{
    if (sigma < leastBoxSigma) return false;
    for (const WeightedDeviceBox& box : boxes)
        if (!(box.radius <= greatestRadiusInSigmas * sigma)) return false;
    return true;
}

BlurredCoverage blurredBoxes(std::span<const WeightedDeviceBox> boxes, double sigma, const PixelRect& area)
{
    BlurredCoverage grid = emptyGrid(area, stepFor(sigma));
    // A pixel shows the mean over its square, whose variance is a twelfth.
    const double pointSigma = std::sqrt(sigma * sigma + 1 / 12.0 - interpolationVariance(grid.step));
    for (const WeightedDeviceBox& box : boxes) BoxBlur(box, pointSigma, grid).add();
    return grid;
}

BlurredCoverage blurredCoverage(const CoverageImage& coverage, double sigma, const PixelRect& area)
{
    BlurredCoverage grid = emptyGrid(area, stepFor(sigma));
    if (coverage.area.empty()) return grid;
    const int step = grid.step;
    const double cellVariance = (static_cast<double>(step) * step - 1) / 12;
    const double pointVariance = sigma * sigma - cellVariance - interpolationVariance(step);
    const std::vector<float> weights = gaussianWeights(std::sqrt(std::max(pointVariance, 0.0)) / step);
    const int radius = static_cast<int>(weights.size()) - 1;

    const CellSums cells(coverage, grid);
    const IndexRange across = cells.columns(), down = cells.rows();
    const IndexRange used{std::max(down.begin, -radius), std::min(down.end, grid.rows + radius)};
    if (used.begin >= used.end) return grid;

    // Each row of cells blurred across, with empty rows above and below so that the pass down needs no ends. Shapes with upright
    // sides have many equal rows, which are blurred once.
    const int columns = grid.columns;
    const int paddedRows = grid.rows + 2 * radius;
    ScratchMemory<float> blurredAcross(static_cast<std::size_t>(columns) * static_cast<std::size_t>(paddedRows));
    std::vector<int> equalFrom(static_cast<std::size_t>(paddedRows)); // The first of the equal rows of which a row is the last.
    std::vector<float> padded(static_cast<std::size_t>(columns + 2 * radius));
    std::vector<float> means, meansAbove;
    for (int row = 0; row < paddedRows; ++row) {
        const int cell = row - radius;
        const bool isUsed = cell >= used.begin && cell < used.end;
        std::swap(means, meansAbove);
        means.clear();
        if (isUsed) cells.meansOfRow(cell, means);
        const bool isEqual = row > 0 && means == meansAbove;
        equalFrom[static_cast<std::size_t>(row)] = isEqual ? equalFrom[static_cast<std::size_t>(row) - 1] : row;
        if (!isUsed) continue;

        float* sums = blurredAcross.data() + static_cast<std::ptrdiff_t>(row) * columns;
        if (isEqual) {
            std::copy_n(sums - columns, columns, sums);
            continue;
        }
        for (int i = std::max(across.begin, -radius); i < std::min(across.end, columns + radius); ++i)
            padded[static_cast<std::size_t>(i + radius)] = means[static_cast<std::size_t>(i - across.begin)];
        scaleRow(sums, padded.data() + radius, weights[0], columns);
        for (int k = 1; k <= radius; ++k)
            addRowPair(sums, padded.data() + radius - k, padded.data() + radius + k, weights[static_cast<std::size_t>(k)],
                       columns);
    }
    for (int row = 0; row < grid.rows; ++row) {
        float* sums = grid.values.data() + static_cast<std::ptrdiff_t>(row) * columns;
        const float* centre = blurredAcross.data() + static_cast<std::ptrdiff_t>(row + radius) * columns;
        if (equalFrom[static_cast<std::size_t>(row + 2 * radius)] <= row) {
            std::copy_n(centre, columns, sums);
            continue;
        }
        scaleRow(sums, centre, weights[0], columns);
        for (int k = 1; k <= radius; ++k) {
            const std::ptrdiff_t distance = static_cast<std::ptrdiff_t>(k) * columns;
            addRowPair(sums, centre - distance, centre + distance, weights[static_cast<std::size_t>(k)], columns);
        }
    }
    return grid;
}

void compositeShadow(const RasterTarget& target, const PixelRect& clip, const BlurredCoverage& blurred, const ShadowColor& color,
                     const OpaqueArea& covered)
{
    const PixelRect area = intersectionOf(intersectionOf(clip, target.area), blurred.area);
    if (area.empty()) return;

    std::array<std::int16_t, static_cast<std::size_t>(chunkPixels) * 4> colors;
    for (std::size_t i = 0; i < colors.size(); i += 4) {
        colors[i] = color.blue;
        colors[i + 1] = color.green;
        colors[i + 2] = color.red;
        colors[i + 3] = 255;
    }
    const double fullWeight = std::clamp(color.alpha, 0.0, 1.0) * fullAlphaWeight;
    const int step = blurred.step;
    WidenedRows rows(blurred);

    for (int y = area.top; y < area.bottom; ++y) {
        const int index = (y - blurred.area.top) / step;
        const double fraction = step == 1 ? 0 : ((y - blurred.area.top) % step + 0.5) / step;
        const auto lowerWeight = static_cast<std::uint16_t>(fullWeight * fraction + 0.5);
        const auto upperWeight = static_cast<std::uint16_t>(fullWeight + 0.5 - lowerWeight);
        const WidenedRows::Row& upper = rows.at(index);
        const WidenedRows::Row& lower = rows.at(index + 1);
        const auto blend = [&](int from, int to) {
            if (from >= to) return;
            const int offset = from - blurred.area.left;
            blendSpan(target.at(from, y), upper.pixels.data() + offset, lower.pixels.data() + offset, upperWeight, lowerWeight,
                      colors.data(), to - from);
        };
        const PixelSpan empty = intersectionOf(upper.empty, lower.empty);
        const PixelSpan skipped = longer(coveredSpan(covered, y, area), {std::max(empty.begin + blurred.area.left, area.left),
                                                                         std::min(empty.end + blurred.area.left, area.right)});
        if (skipped.empty()) {
            blend(area.left, area.right);
        } else {
            blend(area.left, skipped.begin);
            blend(skipped.end, area.right);
        }
    }
}

} // namespace larkspool
