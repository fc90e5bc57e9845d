#include "bench_scenes.h"

#include "foundation/random_source.h"

#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

constexpr CGSize pictureSize{1920, 1080};
constexpr double documentSeconds = 5;

/// SplitMix64 from a seed that the document's name gives, so that each run makes the same document.
class NamedRandom final : public RandomSource {
public:
    explicit NamedRandom(std::string_view name)
    {
        for (const char letter : name) state_ = (state_ ^ static_cast<unsigned char>(letter)) * 0x100000001B3u;
    }

    std::uint64_t next() override
    {
        state_ += 0x9E3779B97F4A7C15u;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

private:
    std::uint64_t state_ = 0xCBF29CE484222325u;
};

double roundedTo(double value, double steps)
{
    return std::round(value * steps) / steps;
}

/// Seconds without the noise of repeated additions.
double seconds(double value)
{
    return roundedTo(value, 1e6);
}

/// Makes the records of one document.
class Maker {
public:
    explicit Maker(std::string_view name) : random_(name) {}

    UUID id() { return UUID::random(random_); }

    /// A whole number from `lowest` to `highest`, both included.
    int whole(int lowest, int highest)
    {
        return lowest + static_cast<int>(random_.next() % static_cast<std::uint64_t>(highest - lowest + 1));
    }

    template <typename T, std::size_t count>
    const T& oneOf(const T (&choices)[count])
    {
        return choices[random_.next() % count];
    }

    /// 0 to 1, in thousandths.
    double fraction() { return whole(0, 1000) / 1000.0; }

    Layer layer(Layer::Kind kind, std::string_view name, CGPoint position, CGSize size)
    {
        Layer layer{.id = id(), .name = name, .kind = kind};
        layer.transform.x = position.x;
        layer.transform.y = position.y;
        layer.size = size;
        layer.videoClip.id = id();
        layer.nameFollowsCursorVariant = false;
        layer.nameFollowsText = false;
        layer.nameFollowsLineShape = false;
        layer.nameFollowsShape = false;
        return layer;
    }

    /// Its box is set by hand, so that it does not depend on the machine's fonts.
    Layer text(const std::string& text, CGPoint position, CGSize size, double fontSize, ColorRGBA ink)
    {
        Layer made = layer(Layer::Kind::text, text.substr(0, text.find('\n')), position, size);
        made.text = text;
        made.fontName = "Inter";
        made.fontSize = fontSize;
        made.textColor = ink;
        made.fill = ColorRGBA::clear;
        made.textAutoFit = false;
        made.textUserResized = true;
        made.textAlignment = TextAlignment::left;
        return made;
    }

    Keyframe key(Property property, double time, KeyValue value, Easing easing = Easing::easeInOut())
    {
        return {.id = id(), .property = property, .time = seconds(time), .value = std::move(value), .easing = easing};
    }

    TimeSpan span(double start, double end, std::initializer_list<std::pair<SpanEffect::Kind, double>> effects = {})
    {
        TimeSpan made{.id = id(), .start = seconds(start), .end = seconds(end)};
        for (const auto& [kind, duration] : effects) made.effects.append({.id = id(), .kind = kind, .duration = duration});
        return made;
    }

    Pulse pulse(double time, PulseEffects effects) { return {.id = id(), .time = seconds(time), .effects = effects}; }

