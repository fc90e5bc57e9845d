#include "rendering/retained/draw_items.h"

#include "platform/raster/pixel_color.h"
#include "rendering/retained/node_bitmaps.h"
#include "rendering/shapes.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// Added to the doubled width of a border outside, whose inner half is cut away.
constexpr double outsideExtra = 0.5;
/// A background with less alpha than this leaves the inside of a border open.
constexpr double leastFillAlpha = 0.001;
/// Width of the line in the background's colour that hides the gap between a border and the background.
constexpr double seamWidth = 1;
/// A wider blur is held to this.
constexpr double greatestBlur = 1000;
/// A shadow that falls farther does not show.
constexpr double greatestDeviceLength = 1 << 21;
/// How much of a round corner's radius a square leaves free that lies within the corner.
constexpr double freeOfCorner = 0.29289321881345254;

bool isFinite(const AffineTransform& m)
{
    return std::isfinite(m.a) && std::isfinite(m.b) && std::isfinite(m.c) && std::isfinite(m.d) && std::isfinite(m.tx) &&
           std::isfinite(m.ty);
}

double length(double x, double y)
{
    return std::sqrt(x * x + y * y);
}

/// A transform that squeezes everything into a line or a point lets nothing be seen.
bool canDraw(const AffineTransform& m)
{
    const double scale = std::max(length(m.a, m.b), length(m.c, m.d)) * std::sqrt(2.0);
    return isFinite(m) && std::abs(m.determinant()) > 1e-12 && scale < 1e9;
}

bool isProper(const NodeOutline& box)
{
    return !box.isEllipse && isProper(RoundedRect{box.rect, box.radius});
}

NodeOutline toDevice(const NodeOutline& box, const AffineTransform& m, double scale)
{
    const CGRect rect = m.apply(box.rect);
    return {.rect = rect, .radius = std::min(box.radius * scale, std::min(rect.size.width, rect.size.height) * 0.5)};
}

CGRect shiftedBy(const CGRect& rect, CGSize offset)
{
    return {{rect.origin.x + offset.width, rect.origin.y + offset.height}, rect.size};
}

/// A shape of a node, in the node's space.
struct NodePaint {
    NodeOutline outer;
    std::optional<NodeOutline> inner;
    RasterColor color;
};

/// The few paints of one node.
class NodePaints {
public:
    void fill(const NodeOutline& outline, const RasterColor& color) { add({outline, std::nullopt, color}); }
    void ring(const NodeOutline& outer, const NodeOutline& inner, const RasterColor& color)
    {
        add({outer, hasArea(inner) ? std::optional(inner) : std::nullopt, color});
    }

    const NodePaint* begin() const { return paints_.data(); }
    const NodePaint* end() const { return paints_.data() + count_; }
    std::size_t size() const { return count_; }

private:
    void add(const NodePaint& paint)
    {
        if (paint.color.a > 0) paints_[count_++] = paint;
    }

    std::array<NodePaint, 4> paints_;
    std::size_t count_ = 0;
};

NodeOutline rounded(const CGRect& rect, double radius)
{
    return {.rect = rect, .radius = clampedCornerRadius(radius, rect.size)};
}

/// The inner edge of a border inside, unless the border leaves nothing within.
std::optional<NodeOutline> innerOutline(const CompositingNode& node)
{
    const double width = node.border.width;
    const CGRect rect = insetBy({{0, 0}, node.size}, width, width);
    if (!(rect.size.width > 0 && rect.size.height > 0)) return std::nullopt;
    if (node.shape == CompositingNode::Shape::ellipse) return NodeOutline{.rect = rect, .isEllipse = true};
    return rounded(rect, outlineOf(node).radius - width);
}

/// The two edges of a border with a width for each side.
struct SideOutlines {
    NodeOutline outer, inner;
};

SideOutlines sideOutlines(const CompositingNode& node, const NodeBorder::Sides& w)
{
    const CGRect box{{0, 0}, node.size};
    NodeOutline outer = outlineOf(node), inner = outer;
    if (node.border.place == NodeBorder::Place::outside) {
        const double mean = (w.left + w.top + w.right + w.bottom) * 0.25;
        outer = rounded({{-w.left, -w.top}, {w.left + box.size.width + w.right, w.top + box.size.height + w.bottom}},
                        node.cornerRadius + mean);
    } else {
        const CGSize left{std::max(box.size.width - w.left - w.right, 0.0), std::max(box.size.height - w.top - w.bottom, 0.0)};
        inner = rounded({{w.left, w.top}, left}, node.cornerRadius - std::min(w.left, w.top));
    }
    return {outer, inner};
}

