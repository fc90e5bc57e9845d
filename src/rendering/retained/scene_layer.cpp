#include "rendering/retained/scene_layer.h"

#include "rendering/cursors.h"
#include "rendering/image_media.h"
#include "rendering/radiate.h"
#include "rendering/raster_color.h"
#include "rendering/retained/draw_items.h"
#include "rendering/retained/node_drawing.h"
#include "rendering/shapes.h"
#include "rendering/text_body.h"
#include "rendering/video_export_readers.h"
#include "rendering/video_media.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace larkspool {

namespace {

using ExporterGPU::NodeSurroundings;

/// Blur of a glow of strength 1, in device pixels.
constexpr double glowBlur = 24;
/// Alpha of a glow of strength 1.
constexpr double glowAlpha = 0.85;
/// Glyphs of larger ems, in device pixels, are kept as a bitmap.
constexpr double greatestPaintedEm = 250;

/// Parts of one layer have identities of their own.
enum class Part : std::uint64_t { body, underGlow, text, viewport, firstRing };

std::uint64_t identityOf(const UUID& id, Part part)
{
    constexpr std::uint64_t partsOfALayer = 16;
    return std::hash<UUID>()(id) * partsOfALayer + static_cast<std::uint64_t>(part);
}

RasterShadow presetShadow(ShadowPreset preset)
{
    const ShadowPresetValues values = shadowPresetValues(preset);
    return {.offset = {0, -values.verticalOffset}, .blur = values.blur, .color = {0, 0, 0, values.alpha}};
}

RasterShadow glowShadow(const EvaluatedLayer& evaluated)
{
    const ColorRGBA& color = evaluated.glowColor;
    return {.offset = {0, 0},
            .blur = evaluated.glow * glowBlur,
            .color = {color.r, color.g, color.b, std::min(evaluated.glow * glowAlpha, 1.0)}};
}

bool hasOwnShadow(const Layer& layer)
{
    return layer.shadow != ShadowPreset::none && castsShadow(layer.kind);
}

/// Only these kinds hand their opacity down to their children.
bool handsOpacityDown(Layer::Kind kind)
{
    return kind == Layer::Kind::group || kind == Layer::Kind::zoom;
}

/// Whether the layer's box is one that a node can have.
bool hasProperBox(const Layer& layer)
{
    return std::isfinite(layer.size.width) && std::isfinite(layer.size.height) && layer.size.width > 0 && layer.size.height > 0;
}

/// Whether the body of a layer is one paint, so that its opacity may as well apply to the whole.
bool isOnePaint(const Layer& layer)
{
    switch (layer.kind) {
    case Layer::Kind::path: return !(layer.strokeWidth > 0);
    case Layer::Kind::line: return !layer.lineArrowStart && !layer.lineArrowEnd;
    default: return false;
    }
}

bool castsAnyShadow(const Layer& layer, const NodeSurroundings& surroundings)
{
    return hasOwnShadow(layer) || surroundings.shadow;
}

/// Everything with whatever shadow it has, left to the reference drawing. Where opacity applies to the whole, the picture is
/// drawn without it, so that one that fades is drawn once.
CompositingNode drawnNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    const double opacity = surroundings.parentOpacity * layer.opacity;
    const bool fades = isOnePaint(layer) && !castsAnyShadow(layer, surroundings);
    CompositingNode node = ExporterGPU::rasterizedNode(
        makeLayerDrawing(layer, fades ? 1 : opacity, hasOwnShadow(layer), surroundings.shadow, surroundings.time));
    node.transform = evaluated.transform;
    node.size = layer.size;
    node.opacity = fades ? opacity : 1;
    return node;
}

void applyShadow(CompositingNode& node, const Layer& layer, const NodeSurroundings& surroundings)
{
    if (hasOwnShadow(layer))
        node.shadow = NodeShadow{presetShadow(layer.shadow), NodeShadow::Caster::body};
    else if (surroundings.shadow)
        node.shadow = NodeShadow{*surroundings.shadow, NodeShadow::Caster::eachPaint};
}

