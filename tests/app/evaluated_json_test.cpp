#include "app/evaluated_json.h"

#include "foundation/json_tree.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

/// Evaluated JSON, to be walked by "layers/0/transform/x".
class Evaluated {
public:
    Evaluated(const TweenScene& scene, double time) : text_(evaluatedJson(scene, 0, time)), tree_(text_) {}

    JsonValue at(std::string_view path) const
    {
        JsonValue value = tree_.root();
        while (!path.empty()) {
            const std::string_view step = path.substr(0, path.find('/'));
            path.remove_prefix(std::min(path.size(), step.size() + 1));
            value = value.isArray() ? element(value, step[0] - '0') : value.find(step).value();
        }
        return value;
    }

    double number(std::string_view path) const { return at(path).number().value(); }
    std::string string(std::string_view path) const { return std::string(at(path).string().value()); }
    bool boolean(std::string_view path) const { return at(path).boolean().value(); }

private:
    static JsonValue element(const JsonValue& array, int index)
    {
        for (const JsonValue value : array.elements())
            if (index-- == 0) return value;
        throw std::out_of_range("The array is shorter");
    }

    std::string text_;
    JsonTree tree_;
};

TweenScene sceneOf(std::vector<Layer> layers)
{
    TweenScene scene;
    scene.layers = Array<Layer>(std::move(layers));
    return scene;
}

Layer layerOf(Layer::Kind kind, double x, double y, CGSize size)
{
    Layer layer;
    layer.kind = kind;
    layer.transform.x = x;
    layer.transform.y = y;
    layer.size = size;
    return layer;
}

Array<Keyframe> movement(Property property, double from, double to, Easing easing)
{
    return {Keyframe{.property = property, .time = 0, .value = from, .easing = easing},
            Keyframe{.property = property, .time = 1, .value = to}};
}

} // namespace

TEST(EvaluatedJson, TellsAllOfALayer)
{
    Layer layer = layerOf(Layer::Kind::rectangle, 10, 20.5, {100, 50});
    layer.id = UUID::parse("00000000-0000-0000-0000-00000000000a").value();
    layer.name = "A \"card\"\n";
    layer.transform.rotation = 90;
    layer.transform.anchorX = 0;
    layer.fill = {0.1, 0.2, 0.3, 1};
    layer.strokeWidth = 2;
    layer.cornerRadius = 12;
    layer.opacity = 0.75;
    layer.shadow = ShadowPreset::medium;
    layer.fontName = "Inter";
    layer.text = "";

    EXPECT_EQ(evaluatedJson(sceneOf({layer}), 3, 0.1 + 0.2),
              R"({"scene":3,"time":0.30000000000000004,"zoom":null,"layers":[)"
              R"({"id":"00000000-0000-0000-0000-00000000000A","name":"A \"card\"\n","kind":"rectangle","visible":true,)"
              R"("transform":{"x":10,"y":20.5,"rotation":90,"scaleX":1,"scaleY":1,"anchorX":0,"anchorY":0.5},)"
              R"("size":[100,50],"opacity":0.75,"fill":{"r":0.1,"g":0.2,"b":0.3,"a":1},"stroke":{"r":0,"g":0,"b":0,"a":1},)"
              R"("strokeWidth":2,"cornerRadius":12,"shadow":"medium","fontSize":32,"fontName":"Inter",)"
              R"("textColor":{"r":0,"g":0,"b":0,"a":1},"text":"","cursorVariant":"arrow","groupGap":8,"lineArcBend":0.5,)"
              R"("lineWaveFrequency":3,"lineWaveAmplitude":0.6,"lineDrawProgress":1,"lineDrawReversed":false,)"
              R"("textCursorVisible":true,"textTypeOnVisible":null,"pulse":{"scale":1,"glow":0},"children":[]}]})");
}

