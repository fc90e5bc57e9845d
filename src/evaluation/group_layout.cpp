#include "evaluation/group_layout.h"

#include "evaluation/interpolation.h"
#include "evaluation/span_effects.h"

#include <algorithm>
#include <vector>

namespace larkspool {

namespace {

using Interpolation::Placement;
using Interpolation::placement;

/// Hands out the places of a stack, child by child.
class Stack {
public:
    Stack(const Array<Layer>& children, GroupLayout layout, double gap, GroupAlignment alignment, double time)
        : isHorizontal_(layout == GroupLayout::horizontal), gap_(gap), factor_(crossFactor(alignment))
    {
        bool isFirst = true;
        for (const Layer& child : children) {
            const CGRect box = placement(child, time).box();
            const double cross = isHorizontal_ ? box.size.height : box.size.width;
            if (isFirst) next_ = box.origin;
            crossSize_ = isFirst ? cross : std::max(crossSize_, cross);
            isFirst = false;
        }
    }

    /// The top left corner of the next child, which has this size.
    CGPoint place(CGSize size)
    {
        CGPoint corner = next_;
        if (isHorizontal_) {
            corner.y += factor_ * (crossSize_ - size.height);
            next_.x += size.width + gap_;
        } else {
            corner.x += factor_ * (crossSize_ - size.width);
            next_.y += size.height + gap_;
        }
        return corner;
    }

private:
    static double crossFactor(GroupAlignment alignment)
    {
        switch (alignment) {
        case GroupAlignment::start: return 0;
        case GroupAlignment::center: return 0.5;
        case GroupAlignment::end: return 1;
        }
        return 0;
    }

    bool isHorizontal_;
    double gap_;
    double factor_;
    double crossSize_ = 0;
    CGPoint next_;
};

bool isPosition(const Keyframe& keyframe)
{
    return keyframe.property == Keyframe::AnimatableProperty::x || keyframe.property == Keyframe::AnimatableProperty::y;
}

void removePositionKeyframes(Layer& layer)
{
    if (std::none_of(layer.keyframes.begin(), layer.keyframes.end(), isPosition)) return;
    std::vector<Keyframe> rest;
    for (const Keyframe& keyframe : layer.keyframes)
        if (!isPosition(keyframe)) rest.push_back(keyframe);
    layer.keyframes = std::move(rest);
}

/// Walks layers and what is in their groups for the box that they cover. It works on placements alone: a group's box is asked
/// for at every level above it, so a copy of each layer would be the greater part of evaluating a deep tree.
class CoveredBox {
public:
    explicit CoveredBox(double time) : time_(time) {}

    void add(const Layer& layer, CGPoint offset) { addAt(layer, placement(layer, time_), offset); }

    void addChildren(const Layer& group, const Placement& placed, CGPoint offset)
    {
        if (group.groupLayout == GroupLayout::freeform) {
            for (const Layer& child : group.children) add(child, offset);
            return;
        }
        Stack stack(group.children, group.groupLayout, placed.groupGap, group.groupAlignment, time_);
        for (const Layer& child : group.children) {
            Placement inStack = placement(child, time_);
            const CGPoint corner = stack.place(inStack.size);
            inStack.transform.x = corner.x;
            inStack.transform.y = corner.y;
            addAt(child, inStack, offset);
        }
    }

    const CGRect& box() const { return box_; }

private:
    void addAt(const Layer& layer, const Placement& placed, CGPoint offset)
    {
        const CGPoint corner{offset.x + placed.transform.x, offset.y + placed.transform.y};
        if (layer.kind == Layer::Kind::group) addChildren(layer, placed, corner);
        else if (!layer.isHidden && isVisible(layer, time_)) box_ = unionOf(box_, {corner, placed.size});
    }

    double time_;
    CGRect box_ = CGRect::null();
};

} // namespace

Array<Layer> layoutChildren(const Array<Layer>& children, GroupLayout layout, double gap, GroupAlignment alignment, double time)
{
    if (layout == GroupLayout::freeform || children.empty()) return children;

    Stack stack(children, layout, gap, alignment, time);
    std::vector<Layer> placed;
    placed.reserve(children.size());
    for (const Layer& child : children) {
        Layer& copy = placed.emplace_back(Interpolation::resolve(child, time));
        const CGPoint corner = stack.place(copy.size);
        copy.transform.x = corner.x;
        copy.transform.y = corner.y;
        removePositionKeyframes(copy);
    }
    return placed;
}

Array<Layer> layoutChildren(const Layer& resolvedGroup, double time)
{
    return layoutChildren(resolvedGroup.children, resolvedGroup.groupLayout, resolvedGroup.groupGap, resolvedGroup.groupAlignment,
                          time);
}

CGRect laidOutDescendantsAABBFree(const Array<Layer>& layers, double time)
{
    CoveredBox covered(time);
    for (const Layer& layer : layers) covered.add(layer, {});
    return covered.box();
}

CGRect aabb(const Array<Layer>& layers, double time)
{
    CGRect box = CGRect::null();
    for (const Layer& layer : layers) box = unionOf(box, placement(layer, time).box());
    return box;
}

CGRect groupVisualAABB(const Layer& group, double time)
{
    const Placement placed = placement(group, time);
    if (group.groupSizeMode == GroupSizeMode::fixed) return placed.box();

    CoveredBox covered(time);
    covered.addChildren(group, placed, {});
    const CGRect& box = covered.box();
    if (box.isNull()) return box;
    const CGSize size{placed.transform.scaleX * box.size.width, placed.transform.scaleY * box.size.height};
    return {{placed.transform.x + box.midX() - 0.5 * size.width, placed.transform.y + box.midY() - 0.5 * size.height}, size};
}

Layer applyGroupTransform(Layer layer, CGSize scale, double rotation, CGPoint anchor, CGPoint offset)
{
    if (scale == CGSize{1, 1} && rotation == 0 && offset == CGPoint{}) return layer;

    Transform& transform = layer.transform;
    const CGPoint held{transform.anchorX * layer.size.width, transform.anchorY * layer.size.height};
    CGPoint fromAnchor{scale.width * (transform.x + held.x - anchor.x), scale.height * (transform.y + held.y - anchor.y)};
    if (rotation != 0) fromAnchor = AffineTransform{}.rotatedBy(radians(rotation)).apply(fromAnchor);
    transform.x = anchor.x + fromAnchor.x + offset.x - held.x;
    transform.y = anchor.y + fromAnchor.y + offset.y - held.y;
    transform.scaleX *= scale.width;
    transform.scaleY *= scale.height;
    transform.rotation += rotation;
    return layer;
}

} // namespace larkspool