NodeBorder borderOf(const Layer& layer)
{
    NodeBorder border{.color = rasterColor(layer.stroke),
                      .width = layer.strokeWidth,
                      .place = layer.strokeOutside ? NodeBorder::Place::outside : NodeBorder::Place::inside,
                      .sides = {}};
    if (layer.perSideStroke && layer.kind != Layer::Kind::ellipse)
        border.sides = NodeBorder::Sides{std::max(layer.strokeWidthTop, 0.0), std::max(layer.strokeWidthRight, 0.0),
                                         std::max(layer.strokeWidthBottom, 0.0), std::max(layer.strokeWidthLeft, 0.0)};
    return border;
}

bool shows(const NodeBorder& border)
{
    if (!(border.color.a > 0)) return false;
    if (!border.sides) return border.width > 0;
    return std::max({border.sides->top, border.sides->right, border.sides->bottom, border.sides->left}) > 0;
}

/// Whether the node's border is one that a renderer paints: the edges of sides with widths of their own can cross.
bool isPossible(const CompositingNode& node)
{
    return !node.border.sides || hasRing(*node.border.sides, node);
}

/// Whether what the border casts, paint by paint, is cut by the clip that cuts the border's line: a node has no such clip.
bool castsThroughClip(const Layer& layer, const CompositingNode& node)
{
    if (!node.shadow || node.shadow->caster != NodeShadow::Caster::eachPaint) return false;
    if (node.border.sides || !(node.border.width > 0)) return false;
    const bool isShape = layer.kind == Layer::Kind::rectangle || layer.kind == Layer::Kind::ellipse;
    const bool leavesNothing = 2 * layer.strokeWidth >= std::min(layer.size.width, layer.size.height);
    return layer.strokeOutside || (isShape && leavesNothing);
}

/// Whether some glyphs may be pictures: emoji, and the signs that turn into them.
bool mayHavePictures(std::string_view text)
{
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) continue;
        const auto next = static_cast<unsigned char>(text[i + 1]);
        if (lead >= 0xF0) return true; // Beyond the basic plane.
        if (lead == 0xC2 && (next == 0xA9 || next == 0xAE)) return true; // Copyright, registered.
        if (lead == 0xE2 && next >= 0x84 && next <= 0xAF) return true; // Letter-like signs to arrows and symbols.
        if (lead == 0xE2 && next == 0x80) { // Joiners and double marks, not quotes and dashes.
            const auto last = i + 2 < text.size() ? static_cast<unsigned char>(text[i + 2]) : 0;
            if (last == 0x8D || last == 0xBC) return true;
        }
        if (lead == 0xE2 && next == 0x83) return true; // Enclosing keycaps.
        if (lead == 0xE3 && (next == 0x80 || next == 0x8A)) return true; // Signs of East Asia.
        if (lead == 0xEF && next == 0xB8) return true; // Selectors of a look.
    }
    return false;
}

double greatestScale(const AffineTransform& m)
{
    return std::max(std::hypot(m.a, m.b), std::hypot(m.c, m.d));
}

/// How large a box of local space is on the raster.
CGSize sizeOnRaster(CGSize size, const AffineTransform& m)
{
    return {size.width * std::hypot(m.a, m.b), size.height * std::hypot(m.c, m.d)};
}

/// A node that shows a picture in its box, under its border. Pictures with a shadow and holes are left to the reference.
CompositingNode pictureNode(PictureContents contents, bool isRound, const EvaluatedLayer& evaluated,
                            const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    if (!contents.image || (castsAnyShadow(layer, surroundings) && !contents.image->isOpaque()))
        return drawnNode(evaluated, surroundings);
    CompositingNode node;
    ExporterGPU::applyTransform(node, evaluated, surroundings);
    applyShadow(node, layer, surroundings);
    node.cornerRadius = isRound ? layer.cornerRadius : 0;
    node.border = borderOf(layer);
    node.contents = std::move(contents);
    return isPossible(node) && !castsThroughClip(layer, node) ? node : drawnNode(evaluated, surroundings);
}

