#include "rendering/text_fitting.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace larkspool {

namespace {

/// Text that is not to be wrapped is measured in a box of this width.
constexpr double unlimitedWidth = 10000;
/// The width at which a box that follows its text wraps it.
constexpr double wrapWidth = 500;
/// Room beside and below the text, both sides together.
constexpr double margin = 4;
constexpr double leastSide = 8;

class SystemTextMeasurer final : public TextMeasurer {
public:
    CGSize boundingSize(std::string_view text, std::string_view fontName, double fontSize, double width) const override
    {
        return layOutText({.text = std::string(text), .fontName = std::string(fontName), .fontSize = fontSize, .width = width})
            ->size;
    }
    FontMetrics metrics(std::string_view fontName, double fontSize) const override { return fontMetrics(fontName, fontSize); }
};

/// The text, with its caret if it ever has one.
std::string fittedText(const Layer& layer)
{
    const auto blinks = [](const TimeSpan& span) { return !span.cursorBlinkRanges.empty(); };
    const bool hasCaret = std::ranges::any_of(layer.spans, blinks) || layer.textCursorBlinks;
    return layer.text.string() + (hasCaret ? "|" : "");
}

CGSize measured(const Layer& layer, double width, const TextMeasurer& measurer)
{
    return measurer.boundingSize(fittedText(layer), layer.fontName, layer.fontSize, width);
}

double lineHeight(const Layer& layer, const TextMeasurer& measurer)
{
    return std::ceil(measurer.metrics(layer.fontName, layer.fontSize).lineHeight());
}

CGSize autoFitSize(const Layer& layer, const TextMeasurer& measurer)
{
    const CGSize text = measured(layer, unlimitedWidth, measurer);
    const double height = std::max(lineHeight(layer, measurer), std::ceil(text.height));
    return {std::max(std::ceil(text.width) + margin, leastSide) + 2 * layer.textPadX,
            std::max(height + margin, leastSide) + 2 * layer.textPadY};
}

std::optional<CGSize> fittedSize(const Layer& layer, const TextMeasurer& measurer)
{
    if (layer.kind != Layer::Kind::text) return std::nullopt;
    if (layer.textAutoFit) return autoFitSize(layer, measurer);
    if (layer.textUserResized) return std::nullopt;
    return LarkspoolAutoGrowTextSize(layer, measurer);
}

} // namespace

const TextMeasurer& systemTextMeasurer()
{
    static const SystemTextMeasurer measurer;
    return measurer;
}

CGSize LarkspoolAutoGrowTextSize(const Layer& layer, const TextMeasurer& measurer)
{
    CGSize text = measured(layer, unlimitedWidth, measurer);
    double width = std::max(std::ceil(text.width) + margin, leastSide);
    if (std::ceil(text.width) + margin > wrapWidth) {
        width = wrapWidth;
        text = measured(layer, wrapWidth, measurer);
    }
    const double height = std::max(std::ceil(text.height), lineHeight(layer, measurer));
    return {width, std::max(height + margin, leastSide)};
}

void refitTextHelper(Array<Layer>& layers, const TextMeasurer& measurer)
{
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const std::optional<CGSize> size = fittedSize(layers[i], measurer);
        if (size && *size != layers[i].size) layers.edit()[i].size = *size;

        Array<Layer> children = layers[i].children;
        refitTextHelper(children, measurer);
        if (!children.sharesStorageWith(layers[i].children)) layers.edit()[i].children = std::move(children);
    }
}

} // namespace larkspool
