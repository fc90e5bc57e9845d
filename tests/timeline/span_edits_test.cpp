#include "timeline/span_edits.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

Layer layerOf(std::vector<ItemTimes> spans)
{
    Layer layer{.id = idOf(1)};
    for (std::size_t i = 0; i < spans.size(); ++i) layer.spans.append(spanOf(10 + i, spans[i].start, spans[i].end));
    return layer;
}

/// The times of the span that the edit has added to layer 1.
std::optional<ItemTimes> added(const std::optional<Edit>& edit)
{
    if (!edit) return std::nullopt;
    EXPECT_EQ(edit->actionName, "Add Span");
    const TimeSpan& span = findLayer(edit->scene, idOf(1))->spans.back();
    return ItemTimes{span.start, span.end};
}

TEST(SpansTrack, AnAddedSpanIsHeldAtZeroAndLongEnough)
{
    struct Case {
        const char* when;
        double start, end;
        ItemTimes added;
    };
    for (const Case& c : {Case{"as told", 1, 2, {1, 2}}, Case{"before 0", -1, 2, {0, 2}}, Case{"too short", 1, 1.01, {1, 1.05}},
                          Case{"inverted", 3, 1, {3, 3.05}}, Case{"all before 0", -3, -2, {0, 0.05}}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(added(SpansTrack::addSpan(sceneOf({layerOf({})}), idOf(1), c.start, c.end)), c.added);
    }
    EXPECT_FALSE(SpansTrack::addSpan(sceneOf({layerOf({})}), idOf(9), 1, 2));
    EXPECT_FALSE(SpansTrack::addSpan(sceneOf({layerOf({})}), idOf(1), notANumber, 2));
}

TEST(SpansTrack, AtThePlayheadASpanRunsToTheNextOneElseItFillsTheFirstGap)
{
    struct Case {
        const char* when;
        std::vector<ItemTimes> spans;
        double playhead;
        std::optional<ItemTimes> added;
    };
    const std::vector<Case> cases{
        {"no spans", {}, 3, ItemTimes{3, 10}},
        {"before a span", {{5, 6}}, 3, ItemTimes{3, 5}},
        {"before two, listed in any order", {{7, 8}, {5, 6}}, 3, ItemTimes{3, 5}},
        {"behind all", {{5, 6}}, 7, ItemTimes{7, 10}},
        {"just before a span", {{5, 6}}, 4.99, ItemTimes{4.99, 4.99 + 0.05}},
        {"at the scene's end", {}, 10, ItemTimes{10, 10.05}},
        {"inside: the gap before it", {{2, 6}}, 3, ItemTimes{0, 2}},
        {"inside: a gap behind", {{0, 3}, {5, 6}}, 1, ItemTimes{3, 5}},
        {"inside: the gap at the end", {{0, 3}, {3, 6}}, 1, ItemTimes{6, 10}},
        {"at a span's very end", {{0, 3}}, 3, ItemTimes{3, 10}},
        {"inside one that covers all", {{0, 10}}, 3, std::nullopt},
        {"inside, where a later one is shorter", {{0, 8}, {1, 2}}, 3, ItemTimes{8, 10}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(added(SpansTrack::addSpanAtPlayhead(sceneOf({layerOf(c.spans)}), idOf(1), c.playhead)), c.added);
    }
    EXPECT_FALSE(SpansTrack::addSpanAtPlayhead(sceneOf({}), idOf(1), 3));
}

TEST(SpansTrack, The6PointsAtBothEndsAreHandles)
{
    EXPECT_EQ(SpansTrack::handleAt(0, 100), DragHandle::leftEdge);
    EXPECT_EQ(SpansTrack::handleAt(5.9, 100), DragHandle::leftEdge);
    EXPECT_EQ(SpansTrack::handleAt(6.1, 100), DragHandle::body);
    EXPECT_EQ(SpansTrack::handleAt(93.9, 100), DragHandle::body);
    EXPECT_EQ(SpansTrack::handleAt(94.1, 100), DragHandle::rightEdge);
    EXPECT_EQ(SpansTrack::handleAt(4, 8), DragHandle::leftEdge);
}

TEST(PasteSpan, GivesLengthEffectsAndTransitionsWithinTheScene)
{
    SpanSnapshot snapshot{.length = 2,
                          .effects = {SpanEffect{.id = idOf(90), .kind = SpanEffect::Kind::popIn, .duration = 1.5}},
                          .zoomStart = ZoomTransition::fade};
    struct Case {
        const char* when;
        ItemTimes before;
        double length;
        ItemTimes after;
        double effect;
    };
    for (const Case& c : {Case{"fits", {1, 2}, 2, {1, 3}, 1.5}, Case{"past the end", {9, 9.5}, 2, {9, 10}, 1},
                          Case{"starts past the end", {12, 13}, 2, {10, 10}, 0.05},
                          Case{"starts before 0", {-1, 1}, 2, {0, 2}, 1.5}, Case{"inverted", {4, 6}, -2, {4, 4}, 0.05}}) {
        SCOPED_TRACE(c.when);
        snapshot.length = c.length;
        const auto edit =
            pasteSpanSnapshot(sceneOf({layerOf({c.before})}), {}, snapshot, TimelineItemRef::span(idOf(1), idOf(10)));
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Paste Span");
        const TimeSpan& span = findLayer(edit->scene, idOf(1))->spans[0];
        EXPECT_EQ((ItemTimes{span.start, span.end}), c.after);
        EXPECT_EQ(span.zoomStart, snapshot.zoomStart);
        ASSERT_EQ(span.effects.size(), 1u);
        EXPECT_EQ(span.effects[0].kind, SpanEffect::Kind::popIn);
        EXPECT_NE(span.effects[0].id, idOf(90));
        EXPECT_DOUBLE_EQ(span.effects[0].duration, c.effect);
    }
}

TEST(PasteSpan, GoesToTheWholeSelectionIfTheClickedSpanIsOneOfTwoItems)
{
    const TimelineItemRef first = TimelineItemRef::span(idOf(1), idOf(10)), second = TimelineItemRef::span(idOf(1), idOf(11)),
                          third = TimelineItemRef::span(idOf(1), idOf(12)), other = TimelineItemRef::pulse(idOf(1), idOf(50));
    const TweenScene scene = sceneOf({layerOf({{0, 1}, {2, 3}, {4, 5}})});
    struct Case {
        const char* when;
        TimelineSelection selection;
        const char* name;
        std::vector<double> lengths;
    };
    for (const Case& c :
         {Case{"two selected", {first, second}, "Paste Spans", {2, 2, 1}},
          Case{"with another kind", {first, other}, "Paste Span", {2, 1, 1}}, Case{"alone", {first}, "Paste Span", {2, 1, 1}},
          Case{"not among them", {second, third}, "Paste Span", {2, 1, 1}}}) {
        SCOPED_TRACE(c.when);
        const auto edit = pasteSpanSnapshot(scene, c.selection, {.length = 2}, first);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, c.name);
        for (std::size_t i = 0; i < 3; ++i) {
            const TimeSpan& span = findLayer(edit->scene, idOf(1))->spans[i];
            EXPECT_EQ(span.end - span.start, c.lengths[i]);
        }
    }
    EXPECT_FALSE(pasteSpanSnapshot(scene, {}, {.length = 2}, TimelineItemRef::span(idOf(1), idOf(99))));
}

/// The layers from the bottom of the stack up.
std::vector<std::uint64_t> stack(const Array<Layer>& layers)
{
    std::vector<std::uint64_t> ids;
    for (const Layer& layer : layers) ids.push_back(layer.id.low);
    return ids;
}

Layer pulsing(std::uint64_t id, double time)
{
    return {.id = idOf(id), .pulses = {pulseOf(id + 100, time)}};
}

TimelineItemRef pulseOfLayer(std::uint64_t id)
{
    return TimelineItemRef::pulse(idOf(id), idOf(id + 100));
}

TEST(OrderLayers, TheEarliestLiesOnTop)
{
    const TweenScene scene = sceneOf({pulsing(1, 1), pulsing(2, 3), pulsing(3, 2)});
    const auto edit = orderLayersByStartTime(scene, {pulseOfLayer(1), pulseOfLayer(2), pulseOfLayer(3)});
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->actionName, "Order Layers by Start Time");
    EXPECT_EQ(stack(edit->scene.layers), (std::vector<std::uint64_t>{2, 3, 1}));
}

