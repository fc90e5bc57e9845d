#include "timeline/snap.h"

#include "support/memory_user_defaults.h"
#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr TimeSnap::Track tenSeconds{1000, 10, 10};
const SnapSettings halfSeconds{.grid = PlayheadSnapMode::sec050};

/// The row of layer 1, with the playhead far away.
TimeSnap snapIn(std::vector<Layer> layers, SnapMember member = SnapMembers::spansTrack, SnapSettings settings = halfSeconds,
                TimelineSelection excluded = {}, TimeSnap::Track track = tenSeconds, double playhead = 100)
{
    return TimeSnap(sceneOf(std::move(layers)), playhead, settings, member, idOf(1), excluded, track);
}

TEST(TimeSnap, WithNothingNearATimeGoesToTheGridAndHalfWaysAwayFromZero)
{
    const TimeSnap snap = snapIn({});
    struct Case {
        double time, snapped;
    };
    for (const Case& c : {Case{1.26, 1.5}, Case{1.24, 1.0}, Case{1.25, 1.5}, Case{-1.25, -1.5}, Case{0, 0}}) {
        SCOPED_TRACE(c.time);
        EXPECT_EQ(snap.snap(c.time, {}), (TimeSnap::Snapped{c.snapped, false}));
    }
}

TEST(TimeSnap, EveryModeHasItsGrid)
{
    struct Case {
        PlayheadSnapMode mode;
        std::int64_t fps;
        double step;
    };
    for (const Case& c :
         {Case{PlayheadSnapMode::frame, 30, 1.0 / 30}, Case{PlayheadSnapMode::frame, 0, 1}, Case{PlayheadSnapMode::frame, -5, 1},
          Case{PlayheadSnapMode::sec010, 30, 0.1}, Case{PlayheadSnapMode::sec025, 30, 0.25},
          Case{PlayheadSnapMode::sec050, 30, 0.5}, Case{PlayheadSnapMode::sec100, 30, 1}}) {
        SCOPED_TRACE(fileValue(c.mode));
        EXPECT_DOUBLE_EQ(gridStep(c.mode, c.fps), c.step);
    }
    EXPECT_DOUBLE_EQ(gridTime(1.01, gridStep(PlayheadSnapMode::frame, 30)), 1.0) << "frame 30 of 30 a second";
}

TEST(TimeSnap, TheRadiusStaysTheSameOnScreenAtAllZoomLevels)
{
    // A pulse at 5; 1000 points.
    struct Case {
        const char* when;
        SnapMember member;
        double visible, within, beyond;
    };
    for (const Case& c : {Case{"spans, 10 seconds", SnapMembers::spansTrack, 10, 0.0599, 0.0601},
                          Case{"spans, 1 second", SnapMembers::spansTrack, 1, 0.00599, 0.00601},
                          Case{"keyframes, 10 seconds", SnapMembers::keyframeTracks, 10, 0.1199, 0.1201},
                          Case{"keyframes, 1 second", SnapMembers::keyframeTracks, 1, 0.01199, 0.01201},
                          Case{"a clip", SnapMembers::videoClipTrack, 10, 0.0599, 0.0601},
                          Case{"pulses", SnapMembers::pulsesTrack, 10, 0.0599, 0.0601},
                          Case{"all spans", SnapMembers::aggregateSpansTrack, 10, 0.0599, 0.0601},
                          Case{"all clips", SnapMembers::aggregateVideoTrack, 10, 0.0599, 0.0601},
                          Case{"all keyframes", SnapMembers::aggregateKeyframesTrack, 10, 0.0599, 0.0601},
                          Case{"all pulses", SnapMembers::aggregatePulsesTrack, 10, 0.0599, 0.0601}}) {
        SCOPED_TRACE(c.when);
        const TimeSnap snap = snapIn({Layer{.id = idOf(1), .kind = Layer::Kind::video, .pulses = {pulseOf(2, 5)}}}, c.member,
                                     {.grid = PlayheadSnapMode::sec100}, {}, {1000, 10, c.visible});
        EXPECT_TRUE(snap.snap(5 - c.within, {})->toItem);
        EXPECT_TRUE(snap.snap(5 + c.within, {})->toItem);
        EXPECT_FALSE(snap.snap(5 + c.beyond, {})->toItem);
    }
}

TEST(TimeSnap, AtExactlyTheRadiusATargetDoesNotPull)
{
    const TimeSnap::Track track{96, 1, 1}; // The radius is 6 / 96 = 0.0625.
    const TimeSnap snap =
        snapIn({Layer{.id = idOf(1), .pulses = {pulseOf(2, 0.25)}}}, SnapMembers::spansTrack, halfSeconds, {}, track);
    EXPECT_FALSE(snap.snap(0.3125, {})->toItem);
    EXPECT_TRUE(snap.snap(0.312, {})->toItem);
}