TEST(EvaluatedJson, KeepsHiddenAndInvisibleLayersInDrawingOrder)
{
    Layer hidden = layerOf(Layer::Kind::rectangle, 0, 0, {1, 1}), gone = hidden, shown = hidden;
    hidden.isHidden = true;
    gone.spans = {TimeSpan{.start = 2, .end = 3}};
    shown.spans = {TimeSpan{.start = 0, .end = 1}};
    const Evaluated evaluated(sceneOf({hidden, gone, shown}), 1);

    ASSERT_EQ(evaluated.at("layers").size(), 3u);
    EXPECT_FALSE(evaluated.boolean("layers/0/visible"));
    EXPECT_FALSE(evaluated.boolean("layers/1/visible"));
    EXPECT_TRUE(evaluated.boolean("layers/2/visible"));
}

TEST(EvaluatedJson, EvaluatesKeyframesAndSpanEffects)
{
    Layer moving = layerOf(Layer::Kind::rectangle, 7, 0, {100, 50});
    moving.keyframes = movement(Property::x, 100, 200, Easing::linear());
    Layer typed = layerOf(Layer::Kind::text, 0, 0, {100, 50});
    typed.text = "12345";
    typed.spans = {TimeSpan{.start = 0, .end = 5, .effects = {SpanEffect{.kind = SpanEffect::Kind::typeOn, .duration = 1}}}};
    const Evaluated evaluated(sceneOf({moving, typed}), 0.5);

    EXPECT_DOUBLE_EQ(evaluated.number("layers/0/transform/x"), 150);
    EXPECT_EQ(evaluated.at("layers/1/textTypeOnVisible").integer(), 3); // round(0.5 * 5), a half away from zero
}

TEST(EvaluatedJson, LaysOutAStackByItsEvaluatedGapAndCountsItsHiddenChildren)
{
    Layer group = layerOf(Layer::Kind::group, 1000, 1000, {0, 0});
    group.groupLayout = GroupLayout::horizontal;
    group.keyframes = movement(Property::groupGap, 0, 20, Easing::linear());
    Layer hidden = layerOf(Layer::Kind::rectangle, 900, 0, {50, 10});
    hidden.isHidden = true;
    group.children = {layerOf(Layer::Kind::rectangle, 20, 5, {100, 10}), hidden, layerOf(Layer::Kind::rectangle, 0, 0, {1, 1})};
    const Evaluated evaluated(sceneOf({group}), 0.5);

    // A gap of 10 by then, from the first child's own place on.
    EXPECT_DOUBLE_EQ(evaluated.number("layers/0/children/0/transform/x"), 20);
    EXPECT_DOUBLE_EQ(evaluated.number("layers/0/children/1/transform/x"), 130);
    EXPECT_DOUBLE_EQ(evaluated.number("layers/0/children/2/transform/x"), 190);
    EXPECT_DOUBLE_EQ(evaluated.number("layers/0/children/2/transform/y"), 5);
    EXPECT_FALSE(evaluated.boolean("layers/0/children/1/visible"));
}

TEST(EvaluatedJson, TellsTheChildrenOfEveryKindAndThoseOfPicturesInPictures)
{
    Layer zoom = layerOf(Layer::Kind::zoom, 0, 0, {100, 50});
    zoom.zoomType = ZoomType::pictureInPicture;
    Layer view = layerOf(Layer::Kind::ellipse, 5, 5, {10, 10});
    view.pipRendition = true;
    zoom.children = {view};
    Layer rectangle = layerOf(Layer::Kind::rectangle, 0, 0, {100, 50});
    rectangle.groupLayout = GroupLayout::horizontal; // Of no account: not a group.
    rectangle.children = {layerOf(Layer::Kind::line, 30, 5, {1, 1}), layerOf(Layer::Kind::line, 40, 5, {1, 1})};
    const Evaluated evaluated(sceneOf({zoom, rectangle}), 0);

    EXPECT_EQ(evaluated.string("layers/0/children/0/kind"), "ellipse");
    EXPECT_DOUBLE_EQ(evaluated.number("layers/1/children/1/transform/x"), 40);
}