    TweenScene scene(std::string_view name, std::vector<Layer> layers, double duration = documentSeconds)
    {
        return {.id = id(),
                .name = name,
                .width = pictureSize.width,
                .height = pictureSize.height,
                .duration = duration,
                .background = {0.933, 0.941, 0.953, 1},
                .layers = std::move(layers)};
    }

private:
    NamedRandom random_;
};

TweenDocument documentOf(Array<TweenScene> scenes)
{
    return {.scenes = std::move(scenes)};
}

constexpr ColorRGBA ink{0.12, 0.14, 0.19, 1};
constexpr ColorRGBA pills[] = {{0.20, 0.50, 1.00, 1}, {0.13, 0.72, 0.46, 1}, {0.96, 0.62, 0.14, 1},
                               {0.90, 0.28, 0.42, 1}, {0.55, 0.36, 0.96, 1}, {0.10, 0.68, 0.78, 1}};
constexpr int cardCount = 24;

struct CardPlan {
    bool moves = true;
    double stagger = 0.08;          ///< Seconds between the starts of two cards.
    double travel = 2;              ///< Seconds that a card moves.
    double end = documentSeconds;   ///< When its span ends.
    int order = 0;                  ///< Varies where cards come from, and their colours.
};

CGPoint cardPlace(int index)
{
    return {55.0 + 310 * (index % 6), 60.0 + 245 * (index / 6)};
}

/// Where card `index` comes from.
CGPoint cardStart(int index, int order)
{
    const int varied = index + order;
    const CGPoint place = cardPlace(index);
    return {place.x + (varied * 37 % 10 - 4.5) * 44, place.y + (varied * 53 % 8 - 3.5) * 44};
}

Layer card(Maker& maker, int index, const CardPlan& plan)
{
    static constexpr const char* titles[] = {"Overview", "Messages", "Invoices", "Schedule", "Analytics", "Settings"};
    const int look = (index + plan.order) % 6;

    Layer box = maker.layer(Layer::Kind::rectangle, "Card", {0, 0}, {260, 150});
    box.cornerRadius = 18;
    box.fill = ColorRGBA::white;
    box.stroke = {0.85, 0.87, 0.90, 1};
    box.strokeWidth = 1.5;
    box.shadow = ShadowPreset::medium;
    Layer title = maker.text(fmt::format("{} {:02}", titles[look], index + 1), {20, 18}, {220, 36}, 22, ink);
    title.nameFollowsText = true;
    Layer pill = maker.layer(Layer::Kind::rectangle, "Pill", {20, 104}, {92, 26});
    pill.cornerRadius = 13;
    pill.fill = pills[look];

    const CGPoint place = cardPlace(index);
    Layer group = maker.layer(Layer::Kind::group, fmt::format("Card {}", index + 1), place, {260, 150});
    group.children = {box, title, pill};
    if (!plan.moves) return group;

    const double begin = plan.stagger * index;
    const CGPoint from = cardStart(index, plan.order);
    group.keyframes = {maker.key(Property::x, begin, from.x), maker.key(Property::x, begin + plan.travel, place.x),
                       maker.key(Property::y, begin, from.y), maker.key(Property::y, begin + plan.travel, place.y)};
    group.spans = {maker.span(begin, plan.end, {{SpanEffect::Kind::fadeIn, 0.4}, {SpanEffect::Kind::popIn, 0.5}})};
    return group;
}

std::vector<Layer> cards(Maker& maker, const CardPlan& plan)
{
    std::vector<Layer> made;
    for (int i = 0; i < cardCount; ++i) made.push_back(card(maker, i, plan));
    return made;
}

struct Stop {
    double time;
    CGPoint place;
};
constexpr std::array<Stop, 5> arrowStops = {
    {{0, {80, 900}}, {1.25, {560, 240}}, {2.5, {960, 760}}, {3.75, {1400, 300}}, {5, {1800, 880}}}};

/// The arrow's way. `pace` stretches its time.
Array<Keyframe> arrowKeys(Maker& maker, double pace)
{
    Array<Keyframe> keys;
    for (const Stop& stop : arrowStops) keys.append(maker.key(Property::x, stop.time * pace, stop.place.x));
    for (const Stop& stop : arrowStops) keys.append(maker.key(Property::y, stop.time * pace, stop.place.y));
    return keys;
}

Layer restingArrow(Maker& maker, const Stop& stop)
{
    Layer arrow = maker.layer(Layer::Kind::path, "Arrow", stop.place, {21.5, 34.5});
    arrow.path = {MoveTo{{0, 0}},     LineTo{{0, 30}},    LineTo{{7.5, 23.5}},  LineTo{{12.5, 34.5}},
                  LineTo{{17, 32.5}}, LineTo{{12, 21.8}}, LineTo{{21.5, 21.8}}, ClosePath{}};
    arrow.fill = {0.05, 0.05, 0.07, 1};
    arrow.stroke = ColorRGBA::white;
    arrow.strokeWidth = 2;
    arrow.strokeOutside = true;
    return arrow;
}

Layer movingArrow(Maker& maker, double pace = 1)
{
    Layer arrow = restingArrow(maker, arrowStops.front());
    arrow.keyframes = arrowKeys(maker, pace);
    return arrow;
}

std::vector<Layer> cardsAndArrow(Maker& maker)
{
    std::vector<Layer> layers = cards(maker, {});
    layers.push_back(movingArrow(maker));
    return layers;
}

CGPoint scaled(CGPoint point, double factor)
{
    return {point.x * factor, point.y * factor};
}

PathCommand scaled(const PathCommand& command, double factor)
{
    if (const auto* move = std::get_if<MoveTo>(&command)) return MoveTo{scaled(move->point, factor)};
    if (const auto* line = std::get_if<LineTo>(&command)) return LineTo{scaled(line->point, factor)};
    if (const auto* curve = std::get_if<CurveTo>(&command))
        return CurveTo{scaled(curve->c1, factor), scaled(curve->c2, factor), scaled(curve->end, factor)};
    return command;
}

/// The layer with every length multiplied, those of its children and of its keyframed positions too.
Layer scaled(Layer layer, double factor)
{
    layer.transform.x *= factor;
    layer.transform.y *= factor;
    layer.size = {layer.size.width * factor, layer.size.height * factor};
    layer.cornerRadius *= factor;
    layer.strokeWidth *= factor;
    layer.fontSize *= factor;
    layer.groupGap *= factor;
    for (PathCommand& command : layer.path.edit()) command = scaled(command, factor);
    for (Keyframe& key : layer.keyframes.edit())
        if (key.property == Property::x || key.property == Property::y) key.value = std::get<double>(key.value) * factor;
    for (Layer& child : layer.children.edit()) child = scaled(child, factor);
    return layer;
}

/// Degrees to either side, 45 at least.
double turn(Maker& maker, int most)
{
    const double direction = maker.oneOf({-1.0, 1.0});
    return direction * maker.whole(45, most);
}

Layer drifter(Maker& maker, int index)
{
    static const Easing easings[] = {Easing::easeInOut(), Easing::easeOut(), Easing::linear(), Easing::easeIn()};
    static constexpr double times[] = {0, 2.5, 5};
    const bool isEllipse = index % 2 == 1;
    const CGSize size{static_cast<double>(maker.whole(8, 30)), static_cast<double>(maker.whole(8, 30))};
    std::array<CGPoint, 3> stops;
    for (CGPoint& stop : stops) {
        stop.x = maker.whole(0, static_cast<int>(pictureSize.width - size.width));
        stop.y = maker.whole(0, static_cast<int>(pictureSize.height - size.height));
    }
    const double turns[] = {0, turn(maker, 360), turn(maker, 720)};

    Layer layer = maker.layer(isEllipse ? Layer::Kind::ellipse : Layer::Kind::rectangle,
                              fmt::format("{} {}", isEllipse ? "Ellipse" : "Rectangle", index + 1), stops[0], size);
    if (!isEllipse) layer.cornerRadius = maker.oneOf({0.0, 0.0, 3.0, 6.0});
    layer.fill = {maker.fraction(), maker.fraction(), maker.fraction(), maker.oneOf({1.0, 1.0, 0.7})};
    layer.stroke = {0.1, 0.1, 0.15, 1};
    layer.strokeWidth = maker.oneOf({0.0, 0.0, 1.0});
    for (std::size_t i = 0; i < 3; ++i) layer.keyframes.append(maker.key(Property::x, times[i], stops[i].x, easings[index % 4]));
    for (std::size_t i = 0; i < 3; ++i) layer.keyframes.append(maker.key(Property::y, times[i], stops[i].y, easings[index % 4]));
    for (std::size_t i = 0; i < 3; ++i)
        layer.keyframes.append(maker.key(Property::rotation, times[i], turns[i], easings[index % 4]));
    return layer;
}

std::string phrase(Maker& maker)
{
    static constexpr const char* words[] = {"animate", "every",  "part",   "of",    "your",    "product", "with",  "keyframes",
                                            "spans",   "and",    "pulses", "then",  "share",   "a",       "short", "film",
                                            "of",      "how",    "it",     "feels", "to",      "use",     "it",    "before",
                                            "a",       "single", "line",   "is",    "written", "down",    "for",   "anyone"};
    std::string made = maker.oneOf(words);
    for (int more = maker.whole(2, 3); more > 0; --more) made += std::string(" ") + maker.oneOf(words);
    return made;
}

Layer paragraph(Maker& maker, int index)
{
    static constexpr ColorRGBA inks[] = {ink, {0.16, 0.35, 0.85, 1}, {0.55, 0.14, 0.40, 1}};
    std::string text = phrase(maker);
    for (int more = 1 + index % 2; more > 0; --more) text += "\n" + phrase(maker);

    Layer layer =
        maker.text(text, {20.0 + 316 * (index % 6), 20.0 + 106 * (index / 6)}, {300, 92}, index % 2 ? 20 : 22, inks[index % 3]);
    layer.textAlignment = static_cast<TextAlignment>(index % 3);
    layer.textVerticalAlignment = static_cast<TextVerticalAlignment>(index / 6 % 3);

    const bool leaves = index % 3 == 0;
    TimeSpan span = maker.span(0.03 * index, leaves ? 3.4 + 0.02 * index : documentSeconds,
                               {{SpanEffect::Kind::typeOn, 1.2}, {SpanEffect::Kind::fadeIn, 0.3}});
    if (leaves) span.effects.append({.id = maker.id(), .kind = SpanEffect::Kind::fadeOut, .duration = 0.4});
    if (index % 10 == 9) span.cursorBlinkRanges = {{.id = maker.id(), .start = span.start, .end = span.end}};
    layer.spans = {span};
    return layer;
}

Layer panel(Maker& maker, int index)
{
    static constexpr ColorRGBA fills[] = {pills[0], pills[1], pills[2], pills[3], pills[4], pills[5], ColorRGBA::white};
    const CGPoint place{20.0 + 208 * (index % 8), 30.0 + 190 * (index / 8)};
    const double firstPulse = 0.2 + 0.05 * index;

    Layer layer = maker.layer(Layer::Kind::rectangle, fmt::format("Panel {}", index + 1), place, {420, 260});
    layer.keyframes = {maker.key(Property::x, 0, place.x), maker.key(Property::x, 2.5, place.x + maker.whole(-80, 80)),
                       maker.key(Property::x, 5, place.x)};
    layer.cornerRadius = maker.oneOf({12.0, 20.0, 28.0});
    layer.fill = maker.oneOf(fills);
    layer.stroke = {1, 1, 1, 0.6};
    layer.strokeWidth = 2;
    layer.shadow = ShadowPreset::high;
    layer.pulses = {maker.pulse(firstPulse, {PulseEffect::glow}),
                    maker.pulse(firstPulse + 1.5, {PulseEffect::glow, PulseEffect::scale})};
    return layer;
}

} // namespace

