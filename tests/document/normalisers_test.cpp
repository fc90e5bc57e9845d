#include "document/normalisers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <vector>

namespace larkspool {
namespace {

using Kind = SpanEffect::Kind;

TEST(SpanEffects, EachAppliesToItsKindsOfLayer)
{
    for (const EnumCase<Kind>& effect : EnumTable<Kind>::cases)
        for (const EnumCase<Layer::Kind>& layer : EnumTable<Layer::Kind>::cases) {
            SCOPED_TRACE(std::string(effect.fileValue) + " to " + std::string(layer.fileValue));
            const bool isTyping = effect.value == Kind::typeOn || effect.value == Kind::deleteOff;
            const bool isDrawing = effect.value == Kind::drawOn || effect.value == Kind::eraseOff;
            const bool isBlinking = effect.value == Kind::blinkingCursorStart || effect.value == Kind::blinkingCursorEnd;
            const bool expected = isTyping    ? layer.value == Layer::Kind::text
                                  : isDrawing ? layer.value == Layer::Kind::line
                                              : !isBlinking;
            EXPECT_EQ(applies(effect.value, layer.value), expected);
        }
}

std::vector<double> durations(const TimeSpan& span)
{
    std::vector<double> list;
    for (const SpanEffect& effect : span.effects) list.push_back(effect.duration);
    return list;
}

TEST(NormalizeSpanEffects, AnEffectLastsNoLongerThanItsSpan)
{
    struct Case { const char* when; double start, end, duration, expected; };
    for (const Case& c : {Case{"shorter than the span", 1, 3, 0.4, 0.4},
                          Case{"as long as the span", 0, 0.5, 0.5, 0.5},
                          Case{"longer than the span", 0, 0.3, 0.4, 0.3},
                          Case{"in a span shorter than the limit", 0, 0.02, 0.4, 0.05},
                          Case{"in a span of no length", 2, 2, 0.4, 0.05},
                          Case{"in a span that ends before it starts", 5, 2, 0.4, 0.05},
                          Case{"short, in a span of no length", 2, 2, 0.01, 0.01},
                          Case{"negative", 0, 1, -1, -1}}) {
        SCOPED_TRACE(c.when);
        Layer layer{.spans = {TimeSpan{.start = c.start, .end = c.end, .effects = {SpanEffect{.duration = c.duration}}}}};
        normalizeSpanEffects(layer);
        EXPECT_NEAR(layer.spans[0].effects[0].duration, c.expected, 1e-15);
    }
}

TEST(NormalizeSpanEffects, EverySpanGoesByItsOwnLength)
{
    const SpanEffect in{.kind = Kind::fadeIn, .duration = 2}, out{.kind = Kind::fadeOut, .duration = 0.75};
    Layer layer{.spans = {TimeSpan{.start = 0, .end = 1, .effects = {in, out}},
                          TimeSpan{.start = 2, .end = 2.5, .effects = {in, out}},
                          TimeSpan{.start = 3, .end = 4}}};
    normalizeSpanEffects(layer);
    EXPECT_THAT(durations(layer.spans[0]), testing::ElementsAre(1, 0.75));
    EXPECT_THAT(durations(layer.spans[1]), testing::ElementsAre(0.5, 0.5));
    EXPECT_TRUE(layer.spans[2].effects.empty());
}

TEST(NormalizeSpanEffects, ALongerSpanDoesNotLengthenItsEffects)
{
    Layer layer{.spans = {TimeSpan{.start = 0, .end = 0.3, .effects = {SpanEffect{}}}}};
    normalizeSpanEffects(layer);
    layer.spans.edit()[0].end = 10;
    normalizeSpanEffects(layer);
    EXPECT_EQ(layer.spans[0].effects[0].duration, 0.3);
}

TEST(NormalizeSpanEffects, ALayerInOrderStaysSharedWithItsCopy)
{
    const Layer original{.spans = {TimeSpan{.start = 0, .end = 1, .effects = {SpanEffect{}}}}};
    Layer copy = original;
    normalizeSpanEffects(copy);
    EXPECT_TRUE(copy.spans.sharesStorageWith(original.spans));
}

TEST(AddSpanEffect, AppendsAFreshEffectAndNormalisesIt)
{
    Layer layer{.spans = {TimeSpan{.start = 0, .end = 9},
                          TimeSpan{.start = 0, .end = 0.3, .effects = {SpanEffect{.kind = Kind::popIn}}}}};
    ASSERT_TRUE(addSpanEffect(layer, layer.spans[1].id, Kind::fadeOut));

    EXPECT_TRUE(layer.spans[0].effects.empty());
    ASSERT_EQ(layer.spans[1].effects.size(), 2u);
    const SpanEffect &first = layer.spans[1].effects[0], &added = layer.spans[1].effects[1];
    EXPECT_EQ(first.duration, 0.3);
    EXPECT_EQ(added.kind, Kind::fadeOut);
    EXPECT_EQ(added.duration, 0.3);
    EXPECT_FALSE(added.reversed);
    EXPECT_NE(added.id, first.id);

    ASSERT_TRUE(addSpanEffect(layer, layer.spans[0].id, Kind::fadeOut));
    EXPECT_EQ(layer.spans[0].effects[0].duration, 0.4);
}

TEST(AddSpanEffect, IsRefusedWhereItDoesNotBelong)
{
    const UUID span = UUID::random();
    const SpanEffect fade{.kind = Kind::fadeIn, .duration = 2};
    const Layer rectangle{.spans = {TimeSpan{.id = span, .end = 0.3, .effects = {fade}}}};
    struct Case { const char* why; UUID span; Kind kind; };
    for (const Case& c : {Case{"the span has one", span, Kind::fadeIn}, Case{"for texts only", span, Kind::typeOn},
                          Case{"for lines only", span, Kind::drawOn}, Case{"of old files", span, Kind::blinkingCursorStart},
                          Case{"no such span", UUID::random(), Kind::popIn}}) {
        SCOPED_TRACE(c.why);
        Layer layer = rectangle;
        EXPECT_FALSE(addSpanEffect(layer, c.span, c.kind));
        EXPECT_EQ(layer, rectangle);
    }
}

Layer lineThrough(Array<CGPoint> points, double strokeWidth = 2)
{
    Layer line{.kind = Layer::Kind::line, .strokeWidth = strokeWidth};
    line.linePoints = std::move(points);
    return line;
}

CGPoint corner(const Layer& layer)
{
    return {layer.transform.x, layer.transform.y};
}

TEST(NormalizeLineBounds, AStraightLineIsBoundByHalfItsStroke)
{
    Layer line = lineThrough({{10, 10}, {110, 10}});
    normalizeLineBounds(line);
    EXPECT_EQ(corner(line), (CGPoint{9, 9}));
    EXPECT_EQ(line.linePoints, (Array<CGPoint>{{1, 1}, {101, 1}}));
    EXPECT_EQ(line.size, (CGSize{102, 2}));
}

TEST(NormalizeLineBounds, TheBoxMovesFromWhereItStands)
{
    Layer line = lineThrough({{-20, 5}, {30, -15}}, 4);
    line.transform.x = 100;
    line.transform.y = 200;
    normalizeLineBounds(line);
    EXPECT_EQ(corner(line), (CGPoint{78, 183}));
    EXPECT_EQ(line.linePoints, (Array<CGPoint>{{2, 22}, {52, 2}}));
    EXPECT_EQ(line.size, (CGSize{54, 24}));
}

TEST(NormalizeLineBounds, ThePaddingGoesByTheStrokeAndTheArrows)
{
    struct Case { const char* line; double strokeWidth; bool arrowStart, arrowEnd; double pad; };
    for (const Case& c : {Case{"no stroke", 0, false, false, 0.25}, Case{"a hair", 0.4, false, false, 0.25},
                          Case{"just wide enough", 0.5, false, false, 0.25},
                          Case{"a little wider", 0.5625, false, false, 0.28125}, Case{"wider", 3, false, false, 1.5},
                          Case{"arrow at the start, smallest head", 1, true, false, 3.5},
                          Case{"arrow at the end, smallest head", 1, false, true, 3.5},
                          Case{"arrows at both ends, a head of 14", 4, true, true, 9},
                          Case{"arrow without a stroke", 0, false, true, 3.25}}) {
        SCOPED_TRACE(c.line);
        Layer line = lineThrough({{50, 60}, {80, 100}}, c.strokeWidth);
        line.lineArrowStart = c.arrowStart;
        line.lineArrowEnd = c.arrowEnd;
        normalizeLineBounds(line);
        EXPECT_EQ(line.linePoints[0], (CGPoint{c.pad, c.pad}));
        EXPECT_EQ(corner(line), (CGPoint{50 - c.pad, 60 - c.pad}));
        EXPECT_EQ(line.size, (CGSize{30 + 2 * c.pad, 40 + 2 * c.pad}));
    }
}

TEST(NormalizeLineBounds, IdenticalPointsStillGetABoxOfOneByOne)
{
    Layer line = lineThrough({{5, 7}, {5, 7}}, 0);
    normalizeLineBounds(line);
    EXPECT_EQ(line.size, (CGSize{1, 1}));
    EXPECT_EQ(line.linePoints, (Array<CGPoint>{{0.25, 0.25}, {0.25, 0.25}}));
    EXPECT_EQ(corner(line), (CGPoint{4.75, 6.75}));
}

TEST(NormalizeLineBounds, ALineInPlaceGetsItsSizeAlone)
{
    const Array<CGPoint> points{{1, 1}, {21, 11}};
    Layer line = lineThrough(points);
    line.size = {500, 500};
    normalizeLineBounds(line);
    EXPECT_EQ(corner(line), (CGPoint{0, 0}));
    EXPECT_TRUE(line.linePoints.sharesStorageWith(points));
    EXPECT_EQ(line.size, (CGSize{22, 12}));
}

// With the controls (20, 0), (50, -10), (70, 10), (60, 40): the neighbours' differences taken by sixths.
TEST(NormalizeLineBounds, ACurvedLineIsBoundByItsControlPoints)
{
    Layer line = lineThrough({{0, 0}, {60, 0}, {60, 60}});
    line.lineCurved = true;
    normalizeLineBounds(line);
    EXPECT_EQ(corner(line), (CGPoint{-1, -11}));
    EXPECT_EQ(line.linePoints, (Array<CGPoint>{{1, 11}, {61, 11}, {61, 71}}));
    EXPECT_EQ(line.size, (CGSize{72, 72}));
}

TEST(NormalizeLineBounds, TwoPointsAreNotCurved)
{
    Layer straight = lineThrough({{0, 0}, {60, 20}});
    Layer curved = straight;
    curved.lineCurved = true;
    normalizeLineBounds(straight);
    normalizeLineBounds(curved);
    EXPECT_EQ(curved.size, straight.size);
    EXPECT_EQ(curved.linePoints, straight.linePoints);
}

TEST(NormalizeLineBounds, OtherShapesAndKindsAndAnEmptyLineStay)
{
    const auto expectUnchanged = [](const Layer& before) {
        Layer layer = before;
        normalizeLineBounds(layer);
        EXPECT_EQ(layer, before);
    };
    for (const LineShape shape : {LineShape::square, LineShape::circle, LineShape::triangle, LineShape::arc, LineShape::wave}) {
        SCOPED_TRACE(fileValue(shape));
        Layer line = lineThrough({{10, 10}, {110, 10}});
        line.lineShape = shape;
        expectUnchanged(line);
    }
    Layer path = lineThrough({{10, 10}, {110, 10}});
    path.kind = Layer::Kind::path;
    expectUnchanged(path);
    expectUnchanged(lineThrough({}));
}

rc::Gen<double> coordinates()
{
    return rc::gen::map(rc::gen::inRange(-1'000'000, 1'000'000), [](int n) { return n / 1009.0; });
}

Layer arbitraryLine()
{
    Layer line = lineThrough({}, *rc::gen::inRange(0, 200) / 7.0);
    line.transform.x = *coordinates();
    line.transform.y = *coordinates();
    line.lineArrowEnd = *rc::gen::arbitrary<bool>();
    const int count = *rc::gen::inRange(1, 8);
    for (int i = 0; i < count; ++i) line.linePoints.append({*coordinates(), *coordinates()});
    return line;
}

TEST(NormalizeLineBounds, ASecondRunChangesNothing)
{
    EXPECT_TRUE(rc::check([] {
        Layer once = arbitraryLine();
        once.lineCurved = *rc::gen::arbitrary<bool>();
        normalizeLineBounds(once);
        Layer twice = once;
        normalizeLineBounds(twice);
        RC_ASSERT(twice == once);
    }));
}

TEST(NormalizeLineBounds, TheDrawingStaysWhereItIsAndLiesWithinTheBox)
{
    EXPECT_TRUE(rc::check([] {
        Layer before = arbitraryLine();
        before.lineCurved = *rc::gen::arbitrary<bool>();
        Layer after = before;
        normalizeLineBounds(after);
        for (std::size_t i = 0; i < before.linePoints.size(); ++i) {
            const CGPoint was = before.linePoints[i], is = after.linePoints[i];
            RC_ASSERT(std::abs(after.transform.x + is.x - (before.transform.x + was.x)) < 1e-9);
            RC_ASSERT(std::abs(after.transform.y + is.y - (before.transform.y + was.y)) < 1e-9);
            RC_ASSERT(is.x > 0 && is.y > 0 && is.x < after.size.width && is.y < after.size.height);
        }
    }));
}

} // namespace
} // namespace larkspool