/// How a border within the background's edge is painted: as a ring, or under an opaque background that is painted on top of it.
enum class InnerBorder { ring, under };

/// Background and border in the order in which they are painted.
NodePaints paintsOf(const CompositingNode& node, InnerBorder innerBorder)
{
    NodePaints paints;
    const NodeBorder& border = node.border;
    const NodeOutline outer = outlineOf(node);
    if (!hasArea(outer)) return paints;
    if (border.sides) {
        const SideOutlines sides = sideOutlines(node, *border.sides);
        paints.fill(outer, node.background);
        paints.ring(sides.outer, sides.inner, border.color);
        return paints;
    }
    if (!(border.width > 0)) {
        paints.fill(outer, node.background);
        return paints;
    }
    if (border.place == NodeBorder::Place::outside) {
        paints.fill(outer, node.background);
        paints.ring(grown(outer, border.width + outsideExtra * 0.5), outer, border.color);
        return paints;
    }
    const std::optional<NodeOutline> inner = innerOutline(node);
    if (!inner) {
        paints.fill(outer, node.background);
        paints.fill(outer, border.color);
        return paints;
    }
    if (innerBorder == InnerBorder::under && border.color.a >= 1 && node.background.a >= 1) {
        paints.fill(outer, border.color);
        paints.fill(grown(*inner, seamWidth * 0.5), node.background);
        return paints;
    }
    paints.ring(outer, *inner, border.color);
    if (!(node.background.a > leastFillAlpha)) return paints;
    paints.fill(*inner, node.background);
    paints.ring(grown(*inner, seamWidth * 0.5), grown(*inner, -seamWidth * 0.5), node.background);
    return paints;
}

/// Boxes whose weighted sum is the alpha of a node's body, in the node's space; none where that is not known.
struct BodyBoxes {
    std::array<NodeOutline, 2> boxes;
    std::array<double, 2> weights{};
    int count = 0;

    void add(const NodeOutline& box, double weight)
    {
        boxes[static_cast<std::size_t>(count)] = box;
        weights[static_cast<std::size_t>(count++)] = weight;
    }
};

NodeOutline grownEvenly(const NodeOutline& box, double by)
{
    return {.rect = insetBy(box.rect, -by, -by), .radius = box.radius > 0 ? box.radius + by : 0};
}

BodyBoxes bodyBoxes(const CompositingNode& node)
{
    BodyBoxes known;
    const NodeOutline outer = outlineOf(node);
    const NodeBorder& border = node.border;
    const bool isOutside = border.place == NodeBorder::Place::outside;
    if (outer.isEllipse) return known;
    const bool isPicture = std::holds_alternative<PictureContents>(node.contents);
    const double background = isPicture ? 1 : heldToOne(node.background.a);
    if (!border.sides && !(border.width > 0)) {
        known.add(outer, background);
        return known;
    }
    if (!(background >= 1) || (border.sides && isOutside)) return known;
    const double stroke = heldToOne(border.color.a);
    if ((border.sides || stroke == 1 || isPicture) && !isOutside) {
        known.add(outer, 1);
        return known;
    }
    if (isOutside) {
        known.add(grownEvenly(outer, border.width + outsideExtra * 0.5), stroke);
        known.add(outer, 1 - stroke);
        return known;
    }
    if (const std::optional<NodeOutline> inner = innerOutline(node)) {
        known.add(outer, stroke);
        known.add(grownEvenly(*inner, seamWidth * 0.5), 1 - stroke);
    } else {
        known.add(outer, 1);
    }
    return known;
}

/// The part of the sum of boxes in which the weights add up to 1.
OpaqueArea opaqueAreaOf(const ShapeShadow& shadow, CGSize offset)
{
    double sum = 0, radius = 0;
    CGRect common = shadow.boxCount == 0 ? CGRect::null() : shadow.boxes[0].rect;
    for (int i = 0; i < shadow.boxCount; ++i) {
        const WeightedDeviceBox& box = shadow.boxes[static_cast<std::size_t>(i)];
        if (box.weight < 0) return {};
        sum += box.weight;
        radius = std::max(radius, box.radius);
        common = intersectionOf(common, box.rect);
    }
    if (sum < 1 - 1e-9 || common.isNull() || radius > std::min(common.size.width, common.size.height) * 0.5) return {};
    return {shiftedBy(common, {-offset.width, -offset.height}), radius};
}

