#pragma once

#include "platform/raster/box_painter.h"
#include "platform/raster/device_boxes.h"
#include "rendering/retained/compositing_node.h"
#include "rendering/retained/outline.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace larkspool {

/// A box or an ellipse, or the ring between two, to be filled with one colour.
struct FilledShape {
    AffineTransform toDevice; ///< The identity for boxes that stand upright: these are given in device space.
    NodeOutline outer;
    std::optional<NodeOutline> inner;
    bool isUprightBox = false; ///< Boxes with circular corners in device space, the inner one within the outer one.
    PixelColor color;

    bool operator==(const FilledShape& other) const;
};

/// A drawn shadow of one or more shapes before they are painted.
struct ShapeShadow {
    /// The shadow is that of these boxes, of the first `boxCount`; without any it is worked out from the shapes that follow.
    std::array<WeightedDeviceBox, 2> boxes;
    int boxCount = 0;
    CGRect casterBounds = CGRect::null(); ///< Of the shapes, in device space.
    bool countsColors = false; ///< Whether the shapes cast by their colours' alpha, rather than each as if it were opaque.
    CGSize offset;
    double sigma = 0;
    ShadowColor color;
    OpaqueArea covered; ///< What the shapes cover by themselves.
};

/// Contents that are not shapes.
struct PlacedContents {
    AffineTransform toDevice;
    double opacity = 1;
    NodeContents contents;
    NodeOutline clip; ///< Of a picture, in the node's space.
};

/// A subtree that is composited to a picture of its own.
struct PlacedGroup {
    const CompositingNode* node = nullptr; ///< Holds while the tree does.
    AffineTransform toDevice;
    CGSize size;
    std::optional<NodeOutline> clip; ///< In the node's space.
};

/// One thing to be painted. Of some kinds, the next `members` items belong to it.
struct DrawItem {
    enum class Kind : std::uint8_t {
        shape,    ///< A filled shape.
        shadow,   ///< The shadow of the next `members` shapes, which are painted for themselves.
        together, ///< The next `members` shapes, composited to one picture that then has the opacity of `level`.
        contents, ///< Text, a picture or a drawing.
        group     ///< A subtree.
    };

    std::uint64_t key = 0; ///< Items of one key in two lists are taken for the same one.
    Kind kind = Kind::shape;
    std::uint8_t members = 0;
    std::uint8_t level = 255;
    std::uint32_t part = 0; ///< Index among the parts of its kind.
    PixelRect bounds; ///< Pixels of the raster that it can change.
    PixelRect opaque; ///< Pixels that it covers whole, so that nothing below shows; can be empty.
};

/// A tree flattened to what is painted, in order.
struct DrawList {
    std::vector<DrawItem> items;
    std::vector<FilledShape> shapes;
    std::vector<ShapeShadow> shadows;
    std::vector<PlacedContents> contents;
    std::vector<PlacedGroup> groups;

    void clear();
};

/// Replaces `list` by the items of the tree, for a raster of those pixels.
///
/// A root that is a group is taken for itself: without its opacity and transform, in its own space.
void flatten(const CompositingNode& root, const PixelRect& raster, DrawList& list);

/// The outline of a node's shape, in its space.
NodeOutline outlineOf(const CompositingNode& node);

/// Whether a border of those sides is a ring: its inner edge lies nowhere outside its outer one.
bool hasRing(const NodeBorder::Sides& sides, const CompositingNode& node);

/// Whether two items of two lists paint the same, their members included. Of groups it is only told whether they are placed the
/// same.
bool paintsSame(const DrawList& a, std::size_t itemOfA, const DrawList& b, std::size_t itemOfB);

} // namespace larkspool
