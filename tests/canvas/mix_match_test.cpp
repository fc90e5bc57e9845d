#include "canvas/mix_match.h"

#include "canvas/layers_fixture.h"
#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Category = MixMatchCategory;
using Kind = Layer::Kind;

/// The same bits for the same seed.
class SeededRandom final : public RandomSource {
public:
    explicit SeededRandom(std::uint64_t seed) : engine_(seed) {}
    std::uint64_t next() override { return engine_(); }

private:
    std::mt19937_64 engine_;
};

SeededRandom anySeed()
{
    return SeededRandom(*rc::gen::arbitrary<std::uint64_t>());
}

/// Whether following the order from 0 comes by every place before it comes back.
bool isSingleCycle(const std::vector<std::size_t>& order)
{
    std::size_t at = 0;
    for (std::size_t steps = 1; steps < order.size(); ++steps) {
        at = order[at];
        if (at == 0) return false;
    }
    return order[at] == 0;
}

std::vector<std::size_t> countedUp(std::size_t count)
{
    std::vector<std::size_t> numbers(count);
    for (std::size_t i = 0; i < count; ++i) numbers[i] = i;
    return numbers;
}

TEST(Derangement, FewerThanTwoStayInPlace)
{
    SeededRandom random(1);
    EXPECT_TRUE(derangement(0, random).empty());
    EXPECT_THAT(derangement(1, random), ElementsAre(0));
}

TEST(Derangement, TwoAreSwapped)
{
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        SeededRandom random(seed);
        EXPECT_THAT(derangement(2, random), ElementsAre(1, 0));
    }
}

TEST(Derangement, IsASingleCycleInWhichNothingKeepsItsPlace)
{
    EXPECT_TRUE(rc::check("a permutation of one cycle", [] {
        SeededRandom random = anySeed();
        const std::vector<std::size_t> order = derangement(*rc::gen::inRange<std::size_t>(2, 60), random);
        RC_ASSERT(std::is_permutation(order.begin(), order.end(), countedUp(order.size()).begin()));
        RC_ASSERT(isSingleCycle(order));
        for (std::size_t i = 0; i < order.size(); ++i) RC_ASSERT(order[i] != i);
    }));
}

TEST(Derangement, BothCyclesOfThreeComeUpEquallyOften)
{
    SeededRandom random(7);
    std::map<std::vector<std::size_t>, int> counts;
    for (int i = 0; i < 2000; ++i) ++counts[derangement(3, random)];
    ASSERT_EQ(counts.size(), 2u);
    for (const auto& [order, count] : counts) EXPECT_NEAR(count, 1000, 150); // More than six standard deviations.
}

TEST(ShuffledBins, EveryOrderComesUpEquallyOften)
{
    SeededRandom random(7);
    std::map<std::vector<std::size_t>, int> counts;
    for (int i = 0; i < 6000; ++i) ++counts[shuffledBins(3, random)];
    ASSERT_EQ(counts.size(), 6u);
    for (const auto& [order, count] : counts) EXPECT_NEAR(count, 1000, 190); // More than six standard deviations.
}

TEST(RepeatableRandom, GivesTheSameBitsAgainUntilItIsRenewed)
{
    SeededRandom source(3), same(3);
    const std::uint64_t a = same.next(), b = same.next(), c = same.next(), d = same.next();
    RepeatableRandom random(source);
    EXPECT_EQ(random.next(), a);
    EXPECT_EQ(random.next(), b);
    random.restart();
    EXPECT_EQ(random.next(), a);
    EXPECT_EQ(random.next(), b);
    EXPECT_EQ(random.next(), c) << "what was not drawn before comes from the source";
    random.renew();
    EXPECT_EQ(random.next(), d);
    random.restart();
    EXPECT_EQ(random.next(), d);
}

std::vector<double> stratified(std::vector<double> pool, std::size_t n, std::vector<std::size_t> bins)
{
    return stratifyScalars(pool, n, bins);
}