/// Pixels that an upright opaque box covers whole.
PixelRect opaquePixels(const NodeOutline& box, const PixelRect& raster)
{
    const double inset = box.radius * freeOfCorner;
    const CGRect r = insetBy(box.rect, inset, inset);
    const auto held = [](double value, int low, int high) {
        return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high)));
    };
    const PixelRect pixels{
        held(std::ceil(r.minX()), raster.left, raster.right), held(std::ceil(r.minY()), raster.top, raster.bottom),
        held(std::floor(r.maxX()), raster.left, raster.right), held(std::floor(r.maxY()), raster.top, raster.bottom)};
    return pixels.empty() ? PixelRect{} : pixels;
}

class Flattener {
public:
    Flattener(const PixelRect& raster, DrawList& list) : raster_(raster), list_(list) {}

    /// `m` maps the node's space to device space; `opacity` is of the node's own paints.
    void addSubtree(const CompositingNode& node, const AffineTransform& m, double opacity)
    {
        if (!canDraw(m)) return;
        part_ = 0;
        identity_ = node.identity;
        addBody(node, m, heldToOne(opacity));
        for (const CompositingNode& child : node.children) {
            if (child.compositing == CompositingNode::Compositing::group)
                addGroup(child, m);
            else
                addSubtree(child, m.concatenating(child.transform), child.opacity);
        }
    }

private:
    /// The next part of the node.
    DrawItem item(DrawItem::Kind kind)
    {
        constexpr std::uint64_t partsOfANode = 16;
        return {.key = identity_ * partsOfANode + part_++, .kind = kind};
    }

    void addGroup(const CompositingNode& node, const AffineTransform& toParent)
    {
        const AffineTransform m = toParent.concatenating(node.transform);
        const double opacity = heldToOne(node.opacity);
        if (!canDraw(m)) return;
        identity_ = node.identity;
        part_ = 0;
        DrawItem added = item(DrawItem::Kind::group);
        added.level = level(opacity);
        added.part = static_cast<std::uint32_t>(list_.groups.size());
        if (added.level > 0) added.bounds = pixelsTouchedBy(m.apply(CGRect{{0, 0}, node.size}), raster_);
        PlacedGroup placed{.node = &node, .toDevice = m, .size = node.size};
        if (node.clipsToShape) placed.clip = outlineOf(node);
        list_.groups.push_back(placed);
        list_.items.push_back(added);
    }

    void addBody(const CompositingNode& node, const AffineTransform& m, double opacity)
    {
        if (!(opacity > 0)) return;
        const bool hasPicture = std::holds_alternative<PictureContents>(node.contents);
        if (hasPicture) {
            if (node.shadow) addPictureShadow(node, m, opacity);
            addContents(node, m, opacity);
        }
        // Where boxes are not filled as such, two outlines are quicker than five.
        const bool areBoxes = node.shape == CompositingNode::Shape::rectangle && uniformScale(m);
        const bool isThin = node.border.width * std::min(length(m.a, m.b), length(m.c, m.d)) < seamWidth;
        const bool isPlain = !node.shadow && opacity >= 1;
        const NodePaints paints = paintsOf(node, isPlain && !areBoxes && !isThin ? InnerBorder::under : InnerBorder::ring);
        if (paints.size() > 0) addPaints(node, paints, m, opacity, hasPicture);
        if (!hasPicture) addContents(node, m, opacity);
    }

    void addPaints(const CompositingNode& node, const NodePaints& paints, const AffineTransform& m, double opacity,
                   bool hasPicture)
    {
        if (!node.shadow || (hasPicture && node.shadow->caster == NodeShadow::Caster::body)) {
            for (const NodePaint& paint : paints) addShape(paint, m, opacity);
            return;
        }
        if (node.shadow->caster == NodeShadow::Caster::eachPaint) {
            for (const NodePaint& paint : paints) {
                addPaintShadow(paint, m, opacity, node.shadow->shadow);
                addShape(paint, m, opacity, Keep::always);
            }
            return;
        }
        addBodyShadow(node, paints, m, opacity);
        if (opacity >= 1) {
            for (const NodePaint& paint : paints) addShape(paint, m, 1, Keep::always);
            return;
        }
        DrawItem together = item(DrawItem::Kind::together);
        together.level = level(opacity);
        together.members = static_cast<std::uint8_t>(paints.size());
        const std::size_t at = list_.items.size();
        list_.items.push_back(together);
        for (const NodePaint& paint : paints) {
            addShape(paint, m, 1, Keep::always);
            list_.items.back().opaque = {}; // The whole shows what is below.
            list_.items[at].bounds = unionOf(list_.items[at].bounds, list_.items.back().bounds);
        }
    }

