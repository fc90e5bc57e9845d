#include "timeline/retime_rows.h"

#include "support/random_timeline.h"
#include "timeline/timeline_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>

namespace larkspool {
namespace {

using testing::ElementsAre;

Keyframe keyframeOn(std::uint64_t id, Keyframe::AnimatableProperty property, double time, double wait = 0)
{
    return {.id = idOf(id), .property = property, .time = time, .wait = wait};
}

/// Layer 1, "Box": a span 2–5, a pulse at 3, keyframes of x and y at 1, one of opacity at 4 that waits for 0.5. Layer 2, "Film":
/// a clip 0–6.
TweenScene mixedScene()
{
    Layer box{.id = idOf(1)};
    box.name = SharedString("Box");
    box.spans = {spanOf(11, 2, 5)};
    box.pulses = {pulseOf(12, 3)};
    using enum Keyframe::AnimatableProperty;
    box.keyframes = {keyframeOn(13, opacity, 4, 0.5), keyframeOn(14, x, 1), keyframeOn(15, y, 1)};
    Layer film = videoOf(2, {.sceneStart = 0, .sceneEnd = 6});
    film.name = SharedString("Film");
    return sceneOf({box, film});
}

std::vector<std::string> idsOf(const std::vector<RetimeRow>& rows)
{
    std::vector<std::string> ids;
    for (const RetimeRow& row : rows) ids.push_back(row.id);
    return ids;
}

std::string groupID(std::string_view parts)
{
    return "group:" + idOf(1).string() + ":" + std::string(parts);
}

TEST(RetimeRows, EveryItemHasItsRowByStart)
{
    const std::vector<RetimeRow> rows = retimeRows(mixedScene());
    EXPECT_THAT(idsOf(rows), ElementsAre("video:" + idOf(2).string(), groupID("keyframe:1000:0"), "span:" + idOf(11).string(),
                                         "pulse:" + idOf(12).string(), "keyframe:" + idOf(13).string(),
                                         "wait:" + idOf(13).string()));
    using enum RetimeRow::Kind;
    struct Case {
        RetimeRow::Kind kind;
        const char* layerName;
        double start;
        std::optional<double> duration;
    };
    const Case cases[] = {{videoClip, "Film", 0, 6},      {keyframe, "Box", 1, std::nullopt}, {span, "Box", 2, 3},
                          {pulse, "Box", 3, std::nullopt}, {keyframe, "Box", 4, std::nullopt}, {wait, "Box", 4, 0.5}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(rows[i].id);
        EXPECT_EQ(rows[i].kind, cases[i].kind);
        EXPECT_EQ(rows[i].layerName, cases[i].layerName);
        EXPECT_EQ(rows[i].start, cases[i].start);
        EXPECT_EQ(rows[i].duration, cases[i].duration);
    }
}

TEST(RetimeRows, TwoKeyframesAtOneTimeOfALayerAreOneRowWithTwoChildren)
{
    const RetimeRow group = retimeRows(mixedScene())[1];
    EXPECT_EQ(group.source, std::nullopt);
    EXPECT_EQ(group.start, 1);
    EXPECT_THAT(idsOf(group.children), ElementsAre("keyframe:" + idOf(14).string(), "keyframe:" + idOf(15).string()));
    EXPECT_EQ(group.detail, std::string(displayName(Keyframe::AnimatableProperty::x)) + ", " +
                                std::string(displayName(Keyframe::AnimatableProperty::y)));
    EXPECT_EQ(rowSourceIDs(group), (TimelineSelection{TimelineItemRef::keyframe(idOf(1), idOf(14)),
                                                      TimelineItemRef::keyframe(idOf(1), idOf(15))}));
}

TEST(RetimeRows, ASingleItemIsNoGroupAndStandsForItself)
{
    const RetimeRow span = retimeRows(mixedScene())[2];
    EXPECT_TRUE(span.children.empty());
    EXPECT_EQ(rowSourceIDs(span), TimelineSelection{TimelineItemRef::span(idOf(1), idOf(11))});
}

TEST(RetimeRows, WhatDiffersInLayerKindStartOrDurationIsNoGroup)
{
    const auto rowCount = [](const Layer& one, const Layer& other) { return retimeRows(sceneOf({one, other})).size(); };
    Layer pair{.id = idOf(1)}, empty{.id = idOf(2)};
    pair.spans = {spanOf(11, 1, 2), spanOf(12, 1, 2)};
    EXPECT_EQ(rowCount(pair, empty), 1u) << "of the same times";
    pair.spans = {spanOf(11, 1, 2), spanOf(12, 1.002, 2.002)};
    EXPECT_EQ(rowCount(pair, empty), 2u) << "of other starts";
    pair.spans = {spanOf(11, 1, 2), spanOf(12, 1, 2.002)};
    EXPECT_EQ(rowCount(pair, empty), 2u) << "of other durations";
    pair.spans = {};
    pair.pulses = {pulseOf(11, 1)};
    pair.keyframes = {keyframeOf(12, 1)};
    EXPECT_EQ(rowCount(pair, empty), 2u) << "of other kinds";
    Layer alike{.id = idOf(1)}, other{.id = idOf(2)};
    alike.pulses = {pulseOf(11, 1)};
    other.pulses = {pulseOf(12, 1)};
    EXPECT_EQ(rowCount(alike, other), 2u) << "of other layers";
}

TEST(RetimeRows, TimesAreComparedInWholeMilliseconds)
{
    Layer layer{.id = idOf(1)};
    layer.pulses = {pulseOf(11, 1.0004), pulseOf(12, 0.9996), pulseOf(13, 1.0006)};
    const std::vector<RetimeRow> rows = retimeRows(sceneOf({layer}));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].id, groupID("pulse:1000:0"));
    EXPECT_EQ(rows[0].start, 0.9996) << "of the first of them";
    EXPECT_THAT(idsOf(rows[0].children), ElementsAre("pulse:" + idOf(12).string(), "pulse:" + idOf(11).string()));
    EXPECT_EQ(rows[1].id, "pulse:" + idOf(13).string());
}

