#include "shell/inspector.h"

#include "canvas/canvas_geometry.h"
#include "canvas/layer_insertion.h"
#include "canvas/layer_names.h"
#include "document/normalisers.h"
#include "editing/keyframe_upsert.h"
#include "editing/scene_lookup.h"
#include "evaluation/interpolation.h"
#include "platform/pixel_buffer.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <unordered_set>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;
using ItemKind = TimelineItemRef::Kind;

constexpr double unchangedWithin = 0.0001;
constexpr double viewportShare = 0.4, viewportMargin = 0.03; ///< Of the scene's sides; of its width.
constexpr std::int64_t highestFps = 240;
constexpr double shortestScene = 0.1, longestScene = 3600; ///< Seconds.

/// A wait tail stands for its keyframe.
TimelineItemRef inspected(const TimelineItemRef& ref)
{
    return ref.kind == ItemKind::waitTail ? TimelineItemRef::keyframe(ref.layerID, ref.itemID) : ref;
}

std::optional<TimelineItemRef> primarySpan(const std::vector<TimelineItemRef>& spans, const std::optional<UUID>& selectedSpanID)
{
    if (spans.size() == 1) return spans.front();
    const auto primary = std::ranges::find_if(spans, [&](const TimelineItemRef& ref) { return ref.itemID == selectedSpanID; });
    return primary == spans.end() ? std::nullopt : std::optional(*primary);
}

template <typename Value>
void assign(Value& field, const KeyValue& value)
{
    if (const Value* fitting = std::get_if<Value>(&value)) field = *fitting;
}

/// Writes the base value of the property; a value of another case than it takes changes nothing.
void assignBaseValue(Layer& layer, Property property, const KeyValue& value)
{
    switch (property) {
    case Property::x: return assign(layer.transform.x, value);
    case Property::y: return assign(layer.transform.y, value);
    case Property::rotation: return assign(layer.transform.rotation, value);
    case Property::scaleX: return assign(layer.transform.scaleX, value);
    case Property::scaleY: return assign(layer.transform.scaleY, value);
    case Property::opacity: return assign(layer.opacity, value);
    case Property::fill: return assign(layer.fill, value);
    case Property::stroke: return assign(layer.stroke, value);
    case Property::strokeWidth: return assign(layer.strokeWidth, value);
    case Property::width: return assign(layer.size.width, value);
    case Property::height: return assign(layer.size.height, value);
    case Property::cornerRadius: return assign(layer.cornerRadius, value);
    case Property::shadow: return assign(layer.shadow, value);
    case Property::cursorVariant: return assign(layer.cursorVariant, value);
    case Property::groupGap: return assign(layer.groupGap, value);
    case Property::fontSize: return assign(layer.fontSize, value);
    case Property::fontName: return assign(layer.fontName, value);
    case Property::textColor: return assign(layer.textColor, value);
    case Property::lineArcBend: return assign(layer.lineArcBend, value);
    case Property::lineWaveFrequency: return assign(layer.lineWaveFrequency, value);
    case Property::lineWaveAmplitude: return assign(layer.lineWaveAmplitude, value);
    }
}

/// Whether the kind's automatic name is made of the property.
bool namesLayer(Layer::Kind kind, Property property)
{
    switch (kind) {
    case Layer::Kind::rectangle:
    case Layer::Kind::ellipse: return property == Property::fill;
    case Layer::Kind::line: return property == Property::stroke;
    case Layer::Kind::cursor: return property == Property::cursorVariant;
    default: return false;
    }
}

void writeAnimatable(Layer& layer, Property property, const KeyValue& value, const KeyframedWriting& how)
{
    if (how.keyframeAtPlayhead && hasKeyframes(layer, property)) {
        upsertKeyframe(layer, property, how.playhead, value, *how.random);
        std::ranges::stable_sort(layer.keyframes.edit(), {}, &Keyframe::time);
    } else {
        assignBaseValue(layer, property, value);
        if (namesLayer(layer.kind, property)) refreshFollowingName(layer);
    }
    // A size that a person has typed is theirs, as one that they have dragged.
    if (layer.kind == Layer::Kind::text && (property == Property::width || property == Property::height))
        layer.textUserResized = true;
    normalizeLineBounds(layer);
}

Property partner(Property property)
{
    switch (property) {
    case Property::width: return Property::height;
    case Property::height: return Property::width;
    case Property::scaleX: return Property::scaleY;
    default: return Property::scaleX;
    }
}

double numberOf(const Layer& layer, Property property)
{
    return std::get<double>(Interpolation::fieldValue(layer, property));
}