TEST(TimeSnap, OfTwoTargetsEquallyNearTheOneListedFirstWins)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(2, 4.0)};
    layer.pulses = {pulseOf(3, 4.0625)};
    layer.spans = {spanOf(4, 3.9375, 4.125)};
    SnapSettings settings{.grid = PlayheadSnapMode::sec100};
    const TimeSnap::Track wide{48, 10, 1}; // A radius of 0.125.

    struct Case {
        const char* between;
        double time, playhead, winner;
    };
    for (const Case& c :
         {Case{"keyframe and pulse", 4.03125, 100, 4.0}, Case{"span's start and keyframe", 3.96875, 100, 4.0},
          Case{"pulse and span's end", 4.09375, 100, 4.0625}, Case{"playhead and keyframe", 4.015625, 4.03125, 4.03125}}) {
        SCOPED_TRACE(c.between);
        EXPECT_EQ(snapIn({layer}, SnapMembers::spansTrack, settings, {}, wide, c.playhead).snap(c.time, {}),
                  (TimeSnap::Snapped{c.winner, true}));
    }
}

TEST(TimeSnap, TheNearestTargetWinsWhateverItsKind)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(2, 4.0)};
    layer.spans = {spanOf(4, 4.02, 9)};
    EXPECT_EQ(snapIn({layer}).snap(4.015, {})->time, 4.02);
}

TEST(TimeSnap, KindsOfTargetsCanBeSwitchedOffAndThePlayheadCannot)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(2, 2.2)};
    layer.pulses = {pulseOf(3, 4.2)};
    layer.spans = {spanOf(4, 6.2, 7.2)};
    struct Case {
        const char* off;
        SnapSettings settings;
        bool keyframes, pulses, spans;
    };
    for (const Case& c :
         {Case{"none", {}, true, true, true}, Case{"keyframes", {.toKeyframes = false}, false, true, true},
          Case{"pulses", {.toPulses = false}, true, false, true}, Case{"spans", {.toSpans = false}, true, true, false}}) {
        SCOPED_TRACE(c.off);
        const TimeSnap snap = snapIn({layer}, SnapMembers::spansTrack, c.settings, {}, tenSeconds, 9.2);
        EXPECT_EQ(snap.snap(2.201, {})->toItem, c.keyframes);
        EXPECT_EQ(snap.snap(4.201, {})->toItem, c.pulses);
        EXPECT_EQ(snap.snap(6.201, {})->toItem, c.spans);
        EXPECT_EQ(snap.snap(7.201, {})->toItem, c.spans);
        EXPECT_EQ(snap.snap(9.201, {}), (TimeSnap::Snapped{9.2, true}));
    }
}

TEST(TimeSnap, ExcludedItemsAreNoTargets)
{
    Layer layer{.id = idOf(1)};
    layer.keyframes = {keyframeOf(2, 2.2)};
    layer.pulses = {pulseOf(3, 4.2)};
    layer.spans = {spanOf(4, 6.2, 7.2)};
    const TimeSnap snap = snapIn({layer}, SnapMembers::spansTrack, halfSeconds,
                                 {TimelineItemRef::keyframe(idOf(1), idOf(2)), TimelineItemRef::pulse(idOf(1), idOf(3)),
                                  TimelineItemRef::span(idOf(1), idOf(4))});
    for (const double time : {2.2, 4.2, 6.2, 7.2}) EXPECT_FALSE(snap.snap(time, {})->toItem) << time;
}

TEST(TimeSnap, EachMemberLooksAtItsOwnPool)
{
    const Layer own{.id = idOf(1), .pulses = {pulseOf(10, 1.2)}}, other{.id = idOf(2), .pulses = {pulseOf(20, 2.2)}};
    Layer video = videoOf(3, {});
    video.pulses = {pulseOf(30, 3.2)};
    const Layer group{.id = idOf(4), .kind = Layer::Kind::group, .children = {other}};
    struct Case {
        const char* member;
        SnapMember told;
        bool ownLayer, otherLayer, video;
    };
    for (const Case& c : {Case{"spans", SnapMembers::spansTrack, true, false, false},
                          Case{"clip", SnapMembers::videoClipTrack, true, false, false},
                          Case{"pulses", SnapMembers::pulsesTrack, true, false, false},
                          Case{"keyframes", SnapMembers::keyframeTracks, true, false, false},
                          Case{"all spans", SnapMembers::aggregateSpansTrack, true, true, true},
                          Case{"all clips", SnapMembers::aggregateVideoTrack, false, false, true},
                          Case{"all keyframes", SnapMembers::aggregateKeyframesTrack, true, true, true},
                          Case{"all pulses", SnapMembers::aggregatePulsesTrack, true, true, true}}) {
        SCOPED_TRACE(c.member);
        const TimeSnap snap = snapIn({own, group, video}, c.told);
        EXPECT_EQ(snap.snap(1.21, {})->toItem, c.ownLayer);
        EXPECT_EQ(snap.snap(2.21, {})->toItem, c.otherLayer);
        EXPECT_EQ(snap.snap(3.21, {})->toItem, c.video);
    }
}

