#include "rendering/retained/compositing_renderer.h"
#include "rendering/retained/scene_layer.h"
#include "rendering/video_export_readers.h"

#include "document/file_format.h"
#include "platform/file_io.h"
#include "rendering/rendering_fixture.h"
#include "support/test_media.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

namespace larkspool {
namespace {

/// What is asked of every frame against the reference drawing.
constexpr double leastDecibels = 42;
constexpr int greatestDifference = 48;

struct Difference {
    double decibels = INFINITY;
    int greatest = 0;
};

Difference differenceOf(const PixelBuffer& a, const PixelBuffer& b)
{
    Difference result;
    double squares = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            for (int channel = 0; channel < 3; ++channel) {
                const int difference = std::abs(a.row(y)[4 * x + channel] - b.row(y)[4 * x + channel]);
                squares += static_cast<double>(difference) * difference;
                result.greatest = std::max(result.greatest, difference);
            }
    if (squares > 0) result.decibels = 10 * std::log10(255.0 * 255.0 * 3 * a.width() * a.height() / squares);
    return result;
}

/// Draws a scene by both ways, frame after frame.
class BothWays {
public:
    BothWays(const TweenScene& scene, CGSize size)
        : scene_(scene),
          reference_(static_cast<std::int64_t>(size.width), static_cast<std::int64_t>(size.height)),
          composited_(reference_.width(), reference_.height())
    {}

    Difference at(double time)
    {
        const EvaluatedFrame frame = evaluateFrame(scene_, time);
        Exporter::drawFrame(frame, *makeRasterContext(reference_), Exporter::sizeOf(reference_));
        renderer_->render(ExporterGPU::buildSceneLayer(frame, composited_.width(), composited_.height()), composited_);
        return differenceOf(reference_, composited_);
    }