bool standsAt(const Keyframe& keyframe, Property property, double time)
{
    return keyframe.property == property && std::abs(keyframe.time - time) < sameKeyframeTime;
}

bool hasKeyframeAt(const Layer& layer, Property property, double time)
{
    return std::ranges::any_of(layer.keyframes, [&](const Keyframe& keyframe) { return standsAt(keyframe, property, time); });
}

std::vector<Inspector::Section> sectionsOf(const Layer& layer)
{
    using enum Inspector::Section;
    const bool isFreeformLine = layer.kind == Layer::Kind::line && layer.lineShape == LineShape::freeform;
    switch (layer.kind) {
    case Layer::Kind::zoom: return {transform, zoom, size, animation};
    case Layer::Kind::group: return {transform, size, layout, appearance, animation};
    case Layer::Kind::line:
        // The box of a freeform line follows its points.
        if (isFreeformLine) return {transform, line, appearance, animation};
        return {transform, size, line, appearance, animation};
    case Layer::Kind::text: return {transform, size, text, appearance, animation};
    case Layer::Kind::cursor: return {transform, size, appearance, animation, cursor};
    default: return {transform, size, appearance, animation};
    }
}

} // namespace

InspectorSubject inspectorSubject(const EditorState& state)
{
    using Kind = InspectorSubject::Kind;
    const TweenScene scene = state.scene();
    std::vector<TimelineItemRef> items;
    for (const TimelineItemRef& ref : state.timelineSelection)
        if (timesOf(scene, ref)) items.push_back(inspected(ref));
    std::ranges::sort(items);
    const auto repeated = std::ranges::unique(items);
    items.erase(repeated.begin(), repeated.end());

    const InspectorSubject ofLayers{state.selectedLayerIDs.empty() ? Kind::scene : Kind::layers};
    if (items.empty()) return ofLayers;
    // Sorted, the kinds are together.
    if (items.front().kind != items.back().kind) return {Kind::severalKinds};
    switch (items.front().kind) {
    case ItemKind::keyframe: return {Kind::keyframes, std::move(items)};
    case ItemKind::span:
        if (const auto primary = primarySpan(items, state.selectedSpanID)) return {Kind::span, {*primary}};
        return ofLayers;
    case ItemKind::videoClip: return items.size() == 1 ? InspectorSubject{Kind::videoClip, std::move(items)} : ofLayers;
    case ItemKind::pulse: return items.size() == 1 ? InspectorSubject{Kind::pulse, std::move(items)} : ofLayers;
    case ItemKind::waitTail: break; // None is left.
    }
    return ofLayers;
}

std::vector<Inspector::Section> Inspector::sections(std::span<const Layer* const> layers)
{
    if (layers.empty()) return {};
    std::vector<Section> shared = sectionsOf(*layers.front());
    for (const Layer* layer : layers.subspan(1)) {
        const std::vector<Section> others = sectionsOf(*layer);
        std::erase_if(shared, [&](Section section) { return std::ranges::find(others, section) == others.end(); });
    }
    return shared;
}

std::string_view Inspector::title(Section section)
{
    constexpr std::array<std::string_view, 9> titles = {"Transform", "Zoom",       "Size",      "Layout", "Line",
                                                        "Text",      "Appearance", "Animation", "Cursor"};
    return titles[static_cast<std::size_t>(section)];
}

bool Inspector::offers(const Layer& layer, Property property)
{
    using enum Layer::Kind;
    const Layer::Kind kind = layer.kind;
    switch (property) {
    case Property::x:
    case Property::y:
    case Property::width:
    case Property::height: return true;
    case Property::rotation:
    case Property::scaleX:
    case Property::scaleY:
    case Property::opacity: return kind != zoom;
    case Property::shadow: return kind != zoom && kind != hotspot;
    case Property::fill:
        return kind == rectangle || kind == ellipse || kind == path || kind == text || kind == gradientField || kind == hotspot;
    case Property::stroke:
    case Property::strokeWidth:
        return kind == rectangle || kind == ellipse || kind == path || kind == text || kind == image || kind == line ||
               kind == video;
    case Property::cornerRadius:
        return kind == rectangle || kind == text || kind == image || kind == video || kind == gradientField;
    case Property::cursorVariant: return kind == cursor;
    case Property::groupGap: return kind == group && layer.groupLayout != GroupLayout::freeform;
    case Property::fontSize:
    case Property::fontName:
    case Property::textColor: return kind == text;
    case Property::lineArcBend: return kind == line && layer.lineShape == LineShape::arc;
    case Property::lineWaveFrequency:
    case Property::lineWaveAmplitude: return kind == line && layer.lineShape == LineShape::wave;
    }
    return false;
}

