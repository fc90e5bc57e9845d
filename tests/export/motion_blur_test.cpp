#include "export/motion_blur.h"

#include "export/film_source.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace larkspool {
namespace {

using namespace Exporter;
using enum Keyframe::AnimatableProperty;

Keyframe key(double time, double value, double wait = 0)
{
    return {.property = x, .time = time, .value = value, .wait = wait};
}

TweenScene sceneWith(const Layer& layer)
{
    TweenScene scene;
    scene.layers = {layer};
    return scene;
}

/// Whether the layer moves in the window of half a second to each side of 10.
bool moves(const Layer& layer)
{
    return sceneHasMotion(sceneWith(layer), 10, 1);
}

TEST(Motion, AnEmptySceneHasNone)
{
    EXPECT_FALSE(sceneHasMotion(TweenScene(), 0, 60));
}

TEST(Motion, KeyframesMoveInTheWindowAndBetweenThem)
{
    struct Case { const char* what; Array<Keyframe> keyframes; bool moves; };
    for (const Case& c : {Case{"one at the window's edge", {key(9.5, 0)}, true}, Case{"one at the other edge", {key(10.5, 0)}, true},
                          Case{"one outside", {key(9.499, 0)}, false}, Case{"a move across", {key(0, 0), key(20, 1)}, true},
                          Case{"the same values", {key(0, 1), key(20, 1)}, true}, Case{"a move that ended", {key(0, 0), key(9, 1)}, false},
                          Case{"a move that has not begun", {key(11, 0), key(20, 1)}, false},
                          Case{"held across the window", {key(0, 0, 15), key(20, 1)}, false},
                          Case{"held into the window", {key(0, 0, 10.4), key(20, 1)}, true},
                          Case{"held past the next", {key(0, 0, 30), key(20, 1)}, false},
                          Case{"out of order", {key(20, 1), key(0, 0)}, true},
                          Case{"of two properties", {key(0, 0), Keyframe{.property = y, .time = 20, .value = 1.0}}, false}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(moves(Layer{.keyframes = c.keyframes}), c.moves);
    }
}

TEST(Motion, SpansMoveWhereTheyBeginAndEndAndWhereAnyEffectWouldRun)
{
    const auto span = [](double start, double end, Array<SpanEffect> effects = {}) {
        return Layer{.spans = {TimeSpan{.start = start, .end = end, .effects = std::move(effects)}}};
    };
    const auto intro = [](double duration) { return Array<SpanEffect>{SpanEffect{.kind = SpanEffect::Kind::fadeIn, .duration = duration}}; };
    EXPECT_FALSE(moves(span(0, 20)));
    EXPECT_TRUE(moves(span(10.5009, 20)));
    EXPECT_FALSE(moves(span(10.5011, 20)));
    EXPECT_TRUE(moves(span(0, 9.4991)));
    EXPECT_TRUE(moves(span(9, 20, intro(0.6))));
    EXPECT_FALSE(moves(span(9, 20, intro(0.5))));
    EXPECT_TRUE(moves(span(0, 11, intro(0.6)))); // An intro counts at the end as well.
}

TEST(Motion, APulseMovesForSixTenthsOfASecond)
{
    Layer layer;
    layer.pulses = {Pulse{.time = 1}};
    const TweenScene scene = sceneWith(layer);
    // At 50 frames a second the window is a hundredth of a second to each side.
    EXPECT_TRUE(sceneHasMotion(scene, 1.565, 50));
    EXPECT_FALSE(sceneHasMotion(scene, 1.61, 50));
    EXPECT_FALSE(sceneHasMotion(scene, 0.98, 50));
}

TEST(Motion, ChildrenCount)
{
    Layer child;
    child.keyframes = {key(10, 0)};
    Layer group{.kind = Layer::Kind::group};
    group.children = {Layer{}, child};
    EXPECT_TRUE(moves(group));
}

TEST(Motion, WhatMovesByItselfDoesNotCount)
{
    EXPECT_FALSE(moves(Layer{.kind = Layer::Kind::gradientField}));
    Layer video{.kind = Layer::Kind::video};
    video.videoClip = {.sceneStart = 0, .sceneEnd = 20};
    EXPECT_FALSE(moves(video));
}

TEST(MotionBlur, SamplesSitInTheMiddleOfEqualPartsOfTheFrame)
{
    EXPECT_DOUBLE_EQ(sampleTime(2, 1, 4, 0), 1.625);
    EXPECT_DOUBLE_EQ(sampleTime(2, 1, 4, 3), 2.375);
    EXPECT_DOUBLE_EQ(sampleTime(0, 1, 4, 0), 0); // Not before the beginning.
    EXPECT_DOUBLE_EQ(sampleTime(0, 1, 4, 2), 0.125);
    EXPECT_DOUBLE_EQ(sampleTime(5, 0, 2, 0), 4.75); // Without a rate a frame is a second.
}

TEST(MotionBlur, TheRunningMeanRoundsToTheNearest)
{
    EXPECT_TRUE(rc::check([] {
        const int k = *rc::gen::inRange(0, 300);
        const int before = *rc::gen::inRange(0, 256), sample = *rc::gen::inRange(0, 256);
        PixelBuffer mean(3, 1), next(3, 1);
        for (int i = 0; i < 12; ++i) mean.row(0)[i] = static_cast<std::uint8_t>(before), next.row(0)[i] = static_cast<std::uint8_t>(sample);
        blendRunningMean(mean, next, k);
        const int exact = static_cast<int>(std::floor((static_cast<double>(k) * before + sample) / (k + 1) + 0.5));
        for (int i = 0; i < 12; ++i) RC_ASSERT(mean.row(0)[i] == exact);
    }));
}

/// Fills the picture with a grey of ten times the time.
void paintTime(double time, PixelBuffer& picture)
{
    const auto context = makeRasterContext(picture);
    const double grey = time / 25.5;
    context->setFillColor({grey, grey, grey, 1});
    context->fillRect({{0, 0}, sizeOf(picture)});
}

TEST(MotionBlur, AFrameIsTheMeanOfItsSamples)
{
    for (const bool half : {false, true}) {
        PixelBuffer picture(8, 6);
        std::vector<CGSize> sizes;
        BlurMemory memory;
        accumulateMotionBlur(picture, 1, 4, half, 10, memory, [&](double time, PixelBuffer& sample) {
            sizes.push_back(sizeOf(sample));
            paintTime(time, sample);
        });
        EXPECT_EQ(sizes.size(), 4u);
        EXPECT_EQ(sizes[0], half ? (CGSize{4, 3}) : (CGSize{8, 6}));
        // Samples at 9.625, 9.875, 10.125 and 10.375: greys 96, 99, 101 and 104.
        EXPECT_NEAR(picture.row(3)[4 * 4], 100, 1);
        EXPECT_NEAR(picture.row(0)[0], 100, 1);
    }
}

TEST(MotionBlur, HalfTheSizeIsTruncatedAndAtLeastAPixel)
{
    struct Case { int width, height; CGSize half; };
    for (const Case& c : {Case{8, 6, {4, 3}}, Case{7, 5, {3, 2}}, Case{1, 1, {1, 1}}, Case{2, 1, {1, 1}}}) {
        PixelBuffer picture(c.width, c.height);
        BlurMemory memory;
        accumulateMotionBlur(picture, 1, 2, /*halfRes=*/true, 10, memory, [&](double time, PixelBuffer& sample) {
            EXPECT_EQ(sizeOf(sample), c.half);
            paintTime(time, sample);
        });
        // Greys of 98 and 103, at 9.75 and 10.25, everywhere.
        EXPECT_NEAR(picture.row(c.height - 1)[4 * (c.width - 1)], 100, 1) << c.width << " x " << c.height;
    }
}

/// Counts the pictures that are drawn.
class CountingSource final : public FilmSource {
public:
    CountingSource(bool moves, int& drawn) : moves_(moves), drawn_(drawn) {}

    bool hasMotion(double, std::int64_t) const override { return moves_; }
    std::optional<EvaluatedFrame> frameAt(double) const override { return moves_ ? std::nullopt : std::optional(EvaluatedFrame{.sceneSize = {4, 4}}); }
    void draw(double, PixelBuffer&) override { ++drawn_; }

private:
    bool moves_;
    int& drawn_;
};

TEST(MotionBlur, OnlyAMagnitudeOfTwoOrMoreDrawsSamples)
{
    struct Case { int samples; int drawn; };
    for (const Case& c : {Case{1, 1}, Case{0, 1}, Case{-1, 1}, Case{2, 2}, Case{-2, 2}, Case{16, 16}}) {
        int drawn = 0;
        PixelBuffer picture(4, 4);
        const auto frames = makeFilmFrames(std::make_unique<CountingSource>(true, drawn), 0, 30, c.samples);
        EXPECT_EQ(frames->advance(0), FilmFrames::Next::drawn);
        EXPECT_EQ(frames->paint(picture), (PixelRect{0, 0, 4, 4}));
        EXPECT_EQ(drawn, c.drawn) << c.samples;
    }
}

TEST(MotionBlur, EveryFrameBetweenTwoScenesIsBlurred)
{
    TweenScene still{.width = 4, .height = 4, .duration = 2};
    still.transition = SceneTransition{.kind = SceneTransition::Kind::fade, .duration = 1};
    const Array<TweenScene> scenes{still, still};
    const auto source = makeScenesSource(scenes, planExport(scenes).segments);
    struct Case { double time; bool moves; };
    for (const Case& c : {Case{1, false}, Case{2.5, true}, Case{3.5, false}}) EXPECT_EQ(source->hasMotion(c.time, 30), c.moves) << c.time;
}

TEST(MotionBlur, EachSampleOfATransitionShowsAMomentOfItsOwn)
{
    TweenScene white{.width = 8, .height = 2, .fps = 1, .duration = 1, .background = ColorRGBA::white};
    white.transition = SceneTransition{.kind = SceneTransition::Kind::slideL, .duration = 2};
    const TweenScene black{.width = 8, .height = 2, .fps = 1, .duration = 1, .background = {0, 0, 0, 1}};
    const Array<TweenScene> scenes{white, black};
    const auto frames = makeFilmFrames(makeScenesSource(scenes, planExport(scenes).segments), 0, 1, 2);
    PixelBuffer picture(8, 2);
    EXPECT_EQ(frames->advance(2), FilmFrames::Next::drawn);
    frames->paint(picture);
    // Half way, the samples are a quarter of a second apart from the middle: the black scene has come 3 pixels far, and 5.
    for (int x = 0; x < 8; ++x) EXPECT_EQ(picture.row(1)[4 * x], x < 3 ? 255 : x < 5 ? 128 : 0) << x;
}

TEST(MotionBlur, TheRateOfTheFilmCountsAndNotTheScenesOwn)
{
    TweenScene still{.width = 4, .height = 4, .fps = 4, .duration = 2};
    TweenScene fast = sceneWith(Layer{.keyframes = {key(0.1, 0)}});
    fast.fps = 100;
    ASSERT_FALSE(sceneHasMotion(fast, 0, fast.fps));
    const Array<TweenScene> scenes{still, fast};
    EXPECT_TRUE(makeScenesSource(scenes, planExport(scenes).segments)->hasMotion(2, still.fps));
}

TEST(MotionBlur, SegmentsWithoutTheirScenesAlwaysCountAsMotion)
{
    const Array<TweenScene> one{TweenScene{.width = 4, .height = 4, .duration = 2}};
    EXPECT_FALSE(makeScenesSource(one, {SceneSegment{0, 0, 2}})->hasMotion(1, 30));
    EXPECT_TRUE(makeScenesSource(one, {SceneSegment{1, 0, 2}})->hasMotion(1, 30));
    EXPECT_TRUE(makeScenesSource(one, {TransitionSegment{0, 0, 2, SceneTransition::Kind::fade}})->hasMotion(1, 30));
}

TEST(FilmSource, ATransitionThatLeadsNowhereShowsTheLastMomentAndASceneThatIsNotThereIsBlack)
{
    Layer box{.fill = {1, 0, 0, 1}, .size = {4, 4}};
    box.keyframes = {key(0, 0), key(2, 4)};
    TweenScene scene{.width = 8, .height = 4, .duration = 2, .background = ColorRGBA::white};
    scene.layers = {box};
    const Array<TweenScene> one{scene};
    /// Green of the left half and of the right: the box stands at the right in the end.
    const auto halves = [&](std::vector<ExportSegment> segments) {
        PixelBuffer picture(8, 4);
        makeScenesSource(one, std::move(segments))->draw(1, picture);
        return std::pair<int, int>(picture.row(2)[4 * 2 + 1], picture.row(2)[4 * 6 + 1]);
    };
    EXPECT_EQ(halves({TransitionSegment{0, 0, 2, SceneTransition::Kind::fade}}), std::pair(255, 0));
    EXPECT_EQ(halves({TransitionSegment{5, 0, 2, SceneTransition::Kind::push}}), std::pair(0, 0));
    EXPECT_EQ(halves({SceneSegment{1, 0, 2}}), std::pair(0, 0));
    EXPECT_EQ(halves({}), std::pair(0, 0));
}

TEST(MotionBlur, AStillFrameIsDrawnOnceWhateverTheSamples)
{
    for (const int samples : {16, -2, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        int drawn = 0;
        const auto frames = makeFilmFrames(std::make_unique<CountingSource>(false, drawn), 0, 30, samples);
        EXPECT_EQ(frames->advance(0), FilmFrames::Next::drawn);
        EXPECT_EQ(frames->advance(1), FilmFrames::Next::unchanged);
        EXPECT_EQ(drawn, 0);
    }
}

TEST(FilmFrames, BeginAnewAnywhereOnceAllIsForgotten)
{
    int drawn = 0;
    const auto frames = makeFilmFrames(std::make_unique<CountingSource>(false, drawn), 0, 30, 1);
    EXPECT_EQ(frames->advance(7), FilmFrames::Next::drawn);
    EXPECT_EQ(frames->advance(8), FilmFrames::Next::unchanged);
    frames->forget();
    EXPECT_EQ(frames->advance(3), FilmFrames::Next::drawn);
    EXPECT_EQ(frames->advance(4), FilmFrames::Next::unchanged);
}

} // namespace
} // namespace larkspool
