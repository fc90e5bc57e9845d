#include "canvas/layer_insertion.h"

#include "canvas/layer_names.h"
#include "canvas/selected_layers.h"
#include "editing/scene_lookup.h"
#include "platform/text_layout.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

/// How far each of several files lies from the one before, on both axes.
constexpr double cascadeStep = 20;
constexpr double rectangleRadius = 12;

void placeAround(Layer& layer, CGPoint center)
{
    layer.transform.x = center.x - layer.size.width * 0.5;
    layer.transform.y = center.y - layer.size.height * 0.5;
}

bool hasPlace(const Layer& layer)
{
    return std::isfinite(layer.transform.x) && std::isfinite(layer.transform.y);
}

/// The scene with the layers in front, selected.
std::optional<Edit> appended(const TweenScene& scene, const Array<Layer>& layers, std::string actionName)
{
    if (layers.empty() || !hasRoomFor(scene, layerCount(layers))) return std::nullopt;
    Edit edit{.scene = scene, .actionName = std::move(actionName)};
    for (const Layer& layer : layers) {
        if (!hasPlace(layer)) return std::nullopt;
        edit.scene.layers.append(layer);
        edit.selection.layerIDs.insert(layer.id);
    }
    return edit;
}

std::optional<Edit> appended(const TweenScene& scene, Layer layer, std::string actionName)
{
    return appended(scene, Array<Layer>{std::move(layer)}, std::move(actionName));
}

std::optional<Edit> addCascaded(const TweenScene& scene, const Array<Layer>& layers, std::string actionName)
{
    Array<Layer> cascaded;
    for (const Layer& layer : layers) {
        Layer moved = layer;
        const double shift = cascadeStep * static_cast<double>(cascaded.size());
        moved.transform.x += shift;
        moved.transform.y += shift;
        cascaded.append(std::move(moved));
    }
    return appended(scene, cascaded, std::move(actionName));
}

std::string addName(Layer::Kind kind)
{
    return fmt::format("Add {}", capitalizedKind(kind));
}

/// The line that both families draw, `length` long, in the middle of its box.
void makeArrow(Layer& line, double length, double strokeWidth, const ColorRGBA& color)
{
    constexpr double height = 80;
    line.size = {length, height};
    line.linePoints = {{0, height * 0.5}, {length, height * 0.5}};
    line.fill = ColorRGBA::clear;
    line.stroke = color;
    line.strokeWidth = strokeWidth;
    line.lineArrowStart = false;
    line.lineArrowEnd = true;
    line.lineCurved = false;
}

/// The box of a text that is not wrapped.
CGSize measuredSize(Layer text, const TextMeasurer& measurer)
{
    text.textAutoFit = true;
    Array<Layer> alone{std::move(text)};
    refitTextHelper(alone, measurer);
    return alone.front().size;
}

/// What the canvas gives a kind beyond what every layer has.
void seedInserted(Layer& layer, const TweenScene& scene, std::string_view defaultFont)
{
    switch (layer.kind) {
    case Layer::Kind::rectangle: layer.cornerRadius = rectangleRadius; break;
    case Layer::Kind::text:
        seedTextLayer(layer, scene, defaultFont);
        layer.size = {200, 60};
        break;
    case Layer::Kind::cursor: layer.size = {32, 32}; break;
    case Layer::Kind::zoom: layer.size = {320, 200}; break;
    case Layer::Kind::hotspot: layer.size = {160, 100}; break;
    case Layer::Kind::line: makeArrow(layer, /*length=*/200, /*strokeWidth=*/3, {0.1, 0.1, 0.15, 1}); break;
    default: break;
    }
}

} // namespace

Layer newLayer(Layer::Kind kind, RandomSource& random)
{
    Layer layer{.id = UUID::random(random), .kind = kind};
    layer.videoClip.id = UUID::random(random);
    return layer;
}

CGPoint insertionCenter(const TweenScene& scene, std::optional<CGPoint> viewportCenter)
{
    return viewportCenter.value_or(CGPoint{scene.width * 0.5, scene.height * 0.5});
}

std::string resolvedDefaultFont(const UserDefaults& defaults)
{
    std::string name = defaults.string(DefaultsKey::lastUsedFontName);
    return isFontInstalled(name) ? name : std::string();
}

void seedTextLayer(Layer& layer, const TweenScene& inheritingFrom, std::string_view defaultFont)
{
    layer.kind = Layer::Kind::text;
    layer.text = SharedString("Text");
    layer.fontSize = 32;
    layer.fontName = SharedString(defaultFont);
    layer.textAutoFit = false;
    layer.textUserResized = false;
    layer.fill = ColorRGBA::clear;
    layer.stroke = ColorRGBA::clear;
    layer.strokeWidth = 0;
    layer.textColor = ColorRGBA::black;
    layer.cornerRadius = 0;

    const Layer* last = nullptr;
    walkLayers(inheritingFrom.layers, [&](const Layer& each) {
        if (each.kind == Layer::Kind::text) last = &each;
    });
    if (!last) return;
    layer.fontName = last->fontName;
    layer.fontSize = last->fontSize;
    layer.textColor = last->textColor;
}