TweenDocument cardsDocument()
{
    Maker maker("cards");
    return documentOf({maker.scene("Cards", cardsAndArrow(maker))});
}

TweenDocument stillDocument()
{
    constexpr double duration = 10;
    Maker maker("still");
    std::vector<Layer> layers = cards(maker, {.moves = false});
    layers.push_back(restingArrow(maker, arrowStops[2]));
    layers[12].spans = {maker.span(4, duration, {{SpanEffect::Kind::fadeIn, 0.5}})};
    return documentOf({maker.scene("Still", std::move(layers), duration)});
}

TweenDocument manyDocument()
{
    Maker maker("many");
    std::vector<Layer> layers;
    for (int i = 0; i < 1000; ++i) layers.push_back(drifter(maker, i));
    return documentOf({maker.scene("Many", std::move(layers))});
}

TweenDocument textDocument()
{
    Maker maker("text");
    std::vector<Layer> layers;
    for (int i = 0; i < 60; ++i) layers.push_back(paragraph(maker, i));
    TweenScene scene = maker.scene("Text", std::move(layers));
    scene.background = ColorRGBA::white;
    return documentOf({scene});
}

TweenDocument shadowsDocument()
{
    Maker maker("shadows");
    std::vector<Layer> layers;
    for (int i = 0; i < 40; ++i) layers.push_back(panel(maker, i));
    return documentOf({maker.scene("Shadows", std::move(layers))});
}