TEST(StratifyScalars, GivesTheMiddleOfEachStratumInTheOrderOfTheBins)
{
    EXPECT_THAT(stratified({100, 200}, 4, {2, 0, 3, 1}), ElementsAre(162.5, 112.5, 187.5, 137.5));
    EXPECT_THAT(stratified({6, -2, 1}, 2, {0, 1}), ElementsAre(0, 4));
}

TEST(StratifyScalars, APoolWithoutARangeGivesItsLeastValue)
{
    EXPECT_THAT(stratified({5, 5.00009}, 3, {2, 1, 0}), ElementsAre(5, 5, 5));
    EXPECT_THAT(stratified({5, 5.5}, 2, {0, 1}), ElementsAre(5.125, 5.375));
    EXPECT_THAT(stratified({7}, 2, {0, 1}), ElementsAre(7, 7));
}

TEST(StratifyScalars, WithoutValuesOrPlacesThePoolComesBack)
{
    EXPECT_TRUE(stratified({}, 3, {0, 1, 2}).empty());
    EXPECT_THAT(stratified({3, 1}, 0, {}), ElementsAre(3, 1));
}

TEST(StratifyScalars, TheLargestNumbersStayNumbers)
{
    constexpr double most = std::numeric_limits<double>::max();
    for (const double value : stratified({-most, most}, 3, {0, 1, 2})) EXPECT_TRUE(std::isfinite(value));
}

TEST(StratifyScalars, NoTwoValuesFallIntoTheSameStratum)
{
    EXPECT_TRUE(rc::check("one value in each stratum", [] {
        SeededRandom random = anySeed();
        const double low = *rc::gen::inRange(-1000, 1000), range = *rc::gen::inRange(1, 1000);
        const std::size_t n = *rc::gen::inRange<std::size_t>(1, 50);
        std::vector<double> values = stratified({low + range, low}, n, shuffledBins(n, random));
        std::ranges::sort(values);
        for (std::size_t i = 0; i < n; ++i)
            RC_ASSERT(static_cast<std::size_t>((values[i] - low) / range * static_cast<double>(n)) == i);
    }));
}

TEST(MixMatchTexts, PiecesBetweenCommasAreTrimmedAndEmptyOnesLeftOut)
{
    EXPECT_THAT(mixMatchTexts("one,,two"), ElementsAre("one", "two"));
    EXPECT_THAT(mixMatchTexts(" \n one two ,  , three\t,\n"), ElementsAre("one two", "three"));
    EXPECT_THAT(mixMatchTexts("lark"), ElementsAre("lark"));
    for (const char* nothing : {"", " \n", ",", " , ,"}) EXPECT_TRUE(mixMatchTexts(nothing).empty()) << nothing;
}

TEST(MixMatchCategories, AreNamedInTheirOrderAndFoundBySection)
{
    std::string sections;
    std::string names;
    for (const EnumCase<Category>& each : EnumTable<Category>::cases) {
        sections += std::string(mixMatchSection(each.value)) + ";";
        names += std::string(fileValue(each.value)) + " ";
        EXPECT_EQ(enumCase(each.value).value, each.value) << "the table stands in the order of the values";
    }
    EXPECT_EQ(names, "fill strokeColor strokeWidth strokeOutside shadow cornerRadius width height x y rotation fontName fontSize "
                     "textColor textContent ");
    EXPECT_EQ(sections, "Color & Stroke;Color & Stroke;Color & Stroke;Color & Stroke;Surface;Surface;Size;Size;"
                        "Position;Position;Position;Text;Text;Text;Text;");
}

TEST(MixMatchCategories, AreKeptAsNamesWithCommasBetween)
{
    EXPECT_EQ(mixMatchNames({Category::textContent, Category::fill, Category::x}), "fill,x,textContent");
    EXPECT_EQ(mixMatchNames({}), "");
    EXPECT_THAT(mixMatchCategoriesNamed("x, fill,nonsense,,x"), ElementsAre(Category::fill, Category::x));
    EXPECT_TRUE(mixMatchCategoriesNamed("").empty());
}

