#include "timeline/aggregate_tracks.h"

#include "support/random_timeline.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace larkspool {
namespace {

/// One layer for each time, numbered from 1, with a pulse numbered 101, 102 …
TweenScene pulsesAt(const std::vector<double>& times)
{
    std::vector<Layer> layers;
    for (std::size_t i = 0; i < times.size(); ++i) layers.push_back({.id = idOf(i + 1), .pulses = {pulseOf(i + 101, times[i])}});
    return sceneOf(layers);
}

/// The ids of each group.
template <typename Ref>
std::vector<std::vector<UUID>> stableIDs(const std::vector<AggregateGroup<Ref>>& groups)
{
    std::vector<std::vector<UUID>> ids;
    for (const AggregateGroup<Ref>& group : groups) ids.push_back(group.stableID);
    return ids;
}

TEST(AggregateGroups, TimesOfOneWholeMillisecondCollapseHoweverNearOthersAre)
{
    struct Case {
        const char* times;
        double a, b;
        std::size_t groups;
    };
    for (const Case& c : {Case{"1000 and 1001", 1.0004, 1.0006, 2}, Case{"both 1000", 1.0004, 0.9996, 1},
                          Case{"equal", 2.5, 2.5, 1}, Case{"both 0, from both sides", -0.0004, 0.0004, 1}}) {
        SCOPED_TRACE(c.times);
        EXPECT_EQ(AggregatePulsesTrack::groups(pulsesAt({c.a, c.b})).size(), c.groups);
        const Layer first{.id = idOf(1), .keyframes = {keyframeOf(11, c.a)}, .spans = {spanOf(12, c.a, 5)}};
        const Layer second{.id = idOf(2), .keyframes = {keyframeOf(21, c.b)}, .spans = {spanOf(22, c.b, 5)}};
        const TweenScene scene = sceneOf(
            {first, second, videoOf(3, {.sceneStart = 1, .sceneEnd = c.a}), videoOf(4, {.sceneStart = 1, .sceneEnd = c.b})});
        EXPECT_EQ(AggregateKeyframesTrack::groups(scene).size(), c.groups);
        EXPECT_EQ(AggregateSpansTrack::groups(scene).size(), c.groups);
        EXPECT_EQ(AggregateVideoTrack::groups(scene).size(), c.groups);
    }
}

TEST(AggregateGroups, BarsNeedBothTimesAlikeAndStandInTheOrderOfTheirStarts)
{
    const Layer child{.id = idOf(2), .spans = {spanOf(21, 3, 4), spanOf(22, 1, 4), spanOf(23, 3, 5)}};
    const Layer group{.id = idOf(1), .kind = Layer::Kind::group, .children = {child}, .spans = {spanOf(29, 3, 4)}};
    const auto groups = AggregateSpansTrack::groups(sceneOf({group, Layer{.id = idOf(3), .spans = {spanOf(20, 3, 4)}}}));
    EXPECT_EQ(stableIDs(groups), (std::vector<std::vector<UUID>>{{idOf(22)}, {idOf(20), idOf(21), idOf(29)}, {idOf(23)}}));
    EXPECT_EQ(groups[1].start, 3);
    EXPECT_EQ(groups[1].end, 4);
    EXPECT_EQ(groups[1].members(),
              (std::vector{TimelineItemRef::span(idOf(1), idOf(29)), TimelineItemRef::span(idOf(2), idOf(21)),
                           TimelineItemRef::span(idOf(3), idOf(20))}))
        << "in the order of the tree";
    EXPECT_EQ(groups[1].refs[1].start, 3);
    EXPECT_EQ(groups[1].refs[1].end, 4);
}

TEST(AggregateGroups, ClipsAreThoseOfVideoLayersAndHaveTheirLayersId)
{
    VideoClip shared{.sceneStart = 1, .sceneEnd = 3, .sourceStart = 0.5};
    Layer first = videoOf(2, shared, 9), second = videoOf(1, shared, 8);
    second.videoClip.id = first.videoClip.id; // As of a duplicated layer.
    Layer other = videoOf(3, shared);
    other.kind = Layer::Kind::image;
    const auto groups = AggregateVideoTrack::groups(sceneOf({first, second, other}));
    EXPECT_EQ(stableIDs(groups), (std::vector<std::vector<UUID>>{{idOf(1), idOf(2)}}));
    EXPECT_EQ(groups[0].members(), (std::vector{TimelineItemRef::videoClip(idOf(2)), TimelineItemRef::videoClip(idOf(1))}));
    EXPECT_EQ(groups[0].refs[0].srcDuration, 9);
    EXPECT_EQ(groups[0].refs[0].clip, first.videoClip);
}

TEST(AggregateGroups, AnItemAtNoTimeIsInNoGroup)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(stableIDs(AggregatePulsesTrack::groups(pulsesAt({1, nan, infinity, 1e300}))),
              (std::vector<std::vector<UUID>>{{idOf(101)}, {idOf(104)}}));
}