    enum class Keep { ifSeen, always };

    void addShape(const NodePaint& paint, const AffineTransform& m, double opacity, Keep keep = Keep::ifSeen)
    {
        FilledShape shape = shapeOf(paint, m);
        shape.color = premultiplied(paint.color, opacity);
        DrawItem added = item(DrawItem::Kind::shape);
        if (shape.color.alpha > 0) added.bounds = pixelsTouchedBy(deviceBounds(shape.outer, shape.toDevice), raster_);
        if (added.bounds.empty()) {
            if (keep == Keep::ifSeen) return;
            added.bounds = {};
        }
        if (shape.isUprightBox && !shape.inner && shape.color.alpha == 255) added.opaque = opaquePixels(shape.outer, raster_);
        added.part = static_cast<std::uint32_t>(list_.shapes.size());
        list_.shapes.push_back(shape);
        list_.items.push_back(added);
    }

    static FilledShape shapeOf(const NodePaint& paint, const AffineTransform& m)
    {
        FilledShape shape{.toDevice = m, .outer = paint.outer, .inner = paint.inner};
        const std::optional<double> scale = uniformScale(m);
        if (!scale || !isProper(paint.outer)) return shape;
        if (paint.inner && !(isProper(*paint.inner) && holds(paint.outer, *paint.inner))) return shape;
        shape.isUprightBox = true;
        shape.toDevice = {};
        shape.outer = toDevice(paint.outer, m, *scale);
        if (paint.inner) shape.inner = toDevice(*paint.inner, m, *scale);
        return shape;
    }

    /// The shadow of all paints together, from what is known of their alpha or else from themselves.
    void addBodyShadow(const CompositingNode& node, const NodePaints& paints, const AffineTransform& m, double opacity)
    {
        ShapeShadow shadow{.countsColors = true};
        const std::optional<double> scale = uniformScale(m);
        const BodyBoxes known = bodyBoxes(node);
        for (const NodePaint& paint : paints) shadow.casterBounds = unionOf(shadow.casterBounds, deviceBounds(paint.outer, m));
        if (scale && known.count > 0) addBoxes(shadow, known, m, *scale, node.shadow->shadow.offset);
        addShadow(shadow, node.shadow->shadow, opacity, static_cast<std::uint8_t>(paints.size()), opacity >= 1,
                  /*skipsHeader=*/opacity < 1);
    }

    void addPictureShadow(const CompositingNode& node, const AffineTransform& m, double opacity)
    {
        // A picture that is cut to round corners cuts the shadow that it would cast by itself, too.
        const bool isBody = node.shadow->caster == NodeShadow::Caster::body;
        if (!isBody && node.cornerRadius > 0) return;
        const std::optional<double> scale = uniformScale(m);
        const NodePaint outline{outlineOf(node), std::nullopt, {0, 0, 0, 1}};
        ShapeShadow shadow{.casterBounds = deviceBounds(outline.outer, m)};
        BodyBoxes known = bodyBoxes(node);
        if (!isBody) {
            known = {};
            known.add(outline.outer, 1);
        }
        if (scale && known.count > 0) {
            for (int i = 0; i < known.count; ++i)
                shadow.casterBounds = unionOf(shadow.casterBounds, m.apply(known.boxes[static_cast<std::size_t>(i)].rect));
            addBoxes(shadow, known, m, *scale, node.shadow->shadow.offset);
        }
        addShadow(shadow, node.shadow->shadow, opacity, /*members=*/1, opacity >= 1, /*skipsHeader=*/false);
        addShape({outline.outer, std::nullopt, {0, 0, 0, 1}}, m, 1, Keep::always);
        list_.items.back().bounds = list_.items.back().opaque = {}; // It casts and is not painted itself.
    }