/// Layers a, b, c… of these widths.
TweenScene sceneOfWidths(const std::vector<double>& widths)
{
    Array<Layer> layers;
    for (std::size_t i = 0; i < widths.size(); ++i)
        layers.append(layerNamed(static_cast<char>('a' + i), {{0, 0}, {widths[i], 10}}));
    return sceneHolding(std::move(layers));
}

LayerIDs allOf(const TweenScene& scene)
{
    LayerIDs ids;
    walkLayers(scene.layers, [&](const Layer& layer) { ids.insert(layer.id); });
    return ids;
}

template <typename Read>
auto valuesIn(const TweenScene& scene, const Read& read)
{
    std::vector<std::decay_t<decltype(read(scene.layers[0]))>> values;
    walkLayers(scene.layers, [&](const Layer& layer) { values.push_back(read(layer)); });
    return values;
}

std::vector<double> widthsOf(const TweenScene& scene)
{
    return valuesIn(scene, [](const Layer& layer) { return layer.size.width; });
}

/// The scene after all its layers were dealt.
TweenScene dealt(const TweenScene& scene, const MixMatchSettings& settings, std::uint64_t seed = 1)
{
    SeededRandom random(seed);
    return applyMixAndMatch(scene, allOf(scene), settings, random).value().scene;
}

TEST(MixMatch, NeedsCategoriesAndTwoLayers)
{
    const TweenScene scene = sceneOfWidths({1, 2, 3});
    SeededRandom random(1);
    EXPECT_FALSE(applyMixAndMatch(scene, allOf(scene), {}, random));
    EXPECT_FALSE(applyMixAndMatch(scene, idsNamed("a"), {.categories = {Category::width}}, random));
    EXPECT_FALSE(applyMixAndMatch(scene, idsNamed("axyz"), {.categories = {Category::width}}, random)) << "only one is found";
    EXPECT_FALSE(applyMixAndMatch(scene, {}, {.categories = {Category::width}}, random));
    EXPECT_TRUE(applyMixAndMatch(scene, idsNamed("ab"), {.categories = {Category::width}}, random));
}

TEST(MixMatch, TwoLayersSwapTheirValues)
{
    for (std::uint64_t seed = 0; seed < 10; ++seed)
        EXPECT_THAT(widthsOf(dealt(sceneOfWidths({100, 200}), {.categories = {Category::width}}, seed)), ElementsAre(200, 100));
}

TEST(MixMatch, OnlySelectedLayersAreDealtAtAnyDepth)
{
    const Layer group = groupNamed('g', {layerNamed('b', {{0, 0}, {2, 2}}), layerNamed('c', {{0, 0}, {3, 3}})});
    const TweenScene scene = sceneHolding({layerNamed('a', {{0, 0}, {1, 1}}), group});
    SeededRandom random(3);
    const std::optional<Edit> edit = applyMixAndMatch(scene, idsNamed("ac"), {.categories = {Category::width}}, random);
    EXPECT_THAT(widthsOf(edit.value().scene), ElementsAre(3, 200, 2, 1));
    EXPECT_THAT(valuesIn(edit->scene, [](const Layer& layer) { return layer.size.height; }), ElementsAre(1, 200, 2, 3));
    EXPECT_EQ(edit->scene.layers[1].children[0], scene.layers[1].children[0]);
}

TEST(MixMatch, AParentAndItsChildSwapWhatTheyHoldAndStayWhereTheyAre)
{
    const TweenScene scene = sceneHolding({groupNamed('g', {layerNamed('a', {{0, 0}, {3, 3}})})});
    const TweenScene after = dealt(scene, {.categories = {Category::width}});
    EXPECT_EQ(treeOf(after), "g(a)");
    EXPECT_THAT(widthsOf(after), ElementsAre(3, 200));
}

TEST(MixMatch, EqualWidthsStayTheSameInBetween)
{
    const TweenScene scene = sceneOfWidths({70, 70, 70});
    EXPECT_THAT(widthsOf(dealt(scene, {.categories = {Category::width}, .bias = 1})), ElementsAre(70, 70, 70));
}