/// The body of a layer, without its children.
CompositingNode makeNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    switch (layer.kind) {
    case Layer::Kind::rectangle:
    case Layer::Kind::ellipse: return ExporterGPU::makeShapeNode(evaluated, surroundings);
    case Layer::Kind::text: return ExporterGPU::makeTextNode(evaluated, surroundings);
    case Layer::Kind::image: return ExporterGPU::makeImageNode(evaluated, surroundings);
    case Layer::Kind::cursor: return ExporterGPU::makeCursorNode(evaluated, surroundings);
    case Layer::Kind::path:
    case Layer::Kind::line: return ExporterGPU::makeLineNode(evaluated, surroundings);
    case Layer::Kind::gradientField: return ExporterGPU::makeGradientFieldNode(evaluated, surroundings);
    case Layer::Kind::video: return ExporterGPU::makeVideoNode(evaluated, surroundings);
    case Layer::Kind::group:
    case Layer::Kind::zoom:
    case Layer::Kind::hotspot: break;
    }
    CompositingNode node;
    ExporterGPU::applyTransform(node, evaluated, surroundings);
    return node;
}

/// Rings are borders of circles.
void appendRings(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings, std::vector<CompositingNode>& nodes)
{
    RasterColor color = rasterColor(evaluated.glowColor);
    std::uint64_t identity = identityOf(evaluated.layer.id, Part::firstRing);
    for (const std::optional<RadiateRing>& ring : radiateRings(*evaluated.radiateProgress)) {
        ++identity;
        if (!ring) continue;
        const double radius = ring->radius + ring->lineWidth * 0.5;
        color.a = ring->alpha;
        CompositingNode node;
        node.identity = identity;
        node.shape = CompositingNode::Shape::ellipse;
        node.size = {2 * radius, 2 * radius};
        node.transform = AffineTransform().translatedBy(evaluated.radiateCenter.x - radius, evaluated.radiateCenter.y - radius);
        node.opacity = surroundings.ringOpacity;
        node.border = {.color = color, .width = ring->lineWidth, .place = NodeBorder::Place::inside, .sides = {}};
        if (surroundings.shadow) node.shadow = NodeShadow{*surroundings.shadow, NodeShadow::Caster::eachPaint};
        nodes.push_back(std::move(node));
    }
}

enum class OwnShadow { cast, skipped };

/// The layer with its subtree, without rings and glow.
CompositingNode subtree(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    CompositingNode node = makeNode(evaluated, surroundings);
    node.identity = identityOf(layer.id, Part::body);
    if (evaluated.children.empty()) return node;

    const double opacity = surroundings.parentOpacity * layer.opacity;
    NodeSurroundings below = surroundings;
    below.toDevice = surroundings.toDevice.concatenating(evaluated.transform);
    below.parentOpacity = handsOpacityDown(layer.kind) ? opacity : 1;
    below.ringOpacity = opacity;
    if (hasOwnShadow(layer)) below.shadow = presetShadow(layer.shadow);
    node.children.reserve(node.children.size() + evaluated.children.size());
    for (const EvaluatedLayer& child : evaluated.children) ExporterGPU::buildLayerNode(child, below, node.children);
    return node;
}

/// The scene's frame within the raster, centred with its aspect kept.
struct Fit {
    double scale;
    CGRect frame;
};

Fit fitted(CGSize sceneSize, CGSize viewSize)
{
    const double scale = std::min(viewSize.width / sceneSize.width, viewSize.height / sceneSize.height);
    const CGSize size{sceneSize.width * scale, sceneSize.height * scale};
    return {scale, {{(viewSize.width - size.width) * 0.5, (viewSize.height - size.height) * 0.5}, size}};
}

} // namespace

CompositingNode ExporterGPU::buildSceneLayer(const TweenScene& scene, double time, int pixelWidth, int pixelHeight)
{
    return buildSceneLayer(evaluateFrame(scene, time), pixelWidth, pixelHeight);
}

