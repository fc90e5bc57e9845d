#include "canvas/layer_style.h"

#include "canvas/hit_testing.h"
#include "canvas/layer_names.h"
#include "canvas/selected_layers.h"

#include <utility>

namespace larkspool {

namespace {

using Kind = Layer::Kind;

void applyPlace(const LayerStyleSnapshot& style, Layer& layer)
{
    Transform& transform = layer.transform;
    transform.x = style.x;
    transform.y = style.y;
    layer.size = style.size;
    transform.rotation = style.rotation;
    transform.scaleX = style.scaleX;
    transform.scaleY = style.scaleY;
    transform.anchorX = style.anchorX;
    transform.anchorY = style.anchorY;
}

void applyBlackKey(const LayerStyleSnapshot& style, Layer& media)
{
    media.blackKey = style.blackKey;
    media.blackKeyInsetX = style.blackKeyInsetX;
    media.blackKeyInsetY = style.blackKeyInsetY;
}

void applyFont(const LayerStyleSnapshot& style, Layer& text)
{
    text.fontSize = style.fontSize;
    text.fontName = style.fontName;
    text.textColor = style.textColor;
    text.textCursorBlinks = style.textCursorBlinks;
}

void applyCursor(const LayerStyleSnapshot& style, Layer& cursor)
{
    cursor.cursorVariant = style.cursorVariant;
    cursor.cursorHoverOverride = style.cursorHoverOverride;
}

void applyLine(const LayerStyleSnapshot& style, Layer& line)
{
    line.lineShape = style.lineShape;
    line.lineArcBend = style.lineArcBend;
    line.lineArcReversed = style.lineArcReversed;
    line.lineArrowStart = style.lineArrowStart;
    line.lineArrowEnd = style.lineArrowEnd;
    line.lineCurved = style.lineCurved;
}

void applyLayout(const LayerStyleSnapshot& style, Layer& group)
{
    group.groupLayout = style.groupLayout;
    group.groupGap = style.groupGap;
    group.groupAlignment = style.groupAlignment;
}

void applyOfKind(const LayerStyleSnapshot& style, Layer& layer)
{
    if (layer.kind != style.kind) return;
    switch (layer.kind) {
    case Kind::image:
    case Kind::video: return applyBlackKey(style, layer);
    case Kind::text: return applyFont(style, layer);
    case Kind::cursor: return applyCursor(style, layer);
    case Kind::line: return applyLine(style, layer);
    case Kind::group: return applyLayout(style, layer);
    default: return;
    }
}

/// A name that is derived from what the style changes follows it.
void applyWithName(const LayerStyleSnapshot& style, Layer& layer, bool includePositionAndSize)
{
    const std::optional<std::string> before = derivedLayerName(layer);
    style.apply(layer, includePositionAndSize);
    if (derivedLayerName(layer) != before) refreshFollowingName(layer);
}

} // namespace

LayerStyleSnapshot LayerStyleSnapshot::of(const Layer& layer)
{
    const Transform& transform = layer.transform;
    return {.kind = layer.kind,
            .x = transform.x,
            .y = transform.y,
            .size = layer.size,
            .rotation = transform.rotation,
            .scaleX = transform.scaleX,
            .scaleY = transform.scaleY,
            .anchorX = transform.anchorX,
            .anchorY = transform.anchorY,
            .opacity = layer.opacity,
            .fill = layer.fill,
            .stroke = layer.stroke,
            .strokeWidth = layer.strokeWidth,
            .cornerRadius = layer.cornerRadius,
            .shadow = layer.shadow,
            .blackKey = layer.blackKey,
            .blackKeyInsetX = layer.blackKeyInsetX,
            .blackKeyInsetY = layer.blackKeyInsetY,
            .fontSize = layer.fontSize,
            .fontName = layer.fontName,
            .textColor = layer.textColor,
            .textCursorBlinks = layer.textCursorBlinks,
            .cursorVariant = layer.cursorVariant,
            .cursorHoverOverride = layer.cursorHoverOverride,
            .lineShape = layer.lineShape,
            .lineArcBend = layer.lineArcBend,
            .lineArcReversed = layer.lineArcReversed,
            .lineArrowStart = layer.lineArrowStart,
            .lineArrowEnd = layer.lineArrowEnd,
            .lineCurved = layer.lineCurved,
            .groupLayout = layer.groupLayout,
            .groupGap = layer.groupGap,
            .groupAlignment = layer.groupAlignment};
}

void LayerStyleSnapshot::apply(Layer& layer, bool includePositionAndSize) const
{
    if (includePositionAndSize) applyPlace(*this, layer);
    layer.opacity = opacity;
    layer.fill = fill;
    layer.stroke = stroke;
    layer.strokeWidth = strokeWidth;
    layer.cornerRadius = cornerRadius;
    layer.shadow = shadow;
    applyOfKind(*this, layer);
}

void copyProperties(const TweenScene& scene, const LayerIDs& selection, LayerStyleClipboard& clipboard)
{
    if (const Layer* layer = selectedAnyLayer(scene, selection)) clipboard.snapshot = LayerStyleSnapshot::of(*layer);
}

std::optional<Edit> pasteProperties(const TweenScene& scene, const LayerIDs& selection, const LayerStyleClipboard& clipboard,
                                    bool includePositionAndSize)
{
    if (!clipboard.snapshot) return std::nullopt;
    Edit edit{.scene = scene, .actionName = "Paste Properties"};
    const bool applied = editSelected(edit.scene.layers, selection,
                                      [&](Layer& layer) { applyWithName(*clipboard.snapshot, layer, includePositionAndSize); });
    return applied ? std::optional(std::move(edit)) : std::nullopt;
}

} // namespace larkspool
