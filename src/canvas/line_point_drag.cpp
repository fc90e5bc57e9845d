#include "canvas/line_point_drag.h"

#include "canvas/selection_handles.h"
#include "document/normalisers.h"
#include "evaluation/interpolation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

bool isUpright(const Transform& transform)
{
    return transform.rotation == 0 && transform.scaleX == 1 && transform.scaleY == 1;
}

Layer withFreePointAt(Layer line, const Layer& resolved, std::size_t index, CGPoint point, double playhead)
{
    if (index >= line.linePoints.size()) return line;
    const CGPoint before{line.transform.x, line.transform.y};
    line.linePoints.edit()[index] = resolved.transform.cgAffine(resolved.size).inverted().apply(point);
    normalizeLineBounds(line);

    const double dx = line.transform.x - before.x, dy = line.transform.y - before.y;
    shiftPositionKeyframes(line, dx, dy);
    if (isUpright(resolved.transform)) return line;

    // A turned line turns about the middle of its box, which is another one now.
    Transform now = resolved.transform;
    now.x += dx;
    now.y += dy;
    const CGPoint seen = now.cgAffine(Interpolation::placement(line, playhead).size).apply(line.linePoints[index]);
    shiftPosition(line, point.x - seen.x, point.y - seen.y);
    return line;
}

/// The rotation nearest to `to` that looks like `rotation`.
double turnedNear(double rotation, double to)
{
    return to + std::remainder(rotation - to, 360.0);
}

Layer withEndAt(Layer line, const Layer& resolved, std::size_t index, CGPoint point, const KeyframedWriting& how)
{
    const Transform& transform = resolved.transform;
    const std::array<CGPoint, 2> ends = linePresetSelectionPoints(resolved);
    const CGPoint fixed = transform.cgAffine(resolved.size).apply(ends[index == 0 ? 1 : 0]);

    const CGPoint left = index == 0 ? point : fixed, right = index == 0 ? fixed : point;
    const CGPoint along{right.x - left.x, right.y - left.y};
    const double length = std::hypot(along.x, along.y), mirrored = transform.scaleX < 0 ? -1 : 1;
    Transform turned = transform;
    if (length > 0)
        turned.rotation =
            turnedNear(std::atan2(mirrored * along.y, mirrored * along.x) * 180 / std::numbers::pi, transform.rotation);
    const CGSize size{std::max(length / std::abs(transform.scaleX), 1.0), resolved.size.height};

    const CGPoint fixedEnd{index == 0 ? size.width : 0, size.height * 0.5};
    const CGPoint seen = turned.cgAffine(size).apply(fixedEnd);
    writeProperty(line, Property::x, transform.x + fixed.x - seen.x, how);
    writeProperty(line, Property::y, transform.y + fixed.y - seen.y, how);
    writeProperty(line, Property::rotation, turned.rotation, how);
    writeProperty(line, Property::width, size.width, how);
    return line;
}

} // namespace

Layer withLinePointAt(Layer line, const Layer& resolved, std::size_t index, CGPoint point, const KeyframedWriting& how)
{
    const Transform& transform = resolved.transform;
    const double determinant = transform.cgAffine(resolved.size).determinant();
    if (transform.scaleX == 0 || determinant == 0 || !std::isfinite(determinant)) return line;
    return line.lineShape == LineShape::freeform ? withFreePointAt(std::move(line), resolved, index, point, how.playhead)
                                                 : withEndAt(std::move(line), resolved, index, point, how);
}

} // namespace larkspool
