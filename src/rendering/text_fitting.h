#pragma once

#include "document/layer.h"
#include "platform/text_layout.h"

#include <string_view>

namespace larkspool {

/// Measures text for boxes that follow theirs.
class TextMeasurer {
public:
    virtual ~TextMeasurer() = default;

    /// The size of the text, wrapped at `width`.
    virtual CGSize boundingSize(std::string_view text, std::string_view fontName, double fontSize, double width) const = 0;
    virtual FontMetrics metrics(std::string_view fontName, double fontSize) const = 0;
};

/// Measures with the fonts that text is drawn with. For every thread.
const TextMeasurer& systemTextMeasurer();

/// The size of a box that follows the layer's text and wraps it at 500 points. A caret has its room, whether it shows or not.
CGSize LarkspoolAutoGrowTextSize(const Layer& layer, const TextMeasurer& measurer = systemTextMeasurer());

/// Fits the boxes of all text layers to their texts, children included, but for those that a person has sized. Layers whose size
/// does not change keep sharing their storage.
void refitTextHelper(Array<Layer>& layers, const TextMeasurer& measurer = systemTextMeasurer());

} // namespace larkspool