TEST(AggregateGroups, AMovedGroupKeepsItsIdentityAndItsItemsStayTogether)
{
    const TweenScene before = pulsesAt({2, 5, 2, 2.0004});
    const auto groups = AggregatePulsesTrack::groups(before);
    ASSERT_EQ(stableIDs(groups), (std::vector<std::vector<UUID>>{{idOf(101), idOf(103), idOf(104)}, {idOf(102)}}));
    Hand hand(groups[0].press(DragHandle::body), settingOf(before));
    hand.to(437);
    const auto moved = AggregatePulsesTrack::groups(hand.scene);
    EXPECT_EQ(stableIDs(moved), (std::vector<std::vector<UUID>>{{idOf(102)}, {idOf(101), idOf(103), idOf(104)}}));
    EXPECT_NEAR(moved[1].start, 6.37, 1e-12);
    EXPECT_EQ(hand.drag.actionName(), "Move Pulses");

    hand.to(-400); // Past 0, all of them.
    EXPECT_EQ(findLayer(hand.scene, idOf(1))->pulses[0].time, 0);
    EXPECT_EQ(findLayer(hand.scene, idOf(4))->pulses[0].time, 0);
    hand.to(0);
    EXPECT_EQ(hand.scene, before);
}

TEST(AggregateGroups, ADragHasThePluralNameOfItsKindEvenForOneItem)
{
    const Layer layer{.id = idOf(1), .keyframes = {keyframeOf(11, 1)}, .spans = {spanOf(12, 1, 2)}, .pulses = {pulseOf(13, 1)}};
    const TweenScene scene = sceneOf({layer, videoOf(3, {.sceneStart = 1, .sceneEnd = 3})});
    struct Case {
        DragPress press;
        const char* name;
    };
    for (const Case& c : {Case{AggregateSpansTrack::groups(scene)[0].press(DragHandle::body), "Move Spans"},
                          Case{AggregateSpansTrack::groups(scene)[0].press(DragHandle::leftEdge), "Resize Spans"},
                          Case{AggregateKeyframesTrack::groups(scene)[0].press(DragHandle::body), "Move Keyframes"},
                          Case{AggregatePulsesTrack::groups(scene)[0].press(DragHandle::body), "Move Pulses"},
                          Case{AggregateVideoTrack::groups(scene)[0].press(DragHandle::body), "Move Clips"},
                          Case{AggregateVideoTrack::groups(scene)[0].press(DragHandle::rightEdge), "Trim Clips"}}) {
        SCOPED_TRACE(c.name);
        Hand hand(c.press, settingOf(scene));
        ASSERT_TRUE(hand.to(50));
        EXPECT_EQ(hand.drag.actionName(), c.name);
    }
}