TEST(MixMatch, InBetweenSpreadsTheValuesEvenlyOverTheRange)
{
    const TweenScene scene = sceneOfWidths({100, 200, 200, 100});
    for (const double bias : {1.0, 0.9995})
        EXPECT_THAT(widthsOf(dealt(scene, {.categories = {Category::width}, .bias = bias})),
                    UnorderedElementsAre(112.5, 137.5, 162.5, 187.5));
}

TEST(MixMatch, ExistingValuesChangePlacesAndNoneIsNew)
{
    const TweenScene scene = sceneOfWidths({1, 2, 3, 4, 5});
    for (const double bias : {0.0, 0.0005, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        const std::vector<double> widths = widthsOf(dealt(scene, {.categories = {Category::width}, .bias = bias}));
        EXPECT_THAT(widths, UnorderedElementsAre(1, 2, 3, 4, 5));
        for (std::size_t i = 0; i < widths.size(); ++i) EXPECT_NE(widths[i], static_cast<double>(i + 1));
    }
}

TEST(MixMatch, ABiasBetweenMixesBothInAStraightLine)
{
    const TweenScene scene = sceneOfWidths({100, 140, 220, 180});
    const auto widthsAt = [&](double bias) { return widthsOf(dealt(scene, {.categories = {Category::width}, .bias = bias}, 9)); };
    const std::vector<double> existing = widthsAt(0), between = widthsAt(1);
    for (const double bias : {0.001, 0.25, 0.5, 0.999}) {
        const std::vector<double> mixed = widthsAt(bias);
        for (std::size_t i = 0; i < mixed.size(); ++i)
            EXPECT_NEAR(mixed[i], existing[i] * (1 - bias) + between[i] * bias, 1e-9) << "bias " << bias << ", layer " << i;
    }
}

TEST(MixMatch, AnyDealWithoutBiasIsAPermutationAndWithBiasOneIsEvenlySpread)
{
    EXPECT_TRUE(rc::check("laws of both ends", [] {
        const std::uint64_t seed = *rc::gen::arbitrary<std::uint64_t>();
        std::vector<double> widths;
        const std::size_t count = *rc::gen::inRange<std::size_t>(2, 20);
        while (widths.size() < count) widths.push_back(*rc::gen::inRange(1, 500));
        const TweenScene scene = sceneOfWidths(widths);

        const std::vector<double> existing = widthsOf(dealt(scene, {.categories = {Category::width}}, seed));
        RC_ASSERT(std::ranges::is_permutation(existing, widths));

        std::vector<double> between = widthsOf(dealt(scene, {.categories = {Category::width}, .bias = 1}, seed));
        std::ranges::sort(between);
        const auto [least, greatest] = std::ranges::minmax(widths);
        const double step = (greatest - least) / static_cast<double>(count);
        for (std::size_t i = 0; i < count; ++i)
            RC_ASSERT(std::abs(between[i] - (least + step * (static_cast<double>(i) + 0.5))) < 1e-9);
    }));
}

TEST(MixMatch, ColorsAreSpreadChannelByChannelWithTheSameBins)
{
    TweenScene scene = sceneOfWidths({1, 1});
    scene.layers.edit()[0].fill = {0, 1, 0.2, 0.5};
    scene.layers.edit()[1].fill = {1, 0, 0.2, 1};
    const std::vector<ColorRGBA> fills = valuesIn(dealt(scene, {.categories = {Category::fill}, .bias = 1}),
                                                  [](const Layer& layer) { return layer.fill; });
    EXPECT_THAT(fills, UnorderedElementsAre(ColorRGBA{0.25, 0.25, 0.2, 0.625}, ColorRGBA{0.75, 0.75, 0.2, 0.875}));
}

TEST(MixMatch, ExistingColorsChangePlacesAsAWhole)
{
    TweenScene scene = sceneOfWidths({1, 1});
    scene.layers.edit()[0].stroke = {0, 1, 0.2, 0.5};
    scene.layers.edit()[1].stroke = {1, 0, 0.3, 1};
    const TweenScene after = dealt(scene, {.categories = {Category::strokeColor}});
    EXPECT_EQ(after.layers[0].stroke, scene.layers[1].stroke);
    EXPECT_EQ(after.layers[1].stroke, scene.layers[0].stroke);
}

/// Two texts that differ in all that can be dealt.
TweenScene sceneOfTwoTexts()
{
    Layer a = kindNamed('a', Kind::text, {{1, 2}, {3, 4}});
    Layer b = kindNamed('b', Kind::text, {{11, 12}, {13, 14}});
    b.fill = {1, 0, 0, 1};
    b.stroke = {0, 1, 0, 1};
    b.strokeWidth = 5;
    b.strokeOutside = true;
    b.shadow = ShadowPreset::high;
    b.cornerRadius = 6;
    b.transform.rotation = 30;
    b.fontName = SharedString("Serif");
    b.fontSize = 64;
    b.textColor = {0, 0, 1, 1};
    b.text = SharedString("other");
    return sceneHolding({a, b});
}

/// Gives `to` the property of the category that `from` has.
void copyProperty(Category category, const Layer& from, Layer& to)
{
    switch (category) {
    case Category::fill: to.fill = from.fill; break;
    case Category::strokeColor: to.stroke = from.stroke; break;
    case Category::strokeWidth: to.strokeWidth = from.strokeWidth; break;
    case Category::strokeOutside: to.strokeOutside = from.strokeOutside; break;
    case Category::shadow: to.shadow = from.shadow; break;
    case Category::cornerRadius: to.cornerRadius = from.cornerRadius; break;
    case Category::width: to.size.width = from.size.width; break;
    case Category::height: to.size.height = from.size.height; break;
    case Category::x: to.transform.x = from.transform.x; break;
    case Category::y: to.transform.y = from.transform.y; break;
    case Category::rotation: to.transform.rotation = from.transform.rotation; break;
    case Category::fontName: to.fontName = from.fontName; break;
    case Category::fontSize: to.fontSize = from.fontSize; break;
    case Category::textColor: to.textColor = from.textColor; break;
    case Category::textContent: to.text = from.text; break;
    }
}

TEST(MixMatch, EachCategoryDealsItsPropertyAndNoOther)
{
    TweenScene scene = sceneOfTwoTexts();
    for (Layer& layer : scene.layers.edit()) layer.nameFollowsText = false;
    for (const EnumCase<Category>& each : EnumTable<Category>::cases) {
        SCOPED_TRACE(each.fileValue);
        TweenScene expected = scene;
        copyProperty(each.value, scene.layers[1], expected.layers.edit()[0]);
        copyProperty(each.value, scene.layers[0], expected.layers.edit()[1]);
        ASSERT_NE(expected, scene);
        EXPECT_EQ(dealt(scene, {.categories = {each.value}}), expected);
    }
}

TEST(MixMatch, WhatHasNoRangeIsDealtWhateverTheBias)
{
    const TweenScene scene = sceneOfTwoTexts();
    const MixMatchCategories categories{Category::strokeOutside, Category::shadow, Category::fontName, Category::textContent};
    const TweenScene existing = dealt(scene, {.categories = categories});
    EXPECT_EQ(existing.layers[0].shadow, ShadowPreset::high);
    for (const double bias : {0.5, 1.0}) EXPECT_EQ(dealt(scene, {.categories = categories, .bias = bias}), existing);
}

TEST(MixMatch, ALayerWithoutThePropertyKeepsItAndItsValueCounts)
{
    Layer text = kindNamed('t', Kind::text);
    text.fontSize = 10;
    Layer shape = layerNamed('s');
    shape.fontSize = 50;
    const TweenScene scene = sceneHolding({text, shape});
    const TweenScene existing = dealt(scene, {.categories = {Category::fontSize}});
    EXPECT_EQ(existing.layers[0].fontSize, 50);
    EXPECT_EQ(existing.layers[1], shape);

    const TweenScene between = dealt(scene, {.categories = {Category::fontSize}, .bias = 1});
    EXPECT_THAT((std::vector{20.0, 40.0}), testing::Contains(between.layers[0].fontSize));
    EXPECT_EQ(between.layers[1], shape);

    for (const Category category : {Category::fontName, Category::textColor, Category::textContent})
        EXPECT_EQ(dealt(scene, {.categories = {category}, .textPool = "word"}).layers[1], shape) << fileValue(category);
}

TweenScene sceneOfTexts(std::string_view letters)
{
    Array<Layer> layers;
    for (const char letter : letters) {
        layers.append(kindNamed(letter, Kind::text));
        layers.edit()[layers.size() - 1].text = SharedString(std::string(3, letter));
    }
    return sceneHolding(std::move(layers));
}

std::vector<std::string> textsOf(const TweenScene& scene)
{
    return valuesIn(scene, [](const Layer& layer) { return layer.text.string(); });
}

TEST(MixMatch, ATextPoolGivesTheTexts)
{
    EXPECT_THAT(textsOf(dealt(sceneOfTexts("abcd"), {.categories = {Category::textContent}, .textPool = "one,, two "})),
                UnorderedElementsAre("one", "one", "two", "two"));
    EXPECT_THAT(textsOf(dealt(sceneOfTexts("ab"), {.categories = {Category::textContent}, .textPool = "one"})),
                ElementsAre("one", "one"));
}

TEST(MixMatch, WithoutAPoolTheLayersOwnTextsAreDealt)
{
    for (const char* pool : {"", " , "})
        EXPECT_THAT(textsOf(dealt(sceneOfTexts("ab"), {.categories = {Category::textContent}, .textPool = pool})),
                    ElementsAre("bbb", "aaa"));
}

TEST(MixMatch, NamesThatFollowGoWithWhatIsDealt)
{
    TweenScene scene = sceneOfTexts("ab");
    scene.layers.edit()[1].nameFollowsText = false;
    EXPECT_EQ(treeOf(dealt(scene, {.categories = {Category::textContent}})), "bbb b");

    TweenScene shapes = sceneOfWidths({1, 2});
    shapes.layers.edit()[0].fill = {1, 0, 0, 1};
    shapes.layers.edit()[1].fill = {0, 0, 0, 1};
    shapes.layers.edit()[1].nameFollowsShape = false;
    EXPECT_EQ(treeOf(dealt(shapes, {.categories = {Category::fill}})), "Black Rectangle b");
    EXPECT_EQ(treeOf(dealt(shapes, {.categories = {Category::width}})), "a b");
}

TEST(MixMatch, AsASetALayerTakesAllItsValuesFromTheSameOther)
{
    EXPECT_TRUE(rc::check("one source for all categories", [] {
        const std::size_t count = *rc::gen::inRange<std::size_t>(2, 12);
        Array<Layer> layers;
        for (std::size_t i = 0; i < count; ++i) {
            const double number = static_cast<double>(i);
            layers.append(layerNamed(static_cast<char>('a' + i), {{number, number}, {number, number}}));
        }
        const TweenScene scene = sceneHolding(std::move(layers));
        const MixMatchCategories categories{Category::x, Category::y, Category::width, Category::height};
        for (const double bias : {0.0, 0.5, 1.0}) {
            const TweenScene after = dealt(scene, {.categories = categories, .bias = bias, .distributeAsSet = true},
                                           *rc::gen::arbitrary<std::uint64_t>());
            for (const Layer& layer : after.layers) {
                RC_ASSERT(layer.transform.x == layer.size.width);
                RC_ASSERT(layer.transform.y == layer.size.width);
                RC_ASSERT(layer.size.height == layer.size.width);
            }
        }
    }));
}

TEST(MixMatch, OtherwiseEachCategoryIsDealtByItself)
{
    Array<Layer> layers;
    for (int i = 0; i < 12; ++i)
        layers.append(layerNamed(static_cast<char>('a' + i), {{static_cast<double>(i), 0}, {static_cast<double>(i), 1}}));
    const TweenScene scene = sceneHolding(std::move(layers));
    for (const double bias : {0.0, 1.0}) {
        const TweenScene after = dealt(scene, {.categories = {Category::x, Category::width}, .bias = bias});
        EXPECT_NE(widthsOf(after), valuesIn(after, [](const Layer& layer) { return layer.transform.x; }));
    }
}

TEST(MixMatch, ChoosingAnotherCategoryLeavesWhatTheOthersComeToAsItIs)
{
    Array<Layer> layers;
    for (int i = 0; i < 12; ++i)
        layers.append(layerNamed(static_cast<char>('a' + i), {{static_cast<double>(i), 0}, {static_cast<double>(i), 1}}));
    const TweenScene scene = sceneHolding(std::move(layers));
    for (const double bias : {0.0, 0.5, 1.0}) {
        const TweenScene alone = dealt(scene, {.categories = {Category::x}, .bias = bias});
        const MixMatchCategories more{Category::width, Category::x, Category::rotation};
        const TweenScene withMore = dealt(scene, {.categories = more, .bias = bias});
        EXPECT_EQ(valuesIn(alone, [](const Layer& layer) { return layer.transform.x; }),
                  valuesIn(withMore, [](const Layer& layer) { return layer.transform.x; }));
    }
}

TEST(MixMatch, ASecondRunStartsFromTheResultsOfTheFirst)
{
    const MixMatchSettings settings{.categories = {Category::width}, .bias = 1};
    const TweenScene once = dealt(sceneOfWidths({100, 200}), settings);
    EXPECT_THAT(widthsOf(once), UnorderedElementsAre(125, 175));
    EXPECT_THAT(widthsOf(dealt(once, settings, 2)), UnorderedElementsAre(137.5, 162.5));
}

TEST(MixMatch, KeyframesStay)
{
    TweenScene scene = sceneOfWidths({100, 200});
    scene.layers.edit()[0].keyframes = {keyAt(Keyframe::AnimatableProperty::width, 1, 33)};
    const TweenScene after = dealt(scene, {.categories = {Category::width}});
    EXPECT_EQ(after.layers[0].keyframes, scene.layers[0].keyframes);
    EXPECT_TRUE(after.layers[1].keyframes.empty());
}

TEST(MixMatch, IsOneStepThatCanBeUndone)
{
    TweenScene scene = sceneOfTwoTexts();
    Studio studio(scene, idsNamed("ab"));
    studio.commit.mutate("Fit", [](TweenScene&) {}); // Texts have the boxes that every edit gives them.
    const std::vector<std::uint8_t> before = studio.file();
    SeededRandom random(5);
    MixMatchSettings settings{.bias = 0.5};
    for (const EnumCase<Category>& each : EnumTable<Category>::cases) settings.categories.insert(each.value);
    ASSERT_TRUE(studio.perform(applyMixAndMatch(studio.scene(), idsNamed("ab"), settings, random)));
    EXPECT_EQ(studio.manager.undoActionName(), "Mix & Match");
    EXPECT_EQ(studio.selected(), namesOf(studio.scene(), idsNamed("ab")));
    EXPECT_NE(studio.file(), before);
    studio.manager.undo();
    EXPECT_EQ(studio.file(), before);
}

TEST(MixMatchSheet, OpensAsItWasLeft)
{
    MemoryUserDefaults defaults;
    MixMatchSheet sheet = MixMatchSheet::opened(defaults, 3);
    EXPECT_EQ(sheet.selectionCount, 3u);
    EXPECT_THAT(sheet.selected, ElementsAre(Category::fill, Category::strokeColor));
    EXPECT_EQ(sheet.bias, 0);
    EXPECT_FALSE(sheet.distributeAsSet);

    sheet.toggle(Category::fill);
    sheet.toggle(Category::textContent);
    sheet.bias = 0.75;
    sheet.textPool = "one,two";
    sheet.distributeAsSet = true;
    sheet.save(defaults);
    EXPECT_EQ(defaults.string(std::string_view("lksMixMatchCategories")), "strokeColor,textContent");
    EXPECT_EQ(defaults.number(std::string_view("lksMixMatchBias")), 0.75);
    EXPECT_TRUE(defaults.boolean(std::string_view("lksMixMatchAsSet")));

    const MixMatchSettings expected{
        .categories = {Category::strokeColor, Category::textContent}, .bias = 0.75, .textPool = "", .distributeAsSet = true};
    EXPECT_EQ(MixMatchSheet::opened(defaults, 2).settings(), expected) << "the text pool is not kept";
    EXPECT_EQ(sheet.settings().textPool, "one,two");
}

TEST(MixMatchSheet, ABiasOutOfItsRangeIsHeld)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [stored, expected] : {std::pair{-3.0, 0.0}, {7.0, 1.0}, {nan, 0.0}, {0.25, 0.25}}) {
        MemoryUserDefaults defaults({{"lksMixMatchBias", stored}});
        EXPECT_EQ(MixMatchSheet::opened(defaults, 2).bias, expected);
    }
}