    void addPaintShadow(const NodePaint& paint, const AffineTransform& m, double opacity, const RasterShadow& cast)
    {
        const FilledShape shape = shapeOf(paint, m);
        const double alpha = heldToOne(paint.color.a) * opacity;
        ShapeShadow shadow{.casterBounds = deviceBounds(shape.outer, shape.toDevice)};
        if (shape.isUprightBox) {
            shadow.boxes[0] = {shiftedBy(shape.outer.rect, cast.offset), shape.outer.radius, 1};
            shadow.boxCount = 1;
            if (shape.inner)
                shadow.boxes[static_cast<std::size_t>(shadow.boxCount++)] = {shiftedBy(shape.inner->rect, cast.offset),
                                                                             shape.inner->radius, -1};
        }
        addShadow(shadow, cast, alpha, /*members=*/1, alpha >= 1 && !paint.inner, /*skipsHeader=*/false);
    }

    static void addBoxes(ShapeShadow& shadow, const BodyBoxes& known, const AffineTransform& m, double scale, CGSize offset)
    {
        for (int i = 0; i < known.count; ++i) {
            const auto index = static_cast<std::size_t>(i);
            if (!isProper(known.boxes[index])) {
                shadow.boxCount = 0;
                return;
            }
            const NodeOutline box = toDevice(known.boxes[index], m, scale);
            shadow.boxes[index] = {shiftedBy(box.rect, offset), box.radius, known.weights[index]};
            shadow.boxCount = i + 1;
        }
    }

    /// `skipsHeader` tells that the item that holds the shapes together comes between the shadow and them.
    void addShadow(ShapeShadow& shadow, const RasterShadow& cast, double alpha, std::uint8_t members, bool isCovered,
                   bool skipsHeader)
    {
        const double strength = heldToOne(cast.color.a) * alpha;
        const bool falls = std::hypot(cast.offset.width, cast.offset.height) < greatestDeviceLength && !std::isnan(cast.blur);
        shadow.sigma = std::clamp(cast.blur, 0.0, greatestBlur) * 0.5;
        shadow.offset = cast.offset;
        shadow.color = {.blue = level(cast.color.b), .green = level(cast.color.g), .red = level(cast.color.r), .alpha = strength};
        if (isCovered) shadow.covered = opaqueAreaOf(shadow, cast.offset);
        if (!canBlurAsBoxes({shadow.boxes.data(), static_cast<std::size_t>(shadow.boxCount)}, shadow.sigma)) shadow.boxCount = 0;

        DrawItem added = item(DrawItem::Kind::shadow);
        added.members = static_cast<std::uint8_t>(members + (skipsHeader ? 1 : 0));
        added.part = static_cast<std::uint32_t>(list_.shadows.size());
        if (strength > 0 && falls) {
            const int reach = shadowReach(shadow.sigma, strength);
            added.bounds = pixelsTouchedBy(insetBy(shiftedBy(shadow.casterBounds, cast.offset), -reach, -reach), raster_);
        }
        list_.shadows.push_back(shadow);
        list_.items.push_back(added);
    }

    void addContents(const CompositingNode& node, const AffineTransform& m, double opacity)
    {
        if (std::holds_alternative<std::monostate>(node.contents)) return;
        DrawItem added = item(DrawItem::Kind::contents);
        added.level = level(opacity);
        PlacedContents placed{m, opacity, node.contents, outlineOf(node)};
        if (const auto* picture = std::get_if<PictureContents>(&node.contents)) {
            if (picture->image) added.bounds = pixelsTouchedBy(m.apply(picture->destination), raster_);
            if (picture->image && picture->image->isOpaque() && added.level == 255 && uniformScale(m)) {
                const NodeOutline clip = toDevice(placed.clip, m, *uniformScale(m));
                const NodeOutline whole{.rect = m.apply(picture->destination)};
                added.opaque = intersectionOf(opaquePixels(clip, raster_), opaquePixels(whole, raster_));
                if (added.opaque.empty()) added.opaque = {};
            }
        } else if (const auto* text = std::get_if<std::shared_ptr<const TextContents>>(&node.contents)) {
            constexpr double reach = 2;
            const TextLayout& layout = *(*text)->layout;
            if (!layout.ink.isNull() && level((*text)->color.a * opacity) > 0) {
                const CGRect ink = shiftedBy(layout.ink, {(*text)->origin.x, (*text)->origin.y});
                added.bounds = pixelsTouchedBy(insetBy(m.apply(ink), -reach, -reach), raster_);
            }
        } else if (const auto* drawing = std::get_if<std::shared_ptr<const NodeDrawing>>(&node.contents)) {
            if (*drawing) added.bounds = pixelsOfDrawing(**drawing, m, raster_);
        }
        if (added.bounds.empty()) return;
        added.part = static_cast<std::uint32_t>(list_.contents.size());
        list_.contents.push_back(std::move(placed));
        list_.items.push_back(added);
    }