CompositingNode ExporterGPU::buildSceneLayer(const EvaluatedFrame& frame, int pixelWidth, int pixelHeight)
{
    const CGSize viewSize{static_cast<double>(pixelWidth), static_cast<double>(pixelHeight)};
    CompositingNode root{.size = viewSize, .background = {0, 0, 0, 1}};
    const Fit fit = fitted(frame.sceneSize, viewSize);
    if (!(std::isfinite(fit.scale) && fit.scale > 0)) return root;
    const bool fills = fit.frame.minX() <= 0 && fit.frame.minY() <= 0 && fit.frame.maxX() >= viewSize.width &&
                       fit.frame.maxY() >= viewSize.height;
    if (fills && frame.background.a >= 1) {
        root.background = rasterColor(frame.background);
    } else {
        root.children.push_back({.identity = 1,
                                 .size = fit.frame.size,
                                 .transform = AffineTransform().translatedBy(fit.frame.origin.x, fit.frame.origin.y),
                                 .background = rasterColor(frame.background)});
    }

    AffineTransform toView =
        AffineTransform().translatedBy(fit.frame.origin.x, fit.frame.origin.y).scaledBy(fit.scale, fit.scale);
    if (const std::optional<AffineTransform> zoom = activeFullScreenZoomSpan(frame)) toView = toView.concatenating(*zoom);
    NodeSurroundings surroundings{.toDevice = toView, .time = frame.time};
    if (frame.zoom && frame.zoom->alpha < 1) surroundings.ringOpacity = frame.zoom->alpha;

    CompositingNode content{.identity = 2, .size = frame.sceneSize, .transform = toView};
    content.children.reserve(frame.layers.size() + frame.viewports.size());
    for (const EvaluatedLayer& layer : frame.layers) buildLayerNode(layer, surroundings, content.children);
    if (!frame.viewports.empty()) {
        const auto shared = std::make_shared<const EvaluatedFrame>(frame);
        for (const EvaluatedViewport& viewport : frame.viewports) {
            CompositingNode node = rasterizedNode(makeViewportDrawing(viewport, shared));
            node.identity = identityOf(viewport.child.layer.id, Part::viewport);
            content.children.push_back(std::move(node));
        }
    }
    root.children.push_back(std::move(content));
    return root;
}

void ExporterGPU::buildLayerNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings,
                                 std::vector<CompositingNode>& nodes)
{
    if (hasRadiateActive(evaluated)) appendRings(evaluated, surroundings, nodes);
    if (!(evaluated.glow > 0)) {
        nodes.push_back(subtree(evaluated, surroundings));
        return;
    }
    NodeSurroundings glowing = surroundings;
    glowing.shadow = glowShadow(evaluated);
    if (evaluated.storedShadow == ShadowPreset::none || !castsShadow(evaluated.layer.kind)) {
        nodes.push_back(subtree(evaluated, glowing));
        return;
    }
    // Painted twice, so that the glow does not take the shadow's place.
    nodes.push_back(subtree(evaluated, surroundings));
    EvaluatedLayer unshadowed = evaluated;
    unshadowed.layer.shadow = ShadowPreset::none;
    nodes.push_back(subtree(unshadowed, glowing));
    nodes.back().identity = identityOf(evaluated.layer.id, Part::underGlow);
}

CompositingNode ExporterGPU::makeShapeNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    if (!hasProperBox(layer)) return drawnNode(evaluated, surroundings);
    CompositingNode node;
    applyTransform(node, evaluated, surroundings);
    applyShadow(node, layer, surroundings);
    node.background = rasterColor(layer.fill);
    node.border = borderOf(layer);
    if (layer.kind == Layer::Kind::ellipse)
        node.shape = CompositingNode::Shape::ellipse;
    else
        node.cornerRadius = layer.cornerRadius;
    return isPossible(node) && !castsThroughClip(layer, node) ? node : drawnNode(evaluated, surroundings);
}

