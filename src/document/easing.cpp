#include "document/easing.h"

#include <cmath>

namespace larkspool {

namespace {

double eased(Easing::Plain curve, double t)
{
    const double s = 1 - t;
    switch (curve) {
    case Easing::Plain::linear: return t;
    case Easing::Plain::easeIn: return t * t;
    case Easing::Plain::easeOut: return 1 - s * s;
    case Easing::Plain::easeInOut: return t < 0.5 ? 2 * t * t : 1 - 0.5 * (2 - 2 * t) * (2 - 2 * t);
    }
    return t;
}

double eased(const Easing::Spring& spring, double t)
{
    // Lets a spring settle within the move, whatever the move's length.
    constexpr double timeScale = 4;
    const double frequency = std::sqrt(spring.stiffness);
    const double dampingRatio = spring.damping / (2 * frequency);
    const double decay = std::exp(-(dampingRatio * frequency) * t * timeScale);
    return 1 - std::cos(std::sqrt(1 - dampingRatio * dampingRatio) * (t * frequency * timeScale)) * decay;
}

/// One coordinate of the Bézier curve from 0 to 1 with the controls `c1` and `c2`, at its parameter `u`.
double bezier(double c1, double c2, double u)
{
    const double v = 1 - u;
    return 3 * v * v * u * c1 + 3 * v * u * u * c2 + u * u * u;
}

double bezierSlope(double c1, double c2, double u)
{
    const double v = 1 - u;
    return 3 * v * v * c1 + 6 * v * u * (c2 - c1) + 3 * u * u * (1 - c2);
}

double eased(const Easing::Cubic& cubic, double t)
{
    constexpr int newtonSteps = 4;
    constexpr double flattestSlope = 0.000001;

    double u = t;
    for (int step = 0; step < newtonSteps; ++step) {
        const double slope = bezierSlope(cubic.x1, cubic.x2, u);
        if (std::abs(slope) < flattestSlope) break;
        u -= (bezier(cubic.x1, cubic.x2, u) - t) / slope;
    }
    return bezier(cubic.y1, cubic.y2, u);
}

} // namespace

double Easing::apply(double t) const
{
    return std::visit([t](const auto& shape) { return eased(shape, t); }, curve);
}

} // namespace larkspool
