#include "evaluation/span_effects.h"

#include "evaluation/interpolation.h"
#include "evaluation_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace larkspool {

namespace {

using Kind = SpanEffect::Kind;
using Property = Keyframe::AnimatableProperty;

SpanEffect effect(Kind kind, double duration = 1, bool reversed = false)
{
    return {.kind = kind, .duration = duration, .reversed = reversed};
}

Layer withSpans(std::vector<TimeSpan> spans, Layer::Kind kind = Layer::Kind::rectangle)
{
    Layer layer = layerAt({100, 200}, {60, 80}, kind);
    layer.spans = std::move(spans);
    return layer;
}

Layer effectedAt(const Layer& layer, double time)
{
    return applySpanEffects(Interpolation::resolve(layer, time), layer, time);
}

/// The layer after one effect on a span from 10 to 20.
Layer effectedBy(const SpanEffect& effect, double time, Layer::Kind kind = Layer::Kind::rectangle)
{
    return effectedAt(withSpans({span(10, 20, {effect})}, kind), time);
}

std::optional<std::size_t> charactersAt(const std::string& text, std::vector<SpanEffect> effects, double time)
{
    Layer layer = withSpans({span(10, 20, std::move(effects))}, Layer::Kind::text);
    layer.text = text;
    return effectedAt(layer, time).textTypeOnVisible;
}

} // namespace

