#include "canvas/layer_names.h"

#include "editing/scene_lookup.h"
#include "foundation/text.h"
#include "foundation/trim.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// Degrees, and fractions of 1.
struct HueSaturationBrightness {
    double hue = 0, saturation = 0, brightness = 0;
};

double channel(double value)
{
    return std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0;
}

HueSaturationBrightness converted(const ColorRGBA& color)
{
    const double r = channel(color.r), g = channel(color.g), b = channel(color.b);
    const double most = std::max({r, g, b}), range = most - std::min({r, g, b});
    if (range <= 0) return {0, 0, most};

    constexpr double sextant = 60;
    double hue = 0;
    if (most == r)
        hue = sextant * (g - b) / range;
    else if (most == g)
        hue = sextant * ((b - r) / range + 2);
    else
        hue = sextant * ((r - g) / range + 4);
    return {hue < 0 ? hue + 360 : hue, range / most, most};
}

std::string_view greyName(double brightness)
{
    if (brightness < 0.18) return "Black";
    return brightness > 0.92 ? "White" : "Gray";
}

std::string_view hueName(double hue)
{
    struct Bucket {
        double end; ///< Degrees; it begins where the one before ends.
        std::string_view name;
    };
    constexpr Bucket buckets[] = {{15, "Red"},   {40, "Orange"},  {65, "Yellow"},   {170, "Green"}, {200, "Cyan"},
                                  {255, "Blue"}, {290, "Purple"}, {330, "Magenta"}, {345, "Pink"},  {361, "Red"}};
    for (const Bucket& bucket : buckets)
        if (hue < bucket.end) return bucket.name;
    return "Color";
}

std::string_view firstLine(std::string_view text)
{
    constexpr std::string_view ends = "\r\n";
    const std::size_t first = text.find_first_not_of(ends);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_first_of(ends, first) - first);
}

std::string coloredName(const ColorRGBA& color, std::string_view what)
{
    return fmt::format("{} {}", colorBucketName(color), what);
}

/// The flag of the layer's kind; null for kinds without a derived name.
bool* followFlag(Layer& layer)
{
    switch (layer.kind) {
    case Layer::Kind::rectangle:
    case Layer::Kind::ellipse: return &layer.nameFollowsShape;
    case Layer::Kind::text: return &layer.nameFollowsText;
    case Layer::Kind::cursor: return &layer.nameFollowsCursorVariant;
    case Layer::Kind::line: return &layer.nameFollowsLineShape;
    default: return nullptr;
    }
}

const bool* followFlag(const Layer& layer)
{
    return followFlag(const_cast<Layer&>(layer)); // Only read.
}

/// The whole text as a number; nothing for anything else.
std::optional<std::int64_t> wholeNumber(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    std::int64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || rest != text.data() + text.size()) return std::nullopt;
    return number;
}

} // namespace

std::string_view colorBucketName(const ColorRGBA& color)
{
    constexpr double hardlyThere = 0.05, hardlyColored = 0.1;
    if (color.a < hardlyThere) return "Clear";
    const HueSaturationBrightness hsb = converted(color);
    return hsb.saturation < hardlyColored ? greyName(hsb.brightness) : hueName(hsb.hue);
}

std::string derivedTextLayerName(std::string_view text)
{
    constexpr std::size_t mostCharacters = 28;
    const std::string_view line = trimmed(firstLine(text));
    if (line.empty()) return "Text";
    const std::string_view shown = firstCharacters(line, mostCharacters);
    return shown.size() == line.size() ? std::string(line) : std::string(shown) + "…";
}

std::optional<std::string> derivedLayerName(const Layer& layer)
{
    switch (layer.kind) {
    case Layer::Kind::rectangle: return coloredName(layer.fill, "Rectangle");
    case Layer::Kind::ellipse: return coloredName(layer.fill, "Ellipse");
    case Layer::Kind::text: return derivedTextLayerName(layer.text);
    case Layer::Kind::cursor: return std::string(label(layer.cursorVariant));
    case Layer::Kind::line: return coloredName(layer.stroke, label(layer.lineShape));
    default: return std::nullopt;
    }
}

bool nameFollowsContent(const Layer& layer)
{
    const bool* flag = followFlag(layer);
    return flag && *flag;
}

void setNameFollowsContent(Layer& layer, bool follows)
{
    if (bool* flag = followFlag(layer)) *flag = follows;
}

void refreshFollowingName(Layer& layer)
{
    if (nameFollowsContent(layer)) layer.name = SharedString(*derivedLayerName(layer));
}

std::string capitalizedKind(Layer::Kind kind)
{
    std::string name(fileValue(kind));
    constexpr char toCapital = 'A' - 'a';
    for (char& letter : name)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - toCapital);
    name.front() = static_cast<char>(name.front() + toCapital);
    return name;
}

std::int64_t nextLayerNumber(std::string_view prefix, const TweenScene& scene)
{
    std::int64_t largest = 0;
    walkLayers(scene.layers, [&](const Layer& layer) {
        std::string_view name = layer.name;
        if (!name.starts_with(prefix)) return;
        name.remove_prefix(prefix.size());
        if (!name.starts_with(' ')) return;
        largest = std::max(largest, wholeNumber(name.substr(1)).value_or(0));
    });
    return largest;
}

std::string numberedName(std::string_view prefix, const TweenScene& scene)
{
    // A name can bear the largest number there is.
    const auto largest = static_cast<std::uint64_t>(nextLayerNumber(prefix, scene));
    return fmt::format("{} {}", prefix, largest + 1);
}

} // namespace larkspool
