#include "platform/raster/blurred_coverage.h"

#include <cmath>
#include <numbers>

namespace larkspool {

namespace {

/// A Gaussian's tail beyond this many standard deviations rounds to no alpha at all.
constexpr double reachInSigmas = 3;
/// An alpha below this rounds to none.
constexpr double leastAlpha = 0.4 / 255;
/// The least standard deviation in steps of a grid with large steps.
constexpr double leastSigmaInSteps = 3;

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

/// The part of a Gaussian that lies beyond so many standard deviations.
double tailBeyond(double sigmas)
{
    return 0.5 * std::erfc(sigmas / std::numbers::sqrt2);
}

} // namespace

int shadowReach(double sigma, double alpha)
{
    constexpr double step = 1.0 / 16;
    double reach = reachInSigmas;
    while (reach > 0 && tailBeyond(reach - step) * alpha < leastAlpha) reach -= step;
    return static_cast<int>(std::ceil(reach * sigma)) + 1;
}

BlurredCoverage emptyGrid(const PixelRect& area, double sigma)
{
    const int step = stepFor(sigma);
    BlurredCoverage grid;
    grid.area = area;
    grid.step = step;
    grid.columns = (area.width() + step - 1) / step + 1;
    grid.rows = (area.height() + step - 1) / step + 1;
    grid.values = ScratchMemory<float>(static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows));
    return grid;
}

double interpolationVariance(int step)
{
    return step == 1 ? 0 : step * step / 6.0 + 1 / 12.0;
}

} // namespace larkspool
