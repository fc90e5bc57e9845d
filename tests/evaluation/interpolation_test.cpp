#include "evaluation/interpolation.h"

#include "evaluation_fixture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace larkspool {

namespace {

using Property = Keyframe::AnimatableProperty;

class InterpolationTest : public testing::Test {
protected:
    void SetUp() override { Interpolation::invalidate(); }
};

Layer keyed(std::vector<Keyframe> keyframes)
{
    Layer layer;
    layer.keyframes = std::move(keyframes);
    return layer;
}

double xAt(const Layer& layer, double time)
{
    Interpolation::invalidate();
    return Interpolation::resolve(layer, time).transform.x;
}

double xAt(std::vector<Keyframe> keyframes, double time)
{
    return xAt(keyed(std::move(keyframes)), time);
}

} // namespace

TEST_F(InterpolationTest, ALayerWithoutKeyframesComesBackAsItStands)
{
    Layer layer = layerAt({10, 20}, {30, 40});
    EXPECT_EQ(Interpolation::resolve(layer, 1), layer);

    layer.fill = {0.9, 0, 0, 1};
    EXPECT_EQ(Interpolation::resolve(layer, 1), layer) << "nothing was kept of the first call";
}

TEST_F(InterpolationTest, EachPropertyOverridesItsOwnFieldAndNoOther)
{
    const ColorRGBA color{0.1, 0.2, 0.3, 0.4};
    const struct Case {
        Property property;
        KeyValue value;
        void (*set)(Layer&);
    } cases[] = {
        {Property::x, 7.0, [](Layer& layer) { layer.transform.x = 7; }},
        {Property::y, 7.0, [](Layer& layer) { layer.transform.y = 7; }},
        {Property::rotation, 7.0, [](Layer& layer) { layer.transform.rotation = 7; }},
        {Property::scaleX, 7.0, [](Layer& layer) { layer.transform.scaleX = 7; }},
        {Property::scaleY, 7.0, [](Layer& layer) { layer.transform.scaleY = 7; }},
        {Property::opacity, 7.0, [](Layer& layer) { layer.opacity = 7; }},
        {Property::fill, color, [](Layer& layer) { layer.fill = {0.1, 0.2, 0.3, 0.4}; }},
        {Property::stroke, color, [](Layer& layer) { layer.stroke = {0.1, 0.2, 0.3, 0.4}; }},
        {Property::strokeWidth, 7.0, [](Layer& layer) { layer.strokeWidth = 7; }},
        {Property::width, 7.0, [](Layer& layer) { layer.size.width = 7; }},
        {Property::height, 7.0, [](Layer& layer) { layer.size.height = 7; }},
        {Property::cornerRadius, 7.0, [](Layer& layer) { layer.cornerRadius = 7; }},
        {Property::shadow, ShadowPreset::high, [](Layer& layer) { layer.shadow = ShadowPreset::high; }},
        {Property::cursorVariant, CursorVariant::grab, [](Layer& layer) { layer.cursorVariant = CursorVariant::grab; }},
        {Property::groupGap, 7.0, [](Layer& layer) { layer.groupGap = 7; }},
        {Property::fontSize, 7.0, [](Layer& layer) { layer.fontSize = 7; }},
        {Property::fontName, SharedString("Inter"), [](Layer& layer) { layer.fontName = "Inter"; }},
        {Property::textColor, color, [](Layer& layer) { layer.textColor = {0.1, 0.2, 0.3, 0.4}; }},
        {Property::lineArcBend, 7.0, [](Layer& layer) { layer.lineArcBend = 7; }},
        {Property::lineWaveFrequency, 7.0, [](Layer& layer) { layer.lineWaveFrequency = 7; }},
        {Property::lineWaveAmplitude, 7.0, [](Layer& layer) { layer.lineWaveAmplitude = 7; }},
    };
    ASSERT_EQ(std::size(cases), Keyframe::animatablePropertyCount);

    const KeyValue everyCase[] = {7.0,   color, CGPoint{7, 7}, CGSize{7, 7}, ShadowPreset::high, CursorVariant::grab,
                                  SharedString("Inter")};
    for (const Case& c : cases) {
        SCOPED_TRACE(fileValue(c.property));
        for (const KeyValue& value : everyCase) {
            Layer layer = keyed({key(c.property, 2, value)});
            Layer expected = layer;
            if (value.index() == c.value.index()) c.set(expected); // A value of another case is passed over.
            EXPECT_EQ(Interpolation::resolve(layer, 2), expected) << "value case " << value.index();
        }
        const Layer resolved = Interpolation::resolve(keyed({key(c.property, 2, c.value)}), 2);
        EXPECT_EQ(Interpolation::fieldValue(resolved, c.property), c.value);
    }
}

