#include "platform/raster/box_blur.h"

#include "platform/raster/vectorised.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace larkspool {

namespace {

/// Narrower blurs, in pixels, show how the edge of the coverage itself was rastered.
constexpr double leastBoxSigma = 2;
/// Corners wider than this, in standard deviations, take too many samples.
constexpr double greatestRadiusInSigmas = 20;

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

/// One that is precise to a hundredth of a level of 255.
const Quadrature& quadratureFor(double radiusInSigmas)
{
    static const std::array<std::pair<double, Quadrature>, 6> byRadius{{{1, Quadrature(4)},
                                                                        {2, Quadrature(6)},
                                                                        {4, Quadrature(8)},
                                                                        {6, Quadrature(12)},
                                                                        {10, Quadrature(20)},
                                                                        {greatestRadiusInSigmas, Quadrature(40)}}};
    const auto found = std::ranges::find_if(byRadius, [&](const auto& entry) { return radiusInSigmas <= entry.first; });
    return found == byRadius.end() ? byRadius.back().second : found->second;
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

LARKSPOOL_VECTORISED
void addEverywhere(float* values, float added, int count)
{
    for (int i = 0; i < count; ++i) values[i] += added;
}

/// The grid indices of one axis whose positions lie in from...to.
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

    /// The columns in which the box has the same density all along a row.
    IndexRange evenColumns() const { return {left_.end, right_.begin}; }

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
            addEverywhere(values + left_.end, sum, right_.begin - left_.end);
            addWeighted(values + right_.begin, rightProfiles_.data(), weights.data(), count, right_.length());
        }
    }

private:
    void cutSlices()
    {
        insets_ = {0};
        weightedHeights_ = {0};
        depthsInSigmas_ = {0};
        if (box_.radius <= 0) return;
        const Quadrature& quadrature = quadratureFor(box_.radius / sigma_);
        for (std::size_t i = 0; i < quadrature.nodes.size(); ++i) {
            // Heights go with the angle, along which the outline of the corner is smooth.
            const double angle = quadrature.nodes[i] * std::numbers::pi * 0.5;
            const double height = quadrature.weights[i] * std::numbers::pi * 0.5 * box_.radius * std::sin(angle);
            weightedHeights_.push_back(static_cast<float>(height / sigma_ * box_.weight));
            depthsInSigmas_.push_back(box_.radius * (1 - std::cos(angle)) / sigma_);
            insets_.push_back(box_.radius * (1 - std::sin(angle)));
        }
    }

    void profileAcross(const IndexRange& range, std::vector<float>& profiles) const
    {
        profiles.resize(insets_.size() * static_cast<std::size_t>(range.length()));
        if (range.length() == 0) return;
        const NormalTable& normal = NormalTable::shared();
        const double perSigma = 1 / sigma_;
        const double first = positionOf(range.begin, grid_.area.left, grid_.step) * perSigma;
        const double last = positionOf(range.end - 1, grid_.area.left, grid_.step) * perSigma;
        const double spacing = grid_.step * perSigma;
        float* profile = profiles.data();
        for (const double inset : insets_) {
            const double left = (box_.rect.minX() + inset) * perSigma, right = (box_.rect.maxX() - inset) * perSigma;
            const bool nearLeft = first - left<edgeInSigmas, nearRight = last - right> - edgeInSigmas;
            for (int i = 0; i < range.length(); ++i) {
                const double x = first + i * spacing;
                *profile++ = (nearLeft ? normal.distribution(x - left) : 1) - (nearRight ? normal.distribution(x - right) : 0);
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
        weights[0] = (normal.distribution(top - radius) - normal.distribution(radius - bottom)) * static_cast<float>(box_.weight);
        std::fill(weights.begin() + 1, weights.end(), 0.0F);
        int count = 1;
        for (const double distance : {top, bottom}) {
            if (distance > radius + edgeInSigmas) continue;
            count = static_cast<int>(insets_.size());
            for (std::size_t k = 1; k < insets_.size(); ++k)
                weights[k] += normal.density(distance - depthsInSigmas_[k]) * weightedHeights_[k];
        }
        return count;
    }

    const WeightedDeviceBox& box_;
    double sigma_;
    BlurredCoverage& grid_;
    IndexRange left_, right_, rows_;
    std::vector<double> insets_; ///< How much narrower than the box a slice is on each side.
    std::vector<float> weightedHeights_; ///< How high a slice is, in standard deviations, times the weight of the box.
    std::vector<double> depthsInSigmas_; ///< How far from the top, and from the bottom, a slice lies.
    std::vector<float> leftProfiles_, rightProfiles_;
};

} // namespace

bool canBlurAsBoxes(std::span<const WeightedDeviceBox> boxes, double sigma)
{
    if (sigma < leastBoxSigma) return false;
    for (const WeightedDeviceBox& box : boxes)
        if (!(box.radius <= greatestRadiusInSigmas * sigma)) return false;
    return true;
}

BlurredCoverage blurredBoxes(std::span<const WeightedDeviceBox> boxes, double sigma, const PixelRect& area)
{
    BlurredCoverage grid = emptyGrid(area, sigma);
    // A pixel shows the mean over its square, whose variance is a twelfth.
    const double pointSigma = std::sqrt(sigma * sigma + 1 / 12.0 - interpolationVariance(grid.step));
    grid.evenColumns = {0, grid.columns};
    for (const WeightedDeviceBox& box : boxes) {
        BoxBlur blur(box, pointSigma, grid);
        blur.add();
        grid.evenColumns = intersectionOf(grid.evenColumns, blur.evenColumns());
    }
    return grid;
}

} // namespace larkspool
