#include "evaluation/video_time.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <limits>

namespace larkspool {
namespace {

using End = VideoClip::EndBehavior;

Layer videoLayer(double duration, const VideoClip& clip)
{
    Layer layer;
    layer.kind = Layer::Kind::video;
    layer.videoDuration = duration;
    layer.videoClip = clip;
    return layer;
}

TEST(VideoTime, FollowsTheClip)
{
    constexpr double none = -1; // No source time.
    struct Case {
        const char* when;
        End end;
        double duration, sceneStart, sceneEnd, sourceStart;
        std::optional<double> trim;
        double time, source;
    };
    for (const Case& c : {
             Case{"at the clip's start", End::end, 10, 1, 5, 2, {}, 1, 2},
             Case{"within the clip", End::end, 10, 1, 5, 2, {}, 2.5, 3.5},
             Case{"past the end of the file", End::end, 10, 1, 50, 2, {}, 21, 22},
             Case{"a trim does not end it", End::end, 10, 0, 20, 2, 3, 7, 9},
             Case{"before the clip, in the source", End::end, 10, 1, 5, 2, {}, 0, 1},
             Case{"before the source", End::end, 10, 3, 5, 2, {}, 0.5, none},
             Case{"before the source, looping", End::loop, 10, 3, 9, 2, {}, 0.5, none},

             Case{"loop: before the end of the play", End::loop, 10, 0, 20, 2, {}, 7.5, 9.5},
             Case{"loop: at the end of the play", End::loop, 10, 0, 20, 2, {}, 8, 2},
             Case{"loop: a second later", End::loop, 10, 0, 20, 2, {}, 9, 3},
             Case{"loop: the second round ends", End::loop, 10, 0, 20, 2, {}, 16, 2},
             Case{"loop: a trim shortens the play", End::loop, 10, 0, 20, 2, 3, 7, 3},
             Case{"loop: a trim beyond the file", End::loop, 10, 0, 20, 2, 30, 9, 3},
             Case{"loop: the clip is shorter than the source", End::loop, 10, 0, 4, 2, {}, 5, 3},
             Case{"loop: no length of the source", End::loop, 0, 0, 20, 2, {}, 15, 17},
             Case{"loop: nothing left of the source", End::loop, 10, 0, 20, 12, {}, 3, 12},
             Case{"loop: a trim of nothing", End::loop, 10, 0, 20, 2, 0, 3, 2},
             Case{"loop: a clip of no length", End::loop, 10, 5, 5, 2, {}, 5, 2},
             Case{"loop: a negative trim plays on", End::loop, 10, 0, 20, 2, -1, 9, 11},
             Case{"loop: a negative trim of a source with nothing left", End::loop, 10, 0, 20, 12, -2, 3, 13},

             Case{"freeze: before the end of the play", End::freezeFrame, 10, 0, 20, 2, {}, 7.5, 9.5},
             Case{"freeze: at the end of the play", End::freezeFrame, 10, 0, 20, 2, {}, 8, 9.999},
             Case{"freeze: long after it", End::freezeFrame, 10, 0, 20, 2, {}, 19, 9.999},
             Case{"freeze: a trim shortens the play", End::freezeFrame, 10, 0, 20, 2, 3, 7, 4.999},
             Case{"freeze: a negative trim plays on", End::freezeFrame, 10, 0, 20, 2, -1, 9, 11},
             Case{"freeze: nothing to play", End::freezeFrame, 10, 0, 20, 2, 0, 3, 1.999},
             Case{"freeze: nothing to play from the beginning", End::freezeFrame, 10, 0, 20, 0, 0, 3, none},
             Case{"freeze: no length of the source", End::freezeFrame, 0, 0, 20, 2, {}, 15, 17},
         }) {
        SCOPED_TRACE(c.when);
        const VideoClip clip{.sceneStart = c.sceneStart,
                             .sceneEnd = c.sceneEnd,
                             .sourceStart = c.sourceStart,
                             .endBehavior = c.end,
                             .sourceTrimLength = c.trim};
        const std::optional<double> source = sourceTime(videoLayer(c.duration, clip), c.time);
        if (c.source == none)
            EXPECT_EQ(source, std::nullopt);
        else
            EXPECT_NEAR(source.value_or(none), c.source, 1e-9);
    }
}

TEST(VideoTime, IsNothingForNumbersThatAreNone)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const VideoClip clip{.sceneEnd = 20, .endBehavior = End::loop};
    EXPECT_EQ(sourceTime(videoLayer(10, clip), NAN), std::nullopt);
    EXPECT_EQ(sourceTime(videoLayer(10, clip), infinity), std::nullopt);
    EXPECT_EQ(sourceTime(videoLayer(10, {.sourceStart = infinity}), 1), std::nullopt);
}

TEST(VideoTime, ALoopStaysWithinItsPlay)
{
    EXPECT_TRUE(rc::check("loop", [] {
        const double start = *rc::gen::inRange(0, 50) / 10.0, trim = *rc::gen::inRange(1, 80) / 10.0;
        const double time = *rc::gen::inRange(0, 100000) / 100.0;
        const VideoClip clip{.sceneEnd = 1000, .sourceStart = start, .endBehavior = End::loop, .sourceTrimLength = trim};
        const std::optional<double> source = sourceTime(videoLayer(10, clip), time);
        RC_ASSERT(source.has_value());
        RC_ASSERT(*source >= start);
        RC_ASSERT(*source < start + std::min(trim, 10 - start));
    }));
}

} // namespace
} // namespace larkspool
