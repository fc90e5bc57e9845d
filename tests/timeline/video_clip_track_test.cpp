#include "timeline/video_clip_track.h"

#include "timeline/timeline_fixture.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

const TimelineItemRef clip = TimelineItemRef::videoClip(idOf(3));

/// A clip from 6 to 8 that plays a source of 5 seconds from its second 1 on.
TweenScene filmScene(const VideoClip& played = {.sceneStart = 6, .sceneEnd = 8, .sourceStart = 1}, double videoDuration = 5)
{
    Layer film = videoOf(3, played, videoDuration);
    film.videoURL = "file:///films/a%20b.mp4";
    return sceneOf({film});
}

/// 100 points a second, from 40 on.
constexpr TrackMapping mapping{.left = 40, .width = 1000, .start = 0, .visibleSeconds = 10};

std::optional<VideoTrimOverlayState> overlayAt(DragHandle handle, const TweenScene& scene)
{
    return VideoClipTrack::trimOverlay(scene, {.members = {clip}, .handle = handle}, mapping, 25);
}

TEST(VideoTrimOverlay, ShowsTheSourcesPictureAtTheTrimmedEdge)
{
    EXPECT_EQ(overlayAt(DragHandle::leftEdge, filmScene()), (VideoTrimOverlayState{640, 25, 1, 5, "/films/a b.mp4"}));
    EXPECT_EQ(overlayAt(DragHandle::rightEdge, filmScene()), (VideoTrimOverlayState{840, 25, 3, 5, "/films/a b.mp4"}));
}

TEST(VideoTrimOverlay, AtTheRightEdgeGoesByWhatTheClipDoesBeyondItsSource)
{
    // 4 seconds of source from second 1 on; the clip goes on to its second 5 or beyond.
    using enum VideoClip::EndBehavior;
    struct Case {
        const char* clip;
        VideoClip::EndBehavior behavior;
        double end, duration, seconds;
    };
    for (const Case& c : {Case{"at the source's end", end, 10, 5, 5}, Case{"beyond it, held", end, 12, 5, 5},
                          Case{"a source of unknown length", end, 12, 0, 7}, Case{"looped for a second", loop, 11, 5, 2},
                          Case{"frozen a thousandth before the end", freezeFrame, 11, 5, 4.999}}) {
        SCOPED_TRACE(c.clip);
        const TweenScene scene =
            filmScene({.sceneStart = 6, .sceneEnd = c.end, .sourceStart = 1, .endBehavior = c.behavior}, c.duration);
        const std::optional<VideoTrimOverlayState> overlay = overlayAt(DragHandle::rightEdge, scene);
        ASSERT_TRUE(overlay);
        EXPECT_NEAR(overlay->srcSeconds, c.seconds, 1e-12);
        EXPECT_EQ(overlay->totalSrc, c.duration);
    }
}

TEST(VideoTrimOverlay, BeforeTheSourceBeginsItsFirstPictureShows)
{
    const TweenScene scene = filmScene({.sceneStart = 6, .sceneEnd = 8, .sourceStart = -1}, -5);
    EXPECT_EQ(overlayAt(DragHandle::leftEdge, scene), (VideoTrimOverlayState{640, 25, 0, 0, "/films/a b.mp4"}));
}

TEST(VideoTrimOverlay, IsForTrimsOfClipsAlone)
{
    const TweenScene scene = filmScene();
    EXPECT_FALSE(overlayAt(DragHandle::body, scene));
    EXPECT_FALSE(overlayAt(DragHandle::leftEdge, sceneOf({Layer{.id = idOf(3)}}))) << "the layer is no video any more";
    EXPECT_FALSE(VideoClipTrack::trimOverlay(scene, {.members = {}, .handle = DragHandle::leftEdge}, mapping, 0));
    EXPECT_FALSE(VideoClipTrack::trimOverlay(
        scene, {.members = {TimelineItemRef::span(idOf(3), idOf(1))}, .handle = DragHandle::leftEdge}, mapping, 0));
    EXPECT_FALSE(VideoClipTrack::trimOverlay(scene, {.members = {clip}, .handle = DragHandle::leftEdge}, {}, 0));
}

TEST(VideoClipTrack, TheOuter6PointsOfABarTrimIt)
{
    struct Case {
        double x;
        DragHandle handle;
    };
    for (const Case& c : {Case{0, DragHandle::leftEdge}, Case{5.9, DragHandle::leftEdge}, Case{6, DragHandle::body},
                          Case{94, DragHandle::body}, Case{94.1, DragHandle::rightEdge}}) {
        SCOPED_TRACE(c.x);
        EXPECT_EQ(VideoClipTrack::handleAt(c.x, 100), c.handle);
    }
    EXPECT_EQ(VideoClipTrack::rowHeight, 18);
}

} // namespace
} // namespace larkspool
