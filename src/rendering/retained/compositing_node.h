#pragma once

#include "platform/raster_context.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace larkspool {

class NodeDrawing;

/// A border of a node's box.
struct NodeBorder {
    enum class Place { inside, outside };
    struct Sides {
        double top = 0, right = 0, bottom = 0, left = 0;

        bool operator==(const Sides&) const = default;
    };

    RasterColor color;
    double width = 0; ///< Of all sides. Not above 0: there is no border.
    Place place = Place::inside;
    std::optional<Sides> sides; ///< Widths that hold instead of `width`; such a border lies over the whole background.

    bool operator==(const NodeBorder&) const = default;
};

/// A shadow, in device pixels.
struct NodeShadow {
    enum class Caster {
        body,     ///< Background, border and contents cast one shadow together, and opacity applies to the whole.
        eachPaint ///< Each of them casts its own on what was painted before.
    };

    RasterShadow shadow;
    Caster caster = Caster::body;

    bool operator==(const NodeShadow&) const = default;
};

/// A picture laid over a rectangle of the node's space, cut to the node's shape.
struct PictureContents {
    ImageRef image;
    CGRect source;      ///< In pixels of the picture.
    CGRect destination;

    bool operator==(const PictureContents&) const = default;
};

/// Laid-out text, painted glyph by glyph where it stands, so that it is sharp at every place.
struct TextContents {
    std::shared_ptr<const TextLayout> layout;
    CGPoint origin; ///< Of its first line's top left.
    RasterColor color;
    std::vector<TextRange> clear; ///< Not to be seen.

    bool operator==(const TextContents&) const = default;
};

/// What a node shows above its background: nothing, a picture, text, or a drawing that the renderer keeps as a bitmap.
using NodeContents =
    std::variant<std::monostate, PictureContents, std::shared_ptr<const TextContents>, std::shared_ptr<const NodeDrawing>>;

/// A node of the tree that a renderer composites a frame from: a box with a background, a border, a shadow and contents, and its
/// children above it. A value.
///
/// Paints come in this order: shadow, background and border, contents, children. A picture's border lies above it.
struct CompositingNode {
    enum class Shape { rectangle, ellipse };
    enum class Compositing {
        separate, ///< Every paint goes straight onto what is below, with the node's own opacity. Children have theirs.
        group     ///< The node and its subtree are composited to one picture, which then has the opacity.
    };

    /// What the node stands for. Nodes of one identity in two trees are taken for the same one at two times; a renderer compares
    /// them, so that a clash costs time and nothing else.
    std::uint64_t identity = 0;

    CGSize size; ///< The box has its origin at 0, 0.
    AffineTransform transform; ///< To the parent's space; the root's parent is the raster.
    double opacity = 1;
    Compositing compositing = Compositing::separate;
    bool clipsToShape = false; ///< Of a group: nothing of it shows outside the node's shape.

    Shape shape = Shape::rectangle;
    double cornerRadius = 0; ///< Held to 0 to half the smaller side; an ellipse has none.
    RasterColor background{0, 0, 0, 0};
    NodeBorder border;
    std::optional<NodeShadow> shadow;
    NodeContents contents;
    std::vector<CompositingNode> children; ///< In drawing order.

    bool operator==(const CompositingNode&) const = default;
};

} // namespace larkspool
