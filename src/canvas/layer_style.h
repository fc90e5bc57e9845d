#pragma once

#include "editing/edit.h"

#include <optional>

namespace larkspool {

/// How a layer looks, to be given to others. What it is and what it shows is no part of it.
struct LayerStyleSnapshot {
    Layer::Kind kind = Layer::Kind::rectangle;
    double x = 0;
    double y = 0;
    CGSize size{};
    double rotation = 0;
    double scaleX = 1;
    double scaleY = 1;
    double anchorX = 0.5;
    double anchorY = 0.5;
    double opacity = 1;
    ColorRGBA fill{};
    ColorRGBA stroke{};
    double strokeWidth = 0;
    double cornerRadius = 0;
    ShadowPreset shadow = ShadowPreset::none;
    bool blackKey = false;
    double blackKeyInsetX = 0;
    double blackKeyInsetY = 0;
    double fontSize = 0;
    SharedString fontName{};
    ColorRGBA textColor{};
    bool textCursorBlinks = false;
    CursorVariant cursorVariant = CursorVariant::arrow;
    std::optional<CursorVariant> cursorHoverOverride{};
    LineShape lineShape = LineShape::freeform;
    double lineArcBend = 0;
    bool lineArcReversed = false;
    bool lineArrowStart = false;
    bool lineArrowEnd = false;
    bool lineCurved = false;
    GroupLayout groupLayout = GroupLayout::freeform;
    double groupGap = 0;
    GroupAlignment groupAlignment = GroupAlignment::start;

    static LayerStyleSnapshot of(const Layer& layer);

    /// Gives the layer the style: colours, stroke, corners, shadow and opacity whatever its kind, and what belongs to a kind
    /// where both are of it. Keyframes stay.
    void apply(Layer& layer, bool includePositionAndSize) const;

    bool operator==(const LayerStyleSnapshot&) const = default;
};

/// The style copied last. One for all windows of a process.
struct LayerStyleClipboard {
    std::optional<LayerStyleSnapshot> snapshot{};
};

/// Copies the style of the first selected layer of the tree. With none, the clipboard stays as it is.
void copyProperties(const TweenScene& scene, const LayerIDs& selection, LayerStyleClipboard& clipboard);

/// Gives the copied style to all selected layers. Nothing without a style, or without layers.
std::optional<Edit> pasteProperties(const TweenScene& scene, const LayerIDs& selection, const LayerStyleClipboard& clipboard,
                                    bool includePositionAndSize);

} // namespace larkspool
