#include "canvas/transform_drags.h"

#include "canvas/snap_guides.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

/// Degrees from a multiple within which a rotation takes it.
constexpr double rotationReach = 3;

/// What a handle holds and moves: the anchor that stays, as fractions of the size, and the direction of growth on each axis.
struct HandleRule {
    double ax, ay;
    double gx, gy;
};
constexpr std::array<HandleRule, selectionHandleCount> handleRules{{{1, 1, -1, -1},
                                                                    {0.5, 1, 0, -1},
                                                                    {0, 1, 1, -1},
                                                                    {0, 0.5, 1, 0},
                                                                    {0, 0, 1, 1},
                                                                    {0.5, 0, 0, 1},
                                                                    {1, 0, -1, 1},
                                                                    {1, 0.5, -1, 0}}};

double orOne(double scale)
{
    return scale == 0 ? 1 : scale;
}

double wholeSide(double length)
{
    return std::max(std::round(length), 1.0);
}

bool isFullScreenZoom(const Layer& layer)
{
    return layer.kind == Layer::Kind::zoom && layer.zoomType == ZoomType::fullScreen;
}

class Resize {
public:
    Resize(const ResizeBegin& begin, const ResizeDrag& drag)
        : begin_(begin), drag_(drag), rule_(handleRules[static_cast<std::size_t>(drag.handle)]), size_(begin.layer.size)
    {
        if (drag.modifiers.option) rule_.ax = rule_.ay = 0.5;
    }

    CGRect box()
    {
        const CGPoint change = sizeChange();
        size_ = {wholeSide(initial().width + change.x), wholeSide(initial().height + change.y)};
        keepZoomsAspect(change);
        x_ = std::round(anchored(begin_.layer.transform.x, rule_.ax, initial().width, size_.width));
        y_ = std::round(anchored(begin_.layer.transform.y, rule_.ay, initial().height, size_.height));
        if (!drag_.modifiers.command && !isFullScreenZoom(begin_.layer)) snapEdges();
        if (isFullScreenZoom(begin_.layer)) holdWithinScene();
        return {{x_, y_}, size_};
    }

private:
    const CGSize& initial() const { return begin_.layer.size; }

    static double anchored(double origin, double anchor, double before, double after)
    {
        return origin + anchor * (before - after);
    }

    /// The way of the pointer along the layer's own axes.
    CGPoint localWay() const
    {
        const Transform& transform = begin_.layer.transform;
        const double angle = radians(transform.rotation), times = drag_.modifiers.option ? 2 : 1;
        const double c = std::cos(angle), s = std::sin(angle);
        return {times * (drag_.delta.x * c + drag_.delta.y * s) / orOne(transform.scaleX),
                times * (drag_.delta.y * c - drag_.delta.x * s) / orOne(transform.scaleY)};
    }

    bool isProportional() const
    {
        if (rule_.gx == 0 || rule_.gy == 0) return false;
        if (isFullScreenZoom(begin_.layer) || begin_.parentZoomSize) return true;
        return drag_.modifiers.shift != drag_.sizeAspectLocked;
    }

    CGPoint sizeChange() const
    {
        const CGPoint way = localWay();
        const double u = rule_.gx * initial().width, v = rule_.gy * initial().height, length = std::hypot(u, v);
        if (isProportional() && length > 0) {
            const double factor = (length + (way.x * u + way.y * v) / length) / length;
            return {initial().width * factor - initial().width, initial().height * factor - initial().height};
        }
        return {rule_.gx == 0 ? 0 : way.x / rule_.gx, rule_.gy == 0 ? 0 : way.y / rule_.gy};
    }

    /// The width for a height of 1, where it is kept: a rendition has that of its zoom, whichever handle is dragged.
    std::optional<double> keptAspect() const
    {
        if (!begin_.parentZoomSize && !isProportional()) return std::nullopt;
        const CGSize kept = begin_.parentZoomSize.value_or(initial());
        const double aspect = kept.width / kept.height;
        return aspect > 0 && std::isfinite(aspect) ? std::optional(aspect) : std::nullopt;
    }

    void keepZoomsAspect(CGPoint change)
    {
        const std::optional<double> aspect = keptAspect();
        if (!begin_.parentZoomSize || !aspect) return;
        if (std::abs(change.y) > std::abs(change.x)) size_.width = wholeSide(size_.height * *aspect);
        else size_.height = wholeSide(size_.width / *aspect);
    }