bool Inspector::offersAll(std::span<const Layer* const> layers, Property property)
{
    return std::ranges::all_of(layers, [property](const Layer* layer) { return offers(*layer, property); });
}

std::string Inspector::actionName(std::string_view edited)
{
    return fmt::format("Edit {}", edited);
}

double Inspector::clampForProperty(std::optional<Property> property, std::string_view label, double value)
{
    const auto atLeastZero = [value] { return std::max(value, 0.0); };
    if (!property) {
        std::string lower(label);
        for (char& letter : lower)
            if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
        const bool isLength = lower.find("size") != std::string::npos || lower.find("gap") != std::string::npos;
        return isLength ? atLeastZero() : value;
    }
    switch (*property) {
    case Property::opacity: return std::clamp(value, 0.0, 1.0);
    case Property::scaleX:
    case Property::scaleY:
    case Property::strokeWidth:
    case Property::width:
    case Property::height:
    case Property::cornerRadius:
    case Property::groupGap:
    case Property::fontSize: return atLeastZero();
    default: return value;
    }
}

bool Inspector::isUnchanged(double current, double typed)
{
    return std::abs(current - typed) <= unchangedWithin;
}

void Inspector::upsertHelper(TweenScene& scene, const LayerIDs& selection, Property property, const KeyValue& value,
                             const KeyframedWriting& how)
{
    editSelected(scene.layers, selection, [&](Layer& layer) { writeAnimatable(layer, property, value, how); });
}

void Inspector::upsertEach(TweenScene& scene, const LayerIDs& selection, Property property,
                           const std::function<KeyValue(const Layer&)>& valueOf, const KeyframedWriting& how)
{
    editSelected(scene.layers, selection, [&](Layer& layer) { writeAnimatable(layer, property, valueOf(layer), how); });
}

void Inspector::upsertInRatio(TweenScene& scene, const TweenScene& before, const LayerIDs& selection, Property property,
                              double value, const KeyframedWriting& how)
{
    editSelected(scene.layers, selection, [&](Layer& layer) {
        const Layer* const old = findLayer(before, layer.id);
        const Interpolation::Placement placed = Interpolation::placement(old ? *old : layer, how.playhead);
        Layer then = layer;
        then.transform = placed.transform;
        then.size = placed.size;
        const double from = numberOf(then, property);
        writeAnimatable(layer, property, value, how);
        if (from > 0) writeAnimatable(layer, partner(property), numberOf(then, partner(property)) * value / from, how);
    });
}

void Inspector::writeToSelected(TweenScene& scene, const LayerIDs& selection, const std::function<void(Layer&)>& write)
{
    editSelected(scene.layers, selection, [&](Layer& layer) {
        write(layer);
        normalizeLineBounds(layer);
    });
}

void Inspector::writeText(TweenScene& scene, const LayerIDs& selection, std::string_view text)
{
    writeToSelected(scene, selection, [&](Layer& layer) {
        if (layer.kind != Layer::Kind::text) return;
        layer.text = text;
        refreshFollowingName(layer);
    });
}

void Inspector::writeLineShape(TweenScene& scene, const LayerIDs& selection, LineShape shape)
{
    writeToSelected(scene, selection, [&](Layer& layer) {
        if (layer.kind != Layer::Kind::line) return;
        layer.lineShape = shape;
        refreshFollowingName(layer);
    });
}

void Inspector::autoRenameShapeLayersOnFillEdit(TweenScene& scene, const LayerIDs& selection)
{
    editSelected(scene.layers, selection, [](Layer& layer) {
        if (namesLayer(layer.kind, Property::fill)) refreshFollowingName(layer);
    });
}

void Inspector::takeBack(TweenScene& scene, const TweenScene& before, const LayerIDs& selection)
{
    editSelected(scene.layers, selection, [&](Layer& layer) {
        if (const Layer* old = findLayer(before, layer.id)) layer = *old;
    });
}

Inspector::Diamond Inspector::diamond(std::span<const Layer> layers, Property property, double playhead)
{
    if (std::ranges::none_of(layers, [&](const Layer& layer) { return hasKeyframes(layer, property); })) return Diamond::none;
    const bool isAtAll =
        std::ranges::all_of(layers, [&](const Layer& layer) { return hasKeyframeAt(layer, property, playhead); });
    return isAtAll ? Diamond::keyframeAtPlayhead : Diamond::animated;
}

CGPoint Inspector::croppedPositionOffset(const Layer& layer)
{
    return layer.cropMode == CropMode::manual ? mediaCropSubRect(layer).origin : CGPoint{};
}

