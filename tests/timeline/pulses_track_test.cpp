#include "timeline/pulses_track.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace larkspool {
namespace {

TEST(PulsesTrack, AnAddedPulseIsAppendedWithTheDefaultEffectsFrom0On)
{
    const TweenScene scene = sceneOf({Layer{.id = idOf(1), .pulses = {pulseOf(13, 5)}}});
    struct Case {
        const char* where;
        double time, added;
    };
    for (const Case& c : {Case{"in the scene", 2.5, 2.5}, Case{"before it", -1, 0}, Case{"beyond its end", 12, 12},
                          Case{"where one stands", 5, 5}}) {
        SCOPED_TRACE(c.where);
        const std::optional<Edit> edit = PulsesTrack::addPulse(scene, idOf(1), c.time);
        ASSERT_TRUE(edit);
        EXPECT_EQ(edit->actionName, "Add Pulse");
        const Array<Pulse>& pulses = findLayer(edit->scene, idOf(1))->pulses;
        ASSERT_EQ(pulses.size(), 2u);
        EXPECT_EQ(pulses[0], pulseOf(13, 5));
        EXPECT_EQ(pulses[1], (Pulse{.id = pulses[1].id, .time = c.added}));
        EXPECT_NE(pulses[1].id, UUID());
        EXPECT_NE(pulses[1].id, findLayer(PulsesTrack::addPulse(scene, idOf(1), c.time)->scene, idOf(1))->pulses[1].id);
    }
}

TEST(PulsesTrack, NothingIsAddedToALayerThatIsNotThereOrAtNoTime)
{
    const TweenScene scene = sceneOf({Layer{.id = idOf(1)}});
    EXPECT_FALSE(PulsesTrack::addPulse(scene, idOf(9), 1));
    EXPECT_FALSE(PulsesTrack::addPulse(scene, idOf(1), std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(PulsesTrack::addPulse(scene, idOf(1), std::numeric_limits<double>::infinity()));
}

TEST(PulsesTrack, AMarkerStandsAtItsTimeAndTellsItWithTwoDecimals)
{
    const TrackMapping mapping{.left = 100, .width = 1000, .start = 0, .visibleSeconds = 10};
    EXPECT_EQ(PulsesTrack::pulseMarker(idOf(1), pulseOf(13, 1.5), mapping),
              (PulsesTrack::PulseMarker{TimelineItemRef::pulse(idOf(1), idOf(13)), 250, "1.50s"}));
    EXPECT_EQ(PulsesTrack::pulseMarker(idOf(1), pulseOf(13, 1.506), mapping)->time, "1.51s");
    EXPECT_EQ(PulsesTrack::pulseMarker(idOf(1), pulseOf(13, 1.5), {.width = 1000, .visibleSeconds = 0}), std::nullopt);
}

TEST(PulsesTrack, TheBoundsAreThoseOfTheLayersSelectedPulses)
{
    const Layer layer{.id = idOf(1),
                      .keyframes = {keyframeOf(12, 0)},
                      .pulses = {pulseOf(13, 5), pulseOf(14, 2), pulseOf(15, 9), pulseOf(16, 3)}};
    const auto pulse = [](std::uint64_t id) { return TimelineItemRef::pulse(idOf(1), idOf(id)); };
    struct Case {
        const char* selected;
        TimelineSelection selection;
        std::optional<ItemTimes> bounds;
    };
    for (const Case& c : {Case{"three", {pulse(13), pulse(14), pulse(16)}, ItemTimes{2, 5}},
                          Case{"one", {pulse(15)}, ItemTimes{9, 9}}, Case{"none", {}, std::nullopt},
                          Case{"items of other kinds and layers",
                               {TimelineItemRef::keyframe(idOf(1), idOf(12)), TimelineItemRef::pulse(idOf(2), idOf(13))},
                               std::nullopt}}) {
        SCOPED_TRACE(c.selected);
        EXPECT_EQ(PulsesTrack::localPulseSelectionBounds(layer, c.selection), c.bounds);
    }
}

TEST(PulsesTrack, PulsesDraggedOntoOneTimeStayTwo)
{
    const TweenScene before = sceneOf({Layer{.id = idOf(1), .pulses = {pulseOf(13, 5), pulseOf(14, 7)}}});
    Hand hand(TimelineItemRef::pulse(idOf(1), idOf(13)), DragHandle::body, settingOf(before));
    hand.to(198, {}); // The other one, 0.02 away, takes it.
    EXPECT_EQ(findLayer(hand.scene, idOf(1))->pulses, (Array<Pulse>{pulseOf(13, 7), pulseOf(14, 7)}));
}

} // namespace
} // namespace larkspool
