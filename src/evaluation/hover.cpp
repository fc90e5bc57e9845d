#include "evaluation/hover.h"

#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"

#include <algorithm>
#include <ranges>

namespace larkspool {

namespace {

bool hasSetVariant(const Layer& cursor, double time)
{
    return std::ranges::any_of(cursor.keyframes, [time](const Keyframe& keyframe) {
        return keyframe.property == Keyframe::AnimatableProperty::cursorVariant && keyframe.time <= time;
    });
}

CGRect offsetBy(CGRect rect, CGPoint offset)
{
    rect.origin.x += offset.x;
    rect.origin.y += offset.y;
    return rect;
}

/// Looks for the frontmost layer with a hover override that a cursor lies over.
class HoverSearch {
public:
    HoverSearch(const CGRect& cursor, double time) : cursor_(cursor), time_(time) {}

    /// The override found among `layers`, whose parent stands at `origin`, and in their groups. A group's children stand in
    /// front of the group itself, in their stored places.
    std::optional<CursorVariant> search(const Array<Layer>& layers, CGPoint origin) const
    {
        for (const Layer& layer : std::views::reverse(layers)) {
            if (layer.isHidden || !isVisible(layer, time_)) continue;
            if (const std::optional<CursorVariant> found = searchLayer(layer, origin)) return found;
        }
        return std::nullopt;
    }

private:
    std::optional<CursorVariant> searchLayer(const Layer& layer, CGPoint origin) const
    {
        if (layer.kind == Layer::Kind::group) {
            const Transform placed = Interpolation::placement(layer, time_).transform;
            if (const auto found = search(layer.children, {origin.x + placed.x, origin.y + placed.y})) return found;
        }
        if (!layer.cursorHoverOverride || !canBeHovered(layer.kind)) return std::nullopt;
        if (!intersects(offsetBy(target(layer), origin), cursor_)) return std::nullopt;
        return layer.cursorHoverOverride;
    }

    static bool canBeHovered(Layer::Kind kind) { return kind != Layer::Kind::cursor && kind != Layer::Kind::zoom; }

    CGRect target(const Layer& layer) const
    {
        if (layer.kind == Layer::Kind::group) return groupVisualAABB(layer, time_);
        return Interpolation::placement(layer, time_).box();
    }

    CGRect cursor_;
    double time_;
};

} // namespace

Layer applyHoverOverride(Layer layer, CGPoint absoluteOrigin, const TweenScene& scene, double time)
{
    if (layer.kind != Layer::Kind::cursor || hasSetVariant(layer, time)) return layer;

    // The whole box counts, not the tip of the arrow.
    const CGRect box = offsetBy({{layer.transform.x, layer.transform.y}, layer.size}, absoluteOrigin);
    if (const auto variant = HoverSearch(box, time).search(scene.layers, CGPoint{})) layer.cursorVariant = *variant;
    return layer;
}

} // namespace larkspool