TEST(Visibility, ALayerShowsInsideItsSpansBothEndsIncluded)
{
    const struct Case {
        std::vector<TimeSpan> spans;
        double time;
        bool shows;
        const char* why;
    } cases[] = {
        {{}, 99, true, "no spans: always"},
        {{span(1, 2)}, 1, true, "at the start"},
        {{span(1, 2)}, 2, true, "at the end"},
        {{span(1, 2)}, 0.999, false, "before"},
        {{span(1, 2)}, 2.001, false, "after"},
        {{span(1, 2), span(4, 5)}, 3, false, "between two"},
        {{span(4, 5), span(1, 2)}, 1.5, true, "in the second of the list"},
        {{span(2, 1)}, 1.5, false, "a span that ends before it starts holds nothing"},
        {{span(2, 2)}, 2, true, "a span without length holds its instant"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(isVisible(withSpans(c.spans), c.time), c.shows);
    }
}

TEST(Visibility, AHiddenLayerIsForTheCallerToSkip)
{
    Layer layer;
    layer.isHidden = true;
    EXPECT_TRUE(isVisible(layer, 0));
}

TEST(Visibility, AVideoShowsInsideItsClipAndItsSpans)
{
    const struct Case {
        double clipStart, clipEnd;
        std::vector<TimeSpan> spans;
        double time;
        bool shows;
        const char* why;
    } cases[] = {
        {1, 3, {}, 1, true, "at the clip's start"},
        {1, 3, {}, 3, true, "at the clip's end"},
        {1, 3, {}, 3.1, false, "after the clip"},
        {2, 2, {}, 2, false, "a clip without length"},
        {3, 1, {}, 2, false, "a clip that ends before it starts"},
        {1, 3, {span(0, 9)}, 4, false, "in a span but outside the clip"},
        {1, 3, {span(2, 9)}, 1.5, false, "in the clip but outside the spans"},
        {1, 3, {span(2, 9)}, 2.5, true, "in both"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        Layer layer = withSpans(c.spans, Layer::Kind::video);
        layer.videoClip.sceneStart = c.clipStart;
        layer.videoClip.sceneEnd = c.clipEnd;
        EXPECT_EQ(isVisible(layer, c.time), c.shows);

        layer.kind = Layer::Kind::image;
        EXPECT_EQ(isVisible(layer, c.time), c.spans.empty() || c.spans[0].contains(c.time)) << "other kinds have no clip";
    }
}

TEST(Wait, APropertyWaitsBetweenTwoOfItsKeyframes)
{
    const Easing linear = Easing::linear();
    const struct Case {
        std::vector<Keyframe> keyframes;
        double time;
        bool waits;
        const char* why;
    } cases[] = {
        {{}, 0, false, "no keyframes"},
        {{key(Property::x, 1, 0.0, linear, 5)}, 2, false, "one keyframe cannot wait"},
        {{key(Property::x, 1, 0.0, linear, 0.5), key(Property::x, 2, 1.0)}, 0.9, false, "before"},
        {{key(Property::x, 1, 0.0, linear, 0.5), key(Property::x, 2, 1.0)}, 1, true, "at its start"},
        {{key(Property::x, 1, 0.0, linear, 0.5), key(Property::x, 2, 1.0)}, 1.5, true, "at its end"},
        {{key(Property::x, 1, 0.0, linear, 0.5), key(Property::x, 2, 1.0)}, 1.6, false, "in the move"},
        {{key(Property::x, 1, 0.0, linear, 9), key(Property::x, 2, 1.0)}, 2, true, "a wait is cut at the next keyframe"},
        {{key(Property::x, 1, 0.0, linear, 9), key(Property::x, 2, 1.0)}, 2.1, false, "and not beyond it"},
        {{key(Property::x, 2, 1.0), key(Property::x, 1, 0.0, linear, 0.5)}, 1.2, true, "in any order in the array"},
        {{key(Property::x, 1, 0.0), key(Property::x, 2, 1.0)}, 1, false, "no wait at all"},
        {{key(Property::x, 1, 0.0, linear, -1), key(Property::x, 2, 1.0)}, 1, false, "a negative wait is none"},
        {{key(Property::x, 1, 0.0, linear, 5), key(Property::y, 2, 1.0)}, 1.5, false, "the next is of another property"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        Layer layer;
        layer.keyframes = c.keyframes;
        EXPECT_EQ(isInWait(layer, c.time), c.waits);
    }
}

TEST(Wait, OnlyTheNamedPropertiesCount)
{
    Layer layer;
    layer.keyframes = {key(Property::y, 3, 0.0), key(Property::x, 1, 0.0, Easing::linear(), 0.5), key(Property::x, 2, 1.0),
                       key(Property::y, 0, 0.0)};
    const Property x[] = {Property::x}, y[] = {Property::y}, both[] = {Property::y, Property::x};
    EXPECT_TRUE(isInWait(layer, 1.2, x));
    EXPECT_FALSE(isInWait(layer, 1.2, y));
    EXPECT_TRUE(isInWait(layer, 1.2, both));
    EXPECT_FALSE(isInWait(layer, 1.2, std::span<const Property>{}));
}

TEST(Wait, TimesThatAreNoNumbersDoNoHarm)
{
    Layer layer;
    for (int i = 0; i < 40; ++i)
        layer.keyframes.append(key(Property::x, i % 3 ? std::nan("") : 40 - i, 0.0, Easing::linear(), 100));
    EXPECT_FALSE(isInWait(layer, 0)) << "the first keyframe with a time is at 1";
    EXPECT_TRUE(isInWait(layer, 2));
}

TEST(SpanEffects, EachKindActsAtItsStartMiddleAndEnd)
{
    // The span is 10...20 and the effects last 1 s. At p = 0.5 the ease-out is 1 - 0.5 * 0.5 = 0.75, and what a slide has yet
    // to go is a quarter of its size plus 40: of 60 + 40 it is 25, of 80 + 40 it is 30.
    const struct Case {
        Kind kind;
        double time, opacity, x, y, scale;
    } cases[] = {
        {Kind::fadeIn, 10, 0, 100, 200, 1},          {Kind::fadeIn, 10.5, 0.75, 100, 200, 1},
        {Kind::fadeIn, 11, 1, 100, 200, 1},          {Kind::fadeIn, 15, 1, 100, 200, 1},
        {Kind::fadeOut, 15, 1, 100, 200, 1},         {Kind::fadeOut, 19.5, 0.75, 100, 200, 1},
        {Kind::fadeOut, 20, 0, 100, 200, 1},         {Kind::popIn, 10, 1, 100, 200, 0},
        {Kind::popIn, 10.5, 1, 100, 200, 1.0876975}, // 1 + 0.25 * (-1.35079 + 1.70158)
        {Kind::popIn, 11, 1, 100, 200, 1},           {Kind::popOut, 19.1, 1, 100, 200, 1.01431422}, // 1 + 0.01 * 1.431422
        {Kind::popOut, 20, 1, 100, 200, 0},          {Kind::bounceIn, 10, 1, 100, 200, 0},
        {Kind::bounceIn, 10.5, 1, 100, 200, 0.765625}, // q = 0.5 - 6/11 = -1/22: 7.5625 / 484 + 0.75
        {Kind::bounceIn, 11, 1, 100, 200, 1},        {Kind::bounceOut, 20, 1, 100, 200, 0},
        {Kind::slideInLeft, 10, 0, 0, 200, 1},       {Kind::slideInLeft, 10.5, 0.75, 75, 200, 1},
        {Kind::slideInLeft, 11, 1, 100, 200, 1},     {Kind::slideInRight, 10.5, 0.75, 125, 200, 1},
        {Kind::slideInTop, 10.5, 0.75, 100, 170, 1}, {Kind::slideInBottom, 10.5, 0.75, 100, 230, 1},
        {Kind::slideOutLeft, 19.5, 0.75, 75, 200, 1},   {Kind::slideOutRight, 19.5, 0.75, 125, 200, 1},
        {Kind::slideOutTop, 19.5, 0.75, 100, 170, 1},   {Kind::slideOutBottom, 19.5, 0.75, 100, 230, 1},
        {Kind::slideOutBottom, 20, 0, 100, 320, 1},     {Kind::blinkingCursorStart, 10, 1, 100, 200, 1},
        {Kind::blinkingCursorEnd, 20, 1, 100, 200, 1},  {Kind::typeOn, 10, 1, 100, 200, 1},
        {Kind::drawOn, 10, 1, 100, 200, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(fileValue(c.kind)) + " at " + std::to_string(c.time));
        const Layer layer = effectedBy(effect(c.kind), c.time);
        EXPECT_NEAR(layer.opacity, c.opacity, 1e-9);
        EXPECT_NEAR(layer.transform.x, c.x, 1e-9);
        EXPECT_NEAR(layer.transform.y, c.y, 1e-9);
        EXPECT_NEAR(layer.transform.scaleX, c.scale, 1e-9);
        EXPECT_NEAR(layer.transform.scaleY, c.scale, 1e-9);
        EXPECT_EQ(layer.size, (CGSize{60, 80}));
        EXPECT_EQ(layer.lineDrawProgress, 1);
        EXPECT_FALSE(layer.textTypeOnVisible);
    }
}

TEST(SpanEffects, ABounceHasFourArcs)
{
    const struct Case {
        double p, value;
        const char* arc;
    } cases[] = {
        {0.2, 0.3025, "7.5625 * 0.04"},
        {6.0 / 11, 0.75, "the lowest point of the second"},
        {9.0 / 11, 0.9375, "of the third"},
        {10.5 / 11, 0.984375, "of the fourth"},
        {1, 1, "at rest: 7.5625 / 484 + 0.984375"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arc);
        EXPECT_NEAR(effectedBy(effect(Kind::bounceIn, 10), 10 + 10 * c.p).transform.scaleX, c.value, 1e-12);
    }
    EXPECT_EQ(effectedBy(effect(Kind::bounceIn), 15).transform.scaleX, 1);
}

TEST(SpanEffects, AnEffectWithoutDurationSnapsWithinAMillisecond)
{
    EXPECT_EQ(effectedBy(effect(Kind::fadeIn, 0), 10).opacity, 0);
    EXPECT_NEAR(effectedBy(effect(Kind::fadeIn, 0), 10.0005).opacity, 0.75, 1e-6);
    EXPECT_EQ(effectedBy(effect(Kind::fadeIn, 0), 10.002).opacity, 1);
    EXPECT_EQ(effectedBy(effect(Kind::fadeIn, -5), 10.002).opacity, 1);
}

TEST(SpanEffects, TheyChangeTheResolvedValues)
{
    Layer layer = withSpans({span(0, 10, {effect(Kind::fadeIn, 2), effect(Kind::slideInLeft, 2)})});
    layer.keyframes = {key(Property::opacity, 0, 0.8), key(Property::x, 0, 500.0), key(Property::width, 0, 160.0)};
    const Layer result = effectedAt(layer, 1);
    EXPECT_DOUBLE_EQ(result.opacity, 0.8 * 0.75 * 0.75);
    EXPECT_DOUBLE_EQ(result.transform.x, 500 - 0.25 * 200);
}

TEST(SpanEffects, EffectsOfOneSpanCombine)
{
    const Layer result = effectedAt(withSpans({span(10, 20, {effect(Kind::slideInLeft), effect(Kind::slideInTop),
                                                            effect(Kind::popIn), effect(Kind::bounceIn)})}),
                                    10.5);
    EXPECT_DOUBLE_EQ(result.opacity, 0.75 * 0.75);
    EXPECT_DOUBLE_EQ(result.transform.x, 75);
    EXPECT_DOUBLE_EQ(result.transform.y, 170);
    EXPECT_NEAR(result.transform.scaleX, 1.0876975 * 0.765625, 1e-12);
}

TEST(SpanEffects, OfOverlappingSpansTheFirstInTheListGoverns)
{
    const Layer layer = withSpans({span(5, 20), span(0, 20, {effect(Kind::fadeIn, 20)})});
    EXPECT_EQ(effectedAt(layer, 10).opacity, 1) << "the first has no effects";
    EXPECT_DOUBLE_EQ(effectedAt(layer, 4).opacity, 0.36) << "1 - 0.8 * 0.8 of the second";
}

TEST(SpanEffects, OutsideAllSpansNothingIsTouched)
{
    Layer layer = withSpans({span(10, 20, {effect(Kind::fadeIn)})}, Layer::Kind::text);
    layer.textCursorBlinks = true;
    EXPECT_EQ(effectedAt(layer, 9), layer);
    EXPECT_EQ(effectedAt(layer, 21), layer);
    layer.spans = {};
    EXPECT_EQ(effectedAt(layer, 15), layer) << "no caret without spans";
}

TEST(TypeOn, TheCountGrowsEvenlyAndRoundsHalvesUp)
{
    const struct Case {
        const char* text;
        std::vector<SpanEffect> effects;
        double time;
        std::optional<std::size_t> count;
        const char* why;
    } cases[] = {
        {"Hello", {}, 10.5, std::nullopt, "no type effect shows the whole text"},
        {"Hello", {effect(Kind::typeOn)}, 10, 0, "at the start"},
        {"Hello", {effect(Kind::typeOn)}, 10.5, 3, "2.5 rounds to 3"},
        {"Hello", {effect(Kind::typeOn)}, 10.25, 1, "1.25 rounds to 1"},
        {"Hello", {effect(Kind::typeOn)}, 15, 5, "when done"},
        {"Hello", {effect(Kind::deleteOff)}, 20, 0, "deleted at the end"},
        {"Hello", {effect(Kind::deleteOff)}, 19.5, 3, "mirrored in time"},
        {"Hello", {effect(Kind::typeOn, 10), effect(Kind::deleteOff, 10)}, 12, 1, "the lesser of 1 and 4"},
        {"Hello", {effect(Kind::deleteOff, 10), effect(Kind::typeOn, 10)}, 12, 1, "in either order"},
        {"e\u0301\u00e9\U0001F469\u200D\U0001F680", {effect(Kind::typeOn)}, 15, 3, "characters as a person counts them"},
        {"", {effect(Kind::typeOn)}, 10.5, 0, "no text"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(charactersAt(c.text, c.effects, c.time), c.count);
    }
}

TEST(TypeOn, AnyNumberOfEffectsCountsALongTextOnce)
{
    // Counting it for each of them would take minutes.
    Layer layer = withSpans({span(10, 20, std::vector<SpanEffect>(200'000, effect(Kind::typeOn)))}, Layer::Kind::text);
    layer.text = std::string(1'000'000, 'x');
    EXPECT_EQ(effectedAt(layer, 10.5).textTypeOnVisible, 500'000u);
}

TEST(TypeOn, OnlyATextTypes)
{
    EXPECT_FALSE(effectedBy(effect(Kind::typeOn), 10.5, Layer::Kind::line).textTypeOnVisible);
}

TEST(TypeOn, TheCaretIsNotAmongTheCharactersToType)
{
    Layer layer = withSpans({span(10, 20, {effect(Kind::typeOn)})}, Layer::Kind::text);
    layer.text = "Hello";
    layer.textCursorBlinks = true;
    const Layer result = effectedAt(layer, 15);
    EXPECT_EQ(result.text, "Hello|");
    EXPECT_EQ(result.textTypeOnVisible, 5u);
}

TEST(TypeOn, ASpanWithoutBoundsTypesNothingAndDoesNoHarm)
{
    const double infinity = std::numeric_limits<double>::infinity();
    Layer layer = withSpans({span(-infinity, infinity, {effect(Kind::typeOn, infinity)})}, Layer::Kind::text);
    EXPECT_EQ(effectedAt(layer, 1).textTypeOnVisible, 0u);
}

TEST(DrawOn, TheLesserProgressRulesAndBringsItsDirection)
{
    const struct Case {
        std::vector<SpanEffect> effects;
        double time, progress;
        bool reversed;
        const char* why;
    } cases[] = {
        // 1 - sqrt(0.5) of the way eases to 0.5.
        {{effect(Kind::drawOn, 1, true)}, 11 - std::sqrt(0.5), 0.5, true, "half eased, reversed"},
        {{effect(Kind::drawOn, 1, true)}, 15, 1, false, "when done, the direction plays no part"},
        {{effect(Kind::drawOn, 10, true), effect(Kind::eraseOff, 10, false)}, 12, 0.36, true, "drawing is behind"},
        {{effect(Kind::drawOn, 10, true), effect(Kind::eraseOff, 10, false)}, 18, 0.36, false, "erasing is behind"},
        {{effect(Kind::eraseOff, 10, false), effect(Kind::drawOn, 10, true)}, 12, 0.36, true, "in either order"},
        {{effect(Kind::drawOn, 10, true), effect(Kind::eraseOff, 10, false)}, 15, 0.75, true, "equal: the first stays"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        const Layer line = effectedAt(withSpans({span(10, 20, c.effects)}, Layer::Kind::line), c.time);
        EXPECT_NEAR(line.lineDrawProgress, c.progress, 1e-12);
        EXPECT_EQ(line.lineDrawReversed, c.reversed);
    }
}

TEST(Caret, ItBlinksInItsRangesAndKeepsItsPlaceOutside)
{
    const struct Case {
        double time;
        bool visible;
        const char* why;
    } cases[] = {
        {12.1, true, "12.1 is 0.1 into a period"},   // 15 * 0.8 = 12
        {12.39, true, "0.39 into a period"},
        {12.41, false, "0.41 into a period"},
        {12.81, true, "the next period"},
        {11.3, false, "before the range, though 0.1 into a period"},
        {14.5, false, "after the range, though 0.1 into a period"},
    };
    Layer layer = withSpans({span(10, 20)}, Layer::Kind::text);
    layer.spans.edit()[0].cursorBlinkRanges = {{.start = 12, .end = 14}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        const Layer result = effectedAt(layer, c.time);
        EXPECT_EQ(result.text, "Text|");
        EXPECT_EQ(result.textCursorVisible, c.visible);
    }
}

TEST(Caret, BothEndsBelongToARange)
{
    // A period begins at 1.6, so that it could show from there to 2.
    Layer layer = withSpans({span(0, 10)}, Layer::Kind::text);
    layer.spans.edit()[0].cursorBlinkRanges = {{.start = 1.7, .end = 1.9}};
    EXPECT_FALSE(effectedAt(layer, 1.69).textCursorVisible);
    EXPECT_TRUE(effectedAt(layer, 1.7).textCursorVisible);
    EXPECT_TRUE(effectedAt(layer, 1.9).textCursorVisible);
    EXPECT_FALSE(effectedAt(layer, 1.91).textCursorVisible);
}

TEST(Caret, ItGoesByTheExactRemainderOfTheTime)
{
    Layer layer = withSpans({span(0, 10)}, Layer::Kind::text);
    layer.textCursorBlinks = true;
    EXPECT_TRUE(effectedAt(layer, 0).textCursorVisible);
    EXPECT_TRUE(effectedAt(layer, 0.399).textCursorVisible);
    EXPECT_FALSE(effectedAt(layer, 0.4).textCursorVisible);
    EXPECT_TRUE(effectedAt(layer, 1.6).textCursorVisible) << "twice 0.8 is exact";
    EXPECT_FALSE(effectedAt(layer, 2.4).textCursorVisible) << "as stored, 2.4 is a little less than three times 0.8";
}

TEST(Caret, ARangeIsHeldWithinItsSpan)
{
    Layer layer = withSpans({span(10, 20.1)}, Layer::Kind::text);
    layer.spans.edit()[0].cursorBlinkRanges = {{.start = -5, .end = 99}};
    EXPECT_TRUE(effectedAt(layer, 12.1).textCursorVisible);
    layer.spans.edit()[0].cursorBlinkRanges = {{.start = 14, .end = 12}};
    EXPECT_FALSE(effectedAt(layer, 12.9).textCursorVisible) << "a range that ends before it starts holds nothing";
    layer.spans.edit()[0].cursorBlinkRanges = {{.start = 30, .end = 40}};
    EXPECT_TRUE(effectedAt(layer, 20.1).textCursorVisible) << "a range after the span comes to the span's end";
    EXPECT_FALSE(effectedAt(layer, 19.3).textCursorVisible);
}

TEST(Caret, ARangeOfAnySpanKeepsThePlaceInAll)
{
    Layer layer = withSpans({span(0, 5), span(10, 20)}, Layer::Kind::text);
    layer.spans.edit()[1].cursorBlinkRanges = {{.start = 12, .end = 14}};
    const Layer result = effectedAt(layer, 0.1);
    EXPECT_EQ(result.text, "Text|");
    EXPECT_FALSE(result.textCursorVisible);
}

TEST(Caret, ATextThatAlwaysBlinksNeedsNoRange)
{
    Layer layer = withSpans({span(10, 20)}, Layer::Kind::text);
    layer.textCursorBlinks = true;
    EXPECT_TRUE(effectedAt(layer, 12.1).textCursorVisible);
    EXPECT_FALSE(effectedAt(layer, 12.5).textCursorVisible);
}

TEST(Caret, NeitherOtherTextsNorOtherKindsHaveOne)
{
    Layer layer = withSpans({span(10, 20)}, Layer::Kind::text);
    EXPECT_EQ(effectedAt(layer, 12.1), layer);
    layer.textCursorBlinks = true;
    layer.kind = Layer::Kind::rectangle;
    EXPECT_EQ(effectedAt(layer, 12.1), layer);
}

TEST(ZoomTransitions, ZoomMovesFadeFadesAndNoneDoesNeither)
{
    const struct Case {
        double progress, eased;
    } cases[] = {{0, 0}, {0.25, 0.125}, {0.5, 0.5}, {0.75, 0.875}, {1, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.progress);
        EXPECT_DOUBLE_EQ(transformProgress(ZoomTransition::zoom, c.progress), c.eased);
        EXPECT_EQ(transformProgress(ZoomTransition::fade, c.progress), 1);
        EXPECT_EQ(transformProgress(ZoomTransition::none, c.progress), 1);
        EXPECT_DOUBLE_EQ(alphaFactor(ZoomTransition::fade, c.progress), c.eased);
        EXPECT_EQ(alphaFactor(ZoomTransition::zoom, c.progress), 1);
        EXPECT_EQ(alphaFactor(ZoomTransition::none, c.progress), 1);
    }
}

} // namespace larkspool