TweenDocument zoomDocument()
{
    Maker maker("zoom");
    std::vector<Layer> layers = cards(maker, {});

    Layer cursor = maker.layer(Layer::Kind::cursor, "Arrow", arrowStops[0].place, {64, 64});
    cursor.fill = ColorRGBA::clear;
    cursor.nameFollowsCursorVariant = true;
    cursor.keyframes = arrowKeys(maker, 1);
    cursor.keyframes.append(maker.key(Property::cursorVariant, 0, CursorVariant::arrow));
    cursor.keyframes.append(maker.key(Property::cursorVariant, 3, CursorVariant::pointer));
    layers.push_back(cursor);

    Layer zoom = maker.layer(Layer::Kind::zoom, "Zoom 1", {480, 230}, {960, 540});
    zoom.fill = ColorRGBA::clear;
    zoom.spans = {maker.span(1, 4)};
    layers.push_back(zoom);
    return documentOf({maker.scene("Zoom", std::move(layers))});
}

TweenDocument fourkDocument()
{
    constexpr double factor = 2;
    Maker maker("fourk");
    std::vector<Layer> layers = cardsAndArrow(maker);
    for (Layer& layer : layers) layer = scaled(layer, factor);
    TweenScene scene = maker.scene("Cards 4K", std::move(layers));
    scene.width *= factor;
    scene.height *= factor;
    return documentOf({scene});
}