TEST(RetimeRows, WaitsOfOneStartAndLengthAreOneRow)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(11, 1, 0.25), keyframeOf(12, 1, 0.25), keyframeOf(13, 1, 0.5)};
    const std::vector<RetimeRow> rows = retimeRows(sceneOf({layer}));
    EXPECT_THAT(idsOf(rows),
                ElementsAre(groupID("keyframe:1000:0"), groupID("wait:1000:250"), "wait:" + idOf(13).string()));
    EXPECT_EQ(rows[0].children.size(), 3u);
    EXPECT_EQ(rows[1].duration, 0.25);
}

TEST(RetimeRows, AWaitOfAlmostNothingAndAClipOfNoLengthHaveNone)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(11, 5, 0.0001)};
    const TweenScene scene = sceneOf({layer, videoOf(2, {.sceneStart = 3, .sceneEnd = 3})});
    EXPECT_THAT(idsOf(retimeRows(scene)), ElementsAre("keyframe:" + idOf(11).string()));
    layer.keyframes = {keyframeOf(11, 5, 0.00011)};
    EXPECT_EQ(retimeRows(sceneOf({layer})).size(), 2u);
}

TEST(RetimeRows, AClipOfALayerThatIsNoVideoHasNone)
{
    Layer image{.id = idOf(1), .kind = Layer::Kind::image};
    image.videoClip.sceneEnd = 5;
    EXPECT_TRUE(retimeRows(sceneOf({image})).empty());
}

TEST(RetimeRows, LayersBelowOthersTakePart)
{
    Layer inner{.id = idOf(1)};
    inner.pulses = {pulseOf(11, 1)};
    const Layer outer{.id = idOf(2), .kind = Layer::Kind::group, .children = {inner}};
    EXPECT_EQ(retimeRows(sceneOf({outer})).size(), 1u);
}

TEST(RetimeRows, AnInvertedSpanHasNoDurationToShow)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, 3, 2)};
    EXPECT_EQ(retimeRows(sceneOf({layer}))[0].duration, 0);
}

TEST(RetimeRows, TimesBeyondAllMeasureAreRowsToo)
{
    Layer layer{.id = idOf(1)};
    layer.spans = {spanOf(11, -1e300, 1e300), spanOf(12, 1e300, 1e301)};
    EXPECT_THAT(idsOf(retimeRows(sceneOf({layer}))),
                ElementsAre("span:" + idOf(11).string(), "span:" + idOf(12).string()));
}

