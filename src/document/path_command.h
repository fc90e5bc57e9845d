#pragma once

#include "foundation/geometry.h"

#include <variant>

namespace larkspool {

struct MoveTo {
    CGPoint point;
    bool operator==(const MoveTo&) const = default;
};

struct LineTo {
    CGPoint point;
    bool operator==(const LineTo&) const = default;
};

/// A cubic Bézier curve from the current point.
struct CurveTo {
    CGPoint c1;
    CGPoint c2;
    CGPoint end;
    bool operator==(const CurveTo&) const = default;
};

struct ClosePath {
    bool operator==(const ClosePath&) const = default;
};

/// One step of an outline, in the layer's local space. The order of the alternatives is the format's.
using PathCommand = std::variant<MoveTo, LineTo, CurveTo, ClosePath>;

} // namespace larkspool
