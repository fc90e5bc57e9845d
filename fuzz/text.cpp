// Any bytes can be laid out and drawn as a text layer, in a box and a font size of any number, with any count of typed
// characters. What is told of where a layer paints holds what it paints.

#include "platform/pixel_buffer.h"
#include "rendering/shapes.h"
#include "rendering/text_body.h"
#include "require.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace larkspool;

constexpr int side = 64;

/// Takes numbers from the front of the input; what is left is text.
struct Input {
    const std::uint8_t* data;
    std::size_t size;

    template <typename Number>
    Number take()
    {
        Number number{};
        const std::size_t bytes = std::min(sizeof(Number), size);
        std::memcpy(&number, data, bytes);
        data += bytes;
        size -= bytes;
        return number;
    }

    /// Any number at all, or one of a usual size.
    double number() { return take<std::uint8_t>() % 4 == 0 ? take<double>() : take<std::uint16_t>() / 256.0; }
};

Layer arbitraryLayer(Input& input)
{
    Layer layer{.kind = Layer::Kind::text, .fill = ColorRGBA::clear, .fontName = "Inter"};
    layer.fontSize = input.number();
    layer.size = {input.number(), input.number()};
    const auto choices = input.take<std::uint8_t>();
    layer.textAlignment = static_cast<TextAlignment>(choices % 3);
    layer.textVerticalAlignment = static_cast<TextVerticalAlignment>(choices / 3 % 3);
    layer.textCursorVisible = choices / 9 % 2;
    if (choices / 18 % 2) layer.textTypeOnVisible = input.take<std::uint16_t>();
    layer.text = std::string(reinterpret_cast<const char*>(input.data), input.size);
    return layer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input{data, size};
    const AffineTransform transform{input.number(), input.take<std::int8_t>() / 16.0, 0, 1, 0, input.take<std::int8_t>() / 4.0};
    const Layer layer = arbitraryLayer(input);

    const TextString string = textString(layer);
    for (const TextRange& range : string.clear)
        require(range.begin <= range.end && range.end <= string.text.size(), "what is hidden lies within the text");

    PixelBuffer picture(side, side);
    const std::unique_ptr<RasterContext> context = makeRasterContext(picture);
    Exporter::drawTextBody(layer, *context);

    // In a box of device space, what is painted lies in the bounds.
    const CGRect bounds = textInkBounds(layer);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const bool within = x + 2 > bounds.minX() && x - 1 < bounds.maxX() && y + 2 > bounds.minY() && y - 1 < bounds.maxY();
            require(within || picture.row(y)[4 * x + 3] == 0, "a text paints nothing outside its bounds");
        }

    context->concatCTM(transform);
    context->setShadow(RasterShadow{{3, 4}, 2, {0, 0, 0, 0.5}});
    Exporter::drawTextBody(layer, *context);
    caretAwareText(layer);
    return 0;
}