TEST(RetimeRows, GroupingLosesAndDoublesNoItem)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene scene = random.scene();
        std::vector<TimelineItemRef> expected, found;
        for (const TimelineItemRef& ref : RandomTimeline::items(scene)) {
            const ItemTimes times = *timesOf(scene, ref);
            const bool isTail = ref.kind == TimelineItemRef::Kind::waitTail;
            if (isTail && findKeyframe(scene, ref.layerID, ref.itemID)->wait <= 0.0001) continue;
            if (ref.kind == TimelineItemRef::Kind::videoClip && times.start >= times.end) continue;
            expected.push_back(ref);
        }
        double last = -1e9;
        for (const RetimeRow& row : retimeRows(scene)) {
            RC_ASSERT(row.start >= last);
            last = row.start;
            RC_ASSERT(row.children.size() != 1u && row.source.has_value() == row.children.empty());
            for (const RetimeSource& source : sourcesOf(row)) found.push_back(source);
            for (const RetimeRow& child : row.children)
                RC_ASSERT(child.kind == row.kind && child.start - row.start >= 0 && child.start - row.start < 0.0010001);
        }
        std::ranges::sort(expected);
        std::ranges::sort(found);
        RC_ASSERT(found == expected);
    }));
}

TEST(RetimeRowOrder, RowsTakeTheNotedOrderAndUnknownOnesComeLast)
{
    const auto row = [](const char* id, std::vector<RetimeRow> children = {}) {
        return RetimeRow{.id = id, .children = std::move(children)};
    };
    const std::vector<RetimeRow> noted{row("a"), row("group:1", {row("b"), row("c")}), row("d")};
    const std::vector<std::string> order = rowOrder(noted);
    EXPECT_THAT(order, ElementsAre("a", "group:1", "b", "c", "d"));
    EXPECT_THAT(idsOf(orderedAs({row("new"), row("d"), row("group:2", {row("b"), row("c")}), row("a")}, order)),
                ElementsAre("a", "group:2", "d", "new"))
        << "a group whose id has changed stands where its children stood";
}

TEST(RetimeMiniTimeline, BarsShowTheRowsHeldWithinTheStrip)
{
    const std::vector<RetimeRow> rows{
        {.id = "a", .kind = RetimeRow::Kind::span, .start = 2, .duration = 3},
        {.id = "b", .kind = RetimeRow::Kind::pulse, .start = 5},
        {.id = "c", .kind = RetimeRow::Kind::videoClip, .start = 8, .duration = 7},
        {.id = "d", .kind = RetimeRow::Kind::keyframe, .start = 12},
        {.id = "e", .kind = RetimeRow::Kind::wait, .start = -2, .duration = 1},
    };
    using enum RetimeRow::Kind;
    EXPECT_THAT((RetimeMiniTimeline{.width = 200, .duration = 10}.bars(rows)),
                ElementsAre(RetimeMiniTimeline::Bar{"a", span, 40, 60}, RetimeMiniTimeline::Bar{"b", pulse, 100, 2},
                            RetimeMiniTimeline::Bar{"c", videoClip, 160, 40}, RetimeMiniTimeline::Bar{"d", keyframe, 198, 2},
                            RetimeMiniTimeline::Bar{"e", wait, 0, 2}));
}

TEST(RetimeMiniTimeline, AStripThatShowsNoTimeHasNoBarsAndNoGrip)
{
    const std::vector<RetimeRow> rows{{.id = "a", .duration = 1}};
    for (const RetimeMiniTimeline& strip : {RetimeMiniTimeline{.width = 0, .duration = 10}, RetimeMiniTimeline{.width = 200}}) {
        EXPECT_TRUE(strip.bars(rows).empty());
        EXPECT_EQ(strip.gripX(1), std::nullopt);
        EXPECT_EQ(strip.time(1), std::nullopt);
    }
    EXPECT_EQ((RetimeMiniTimeline{.width = 1, .duration = 10}.bars(rows)[0].width), 1) << "narrower than the narrowest bar";
}

TEST(RetimeMiniTimeline, TheGripStandsAtThePlayheadWithinTheStrip)
{
    const RetimeMiniTimeline strip{.width = 200, .duration = 10};
    EXPECT_EQ(strip.gripX(2.5), 50);
    EXPECT_EQ(strip.gripX(11), 200);
    EXPECT_EQ(strip.gripX(-1), 0);
    EXPECT_EQ(strip.time(50), 2.5);
    EXPECT_EQ(strip.time(std::numeric_limits<double>::quiet_NaN()), std::nullopt);
}

} // namespace
} // namespace larkspool