TEST(EvaluatedJson, MultipliesThePulseIntoTheScale)
{
    Layer layer = layerOf(Layer::Kind::rectangle, 0, 0, {100, 50});
    layer.transform.scaleX = 2;
    layer.pulses = {Pulse{.time = 1}};
    const Evaluated evaluated(sceneOf({layer}), 1.2);

    // The bottom of the dip, a fifth of a second in.
    EXPECT_NEAR(evaluated.number("layers/0/pulse/scale"), 0.78, 1e-9);
    EXPECT_NEAR(evaluated.number("layers/0/transform/scaleX"), 1.56, 1e-9);
    EXPECT_NEAR(evaluated.number("layers/0/transform/scaleY"), 0.78, 1e-9);
    EXPECT_NEAR(evaluated.number("layers/0/pulse/glow"), 1.4 * std::sin(0.2 * 3.141592653589793), 1e-9);
}

TEST(EvaluatedJson, FindsAHoverByTheAbsolutePlaceOfANestedCursor)
{
    Layer hotspot = layerOf(Layer::Kind::hotspot, 300, 300, {50, 50});
    hotspot.cursorHoverOverride = CursorVariant::pointer;
    Layer outer = layerOf(Layer::Kind::group, 200, 200, {0, 0}), inner = layerOf(Layer::Kind::group, 100, 100, {0, 0});
    inner.children = {layerOf(Layer::Kind::cursor, 10, 10, {20, 20})}; // On the canvas at (310, 310).
    outer.children = {inner};
    const Evaluated evaluated(sceneOf({hotspot, outer, layerOf(Layer::Kind::cursor, 10, 10, {20, 20})}), 0);

    EXPECT_EQ(evaluated.string("layers/1/children/0/children/0/cursorVariant"), "pointer");
    EXPECT_EQ(evaluated.string("layers/2/cursorVariant"), "arrow");
}

TEST(EvaluatedJson, TellsTheZoomOfTheFrame)
{
    Layer zoom = layerOf(Layer::Kind::zoom, 100, 50, {480, 270});
    zoom.spans = {TimeSpan{.start = 1, .end = 3, .zoomStart = ZoomTransition::none, .zoomEnd = ZoomTransition::none}};
    const TweenScene scene = sceneOf({zoom});
    const Evaluated evaluated(scene, 2);

    // A quarter of 1920 x 1080, at full strength.
    EXPECT_EQ(evaluated.string("zoom/layer"), zoom.id.string());
    EXPECT_DOUBLE_EQ(evaluated.number("zoom/k"), 1);
    EXPECT_DOUBLE_EQ(evaluated.number("zoom/scale"), 4);
    EXPECT_DOUBLE_EQ(evaluated.number("zoom/translate/0"), -100);
    EXPECT_DOUBLE_EQ(evaluated.number("zoom/translate/1"), -50);
    EXPECT_TRUE(Evaluated(scene, 3.5).at("zoom").isNull());
}

TEST(EvaluatedJson, SaysNullForWhatIsNotFinite)
{
    Layer overdamped = layerOf(Layer::Kind::rectangle, 0, 0, {100, 50});
    overdamped.keyframes = movement(Property::x, 0, 100, Easing::spring(1, 100));
    Layer huge = layerOf(Layer::Kind::rectangle, std::numeric_limits<double>::infinity(), 0, {100, 50});
    const Evaluated evaluated(sceneOf({overdamped, huge}), 0.5);

    EXPECT_TRUE(evaluated.at("layers/0/transform/x").isNull());
    EXPECT_TRUE(evaluated.at("layers/1/transform/x").isNull());
    EXPECT_EQ(evaluated.number("layers/1/transform/y"), 0);
}

} // namespace larkspool