std::optional<Edit> addLayer(const TweenScene& scene, Layer::Kind kind, CGPoint center, RandomSource& random)
{
    Layer layer = newLayer(kind, random);
    const bool isShape = kind == Layer::Kind::rectangle || kind == Layer::Kind::ellipse;
    layer.name = SharedString(isShape ? *derivedLayerName(layer) : numberedName(capitalizedKind(kind), scene));
    layer.cornerRadius = kind == Layer::Kind::rectangle ? rectangleRadius : 0;
    placeAround(layer, center);
    return appended(scene, std::move(layer), addName(kind));
}

std::optional<Edit> addLineLayer(const TweenScene& scene, CGPoint center, RandomSource& random)
{
    Layer line = newLayer(Layer::Kind::line, random);
    makeArrow(line, /*length=*/400, /*strokeWidth=*/5, {0.2, 0.5, 1, 1});
    line.name = SharedString(*derivedLayerName(line));
    placeAround(line, center);
    return appended(scene, std::move(line), "Add Line");
}

std::optional<Edit> addCursorLayer(const TweenScene& scene, CursorVariant variant, CGPoint center, RandomSource& random)
{
    Layer cursor = newLayer(Layer::Kind::cursor, random);
    cursor.cursorVariant = variant;
    cursor.name = SharedString(*derivedLayerName(cursor));
    cursor.fill = ColorRGBA::clear;
    cursor.cornerRadius = 0;
    cursor.size = {64, 64};
    placeAround(cursor, center);
    return appended(scene, std::move(cursor), "Add Cursor");
}

std::optional<Edit> addTextLayer(const TweenScene& scene, CGPoint center, std::string_view defaultFont,
                                 const TextMeasurer& measurer, RandomSource& random)
{
    Layer text = newLayer(Layer::Kind::text, random);
    text.name = SharedString("Text");
    seedTextLayer(text, scene, defaultFont);
    text.size = measuredSize(text, measurer);
    placeAround(text, center);
    return appended(scene, std::move(text), "Add Text");
}

std::optional<Edit> addZoomLayer(const TweenScene& scene, CGPoint center, RandomSource& random)
{
    Layer zoom = newLayer(Layer::Kind::zoom, random);
    zoom.name = SharedString(numberedName("Zoom", scene));
    zoom.fill = ColorRGBA::clear;
    zoom.cornerRadius = 0;
    zoom.size = {scene.width * 0.5, scene.height * 0.5};
    placeAround(zoom, center);
    return appended(scene, std::move(zoom), "Add Zoom");
}

std::optional<Edit> addHotspotLayer(const TweenScene& scene, CGPoint center, RandomSource& random)
{
    Layer hotspot = newLayer(Layer::Kind::hotspot, random);
    hotspot.name = SharedString(numberedName("Hot Spot", scene));
    hotspot.size = {200, 200};
    placeAround(hotspot, center);
    return appended(scene, std::move(hotspot), "Add Hot Spot");
}

std::optional<Edit> addGradientFieldLayer(const TweenScene& scene, RandomSource& random)
{
    Layer field = newLayer(Layer::Kind::gradientField, random);
    field.name = SharedString(numberedName("Gradient Field", scene));
    field.size = scene.size();
    field.fill = {0.96, 0.38, 0.62, 1};
    field.stroke = {0.18, 0.62, 0.78, 1};
    field.cornerRadius = 0;
    return appended(scene, std::move(field), "Add Gradient Field");
}

std::optional<Edit> addImageLayers(const TweenScene& scene, const Array<Layer>& layers)
{
    return addCascaded(scene, layers, layers.size() == 1 ? "Add Image" : fmt::format("Add {} Images", layers.size()));
}

std::optional<Edit> addVideoLayers(const TweenScene& scene, const Array<Layer>& layers)
{
    return addCascaded(scene, layers, "Add Video");
}

std::optional<Edit> insertLayer(const TweenScene& scene, Layer::Kind kind, CGPoint at, std::string_view defaultFont,
                                RandomSource& random)
{
    if (kind == Layer::Kind::image || kind == Layer::Kind::video) return std::nullopt;
    Layer layer = newLayer(kind, random);
    layer.name = SharedString(numberedName(capitalizedKind(kind), scene));
    seedInserted(layer, scene, defaultFont);
    placeAround(layer, at);
    return appended(scene, std::move(layer), addName(kind));
}

std::optional<Edit> insertCursorLayer(const TweenScene& scene, CursorVariant variant, CGPoint at, RandomSource& random)
{
    Layer cursor = newLayer(Layer::Kind::cursor, random);
    cursor.cursorVariant = variant;
    cursor.name = SharedString(*derivedLayerName(cursor));
    cursor.size = {32, 32};
    placeAround(cursor, at);
    return appended(scene, std::move(cursor), "Add Cursor");
}

} // namespace larkspool