TEST(TimeSnap, ThereIsNoneWithCommandDownOrOnATrackWithoutWidthOrDuration)
{
    EXPECT_EQ(snapIn({}).snap(1.26, {.command = true}), std::nullopt);
    EXPECT_TRUE(snapIn({}).snap(1.26, {.shift = true, .option = true}));
    struct Case {
        const char* when;
        TimeSnap::Track track;
    };
    for (const Case& c :
         {Case{"no width", {0, 10, 10}}, Case{"no duration", {1000, 0, 0}}, Case{"less than none", {-5, -1, -1}}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(snapIn({}, SnapMembers::spansTrack, halfSeconds, {}, c.track).snap(1.26, {}), std::nullopt);
        EXPECT_EQ(snapIn({}, SnapMembers::spansTrack, halfSeconds, {}, c.track).snapBody(1.26, 1, {}), std::nullopt);
    }
}

TEST(TimeSnap, ABodyTriesATargetAtItsStartThenAtItsEndThenTheGrid)
{
    // Targets at 2.2, 5.2 and 7.2; the body is 3 long.
    const Layer layer{.id = idOf(1), .pulses = {pulseOf(10, 2.2), pulseOf(20, 5.2), pulseOf(30, 7.2)}};
    const TimeSnap snap = snapIn({layer});
    struct Case {
        const char* where;
        double start;
        TimeSnap::SnappedBody body;
    };
    for (const Case& c :
         {Case{"start near a target, and the end nearer", 2.21, {2.2, 2.2, true}},
          Case{"only the end near a target", 4.15, {7.2 - 3, 7.2, true}}, Case{"none near", 3.3, {3.5, 3.5, false}}}) {
        SCOPED_TRACE(c.where);
        const auto body = snap.snapBody(c.start, 3, {});
        ASSERT_TRUE(body);
        EXPECT_DOUBLE_EQ(body->start, c.body.start);
        EXPECT_EQ(body->line, c.body.line);
        EXPECT_EQ(body->toItem, c.body.toItem);
    }
}

TEST(SnapSettings, ComeFromTheDefaultsAndAnUnknownModeIsTheFrame)
{
    MemoryUserDefaults defaults;
    EXPECT_EQ(SnapSettings::of(defaults).grid, PlayheadSnapMode::frame);
    EXPECT_TRUE(SnapSettings::of(defaults).toSpans && SnapSettings::of(defaults).toKeyframes &&
                SnapSettings::of(defaults).toPulses);
    defaults.set(DefaultsKey::timelinePlayheadSnap, std::string("sec025"));
    defaults.set(DefaultsKey::timelineSnapToPulses, false);
    EXPECT_EQ(SnapSettings::of(defaults).grid, PlayheadSnapMode::sec025);
    EXPECT_FALSE(SnapSettings::of(defaults).toPulses);
    defaults.set(DefaultsKey::timelinePlayheadSnap, std::string("sec3"));
    EXPECT_EQ(SnapSettings::of(defaults).grid, PlayheadSnapMode::frame);
}

TEST(PlayheadScrubber, LandsOnTheGridWithinTheScene)
{
    const TweenScene scene = sceneOf({}, 4.8);
    EXPECT_EQ(scrubbedPlayhead(1.26, PlayheadSnapMode::sec050, scene, {}), 1.5);
    EXPECT_EQ(scrubbedPlayhead(1.26, PlayheadSnapMode::sec050, scene, {.command = true}), 1.26);
    EXPECT_EQ(scrubbedPlayhead(4.8, PlayheadSnapMode::sec050, scene, {}), 4.8);
    EXPECT_EQ(scrubbedPlayhead(-3, PlayheadSnapMode::sec050, scene, {}), 0);
}

} // namespace
} // namespace larkspool
