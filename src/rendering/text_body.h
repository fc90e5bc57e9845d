#pragma once

#include "document/layer.h"
#include "platform/raster_context.h"
#include "platform/text_layout.h"
#include "rendering/drawing_style.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// A darker colour of the same hue that reads on `color`. A grey has the hue of red, so that its shade is faintly red. Opaque.
ColorRGBA harmoniousDarkerShade(const ColorRGBA& color);

/// The colour of a text layer's glyphs: derived from its fill if it is to harmonise and the fill shows, else its text colour.
ColorRGBA effectiveTextColor(const Layer& layer);

/// The text of an evaluated layer as it is laid out, the caret among it.
struct TextString {
    std::string text;
    /// Bytes of characters that take up room and are not seen: those not typed yet, and a caret that is off. A range is counted
    /// in UTF-16 code units from a count of characters, so that it falls short where characters have several units.
    std::vector<TextRange> clear;
};

TextString textString(const Layer& layer);

/// A string laid out in its layer's box.
struct PlacedText {
    std::shared_ptr<const TextLayout> layout;
    CGPoint origin; ///< In the layer's space.
    RasterColor color;
    std::vector<TextRange> clear; ///< Not to be seen.

    bool operator==(const PlacedText&) const = default;
};

PlacedText placedText(const Layer& layer, const DrawingStyle& style = {});

/// All that drawTextBody paints of the layer's string, in the layer's space; null where it has none.
CGRect textInkBounds(const Layer& layer, const DrawingStyle& style = {});

namespace Exporter {

/// Paints the box and the string of an evaluated text layer in its local space. A string that is taller than its box hangs over
/// it by the vertical alignment, and is not clipped.
void drawTextBody(const Layer& layer, RasterContext& context, const DrawingStyle& style = {});

} // namespace Exporter

/// A piece of text on the live canvas.
struct StyledText {
    std::string text;
    ColorRGBA color;

    bool operator==(const StyledText&) const = default;
};

/// The text of an evaluated layer on the live canvas, in order, without empty pieces.
std::vector<StyledText> caretAwareText(const Layer& layer);

/// A font of the live canvas: the one of the name, or the system font where there is no name.
struct CanvasFont {
    std::string name;
    double size = 0;

    bool operator==(const CanvasFont&) const = default;
};

/// The font for a layer's `fontName`. `size` is the layer's font size times the scale at which the canvas shows the scene.
CanvasFont canvasFont(std::string_view name, double size);

/// How far the live canvas moves a layer's text down from where its lines' box is centred, in view points, so that capitals
/// look centred. Only a single line that is centred vertically and fits its box is moved. `fitScale` is view points per
/// scene unit.
double opticalCentringOffset(const Layer& layer, double fitScale);

} // namespace larkspool