TEST(MixMatchSheet, WithoutTextsWhatTextsHaveIsNotOffered)
{
    MemoryUserDefaults defaults;
    defaults.set("lksMixMatchCategories", "fill,textContent");
    const TweenScene scene = sceneHolding({layerNamed('a'), groupNamed('g', {kindNamed('t', Kind::text)}), layerNamed('b')});
    const MixMatchSheet shapes = MixMatchSheet::opened(defaults, scene, idsNamed("abx"));
    EXPECT_EQ(shapes.selectionCount, 2u) << "x is not in the scene";
    EXPECT_THAT(shapes.selected, ElementsAre(Category::fill, Category::textContent)) << "kept for another time";
    EXPECT_FALSE(shapes.showsTextPool());
    const MixMatchSheet mixed = MixMatchSheet::opened(defaults, scene, idsNamed("at"));
    EXPECT_TRUE(mixed.showsTextPool());
    for (const EnumCase<Category>& each : EnumTable<Category>::cases) {
        EXPECT_EQ(shapes.offers(each.value), mixMatchSection(each.value) != "Text") << each.fileValue;
        EXPECT_TRUE(mixed.offers(each.value));
    }
}

TEST(MixMatchSheet, TellsWhyNothingCanBeDealt)
{
    EXPECT_EQ((MixMatchSheet{.selectionCount = 2, .selected = {Category::x}}).obstacle(), "");
    EXPECT_EQ((MixMatchSheet{.selectionCount = 1, .selected = {Category::x}}).obstacle(), "Select two or more layers first.");
    EXPECT_EQ((MixMatchSheet{.selectionCount = 2}).obstacle(), "Turn on what is to be dealt.");
    EXPECT_EQ((MixMatchSheet{.selectionCount = 2, .hasTexts = false, .selected = {Category::fontSize}}).obstacle(),
              "None of the selected layers is a text.");
    EXPECT_EQ((MixMatchSheet{.selectionCount = 2, .hasTexts = false, .selected = {Category::x, Category::fontSize}}).obstacle(),
              "");
}

TEST(MixMatchSheet, NoneChosenStaysNone)
{
    MemoryUserDefaults defaults;
    MixMatchSheet sheet = MixMatchSheet::opened(defaults, 2);
    sheet.selectNone();
    sheet.save(defaults);
    EXPECT_TRUE(MixMatchSheet::opened(defaults, 2).selected.empty());
}

TEST(MixMatchSheet, TheTextPoolShowsWithItsCategory)
{
    MixMatchSheet sheet;
    EXPECT_FALSE(sheet.showsTextPool());
    sheet.selectAll();
    EXPECT_EQ(sheet.selected.size(), 15u);
    EXPECT_TRUE(sheet.showsTextPool());
    sheet.toggle(Category::textContent);
    EXPECT_FALSE(sheet.showsTextPool());
}

} // namespace
} // namespace larkspool