CompositingNode ExporterGPU::makeTextNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    const AffineTransform toDevice = surroundings.toDevice.concatenating(evaluated.transform);
    if (castsAnyShadow(layer, surroundings) || mayHavePictures(layer.text.view()) ||
        !(greatestScale(toDevice) * layer.fontSize <= greatestPaintedEm))
        return drawnNode(evaluated, surroundings);

    CompositingNode box;
    applyTransform(box, evaluated, surroundings);
    const NodeBorder border = borderOf(layer);
    const bool hasBox = layer.fill.a > 0 || shows(border);
    if (hasBox && !hasProperBox(layer)) return drawnNode(evaluated, surroundings);
    PlacedText text = placedText(layer);
    auto contents = std::make_shared<const TextContents>(
        TextContents{std::move(text.layout), text.origin, text.color, std::move(text.clear)});
    if (!hasBox) {
        box.contents = std::move(contents);
        return box;
    }
    box.background = rasterColor(layer.fill);
    box.cornerRadius = layer.cornerRadius;
    if (shows(border)) box.border = border;
    if (!isPossible(box)) return drawnNode(evaluated, surroundings);
    CompositingNode string{.identity = identityOf(layer.id, Part::text), .size = layer.size, .opacity = box.opacity};
    string.contents = std::move(contents);
    box.children.push_back(std::move(string));
    return box;
}

CompositingNode ExporterGPU::makeImageNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    if (!hasProperBox(layer)) return drawnNode(evaluated, surroundings);
    const AffineTransform toDevice = surroundings.toDevice.concatenating(evaluated.transform);
    auto [image, source] = placedPicture(layer, sizeOnRaster(layer.size, toDevice));
    const bool isRound = cutsCorners(clampedCornerRadius(layer.cornerRadius, layer.size));
    return pictureNode({std::move(image), source, {{0, 0}, layer.size}}, isRound, evaluated, surroundings);
}

CompositingNode ExporterGPU::makeLineNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    return drawnNode(evaluated, surroundings);
}

CompositingNode ExporterGPU::makeVideoNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    CompositingNode nothing;
    applyTransform(nothing, evaluated, surroundings);
    if (!hasProperBox(layer)) return nothing;
    CroppedPicture picture = videoPicture(layer, surroundings.time, videoFrameForGPU);
    if (!picture.image) return nothing;
    return pictureNode({std::move(picture.image), picture.pixels, {{0, 0}, layer.size}}, /*isRound=*/true, evaluated,
                       surroundings);
}

CompositingNode ExporterGPU::makeCursorNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    const Layer& layer = evaluated.layer;
    if (layer.cursorVariant == CursorVariant::wait) return drawnNode(evaluated, surroundings);
    if (castsAnyShadow(layer, surroundings)) return drawnNode(evaluated, surroundings);
    CompositingNode node;
    applyTransform(node, evaluated, surroundings);
    ImageRef art = exportCursorNSImage(layer.cursorVariant);
    if (!art) return node;
    const CGSize size = art->size();
    node.contents = PictureContents{std::move(art), {{0, 0}, size}, fittedCursor(size, layer.size)};
    return node;
}

CompositingNode ExporterGPU::makeGradientFieldNode(const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    return drawnNode(evaluated, surroundings);
}

CompositingNode ExporterGPU::rasterizedNode(std::shared_ptr<const NodeDrawing> draw)
{
    CompositingNode node;
    node.contents = std::move(draw);
    return node;
}

void ExporterGPU::applyTransform(CompositingNode& node, const EvaluatedLayer& evaluated, const NodeSurroundings& surroundings)
{
    node.size = evaluated.layer.size;
    node.transform = evaluated.transform;
    node.opacity = surroundings.parentOpacity * evaluated.layer.opacity;
}

std::optional<AffineTransform> ExporterGPU::activeFullScreenZoomSpan(const EvaluatedFrame& frame)
{
    if (!frame.zoom) return std::nullopt;
    return AffineTransform()
        .scaledBy(frame.zoom->scale, frame.zoom->scale)
        .translatedBy(frame.zoom->translate.x, frame.zoom->translate.y);
}

bool ExporterGPU::hasRadiateActive(const EvaluatedLayer& evaluated)
{
    return evaluated.radiateProgress.has_value();
}

} // namespace larkspool