    /// The box along one axis: where it begins and how long it is.
    struct Side {
        double start;
        double length;
    };

    /// The side with its moving edge at the nearest line of the scene, if one is within reach. `growth` tells which edge moves;
    /// with Option the middle stays.
    std::optional<Side> snapped(const Side& side, double growth, double offset, double sceneLength) const
    {
        if (growth == 0) return std::nullopt;
        const double edge = (growth > 0 ? side.start + side.length : side.start) + offset;
        const std::vector<SnapTarget> lines{{.value = 0}, {.value = sceneLength * 0.5}, {.value = sceneLength}};
        const SnapCatch found = caught({edge, edge, edge}, 0, lines, snapRadius(drag_.fit));
        if (!found.target) return std::nullopt;
        const double way = found.delta * growth;
        const Side result = drag_.modifiers.option ? Side{side.start - way, side.length + 2 * way}
                                                   : Side{growth > 0 ? side.start : side.start - way, side.length + way};
        return result.length >= 1 ? std::optional(result) : std::nullopt;
    }

    void snapEdges()
    {
        const std::optional<Side> across = snapped({x_, size_.width}, rule_.gx, begin_.ancestorOffset.x, begin_.scene.width);
        const std::optional<Side> down = snapped({y_, size_.height}, rule_.gy, begin_.ancestorOffset.y, begin_.scene.height);
        const std::optional<double> aspect = keptAspect();
        if (across) takeAcross(*across);
        if (down && !(across && aspect)) takeDown(*down);
        if (!aspect) return;
        if (across) {
            size_.height = wholeSide(size_.width / *aspect);
            y_ = std::round(anchored(begin_.layer.transform.y, rule_.ay, initial().height, size_.height));
        } else if (down) {
            size_.width = wholeSide(size_.height * *aspect);
            x_ = std::round(anchored(begin_.layer.transform.x, rule_.ax, initial().width, size_.width));
        }
    }
    void takeAcross(const Side& side)
    {
        x_ = side.start;
        size_.width = side.length;
    }
    void takeDown(const Side& side)
    {
        y_ = side.start;
        size_.height = side.length;
    }

    void holdWithinScene()
    {
        const CGSize scene = begin_.scene;
        if (size_.width > scene.width) size_ = {scene.width, wholeSide(size_.height * scene.width / size_.width)};
        if (size_.height > scene.height) size_ = {wholeSide(size_.width * scene.height / size_.height), scene.height};
        x_ = std::max(0.0, std::min(x_, scene.width - size_.width));
        y_ = std::max(0.0, std::min(y_, scene.height - size_.height));
    }

    const ResizeBegin& begin_;
    const ResizeDrag& drag_;
    HandleRule rule_;
    CGSize size_;
    double x_ = 0, y_ = 0;
};

} // namespace

CGRect resizedBox(const ResizeBegin& begin, const ResizeDrag& drag)
{
    return Resize(begin, drag).box();
}

void upsertResizeKeyframes(Layer& layer, const CGRect& box, const KeyframedWriting& how)
{
    writeProperty(layer, Property::x, box.origin.x, how);
    writeProperty(layer, Property::y, box.origin.y, how);
    writeProperty(layer, Property::width, box.size.width, how);
    writeProperty(layer, Property::height, box.size.height, how);
    if (layer.kind == Layer::Kind::text) layer.textUserResized = true;
    if (!isFullScreenZoom(layer) || layer.children.empty()) return;
    for (Layer& child : layer.children.edit())
        if (child.pipRendition) child.size.height = wholeSide(child.size.width * box.size.height / box.size.width);
}

double draggedRotation(double initialRotation, double startAngle, double angle, Modifiers modifiers)
{
    const double change = std::remainder((angle - startAngle) * 180 / std::numbers::pi, 360.0);
    const double rotation = initialRotation + change;
    if (modifiers.command) return rotation;
    const double step = modifiers.shift ? 45 : 15;
    const double nearest = std::round(std::round(rotation / step) * step);
    return std::abs(rotation - nearest) <= rotationReach ? nearest : rotation;
}

} // namespace larkspool
