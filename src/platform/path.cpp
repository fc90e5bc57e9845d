#include "platform/path.h"

#include <algorithm>

namespace larkspool {

namespace {

/// Distance of a Bézier control from the end of a quarter circle of radius 1 that keeps the curve within 0.03 % of the circle.
constexpr double quarterCircleControl = 0.5522847498307936;

} // namespace

Path Path::roundedRect(const RoundedRect& box)
{
    const CGRect& r = box.rect;
    const double radius = box.radius;
    const double left = r.minX(), right = r.maxX(), top = r.minY(), bottom = r.maxY();
    Path path;
    if (radius <= 0) {
        path.moveTo({left, top});
        path.lineTo({right, top});
        path.lineTo({right, bottom});
        path.lineTo({left, bottom});
    } else {
        const double k = radius * (1 - quarterCircleControl);
        path.moveTo({left + radius, top});
        path.lineTo({right - radius, top});
        path.curveTo({right - k, top}, {right, top + k}, {right, top + radius});
        path.lineTo({right, bottom - radius});
        path.curveTo({right, bottom - k}, {right - k, bottom}, {right - radius, bottom});
        path.lineTo({left + radius, bottom});
        path.curveTo({left + k, bottom}, {left, bottom - k}, {left, bottom - radius});
        path.lineTo({left, top + radius});
        path.curveTo({left, top + k}, {left + k, top}, {left + radius, top});
    }
    path.close();
    path.boxes_ = {box};
    path.onlyBoxes_ = true;
    return path;
}

Path Path::ellipse(const CGRect& r)
{
    const double rx = r.size.width * 0.5, ry = r.size.height * 0.5;
    const double kx = rx * quarterCircleControl, ky = ry * quarterCircleControl;
    const double cx = r.midX(), cy = r.midY();
    Path path;
    path.moveTo({r.maxX(), cy});
    path.curveTo({r.maxX(), cy + ky}, {cx + kx, r.maxY()}, {cx, r.maxY()});
    path.curveTo({cx - kx, r.maxY()}, {r.minX(), cy + ky}, {r.minX(), cy});
    path.curveTo({r.minX(), cy - ky}, {cx - kx, r.minY()}, {cx, r.minY()});
    path.curveTo({cx + kx, r.minY()}, {r.maxX(), cy - ky}, {r.maxX(), cy});
    path.close();
    return path;
}

void Path::moveTo(CGPoint point)
{
    elements_.push_back({Element::Kind::moveTo, {point}});
    onlyBoxes_ = false;
}

void Path::lineTo(CGPoint point)
{
    elements_.push_back({Element::Kind::lineTo, {point}});
    onlyBoxes_ = false;
}

void Path::curveTo(CGPoint control1, CGPoint control2, CGPoint end)
{
    elements_.push_back({Element::Kind::curveTo, {control1, control2, end}});
    onlyBoxes_ = false;
}

void Path::close()
{
    elements_.push_back({Element::Kind::close, {}});
    onlyBoxes_ = false;
}

void Path::add(const Path& other)
{
    elements_.insert(elements_.end(), other.elements_.begin(), other.elements_.end());
    boxes_.insert(boxes_.end(), other.boxes_.begin(), other.boxes_.end());
    onlyBoxes_ = onlyBoxes_ && other.onlyBoxes_;
}

CGRect Path::bounds() const
{
    CGRect box = CGRect::null();
    for (const Element& element : elements_) {
        const int count = element.kind == Element::Kind::close ? 0 : element.kind == Element::Kind::curveTo ? 3 : 1;
        for (int i = 0; i < count; ++i) box = unionOf(box, {element.points[i], {0, 0}});
    }
    return box;
}

} // namespace larkspool