double Inspector::croppedPositionOffset(const Layer& layer, Property property)
{
    if (property != Property::x && property != Property::y) return 0;
    const CGPoint offset = croppedPositionOffset(layer);
    return property == Property::x ? offset.x : offset.y;
}

std::optional<Edit> Inspector::toggleKeyframe(const TweenScene& scene, const LayerIDs& selection, Property property,
                                              double playhead, RandomSource& random)
{
    const std::vector<const Layer*> layers = collectSelectedAnywhere(scene.layers, selection);
    if (layers.empty() || !std::isfinite(playhead)) return std::nullopt;
    const auto isThere = [&](const Layer* layer) { return hasKeyframeAt(*layer, property, playhead); };
    const bool removes = std::ranges::all_of(layers, isThere);

    Edit edit{scene, removes ? "Remove Keyframe" : "Add Keyframe"};
    editSelected(edit.scene.layers, selection, [&](Layer& layer) {
        if (removes) {
            std::erase_if(layer.keyframes.edit(),
                          [&](const Keyframe& keyframe) { return standsAt(keyframe, property, playhead); });
        } else if (!hasKeyframeAt(layer, property, playhead)) {
            const KeyValue value = Interpolation::fieldValue(Interpolation::resolve(layer, playhead), property);
            upsertKeyframe(layer, property, playhead, value, random);
            std::ranges::stable_sort(layer.keyframes.edit(), {}, &Keyframe::time);
        }
    });
    return edit;
}

void Inspector::setZoomType(Layer& zoom, ZoomType type, CGSize sceneSize, RandomSource& random)
{
    zoom.zoomType = type;
    if (type != ZoomType::pictureInPicture || std::ranges::any_of(zoom.children, &Layer::pipRendition)) return;
    const double frameWidth = std::max(zoom.size.width, 1.0), frameHeight = std::max(zoom.size.height, 1.0);
    const double scale = std::min(sceneSize.width / frameWidth, sceneSize.height / frameHeight) * viewportShare;
    const double margin = sceneSize.width * viewportMargin;

    Layer viewport = newLayer(Layer::Kind::rectangle, random);
    viewport.name = SharedString("Viewport");
    viewport.pipRendition = true;
    viewport.size = {frameWidth * scale, frameHeight * scale};
    // A viewport stands in the scene, not in its zoom.
    const bool isRight = zoom.transform.x + frameWidth * 0.5 <= sceneSize.width * 0.5;
    const bool isBelow = zoom.transform.y + frameHeight * 0.5 <= sceneSize.height * 0.5;
    viewport.transform.x = isRight ? sceneSize.width - margin - viewport.size.width : margin;
    viewport.transform.y = isBelow ? sceneSize.height - margin - viewport.size.height : margin;
    viewport.fill = ColorRGBA::white;
    viewport.cornerRadius = margin * 0.5;
    viewport.shadow = ShadowPreset::medium;
    zoom.children.append(std::move(viewport));
}

std::string Inspector::diamondHelp(Diamond diamond, double playhead)
{
    if (diamond == Diamond::keyframeAtPlayhead) return fmt::format("Remove keyframe at {:.2f}s", playhead);
    return fmt::format("Add keyframe at {:.2f}s", playhead);
}

std::optional<double> Inspector::keptSceneWidth(const TweenScene& scene, double typed)
{
    const double width = std::round(typed);
    if (!(width >= 1 && width <= 1e6) || !PixelBuffer::isPossible(std::llround(width), std::llround(scene.height)))
        return std::nullopt;
    return width;
}

std::optional<double> Inspector::keptSceneHeight(const TweenScene& scene, double typed)
{
    const double height = std::round(typed);
    if (!(height >= 1 && height <= 1e6) || !PixelBuffer::isPossible(std::llround(scene.width), std::llround(height)))
        return std::nullopt;
    return height;
}

std::optional<std::int64_t> Inspector::keptFps(double typed)
{
    if (!std::isfinite(typed)) return std::nullopt;
    return std::llround(std::clamp(typed, 1.0, static_cast<double>(highestFps)));
}

std::optional<double> Inspector::keptDuration(double typed)
{
    if (!std::isfinite(typed)) return std::nullopt;
    return std::clamp(typed, shortestScene, longestScene);
}

std::optional<double> Inspector::keptEndPause(double typed)
{
    if (!std::isfinite(typed)) return std::nullopt;
    return std::clamp(typed, 0.0, longestScene);
}

std::optional<Edit> Inspector::applyCanvasPreset(const TweenScene& scene, CGSize size)
{
    if (scene.size() == size) return std::nullopt;
    Edit edit{scene, "Apply Canvas Preset"};
    edit.scene.width = size.width;
    edit.scene.height = size.height;
    return edit;
}

} // namespace larkspool