TEST(AggregateGroups, EachRowTellsWhatItStandsFor)
{
    EXPECT_EQ(AggregateSpansTrack::help,
              "Aggregate view across all layers. Bars share the same start and end across multiple layers; dragging a bar moves "
              "every contributing layer's matching span by the same delta.");
    EXPECT_EQ(AggregateVideoTrack::help,
              "Aggregate view across all video layers. Bars sharing the same scene range collapse into one; dragging or trimming "
              "moves every matching clip by the same delta.");
    EXPECT_EQ(AggregateKeyframesTrack::help,
              "Aggregate view of every keyframe in the scene. Diamonds sharing a time collapse into one; dragging shifts every "
              "keyframe at that time by the same delta.");
    EXPECT_EQ(AggregatePulsesTrack::help,
              "Aggregate view of every pulse marker. Markers at the same time collapse into one; dragging shifts every "
              "contributing layer's matching pulse together.");
}

// The popover.

TEST(AggregateLayerPopover, ListsTheLayersOfABarByName)
{
    const Layer first{.id = idOf(1), .name = "Title", .spans = {spanOf(11, 1, 2), spanOf(12, 1, 2)}};
    const Layer second{.id = idOf(2), .name = "Card", .spans = {spanOf(21, 1, 2), spanOf(22, 2, 3)}};
    const TweenScene scene = sceneOf({first, second});
    const std::vector<OverlapGroup> behind = overlapGroups(AggregateSpansTrack::groups(scene), 0);
    EXPECT_EQ(behind, (std::vector{OverlapGroup{1, 2, {idOf(1), idOf(2)}}})) << "bars that only touch do not overlap";

    const AggregateLayerPopover popover = AggregateLayerPopover::of(behind, AggregateLayerPopover::nameLookup(scene));
    EXPECT_FALSE(popover.isGrouped());
    using Entry = AggregateLayerPopover::Entry;
    EXPECT_EQ(popover.flatBody, (std::vector{Entry{idOf(1), "Title"}, Entry{idOf(2), "Card"}}));
}

TEST(AggregateLayerPopover, GroupsTheLayersWhereBarsOverlap)
{
    const Layer first{.id = idOf(1), .name = "Title", .spans = {spanOf(11, 1, 4), spanOf(12, 8, 9)}};
    const Layer child{.id = idOf(3), .name = "Icon", .spans = {spanOf(31, 3, 5)}};
    const Layer second{
        .id = idOf(2), .name = "Card", .kind = Layer::Kind::group, .children = {child}, .spans = {spanOf(21, 1, 4)}};
    const TweenScene scene = sceneOf({first, second});
    const auto groups = AggregateSpansTrack::groups(scene);
    const AggregateLayerPopover::NameLookup names = AggregateLayerPopover::nameLookup(scene);
    for (const std::size_t pressed : {std::size_t{0}, std::size_t{1}}) {
        SCOPED_TRACE(pressed);
        const AggregateLayerPopover popover = AggregateLayerPopover::of(overlapGroups(groups, pressed), names);
        EXPECT_TRUE(popover.flatBody.empty());
        ASSERT_EQ(popover.groupedBody.size(), 2u);
        EXPECT_EQ(popover.groupedBody[0].group, (OverlapGroup{1, 4, {idOf(1), idOf(2)}}));
        EXPECT_EQ(popover.groupedBody[0].entries[1].name, "Card");
        EXPECT_EQ(popover.groupedBody[1].group, (OverlapGroup{3, 5, {idOf(3)}}));
        EXPECT_EQ(popover.groupedBody[1].entries[0].name, "Icon");
    }
    EXPECT_EQ(overlapGroups(groups, 2).size(), 1u);
    EXPECT_TRUE(overlapGroups(groups, 3).empty());
}

TEST(AggregateLayerPopover, AMarkerAndAnInvertedBarHaveOnlyThemselves)
{
    const TweenScene scene = pulsesAt({2, 2.001, 2});
    EXPECT_EQ(overlapGroups(AggregatePulsesTrack::groups(scene), 0), (std::vector{OverlapGroup{2, 2, {idOf(1), idOf(3)}}}));
    const Layer inverted{.id = idOf(1), .spans = {spanOf(11, 4, 2), spanOf(12, 5, 6)}};
    EXPECT_EQ(overlapGroups(AggregateSpansTrack::groups(sceneOf({inverted})), 0), (std::vector{OverlapGroup{4, 2, {idOf(1)}}}));
}

