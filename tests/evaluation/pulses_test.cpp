#include "evaluation/pulses.h"

#include "evaluation_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace larkspool {
namespace {

constexpr ColorRGBA red{1, 0, 0, 1}, green{0, 1, 0, 1}, blue{0, 0, 1, 1}, fallback{0.1, 0.2, 0.3, 0.4};

ColorRGBA withAlpha(ColorRGBA color, double alpha)
{
    color.a = alpha;
    return color;
}

/// Where the pulse's sine ends: 1 + 0.55 * 2^-4 * sin(10 - asin(0.4)).
constexpr double scaleAtTheEnd = 0.9943977353227078;

TEST(PulseEnvelope, IsAtRestWithoutPulses)
{
    const PulseEnvelope envelope = pulseEnvelope(3, {});
    EXPECT_EQ(envelope.scale, 1);
    EXPECT_EQ(envelope.glow, 0);
}

TEST(PulseEnvelope, DipsSpringsBackAndGlowsWithinASecond)
{
    const Array<Pulse> pulses{Pulse{.time = 2}};
    struct Case { const char* when; double time, scale, glow; };
    for (const Case& c : {Case{"before", 1.999, 1, 0},
                          Case{"at the start", 2, 1, 0},
                          // q = 0.5
                          Case{"in the dip", 2.1, 1 - 0.22 * 0.75, 1.4 * std::sin(0.1 * std::numbers::pi)},
                          Case{"at the bottom", 2.2, 0.78, 1.4 * std::sin(0.2 * std::numbers::pi)},
                          Case{"just behind the bottom", 2.2 + 1e-9, 0.78, 1.4 * std::sin(0.2 * std::numbers::pi)},
                          Case{"at a quarter", 2.25, 1 + 0.55 * std::pow(2, -0.25) * std::sin(0.625 - std::asin(0.4)),
                               0.9899494936611664},
                          // a = 0.375
                          Case{"at the strongest glow", 2.5, 1 + 0.55 * std::pow(2, -1.5) * std::sin(3.75 - std::asin(0.4)), 1.4},
                          // a = 0.5
                          Case{"springing back", 2.6, 0.863554145254225, 1.4 * std::sin(0.6 * std::numbers::pi)},
                          Case{"at the end", 3, scaleAtTheEnd, 0},
                          Case{"just behind the end", 3.000001, 1, 0}}) {
        SCOPED_TRACE(c.when);
        const PulseEnvelope envelope = pulseEnvelope(c.time, pulses);
        EXPECT_NEAR(envelope.scale, c.scale, 1e-7);
        EXPECT_NEAR(envelope.glow, c.glow, 1e-7);
    }
}

TEST(PulseEnvelope, GlowNeverExceedsItsStrongest)
{
    for (int i = 0; i <= 1000; ++i) EXPECT_LE(pulseEnvelope(i / 1000.0, {Pulse{}}).glow, 1.4);
}

TEST(PulseEnvelope, PlaysTheEffectsOfItsSetAlone)
{
    struct Case { const char* set; PulseEffects effects; double scale, glow; };
    for (const Case& c : {Case{"empty", {}, 0.78, 1.4 * std::sin(0.2 * std::numbers::pi)},
                          Case{"scale", {PulseEffect::scale}, 0.78, 0},
                          Case{"glow", {PulseEffect::glow}, 1, 1.4 * std::sin(0.2 * std::numbers::pi)},
                          Case{"radiate", {PulseEffect::radiate}, 1, 0}}) {
        SCOPED_TRACE(c.set);
        const PulseEnvelope envelope = pulseEnvelope(0.2, {Pulse{.time = 0, .effects = c.effects}});
        EXPECT_NEAR(envelope.scale, c.scale, 1e-9);
        EXPECT_NEAR(envelope.glow, c.glow, 1e-9);
    }
}

TEST(PulseEnvelope, TheLatestPulseOfAnEffectCutsTheEarlierOff)
{
    const Pulse early{.time = 0}, late{.time = 0.3};
    for (const Array<Pulse>& pulses : {Array<Pulse>{early, late}, Array<Pulse>{late, early}}) {
        EXPECT_NEAR(pulseEnvelope(0.5, pulses).scale, 0.78, 1e-9);
        EXPECT_NEAR(pulseEnvelope(0.5, pulses).glow, 1.4 * std::sin(0.2 * std::numbers::pi), 1e-9);
        EXPECT_NEAR(pulseEnvelope(0.2, pulses).scale, 0.78, 1e-9) << "not before its time";
    }
}

TEST(PulseEnvelope, ALaterPulseLeavesTheOtherEffectsToTheEarlier)
{
    const Array<Pulse> pulses{Pulse{.time = 0, .effects = {PulseEffect::scale}},
                              Pulse{.time = 0.1, .effects = {PulseEffect::glow}}};
    EXPECT_NEAR(pulseEnvelope(0.2, pulses).scale, 0.78, 1e-9);
    EXPECT_NEAR(pulseEnvelope(0.2, pulses).glow, 1.4 * std::sin(0.1 * std::numbers::pi), 1e-9);
}

TEST(RadiateProgress, IsTheAgeOfTheLatestRadiatingPulse)
{
    const Array<Pulse> pulses{Pulse{.time = 1, .effects = {PulseEffect::radiate}},
                              Pulse{.time = 1.5, .effects = {PulseEffect::radiate}}, Pulse{.time = 2}};
    EXPECT_EQ(activeRadiateProgress({}, 1), std::nullopt);
    EXPECT_EQ(activeRadiateProgress(pulses, 0.999), std::nullopt);
    EXPECT_EQ(activeRadiateProgress(pulses, 1), 0.0);
    EXPECT_EQ(activeRadiateProgress(pulses, 1.25), 0.25);
    EXPECT_EQ(activeRadiateProgress(pulses, 1.75), 0.25) << "the later one";
    EXPECT_EQ(activeRadiateProgress(pulses, 2.25), 0.75) << "a pulse of scale and glow does not count";
    EXPECT_EQ(activeRadiateProgress(pulses, 2.5), 1.0);
    EXPECT_EQ(activeRadiateProgress(pulses, 2.501), std::nullopt);
}

TEST(PulseGlowColor, IsTheFirstVisibleColourOfTheKind)
{
    struct Case { const char* what; Layer::Kind kind; ColorRGBA fill, stroke, textColor, expected; };
    const ColorRGBA faintRed = withAlpha(red, 0.04), faintGreen = withAlpha(green, 0.04), faintBlue = withAlpha(blue, 0.04);
    for (const Case& c : {Case{"text", Layer::Kind::text, green, blue, red, red},
                          Case{"text just visible", Layer::Kind::text, green, blue, withAlpha(red, 0.05), withAlpha(red, 0.05)},
                          Case{"faint text", Layer::Kind::text, green, blue, faintRed, green},
                          Case{"faint text and fill", Layer::Kind::text, faintGreen, blue, faintRed, blue},
                          Case{"text all faint", Layer::Kind::text, faintGreen, faintBlue, faintRed, fallback},
                          Case{"line", Layer::Kind::line, green, blue, red, blue},
                          Case{"faint line", Layer::Kind::line, green, faintBlue, red, fallback},
                          Case{"gradient", Layer::Kind::gradientField, {1, 0.5, 0, 0.2}, {0, 0.5, 1, 0.8}, red,
                               {0.5, 0.5, 0.5, 0.8}},
                          Case{"gradient with one faint end", Layer::Kind::gradientField, {1, 0, 0, 0}, {0, 0, 1, 0.05}, red,
                               {0.5, 0, 0.5, 0.05}},
                          Case{"faint gradient", Layer::Kind::gradientField, faintRed, faintBlue, red, fallback},
                          Case{"rectangle", Layer::Kind::rectangle, green, blue, red, green},
                          Case{"rectangle without a fill", Layer::Kind::rectangle, faintGreen, blue, red, blue},
                          Case{"ellipse all faint", Layer::Kind::ellipse, faintGreen, faintBlue, red, fallback},
                          Case{"zoom", Layer::Kind::zoom, green, blue, red, green},
                          Case{"empty group", Layer::Kind::group, green, blue, red, fallback}}) {
        SCOPED_TRACE(c.what);
        const Layer layer{.kind = c.kind, .fill = c.fill, .stroke = c.stroke, .textColor = c.textColor};
        EXPECT_EQ(pulseGlowColorRGBA(layer, fallback), c.expected);
    }
}

Layer box(ColorRGBA fill, bool isHidden = false)
{
    return {.fill = fill, .isHidden = isHidden};
}

TEST(PulseGlowColor, AGroupTakesTheFirstColourOfItsOwnAmongItsDescendants)
{
    Layer hiddenGroup = groupOf({box(red)});
    hiddenGroup.isHidden = true;
    struct Case { const char* what; Layer group; ColorRGBA expected; };
    for (const Case& c : {Case{"first child", groupOf({box(red), box(green)}), red},
                          Case{"hidden first child", groupOf({box(red, true), box(green)}), green},
                          Case{"all hidden", groupOf({box(red, true), box(green, true)}), fallback},
                          Case{"fallback before another colour", groupOf({box(fallback), box(green)}), green},
                          Case{"fallback alone", groupOf({box(fallback)}), fallback},
                          Case{"nested", groupOf({groupOf({box(red, true), box(blue)}), box(green)}), blue},
                          Case{"empty group first", groupOf({groupOf({}), box(green)}), green},
                          Case{"hidden group first", groupOf({hiddenGroup, box(green)}), green}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(pulseGlowColorRGBA(c.group, fallback), c.expected);
    }
}

void expectNear(CGPoint actual, CGPoint expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
}

TEST(RadiateCenter, IsTheMiddleOfTheEvaluatedBox)
{
    const Layer stored = layerAt({0, 0}, {10, 10});
    const Layer baked = layerAt({100, 200}, {40, 60});
    expectNear(radiateCenter(stored, baked, {1000, 1000}, 0), {120, 230});
}

TEST(RadiateCenter, OfACursorIsItsTip)
{
    const Layer cursor = layerAt({100, 200}, {50, 100}, Layer::Kind::cursor);
    expectNear(radiateCenter(cursor, cursor, {0, 0}, 0), {111, 206});
}

TEST(RadiateCenter, OfAGroupIsTheMiddleOfWhatItCovers)
{
    Layer group = layerAt({10, 20}, {500, 500}, Layer::Kind::group);
    group.children = {layerAt({5, 5}, {20, 20}), layerAt({85, 5}, {20, 40})};
    expectNear(radiateCenter(group, group, {0, 0}, 0), {10 + 55, 20 + 25});
    expectNear(radiateCenter(group, group, {3, 4}, 0), {68, 49});

    group.groupSizeMode = GroupSizeMode::fixed;
    expectNear(radiateCenter(group, group, {3, 4}, 0), {263, 274});
}

TEST(RadiateCenter, OfAGroupThatCoversNothingIsTheMiddleOfItsBox)
{
    const Layer group = layerAt({10, 20}, {100, 50}, Layer::Kind::group);
    expectNear(radiateCenter(group, group, {3, 4}, 0), {60, 45});
}

TEST(PulseScale, MultipliesBothScales)
{
    Layer layer;
    layer.transform.scaleX = 2;
    layer.transform.scaleY = -3;
    const Layer scaled = applyPulseScale(layer, 0.5);
    EXPECT_EQ(scaled.transform.scaleX, 1);
    EXPECT_EQ(scaled.transform.scaleY, -1.5);
    EXPECT_EQ(applyPulseScale(layer, 1), layer);
}

} // namespace
} // namespace larkspool
