#include "timeline/span_arrange.h"

#include "timeline/span_arrange_sheets.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

namespace larkspool {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// The same numbers each time.
class SeededRandom final : public RandomSource {
public:
    explicit SeededRandom(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t next() override { return engine_(); }

private:
    std::mt19937_64 engine_;
};

TimelineItemRef spanOfLayer(std::uint64_t layer)
{
    return TimelineItemRef::span(idOf(layer), idOf(layer + 100));
}

/// Layers 1, 2, 3 ... from the back to the front, each with one span.
TweenScene spansAt(std::vector<ItemTimes> spans)
{
    std::vector<Layer> layers;
    for (std::uint64_t i = 0; i < spans.size(); ++i)
        layers.push_back({.id = idOf(i + 1), .spans = {spanOf(i + 101, spans[i].start, spans[i].end)}});
    return sceneOf(std::move(layers));
}

TimelineSelection allSpans(const TweenScene& scene)
{
    TimelineSelection selected;
    walkLayers(scene.layers, [&](const Layer& layer) {
        for (const TimeSpan& span : layer.spans) selected.insert(TimelineItemRef::span(layer.id, span.id));
    });
    return selected;
}

/// Of each layer's first span, in the order of the tree.
std::vector<ItemTimes> times(const TweenScene& scene)
{
    std::vector<ItemTimes> all;
    walkLayers(scene.layers, [&](const Layer& layer) {
        if (!layer.spans.empty()) all.push_back({layer.spans[0].start, layer.spans[0].end});
    });
    return all;
}

std::vector<double> starts(const TweenScene& scene)
{
    std::vector<double> all;
    for (const ItemTimes& each : times(scene)) all.push_back(each.start);
    return all;
}

void expectNear(const std::vector<double>& values, const std::vector<double>& expected)
{
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i) EXPECT_NEAR(values[i], expected[i], 1e-9) << i;
}

TEST(Distribute, ChainsTheSpansInTheOrderOfTheirStartsAcrossLayers)
{
    struct Case {
        const char* when;
        std::vector<ItemTimes> before;
        double gap;
        std::vector<ItemTimes> after;
    };
    for (const Case& c : {Case{"without a gap they touch", {{5, 6}, {1, 3}, {2, 6}}, 0, {{7, 8}, {1, 3}, {3, 7}}},
                          Case{"with a gap", {{5, 6}, {1, 3}, {2, 6}}, 0.5, {{8, 9}, {1, 3}, {3.5, 7.5}}},
                          Case{"a negative gap counts as 0", {{5, 6}, {1, 3}}, -2, {{3, 4}, {1, 3}}},
                          Case{"from 0 at the earliest", {{-2, 1}, {4, 5}}, 1, {{0, 3}, {4, 5}}},
                          Case{"past the scene's end", {{8, 12}, {9, 10}}, 1, {{8, 12}, {13, 14}}},
                          Case{"an inverted one has no length", {{3, 1}, {5, 6}}, 1, {{3, 3}, {4, 5}}},
                          Case{"of two that begin together, the shorter first", {{2, 5}, {2, 3}}, 0, {{3, 6}, {2, 3}}}}) {
        SCOPED_TRACE(c.when);
        const TweenScene scene = spansAt(c.before);
        const auto edit = distributeSelectedSpans(scene, allSpans(scene), c.gap);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Distribute Spans");
        EXPECT_EQ(times(edit->scene), c.after);
        EXPECT_EQ(edit->scene.duration, scene.duration);
    }
}

TEST(Distribute, MovesSelectedSpansOnlyAndPassesOverDeadReferences)
{
    const TweenScene scene = spansAt({{1, 2}, {4, 5}, {6, 7}});
    const auto edit = distributeSelectedSpans(scene, {spanOfLayer(1), spanOfLayer(3), spanOfLayer(9)}, 0);
    ASSERT_TRUE(edit);
    EXPECT_EQ(times(edit->scene), (std::vector<ItemTimes>{{1, 2}, {4, 5}, {2, 3}}));
}

TEST(Distribute, IsRefusedWithFewerThanTwoSpansWithoutAGapADurationOrAChange)
{
    TweenScene scene = spansAt({{1, 2}, {4, 5}});
    EXPECT_FALSE(distributeSelectedSpans(scene, {}, 1));
    EXPECT_FALSE(distributeSelectedSpans(scene, {spanOfLayer(1)}, 1));
    EXPECT_FALSE(distributeSelectedSpans(scene, {spanOfLayer(1), spanOfLayer(9)}, 1));
    EXPECT_FALSE(distributeSelectedSpans(scene, {spanOfLayer(1), TimelineItemRef::videoClip(idOf(2))}, 1));
    for (const double gap : {notANumber, infinity, -infinity, 1.7e308}) {
        const TweenScene three = spansAt({{1, 2}, {4, 5}, {6, 7}});
        EXPECT_FALSE(distributeSelectedSpans(three, allSpans(three), gap)) << gap;
        const auto resolved = resolvedSelectedSpans(three, allSpans(three));
        EXPECT_EQ(previewDistributeSpans(gap, resolved), resolved) << gap;
    }
    EXPECT_FALSE(distributeSelectedSpans(scene, allSpans(scene), 2)) << "they stand so";
    scene.duration = 0;
    EXPECT_FALSE(distributeSelectedSpans(scene, allSpans(scene), 1));
}

TEST(Distribute, ThePreviewIsWhatIsWritten)
{
    const TweenScene scene = spansAt({{5, 6}, {1, 3}, {2, 6}});
    const auto preview = previewDistributeSpans(0.25, resolvedSelectedSpans(scene, allSpans(scene)));
    const auto edit = distributeSelectedSpans(scene, allSpans(scene), 0.25);
    ASSERT_EQ(preview.size(), 3u);
    for (const ResolvedSpanRef& ref : preview) EXPECT_EQ(*findSpan(edit->scene, ref.layerID, ref.spanID), ref.span);
    EXPECT_EQ(preview[0].spanID, idOf(102)) << "in the order of the chain";
}

TEST(Stagger, EachStepIsOnePlusCurveTimesTheOneBefore)
{
    struct Case {
        const char* when;
        double amount, curve;
        std::vector<double> starts;
    };
    // The first begins at 2.
    for (const Case& c :
         {Case{"equal steps", 0.5, 0, {2, 2.5, 3, 3.5}}, Case{"widening: 1, 2, 4", 1, 1, {2, 3, 5, 9}},
          Case{"narrowing: 1, 1/2, 1/4", 1, -0.5, {2, 3, 3.5, 3.75}},
          Case{"a curve of -1 counts as 0.05: 1, 0.05, 0.0025", 1, -1, {2, 3, 3.05, 3.0525}},
          Case{"and so does one below", 1, -7, {2, 3, 3.05, 3.0525}}, Case{"no amount: all at the base", 0, 1, {2, 2, 2, 2}},
          Case{"backwards, to 0 at most", -1.5, 0, {2, 0.5, 0, 0}},
          Case{"a curve that is almost none", 1, 0.0000005, {2, 3, 4, 5}},
          Case{"one that is just some: 1, 1.00001, 1.0000200001", 1, 0.00001, {2, 3, 4.00001, 5.0000300001}}}) {
        SCOPED_TRACE(c.when);
        const TweenScene scene = spansAt({{2, 3}, {4, 6}, {5, 5.5}, {8, 9}});
        const auto edit = staggerSelectedSpans(scene, allSpans(scene), c.amount, c.curve, StaggerOrder::earliestFirst);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Stagger Spans");
        expectNear(starts(edit->scene), c.starts);
        const std::vector<ItemTimes> after = times(edit->scene);
        const std::vector<double> lengths{1, 2, 0.5, 1};
        for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(after[i].end - after[i].start, lengths[i], 1e-9);
    }
}

TEST(Stagger, TheOrderTellsWhoIsTheBaseAndWhoFollows)
{
    // From the back to the front: layer 1, a group 2 of layers 3 and 4, layer 5.
    const auto layer = [](std::uint64_t id, double start) {
        return Layer{.id = idOf(id), .spans = {spanOf(id + 100, start, start + 1)}};
    };
    Layer group = layer(2, 4);
    group.kind = Layer::Kind::group;
    group.children = {layer(3, 1), layer(4, 5)};
    const TweenScene scene = sceneOf({layer(1, 2), group, layer(5, 3)});
    struct Case {
        StaggerOrder order;
        std::vector<double> starts; // Of layers 1 to 5.
    };
    // In the panel stand 5, 2, 4, 3, 1 from the top.
    for (const Case& c :
         {Case{StaggerOrder::layerTopDown, {3.4, 3.1, 3.3, 3.2, 3}}, Case{StaggerOrder::layerBottomUp, {2, 2.3, 2.1, 2.2, 2.4}},
          Case{StaggerOrder::earliestFirst, {1.1, 1.3, 1, 1.4, 1.2}}}) {
        SCOPED_TRACE(label(c.order));
        const auto edit = staggerSelectedSpans(scene, allSpans(scene), 0.1, 0, c.order);
        ASSERT_TRUE(edit);
        expectNear(starts(edit->scene), c.starts);
    }
    EXPECT_EQ(layerPanelOrderIndex(scene, idOf(5)), 0u);
    EXPECT_EQ(layerPanelOrderIndex(scene, idOf(4)), 2u);
    EXPECT_EQ(layerPanelOrderIndex(scene, idOf(1)), 4u);
    EXPECT_EQ(layerPanelOrderIndex(scene, idOf(9)), std::nullopt);
}

TEST(Stagger, SpansOfOneLayerGoByStartInBothPanelOrders)
{
    const TweenScene scene = sceneOf({Layer{.id = idOf(1), .spans = {spanOf(11, 5, 6), spanOf(12, 2, 3)}}});
    for (const StaggerOrder order : {StaggerOrder::layerTopDown, StaggerOrder::layerBottomUp}) {
        const auto edit = staggerSelectedSpans(scene, allSpans(scene), 1, 0, order);
        ASSERT_TRUE(edit) << label(order);
        EXPECT_EQ(findSpan(edit->scene, idOf(1), idOf(12))->start, 2);
        EXPECT_EQ(findSpan(edit->scene, idOf(1), idOf(11))->start, 3);
    }
}

TEST(Stagger, ABaseBeforeZeroIsHeldAndAnInvertedSpanHasNoLength)
{
    const TweenScene scene = spansAt({{-3, -1}, {4, 2}});
    const auto edit = staggerSelectedSpans(scene, allSpans(scene), 1, 0, StaggerOrder::earliestFirst);
    ASSERT_TRUE(edit);
    EXPECT_EQ(times(edit->scene), (std::vector<ItemTimes>{{0, 2}, {1, 1}}));
}

TEST(Stagger, RandomDealsTheSameStepsOutInAnOrderOfItsOwnEachTime)
{
    const TweenScene scene = spansAt({{0, 1}, {0, 1}, {0, 1}, {0, 1}, {0, 1}, {0, 1}, {0, 1}, {0, 1}});
    SeededRandom random(7);
    const auto run = [&] {
        return starts(staggerSelectedSpans(scene, allSpans(scene), 1, 0, StaggerOrder::random, random)->scene);
    };
    const std::vector<double> once = run(), again = run();
    EXPECT_NE(once, again);
    for (std::vector<double> dealt : {once, again}) {
        std::ranges::sort(dealt);
        EXPECT_EQ(dealt, (std::vector<double>{0, 1, 2, 3, 4, 5, 6, 7}));
    }
}

TEST(Stagger, RandomGivesEverySpanEveryPlace)
{
    const TweenScene scene = spansAt({{0, 1}, {0, 1}, {0, 1}});
    SeededRandom random(7);
    std::vector<std::vector<double>> seen;
    for (int i = 0; i < 200; ++i) {
        const auto dealt =
            previewStaggerSpans(1, 0, StaggerOrder::random, scene, resolvedSelectedSpans(scene, allSpans(scene)), random);
        std::vector<double> order;
        for (const ResolvedSpanRef& ref : dealt) order.push_back(static_cast<double>(ref.layerID.low));
        if (std::ranges::find(seen, order) == seen.end()) seen.push_back(order);
    }
    EXPECT_EQ(seen.size(), 6u);
}

TEST(Stagger, IsRefusedWithFewerThanTwoSpansWithoutNumbersADurationOrAChange)
{
    TweenScene scene = spansAt({{1, 2}, {4, 5}, {6, 7}});
    const auto stagger = [&](const TimelineSelection& selection, double amount, double curve) {
        return staggerSelectedSpans(scene, selection, amount, curve, StaggerOrder::earliestFirst);
    };
    EXPECT_FALSE(stagger({}, 1, 0));
    EXPECT_FALSE(stagger({spanOfLayer(1), spanOfLayer(9)}, 1, 0));
    for (const auto& [amount, curve] : {std::pair{notANumber, 0.0}, std::pair{1.0, notANumber}, std::pair{infinity, 0.0},
                                        std::pair{1.0, infinity}, std::pair{0.0, 1e300}, std::pair{1e308, 3.0}}) {
        EXPECT_FALSE(stagger(allSpans(scene), amount, curve)) << amount << ' ' << curve;
        const auto resolved = resolvedSelectedSpans(scene, allSpans(scene));
        EXPECT_EQ(previewStaggerSpans(amount, curve, StaggerOrder::earliestFirst, scene, resolved), resolved);
    }
    scene = spansAt({{1, 2}, {4, 5}, {7, 8}});
    EXPECT_FALSE(stagger(allSpans(scene), 3, 0)) << "they stand so";
    scene.duration = 0;
    EXPECT_FALSE(stagger(allSpans(scene), 1, 0));
}

TEST(Stagger, ThePreviewIsWhatIsWritten)
{
    const TweenScene scene = spansAt({{5, 6}, {1, 3}, {2, 6}});
    const auto preview =
        previewStaggerSpans(0.5, 0.5, StaggerOrder::layerTopDown, scene, resolvedSelectedSpans(scene, allSpans(scene)));
    const auto edit = staggerSelectedSpans(scene, allSpans(scene), 0.5, 0.5, StaggerOrder::layerTopDown);
    ASSERT_EQ(preview.size(), 3u);
    for (const ResolvedSpanRef& ref : preview) EXPECT_EQ(*findSpan(edit->scene, ref.layerID, ref.spanID), ref.span);
}

TEST(ArrangedSpans, HaveTheirEffectsRefit)
{
    TweenScene scene = spansAt({{1, 3}, {6, 7}});
    TimeSpan span = spanOf(102, 6, 7);
    span.effects = {SpanEffect{.id = idOf(60), .duration = 4}}; // As a file may have it.
    scene.layers.edit()[1].spans = {span};
    for (const auto& edit : {distributeSelectedSpans(scene, allSpans(scene), 0),
                             staggerSelectedSpans(scene, allSpans(scene), 1, 0, StaggerOrder::earliestFirst)}) {
        ASSERT_TRUE(edit);
        EXPECT_EQ(findSpan(edit->scene, idOf(2), idOf(102))->effects[0].duration, 1);
    }
}

TEST(SelectedSpans, AreCountedIfTheyAreThere)
{
    const TweenScene scene = spansAt({{5, 6}, {1, 3}});
    EXPECT_EQ(selectedSpanCount(scene, {}), 0u);
    EXPECT_EQ(selectedSpanCount(scene, {spanOfLayer(2), spanOfLayer(9), TimelineItemRef::videoClip(idOf(1))}), 1u);
    EXPECT_EQ(selectedSpanCount(scene, allSpans(scene)), 2u);
}

TEST(DistributeSheet, TextThatIsNoNumberCountsAsZero)
{
    struct Case {
        const char* typed;
        double gap;
    };
    for (const Case& c : {Case{"0.25", 0.25}, Case{"-1", -1}, Case{"", 0}, Case{"a bit", 0}, Case{"nan", 0}, Case{"inf", 0}}) {
        SCOPED_TRACE(c.typed);
        EXPECT_EQ((DistributeSpansSheet{.distributeSpansGapInput = c.typed}).parsedGap(), c.gap);
    }
}

TEST(DistributeSheet, BumpsWriteTheGapAndStopAtZero)
{
    struct Case {
        const char* typed;
        double by;
        const char* written;
    };
    for (const Case& c : {Case{"0.1", 0.2, "0.3"}, Case{"1", -0.1, "0.9"}, Case{"0.05", -0.1, "0"}, Case{"junk", 0.1, "0.1"},
                          Case{"1", notANumber, "1"}, Case{"1", infinity, "1"}}) {
        SCOPED_TRACE(c.typed);
        DistributeSpansSheet sheet{.distributeSpansGapInput = c.typed};
        sheet.bumpGap(c.by);
        EXPECT_EQ(sheet.distributeSpansGapInput, c.written);
    }
}

TEST(DistributeSheet, PreviewsTheTypedGap)
{
    const TweenScene scene = spansAt({{1, 2}, {4, 5}});
    const auto preview =
        DistributeSpansSheet{.distributeSpansGapInput = "0.5"}.preview(resolvedSelectedSpans(scene, allSpans(scene)));
    EXPECT_EQ(preview[1].span.start, 2.5);
}

TEST(StaggerSheet, AppliesWhatIsTypedButNotWithoutAnAmount)
{
    struct Case {
        const char* amount;
        const char* curve;
        std::optional<std::pair<double, double>> applied;
    };
    for (const Case& c : {Case{"0.2", "0.5", std::pair(0.2, 0.5)}, Case{"-1", "", std::pair(-1.0, 0.0)},
                          Case{"1", "nan", std::pair(1.0, 0.0)}, Case{"", "1", std::nullopt}, Case{"nan", "1", std::nullopt}}) {
        SCOPED_TRACE(c.amount);
        const StaggerSpansSheet sheet{.staggerSpansAmountInput = c.amount,
                                      .staggerSpansCurveInput = c.curve,
                                      .staggerSpansOrder = StaggerOrder::earliestFirst};
        std::optional<std::pair<double, double>> applied;
        EXPECT_EQ(sheet.apply([&](double amount, double curve, StaggerOrder order) {
            applied = {amount, curve};
            EXPECT_EQ(order, StaggerOrder::earliestFirst);
        }),
                  c.applied.has_value());
        EXPECT_EQ(applied, c.applied);
    }
}

TEST(StaggerSheet, PreviewsWhatIsTypedAndNothingWithoutAnAmount)
{
    const TweenScene scene = spansAt({{1, 2}, {4, 5}});
    const auto resolved = resolvedSelectedSpans(scene, allSpans(scene));
    StaggerSpansSheet sheet{.staggerSpansAmountInput = "0.5", .staggerSpansOrder = StaggerOrder::earliestFirst};
    EXPECT_EQ(sheet.preview(scene, resolved)[1].span.start, 1.5);
    sheet.staggerSpansAmountInput = "half";
    EXPECT_EQ(sheet.preview(scene, resolved), resolved);
}

} // namespace
} // namespace larkspool