TweenDocument multiDocument()
{
    constexpr ColorRGBA shades[] = {{0.933, 0.941, 0.953, 1}, {0.96, 0.95, 0.92, 1}, {0.91, 0.95, 0.92, 1},
                                    {0.90, 0.93, 0.97, 1},    {0.95, 0.92, 0.96, 1}, {0.93, 0.93, 0.93, 1}};
    constexpr SceneTransition::Kind kinds[] = {SceneTransition::Kind::fade, SceneTransition::Kind::slideL,
                                               SceneTransition::Kind::slideR, SceneTransition::Kind::push,
                                               SceneTransition::Kind::zoom};
    constexpr double duration = 2;
    Maker maker("multi");
    Array<TweenScene> scenes;
    for (int i = 0; i < 6; ++i) {
        std::vector<Layer> layers = cards(maker, {.stagger = 0.03, .travel = 0.9, .end = duration, .order = i});
        layers.push_back(movingArrow(maker, duration / documentSeconds));
        TweenScene scene = maker.scene(fmt::format("Step {}", i + 1), std::move(layers), duration);
        scene.background = shades[i];
        if (i == 1 || i == 4) scene.endPause = 0.5;
        if (i < 5) scene.transition = SceneTransition{kinds[i], 0.5};
        scenes.append(scene);
    }
    return documentOf(scenes);
}

std::span<const BenchDocument> benchDocuments()
{
    static constexpr BenchDocument all[] = {
        {"cards", "24 cards that travel, and an arrow", cardsDocument},
        {"still", "the cards at rest for 10 s", stillDocument},
        {"many", "1000 small shapes on their ways", manyDocument},
        {"text", "60 texts that type on", textDocument},
        {"shadows", "40 large panels with shadows and glows", shadowsDocument},
        {"zoom", "the cards under a zoom", zoomDocument},
        {"fourk", "the cards in 3840x2160", fourkDocument},
        {"multi", "six scenes of cards and five transitions", multiDocument},
    };
    return all;
}

} // namespace larkspool