    PixelRect raster_;
    DrawList& list_;
    std::uint64_t identity_ = 0;
    std::uint64_t part_ = 0;
};

bool areSame(const NodeContents& a, const NodeContents& b)
{
    if (a.index() != b.index()) return false;
    if (const auto* text = std::get_if<std::shared_ptr<const TextContents>>(&a)) {
        const auto& other = std::get<std::shared_ptr<const TextContents>>(b);
        return *text == other || **text == *other;
    }
    if (const auto* drawing = std::get_if<std::shared_ptr<const NodeDrawing>>(&a))
        return areEqual(*drawing, std::get<std::shared_ptr<const NodeDrawing>>(b));
    return a == b;
}

bool areSame(const ShapeShadow& a, const ShapeShadow& b)
{
    if (a.boxCount != b.boxCount || a.countsColors != b.countsColors || a.offset != b.offset || a.sigma != b.sigma ||
        a.casterBounds != b.casterBounds || a.covered.rect != b.covered.rect || a.covered.radius != b.covered.radius)
        return false;
    if (a.color.blue != b.color.blue || a.color.green != b.color.green || a.color.red != b.color.red ||
        a.color.alpha != b.color.alpha)
        return false;
    for (std::size_t i = 0; i < static_cast<std::size_t>(a.boxCount); ++i)
        if (a.boxes[i].rect != b.boxes[i].rect || a.boxes[i].radius != b.boxes[i].radius ||
            a.boxes[i].weight != b.boxes[i].weight)
            return false;
    return true;
}

} // namespace

void DrawList::clear()
{
    items.clear();
    shapes.clear();
    shadows.clear();
    contents.clear();
    groups.clear();
}

NodeOutline outlineOf(const CompositingNode& node)
{
    const CGRect rect{{0, 0}, node.size};
    if (node.shape == CompositingNode::Shape::ellipse) return {.rect = rect, .isEllipse = true};
    return rounded(rect, node.cornerRadius);
}

bool hasRing(const NodeBorder::Sides& sides, const CompositingNode& node)
{
    const SideOutlines outlines = sideOutlines(node, sides);
    return !hasArea(outlines.inner) || holds(outlines.outer, outlines.inner);
}

bool FilledShape::operator==(const FilledShape& other) const
{
    return isUprightBox == other.isUprightBox && color.blue == other.color.blue && color.green == other.color.green &&
           color.red == other.color.red && color.alpha == other.color.alpha && toDevice == other.toDevice &&
           outer == other.outer && inner == other.inner;
}

void flatten(const CompositingNode& root, const PixelRect& raster, DrawList& list)
{
    list.clear();
    Flattener flattener(raster, list);
    if (root.compositing == CompositingNode::Compositing::group)
        flattener.addSubtree(root, {}, 1);
    else
        flattener.addSubtree(root, root.transform, root.opacity);
}

bool paintsSame(const DrawList& a, std::size_t itemOfA, const DrawList& b, std::size_t itemOfB)
{
    const DrawItem& x = a.items[itemOfA];
    const DrawItem& y = b.items[itemOfB];
    if (x.kind != y.kind || x.members != y.members || x.level != y.level || x.bounds != y.bounds) return false;
    switch (x.kind) {
    case DrawItem::Kind::shape:
        if (!(a.shapes[x.part] == b.shapes[y.part])) return false;
        break;
    case DrawItem::Kind::shadow:
        if (!areSame(a.shadows[x.part], b.shadows[y.part])) return false;
        break;
    case DrawItem::Kind::contents: {
        const PlacedContents& p = a.contents[x.part];
        const PlacedContents& q = b.contents[y.part];
        if (p.toDevice != q.toDevice || p.opacity != q.opacity || p.clip != q.clip || !areSame(p.contents, q.contents))
            return false;
        break;
    }
    case DrawItem::Kind::group: {
        const PlacedGroup& p = a.groups[x.part];
        const PlacedGroup& q = b.groups[y.part];
        if (p.toDevice != q.toDevice || p.size != q.size || p.clip != q.clip) return false;
        break;
    }
    case DrawItem::Kind::together: break;
    }
    for (std::size_t i = 1; i <= x.members; ++i)
        if (!paintsSame(a, itemOfA + i, b, itemOfB + i)) return false;
    return true;
}

} // namespace larkspool