TEST(OrderLayers, ALayerThatIsNotSelectedCountsAsZeroAndEqualOnesKeepTheirOrder)
{
    const TweenScene scene = sceneOf({pulsing(1, 1), pulsing(2, 5), pulsing(3, 2), pulsing(4, 5), pulsing(5, 7)});
    const auto edit = orderLayersByStartTime(scene, {pulseOfLayer(2), pulseOfLayer(3), pulseOfLayer(4)});
    ASSERT_TRUE(edit);
    EXPECT_EQ(stack(edit->scene.layers), (std::vector<std::uint64_t>{2, 4, 3, 1, 5}));
}

TEST(OrderLayers, AGroupCountsWithWhatIsSelectedInItAndItsChildrenAreSortedToo)
{
    const Layer group{.id = idOf(9), .kind = Layer::Kind::group, .children = {pulsing(1, 2), pulsing(2, 4)}};
    const TweenScene scene = sceneOf({pulsing(3, 3), group});
    const TimelineSelection selection{pulseOfLayer(1), pulseOfLayer(2), pulseOfLayer(3)};
    EXPECT_EQ(affectedLayerCount(scene, selection), 4u);
    const auto edit = orderLayersByStartTime(scene, selection);
    ASSERT_TRUE(edit);
    EXPECT_EQ(stack(edit->scene.layers), (std::vector<std::uint64_t>{3, 9}));
    EXPECT_EQ(stack(findLayer(edit->scene, idOf(9))->children), (std::vector<std::uint64_t>{2, 1}));
}

