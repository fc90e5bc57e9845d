#include "platform/raster/coverage_blur.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

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

} // namespace

BlurredCoverage blurredCoverage(const CoverageImage& coverage, double sigma, const PixelRect& area)
{
    BlurredCoverage grid = emptyGrid(area, sigma);
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

} // namespace larkspool