TEST_F(InterpolationTest, OneKeyframeHoldsAtEveryTime)
{
    const Layer layer = keyed({key(Property::x, 2, 50.0)});
    for (const double time : {-1.0, 0.0, 2.0, 100.0}) EXPECT_EQ(xAt(layer, time), 50) << time;
}

TEST_F(InterpolationTest, AWaitHoldsAndTheMoveFillsWhatRemains)
{
    const struct Case {
        double wait, time, x;
        const char* why;
    } cases[] = {
        {0.5, 0.5, 0, "before the first"},
        {0.5, 1.25, 0, "in the wait"},
        {0.5, 1.5, 0, "at the end of the wait"},
        {0.5, 1.75, 50, "half of the move"},
        {0.5, 2, 100, "at the second"},
        {0.5, 9, 100, "after the second"},
        {5, 1.999, 0, "a wait beyond the second holds up to it"},
        {5, 2, 100, "where the value jumps"},
        {-3, 1.25, 25, "a negative wait is none"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_DOUBLE_EQ(xAt({key(Property::x, 1, 0.0, Easing::linear(), c.wait), key(Property::x, 2, 100.0)}, c.time), c.x);
    }
}

TEST_F(InterpolationTest, TheEasingOfTheEarlierKeyframeShapesTheMove)
{
    // easeIn is t * t; the second keyframe's easeOut has no effect.
    EXPECT_DOUBLE_EQ(xAt({key(Property::x, 0, 0.0, Easing::easeIn()), key(Property::x, 2, 100.0, Easing::easeOut())}, 1), 25);
}

TEST_F(InterpolationTest, OfKeyframesAtOneTimeTheFirstEndsAMoveAndTheLastBeginsTheNext)
{
    const struct Case {
        double time, x;
        const char* why;
    } cases[] = {
        {0.5, 5, "half way from 0 to the first at 1"},
        {1, 10, "at their time"},
        {1.5, 25, "half way from the last at 1 to 20"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_DOUBLE_EQ(xAt({key(Property::x, 0, 0.0), key(Property::x, 1, 10.0), key(Property::x, 1, 99.0),
                              key(Property::x, 1, 30.0), key(Property::x, 2, 20.0)},
                             c.time),
                         c.x);
    }
}

TEST_F(InterpolationTest, TwoKeyframesAtOneTimeStep)
{
    const Layer layer = keyed({key(Property::x, 1, 10.0), key(Property::x, 1, 30.0)});
    EXPECT_EQ(xAt(layer, 0.5), 10);
    EXPECT_EQ(xAt(layer, 1), 10);
    EXPECT_EQ(xAt(layer, 1.5), 30);
}

TEST_F(InterpolationTest, TheLastOfSeveralAtTheEndCountsFromTheirTimeOn)
{
    const Layer layer = keyed({key(Property::x, 0, 0.0), key(Property::x, 1, 10.0), key(Property::x, 1, 30.0)});
    EXPECT_EQ(xAt(layer, 0.5), 5);
    EXPECT_EQ(xAt(layer, 1), 30);
}

TEST_F(InterpolationTest, KeyframesOutOfOrderAreTheSameAsSorted)
{
    const Layer sorted = keyed({key(Property::x, 0, 0.0), key(Property::x, 1, 100.0), key(Property::x, 2, 50.0)});
    const Layer mixedUp = keyed({sorted.keyframes[2], sorted.keyframes[0], sorted.keyframes[1]});
    for (const double time : {-1.0, 0.0, 0.25, 1.0, 1.5, 2.0, 3.0}) EXPECT_EQ(xAt(mixedUp, time), xAt(sorted, time)) << time;
}

TEST_F(InterpolationTest, AMoveFromAColourToANumberLeavesTheFillAsStored)
{
    const ColorRGBA red{1, 0, 0, 1};
    const Layer layer = keyed({key(Property::fill, 0, red), key(Property::fill, 1, 5.0)});
    EXPECT_EQ(Interpolation::resolve(layer, -1).fill, red);
    EXPECT_EQ(Interpolation::resolve(layer, 0).fill, red);
    EXPECT_EQ(Interpolation::resolve(layer, 0.5).fill, layer.fill);
    EXPECT_EQ(Interpolation::resolve(layer, 2).fill, layer.fill);
}

TEST_F(InterpolationTest, AColourMixesChannelByChannelAndMayOvershoot)
{
    const Layer layer = keyed({key(Property::fill, 0, ColorRGBA{0, 1, 0.5, 1}, Easing::spring(100, 10)),
                               key(Property::fill, 1, ColorRGBA{1, 0, 0.5, 0})});
    // w = 10 and z = 0.5, so that at 0.09 the curve is 1 - cos(sqrt(0.75) * 3.6) * exp(-1.8), above 1.
    const double eased = 1 - std::cos(std::sqrt(0.75) * 3.6) * std::exp(-1.8);
    const ColorRGBA fill = Interpolation::resolve(layer, 0.09).fill;
    ASSERT_GT(eased, 1);
    EXPECT_NEAR(fill.r, eased, 1e-12);
    EXPECT_NEAR(fill.g, 1 - eased, 1e-12);
    EXPECT_EQ(fill.b, 0.5);
    EXPECT_NEAR(fill.a, 1 - eased, 1e-12);
}

TEST_F(InterpolationTest, AShadowStepsAtTheEndOfItsMove)
{
    const Layer layer = keyed({key(Property::shadow, 0, ShadowPreset::low), key(Property::shadow, 1, ShadowPreset::high)});
    EXPECT_EQ(Interpolation::resolve(layer, 0.999).shadow, ShadowPreset::low);
    EXPECT_EQ(Interpolation::resolve(layer, 1).shadow, ShadowPreset::high);
}

TEST_F(InterpolationTest, AnEasingThatReachesOneEarlySteps)
{
    // w = 1000 and z = 0.5: half way the swing has died down to exp(-1000), which is 0, and the curve is exactly 1.
    const Layer layer = keyed({key(Property::shadow, 0, ShadowPreset::low, Easing::spring(1e6, 1e3)),
                               key(Property::shadow, 1, ShadowPreset::high)});
    EXPECT_EQ(Interpolation::resolve(layer, 0.5).shadow, ShadowPreset::high);
}

TEST_F(InterpolationTest, ADiscreteValueFlipsWhileASpringIsBeyondItsEnd)
{
    const Easing spring = Easing::spring(100, 10);
    const Layer layer = keyed({
        key(Property::cursorVariant, 0, CursorVariant::arrow, spring), key(Property::cursorVariant, 1, CursorVariant::grab),
        key(Property::fontName, 0, SharedString("Inter"), spring),     key(Property::fontName, 1, SharedString("Serif")),
    });
    const struct Case {
        double time;
        bool flipped;
        const char* why;
    } cases[] = {
        {0.02, false, "on the way: the cosine is positive"},
        {0.09, true, "beyond: cos(3.12) is negative"},
        {0.18, false, "back again: cos(6.24) is positive"},
        {1, true, "at the end"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        const Layer resolved = Interpolation::resolve(layer, c.time);
        EXPECT_EQ(resolved.cursorVariant, c.flipped ? CursorVariant::grab : CursorVariant::arrow);
        EXPECT_EQ(resolved.fontName, c.flipped ? "Serif" : "Inter");
    }
}

TEST_F(InterpolationTest, AKeyframedWidthGrowsTheBoxFromItsCorner)
{
    Layer layer = layerAt({10, 20}, {30, 40});
    layer.keyframes = {key(Property::width, 0, 100.0)};
    const Layer resolved = Interpolation::resolve(layer, 0);
    EXPECT_EQ(resolved.size, (CGSize{100, 40}));
    EXPECT_EQ(resolved.transform, layer.transform);
}

TEST_F(InterpolationTest, ChildrenStayAsStored)
{
    Layer group = groupOf({keyed({key(Property::x, 0, 50.0)})});
    group.keyframes = {key(Property::x, 0, 5.0)};
    EXPECT_TRUE(Interpolation::resolve(group, 0).children.sharesStorageWith(group.children));
}

TEST_F(InterpolationTest, AnOverdampedSpringGivesNotANumberAndNoMore)
{
    const Layer layer = keyed({key(Property::x, 0, 0.0, overdampedSpring()), key(Property::x, 1, 100.0),
                               key(Property::shadow, 0, ShadowPreset::low, overdampedSpring()),
                               key(Property::shadow, 1, ShadowPreset::high)});
    const Layer resolved = Interpolation::resolve(layer, 0.5);
    EXPECT_TRUE(std::isnan(resolved.transform.x));
    EXPECT_EQ(resolved.shadow, ShadowPreset::low) << "the eased progress has not reached 1";
    EXPECT_EQ(xAt(layer, 1), 100);
}

TEST_F(InterpolationTest, ATimeThatIsNoNumberLeavesTheFieldAsStored)
{
    const double nan = std::nan("");
    Layer layer = keyed({key(Property::x, nan, 50.0)});
    EXPECT_EQ(xAt(layer, 1), 0);
    layer.keyframes.append(key(Property::x, 0, 10.0));
    EXPECT_EQ(xAt(layer, 1), 10);
    EXPECT_EQ(xAt(layer, nan), 0);
}

// What is kept on the main thread.

TEST_F(InterpolationTest, TheSameTimeGivesTheKeptCopyUntilItIsMadeStale)
{
    Layer layer = keyed({key(Property::x, 0, 5.0)});
    const Layer first = Interpolation::resolve(layer, 1);
    layer.fill = {0.9, 0.8, 0.7, 1};
    EXPECT_EQ(Interpolation::resolve(layer, 1), first);

    Interpolation::invalidate();
    EXPECT_EQ(Interpolation::resolve(layer, 1).fill, layer.fill);
}

TEST_F(InterpolationTest, EveryKeptCopyGoesStaleAtOnce)
{
    Layer layers[] = {keyed({key(Property::x, 0, 5.0)}), keyed({key(Property::x, 0, 5.0)})};
    for (Layer& layer : layers) {
        Interpolation::resolve(layer, 1);
        layer.cornerRadius = 77;
    }
    Interpolation::invalidate();
    for (const Layer& layer : layers) EXPECT_EQ(Interpolation::resolve(layer, 1).cornerRadius, 77);
}

TEST_F(InterpolationTest, AKeptCopyAnswersOnlyForTheSameInput)
{
    const struct Case {
        const char* what;
        void (*change)(Layer&, double& time);
    } cases[] = {
        {"time", [](Layer&, double& time) { time = std::nextafter(time, 2); }},
        {"x", [](Layer& layer, double&) { layer.transform.x += 1; }},
        {"y", [](Layer& layer, double&) { layer.transform.y += 1; }},
        {"rotation", [](Layer& layer, double&) { layer.transform.rotation += 1; }},
        {"scaleX", [](Layer& layer, double&) { layer.transform.scaleX += 1; }},
        {"scaleY", [](Layer& layer, double&) { layer.transform.scaleY += 1; }},
        {"anchorX", [](Layer& layer, double&) { layer.transform.anchorX += 1; }},
        {"anchorY", [](Layer& layer, double&) { layer.transform.anchorY += 1; }},
        {"width", [](Layer& layer, double&) { layer.size.width += 1; }},
        {"height", [](Layer& layer, double&) { layer.size.height += 1; }},
        {"count", [](Layer& layer, double&) { layer.keyframes.append(layer.keyframes[0]); }},
        {"id", [](Layer& layer, double&) { layer.id = UUID::random(); }},
    };
    const Layer stored = keyed({key(Property::x, 0, 5.0)});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Layer layer = stored;
        double time = 1;
        Interpolation::invalidate();
        Interpolation::resolve(layer, time);
        layer.cornerRadius = 77; // Nothing looks at this one, so that an answer from before lacks it.
        c.change(layer, time);
        EXPECT_EQ(Interpolation::resolve(layer, time).cornerRadius, 77);
    }
}

TEST_F(InterpolationTest, IdsThatShareAHashAreKeptApartQuickly)
{
    // One after the other in a single bucket, they would take minutes.
    Layer layer = keyed({key(Property::x, 0, 5.0)});
    for (std::uint64_t n = 0; n < 50'000; ++n) {
        layer.id = {n * 0x9E3779B97F4A7C15u, n};
        ASSERT_EQ(std::hash<UUID>{}(layer.id), 0u);
        Interpolation::resolve(layer, 1);
    }
    layer.cornerRadius = 77;
    EXPECT_EQ(Interpolation::resolve(layer, 1).cornerRadius, 0) << "the kept copy";
}

TEST_F(InterpolationTest, OtherThreadsNeitherReadNorWriteWhatIsKept)
{
    Layer layer = keyed({key(Property::x, 0, 5.0)});
    const Layer kept = Interpolation::resolve(layer, 1);

    Layer changed = layer;
    changed.cornerRadius = 77;
    EXPECT_EQ(offMainThread([&] { return Interpolation::resolve(changed, 1); }).cornerRadius, 77);
    EXPECT_EQ(Interpolation::resolve(changed, 1), kept);
}

// Laws.

namespace {

/// The rule word for word: sort stably by time, then walk the pairs.
std::optional<KeyValue> sampledByTheRule(const Array<Keyframe>& keyframes, Property property, double time)
{
    std::vector<Keyframe> list;
    for (const Keyframe& keyframe : keyframes)
        if (keyframe.property == property) list.push_back(keyframe);
    if (list.empty()) return std::nullopt;
    std::stable_sort(list.begin(), list.end(), [](const Keyframe& a, const Keyframe& b) { return a.time < b.time; });

    if (time <= list.front().time) return list.front().value;
    if (time >= list.back().time || list.size() == 1) return list.back().value;
    for (std::size_t i = 0; i + 1 < list.size(); ++i) {
        const Keyframe &a = list[i], &b = list[i + 1];
        if (!(a.time <= time && time <= b.time)) continue;
        const double hold = std::min(a.time + std::max(a.wait, 0.0), b.time);
        if (time <= hold) return a.value;
        const double length = b.time - hold;
        const double eased = a.easing.apply(length > 0 ? (time - hold) / length : 0);
        if (a.value.index() != b.value.index()) return b.value;
        if (const double* from = std::get_if<double>(&a.value)) return *from + eased * (std::get<double>(b.value) - *from);
        return eased >= 1 ? b.value : a.value;
    }
    return list.back().value;
}

Easing anyEasing()
{
    switch (*rc::gen::inRange(0, 5)) {
    case 0: return Easing::linear();
    case 1: return Easing::easeIn();
    case 2: return Easing::easeInOut();
    case 3: return Easing::spring(100, 10);
    default: return Easing::cubic(0.42, 0, 0.58, 1);
    }
}

/// Keyframes of a few properties on a coarse grid of times, so that equal times are common, some with a value of the wrong case.
std::vector<Keyframe> anyKeyframes()
{
    constexpr Property properties[] = {Property::x, Property::width, Property::groupGap, Property::shadow};
    std::vector<Keyframe> keyframes;
    const int count = *rc::gen::inRange(0, 24);
    for (int i = 0; i < count; ++i) {
        const Property property = properties[*rc::gen::inRange(0, 4)];
        const bool isPreset = (property == Property::shadow) == (*rc::gen::inRange(0, 8) != 0);
        const KeyValue value = isPreset ? KeyValue(static_cast<ShadowPreset>(*rc::gen::inRange(0, 4)))
                                        : KeyValue(static_cast<double>(*rc::gen::inRange(-500, 500)));
        keyframes.push_back(key(property, *rc::gen::inRange(0, 8) * 0.5, value, anyEasing(), *rc::gen::inRange(-2, 6) * 0.25));
    }
    return keyframes;
}

double anyTime()
{
    return *rc::gen::inRange(-4, 40) * 0.125;
}

} // namespace

TEST_F(InterpolationTest, SamplingFollowsTheRuleForAnyKeyframes)
{
    EXPECT_TRUE(rc::check("each property is as sorting and walking the pairs tells", [] {
        const Layer layer = keyed(anyKeyframes());
        const double time = anyTime();
        Layer expected = layer;
        const auto number = [&](Property property, double& field) {
            const auto value = sampledByTheRule(layer.keyframes, property, time);
            if (value && std::holds_alternative<double>(*value)) field = std::get<double>(*value);
        };
        number(Property::x, expected.transform.x);
        number(Property::width, expected.size.width);
        number(Property::groupGap, expected.groupGap);
        const auto shadow = sampledByTheRule(layer.keyframes, Property::shadow, time);
        if (shadow && std::holds_alternative<ShadowPreset>(*shadow)) expected.shadow = std::get<ShadowPreset>(*shadow);

        Interpolation::invalidate();
        RC_ASSERT(Interpolation::resolve(layer, time) == expected);
        RC_ASSERT(offMainThread([&] { return Interpolation::resolve(layer, time); }) == expected);
    }));
}

TEST_F(InterpolationTest, TheOrderInTheArrayDoesNotMatterWhereTimesDiffer)
{
    EXPECT_TRUE(rc::check("a shuffled list resolves the same", [] {
        const int count = *rc::gen::inRange(1, 12);
        std::vector<Keyframe> keyframes;
        for (int i = 0; i < count; ++i)
            keyframes.push_back(key(Property::x, i * 0.5, static_cast<double>(*rc::gen::inRange(-500, 500)), anyEasing(),
                                    *rc::gen::inRange(-2, 4) * 0.25));
        const Layer layer = keyed(keyframes);
        for (std::size_t i = keyframes.size(); i > 1; --i)
            std::swap(keyframes[i - 1], keyframes[*rc::gen::inRange<std::size_t>(0, i)]);
        const double time = anyTime();
        RC_ASSERT(xAt(keyframes, time) == xAt(layer, time));
    }));
}

TEST_F(InterpolationTest, APlacementIsThatOfTheResolvedLayer)
{
    EXPECT_TRUE(rc::check("the fields of a placement are the resolved layer's", [] {
        const Layer layer = keyed(anyKeyframes());
        const double time = anyTime();
        Interpolation::invalidate();
        const Layer resolved = Interpolation::resolve(layer, time);
        const Interpolation::Placement placement = Interpolation::placement(layer, time);
        RC_ASSERT(placement.transform == resolved.transform);
        RC_ASSERT(placement.size == resolved.size);
        RC_ASSERT(placement.groupGap == resolved.groupGap);
    }));
}

TEST_F(InterpolationTest, APlacementFollowsEveryPropertyThatItTells)
{
    const Layer layer = keyed({key(Property::x, 0, 1.0), key(Property::y, 0, 2.0), key(Property::rotation, 0, 3.0),
                               key(Property::scaleX, 0, 4.0), key(Property::scaleY, 0, 5.0), key(Property::width, 0, 6.0),
                               key(Property::height, 0, 7.0), key(Property::groupGap, 0, 8.0), key(Property::opacity, 0, 9.0)});
    const Interpolation::Placement placement = Interpolation::placement(layer, 0);
    EXPECT_EQ(placement.transform, (Transform{1, 2, 3, 4, 5, 0.5, 0.5}));
    EXPECT_EQ(placement.size, (CGSize{6, 7}));
    EXPECT_EQ(placement.groupGap, 8);
    EXPECT_EQ(placement.box(), (CGRect{{1, 2}, {6, 7}}));
}

} // namespace larkspool
