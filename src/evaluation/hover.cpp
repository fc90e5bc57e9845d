#include "evaluation/hover.h"

#include "evaluation/group_layout.h"
#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"

#include <algorithm>
#include <ranges>
#include <utility>

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

bool canBeHovered(Layer::Kind kind)
{
    return kind != Layer::Kind::cursor && kind != Layer::Kind::zoom;
}

} // namespace

std::optional<CursorVariant> HoverTargets::variantUnder(const CGRect& box)
{
    if (!isCollected_) collect(scene_.layers, CGPoint{});
    isCollected_ = true;

    const auto frontFirst = std::views::reverse(targets_);
    const auto found = std::ranges::find_if(frontFirst, [&](const Target& target) { return intersects(target.box, box); });
    if (found == frontFirst.end()) return std::nullopt;
    return found->variant;
}

/// Of the layers, whose parent stands at `origin`, and in their groups. A group's children stand in front of the group itself,
/// in their stored places.
void HoverTargets::collect(const Array<Layer>& layers, CGPoint origin)
{
    for (const Layer& layer : layers) {
        if (layer.isHidden || !isVisible(layer, time_)) continue;
        if (layer.cursorHoverOverride && canBeHovered(layer.kind))
            targets_.push_back({offsetBy(boxOf(layer), origin), *layer.cursorHoverOverride});
        if (layer.kind != Layer::Kind::group) continue;
        const Transform placed = Interpolation::placement(layer, time_).transform;
        collect(layer.children, {origin.x + placed.x, origin.y + placed.y});
    }
}

CGRect HoverTargets::boxOf(const Layer& layer) const
{
    if (layer.kind == Layer::Kind::group) return groupVisualAABB(layer, time_);
    return Interpolation::placement(layer, time_).box();
}

Layer applyHoverOverride(Layer layer, CGPoint absoluteOrigin, HoverTargets& targets)
{
    if (layer.kind != Layer::Kind::cursor || hasSetVariant(layer, targets.time())) return layer;

    // The whole box counts, not the tip of the arrow.
    const CGRect box = offsetBy({{layer.transform.x, layer.transform.y}, layer.size}, absoluteOrigin);
    if (const auto variant = targets.variantUnder(box)) layer.cursorVariant = *variant;
    return layer;
}

Layer applyHoverOverride(Layer layer, CGPoint absoluteOrigin, const TweenScene& scene, double time)
{
    HoverTargets targets(scene, time);
    return applyHoverOverride(std::move(layer), absoluteOrigin, targets);
}

} // namespace larkspool