TEST(OrderLayers, EachKindOfItemCountsWithItsStart)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(2, 3, 1)};
    layer.spans = {spanOf(4, 5, 6)};
    const TweenScene scene = sceneOf({pulsing(7, 4), layer, videoOf(8, {.sceneStart = 3.5, .sceneEnd = 9})});
    struct Case {
        const char* item;
        TimelineItemRef ref;
        bool above;
    };
    for (const Case& c : {Case{"keyframe", TimelineItemRef::keyframe(idOf(1), idOf(2)), true},
                          Case{"wait tail", TimelineItemRef::waitTail(idOf(1), idOf(2)), true},
                          Case{"span", TimelineItemRef::span(idOf(1), idOf(4)), false}}) {
        SCOPED_TRACE(c.item);
        const auto edit = orderLayersByStartTime(scene, {c.ref, pulseOfLayer(7), TimelineItemRef::videoClip(idOf(8))});
        ASSERT_TRUE(edit);
        EXPECT_EQ(stack(edit->scene.layers),
                  (c.above ? std::vector<std::uint64_t>{7, 8, 1} : std::vector<std::uint64_t>{1, 7, 8}));
    }
}

TEST(OrderLayers, DoesNothingWithFewerThanTwoLayersOrItemsOrInOrderAlready)
{
    Layer twice = pulsing(1, 1);
    twice.pulses.append(pulseOf(55, 2));
    const TweenScene scene = sceneOf({pulsing(2, 3), twice});
    EXPECT_FALSE(orderLayersByStartTime(scene, {}));
    EXPECT_FALSE(orderLayersByStartTime(scene, {pulseOfLayer(1)}));
    EXPECT_FALSE(orderLayersByStartTime(scene, {pulseOfLayer(1), TimelineItemRef::pulse(idOf(1), idOf(55))}));
    EXPECT_FALSE(orderLayersByStartTime(scene, {pulseOfLayer(1), pulseOfLayer(2)})) << "the earlier one is on top";
    EXPECT_FALSE(orderLayersByStartTime(scene, {pulseOfLayer(1), pulseOfLayer(77)})) << "the second is gone";
}

} // namespace
} // namespace larkspool
