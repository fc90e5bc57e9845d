#include "rendering/text_body.h"

#include "foundation/text.h"
#include "rendering/continuous_corners.h"
#include "rendering/raster_color.h"
#include "rendering/shapes.h"

#include <algorithm>
#include <cmath>

namespace larkspool {

namespace {

/// A fill with no more alpha than this is not a background to harmonise with.
constexpr double leastHarmonizedAlpha = 0.01;
constexpr double leastCanvasFontSize = 0.1;
constexpr char caret = '|';

struct HueSaturationValue {
    double hue, saturation, value; ///< The hue in degrees.
};

HueSaturationValue hueSaturationValue(const ColorRGBA& c)
{
    const double greatest = std::max({c.r, c.g, c.b}), range = greatest - std::min({c.r, c.g, c.b});
    double hue = 0;
    if (range > 0) {
        if (greatest == c.r)
            hue = 60 * std::fmod((c.g - c.b) / range, 6);
        else if (greatest == c.g)
            hue = 60 * ((c.b - c.r) / range + 2);
        else
            hue = 60 * ((c.r - c.g) / range + 4);
    }
    if (hue < 0) hue += 360;
    return {hue, greatest == 0 ? 0 : range / greatest, greatest};
}

ColorRGBA opaqueColor(const HueSaturationValue& hsv)
{
    const double chroma = hsv.value * hsv.saturation, least = hsv.value - chroma;
    const double second = chroma * (1 - std::abs(std::fmod(hsv.hue / 60, 2) - 1));
    const double high = least + chroma, middle = least + second;
    if (hsv.hue < 60) return {high, middle, least, 1};
    if (hsv.hue < 120) return {middle, high, least, 1};
    if (hsv.hue < 180) return {least, high, middle, 1};
    if (hsv.hue < 240) return {least, middle, high, 1};
    if (hsv.hue < 300) return {middle, least, high, 1};
    return {high, least, middle, 1};
}

/// The text without its caret, and where the next character to be typed stands.
struct TypedText {
    std::string_view characters;
    bool hasCaret = false;
    std::size_t count = 0;      ///< Of `characters`.
    std::size_t typed = 0;      ///< How many of them show.
    std::size_t typedBytes = 0; ///< In `characters`.
};

TypedText typedText(const Layer& layer)
{
    TypedText typed{.characters = layer.text.view()};
    typed.hasCaret = typed.characters.ends_with(caret);
    if (typed.hasCaret) typed.characters.remove_suffix(1);
    typed.count = characterCount(typed.characters);
    typed.typed = std::min(layer.textTypeOnVisible.value_or(typed.count), typed.count);
    typed.typedBytes = firstCharacters(typed.characters, typed.typed).size();
    return typed;
}

/// Where the code point begins that holds the UTF-16 code unit `unit`, or the next one if the unit is not its first.
std::size_t byteOfUnit(std::string_view text, std::size_t unit)
{
    std::size_t units = 0, byte = 0;
    while (byte < text.size() && units < unit) {
        const auto lead = static_cast<unsigned char>(text[byte]);
        units += lead >= 0xf0 ? 2 : 1;
        ++byte;
        while (byte < text.size() && (static_cast<unsigned char>(text[byte]) & 0xc0) == 0x80) ++byte;
    }
    return byte;
}

double widestSide(const Layer& layer)
{
    return std::max({layer.strokeWidthTop, layer.strokeWidthRight, layer.strokeWidthBottom, layer.strokeWidthLeft});
}

/// Paints the box. Unlike a rectangle, one without a fill or without a stroke that shows leaves that out altogether.
void drawBox(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    const CGRect rect{{0, 0}, layer.size};
    const double radius = clampedCornerRadius(layer.cornerRadius, layer.size);
    const Path outline = boxOutline({rect, radius}, style.corners);
    const bool filled = layer.fill.a > 0;
    const bool stroked = layer.stroke.a > 0 && (layer.perSideStroke ? widestSide(layer) : layer.strokeWidth) > 0;

    const auto fill = [&] {
        if (!filled) return;
        context.setFillColor(rasterColor(layer.fill));
        context.fillPath(outline, FillRule::winding);
    };
    if (!stroked) return fill();
    if (layer.perSideStroke) {
        fill();
        return Exporter::drawPerSideStroke(layer, rect, context, style);
    }
    if (layer.strokeOutside) {
        fill();
        return strokeClipped(outline, layer, context, style);
    }
    const CGRect inner = insetBy(rect, layer.strokeWidth, layer.strokeWidth);
    if (!(inner.size.width > 0 && inner.size.height > 0)) return Exporter::fillAndStroke(outline, nullptr, layer, context, style);
    const Path inset = boxOutline({inner, clampedCornerRadius(radius - layer.strokeWidth, inner.size)}, style.corners);
    Exporter::fillAndStroke(outline, &inset, layer, context, style);
}

LineAlignment lineAlignment(TextAlignment alignment)
{
    switch (alignment) {
    case TextAlignment::left: return LineAlignment::left;
    case TextAlignment::center: return LineAlignment::center;
    case TextAlignment::right: return LineAlignment::right;
    }
    return LineAlignment::left;
}

/// How far below the box's top the string begins.
double stringTop(const Layer& layer, double height)
{
    switch (layer.textVerticalAlignment) {
    case TextVerticalAlignment::top: return 0;
    case TextVerticalAlignment::center: return (layer.size.height - height) * 0.5;
    case TextVerticalAlignment::bottom: return layer.size.height - height;
    }
    return 0;
}

RasterColor paintedColor(const ColorRGBA& color)
{
    const bool isColor = std::isfinite(color.r) && std::isfinite(color.g) && std::isfinite(color.b) && std::isfinite(color.a);
    return isColor ? rasterColor(color) : RasterColor{0, 0, 0, 1};
}

/// The string as a view shows it, where what is not typed yet is hidden by characters.
TextString viewString(const Layer& layer)
{
    TextString string;
    for (const StyledText& piece : caretAwareText(layer)) {
        const std::size_t begin = string.text.size();
        string.text += piece.text;
        if (piece.color == ColorRGBA::clear) string.clear.push_back({begin, string.text.size()});
    }
    return string;
}

TextString stringOf(const Layer& layer, const DrawingStyle& style)
{
    return style.text == DrawingStyle::Text::view ? viewString(layer) : textString(layer);
}

/// How far the style moves the string down, in the layer's unit.
double nudge(const Layer& layer, const DrawingStyle& style)
{
    return style.text == DrawingStyle::Text::view ? opticalCentringOffset(layer, style.viewScale) / style.viewScale : 0;
}

/// The string laid out in the layer's box.
std::shared_ptr<const TextLayout> laidOut(const Layer& layer, std::string text)
{
    return layOutText({.text = std::move(text),
                       .fontName = layer.fontName.string(),
                       .fontSize = layer.fontSize,
                       .width = layer.size.width,
                       .alignment = lineAlignment(layer.textAlignment)});
}

} // namespace

ColorRGBA harmoniousDarkerShade(const ColorRGBA& color)
{
    const HueSaturationValue from = hueSaturationValue(color);
    return opaqueColor({.hue = from.hue,
                        .saturation = std::min(from.saturation + (1 - from.saturation) * 0.2, 1.0),
                        .value = std::max(from.value * 0.35, 0.15)});
}

ColorRGBA effectiveTextColor(const Layer& layer)
{
    const bool harmonizes = layer.textColorHarmonize && layer.fill.a > leastHarmonizedAlpha;
    return harmonizes ? harmoniousDarkerShade(layer.fill) : layer.textColor;
}

TextString textString(const Layer& layer)
{
    const TypedText typed = typedText(layer);
    TextString string{.text = layer.text.string(), .clear = {}};
    std::size_t caretByte = typed.characters.size();
    if (layer.textTypeOnVisible) {
        string.text = typed.characters;
        if (typed.hasCaret) string.text.insert(typed.typedBytes, 1, caret);
        caretByte = typed.typedBytes;
        if (const std::size_t hidden = typed.count - typed.typed; hidden > 0) {
            const std::size_t begin = typed.typed + (typed.hasCaret ? 1 : 0);
            string.clear.push_back({byteOfUnit(string.text, begin), byteOfUnit(string.text, begin + hidden)});
        }
    }
    if (typed.hasCaret && !layer.textCursorVisible) string.clear.push_back({caretByte, caretByte + 1});
    return string;
}

PlacedText placedText(const Layer& layer, const DrawingStyle& style)
{
    TextString string = stringOf(layer, style);
    auto layout = laidOut(layer, std::move(string.text));
    const CGPoint origin{0, stringTop(layer, layout->size.height) + nudge(layer, style)};
    return {std::move(layout), origin, paintedColor(effectiveTextColor(layer)), std::move(string.clear)};
}

CGRect textInkBounds(const Layer& layer, const DrawingStyle& style)
{
    const auto layout = laidOut(layer, stringOf(layer, style).text);
    if (layout->ink.isNull()) return layout->ink;
    CGRect bounds = layout->ink;
    bounds.origin.y += stringTop(layer, layout->size.height) + nudge(layer, style);
    return bounds;
}

void Exporter::drawTextBody(const Layer& layer, RasterContext& context, const DrawingStyle& style)
{
    drawBox(layer, context, style);
    const PlacedText text = placedText(layer, style);
    context.drawText(*text.layout, text.origin, text.color, text.clear);
}

std::vector<StyledText> caretAwareText(const Layer& layer)
{
    const TypedText typed = typedText(layer);
    const ColorRGBA color = effectiveTextColor(layer);
    std::vector<StyledText> pieces;
    const auto add = [&](std::string_view text, const ColorRGBA& in) {
        if (!text.empty()) pieces.push_back({std::string(text), in});
    };
    add(typed.characters.substr(0, typed.typedBytes), color);
    if (typed.hasCaret) add("|", layer.textCursorVisible ? color : ColorRGBA::clear);
    add(typed.characters.substr(typed.typedBytes), ColorRGBA::clear);
    return pieces;
}

CanvasFont canvasFont(std::string_view name, double size)
{
    return {isFontInstalled(name) ? std::string(name) : std::string(), size};
}

double opticalCentringOffset(const Layer& layer, double fitScale)
{
    const std::string_view text = layer.text;
    if (layer.textVerticalAlignment != TextVerticalAlignment::center || text.find_first_of("\n\r") != text.npos) return 0;

    const CanvasFont font = canvasFont(layer.fontName, std::max(layer.fontSize * fitScale, leastCanvasFontSize));
    const double width = layOutText({.text = std::string(text), .fontName = font.name, .fontSize = font.size})->size.width;
    if (width > layer.size.width * fitScale) return 0;
    const FontMetrics metrics = fontMetrics(font.name, font.size);
    return -(metrics.ascender - std::abs(metrics.descender) - metrics.capHeight) / 2;
}

} // namespace larkspool
