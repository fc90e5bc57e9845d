#pragma once

#include <variant>

namespace larkspool {

/// The curve of a move from one keyframe to the next.
struct Easing {
    /// A damped cosine. With damping above 2 * sqrt(stiffness) it has no real value: `apply` gives a not-a-number.
    struct Spring {
        double stiffness = 0;
        double damping = 0;
        bool operator==(const Spring&) const = default;
    };
    /// A cubic Bézier from (0, 0) to (1, 1) with two control points.
    struct Cubic {
        double x1 = 0;
        double y1 = 0;
        double x2 = 0;
        double y2 = 0;
        bool operator==(const Cubic&) const = default;
    };
    enum class Plain { linear, easeIn, easeOut, easeInOut };

    using Curve = std::variant<Spring, Cubic, Plain>;

    Curve curve = Plain::easeInOut;

    static Easing linear() { return {Plain::linear}; }
    static Easing easeIn() { return {Plain::easeIn}; }
    static Easing easeOut() { return {Plain::easeOut}; }
    static Easing easeInOut() { return {Plain::easeInOut}; }
    static Easing spring(double stiffness, double damping) { return {Spring{stiffness, damping}}; }
    static Easing cubic(double x1, double y1, double x2, double y2) { return {Cubic{x1, y1, x2, y2}}; }

    /// Progress 0...1 to eased progress. Neither side is clamped: the result may lie outside 0...1.
    double apply(double t) const;

    bool operator==(const Easing&) const = default;
};

} // namespace larkspool