TEST(AggregateLayerPopover, ALayerWithoutANameToFindIsLeftOut)
{
    const std::vector<OverlapGroup> behind{{1, 2, {idOf(1), idOf(2)}}};
    const AggregateLayerPopover popover = AggregateLayerPopover::of(behind, {{idOf(2), "Card"}});
    ASSERT_EQ(popover.flatBody.size(), 1u);
    EXPECT_EQ(popover.flatBody[0].layerID, idOf(2));
}

// Laws.

/// Every group of the four rows as its members, with its identity.
struct AnyGroup {
    std::vector<TimelineItemRef> members;
    std::vector<UUID> stableID;
    double start;
};

std::vector<std::vector<AnyGroup>> allRows(const TweenScene& scene)
{
    std::vector<std::vector<AnyGroup>> rows;
    const auto add = [&](const auto& groups) {
        std::vector<AnyGroup>& row = rows.emplace_back();
        for (const auto& group : groups) row.push_back({group.members(), group.stableID, group.start});
    };
    add(AggregateSpansTrack::groups(scene));
    add(AggregateVideoTrack::groups(scene));
    add(AggregateKeyframesTrack::groups(scene));
    add(AggregatePulsesTrack::groups(scene));
    return rows;
}

TEST(AggregateLaws, EveryItemIsInOneGroupWithThoseOfItsTimes)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        const TweenScene scene = RandomTimeline(seed).scene();
        std::vector<TimelineItemRef> grouped, expected;
        for (const std::vector<AnyGroup>& row : allRows(scene)) {
            std::set<std::vector<UUID>> ids;
            for (std::size_t i = 0; i < row.size(); ++i) {
                RC_ASSERT(ids.insert(row[i].stableID).second);
                // Starts of one millisecond may stand in either order.
                if (i > 0) RC_ASSERT(row[i].start > row[i - 1].start - 0.001);
                for (const TimelineItemRef& ref : row[i].members) {
                    grouped.push_back(ref);
                    const ItemTimes times = *timesOf(scene, ref), first = *timesOf(scene, row[i].members[0]);
                    RC_ASSERT(std::abs(times.start - first.start) <= 0.001 && std::abs(times.end - first.end) <= 0.001);
                }
            }
        }
        for (const TimelineItemRef& ref : RandomTimeline::items(scene))
            if (ref.kind != TimelineItemRef::Kind::waitTail) expected.push_back(ref);
        std::ranges::sort(grouped);
        std::ranges::sort(expected);
        RC_ASSERT(grouped == expected);
    }));
}

TEST(AggregateLaws, AGroupDragMovesItsItemsByOneWayAndReturnsWithoutATrace)
{
    EXPECT_TRUE(rc::check([](std::uint64_t seed) {
        RandomTimeline random(seed);
        const TweenScene before = random.scene();
        const auto rows = allRows(before);
        const std::vector<AnyGroup>& row = rows[random.index(rows.size())];
        if (row.empty()) return;
        const AnyGroup& group = row[random.index(row.size())];
        DragSetting setting = settingOf(before, random.selection(before));
        setting.rippleMode = static_cast<TimelineRippleMode>(random.index(4));
        setting.bodyTrigger = 0;
        Hand hand({.members = group.members, .handle = static_cast<DragHandle>(random.index(3)), .row = DragRow::aggregate},
                  setting);
        hand.to(0);
        for (int i = 0; i < 4; ++i) {
            hand.to(random.between(-1200, 1200), {.command = random.chance(2)});
            RC_ASSERT(effectsFitTheirSpans(hand.scene));
            RC_ASSERT(idsAreUnique(hand.scene));
            for (const TimelineItemRef& a : group.members)
                for (const TimelineItemRef& b : group.members) {
                    if (a.kind == TimelineItemRef::Kind::videoClip || timesOf(before, a) != timesOf(before, b)) continue;
                    RC_ASSERT(hand.times(a) == hand.times(b));
                }
        }
        hand.to(0);
        RC_ASSERT(hand.scene == before);
    }));
}

} // namespace
} // namespace larkspool