    const PixelBuffer& composited() const { return composited_; }

private:
    const TweenScene& scene_;
    PixelBuffer reference_, composited_;
    std::unique_ptr<CompositingRenderer> renderer_ = makeSoftwareRenderer();
};

void expectAlike(const TweenScene& scene, CGSize size, const std::vector<double>& times)
{
    BothWays both(scene, size);
    for (const double time : times) {
        SCOPED_TRACE(time);
        const Difference difference = both.at(time);
        EXPECT_GE(difference.decibels, leastDecibels);
        EXPECT_LE(difference.greatest, greatestDifference);
    }
}

TEST(Parity, TheExamplesLookAsTheReferenceDrawsThem)
{
    int documents = 0;
    for (const auto& entry : std::filesystem::directory_iterator(LARKSPOOL_SOURCE_FOLDER "/examples")) {
        if (entry.path().extension() != ".larkspool") continue;
        ++documents;
        const TweenDocument document = decodeDocument(readWholeFile(entry.path().string()));
        for (const TweenScene& scene : document.scenes) {
            SCOPED_TRACE(entry.path().filename().string() + ", scene " + std::to_string(&scene - document.scenes.begin()));
            constexpr int frames = 7;
            std::vector<double> times;
            for (int i = 0; i < frames; ++i) times.push_back(scene.duration * i / (frames - 1));
            expectAlike(scene, {scene.width / 2, scene.height / 2}, times);
        }
    }
    EXPECT_GE(documents, 7);
}

Layer shape(Layer::Kind kind, CGRect place)
{
    return {.kind = kind, .transform = {.x = place.origin.x, .y = place.origin.y}, .fill = blue, .size = place.size};
}

/// One layer of a kind with every stroke, shadow and place that makes a difference.
TEST(Parity, ShapesOfEveryStrokeShadowAndPlaceLookAsInTheReference)
{
    struct Stroke {
        const char* what;
        double width;
        bool outside, perSide;
    };
    constexpr Stroke strokes[] = {{"no stroke", 0, false, false},   {"inside", 4, false, false},
                                  {"thin inside", 1, false, false}, {"outside", 5, true, false},
                                  {"per side", 0, false, true},     {"per side, outside", 0, true, true}};
    for (const Layer::Kind kind : {Layer::Kind::rectangle, Layer::Kind::ellipse, Layer::Kind::text})
        for (const Stroke& stroke : strokes)
            for (const ShadowPreset shadow : {ShadowPreset::none, ShadowPreset::medium})
                for (const double rotation : {0.0, 27.0})
                    for (const double opacity : {1.0, 0.6}) {
                        Layer layer = shape(kind, {{40.25, 30.5}, {90, 60}});
                        layer.transform.rotation = rotation;
                        layer.opacity = opacity;
                        layer.cornerRadius = 14;
                        layer.text = "Words";
                        layer.stroke = {0.9, 0.4, 0.1, shadow == ShadowPreset::none ? 1 : 0.7};
                        layer.strokeWidth = stroke.width;
                        layer.strokeOutside = stroke.outside;
                        layer.perSideStroke = stroke.perSide;
                        layer.strokeWidthTop = 3;
                        layer.strokeWidthLeft = 7.5;
                        layer.shadow = shadow;
                        SCOPED_TRACE(testing::Message()
                                     << fileValue(kind) << ", " << stroke.what << ", shadow " << static_cast<int>(shadow)
                                     << ", turned " << rotation << ", opacity " << opacity);
                        expectAlike(sceneWith({180, 120}, {layer}), {180, 120}, {0});
                    }
}

TEST(Parity, GlowsAndRingsLookAsInTheReference)
{
    for (const Layer::Kind kind : {Layer::Kind::rectangle, Layer::Kind::ellipse, Layer::Kind::text, Layer::Kind::group})
        for (const ShadowPreset shadow : {ShadowPreset::none, ShadowPreset::low}) {
            SCOPED_TRACE(testing::Message() << fileValue(kind) << ", shadow " << static_cast<int>(shadow));
            Layer layer = shape(kind, {{60, 40}, {70, 50}});
            layer.cornerRadius = 9;
            layer.strokeWidth = 3;
            layer.shadow = shadow;
            layer.children = {shape(Layer::Kind::rectangle, {{5, 5}, {20, 20}}),
                              shape(Layer::Kind::ellipse, {{30, 10}, {40, 20}})};
            layer.pulses = {{.time = 0.1, .effects = {PulseEffect::glow, PulseEffect::radiate, PulseEffect::scale}}};
            expectAlike(sceneWith({200, 130}, {layer}), {200, 130}, {0, 0.15, 0.3, 0.6, 0.9});
        }
}

TEST(Parity, WhatChildrenTakeFromTheirParentLooksAsInTheReference)
{
    // Of a parent that is no group: its shadow, and for their rings its opacity and that of a fading zoom.
    for (const Layer::Kind kind : {Layer::Kind::rectangle, Layer::Kind::group})
        for (const ZoomTransition transition : {ZoomTransition::none, ZoomTransition::fade}) {
            SCOPED_TRACE(testing::Message() << fileValue(kind) << ", zoom " << static_cast<int>(transition));
            Layer child = shape(Layer::Kind::rectangle, {{80, 10}, {40, 30}});
            child.strokeWidth = 20; // Leaves nothing inside.
            child.pulses = {{.time = 0, .effects = {PulseEffect::radiate}}};
            Layer round = shape(Layer::Kind::ellipse, {{30, 60}, {30, 20}});
            round.strokeWidth = 4;
            round.strokeOutside = true;
            Layer parent = shape(kind, {{20, 20}, {50, 40}});
            parent.opacity = 0.7;
            parent.shadow = ShadowPreset::medium;
            parent.children = {child, round};
            Layer zoom = shape(Layer::Kind::zoom, {{0, 0}, {180, 117}});
            zoom.spans = {TimeSpan{.start = 0, .end = 4, .zoomStart = transition, .zoomEnd = transition}};
            expectAlike(sceneWith({200, 130}, {parent, zoom}), {200, 130}, {0.25, 0.6});
        }
}

TEST(Parity, GlowsOfEveryStrokeLookAsInTheReference)
{
    struct Stroke {
        const char* what;
        double width;
        bool outside, perSide;
    };
    constexpr Stroke strokes[] = {{"inside", 4, false, false},   {"outside", 6, true, false},
                                  {"too wide", 25, false, false}, {"per side", 4, false, true},
                                  {"per side, outside", 4, true, true}};
    for (const Layer::Kind kind : {Layer::Kind::rectangle, Layer::Kind::ellipse, Layer::Kind::path})
        for (const Stroke& stroke : strokes)
            for (const double fillAlpha : {1.0, 0.5, 0.0})
                for (const double strokeAlpha : {1.0, 0.5})
                    for (const double rotation : {0.0, 27.0}) {
                        SCOPED_TRACE(testing::Message() << fileValue(kind) << ", " << stroke.what << ", fill " << fillAlpha
                                                        << ", stroke " << strokeAlpha << ", turned " << rotation);
                        Layer layer = shape(kind, {{60.25, 40.5}, {70, 50}});
                        layer.path = {MoveTo{{0, 0}}, LineTo{{70, 0}}, LineTo{{70, 50}}, ClosePath{}};
                        layer.transform.rotation = rotation;
                        layer.cornerRadius = 9;
                        layer.fill.a = fillAlpha;
                        layer.stroke = {0.9, 0.4, 0.1, strokeAlpha};
                        layer.strokeWidth = stroke.width;
                        layer.strokeOutside = stroke.outside;
                        layer.perSideStroke = stroke.perSide;
                        layer.strokeWidthTop = 3;
                        layer.strokeWidthLeft = 7.5;
                        layer.pulses = {{.time = 0, .effects = {PulseEffect::glow}}};
                        expectAlike(sceneWith({200, 130}, {layer}), {200, 130}, {0.2});
                    }
}

TEST(Parity, GlowsOfLayersWithKeyframedShadowsLookAsInTheReference)
{
    for (const ShadowPreset stored : {ShadowPreset::none, ShadowPreset::low})
        for (const ShadowPreset keyed : {ShadowPreset::none, ShadowPreset::high}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(stored) << ", " << static_cast<int>(keyed));
            Layer layer = shape(Layer::Kind::rectangle, {{60, 40}, {70, 50}});
            layer.fill.a = 0.5;
            layer.shadow = stored;
            layer.keyframes = {Keyframe{.property = Keyframe::AnimatableProperty::shadow, .time = 0, .value = keyed}};
            layer.pulses = {{.time = 0, .effects = {PulseEffect::glow}}};
            expectAlike(sceneWith({200, 130}, {layer}), {200, 130}, {0.2, 0.5});
        }
}

TEST(Parity, ASceneOfAnotherAspectHasBlackBars)
{
    const TweenScene scene = sceneWith({100, 50}, {shape(Layer::Kind::rectangle, {{-20, 10}, {300, 10}})}, {1, 1, 1, 0.5});
    for (const CGSize size : {CGSize{120, 120}, CGSize{333, 60}, CGSize{2, 2}}) {
        SCOPED_TRACE(size.width);
        expectAlike(scene, size, {0});
    }
}

TEST(Parity, AFrameWithoutASizeIsBlack)
{
    const TweenScene scene = sceneWith({0, 50}, {shape(Layer::Kind::rectangle, {{0, 0}, {30, 10}})});
    BothWays both(scene, {20, 10});
    EXPECT_EQ(both.at(0).greatest, 0);
    EXPECT_EQ(pixelAt(both.composited(), 5, 5), blackPixel);
}

TEST(Parity, VideosComeThroughTheForwardReader)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("counting.mp4");
    makeMedia(path, countingSource(30) + " -pix_fmt yuv420p -c:v libx264 -qp 0");
    Layer video = shape(Layer::Kind::video, {{10.5, 8}, {80, 50}});
    video.videoURL = path;
    video.videoDuration = 1;
    video.videoClip.sceneEnd = 1;
    video.cornerRadius = 8;
    video.strokeWidth = 2;
    const TweenScene scene = sceneWith({100, 70}, {video});
    resetActiveVideoExportReaders();
    expectAlike(scene, {100, 70}, {0, 0.1, 0.5, 0.2, 0.9, 1.4});
    resetActiveVideoExportReaders();
}

} // namespace
} // namespace larkspool
