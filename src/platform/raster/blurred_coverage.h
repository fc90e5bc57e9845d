#pragma once

#include "platform/raster/pixel_rect.h"
#include "platform/raster/scratch_memory.h"

namespace larkspool {

/// How far from a shape its shadow can change a pixel, in pixels, when its colour has that alpha.
int shadowReach(double sigma, double alpha = 1);

/// Indices from `begin` to before `end`; none where they are in no order.
struct IndexRange {
    int begin = 0, end = 0;

    bool empty() const { return begin >= end; }
    int length() const { return end - begin; }
};

inline IndexRange intersectionOf(const IndexRange& a, const IndexRange& b)
{
    return {std::max(a.begin, b.begin), std::min(a.end, b.end)};
}

/// Coverage blurred by a Gaussian, as values on a grid in device space between which it is interpolated.
///
/// The step of the grid is a power of two, small against the Gaussian's standard deviation. What downsampling and
/// interpolation blur by themselves is taken from the Gaussian, so that the whole has its variance.
struct BlurredCoverage {
    PixelRect area; ///< The pixels that the values reach.
    int step = 1;   ///< Distance of two values in pixels. With a step of 1, values stand at the centres of pixels.
    int columns = 0;
    int rows = 0;
    ScratchMemory<float> values; ///< 0...1, row by row.
    IndexRange evenColumns; ///< In these columns, if there are any, each row has one value.

    const float* row(int index) const
    {
        return values.data() + static_cast<std::size_t>(index) * static_cast<std::size_t>(columns);
    }
};

/// Beyond this many standard deviations an edge counts as infinitely far.
inline constexpr double edgeInSigmas = 3.6;

/// A grid of zeros for a blur of that standard deviation.
BlurredCoverage emptyGrid(const PixelRect& area, double sigma);

/// What interpolating linearly between values `step` apart adds to the variance, seen at the centres of pixels.
double interpolationVariance(int step);

/// Where a value stands along one axis, for an area that begins at `start`: at the edges between pixels, from the first on, or at
/// their centres for a step of 1.
inline double positionOf(int index, int start, int step)
{
    return start + static_cast<double>(index) * step + (step == 1 ? 0.5 : 0);
}

} // namespace larkspool
